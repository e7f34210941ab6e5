#include "kvxml/values/CBigInteger.h"
#include "kvxml/values/CDecimal.h"
#include "values/DateTimeTestUtil.h"

using namespace DateTimeTestUtil;

namespace {

// Date plus duration with quotients far beyond 2^24: exact, or refused where the year leaves 16 bits.
// clang-format off
// result null: refused
const struct { const char16_t* start; const char16_t* span; const char16_t* result; } kLargeSums[] = {
    {u"2000-01-01T00:00:00", u"PT500000000001S", u"17844-05-15T00:53:21"},
    {u"2000-01-01T00:00:00", u"PT4294967295M", u"10166-02-15T04:15:00"},
    {u"2000-01-01T00:00:00", u"-PT16777217H", u"0086-01-23T07:00:00"},
    {u"9999-12-31T23:59:59", u"P22768Y", u"32767-12-31T23:59:59"},
    {u"-9999-01-01", u"-P22769Y", u"-32768-01-01"},
    {u"2000-01-01T00:00:00", u"PT4294967295H", nullptr}, {u"2000-01-01T00:00:00", u"P4294967295M", nullptr},
    {u"2000-01-01", u"P65535Y", nullptr},                {u"9999-12-31T23:59:59", u"P22768YT1S", nullptr},
    {u"-9999-01-01", u"-P22770Y", nullptr},              {u"-9999-01-01", u"-P22769Y1D", nullptr},
    {u"2000-01-01", u"P4294967295D", nullptr},           {u"2000-01-01T00:00:00", u"-PT18446744073709551615M", nullptr},
};
// clang-format on

TEST(ValueLimits, DatePlusDurationIsExactOrRefused) {
    for (const auto& c : kLargeSums) {
        const CDateTime start = Parse(c.start);
        const CDateTimeSpan span = Span(c.span);
        if (c.result)
            EXPECT_EQ((start + span).ToString(), c.result) << Narrow(c.start) << " + " << Narrow(c.span);
        else
            EXPECT_EQ(MessageOf([&] { (void)(start + span); }),
                      u"Invalid Date: adding the duration gives a year outside -32768 to 32767.")
                << Narrow(c.start) << " + " << Narrow(c.span);
    }
}

// Duration numbers that do not fit their fields are refused, never wrapped.
TEST(ValueLimits, DurationNumbersBeyondTheirFieldsAreRefused) {
    for (const char16_t* text : {u"P99999999999Y", u"P65536Y", u"P4294967296M", u"P4294967296D", u"PT4294967296H",
                                 u"PT18446744073709551616M", u"PT18446744073709551616S", u"PT18446744073709551616.5S",
                                 u"PT99999999999999999999999S", u"P1D99999999999999999999Y"})
        EXPECT_EQ(MessageOf([&] { CDateTimeSpan().ParseXSDDuration(text); }),
                  u"Invalid XSD Duration [" + std::u16string(text) + u"] expected [-]P[nY][nM][nD][T[nH][nM][nS.ff]]");
}

// One limit for both number classes: a million digits, exponents included; never a cut text.
TEST(ValueLimits, BigIntegerAndDecimalShareTheDigitLimit) {
    const std::u16string million = u"1" + std::u16string(999999, u'0');
    for (const char16_t* text : {u"1E999999", u"10.0E999998", u"100E999997", million.c_str()}) {
        // Compared as truth values: a million digits are no failure message.
        if (std::u16string(text).size() < 512) {
            EXPECT_TRUE(CDecimal(text).ToString() == million) << Narrow(text);
        }
        EXPECT_TRUE(CBigInteger(text).ToString() == million) << Narrow(text);
    }
    EXPECT_TRUE(CDecimal(CBigInteger(million.c_str())).ToString() == million);
    for (const char16_t* text : {u"15E999999", u"99999999999999999999E999990"})
        EXPECT_EQ(MessageOf([&] { CDecimal d(text); }), u"ERROR: Number too large, the limit is 1000000 digits.")
            << Narrow(text);
    EXPECT_EQ(MessageOf([] { CDecimal d(u"1E1000000"); }),
              u"The string representing a Decimal, has an exponent above 999999 [1E1000000].");
    EXPECT_EQ(MessageOf([&] { CBigInteger b((million + u"0").c_str()); }),
              u"ERROR: Number too large, the limit is 1000000 digits.");
}

// Exponents move the point; a negative one keeps the limit plus two places, then rounds to the limit.
TEST(ValueLimits, DecimalExponentsMoveThePoint) {
    // clang-format off
    const struct { const char16_t* text; const char16_t* written; } cases[] = {
        {u"1.5E-3", u"0.0015"}, {u"-25E-1", u"-2.5"},  {u"123.456E2", u"12345.6"}, {u"-1.5E2", u"-150"},
        {u"0.00E5", u"0"},      {u"1E-999999", u"0"}, {u"6E-31", u"0.000000000000000000000000000001"},
        {u"5000000001E-40", u"0"}, {u"0.0012E3", u"1.2"},
    };
    // clang-format on
    for (const auto& c : cases) EXPECT_EQ(CDecimal(c.text).ToString(), c.written) << Narrow(c.text);
}

} // namespace
