#include "values/DateTimeTestUtil.h"

using namespace DateTimeTestUtil;

namespace {

// Accepted texts and how they are written back (never normalised).
const struct {
    const char16_t* text;
    const char16_t* written;
} kAccepted[] = {
    {u"P1Y2M3DT4H5M6.789S", u"P1Y2M3DT4H5M6.789S"}, {u"PT90M", u"PT90M"},
    {u"-PT0S", u"-P"},                              {u"P0Y", u"P"},
    {u"PY", u"P"},                                  {u"PT1.5S", u"PT1.5S"},
    {u"PT0.5S", u"PT0.5S"},                         {u"PT.5S", u"PT0.5S"},
    {u"PT1.S", u"PT1S"},                            {u"PT0.000001S", u"PT0.000001S"},
    {u"P1D1Y1M", u"P1Y1M1D"}, /* "Y" in any state */ {u"PT1.5S1Y", u"P1YT1.5S"},
    {u"P1MT1M", u"P1MT1M"},                         {u"PT1H1M1S", u"PT1H1M1S"},
    {u"P65535Y4294967295M", u"P65535Y4294967295M"}, {u"PT18446744073709551615S", u"PT18446744073709551615S"},
    {u"PT0.123456789S", u"PT0.123456009S"}, // of the last three digits only the last survives, unweighted
    {u"PT0.1234567S", u"PT0.123456007S"},
};

TEST(DurationParse, AcceptedTextsAreWrittenBackUnnormalised) {
    for (const auto& c : kAccepted) {
        CDateTimeSpan s;
        ASSERT_NO_THROW(s.ParseXSDDuration(c.text)) << Narrow(c.text);
        EXPECT_EQ(s.ToString(), c.written) << Narrow(c.text);
    }
    const CDateTimeSpan s = Span(u"-P1Y2M3DT4H5M6.789S");
    EXPECT_TRUE(s.IsNegative());
    EXPECT_EQ(CDateTimeSpan(s.GetYears(), s.GetMonths(), s.GetDays(), s.GetHours(), s.GetMinutes(), s.GetSeconds(),
                            s.GetMilliSeconds(), s.GetMicroSeconds(), s.GetNanoSeconds()).ToString(),
              u"P1Y2M3DT4H5M6.789S");
}

TEST(DurationParse, RejectedTextsRaiseExactMessages) {
    EXPECT_EQ(MessageOf([] { CDateTimeSpan().ParseXSDDuration(nullptr); }), u"Invalid XSD Duration (Null String)");
    EXPECT_EQ(MessageOf([] { CDateTimeSpan().ParseXSDDuration(u""); }), u"Invalid XSD Duration (Empty String)");
    EXPECT_EQ(MessageOf([] { CDateTimeSpan().ParseXSDDuration(u"PT1.0123456789S"); }),
              u"Invalid XSD Duration [PT1.0123456789S] Fraction part too long");
    for (const char16_t* text : {u"P", u"PYT", u"P1YT", u"1Y", u"P-1Y", u"-", u"+P1D", u"P1M1M", u"PT1M1M",
                                 u"PT1H1S1M", u"P1", u"PT1H1H", u"PT1D", u"P1H", u"P1S", u"P.5S", u"PT1.5",
                                 u"PT1.5M", u"PT1S1S", u"P1DT1D", u"PTT", u"P1Y ", u"p1Y", u"PT1.5S1S", u"P1M1D1M"})
        EXPECT_EQ(MessageOf([&] { CDateTimeSpan().ParseXSDDuration(text); }),
                  u"Invalid XSD Duration [" + std::u16string(text) + u"] expected [-]P[nY][nM][nD][T[nH][nM][nS.ff]]");
    CDateTimeSpan s(1, 2, 3);
    EXPECT_THROW(s.ParseXSDDuration(u"-P1Y2MX"), CKvInvalidValueException);
    EXPECT_EQ(s.ToString(), u"-P1Y2M"); // cleared first, then keeps what was read
}

TEST(DurationValue, TextSignAndSetters) {
    CDateTimeSpan s(0, 0, 0, 0, 0, 0, 0, 0, 1);
    s.Negate();
    EXPECT_EQ(CDateTimeSpan().ToString() + u" " + s.ToString(), u"P -PT0.000000001S");
    const CDateTimeSpan big(65535, 4294967295u, 4294967295u, 4294967295u, ~uint64_t(0), ~uint64_t(0));
    EXPECT_EQ(big.ToString(), u"P65535Y4294967295M4294967295DT4294967295H18446744073709551615M18446744073709551615S");
    const CDateTimeSpan n = CDateTimeSpan(1, 2, 3, 4, 5, 6, 7, 8, 9).GetAsNegative();
    EXPECT_TRUE(n.GetAsNegative().IsNegative()); // sets the sign, never flips it
    EXPECT_EQ(n.ToString(), u"-P1Y2M3DT4H5M6.007008009S");
    CDateTimeSpan copy = n;
    copy.SetDateTimeSpan(1, 2, 3); // resets the sign and the other fields
    EXPECT_EQ(copy.ToString(), u"PT1H2M3S");
}

TEST(DurationCompare, OrderThroughTheFourReferenceDates) {
    const struct {
        const char16_t* a;
        const char16_t* b;
        DT::DTCompareResult expected;
    } cases[] = {
        {u"P1M", u"P30D", DT::DTCompareIndeterminate}, {u"P1M", u"P31D", DT::DTCompareIndeterminate},
        {u"P1M", u"P32D", DT::DTCompareLess},          {u"P1M", u"P27D", DT::DTCompareGreater},
        {u"PT1H", u"PT2H", DT::DTCompareEqual},        {u"P1D", u"PT24H", DT::DTCompareEqual},
        {u"PT23H", u"P1D", DT::DTCompareLess},         {u"-P1D", u"P1D", DT::DTCompareLess},
        {u"P1Y", u"P12M", DT::DTCompareEqual},         {u"P1Y", u"P366D", DT::DTCompareIndeterminate},
        {u"P1Y", u"P367D", DT::DTCompareLess},
        // The month step leaves month 0 from September; the day walk refuses it.
        {u"P25165815M1D", u"P1D", DT::DTCompareIndeterminate},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(Narrow(c.a) + " ? " + Narrow(c.b));
        const CDateTimeSpan a = Span(c.a), b = Span(c.b);
        const DT::DTCompareResult r = a.CompareTo(b);
        EXPECT_EQ(r, c.expected);
        EXPECT_EQ((a == b) + 2 * (a != b) + 4 * (a < b) + 8 * (a > b),
                  (r == DT::DTCompareEqual) + 2 * (r != DT::DTCompareEqual) + 4 * (r == DT::DTCompareLess) +
                      8 * (r == DT::DTCompareGreater));
    }
}

} // namespace
