#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <string>

#include "kvxml/platform/KvPlatform.h"

using namespace KvXmlLib16;
using namespace KvXmlLib16::Platform;

namespace {

// Sets the process time zone for one test and puts the previous one back afterwards.
// POSIX zone strings are used so that no zone database is needed.
class ZoneScope {
public:
    explicit ZoneScope(const char* zone) {
        const char* old = std::getenv("TZ");
        m_had = old != nullptr;
        if (m_had) m_old = old;
        setenv("TZ", zone, 1);
        tzset();
    }
    ~ZoneScope() {
        if (m_had) setenv("TZ", m_old.c_str(), 1);
        else unsetenv("TZ");
        tzset();
    }

private:
    bool m_had = false;
    std::string m_old;
};

constexpr const char* kCentralEurope = "CET-1CEST,M3.5.0,M10.5.0/3";
constexpr int64_t kLastSecond = 32535215999LL;  // 3000-12-31 23:59:59 UTC

std::tm Fields(int year, int month, int day, int hour, int minute, int second, int isdst = -1) {
    std::tm t{};
    t.tm_year = year - 1900;
    t.tm_mon = month - 1;
    t.tm_mday = day;
    t.tm_hour = hour;
    t.tm_min = minute;
    t.tm_sec = second;
    t.tm_isdst = isdst;
    return t;
}

struct Instant {
    int64_t seconds;
    int year, month, day, hour, minute, second, wday, yday;
};

// Known UTC instants: the epoch, a leap day, dates past 2038, the last second served.
const Instant kInstants[] = {
    {0, 1970, 1, 1, 0, 0, 0, 4, 0},
    {951782400, 2000, 2, 29, 0, 0, 0, 2, 59},
    {2147483648LL, 2038, 1, 19, 3, 14, 8, 2, 18},
    {2208988800LL, 2040, 1, 1, 0, 0, 0, 0, 0},
    {4107585600LL, 2100, 3, 1, 12, 0, 0, 1, 59},
    {kLastSecond, 3000, 12, 31, 23, 59, 59, 3, 364},
};

} // namespace

TEST(PlatformTime, GmTime64BreaksDownKnownInstants) {
    for (const Instant& i : kInstants) {
        SCOPED_TRACE(i.seconds);
        std::tm t{};
        ASSERT_TRUE(GmTime64(i.seconds, &t));
        EXPECT_EQ(t.tm_year + 1900, i.year);
        EXPECT_EQ(t.tm_mon + 1, i.month);
        EXPECT_EQ(t.tm_mday, i.day);
        EXPECT_EQ(t.tm_hour, i.hour);
        EXPECT_EQ(t.tm_min, i.minute);
        EXPECT_EQ(t.tm_sec, i.second);
        EXPECT_EQ(t.tm_wday, i.wday);
        EXPECT_EQ(t.tm_yday, i.yday);
        EXPECT_EQ(t.tm_isdst, 0);

        std::tm back = t;
        EXPECT_EQ(MkGmTime64(&back), i.seconds);
    }
}

TEST(PlatformTime, GmTime64RefusesOutsideTheServedRange) {
    std::tm t{};
    for (int64_t s : {int64_t(-1), int64_t(-86400), kLastSecond + 1, INT64_MAX, INT64_MIN}) {
        EXPECT_FALSE(GmTime64(s, &t)) << s;
    }
    EXPECT_FALSE(GmTime64(0, nullptr));
}

TEST(PlatformTime, MkTime64ReadsLocalTimeAndNormalises) {
    ZoneScope zone(kCentralEurope);
    struct Case {
        std::tm in;
        int64_t seconds;            // -1: failure
        int year, month, day, hour; // normalised local fields on success
        int isdst;
    };
    const Case cases[] = {
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
        {Fields(1970, 1, 1, 0, 30, 0), -1, 0, 0, 0, 0, 0},
        {Fields(1970, 1, 1, 1, 0, 0), 0, 1970, 1, 1, 1, 0},
        {Fields(3001, 1, 1, 0, 59, 59), kLastSecond, 3001, 1, 1, 0, 0},
        {Fields(3001, 1, 1, 1, 0, 0), -1, 0, 0, 0, 0, 0},
        {Fields(1968, 12, 31, 0, 0, 0), -1, 0, 0, 0, 0, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        std::tm t = c.in;
        const int64_t got = MkTime64(&t);
        EXPECT_EQ(got, c.seconds);
        if (c.seconds < 0) continue;
        EXPECT_EQ(t.tm_year + 1900, c.year);
        EXPECT_EQ(t.tm_mon + 1, c.month);
        EXPECT_EQ(t.tm_mday, c.day);
        EXPECT_EQ(t.tm_hour, c.hour);
        EXPECT_EQ(t.tm_isdst, c.isdst);
    }
}

TEST(PlatformTime, LocalTime64FollowsTheZoneAndItsRange) {
    {
        ZoneScope zone(kCentralEurope);
        std::tm t{};
        ASSERT_TRUE(LocalTime64(0, &t));
        EXPECT_EQ(t.tm_year, 70);
        EXPECT_EQ(t.tm_hour, 1);
        ASSERT_TRUE(LocalTime64(962445600, &t));
        EXPECT_EQ(t.tm_hour, 12);
        EXPECT_EQ(t.tm_isdst, 1);
        // The local clock passes 3000-12-31 23:59:59 one hour before UTC does.
        EXPECT_TRUE(LocalTime64(kLastSecond - 3600, &t));
        EXPECT_FALSE(LocalTime64(kLastSecond - 3599, &t));
    }
    {
        ZoneScope zone("EST5");
        std::tm t{};
        EXPECT_FALSE(LocalTime64(0, &t));
        EXPECT_FALSE(LocalTime64(5 * 3600 - 1, &t));
        ASSERT_TRUE(LocalTime64(5 * 3600, &t));
        EXPECT_EQ(t.tm_year, 70);
        EXPECT_EQ(t.tm_mday, 1);
        EXPECT_EQ(t.tm_hour, 0);
        EXPECT_TRUE(LocalTime64(kLastSecond + 3600, &t));
        EXPECT_FALSE(LocalTime64(-1, &t));
    }
}

// The library's way back from fields taken as UTC: read them as local time, then add the
// zone's offset at that instant. Over many instants and a zone with summer time this must
// reproduce the seconds exactly, except in the hour that does not exist locally.
TEST(PlatformTime, LocalRoundTripsOverTheWholeRange) {
    ZoneScope zone(kCentralEurope);
    int checked = 0;
    for (int64_t s = 7200; s < kLastSecond - 7200; s += 7777777) {
        std::tm local{};
        ASSERT_TRUE(LocalTime64(s, &local)) << s;
        std::tm again = local;
        EXPECT_EQ(MkTime64(&again), s) << s;

        std::tm utc{};
        ASSERT_TRUE(GmTime64(s, &utc));
        std::tm copy = utc;
        EXPECT_EQ(MkGmTime64(&copy), s);
        ++checked;
    }
    EXPECT_GT(checked, 4000);
}

TEST(PlatformTime, DiffTime64) {
    errno = 0;
    EXPECT_EQ(DiffTime64(10, 4), 6.0);
    EXPECT_EQ(DiffTime64(4, 10), -6.0);
    EXPECT_EQ(DiffTime64(kLastSecond, 0), double(kLastSecond));
    EXPECT_EQ(errno, 0);
    EXPECT_EQ(DiffTime64(5, -1), 0.0);
    EXPECT_EQ(errno, EINVAL);
}

TEST(PlatformTime, FileTimeToSystemTimeOfKnownValues) {
    struct Case {
        uint64_t ticks;
        uint16_t year, month, dow, day, hour, minute, second, ms;
    };
    const Case cases[] = {
        {0, 1601, 1, 1, 1, 0, 0, 0, 0},
        {116444736000000000ULL, 1970, 1, 4, 1, 0, 0, 0, 0},
        {125963012967890005ULL, 2000, 2, 2, 29, 12, 34, 56, 789},
        {137919572480000000ULL, 2038, 1, 2, 19, 3, 14, 8, 0},
        {0x7FFFFFFFFFFFFFFFULL, 30828, 9, 4, 14, 2, 48, 5, 477},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.ticks);
        FILETIME ft{static_cast<uint32_t>(c.ticks), static_cast<uint32_t>(c.ticks >> 32)};
        SYSTEMTIME st{};
        ASSERT_TRUE(FileTimeToSystemTime(&ft, &st));
        EXPECT_EQ(st.wYear, c.year);
        EXPECT_EQ(st.wMonth, c.month);
        EXPECT_EQ(st.wDayOfWeek, c.dow);
        EXPECT_EQ(st.wDay, c.day);
        EXPECT_EQ(st.wHour, c.hour);
        EXPECT_EQ(st.wMinute, c.minute);
        EXPECT_EQ(st.wSecond, c.second);
        EXPECT_EQ(st.wMilliseconds, c.ms);
    }
    FILETIME high{0, 0x80000000u};
    SYSTEMTIME st{};
    EXPECT_FALSE(FileTimeToSystemTime(&high, &st));
    FILETIME all{0xFFFFFFFFu, 0xFFFFFFFFu};
    EXPECT_FALSE(FileTimeToSystemTime(&all, &st));
}

TEST(PlatformTime, GetLocalTimeGivesAConsistentPresentDate) {
    ZoneScope zone(kCentralEurope);
    SYSTEMTIME st{};
    GetLocalTime(&st);
    EXPECT_GE(st.wYear, 2024);
    EXPECT_GE(st.wMonth, 1);
    EXPECT_LE(st.wMonth, 12);
    EXPECT_GE(st.wDay, 1);
    EXPECT_LE(st.wHour, 23);
    EXPECT_LE(st.wMinute, 59);
    EXPECT_LE(st.wSecond, 59);
    EXPECT_LE(st.wMilliseconds, 999);
    // The week day must belong to the date reported.
    std::tm t = Fields(st.wYear, st.wMonth, st.wDay, 12, 0, 0);
    ASSERT_GE(MkGmTime64(&t), 0);
    EXPECT_EQ(t.tm_wday, st.wDayOfWeek);
}
