// Documents that nest the three model groups in one another, in classes with and without an
// element of their own: round trips, and where a failure deep inside is reported.
#include "BindingTestSupport.h"

namespace BindingTest {
namespace {

// root        all: header, body, footer?, group Meta (needs no content)
// header      sequence: title
// body        choice: text | list | group Mixed
// list        sequence: entry{1..}
// entry       all: k, v?
// Mixed       sequence without an element: a, group Extra?
// Extra       all without an element: x?, y?
// Meta        choice without an element: author | editor
struct Document {
    Tables header{ClassInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"header"), {StringMnd(u"title", 0)}};
    Tables entry{ClassInfo(XmlElementGroupType_All, XmlElementType_Element, u"entry"),
                 {AllPrimMnd(u"k", 0), AllPrimOpt(u"v", 1)}};
    Tables list{ClassInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"list"),
                {new CElementInfoSeqClsCol(u"entry", u"", 0, XmlElementType_Element)}};
    Tables extra{ClassInfo(XmlElementGroupType_All, XmlElementType_Inline, u"Extra"),
                 {AllPrimOpt(u"x", 0), AllPrimOpt(u"y", 1)}};
    Tables mixed{
        ClassInfo(XmlElementGroupType_Seq, XmlElementType_Pseudo, u"Mixed"),
        {StringMnd(u"a", 0), new CElementInfoSeqClsOpt(u"Extra", u"", 1, XmlElementType_Inline, &CreateClass, 305)}};
    Tables body{
        ClassInfo(XmlElementGroupType_Choice, XmlElementType_Element, u"body"),
        {ChoicePrim(u"text", 0), ChoiceCls(u"list", 1, 303), ChoiceCls(u"Mixed", 2, 304, XmlElementType_Pseudo)}};
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
    for (int i = kCount - 1; i >= 0; --i)
        xml += "<e" + std::to_string(i) + ">" + std::to_string(i) + "</e" + std::to_string(i) + ">";
    xml += "</root>";
    Read(root, xml.c_str(), CSerializationContext());
    // Every record reads into one of two properties; the last read of each wins.
    EXPECT_EQ(root.Text(1) + root.Text(0), "01");
    xml = "<root>";
    for (int i = kCount - 1; i > 0; --i) xml += "<e" + std::to_string(i) + "/>";
    xml += "</root>";
    EXPECT_EQ(ReadOutcome(root, xml.c_str(), CSerializationContext()).message,
              "Failed to process the element.\nPath: /root\nFailed to find the mandatory element [e0].");
}

TEST(NestedRobustness, RandomDocumentsReturnOrFail) {
    Document d;
    CTestObject root(d.root);
    d.Attach(root);
    const std::vector<const char*> names = {"header", "title", "body", "text",   "list",   "entry",  "k", "v",
                                            "a",      "x",     "y",    "footer", "author", "editor", "z"};
    std::mt19937 random(1052);
    for (int i = 0; i < 800; ++i) ReadWriteSurvives(root, RandomDocument(random, names, "root"), RandomContext(random));
}

} // namespace
} // namespace BindingTest
