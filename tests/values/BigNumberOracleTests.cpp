// Big integer and decimal arithmetic checked against GMP, when the test program has it. Decimals
// are GMP integers scaled by powers of ten, with the rounding model written out independently.

#ifdef KVXML_TEST_HAVE_GMP

#include <gtest/gtest.h>
#include <gmp.h>

#include <random>
#include <string>

#include "kvxml/values/CBigInteger.h"
#include "kvxml/values/CDecimal.h"
#include "values/BigNumTestUtil.h"

using namespace KvXmlLib16;
using BigNumTest::N;
using BigNumTest::RandomDigits;
using BigNumTest::W;

namespace {

class Z {
public:
    Z() { mpz_init(v); }
    explicit Z(const std::string& text) { mpz_init_set_str(v, text.c_str(), 10); }
    Z(const Z&) = delete;
    Z& operator=(const Z&) = delete;
    ~Z() { mpz_clear(v); }
    std::string Text() const
    {
        std::string s(mpz_sizeinbase(v, 10) + 2, '\0');
        mpz_get_str(s.data(), 10, v);
        s.resize(s.find('\0'));
        return s;
    }
    mpz_t v;
};

// Shape 0: random digits. Shape 1: runs of few digit values, where quotient estimates land on
// their edges. Shape 2: low zeros and powers of ten, which division sets apart.
std::string IntegerOperand(std::mt19937_64& rng, int shape, size_t maxDigits)
{
    std::string t;
    if (shape == 0) {
        t = RandomDigits(rng, maxDigits);
    } else if (shape == 1) {
        static const std::string alphabets[] = {"09", "0159", "9", "19", "05"};
        const std::string& a = alphabets[rng() % 5];
        size_t length = 1 + rng() % maxDigits;
        t.assign(1, a.back());
        while (t.size() < length)
            t.push_back(a[rng() % a.size()]);
    } else {
        t = rng() % 2 ? RandomDigits(rng, 20) + std::string(rng() % 25, '0') : "1" + std::string(rng() % 60, '0');
    }
    if (t.find_first_not_of('0') != std::string::npos && rng() % 2)
        t.insert(0, "-");
    return t;
}

void Pow10(Z& out, unsigned n) { mpz_ui_pow_ui(out.v, 10, n); }

// value * 10^(to - from)
void Rescale(Z& out, const Z& value, unsigned from, unsigned to)
{
    Z p;
    Pow10(p, to - from);
    mpz_mul(out.v, value.v, p.v);
}

// A decimal operand: its text, and its value as digits / 10^scale.
struct Operand {
    std::string text;
    Z digits;
    unsigned scale = 0;
};

void MakeOperand(std::mt19937_64& rng, size_t maxInteger, size_t maxFraction, Operand& out)
{
    std::string integer = RandomDigits(rng, maxInteger), fraction;
    for (size_t n = rng() % (maxFraction + 1); fraction.size() < n;)
        fraction.push_back(char('0' + rng() % 10));
    bool negative = (integer + fraction).find_first_not_of('0') != std::string::npos && rng() % 2;
    out.text = (negative ? "-" : "") + integer + (fraction.empty() ? "" : "." + fraction);
    mpz_set_str(out.digits.v, ((negative ? "-" : "") + integer + fraction).c_str(), 10);
    out.scale = unsigned(fraction.size());
}

// The text of value / 10^scale: trailing fraction zeros removed unless keepScale.
std::string Format(const Z& value, unsigned scale, bool keepScale)
{
    Z abs, p, integer, fraction;
    mpz_abs(abs.v, value.v);
    Pow10(p, scale);
    mpz_tdiv_qr(integer.v, fraction.v, abs.v, p.v);
    std::string text = integer.Text();
    if (mpz_sgn(fraction.v) != 0) {
        std::string f = fraction.Text();
        f.insert(0, scale - f.size(), '0');
        if (!keepScale)
            f.erase(f.find_last_not_of('0') + 1);
        text += "." + f;
    }
    if (mpz_sgn(value.v) < 0)
        text.insert(0, "-");
    return text;
}

} // namespace

TEST(BigIntegerOracle, AgreesWithGmp)
{
    std::mt19937_64 rng(424242);
    for (int round = 0; round < 4500; ++round) {
        const int shape = round % 3;
        std::string ta = IntegerOperand(rng, shape, 150), tb = IntegerOperand(rng, shape, rng() % 2 ? 12 : 150);
        CBigInteger x(W(ta).c_str()), y(W(tb).c_str());
        Z a(ta), b(tb), r;
        SCOPED_TRACE(ta + " ? " + tb);
        mpz_add(r.v, a.v, b.v);
        EXPECT_EQ(N((x + y).ToString()), r.Text());
        mpz_sub(r.v, a.v, b.v);
        EXPECT_EQ(N((x - y).ToString()), r.Text());
        mpz_mul(r.v, a.v, b.v);
        EXPECT_EQ(N((x * y).ToString()), r.Text());
        if (mpz_sgn(b.v) != 0) {
            mpz_tdiv_q(r.v, a.v, b.v);
            EXPECT_EQ(N((x / y).ToString()), r.Text());
            mpz_tdiv_r(r.v, a.v, b.v);
            EXPECT_EQ(N((x % y).ToString()), r.Text());
        }
        const int c = mpz_cmp(a.v, b.v);
        EXPECT_TRUE((x < y) == (c < 0) && (x > y) == (c > 0) && (x <= y) == (c <= 0) && (x >= y) == (c >= 0) &&
                    (x == y) == (c == 0) && (x != y) == (c != 0));
    }
    for (int round = 0; round < 300; ++round) {
        std::string t = RandomDigits(rng, 90);
        if (t == "0")
            continue;
        Z a(t), r;
        mpz_sqrt(r.v, a.v);
        EXPECT_EQ(N(CBigInteger(W(t).c_str()).SquareRoot().ToString()), r.Text()) << t;
    }
}

TEST(DecimalOracle, ExactSumsProductsOrderAndCutQuotients)
{
    const unsigned limit = unsigned(CDecimal::GetMaxDecimalPlaces());
    ASSERT_EQ(limit, 30u);
    std::mt19937_64 rng(11235);
    int quotients = 0;
    for (int round = 0; round < 3000; ++round) {
        Operand a, b;
        MakeOperand(rng, 20, 12, a);
        MakeOperand(rng, round % 4 == 0 ? 2 : 18, round % 2 ? 8 : 12, b);
        CDecimal x(W(a.text).c_str()), y(W(b.text).c_str());
        SCOPED_TRACE(a.text + " ? " + b.text);
        ASSERT_EQ(N(x.ToString()), Format(a.digits, a.scale, false));
        const unsigned scale = a.scale > b.scale ? a.scale : b.scale;
        Z sa, sb, r;
        Rescale(sa, a.digits, a.scale, scale);
        Rescale(sb, b.digits, b.scale, scale);
        mpz_add(r.v, sa.v, sb.v);
        EXPECT_EQ(N((x + y).ToString()), Format(r, scale, false));
        mpz_sub(r.v, sa.v, sb.v);
        EXPECT_EQ(N((x - y).ToString()), Format(r, scale, false));
        mpz_mul(r.v, a.digits.v, b.digits.v);
        EXPECT_EQ(N((x * y).ToString()), Format(r, a.scale + b.scale, false));
        const int c = mpz_cmp(sa.v, sb.v);
        EXPECT_TRUE((x < y) == (c < 0) && (x > y) == (c > 0) && (x <= y) == (c <= 0) && (x >= y) == (c >= 0) &&
                    (x == y) == (c == 0));
        if (mpz_sgn(b.digits.v) == 0)
            continue;
        // t = trunc(a / b * 10^(limit + 2)), then the last two digits cut off with the rounding.
        Z t, q, rem, p;
        Rescale(sa, a.digits, 0, b.scale + limit + 2);
        Rescale(sb, b.digits, 0, a.scale);
        mpz_tdiv_q(t.v, sa.v, sb.v);
        mpz_tdiv_qr_ui(q.v, rem.v, t.v, 100);
        if (mpz_cmp_si(rem.v, 50) > 0)
            mpz_add_ui(q.v, q.v, 1);
        else if (mpz_cmp_si(rem.v, -50) < 0)
            mpz_sub_ui(q.v, q.v, 1);
        Pow10(p, limit);
        if (mpz_cmpabs_ui(rem.v, 50) > 0 && mpz_divisible_p(q.v, p.v))
            continue; // a carry that fills the fraction stays in it: a case of its own
        EXPECT_EQ(N((x / y).ToString()), Format(q, limit, mpz_sgn(rem.v) != 0));
        ++quotients;
    }
    EXPECT_GT(quotients, 2500);
}

TEST(DecimalOracle, PlacesLongAndLongLong)
{
    std::mt19937_64 rng(31337);
    for (int round = 0; round < 1500; ++round) {
        Operand a;
        MakeOperand(rng, 9, 10, a);
        const unsigned places = unsigned(rng() % 12);
        CDecimal x(W(a.text).c_str());
        SCOPED_TRACE(a.text + " places " + std::to_string(places));
        // ToString(places): a + sign(a) * 5 / 10^(places + 1), the fraction text then cut.
        const unsigned scale = a.scale > places + 1 ? a.scale : places + 1;
        Z y, half;
        Rescale(y, a.digits, a.scale, scale);
        Pow10(half, scale - places - 1);
        mpz_mul_ui(half.v, half.v, 5);
        (mpz_sgn(a.digits.v) < 0 ? mpz_sub : mpz_add)(y.v, y.v, half.v);
        std::string full = Format(y, scale, false);
        const size_t point = full.find('.');
        std::string fraction = point == std::string::npos ? "0" : full.substr(point + 1);
        fraction.resize(fraction.size() > places ? places : fraction.size());
        EXPECT_EQ(N(x.ToString(int32_t(places))), full.substr(0, point) + "." + fraction);
        // ToLongLong truncates; ToLong goes to the nearest, an exact half toward zero.
        Z p, q, rem, twice;
        Pow10(p, a.scale);
        mpz_tdiv_qr(q.v, rem.v, a.digits.v, p.v);
        EXPECT_EQ(x.ToLongLong(), mpz_get_si(q.v));
        mpz_mul_ui(twice.v, rem.v, 2);
        if (mpz_cmpabs(twice.v, p.v) > 0)
            (mpz_sgn(rem.v) > 0 ? mpz_add_ui : mpz_sub_ui)(q.v, q.v, 1);
        EXPECT_EQ(x.ToLong(), int32_t(mpz_get_si(q.v)));
    }
}

#endif // KVXML_TEST_HAVE_GMP
