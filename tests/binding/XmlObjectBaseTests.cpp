#include "BindingTestSupport.h"

#include "kvxml/collections/CAttributeCol.h"

namespace BindingTest {
namespace {

// The root carries the context's instructions, declarations, extra attributes and in-line schema;
// the indent, the line ends and the default-value rule come from the context as well.
TEST(CXmlObjectBaseToXml, RootAndWriterOptionsComeFromTheContext) {
    Tables tables(
        new CParentElementInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"order", u"urn:shop", true, false, -1,
                               ItemType_Invalid, nullptr, false),
        {StringOpt(u"item", 0, u"urn:shop"),
         new CElementInfoSeqPrimOpt(u"b", u"urn:shop", 1, false, ItemType_string, nullptr, kNone, NoFacets(), u"0")},
        {StringAttribute(u"id", 2)});
    CTestObject root(tables, u"order", u"urn:shop");
    root.props[0].SetString(u"a");
    root.props[1].SetString(u"0");
    root.props[2].SetString(u"7");
    CSerializationContext context;
    context.SetDefaultNamespaceURI(u"urn:shop");
    context.GetNamespaceAliases().Add(u"AA", u"urn:aa"); // declared in the order of their URIs
    context.GetNamespaceAliases().Add(u"xsi", kXsi);
    context.GetProcessingInstructions().push_back(u"<?xml-stylesheet href=\"s.xsl\"?>");
    context.GetAdditionalRootAttributes()->Add(u"extra", u"1");
    context.SetInLineSchema(u"<xs:schema/>");
    EXPECT_EQ(Narrow(root.ToXml(true, true, EOLType_CRLF, context)),
              "<?xml version=\"1.0\"?>\r\n<?xml-stylesheet href=\"s.xsl\"?>\r\n\r\n<order xmlns=\"urn:shop\" "
              "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" xmlns:AA=\"urn:aa\" extra=\"1\" id=\"7\" "
              "\r\n<xs:schema/>\r\n>\r\n\t<item>a</item>\r\n\t<b/>\r\n</order>\r\n");

    // An undeclared target namespace gets an alias.
    CSerializationContext options;
    options.SetIndentChars(u"  ");
    options.SetWriteDefaultElementValues(true);
    EXPECT_EQ(Narrow(root.ToXml(false, true, EOLType_LF, options)),
              "<AA:order xmlns:AA=\"urn:shop\" id=\"7\">\n  <AA:item>a</AA:item>\n  <AA:b>0</AA:b>\n</AA:order>\n");
    options.SetIndentChars(u"");
    options.SetWriteDefaultElementValues(false);
    EXPECT_EQ(Narrow(root.ToXml(false, true, EOLType_CRLF, options)),
              "<AA:order xmlns:AA=\"urn:shop\" id=\"7\">\r\n<AA:item>a</AA:item>\r\n<AA:b/>\r\n</AA:order>\r\n");
}

// Random patterns of tokens and blanks always end, with a result or the namespace failure.
TEST(CXmlObjectBaseNamespaces, RandomPatternsEnd) {
    std::mt19937 random(13);
    const std::u16string tokens[] = {u"##any", u"##other", u"##local", u"##targetNamespace", u"urn:a", u"", u" "};
    for (int i = 0; i < 3000; ++i) {
        std::u16string pattern;
        for (int n = random() % 5; n > 0; --n) pattern += tokens[random() % 7] + (random() % 2 ? u" " : u"");
        const std::u16string ns = random() % 4 ? tokens[random() % 7] : pattern;
        try {
            CXmlObjectBase::TestNamespace(ns.c_str(), pattern.c_str(), tokens[random() % 7].c_str());
        } catch (const CKvInvalidNamespaceException&) {}
    }
}

const char16_t* const kNs = u"urn:people";

// Reads the way generated classes do: an attribute, then children matched by name, in order.
class Person : public CXmlObjectBase {
public:
    CXmlObjectBase* GetBase() override { return this; }
    std::u16string GetTargetNamespace() override { return kNs; }
    std::u16string GetNamespace() override { return kNs; }
    void ToXml_Int(CXmlWriter*, bool, const char16_t*, const CSerializationContext&, bool) const override {}

    CXmlElement* FromXml_Int(CXmlElement* element, CXmlElement* firstChild, const CSerializationContext& context,
                             bool ignoreMissingChoice) override {
        seenIgnoreMissingChoice = ignoreMissingChoice;
        rootName = element->GetLocalName();
        id = element->GetAttribute(u"id", u"");
        CXmlElement* current = firstChild;
        for (auto [field, value] : {std::pair{u"name", &name}, std::pair{u"city", &city}}) {
            if (DoesElementNameMatch(context, current, field, kNs)) {
                *value = current->GetText();
                current = current->GetNextSiblingElement();
            }
        }
        liveDuringRead = CXmlElement::GetLiveElementCount();
        return current; // left over: never looked at by the entry points
    }

    std::u16string rootName, id, name, city;
    bool seenIgnoreMissingChoice = true;
    int64_t liveDuringRead = 0;
};

TEST(CXmlObjectBaseRead, FromXmlReadsTheRootAndItsFirstChildThenDropsTheTree) {
    CSerializationContext context;
    const int64_t aliveBefore = CXmlElement::GetLiveElementCount();
    Person wide;
    wide.FromXml(u"<person xmlns='urn:people' id='7'><name>Ann \u00E9</name><city>Z</city><extra/></person>", context);
    Person narrow; // the name of the root is not compared with anything
    narrow.FromXml("<other xmlns='urn:people' id='1'><name>J\xC3\xBCrg</name><x/></other>", context);
    EXPECT_EQ(CXmlElement::GetLiveElementCount(), aliveBefore);
    EXPECT_EQ(wide.liveDuringRead - aliveBefore, 4);
    EXPECT_FALSE(wide.seenIgnoreMissingChoice);
    EXPECT_EQ(wide.rootName + wide.id + wide.name + wide.city, u"person7Ann \u00E9Z");
    EXPECT_EQ(narrow.rootName + narrow.id + narrow.name + narrow.city, u"other1J\u00FCrg");
}

} // namespace
} // namespace BindingTest
