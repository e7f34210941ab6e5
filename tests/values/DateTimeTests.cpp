#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <string>

#include "kvxml/base/CKvException.h"
#include "kvxml/values/CConversions.h"
#include "kvxml/values/CDateTime.h"
#include "kvxml/values/CDateTimeSpan.h"
#include "kvxml/values/KvVariant.h"
#include "support/KvTestText.h"
#include "support/ZoneScope.h"

#include "values/ValuesTestUtil.h"

using namespace ValuesTest;

namespace {

// Every accepted shape: the type it yields and how it is written back.
// clang-format off
const struct { const char16_t* text; DT::DTType type; const char16_t* written; } kValid[] = {
    {u"2000-02-29", DT::date, u"2000-02-29"},           {u"-0004-02-29", DT::date, u"-0004-02-29"},
    {u"-9999-01-01", DT::date, u"-9999-01-01"},         {u"---05-01:00", DT::gDay, u"---05-01:00"},
    {u"12:00:00-00:30", DT::time, u"12:00:00+00:30"},   {u"12:00:00abc", DT::time, u"12:00:00"},
    {u"-0044", DT::gYear, u"-0044"},                    {u"2001-05", DT::gYearMonth, u"2001-05"},
    {u"--05", DT::gMonth, u"--05"},                     {u"--12--", DT::gMonth, u"--12"},
    {u"--12xy", DT::gMonth, u"--12"},                   {u"---32", DT::gDay, u"---32"},
    {u"---45", DT::gDay, u"---45"},                     {u"--02-29", DT::gMonthDay, u"--02-29"},
    {u"2001-01-01Z", DT::date, u"2001-01-01Z"},         {u"2001-01-01+05:30", DT::date, u"2001-01-01+05:30"},
    {u"2001-01-01-23:59", DT::date, u"2001-01-01-23:59"}, {u"2001-01-01-00:30", DT::date, u"2001-01-01+00:30"},
    {u"2001-01-01+24:00", DT::date, u"2001-01-01+00:00"}, {u"2001-01-01-24:15", DT::date, u"2001-01-01+00:15"},
    {u"--12--+01:00", DT::gMonth, u"--12+01:00"},       {u"-0001Z", DT::gYear, u"-0001Z"},
    {u"2001-01:01", DT::gYear, u"2001-01:01"}, // the zone is cut by length wherever the colon stands
    {u"2001-01-01X05:00", DT::date, u"2001-01-01"}, // a zone text without sign or Z is dropped
    {u"00:00:00", DT::time, u"00:00:00"},               {u"12:00:00Z", DT::time, u"12:00:00Z"},
    {u"12:00:00.123456789", DT::time, u"12:00:00.123456789"}, {u"12:00:00.500", DT::time, u"12:00:00.5"},
    {u"12:00:00Zjunk", DT::time, u"12:00:00Z"},         {u"12:00:00.5+01:00", DT::time, u"12:00:00.5+01:00"},
    {u"-0001-12-31T23:59:59.5Z", DT::dateTime, u"-0001-12-31T23:59:59.5Z"},
    {u"2001-01-01T12:00:00T", DT::dateTime, u"2001-01-01T12:00:00"},
    {u"2001-01-01ZT12:00:00", DT::dateTime, u"2001-01-01T12:00:00Z"}, // the date part's zone survives
};
// clang-format on

TEST(DateTimeParse, AcceptedFormsYieldTypeAndText) {
    for (const auto& c : kValid) {
        SCOPED_TRACE(Narrow(c.text));
        CDateTime d;
        ASSERT_NO_THROW(d = Parse(c.text));
        EXPECT_EQ(d.GetType(), c.type);
        EXPECT_EQ(d.ToString(), c.written);
    }
}

enum Parser { Date, Time, DateTime };

// clang-format off
// text: null stands for the null pointer
const struct { Parser parser; const char16_t* text; const char* message; } kInvalid[] = {
    {Date, nullptr, "Invalid Date (Null String)"}, {Date, u"", "Invalid Date (Empty String)"},
    {Date, u"2001-01-01T", "Invalid Date ('T' not allowed)"},
    {Date, u"2001-01-01+01:00Z", "Invalid Date (Bad Zone value)"},
    {Date, u"1900-02-29", "Invalid Day [29] (1 <= day <= days in month"},
    {Date, u"-0001-02-29", "Invalid Day [29] (1 <= day <= days in month"},
    {Date, u"2001-04-31", "Invalid Day [31] (1 <= day <= days in month"},
    {Date, u"0000-01-01", "Invalid Year [0] (-9999 <= year <= 9999 && year != 0)"},
    {Date, u"2001-13", "Invalid Month [13] (1 <= month <= 12)"},
    {Date, u"--02-30", "Invalid Day [30] (1 <= day <= days in month)"},
    {Date, u"---00", "Invalid Day [0] (1 <= day <= 31)"},
    {Date, u"2001-01-01+0a:00", "Invalid XSD Time Zone [+0a:00]."},
    {Date, u"2001-01-01-25:00", "Invalid TimeZone [-25:0]"}, {Date, u"2001-01-01+05:60", "Invalid TimeZone [5:60]"},
    {Time, nullptr, "Invalid Time (Null String)"}, {Time, u"", "Invalid XSD Time (Empty String)"},
    {Time, u"12:00:00.1234567891", "Invalid XSD Time [12:00:00.1234567891] Fraction part too long"},
    {Time, u"12:00:00+05", "Invalid XSD Time Zone [+05]."},
    {Time, u"12:00:00+24:60", "Invalid TimeZone [0:60]"}, // hour 24 becomes 0 before the check
    {DateTime, nullptr, "Invalid DateTime (Null String)"},
    {DateTime, u"2001-01-01", "Invalid XSD DateTime [2001-01-01]."},
    {DateTime, u"2001-01T12:00:00", "Invalid XSD DateTime [2001-01T12:00:00] expected CCYY-MM-DDThh:mm:ss[.ff]"},
    {DateTime, u"T12:00:00", "Invalid Date (Empty String)"},
    {DateTime, u"2001-01-01T24:00:00", "Invalid XSD Time [24:00:00] expected hh:mm:ss[.ff]"}
};
// clang-format on

void RunParser(Parser parser, const char16_t* text) {
    CDateTime d;
    parser == Date ? d.ParseXSDDate(text) : parser == Time ? d.ParseXSDTime(text) : d.ParseXSDDateTime(text);
}

TEST(DateTimeParse, RejectedTextsRaiseExactMessages) {
    for (const auto& c : kInvalid)
        EXPECT_EQ(MessageOf([&] { RunParser(c.parser, c.text); }), c.message) << (c.text ? Narrow(c.text) : "(null)");
    for (const char16_t* t : {u"12345-01-01", u"+2001-01-01", u"2001-1-01", u"2001/01/01", u"20a1", u"--1-05", u"--123",
                              u"-", u"--", u"Z", u":", u"-01:00", u"2001-01-01+5:00", u"2001-01-01+0500"})
        EXPECT_EQ(MessageOf([&] { RunParser(Date, t); }),
                  "Invalid XSD Date [" + Narrow(t) + "] expected CCYY-MM-DD[Z|[+|-]hh:mm]");
    for (const char16_t* t : {u"24:00:00", u"12:60:00", u"12:00:60", u"12:00", u"12:00:0", u"1:00:00Z", u"12-00-00"})
        EXPECT_EQ(MessageOf([&] { RunParser(Time, t); }),
                  "Invalid XSD Time [" + Narrow(t) + "] expected hh:mm:ss[.ff]");
}

TEST(DateTimeSetters, RetypingCopyFollowsTheConversionTable) {
    const char* table[9] = {"100000000", "111111111", "101110111", "100110010", "100010000",
                            "100001000", "100000100", "100000010", "100000111"}; // [from][to]
    for (int from = 0; from <= 8; ++from)
        for (int to = 0; to <= 8; ++to)
            EXPECT_EQ(DT::CheckConversion(DT::DTType(from), DT::DTType(to)), table[from][to] == '1') << from << to;
    EXPECT_EQ(MessageOf([] { DT::CheckConversion(DT::DTType(9), DT::date); }), "Unknown date type 9.");
    CDateTime e;
    EXPECT_EQ(MessageOf([&] { e.SetDateTime(CDateTime(2001, 2, 3), DT::time); }),
              "Attempting to set a CDateTime of type time using an XmlDateTime of type date. The source CDateTime "
              "does not contian enough data to allow the conversion.");

    // The copy keeps the zone and the fields its new type does not use; Validate names them.
    const CDateTime dt(u"2001-02-03T04:05:06+01:00");
    // clang-format off
    const struct { CDateTime source; DT::DTType to; const char* message; } cases[] = {
        {dt, DT::gYear, "Invalid Month [2] for type gYear"}, {dt, DT::gMonth, "Invalid Year [2001] for type gMonth"},
        {dt, DT::gYearMonth, "Invalid Day [3] for type gYearMonth"}, {dt, DT::date, "Invalid Hour [4] for type date"},
        {CDateTime(2001, 2, 3, 0, 5, 6, 7, 8, 9), DT::date, "Invalid Minute [5] for type date"},
        {CDateTime(2001, 2, 3, 0, 0, 6, 7, 8, 9), DT::date, "Invalid Second [6] for type date"},
        {CDateTime(2001, 2, 3, 0, 0, 0, 7, 8, 9), DT::date, "Invalid Milli-Second [7] for type date"},
        {CDateTime(2001, 2, 3, 0, 0, 0, 0, 8, 9), DT::date, "Invalid Micro-Second [8] for type date"},
        {CDateTime(2001, 2, 3, 0, 0, 0, 0, 0, 9), DT::date, "Invalid Nano-Second [9] for type date"},
        {CDateTime(2001, 2, 3), DT::gMonthDay, "Invalid Year [2001] for type gMonthDay"},
        {CDateTime(2001, 2, 3), DT::yearZero, "Invalid Year Zero"},
    };
    // clang-format on
    for (const auto& c : cases) {
        CDateTime d;
        d.SetDateTime(c.source, c.to);
        EXPECT_EQ(MessageOf([&] { d.Validate(); }), c.message);
    }
    CDateTime ym;
    ym.SetDateTime(dt, DT::gYearMonth);
    EXPECT_EQ(ym.ToString(), u"2001-02+01:00");
}

// clang-format off
const struct { const char16_t* start; const char16_t* span; bool subtract; const char16_t* result; } kAdd[] = {
    {u"2001-01-31", u"P1M", false, u"2001-02-31"}, // the day is not limited to the month
    {u"2001-03-01", u"P1D", true, u"2001-02-28"}, {u"2000-03-01", u"P1D", true, u"2000-02-29"},
    {u"2001-01-01T00:00:00", u"PT0.000000001S", true, u"2000-12-31T23:59:59.999999999"},
    {u"2000-02-28T12:00:00", u"P1DT12H", false, u"2000-03-01T00:00:00"},
    {u"-0001-12-31", u"P1D", false, u"0000-01-01"}, // year 0 is passed through without a skip
    {u"2001-01-01", u"P146097D", true, u"1601-01-01"}, {u"2001-01-01Z", u"P1D", false, u"2001-01-02Z"},
    {u"2001-01-01", u"-P1M", true, u"2000-12-01"}, // a negative span subtracted still moves backwards
    // Quotients far beyond 2^24: exact, or refused (result null) where the year leaves 16 bits.
    {u"2000-01-01T00:00:00", u"PT500000000001S", false, u"17844-05-15T00:53:21"},
    {u"2000-01-01T00:00:00", u"PT4294967295M", false, u"10166-02-15T04:15:00"},
    {u"2000-01-01T00:00:00", u"-PT16777217H", false, u"0086-01-23T07:00:00"},
    {u"9999-12-31T23:59:59", u"P22768Y", false, u"32767-12-31T23:59:59"},
    {u"-9999-01-01", u"-P22769Y", false, u"-32768-01-01"},
    {u"2000-01-01T00:00:00", u"PT4294967295H", false, nullptr}, {u"2000-01-01T00:00:00", u"P4294967295M", false, nullptr},
    {u"2000-01-01", u"P65535Y", false, nullptr},                {u"9999-12-31T23:59:59", u"P22768YT1S", false, nullptr},
    {u"-9999-01-01", u"-P22770Y", false, nullptr},              {u"-9999-01-01", u"-P22769Y1D", false, nullptr},
    {u"2000-01-01", u"P4294967295D", false, nullptr},           {u"2000-01-01T00:00:00", u"-PT18446744073709551615M", false, nullptr},
};
// clang-format on

TEST(DateTimeAdd, DurationsFollowTheFieldOrder) {
    for (const auto& c : kAdd) {
        SCOPED_TRACE(Narrow(c.start) + (c.subtract ? " - " : " + ") + Narrow(c.span));
        const CDateTime start = Parse(c.start);
        const CDateTimeSpan span = Span(c.span);
        if (!c.result) {
            EXPECT_EQ(MessageOf([&] { (void)(start + span); }),
                      "Invalid Date: adding the duration gives a year outside -32768 to 32767.");
            continue;
        }
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

// Accepted texts and how they are written back (never normalised).
// clang-format off
const struct { const char16_t* text; const char16_t* written; } kAccepted[] = {
    {u"P1Y2M3DT4H5M6.789S", u"P1Y2M3DT4H5M6.789S"}, {u"PT90M", u"PT90M"},
    {u"-PT0S", u"-P"},                              {u"P0Y", u"P"},
    {u"PY", u"P"},                                  {u"PT1.5S", u"PT1.5S"},
    {u"PT0.5S", u"PT0.5S"},                         {u"PT.5S", u"PT0.5S"},
    {u"PT1.S", u"PT1S"},                            {u"PT0.000001S", u"PT0.000001S"},
    {u"P1D1Y1M", u"P1Y1M1D"}, /* "Y" in any state */ {u"PT1.5S1Y", u"P1YT1.5S"},
    {u"P1MT1M", u"P1MT1M"},                         {u"PT1H1M1S", u"PT1H1M1S"},
    {u"P65535Y4294967295M", u"P65535Y4294967295M"}, {u"PT18446744073709551615S", u"PT18446744073709551615S"},
    {u"PT0.123456789S", u"PT0.123456009S"}, // of the last three digits only the last survives, unweighted
    {u"PT0.1234567S", u"PT0.123456007S"}
};
// clang-format on

TEST(DurationParse, AcceptedTextsAreWrittenBackUnnormalised) {
    for (const auto& c : kAccepted) {
        CDateTimeSpan s;
        ASSERT_NO_THROW(s.ParseXSDDuration(c.text)) << Narrow(c.text);
        EXPECT_EQ(s.ToString(), c.written) << Narrow(c.text);
    }
}

TEST(DurationParse, RejectedTextsRaiseExactMessages) {
    EXPECT_EQ(MessageOf([] { CDateTimeSpan().ParseXSDDuration(nullptr); }), "Invalid XSD Duration (Null String)");
    EXPECT_EQ(MessageOf([] { CDateTimeSpan().ParseXSDDuration(u""); }), "Invalid XSD Duration (Empty String)");
    EXPECT_EQ(MessageOf([] { CDateTimeSpan().ParseXSDDuration(u"PT1.0123456789S"); }),
              "Invalid XSD Duration [PT1.0123456789S] Fraction part too long");
    for (const char16_t* text : {u"P", u"PYT", u"P1YT", u"1Y", u"P-1Y", u"-", u"+P1D", u"P1M1M", u"PT1M1M", u"PT1H1S1M",
                                 u"P1", u"PT1H1H", u"PT1D", u"P1H", u"P1S", u"P.5S", u"PT1.5", u"PT1.5M", u"PT1S1S",
                                 u"P1DT1D", u"PTT", u"P1Y ", u"p1Y", u"PT1.5S1S", u"P1M1D1M",
                                 // numbers that do not fit their fields are refused, never wrapped
                                 u"P99999999999Y", u"P65536Y", u"P4294967296M", u"P4294967296D", u"PT4294967296H",
                                 u"PT18446744073709551616M", u"PT18446744073709551616S", u"PT18446744073709551616.5S",
                                 u"PT99999999999999999999999S", u"P1D99999999999999999999Y"})
        EXPECT_EQ(MessageOf([&] { CDateTimeSpan().ParseXSDDuration(text); }),
                  "Invalid XSD Duration [" + Narrow(text) + "] expected [-]P[nY][nM][nD][T[nH][nM][nS.ff]]");
    CDateTimeSpan s(1, 2, 3);
    EXPECT_THROW(s.ParseXSDDuration(u"-P1Y2MX"), CKvInvalidValueException);
    EXPECT_EQ(s.ToString(), u"-P1Y2M"); // cleared first, then keeps what was read
}

const char16_t* const kDateSeeds[] = {
    u"2001-02-03T04:05:06.789+05:30", u"-0004-02-29Z",    u"--02-29", u"---31-14:00", u"--12--", u"2001-12",
    u"12:00:00.123456789Z",           u"2001-01-01-00:30"};
const char16_t* const kSpanSeeds[] = {u"P1Y2M3DT4H5M6.789S", u"-PT90M", u"PT0.5S", u"P4294967295D", u"-P1D1Y"};
const char16_t kAlphabet[] = u"0123456789-:TZ+.PYMDHS \xFFFF\xD800";

std::u16string Mutate(std::mt19937& rng, std::u16string s) {
    for (int edits = static_cast<int>(rng() % 3); edits > 0; --edits) {
        const size_t pos = rng() % (s.size() + 1);
        const char16_t c = kAlphabet[rng() % (std::size(kAlphabet) - 1)];
        const unsigned op = rng() % 3;
        if (op == 0)
            s.insert(pos, 1, c);
        else if (pos < s.size())
            op == 1 ? s.erase(pos, 1 + rng() % 3) : s.replace(pos, 1, 1, c);
    }
    return s;
}

// Anything but a return or a member of the exception family escapes and fails the test.
TEST(DateTimeRobustness, MutatedTextsReturnOrThrowTheFamily) {
    ZoneScope zone("CET-1CEST,M3.5.0,M10.5.0/3");
    std::mt19937 rng(7);
    const ItemType dateKinds[] = {ItemType_yearMonth, ItemType_monthDay, ItemType_year,     ItemType_month,
                                  ItemType_day,       ItemType_date,     ItemType_datetime, ItemType_time};
    CDateTime previous(2001, 1, 1);
    CDateTimeSpan previousSpan;
    for (int i = 0; i < 1500; ++i) {
        const std::u16string text = Mutate(rng, kDateSeeds[rng() % std::size(kDateSeeds)]);
        try {
            CDateTime d;
            switch (i % 4) {
            case 0: d.ParseXSDDate(text.c_str()); break;
            case 1: d.ParseXSDTime(text.c_str()); break;
            case 2: d.ScanDate(text.data(), text.size()); break;
            default: d = Parse(text); break; // the parser that fits the shape, the text constructor included
            }
            (void)d.ToString();
            (void)d.CompareTo(previous);
            (void)(d + previousSpan).GetNormalized().ToString();
            if (d.GetType() == DT::date || d.GetType() == DT::dateTime) (void)(d.GetDayOfYear() + d.GetDayOfWeek());
            previous = d;
        } catch (const CKvException&) {}
        try {
            KvVariant v;
            v.FromString(text, dateKinds[i % std::size(dateKinds)], CWhitespaceUtils::WhitespaceRule_Collapse);
            (void)v.ToString();
        } catch (const CKvException&) {}
        const std::u16string spanText = Mutate(rng, kSpanSeeds[rng() % std::size(kSpanSeeds)]);
        try {
            const CDateTimeSpan s =
                i % 2 ? Span(spanText.c_str())
                      : CConversions::durationFromString(spanText, CWhitespaceUtils::WhitespaceRule_None);
            (void)s.ToString();
            (void)s.CompareTo(previousSpan);
            (void)(previous - s).ToString();
            previousSpan = s;
        } catch (const CKvException&) {}
    }
}

} // namespace
