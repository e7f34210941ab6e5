// How JSON events become XML text: the mapping, its odd but required shapes, failures and paths.
#include <gtest/gtest.h>

#include <kvxml/KvXmlLib16.h>

#include "support/KvTestText.h"

namespace {

using namespace KvXmlLib16;
using KvTest::Narrow;

// The XML without its declaration and without the layout (tabs and line feeds), or "!" and the
// message of the failure.
std::string Convert(const std::u16string& json, JsonRoundTrip mode = JsonRoundTrip_Full, const char16_t* root = u"") {
    CSerializationContext context;
    context.GetJsonContext().SetSupportRoundtrip(mode);
    context.GetJsonContext().SetRootElementName(root);
    try {
        const CBinaryData xml = ConvertJsonToXml(json, context);
        std::string text(reinterpret_cast<const char*>(xml.GetData()), xml.GetLength());
        const std::string declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
        EXPECT_EQ(text.substr(0, declaration.size()), declaration);
        std::string compact;
        for (char c : text.substr(declaration.size()))
            if (c != '\n' && c != '\t') compact += c;
        return compact;
    } catch (const CKvException& e) {
        return "!" + Narrow(e.GetMessage());
    }
}

struct MappingCase {
    std::u16string json;
    JsonRoundTrip mode;
    std::string expected;
};

TEST(ConvertJsonToXml, MapsMembersToElementsAndAttributes) {
    const MappingCase cases[] = {
        {u"{\"r\":{\"@x\":\"1\",\"a\":\"v<\",\"b\":12.50,\"c\":true,\"@y\":\"2\"}}", JsonRoundTrip_Full,
         "!Failed to convert value '2' to Attribute string value in XML."},
        {u"{\"r\":{\"@x\":\"1\",\"@y\":null,\"a\":\"v<\",\"b\":12.50,\"c\":true,\"d\":null,\"e\":\"\"}}",
         JsonRoundTrip_Simple, "<r x=\"1\"><a>v&lt;</a><b>12.50</b><c>true</c><d/><e/></r>"},
        {u"{\"p:r\":{\"@xmlns:p\":\"urn:p\",\"@xsi:type\":\"p:t\",\"a\":[{\"b\":1},{\"b\":2}]}}", JsonRoundTrip_Full,
         "<p:r xmlns:p=\"urn:p\" xsi:type=\"p:t\"><a><b>1</b></a><a><b>2</b></a></p:r>"},
        {u"{\"r\":{\"@x\":\"1\",\"#text\":\"t\"}}", JsonRoundTrip_Full, "<r x=\"1\">t</r>"},
        // "#text" closes the element at once: what follows lands beside it.
        {u"{\"r\":{\"a\":{\"#text\":\"t\",\"b\":1}}}", JsonRoundTrip_Simple, "<r><a>t</a><b>1</b></r>"},
        // Scalars of an array do not repeat the element: the second closes the parent.
        {u"{\"r\":{\"a\":[1,2],\"b\":3}}", JsonRoundTrip_Full, "<r><a>1</a>2</r><b>3</b>"},
        // An empty array leaves its element open.
        {u"{\"r\":{\"a\":[],\"b\":1}}", JsonRoundTrip_Full, "<r><a><b>1</b></a></r>"},
        {u"{\"r\":{\"a\":\"<![CDATA[x\",\"a\":2}}", JsonRoundTrip_Full, "<r><a><![CDATA[x</a><a>2</a></r>"},
        // Without round trip, '@' and '#' are plain names, which the XML then refuses.
        {u"{\"r\":{\"@x\":\"1\",\"#text\":\"t\"}}", JsonRoundTrip_None, "<r><@x>1</@x><#text>t</#text></r>"},
        {u"{\"a\":{\"@x\":\"1\"}}", JsonRoundTrip_Full, "!An Element has not been closed."},
        {u"{\"r\":{\"\":1}}", JsonRoundTrip_None, "!JSON item has an empty Name.\nPath: $..r"},
        {u"[1]", JsonRoundTrip_Full, "!JSON Array has no Name.\nPath: $"},
        {u"{\"r\":[[1],[2]]}", JsonRoundTrip_Full, "!JSON Array has no Name.\nPath: $"},
        {u"{\"r\":{\"a\":[1,[2]]}}", JsonRoundTrip_Full, "!JSON Array has no Name.\nPath: $.r"},
    };
    for (const MappingCase& c : cases) EXPECT_EQ(Convert(c.json, c.mode), c.expected) << Narrow(c.json);
    EXPECT_EQ(Convert(u"{\"a\": 1}", JsonRoundTrip_Full, u"R"), "<R><a>1</a></R>");
    EXPECT_EQ(Convert(u" ", JsonRoundTrip_Full, u"R"), "<R/>");
    EXPECT_EQ(Convert(u" ", JsonRoundTrip_Full), "");
}

// Innermost name first; an array item carries its index as one raw character, not as digits.
TEST(ConvertJsonToXml, ScannerFailuresCarryTheJsonPath) {
    CSerializationContext context;
    const std::pair<std::u16string, std::u16string> cases[] = {
        {u"{\"a\":{\"b\":[{\"c\":x", std::u16string(u"$.c.b[") + char16_t(0) + u"].a"},
        {u"{\"a\":{\"b\":[{},{\"c\":1,\"d\":", std::u16string(u"$.d.b[") + char16_t(1) + u"].a"},
        {u"{\"a\":[1,", u"$"},
    };
    for (const auto& [json, path] : cases) {
        try {
            ConvertJsonToXml(json, context);
            ADD_FAILURE() << Narrow(json);
        } catch (const CKvValidationException& e) {
            EXPECT_EQ(e.GetPath(), path) << Narrow(json);
        }
    }
}

} // namespace
