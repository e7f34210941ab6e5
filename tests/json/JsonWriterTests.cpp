// The JSON writer driven directly: layout of objects and arrays, value forms, escaping, failures.
#include <gtest/gtest.h>

#include <functional>

#include <kvxml/KvXmlLib16.h>

#include "support/KvTestText.h"
#include "support/WriterScript.h"

namespace {

using namespace KvXmlLib16;
using KvTest::Narrow;

const ItemType kString = ItemType_string;

// Runs the calls on a fresh writer (unformatted unless told) and returns the text, or "!" and the
// message of a failure.
std::string Written(const std::function<void(CJsonTextWriter&)>& calls, JsonRoundTrip mode = JsonRoundTrip_Full,
                    bool formatted = false) {
    CTextStream stream(4095, XmlEncoding_None);
    CJsonTextWriter writer(&stream);
    writer.SetFormatted(formatted);
    writer.SetIndent(u"  ");
    writer.SetSupportRoundtrip(mode);
    try {
        calls(writer);
    } catch (const CKvException& e) {
        return "!" + Narrow(e.GetMessage());
    }
    return Narrow(stream.GetText());
}

// Runs a script (see WriterScript.h) on the writer.
std::function<void(CJsonTextWriter&)> Script(const std::string& script) {
    return [script](CJsonTextWriter& w) { KvTest::Play(w, script); };
}

TEST(CJsonTextWriter, ArraysOpenWithTheFirstItemAndCloseWithTheirParent) {
    // A class collection of two items with members inside r, as the metadata layer writes it.
    const auto collection = Script("<r;~1;<i;@a 1;<c;'x;/;/;<i;@a 2;/;~3;/");
    EXPECT_EQ(Written(collection), "\"r\": {\"i\": [{\"@a\": \"1\",\"c\": \"x\"},{\"@a\": \"2\"}]}");
    EXPECT_EQ(Written(collection, JsonRoundTrip_Full, true),
              "  \"r\": {\n    \"i\": [\n      {\n        \"@a\": \"1\",\n        \"c\": \"x\"\n      },\n"
              "      {\n        \"@a\": \"2\"\n      }\n    ]\n  }");
    // Items of primitives never open the array, yet the parent still closes it.
    EXPECT_EQ(Written(Script("<r;~1;<a;'1#5;/;<a;'2#5;/;~3;<b;/;/")), "\"r\": {\"a\": 1,\"a\": 2,\"b\": ]}");
}

TEST(CJsonTextWriter, ModesDecideNamesOfAttributesTextAndNamespaces) {
    const auto element =
        Script("!xsi " + Narrow(kXsiNamespaceURI) + ";!p urn:p;!urn:d;<r urn:d;^urn:p t;@{urn:p}x 1;nil;=5#5;/");
    EXPECT_EQ(Written(element, JsonRoundTrip_None), "\"r\": {\"x\": \"1\",\"\": 5}");
    EXPECT_EQ(Written(element, JsonRoundTrip_Simple), "\"r\": {\"@x\": \"1\",\"#text\": 5}");
    EXPECT_EQ(Written(element), "\"r\": {\"@xmlns\": \"urn:d\",\"@xmlns:xsi\": \"" + Narrow(kXsiNamespaceURI) +
                                    "\",\"@xmlns:p\": \"urn:p\",\"@xsi:type\": \"p:t\",\"@p:x\": \"1\",\"#text\": 5}");
    // Only the root may bring an undeclared namespace; it gets an alias there.
    EXPECT_EQ(Written(Script("<r urn:x;/")), "\"AA:r\": {\"@xmlns:AA\": \"urn:x\"}");
}

TEST(CJsonTextWriter, ValuesAndEscaping) {
    const auto text = [](const char16_t* value, ItemType kind) {
        return [=](CJsonTextWriter& w) {
            w.SetEOLType(EOLType_CRLF);
            w.WriteStartElement(u"a", u"");
            w.WriteElementText(value, kind, false);
            w.WriteEndElement();
        };
    };
    EXPECT_EQ(Written(text(u"q\"b\\s\x01\x1F\r\n\b\t\f\u00e9", kString)),
              "\"a\": \"q\"b\\s\\u0001\\u001F\r\n\b\t\f?\"");
    EXPECT_EQ(Written(text(u"INF", ItemType_r8)), "\"a\": INF");
    EXPECT_EQ(Written(text(u"\"1\"", ItemType_boolean)), "\"a\": \"1\"");
    EXPECT_EQ(Written(text(u"", kString)), "\"a\": \"\"");
    EXPECT_EQ(Written(text(u"", ItemType_i4)), "\"a\": ");
    EXPECT_EQ(Written([](CJsonTextWriter& w) { w.WriteComment(u"c\x02"); }), "/* c\\u0002 */\n");
}

TEST(CJsonTextWriter, Failures) {
    // Each call after an open root element r.
    const std::pair<std::function<void(CJsonTextWriter&)>, std::string> cases[] = {
        {[](CJsonTextWriter& w) { w.SetEOLType(static_cast<EOLType>(2)); }, "!Invalid EOL type."},
        {Script("<c urn:x"), "!Unknown Namespace: c."},
        {Script("@{urn:x}x 1"), "!Unknown Namespace: x."},
        {Script("^urn:x t"), "!Unknown Namespace: t."},
        {Script("!p urn:x;^urn:x t"), "!Unknown Namespace: type."},
        {Script("/;/"), "!There is no open element to end."},
    };
    for (const auto& [call, message] : cases)
        EXPECT_EQ(Written([&call](CJsonTextWriter& w) {
                      w.WriteStartElement(u"r", u"");
                      call(w);
                  }),
                  message);
}

} // namespace
