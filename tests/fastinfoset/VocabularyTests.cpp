#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kvxml/fastinfoset/CFastInfosetBinaryData.h"
#include "kvxml/fastinfoset/CFastInfosetContext.h"
#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/output/CXmlWriter.h"
#include "kvxml/values/ItemType.h"
#include "support/KvTestBytes.h"
#include "support/KvTestText.h"

using namespace KvXmlLib16;
using KvTest::Bytes;
using KvTest::Content;
using KvTest::MessageOf;
using KvTest::Narrow;

namespace {

std::vector<std::u16string> Strings(const CFIVocabulary::CFIStringTable& t) { return {t.begin(), t.end()}; }

std::vector<std::vector<uint32_t>> Names(const CFIVocabulary::CFIQNameTable& t) {
    std::vector<std::vector<uint32_t>> out;
    for (const auto& q : t) out.push_back({q.m_prefixIndex, q.m_namespaceIndex, q.m_localNameIndex});
    return out;
}

uint32_t Find(const CFIVocabulary::IndexMap& map, const std::u16string& s) {
    uint32_t index = 0;
    return CFIVocabulary::FindIndex(map, s, index) ? index : 0;
}

CFastInfosetBinaryData Make(const Bytes& b) {
    return CFastInfosetBinaryData(b.data(), static_cast<uint32_t>(b.size()), false);
}

} // namespace

TEST(FastInfosetVocabulary, BuiltInEntriesAndQNames) {
    CFIVocabulary v;
    EXPECT_EQ(v.GetRestrictedAlphabets(), (std::vector<std::u16string>{u"0123456789-+.e ", u"0123456789-:TZ "}));
    EXPECT_EQ(Strings(v.GetPrefixNamesTable()), std::vector<std::u16string>{u"xml"});
    EXPECT_EQ(Strings(v.GetNamespaceNamesTable()), std::vector<std::u16string>{kXmlNamespaceURI});
    uint32_t index = 0;
    EXPECT_TRUE(v.FindNamespaceNameIndex(kXmlNamespaceURI, index) && index == 1);

    v.AddElement(u"", u"", u"a");
    v.AddElement(u"", u"", u"a"); // a second time adds nothing
    v.AddElement(u"xml", u"urn:n", u"b");
    v.AddElement(u"p", u"urn:n", u"a");
    v.AddAttribute(u"", u"urn:n", u"b");
    EXPECT_EQ(Names(v.GetElementNamesTable()), (std::vector<std::vector<uint32_t>>{{0, 0, 1}, {1, 2, 2}, {2, 2, 1}}));
    EXPECT_EQ(Names(v.GetAttributeNamesTable()), (std::vector<std::vector<uint32_t>>{{0, 2, 2}}));
    EXPECT_EQ(Strings(v.GetLocalNamesTable()), (std::vector<std::u16string>{u"a", u"b"}));
    EXPECT_EQ(Strings(v.GetPrefixNamesTable()), (std::vector<std::u16string>{u"xml", u"p"}));

    // The public adds append to the table even when the map keeps its older index.
    v.AddPrefixName(u"xml");
    v.AddElementValue(u"x");
    v.AddElementValue(u"x");
    v.AddAttributeValue(u"y");
    EXPECT_EQ(Strings(v.GetPrefixNamesTable()).size(), 3u);
    EXPECT_TRUE(v.FindPrefixNameIndex(u"xml", index) && index == 1);
    EXPECT_EQ(Strings(v.GetCharacterChunksTable()), (std::vector<std::u16string>{u"x", u"x"}));
    EXPECT_EQ(Strings(v.GetAttributeValuesTable()), std::vector<std::u16string>{u"y"});

    // A copy is independent of its source.
    CFIVocabulary copy(v);
    copy.AddLocalName(u"c");
    EXPECT_EQ(Strings(v.GetLocalNamesTable()).size(), 2u);
    EXPECT_EQ(Strings(copy.GetLocalNamesTable()).size(), 3u);
}

TEST(FastInfosetVocabulary, TablesStopAtTheLargestIndex) {
    CFIVocabulary::IndexMap map;
    CFIVocabulary::CFIQNameTable names;
    map.reserve(CFIVocabulary::kMaxTableSize);
    for (uint32_t i = 0; i < CFIVocabulary::kMaxTableSize; ++i) {
        CFIVocabulary::AddValueToMap(std::u16string(reinterpret_cast<const char16_t*>(&i), 2), map);
        CFIVocabulary::AddQNameToVector(0, 0, i + 1, names);
    }
    const uint32_t last = CFIVocabulary::kMaxTableSize - 1;
    EXPECT_EQ(Find(map, std::u16string(reinterpret_cast<const char16_t*>(&last), 2)), CFIVocabulary::kMaxTableSize);
    CFIVocabulary::AddValueToMap(u"one more", map);
    CFIVocabulary::AddQNameToVector(0, 0, 1, names);
    EXPECT_EQ(map.size(), CFIVocabulary::kMaxTableSize);
    EXPECT_EQ(Find(map, u"one more"), 0u);
    EXPECT_EQ(static_cast<size_t>(names.end() - names.begin()), CFIVocabulary::kMaxTableSize);
}

TEST(FastInfosetContext, DefaultsAndSuggestedValues) {
    CSerializationContext sc;
    CFastInfosetContext& c = sc.GetFIContext();
    // The other defaults show in the writer's and the reader's tests.
    EXPECT_EQ(c.GetDefaultStringEncoding(), 0);
    EXPECT_EQ(c.GetElementMaxAddLength(), 6u);

    c.SetEncoding(ItemType_string, {2, 10});
    c.SetEncoding(ItemType_duration, {2, 1});
    c.SetSuggestedValues();
    // kind * 100 + index, by ItemType.
    const uint32_t expected[29] = {0,   201, 202, 203, 203, 204, 205, 203, 204, 205, 205, 207, 208, 0, 102,
                                   102, 102, 102, 102, 102, 102, 102, 0,   210, 206, 101, 101, 0,   0};
    for (uint32_t t = 0; t < 29; ++t) {
        const auto e = c.GetEncoding(t);
        EXPECT_EQ(e.kind == 0 ? 0 : e.kind * 100 + e.index, expected[t]) << t;
    }
    EXPECT_EQ(MessageOf([&] { c.GetEncoding(29); }),
              "Fast Infoset encoding index 29 is out of range; it must be below 29");
    EXPECT_THROW(c.SetEncoding(static_cast<uint32_t>(-1), {0, 0}), CKvException);
}

TEST(FastInfosetEncodedValues, WriteAndReadBack) {
    // clang-format off
    // readBack null: the algorithm is write-only
    struct Case { uint32_t algorithm; const char16_t* text; Bytes octets; const char* readBack; } cases[] = {
        {1, u"0aFF", {0x0A, 0xFF}, "0AFF"}, {2, u"AQI=", {0x01, 0x02}, "AQI="}, {3, u"-2", {0xFF, 0xFE}, "-2"},
        {3, u"32767", {0x7F, 0xFF}, "32767"}, {3, u"-32768", {0x80, 0x00}, "-32768"},
        {4, u"-1", {0xFF, 0xFF, 0xFF, 0xFF}, "-1"},
        {4, u"2147483647", {0x7F, 0xFF, 0xFF, 0xFF}, "2147483647"},
        {5, u"-9223372036854775808", {0x80, 0, 0, 0, 0, 0, 0, 0}, "-9223372036854775808"},
        {5, u"258", {0, 0, 0, 0, 0, 0, 0x01, 0x02}, "258"}, {6, u"true", {0x38}, "true"},
        {6, u"false", {0x30}, "false"},
        // The float is read from its first octet repeated four times: 0x3F3F3F3F, not 1.5.
        {7, u"1.5", {0x3F, 0xC0, 0x00, 0x00}, "0.7470588"}, {8, u"1.5", {0x3F, 0xF8, 0, 0, 0, 0, 0, 0}, "1.5"},
        {9, u"00112233445566778899aabbccddeeff",
         {0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF},
         "00112233445566778899AABBCCDDEEFF"},
        {10, u"a<\u00e9", {'a', '<', 0xC3, 0xA9}, nullptr},
    };
    // clang-format on
    for (const Case& c : cases) {
        CFastInfosetBinaryData data(u"stale");
        data.SetAsEncodedString(c.algorithm, c.text);
        EXPECT_EQ(Content(data), c.octets) << c.algorithm << " " << Narrow(c.text);
        if (c.readBack) {
            EXPECT_EQ(Narrow(data.GetAsString(c.algorithm)), c.readBack) << c.algorithm;
        }
    }
}

TEST(FastInfosetEncodedValues, ReadsSeveralItems) {
    // clang-format off
    struct Case { uint32_t algorithm; Bytes octets; const char* text; } cases[] = {
        {3, {0x00, 0x01, 0x00, 0x02}, "1 2"}, {4, {0, 0, 0, 1, 0xFF, 0xFF, 0xFF, 0xFE}, "1 -2"},
        {8, {0x3F, 0xF8, 0, 0, 0, 0, 0, 0, 0xC0, 0, 0, 0, 0, 0, 0, 0}, "1.5 -2"},
        // Two unused bits: four bits from the first octet, six from the second.
        {6, {0x25, 0xA8}, "falsetruefalsetrue truefalsetruefalsetruefalse"}, {6, {0x0F}, "truetruetruetrue"},
        // More unused bits than the last octet holds: it contributes nothing.
        {6, {0xF0}, ""},
    };
    // clang-format on
    for (const Case& c : cases) EXPECT_EQ(Narrow(Make(c.octets).GetAsString(c.algorithm)), c.text) << c.algorithm;
}

TEST(FastInfosetEncodedValues, Failures) {
    const std::string unknown = "Unknown byte encoding.";
    // clang-format off
    struct Case { uint32_t algorithm; Bytes octets; std::string message; } reads[] = {
        {3, {1}, "Invalid value for SHORT byte encoding."},  {4, {1, 2, 3}, "Invalid value for INT byte encoding."},
        {5, Bytes(7), "Invalid value for LONG byte encoding."}, {7, {1, 2}, "Invalid value for FLOAT byte encoding."},
        {8, Bytes(12), "Invalid value for DOUBLE byte encoding."}, {9, Bytes(15), "Invalid value for UUID byte encoding."},
        {10, {'a'}, unknown}, {0, {'a'}, unknown}, {11, {'a'}, unknown},
        // Empty data is the empty string before the algorithm is looked at.
        {10, {}, "<no exception>"}, {0, {}, "<no exception>"},
    };
    // clang-format on
    for (const Case& c : reads)
        EXPECT_EQ(MessageOf([&] { EXPECT_EQ(Make(c.octets).GetAsString(c.algorithm), u""); }), c.message)
            << c.algorithm;

    CFastInfosetBinaryData data;
    EXPECT_EQ(MessageOf([&] { data.SetAsEncodedString(0, u"1"); }), unknown);
    EXPECT_EQ(MessageOf([&] { data.SetAsEncodedString(11, u"1"); }), unknown);
    EXPECT_THROW(data.SetAsEncodedString(4, u"x"), CKvException);
    EXPECT_THROW(data.SetAsEncodedString(3, u"40000"), CKvException);
    EXPECT_THROW(data.SetAsEncodedString(9, u"00112233-4455-6677-8899-aabbccddeeff"), CKvException);
}
