// Documents that nest the three model groups in one another, in classes with and without an
// element of their own: round trips, and where a failure deep inside is reported.
#include "GroupTestSupport.h"

namespace BindingTest {
namespace {

using namespace Groups;

// root        all: header, body, footer?, group Meta (needs no content)
// header      sequence: title
// body        choice: text | list | group Mixed
// list        sequence: entry{1..}
// entry       all: k, v?
// Mixed       sequence without an element: a, group Extra?
// Extra       all without an element: x?, y?
// Meta        choice without an element: author | editor
struct Document {
    Tables header{ClassInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"header"), {SeqPrimMnd(u"title", 0)}};
    Tables entry{ClassInfo(XmlElementGroupType_All, XmlElementType_Element, u"entry"),
                 {AllPrimMnd(u"k", 0), AllPrimOpt(u"v", 1)}};
    Tables list{ClassInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"list"),
                {new CElementInfoSeqClsCol(u"entry", u"", 0, XmlElementType_Element)}};
    Tables extra{ClassInfo(XmlElementGroupType_All, XmlElementType_Inline, u"Extra"),
                 {AllPrimOpt(u"x", 0), AllPrimOpt(u"y", 1)}};
    Tables mixed{ClassInfo(XmlElementGroupType_Seq, XmlElementType_Pseudo, u"Mixed"),
                 {SeqPrimMnd(u"a", 0),
                  new CElementInfoSeqClsOpt(u"Extra", u"", 1, XmlElementType_Inline, &CreateClass, 305)}};
    Tables body{ClassInfo(XmlElementGroupType_Choice, XmlElementType_Element, u"body"),
                {ChoicePrim(u"text", 0), ChoiceCls(u"list", 1, 303),
                 ChoiceCls(u"Mixed", 2, 304, XmlElementType_Pseudo)}};
    Tables meta{ClassInfo(XmlElementGroupType_Choice, XmlElementType_Inline, u"Meta"),
                {ChoicePrim(u"author", 0), ChoicePrim(u"editor", 1)}};
    Tables root{ClassInfo(XmlElementGroupType_All),
                {new CElementInfoAllClsMnd(u"header", u"", 0, XmlElementType_Element, &CreateClass, 301, true),
                 new CElementInfoAllClsMnd(u"body", u"", 1, XmlElementType_Element, &CreateClass, 302, true),
                 AllPrimOpt(u"footer", 2),
                 new CElementInfoAllClsMnd(u"Meta", u"", 3, XmlElementType_Inline, &CreateClass, 306, false)}};

    Document() {
        Define(301, header);
        Define(302, body);
        Define(303, list, [this](CTestObject& o) { o.props[0].SetXmlObject(new CTestCol(entry, u"entry", 1, -1)); });
        Define(304, mixed);
        Define(305, extra);
        Define(306, meta);
    }
    void Attach(CTestObject& object) {
        object.onInit = [](CTestObject& o) {
            o.props[0].SetXmlObject(NewObject(301, u"header"));
            o.props[1].SetXmlObject(NewObject(302, u"body"));
            o.props[3].SetXmlObject(NewObject(306, u"Meta"));
        };
        object.Init();
    }
};

struct RoundTripCase {
    const char* name;
    const char* read;
    const char* written; // null: the same text
};

const RoundTripCase kRoundTrips[] = {
    {"text body", "<root><header><title>T</title></header><body><text>hello</text></body></root>", nullptr},
    {"list body in any order, written in schema order",
     "<root><editor>ed</editor><footer>f</footer><body><list><entry><v>2</v><k>1</k></entry><entry><k>3</k></entry>"
     "</list></body><header><title>T</title></header></root>",
     "<root><header><title>T</title></header><body><list><entry><k>1</k><v>2</v></entry><entry><k>3</k></entry>"
     "</list></body><footer>f</footer><editor>ed</editor></root>"},
    {"group body with an inline all",
     "<root><header><title>T</title></header><body><a>1</a><y>2</y><x>3</x></body><author>me</author></root>",
     "<root><header><title>T</title></header><body><a>1</a><x>3</x><y>2</y></body><author>me</author></root>"},
    {"group body without its optional part", "<root><body><a>1</a></body><header><title>T</title></header></root>",
     "<root><header><title>T</title></header><body><a>1</a></body></root>"},
    {"empty body: every alternative is optional", "<root><header><title/></header><body/></root>", nullptr},
};

class NestedRoundTrip : public ::testing::TestWithParam<RoundTripCase> {};

TEST_P(NestedRoundTrip, ReadsAndWritesBack) {
    const RoundTripCase& c = GetParam();
    Document d;
    CTestObject root(d.root);
    d.Attach(root);
    Read(root, c.read, CSerializationContext());
    const std::string written = Write(root, CSerializationContext());
    EXPECT_EQ(written, c.written ? c.written : c.read);
    // And the written text reads into the same again.
    CTestObject again(d.root);
    d.Attach(again);
    Read(again, written.c_str(), CSerializationContext());
    EXPECT_EQ(Write(again, CSerializationContext()), written);
}

INSTANTIATE_TEST_SUITE_P(Cases, NestedRoundTrip, ::testing::ValuesIn(kRoundTrips), CaseName<RoundTripCase>);

struct NestedFailure {
    const char* name;
    const char* xml;
    bool ignoreUnknown;
    const char* message; // full message
    const char* path;
};

const NestedFailure kFailures[] = {
    {"two alternatives in the body",
     "<root><header><title>T</title></header><body><text>t</text><list><entry><k>1</k></entry></list></body></root>",
     false,
     "Failed read all the elements held within the element [body]. The unexpected element [list] remains un "
     "processed\nPath: /root/body",
     "/root/body"},
    {"the group without its mandatory part gives the element back",
     "<root><header><title>T</title></header><body><x>1</x></body></root>", false,
     "Failed read all the elements held within the element [body]. The unexpected element [x] remains un "
     "processed\nPath: /root/body",
     "/root/body"},
    {"deep mandatory value missing", "<root><header><title>T</title></header><body><list><entry><v>2</v></entry>"
                                     "</list></body></root>",
     false, "Failed to process the element.\nPath: /root/body/list/entry\nFailed to find the mandatory element [k].",
     "/root/body/list/entry"},
    {"empty list", "<root><header><title>T</title></header><body><list/></body></root>", false,
     "Failed to process the element.\nPath: /root/body/list\nThe Minimum number of [entry] elements allowed in this "
     "collection is 1",
     "/root/body/list"},
    {"both meta alternatives", "<root><header><title>T</title></header><body/><author>a</author><editor>e</editor>"
                               "</root>",
     false,
     "Failed read all the elements held within the element [root]. The unexpected element [editor] remains un "
     "processed\nPath: /root",
     "/root"},
    {"second meta alternative blocks what stands behind it",
     "<root><author>a</author><editor>e</editor><header><title>T</title></header><body/></root>", true,
     "Failed to process the element.\nPath: /root\nFailed to find the mandatory element [header].", "/root"},
};

class NestedFailureRead : public ::testing::TestWithParam<NestedFailure> {};

TEST_P(NestedFailureRead, ReportsTheInnermostPathOnce) {
    const NestedFailure& c = GetParam();
    Document d;
    CTestObject root(d.root);
    d.Attach(root);
    CSerializationContext context;
    context.SetIgnoreUnknownElements(c.ignoreUnknown);
    Outcome outcome = ReadOutcome(root, c.xml, context);
    EXPECT_EQ(outcome.failed ? outcome.message : "<none>", c.message);
    EXPECT_EQ(outcome.path, c.path);
}

INSTANTIATE_TEST_SUITE_P(Cases, NestedFailureRead, ::testing::ValuesIn(kFailures), CaseName<NestedFailure>);

TEST(NestedWrite, FailureChainListsTheElementsFromTheRootInward) {
    Document d;
    CTestObject root(d.root);
    d.Attach(root);
    Read(root, "<root><header><title>T</title></header><body><list><entry><k>1</k></entry></list></body></root>",
         CSerializationContext());
    CTestObject* list = root.TestChild(1)->TestChild(1);
    ASSERT_NE(list, nullptr);
    TestColAt(*list, 0)->At(0)->props[0] = KvVariant();
    EXPECT_EQ(FullMessageOf([&] { Write(root, CSerializationContext()); }),
              "Failed to convert the element [root] to XML\nFailed to convert the element [body] to XML\nFailed to "
              "convert the element [list] to XML\nFailed to convert the element [entry] to XML\nThe Property [k] is "
              "mandatory, it may not be NULL");
}

// ---- a table longer than the flags kept on the stack -------------------------------------------------

TEST(LargeAll, SeventyRecordsInReverseOrder) {
    constexpr int kCount = 70;
    std::vector<std::u16string> names;
    for (int i = 0; i < kCount; ++i) names.push_back(u"e" + Widen(std::to_string(i)));
    CElementInfo** records = new CElementInfo*[kCount + 1];
    for (int i = 0; i < kCount; ++i)
        records[i] = i % 2 ? AllPrimOpt(names[i].c_str(), 0) : AllPrimMnd(names[i].c_str(), 1);
    records[kCount] = nullptr;
    Tables tables(ClassInfo(XmlElementGroupType_All), {});
    delete[] tables.elementInfo;
    tables.elementInfo = records;
    CTestObject root(tables);
    std::string xml = "<root>";
    for (int i = kCount - 1; i >= 0; --i) xml += "<e" + std::to_string(i) + ">" + std::to_string(i) + "</e" +
                                                 std::to_string(i) + ">";
    xml += "</root>";
    Read(root, xml.c_str(), CSerializationContext());
    // Every record reads into one of two properties; the last read of each wins.
    EXPECT_EQ(root.Text(1), "0");
    EXPECT_EQ(root.Text(0), "1");
    xml = "<root>";
    for (int i = kCount - 1; i > 0; --i) xml += "<e" + std::to_string(i) + "/>";
    xml += "</root>";
    EXPECT_EQ(ReadOutcome(root, xml.c_str(), CSerializationContext()).message,
              "Failed to process the element.\nPath: /root\nFailed to find the mandatory element [e0].");
}

} // namespace
} // namespace BindingTest

namespace BindingTest {
namespace {

using namespace Groups;

TEST(NestedRobustness, RandomDocumentsReturnOrFail) {
    Document d;
    CTestObject root(d.root);
    d.Attach(root);
    const std::vector<const char*> names = {"header", "title", "body", "text",   "list",   "entry", "k", "v",
                                            "a",      "x",     "y",    "footer", "author", "editor", "z"};
    std::mt19937 random(1052);
    for (int i = 0; i < 800; ++i) ReadWriteSurvives(root, RandomDocument(random, names, "root"), RandomContext(random));
}

} // namespace
} // namespace BindingTest
