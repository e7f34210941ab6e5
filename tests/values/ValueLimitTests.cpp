#include "kvxml/values/CBigInteger.h"
#include "kvxml/values/CDecimal.h"
#include "values/ValuesTestUtil.h"

using namespace ValuesTest;

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
                      "Invalid Date: adding the duration gives a year outside -32768 to 32767.")
                << Narrow(c.start) << " + " << Narrow(c.span);
    }
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
        EXPECT_EQ(MessageOf([&] { CDecimal d(text); }), "ERROR: Number too large, the limit is 1000000 digits.")
            << Narrow(text);
}

} // namespace
