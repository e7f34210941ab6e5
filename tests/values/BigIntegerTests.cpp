#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "kvxml/values/CBigInteger.h"
#include "kvxml/values/CDecimal.h"
#include "values/ValuesTestUtil.h"

using namespace KvXmlLib16;
using ValuesTest::MessageOf;
using ValuesTest::N;

namespace {

std::string Str(const CBigInteger& v) { return N(v.ToString()); }

const CBigInteger kZero(0);

bool IsNegativeZero(const CBigInteger& v) { return v == kZero && v < kZero; }

} // namespace

TEST(BigIntegerParse, LenientText) {
    // clang-format off
    const char16_t* cases[][2] = {
        {u"", u"0"}, {u"-0", u"0"}, {u"  -123  ", u"-123"}, {u"000123", u"123"}, {u"   ", u"0"},
        // The digits are read from the end: a misplaced sign or blank ends them, silently.
        {u"12-34", u"34"}, {u"+123", u"123"}, {u"1 2", u"2"}, {u"--5", u"-5"}, {u"- 7", u"-7"}, {u"5-", u"0"},
        // Only spaces are stripped, other blanks end the digits like any non-digit.
        {u"\t-5", u"5"}, {u"12\t", u"0"}, {u"\t-5\r\n", u"0"}, {u" -5\n", u"0"},
        {u"123456789012345678901234567890", u"123456789012345678901234567890"},
        // Anything else goes through the decimal parser, with its rounding (ties toward zero).
        {u"1.9", u"2"}, {u"1.5", u"1"}, {u"-1.5", u"-1"}, {u"-1.6", u"-2"}, {u"1e3", u"1000"}, {u"12.345E+2", u"1234"}
    };
    // clang-format on
    for (auto& c : cases) {
        EXPECT_EQ(CBigInteger(c[0]).ToString(), c[1]) << N(c[0]);
        CBigInteger v(77);
        v.Parse(c[0]);
        EXPECT_EQ(v.ToString(), c[1]) << "over a value: " << N(c[0]);
    }
    EXPECT_EQ(Str(CBigInteger(static_cast<const char16_t*>(nullptr))), "0");
    EXPECT_EQ(MessageOf<CKvInvalidValueException>([] { CBigInteger v(u"12x"); }),
              "The string representing a Decimal, contained an invalid char at position 2 [12x].");
    CBigInteger v(42);
    EXPECT_THROW(v.Parse(u"4 2 x"), CKvInvalidValueException);
    EXPECT_EQ(Str(v), "42");
}

TEST(BigIntegerSign, ZeroCarriesItsSign) {
    CBigInteger negated;
    negated.Negate();
    // clang-format off
    const struct { CBigInteger value; bool negativeZero; } cases[] = {
        {CBigInteger(u"-0"), true},  {CBigInteger(u"-"), true},   {CBigInteger(u""), false},
        {CBigInteger(), false},      {negated, true},             {CBigInteger(u"-0").GetAbs(), false},
        // Sums of opposite equal magnitudes are a plain zero; products and quotients keep the sign rule.
        {CBigInteger(-5) + CBigInteger(5), false},                 {CBigInteger(5) - CBigInteger(5), false},
        {CBigInteger(0) * CBigInteger(-3), true},                  {CBigInteger(-5) / CBigInteger(7), true},
        {CBigInteger(-5) / CBigInteger(-7), false},
        // A zero dividend gives a plain zero; a remainder takes the dividend's sign.
        {CBigInteger(0) / CBigInteger(-7), false},
        {CBigInteger(u"-0") % CBigInteger(7), false},
        {CBigInteger(-14) % CBigInteger(7), true}};
    // clang-format on
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
    EXPECT_EQ(&-x, &x);
    EXPECT_EQ(Str(x) + Str(x.GetAbs()), "-55");
}

TEST(BigIntegerArithmetic, QuotientEstimatesThatOvershoot) {
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

TEST(BigIntegerArithmetic, DivisionByZeroLeavesOperandsAlone) {
    for (const CBigInteger& z : {CBigInteger(0), CBigInteger(u"-0")}) {
        CBigInteger a(17);
        EXPECT_EQ(MessageOf<CKvInvalidValueException>([&] { (void)(a / z); }), "ERROR: Overflow in operator/.");
        EXPECT_EQ(MessageOf<CKvInvalidValueException>([&] { (void)(a % z); }), "ERROR: Overflow in operator%.");
        EXPECT_EQ(MessageOf<CKvInvalidValueException>([&] { a /= z; }), "ERROR: Overflow in operator /=.");
        EXPECT_EQ(MessageOf<CKvInvalidValueException>([&] { a %= z; }), "ERROR: Overflow in operator%=.");
        EXPECT_EQ(MessageOf<CKvInvalidValueException>([&] { (void)(kZero / z); }), "ERROR: Overflow in operator/.");
        EXPECT_EQ(Str(a), "17");
    }
}

TEST(BigIntegerLimits, AbsurdSizesFailCleanly) {
    const std::string tooLarge = "ERROR: Number too large, the limit is 1000000 digits.";
    const uint32_t max = CBigInteger::MAX_DIGITS;
    CBigInteger largest = CBigInteger::Pow10(max - 1); // one million digits
    EXPECT_EQ(largest.ToString().size(), size_t(max));
    EXPECT_EQ(MessageOf<CKvInvalidValueException>([] { (void)CBigInteger::Pow10(CBigInteger::MAX_DIGITS); }), tooLarge);
    EXPECT_EQ(MessageOf<CKvInvalidValueException>([] { (void)CBigInteger::Pow10(4000000000u); }), tooLarge);
    EXPECT_EQ(MessageOf<CKvInvalidValueException>([&] { (void)(largest * largest); }), tooLarge);
    std::u16string nines(max, u'9');
    CBigInteger allNines(nines.c_str());
    EXPECT_EQ(MessageOf<CKvInvalidValueException>([&] { (void)(allNines + CBigInteger(1)); }), tooLarge);
    EXPECT_EQ(MessageOf<CKvInvalidValueException>([&] { (void)(allNines * CBigInteger(2)); }), tooLarge);
    std::u16string longText = u"1" + std::u16string(max, u'0');
    EXPECT_EQ(MessageOf<CKvInvalidValueException>([&] { CBigInteger v(longText.c_str()); }), tooLarge);
    std::u16string padded = std::u16string(max, u'0') + u"12"; // high zeros don't count
    EXPECT_EQ(Str(CBigInteger(padded.c_str())), "12");
    // Long operands stay cheap when one side is short.
    CBigInteger q = largest / CBigInteger(7);
    EXPECT_EQ(q * CBigInteger(7) + largest % CBigInteger(7), largest);
    EXPECT_EQ(Str(largest / CBigInteger::Pow10(max - 3)), "100");
}

// One limit for both number classes: a million digits, exponents included; never a cut text.
TEST(BigNumberLimits, BigIntegerAndDecimalShareTheDigitLimit) {
    const std::u16string million = u"1" + std::u16string(999999, u'0');
    for (const char16_t* text : {u"1E999999", u"10.0E999998", u"100E999997", million.c_str()}) {
        // Compared as truth values: a million digits are no failure message.
        if (std::u16string(text).size() < 512) {
            EXPECT_TRUE(CDecimal(text).ToString() == million) << N(text);
        }
        EXPECT_TRUE(CBigInteger(text).ToString() == million) << N(text);
    }
    EXPECT_TRUE(CDecimal(CBigInteger(million.c_str())).ToString() == million);
    for (const char16_t* text : {u"15E999999", u"99999999999999999999E999990"})
        EXPECT_EQ(MessageOf<CKvInvalidValueException>([&] { CDecimal d(text); }),
                  "ERROR: Number too large, the limit is 1000000 digits.")
            << N(text);
}
