// The all group: reading in any order by repeated passes, the judgement of Validate afterwards,
// groups without an element of their own, and the failure of a group that holds a collection.
#include "GroupTestSupport.h"

namespace BindingTest {
namespace {

using namespace Groups;

std::string LeftOver(const char* parent, const char* element, const char* path) {
    return std::string("Failed read all the elements held within the element [") + parent +
           "]. The unexpected element [" + element + "] remains un processed\nPath: " + path;
}

std::string Missing(const char* name, const char* path = "/root") {
    return std::string("Failed to process the element.\nPath: ") + path + "\nFailed to find the mandatory element [" +
           name + "].";
}

const char kNotImplemented[] =
    "Failed to process the element.\nPath: /root\nNot implemented, should never be called";

struct ReadCase {
    const char* name;
    const char* xml;
    bool ignoreUnknown;
    std::string expected; // the properties read, or the full message of the failure
    const char* path;
};

// ---- values in a real element -------------------------------------------------------------------

// root: all of a (string), b (i4), c? (string), d? (size enumeration), e (size enumeration).
struct ValueAll {
    Tables tables{ClassInfo(XmlElementGroupType_All),
                  {AllPrimMnd(u"a", 0), AllPrimMnd(u"b", 1, ItemType_i4), AllPrimOpt(u"c", 2), AllEnumOpt(u"d", 3),
                   AllEnumMnd(u"e", 4)}};
};

const ReadCase kValueCases[] = {
    {"table order", "<root><a>x</a><b>1</b><c>y</c><d>large</d><e>small</e></root>", false, "x|1|y|2|0", ""},
    {"reverse order", "<root><e>small</e><d>large</d><c>y</c><b>1</b><a>x</a></root>", false, "x|1|y|2|0", ""},
    {"mixed order, optionals left out", "<root><e>medium</e><a>x</a><b>1</b></root>", false,
     "x|1|<unset>|<unset>|1", ""},
    {"mandatory missing", "<root><a>x</a><e>small</e></root>", false, Missing("b"), "/root"},
    {"empty element", "<root/>", false, Missing("a"), "/root"},
    {"unknown element blocks what stands behind it", "<root><a>x</a><z/><b>1</b><e>small</e></root>", false,
     Missing("b"), "/root"},
    {"unknown element blocks also when unknown elements are ignored",
     "<root><a>x</a><z/><b>1</b><e>small</e></root>", true, Missing("b"), "/root"},
    {"unknown element in front blocks everything", "<root><z/><a>x</a><b>1</b><e>small</e></root>", true,
     Missing("a"), "/root"},
    {"unknown element behind the mandatory ones is left over", "<root><a>x</a><b>1</b><e>small</e><z/><c>y</c></root>",
     false, LeftOver("root", "z", "/root"), "/root"},
    {"unknown element behind the mandatory ones stays unread", "<root><a>x</a><b>1</b><e>small</e><z/><c>y</c></root>",
     true, "x|1|<unset>|<unset>|0", ""},
    {"repeated element is left over", "<root><b>1</b><e>small</e><a>x</a><a>w</a></root>", false,
     LeftOver("root", "a", "/root"), "/root"},
    {"repeated element stays unread, the first counts", "<root><b>1</b><e>small</e><a>x</a><a>w</a></root>", true,
     "x|1|<unset>|<unset>|0", ""},
    {"repeat before a missing mandatory", "<root><a>x</a><a>w</a><e>small</e></root>", false, Missing("b"), "/root"},
};

class ValueAllRead : public ::testing::TestWithParam<ReadCase> {};

TEST_P(ValueAllRead, ReadsInAnyOrder) {
    const ReadCase& c = GetParam();
    ValueAll f;
    CTestObject root(f.tables);
    CSerializationContext context;
    context.SetIgnoreUnknownElements(c.ignoreUnknown);
    Outcome outcome = ReadOutcome(root, c.xml, context);
    const std::string read = outcome.failed ? outcome.message
                                            : root.Text(0) + "|" + root.Text(1) + "|" + root.Text(2) + "|" +
                                                  root.Text(3) + "|" + root.Text(4);
    EXPECT_EQ(read, c.expected);
    EXPECT_EQ(outcome.path, c.path);
}

INSTANTIATE_TEST_SUITE_P(Cases, ValueAllRead, ::testing::ValuesIn(kValueCases), CaseName<ReadCase>);

TEST(ValueAllRead, MissingMandatoryIsNotExcusedByTheSequenceOption) {
    ValueAll f;
    CTestObject root(f.tables);
    CSerializationContext context;
    context.SetIgnoreMissingMandatoryElements(true);
    EXPECT_EQ(ReadOutcome(root, "<root><a>x</a><e>small</e></root>", context).message, Missing("b"));
    // What was read before the judgement stays.
    EXPECT_EQ(root.Text(0), "x");
    EXPECT_EQ(root.Text(4), "0");
}

TEST(ValueAllWrite, WritesInTableOrderWhateverTheReadOrder) {
    ValueAll f;
    CTestObject root(f.tables);
    Read(root, "<root><e>small</e><c>y</c><b>1</b><a>x</a></root>", CSerializationContext());
    EXPECT_EQ(Write(root, CSerializationContext()), "<root><a>x</a><b>1</b><c>y</c><e>small</e></root>");
    root.props[1] = KvVariant();
    EXPECT_EQ(FullMessageOf([&] { Write(root, CSerializationContext()); }),
              "Failed to convert the element [root] to XML\nThe Property [b] is mandatory, it may not be NULL");
    root.props[1].SetI4(2);
    root.props[4] = KvVariant();
    EXPECT_EQ(FullMessageOf([&] { Write(root, CSerializationContext()); }),
              "Failed to convert the element [root] to XML\nThe Property [e] is mandatory, it may not be NULL");
}

// ---- Validate of each record ----------------------------------------------------------------------

struct ValidateCase {
    const char* name;
    std::function<CElementInfo*()> record;
    bool found;
    bool strict;
    const char* expected; // "true", "false" or the message
};

CSmartPtr<CXmlObjectBase> NoObject(CXmlElement*) { return CSmartPtr<CXmlObjectBase>(); }

CElementInfo* ClsMnd(XmlElementType type, bool contentRequired) {
    return new CElementInfoAllClsMnd(u"k", u"", 0, type, &CreateClass, 0, contentRequired);
}

const char kMissingK[] = "Failed to find the mandatory element [k].";
const char kNotImplementedRecord[] = "Not implemented, should never be called";

const ValidateCase kValidateCases[] = {
    {"prim mnd found", [] { return AllPrimMnd(u"k", 0); }, true, true, "true"},
    {"prim mnd found, not strict", [] { return AllPrimMnd(u"k", 0); }, true, false, "true"},
    {"prim mnd missing", [] { return AllPrimMnd(u"k", 0); }, false, true, kMissingK},
    {"prim mnd missing, not strict", [] { return AllPrimMnd(u"k", 0); }, false, false, "false"},
    {"enum mnd missing", [] { return AllEnumMnd(u"k", 0); }, false, true, kMissingK},
    {"untyped mnd missing", [] { return new CElementInfoAllUntpdMnd(u"k", u"", 0, u"##any", u""); }, false, true,
     kMissingK},
    {"untyped mnd missing, not strict", [] { return new CElementInfoAllUntpdMnd(u"k", u"", 0, u"##any", u""); },
     false, false, "false"},
    {"abstract mnd missing",
     [] { return new CElementInfoAllAbsClsMnd(u"k", u"", 0, XmlElementType_Element, &NoObject, 7); }, false, true,
     kMissingK},
    {"class mnd own element missing", [] { return ClsMnd(XmlElementType_Element, true); }, false, true, kMissingK},
    {"class mnd own element needing no content", [] { return ClsMnd(XmlElementType_Element, false); }, false, true,
     "true"},
    {"class mnd type 1 needing no content", [] { return ClsMnd(XmlElementType_Pseudo, false); }, false, true,
     kMissingK},
    {"class mnd type 2 needing no content", [] { return ClsMnd(XmlElementType_Inline, false); }, false, true, "true"},
    {"class mnd type 2 needing content", [] { return ClsMnd(XmlElementType_Inline, true); }, false, true, kMissingK},
    {"class mnd missing, not strict", [] { return ClsMnd(XmlElementType_Inline, false); }, false, false, "false"},
    {"class mnd found", [] { return ClsMnd(XmlElementType_Pseudo, true); }, true, true, "true"},
    {"prim opt missing", [] { return AllPrimOpt(u"k", 0); }, false, true, "true"},
    {"enum opt missing, not strict", [] { return AllEnumOpt(u"k", 0); }, false, false, "true"},
    {"class opt missing",
     [] { return new CElementInfoAllClsOpt(u"k", u"", 0, XmlElementType_Element, &CreateClass, 0); },
     false, true, "true"},
    {"abstract opt missing",
     [] { return new CElementInfoAllAbsClsOpt(u"k", u"", 0, XmlElementType_Element, &NoObject); }, false, true,
     "true"},
    {"untyped opt missing", [] { return new CElementInfoAllUntpdOpt(u"k", u"", 0, u"##any", u""); }, false, true,
     "true"},
    {"prim col", [] { return new CElementInfoAllPrimCol(u"k", u"", 0); }, true, false, kNotImplementedRecord},
    {"class col", [] { return new CElementInfoAllClsCol(u"k", u"", 0, XmlElementType_Element); }, false, false,
     kNotImplementedRecord},
    {"abstract col", [] { return new CElementInfoAllAbsClsCol(u"k", u"", 0, XmlElementType_Element); }, true, true,
     kNotImplementedRecord},
    {"untyped col", [] { return new CElementInfoAllUntpdCol(u"k", u"", 0); }, false, true, kNotImplementedRecord},
    {"choice record", [] { return ChoicePrim(u"k", 0); }, true, true, kNotImplementedRecord},
};

class AllValidate : public ::testing::TestWithParam<ValidateCase> {};

TEST_P(AllValidate, JudgesTheFoundFlag) {
    const ValidateCase& c = GetParam();
    Tables tables(ClassInfo(XmlElementGroupType_All), {c.record()});
    CTestObject root(tables);
    // The options of reading do not enter into it.
    for (bool ignore : {false, true}) {
        CSerializationContext context;
        context.SetIgnoreMissingMandatoryElements(ignore);
        context.SetIgnoreInvalidCollectionCounts(ignore);
        std::string result;
        try {
            result = tables.elementInfo[0]->Validate(context, &root, c.found, c.strict) ? "true" : "false";
        } catch (const CKvValidationException& e) {
            result = Narrow(e.GetMessage());
            EXPECT_TRUE(e.GetPath().empty());
        } catch (const CKvException& e) {
            result = Narrow(e.GetMessage());
            EXPECT_EQ(result, kNotImplementedRecord) << "only the base failure is a plain exception";
        }
        EXPECT_EQ(result, c.expected);
    }
}

INSTANTIATE_TEST_SUITE_P(Cases, AllValidate, ::testing::ValuesIn(kValidateCases), CaseName<ValidateCase>);

// ---- class children ---------------------------------------------------------------------------------

// addr: a sequence of street. root: all of home (mandatory object, present from Init),
// work? (made when read), note? (string).
struct ClassAll {
    Tables addr{ClassInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"addr"), {SeqPrimMnd(u"street", 0)}};
    Tables root{ClassInfo(XmlElementGroupType_All),
                {new CElementInfoAllClsMnd(u"home", u"", 0, XmlElementType_Element, &CreateClass, 201, true),
                 new CElementInfoAllClsOpt(u"work", u"", 1, XmlElementType_Element, &CreateClass, 201),
                 AllPrimOpt(u"note", 2)}};
    ClassAll() { Define(201, addr); }
    void Attach(CTestObject& object) {
        object.onInit = [](CTestObject& o) { o.props[0].SetXmlObject(NewObject(201, u"home")); };
        object.Init();
    }
};

TEST(ClassAll, ChildrenInAnyOrderRoundTrip) {
    ClassAll f;
    CTestObject root(f.root);
    f.Attach(root);
    Read(root, "<root><note>n</note><work><street>w</street></work><home><street>h</street></home></root>",
         CSerializationContext());
    ASSERT_NE(root.TestChild(1), nullptr);
    EXPECT_EQ(root.TestChild(0)->Text(0), "h");
    EXPECT_EQ(root.TestChild(1)->Text(0), "w");
    EXPECT_EQ(root.TestChild(1)->GetElementName(), u"work");
    EXPECT_EQ(Write(root, CSerializationContext()),
              "<root><home><street>h</street></home><work><street>w</street></work><note>n</note></root>");
}

TEST(ClassAll, MissingChildren) {
    ClassAll f;
    CTestObject root(f.root);
    f.Attach(root);
    Read(root, "<root><home><street>h</street></home></root>", CSerializationContext());
    EXPECT_EQ(root.Child(1), nullptr);
    const char* workOnly = "<root><work><street>w</street></work></root>";
    EXPECT_EQ(FullMessageOf([&] { Read(root, workOnly, CSerializationContext()); }), Missing("home"));
    // A failure inside a child has the child's path once.
    EXPECT_EQ(FullMessageOf([&] { Read(root, "<root><home/></root>", CSerializationContext()); }),
              "Failed to find the required child element [street].\nPath: /root/home");
}

// ---- groups without an element of their own ---------------------------------------------------------

// grp: all of p?, q? with no element of its own; root: all of grp (mandatory, needing no
// content) and k.
struct GroupAll {
    Tables inlined{ClassInfo(XmlElementGroupType_All, XmlElementType_Inline, u"grp"),
                   {AllPrimOpt(u"p", 0), AllPrimOpt(u"q", 1)}};
    Tables pseudo{ClassInfo(XmlElementGroupType_All, XmlElementType_Pseudo, u"grp", false),
                  {AllPrimOpt(u"p", 0), AllPrimOpt(u"q", 1)},
                  {new CAttributeInfoPrimitive(u"gid", u"", 2, true, ItemType_string, nullptr, kPreserve, NoFacets(),
                                               nullptr)}};
    Tables rootInline{ClassInfo(XmlElementGroupType_All),
                      {new CElementInfoAllClsMnd(u"grp", u"", 0, XmlElementType_Inline, &CreateClass, 202, false),
                       AllPrimMnd(u"k", 1)}};
    Tables rootPseudo{ClassInfo(XmlElementGroupType_All, XmlElementType_Element, u"root", false),
                      {new CElementInfoAllClsMnd(u"grp", u"", 0, XmlElementType_Pseudo, &CreateClass, 203, false),
                       AllPrimMnd(u"k", 1)}};
    GroupAll() {
        Define(202, inlined);
        Define(203, pseudo);
    }
    void Attach(CTestObject& object, int32_t classId) {
        object.onInit = [classId](CTestObject& o) { o.props[0].SetXmlObject(NewObject(classId, u"grp")); };
        object.Init();
    }
};

TEST(GroupAll, InlineGroupNeedingNoContentMayBeAbsent) {
    GroupAll f;
    CTestObject root(f.rootInline);
    f.Attach(root, 202);
    Read(root, "<root><k>1</k></root>", CSerializationContext());
    EXPECT_EQ(root.Text(1), "1");
    EXPECT_EQ(root.TestChild(0)->Text(0), "<unset>");
    EXPECT_EQ(Write(root, CSerializationContext()), "<root><k>1</k></root>");
}

TEST(GroupAll, PseudoGroupNeedingNoContentIsStillMandatory) {
    GroupAll f;
    CTestObject root(f.rootPseudo);
    f.Attach(root, 203);
    EXPECT_EQ(FullMessageOf([&] { Read(root, "<root><k>1</k></root>", CSerializationContext()); }), Missing("grp"));
    Read(root, "<root gid='g'><q>2</q><k>1</k></root>", CSerializationContext());
    EXPECT_EQ(root.TestChild(0)->Text(1), "2");
    EXPECT_EQ(root.TestChild(0)->Text(2), "g");
    EXPECT_EQ(Write(root, CSerializationContext()), "<root gid=\"g\"><q>2</q><k>1</k></root>");
}

TEST(GroupAll, FoundGroupIsNotOfferedAgain) {
    GroupAll f;
    CTestObject root(f.rootInline);
    f.Attach(root, 202);
    // The group takes q and stops at k; its p, behind k, is no longer wanted by anyone.
    EXPECT_EQ(FullMessageOf([&] { Read(root, "<root><q>2</q><k>1</k><p>3</p></root>", CSerializationContext()); }),
              LeftOver("root", "p", "/root"));
    Read(root, "<root><q>2</q><p>3</p><k>1</k></root>", CSerializationContext());
    EXPECT_EQ(root.TestChild(0)->Text(0), "3");
    EXPECT_EQ(root.TestChild(0)->Text(1), "2");
}

TEST(GroupAll, GroupWithAMissingMandatoryHandsBackItsStart) {
    // grp: all of a, b without an element; root: a sequence of grp? then anything named a.
    Tables group(ClassInfo(XmlElementGroupType_All, XmlElementType_Inline, u"grp"),
                 {AllPrimMnd(u"a", 0), AllPrimMnd(u"b", 1)});
    Tables root(ClassInfo(XmlElementGroupType_Seq),
                {new CElementInfoSeqClsOpt(u"grp", u"", 0, XmlElementType_Inline, &CreateClass, 204),
                 SeqPrimOpt(u"a", 1)});
    Define(204, group);
    CTestObject object(root);
    // b is missing: the group reports no progress, so a is offered to the sequence again.
    Read(object, "<root><a>x</a></root>", CSerializationContext());
    EXPECT_EQ(object.Child(0), nullptr);
    EXPECT_EQ(object.Text(1), "x");
    Read(object, "<root><b>y</b><a>x</a></root>", CSerializationContext());
    ASSERT_NE(object.TestChild(0), nullptr);
    EXPECT_EQ(object.TestChild(0)->Text(0), "x");
    EXPECT_EQ(object.TestChild(0)->Text(1), "y");
    EXPECT_EQ(object.Text(1), "<unset>");
}

TEST(GroupAll, OptionalGroupIsSetOnlyWhenItTookSomething) {
    GroupAll f;
    Tables root(ClassInfo(XmlElementGroupType_All),
                {new CElementInfoAllClsOpt(u"grp", u"", 0, XmlElementType_Inline, &CreateClass, 202),
                 AllPrimOpt(u"k", 1)});
    CTestObject object(root);
    Read(object, "<root><k>1</k></root>", CSerializationContext());
    EXPECT_EQ(object.Child(0), nullptr);
    Read(object, "<root><k>1</k><p>3</p></root>", CSerializationContext());
    ASSERT_NE(object.TestChild(0), nullptr);
    EXPECT_EQ(object.TestChild(0)->Text(0), "3");
    EXPECT_EQ(Write(object, CSerializationContext()), "<root><p>3</p><k>1</k></root>");
}

// ---- abstract and wildcard children -------------------------------------------------------------------

struct AbstractAll {
    Tables card{ClassInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"card", false), {SeqPrimMnd(u"holder", 0)}};
    Tables root{ClassInfo(XmlElementGroupType_All),
                {new CElementInfoAllAbsClsMnd(u"pay", u"", 0, XmlElementType_Element, &CreateByKind, 0),
                 new CElementInfoAllAbsClsOpt(u"alt", u"", 1, XmlElementType_Element, &CreateByKind),
                 AllPrimMnd(u"k", 2)}};
    AbstractAll() { Define(205, card); }
};

TEST(AbstractAll, CreatorChoosesTheClassInAnyOrder) {
    AbstractAll f;
    CTestObject root(f.root);
    Read(root, "<root><alt kind='205'><holder>B</holder></alt><k>1</k><pay kind='205'><holder>A</holder></pay></root>",
         CSerializationContext());
    ASSERT_NE(root.TestChild(0), nullptr);
    ASSERT_NE(root.TestChild(1), nullptr);
    EXPECT_EQ(root.TestChild(0)->Text(0), "A");
    EXPECT_EQ(root.TestChild(1)->Text(0), "B");
    EXPECT_EQ(root.TestChild(1)->GetElementName(), u"alt");
    EXPECT_EQ(FullMessageOf([&] { Read(root, "<root><k>1</k></root>", CSerializationContext()); }), Missing("pay"));
}

TEST(AbstractAll, CreatorWithoutAnObjectIsRefused) {
    AbstractAll f;
    CTestObject root(f.root);
    EXPECT_EQ(FullMessageOf([&] { Read(root, "<root><k>1</k><pay/></root>", CSerializationContext()); }),
              "Failed to process the element.\nPath: /root\nThe creator function made no object for [pay].");
}

// The creator of a group without an element: it is handed the element the group would start at.
int g_groupCreatorNullCalls = 0;
CSmartPtr<CXmlObjectBase> CreateInlineGroup(CXmlElement* element) {
    if (!element) ++g_groupCreatorNullCalls;
    return CreateClass(206, u"grp");
}

TEST(AbstractAll, GroupsWithoutAnElementChosenByTheirFirstElement) {
    Tables group(ClassInfo(XmlElementGroupType_All, XmlElementType_Inline, u"grp"),
                 {AllPrimOpt(u"p", 0), AllPrimOpt(u"q", 1)});
    Define(206, group);
    Tables tables(ClassInfo(XmlElementGroupType_All),
                  {AllPrimOpt(u"k", 0),
                   new CElementInfoAllAbsClsMnd(u"grp", u"", 1, XmlElementType_Inline, &CreateInlineGroup, 0),
                   new CElementInfoAllAbsClsOpt(u"opt", u"", 2, XmlElementType_Inline, &CreateInlineGroup)});
    CTestObject root(tables);
    Read(root, "<root><p>1</p><k>2</k></root>", CSerializationContext());
    ASSERT_NE(root.TestChild(1), nullptr);
    EXPECT_EQ(root.TestChild(1)->Text(0), "1");
    EXPECT_EQ(root.Child(2), nullptr);
    EXPECT_EQ(root.Text(0), "2");
    EXPECT_EQ(Write(root, CSerializationContext()), "<root><k>2</k><p>1</p></root>");
    // Once k has used up the children, only the mandatory form still asks its creator, with no element.
    g_groupCreatorNullCalls = 0;
    EXPECT_EQ(FullMessageOf([&] { Read(root, "<root><k>2</k></root>", CSerializationContext()); }), Missing("grp"));
    EXPECT_EQ(g_groupCreatorNullCalls, 1);
}

TEST(WildcardAll, NamedAndAnyElementInEitherOrder) {
    Tables tables(ClassInfo(XmlElementGroupType_All),
                  {new CElementInfoAllUntpdOpt(u"ext", u"", 0, u"##any", u""),
                   new CElementInfoAllUntpdMnd(u"AnyElement", u"", 1, u"##any", u"")});
    CTestObject root(tables);
    root.onInit = [](CTestObject& o) { o.props[1].SetXmlObject(new CElement(u"AnyElement")); };
    root.Init();
    for (const char* xml : {"<root><ext>e</ext><foo/></root>", "<root><foo/><ext>e</ext></root>"}) {
        Read(root, xml, CSerializationContext());
        ASSERT_NE(WildcardAt(root, 0), nullptr) << xml;
        EXPECT_EQ(WildcardAt(root, 0)->GetText(), u"e");
        EXPECT_EQ(WildcardAt(root, 1)->GetName(), u"foo");
    }
    EXPECT_EQ(Write(root, CSerializationContext()), "<root><ext>e</ext><foo/></root>");
    EXPECT_EQ(FullMessageOf([&] { Read(root, "<root/>", CSerializationContext()); }), Missing("AnyElement"));
    // Only ext: the named record comes first in the pass and takes it, so the wildcard finds nothing.
    EXPECT_EQ(FullMessageOf([&] { Read(root, "<root><ext>e</ext></root>", CSerializationContext()); }),
              Missing("AnyElement"));
    ASSERT_NE(WildcardAt(root, 0), nullptr);
    EXPECT_EQ(WildcardAt(root, 0)->GetName(), u"ext");
}

// ---- collections ------------------------------------------------------------------------------------

// root: all of a and s (strings, at least 1) or item (objects).
struct CollectionAll {
    Tables itemTables{ClassInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"item"), {SeqPrimMnd(u"v", 0)}};
    Tables strings{ClassInfo(XmlElementGroupType_All), {AllPrimMnd(u"a", 0), new CElementInfoAllPrimCol(u"s", u"", 1)}};
    Tables objects{ClassInfo(XmlElementGroupType_All),
                   {AllPrimMnd(u"a", 0), new CElementInfoAllClsCol(u"item", u"", 1, XmlElementType_Element)}};
    void Attach(CTestObject& root) {
        root.onInit = [this](CTestObject& o) {
            if (o.GetClassInfo() == strings.classInfo)
                o.props[1].SetXmlObject(new CTestStringCol(u"s", 1, -1));
            else
                o.props[1].SetXmlObject(new CTestCol(itemTables, u"item", 1, -1));
        };
        root.Init();
    }
};

TEST(CollectionAll, ReadingFailsAfterTheElementsWereRead) {
    CollectionAll f;
    CTestObject root(f.strings);
    f.Attach(root);
    CSerializationContext lenient;
    lenient.SetIgnoreInvalidCollectionCounts(true);
    lenient.SetIgnoreUnknownElements(true);
    lenient.SetIgnoreMissingChoice(true);
    for (const CSerializationContext* context : {&CSerializationContext::GetDefaultContext(), &lenient}) {
        root.Init();
        EXPECT_EQ(FullMessageOf([&] { Read(root, "<root><s>1</s><a>x</a><s>2</s></root>", *context); }),
                  kNotImplemented);
        // The collection stays in play for every pass.
        EXPECT_EQ(StringColAt(root, 1)->Joined(), "1,2");
        EXPECT_EQ(root.Text(0), "x");
    }
    CTestObject objects(f.objects);
    f.Attach(objects);
    EXPECT_EQ(FullMessageOf([&] { Read(objects, "<root><a>x</a><item><v>p</v></item></root>", lenient); }),
              kNotImplemented);
    EXPECT_EQ(TestColAt(objects, 1)->GetCount(), 1);
}

TEST(CollectionAll, WritingChecksTheCountUnlikeAChoice) {
    CollectionAll f;
    CTestObject root(f.strings);
    f.Attach(root);
    root.props[0].SetString(u"x");
    EXPECT_EQ(FullMessageOf([&] { Write(root, CSerializationContext()); }),
              "Failed to convert the element [root] to XML\nThe Minimum number of [s] elements allowed in this "
              "collection is 1");
    CSerializationContext lenient;
    lenient.SetIgnoreInvalidCollectionCounts(true);
    EXPECT_EQ(Write(root, lenient), "<root><a>x</a></root>");
    StringColAt(root, 1)->items = {u"1", u"2"};
    EXPECT_EQ(Write(root, CSerializationContext()), "<root><a>x</a><s>1</s><s>2</s></root>");
}

} // namespace
} // namespace BindingTest
