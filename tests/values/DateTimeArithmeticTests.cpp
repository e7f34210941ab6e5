#include <random>

#include "values/DateTimeTestUtil.h"

using namespace DateTimeTestUtil;

namespace {

const struct {
    const char16_t* start;
    const char16_t* span;
    bool subtract;
    const char16_t* result;
} kAdd[] = {
    {u"2001-01-31", u"P1M", false, u"2001-02-31"}, // the day is not limited to the month
    {u"2001-03-01", u"P1D", true, u"2001-02-28"}, {u"2000-03-01", u"P1D", true, u"2000-02-29"},
    {u"2001-03-15", u"P1Y3M", true, u"1999-12-15"}, {u"2001-12-31T23:59:59", u"PT1S", false, u"2002-01-01T00:00:00"},
    {u"2001-01-01T00:00:00", u"PT0.000000001S", true, u"2000-12-31T23:59:59.999999999"},
    {u"2001-01-01T00:00:00", u"PT48H", true, u"2000-12-30T00:00:00"},
    {u"2000-02-28T12:00:00", u"P1DT12H", false, u"2000-03-01T00:00:00"},
    {u"-0001-12-31", u"P1D", false, u"0000-01-01"}, // year 0 is passed through without a skip
    {u"2001-01-01", u"P146097D", true, u"1601-01-01"}, {u"2001-01-01Z", u"P1D", false, u"2001-01-02Z"},
    {u"2001-01-01", u"-P1M", true, u"2000-12-01"}, // a negative span subtracted still moves backwards
};

TEST(DateTimeAdd, DurationsFollowTheFieldOrder) {
    for (const auto& c : kAdd) {
        SCOPED_TRACE(Narrow(c.start) + (c.subtract ? " - " : " + ") + Narrow(c.span));
        const CDateTime start = Parse(c.start);
        const CDateTimeSpan span = Span(c.span);
        EXPECT_EQ((c.subtract ? start - span : start + span).ToString(), c.result);
        CDateTime inPlace = start;
        c.subtract ? inPlace -= span : inPlace += span;
        EXPECT_EQ(inPlace.ToString(), c.result);
    }
    // From "31 February" the walk overshoots the month: plus a day lands on 4 March.
    CDateTime d = Parse(u"2001-01-31") + Span(u"P1M");
    EXPECT_EQ((d + Span(u"P1D")).ToString(), u"2001-03-04");
    EXPECT_EQ((d - Span(u"P3D")).ToString(), u"2001-02-28");
    EXPECT_EQ((CDateTime(2001, 1, 1) - CDateTime(1999, 1, 1)).ToString(), u"P");
}

TEST(DateTimeAdd, Carries) {
    CDateTimeSpan span;
    span.SetMilliSeconds(2500);
    span.SetNanoSeconds(1001);
    EXPECT_EQ((CDateTime(2001, 1, 1, 0, 0, 59) + span).ToString(), u"2001-01-01T00:01:01.500001001");
    // A month set out of range by hand is brought back by the month step before the walk.
    CDateTime e(2001, 1, 1);
    e.SetMonth(200);
    EXPECT_EQ((e + Span(u"P1D")).ToString(), u"2017-08-02");
}

// The day walk exactly as the algorithm states it, month by month; false where the year leaves 16 bits.
bool ReferenceWalk(int& year, int& month, int& day, int64_t days) {
    const auto length = [](int m, int y) {
        static const int table[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
        return m == 2 && y % 4 == 0 && (y % 100 != 0 || y % 400 == 0) ? 29 : table[m - 1];
    };
    while (days != 0) {
        if (days < 0 && day - 1 < -days) {
            days += day;
            if (--month == 0) {
                month = 12;
                if (--year < -32768) return false;
            }
            day = length(month, year);
        } else if (days > 0 && day + days > length(month, year)) {
            days -= length(month, year) - day + 1;
            day = 1;
            if (++month == 13) {
                month = 1;
                if (++year > 32767) return false;
            }
        } else {
            day += static_cast<int>(days);
            days = 0;
        }
    }
    return true;
}

CDateTimeSpan DaySpan(int64_t days) {
    const CDateTimeSpan s(0, 0, static_cast<uint32_t>(days < 0 ? -days : days), 0, 0, 0);
    return days < 0 ? s.GetAsNegative() : s;
}

void ExpectWalk(int16_t y0, int m0, int d0, int64_t days, int64_t walked) {
    CDateTime d(2001, 1, 1);
    d.SetYear(y0);
    d.SetMonth(static_cast<uint8_t>(m0));
    d.SetDay(static_cast<uint8_t>(d0));
    int y = y0, m = m0, dd = d0;
    if (!ReferenceWalk(y, m, dd, walked)) {
        EXPECT_THROW(d += DaySpan(days), CKvInvalidValueException) << y0 << "-" << m0 << "-" << d0 << " + " << days;
        return;
    }
    d += DaySpan(days);
    ASSERT_TRUE(d.GetYear() == y && d.GetMonth() == m && d.GetDay() == dd)
        << y0 << "-" << m0 << "-" << d0 << " + " << days << ": " << Narrow(d.ToString());
}

TEST(DateTimeAdd, DayAdditionMatchesThePlainWalk) {
    std::mt19937 rng(20261121);
    std::uniform_int_distribution<int> yearDist(-32768, 32767), monthDist(1, 12), dayDist(0, 40);
    std::uniform_int_distribution<int64_t> daysDist(-150000, 150000);
    for (int i = 0; i < 1000; ++i) {
        // Also days 0 and past the month's end, and years near the 16-bit limits.
        const int16_t y0 = static_cast<int16_t>(i % 3 == 0 ? yearDist(rng) : i % 3 == 1 ? 32767 - i : -32768 + i);
        const int m0 = monthDist(rng), d0 = dayDist(rng);
        const int64_t days = i % 5 == 0 ? daysDist(rng) / 1000 : daysDist(rng);
        ExpectWalk(y0, m0, d0, days, days);
    }
    // Huge counts are refused at once.
    for (int64_t days : {int64_t(4294967295LL), -int64_t(4294967295LL), int64_t(3000000000LL)})
        ExpectWalk(2001, 3, 31, days, days);
}

TEST(DateTimeAdd, HugeTimeComponentsAreRefused) {
    for (uint64_t v : {uint64_t(1) << 62, ~uint64_t(0), ~uint64_t(0) >> 1, uint64_t(0x123456789abcdefULL)}) {
        for (bool negative : {false, true}) {
            const CDateTimeSpan span(0, 0, 4294967295u, 4294967295u, v, v);
            EXPECT_THROW(CDateTime(2001, 1, 1, 12, 0, 0) + (negative ? span.GetAsNegative() : span),
                         CKvInvalidValueException);
        }
    }
}

// ---- platform conversions, against the C library ----

int64_t UtcSeconds(int y, int m, int d) {
    std::tm t{};
    t.tm_year = y - 1900;
    t.tm_mon = m - 1;
    t.tm_mday = d;
    return static_cast<int64_t>(timegm(&t));
}

// The C library's own text of t in UTC, with the given strftime format.
std::u16string GmText(int64_t t, const char* format, int* weekDay = nullptr) {
    std::tm g{};
    const time_t tt = static_cast<time_t>(t);
    gmtime_r(&tt, &g);
    if (weekDay != nullptr)
        *weekDay = g.tm_wday + 1;
    char buf[32];
    const size_t n = strftime(buf, sizeof buf, format, &g);
    return std::u16string(buf, buf + n);
}

TEST(DateTimePlatform, TimeAndWeekDayAgreeWithTheCLibrary) {
    ZoneScope zone("UTC0");
    int checked = 0, weekDay = 0;
    for (int64_t t = 0; t < UtcSeconds(2101, 1, 1); t += 3 * 86400 + 3599, ++checked) {
        const CDateTime fromTime(t);
        ASSERT_EQ(fromTime.ToString(), GmText(t, "%Y-%m-%dT%H:%M:%S", &weekDay)) << t;
        ASSERT_EQ(fromTime.GetTime(), t);
        ASSERT_EQ(fromTime.GetDayOfWeek(), weekDay) << t;
        ASSERT_EQ(Parse(GmText(t, "%Y-%m-%d")).GetTime(), t - t % 86400);
    }
    EXPECT_GT(checked, 15000);
}

TEST(DateTimePlatform, TimeIsUtcWhateverTheLocalZone) {
    for (const char* z : {"CET-1CEST,M3.5.0,M10.5.0/3", "EST5EDT,M3.2.0,M11.1.0", "NPT-5:45"}) {
        ZoneScope zone(z);
        for (int64_t t = UtcSeconds(1970, 1, 2); t < UtcSeconds(2100, 1, 1); t += 86400 * 13 + 4321)
            ASSERT_EQ(Parse(GmText(t, "%Y-%m-%dT%H:%M:%S")).GetTime(), t) << z << " " << t;
    }
}

TEST(DateTimePlatform, ZoneIsAppliedAndWeekDayComesFromLocalTime) {
    ZoneScope utc("UTC0");
    EXPECT_EQ(Parse(u"2000-01-01T05:30:00.999+05:30").GetTime(), UtcSeconds(2000, 1, 1));
    EXPECT_EQ(Parse(u"1999-12-31T19:00:00-05:00").GetTime(), UtcSeconds(2000, 1, 1));
    EXPECT_EQ(Parse(u"2000-01-01").GetDayOfWeek(), 7); // Saturday
    {
        ZoneScope west("EST5EDT,M3.2.0,M11.1.0"); // midnight UTC is still Friday here
        EXPECT_EQ(Parse(u"2000-01-01").GetDayOfWeek(), 6);
    }
    {
        // Served as long as the local reading is; the count is still that of the fields as UTC.
        ZoneScope east("CET-1");
        EXPECT_EQ(Parse(u"3001-01-01T00:30:00").GetTime(), 32535217800);
        EXPECT_EQ(Parse(u"1970-01-01T00:30:00").GetTime(), -1);
    }
    EXPECT_EQ(MessageOf([] { Parse(u"12:00:00").GetTime(); }),
              u"Failed to GetTime, Date Status must be dateTime or date. Invalid Date Type: time.");
}

TEST(DateTimePlatform, RecordAndSecondsForms) {
    ZoneScope utc("UTC0");
    EXPECT_EQ(CDateTime(SYSTEMTIME{2001, 2, 0, 3, 4, 5, 6, 7}).ToString(), u"2001-02-03T04:05:06.007");
    const SYSTEMTIME st = Parse(u"2000-01-01T10:20:30.456").GetAsSystemTime();
    EXPECT_EQ(CDateTime(st).ToString(), u"2000-01-01T10:20:30.456");
    EXPECT_EQ(st.wDayOfWeek, 6);
    EXPECT_EQ(MessageOf([] { Parse(u"2000-01-01").GetAsSystemTime(); }),
              u"Failed to GetAsSystemTime, Date Status must be dateTime. Invalid Date Type: date.");
    // Records that do not validate leave the object cleared, without wrapping into range.
    for (const SYSTEMTIME& b : {SYSTEMTIME{2001, 13, 0, 1, 0, 0, 0, 0}, SYSTEMTIME{55537, 1, 0, 1, 0, 0, 0, 0},
                                SYSTEMTIME{2001, 257, 0, 1, 0, 0, 0, 0}})
        EXPECT_EQ(CDateTime(b).GetType(), DT::yearZero);
    CDateTime assigned;
    EXPECT_EQ(MessageOf([&] { assigned = SYSTEMTIME{2001, 13, 0, 1, 0, 0, 0, 0}; }),
              u"Invalid Month [13] (1 <= month <= 12)");

    const uint64_t ticks = (uint64_t(946684800) + 11644473600ULL) * 10000000ULL + 1230000ULL;
    EXPECT_EQ(CDateTime(FILETIME{static_cast<uint32_t>(ticks), static_cast<uint32_t>(ticks >> 32)}).ToString(),
              u"2000-01-01T00:00:00.123");
    EXPECT_EQ(CDateTime(FILETIME{0, 0x80000000u}).GetType(), DT::yearZero);
    EXPECT_EQ(MessageOf([&] { assigned = FILETIME{0, 0x80000000u}; }), u"Failed to convert FILETIME to SYSTEMTIME");
    EXPECT_EQ(CDateTime(int64_t(-1)).GetType(), DT::yearZero); // the platform serves 1970 on only
    CDateTime date(2001, 1, 1);
    EXPECT_EQ(MessageOf<CKvInvalidStateException>([&] { date = int64_t(0); }),
              u"Failed to copy CDateTime. Invalid Date Type: dateTime, expected: date.");
    const CDateTime now = CDateTime::GetTickCount();
    EXPECT_TRUE(now.GetType() == DT::dateTime && !now.IsUTC() && now.GetYear() >= 2020);
}

} // namespace
