#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>

#include "kvxml/values/CBigInteger.h"
#include "kvxml/values/CDecimal.h"
#include "values/BigNumTestUtil.h"

using namespace KvXmlLib16;
using BigNumTest::ExpectThrowMessage;
using BigNumTest::N;
using BigNumTest::W;

namespace {

std::string Str(const CDecimal& v) { return N(v.ToString()); }
std::string Str(const CBigInteger& v) { return N(v.ToString()); }
CDecimal D(const char16_t* text) { return CDecimal(text); }

// Sets the process-wide limit of decimal places for one test and restores it.
class PlacesGuard {
public:
    explicit PlacesGuard(int32_t places) : m_saved(CDecimal::GetMaxDecimalPlaces())
    {
        CDecimal::SetMaxDecimalPlaces(places);
    }
    ~PlacesGuard() { CDecimal::SetMaxDecimalPlaces(m_saved); }

private:
    int32_t m_saved;
};

std::string InvalidChar(int position, const std::string& text)
{
    return "The string representing a Decimal, contained an invalid char at position " + std::to_string(position) +
           " [" + text + "].";
}

} // namespace

TEST(DecimalParse, ScannerTable)
{
    struct Case {
        const char16_t* text;
        const char* expected;
    };
    const Case cases[] = {
        {u"1.50", "1.5"},
        {u"1.0", "1"},
        {u"0.0", "0"},
        {u"-0.5", "-0.5"},
        {u"-0", "0"},
        {u"1e2", "100"},
        {u"1.5E-2", "0.015"},
        {u" 1 2 . 3 ", "12.3"},
        {u"", "0"},
        {u"-", "0"},
        // Signs anywhere in the integer stage, the last one winning.
        {u"1-2", "-12"},
        {u"-+5", "5"},
        {u"5-.5", "-5.5"},
        {u"\t3\r\n.\n25\n", "3.25"},
        {u".5", "0.5"},
        {u"5.", "5"},
        {u"+.5", "0.5"},
        {u"0.000", "0"},
        {u"000012.3400", "12.34"},
        // Exponents: signs and blanks before the digits, the last sign winning.
        {u"1e+ 2", "100"},
        {u"1e-+2", "100"},
        {u"1e+-2", "0.01"},
        {u"1E0", "1"},
        {u"1e", "1"},
        {u"1e-", "1"},
        {u"e5", "0"},
        {u"1.2e1", "12"},
        {u"12.345e-1", "1.2345"},
        {u"-12.345e-5", "-0.00012345"},
        {u"1.5e3", "1500"},
        {u"0.001e3", "1"},
        {u"1e0000000000000000000000000000002", "100"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(Str(D(c.text)), c.expected) << N(c.text);
    EXPECT_EQ(Str(D(u"1.7E+308")), "17" + std::string(307, '0'));
}

TEST(DecimalParse, InvalidCharacterPositions)
{
    struct Case {
        const char16_t* text;
        int position;
    };
    const Case cases[] = {
        {u"abc", 0},  {u"1.2.3", 3}, {u"1e2 ", 3}, {u"1e 2 3", 4}, {u"12a", 2},  {u"1.5x", 3},
        {u"1e2e3", 3}, {u"1,5", 1},  {u"1.-5", 2}, {u"1e2-", 3},   {u"1e2.5", 3}, {u"nan\n", 0},
    };
    for (const Case& c : cases) {
        ExpectThrowMessage<CKvInvalidValueException>([&] { CDecimal v(c.text); },
                                                     InvalidChar(c.position, N(c.text)));
    }
}

TEST(DecimalParse, DigitBuffersAreNeverOverrun)
{
    struct Case {
        std::u16string text;
        const char* failure; // null: accepted
    };
    const std::u16string digits511(511, u'7'), digits512(512, u'7');
    const Case cases[] = {
        {digits511, nullptr},
        {digits512, "integer"},
        {u"1 " + digits512, "integer"},
        {u"0." + digits511, nullptr},
        {u"0." + digits512, "fraction"},
        {u"1e" + std::u16string(30, u'0') + u"2", nullptr},
        {u"1e" + std::u16string(31, u'0') + u"2", "exponent"},
        {u"1e-" + std::u16string(100, u'9'), "exponent"},
    };
    for (const Case& c : cases) {
        if (c.failure == nullptr) {
            EXPECT_NO_THROW(CDecimal v(c.text.c_str())) << N(c.text);
            continue;
        }
        const int32_t limit = std::string(c.failure) == "exponent" ? 31 : 511;
        ExpectThrowMessage<CKvInvalidValueException>(
            [&] { CDecimal v(c.text.c_str()); },
            "The string representing a Decimal, has more than " + std::to_string(limit) + " " + c.failure +
                " digits [" + N(c.text) + "].");
    }
    EXPECT_EQ(Str(D(digits511.c_str())), std::string(511, '7'));
}

TEST(DecimalParse, AbsurdExponentsFailCleanly)
{
    for (const char16_t* text : {u"1e999999999", u"1e1000000", u"-5e-999999999", u"0e99999999999999"}) {
        ExpectThrowMessage<CKvInvalidValueException>(
            [&] { CDecimal v(text); },
            "The string representing a Decimal, has an exponent above 999999 [" + N(text) + "].");
    }
    // Large but within the limit: a number of a million digits.
    CDecimal big(u"1e999990");
    std::string text = Str(big);
    EXPECT_EQ(text.size(), 999991u);
    EXPECT_EQ(text.substr(0, 3), "100");
    EXPECT_EQ(Str(D(u"1e-999990")), "0");
    ExpectThrowMessage<CKvInvalidValueException>([&] { (void)(big * big); },
                                                 "ERROR: Number too large, the limit is 1000000 digits.");
}

TEST(DecimalParse, CutToTheLimitWithTiesTowardZero)
{
    const std::string zeros29(29, '0');
    struct Case {
        std::string text;
        std::string expected;
    };
    const Case cases[] = {
        {"0." + zeros29 + "05", "0"},
        {"0." + zeros29 + "06", "0." + zeros29 + "1"},
        {"-0." + zeros29 + "06", "-0." + zeros29 + "1"},
        {"-0." + zeros29 + "05", "0"},
        // The cut comes after the trailing zeros were removed, so it may leave some.
        {"0.1" + std::string(28, '0') + "05", "0.1" + zeros29},
        {"0.1" + std::string(28, '0') + "15", "0.1" + std::string(28, '0') + "1"},
        {"2." + zeros29 + "19", "2." + zeros29 + "2"},
        // The carry stays in the fraction: all nines round to a fraction one digit too long.
        {"0." + std::string(30, '9') + "6", "0.1" + std::string(30, '0')},
    };
    for (const Case& c : cases)
        EXPECT_EQ(Str(D(W(c.text).c_str())), c.expected) << c.text;
}

TEST(DecimalParts, SignsAndDivider)
{
    struct Case {
        const char16_t* text;
        const char* integer;
        const char* fraction;
        int32_t divider;
        bool negativeInteger;
    };
    const Case cases[] = {
        {u"12.05", "12", "5", 2, false}, {u"-1.5", "-1", "-5", 1, true}, {u"-0.5", "0", "-5", 1, true},
        {u"0.5", "0", "5", 1, false},    {u"7", "7", "0", 1, false},     {u"12.50", "12", "5", 1, false},
        {u"0.00100", "0", "1", 3, false},
    };
    for (const Case& c : cases) {
        CDecimal v(c.text);
        EXPECT_EQ(Str(v.GetIntegerPart()), c.integer) << N(c.text);
        EXPECT_EQ(Str(v.GetFractionPart()), c.fraction) << N(c.text);
        EXPECT_EQ(v.GetFractionDivider(), c.divider) << N(c.text);
        EXPECT_EQ(v.GetIntegerPart() < CBigInteger(0), c.negativeInteger) << N(c.text);
    }
    CDecimal d;
    EXPECT_EQ(Str(d), "0");
    EXPECT_EQ(d.GetFractionDivider(), 1);
    EXPECT_EQ(Str(CDecimal(int64_t(-9000000000LL))), "-9000000000");
    EXPECT_EQ(Str(CDecimal(CBigInteger(u"-123456789012345678901234567890"))), "-123456789012345678901234567890");
}

TEST(DecimalArithmetic, EdgeTable)
{
    struct Case {
        const char16_t* a;
        char op;
        const char16_t* b;
        const char* expected;
    };
    const Case cases[] = {
        {u"0.1", '+', u"0.2", "0.3"},
        {u"0.7", '+', u"0.4", "1.1"},
        {u"1.5", '-', u"2", "-0.5"},
        {u"-1.5", '+', u"2", "0.5"},
        {u"-0.5", '+', u"-0.5", "-1"},
        {u"-0.3", '+', u"0", "-0.3"},
        {u"0.25", '-', u"0.25", "0"},
        {u"99.99", '+', u"0.01", "100"},
        {u"-99.99", '-', u"0.01", "-100"},
        {u"1.05", '+', u"-2.1", "-1.05"},
        {u"1", '/', u"3", "0.333333333333333333333333333333"},
        {u"2", '/', u"3", "0.666666666666666666666666666667"},
        {u"-2", '/', u"3", "-0.666666666666666666666666666667"},
        {u"1", '/', u"8", "0.125"},
        {u"10", '/', u"4", "2.5"},
        {u"-7", '/', u"2", "-3.5"},
        {u"0", '/', u"-3", "0"},
        {u"1.5", '/', u"0.5", "3"},
        {u"1.5", '*', u"2", "3"},
        {u"-1.5", '*', u"2", "-3"},
        {u"0.5", '*', u"-0.5", "-0.25"},
        {u"-0.5", '*', u"-0.5", "0.25"},
        {u"12.34", '*', u"0.1", "1.234"},
        {u"123456789.123456789", '*', u"1000000000", "123456789123456789"},
        {u"0.000000000000001", '*', u"0.000000000000001", "0.000000000000000000000000000001"},
        {u"0.000000000000001", '*', u"0.0000000000000001", "0"},
    };
    for (const Case& c : cases) {
        CDecimal a(c.a), b(c.b), r;
        switch (c.op) {
        case '+': r = a + b; break;
        case '-': r = a - b; break;
        case '*': r = a * b; break;
        default: r = a / b; break;
        }
        EXPECT_EQ(Str(r), c.expected) << N(c.a) << " " << c.op << " " << N(c.b);
    }
    EXPECT_TRUE(D(u"0.1") + D(u"0.2") == D(u"0.3"));
    EXPECT_EQ(Str((D(u"0.7") + D(u"0.4")).GetIntegerPart()), "1");
}

TEST(DecimalArithmetic, CompoundIncrementAndDivisionByZero)
{
    CDecimal a(u"1.5");
    a += D(u"0.25");
    EXPECT_EQ(Str(a), "1.75");
    a -= D(u"2");
    EXPECT_EQ(Str(a), "-0.25");
    a *= D(u"-4");
    EXPECT_EQ(Str(a), "1");
    a /= D(u"8");
    EXPECT_EQ(Str(a), "0.125");
    EXPECT_EQ(Str(a++), "0.125");
    EXPECT_EQ(Str(a), "1.125");
    EXPECT_EQ(Str(++a), "2.125");
    EXPECT_EQ(Str(a--), "2.125");
    EXPECT_EQ(Str(--a), "0.125");
    EXPECT_EQ(Str(--a), "-0.875");

    CDecimal one(1);
    ExpectThrowMessage<CKvInvalidValueException>([&] { (void)(one / D(u"0")); }, "ERROR: Overflow in operator/.");
    ExpectThrowMessage<CKvInvalidValueException>([&] { one /= D(u"-0.0"); }, "ERROR: Overflow in operator/.");
    EXPECT_EQ(Str(one), "1");
    EXPECT_EQ(Str(one.GetNegative()), "-1");
    one.Negate();
    EXPECT_EQ(Str(one), "-1");
}

TEST(DecimalText, ToStringWithPlaces)
{
    struct Case {
        const char16_t* value;
        int32_t places;
        const char* expected;
    };
    const Case cases[] = {
        {u"1.25", 1, "1.3"},
        {u"-1.25", 1, "-1.3"},
        {u"1", 2, "1.00"},
        {u"1.5", 0, "2."},
        {u"1.2", 0, "1."},
        {u"-1.5", 0, "-2."},
        {u"0", 2, "0.00"},
        {u"2.675", 2, "2.68"},
        {u"2.674", 2, "2.67"},
        {u"-0.004", 2, "-0.00"},
        {u"123.456", 5, "123.45600"},
        // No fill behind the digits when the rounding removed them, or the limit can't hold the half unit.
        {u"0.995", 2, "1.0"},
        {u"1.5", 40, "1.5"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(N(D(c.value).ToString(c.places)), c.expected) << N(c.value) << " places " << c.places;
    ExpectThrowMessage<CKvInvalidValueException>(
        [] { (void)D(u"1.5").ToString(511); },
        "ERROR: A Decimal can not be written with 511 decimal places, the limit is 510.");
}

TEST(DecimalText, PlainToStringIsLimitedTo1024Characters)
{
    CDecimal big(u"1e1100");
    EXPECT_EQ(Str(big).size(), 1101u); // no fraction: the integer's own text, unlimited
    CDecimal withFraction = big + D(u"0.5");
    std::string text = Str(withFraction);
    EXPECT_EQ(text.size(), 1024u);
    EXPECT_EQ(text.substr(0, 2), "10");
}

TEST(DecimalConvert, LongLongDoubleAndBigInteger)
{
    EXPECT_EQ(D(u"2147483647.4").ToLong(), 2147483647);
    EXPECT_EQ(D(u"-2147483648.5").ToLong(), std::numeric_limits<int32_t>::min());
    EXPECT_EQ(D(u"1.6").ToLong(), 2);
    EXPECT_EQ(D(u"1.6").ToLongLong(), 1);
    EXPECT_EQ(D(u"-1.6").ToLong(), -2);
    EXPECT_EQ(D(u"-1.6").ToLongLong(), -1);
    EXPECT_EQ(D(u"1.5").ToLong(), 1);
    EXPECT_EQ(D(u"-0.5").ToLongLong(), 0);
    EXPECT_EQ(D(u"9223372036854775807.9").ToLongLong(), std::numeric_limits<int64_t>::max());
    EXPECT_EQ(D(u"-9223372036854775808").ToLongLong(), std::numeric_limits<int64_t>::min());
    ExpectThrowMessage<CKvOverFlowException>([] { (void)D(u"2147483647.6").ToLong(); },
                                             "The Decimal value if to large to fit into a LONG");
    ExpectThrowMessage<CKvOverFlowException>([] { (void)D(u"-2147483649").ToLong(); },
                                             "The Decimal value if to large to fit into a LONG");
    ExpectThrowMessage<CKvOverFlowException>([] { (void)D(u"9223372036854775808").ToLongLong(); },
                                             "The Decimal value if to large to fit into a LONGLONG");

    EXPECT_EQ(D(u"1.5").ToDouble(), 1.5);
    EXPECT_EQ(D(u"-0.015").ToDouble(), -0.015);
    EXPECT_EQ(D(u"1.7e308").ToDouble(), 1.7e308);
    EXPECT_EQ(D(u"-1.7e308").ToDouble(), -1.7e308);
    ExpectThrowMessage<CKvOverFlowException>([] { (void)D(u"1.8e308").ToDouble(); },
                                             "The Decimal value if to large to fit into a Double");

    EXPECT_EQ(Str(D(u"2.5").ToBigInteger()), "2");
    EXPECT_EQ(Str(D(u"2.6").ToBigInteger()), "3");
    EXPECT_EQ(Str(D(u"-2.5").ToBigInteger()), "-2");
    EXPECT_EQ(Str(CBigInteger(D(u"-2.6"))), "-3");
}

TEST(DecimalConvert, FromDoubleTakesThirteenDecimals)
{
    struct Case {
        double value;
        const char* expected;
    };
    const Case cases[] = {
        {0.1, "0.1"},         {2.5, "2.5"}, {-1.25, "-1.25"}, {1e-14, "0"}, {0.0, "0"},
        {12.375, "12.375"}, {3.14159, "3.14159"}, {1e20, "100000000000000000000"},
        {0.12345678901234, "0.1234567890123"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(Str(CDecimal(c.value)), c.expected) << c.value;
    EXPECT_THROW(CDecimal(std::numeric_limits<double>::quiet_NaN()), CKvInvalidValueException);
    EXPECT_THROW(CDecimal(std::numeric_limits<double>::infinity()), CKvInvalidValueException);
}

TEST(DecimalCompare, OrderAndEquality)
{
    EXPECT_TRUE(D(u"-0.5") < D(u"0.3"));
    EXPECT_TRUE(D(u"0.3") > D(u"-0.5"));
    EXPECT_TRUE(D(u"-1.5") < D(u"-1.05"));
    EXPECT_TRUE(D(u"1.05") <= D(u"1.5"));
    EXPECT_TRUE(D(u"2") >= D(u"1.999"));
    EXPECT_TRUE(D(u"1.999") != D(u"2"));
    EXPECT_TRUE(D(u"12.50") == D(u"12.5"));
    EXPECT_TRUE(D(u"1.0") == D(u"1"));
    EXPECT_TRUE(D(u"1.0") == CDecimal(1));
    EXPECT_TRUE(D(u"-0") == D(u"0"));
    // A zero integer part counts by its sign.
    EXPECT_TRUE(D(u"-0") < D(u"0"));
}

TEST(DecimalLimit, MaxDecimalPlacesIsProcessWide)
{
    EXPECT_EQ(CDecimal::GetMaxDecimalPlaces(), 30);
    {
        PlacesGuard guard(5);
        EXPECT_EQ(CDecimal::GetMaxDecimalPlaces(), 5);
        EXPECT_EQ(Str(D(u"1") / D(u"3")), "0.33333");
        EXPECT_EQ(Str(D(u"2") / D(u"3")), "0.66667");
        EXPECT_EQ(Str(D(u"0.123456789")), "0.12346");
        EXPECT_EQ(Str(D(u"0.123455")), "0.12345");
        EXPECT_EQ(Str(D(u"0.001") * D(u"0.001")), "0");
    }
    {
        PlacesGuard guard(1);
        // Kept on purpose: 0.96 cut to one place holds a fraction of 10, one digit too many.
        CDecimal v(u"0.96");
        EXPECT_EQ(Str(v), "0.10");
        EXPECT_EQ(Str(v + D(u"0")), "1");
    }
    {
        PlacesGuard guard(0);
        EXPECT_EQ(Str(D(u"2.5")), "2");
        EXPECT_EQ(Str(D(u"2.6")), "3");
        EXPECT_EQ(Str(D(u"7") / D(u"2")), "3");
    }
    {
        PlacesGuard guard(2000000);
        EXPECT_THROW((void)(D(u"1") / D(u"3")), CKvInvalidValueException);
    }
    EXPECT_EQ(Str(D(u"1") / D(u"3")), "0.333333333333333333333333333333");
}

TEST(DecimalLimit, OddLimitsNeverBreakMemory)
{
    // The limit is set without a check; whatever it is, operations either work or fail cleanly.
    const int32_t limits[] = {-5, -1, 0, 1, 510, 1000000, std::numeric_limits<int32_t>::max(),
                              std::numeric_limits<int32_t>::min()};
    for (int32_t limit : limits) {
        PlacesGuard guard(limit);
        auto attempt = [&](const std::function<void()>& f) {
            try {
                f();
            } catch (const CKvInvalidValueException&) {
            }
        };
        attempt([] { (void)D(u"1.25").ToString(); });
        attempt([] { (void)(D(u"1.25") + D(u"-7.5")).ToString(); });
        attempt([] { (void)(D(u"1.25") * D(u"-7.5")).ToString(); });
        attempt([] { (void)(D(u"1") / D(u"3")).ToString(); });
        attempt([] { (void)D(u"1.25").ToString(3); });
        attempt([] { (void)D(u"2.5").ToLong(); });
        attempt([] { (void)(D(u"1.25") < D(u"1.3")); });
    }
}
