#include <gtest/gtest.h>

#include <cerrno>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <random>
#include <string>

#include "kvxml/platform/KvPlatform.h"

using namespace KvXmlLib16::Platform;

namespace {

// Input, base, expected value, units consumed (0: nothing converted, end at the start), ERANGE.
template <typename T>
struct IntCase {
    const char16_t* text;
    int base;
    T value;
    size_t consumed;
    bool range;
};

template <typename T, typename F>
void RunIntCases(F convert, const std::initializer_list<IntCase<T>>& cases) {
    for (const IntCase<T>& c : cases) {
        SCOPED_TRACE(std::to_string(&c - cases.begin()));
        errno = 0;
        char16_t* end = nullptr;
        EXPECT_EQ(convert(c.text, &end, c.base), c.value);
        EXPECT_EQ(size_t(end - c.text), c.consumed);
        EXPECT_EQ(errno, c.range ? ERANGE : 0);
    }
}

} // namespace

TEST(PlatformScan, IntegerScannersAsWindows) {
    // Base 10 on ASCII text is checked against the C library below; here the rest.
    RunIntCases<int32_t>(WcsToL, {
        {u"\v\f\r-42", 10, -42, 6, false}, {u"0X1a", 0, 26, 4, false}, {u"1A", 16, 26, 2, false},
        {u"-0x10", 0, -16, 5, false}, {u"0x", 16, 0, 0, false}, {u"0x80000000", 16, INT32_MAX, 10, true},
        {u"010", 0, 8, 3, false}, {u"089", 0, 0, 1, false}, {u"0x10", 10, 0, 1, false},
        {u"1010102", 2, 42, 6, false}, {u"zZ", 36, 35 * 36 + 35, 2, false},
        // Only ASCII digits and blanks count.
        {u"\u0661\u0662", 10, 0, 0, false}, {u"1\uFF12", 10, 1, 1, false}, {u"\u00A01", 10, 0, 0, false},
    });
    RunIntCases<uint32_t>(WcsToUL, {{u"0x100000000", 0, UINT32_MAX, 11, true}});
    RunIntCases<int64_t>(WcsToI64, {{u"-0x8000000000000000", 16, INT64_MIN, 19, false}});
    RunIntCases<uint64_t>(WcsToUI64, {{u"-0x1", 16, UINT64_MAX, 4, false}});

    errno = EDOM;
    EXPECT_EQ(WcsToL(u"5", nullptr, 10), 5);
    EXPECT_EQ(errno, EDOM) << "success leaves errno alone";
    for (int base : {-1, 1, 37}) {
        errno = 0;
        char16_t* end = nullptr;
        const char16_t* text = u"12";
        EXPECT_EQ(WcsToL(text, &end, base), 0);
        EXPECT_EQ(end, text);
        EXPECT_EQ(errno, EINVAL);
    }
    char16_t* end = reinterpret_cast<char16_t*>(0x1);
    EXPECT_EQ(WcsToUI64(nullptr, &end, 10), 0u);
    EXPECT_EQ(end, nullptr);
    errno = 0;
    EXPECT_EQ(WToI(u"  -17xyz"), -17);
    EXPECT_EQ(WToI(u"0x10"), 0);
    EXPECT_EQ(WToI(u"-3000000000"), INT_MIN);
    EXPECT_EQ(errno, ERANGE);
}

TEST(PlatformScan, WcsToDAcceptsTheDecimalFormOnly) {
    const struct {
        const char16_t* text;
        double value;
        size_t consumed;
    } cases[] = {
        {u"\v-2.25e2 rest", -225.0, 8}, {u"inf", 0.0, 0}, {u"-Infinity", 0.0, 0}, {u"nan", 0.0, 0},
        {u" NaN(1)", 0.0, 0}, {u"0x1p3", 0.0, 1}, {u"0X1.8", 0.0, 1}, {u"1,5", 1.0, 1}, {u"\u0661", 0.0, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        errno = 0;
        char16_t* end = nullptr;
        EXPECT_EQ(WcsToD(c.text, &end), c.value);
        EXPECT_EQ(size_t(end - c.text), c.consumed);
        EXPECT_EQ(errno, 0);
    }
    char16_t* end = nullptr;
    for (const char16_t* huge : {u"1e400", u"1e99999999999999999999", u"1e-400"}) {
        errno = 0;
        WcsToD(huge, &end);
        EXPECT_EQ(errno, ERANGE);
    }
    // A mantissa longer than the scanner's stack buffer still rounds exactly.
    const std::u16string longText = u"0." + std::u16string(300, u'0') + u"1e301";
    EXPECT_EQ(WcsToD(longText.c_str(), &end), 1.0);
    EXPECT_EQ(size_t(end - longText.c_str()), longText.size());
}

// On ASCII text in base 10 the host's C library, in the C locale, behaves as Windows does apart
// from the width of long; it serves as the oracle for random texts.
TEST(PlatformScan, RandomTextsAgreeWithTheCLibrary) {
    static const char* const pieces[] = {"0", "1", "5", "9", "-", "+", " ", "\t", ".", "e", "E", "x", "a",
                                         "2147483648", "4294967296", "9223372036854775808", "18446744073709551616"};
    std::mt19937 rng(11);
    for (int round = 0; round < 4000; ++round) {
        std::string narrow;
        for (int n = static_cast<int>(rng() % 8); n > 0; --n) narrow += pieces[rng() % std::size(pieces)];
        const std::u16string text(narrow.begin(), narrow.end());
        SCOPED_TRACE(narrow);
        const char* s = narrow.c_str();
        char* cEnd = nullptr;
        char16_t* end = nullptr;

        errno = 0;
        const long long ll = std::strtoll(s, &cEnd, 10);
        const bool llRange = errno == ERANGE;
        errno = 0;
        EXPECT_EQ(WcsToI64(text.c_str(), &end, 10), ll);
        EXPECT_EQ(end - text.c_str(), cEnd - s);
        EXPECT_EQ(errno == ERANGE, llRange);
        errno = 0;
        const int32_t l = WcsToL(text.c_str(), &end, 10);
        const bool lRange = llRange || ll > INT32_MAX || ll < INT32_MIN;
        EXPECT_EQ(l, lRange ? (ll < 0 ? INT32_MIN : INT32_MAX) : ll);
        EXPECT_EQ(errno == ERANGE, lRange);

        errno = 0;
        const unsigned long long ull = std::strtoull(s, &cEnd, 10);
        const bool ullRange = errno == ERANGE;
        errno = 0;
        EXPECT_EQ(WcsToUI64(text.c_str(), &end, 10), ull);
        EXPECT_EQ(errno == ERANGE, ullRange);
        const bool negative = narrow.find_first_not_of(" \t") != std::string::npos &&
                              narrow[narrow.find_first_not_of(" \t")] == '-';
        const unsigned long long magnitude = negative ? 0 - ull : ull;
        const bool ulRange = ullRange || magnitude > UINT32_MAX;
        errno = 0;
        EXPECT_EQ(WcsToUL(text.c_str(), &end, 10), ulRange ? UINT32_MAX : uint32_t(ull));
        EXPECT_EQ(errno == ERANGE, ulRange);

        if (narrow.find_first_of("xa") == std::string::npos) {  // hex floats are refused on purpose
            const double d = std::strtod(s, &cEnd);
            EXPECT_EQ(WcsToD(text.c_str(), &end), d);
            EXPECT_EQ(end - text.c_str(), cEnd - s);
        }
    }
}

TEST(PlatformScan, WcsICmpFoldsAsciiToLowerCase) {
    const struct {
        const char16_t* a;
        const char16_t* b;
        int sign;
    } cases[] = {
        {u"true", u"TRUE", 0}, {u"", u"", 0}, {u"a", u"", 1}, {u"abc", u"ABD", -1},
        {u"_", u"A", -1},  // folded to lower case, so '_' sorts before letters
        {u"\u00E9", u"\u00C9", 1},
    };
    for (const auto& c : cases) {
        const int r = WcsICmp(c.a, c.b);
        EXPECT_EQ((r > 0) - (r < 0), c.sign);
    }
    errno = 0;
    EXPECT_EQ(WcsICmp(nullptr, u"x"), INT_MAX);
    EXPECT_EQ(errno, EINVAL);
}
