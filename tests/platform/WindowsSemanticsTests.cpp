#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdint>
#include <ctime>
#include <initializer_list>
#include <string>
#include <tuple>

#include "kvxml/platform/KvPlatform.h"
#include "support/ZoneScope.h"

using namespace KvXmlLib16::Platform;
using KvXmlLib16::FILETIME;
using KvXmlLib16::SYSTEMTIME;

namespace {

constexpr const char* kCentralEurope = "CET-1CEST,M3.5.0,M10.5.0/3";
constexpr int64_t kLastSecond = 32535215999LL; // 3000-12-31 23:59:59 UTC

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
void RunIntCases(F convert, std::initializer_list<IntCase<T>> cases) {
    for (const IntCase<T>& c : cases) {
        errno = 0;
        char16_t* end = nullptr;
        const T value = convert(c.text, &end, c.base);
        EXPECT_EQ(std::tuple(value, size_t(end - c.text), errno), std::tuple(c.value, c.consumed, c.range ? ERANGE : 0))
            << &c - cases.begin();
    }
}

std::tm Fields(int year, int month, int day, int hour, int minute, int second, int isdst = -1) {
    std::tm t{};
    std::tie(t.tm_year, t.tm_mon, t.tm_mday, t.tm_hour, t.tm_min, t.tm_sec, t.tm_isdst) =
        std::tuple(year - 1900, month - 1, day, hour, minute, second, isdst);
    return t;
}

} // namespace

TEST(WindowsSemantics, IntegerScanners) {
    // clang-format off
    RunIntCases<int32_t>(WcsToL, {
        {u"\v\f\r-42", 10, -42, 6, false}, {u"0X1a", 0, 26, 4, false}, {u"1A", 16, 26, 2, false},
        {u"-0x10", 0, -16, 5, false}, {u"0x", 16, 0, 0, false}, {u"0x80000000", 16, INT32_MAX, 10, true},
        {u"010", 0, 8, 3, false}, {u"089", 0, 0, 1, false}, {u"0x10", 10, 0, 1, false},
        {u"1010102", 2, 42, 6, false}, {u"zZ", 36, 35 * 36 + 35, 2, false},
        // Only ASCII digits and blanks count.
        {u"\u0661\u0662", 10, 0, 0, false}, {u"1\uFF12", 10, 1, 1, false}, {u"\u00A01", 10, 0, 0, false},
    });
    // clang-format on
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
        EXPECT_EQ(std::tuple(WcsToL(text, &end, base), end, errno), std::tuple(0, text, EINVAL)) << base;
    }
    char16_t* end = reinterpret_cast<char16_t*>(0x1);
    EXPECT_EQ(WcsToUI64(nullptr, &end, 10), 0u);
    EXPECT_EQ(end, nullptr);
    errno = 0;
    EXPECT_EQ(std::tuple(WToI(u"  -17xyz"), WToI(u"0x10")), std::tuple(-17, 0));
    EXPECT_EQ(WToI(u"-3000000000"), INT_MIN);
    EXPECT_EQ(errno, ERANGE);
}

TEST(WindowsSemantics, WcsToDAcceptsTheDecimalFormOnly) {
    // clang-format off
    const struct { const char16_t* text; double value; size_t consumed; int error = 0; } cases[] = {
        {u"\v-2.25e2 rest", -225.0, 8}, {u"inf", 0.0, 0}, {u"-Infinity", 0.0, 0}, {u"nan", 0.0, 0},
        {u" NaN(1)", 0.0, 0}, {u"0x1p3", 0.0, 1}, {u"0X1.8", 0.0, 1}, {u"1,5", 1.0, 1}, {u"\u0661", 0.0, 0},
        {u"1e400", HUGE_VAL, 5, ERANGE}, {u"1e99999999999999999999", HUGE_VAL, 22, ERANGE}, {u"1e-400", 0.0, 6, ERANGE},
    };
    // clang-format on
    for (const auto& c : cases) {
        errno = 0;
        char16_t* end = nullptr;
        const double value = WcsToD(c.text, &end);
        EXPECT_EQ(std::tuple(value, size_t(end - c.text), errno), std::tuple(c.value, c.consumed, c.error))
            << &c - cases;
    }
    char16_t* end = nullptr;
    // A mantissa longer than the scanner's stack buffer still rounds exactly.
    const std::u16string longText = u"0." + std::u16string(300, u'0') + u"1e301";
    EXPECT_EQ(WcsToD(longText.c_str(), &end), 1.0);
    EXPECT_EQ(size_t(end - longText.c_str()), longText.size());
}

// Folded to lower case as the run-time folds: '_' sorts before letters, and only ASCII folds.
TEST(WindowsSemantics, WcsICmpFoldsAsciiToLowerCase) {
    // clang-format off
    const struct { const char16_t *a, *b; int sign; } cases[] = {
        {u"true", u"TRUE", 0}, {u"", u"", 0}, {u"a", u"", 1}, {u"abc", u"ABD", -1}, {u"_", u"A", -1},
        {u"\u00E9", u"\u00C9", 1}};
    // clang-format on
    for (const auto& c : cases) {
        const int r = WcsICmp(c.a, c.b);
        EXPECT_EQ((r > 0) - (r < 0), c.sign) << &c - cases;
    }
    errno = 0;
    EXPECT_EQ(WcsICmp(nullptr, u"x"), INT_MAX);
    EXPECT_EQ(errno, EINVAL);
}

// Known UTC instants (the epoch, a leap day, past 2038, the last second served) both ways; local
// fields back to the same seconds over the whole range in a zone with summer time.
TEST(WindowsSemantics, TimeConversionsRoundTrip) {
    // clang-format off
    const struct { int64_t seconds; int year, month, day, hour, minute, second, wday, yday; } instants[] = {
        {0, 1970, 1, 1, 0, 0, 0, 4, 0}, {951782400, 2000, 2, 29, 0, 0, 0, 2, 59},
        {2147483648LL, 2038, 1, 19, 3, 14, 8, 2, 18}, {2208988800LL, 2040, 1, 1, 0, 0, 0, 0, 0},
        {4107585600LL, 2100, 3, 1, 12, 0, 0, 1, 59}, {kLastSecond, 3000, 12, 31, 23, 59, 59, 3, 364},
    };
    // clang-format on
    for (const auto& i : instants) {
        std::tm t{};
        ASSERT_TRUE(GmTime64(i.seconds, &t)) << i.seconds;
        EXPECT_EQ(std::tuple(t.tm_year + 1900, t.tm_mon + 1, t.tm_mday, t.tm_hour, t.tm_min, t.tm_sec, t.tm_wday,
                             t.tm_yday, t.tm_isdst),
                  std::tuple(i.year, i.month, i.day, i.hour, i.minute, i.second, i.wday, i.yday, 0));
        EXPECT_EQ(MkGmTime64(&t), i.seconds);
    }
    for (int64_t s = 0; s <= kLastSecond; s += 9876543) { // every field as the C library has it
        std::tm ours{};
        const time_t t = static_cast<time_t>(s);
        ASSERT_TRUE(GmTime64(s, &ours));
        const std::tm theirs = *std::gmtime(&t);
        ASSERT_EQ(std::tuple(ours.tm_year, ours.tm_mon, ours.tm_mday, ours.tm_hour, ours.tm_min, ours.tm_sec,
                             ours.tm_wday, ours.tm_yday, ours.tm_isdst),
                  std::tuple(theirs.tm_year, theirs.tm_mon, theirs.tm_mday, theirs.tm_hour, theirs.tm_min,
                             theirs.tm_sec, theirs.tm_wday, theirs.tm_yday, theirs.tm_isdst))
            << s;
    }
    KvTest::ZoneScope zone(kCentralEurope);
    for (int64_t s = 7200; s < kLastSecond - 7200; s += 7777777) {
        std::tm local{};
        ASSERT_TRUE(LocalTime64(s, &local)) << s;
        EXPECT_EQ(MkTime64(&local), s) << s;
    }
    // A negative time is refused with EINVAL, as the run-time does.
    for (const auto& [a, b, diff, error] : {std::tuple(int64_t(10), int64_t(4), 6.0, 0),
                                            {4, 10, -6.0, 0},
                                            {kLastSecond, 0, double(kLastSecond), 0},
                                            {5, -1, 0.0, EINVAL}}) {
        errno = 0;
        EXPECT_EQ(std::tuple(DiffTime64(a, b), errno), std::tuple(diff, error)) << a << " " << b;
    }
}

TEST(WindowsSemantics, MkTime64ReadsLocalTimeAndNormalises) {
    KvTest::ZoneScope zone(kCentralEurope);
    // clang-format off
    // seconds -1: failure
    // hour: normalised local fields on success
    const struct { std::tm in; int64_t seconds; int year, month, day, hour; int isdst; } cases[] = {
        // Winter: UTC+1; summer: UTC+2, with the zone deciding when isdst is -1.
        {Fields(2000, 1, 15, 12, 0, 0), 947934000, 2000, 1, 15, 12, 0},
        {Fields(2000, 7, 1, 12, 0, 0), 962445600, 2000, 7, 1, 12, 1},
        // Stated as standard time in summer: read as UTC+1, shown as summer time.
        {Fields(2000, 7, 1, 12, 0, 0, 0), 962449200, 2000, 7, 1, 13, 1},
        // Fields out of range roll over.
        {Fields(2001, 2, 29, 0, 0, 0), 983401200, 2001, 3, 1, 0, 0},
        {Fields(1999, 13, 1, 0, 0, 0), 946681200, 2000, 1, 1, 0, 0},
        {Fields(2000, 3, 1, 0, 0, -1), 951865199, 2000, 2, 29, 23, 0},
        {Fields(2040, 1, 1, 1, 0, 0), 2208988800LL, 2040, 1, 1, 1, 0},
        // Local midnight 1970-01-01 is still 1969 in UTC here.
        {Fields(1970, 1, 1, 0, 30, 0), -1, 0, 0, 0, 0, 0}, {Fields(1970, 1, 1, 1, 0, 0), 0, 1970, 1, 1, 1, 0},
        {Fields(3001, 1, 1, 0, 59, 59), kLastSecond, 3001, 1, 1, 0, 0},
        {Fields(3001, 1, 1, 1, 0, 0), -1, 0, 0, 0, 0, 0}, {Fields(1968, 12, 31, 0, 0, 0), -1, 0, 0, 0, 0, 0},
    };
    // clang-format on
    for (const auto& c : cases) {
        std::tm t = c.in;
        const int64_t got = MkTime64(&t);
        EXPECT_EQ(got, c.seconds) << &c - cases;
        if (c.seconds >= 0) {
            EXPECT_EQ(std::tuple(t.tm_year + 1900, t.tm_mon + 1, t.tm_mday, t.tm_hour, t.tm_isdst),
                      std::tuple(c.year, c.month, c.day, c.hour, c.isdst))
                << &c - cases;
        }
    }
}

// The served range ends at 3000-12-31 23:59:59 on the local clock, and starts at 1970 on it.
TEST(WindowsSemantics, LocalTime64FollowsTheZoneAndItsRange) {
    // clang-format off
    // isdst: when served and year != 0
    const struct { const char* zone; int64_t seconds; bool served; int year, day, hour, isdst; } cases[] = {
        {kCentralEurope, 0, true, 1970, 1, 1, 0}, {kCentralEurope, 962445600, true, 2000, 1, 12, 1},
        {kCentralEurope, kLastSecond - 3600, true, 3000, 31, 23, 0},
        {kCentralEurope, kLastSecond - 3599, false, 0, 0, 0, 0}, {"EST5", 0, false, 0, 0, 0, 0},
        {"EST5", 5 * 3600 - 1, false, 0, 0, 0, 0}, {"EST5", -1, false, 0, 0, 0, 0},
        {"EST5", 5 * 3600, true, 1970, 1, 0, 0}, {"EST5", kLastSecond + 3600, true, 0, 0, 0, 0},
    };
    // clang-format on
    for (const auto& c : cases) {
        KvTest::ZoneScope zone(c.zone);
        std::tm t{};
        EXPECT_EQ(LocalTime64(c.seconds, &t), c.served) << &c - cases;
        if (c.served && c.year != 0) {
            EXPECT_EQ(std::tuple(t.tm_year + 1900, t.tm_mday, t.tm_hour, t.tm_isdst),
                      std::tuple(c.year, c.day, c.hour, c.isdst))
                << &c - cases;
        }
    }
    std::tm t{};
    for (int64_t s : {int64_t(-1), kLastSecond + 1, INT64_MAX, INT64_MIN}) EXPECT_FALSE(GmTime64(s, &t)) << s;
}

TEST(WindowsSemantics, FileTimeToSystemTimeOfKnownValues) {
    // clang-format off
    const struct { uint64_t ticks; uint16_t year, month, dow, day, hour, minute, second, ms; } cases[] = {
        {0, 1601, 1, 1, 1, 0, 0, 0, 0}, {116444736000000000ULL, 1970, 1, 4, 1, 0, 0, 0, 0},
        {125963012967890005ULL, 2000, 2, 2, 29, 12, 34, 56, 789},
        {137919572480000000ULL, 2038, 1, 2, 19, 3, 14, 8, 0}, {0x7FFFFFFFFFFFFFFFULL, 30828, 9, 4, 14, 2, 48, 5, 477},
    };
    // clang-format on
    for (const auto& c : cases) {
        FILETIME ft{static_cast<uint32_t>(c.ticks), static_cast<uint32_t>(c.ticks >> 32)};
        SYSTEMTIME st{};
        ASSERT_TRUE(FileTimeToSystemTime(&ft, &st)) << c.ticks;
        EXPECT_EQ(
            std::tuple(st.wYear, st.wMonth, st.wDayOfWeek, st.wDay, st.wHour, st.wMinute, st.wSecond, st.wMilliseconds),
            std::tuple(c.year, c.month, c.dow, c.day, c.hour, c.minute, c.second, c.ms))
            << c.ticks;
    }
    SYSTEMTIME st{};
    for (FILETIME ft : {FILETIME{0, 0x80000000u}, FILETIME{0xFFFFFFFFu, 0xFFFFFFFFu}})
        EXPECT_FALSE(FileTimeToSystemTime(&ft, &st));
}
