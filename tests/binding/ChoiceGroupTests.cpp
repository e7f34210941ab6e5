// The choice group: its records, the choice reader and writer of the driver, and the options
// that excuse a missing or surplus alternative.
#include "GroupTestSupport.h"

namespace BindingTest {
namespace {

using namespace Groups;

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

CSerializationContext ContextOf(const Options& o) {
    CSerializationContext context;
    context.SetIgnoreUnknownElements(o.ignoreUnknown);
    context.SetIgnoreMissingChoice(o.ignoreMissingChoice);
    context.SetIgnoreMissingMandatoryElements(o.ignoreMissingMandatory);
    context.SetIgnoreInvalidCollectionCounts(o.ignoreInvalidCounts);
    return context;
}

struct ReadCase {
    const char* name;
    const char* xml;
    Options options;
    std::string expected; // the properties read, or the full message of the failure
    const char* path;
};

// ---- single alternatives in a real element ----------------------------------------------------

// root: choice of a (string) | b (i4) | c (size enumeration).
struct FlatChoice {
    Tables tables{ClassInfo(XmlElementGroupType_Choice),
                  {ChoicePrim(u"a", 0), ChoicePrim(u"b", 1, ItemType_i4), ChoiceEnum(u"c", 2)}};
};

const ReadCase kFlatCases[] = {
    {"second alternative", "<root><b>7</b></root>", {}, "<unset>|7|<unset>", ""},
    {"first alternative", "<root><a>x</a></root>", {}, "x|<unset>|<unset>", ""},
    {"enumeration alternative", "<root><c>large</c></root>", {}, "<unset>|<unset>|2", ""},
    {"empty: the optional alternatives excuse it", "<root/>", {}, "<unset>|<unset>|<unset>", ""},
    {"two alternatives: the second is left over", "<root><a>x</a><b>7</b></root>", {}, LeftOver("root", "b", "/root"),
     "/root"},
    {"two alternatives: the second stays unread", "<root><a>x</a><b>7</b></root>", {.ignoreUnknown = true},
     "x|<unset>|<unset>", ""},
    {"unknown in front is left over", "<root><z/><b>7</b></root>", {}, LeftOver("root", "z", "/root"), "/root"},
    {"unknown in front is skipped", "<root><z/><y/><b>7</b></root>", {.ignoreUnknown = true}, "<unset>|7|<unset>",
     ""},
    {"only unknown elements, skipped", "<root><z/><y/></root>", {.ignoreUnknown = true}, "<unset>|<unset>|<unset>",
     ""},
    {"alternative behind an alternative is not read", "<root><c>small</c><z/><a>x</a></root>",
     {.ignoreUnknown = true}, "<unset>|<unset>|0", ""},
};

class FlatChoiceRead : public ::testing::TestWithParam<ReadCase> {};

TEST_P(FlatChoiceRead, ReadsOneAlternative) {
    const ReadCase& c = GetParam();
    FlatChoice f;
    CTestObject root(f.tables);
    Outcome outcome = ReadOutcome(root, c.xml, ContextOf(c.options));
    const std::string read =
        outcome.failed ? outcome.message : root.Text(0) + "|" + root.Text(1) + "|" + root.Text(2);
    EXPECT_EQ(read, c.expected);
    EXPECT_EQ(outcome.path, c.path);
}

INSTANTIATE_TEST_SUITE_P(Cases, FlatChoiceRead, ::testing::ValuesIn(kFlatCases), CaseName<ReadCase>);

TEST(FlatChoiceWrite, TheFirstSetAlternativeEndsTheWalk) {
    FlatChoice f;
    CTestObject root(f.tables);
    const CSerializationContext context;
    EXPECT_EQ(Write(root, context), "<root/>");
    root.props[1].SetI4(7);
    EXPECT_EQ(Write(root, context), "<root><b>7</b></root>");
    root.props[2].SetI4(1);
    EXPECT_EQ(Write(root, context), "<root><b>7</b></root>");
    root.props[0].SetString(u"x");
    EXPECT_EQ(Write(root, context), "<root><a>x</a></root>");
    root.props[0] = KvVariant();
    root.props[1] = KvVariant();
    EXPECT_EQ(Write(root, context), "<root><c>medium</c></root>");
}

// ---- alternatives that are collections only ---------------------------------------------------

// root: choice of s (strings, 2 to 3) | item (objects, at least 1). Neither may be absent, so an
// empty choice is a failure here.
struct CollectionChoice {
    Tables itemTables{ClassInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"item"), {SeqPrimMnd(u"v", 0)}};
    Tables tables{ClassInfo(XmlElementGroupType_Choice),
                  {new CElementInfoChoicePrimCol(u"s", u"", 0),
                   new CElementInfoChoiceClsCol(u"item", u"", 1, XmlElementType_Element)}};
    void Attach(CTestObject& root) {
        root.onInit = [this](CTestObject& o) {
            o.props[0].SetXmlObject(new CTestStringCol(u"s", 2, 3));
            o.props[1].SetXmlObject(new CTestCol(itemTables, u"item", 1, -1));
        };
        root.Init();
    }
};

const ReadCase kCollectionCases[] = {
    {"strings", "<root><s>1</s><s>2</s></root>", {}, "1,2|0", ""},
    {"objects", "<root><item><v>p</v></item><item><v>q</v></item></root>", {}, "|2", ""},
    {"empty", "<root/>", {}, kNoChoiceRead, "/root"},
    {"empty, missing choice ignored", "<root/>", {.ignoreMissingChoice = true}, "|0", ""},
    {"empty, missing mandatory ignored does not help", "<root/>", {.ignoreMissingMandatory = true}, kNoChoiceRead,
     "/root"},
    {"only an unknown element", "<root><z/></root>", {}, kNoChoiceRead, "/root"},
    {"only an unknown element, skipped", "<root><z/></root>", {.ignoreUnknown = true}, kNoChoiceRead, "/root"},
    {"only an unknown element, skipped and missing choice ignored", "<root><z/></root>",
     {.ignoreUnknown = true, .ignoreMissingChoice = true}, "|0", ""},
    {"unknown element, missing choice ignored: left over", "<root><z/></root>", {.ignoreMissingChoice = true},
     LeftOver("root", "z", "/root"), "/root"},
    {"too few strings", "<root><s>1</s></root>", {},
     "Failed to process the element.\nPath: /root\nThe Minimum number of [s] elements allowed in this collection "
     "is 2",
     "/root"},
    {"too few strings, counts ignored", "<root><s>1</s></root>", {.ignoreInvalidCounts = true}, "1|0", ""},
    {"too many strings", "<root><s>1</s><s>2</s><s>3</s><s>4</s></root>", {},
     "Failed to process the element.\nPath: /root\nThe Maximum number of [s] elements allowed in this collection "
     "is 3",
     "/root"},
    {"strings then objects: the objects are left over", "<root><s>1</s><s>2</s><item><v>p</v></item></root>", {},
     LeftOver("root", "item", "/root"), "/root"},
};

class CollectionChoiceRead : public ::testing::TestWithParam<ReadCase> {};

TEST_P(CollectionChoiceRead, ReadsOneCollection) {
    const ReadCase& c = GetParam();
    CollectionChoice f;
    CTestObject root(f.tables);
    f.Attach(root);
    Outcome outcome = ReadOutcome(root, c.xml, ContextOf(c.options));
    const std::string read = outcome.failed ? outcome.message
                                            : StringColAt(root, 0)->Joined() + "|" +
                                                  std::to_string(TestColAt(root, 1)->GetCount());
    EXPECT_EQ(read, c.expected);
    EXPECT_EQ(outcome.path, c.path);
}

INSTANTIATE_TEST_SUITE_P(Cases, CollectionChoiceRead, ::testing::ValuesIn(kCollectionCases),
                         CaseName<ReadCase>);

TEST(CollectionChoiceRead, ItemsReadBeforeACountFailureStay) {
    CollectionChoice f;
    CTestObject root(f.tables);
    f.Attach(root);
    EXPECT_TRUE(ReadOutcome(root, "<root><s>1</s></root>", CSerializationContext()).failed);
    EXPECT_EQ(StringColAt(root, 0)->Joined(), "1");
}

TEST(CollectionChoiceWrite, EmptyChoiceFailsUnlessExcused) {
    CollectionChoice f;
    CTestObject root(f.tables);
    f.Attach(root);
    EXPECT_EQ(FullMessageOf([&] { Write(root, CSerializationContext()); }), kNoChoiceWrite);
    EXPECT_EQ(Write(root, ContextOf({.ignoreMissingChoice = true})), "<root/>");
    // None of the reading options concerns writing.
    for (const Options& options : {Options{.ignoreUnknown = true}, Options{.ignoreMissingMandatory = true},
                                   Options{.ignoreInvalidCounts = true}})
        EXPECT_EQ(FullMessageOf([&] { Write(root, ContextOf(options)); }), kNoChoiceWrite);
}

TEST(CollectionChoiceWrite, TheRecordDoesNotTestTheCount) {
    CollectionChoice f;
    CTestObject root(f.tables);
    f.Attach(root);
    // The strings (at least 2) are empty, which no choice record checks: the objects are written.
    TestColAt(root, 1)->Add()->props[0].SetString(u"p");
    EXPECT_EQ(Write(root, CSerializationContext()), "<root><item><v>p</v></item></root>");
    StringColAt(root, 0)->items = {u"1", u"2"};
    EXPECT_EQ(Write(root, CSerializationContext()), "<root><s>1</s><s>2</s></root>");
}

// ---- which tables excuse an empty choice -------------------------------------------------------

struct OptionalCase {
    const char* name;
    std::function<CElementInfo*()> record;
    int32_t minOccurs; // of the collection the property holds; -1: no collection
    bool expected;
};

CSmartPtr<CXmlObjectBase> NoObject(CXmlElement*) { return CSmartPtr<CXmlObjectBase>(); }

const OptionalCase kOptionalCases[] = {
    {"prim opt", [] { return ChoicePrim(u"a", 0); }, -1, true},
    {"enum opt", [] { return ChoiceEnum(u"a", 0); }, -1, true},
    {"class opt", [] { return ChoiceCls(u"a", 0, 1); }, -1, true},
    {"abstract class opt",
     [] { return new CElementInfoChoiceAbsClsOpt(u"a", u"", 0, XmlElementType_Element, &NoObject); }, -1, true},
    {"untyped opt", [] { return new CElementInfoChoiceUntpdOpt(u"a", u"", 0, u"##any", u""); }, -1, true},
    {"prim col from 0", [] { return new CElementInfoChoicePrimCol(u"a", u"", 0); }, 0, true},
    {"prim col from 1", [] { return new CElementInfoChoicePrimCol(u"a", u"", 0); }, 1, false},
    {"enum col from 0", [] { return new CElementInfoChoiceEnumCol(u"a", u"", 0); }, 0, true},
    {"enum col from 2", [] { return new CElementInfoChoiceEnumCol(u"a", u"", 0); }, 2, false},
    {"class col from 0", [] { return new CElementInfoChoiceClsCol(u"a", u"", 0, XmlElementType_Element); }, 0, true},
    {"class col from 1", [] { return new CElementInfoChoiceClsCol(u"a", u"", 0, XmlElementType_Element); }, 1,
     false},
    {"abstract col from 0", [] { return new CElementInfoChoiceAbsClsCol(u"a", u"", 0, XmlElementType_Element); }, 0,
     true},
    {"abstract col from 1", [] { return new CElementInfoChoiceAbsClsCol(u"a", u"", 0, XmlElementType_Element); }, 1,
     false},
    {"untyped col from 1", [] { return new CElementInfoChoiceUntpdCol(u"a", u"", 0); }, 1, false},
    {"collection record without a collection", [] { return new CElementInfoChoicePrimCol(u"a", u"", 0); }, -1,
     false},
    {"sequence opt counts for nothing", [] { return SeqPrimOpt(u"a", 0); }, -1, false},
    {"all opt counts for nothing", [] { return AllPrimOpt(u"a", 0); }, -1, false},
    {"sequence col from 0 counts for nothing", [] { return new CElementInfoSeqPrimCol(u"a", u"", 0); }, 0, false},
};

class ChoiceOptional : public ::testing::TestWithParam<OptionalCase> {};

TEST_P(ChoiceOptional, DecidesWhetherAnEmptyChoiceIsExcused) {
    const OptionalCase& c = GetParam();
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

INSTANTIATE_TEST_SUITE_P(Cases, ChoiceOptional, ::testing::ValuesIn(kOptionalCases), CaseName<OptionalCase>);

TEST(ChoiceOptional, EmptyTableHasNoOptionalAlternative) {
    Tables tables(ClassInfo(XmlElementGroupType_Choice), {});
    CTestObject root(tables);
    EXPECT_FALSE(root.DoesElementContainOptionalElements());
    EXPECT_EQ(FullMessageOf([&] { Write(root, CSerializationContext()); }), kNoChoiceWrite);
    EXPECT_EQ(MessageOf([&] { Read(root, "<root/>", CSerializationContext()); }), kNoChoiceRead);
}

// ---- an alternative that is itself a choice --------------------------------------------------

// pick: a choice whose only alternative is a collection of at least one string, so that an empty
// pick is a failure unless the caller excuses it.
struct NestedChoice {
    Tables pick{ClassInfo(XmlElementGroupType_Choice, XmlElementType_Element, u"pick", false),
                {new CElementInfoChoicePrimCol(u"s", u"", 0)}};
    Tables inChoice{ClassInfo(XmlElementGroupType_Choice), {ChoiceCls(u"pick", 0, 101), ChoicePrim(u"other", 1)}};
    Tables inSequence{ClassInfo(XmlElementGroupType_Seq),
                      {new CElementInfoSeqClsOpt(u"pick", u"", 0, XmlElementType_Element, &CreateClass, 101)}};
    NestedChoice() {
        Define(101, pick, [](CTestObject& o) { o.props[0].SetXmlObject(new CTestStringCol(u"s", 1, -1)); });
    }
};

TEST(NestedChoice, AnEmptyAlternativeIsExcusedOnlyInAChoice) {
    NestedChoice f;
    CTestObject inChoice(f.inChoice);
    CTestObject inSequence(f.inSequence);
    inChoice.props[0].SetXmlObject(NewObject(101, u"pick"));
    inSequence.props[0].SetXmlObject(NewObject(101, u"pick"));
    EXPECT_EQ(Write(inChoice, CSerializationContext()), "<root><pick/></root>");
    EXPECT_EQ(FullMessageOf([&] { Write(inSequence, CSerializationContext()); }),
              "Failed to convert the element [root] to XML\nFailed to convert the element [pick] to XML\nThis "
              "element is a choice, and as such must have at one (and only one) valid item, currently there are "
              "none set");

    Read(inChoice, "<root><pick/></root>", CSerializationContext());
    ASSERT_NE(inChoice.TestChild(0), nullptr);
    EXPECT_EQ(inChoice.TestChild(0)->GetElementName(), u"pick");
    EXPECT_EQ(MessageOf([&] { Read(inSequence, "<root><pick/></root>", CSerializationContext()); }),
              "No child elements within the element [pick] were populated. The element represents a choice, so one "
              "and only one element should be populated. The element contained no sutable child elements\nPath: "
              "/root/pick");
}

TEST(NestedChoice, RoundTripOfTheInnerChoice) {
    NestedChoice f;
    CTestObject root(f.inChoice);
    const char* xml = "<root><pick><s>1</s><s>2</s></pick></root>";
    Read(root, xml, CSerializationContext());
    ASSERT_NE(root.TestChild(0), nullptr);
    EXPECT_EQ(StringColAt(*root.TestChild(0), 0)->Joined(), "1,2");
    EXPECT_EQ(root.Text(1), "<unset>");
    EXPECT_EQ(Write(root, CSerializationContext()), xml);
}

TEST(NestedChoice, ThePropertyIsSetBeforeTheAlternativeIsRead) {
    NestedChoice f;
    CTestObject root(f.inChoice);
    Outcome outcome = ReadOutcome(root, "<root><pick><z/></pick></root>", CSerializationContext());
    EXPECT_EQ(outcome.message, LeftOver("pick", "z", "/root/pick"));
    ASSERT_NE(root.TestChild(0), nullptr);
    EXPECT_EQ(root.TestChild(0)->GetElementName(), u"pick");
}

// ---- a choice group without an element of its own ----------------------------------------------

// G: a choice of x | y with an attribute gid, standing in its parent's element (type 1 or 2).
struct GroupChoice {
    Tables pseudo{ClassInfo(XmlElementGroupType_Choice, XmlElementType_Pseudo, u"G", false),
                  {ChoicePrim(u"x", 0), ChoicePrim(u"y", 1)},
                  {new CAttributeInfoPrimitive(u"gid", u"", 2, true, ItemType_string, nullptr, kPreserve, NoFacets(),
                                               nullptr)}};
    Tables inlined{ClassInfo(XmlElementGroupType_Choice, XmlElementType_Inline, u"G", false),
                   {ChoicePrim(u"x", 0), ChoicePrim(u"y", 1)}};
    // root: choice of the group | z.
    Tables inChoice{ClassInfo(XmlElementGroupType_Choice, XmlElementType_Element, u"root", false),
                    {ChoiceCls(u"G", 0, 102, XmlElementType_Pseudo), ChoicePrim(u"z", 1)}};
    // root: sequence of the inline group? then w?.
    Tables inSequence{ClassInfo(XmlElementGroupType_Seq),
                      {new CElementInfoSeqClsOpt(u"G", u"", 0, XmlElementType_Inline, &CreateClass, 103),
                       SeqPrimOpt(u"w", 1)}};
    GroupChoice() {
        Define(102, pseudo);
        Define(103, inlined);
    }
};

TEST(GroupChoice, AlternativeInsideTheGroupIsRead) {
    GroupChoice f;
    CTestObject root(f.inChoice);
    Read(root, "<root gid='5'><y>1</y></root>", CSerializationContext());
    ASSERT_NE(root.TestChild(0), nullptr);
    EXPECT_EQ(root.TestChild(0)->Text(0), "<unset>");
    EXPECT_EQ(root.TestChild(0)->Text(1), "1");
    EXPECT_EQ(root.TestChild(0)->Text(2), "5");
    EXPECT_EQ(root.Text(1), "<unset>");
    EXPECT_EQ(Write(root, CSerializationContext()), "<root gid=\"5\"><y>1</y></root>");
}

TEST(GroupChoice, GroupThatTookNothingIsEmptiedAndTheNextAlternativeTried) {
    GroupChoice f;
    CTestObject root(f.inChoice);
    Read(root, "<root><z>1</z></root>", CSerializationContext());
    EXPECT_EQ(root.props[0].GetTypeAsEnum(), ItemType_xmlObject);
    EXPECT_EQ(root.Child(0), nullptr);
    EXPECT_EQ(root.Text(1), "1");
    EXPECT_EQ(Write(root, CSerializationContext()), "<root><z>1</z></root>");
    // With no element at all the group is not even made.
    Read(root, "<root/>", CSerializationContext());
    EXPECT_EQ(root.props[0].GetTypeAsEnum(), ItemType_Invalid);
}

TEST(GroupChoice, AnEmptyGroupObjectStillCountsAsTheChosenAlternative) {
    GroupChoice f;
    CTestObject root(f.inChoice);
    root.props[0].SetXmlObject(NewObject(102, u"G"));
    root.props[1].SetString(u"not reached");
    EXPECT_EQ(Write(root, CSerializationContext()), "<root/>");
}

TEST(GroupChoice, InlineGroupWithoutAMatchReturnsWhereItStarted) {
    GroupChoice f;
    CTestObject root(f.inSequence);
    Read(root, "<root><w>1</w></root>", CSerializationContext());
    EXPECT_EQ(root.Child(0), nullptr);
    EXPECT_EQ(root.Text(1), "1");
    Read(root, "<root><y>2</y><w>1</w></root>", CSerializationContext());
    ASSERT_NE(root.TestChild(0), nullptr);
    EXPECT_EQ(root.TestChild(0)->Text(1), "2");
    EXPECT_EQ(root.Text(1), "1");
    EXPECT_EQ(Write(root, CSerializationContext()), "<root><y>2</y><w>1</w></root>");
    // The group reads one alternative; a second one is the enclosing element's left-over.
    EXPECT_EQ(MessageOf([&] { Read(root, "<root><x>1</x><y>2</y></root>", CSerializationContext()); }),
              LeftOver("root", "y", "/root"));
}

// ---- abstract alternatives ----------------------------------------------------------------------

struct AbstractChoice {
    Tables card{ClassInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"card", false), {SeqPrimMnd(u"holder", 0)}};
    Tables strict{ClassInfo(XmlElementGroupType_Choice, XmlElementType_Element, u"strict", false),
                  {new CElementInfoChoicePrimCol(u"s", u"", 0)}};
    // root: choice of pay as an object chosen by its kind | pay as plain text.
    Tables root{ClassInfo(XmlElementGroupType_Choice),
                {new CElementInfoChoiceAbsClsOpt(u"pay", u"", 0, XmlElementType_Element, &CreateByKind),
                 ChoicePrim(u"pay", 1)}};
    AbstractChoice() {
        Define(104, card);
        Define(105, strict, [](CTestObject& o) { o.props[0].SetXmlObject(new CTestStringCol(u"s", 1, -1)); });
    }
};

TEST(AbstractChoice, CreatorChoosesTheClass) {
    AbstractChoice f;
    CTestObject root(f.root);
    const char* xml = "<root><pay kind=\"104\"><holder>A</holder></pay></root>";
    Read(root, xml, CSerializationContext());
    ASSERT_NE(root.TestChild(0), nullptr);
    EXPECT_EQ(root.TestChild(0)->GetElementName(), u"pay");
    EXPECT_EQ(root.TestChild(0)->Text(0), "A");
    EXPECT_EQ(root.Text(1), "<unset>");
}

TEST(AbstractChoice, NoObjectFromTheCreatorLeavesNullAndTriesTheNextAlternative) {
    AbstractChoice f;
    CTestObject root(f.root);
    Read(root, "<root><pay>cash</pay></root>", CSerializationContext());
    EXPECT_EQ(root.props[0].GetTypeAsEnum(), ItemType_xmlObject);
    EXPECT_EQ(root.Child(0), nullptr);
    EXPECT_EQ(root.Text(1), "cash");
}

TEST(AbstractChoice, TheChosenObjectMayNotBeAnEmptyChoice) {
    AbstractChoice f;
    CTestObject root(f.root);
    EXPECT_EQ(MessageOf([&] { Read(root, "<root><pay kind='105'/></root>", CSerializationContext()); }),
              "No child elements within the element [pay] were populated. The element represents a choice, so one "
              "and only one element should be populated. The element contained no sutable child elements\nPath: "
              "/root/pay");
}

// ---- wildcard alternatives ----------------------------------------------------------------------

TEST(WildcardChoice, NamedWildcardTakesOnlyItsElement) {
    Tables tables(ClassInfo(XmlElementGroupType_Choice),
                  {new CElementInfoChoiceUntpdOpt(u"note", u"", 0, u"##any", u""), ChoicePrim(u"b", 1)});
    CTestObject root(tables);
    Read(root, "<root><note lang='en'>hi</note></root>", CSerializationContext());
    ASSERT_NE(WildcardAt(root, 0), nullptr);
    EXPECT_EQ(WildcardAt(root, 0)->GetName(), u"note");
    EXPECT_EQ(WildcardAt(root, 0)->GetText(), u"hi");
    EXPECT_EQ(Write(root, CSerializationContext()), "<root><note lang=\"en\">hi</note></root>");

    Read(root, "<root><b>1</b></root>", CSerializationContext());
    EXPECT_EQ(root.props[0].GetTypeAsEnum(), ItemType_xmlObject);
    EXPECT_EQ(root.Child(0), nullptr);
    EXPECT_EQ(root.Text(1), "1");
}

TEST(WildcardChoice, AnyElementTakesWhateverStandsThere) {
    Tables tables(ClassInfo(XmlElementGroupType_Choice),
                  {new CElementInfoChoiceUntpdOpt(u"AnyElement", u"", 0, u"##any", u"")});
    CTestObject root(tables);
    Read(root, "<root><foo>t<bar/></foo></root>", CSerializationContext());
    ASSERT_NE(WildcardAt(root, 0), nullptr);
    EXPECT_EQ(WildcardAt(root, 0)->GetName(), u"foo");
    EXPECT_EQ(Write(root, CSerializationContext()), "<root><foo><bar/>t</foo></root>");
}

struct WildcardColCase {
    const char* name;
    const char16_t* recordName;
    const char* xml;
    std::string expected; // count of wildcard elements | b
};

const WildcardColCase kWildcardColCases[] = {
    {"named, two", u"entry", "<root><entry>1</entry><entry>2</entry></root>", "2|<unset>"},
    {"named, other element", u"entry", "<root><b>1</b></root>", "0|1"},
    {"named, no element at all", u"entry", "<root/>", "0|<unset>"},
    {"named, other namespace stops it", u"entry", "<root xmlns:o='urn:o'><entry>1</entry><o:entry/></root>",
     LeftOver("root", "entry", "/root")},
    {"any, two", u"AnyElement", "<root><x/><y>2</y></root>", "2|<unset>"},
    {"any, no element at all", u"AnyElement", "<root/>", "0|<unset>"},
};

class WildcardColChoice : public ::testing::TestWithParam<WildcardColCase> {};

TEST_P(WildcardColChoice, ReadsElementsIntoTheCollection) {
    const WildcardColCase& c = GetParam();
    Tables tables(ClassInfo(XmlElementGroupType_Choice),
                  {new CElementInfoChoiceUntpdCol(c.recordName, u"", 0), ChoicePrim(u"b", 1)});
    CTestObject root(tables);
    root.onInit = [](CTestObject& o) { o.props[0].SetXmlObject(new CElementCol(u"", u"##any", u"", 0, -1)); };
    root.Init();
    Outcome outcome = ReadOutcome(root, c.xml, CSerializationContext());
    const std::string read =
        outcome.failed ? outcome.message : std::to_string(WildcardColAt(root, 0)->GetCount()) + "|" + root.Text(1);
    EXPECT_EQ(read, c.expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, WildcardColChoice, ::testing::ValuesIn(kWildcardColCases),
                         CaseName<WildcardColCase>);

TEST(WildcardColChoice, NamedCollectionInAGroupAtTheEndOfItsParent) {
    // The group is offered a used-up parent: the collection has no element whose namespace it
    // could lock to.
    Tables group(ClassInfo(XmlElementGroupType_Choice, XmlElementType_Pseudo, u"G"),
                 {new CElementInfoChoiceUntpdCol(u"entry", u"", 0)});
    Tables root(ClassInfo(XmlElementGroupType_Seq),
                {new CElementInfoSeqClsOpt(u"G", u"", 0, XmlElementType_Pseudo, &CreateClass, 107)});
    Define(107, group, [](CTestObject& o) { o.props[0].SetXmlObject(new CElementCol(u"", u"##any", u"", 0, -1)); });
    CTestObject object(root);
    Read(object, "<root/>", CSerializationContext());
    EXPECT_EQ(object.Child(0), nullptr);
    Read(object, "<root><entry/></root>", CSerializationContext());
    ASSERT_NE(object.TestChild(0), nullptr);
    EXPECT_EQ(WildcardColAt(*object.TestChild(0), 0)->GetCount(), 1);
}

// ---- collections in a group without an element ---------------------------------------------------

// G: a choice of s (2 to 5 strings) | s (one string); root: a sequence holding the group.
struct GroupCollectionChoice {
    Tables group{ClassInfo(XmlElementGroupType_Choice, XmlElementType_Pseudo, u"G"),
                 {new CElementInfoChoicePrimCol(u"s", u"", 0), ChoicePrim(u"s", 1)}};
    Tables root{ClassInfo(XmlElementGroupType_Seq),
                {new CElementInfoSeqClsOpt(u"G", u"", 0, XmlElementType_Pseudo, &CreateClass, 106)}};
    GroupCollectionChoice() {
        Define(106, group, [](CTestObject& o) { o.props[0].SetXmlObject(new CTestStringCol(u"s", 2, 5)); });
    }
};

const ReadCase kGroupCollectionCases[] = {
    {"too few: the items stay and the next alternative reads the same element", "<root><s>only</s></root>", {},
     "only|only", ""},
    {"too few, counts ignored", "<root><s>only</s></root>", {.ignoreInvalidCounts = true}, "only|<unset>", ""},
    {"enough", "<root><s>a</s><s>b</s></root>", {}, "a,b|<unset>", ""},
    {"too many: kept, the single alternative takes the first, the rest is left over",
     "<root><s>1</s><s>2</s><s>3</s><s>4</s><s>5</s><s>6</s></root>", {}, LeftOver("root", "s", "/root"), ""},
};

class GroupCollectionChoiceRead : public ::testing::TestWithParam<ReadCase> {};

TEST_P(GroupCollectionChoiceRead, CollectionThatFailsItsCountReportsNoProgress) {
    const ReadCase& c = GetParam();
    GroupCollectionChoice f;
    CTestObject root(f.root);
    Outcome outcome = ReadOutcome(root, c.xml, ContextOf(c.options));
    std::string read = outcome.message;
    if (!outcome.failed) {
        ASSERT_NE(root.TestChild(0), nullptr);
        read = StringColAt(*root.TestChild(0), 0)->Joined() + "|" + root.TestChild(0)->Text(1);
    }
    EXPECT_EQ(read, c.expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, GroupCollectionChoiceRead, ::testing::ValuesIn(kGroupCollectionCases),
                         CaseName<ReadCase>);

} // namespace
} // namespace BindingTest
