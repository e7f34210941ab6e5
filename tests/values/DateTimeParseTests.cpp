#include <gtest/gtest.h>

#include "values/DateTimeTestUtil.h"

using namespace KvXmlLib16;
using namespace DateTimeTestUtil;

namespace {

struct ValidCase {
    const char16_t* text;
    CDateTime::DTType type;
    const char16_t* written;
};

// Every accepted form, the type it yields and how it is written back.
const ValidCase kValid[] = {
    {u"2000-02-29", CDateTime::date, u"2000-02-29"},
    {u"-0004-02-29", CDateTime::date, u"-0004-02-29"},
    {u"-0400-02-29", CDateTime::date, u"-0400-02-29"},
    {u"9999-12-31", CDateTime::date, u"9999-12-31"},
    {u"-9999-01-01", CDateTime::date, u"-9999-01-01"},
    {u"2001", CDateTime::gYear, u"2001"},
    {u"-0044", CDateTime::gYear, u"-0044"},
    {u"2001-05", CDateTime::gYearMonth, u"2001-05"},
    {u"--05", CDateTime::gMonth, u"--05"},
    {u"--12--", CDateTime::gMonth, u"--12"},
    {u"--12xy", CDateTime::gMonth, u"--12"}, // the tail of the old form is not inspected
    {u"---01", CDateTime::gDay, u"---01"},
    {u"---32", CDateTime::gDay, u"---32"},
    {u"---45", CDateTime::gDay, u"---45"},
    {u"--02-29", CDateTime::gMonthDay, u"--02-29"},
    {u"2001-01-01Z", CDateTime::date, u"2001-01-01Z"},
    {u"2001-01-01+05:30", CDateTime::date, u"2001-01-01+05:30"},
    {u"2001-01-01-23:59", CDateTime::date, u"2001-01-01-23:59"},
    {u"2001-01-01-00:30", CDateTime::date, u"2001-01-01+00:30"},
    {u"2001-01-01+24:00", CDateTime::date, u"2001-01-01+00:00"},
    {u"2001-01-01-24:15", CDateTime::date, u"2001-01-01+00:15"},
    {u"--05Z", CDateTime::gMonth, u"--05Z"},
    {u"---05-01:00", CDateTime::gDay, u"---05-01:00"},
    {u"--12--+01:00", CDateTime::gMonth, u"--12+01:00"},
    {u"-0001Z", CDateTime::gYear, u"-0001Z"},
    // The zone is cut by length: six characters with a colon anywhere in the text.
    {u"2001-01:01", CDateTime::gYear, u"2001-01:01"},
    // A zone text not starting with a sign or Z is silently dropped.
    {u"2001-01-01X05:00", CDateTime::date, u"2001-01-01"},
    {u"12:00:00", CDateTime::time, u"12:00:00"},
    {u"00:00:00", CDateTime::time, u"00:00:00"},
    {u"23:59:59", CDateTime::time, u"23:59:59"},
    {u"12:00:00Z", CDateTime::time, u"12:00:00Z"},
    {u"12:00:00+00:00", CDateTime::time, u"12:00:00+00:00"},
    {u"12:00:00-00:30", CDateTime::time, u"12:00:00+00:30"},
    {u"12:00:00-05:00", CDateTime::time, u"12:00:00-05:00"},
    {u"12:00:00.123456789", CDateTime::time, u"12:00:00.123456789"},
    {u"12:00:00.500", CDateTime::time, u"12:00:00.5"},
    {u"12:00:00.000001", CDateTime::time, u"12:00:00.000001"},
    {u"12:00:00.000000010", CDateTime::time, u"12:00:00.00000001"},
    {u"12:00:00.", CDateTime::time, u"12:00:00"},
    {u"12:00:00abc", CDateTime::time, u"12:00:00"},
    {u"12:00:00Zjunk", CDateTime::time, u"12:00:00Z"},
    {u"12:00:00.5+01:00", CDateTime::time, u"12:00:00.5+01:00"},
    {u"2001-01-01T12:00:00", CDateTime::dateTime, u"2001-01-01T12:00:00"},
    {u"-0001-12-31T23:59:59.5Z", CDateTime::dateTime, u"-0001-12-31T23:59:59.5Z"},
    {u"2001-01-01T00:00:00.000000001-14:00", CDateTime::dateTime, u"2001-01-01T00:00:00.000000001-14:00"},
    // Anything behind the seconds that does not start a zone is ignored.
    {u"2001-01-01T12:00:00T", CDateTime::dateTime, u"2001-01-01T12:00:00"},
    // A zone on the date part survives when the time part has none.
    {u"2001-01-01ZT12:00:00", CDateTime::dateTime, u"2001-01-01T12:00:00Z"},
};

TEST(DateTimeParse, AcceptedFormsYieldTypeAndText) {
    for (const ValidCase& c : kValid) {
        SCOPED_TRACE(Narrow(c.text));
        CDateTime d;
        ASSERT_NO_THROW(d = Parse(c.text));
        EXPECT_EQ(d.GetType(), c.type);
        EXPECT_EQ(d.ToString(), c.written);
        EXPECT_NO_THROW(d.Validate());
    }
}

TEST(DateTimeParse, ZoneFlagsHaveTheirTwoMeanings) {
    struct Case {
        const char16_t* text;
        bool utc, hasZone;
        int zoneHour, zoneMinute;
    } cases[] = {
        {u"12:00:00", false, false, 0, 0},
        {u"12:00:00Z", true, false, 0, 0},
        {u"12:00:00+00:00", true, true, 0, 0},
        {u"12:00:00-00:30", true, true, 0, 30},
        {u"12:00:00-05:45", true, true, -5, 45},
        {u"2001-01-01+24:00", true, true, 0, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(Narrow(c.text));
        const CDateTime d = Parse(c.text);
        EXPECT_EQ(d.IsUTC(), c.utc);
        EXPECT_EQ(d.HasTimeZone(), c.hasZone);
        if (c.hasZone) {
            EXPECT_EQ(d.GetZoneHour(), c.zoneHour);
            EXPECT_EQ(d.GetZoneMinute(), c.zoneMinute);
        } else {
            EXPECT_EQ(MessageOf<CKvInvalidStateException>([&] { d.GetZoneHour(); }), u"TimeZone is not been used");
            EXPECT_EQ(MessageOf<CKvInvalidStateException>([&] { d.GetZoneMinute(); }), u"TimeZone is not been used");
        }
    }
}

TEST(DateTimeParse, FractionDigitsAreWeightedByGroup) {
    const CDateTime d = Parse(u"01:02:03.123456789");
    EXPECT_EQ(d.GetHour(), 1);
    EXPECT_EQ(d.GetMinute(), 2);
    EXPECT_EQ(d.GetSecond(), 3);
    EXPECT_EQ(d.GetMilliSecond(), 123);
    EXPECT_EQ(d.GetMicroSecond(), 456);
    EXPECT_EQ(d.GetNanoSecond(), 789);
    EXPECT_DOUBLE_EQ(d.GetRealSecond(), 3.123456789);
    const CDateTime e = Parse(u"01:02:03.0405");
    EXPECT_EQ(e.GetMilliSecond(), 40);
    EXPECT_EQ(e.GetMicroSecond(), 500);
    EXPECT_EQ(e.GetNanoSecond(), 0);
}

struct InvalidCase {
    const char16_t* text; // null stands for the null pointer
    int parser;           // 0 date, 1 time, 2 dateTime
    const char16_t* message;
};

const InvalidCase kInvalid[] = {
    {nullptr, 0, u"Invalid Date (Null String)"},
    {u"", 0, u"Invalid Date (Empty String)"},
    {u"2001-01-01T", 0, u"Invalid Date ('T' not allowed)"},
    {u"T", 0, u"Invalid Date ('T' not allowed)"},
    {u"2001-01-01+01:00Z", 0, u"Invalid Date (Bad Zone value)"},
    {u"1900-02-29", 0, u"Invalid Day [29] (1 <= day <= days in month"},
    {u"2001-02-29", 0, u"Invalid Day [29] (1 <= day <= days in month"},
    {u"-0001-02-29", 0, u"Invalid Day [29] (1 <= day <= days in month"},
    {u"-0100-02-29", 0, u"Invalid Day [29] (1 <= day <= days in month"},
    {u"2001-04-31", 0, u"Invalid Day [31] (1 <= day <= days in month"},
    {u"2001-01-00", 0, u"Invalid Day [0] (1 <= day <= days in month"},
    {u"0000-01-01", 0, u"Invalid Year [0] (-9999 <= year <= 9999 && year != 0)"},
    {u"-0000", 0, u"Invalid Year [0] (-9999 <= year <= 9999 && year != 0)"},
    {u"2001-13", 0, u"Invalid Month [13] (1 <= month <= 12)"},
    {u"2001-00-01", 0, u"Invalid Month [0] (1 <= month <= 12)"},
    {u"--00", 0, u"Invalid Month [0] (1 <= month <= 12)"},
    {u"--02-30", 0, u"Invalid Day [30] (1 <= day <= days in month)"},
    {u"--04-31", 0, u"Invalid Day [31] (1 <= day <= days in month)"},
    {u"---00", 0, u"Invalid Day [0] (1 <= day <= 31)"},
    {u"12345-01-01", 0, u"Invalid XSD Date [12345-01-01] expected CCYY-MM-DD[Z|[+|-]hh:mm]"},
    {u"+2001-01-01", 0, u"Invalid XSD Date [+2001-01-01] expected CCYY-MM-DD[Z|[+|-]hh:mm]"},
    {u"2001-1-01", 0, u"Invalid XSD Date [2001-1-01] expected CCYY-MM-DD[Z|[+|-]hh:mm]"},
    {u"2001/01/01", 0, u"Invalid XSD Date [2001/01/01] expected CCYY-MM-DD[Z|[+|-]hh:mm]"},
    {u"20a1", 0, u"Invalid XSD Date [20a1] expected CCYY-MM-DD[Z|[+|-]hh:mm]"},
    {u"--1-05", 0, u"Invalid XSD Date [--1-05] expected CCYY-MM-DD[Z|[+|-]hh:mm]"},
    {u"--123", 0, u"Invalid XSD Date [--123] expected CCYY-MM-DD[Z|[+|-]hh:mm]"},
    {u"-", 0, u"Invalid XSD Date [-] expected CCYY-MM-DD[Z|[+|-]hh:mm]"},
    {u"--", 0, u"Invalid XSD Date [--] expected CCYY-MM-DD[Z|[+|-]hh:mm]"},
    {u"Z", 0, u"Invalid XSD Date [Z] expected CCYY-MM-DD[Z|[+|-]hh:mm]"},
    {u":", 0, u"Invalid XSD Date [:] expected CCYY-MM-DD[Z|[+|-]hh:mm]"},
    {u"-01:00", 0, u"Invalid XSD Date [-01:00] expected CCYY-MM-DD[Z|[+|-]hh:mm]"},
    {u"2001-01-01+5:00", 0, u"Invalid XSD Date [2001-01-01+5:00] expected CCYY-MM-DD[Z|[+|-]hh:mm]"},
    {u"2001-01-01+0500", 0, u"Invalid XSD Date [2001-01-01+0500] expected CCYY-MM-DD[Z|[+|-]hh:mm]"},
    {u"2001-01-01+0a:00", 0, u"Invalid XSD Time Zone [+0a:00]."},
    {u"2001-01-01+25:00", 0, u"Invalid TimeZone [25:0]"},
    {u"2001-01-01-25:00", 0, u"Invalid TimeZone [-25:0]"},
    {u"2001-01-01+05:60", 0, u"Invalid TimeZone [5:60]"},
    {nullptr, 1, u"Invalid Time (Null String)"},
    {u"", 1, u"Invalid XSD Time (Empty String)"},
    {u"24:00:00", 1, u"Invalid XSD Time [24:00:00] expected hh:mm:ss[.ff]"},
    {u"12:60:00", 1, u"Invalid XSD Time [12:60:00] expected hh:mm:ss[.ff]"},
    {u"12:00:60", 1, u"Invalid XSD Time [12:00:60] expected hh:mm:ss[.ff]"},
    {u"12:00", 1, u"Invalid XSD Time [12:00] expected hh:mm:ss[.ff]"},
    {u"12:00:0", 1, u"Invalid XSD Time [12:00:0] expected hh:mm:ss[.ff]"},
    {u"1:00:00Z", 1, u"Invalid XSD Time [1:00:00Z] expected hh:mm:ss[.ff]"},
    {u"12-00-00", 1, u"Invalid XSD Time [12-00-00] expected hh:mm:ss[.ff]"},
    {u"12:00:00.1234567891", 1, u"Invalid XSD Time [12:00:00.1234567891] Fraction part too long"},
    {u"12:00:00+05", 1, u"Invalid XSD Time Zone [+05]."},
    {u"12:00:00+05:00:00", 1, u"Invalid XSD Time Zone [+05:00:00]."},
    {u"12:00:00+24:60", 1, u"Invalid TimeZone [0:60]"}, // hour 24 becomes 0 before the check
    {nullptr, 2, u"Invalid DateTime (Null String)"},
    {u"2001-01-01", 2, u"Invalid XSD DateTime [2001-01-01]."},
    {u"2001-01T12:00:00", 2, u"Invalid XSD DateTime [2001-01T12:00:00] expected CCYY-MM-DDThh:mm:ss[.ff]"},
    {u"--01-01T12:00:00", 2, u"Invalid XSD DateTime [--01-01T12:00:00] expected CCYY-MM-DDThh:mm:ss[.ff]"},
    {u"T12:00:00", 2, u"Invalid Date (Empty String)"},
    {u"2001-01-01T24:00:00", 2, u"Invalid XSD Time [24:00:00] expected hh:mm:ss[.ff]"},
    {u"2001-01-01T", 2, u"Invalid XSD Time (Empty String)"},
    {u"2001-02-29T00:00:00", 2, u"Invalid Day [29] (1 <= day <= days in month"},
};

TEST(DateTimeParse, RejectedTextsRaiseExactMessages) {
    for (const InvalidCase& c : kInvalid) {
        SCOPED_TRACE(c.text ? Narrow(c.text) : std::string("(null)"));
        CDateTime d;
        const std::u16string message = MessageOf<CKvInvalidValueException>([&] {
            if (c.parser == 0)
                d.ParseXSDDate(c.text);
            else if (c.parser == 1)
                d.ParseXSDTime(c.text);
            else
                d.ParseXSDDateTime(c.text);
        });
        EXPECT_EQ(message, c.message);
    }
}

TEST(DateTimeParse, TextConstructorRaisesAndParsersStartFromClearedState) {
    EXPECT_EQ(MessageOf<CKvInvalidValueException>([] { CDateTime d(u"2001-01-01"); }),
              u"Invalid XSD DateTime [2001-01-01].");
    const CDateTime d(u"2001-01-01T10:11:12Z");
    EXPECT_EQ(d.GetType(), CDateTime::dateTime);
    // Reparsing a differently typed object is allowed: the parser clears first, zone included.
    CDateTime e(u"2001-01-01T10:11:12+01:00");
    e.ParseXSDDate(u"--03");
    EXPECT_EQ(e.GetType(), CDateTime::gMonth);
    EXPECT_FALSE(e.IsUTC());
    EXPECT_FALSE(e.HasTimeZone());
    e.ParseXSDTime(u"01:02:03");
    EXPECT_EQ(e.ToString(), u"01:02:03");
}

TEST(DateTimeParse, ScannersWorkOnCountedTextWithoutValidating) {
    CDateTime d;
    const std::u16string text = u"2001-02-30T99";
    d.ScanDate(text.data(), 10); // no terminator at position 10
    EXPECT_EQ(d.GetType(), CDateTime::date);
    EXPECT_EQ(d.GetDay(), 30);
    EXPECT_EQ(MessageOf<CKvInvalidValueException>([&] { d.Validate(); }),
              u"Invalid Day [30] (1 <= day <= days in month");
}

} // namespace
