#include <functional>

#include "values/DateTimeTestUtil.h"

using namespace DateTimeTestUtil;

namespace {

TEST(DateTimeSetters, WholeValueSettersValidateInOrder) {
    const struct {
        std::function<void(CDateTime&)> set;
        const char16_t* message;
    } cases[] = {
        {[](DT& d) { d.SetDate(2000, 2, 29); }, u"<no exception>"}, {[](DT& d) { d.SetGDay(200); }, u"<no exception>"},
        {[](DT& d) { d.SetDate(-10000, 1, 1); }, u"Invalid Year [-10000] (-9999 <= year <= 9999 && year != 0)"},
        {[](DT& d) { d.SetGYearMonth(0, 1); }, u"Invalid Year [0] (-9999 <= year <= 9999 && year != 0)"},
        {[](DT& d) { d.SetGMonth(13); }, u"Invalid Month [13] (1 <= month <= 12)"},
        {[](DT& d) { d.SetGMonthDay(4, 31); }, u"Invalid Day [31] (1 <= day <= days in month)"},
        {[](DT& d) { d.SetGYear(0); }, u"Invalid Year [0] (-9999 <= year <= 9999 && year != 0)"},
        {[](DT& d) { d.SetTime(24, 0, 0); }, u"Invalid Hour [24] (0 <= hour <= 23)"},
        {[](DT& d) { d.SetTime(0, 60, 0); }, u"Invalid Minute [60] (0 <= minute <= 59)"},
        {[](DT& d) { d.SetDateTime(2001, 1, 1, 0, 0, 60); }, u"Invalid Second [60] (0 <= second <= 59)"},
        {[](DT& d) { d.SetTime(0, 0, 0, 1000); }, u"Invalid Milli-Second [1000] (0 <= milli <= 999)"},
        {[](DT& d) { d.SetTime(0, 0, 0, 0, 1000); }, u"Invalid Micro-Second [1000] (0 <= micro <= 999)"},
        {[](DT& d) { d.SetFracTime(0, 0, 1000); }, u"Invalid Nano-Second [1000] (0 <= nano <= 999)"},
        {[](DT& d) { d.SetDate(0, 13, 40); }, u"Invalid Month [13] (1 <= month <= 12)"},
        {[](DT& d) { d.SetDate(0, 1, 40); }, u"Invalid Year [0] (-9999 <= year <= 9999 && year != 0)"},
        {[](DT& d) { d.SetTime(30, 0, 0, 5000); }, u"Invalid Hour [30] (0 <= hour <= 23)"},
        {[](DT& d) { d = CDateTime(2001, 2, 30); }, u"Invalid Day [30] (1 <= day <= days in month"},
    };
    for (const auto& c : cases) {
        CDateTime d;
        EXPECT_EQ(MessageOf([&] { c.set(d); }), c.message) << Narrow(c.message);
    }
    EXPECT_EQ(CDateTime(2001, 2, 3, 4, 5, 6, 7, 8, 9).ToString(), u"2001-02-03T04:05:06.007008009");
}

TEST(DateTimeSetters, TypedObjectTakesOnlyItsOwnKind) {
    CDateTime d(2001, 1, 1);
    EXPECT_EQ(MessageOf<CKvInvalidStateException>([&] { d.SetTime(1, 2, 3); }),
              u"Failed to copy CDateTime. Invalid Date Type: time, expected: date.");
    d.SetTimeZone(3, 0);
    d.SetDate(2002, 2, 2); // the same kind is fine and drops the zone
    EXPECT_EQ(d.ToString(), u"2002-02-02");
    d.SetMonth(2); // field setters store without validating
    d.SetDay(45);
    EXPECT_EQ(d.ToString(), u"2002-02-45");
}

TEST(DateTimeSetters, FieldAccessorsCheckTheType) {
    constexpr unsigned DTm = 1u << DT::dateTime, D = 1u << DT::date, YM = 1u << DT::gYearMonth, Y = 1u << DT::gYear,
                       T = 1u << DT::time, GD = 1u << DT::gDay, GM = 1u << DT::gMonth, MD = 1u << DT::gMonthDay;
    using Op = std::function<void(DT&)>;
    const struct {
        const char16_t* name;
        unsigned allowed;
        Op get, set;
    } accessors[] = {
        {u"Year", DTm | D | YM | Y, [](DT& d) { d.GetYear(); }, [](DT& d) { d.SetYear(1); }},
        {u"Month", DTm | D | YM | GM | MD, [](DT& d) { d.GetMonth(); }, [](DT& d) { d.SetMonth(1); }},
        {u"Day", DTm | D | GD | MD, [](DT& d) { d.GetDay(); }, [](DT& d) { d.SetDay(1); }},
        {u"Hour", DTm | T, [](DT& d) { d.GetHour(); }, [](DT& d) { d.SetHour(1); }},
        {u"Minute", DTm | T, [](DT& d) { d.GetMinute(); }, [](DT& d) { d.SetMinute(1); }},
        {u"Second", DTm | T, [](DT& d) { d.GetSecond(); }, [](DT& d) { d.SetSecond(1); }},
        {u"MilliSecond", DTm | T, [](DT& d) { d.GetMilliSecond(); }, [](DT& d) { d.SetMilliSecond(1); }},
        {u"MicroSecond", DTm | T, [](DT& d) { d.GetMicroSecond(); }, [](DT& d) { d.SetMicroSecond(1); }},
        {u"NanoSecond", DTm | T, [](DT& d) { d.GetNanoSecond(); }, [](DT& d) { d.SetNanoSecond(1); }},
        {u"RealSecond", DTm | T, [](DT& d) { d.GetRealSecond(); }, nullptr},
        // These two need a whole date, so only their refusals are run here.
        {u"DayOfYear", DTm | D, nullptr, [](DT& d) { d.GetDayOfYear(); }},
        {u"DayOfWeek", DTm | D, nullptr, [](DT& d) { d.GetDayOfWeek(); }},
    };
    for (const auto& a : accessors) {
        for (int t = 0; t <= 8; ++t) {
            CDateTime d{DT::DTType(t)};
            SCOPED_TRACE(Narrow(a.name + (u" on " + d.GetTypeAsString())));
            const std::u16string expected = (a.allowed >> t) & 1u ? u"<no exception>"
                : u"Failed to Get" + std::u16string(a.name) + u". Invalid Date Type: " + d.GetTypeAsString() + u".";
            for (const Op& op : {a.get, a.set}) {
                if (op && (a.get || expected[0] != u'<')) {
                    EXPECT_EQ(MessageOf<CKvInvalidStateException>([&] { op(d); }), expected);
                }
            }
        }
    }
}

TEST(DateTimeSetters, RetypingCopyFollowsTheConversionTable) {
    const char* table[9] = {"100000000", "111111111", "101110111", "100110010", "100010000",
                            "100001000", "100000100", "100000010", "100000111"}; // [from][to]
    for (int from = 0; from <= 8; ++from)
        for (int to = 0; to <= 8; ++to)
            EXPECT_EQ(DT::CheckConversion(DT::DTType(from), DT::DTType(to)), table[from][to] == '1') << from << to;
    EXPECT_EQ(MessageOf([] { DT::CheckConversion(DT::DTType(9), DT::date); }), u"Unknown date type 9.");
    CDateTime e;
    EXPECT_EQ(MessageOf([&] { e.SetDateTime(CDateTime(2001, 2, 3), DT::time); }),
              u"Attempting to set a CDateTime of type time using an XmlDateTime of type date. The source CDateTime "
              u"does not contian enough data to allow the conversion.");

    // The copy keeps the zone and the fields its new type does not use; Validate names them.
    const CDateTime dt(u"2001-02-03T04:05:06+01:00");
    const struct {
        CDateTime source;
        DT::DTType to;
        const char16_t* message;
    } cases[] = {
        {dt, DT::gYear, u"Invalid Month [2] for type gYear"}, {dt, DT::gMonth, u"Invalid Year [2001] for type gMonth"},
        {dt, DT::gYearMonth, u"Invalid Day [3] for type gYearMonth"}, {dt, DT::date, u"Invalid Hour [4] for type date"},
        {CDateTime(2001, 2, 3, 0, 5, 6, 7, 8, 9), DT::date, u"Invalid Minute [5] for type date"},
        {CDateTime(2001, 2, 3, 0, 0, 6, 7, 8, 9), DT::date, u"Invalid Second [6] for type date"},
        {CDateTime(2001, 2, 3, 0, 0, 0, 7, 8, 9), DT::date, u"Invalid Milli-Second [7] for type date"},
        {CDateTime(2001, 2, 3, 0, 0, 0, 0, 8, 9), DT::date, u"Invalid Micro-Second [8] for type date"},
        {CDateTime(2001, 2, 3, 0, 0, 0, 0, 0, 9), DT::date, u"Invalid Nano-Second [9] for type date"},
        {CDateTime(2001, 2, 3), DT::gMonthDay, u"Invalid Year [2001] for type gMonthDay"},
        {CDateTime(2001, 2, 3), DT::yearZero, u"Invalid Year Zero"},
    };
    for (const auto& c : cases) {
        CDateTime d;
        d.SetDateTime(c.source, c.to);
        EXPECT_EQ(d.GetType(), c.to);
        EXPECT_EQ(MessageOf([&] { d.Validate(); }), c.message);
    }
    CDateTime ym;
    ym.SetDateTime(dt, DT::gYearMonth);
    EXPECT_EQ(ym.ToString(), u"2001-02+01:00");
}

TEST(DateTimeSetters, TimeZoneSetters) {
    CDateTime d(2001, 1, 1);
    EXPECT_EQ(MessageOf([&] { d.SetTimeZone(24, 0); }) + MessageOf([&] { d.SetTimeZone(-24, 0); }) +
                  MessageOf([&] { d.SetTimeZone(0, 60); }),
              u"Invalid TimeZone [24:0]Invalid TimeZone [-24:0]Invalid TimeZone [0:60]");
    EXPECT_FALSE(d.IsUTC());
    d.SetTimeZone(-23, 59);
    EXPECT_TRUE(d.IsUTC() && d.HasTimeZone());
    EXPECT_EQ(d.ToString(), u"2001-01-01-23:59");
    d.SetUTC();
    EXPECT_TRUE(d.IsUTC() && !d.HasTimeZone());
    EXPECT_EQ(d.ToString(), u"2001-01-01Z");
}

TEST(DateTimeText, FormatsWidthsAndUnsetValues) {
    EXPECT_EQ(CDateTime().ToString(u"G"), u"Error: Date Not Set");
    EXPECT_EQ(CDateTime(DT::date).ToString(), u"Error: Date Not Set");
    EXPECT_EQ(CDateTime(DT::time).ToString(), u"00:00:00");
    const CDateTime d(2001, 2, 3);
    EXPECT_EQ(d.ToString(u"s"), u"2001-02-03");
    for (const char16_t* empty : {u"G", u"", static_cast<const char16_t*>(nullptr)})
        EXPECT_EQ(d.ToString(empty), u"");
    EXPECT_EQ(d.ToString(u"x"), u"Unknown Format: x");
    CDateTime y, md, t;
    y.SetGYear(-5);
    md.SetGMonthDay(1, 2);
    t.SetFracTime(10, 0, 0);
    EXPECT_EQ(y.ToString() + u" " + md.ToString() + u" " + t.ToString(), u"-0005 --01-02 00:00:00.01");
    const char16_t* names[] = {u"yearZero", u"dateTime", u"date",   u"gYearMonth", u"gYear",
                               u"time",     u"gDay",     u"gMonth", u"gMonthDay",  u""};
    for (int type = 0; type <= 9; ++type)
        EXPECT_EQ(CDateTime(DT::DTType(type)).GetTypeAsString(), names[type]);
}

TEST(DateTimeDayOfYear, LeapDayCountedBeforeMarchAsKept) {
    const struct {
        const char16_t* text;
        int expected;
    } cases[] = {{u"2000-01-01", 2},  {u"2000-02-29", 61}, {u"2000-03-01", 60}, {u"2000-12-31", 365},
                 {u"2001-03-01", 60}, {u"2001-07-04T12:00:00", 185}, {u"-0004-01-31", 32}};
    for (const auto& c : cases)
        EXPECT_EQ(Parse(c.text).GetDayOfYear(), c.expected) << Narrow(c.text);
}

const struct {
    const char16_t* a;
    const char16_t* b;
    DT::DTCompareResult expected;
} kCompare[] = {
    {u"2000-01-01T12:00:00Z", u"2000-01-01T12:00:00", DT::DTCompareIndeterminate},
    {u"2000-01-01T12:00:00Z", u"2000-01-02T03:00:00", DT::DTCompareLess},
    {u"2000-01-01T12:00:00Z", u"1999-12-31T21:00:00", DT::DTCompareGreater},
    // Exactly fourteen hours apart is still indeterminate; one second more is not.
    {u"2000-01-01T12:00:00Z", u"2000-01-02T02:00:00", DT::DTCompareIndeterminate},
    {u"2000-01-01T12:00:00Z", u"2000-01-02T02:00:01", DT::DTCompareLess},
    {u"2000-01-01T12:00:00Z", u"1999-12-31T22:00:00", DT::DTCompareIndeterminate},
    {u"2000-01-01T12:00:00Z", u"1999-12-31T21:59:59", DT::DTCompareGreater},
    {u"2000-01-01T12:00:00+01:00", u"2000-01-01T11:00:00Z", DT::DTCompareEqual},
    {u"2000-03-01T00:00:00+00:30", u"2000-02-29T23:30:00+00:00", DT::DTCompareEqual},
    {u"1999-12-31T23:00:00-01:00", u"2000-01-01T00:00:00Z", DT::DTCompareEqual},
    {u"2000-01-01T12:00:00-00:30", u"2000-01-01T11:30:00Z", DT::DTCompareEqual}, // -00:30 is held as +00:30
    {u"2000-01-01T12:00:00", u"2000-01-01T12:00:00.000000001", DT::DTCompareLess},
    {u"-0001-01-01", u"0001-01-01", DT::DTCompareIndeterminate}, {u"-0002-01-01", u"-0001-01-01", DT::DTCompareLess},
    {u"2000", u"2000-01-01", DT::DTCompareIndeterminate}, {u"--05", u"--04", DT::DTCompareGreater},
    {u"---01", u"--01-01", DT::DTCompareIndeterminate}, {u"12:00:00Z", u"13:00:00+01:00", DT::DTCompareEqual},
    {u"2000-01-01Z", u"2000-01-02", DT::DTCompareIndeterminate}, {u"2000-01-01Z", u"2000-01-03", DT::DTCompareLess},
};

TEST(DateTimeCompare, OrderWithFourteenHourRule) {
    for (const auto& c : kCompare) {
        SCOPED_TRACE(Narrow(c.a) + " ? " + Narrow(c.b));
        const CDateTime a = Parse(c.a), b = Parse(c.b);
        const DT::DTCompareResult r = a.CompareTo(b);
        EXPECT_EQ(r, c.expected);
        const bool eq = r == DT::DTCompareEqual, lt = r == DT::DTCompareLess, gt = r == DT::DTCompareGreater;
        EXPECT_EQ((a == b) + 2 * (a != b) + 4 * (a < b) + 8 * (a <= b) + 16 * (a > b) + 32 * (a >= b),
                  eq + 2 * !eq + 4 * lt + 8 * (lt || eq) + 16 * gt + 32 * (gt || eq));
        EXPECT_EQ(b.CompareTo(a), lt ? DT::DTCompareGreater : gt ? DT::DTCompareLess : r); // mirrored
    }
}

TEST(DateTimeCompare, NormalisationSubtractsPositiveOffsets) {
    const struct {
        const char16_t* text;
        const char16_t* normalized;
    } cases[] = {
        {u"2000-01-01T00:30:00+01:00", u"1999-12-31T23:30:00+00:00"},
        {u"2000-12-31T23:00:00-01:30", u"2001-01-01T00:30:00+00:00"},
        {u"2000-03-01T01:00:00+05:00", u"2000-02-29T20:00:00+00:00"},
        {u"2000-01-01T12:00:00Z", u"2000-01-01T12:00:00Z"}, {u"23:00:00-02:00", u"01:00:00+00:00"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Parse(c.text).GetNormalized().ToString(), c.normalized) << Narrow(c.text);
}

} // namespace
