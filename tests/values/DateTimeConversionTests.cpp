#include "kvxml/values/CConversions.h"
#include "kvxml/values/KvVariant.h"
#include "values/DateTimeTestUtil.h"

using namespace DateTimeTestUtil;

namespace {

using CC = CConversions;
constexpr auto None = CWhitespaceUtils::WhitespaceRule_None;
constexpr auto Collapse = CWhitespaceUtils::WhitespaceRule_Collapse;

TEST(DateTimeConversions, DateFormsTakeTheirTypeFromTheText) {
    const struct {
        CDateTime (*convert)(const std::u16string&, CWhitespaceUtils::WhitespaceRule);
        std::u16string text;
        CWhitespaceUtils::WhitespaceRule rule;
        DT::DTType type;
        const char16_t* written;
    } cases[] = {
        {CC::yearMonthFromString, u"2001-02-03", None, DT::date, u"2001-02-03"},
        {CC::monthDayFromString, u"2001", None, DT::gYear, u"2001"},
        {CC::dateFromString, u" 2001-02-03Z\n", Collapse, DT::date, u"2001-02-03Z"},
        {CC::dateFromString, std::u16string(u"2001\0-02", 8), None, DT::gYear, u"2001"}, // a C string ends at NUL
        {CC::timeFromString, u"\t12:00:00.5+01:00 ", Collapse, DT::time, u"12:00:00.5+01:00"},
        {CC::datetimeFromString, u" 2001-01-01T00:00:00 ", Collapse, DT::dateTime, u"2001-01-01T00:00:00"},
    };
    for (const auto& c : cases) {
        const CDateTime d = c.convert(c.text, c.rule);
        EXPECT_EQ(d.GetType(), c.type) << Narrow(c.text);
        EXPECT_EQ(d.ToString(), c.written);
    }
}

TEST(DateTimeConversions, ComponentsAndFailures) {
    EXPECT_EQ(CC::yearFromString(u"2001-02-03", None) + CC::monthFromString(u" 2001-02 ", Collapse), 2003);
    EXPECT_EQ(MessageOf<CKvInvalidStateException>([] { CC::yearFromString(u"--05", None); }),
              u"Failed to GetYear. Invalid Date Type: gMonth.");
    EXPECT_EQ(MessageOf<CKvInvalidStateException>([] { CC::dayFromString(u"2001-02", None); }),
              u"Failed to GetDay. Invalid Date Type: gYearMonth.");
    EXPECT_EQ(MessageOf([] { CC::dateFromString(u" 2001-02-03", None); }),
              u"Invalid XSD Date [ 2001-02-03] expected CCYY-MM-DD[Z|[+|-]hh:mm]");
    EXPECT_EQ(MessageOf([] { CC::dateFromString(u"2001-02-30", None); }),
              u"Invalid Day [30] (1 <= day <= days in month");
    EXPECT_EQ(MessageOf([] { CC::yearFromString(u"0000", None); }),
              u"Invalid Year [0] (-9999 <= year <= 9999 && year != 0)");
    EXPECT_EQ(MessageOf([] { CC::durationFromString(u" ", Collapse); }), u"Invalid XSD Duration (Empty String)");
    EXPECT_EQ(CC::durationFromString(u"\tP1D\n", Collapse).ToString(), u"P1D");
}

TEST(DateTimeVariant, AccessorsStoreCopiesWithTheirOwnType) {
    const struct {
        void (KvVariant::*set)(const CDateTime&);
        CDateTime (KvVariant::*get)() const;
        ItemType kind;
        const char16_t* text;
    } kinds[] = {
        {&KvVariant::SetYearMonth, &KvVariant::GetYearMonth, ItemType_yearMonth, u"2001-02-03"}, // a date kept so
        {&KvVariant::SetMonthDay, &KvVariant::GetMonthDay, ItemType_monthDay, u"--02-03"},
        {&KvVariant::SetDate, &KvVariant::GetDate, ItemType_date, u"2001-02-03+01:00"},
        {&KvVariant::SetDateTime, &KvVariant::GetDateTime, ItemType_datetime, u"2001-02-03T04:05:06.7Z"},
        {&KvVariant::SetTime, &KvVariant::GetTime, ItemType_time, u"04:05:06"},
    };
    for (const auto& k : kinds) {
        SCOPED_TRACE(Narrow(k.text));
        KvVariant w;
        (w.*k.set)(Parse(k.text));
        EXPECT_EQ(w.GetTypeAsEnum(), k.kind);
        EXPECT_EQ((w.*k.get)().GetType(), Parse(k.text).GetType());
        EXPECT_EQ(w.ToString(), k.text);
        KvVariant copy(w); // deep: outlives the original's value
        w.SetI4(1);
        EXPECT_EQ((copy.*k.get)().ToString(), k.text);
        EXPECT_EQ((w.*k.get)().GetType(), DT::yearZero); // no stored value: an empty one
    }
    KvVariant d;
    d.SetDuration(Span(u"-P1DT2H"));
    KvVariant dc(d);
    d.Clear();
    EXPECT_EQ(dc.GetTypeAsEnum(), ItemType_duration);
    EXPECT_EQ(dc.GetDuration().ToString() + dc.ToString() + d.GetDuration().ToString(), u"-P1DT2H-P1DT2HP");
}

TEST(DateTimeVariant, TextDispatchForDateKinds) {
    const struct {
        ItemType kind;
        const char16_t* text;
        const char16_t* written;
    } cases[] = {
        {ItemType_duration, u" PT90M ", u"PT90M"},    {ItemType_yearMonth, u"2001-02", u"2001-02"},
        {ItemType_monthDay, u"--12-31", u"--12-31"},  {ItemType_year, u"-0002", u"65534"}, // 16 bits: wraps
        {ItemType_month, u"--05-01", u"--05"},        {ItemType_day, u"--05-09", u"---09"},
        {ItemType_date, u"2001-02-03Z", u"2001-02-03Z"},
        {ItemType_datetime, u"2001-02-03T04:05:06-00:30", u"2001-02-03T04:05:06+00:30"},
        {ItemType_time, u"23:59:59.999999999", u"23:59:59.999999999"},
    };
    KvVariant kept;
    kept.SetDate(CDateTime(2001, 2, 3));
    for (const auto& c : cases) {
        SCOPED_TRACE(Narrow(c.text));
        KvVariant v;
        v.FromString(c.text, c.kind, Collapse);
        EXPECT_EQ(v.GetTypeAsEnum(), c.kind);
        EXPECT_EQ(v.ToString(), c.written);
        EXPECT_THROW(kept.FromString(u"junk", c.kind, None), CKvInvalidValueException);
        EXPECT_EQ(kept.ToString(), u"2001-02-03"); // a failed text leaves the variant as it was
    }
}

} // namespace
