#include <gtest/gtest.h>

#include "values/DateTimeTestUtil.h"

using namespace KvXmlLib16;
using namespace DateTimeTestUtil;

namespace {

using DT = CDateTime;

TEST(DateTimeSetters, WholeValueSettersValidate) {
    struct Case {
        const char* name;
        std::function<void(CDateTime&)> set;
        const char16_t* message; // null: accepted
    } cases[] = {
        {"date leap", [](DT& d) { d.SetDate(2000, 2, 29); }, nullptr},
        {"date not leap", [](DT& d) { d.SetDate(1900, 2, 29); }, u"Invalid Day [29] (1 <= day <= days in month"},
        {"year bound", [](DT& d) { d.SetDate(-10000, 1, 1); },
         u"Invalid Year [-10000] (-9999 <= year <= 9999 && year != 0)"},
        {"year zero", [](DT& d) { d.SetGYear(0); }, u"Invalid Year [0] (-9999 <= year <= 9999 && year != 0)"},
        {"gYearMonth", [](DT& d) { d.SetGYearMonth(2001, 12); }, nullptr},
        {"gMonth 13", [](DT& d) { d.SetGMonth(13); }, u"Invalid Month [13] (1 <= month <= 12)"},
        {"gMonthDay", [](DT& d) { d.SetGMonthDay(4, 31); }, u"Invalid Day [31] (1 <= day <= days in month)"},
        {"gDay big", [](DT& d) { d.SetGDay(200); }, nullptr},
        {"gDay zero", [](DT& d) { d.SetGDay(0); }, u"Invalid Day [0] (1 <= day <= 31)"},
        {"hour", [](DT& d) { d.SetTime(24, 0, 0); }, u"Invalid Hour [24] (0 <= hour <= 23)"},
        {"minute", [](DT& d) { d.SetTime(0, 60, 0); }, u"Invalid Minute [60] (0 <= minute <= 59)"},
        {"second", [](DT& d) { d.SetDateTime(2001, 1, 1, 0, 0, 60); }, u"Invalid Second [60] (0 <= second <= 59)"},
        {"milli", [](DT& d) { d.SetTime(0, 0, 0, 1000); }, u"Invalid Milli-Second [1000] (0 <= milli <= 999)"},
        {"micro", [](DT& d) { d.SetTime(0, 0, 0, 0, 1000); }, u"Invalid Micro-Second [1000] (0 <= micro <= 999)"},
        {"nano", [](DT& d) { d.SetFracTime(0, 0, 1000); }, u"Invalid Nano-Second [1000] (0 <= nano <= 999)"},
        {"order: month before year", [](DT& d) { d.SetDate(0, 13, 40); }, u"Invalid Month [13] (1 <= month <= 12)"},
        {"order: year before day", [](DT& d) { d.SetDate(0, 1, 40); },
         u"Invalid Year [0] (-9999 <= year <= 9999 && year != 0)"},
        {"order: hour before milli", [](DT& d) { d.SetTime(30, 0, 0, 5000); }, u"Invalid Hour [30] (0 <= hour <= 23)"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        CDateTime d;
        const std::u16string m = MessageOf<CKvInvalidValueException>([&] { c.set(d); });
        EXPECT_EQ(m, c.message ? c.message : u"<no exception>");
    }
}

TEST(DateTimeSetters, ConstructorsGiveTheirTypes) {
    EXPECT_EQ(CDateTime(2001, 2, 3).ToString(), u"2001-02-03");
    EXPECT_EQ(CDateTime(2001, 2, 3, 4, 5, 6).ToString(), u"2001-02-03T04:05:06");
    EXPECT_EQ(CDateTime(2001, 2, 3, 4, 5, 6, 7, 8, 9).ToString(), u"2001-02-03T04:05:06.007008009");
    EXPECT_EQ(MessageOf<CKvInvalidValueException>([] { CDateTime(2001, 2, 30); }),
              u"Invalid Day [30] (1 <= day <= days in month");
}

TEST(DateTimeSetters, TypedObjectRefusesAnotherKind) {
    CDateTime d(2001, 1, 1);
    EXPECT_EQ(MessageOf<CKvInvalidStateException>([&] { d.SetTime(1, 2, 3); }),
              u"Failed to copy CDateTime. Invalid Date Type: time, expected: date.");
    EXPECT_EQ(d.ToString(), u"2001-01-01");
    // The same type is fine and resets the zone.
    d.SetTimeZone(3, 0);
    d.SetDate(2002, 2, 2);
    EXPECT_EQ(d.ToString(), u"2002-02-02");
    CDateTime t(CDateTime::time);
    EXPECT_EQ(MessageOf<CKvInvalidStateException>([&] { t.SetGDay(1); }),
              u"Failed to copy CDateTime. Invalid Date Type: gDay, expected: time.");
}

TEST(DateTimeSetters, FieldAccessorsCheckTheType) {
    struct Accessor {
        const char16_t* name;
        unsigned allowed; // bit per DTType
        std::function<void(CDateTime&)> get, set;
    };
    constexpr unsigned DTm = 1u << DT::dateTime, D = 1u << DT::date, YM = 1u << DT::gYearMonth,
                       Y = 1u << DT::gYear, T = 1u << DT::time, GD = 1u << DT::gDay, GM = 1u << DT::gMonth,
                       MD = 1u << DT::gMonthDay;
    const Accessor accessors[] = {
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
        {u"DayOfYear", DTm | D, nullptr, nullptr},
        {u"DayOfWeek", DTm | D, nullptr, nullptr},
    };
    for (const Accessor& a : accessors) {
        for (int t = 0; t <= 8; ++t) {
            CDateTime d{static_cast<DT::DTType>(t)};
            SCOPED_TRACE(Narrow(std::u16string(a.name) + u" on " + d.GetTypeAsString()));
            const bool allowed = (a.allowed >> t) & 1u;
            const std::u16string expected =
                allowed ? u"<no exception>"
                        : u"Failed to Get" + std::u16string(a.name) + u". Invalid Date Type: " + d.GetTypeAsString() +
                              u".";
            if (a.get) {
                EXPECT_EQ(MessageOf<CKvInvalidStateException>([&] { a.get(d); }), expected);
            }
            if (a.set) {
                EXPECT_EQ(MessageOf<CKvInvalidStateException>([&] { a.set(d); }), expected);
            }
            if (!allowed && !a.get) {
                const std::u16string m = MessageOf<CKvInvalidStateException>([&] {
                    if (a.name[3] == u'O' && a.name[5] == u'Y')
                        d.GetDayOfYear();
                    else
                        d.GetDayOfWeek();
                });
                EXPECT_EQ(m, expected);
            }
        }
    }
}

TEST(DateTimeSetters, FieldSettersDoNotValidate) {
    CDateTime d(2001, 1, 31);
    d.SetMonth(2);
    d.SetDay(45);
    EXPECT_EQ(d.ToString(), u"2001-02-45");
    EXPECT_EQ(MessageOf<CKvInvalidValueException>([&] { d.Validate(); }),
              u"Invalid Day [45] (1 <= day <= days in month");
}

TEST(DateTimeSetters, RetypingCopyFollowsTheConversionTable) {
    // Expected CheckConversion(from, to) for every pair of the nine types.
    const char* table[9] = {
        // to: 0 1 2 3 4 5 6 7 8
        "100000000", // yearZero
        "111111111", // dateTime
        "101110111", // date
        "100110010", // gYearMonth
        "100010000", // gYear
        "100001000", // time
        "100000100", // gDay
        "100000010", // gMonth
        "100000111", // gMonthDay
    };
    for (int from = 0; from <= 8; ++from)
        for (int to = 0; to <= 8; ++to)
            EXPECT_EQ(CDateTime::CheckConversion(DT::DTType(from), DT::DTType(to)), table[from][to] == '1')
                << from << " -> " << to;
    EXPECT_EQ(MessageOf<CKvInvalidValueException>([] { CDateTime::CheckConversion(DT::DTType(9), DT::date); }),
              u"Unknown date type 9.");

    const CDateTime source(u"2001-02-03T04:05:06+01:00");
    CDateTime d;
    d.SetDateTime(source, DT::gYearMonth);
    EXPECT_EQ(d.GetType(), DT::gYearMonth);
    EXPECT_EQ(d.ToString(), u"2001-02+01:00");
    // Fields the new type does not use are kept, so validation names them.
    EXPECT_EQ(MessageOf<CKvInvalidValueException>([&] { d.Validate(); }),
              u"Invalid Day [3] for type gYearMonth");

    CDateTime e;
    EXPECT_EQ(MessageOf<CKvInvalidValueException>([&] { e.SetDateTime(CDateTime(2001, 2, 3), DT::time); }),
              u"Attempting to set a CDateTime of type time using an XmlDateTime of type date. The source CDateTime "
              u"does not contian enough data to allow the conversion.");
}

TEST(DateTimeSetters, ValidateNamesFieldsForeignToTheType) {
    const CDateTime dt(2001, 2, 3, 4, 5, 6, 7, 8, 9);
    struct Case {
        CDateTime source;
        DT::DTType to;
        const char16_t* message;
    } cases[] = {
        {dt, DT::gYear, u"Invalid Month [2] for type gYear"},
        {dt, DT::gMonth, u"Invalid Year [2001] for type gMonth"},
        {dt, DT::gYearMonth, u"Invalid Day [3] for type gYearMonth"},
        {dt, DT::date, u"Invalid Hour [4] for type date"},
        {CDateTime(2001, 2, 3, 0, 5, 6, 7, 8, 9), DT::date, u"Invalid Minute [5] for type date"},
        {CDateTime(2001, 2, 3, 0, 0, 6, 7, 8, 9), DT::date, u"Invalid Second [6] for type date"},
        {CDateTime(2001, 2, 3, 0, 0, 0, 7, 8, 9), DT::date, u"Invalid Milli-Second [7] for type date"},
        {CDateTime(2001, 2, 3, 0, 0, 0, 0, 8, 9), DT::date, u"Invalid Micro-Second [8] for type date"},
        {CDateTime(2001, 2, 3, 0, 0, 0, 0, 0, 9), DT::date, u"Invalid Nano-Second [9] for type date"},
        {CDateTime(2001, 2, 3), DT::gMonthDay, u"Invalid Year [2001] for type gMonthDay"},
        {CDateTime(2001, 2, 3), DT::yearZero, u"Invalid Year Zero"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(Narrow(c.message));
        CDateTime d;
        d.SetDateTime(c.source, c.to);
        EXPECT_EQ(MessageOf<CKvInvalidValueException>([&] { d.Validate(); }), c.message);
    }
}

TEST(DateTimeSetters, TimeZoneSettersCheckRangeAndSetFlags) {
    CDateTime d(2001, 1, 1);
    struct Bad {
        int16_t hour;
        uint8_t minute;
        const char16_t* message;
    } bad[] = {{24, 0, u"Invalid TimeZone [24:0]"}, {-24, 0, u"Invalid TimeZone [-24:0]"},
               {0, 60, u"Invalid TimeZone [0:60]"}};
    for (const Bad& b : bad)
        EXPECT_EQ(MessageOf<CKvInvalidValueException>([&] { d.SetTimeZone(b.hour, b.minute); }), b.message);
    EXPECT_FALSE(d.IsUTC());
    d.SetTimeZone(-23, 59);
    EXPECT_TRUE(d.IsUTC());
    EXPECT_TRUE(d.HasTimeZone());
    EXPECT_EQ(d.ToString(), u"2001-01-01-23:59");
    d.SetUTC();
    EXPECT_TRUE(d.IsUTC());
    EXPECT_FALSE(d.HasTimeZone());
    EXPECT_EQ(d.ToString(), u"2001-01-01Z");
    d.SetTimeZone(0, 0);
    EXPECT_EQ(d.ToString(), u"2001-01-01+00:00");
}

TEST(DateTimeText, FormatsAndUnsetValues) {
    const CDateTime unset;
    EXPECT_EQ(unset.ToString(), u"Error: Date Not Set");
    EXPECT_EQ(unset.ToString(u"G"), u"Error: Date Not Set");
    // A typed value whose fields are all 0 is unset too, except for a time.
    EXPECT_EQ(CDateTime(DT::date).ToString(), u"Error: Date Not Set");
    EXPECT_EQ(CDateTime(DT::time).ToString(), u"00:00:00");

    const CDateTime d(2001, 2, 3);
    EXPECT_EQ(d.ToString(u"s"), u"2001-02-03");
    EXPECT_EQ(d.ToString(u"G"), u"");
    EXPECT_EQ(d.ToString(u""), u"");
    EXPECT_EQ(d.ToString(nullptr), u"");
    EXPECT_EQ(d.ToString(u"x"), u"Unknown Format: x");
    EXPECT_EQ(d.ToString(u"sx"), u"Unknown Format: sx");
}

TEST(DateTimeText, FieldWidthsAndSigns) {
    CDateTime d;
    d.SetGYear(5);
    EXPECT_EQ(d.ToString(), u"0005");
    CDateTime n;
    n.SetGYear(-5);
    EXPECT_EQ(n.ToString(), u"-0005");
    CDateTime m;
    m.SetGMonthDay(1, 2);
    EXPECT_EQ(m.ToString(), u"--01-02");
    CDateTime t;
    t.SetTime(1, 2, 3, 0, 0, 1);
    EXPECT_EQ(t.ToString(), u"01:02:03.000000001");
    t.SetTimeZone(-9, 5);
    EXPECT_EQ(t.ToString(), u"01:02:03.000000001-09:05");
    CDateTime f;
    f.SetFracTime(10, 0, 0);
    EXPECT_EQ(f.ToString(), u"00:00:00.01");
    EXPECT_EQ(f.GetTypeAsString(), u"time");
}

TEST(DateTimeText, TypeNames) {
    const char16_t* names[] = {u"yearZero", u"dateTime", u"date",  u"gYearMonth", u"gYear",
                               u"time",     u"gDay",     u"gMonth", u"gMonthDay"};
    for (int t = 0; t <= 8; ++t)
        EXPECT_EQ(CDateTime(DT::DTType(t)).GetTypeAsString(), names[t]);
    EXPECT_EQ(CDateTime(DT::DTType(9)).GetTypeAsString(), u"");
}

TEST(DateTimeDayOfYear, LeapDayCountedBeforeMarchAsKept) {
    struct Case {
        const char16_t* text;
        int expected;
    } cases[] = {
        {u"2000-01-01", 2}, {u"2000-02-29", 61}, {u"2000-03-01", 60}, {u"2000-12-31", 365},
        {u"2001-01-01", 1}, {u"2001-03-01", 60}, {u"2001-12-31", 365}, {u"2001-07-04T12:00:00", 185},
        {u"-0004-01-31", 32},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Parse(c.text).GetDayOfYear(), c.expected) << Narrow(c.text);
}

struct CompareCase {
    const char16_t* a;
    const char16_t* b;
    CDateTime::DTCompareResult expected;
};

const CompareCase kCompare[] = {
    {u"2000-01-01T12:00:00Z", u"2000-01-01T12:00:00", DT::DTCompareIndeterminate},
    {u"2000-01-01T12:00:00Z", u"2000-01-02T03:00:00", DT::DTCompareLess},
    {u"2000-01-01T12:00:00Z", u"1999-12-31T21:00:00", DT::DTCompareGreater},
    {u"2000-01-01T12:00:00", u"2000-01-01T12:00:00Z", DT::DTCompareIndeterminate},
    {u"2000-01-02T03:00:00", u"2000-01-01T12:00:00Z", DT::DTCompareGreater},
    {u"1999-12-31T21:00:00", u"2000-01-01T12:00:00Z", DT::DTCompareLess},
    // Exactly fourteen hours apart is still indeterminate; one second more is not.
    {u"2000-01-01T12:00:00Z", u"2000-01-02T02:00:00", DT::DTCompareIndeterminate},
    {u"2000-01-01T12:00:00Z", u"2000-01-02T02:00:01", DT::DTCompareLess},
    {u"2000-01-01T12:00:00Z", u"1999-12-31T22:00:00", DT::DTCompareIndeterminate},
    {u"2000-01-01T12:00:00Z", u"1999-12-31T21:59:59", DT::DTCompareGreater},
    {u"2000-01-01T12:00:00Z", u"2000-01-01T22:00:00", DT::DTCompareIndeterminate},
    {u"2000-01-01T12:00:00", u"2000-01-02T02:00:01Z", DT::DTCompareLess},
    {u"2000-01-01T12:00:00", u"1999-12-31T21:59:59Z", DT::DTCompareGreater},
    {u"2000-01-01T12:00:00+01:00", u"2000-01-01T11:00:00Z", DT::DTCompareEqual},
    {u"2000-01-01T12:00:00+01:00", u"2000-01-01T11:00:00+00:00", DT::DTCompareEqual},
    {u"2000-01-01T00:30:00+01:00", u"1999-12-31T23:30:00Z", DT::DTCompareEqual},
    {u"2000-03-01T00:00:00+00:30", u"2000-02-29T23:30:00Z", DT::DTCompareEqual},
    {u"1999-12-31T23:00:00-01:00", u"2000-01-01T00:00:00Z", DT::DTCompareEqual},
    // -00:30 is held as +00:30.
    {u"2000-01-01T12:00:00-00:30", u"2000-01-01T11:30:00Z", DT::DTCompareEqual},
    {u"2000-01-01T12:00:00", u"2000-01-01T12:00:00.000000001", DT::DTCompareLess},
    {u"2000-01-01T12:00:00.5", u"2000-01-01T12:00:00.4999", DT::DTCompareGreater},
    {u"-0001-01-01", u"0001-01-01", DT::DTCompareIndeterminate},
    {u"-0002-01-01", u"-0001-01-01", DT::DTCompareLess},
    {u"2000", u"2000-01-01", DT::DTCompareIndeterminate},
    {u"2000", u"2001", DT::DTCompareLess},
    {u"--05", u"--04", DT::DTCompareGreater},
    {u"--05-01", u"--05-01", DT::DTCompareEqual},
    {u"---01", u"--01-01", DT::DTCompareIndeterminate},
    {u"12:00:00Z", u"13:00:00+01:00", DT::DTCompareEqual},
    {u"12:00:00", u"12:00:00.5", DT::DTCompareLess},
    {u"2000-01-01Z", u"2000-01-01", DT::DTCompareIndeterminate},
    {u"2000-01-01Z", u"2000-01-02", DT::DTCompareIndeterminate},
    {u"2000-01-01Z", u"2000-01-03", DT::DTCompareLess},
};

TEST(DateTimeCompare, OrderWithFourteenHourRule) {
    for (const CompareCase& c : kCompare) {
        SCOPED_TRACE(Narrow(c.a) + " ? " + Narrow(c.b));
        const CDateTime a = Parse(c.a), b = Parse(c.b);
        const DT::DTCompareResult r = a.CompareTo(b);
        EXPECT_EQ(r, c.expected);
        EXPECT_EQ(a == b, r == DT::DTCompareEqual);
        EXPECT_EQ(a != b, r != DT::DTCompareEqual);
        EXPECT_EQ(a < b, r == DT::DTCompareLess);
        EXPECT_EQ(a <= b, r == DT::DTCompareLess || r == DT::DTCompareEqual);
        EXPECT_EQ(a > b, r == DT::DTCompareGreater);
        EXPECT_EQ(a >= b, r == DT::DTCompareGreater || r == DT::DTCompareEqual);
        // Swapping the operands mirrors less and greater.
        const DT::DTCompareResult mirrored = r == DT::DTCompareLess      ? DT::DTCompareGreater
                                             : r == DT::DTCompareGreater ? DT::DTCompareLess
                                                                         : r;
        EXPECT_EQ(b.CompareTo(a), mirrored);
    }
}

TEST(DateTimeCompare, NormalisationSubtractsPositiveOffsets) {
    struct Case {
        const char16_t* text;
        const char16_t* normalized;
    } cases[] = {
        {u"2000-01-01T00:30:00+01:00", u"1999-12-31T23:30:00+00:00"},
        {u"2000-12-31T23:00:00-01:30", u"2001-01-01T00:30:00+00:00"},
        {u"2000-03-01T01:00:00+05:00", u"2000-02-29T20:00:00+00:00"},
        {u"2000-01-01T12:00:00Z", u"2000-01-01T12:00:00Z"},
        {u"2000-01-01T12:00:00", u"2000-01-01T12:00:00"},
        {u"23:00:00-02:00", u"01:00:00+00:00"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Parse(c.text).GetNormalized().ToString(), c.normalized) << Narrow(c.text);
}

} // namespace
