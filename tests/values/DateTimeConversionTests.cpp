#include <gtest/gtest.h>

#include "kvxml/values/CConversions.h"
#include "kvxml/values/KvVariant.h"
#include "values/DateTimeTestUtil.h"

using namespace KvXmlLib16;
using namespace DateTimeTestUtil;

namespace {

using DT = CDateTime;
constexpr auto None = CWhitespaceUtils::WhitespaceRule_None;
constexpr auto Collapse = CWhitespaceUtils::WhitespaceRule_Collapse;

TEST(DateTimeConversions, ComponentTexts) {
    EXPECT_EQ(CConversions::yearToString(2001), u"2001");
    EXPECT_EQ(CConversions::yearToString(5), u"5");
    EXPECT_EQ(CConversions::yearToString(65535), u"65535");
    EXPECT_EQ(CConversions::monthToString(3), u"--03");
    EXPECT_EQ(CConversions::monthToString(12), u"--12");
    EXPECT_EQ(CConversions::dayToString(7), u"---07");
    EXPECT_EQ(CConversions::dayToString(200), u"---200");
    EXPECT_EQ(CConversions::dateToString(CDateTime(2001, 2, 3)), u"2001-02-03");
    EXPECT_EQ(CConversions::dateToString(CDateTime()), u"Error: Date Not Set");
    EXPECT_EQ(CConversions::durationToString(Span(u"-PT90M")), u"-PT90M");
}

TEST(DateTimeConversions, DateFormsTakeTheirTypeFromTheText) {
    struct Case {
        CDateTime (*convert)(const std::u16string&, CWhitespaceUtils::WhitespaceRule);
        const char16_t* text;
        CWhitespaceUtils::WhitespaceRule rule;
        DT::DTType type;
        const char16_t* written;
    } cases[] = {
        {CConversions::yearMonthFromString, u"2001-02-03", None, DT::date, u"2001-02-03"},
        {CConversions::yearMonthFromString, u"2001-02", None, DT::gYearMonth, u"2001-02"},
        {CConversions::monthDayFromString, u"2001", None, DT::gYear, u"2001"},
        {CConversions::monthDayFromString, u"--02-29", None, DT::gMonthDay, u"--02-29"},
        {CConversions::dateFromString, u" 2001-02-03Z\n", Collapse, DT::date, u"2001-02-03Z"},
        {CConversions::dateFromString, u"---45", None, DT::gDay, u"---45"},
        {CConversions::timeFromString, u"\t12:00:00.5+01:00 ", Collapse, DT::time, u"12:00:00.5+01:00"},
        {CConversions::datetimeFromString, u" 2001-01-01T00:00:00 ", Collapse, DT::dateTime, u"2001-01-01T00:00:00"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(Narrow(c.text));
        const CDateTime d = c.convert(c.text, c.rule);
        EXPECT_EQ(d.GetType(), c.type);
        EXPECT_EQ(d.ToString(), c.written);
    }
}

TEST(DateTimeConversions, RejectedTextsKeepTheScannersMessages) {
    struct Case {
        std::function<void()> convert;
        const char16_t* message;
    } cases[] = {
        {[] { CConversions::dateFromString(u" 2001-02-03", None); },
         u"Invalid XSD Date [ 2001-02-03] expected CCYY-MM-DD[Z|[+|-]hh:mm]"},
        {[] { CConversions::dateFromString(u"   ", Collapse); }, u"Invalid Date (Empty String)"},
        {[] { CConversions::dateFromString(u"2001-02-30", None); }, u"Invalid Day [30] (1 <= day <= days in month"},
        {[] { CConversions::dateFromString(u"2001-02-03T00:00:00", None); }, u"Invalid Date ('T' not allowed)"},
        {[] { CConversions::timeFromString(u"2001-01-01", None); },
         u"Invalid XSD Time [2001-01-01] expected hh:mm:ss[.ff]"},
        {[] { CConversions::timeFromString(u"", None); }, u"Invalid XSD Time (Empty String)"},
        {[] { CConversions::datetimeFromString(u"2001-01-01", None); }, u"Invalid XSD DateTime [2001-01-01]."},
        {[] { CConversions::yearFromString(u"0000", None); },
         u"Invalid Year [0] (-9999 <= year <= 9999 && year != 0)"},
        {[] { CConversions::durationFromString(u" ", Collapse); }, u"Invalid XSD Duration (Empty String)"},
        {[] { CConversions::durationFromString(u"P 1D", Collapse); },
         u"Invalid XSD Duration [P 1D] expected [-]P[nY][nM][nD][T[nH][nM][nS.ff]]"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(MessageOf<CKvInvalidValueException>(c.convert), c.message);
}

TEST(DateTimeConversions, ComponentsComeFromAnyFormHoldingThem) {
    EXPECT_EQ(CConversions::yearFromString(u"2001-02-03", None), 2001);
    EXPECT_EQ(CConversions::yearFromString(u"-0001", None), 65535); // 16 unsigned bits: wraps
    EXPECT_EQ(CConversions::monthFromString(u"--05", None), 5);
    EXPECT_EQ(CConversions::monthFromString(u"2001-02-03", None), 2);
    EXPECT_EQ(CConversions::dayFromString(u" ---31 ", Collapse), 31);
    EXPECT_EQ(CConversions::dayFromString(u"--02-29", None), 29);
    EXPECT_EQ(MessageOf<CKvInvalidStateException>([] { CConversions::yearFromString(u"--05", None); }),
              u"Failed to GetYear. Invalid Date Type: gMonth.");
    EXPECT_EQ(MessageOf<CKvInvalidStateException>([] { CConversions::monthFromString(u"2001", None); }),
              u"Failed to GetMonth. Invalid Date Type: gYear.");
    EXPECT_EQ(MessageOf<CKvInvalidStateException>([] { CConversions::dayFromString(u"2001-02", None); }),
              u"Failed to GetDay. Invalid Date Type: gYearMonth.");
    EXPECT_EQ(CConversions::durationFromString(u"\tP1D\n", Collapse).ToString(), u"P1D");
}

TEST(DateTimeVariant, AccessorsStoreCopiesWithTheirOwnType) {
    KvVariant v;
    v.SetYearMonth(CDateTime(2001, 2, 3)); // a date held under the year-month kind
    EXPECT_EQ(v.GetTypeAsEnum(), ItemType_yearMonth);
    EXPECT_EQ(v.GetYearMonth().GetType(), DT::date);
    EXPECT_EQ(v.ToString(), u"2001-02-03");

    const struct {
        void (KvVariant::*set)(const CDateTime&);
        CDateTime (KvVariant::*get)() const;
        ItemType kind;
        const char16_t* text;
    } kinds[] = {
        {&KvVariant::SetYearMonth, &KvVariant::GetYearMonth, ItemType_yearMonth, u"2001-02"},
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
        EXPECT_EQ((w.*k.get)().ToString(), k.text);
        EXPECT_EQ(w.ToString(), k.text);
        // A copy is deep: it outlives the original's value.
        KvVariant copy(w);
        w.SetI4(1);
        EXPECT_EQ(copy.ToString(), k.text);
        // Without a stored value the getter gives an empty value instead of reading the slot.
        EXPECT_EQ((w.*k.get)().GetType(), DT::yearZero);
        copy.SetNil();
        EXPECT_EQ((copy.*k.get)().GetType(), DT::yearZero);
    }

    KvVariant d;
    d.SetDuration(Span(u"-P1DT2H"));
    EXPECT_EQ(d.GetTypeAsEnum(), ItemType_duration);
    EXPECT_EQ(d.GetDuration().ToString(), u"-P1DT2H");
    EXPECT_EQ(d.ToString(), u"-P1DT2H");
    KvVariant dc;
    dc = d;
    d.Clear();
    EXPECT_EQ(dc.GetDuration().ToString(), u"-P1DT2H");
    EXPECT_EQ(d.GetDuration().ToString(), u"P");
}

TEST(DateTimeVariant, TextDispatchForDateKinds) {
    struct Case {
        ItemType kind;
        const char16_t* text;
        const char16_t* written;
    } cases[] = {
        {ItemType_duration, u" PT90M ", u"PT90M"},
        {ItemType_yearMonth, u"2001-02", u"2001-02"},
        {ItemType_yearMonth, u"2001-02-03", u"2001-02-03"},
        {ItemType_monthDay, u"--12-31", u"--12-31"},
        {ItemType_year, u"2001-05", u"2001"},
        {ItemType_year, u"-0002", u"65534"},
        {ItemType_month, u"--07", u"--07"},
        {ItemType_day, u"---09", u"---09"},
        {ItemType_date, u"2001-02-03Z", u"2001-02-03Z"},
        {ItemType_datetime, u"2001-02-03T04:05:06-00:30", u"2001-02-03T04:05:06+00:30"},
        {ItemType_time, u"23:59:59.999999999", u"23:59:59.999999999"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(Narrow(c.text));
        KvVariant v;
        v.FromString(c.text, c.kind, Collapse);
        EXPECT_EQ(v.GetTypeAsEnum(), c.kind);
        EXPECT_EQ(v.ToString(), c.written);
    }
    KvVariant y;
    y.FromString(u"--05-01", ItemType_month, None);
    EXPECT_EQ(y.GetMonth(), 5);
    y.FromString(u"--05-01", ItemType_day, None);
    EXPECT_EQ(y.GetDay(), 1);
}

TEST(DateTimeVariant, FailedTextLeavesTheVariantAsItWas) {
    KvVariant v;
    v.SetDate(CDateTime(2001, 2, 3));
    const ItemType kinds[] = {ItemType_duration, ItemType_yearMonth, ItemType_monthDay, ItemType_year,
                              ItemType_month,    ItemType_day,       ItemType_date,     ItemType_datetime,
                              ItemType_time};
    for (ItemType kind : kinds) {
        SCOPED_TRACE(static_cast<int>(kind));
        EXPECT_THROW(v.FromString(u"junk", kind, None), CKvInvalidValueException);
        EXPECT_EQ(v.GetTypeAsEnum(), ItemType_date);
        EXPECT_EQ(v.ToString(), u"2001-02-03");
    }
}

} // namespace
