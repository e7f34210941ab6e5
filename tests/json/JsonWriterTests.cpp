// The JSON writer driven directly: layout of objects and arrays, value forms, escaping, failures.
#include <gtest/gtest.h>

#include <functional>

#include <kvxml/KvXmlLib16.h>

#include "support/KvTestText.h"

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

// A class collection of two items with members inside r, as the metadata layer writes it.
void Collection(CJsonTextWriter& w) {
    w.WriteStartElement(u"r", u"");
    w.GetCurrentContext()->SetCollectionState(1);
    w.WriteStartElement(u"i", u"");
    w.WriteAttribute(u"a", u"", u"1", kString);
    w.WriteStartElement(u"c", u"");
    w.WriteElementText(u"x", kString, false);
    w.WriteEndElement();
    w.WriteEndElement();
    w.WriteStartElement(u"i", u"");
    w.WriteAttribute(u"a", u"", u"2", kString);
    w.WriteEndElement();
    w.GetCurrentContext()->SetCollectionState(3);
    w.WriteEndElement();
}

TEST(CJsonTextWriter, ArraysOpenWithTheFirstItemAndCloseWithTheirParent) {
    EXPECT_EQ(Written(Collection), "\"r\": {\"i\": [{\"@a\": \"1\",\"c\": \"x\"},{\"@a\": \"2\"}]}");
    EXPECT_EQ(Written(Collection, JsonRoundTrip_Full, true),
              "  \"r\": {\n    \"i\": [\n      {\n        \"@a\": \"1\",\n        \"c\": \"x\"\n      },\n"
              "      {\n        \"@a\": \"2\"\n      }\n    ]\n  }");
    // Items of primitives never open the array, yet the parent still closes it.
    EXPECT_EQ(Written([](CJsonTextWriter& w) {
                  w.WriteStartElement(u"r", u"");
                  w.GetCurrentContext()->SetCollectionState(1);
                  for (const char16_t* v : {u"1", u"2"}) {
                      w.WriteStartElement(u"a", u"");
                      w.WriteElementText(v, ItemType_i4, false);
                      w.WriteEndElement();
                  }
                  w.GetCurrentContext()->SetCollectionState(3);
                  w.WriteStartElement(u"b", u"");
                  w.WriteEndElement();
                  w.WriteEndElement();
              }),
              "\"r\": {\"a\": 1,\"a\": 2,\"b\": ]}");
}

TEST(CJsonTextWriter, ModesDecideNamesOfAttributesTextAndNamespaces) {
    const auto element = [](CJsonTextWriter& w) {
        w.AddNamespaceAlias(u"xsi", kXsiNamespaceURI);
        w.AddNamespaceAlias(u"p", u"urn:p");
        w.SetDefaultNamespace(u"urn:d");
        w.WriteStartElement(u"r", u"urn:d");
        w.WriteXsiType(u"urn:p", u"t", kString);
        w.WriteAttribute(u"x", u"urn:p", u"1", kString);
        w.WriteXsiNil();
        w.WriteElementText(u"5", ItemType_i4, true);
        w.WriteEndElement();
    };
    EXPECT_EQ(Written(element, JsonRoundTrip_None), "\"r\": {\"x\": \"1\",\"\": 5}");
    EXPECT_EQ(Written(element, JsonRoundTrip_Simple), "\"r\": {\"@x\": \"1\",\"#text\": 5}");
    EXPECT_EQ(Written(element), "\"r\": {\"@xmlns\": \"urn:d\",\"@xmlns:xsi\": \"" + Narrow(kXsiNamespaceURI) +
                                    "\",\"@xmlns:p\": \"urn:p\",\"@xsi:type\": \"p:t\",\"@p:x\": \"1\",\"#text\": 5}");
    // Only the root may bring an undeclared namespace; it gets an alias there.
    EXPECT_EQ(Written([](CJsonTextWriter& w) {
                  w.WriteStartElement(u"r", u"urn:x");
                  w.WriteEndElement();
              }),
              "\"AA:r\": {\"@xmlns:AA\": \"urn:x\"}");
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
        {[](CJsonTextWriter& w) { w.WriteStartElement(u"c", u"urn:x"); }, "!Unknown Namespace: c."},
        {[](CJsonTextWriter& w) { w.WriteAttribute(u"x", u"urn:x", u"1", kString); }, "!Unknown Namespace: x."},
        {[](CJsonTextWriter& w) { w.WriteXsiType(u"urn:x", u"t", kString); }, "!Unknown Namespace: t."},
        {[](CJsonTextWriter& w) {
             w.AddNamespaceAlias(u"p", u"urn:x");
             w.WriteXsiType(u"urn:x", u"t", kString);
         },
         "!Unknown Namespace: type."},
        {[](CJsonTextWriter& w) {
             w.WriteEndElement();
             w.WriteEndElement();
         },
         "!There is no open element to end."},
    };
    for (const auto& [call, message] : cases)
        EXPECT_EQ(Written([&call](CJsonTextWriter& w) {
                      w.WriteStartElement(u"r", u"");
                      call(w);
                  }),
                  message);
}

} // namespace
