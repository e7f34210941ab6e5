#include <gtest/gtest.h>

#include <cmath>
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

std::string Str(const CBigInteger& v) { return N(v.ToString()); }

const CBigInteger kZero(0);

bool IsNegativeZero(const CBigInteger& v) { return v == kZero && v < kZero; }

} // namespace

TEST(BigIntegerParse, LenientTextTable)
{
    struct Case {
        const char16_t* text;
        const char* expected;
    };
    const Case cases[] = {
        {u"", "0"},
        {u"0", "0"},
        {u"-0", "0"},
        {u"  -123  ", "-123"},
        {u"000123", "123"},
        {u"\t-5\r\n", "-5"},
        // A misplaced sign or blank ends the number silently; what stands before it is dropped.
        {u"12-34", "34"},
        {u"+123", "123"},
        {u"1 2", "2"},
        {u"--5", "-5"},
        {u"- 7", "-7"},
        {u"5-", "0"},
        {u"-", "0"},
        {u"   ", "0"},
        {u"123456789012345678901234567890", "123456789012345678901234567890"},
        // Anything else goes through the decimal parser, with its rounding (ties toward zero).
        {u"1.9", "2"},
        {u"1.5", "1"},
        {u"-1.5", "-1"},
        {u"-1.6", "-2"},
        {u"1e3", "1000"},
        {u"2.5e1", "25"},
        {u"12.345E+2", "1234"},
        {u"12.346E+2", "1235"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Str(CBigInteger(c.text)), c.expected) << N(c.text);
        CBigInteger v(77);
        v.Parse(c.text);
        EXPECT_EQ(Str(v), c.expected) << "Parse over a value: " << N(c.text);
    }
}

TEST(BigIntegerParse, SignsOfZero)
{
    CBigInteger negativeZero(u"-0");
    EXPECT_EQ(negativeZero, CBigInteger(0));
    EXPECT_TRUE(IsNegativeZero(negativeZero));
    EXPECT_FALSE(IsNegativeZero(CBigInteger(u"")));
    EXPECT_FALSE(IsNegativeZero(CBigInteger()));
    EXPECT_TRUE(IsNegativeZero(CBigInteger(u"-")));
    EXPECT_EQ(Str(CBigInteger()), "0");
    EXPECT_EQ(Str(CBigInteger(u"-0").GetAbs()), "0");
    EXPECT_FALSE(IsNegativeZero(CBigInteger(u"-0").GetAbs()));
}

TEST(BigIntegerParse, TextNoDecimalAcceptsRaisesTheDecimalMessage)
{
    ExpectThrowMessage<CKvInvalidValueException>(
        [] { CBigInteger v(u"abc"); },
        "The string representing a Decimal, contained an invalid char at position 0 [abc].");
    ExpectThrowMessage<CKvInvalidValueException>(
        [] { CBigInteger v(u"12x"); },
        "The string representing a Decimal, contained an invalid char at position 2 [12x].");
    // A failed parse leaves the value as it was.
    CBigInteger v(42);
    EXPECT_THROW(v.Parse(u"4 2 x"), CKvInvalidValueException);
    EXPECT_EQ(Str(v), "42");
}

TEST(BigIntegerParse, NullTextIsZero)
{
    EXPECT_EQ(Str(CBigInteger(static_cast<const char16_t*>(nullptr))), "0");
}

TEST(BigIntegerConstruct, FromMachineNumbers)
{
    EXPECT_EQ(Str(CBigInteger(std::numeric_limits<int32_t>::min())), "-2147483648");
    EXPECT_EQ(Str(CBigInteger(std::numeric_limits<int32_t>::max())), "2147483647");
    EXPECT_EQ(Str(CBigInteger(std::numeric_limits<uint32_t>::max())), "4294967295");
    EXPECT_EQ(Str(CBigInteger(std::numeric_limits<int64_t>::min())), "-9223372036854775808");
    EXPECT_EQ(Str(CBigInteger(std::numeric_limits<int64_t>::max())), "9223372036854775807");
    EXPECT_EQ(Str(CBigInteger(std::numeric_limits<uint64_t>::max())), "18446744073709551615");
    EXPECT_EQ(Str(CBigInteger(int32_t(0))), "0");
    EXPECT_EQ(Str(CBigInteger(uint64_t(10))), "10");
    EXPECT_EQ(Str(CBigInteger(CDecimal(u"-12.7"))), "-13");
}

TEST(BigIntegerConstruct, FromDoubleHalvesGoDown)
{
    struct Case {
        double value;
        const char* expected;
    };
    const Case cases[] = {
        {2.5, "2"},  {3.5, "3"},     {-2.5, "-2"}, {0.5, "0"},  {1.5, "1"},
        {0.49, "0"}, {2.51, "3"},    {-0.0, "0"},  {10.0, "10"}, {-7.6, "-8"},
        {1e15, "1000000000000000"},  {123456789.0, "123456789"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(Str(CBigInteger(c.value)), c.expected) << c.value;
    // The largest double gives all its 309 digits, the leading ones those of 1.797...
    std::string big = Str(CBigInteger(std::numeric_limits<double>::max()));
    EXPECT_EQ(big.size(), 309u);
    EXPECT_EQ(big.substr(0, 4), "1797");
    EXPECT_THROW(CBigInteger(std::numeric_limits<double>::quiet_NaN()), CKvInvalidValueException);
    EXPECT_THROW(CBigInteger(-std::numeric_limits<double>::infinity()), CKvInvalidValueException);
}

TEST(BigIntegerSign, NegateAbsAndUnaryMinusInPlace)
{
    CBigInteger x(5);
    CBigInteger& same = -x;
    EXPECT_EQ(&same, &x);
    EXPECT_EQ(Str(x), "-5");
    EXPECT_EQ(Str(x.GetNegative()), "5");
    EXPECT_EQ(Str(x), "-5");
    EXPECT_EQ(Str(x.GetAbs()), "5");
    x.Abs();
    EXPECT_EQ(Str(x), "5");
    x.Negate();
    EXPECT_EQ(Str(x), "-5");
    CBigInteger zero;
    zero.Negate();
    EXPECT_EQ(Str(zero), "0");
    EXPECT_TRUE(IsNegativeZero(zero));
}

TEST(BigIntegerCompare, ZeroSignTakenAtFaceValue)
{
    CBigInteger negativeZero(u"-0");
    EXPECT_TRUE(negativeZero == kZero);
    EXPECT_TRUE(negativeZero < kZero);
    EXPECT_FALSE(kZero < negativeZero);
    EXPECT_TRUE(kZero > negativeZero);
    EXPECT_TRUE(negativeZero <= kZero);
    EXPECT_FALSE(kZero <= negativeZero);
    EXPECT_TRUE(kZero >= negativeZero);
    for (int v : {1, 7, 123456}) {
        CBigInteger x(v);
        EXPECT_TRUE(x.GetNegative() < x);
        EXPECT_TRUE(x > x.GetNegative());
        EXPECT_FALSE(x < x.GetNegative());
    }
}

TEST(BigIntegerArithmetic, SmallTable)
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
        {u"0", u"5", "5", "-5", "0", "0", "0"},
        {u"5", u"7", "12", "-2", "35", "0", "5"},
        {u"-5", u"7", "2", "-12", "-35", "0", "-5"},
        {u"999", u"1", "1000", "998", "999", "999", "0"},
        {u"1000", u"1", "1001", "999", "1000", "1000", "0"},
        {u"1000", u"-1000", "0", "2000", "-1000000", "-1", "0"},
        {u"100000000000000000000", u"1", "100000000000000000001", "99999999999999999999",
         "100000000000000000000", "100000000000000000000", "0"},
        {u"123456789012345678901234567890", u"1000000000", "123456789012345678902234567890",
         "123456789012345678900234567890", "123456789012345678901234567890000000000",
         "123456789012345678901", "234567890"},
        {u"98765432109876543210", u"12345678901", "98765432122222222111", "98765432097530864309",
         "1219326311347050753222511812210", "8000000073", "641983437"},
    };
    for (const Case& c : cases) {
        CBigInteger a(c.a), b(c.b);
        EXPECT_EQ(Str(a + b), c.sum) << N(c.a) << " + " << N(c.b);
        EXPECT_EQ(Str(a - b), c.difference) << N(c.a) << " - " << N(c.b);
        EXPECT_EQ(Str(a * b), c.product) << N(c.a) << " * " << N(c.b);
        EXPECT_EQ(Str(a / b), c.quotient) << N(c.a) << " / " << N(c.b);
        EXPECT_EQ(Str(a % b), c.remainder) << N(c.a) << " % " << N(c.b);
    }
}

TEST(BigIntegerArithmetic, QuotientEstimatesThatOvershoot)
{
    // Dividends just below a multiple of the divisor, where a quotient guessed from the leading
    // digits is one too high and must be taken back.
    struct Case {
        const char16_t* a;
        const char16_t* b;
        const char* quotient;
        const char* remainder;
    };
    const Case cases[] = {
        {u"499999999500000000999999998000000000", u"500000000000000000999999999", "999999998",
         "500000000000000000999999998"},
        {u"999999997999999999999999999000000001", u"999999999999999999999999999", "999999997",
         "999999999999999999999999998"},
        {u"420000000000000004199999999299999999", u"600000000000000005999999999", "699999999",
         "600000000000000005999999998"},
        {u"250000003500000001000000013499999992", u"500000000000000001999999999", "500000006",
         "500000000000000001999999998"},
    };
    for (const Case& c : cases) {
        CBigInteger a(c.a), b(c.b);
        EXPECT_EQ(Str(a / b), c.quotient) << N(c.a);
        EXPECT_EQ(Str(a % b), c.remainder) << N(c.a);
        EXPECT_EQ(Str(a.GetNegative() / b), "-" + std::string(c.quotient)) << N(c.a);
        EXPECT_EQ(Str(a.GetNegative() % b), "-" + std::string(c.remainder)) << N(c.a);
    }
}

TEST(BigIntegerArithmetic, SignsOfZeroResults)
{
    // Opposite equal magnitudes add to a plain zero.
    EXPECT_FALSE(IsNegativeZero(CBigInteger(-5) + CBigInteger(5)));
    EXPECT_FALSE(IsNegativeZero(CBigInteger(5) - CBigInteger(5)));
    // Products and quotients keep the sign rule even when zero.
    EXPECT_TRUE(IsNegativeZero(CBigInteger(0) * CBigInteger(-3)));
    EXPECT_TRUE(IsNegativeZero(CBigInteger(-5) / CBigInteger(7)));
    EXPECT_FALSE(IsNegativeZero(CBigInteger(-5) / CBigInteger(-7)));
    // A zero dividend gives a plain zero whatever the divisor.
    EXPECT_FALSE(IsNegativeZero(CBigInteger(0) / CBigInteger(-7)));
    EXPECT_FALSE(IsNegativeZero(CBigInteger(u"-0") % CBigInteger(7)));
    // The remainder takes the dividend's sign, also when zero.
    EXPECT_TRUE(IsNegativeZero(CBigInteger(-14) % CBigInteger(7)));
}

TEST(BigIntegerArithmetic, DivisionByZeroMessagesLeaveOperandsAlone)
{
    const CBigInteger zeros[] = {CBigInteger(0), CBigInteger(u"-0")};
    for (const CBigInteger& z : zeros) {
        CBigInteger a(17);
        ExpectThrowMessage<CKvInvalidValueException>([&] { (void)(a / z); }, "ERROR: Overflow in operator/.");
        ExpectThrowMessage<CKvInvalidValueException>([&] { (void)(a % z); }, "ERROR: Overflow in operator%.");
        ExpectThrowMessage<CKvInvalidValueException>([&] { a /= z; }, "ERROR: Overflow in operator /=.");
        ExpectThrowMessage<CKvInvalidValueException>([&] { a %= z; }, "ERROR: Overflow in operator%=.");
        EXPECT_EQ(Str(a), "17");
        // Zero divided by zero is still a division by zero.
        ExpectThrowMessage<CKvInvalidValueException>([&] { (void)(kZero / z); }, "ERROR: Overflow in operator/.");
    }
}

TEST(BigIntegerArithmetic, CompoundAssignmentAndAliasing)
{
    CBigInteger a(u"123456789123456789");
    a += a;
    EXPECT_EQ(Str(a), "246913578246913578");
    a -= CBigInteger(u"246913578246913577");
    EXPECT_EQ(Str(a), "1");
    CBigInteger b(u"-99999999999");
    b *= b;
    EXPECT_EQ(Str(b), "9999999999800000000001");
    b /= CBigInteger(u"99999999999");
    EXPECT_EQ(Str(b), "99999999999");
    b %= CBigInteger(1000);
    EXPECT_EQ(Str(b), "999");
    CBigInteger c(-12);
    c /= c;
    EXPECT_EQ(Str(c), "1");
    CBigInteger d(-12);
    d %= d;
    EXPECT_EQ(Str(d), "0");
    CBigInteger e(u"-5");
    e -= e;
    EXPECT_EQ(Str(e), "0");
}

TEST(BigIntegerSquareRoot, NewtonTable)
{
    struct Case {
        const char16_t* value;
        const char* root;
    };
    const Case cases[] = {
        {u"1", "1"},           {u"2", "1"},   {u"3", "1"},   {u"4", "2"},     {u"16", "4"},
        {u"17", "4"},          {u"99", "9"},  {u"100", "10"}, {u"101", "10"}, {u"9999", "99"},
        {u"10000", "100"},     {u"1000000000000", "1000000"},
        {u"152415787532388367501905199875019052100", "12345678901234567890"},
        {u"152415787532388367501905199875019052099", "12345678901234567889"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(Str(CBigInteger(c.value).SquareRoot()), c.root) << N(c.value);
}

TEST(BigIntegerSquareRoot, NegativeAndZeroRaise)
{
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
    EXPECT_EQ(int32_t(CBigInteger(u"-123")), -123);
    for (const char16_t* bad : {u"2147483648", u"-2147483649", u"100000000000000000000"}) {
        ExpectThrowMessage<CKvInvalidValueException>([&] { (void)int32_t(CBigInteger(bad)); },
                                                      "ERROR: Value out of bound of int.");
    }
    EXPECT_EQ(int64_t(CBigInteger(u"9223372036854775807")), std::numeric_limits<int64_t>::max());
    EXPECT_EQ(int64_t(CBigInteger(u"-9223372036854775808")), std::numeric_limits<int64_t>::min());
    EXPECT_EQ(int64_t(CBigInteger(u"-2147483649")), -2147483649LL);
    for (const char16_t* bad : {u"9223372036854775808", u"-9223372036854775809"}) {
        ExpectThrowMessage<CKvInvalidValueException>([&] { (void)int64_t(CBigInteger(bad)); },
                                                      "ERROR: Value out of bound of LONGLONG.");
    }
}

TEST(BigIntegerConstants, BuiltAtLoad)
{
    EXPECT_EQ(Str(CBigInteger::MAX_LONG), "2147483647");
    EXPECT_EQ(Str(CBigInteger::MIN_LONG), "-2147483648");
    EXPECT_EQ(Str(CBigInteger::MAX_LONGLONG), "9223372036854775807");
    EXPECT_EQ(Str(CBigInteger::MIN_LONGLONG), "-9223372036854775808");
    EXPECT_EQ(Str(CBigInteger::MAX_DOUBLE), "17" + std::string(307, '0'));
    EXPECT_EQ(Str(CBigInteger::MIN_DOUBLE), "-17" + std::string(307, '0'));
    EXPECT_EQ(Str(CBigInteger::Pow10(0)), "1");
    EXPECT_EQ(Str(CBigInteger::Pow10(5)), "100000");
}

TEST(BigIntegerLimits, AbsurdSizesFailCleanly)
{
    const std::string tooLarge = "ERROR: Number too large, the limit is 1000000 digits.";
    const uint32_t max = CBigInteger::MAX_DIGITS;
    CBigInteger largest = CBigInteger::Pow10(max - 1); // one million digits
    EXPECT_EQ(largest.ToString().size(), size_t(max));
    ExpectThrowMessage<CKvInvalidValueException>([] { (void)CBigInteger::Pow10(CBigInteger::MAX_DIGITS); },
                                                  tooLarge);
    ExpectThrowMessage<CKvInvalidValueException>([] { (void)CBigInteger::Pow10(4000000000u); }, tooLarge);
    ExpectThrowMessage<CKvInvalidValueException>([&] { (void)(largest * CBigInteger(10)); }, tooLarge);
    ExpectThrowMessage<CKvInvalidValueException>([&] { (void)(largest * largest); }, tooLarge);

    std::u16string nines(max, u'9');
    CBigInteger allNines(nines.c_str());
    ExpectThrowMessage<CKvInvalidValueException>([&] { (void)(allNines + CBigInteger(1)); }, tooLarge);
    ExpectThrowMessage<CKvInvalidValueException>([&] { (void)(allNines * CBigInteger(2)); }, tooLarge);
    EXPECT_EQ(Str(allNines - allNines), "0");

    std::u16string longText = u"1" + std::u16string(max, u'0');
    ExpectThrowMessage<CKvInvalidValueException>([&] { CBigInteger v(longText.c_str()); }, tooLarge);
    // High zeros don't count.
    std::u16string padded = std::u16string(max, u'0') + u"12";
    EXPECT_EQ(Str(CBigInteger(padded.c_str())), "12");

    // Long operands stay cheap when one side is short: long division by a small divisor.
    CBigInteger q = largest / CBigInteger(7);
    CBigInteger r = largest % CBigInteger(7);
    EXPECT_EQ(q * CBigInteger(7) + r, largest);
    EXPECT_EQ(q.ToString().size(), size_t(max - 1));
    EXPECT_EQ(Str(largest / largest), "1");
    EXPECT_EQ(Str(largest / CBigInteger::Pow10(max - 3)), "100");
}
