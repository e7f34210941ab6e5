// The JSON scanner: events, the lax places it keeps, and every failure with its line and position;
// then how its events become XML text: the mapping, its odd but required shapes, failures and paths.
#include <gtest/gtest.h>

#include <kvxml/KvXmlLib16.h>

#include "support/KvTestText.h"

namespace {

using namespace KvXmlLib16;
using KvTest::Narrow;

// Renders the events as text: {  }  [  ]  name:  "string"  #number  T  F  N  |end
class Recorder : public IJsonReaderHandler {
public:
    explicit Recorder(std::string* out) : m_out(out) {}
    void OnStartDocument() override { m_out->clear(); }
    void OnEndDocument() override { *m_out += "|end"; }
    void OnName(const std::u16string& name) override { *m_out += Narrow(name) + ":"; }
    void OnString(const std::u16string& value) override { *m_out += "\"" + Narrow(value) + "\""; }
    void OnNumber(const std::u16string& value) override { *m_out += "#" + Narrow(value); }
    void OnStartObject() override { *m_out += "{"; }
    void OnEndObject() override { *m_out += "}"; }
    void OnStartArray() override { *m_out += "["; }
    void OnEndArray() override { *m_out += "]"; }
    void OnBoolean(bool value) override { *m_out += value ? "T" : "F"; }
    void OnNull() override { *m_out += "N"; }

private:
    std::string* m_out;
};

std::string Scan(const std::u16string& text, bool allowComments = true, const std::u16string& root = u"") {
    std::string events;
    CJsonTextReader reader(new Recorder(&events), nullptr, allowComments, root);
    try {
        reader.Parse(text);
    } catch (const CKvValidationException& e) {
        return Narrow(e.GetMessage());
    }
    return events;
}

struct ScanCase {
    std::u16string json;
    std::string expected;
};

TEST(JsonTextReader, AcceptsValuesAndTheLaxFormsItKeeps) {
    // clang-format off
    const ScanCase cases[] = {
        {u"", "|end"},
        {u" /* only */ // a comment\n ", "|end"},
        {u"{\"a\": [1, -0.5e+3, true, false, null, \"x\"], \"b\": {}}", "{a:[#1#-0.5e+3TFN\"x\"]b:{}}|end"},
        {u"{ /*a*/ \"x\" /*b*/ : /*c*/ 1 /*d*/ }", "{x:#1}|end"},
        {u"// one\n// two\n[]", "[]|end"},
        {u"{} garbage", "{}|end"}, {u"01", "#0|end"}, {u"nullx", "N|end"}, {u"\"a\nb\"", "\"ab\"|end"},
        {u"12\n34", "#1234|end"}, {u"\"\\u0041\\u0020\\uABCD\\ufffd\\u00e9\"", "\"33463\"|end"},
        {u"\"\\uD83D\\uDE00\"", "\"44\"|end"}, {u"\"\\\"\\\\\\/\\b\\f\\n\\r\\t\"", "\"\"\\/\b\f\n\r\t\"|end"},
        {u"\"a\tb\r\"", "\"a\tb\r\"|end"}, {std::u16string(u"\"ab\0cd\"", 7), "\"ab\"|end"}, {u"1E5", "#1E5|end"},
    };
    // clang-format on
    for (const ScanCase& c : cases) EXPECT_EQ(Scan(c.json), c.expected) << Narrow(c.json);
    EXPECT_EQ(Scan(u"{\"a\": 1}", true, u"R"), "{R:{a:#1}}|end");
    EXPECT_EQ(Scan(u"", true, u"R"), "{R:}|end");
}

TEST(JsonTextReader, FailuresTellWhatWasExpectedWhere) {
    // clang-format off
    const ScanCase cases[] = {
        {u"@", "Expected Value '{', '[', '\"', '0-9', '-', 'true', 'false' or 'null', found '@' at line 1, position 1."},
        {u"[1,]", "Expected Value '{', '[', '\"', '0-9', '-', 'true', 'false' or 'null', found ']' at line 1, position 4."},
        {u"[1 2]", "Expected Array separator character ',', found '2' at line 1, position 4."},
        {u"[01]", "Expected Array separator character ',', found '1' at line 1, position 3."},
        {u"[1", "Unexpected End of File. Expected Array terminator character ']' at line 1, position 2."},
        {u"[", "Unexpected End of File. Expected Array terminator character ']' at line 1, position 1."},
        {u"[1,", "Unexpected End of File. Expected Array terminator character ']' at line 1, position 3."},
        {u"{", "Unexpected End of File. Expected Object terminator character '}}' at line 1, position 1."},
        {u"{\"a\":1,}", "Expected quotation mark character '\"' before Name, found '}' at line 1, position 8."},
        {u"{\"a\"", "Unexpected End of File. Expected Object Name/Value separator character ':' at line 1, position 4."},
        {u"{\"a\" 1", "Expected Object Name/Value separator character ':', found '1' at line 1, position 6."},
        {u"{\"a\":", "Unexpected End of File. Expected Object Value at line 1, position 5."},
        {u"{\"a\":1", "Unexpected End of File. Expected Object terminator character '}' at line 1, position 6."},
        {u"{\"a\":1,", "Unexpected End of File. Expected Object terminator character '}' at line 1, position 7."},
        {u"{\"a\":1 2", "Expected Object separator character ',', found '2' at line 1, position 8."},
        {u"{\"a\":1/*c*/}", "Expected Object separator character ',', found '/' at line 1, position 7."},
        {u"[/x]", "Expected Value '{', '[', '\"', '0-9', '-', 'true', 'false' or 'null', found '/' at line 1, position 2."},
        {u"[/* open", "Unexpected End of File. Expected Array terminator character ']' at line 1, position 7."},
        {u"nul", "Unexpected End of File. Expected value 'NULL' at line 1, position 3."},
        {u"nulL", "Expected 'NULL' at line 1, position 4."},
        {u"tru", "Unexpected End of File. Expected value 'true' at line 1, position 3."},
        {u"trux", "Expected 'true' at line 1, position 4."},
        {u"fals", "Unexpected End of File. Expected value 'false' at line 1, position 4."},
        {u"falsy", "Expected 'false' at line 1, position 5."},
        {u"-", "Unexpected End of File. Expected a number at line 1, position 1."},
        {u"-x", "Expected a digit '0' to '9', found 'x' at line 1, position 2."},
        {u"1.", "Unexpected End of File. Expected a digit '0' to '9' at line 1, position 2."},
        {u"1.x", "Expected a digit '0' to '9', found 'x' at line 1, position 3."},
        {u"1e", "Unexpected End of File. Expected '+', '-' or a number at line 1, position 2."},
        {u"1e+", "Unexpected End of File. Expected a number at line 1, position 3."},
        {u"1ex", "Unexpected End of File. Expected a digit '0' to '9' at line 1, position 3."},
        {u"\"abc", "Unexpected End of File. Expected string value at line 1, position 4."},
        {u"[\n\"a\nb", "Unexpected End of File. Expected string value at line 3, position 1."},
        {u"\"\\", "Unexpected End of File. Expected string value at line 1, position 2."},
        {u"\"\\u00", "Unexpected End of File. Expected 4 hexadecimal digits'\\uxxxx' at line 1, position 5."},
        {u"\"\\x\"", "Invalid Escape Character 'x' at line 1, position 3."},
    };
    // clang-format on
    for (const ScanCase& c : cases) EXPECT_EQ(Scan(c.json), c.expected) << Narrow(c.json);
    EXPECT_EQ(Scan(u"[/*a*/]", false),
              "Expected Value '{', '[', '\"', '0-9', '-', 'true', 'false' or 'null', found '/' at line 1, position 2.");
}

// One hundred nested containers pass if the innermost is empty; a value inside the hundredth, or
// any deeper text, stops at the limit instead of recursing on.
TEST(JsonTextReader, NestingIsLimitedToOneHundredLevels) {
    const std::u16string hundred = std::u16string(100, u'[') + std::u16string(100, u']');
    EXPECT_EQ(Scan(hundred).substr(0, 3), "[[[");
    EXPECT_EQ(Scan(std::u16string(100, u'[') + u"1"), "JSON exceeded depth limit at line 1, position 101.");
    EXPECT_EQ(Scan(std::u16string(100000, u'[')), "JSON exceeded depth limit at line 1, position 101.");
    std::u16string objects;
    for (int i = 0; i < 100000; ++i) objects += u"{\"a\":";
    EXPECT_EQ(Scan(objects), "JSON exceeded depth limit at line 1, position 501.");
    // Consecutive comments are many, but not nested: they must not recurse either.
    std::u16string comments;
    for (int i = 0; i < 200000; ++i) comments += u"/**/";
    EXPECT_EQ(Scan(comments + u"7"), "#7|end");
}

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
