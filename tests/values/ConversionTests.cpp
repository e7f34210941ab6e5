#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>

#include "ValuesTestUtil.h"
#include "kvxml/base/FormatString.h"
#include "kvxml/values/CConversions.h"

using namespace KvXmlLib16;
using KvTest::N;
using C = CConversions;
using W = CWhitespaceUtils;

namespace {

constexpr auto kNone = W::WhitespaceRule_None;
constexpr auto kPreserve = W::WhitespaceRule_Preserve;
constexpr auto kCollapse = W::WhitespaceRule_Collapse;

struct FailCase {
    const char* name;
    std::function<void()> call;
    std::u16string message;
};

void ExpectInvalidValue(const FailCase& c) {
    SCOPED_TRACE(c.name);
    EXPECT_KV_THROW(c.call(), CKvInvalidValueException, c.message);
}

} // namespace

TEST(Conversions, IntegersToText) {
    const std::pair<std::u16string, std::u16string> cases[] = {
        {C::i1ToString(-128), u"-128"},
        {C::i1ToString(127), u"127"},
        {C::i2ToString(-32768), u"-32768"},
        {C::i4ToString(0), u"0"},
        {C::i4ToString(INT32_MIN), u"-2147483648"},
        {C::i4ToString(INT32_MAX), u"2147483647"},
        {C::i8ToString(INT64_MIN), u"-9223372036854775808"},
        {C::i8ToString(INT64_MAX), u"9223372036854775807"},
        {C::i8ToString(-1), u"-1"},
        {C::ui1ToString(255), u"255"},
        {C::ui2ToString(65535), u"65535"},
        {C::ui4ToString(UINT32_MAX), u"4294967295"},
        {C::ui8ToString(UINT64_MAX), u"18446744073709551615"},
        {C::ui8ToString(0), u"0"},
    };
    for (const auto& [actual, expected] : cases) EXPECT_EQ(N(actual), N(expected));
}

TEST(Conversions, RealsToTextAsCPrintf) {
    const float inf = std::numeric_limits<float>::infinity();
    const std::pair<std::u16string, std::u16string> cases[] = {
        {C::r4ToString(1.0f), u"1"},
        {C::r4ToString(0.1f), u"0.1"},
        {C::r4ToString(-2.5f), u"-2.5"},
        {C::r4ToString(1e20f), u"1e+20"},
        {C::r4ToString(3.4028235e38f), u"3.402823e+38"},
        {C::r4ToString(1.17549435e-38f), u"1.175494e-38"},
        {C::r4ToString(123456789.0f), u"1.234568e+08"},
        {C::r4ToString(std::nanf("")), u"NaN"},
        {C::r4ToString(-std::nanf("")), u"NaN"},
        {C::r4ToString(inf), u"INF"},
        {C::r4ToString(-inf), u"-INF"},
        {C::r8ToString(0.1), u"0.1"},
        {C::r8ToString(1.0 / 3.0), u"0.3333333333333333"},
        {C::r8ToString(1e20), u"1e+20"},
        {C::r8ToString(1e-5), u"1e-05"},
        {C::r8ToString(-0.0), u"-0"},
        {C::r8ToString(1.7976931348623157e308), u"1.797693134862316e+308"},
        {C::r8ToString(std::nan("")), u"NaN"},
        {C::r8ToString(-HUGE_VAL), u"-INF"},
        {C::r8ToString(HUGE_VAL, u"%.2f"), u"INF"},  // the special words win over a format
        {C::r8ToString(3.14159, u"%.2f"), u"3.14"},
        {C::r4ToString(2.5f, u"%08.3f"), u"0002.500"},
    };
    for (const auto& [actual, expected] : cases) EXPECT_EQ(N(actual), N(expected));
}

TEST(Conversions, FormatOverrideIsCutAtTheBuffer) {
    // 1e300 with %f is 301 digits and more: far beyond either buffer.
    const std::u16string r8 = C::r8ToString(1e300, u"%f");
    EXPECT_EQ(r8, FormatString(u"%f", 1e300).substr(0, 48));
    EXPECT_EQ(r8.size(), 48u);
    const std::u16string r4 = C::r4ToString(3e38f, u"%.3f");
    EXPECT_EQ(r4, FormatString(u"%.3f", static_cast<double>(3e38f)).substr(0, 32));
    EXPECT_EQ(r4.size(), 32u);
    EXPECT_EQ(C::r8ToString(1.5, u"%040.1f").size(), 40u);  // fits: nothing cut
}

TEST(Conversions, CharStringBooleanToText) {
    EXPECT_EQ(C::charToString(u'x'), u"x");
    EXPECT_EQ(C::charToString(u'\0'), u"");
    EXPECT_EQ(C::stringToString(std::u16string(u"a\0b", 3)).size(), 3u);
    EXPECT_EQ(C::booleanToString(true), u"true");
    EXPECT_EQ(C::booleanToString(false), u"false");
}

TEST(Conversions, WideIntegersFromText) {
    EXPECT_EQ(C::i4FromString(u"12", kNone), 12);
    EXPECT_EQ(C::i4FromString(u"+12", kCollapse), 12);
    EXPECT_EQ(C::i4FromString(u" 12", kNone), 12);  // the scanner skips leading blanks
    EXPECT_EQ(C::i4FromString(u" 12 ", kCollapse), 12);
    EXPECT_EQ(C::i4FromString(u"-2147483648", kNone), INT32_MIN);
    EXPECT_EQ(C::i4FromString(u"2147483647", kNone), INT32_MAX);
    EXPECT_EQ(C::i4FromString(u"007", kNone), 7);
    EXPECT_EQ(C::i4FromString(std::u16string(u"12\0xyz", 6), kNone), 12);  // stops at an embedded NUL
    EXPECT_EQ(C::i8FromString(u"-9223372036854775808", kNone), INT64_MIN);
    EXPECT_EQ(C::i8FromString(u"9223372036854775807", kNone), INT64_MAX);
    EXPECT_EQ(C::ui4FromString(u"4294967295", kNone), UINT32_MAX);
    EXPECT_EQ(C::ui8FromString(u"18446744073709551615", kNone), UINT64_MAX);
    // No test for a minus sign in the unsigned kinds: the run-time's wrap is kept.
    EXPECT_EQ(C::ui4FromString(u"-1", kNone), 4294967295u);
    EXPECT_EQ(C::ui8FromString(u"-1", kNone), UINT64_MAX);
}

TEST(Conversions, WideIntegerFailuresShowTheTextAfterTheRule) {
    const FailCase cases[] = {
        {"i4 above", [] { C::i4FromString(u"2147483648", kNone); }, u"The value [2147483648] is to large to fit in a i4"},
        {"i4 below", [] { C::i4FromString(u"-2147483649", kNone); }, u"The value [-2147483649] is to large to fit in a i4"},
        {"i4 trailing", [] { C::i4FromString(u"12abc", kNone); }, u"The value [12abc] can not be converted to a i4"},
        {"i4 empty", [] { C::i4FromString(u"", kNone); }, u"The value [] can not be converted to a i4"},
        {"i4 blanks collapse", [] { C::i4FromString(u"   ", kCollapse); }, u"The value [] can not be converted to a i4"},
        {"i4 blanks only", [] { C::i4FromString(u"  ", kNone); }, u"The value [  ] can not be converted to a i4"},
        {"i4 sign only", [] { C::i4FromString(u"-", kNone); }, u"The value [-] can not be converted to a i4"},
        {"i4 trailing blank", [] { C::i4FromString(u"12 ", kNone); }, u"The value [12 ] can not be converted to a i4"},
        {"i4 after rule", [] { C::i4FromString(u" 1 2 ", kCollapse); }, u"The value [1 2] can not be converted to a i4"},
        {"i4 nul only", [] { C::i4FromString(std::u16string(1, u'\0'), kNone); }, u"The value [] can not be converted to a i4"},
        {"i4 hex", [] { C::i4FromString(u"0x10", kNone); }, u"The value [0x10] can not be converted to a i4"},
        {"i8 above", [] { C::i8FromString(u"9223372036854775808", kNone); }, u"The value [9223372036854775808] is to large to fit in a i8"},
        {"i8 junk", [] { C::i8FromString(u"1.0", kNone); }, u"The value [1.0] can not be converted to a i8"},
        {"ui4 above", [] { C::ui4FromString(u"4294967296", kNone); }, u"The value [4294967296] is to large to fit in a ui4"},
        {"ui4 empty", [] { C::ui4FromString(u"", kNone); }, u"The value [] can not be converted to a ui4"},
        {"ui8 above", [] { C::ui8FromString(u"18446744073709551616", kNone); }, u"The value [18446744073709551616] is to large to fit in a ui8"},
        {"ui8 junk", [] { C::ui8FromString(u"x", kNone); }, u"The value [x] can not be converted to a ui8"},
    };
    for (const auto& c : cases) ExpectInvalidValue(c);
}

TEST(Conversions, NarrowIntegersCheckRangeAndShowRawInput) {
    EXPECT_EQ(C::i1FromString(u"-128", kNone), -128);
    EXPECT_EQ(C::i1FromString(u" 127 ", kCollapse), 127);
    EXPECT_EQ(C::i2FromString(u"-32768", kNone), -32768);
    EXPECT_EQ(C::i2FromString(u"32767", kNone), 32767);
    EXPECT_EQ(C::ui1FromString(u"255", kNone), 255);
    EXPECT_EQ(C::ui2FromString(u"65535", kNone), 65535);
    const FailCase cases[] = {
        {"i1 above", [] { C::i1FromString(u"128", kNone); }, u"The value [128] is to large to fit in a i1"},
        {"i1 raw blanks", [] { C::i1FromString(u" 128 ", kCollapse); }, u"The value [ 128 ] is to large to fit in a i1"},
        {"i1 below", [] { C::i1FromString(u"-129", kNone); }, u"The value [-129] is to large to fit in a i1"},
        {"i1 not a number", [] { C::i1FromString(u"abc", kNone); }, u"The value [abc] can not be converted to a i4"},
        {"i1 beyond 32 bits", [] { C::i1FromString(u"3000000000", kNone); }, u"The value [3000000000] is to large to fit in a i4"},
        {"i2 above", [] { C::i2FromString(u"32768", kNone); }, u"The value [32768] is to large to fit in a i2"},
        {"i2 below", [] { C::i2FromString(u"-32769", kNone); }, u"The value [-32769] is to large to fit in a i2"},
        {"ui1 above", [] { C::ui1FromString(u"256", kNone); }, u"The value [256] is to large to fit in a ui1"},
        {"ui1 minus one", [] { C::ui1FromString(u"-1", kNone); }, u"The value [-1] is to large to fit in a ui1"},
        {"ui1 not a number", [] { C::ui1FromString(u" x ", kCollapse); }, u"The value [x] can not be converted to a ui4"},
        {"ui2 above", [] { C::ui2FromString(u"65536", kNone); }, u"The value [65536] is to large to fit in a ui2"},
    };
    for (const auto& c : cases) ExpectInvalidValue(c);
}

TEST(Conversions, RealsFromText) {
    struct Row {
        std::u16string text;
        W::WhitespaceRule rule;
        double expected;
    };
    const Row rows[] = {
        {u"1.5", kNone, 1.5},     {u" 1.5 ", kCollapse, 1.5}, {u"-0.25", kNone, -0.25},
        {u"+2", kNone, 2.0},      {u".5", kNone, 0.5},       {u"5.", kNone, 5.0},
        {u"1e3", kNone, 1000.0},  {u"1E-2", kNone, 0.01},     {u"-INF", kNone, -HUGE_VAL},
        {u"INF", kNone, HUGE_VAL}, {u"1e400", kNone, HUGE_VAL}, {u"\tINF\n", kCollapse, HUGE_VAL},
    };
    for (const auto& r : rows) {
        EXPECT_EQ(C::r8FromString(r.text, r.rule), r.expected) << N(r.text);
        EXPECT_EQ(C::r4FromString(r.text, r.rule), static_cast<float>(r.expected)) << N(r.text);
    }
    for (const char16_t* nan : {u"NaN", u"1.#QNAN", u"-NAN"}) {
        EXPECT_TRUE(std::isnan(C::r8FromString(nan, kNone))) << N(nan);
        EXPECT_TRUE(std::isnan(C::r4FromString(nan, kNone))) << N(nan);
    }
    // Beyond the range there is no complaint: infinity, or 0 when narrowed from a tiny value.
    EXPECT_EQ(C::r4FromString(u"1e39", kNone), std::numeric_limits<float>::infinity());
    EXPECT_EQ(C::r4FromString(u"-1e39", kNone), -std::numeric_limits<float>::infinity());
    EXPECT_EQ(C::r4FromString(u"1e-50", kNone), 0.0f);
    EXPECT_EQ(C::r8FromString(u"0.1", kNone), 0.1);
    EXPECT_EQ(C::r4FromString(u"0.1", kNone), 0.1f);
}

TEST(Conversions, OnlyTheFiveWordsAndDecimalFormAreReals) {
    const char16_t* refused[] = {u"+INF", u"inf", u"Inf", u"infinity", u"INFINITY", u"nan", u"NAN", u"-nan",
                                 u"0x1p3", u"0X10", u"1.5x", u"e5", u".", u"-", u"1e", u"1,5", u" 1.5 "};
    for (const char16_t* t : refused) {
        EXPECT_KV_THROW(C::r8FromString(t, kNone), CKvInvalidValueException,
                        std::u16string(u"The value [") + t + u"] can not be converted to a r8");
        EXPECT_KV_THROW(C::r4FromString(t, kNone), CKvInvalidValueException,
                        std::u16string(u"The value [") + t + u"] can not be converted to a r4");
    }
    EXPECT_KV_THROW(C::r8FromString(u"  ", kCollapse), CKvInvalidValueException,
                    u"The value [] can not be converted to a r8");
    EXPECT_KV_THROW(C::r4FromString(u"", kNone), CKvInvalidValueException,
                    u"The value [] can not be converted to a r4");
}

TEST(Conversions, CharStringAndBooleanFromText) {
    EXPECT_EQ(C::charFromString(u" x ", kCollapse), u'x');
    EXPECT_EQ(C::charFromString(u" ", kNone), u' ');
    EXPECT_EQ(C::stringFromString(u" a \r\n b ", kCollapse), u"a b");
    EXPECT_EQ(C::stringFromString(u"a\r\nb", kPreserve), u"a\nb");
    EXPECT_EQ(C::stringFromString(u" a ", kNone), u" a ");

    const std::pair<const char16_t*, bool> truths[] = {
        {u"true", true}, {u"TRUE", true}, {u"True", true}, {u"1", true},   {u"false", false},
        {u"False", false}, {u"FALSE", false}, {u"0", false}, {u" tRuE\n", true},
    };
    for (const auto& [text, value] : truths) EXPECT_EQ(C::booleanFromString(text, kCollapse), value) << N(text);

    const FailCase cases[] = {
        {"char empty", [] { C::charFromString(u"", kNone); },
         u"The value [] can not be a char as it is either empty of greater than 1 char long"},
        {"char two", [] { C::charFromString(u" ab ", kCollapse); },
         u"The value [ab] can not be a char as it is either empty of greater than 1 char long"},
        {"char surrogate pair", [] { C::charFromString(u"\U0001F600", kNone); },
         u"The value [\U0001F600] can not be a char as it is either empty of greater than 1 char long"},
        {"boolean yes", [] { C::booleanFromString(u"yes", kNone); },
         u"A Boolean Value read from an XML document was invalid [yes]. Valid values are 'true', 'false', '1', or '0'"},
        {"boolean raw text", [] { C::booleanFromString(u" yes ", kCollapse); },
         u"A Boolean Value read from an XML document was invalid [ yes ]. Valid values are 'true', 'false', '1', or '0'"},
        {"boolean 2", [] { C::booleanFromString(u"2", kNone); },
         u"A Boolean Value read from an XML document was invalid [2]. Valid values are 'true', 'false', '1', or '0'"},
        {"boolean uncollapsed", [] { C::booleanFromString(u" true", kNone); },
         u"A Boolean Value read from an XML document was invalid [ true]. Valid values are 'true', 'false', '1', or '0'"},
    };
    for (const auto& c : cases) ExpectInvalidValue(c);
}

TEST(Conversions, BinaryKindsFromAndToText) {
    const CBinaryData hex = C::hexBinaryFromString(u" 0aff\n", kCollapse);
    ASSERT_EQ(hex.GetLength(), 2u);
    EXPECT_EQ(C::hexBinaryToString(hex), u"0AFF");
    EXPECT_EQ(C::base64BinaryToString(C::base64BinaryFromString(u"\tTWFu ", kNone)), u"TWFu");
    EXPECT_EQ(C::hexBinaryToString(C::hexBinaryFromString(u"", kNone)), u"");
    // Hex failures are plain exceptions, not invalid values; a blank the rule kept is a bad char.
    EXPECT_KV_THROW(C::hexBinaryFromString(u" 0 af ", kCollapse), CKvException, u"Invalid char in hex string [ ]");
    try {
        C::hexBinaryFromString(u"0G", kNone);
        ADD_FAILURE();
    } catch (const CKvInvalidValueException&) {
        ADD_FAILURE() << "hex errors are not invalid-value exceptions";
    } catch (const CKvException&) {
    }
}
