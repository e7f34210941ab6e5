#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cmath>
#include <cfloat>
#include <string>

#include "kvxml/platform/KvPlatform.h"

using namespace KvXmlLib16;
using namespace KvXmlLib16::Platform;

namespace {

// One case of an integer conversion: input, base, expected value, characters consumed
// (0 = nothing converted, end at the start), and whether errno must become ERANGE.
template <typename T>
struct IntCase {
    const char16_t* text;
    int base;
    T value;
    size_t consumed;
    bool range;
};

template <typename T, typename F>
void RunIntCases(const char* name, F convert, const std::initializer_list<IntCase<T>>& cases) {
    for (const IntCase<T>& c : cases) {
        SCOPED_TRACE(std::string(name) + " case " + std::to_string(&c - cases.begin()));
        errno = 0;
        char16_t* end = reinterpret_cast<char16_t*>(0x1);
        const T got = convert(c.text, &end, c.base);
        EXPECT_EQ(got, c.value);
        EXPECT_EQ(size_t(end - c.text), c.consumed);
        EXPECT_EQ(errno, c.range ? ERANGE : 0);
    }
}

} // namespace

TEST(PlatformScan, WcsToLMatchesWindowsLong) {
    RunIntCases<int32_t>("WcsToL", WcsToL, {
        {u"0", 10, 0, 1, false},
        {u"123abc", 10, 123, 3, false},
        {u"  \t\n\v\f\r-42", 10, -42, 10, false},
        {u"+7", 10, 7, 2, false},
        {u"", 10, 0, 0, false},
        {u"   ", 10, 0, 0, false},
        {u"-", 10, 0, 0, false},
        {u"+ 1", 10, 0, 0, false},
        {u"--1", 10, 0, 0, false},
        {u"abc", 10, 0, 0, false},
        {u"2147483647", 10, INT32_MAX, 10, false},
        {u"-2147483648", 10, INT32_MIN, 11, false},
        {u"2147483648", 10, INT32_MAX, 10, true},
        {u"-2147483649", 10, INT32_MIN, 11, true},
        // The host long is wider; the Windows limits must still apply.
        {u"4294967296", 10, INT32_MAX, 10, true},
        {u"99999999999999999999999x", 10, INT32_MAX, 23, true},
        {u"-99999999999999999999999", 10, INT32_MIN, 24, true},
        {u"0x1A", 16, 26, 4, false},
        {u"0X1a", 0, 26, 4, false},
        {u"1A", 16, 26, 2, false},
        {u"-0x10", 0, -16, 5, false},
        {u"0x", 16, 0, 0, false},
        {u"0xg", 0, 0, 0, false},
        {u"0x7FFFFFFF", 16, INT32_MAX, 10, false},
        {u"0x80000000", 16, INT32_MAX, 10, true},
        {u"010", 0, 8, 3, false},
        {u"089", 0, 0, 1, false},
        {u"010", 10, 10, 3, false},
        {u"777", 8, 511, 3, false},
        {u"0x10", 10, 0, 1, false},
        {u"1010102", 2, 42, 6, false},
        {u"zZ", 36, 35 * 36 + 35, 2, false},
        // Digits of other scripts and full-width forms are not digits.
        {u"\u0661\u0662", 10, 0, 0, false},
        {u"\uFF11", 10, 0, 0, false},
        {u"1\uFF12", 10, 1, 1, false},
        // Non-ASCII spaces are not skipped.
        {u"\u00A01", 10, 0, 0, false},
        {u"\u30001", 10, 0, 0, false},
    });
}

TEST(PlatformScan, WcsToULWrapsNegativesAndClampsAtThirtyTwoBits) {
    RunIntCases<uint32_t>("WcsToUL", WcsToUL, {
        {u"4294967295", 10, UINT32_MAX, 10, false},
        {u"4294967296", 10, UINT32_MAX, 10, true},
        {u"-1", 10, 0xFFFFFFFFu, 2, false},
        {u"-4294967295", 10, 1u, 11, false},
        {u"-4294967296", 10, UINT32_MAX, 11, true},
        {u"-0", 10, 0, 2, false},
        {u" +12 ", 10, 12, 4, false},
        {u"0xFFFFFFFF", 0, UINT32_MAX, 10, false},
        {u"0x100000000", 0, UINT32_MAX, 11, true},
        {u"", 10, 0, 0, false},
        {u"x", 10, 0, 0, false},
    });
}

TEST(PlatformScan, SixtyFourBitFormsUseTheirOwnLimits) {
    RunIntCases<int64_t>("WcsToI64", WcsToI64, {
        {u"9223372036854775807", 10, INT64_MAX, 19, false},
        {u"9223372036854775808", 10, INT64_MAX, 19, true},
        {u"-9223372036854775808", 10, INT64_MIN, 20, false},
        {u"-9223372036854775809", 10, INT64_MIN, 20, true},
        {u"1.6", 10, 1, 1, false},
        {u"-0x8000000000000000", 16, INT64_MIN, 19, false},
        {u"4294967296", 10, 4294967296LL, 10, false},
    });
    RunIntCases<uint64_t>("WcsToUI64", WcsToUI64, {
        {u"18446744073709551615", 10, UINT64_MAX, 20, false},
        {u"18446744073709551616", 10, UINT64_MAX, 20, true},
        {u"-1", 10, UINT64_MAX, 2, false},
        {u"-18446744073709551616", 10, UINT64_MAX, 21, true},
        {u"0xffffffffffffffff", 16, UINT64_MAX, 18, false},
    });
}

TEST(PlatformScan, IntegerScannersLeaveErrnoAloneOnSuccessAndRefuseBadInput) {
    errno = EDOM;
    EXPECT_EQ(WcsToL(u"5", nullptr, 10), 5);
    EXPECT_EQ(errno, EDOM);

    for (int base : {-1, 1, 37}) {
        errno = 0;
        char16_t* end = nullptr;
        const char16_t* text = u"12";
        EXPECT_EQ(WcsToL(text, &end, base), 0);
        EXPECT_EQ(end, text);
        EXPECT_EQ(errno, EINVAL);
    }
    errno = 0;
    char16_t* end = reinterpret_cast<char16_t*>(0x1);
    EXPECT_EQ(WcsToUI64(nullptr, &end, 10), 0u);
    EXPECT_EQ(end, nullptr);
    EXPECT_EQ(errno, EINVAL);
}

TEST(PlatformScan, WToIIsBaseTenWithClamping) {
    struct Case {
        const char16_t* text;
        int value;
        bool range;
    };
    const Case cases[] = {
        {u"42", 42, false},      {u"  -17xyz", -17, false}, {u"0x10", 0, false},
        {u"010", 10, false},     {u"", 0, false},           {u"3000000000", INT_MAX, true},
        {u"-3000000000", INT_MIN, true},
    };
    for (const Case& c : cases) {
        errno = 0;
        EXPECT_EQ(WToI(c.text), c.value);
        EXPECT_EQ(errno, c.range ? ERANGE : 0);
    }
}

TEST(PlatformScan, WcsToDAcceptsTheDecimalFormOnly) {
    struct Case {
        const char16_t* text;
        double value;
        size_t consumed;
    };
    const Case cases[] = {
        {u"0", 0.0, 1},
        {u"1.5", 1.5, 3},
        {u"  -2.25e2 rest", -225.0, 9},
        {u"+.5", 0.5, 3},
        {u"5.", 5.0, 2},
        {u"1e", 1.0, 1},
        {u"1e+", 1.0, 1},
        {u"1E-2", 0.01, 4},
        {u"1e+3x", 1000.0, 4},
        {u"0.1", 0.1, 3},
        {u"123456789012345678901234567890", 1.2345678901234568e29, 30},
        // Refusals: nothing converted, end at the very start (before the blanks).
        {u"", 0.0, 0},
        {u"   ", 0.0, 0},
        {u".", 0.0, 0},
        {u"-", 0.0, 0},
        {u"e5", 0.0, 0},
        {u"-.e1", 0.0, 0},
        {u"inf", 0.0, 0},
        {u"INF", 0.0, 0},
        {u"-Infinity", 0.0, 0},
        {u"nan", 0.0, 0},
        {u" NaN(1)", 0.0, 0},
        // Hexadecimal text stops after its leading zero, as a decimal "0".
        {u"0x1p3", 0.0, 1},
        {u"0X1.8", 0.0, 1},
        {u"1,5", 1.0, 1},
        {u"\u0661", 0.0, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.text, c.text + std::u16string(c.text).size()));
        errno = 0;
        char16_t* end = nullptr;
        const double got = WcsToD(c.text, &end);
        EXPECT_EQ(got, c.value);
        EXPECT_EQ(size_t(end - c.text), c.consumed);
        EXPECT_EQ(errno, 0);
    }
}

TEST(PlatformScan, WcsToDRangeErrors) {
    char16_t* end = nullptr;

    errno = 0;
    EXPECT_EQ(WcsToD(u"1e400", &end), HUGE_VAL);
    EXPECT_EQ(errno, ERANGE);
    errno = 0;
    EXPECT_EQ(WcsToD(u"-1e400", &end), -HUGE_VAL);
    EXPECT_EQ(errno, ERANGE);
    errno = 0;
    EXPECT_EQ(WcsToD(u"1e99999999999999999999", &end), HUGE_VAL);
    EXPECT_EQ(errno, ERANGE);

    // Total underflow gives zero with ERANGE; a value in the subnormal range keeps its value.
    errno = 0;
    EXPECT_EQ(WcsToD(u"1e-400", &end), 0.0);
    EXPECT_EQ(errno, ERANGE);
    const double tiny = WcsToD(u"4e-320", &end);
    EXPECT_GT(tiny, 0.0);
    EXPECT_LT(tiny, DBL_MIN);

    // Zero with a huge exponent is plain zero.
    errno = 0;
    EXPECT_EQ(WcsToD(u"0e99999", &end), 0.0);
    EXPECT_EQ(errno, 0);

    // The largest finite value and a long mantissa past the stack buffer still round exactly.
    EXPECT_EQ(WcsToD(u"1.7976931348623157e308", &end), DBL_MAX);
    std::u16string longText = u"0." + std::u16string(300, u'0') + u"1e301";
    EXPECT_EQ(WcsToD(longText.c_str(), &end), 1.0);
    EXPECT_EQ(size_t(end - longText.c_str()), longText.size());
}

TEST(PlatformScan, WcsICmpFoldsAsciiToLowerCase) {
    struct Case {
        const char16_t* a;
        const char16_t* b;
        int sign;
    };
    const Case cases[] = {
        {u"true", u"TRUE", 0},   {u"False", u"false", 0}, {u"", u"", 0},
        {u"a", u"", 1},          {u"", u"a", -1},         {u"abc", u"ABD", -1},
        // Folding goes to lower case, so '_' (0x5F) sorts before 'A'.
        {u"_", u"A", -1},        {u"[", u"a", -1},
        // Only ASCII letters fold.
        {u"\u00E9", u"\u00C9", 1}, {u"1", u"1", 0},
    };
    for (const Case& c : cases) {
        const int r = WcsICmp(c.a, c.b);
        EXPECT_EQ((r > 0) - (r < 0), c.sign);
    }
    EXPECT_EQ(WcsICmp(u"abc", u"ABD"), int(u'c') - int(u'd'));
    errno = 0;
    EXPECT_EQ(WcsICmp(nullptr, u"x"), INT_MAX);
    EXPECT_EQ(errno, EINVAL);
}
