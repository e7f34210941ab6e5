// The all group: reading in any order by repeated passes, the judgement of Validate afterwards,
// groups without an element of their own, and the failure of a group that holds a collection.
#include "BindingTestSupport.h"

namespace BindingTest {
namespace {

std::string LeftOver(const char* element) {
    return std::string("Failed read all the elements held within the element [root]. The unexpected element [") +
           element + "] remains un processed\nPath: /root";
}

std::string Missing(const char* name) {
    return std::string("Failed to process the element.\nPath: /root\nFailed to find the mandatory element [") + name +
           "].";
}

const char kNotImplemented[] = "Failed to process the element.\nPath: /root\nNot implemented, should never be called";

// The creator of a group without an element: it is handed the element the group would start at.
int g_groupCreatorNullCalls = 0;
CSmartPtr<CXmlObjectBase> CreateInlineGroup(CXmlElement* element) {
    if (!element) ++g_groupCreatorNullCalls;
    return CreateClass(202, u"grp");
}

// The classes of the tests, each root named after what it shows.
struct Model {
    // values: a (string), b (i4), c? (string), d? (size enumeration), e (size enumeration).
    Tables values{ClassInfo(XmlElementGroupType_All),
                  {AllPrimMnd(u"a", 0), AllPrimMnd(u"b", 1, ItemType_i4), AllPrimOpt(u"c", 2), AllEnumOpt(u"d", 3),
                   AllEnumMnd(u"e", 4)}};
    // classes: home (mandatory object, present from Init), work? (made when read), note?.
    Tables addr{ClassInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"addr"), {StringMnd(u"street", 0)}};
    Tables classes{ClassInfo(XmlElementGroupType_All),
                   {new CElementInfoAllClsMnd(u"home", u"", 0, XmlElementType_Element, &CreateClass, 201, true),
                    new CElementInfoAllClsOpt(u"work", u"", 1, XmlElementType_Element, &CreateClass, 201),
                    AllPrimOpt(u"note", 2)}};
    // grp: p?, q? without an element, of type 2 (202) or of type 1 with an attribute gid (203).
    Tables inlined{ClassInfo(XmlElementGroupType_All, XmlElementType_Inline, u"grp"),
                   {AllPrimOpt(u"p", 0), AllPrimOpt(u"q", 1)}};
    Tables pseudo{
        ClassInfo(XmlElementGroupType_All, XmlElementType_Pseudo, u"grp", false),
        {AllPrimOpt(u"p", 0), AllPrimOpt(u"q", 1)},
        {new CAttributeInfoPrimitive(u"gid", u"", 2, true, ItemType_string, nullptr, kPreserve, NoFacets(), nullptr)}};
    // grp (mandatory, needing no content), k.
    Tables inlineGroup{ClassInfo(XmlElementGroupType_All),
                       {new CElementInfoAllClsMnd(u"grp", u"", 0, XmlElementType_Inline, &CreateClass, 202, false),
                        AllPrimMnd(u"k", 1)}};
    Tables pseudoGroup{ClassInfo(XmlElementGroupType_All, XmlElementType_Element, u"root", false),
                       {new CElementInfoAllClsMnd(u"grp", u"", 0, XmlElementType_Pseudo, &CreateClass, 203, false),
                        AllPrimMnd(u"k", 1)}};
    Tables optionalGroup{
        ClassInfo(XmlElementGroupType_All),
        {new CElementInfoAllClsOpt(u"grp", u"", 0, XmlElementType_Inline, &CreateClass, 202), AllPrimOpt(u"k", 1)}};
    // A sequence of G? then a?, where G is all of a, b without an element.
    Tables strictGroup{ClassInfo(XmlElementGroupType_All, XmlElementType_Inline, u"grp"),
                       {AllPrimMnd(u"a", 0), AllPrimMnd(u"b", 1)}};
    Tables groupInSequence{
        ClassInfo(XmlElementGroupType_Seq),
        {new CElementInfoSeqClsOpt(u"grp", u"", 0, XmlElementType_Inline, &CreateClass, 204), StringOpt(u"a", 1)}};
    // abstract: pay and alt? as objects that their attribute kind chooses, k.
    Tables card{ClassInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"card", false), {StringMnd(u"holder", 0)}};
    Tables abstract{
        ClassInfo(XmlElementGroupType_All),
        {new CElementInfoAllAbsClsMnd(u"pay", u"", 0, XmlElementType_Element, &CreateByKind, 0),
         new CElementInfoAllAbsClsOpt(u"alt", u"", 1, XmlElementType_Element, &CreateByKind), AllPrimMnd(u"k", 2)}};
    // abstractGroups: k?, grp and opt? as groups without an element made by a creator.
    Tables abstractGroups{ClassInfo(XmlElementGroupType_All),
                          {AllPrimOpt(u"k", 0),
                           new CElementInfoAllAbsClsMnd(u"grp", u"", 1, XmlElementType_Inline, &CreateInlineGroup, 0),
                           new CElementInfoAllAbsClsOpt(u"opt", u"", 2, XmlElementType_Inline, &CreateInlineGroup)}};
    // wildcards: ext? and any element.
    Tables wildcards{ClassInfo(XmlElementGroupType_All),
                     {new CElementInfoAllUntpdOpt(u"ext", u"", 0, u"##any", u""),
                      new CElementInfoAllUntpdMnd(u"AnyElement", u"", 1, u"##any", u"")}};
    // a and s (strings, at least 1), or a and item (objects).
    Tables item{ClassInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"item"), {StringMnd(u"v", 0)}};
    Tables strings{ClassInfo(XmlElementGroupType_All), {AllPrimMnd(u"a", 0), new CElementInfoAllPrimCol(u"s", u"", 1)}};
    Tables objects{ClassInfo(XmlElementGroupType_All),
                   {AllPrimMnd(u"a", 0), new CElementInfoAllClsCol(u"item", u"", 1, XmlElementType_Element)}};

    Model() {
        Define(201, addr);
        Define(202, inlined);
        Define(203, pseudo);
        Define(204, strictGroup);
        Define(205, card);
    }

    CSmartPtr<CTestObject> Make(Tables Model::*root) {
        CSmartPtr<CTestObject> object = new CTestObject(this->*root);
        if (root == &Model::classes)
            object->onInit = [](CTestObject& o) { o.props[0].SetXmlObject(NewObject(201, u"home")); };
        else if (root == &Model::inlineGroup)
            object->onInit = [](CTestObject& o) { o.props[0].SetXmlObject(NewObject(202, u"grp")); };
        else if (root == &Model::pseudoGroup)
            object->onInit = [](CTestObject& o) { o.props[0].SetXmlObject(NewObject(203, u"grp")); };
        else if (root == &Model::wildcards)
            object->onInit = [](CTestObject& o) { o.props[1].SetXmlObject(new CElement(u"AnyElement")); };
        else if (root == &Model::strings)
            object->onInit = [](CTestObject& o) { o.props[1].SetXmlObject(new CTestStringCol(u"s", 1, -1)); };
        else if (root == &Model::objects)
            object->onInit = [this](CTestObject& o) { o.props[1].SetXmlObject(new CTestCol(item, u"item", 1, -1)); };
        object->Init();
        return object;
    }
};

// clang-format off
// expected: Dump of what was read, or the full message of the failure
// written: what the object writes back after a successful read; null: not checked
struct ReadCase { const char* name; Tables Model::*root; const char* xml;
    bool ignoreUnknown; std::string expected; const char* written; };
const ReadCase kReadCases[] = {
    // Values in a real element.
    {"reverse order, written in table order", &Model::values,
     "<root><e>small</e><d>large</d><c>y</c><b>1</b><a>x</a></root>", false, "{0=x 1=1 2=y 3=2 4=0}",
     "<root><a>x</a><b>1</b><c>y</c><d>large</d><e>small</e></root>"},
    {"mandatory missing", &Model::values, "<root><a>x</a><e>small</e></root>", false, Missing("b"), nullptr},
    {"unknown element blocks what stands behind it, also when ignored", &Model::values,
     "<root><a>x</a><z/><b>1</b><e>small</e></root>", true, Missing("b"), nullptr},
    {"unknown element behind the mandatory ones is left over", &Model::values,
     "<root><a>x</a><b>1</b><e>small</e><z/><c>y</c></root>", false, LeftOver("z"), nullptr},
    {"repeated element is left over", &Model::values, "<root><b>1</b><e>small</e><a>x</a><a>w</a></root>", false,
     LeftOver("a"), nullptr},
    // Class children.
    {"children in any order", &Model::classes,
     "<root><note>n</note><work><street>w</street></work><home><street>h</street></home></root>", false,
     "{0={0=h} 1={0=w} 2=n}",
     "<root><home><street>h</street></home><work><street>w</street></work><note>n</note></root>"},
    {"mandatory child absent", &Model::classes, "<root><work><street>w</street></work></root>", false, Missing("home"),
     nullptr},
    {"failure inside a child has the child's path once", &Model::classes, "<root><home/></root>", false,
     "Failed to find the required child element [street].\nPath: /root/home", nullptr},
    // Groups without an element of their own.
    {"inline group needing no content may be absent", &Model::inlineGroup, "<root><k>1</k></root>", false, "{0={} 1=1}",
     "<root><k>1</k></root>"},
    {"pseudo group needing no content is still mandatory", &Model::pseudoGroup, "<root><k>1</k></root>", false,
     Missing("grp"), nullptr},
    {"pseudo group with its attribute", &Model::pseudoGroup, "<root gid='g'><q>2</q><k>1</k></root>", false,
     "{0={1=2 2=g} 1=1}", "<root gid=\"g\"><q>2</q><k>1</k></root>"},
    {"found group is not offered again", &Model::inlineGroup, "<root><q>2</q><k>1</k><p>3</p></root>", false,
     LeftOver("p"), nullptr},
    {"group takes its elements together", &Model::inlineGroup, "<root><q>2</q><p>3</p><k>1</k></root>", false,
     "{0={0=3 1=2} 1=1}", nullptr},
    {"group with a missing mandatory hands back its start", &Model::groupInSequence, "<root><a>x</a></root>", false,
     "{1=x}", nullptr},
    {"optional group set when it took something", &Model::optionalGroup, "<root><k>1</k><p>3</p></root>", false,
     "{0={0=3} 1=1}", "<root><p>3</p><k>1</k></root>"},
    // Abstract children.
    {"creator chooses the class in any order", &Model::abstract,
     "<root><alt kind='205'><holder>B</holder></alt><k>1</k><pay kind='205'><holder>A</holder></pay></root>", false,
     "{0={0=A} 1={0=B} 2=1}", "<root><pay><holder>A</holder></pay><alt><holder>B</holder></alt><k>1</k></root>"},
    {"creator without an object is refused", &Model::abstract, "<root><k>1</k><pay/></root>", false,
     "Failed to process the element.\nPath: /root\nThe creator function made no object for [pay].", nullptr},
    {"groups chosen by their first element", &Model::abstractGroups, "<root><p>1</p><k>2</k></root>", false,
     "{0=2 1={0=1}}", "<root><k>2</k><p>1</p></root>"},
    // Wildcards: the named record comes first in each pass.
    {"named then any", &Model::wildcards, "<root><ext>e</ext><foo/></root>", false, "{0=<ext> 1=<foo>}",
     "<root><ext>e</ext><foo/></root>"},
    {"mandatory wildcard absent", &Model::wildcards, "<root/>", false, Missing("AnyElement"), nullptr},
    // A collection record fails the group after the elements were read, whatever the document.
    {"collection of strings", &Model::strings, "<root><s>1</s><a>x</a><s>2</s></root>", false, kNotImplemented,
     nullptr},
};
// clang-format on

TEST(AllRead, ReadsInAnyOrder) {
    for (const ReadCase& c : kReadCases) {
        SCOPED_TRACE(c.name);
        Model model;
        CSmartPtr<CTestObject> root = model.Make(c.root);
        CSerializationContext context;
        context.SetIgnoreUnknownElements(c.ignoreUnknown);
        const Outcome outcome = ReadOutcome(*root, c.xml, context);
        EXPECT_EQ(outcome.failed ? outcome.message : Dump(root), c.expected);
        if (c.written && !outcome.failed) {
            EXPECT_EQ(Write(*root, context), c.written);
        }
    }
}

TEST(AllRead, OnlyTheMandatoryAbstractGroupAsksItsCreatorWithNoElement) {
    Model model;
    CSmartPtr<CTestObject> root = model.Make(&Model::abstractGroups);
    g_groupCreatorNullCalls = 0;
    EXPECT_EQ(ReadOutcome(*root, "<root><k>2</k></root>", CSerializationContext()).message, Missing("grp"));
    EXPECT_EQ(g_groupCreatorNullCalls, 1);
}

// ---- Validate of each record ----------------------------------------------------------------------

CElementInfo* ClsMnd(XmlElementType type, bool contentRequired) {
    return new CElementInfoAllClsMnd(u"k", u"", 0, type, &CreateClass, 0, contentRequired);
}

const char kMissingK[] = "Failed to find the mandatory element [k].";

// clang-format off
// expected: the message of the failure, or "<no exception>" when the record is satisfied
struct ValidateCase { const char* name; CElementInfo* (*record)(); const char* expected; };
const ValidateCase kValidateCases[] = {
    {"prim mnd", [] { return AllPrimMnd(u"k", 0); }, kMissingK},
    {"class mnd type 1 needing no content", [] { return ClsMnd(XmlElementType_Pseudo, false); }, kMissingK},
    {"class mnd type 2 needing no content", [] { return ClsMnd(XmlElementType_Inline, false); }, "<no exception>"},
    {"class mnd type 2 needing content", [] { return ClsMnd(XmlElementType_Inline, true); }, kMissingK},
};
// clang-format on

TEST(AllValidate, JudgesAMissingRecord) {
    for (const ValidateCase& c : kValidateCases) {
        Tables tables(ClassInfo(XmlElementGroupType_All), {c.record()});
        CTestObject root(tables);
        // The options of reading do not enter into it.
        for (bool ignore : {false, true}) {
            CSerializationContext context;
            context.SetIgnoreMissingMandatoryElements(ignore);
            context.SetIgnoreInvalidCollectionCounts(ignore);
            EXPECT_EQ(MessageOf<CKvValidationException>(
                          [&] { EXPECT_TRUE(tables.elementInfo[0]->Validate(context, &root, false, true)); }),
                      c.expected)
                << c.name;
        }
    }
}

TEST(AllRobustness, RandomDocumentsReturnOrFail) {
    Model model;
    std::vector<CSmartPtr<CTestObject>> roots;
    for (Tables Model::*root : {&Model::values, &Model::classes, &Model::inlineGroup, &Model::pseudoGroup,
                                &Model::optionalGroup, &Model::groupInSequence, &Model::abstract,
                                &Model::abstractGroups, &Model::wildcards, &Model::strings, &Model::objects})
        roots.push_back(model.Make(root));
    const std::vector<const char*> names = {"a", "b", "c", "d",    "e", "home", "work", "street", "note", "grp", "p",
                                            "q", "k", "s", "item", "v", "pay",  "alt",  "holder", "ext",  "z"};
    std::mt19937 random(1321);
    for (int i = 0; i < 150; ++i) {
        const std::string xml = RandomDocument(random, names, "root", random() % 2 ? " gid='1'" : "");
        const CSerializationContext context = RandomContext(random);
        for (CSmartPtr<CTestObject>& root : roots) ReadWriteSurvives(*root, xml, context);
    }
}

} // namespace
} // namespace BindingTest
