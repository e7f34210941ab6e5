// Edges of the driver outside the model groups: unknown group types, nil values, wildcards in a
// sequence, and sequence records that compete for one element.
#include "BindingTestSupport.h"

#include "kvxml/collections/CAttributeCol.h"
#include "kvxml/collections/CElement.h"
#include "kvxml/collections/CElementCol.h"

namespace BindingTest {
namespace {

constexpr auto kNone = CWhitespaceUtils::WhitespaceRule_None;

// ---- wildcards --------------------------------------------------------------------------------

TEST(Wildcard, OptionalAnyElementRoundTrip) {
    Tables tables(ClassInfo(XmlElementGroupType_Seq),
                  {new CElementInfoSeqPrimOpt(u"a", u"", 0, false, ItemType_string, nullptr, kNone, NoFacets(),
                                              nullptr),
                   new CElementInfoSeqUntpdOpt(u"AnyElement", u"", 1, u"##other", u"urn:t")});
    CTestObject object(tables, u"root", u"urn:t");
    const char* xml = "<root><a>1</a><w:ext xmlns:w=\"urn:w\" k=\"v\"><w:inner>t</w:inner></w:ext></root>";
    Read(object, xml, CSerializationContext());
    CElement* ext = dynamic_cast<CElement*>(object.Child(1));
    ASSERT_NE(ext, nullptr);
    EXPECT_EQ(ext->GetName(), u"ext");
    EXPECT_EQ(ext->GetChildElements()->GetCount(), 1);
    EXPECT_EQ(Write(object, CSerializationContext()),
              "<AA:root xmlns:AA=\"urn:t\"><a>1</a><AB:ext xmlns:AB=\"urn:w\" k=\"v\"><AB:inner>t</AB:inner>"
              "</AB:ext></AA:root>");
    // An element of the target namespace is not other: it stays and is reported as left over.
    EXPECT_EQ(MessageOf([&] { Read(object, "<root xmlns='urn:t'><a xmlns=''>1</a><ext/></root>", CSerializationContext()); }),
              "Failed read all the elements held within the element [root]. The unexpected element [ext] remains un "
              "processed\nPath: /root");
}

TEST(Wildcard, MandatoryNamedWildcardNamesTheNamespace) {
    Tables tables(ClassInfo(XmlElementGroupType_Seq), {new CElementInfoSeqUntpdMnd(u"ext", u"urn:w", 0, u"##any", u"")});
    CTestObject object(tables);
    object.onInit = [](CTestObject& o) { o.props[0].SetXmlObject(new CElement(u"ext")); };
    EXPECT_EQ(MessageOf([&] { Read(object, "<root><other/></root>", CSerializationContext()); }),
              "Failed to find the required element from namespace [urn:w].\nPath: /root");
    EXPECT_EQ(MessageOf([&] { Read(object, "<root/>", CSerializationContext()); }),
              "Failed to find the required child element [ext].\nPath: /root");
    Read(object, "<root><ext>x</ext></root>", CSerializationContext());
    EXPECT_EQ(dynamic_cast<CElement*>(object.Child(0))->GetText(), u"x");
}

TEST(Wildcard, CollectionOfAnyElements) {
    Tables tables(ClassInfo(XmlElementGroupType_Seq), {new CElementInfoSeqUntpdCol(u"AnyElement", u"", 0)});
    CTestObject object(tables);
    object.onInit = [](CTestObject& o) { o.props[0].SetXmlObject(new CElementCol(u"", u"##any", u"", 0, -1)); };
    Read(object, "<root><p>1</p><q>2</q><r/></root>", CSerializationContext());
    EXPECT_EQ(dynamic_cast<CElementCol*>(object.Child(0))->GetCount(), 3);
    EXPECT_EQ(Write(object, CSerializationContext()), "<root><p>1</p><q>2</q><r/></root>");
}

TEST(Wildcard, AnyAttributeNeedsAnAttributeCollection) {
    Tables tables(ClassInfo(XmlElementGroupType_Seq), {},
                  {new CAttributeInfoAny(u"AnyAttribute", u"", 0, true, u"##any", u"", nullptr)});
    CTestObject object(tables);
    object.onInit = [](CTestObject& o) { o.props[0].SetXmlObject(new CElement(u"wrong")); };
    EXPECT_EQ(FullMessageOf([&] { Read(object, "<root k='v'/>", CSerializationContext()); }),
              "Failed to process the element.\nPath: /root\n"
              "Serialization Data Error : The collection should be a CAttributeCol, it was not!");
    object.onInit = [](CTestObject& o) { o.props[0].SetXmlObject(new CAttributeCol(u"", u"##any", u"")); };
    Read(object, "<root k='v' l='w'/>", CSerializationContext());
    EXPECT_EQ(Write(object, CSerializationContext()), "<root k=\"v\" l=\"w\"/>");
}

TEST(GroupType, UnknownValueFailsBothWays) {
    Tables tables(ClassInfo(static_cast<XmlElementGroupType>(7)), {});
    CTestObject object(tables);
    EXPECT_EQ(FullMessageOf([&] { Write(object, CSerializationContext()); }),
              "Failed to convert the element [root] to XML\nUnknown XML Group Type");
    EXPECT_EQ(FullMessageOf([&] { Read(object, "<root/>", CSerializationContext()); }),
              "Failed to process the element.\nPath: /root\nUnknown Group Type");
}

TEST(NilObject, UnexpectedNilValueOnAClass) {
    Tables tables(ClassInfo(XmlElementGroupType_Seq), {});
    CNillableTestObject object(tables);
    EXPECT_EQ(MessageOf([&] {
                  Read(object, "<root xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance' xsi:nil='yes'/>",
                       CSerializationContext());
              }),
              "Unexpected Value [yes] for 'nil' Attribute found.\nPath: /root/xsi:@nil");
    Read(object, "<root xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance' xsi:nil='TRUE'/>",
         CSerializationContext());
    EXPECT_TRUE(object.nil);
    EXPECT_EQ(Write(object, CSerializationContext()),
              "<root xmlns:AA=\"http://www.w3.org/2001/XMLSchema-instance\" AA:nil=\"true\"/>");
}

TEST(SequenceEdge, OptionalBeforeMandatoryOfTheSameName) {
    Tables root(ClassInfo(XmlElementGroupType_Seq),
                {new CElementInfoSeqPrimOpt(u"a", u"", 0, false, ItemType_string, nullptr, kNone, NoFacets(),
                                            nullptr),
                 new CElementInfoSeqPrimMnd(u"a", u"", 1, false, ItemType_string, nullptr, kNone, NoFacets(),
                                            nullptr)});
    CTestObject object(root);
    Read(object, "<root><a>1</a><a>2</a></root>", CSerializationContext());
    EXPECT_EQ(object.Text(0) + object.Text(1), "12");
    EXPECT_EQ(MessageOf([&] { Read(object, "<root><a>1</a></root>", CSerializationContext()); }),
              "Failed to find the required child element [a].\nPath: /root");
}

TEST(SequenceEdge, WildcardInAGroupWithoutElementFailsAtTheEnd) {
    Tables group(ClassInfo(XmlElementGroupType_Seq, XmlElementType_Inline, u"grp", false),
                 {new CElementInfoSeqUntpdMnd(u"AnyElement", u"", 0, u"##any", u"")});
    Tables root(ClassInfo(XmlElementGroupType_Seq),
                {new CElementInfoSeqClsMnd(u"grp", u"", 0, XmlElementType_Inline, &CreateRegistered, 0, false)});
    CTestObject object(root);
    object.onInit = [&group](CTestObject& o) {
        CTestObject* inner = new CTestObject(group, u"grp");
        inner->onInit = [](CTestObject& i) { i.props[0].SetXmlObject(new CElement(u"any")); };
        o.props[0].SetXmlObject(inner);
    };
    EXPECT_EQ(MessageOf([&] { Read(object, "<root/>", CSerializationContext()); }),
              "Failed to find the required child element [AnyElement].\nPath: /root");
    Read(object, "<root><w>x</w></root>", CSerializationContext());
    EXPECT_EQ(dynamic_cast<CElement*>(object.TestChild(0)->Child(0))->GetText(), u"x");
}

} // namespace
} // namespace BindingTest
