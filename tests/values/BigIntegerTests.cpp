#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "kvxml/values/CBigInteger.h"
#include "kvxml/values/CDecimal.h"
#include "values/BigNumTestUtil.h"

using namespace KvXmlLib16;
using BigNumTest::ExpectThrowMessage;
using BigNumTest::N;

namespace {

std::string Str(const CBigInteger& v) { return N(v.ToString()); }

const CBigInteger kZero(0);

bool IsNegativeZero(const CBigInteger& v) { return v == kZero && v < kZero; }

// Opens the digit-vector kernel.
struct Kernel : CBigInteger {
    using CBigInteger::Digits;
    using CBigInteger::Position;
    using CBigInteger::ShiftLeft;
};

} // namespace

TEST(BigIntegerParse, LenientText)
{
    const char16_t* cases[][2] = {
        {u"", u"0"}, {u"-0", u"0"}, {u"  -123  ", u"-123"}, {u"000123", u"123"}, {u"   ", u"0"},
        // The digits are read from the end: a misplaced sign or blank ends them, silently.
        {u"12-34", u"34"}, {u"+123", u"123"}, {u"1 2", u"2"}, {u"--5", u"-5"}, {u"- 7", u"-7"}, {u"5-", u"0"},
        // Only spaces are stripped, other blanks end the digits like any non-digit.
        {u"\t-5", u"5"}, {u"12\t", u"0"}, {u"\t-5\r\n", u"0"}, {u" -5\n", u"0"},
        {u"123456789012345678901234567890", u"123456789012345678901234567890"},
        // Anything else goes through the decimal parser, with its rounding (ties toward zero).
        {u"1.9", u"2"}, {u"1.5", u"1"}, {u"-1.5", u"-1"}, {u"-1.6", u"-2"}, {u"1e3", u"1000"}, {u"12.345E+2", u"1234"},
    };
    for (auto& c : cases) {
        EXPECT_EQ(CBigInteger(c[0]).ToString(), c[1]) << N(c[0]);
        CBigInteger v(77);
        v.Parse(c[0]);
        EXPECT_EQ(v.ToString(), c[1]) << "over a value: " << N(c[0]);
    }
    EXPECT_EQ(Str(CBigInteger(static_cast<const char16_t*>(nullptr))), "0");
    ExpectThrowMessage<CKvInvalidValueException>(
        [] { CBigInteger v(u"12x"); },
        "The string representing a Decimal, contained an invalid char at position 2 [12x].");
    CBigInteger v(42);
    EXPECT_THROW(v.Parse(u"4 2 x"), CKvInvalidValueException);
    EXPECT_EQ(Str(v), "42");
}

TEST(BigIntegerSign, ZeroCarriesItsSign)
{
    struct Case {
        CBigInteger value;
        bool negativeZero;
    };
    CBigInteger negated;
    negated.Negate();
    const Case cases[] = {
        {CBigInteger(u"-0"), true},  {CBigInteger(u"-"), true},   {CBigInteger(u""), false},
        {CBigInteger(), false},      {negated, true},             {CBigInteger(u"-0").GetAbs(), false},
        // Sums of opposite equal magnitudes are a plain zero; products and quotients keep the sign rule.
        {CBigInteger(-5) + CBigInteger(5), false},                 {CBigInteger(5) - CBigInteger(5), false},
        {CBigInteger(0) * CBigInteger(-3), true},                  {CBigInteger(-5) / CBigInteger(7), true},
        {CBigInteger(-5) / CBigInteger(-7), false},
        // A zero dividend gives a plain zero; a remainder takes the dividend's sign.
        {CBigInteger(0) / CBigInteger(-7), false},                 {CBigInteger(u"-0") % CBigInteger(7), false},
        {CBigInteger(-14) % CBigInteger(7), true},
    };
    for (size_t i = 0; i < sizeof(cases) / sizeof(cases[0]); ++i) {
        EXPECT_EQ(IsNegativeZero(cases[i].value), cases[i].negativeZero) << "case " << i;
        EXPECT_EQ(Str(cases[i].value), "0") << "case " << i;
    }
    // The sign at face value in the order, but not in equality.
    const CBigInteger negativeZero(u"-0");
    EXPECT_TRUE(negativeZero == kZero && negativeZero <= kZero && kZero > negativeZero && kZero >= negativeZero);
    EXPECT_FALSE(kZero < negativeZero || kZero <= negativeZero || negativeZero >= kZero);
    for (int v : {1, 7, 123456}) {
        CBigInteger x(v);
        EXPECT_TRUE(x.GetNegative() < x && x > x.GetNegative()) << v;
    }
    // Unary minus negates in place.
    CBigInteger x(5);
    CBigInteger& same = -x;
    EXPECT_EQ(&same, &x);
    EXPECT_EQ(Str(x), "-5");
    EXPECT_EQ(Str(x.GetAbs()), "5");
    x.Abs();
    EXPECT_EQ(Str(x), "5");
}

TEST(BigIntegerConstruct, FromNumbers)
{
    struct Case {
        CBigInteger value;
        const char* expected;
    };
    const Case cases[] = {
        {CBigInteger(std::numeric_limits<int32_t>::min()), "-2147483648"},
        {CBigInteger(std::numeric_limits<uint32_t>::max()), "4294967295"},
        {CBigInteger(std::numeric_limits<int64_t>::min()), "-9223372036854775808"},
        {CBigInteger(std::numeric_limits<uint64_t>::max()), "18446744073709551615"},
        {CBigInteger(CDecimal(u"-12.7")), "-13"},
        // Halves go down.
        {CBigInteger(2.5), "2"}, {CBigInteger(3.5), "3"}, {CBigInteger(-2.5), "-2"}, {CBigInteger(0.5), "0"},
        {CBigInteger(2.51), "3"}, {CBigInteger(-7.6), "-8"}, {CBigInteger(-0.0), "0"}, {CBigInteger(1e15), "1000000000000000"},
        // Large doubles give the digits of their exact binary value.
        {CBigInteger(1152921504606846976.0), "1152921504606846976"},
        {CBigInteger(-0x1p63), "-9223372036854775808"}, {CBigInteger(1e23), "99999999999999991611392"},
        {CBigInteger(std::numeric_limits<double>::max()),
         "17976931348623157081452742373170435679807056752584499659891747680315726078002853876058955863276687817154045"
         "89535143824642343213268894641827684675467035375169860499105765512820762454900903893289440758685084551339423"
         "04583236903222948165808559332123348274797826204144723168738177180919299881250404026184124858368"},
    };
    for (size_t i = 0; i < sizeof(cases) / sizeof(cases[0]); ++i)
        EXPECT_EQ(Str(cases[i].value), cases[i].expected) << "case " << i;
    EXPECT_THROW(CBigInteger(std::numeric_limits<double>::quiet_NaN()), CKvInvalidValueException);
    EXPECT_THROW(CBigInteger(-std::numeric_limits<double>::infinity()), CKvInvalidValueException);
}

TEST(BigIntegerArithmetic, Table)
{
    struct Case {
        const char16_t* a;
        const char16_t* b;
        const char* sum;
        const char* difference;
        const char* product;
        const char* quotient;
        const char* remainder;
    };
    const Case cases[] = {
        {u"7", u"2", "9", "5", "14", "3", "1"},
        {u"-7", u"2", "-5", "-9", "-14", "-3", "-1"},
        {u"7", u"-2", "5", "9", "-14", "-3", "1"},
        {u"-7", u"-2", "-9", "-5", "14", "3", "-1"},
        {u"-5", u"7", "2", "-12", "-35", "0", "-5"},
        {u"1000", u"-1000", "0", "2000", "-1000000", "-1", "0"},
        {u"98765432109876543210", u"12345678901", "98765432122222222111", "98765432097530864309",
         "1219326311347050753222511812210", "8000000073", "641983437"},
    };
    for (const Case& c : cases) {
        CBigInteger a(c.a), b(c.b);
        SCOPED_TRACE(N(c.a) + " ? " + N(c.b));
        EXPECT_EQ(Str(a + b), c.sum);
        EXPECT_EQ(Str(a - b), c.difference);
        EXPECT_EQ(Str(a * b), c.product);
        EXPECT_EQ(Str(a / b), c.quotient);
        EXPECT_EQ(Str(a % b), c.remainder);
    }
    // Compound forms, also with the operand itself.
    CBigInteger x(u"-99999999999");
    x *= x;
    EXPECT_EQ(Str(x), "9999999999800000000001");
    x /= CBigInteger(u"99999999999");
    x %= CBigInteger(1000);
    x += x;
    x -= CBigInteger(1);
    EXPECT_EQ(Str(x), "1997");
    x /= x;
    EXPECT_EQ(Str(x), "1");
    x %= x;
    EXPECT_EQ(Str(x), "0");
}

TEST(BigIntegerArithmetic, QuotientEstimatesThatOvershoot)
{
    // Dividends just below a multiple of the divisor: a quotient guessed from the leading digits
    // is one too high and must be taken back.
    const char16_t* cases[][4] = {
        {u"-499999999500000000999999998000000000", u"500000000000000000999999999", u"-999999998",
         u"-500000000000000000999999998"},
        {u"250000003500000001000000013499999992", u"500000000000000001999999999", u"500000006",
         u"500000000000000001999999998"},
    };
    for (auto& c : cases) {
        EXPECT_EQ((CBigInteger(c[0]) / CBigInteger(c[1])).ToString(), c[2]) << N(c[0]);
        EXPECT_EQ((CBigInteger(c[0]) % CBigInteger(c[1])).ToString(), c[3]) << N(c[0]);
    }
}

TEST(BigIntegerArithmetic, DivisionByZeroLeavesOperandsAlone)
{
    for (const CBigInteger& z : {CBigInteger(0), CBigInteger(u"-0")}) {
        CBigInteger a(17);
        ExpectThrowMessage<CKvInvalidValueException>([&] { (void)(a / z); }, "ERROR: Overflow in operator/.");
        ExpectThrowMessage<CKvInvalidValueException>([&] { (void)(a % z); }, "ERROR: Overflow in operator%.");
        ExpectThrowMessage<CKvInvalidValueException>([&] { a /= z; }, "ERROR: Overflow in operator /=.");
        ExpectThrowMessage<CKvInvalidValueException>([&] { a %= z; }, "ERROR: Overflow in operator%=.");
        ExpectThrowMessage<CKvInvalidValueException>([&] { (void)(kZero / z); }, "ERROR: Overflow in operator/.");
        EXPECT_EQ(Str(a), "17");
    }
}

TEST(BigIntegerSquareRoot, Newton)
{
    const char16_t* cases[][2] = {{u"1", u"1"}, {u"16", u"4"}, {u"17", u"4"}, {u"99", u"9"}, {u"100", u"10"}};
    for (auto& c : cases)
        EXPECT_EQ(CBigInteger(c[0]).SquareRoot().ToString(), c[1]) << N(c[0]);
    ExpectThrowMessage<CKvInvalidValueException>([] { (void)CBigInteger(-1).SquareRoot(); },
                                                  "ERROR: Negative Number in function SquareRoot().");
    ExpectThrowMessage<CKvInvalidValueException>([] { (void)CBigInteger(0).SquareRoot(); },
                                                  "ERROR: Overflow in operator/.");
}

TEST(BigIntegerConvert, BoundsOfIntAndLongLong)
{
    EXPECT_EQ(int32_t(CBigInteger(u"2147483647")), 2147483647);
    EXPECT_EQ(int32_t(CBigInteger(u"-2147483648")), std::numeric_limits<int32_t>::min());
    EXPECT_EQ(int32_t(CBigInteger(u"-0")), 0);
    for (const char16_t* bad : {u"2147483648", u"-2147483649", u"100000000000000000000"})
        ExpectThrowMessage<CKvInvalidValueException>([&] { (void)int32_t(CBigInteger(bad)); },
                                                      "ERROR: Value out of bound of int.");
    EXPECT_EQ(int64_t(CBigInteger(u"9223372036854775807")), std::numeric_limits<int64_t>::max());
    EXPECT_EQ(int64_t(CBigInteger(u"-9223372036854775808")), std::numeric_limits<int64_t>::min());
    for (const char16_t* bad : {u"9223372036854775808", u"-9223372036854775809"})
        ExpectThrowMessage<CKvInvalidValueException>([&] { (void)int64_t(CBigInteger(bad)); },
                                                      "ERROR: Value out of bound of LONGLONG.");
}

TEST(BigIntegerConstants, BuiltAtLoadAndKernel)
{
    EXPECT_EQ(Str(CBigInteger::MAX_LONG), "2147483647");
    EXPECT_EQ(Str(CBigInteger::MIN_LONG), "-2147483648");
    EXPECT_EQ(Str(CBigInteger::MAX_LONGLONG), "9223372036854775807");
    EXPECT_EQ(Str(CBigInteger::MIN_LONGLONG), "-9223372036854775808");
    EXPECT_EQ(Str(CBigInteger::MAX_DOUBLE), "17" + std::string(307, '0'));
    EXPECT_EQ(Str(CBigInteger::MIN_DOUBLE), "-17" + std::string(307, '0'));
    EXPECT_EQ(Str(CBigInteger::Pow10(0)), "1");
    EXPECT_EQ(Str(CBigInteger::Pow10(5)), "100000");
    // ShiftLeft inserts its zeros whatever the vector holds; a count below 1 does nothing.
    Kernel::Digits d(1, char16_t(0));
    Kernel::ShiftLeft(d, 2);
    EXPECT_EQ(d, Kernel::Digits(3, char16_t(0)));
    Kernel::ShiftLeft(d, -4);
    EXPECT_EQ(d.size(), 3u);
    EXPECT_EQ(Kernel::Position(Kernel::Digits()), 1);
}

TEST(BigIntegerLimits, AbsurdSizesFailCleanly)
{
    const std::string tooLarge = "ERROR: Number too large, the limit is 1000000 digits.";
    const uint32_t max = CBigInteger::MAX_DIGITS;
    CBigInteger largest = CBigInteger::Pow10(max - 1); // one million digits
    EXPECT_EQ(largest.ToString().size(), size_t(max));
    ExpectThrowMessage<CKvInvalidValueException>([] { (void)CBigInteger::Pow10(CBigInteger::MAX_DIGITS); }, tooLarge);
    ExpectThrowMessage<CKvInvalidValueException>([] { (void)CBigInteger::Pow10(4000000000u); }, tooLarge);
    ExpectThrowMessage<CKvInvalidValueException>([&] { (void)(largest * largest); }, tooLarge);
    std::u16string nines(max, u'9');
    CBigInteger allNines(nines.c_str());
    ExpectThrowMessage<CKvInvalidValueException>([&] { (void)(allNines + CBigInteger(1)); }, tooLarge);
    ExpectThrowMessage<CKvInvalidValueException>([&] { (void)(allNines * CBigInteger(2)); }, tooLarge);
    std::u16string longText = u"1" + std::u16string(max, u'0');
    ExpectThrowMessage<CKvInvalidValueException>([&] { CBigInteger v(longText.c_str()); }, tooLarge);
    std::u16string padded = std::u16string(max, u'0') + u"12"; // high zeros don't count
    EXPECT_EQ(Str(CBigInteger(padded.c_str())), "12");
    // Long operands stay cheap when one side is short.
    CBigInteger q = largest / CBigInteger(7);
    EXPECT_EQ(q * CBigInteger(7) + largest % CBigInteger(7), largest);
    EXPECT_EQ(Str(largest / CBigInteger::Pow10(max - 3)), "100");
}
