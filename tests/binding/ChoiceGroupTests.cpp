// The choice group: its records, the choice reader and writer of the driver, and the options
// that excuse a missing or surplus alternative.
#include "BindingTestSupport.h"

namespace BindingTest {
namespace {

const char kNoChoiceRead[] =
    "No child elements within the element [root] were populated. The element represents a choice, so one and only "
    "one element should be populated. The element contained no sutable child elements\nPath: /root";
const char kNoChoiceWrite[] =
    "Failed to convert the element [root] to XML\nThis element is a choice, and as such must have at one (and only "
    "one) valid item, currently there are none set";

std::string LeftOver(const char* parent, const char* element, const char* path) {
    return std::string("Failed read all the elements held within the element [") + parent +
           "]. The unexpected element [" + element + "] remains un processed\nPath: " + path;
}

struct Options {
    bool ignoreUnknown = false;
    bool ignoreMissingChoice = false;
    bool ignoreMissingMandatory = false;
    bool ignoreInvalidCounts = false;
};

const Options kStrict{}, kSkipUnknown{.ignoreUnknown = true}, kNoChoice{.ignoreMissingChoice = true},
    kSkipUnknownNoChoice{.ignoreUnknown = true, .ignoreMissingChoice = true};

CSerializationContext ContextOf(const Options& o) {
    CSerializationContext context;
    context.SetIgnoreUnknownElements(o.ignoreUnknown);
    context.SetIgnoreMissingChoice(o.ignoreMissingChoice);
    context.SetIgnoreMissingMandatoryElements(o.ignoreMissingMandatory);
    context.SetIgnoreInvalidCollectionCounts(o.ignoreInvalidCounts);
    return context;
}

// The classes of the tests, each root named after what it shows.
struct Model {
    // flat: a (string) | b (i4) | c (size enumeration).
    Tables flat{ClassInfo(XmlElementGroupType_Choice),
                {ChoicePrim(u"a", 0), ChoicePrim(u"b", 1, ItemType_i4), ChoiceEnum(u"c", 2)}};
    // collections: s (strings, 2 to 3) | item (objects, at least 1); neither may be absent.
    Tables item{ClassInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"item"), {StringMnd(u"v", 0)}};
    Tables collections{ClassInfo(XmlElementGroupType_Choice),
                       {new CElementInfoChoicePrimCol(u"s", u"", 0),
                        new CElementInfoChoiceClsCol(u"item", u"", 1, XmlElementType_Element)}};
    // pickInChoice: pick | other, where pick is a choice of strings (at least 1) with its own element.
    Tables pick{ClassInfo(XmlElementGroupType_Choice, XmlElementType_Element, u"pick", false),
                {new CElementInfoChoicePrimCol(u"s", u"", 0)}};
    Tables pickInChoice{ClassInfo(XmlElementGroupType_Choice), {ChoiceCls(u"pick", 0, 101), ChoicePrim(u"other", 1)}};
    Tables pickInSequence{ClassInfo(XmlElementGroupType_Seq),
                          {new CElementInfoSeqClsOpt(u"pick", u"", 0, XmlElementType_Element, &CreateClass, 101)}};
    // groupInChoice: G | z, where G is a choice x | y with an attribute gid and no element (type 1).
    Tables pseudo{
        ClassInfo(XmlElementGroupType_Choice, XmlElementType_Pseudo, u"G", false),
        {ChoicePrim(u"x", 0), ChoicePrim(u"y", 1)},
        {new CAttributeInfoPrimitive(u"gid", u"", 2, true, ItemType_string, nullptr, kPreserve, NoFacets(), nullptr)}};
    Tables groupInChoice{ClassInfo(XmlElementGroupType_Choice, XmlElementType_Element, u"root", false),
                         {ChoiceCls(u"G", 0, 102, XmlElementType_Pseudo), ChoicePrim(u"z", 1)}};
    // groupInSequence: G? then w?, where G is a choice x | y of type 2.
    Tables inlined{ClassInfo(XmlElementGroupType_Choice, XmlElementType_Inline, u"G", false),
                   {ChoicePrim(u"x", 0), ChoicePrim(u"y", 1)}};
    Tables groupInSequence{
        ClassInfo(XmlElementGroupType_Seq),
        {new CElementInfoSeqClsOpt(u"G", u"", 0, XmlElementType_Inline, &CreateClass, 103), StringOpt(u"w", 1)}};
    // abstract: pay as an object that its attribute kind chooses | pay as text.
    Tables card{ClassInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"card", false), {StringMnd(u"holder", 0)}};
    Tables abstract{ClassInfo(XmlElementGroupType_Choice),
                    {new CElementInfoChoiceAbsClsOpt(u"pay", u"", 0, XmlElementType_Element, &CreateByKind),
                     ChoicePrim(u"pay", 1)}};
    // groupCollection: a sequence of G (type 1), a choice of s (2 to 5 strings) | s (one string).
    Tables countGroup{ClassInfo(XmlElementGroupType_Choice, XmlElementType_Pseudo, u"G"),
                      {new CElementInfoChoicePrimCol(u"s", u"", 0), ChoicePrim(u"s", 1)}};
    Tables groupCollection{ClassInfo(XmlElementGroupType_Seq),
                           {new CElementInfoSeqClsOpt(u"G", u"", 0, XmlElementType_Pseudo, &CreateClass, 106)}};
    // Wildcards: note | b; any element; entry* | b; a sequence of G (type 1) = entry*.
    Tables namedWildcard{ClassInfo(XmlElementGroupType_Choice),
                         {new CElementInfoChoiceUntpdOpt(u"note", u"", 0, u"##any", u""), ChoicePrim(u"b", 1)}};
    Tables anyWildcard{ClassInfo(XmlElementGroupType_Choice),
                       {new CElementInfoChoiceUntpdOpt(u"AnyElement", u"", 0, u"##any", u"")}};
    Tables namedWildcards{ClassInfo(XmlElementGroupType_Choice),
                          {new CElementInfoChoiceUntpdCol(u"entry", u"", 0), ChoicePrim(u"b", 1)}};
    Tables wildcardGroup{ClassInfo(XmlElementGroupType_Choice, XmlElementType_Pseudo, u"G"),
                         {new CElementInfoChoiceUntpdCol(u"entry", u"", 0)}};
    Tables wildcardsInGroup{ClassInfo(XmlElementGroupType_Seq),
                            {new CElementInfoSeqClsOpt(u"G", u"", 0, XmlElementType_Pseudo, &CreateClass, 107)}};

    Model() {
        Define(101, pick, [](CTestObject& o) { o.props[0].SetXmlObject(new CTestStringCol(u"s", 1, -1)); });
        Define(102, pseudo);
        Define(103, inlined);
        Define(104, card);
        Define(106, countGroup, [](CTestObject& o) { o.props[0].SetXmlObject(new CTestStringCol(u"s", 2, 5)); });
        Define(107, wildcardGroup, [](CTestObject& o) { o.props[0].SetXmlObject(AnyElements()); });
    }
    static CElementCol* AnyElements() { return new CElementCol(u"", u"##any", u"", 0, -1); }

    CSmartPtr<CTestObject> Make(Tables Model::*root) {
        CSmartPtr<CTestObject> object = new CTestObject(this->*root);
        if (root == &Model::collections)
            object->onInit = [this](CTestObject& o) {
                o.props[0].SetXmlObject(new CTestStringCol(u"s", 2, 3));
                o.props[1].SetXmlObject(new CTestCol(item, u"item", 1, -1));
            };
        else if (root == &Model::namedWildcards)
            object->onInit = [](CTestObject& o) { o.props[0].SetXmlObject(AnyElements()); };
        object->Init();
        return object;
    }
};

// clang-format off
// expected: Dump of what was read, or the full message of the failure
// written: what the object writes back after a successful read; null: not checked
struct ReadCase { const char* name; Tables Model::*root; const char* xml;
    Options options; std::string expected; const char* written; };
const ReadCase kReadCases[] = {
    // One alternative, in a real element.
    {"second alternative", &Model::flat, "<root><b>7</b></root>", kStrict, "{1=7}", "<root><b>7</b></root>"},
    {"empty: the optional alternatives excuse it", &Model::flat, "<root/>", kStrict, "{}", "<root/>"},
    {"two alternatives: the second is left over", &Model::flat, "<root><a>x</a><b>7</b></root>", kStrict,
     LeftOver("root", "b", "/root"), nullptr},
    {"unknown in front is left over", &Model::flat, "<root><z/><b>7</b></root>", kStrict,
     LeftOver("root", "z", "/root"), nullptr},
    {"alternative behind an alternative is not read", &Model::flat, "<root><c>small</c><z/><a>x</a></root>",
     kSkipUnknown, "{2=0}", nullptr},
    // Collections that may not be absent.
    {"strings", &Model::collections, "<root><s>1</s><s>2</s></root>", kStrict, "{0=[1,2] 1=[]}",
     "<root><s>1</s><s>2</s></root>"},
    {"empty", &Model::collections, "<root/>", kStrict, kNoChoiceRead, nullptr},
    {"empty, missing choice ignored", &Model::collections, "<root/>", kNoChoice, "{0=[] 1=[]}", nullptr},
    {"only an unknown element, skipped and missing choice ignored", &Model::collections, "<root><z/></root>",
     kSkipUnknownNoChoice, "{0=[] 1=[]}", nullptr},
    {"unknown element, missing choice ignored: left over", &Model::collections, "<root><z/></root>", kNoChoice,
     LeftOver("root", "z", "/root"), nullptr},
    {"too few strings", &Model::collections, "<root><s>1</s></root>", kStrict,
     "Failed to process the element.\nPath: /root\nThe Minimum number of [s] elements allowed in this collection "
     "is 2",
     nullptr},
    // An alternative that is itself a choice may be empty; elsewhere it may not.
    {"inner choice", &Model::pickInChoice, "<root><pick><s>1</s><s>2</s></pick></root>", kStrict, "{0={0=[1,2]}}",
     "<root><pick><s>1</s><s>2</s></pick></root>"},
    {"empty inner choice in a sequence", &Model::pickInSequence, "<root><pick/></root>", kStrict,
     "No child elements within the element [pick] were populated. The element represents a choice, so one and only "
     "one element should be populated. The element contained no sutable child elements\nPath: /root/pick",
     nullptr},
    // A group without an element of its own as an alternative, and in a sequence.
    {"alternative inside the group", &Model::groupInChoice, "<root gid='5'><y>1</y></root>", kStrict, "{0={1=1 2=5}}",
     "<root gid=\"5\"><y>1</y></root>"},
    {"group that took nothing is emptied, the next alternative tried", &Model::groupInChoice, "<root><z>1</z></root>",
     kStrict, "{0=null 1=1}", "<root><z>1</z></root>"},
    {"inline group without a match returns where it started", &Model::groupInSequence, "<root><w>1</w></root>", kStrict,
     "{1=1}", nullptr},
    {"inline group reads one alternative", &Model::groupInSequence, "<root><x>1</x><y>2</y></root>", kStrict,
     LeftOver("root", "y", "/root"), nullptr},
    // Abstract alternatives.
    {"creator chooses the class", &Model::abstract, "<root><pay kind='104'><holder>A</holder></pay></root>", kStrict,
     "{0={0=A}}", "<root><pay><holder>A</holder></pay></root>"},
    {"no object from the creator: null, and the next alternative", &Model::abstract, "<root><pay>cash</pay></root>",
     kStrict, "{0=null 1=cash}", nullptr},
    {"chosen object may not be an empty choice", &Model::abstract, "<root><pay kind='101'/></root>", kStrict,
     "No child elements within the element [pay] were populated. The element represents a choice, so one and only "
     "one element should be populated. The element contained no sutable child elements\nPath: /root/pay",
     nullptr},
    {"property set before the alternative is read", &Model::pickInChoice, "<root><pick><z/></pick></root>", kStrict,
     LeftOver("pick", "z", "/root/pick"), nullptr},
    // Collections in a group: a failed count reports no progress, the items stay.
    {"too few: the items stay and the next alternative reads the same element", &Model::groupCollection,
     "<root><s>only</s></root>", kStrict, "{0={0=[only] 1=only}}", nullptr},
    {"too many: the single alternative takes the first, the rest is left over", &Model::groupCollection,
     "<root><s>1</s><s>2</s><s>3</s><s>4</s><s>5</s><s>6</s></root>", kStrict, LeftOver("root", "s", "/root"), nullptr},
    // Wildcards.
    {"named wildcard", &Model::namedWildcard, "<root><note lang='en'>hi</note></root>", kStrict, "{0=<note>}",
     "<root><note lang=\"en\">hi</note></root>"},
    {"named wildcard, other element: emptied", &Model::namedWildcard, "<root><b>1</b></root>", kStrict, "{0=null 1=1}",
     nullptr},
    {"any element", &Model::anyWildcard, "<root><foo>t<bar/></foo></root>", kStrict, "{0=<foo>}",
     "<root><foo><bar/>t</foo></root>"},
    {"named wildcards", &Model::namedWildcards, "<root><entry>1</entry><entry>2</entry></root>", kStrict,
     "{0=[2 elements]}", nullptr},
    {"named wildcards, other namespace stops them", &Model::namedWildcards,
     "<root xmlns:o='urn:o'><entry>1</entry><o:entry/></root>", kStrict, LeftOver("root", "entry", "/root"), nullptr},
    {"named wildcards in a group at the end of its parent", &Model::wildcardsInGroup, "<root/>", kStrict, "{}",
     nullptr}};
// clang-format on

TEST(ChoiceRead, ReadsOneAlternative) {
    for (const ReadCase& c : kReadCases) {
        SCOPED_TRACE(c.name);
        Model model;
        CSmartPtr<CTestObject> root = model.Make(c.root);
        const CSerializationContext context = ContextOf(c.options);
        const Outcome outcome = ReadOutcome(*root, c.xml, context);
        EXPECT_EQ(outcome.failed ? outcome.message : Dump(root), c.expected);
        if (c.written && !outcome.failed) {
            EXPECT_EQ(Write(*root, context), c.written);
        }
    }
}

TEST(ChoiceWrite, TheFirstSetAlternativeEndsTheWalk) {
    Model model;
    CSmartPtr<CTestObject> root = model.Make(&Model::flat);
    const CSerializationContext context;
    root->props[1].SetI4(7);
    root->props[2].SetI4(1);
    EXPECT_EQ(Write(*root, context), "<root><b>7</b></root>");
    root->props[0].SetString(u"x");
    EXPECT_EQ(Write(*root, context), "<root><a>x</a></root>");
    // An empty group object still counts as the chosen alternative.
    root = model.Make(&Model::groupInChoice);
    root->props[0].SetXmlObject(NewObject(102, u"G"));
    root->props[1].SetString(u"not reached");
    EXPECT_EQ(Write(*root, context), "<root/>");
}

TEST(ChoiceWrite, EmptyChoiceOfCollectionsFailsUnlessExcused) {
    Model model;
    CSmartPtr<CTestObject> root = model.Make(&Model::collections);
    EXPECT_EQ(Write(*root, ContextOf({.ignoreMissingChoice = true})), "<root/>");
    EXPECT_EQ(FullMessageOf([&] { Write(*root, ContextOf({.ignoreUnknown = true})); }), kNoChoiceWrite);
    // The strings (at least 2) are empty, which no choice record checks: the objects are written.
    dynamic_cast<CTestCol*>(root->Child(1))->Add()->props[0].SetString(u"p");
    EXPECT_EQ(Write(*root, CSerializationContext()), "<root><item><v>p</v></item></root>");
}

// ---- which tables excuse an empty choice -------------------------------------------------------

// clang-format off
// minOccurs: of the collection the property holds; -1: no collection
struct OptionalCase { const char* name; std::function<CElementInfo*()> record; int32_t minOccurs; bool expected; };
const OptionalCase kOptionalCases[] = {
    {"prim opt", [] { return ChoicePrim(u"a", 0); }, -1, true},
    {"prim col from 0", [] { return new CElementInfoChoicePrimCol(u"a", u"", 0); }, 0, true},
    {"prim col from 1", [] { return new CElementInfoChoicePrimCol(u"a", u"", 0); }, 1, false},
    {"class col from 0", [] { return new CElementInfoChoiceClsCol(u"a", u"", 0, XmlElementType_Element); }, 0, true},
    {"collection record without a collection", [] { return new CElementInfoChoicePrimCol(u"a", u"", 0); }, -1, false},
    {"sequence col from 0 counts for nothing", [] { return new CElementInfoSeqPrimCol(u"a", u"", 0); }, 0, false},
};
// clang-format on

TEST(ChoiceOptional, DecidesWhetherAnEmptyChoiceIsExcused) {
    for (const OptionalCase& c : kOptionalCases) {
        SCOPED_TRACE(c.name);
        // The record under test stands behind a collection that may not be absent.
        Tables tables(ClassInfo(XmlElementGroupType_Choice), {new CElementInfoChoicePrimCol(u"s", u"", 1), c.record()});
        CTestObject root(tables);
        root.onInit = [&](CTestObject& o) {
            o.props[1].SetXmlObject(new CTestStringCol(u"s", 1, -1));
            if (c.minOccurs >= 0) o.props[0].SetXmlObject(new CTestStringCol(u"a", c.minOccurs, -1));
        };
        root.Init();
        EXPECT_EQ(root.DoesElementContainOptionalElements(), c.expected);
        EXPECT_EQ(FullMessageOf([&] { Write(root, CSerializationContext()); }),
                  c.expected ? "<no exception>" : kNoChoiceWrite);
    }
}

TEST(ChoiceRobustness, RandomDocumentsReturnOrFail) {
    Model model;
    std::vector<CSmartPtr<CTestObject>> roots;
    for (Tables Model::*root : {&Model::flat, &Model::collections, &Model::pickInChoice, &Model::groupInChoice,
                                &Model::groupInSequence, &Model::abstract, &Model::groupCollection,
                                &Model::namedWildcard, &Model::namedWildcards, &Model::wildcardsInGroup})
        roots.push_back(model.Make(root));
    const std::vector<const char*> names = {"a", "b",    "c",   "s", "item",  "v",    "x", "y",
                                            "z", "pick", "pay", "w", "entry", "note", "G"};
    std::mt19937 random(1207);
    for (int i = 0; i < 150; ++i) {
        const std::string xml = RandomDocument(random, names, "root", random() % 2 ? " gid='1'" : "");
        const CSerializationContext context = RandomContext(random);
        for (CSmartPtr<CTestObject>& root : roots) ReadWriteSurvives(*root, xml, context);
    }
}

} // namespace
} // namespace BindingTest
