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

// On ASCII text in base 10 the host's C library, in the C locale, behaves as Windows does apart
// from the width of long; it serves as the oracle for random texts.
TEST(PlatformScan, RandomTextsAgreeWithTheCLibrary) {
    // clang-format off
    static const char* const pieces[] = {"0", "1", "5", "9", "-", "+", " ", "\t", ".", "e", "E", "x", "a",
                                         "2147483648", "4294967296", "9223372036854775808", "18446744073709551616"};
    // clang-format on
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
        const bool negative =
            narrow.find_first_not_of(" \t") != std::string::npos && narrow[narrow.find_first_not_of(" \t")] == '-';
        const unsigned long long magnitude = negative ? 0 - ull : ull;
        const bool ulRange = ullRange || magnitude > UINT32_MAX;
        errno = 0;
        EXPECT_EQ(WcsToUL(text.c_str(), &end, 10), ulRange ? UINT32_MAX : uint32_t(ull));
        EXPECT_EQ(errno == ERANGE, ulRange);

        if (narrow.find_first_of("xa") == std::string::npos) { // hex floats are refused on purpose
            const double d = std::strtod(s, &cEnd);
            EXPECT_EQ(WcsToD(text.c_str(), &end), d);
            EXPECT_EQ(end - text.c_str(), cEnd - s);
        }
    }
}
