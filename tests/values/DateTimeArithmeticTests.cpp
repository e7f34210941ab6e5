#include <gtest/gtest.h>

#include <random>

#include "values/DateTimeTestUtil.h"

using namespace KvXmlLib16;
using namespace DateTimeTestUtil;

namespace {

using DT = CDateTime;

struct AddCase {
    const char16_t* start;
    const char16_t* span;
    bool subtract;
    const char16_t* result;
};

const AddCase kAdd[] = {
    {u"2001-01-31", u"P1M", false, u"2001-02-31"}, // the day is not limited to the month
    {u"2001-03-01", u"P1D", true, u"2001-02-28"},
    {u"2000-03-01", u"P1D", true, u"2000-02-29"},
    {u"2001-03-15", u"P1Y2M", false, u"2002-05-15"},
    {u"2001-03-15", u"P1Y3M", true, u"1999-12-15"},
    {u"2001-12-31T23:59:59", u"PT1S", false, u"2002-01-01T00:00:00"},
    {u"2001-01-01T00:00:00", u"PT0.000000001S", true, u"2000-12-31T23:59:59.999999999"},
    {u"2001-01-01T00:00:00", u"PT90M", false, u"2001-01-01T01:30:00"},
    {u"2001-01-01T00:00:00", u"PT48H", true, u"2000-12-30T00:00:00"},
    {u"2000-02-28T12:00:00", u"P1DT12H", false, u"2000-03-01T00:00:00"},
    {u"-0001-12-31", u"P1D", false, u"0000-01-01"}, // year 0 is passed through without a skip
    {u"0001-01-01", u"P1D", true, u"0000-12-31"},
    {u"2001-01-01", u"P366D", false, u"2002-01-02"},
    {u"2000-01-01", u"P366D", false, u"2001-01-01"},
    {u"2001-01-01", u"P146097D", false, u"2401-01-01"},
    {u"2001-01-01", u"P146097D", true, u"1601-01-01"},
    {u"2001-01-01Z", u"P1D", false, u"2001-01-02Z"},
    // A negative span subtracted still moves backwards.
    {u"2001-01-01", u"-P1M", true, u"2000-12-01"},
    {u"2001-01-01", u"-P1M", false, u"2000-12-01"},
};

TEST(DateTimeAdd, DurationsFollowTheFieldOrder) {
    for (const AddCase& c : kAdd) {
        SCOPED_TRACE(Narrow(c.start) + (c.subtract ? " - " : " + ") + Narrow(c.span));
        const CDateTime start = Parse(c.start);
        const CDateTimeSpan span = Span(c.span);
        const CDateTime result = c.subtract ? start - span : start + span;
        EXPECT_EQ(result.ToString(), c.result);
        CDateTime inPlace = start;
        if (c.subtract)
            inPlace -= span;
        else
            inPlace += span;
        EXPECT_EQ(inPlace.ToString(), c.result);
        EXPECT_EQ(start.ToString(), Parse(c.start).ToString()); // operands unchanged
    }
}

TEST(DateTimeAdd, OverlongDayIsCarriedByTheWalk) {
    // 31 February plus one day: the first step overshoots the month and lands on 4 March.
    CDateTime d = Parse(u"2001-01-31") + Span(u"P1M");
    d += Span(u"P1D");
    EXPECT_EQ(d.ToString(), u"2001-03-04");
    CDateTime back = Parse(u"2001-01-31") + Span(u"P1M");
    back -= Span(u"P3D");
    EXPECT_EQ(back.ToString(), u"2001-02-28");
}

TEST(DateTimeAdd, ComponentsBeyondTheirRangeAreCarried) {
    CDateTimeSpan span;
    span.SetMilliSeconds(2500);
    span.SetNanoSeconds(1001);
    CDateTime d(2001, 1, 1, 0, 0, 59);
    d += span;
    EXPECT_EQ(d.ToString(), u"2001-01-01T00:01:01.500001001");
    EXPECT_EQ((CDateTime(2001, 1, 1) - CDateTime(1999, 1, 1)).ToString(), u"P");
}

TEST(DateTimeAdd, MonthCarryUsesSinglePrecision) {
    // 25165823 months: in single precision the quotient rounds up to 2097152, so the month
    // ends as 0 and the year moves by 2097152 (a multiple of 65536 in 16 bits).
    CDateTime d(2001, 1, 1);
    d += CDateTimeSpan(0, 25165823, 0, 0, 0, 0);
    EXPECT_EQ(d.GetMonth(), 0);
    EXPECT_EQ(d.GetYear(), 2001);
    // Below 2^24 the division is exact.
    CDateTime e(2001, 1, 1);
    e += CDateTimeSpan(0, 12 * 1000 + 11, 0, 0, 0, 0);
    EXPECT_EQ(e.ToString(), u"3001-12-01");
}

// The day walk exactly as the algorithm states it, month by month, on a 16-bit year.
void ReferenceWalk(int16_t& year, int& month, int& day, int64_t days) {
    auto length = [](int m, int y) {
        static const int table[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
        const bool leap = y % 4 == 0 && (y % 100 != 0 || y % 400 == 0);
        return m == 2 && leap ? 29 : table[m - 1];
    };
    while (days != 0) {
        if (days < 0) {
            if (day - 1 < -days) {
                days += day;
                if (--month == 0) {
                    month = 12;
                    year = static_cast<int16_t>(year - 1);
                }
                day = length(month, year);
            } else {
                day += static_cast<int>(days);
                days = 0;
            }
        } else {
            const int len = length(month, year);
            if (day + days > len) {
                days -= len - day + 1;
                day = 1;
                if (++month == 13) {
                    month = 1;
                    year = static_cast<int16_t>(year + 1);
                }
            } else {
                day += static_cast<int>(days);
                days = 0;
            }
        }
    }
}

CDateTimeSpan DaySpan(int64_t days) {
    CDateTimeSpan s(0, 0, static_cast<uint32_t>(days < 0 ? -days : days), 0, 0, 0);
    return days < 0 ? s.GetAsNegative() : s;
}

TEST(DateTimeAdd, FastDayAdditionMatchesTheWalk) {
    std::mt19937 rng(20261121);
    std::uniform_int_distribution<int> yearDist(-32768, 32767), monthDist(1, 12), dayDist(0, 40);
    std::uniform_int_distribution<int64_t> daysDist(-400000, 400000);
    for (int i = 0; i < 1500; ++i) {
        const int16_t y0 = static_cast<int16_t>(i % 3 == 0 ? yearDist(rng) : (i % 3 == 1 ? 32767 - i : -32768 + i));
        const int m0 = monthDist(rng), d0 = dayDist(rng);
        const int64_t days = i % 5 == 0 ? daysDist(rng) / 1000 : daysDist(rng);
        CDateTime d(2001, 1, 1);
        d.SetYear(y0);
        d.SetMonth(static_cast<uint8_t>(m0));
        d.SetDay(static_cast<uint8_t>(d0)); // also days 0 and past the month's end
        d += DaySpan(days);
        int16_t y = y0;
        int m = m0, dd = d0;
        ReferenceWalk(y, m, dd, days);
        ASSERT_EQ(d.GetYear(), y) << y0 << "-" << m0 << "-" << d0 << " + " << days;
        ASSERT_EQ(d.GetMonth(), m) << y0 << "-" << m0 << "-" << d0 << " + " << days;
        ASSERT_EQ(d.GetDay(), dd) << y0 << "-" << m0 << "-" << d0 << " + " << days;
    }
}

// Days of the ring of all 16-bit years, counted independently of the library.
int64_t RingDays() {
    int64_t total = 0;
    for (int y = -32768; y <= 32767; ++y)
        total += (y % 4 == 0 && (y % 100 != 0 || y % 400 == 0)) ? 366 : 365;
    return total;
}

TEST(DateTimeAdd, HugeDayCountsFinishWithTheWalksResult) {
    const int64_t ring = RingDays();
    for (int64_t days : {int64_t(4294967295LL), -int64_t(4294967295LL), int64_t(3000000000LL)}) {
        SCOPED_TRACE(days);
        CDateTime d(2001, 3, 31);
        d += DaySpan(days);
        // The walk comes back to the same date after one full ring of years.
        int16_t y = 2001;
        int m = 3, dd = 31;
        ReferenceWalk(y, m, dd, days % ring);
        EXPECT_EQ(d.GetYear(), y);
        EXPECT_EQ(d.GetMonth(), m);
        EXPECT_EQ(d.GetDay(), dd);
    }
}

TEST(DateTimeAdd, HugeTimeComponentsFinish) {
    const uint64_t big[] = {uint64_t(1) << 62, ~uint64_t(0), ~uint64_t(0) >> 1, 0x123456789abcdefULL};
    for (uint64_t v : big) {
        for (bool negative : {false, true}) {
            CDateTimeSpan span(0, 0, 4294967295u, 4294967295u, v, v);
            if (negative)
                span = span.GetAsNegative();
            CDateTime d(2001, 1, 1, 12, 0, 0);
            d += span;
            // Whatever the carries gave, the date lies on the calendar.
            EXPECT_GE(d.GetMonth(), 1);
            EXPECT_LE(d.GetMonth(), 12);
            EXPECT_GE(d.GetDay(), 1);
            EXPECT_LE(d.GetDay(), 31);
        }
    }
}

TEST(DateTimeAdd, MonthOutsideTheCalendarIsRefusedByTheWalk) {
    // Single precision leaves month 0 behind; a day to walk then has no month length to use.
    CDateTime d(2001, 1, 1);
    EXPECT_EQ(MessageOf<CKvInvalidValueException>([&] { d += CDateTimeSpan(0, 25165823, 1, 0, 0, 0); }),
              u"Invalid Month [0] (1 <= month <= 12)");
    // A month set out of range by hand is brought back by the month step before any walk.
    CDateTime e(2001, 1, 1);
    e.SetMonth(200);
    e += Span(u"P1D");
    EXPECT_EQ(e.ToString(), u"2017-08-02");
}

// ---- platform conversions, against the C library ----

int64_t UtcSeconds(int y, int m, int d, int hh, int mm, int ss) {
    std::tm t{};
    t.tm_year = y - 1900;
    t.tm_mon = m - 1;
    t.tm_mday = d;
    t.tm_hour = hh;
    t.tm_min = mm;
    t.tm_sec = ss;
    return static_cast<int64_t>(timegm(&t));
}

TEST(DateTimePlatform, TimeAndWeekDayAgreeWithTheCLibrary) {
    ZoneScope zone("UTC0");
    int checked = 0;
    for (int64_t t = 0; t < UtcSeconds(2101, 1, 1, 0, 0, 0); t += 86400 + 3599) {
        std::tm g{};
        const time_t tt = static_cast<time_t>(t);
        gmtime_r(&tt, &g);
        const CDateTime fromTime(t);
        ASSERT_EQ(fromTime.GetType(), DT::dateTime) << t;
        ASSERT_EQ(fromTime.GetYear(), g.tm_year + 1900);
        ASSERT_EQ(fromTime.GetMonth(), g.tm_mon + 1);
        ASSERT_EQ(fromTime.GetDay(), g.tm_mday);
        ASSERT_EQ(fromTime.GetHour(), g.tm_hour);
        ASSERT_EQ(fromTime.GetMinute(), g.tm_min);
        ASSERT_EQ(fromTime.GetSecond(), g.tm_sec);
        ASSERT_EQ(fromTime.GetTime(), t);
        ASSERT_EQ(fromTime.GetDayOfWeek(), g.tm_wday + 1) << t;
        const CDateTime date(static_cast<int16_t>(g.tm_year + 1900), static_cast<uint8_t>(g.tm_mon + 1),
                             static_cast<uint8_t>(g.tm_mday));
        ASSERT_EQ(date.GetTime(), t - t % 86400);
        ++checked;
    }
    EXPECT_GT(checked, 40000);
}

TEST(DateTimePlatform, TimeIsUtcWhateverTheLocalZone) {
    for (const char* z : {"CET-1CEST,M3.5.0,M10.5.0/3", "EST5EDT,M3.2.0,M11.1.0", "NPT-5:45"}) {
        ZoneScope zone(z);
        SCOPED_TRACE(z);
        for (int64_t t = UtcSeconds(1970, 1, 2, 0, 0, 0); t < UtcSeconds(2100, 1, 1, 0, 0, 0); t += 86400 * 13 + 4321) {
            std::tm g{};
            const time_t tt = static_cast<time_t>(t);
            gmtime_r(&tt, &g);
            const CDateTime d(static_cast<int16_t>(g.tm_year + 1900), static_cast<uint8_t>(g.tm_mon + 1),
                              static_cast<uint8_t>(g.tm_mday), static_cast<uint8_t>(g.tm_hour),
                              static_cast<uint8_t>(g.tm_min), static_cast<uint8_t>(g.tm_sec));
            ASSERT_EQ(d.GetTime(), t) << Narrow(d.ToString());
        }
    }
}

TEST(DateTimePlatform, ZoneIsAppliedAndWeekDayComesFromLocalTime) {
    ZoneScope utc("UTC0");
    EXPECT_EQ(Parse(u"2000-01-01T05:30:00+05:30").GetTime(), UtcSeconds(2000, 1, 1, 0, 0, 0));
    EXPECT_EQ(Parse(u"1999-12-31T19:00:00-05:00").GetTime(), UtcSeconds(2000, 1, 1, 0, 0, 0));
    EXPECT_EQ(Parse(u"2000-01-01T00:00:00.999Z").GetTime(), UtcSeconds(2000, 1, 1, 0, 0, 0));
    EXPECT_EQ(Parse(u"2000-01-01").GetDayOfWeek(), 7); // Saturday
    {
        // West of Greenwich, midnight UTC is still the previous day locally.
        ZoneScope west("EST5EDT,M3.2.0,M11.1.0");
        EXPECT_EQ(Parse(u"2000-01-01").GetDayOfWeek(), 6);
    }
    EXPECT_EQ(MessageOf<CKvInvalidValueException>([] { Parse(u"2000").GetTime(); }),
              u"Failed to GetTime, Date Status must be dateTime or date. Invalid Date Type: gYear.");
    EXPECT_EQ(MessageOf<CKvInvalidValueException>([] { Parse(u"12:00:00").GetTime(); }),
              u"Failed to GetTime, Date Status must be dateTime or date. Invalid Date Type: time.");
}

TEST(DateTimePlatform, SystemTimeForms) {
    ZoneScope utc("UTC0");
    const SYSTEMTIME st{2001, 2, 0, 3, 4, 5, 6, 7};
    const CDateTime d(st);
    EXPECT_EQ(d.ToString(), u"2001-02-03T04:05:06.007");
    const SYSTEMTIME back = Parse(u"2000-01-01T10:20:30.456").GetAsSystemTime();
    EXPECT_EQ(back.wYear, 2000);
    EXPECT_EQ(back.wMonth, 1);
    EXPECT_EQ(back.wDay, 1);
    EXPECT_EQ(back.wDayOfWeek, 6);
    EXPECT_EQ(back.wHour, 10);
    EXPECT_EQ(back.wMinute, 20);
    EXPECT_EQ(back.wSecond, 30);
    EXPECT_EQ(back.wMilliseconds, 456);
    EXPECT_EQ(MessageOf<CKvInvalidValueException>([] { Parse(u"2000-01-01").GetAsSystemTime(); }),
              u"Failed to GetAsSystemTime, Date Status must be dateTime. Invalid Date Type: date.");

    // Records that do not validate leave the object cleared, without wrapping into range.
    const SYSTEMTIME bad[] = {{2001, 13, 0, 1, 0, 0, 0, 0}, {65535, 1, 0, 1, 0, 0, 0, 0},
                              {2001, 257, 0, 1, 0, 0, 0, 0}, {2001, 2, 0, 29, 0, 0, 0, 0}};
    for (const SYSTEMTIME& b : bad) {
        const CDateTime c(b);
        EXPECT_EQ(c.GetType(), DT::yearZero);
        EXPECT_EQ(c.ToString(), u"Error: Date Not Set");
    }
    CDateTime assigned;
    EXPECT_EQ(MessageOf<CKvInvalidValueException>([&] { assigned = bad[0]; }),
              u"Invalid Month [13] (1 <= month <= 12)");
}

TEST(DateTimePlatform, FileTimeAndSecondsForms) {
    const uint64_t ticks = (uint64_t(946684800) + 11644473600ULL) * 10000000ULL + 1230000ULL;
    const FILETIME ft{static_cast<uint32_t>(ticks), static_cast<uint32_t>(ticks >> 32)};
    EXPECT_EQ(CDateTime(ft).ToString(), u"2000-01-01T00:00:00.123");
    const FILETIME topBit{0, 0x80000000u};
    EXPECT_EQ(CDateTime(topBit).GetType(), DT::yearZero);
    CDateTime d;
    EXPECT_EQ(MessageOf<CKvInvalidValueException>([&] { d = topBit; }), u"Failed to convert FILETIME to SYSTEMTIME");

    EXPECT_EQ(CDateTime(int64_t(0)).ToString(), u"1970-01-01T00:00:00");
    EXPECT_EQ(CDateTime(int64_t(951782400)).ToString(), u"2000-02-29T00:00:00");
    EXPECT_EQ(CDateTime(int64_t(-1)).GetType(), DT::yearZero); // the platform serves 1970 on only
    CDateTime date(2001, 1, 1);
    EXPECT_EQ(MessageOf<CKvInvalidStateException>([&] { date = int64_t(0); }),
              u"Failed to copy CDateTime. Invalid Date Type: dateTime, expected: date.");
}

TEST(DateTimePlatform, TickCountIsAZonelessDateTime) {
    const CDateTime now = CDateTime::GetTickCount();
    EXPECT_EQ(now.GetType(), DT::dateTime);
    EXPECT_FALSE(now.IsUTC());
    EXPECT_NO_THROW(now.Validate());
    EXPECT_GE(now.GetYear(), 2020);
}

} // namespace
