#include <random>
#include <string>

#include "values/ValuesTestUtil.h"
#include "kvxml/values/CBigInteger.h"
#include "kvxml/values/CDecimal.h"
#include "kvxml/values/KvVariant.h"

using namespace KvXmlLib16;
using W = CWhitespaceUtils;

namespace {

// Random texts biased towards what the parsers look at: digits, signs, blanks, base64 and hex
// letters, the special words' letters, NUL, units beyond ASCII including broken surrogates, and a
// run of digits past the decimal scanner's buffers.
std::u16string RandomText(std::mt19937& rng) {
    // clang-format off
    static const std::u16string pieces[] = {
        u"0", u"1", u"9", u"7", u"-", u"+", u".", u"e", u"E", u" ", u"\t", u"\r", u"\n", u"=", u"/", u"A", u"f",
        u"G", u"x", u"INF", u"NaN", u"true", u"2147483648", u"18446744073709551616", u"\u00e9", u"\U0001F600",
        std::u16string(600, u'7'),
        std::u16string(1, u'\0'), std::u16string(1, char16_t(0xD800)), std::u16string(1, char16_t(0xDC00)),
        std::u16string(1, char16_t(0xC1))
    };
    // clang-format on
    std::u16string text;
    const int n = static_cast<int>(rng() % 24);
    for (int i = 0; i < n; ++i) text += pieces[rng() % std::size(pieces)];
    return text;
}

} // namespace

// Every text either converts or fails with a member of the exception family, and a failure
// leaves the variant as it was. What converts writes back to a text that converts to the same.
TEST(ValueTextRobustness, RandomTextsThroughEveryConversion) {
    const ItemType kinds[] = {
        ItemType_hexBinary, ItemType_base64Binary, ItemType_i1,      ItemType_i2,      ItemType_i4,     ItemType_i8,
        ItemType_ui1,       ItemType_ui2,          ItemType_ui4,     ItemType_ui8,     ItemType_r4,     ItemType_r8,
        ItemType_char,      ItemType_string,       ItemType_boolean, ItemType_decimal, ItemType_integer};
    std::mt19937 rng(20261121);
    for (int round = 0; round < 3000; ++round) {
        const std::u16string text = RandomText(rng);
        const auto rule = static_cast<W::WhitespaceRule>(rng() % 4);
        const ItemType kind = kinds[rng() % std::size(kinds)];
        SCOPED_TRACE(KvTest::N(text) + " kind " + std::to_string(kind) + " rule " + std::to_string(rule));
        EXPECT_LE(W::ApplyRule(rule, text).size(), text.size());
        EXPECT_LE(W::Preserve(text.c_str(), static_cast<int32_t>(rng() % (text.size() + 1))).size(), text.size());
        EXPECT_LE(WideToUtf8(text.c_str()).GetLength(), 3 * text.size());

        KvVariant v;
        v.SetString(u"before");
        try {
            v.FromString(text, kind, rule);
        } catch (const CKvException&) {
            EXPECT_EQ(v.GetString(), u"before");
            continue;
        }
        ASSERT_EQ(v.GetTypeAsEnum(), kind);
        if (kind == ItemType_r4 || kind == ItemType_r8 || kind == ItemType_char) continue; // not exact in text
        KvVariant back;
        back.FromString(v.ToString(), kind, W::WhitespaceRule_None);
        EXPECT_EQ(back.ToString(), v.ToString());
    }
}
