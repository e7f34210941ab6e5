#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <string>
#include <tuple>
#include <utility>

#include "kvxml/values/CBigInteger.h"
#include "kvxml/values/CDecimal.h"
#include "values/ValuesTestUtil.h"

using namespace KvXmlLib16;
using ValuesTest::MessageOf;
using ValuesTest::N;
using ValuesTest::W;

namespace {

std::string Str(const CDecimal& v) { return N(v.ToString()); }
std::string Str(const CBigInteger& v) { return N(v.ToString()); }
CDecimal D(const char16_t* text) { return CDecimal(text); }

// Sets the process-wide limit of decimal places for one scope.
class PlacesGuard {
public:
    explicit PlacesGuard(int32_t places) : m_saved(CDecimal::GetMaxDecimalPlaces()) {
        CDecimal::SetMaxDecimalPlaces(places);
    }
    ~PlacesGuard() { CDecimal::SetMaxDecimalPlaces(m_saved); }

private:
    int32_t m_saved;
};

} // namespace

TEST(DecimalParse, Failures) {
    const std::string invalid = "The string representing a Decimal, contained an invalid char at position ";
    const std::string more = "The string representing a Decimal, has more than ";
    const std::u16string digits512(512, u'7');
    // clang-format off
    // message: the text in brackets follows
    const struct { std::u16string text; std::string message; } cases[] = {
        {u"abc", invalid + "0"},   {u"1.2.3", invalid + "3"}, {u"1e2 ", invalid + "3"}, {u"1e 2 3", invalid + "4"},
        {u"1.5x", invalid + "3"},  {u"1e2e3", invalid + "3"}, {u"1,5", invalid + "1"},  {u"1.-5", invalid + "2"},
        // The scanner's buffers hold 511, 511 and 31 digits.
        {digits512, more + "511 integer digits"},
        {u"0." + digits512, more + "511 fraction digits"},
        {u"1e" + std::u16string(31, u'0') + u"2", more + "31 exponent digits"},
        // Exponents are bounded by the size limit of the numbers.
        {u"1e999999999", "The string representing a Decimal, has an exponent above 999999"},
        {u"-5e-1000000", "The string representing a Decimal, has an exponent above 999999"}
    };
    // clang-format on
    for (const auto& c : cases)
        EXPECT_EQ(MessageOf<CKvInvalidValueException>([&] { CDecimal v(c.text.c_str()); }),
                  c.message + " [" + N(c.text) + "].");
    const CDecimal big(u"1e999990");
    EXPECT_EQ(MessageOf<CKvInvalidValueException>([&] { (void)(big * big); }),
              "ERROR: Number too large, the limit is 1000000 digits.");
}

TEST(DecimalArithmetic, Table) {
    // clang-format off
    struct Case { const char16_t* a; char op; const char16_t* b; const char* expected; };
    const Case cases[] = {
        {u"0.1", '+', u"0.2", "0.3"},   {u"0.7", '+', u"0.4", "1.1"},   {u"1.5", '-', u"2", "-0.5"},
        {u"-1.5", '+', u"2", "0.5"},    {u"-0.3", '+', u"0", "-0.3"},   {u"0.25", '-', u"0.25", "0"},
        {u"1", '/', u"3", "0.333333333333333333333333333333"},
        {u"2", '/', u"3", "0.666666666666666666666666666667"},
        {u"0", '/', u"-3", "0"},        {u"0.5", '*', u"-0.5", "-0.25"},
        {u"0.000000000000001", '*', u"0.000000000000001", "0.000000000000000000000000000001"},
        {u"0.000000000000001", '*', u"0.0000000000000001", "0"}
    };
    // clang-format on
    for (const Case& c : cases) {
        CDecimal a(c.a), b(c.b);
        CDecimal r = c.op == '+' ? a + b : c.op == '-' ? a - b : c.op == '*' ? a * b : a / b;
        c.op == '+' ? a += b : c.op == '-' ? a -= b : c.op == '*' ? a *= b : a /= b;
        EXPECT_EQ(Str(r) + "|" + Str(a), std::string(c.expected) + "|" + c.expected) << N(c.a) << c.op << N(c.b);
    }
    EXPECT_EQ(Str((D(u"0.7") + D(u"0.4")).GetIntegerPart()), "1");

    CDecimal a(u"0.125");
    EXPECT_EQ(Str(a++), "0.125");
    EXPECT_EQ(Str(++a), "2.125");
    EXPECT_EQ(Str(a--), "2.125");
    EXPECT_EQ(Str(--a), "0.125");
    EXPECT_EQ(Str(--a), "-0.875");
    CDecimal one(1);
    EXPECT_EQ(MessageOf<CKvInvalidValueException>([&] { one /= D(u"-0.0"); }), "ERROR: Overflow in operator/.");
    EXPECT_EQ(Str(one), "1");
}

// Rounded by adding half a unit, so ties go away from zero; the point is always written, and no fill
// follows when the rounding removed digits or the limit of places cannot hold the half unit.
TEST(DecimalText, ToStringWithPlaces) {
    // clang-format off
    const struct { const char16_t* value; int32_t places; const char* expected; } cases[] = {
        {u"1.25", 1, "1.3"},  {u"-1.25", 1, "-1.3"}, {u"1", 2, "1.00"},        {u"1.5", 0, "2."},
        {u"1.2", 0, "1."},    {u"-1.5", 0, "-2."},   {u"-0.004", 2, "-0.00"},  {u"123.456", 5, "123.45600"},
        {u"0.995", 2, "1.0"}, {u"1.5", 40, "1.5"},   {u"-1.25", 600, "-1.25"}, {u"1.5", INT32_MAX, "1.5"},
    };
    // clang-format on
    for (const auto& c : cases)
        EXPECT_EQ(N(D(c.value).ToString(c.places)), c.expected) << N(c.value) << " places " << c.places;
    PlacesGuard guard(700);
    EXPECT_EQ(N(D(u"1").ToString(600)), "1." + std::string(600, '0'));
}

// ToLong rounds to the nearest integer while ToLongLong cuts at the point: the two have always differed.
TEST(DecimalConvert, Numbers) {
    EXPECT_EQ(std::tuple(D(u"1.6").ToLong(), D(u"1.6").ToLongLong(), D(u"-1.6").ToLong(), D(u"-1.6").ToLongLong()),
              std::tuple(2, 1, -2, -1));
    EXPECT_EQ(D(u"2147483647.4").ToLong(), INT32_MAX);
    EXPECT_EQ(D(u"-2147483648.5").ToLong(), INT32_MIN);
    EXPECT_EQ(D(u"9223372036854775807.9").ToLongLong(), INT64_MAX);
    EXPECT_EQ(std::tuple(D(u"-0.015").ToDouble(), D(u"-1.7e308").ToDouble()), std::tuple(-0.015, -1.7e308));
    EXPECT_EQ(Str(D(u"2.5").ToBigInteger()) + Str(D(u"-2.6").ToBigInteger()), "2-3");
    // clang-format off
    const struct { std::function<void()> call; const char* message; } overflows[] = {
        {[] { (void)D(u"2147483647.6").ToLong(); }, "The Decimal value if to large to fit into a LONG"},
        {[] { (void)D(u"9223372036854775808").ToLongLong(); }, "The Decimal value if to large to fit into a LONGLONG"},
        {[] { (void)D(u"1.8e308").ToDouble(); }, "The Decimal value if to large to fit into a Double"},
    };
    // clang-format on
    for (const auto& o : overflows) EXPECT_EQ(MessageOf<CKvOverFlowException>(o.call), o.message);
    // From a double only 13 decimals are taken.
    // clang-format off
    const std::pair<double, const char*> doubles[] = {
        {0.1, "0.1"}, {-1.25, "-1.25"}, {1e-14, "0"}, {-0.0, "0"}, {1e20, "100000000000000000000"},
        {0.12345678901234, "0.1234567890123"}, {0.00000000000005, "0.0000000000001"}};
    // clang-format on
    for (const auto& [value, expected] : doubles) EXPECT_EQ(Str(CDecimal(value)), expected) << value;
    EXPECT_THROW(CDecimal(std::numeric_limits<double>::infinity()), CKvInvalidValueException);
}

TEST(DecimalLimit, MaxDecimalPlacesIsProcessWide) {
    EXPECT_EQ(CDecimal::GetMaxDecimalPlaces(), 30);
    {
        PlacesGuard guard(5);
        EXPECT_EQ(Str(D(u"2") / D(u"3")), "0.66667");
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
    // Whatever the limit, operations work or fail cleanly.
    for (int32_t limit : {-5, -1, 2000000, std::numeric_limits<int32_t>::max(), std::numeric_limits<int32_t>::min()}) {
        PlacesGuard guard(limit);
        using Op = std::function<void(const CDecimal&, const CDecimal&)>;
        const Op ops[] = {
            [](const CDecimal& a, const CDecimal& b) { (void)(a + b).ToString(); },
            [](const CDecimal& a, const CDecimal& b) { (void)(a * b).ToString(); },
            [](const CDecimal& a, const CDecimal& b) { (void)(a / b).ToString(); },
            [](const CDecimal& a, const CDecimal& b) { (void)(a < b); },
            [](const CDecimal& a, const CDecimal&) { (void)a.ToString(3); },
            [](const CDecimal& a, const CDecimal&) { (void)a.ToLong(); },
        };
        for (const Op& op : ops) {
            try {
                op(CDecimal(u"1.25"), CDecimal(u"-7.5"));
            } catch (const CKvInvalidValueException&) {}
        }
    }
}
