#include "values/DateTimeTestUtil.h"

using namespace DateTimeTestUtil;

namespace {

// Every accepted shape: the type it yields and how it is written back.
const struct {
    const char16_t* text;
    DT::DTType type;
    const char16_t* written;
} kValid[] = {
    {u"2000-02-29", DT::date, u"2000-02-29"},           {u"-0004-02-29", DT::date, u"-0004-02-29"},
    {u"-0400-02-29", DT::date, u"-0400-02-29"},         {u"-9999-01-01", DT::date, u"-9999-01-01"},
    {u"-0044", DT::gYear, u"-0044"},                    {u"2001-05", DT::gYearMonth, u"2001-05"},
    {u"--05", DT::gMonth, u"--05"},                     {u"--12--", DT::gMonth, u"--12"},
    {u"--12xy", DT::gMonth, u"--12"},                   {u"---32", DT::gDay, u"---32"},
    {u"---45", DT::gDay, u"---45"},                     {u"--02-29", DT::gMonthDay, u"--02-29"},
    {u"2001-01-01Z", DT::date, u"2001-01-01Z"},         {u"2001-01-01+05:30", DT::date, u"2001-01-01+05:30"},
    {u"2001-01-01-23:59", DT::date, u"2001-01-01-23:59"}, {u"2001-01-01-00:30", DT::date, u"2001-01-01+00:30"},
    {u"2001-01-01+24:00", DT::date, u"2001-01-01+00:00"}, {u"2001-01-01-24:15", DT::date, u"2001-01-01+00:15"},
    {u"--05Z", DT::gMonth, u"--05Z"},                   {u"---05-01:00", DT::gDay, u"---05-01:00"},
    {u"--12--+01:00", DT::gMonth, u"--12+01:00"},       {u"-0001Z", DT::gYear, u"-0001Z"},
    {u"2001-01:01", DT::gYear, u"2001-01:01"}, // the zone is cut by length wherever the colon stands
    {u"2001-01-01X05:00", DT::date, u"2001-01-01"}, // a zone text without sign or Z is dropped
    {u"00:00:00", DT::time, u"00:00:00"},               {u"12:00:00Z", DT::time, u"12:00:00Z"},
    {u"12:00:00+00:00", DT::time, u"12:00:00+00:00"},   {u"12:00:00-00:30", DT::time, u"12:00:00+00:30"},
    {u"12:00:00.123456789", DT::time, u"12:00:00.123456789"}, {u"12:00:00.500", DT::time, u"12:00:00.5"},
    {u"12:00:00.000001", DT::time, u"12:00:00.000001"}, {u"12:00:00.000000010", DT::time, u"12:00:00.00000001"},
    {u"12:00:00.", DT::time, u"12:00:00"},              {u"12:00:00abc", DT::time, u"12:00:00"},
    {u"12:00:00Zjunk", DT::time, u"12:00:00Z"},         {u"12:00:00.5+01:00", DT::time, u"12:00:00.5+01:00"},
    {u"-0001-12-31T23:59:59.5Z", DT::dateTime, u"-0001-12-31T23:59:59.5Z"},
    {u"2001-01-01T12:00:00T", DT::dateTime, u"2001-01-01T12:00:00"},
    {u"2001-01-01ZT12:00:00", DT::dateTime, u"2001-01-01T12:00:00Z"}, // the date part's zone survives
};

TEST(DateTimeParse, AcceptedFormsYieldTypeAndText) {
    for (const auto& c : kValid) {
        SCOPED_TRACE(Narrow(c.text));
        CDateTime d;
        ASSERT_NO_THROW(d = Parse(c.text));
        EXPECT_EQ(d.GetType(), c.type);
        EXPECT_EQ(d.ToString(), c.written);
    }
}

TEST(DateTimeParse, ZoneFlagsAndFractionFields) {
    const struct {
        const char16_t* text;
        bool utc, hasZone;
        int zoneHour, zoneMinute;
    } cases[] = {{u"12:00:00", false, false, 0, 0},       {u"12:00:00Z", true, false, 0, 0},
                 {u"12:00:00+00:00", true, true, 0, 0},   {u"12:00:00-05:45", true, true, -5, 45}};
    for (const auto& c : cases) {
        SCOPED_TRACE(Narrow(c.text));
        const CDateTime d = Parse(c.text);
        EXPECT_EQ(d.IsUTC(), c.utc);
        EXPECT_EQ(d.HasTimeZone(), c.hasZone);
        EXPECT_EQ(MessageOf<CKvInvalidStateException>([&] { EXPECT_EQ(d.GetZoneHour(), c.zoneHour); }),
                  c.hasZone ? u"<no exception>" : u"TimeZone is not been used");
        EXPECT_EQ(MessageOf<CKvInvalidStateException>([&] { EXPECT_EQ(d.GetZoneMinute(), c.zoneMinute); }),
                  c.hasZone ? u"<no exception>" : u"TimeZone is not been used");
    }
    const CDateTime f = Parse(u"01:02:03.0405");
    EXPECT_EQ(f.GetMilliSecond(), 40);
    EXPECT_EQ(f.GetMicroSecond(), 500);
    EXPECT_EQ(f.GetNanoSecond(), 0);
    EXPECT_DOUBLE_EQ(Parse(u"01:02:03.123456789").GetRealSecond(), 3.123456789);
}

enum Parser { Date, Time, DateTime };

const struct {
    Parser parser;
    const char16_t* text; // null stands for the null pointer
    const char16_t* message;
} kInvalid[] = {
    {Date, nullptr, u"Invalid Date (Null String)"}, {Date, u"", u"Invalid Date (Empty String)"},
    {Date, u"2001-01-01T", u"Invalid Date ('T' not allowed)"},
    {Date, u"2001-01-01+01:00Z", u"Invalid Date (Bad Zone value)"},
    {Date, u"1900-02-29", u"Invalid Day [29] (1 <= day <= days in month"},
    {Date, u"2001-02-29", u"Invalid Day [29] (1 <= day <= days in month"},
    {Date, u"-0001-02-29", u"Invalid Day [29] (1 <= day <= days in month"},
    {Date, u"-0100-02-29", u"Invalid Day [29] (1 <= day <= days in month"},
    {Date, u"2001-04-31", u"Invalid Day [31] (1 <= day <= days in month"},
    {Date, u"2001-01-00", u"Invalid Day [0] (1 <= day <= days in month"},
    {Date, u"0000-01-01", u"Invalid Year [0] (-9999 <= year <= 9999 && year != 0)"},
    {Date, u"2001-13", u"Invalid Month [13] (1 <= month <= 12)"},
    {Date, u"--00", u"Invalid Month [0] (1 <= month <= 12)"},
    {Date, u"--02-30", u"Invalid Day [30] (1 <= day <= days in month)"},
    {Date, u"---00", u"Invalid Day [0] (1 <= day <= 31)"},
    {Date, u"2001-01-01+0a:00", u"Invalid XSD Time Zone [+0a:00]."},
    {Date, u"2001-01-01-25:00", u"Invalid TimeZone [-25:0]"}, {Date, u"2001-01-01+05:60", u"Invalid TimeZone [5:60]"},
    {Time, nullptr, u"Invalid Time (Null String)"}, {Time, u"", u"Invalid XSD Time (Empty String)"},
    {Time, u"12:00:00.1234567891", u"Invalid XSD Time [12:00:00.1234567891] Fraction part too long"},
    {Time, u"12:00:00+05", u"Invalid XSD Time Zone [+05]."},
    {Time, u"12:00:00+05:00:00", u"Invalid XSD Time Zone [+05:00:00]."},
    {Time, u"12:00:00+24:60", u"Invalid TimeZone [0:60]"}, // hour 24 becomes 0 before the check
    {DateTime, nullptr, u"Invalid DateTime (Null String)"},
    {DateTime, u"2001-01-01", u"Invalid XSD DateTime [2001-01-01]."},
    {DateTime, u"2001-01T12:00:00", u"Invalid XSD DateTime [2001-01T12:00:00] expected CCYY-MM-DDThh:mm:ss[.ff]"},
    {DateTime, u"T12:00:00", u"Invalid Date (Empty String)"},
    {DateTime, u"2001-01-01T24:00:00", u"Invalid XSD Time [24:00:00] expected hh:mm:ss[.ff]"},
    {DateTime, u"2001-01-01T", u"Invalid XSD Time (Empty String)"},
    {DateTime, u"2001-02-29T00:00:00", u"Invalid Day [29] (1 <= day <= days in month"},
};

void RunParser(Parser parser, const char16_t* text) {
    CDateTime d;
    parser == Date ? d.ParseXSDDate(text) : parser == Time ? d.ParseXSDTime(text) : d.ParseXSDDateTime(text);
}

TEST(DateTimeParse, RejectedTextsRaiseExactMessages) {
    for (const auto& c : kInvalid)
        EXPECT_EQ(MessageOf([&] { RunParser(c.parser, c.text); }), c.message) << (c.text ? Narrow(c.text) : "(null)");
    for (const char16_t* t : {u"12345-01-01", u"+2001-01-01", u"2001-1-01", u"2001/01/01", u"20a1", u"--1-05",
                              u"--123", u"-", u"--", u"Z", u":", u"-01:00", u"2001-01-01+5:00", u"2001-01-01+0500"})
        EXPECT_EQ(MessageOf([&] { RunParser(Date, t); }),
                  u"Invalid XSD Date [" + std::u16string(t) + u"] expected CCYY-MM-DD[Z|[+|-]hh:mm]");
    for (const char16_t* t : {u"24:00:00", u"12:60:00", u"12:00:60", u"12:00", u"12:00:0", u"1:00:00Z", u"12-00-00"})
        EXPECT_EQ(MessageOf([&] { RunParser(Time, t); }), u"Invalid XSD Time [" + std::u16string(t) + u"] expected hh:mm:ss[.ff]");
}

TEST(DateTimeParse, ParsersStartFromAClearedObject) {
    EXPECT_EQ(MessageOf([] { CDateTime d(u"2001-01-01"); }), u"Invalid XSD DateTime [2001-01-01].");
    CDateTime e(u"2001-01-01T10:11:12+01:00");
    e.ParseXSDDate(u"--03");
    EXPECT_EQ(e.GetType(), DT::gMonth);
    EXPECT_FALSE(e.IsUTC());
    // The scanner reads a counted text and does not validate.
    const std::u16string text = u"2001-02-30T99";
    e.ScanDate(text.data(), 10);
    EXPECT_EQ(e.GetType(), DT::date);
    EXPECT_EQ(MessageOf([&] { e.Validate(); }), u"Invalid Day [30] (1 <= day <= days in month");
}

} // namespace
