#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>

#include "values/ValuesTestUtil.h"
#include "kvxml/base/FormatString.h"
#include "kvxml/values/CConversions.h"

using namespace KvXmlLib16;
using KvTest::MessageOf;
using KvTest::N;
using C = CConversions;
using W = CWhitespaceUtils;

namespace {

constexpr auto kNone = W::WhitespaceRule_None;
constexpr auto kCollapse = W::WhitespaceRule_Collapse;
const std::u16string kNul(1, u'\0');

} // namespace

TEST(Conversions, TextForms) {
    const double inf = HUGE_VAL;
    // clang-format off
    const std::pair<std::u16string, std::u16string> cases[] = {
        {C::i1ToString(-128), u"-128"},   {C::i2ToString(-32768), u"-32768"},
        {C::i4ToString(INT32_MIN), u"-2147483648"}, {C::i8ToString(INT64_MIN), u"-9223372036854775808"},
        {C::i8ToString(0), u"0"},         {C::ui1ToString(255), u"255"},  {C::ui2ToString(65535), u"65535"},
        {C::ui4ToString(UINT32_MAX), u"4294967295"}, {C::ui8ToString(UINT64_MAX), u"18446744073709551615"},
        {C::r4ToString(1.0f), u"1"},      {C::r4ToString(0.1f), u"0.1"},  {C::r4ToString(123456789.0f), u"1.234568e+08"},
        {C::r8ToString(0.1), u"0.1"},     {C::r8ToString(1.0 / 3.0), u"0.3333333333333333"},
        {C::r8ToString(-0.0), u"-0"},     {C::r8ToString(1e-5), u"1e-05"},
        {C::r4ToString(std::nanf("")), u"NaN"}, {C::r8ToString(-std::nan("")), u"NaN"},
        {C::r4ToString(static_cast<float>(inf)), u"INF"}, {C::r8ToString(-inf), u"-INF"},
        {C::r8ToString(inf, u"%.2f"), u"INF"},  // the special words win over a format
        {C::r8ToString(3.14159, u"%.2f"), u"3.14"}, {C::r4ToString(2.5f, u"%08.3f"), u"0002.500"},
        {C::charToString(u'x'), u"x"},    {C::charToString(u'\0'), u""},
        {C::booleanToString(true), u"true"}, {C::booleanToString(false), u"false"},
        // Integers read and written back.
        {C::i4ToString(C::i4FromString(u" 12", kNone)), u"12"}, // the scanner skips leading blanks
        {C::i4ToString(C::i4FromString(u"-2147483648", kNone)), u"-2147483648"},
        {C::i4ToString(C::i4FromString(std::u16string(u"12\0xyz", 6), kNone)), u"12"}, // stops at an embedded NUL
        {C::i4ToString(C::i4FromString(kNul, kNone)), u"0"}, // stopped at once, but on a NUL
        {C::i8ToString(C::i8FromString(u"-9223372036854775808", kNone)), u"-9223372036854775808"},
        {C::ui8ToString(C::ui8FromString(kNul + u"x", kNone)), u"0"},
        {C::i1ToString(C::i1FromString(u" -128 ", kCollapse)), u"-128"},
        {C::ui4ToString(C::ui4FromString(u"-1", kNone)), u"4294967295"}, // the run-time's wrap is kept
        {C::ui8ToString(C::ui8FromString(u"-1", kNone)), u"18446744073709551615"},
    };
    // clang-format on
    for (const auto& [actual, expected] : cases) EXPECT_EQ(N(actual), N(expected));
    // A format override that yields more than the conversion's buffer is cut there.
    EXPECT_EQ(C::r8ToString(1e300, u"%f"), FormatString(u"%f", 1e300).substr(0, 48));
    EXPECT_EQ(C::r4ToString(3e38f, u"%.3f"), FormatString(u"%.3f", double(3e38f)).substr(0, 32));
}

TEST(Conversions, FailuresAreInvalidValues) {
    const std::string charMsg = "] can not be a char as it is either empty of greater than 1 char long";
    const std::string boolMsg = "]. Valid values are 'true', 'false', '1', or '0'";
    // clang-format off
    const struct { std::function<void()> call; std::string message; } cases[] = {
        {[] { C::i4FromString(u"2147483648", kNone); }, "The value [2147483648] is to large to fit in a i4"},
        {[] { C::i4FromString(u"12abc", kNone); }, "The value [12abc] can not be converted to a i4"},
        {[] { C::i4FromString(u"", kNone); }, "The value [] can not be converted to a i4"},
        {[] { C::i4FromString(u"   ", kCollapse); }, "The value [] can not be converted to a i4"},
        {[] { C::i4FromString(u" 1 2 ", kCollapse); }, "The value [1 2] can not be converted to a i4"},
        {[] { C::i8FromString(u"9223372036854775808", kNone); }, "The value [9223372036854775808] is to large to fit in a i8"},
        {[] { C::ui4FromString(u"4294967296", kNone); }, "The value [4294967296] is to large to fit in a ui4"},
        {[] { C::ui8FromString(u"18446744073709551616", kNone); }, "The value [18446744073709551616] is to large to fit in a ui8"},
        // The narrow kinds show the raw input in their own message, and use the 32-bit wording else.
        {[] { C::i1FromString(u"128", kNone); }, "The value [128] is to large to fit in a i1"},
        {[] { C::i1FromString(u" 128 ", kCollapse); }, "The value [ 128 ] is to large to fit in a i1"},
        {[] { C::i1FromString(u"abc", kNone); }, "The value [abc] can not be converted to a i4"},
        {[] { C::i1FromString(u"3000000000", kNone); }, "The value [3000000000] is to large to fit in a i4"},
        {[] { C::ui1FromString(u"-1", kNone); }, "The value [-1] is to large to fit in a ui1"},
        {[] { C::ui1FromString(u" x ", kCollapse); }, "The value [x] can not be converted to a ui4"},
        // Reals: only the five words and the decimal form.
        {[] { C::r8FromString(u"+INF", kNone); }, "The value [+INF] can not be converted to a r8"},
        {[] { C::r8FromString(u"inf", kNone); }, "The value [inf] can not be converted to a r8"},
        {[] { C::i4FromString(u"0x10", kNone); }, "The value [0x10] can not be converted to a i4"},
        {[] { C::r8FromString(u"0x1p3", kNone); }, "The value [0x1p3] can not be converted to a r8"},
        {[] { C::r8FromString(u" 1.5 ", kNone); }, "The value [ 1.5 ] can not be converted to a r8"},
        {[] { C::r4FromString(u"  ", kCollapse); }, "The value [] can not be converted to a r4"},
        {[] { C::charFromString(u"", kNone); }, "The value [" + charMsg},
        {[] { C::charFromString(u" ab ", kCollapse); }, "The value [ab" + charMsg},
        {[] { C::booleanFromString(u" yes ", kCollapse); },
         "A Boolean Value read from an XML document was invalid [ yes " + boolMsg},
        {[] { C::booleanFromString(u" true", kNone); },
         "A Boolean Value read from an XML document was invalid [ true" + boolMsg}};
    // clang-format on
    for (const auto& c : cases) EXPECT_EQ(MessageOf<CKvInvalidValueException>([&] { c.call(); }), c.message);
}

TEST(Conversions, HexFailuresArePlainExceptions) {
    // A blank the rule kept is a bad character.
    EXPECT_EQ(MessageOf([&] { C::hexBinaryFromString(u" 0 af ", kCollapse); }), "Invalid char in hex string [ ]");
    EXPECT_EQ(MessageOf<CKvInvalidValueException>([] { C::hexBinaryFromString(u"0G", kNone); }),
              "<not the expected type> Invalid char in hex string [G]");
}
