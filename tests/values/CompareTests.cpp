#include <string>
#include <tuple>

#include "kvxml/values/CDecimal.h"
#include "values/ValuesTestUtil.h"

using namespace ValuesTest;

namespace {

// Which of == != < <= > >= hold, as one character each: the outcome of a four-valued compare.
std::string Relations(DT::DTCompareResult r) {
    const bool eq = r == DT::DTCompareEqual, lt = r == DT::DTCompareLess, gt = r == DT::DTCompareGreater;
    return std::string{char('0' + eq),         char('0' + !eq), char('0' + lt),
                       char('0' + (lt || eq)), char('0' + gt),  char('0' + (gt || eq))};
}

template <class V>
std::string Operators(const V& a, const V& b) {
    return std::string{char('0' + (a == b)), char('0' + (a != b)), char('0' + (a < b)),
                       char('0' + (a <= b)), char('0' + (a > b)),  char('0' + (a >= b))};
}

} // namespace

TEST(DateTimeCompare, OrderWithFourteenHourRule) {
    // clang-format off
    const struct { const char16_t* a; const char16_t* b; DT::DTCompareResult expected; } cases[] = {
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
        {u"-0001-01-01", u"0001-01-01", DT::DTCompareIndeterminate},
        {u"-0002-01-01", u"-0001-01-01", DT::DTCompareLess}, {u"2000", u"2000-01-01", DT::DTCompareIndeterminate},
        {u"--05", u"--04", DT::DTCompareGreater}, {u"---01", u"--01-01", DT::DTCompareIndeterminate},
        {u"12:00:00Z", u"13:00:00+01:00", DT::DTCompareEqual},
        {u"2000-01-01Z", u"2000-01-02", DT::DTCompareIndeterminate},
        {u"2000-01-01Z", u"2000-01-03", DT::DTCompareLess},
    };
    // clang-format on
    for (const auto& c : cases) {
        SCOPED_TRACE(Narrow(c.a) + " ? " + Narrow(c.b));
        const CDateTime a = Parse(c.a), b = Parse(c.b);
        const DT::DTCompareResult mirrored = c.expected == DT::DTCompareLess      ? DT::DTCompareGreater
                                             : c.expected == DT::DTCompareGreater ? DT::DTCompareLess
                                                                                  : c.expected;
        EXPECT_EQ(std::tuple(a.CompareTo(b), b.CompareTo(a)), std::tuple(c.expected, mirrored));
        EXPECT_EQ(Operators(a, b), Relations(c.expected));
    }
}

TEST(DateTimeCompare, NormalisationSubtractsPositiveOffsets) {
    // clang-format off
    const struct { const char16_t* text; const char16_t* normalized; } cases[] = {
        {u"2000-01-01T00:30:00+01:00", u"1999-12-31T23:30:00+00:00"},
        {u"2000-12-31T23:00:00-01:30", u"2001-01-01T00:30:00+00:00"},
        {u"2000-03-01T01:00:00+05:00", u"2000-02-29T20:00:00+00:00"},
        {u"2000-01-01T12:00:00Z", u"2000-01-01T12:00:00Z"},
        {u"23:00:00-02:00", u"01:00:00+00:00"},
    };
    // clang-format on
    for (const auto& c : cases) EXPECT_EQ(Parse(c.text).GetNormalized().ToString(), c.normalized) << Narrow(c.text);
}

// Kept as the library has always counted: a leap year adds its day to January and February
// instead of to the months after them, so 1 January 2000 is day 2 and 1 March is day 60.
TEST(DateTimeDayOfYear, LeapDayCountedBeforeMarch) {
    // clang-format off
    const struct { const char16_t* text; int expected; } cases[] = {
        {u"2000-01-01", 2}, {u"2000-02-29", 61}, {u"2000-03-01", 60}, {u"2000-12-31", 365},
        {u"2001-03-01", 60}, {u"2001-07-04T12:00:00", 185}, {u"-0004-01-31", 32}};
    // clang-format on
    for (const auto& c : cases) EXPECT_EQ(Parse(c.text).GetDayOfYear(), c.expected) << Narrow(c.text);
}

TEST(DurationCompare, OrderThroughTheFourReferenceDates) {
    // clang-format off
    const struct { const char16_t* a; const char16_t* b; DT::DTCompareResult expected; } cases[] = {
        {u"P1M", u"P30D", DT::DTCompareIndeterminate}, {u"P1M", u"P31D", DT::DTCompareIndeterminate},
        {u"P1M", u"P32D", DT::DTCompareLess},          {u"P1M", u"P27D", DT::DTCompareGreater},
        // The sums are compared as dates, so what stays below a day boundary vanishes.
        {u"PT1H", u"PT2H", DT::DTCompareEqual},        {u"P1D", u"PT24H", DT::DTCompareEqual},
        {u"PT23H", u"P1D", DT::DTCompareLess},         {u"-P1D", u"P1D", DT::DTCompareLess},
        {u"P1Y", u"P12M", DT::DTCompareEqual},         {u"P1Y", u"P366D", DT::DTCompareIndeterminate},
        {u"P1Y", u"P367D", DT::DTCompareLess},
        // The month step leaves month 0 from September; the day walk refuses it.
        {u"P25165815M1D", u"P1D", DT::DTCompareIndeterminate},
    };
    // clang-format on
    for (const auto& c : cases) {
        SCOPED_TRACE(Narrow(c.a) + " ? " + Narrow(c.b));
        const CDateTimeSpan a = Span(c.a), b = Span(c.b);
        EXPECT_EQ(a.CompareTo(b), c.expected);
        // Only == != < > are defined on durations.
        const std::string r = Relations(c.expected);
        EXPECT_EQ(std::string({char('0' + (a == b)), char('0' + (a != b)), char('0' + (a < b)), char('0' + (a > b))}),
                  std::string({r[0], r[1], r[2], r[4]}));
    }
}

// Blanks anywhere, signs anywhere before the point (the last one wins), rounding to 30 places.
TEST(DecimalParse, ScannerReadsLooseTexts) {
    const std::string zeros29(29, '0');
    // clang-format off
    const struct { std::string text, expected; } cases[] = {
        {"1.50", "1.5"}, {"1.0", "1"}, {"0.0", "0"}, {"-0.5", "-0.5"}, {"-0", "0"}, {"", "0"}, {"-", "0"},
        {"1e2", "100"}, {" 1 2 . 3 ", "12.3"}, {"\t3\r\n.\n25\n", "3.25"},
        {"1-2", "-12"}, {"-+5", "5"}, {"5-.5", "-5.5"}, {".5", "0.5"}, {"5.", "5"}, {"000012.3400", "12.34"},
        // Exponents: signs and blanks before the digits, the last sign winning.
        {"1e+ 2", "100"}, {"1e+-2", "0.01"}, {"1e", "1"}, {"e5", "0"}, {"-12.345e-5", "-0.00012345"},
        {"1e" + std::string(30, '0') + "2", "100"}, {"1.7E+308", "17" + std::string(307, '0')},
        // Exponents move the point; a negative one keeps the limit plus two places, then rounds to it.
        {"1.5E-3", "0.0015"}, {"-25E-1", "-2.5"}, {"123.456E2", "12345.6"}, {"-1.5E2", "-150"}, {"0.00E5", "0"},
        {"1E-999999", "0"}, {"6E-31", "0." + zeros29 + "1"}, {"5000000001E-40", "0"}, {"0.0012E3", "1.2"},
        // Ties toward zero, after trailing zeros went.
        {"0." + zeros29 + "05", "0"}, {"-0." + zeros29 + "05", "0"}, {"-0." + zeros29 + "06", "-0." + zeros29 + "1"},
        {"0.1" + std::string(28, '0') + "05", "0.1" + zeros29}, {"2." + zeros29 + "19", "2." + zeros29 + "2"},
        // The carry stays in the fraction: all nines round to a fraction one digit too long.
        {"0." + std::string(30, '9') + "6", "0.1" + std::string(30, '0')},
        {std::string(511, '7'), std::string(511, '7')},
    };
    // clang-format on
    for (const auto& c : cases) EXPECT_EQ(N(CDecimal(W(c.text).c_str()).ToString()), c.expected) << c.text;
    EXPECT_EQ(CDecimal(static_cast<const char16_t*>(nullptr)).ToString(), u"0");
}

// Equality compares the values, while the order reads a zero integer part by its sign: -0 == 0 and
// also -0 < 0, as the decimal has always compared.
TEST(DecimalCompare, OrderAndEquality) {
    // clang-format off
    // relations: == != < <= > >=
    const struct { const char16_t *a, *b; const char* relations; } cases[] = {
        {u"-0.5", u"0.3", "011100"}, {u"-1.5", u"-1.05", "011100"}, {u"1.05", u"1.5", "011100"},
        {u"2", u"1.999", "010011"},  {u"12.50", u"12.5", "100101"}, {u"1.0", u"1", "100101"},
        {u"-0", u"0", "101100"},
    };
    // clang-format on
    for (const auto& c : cases)
        EXPECT_EQ(Operators(CDecimal(c.a), CDecimal(c.b)), c.relations) << Narrow(c.a) << " ? " << Narrow(c.b);
}
