#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kvxml/fastinfoset/CFastInfosetBinaryData.h"
#include "support/KvTestBytes.h"
#include "support/KvTestText.h"

using namespace KvXmlLib16;
using KvTest::Bytes;
using KvTest::Content;
using KvTest::MessageOf;
using KvTest::Narrow;

namespace {

CFastInfosetBinaryData Make(const Bytes& b) {
    return CFastInfosetBinaryData(b.data(), static_cast<uint32_t>(b.size()), false);
}

} // namespace

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
