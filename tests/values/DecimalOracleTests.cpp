// CDecimal arithmetic checked against GMP integers scaled by powers of ten, with the rounding
// model of the class written out independently: exact sums and products, quotients truncated two
// places past the limit and then cut to it with ties toward zero.

#ifdef KVXML_TEST_HAVE_GMP

#include <gtest/gtest.h>
#include <gmp.h>

#include <random>
#include <string>

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

// A decimal operand: its text, and its value as digits / 10^scale.
struct Operand {
    std::string text;
    Z digits;
    unsigned scale = 0;
};

void MakeOperand(std::mt19937_64& rng, size_t maxInteger, size_t maxFraction, Operand& out)
{
    std::string integer = RandomDigits(rng, maxInteger);
    std::string fraction;
    size_t fractionLength = rng() % (maxFraction + 1);
    for (size_t i = 0; i < fractionLength; ++i)
        fraction.push_back(char('0' + rng() % 10));
    std::string all = integer + fraction;
    bool zero = all.find_first_not_of('0') == std::string::npos;
    bool negative = !zero && rng() % 2;
    out.text = (negative ? "-" : "") + integer + (fraction.empty() ? "" : "." + fraction);
    mpz_set_str(out.digits.v, ((negative ? "-" : "") + all).c_str(), 10);
    out.scale = unsigned(fraction.size());
}

void Pow10(Z& out, unsigned n) { mpz_ui_pow_ui(out.v, 10, n); }

// The text of value / 10^scale: trailing fraction zeros removed unless keepScale, and no fraction
// at all when it is zero.
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
        if (mpz_sgn(value.v) < 0)
            text.insert(0, "-");
    } else if (mpz_sgn(value.v) < 0 && mpz_sgn(integer.v) != 0) {
        text.insert(0, "-");
    }
    return text;
}

// value * 10^(to - from)
void Rescale(Z& out, const Z& value, unsigned from, unsigned to)
{
    Z p;
    Pow10(p, to - from);
    mpz_mul(out.v, value.v, p.v);
}

} // namespace

TEST(DecimalOracle, ExactSumsProductsAndOrder)
{
    ASSERT_EQ(CDecimal::GetMaxDecimalPlaces(), 30);
    std::mt19937_64 rng(11235);
    for (int round = 0; round < 3000; ++round) {
        Operand a, b;
        MakeOperand(rng, 20, 12, a);
        MakeOperand(rng, round % 4 == 0 ? 3 : 20, 12, b);
        CDecimal x(W(a.text).c_str()), y(W(b.text).c_str());
        SCOPED_TRACE(a.text + " ? " + b.text);
        ASSERT_EQ(N(x.ToString()), Format(a.digits, a.scale, false));

        unsigned scale = a.scale > b.scale ? a.scale : b.scale;
        Z sa, sb, r;
        Rescale(sa, a.digits, a.scale, scale);
        Rescale(sb, b.digits, b.scale, scale);
        mpz_add(r.v, sa.v, sb.v);
        EXPECT_EQ(N((x + y).ToString()), Format(r, scale, false));
        mpz_sub(r.v, sa.v, sb.v);
        EXPECT_EQ(N((x - y).ToString()), Format(r, scale, false));
        mpz_mul(r.v, a.digits.v, b.digits.v);
        EXPECT_EQ(N((x * y).ToString()), Format(r, a.scale + b.scale, false));

        int c = mpz_cmp(sa.v, sb.v);
        EXPECT_EQ(x < y, c < 0);
        EXPECT_EQ(x > y, c > 0);
        EXPECT_EQ(x <= y, c <= 0);
        EXPECT_EQ(x >= y, c >= 0);
        EXPECT_EQ(x == y, c == 0);
    }
}

TEST(DecimalOracle, QuotientsTruncatedThenCutWithTiesTowardZero)
{
    const unsigned limit = unsigned(CDecimal::GetMaxDecimalPlaces());
    std::mt19937_64 rng(8128);
    int checked = 0;
    for (int round = 0; round < 3000; ++round) {
        Operand a, b;
        MakeOperand(rng, 20, 12, a);
        MakeOperand(rng, round % 3 == 0 ? 2 : 15, 8, b);
        if (mpz_sgn(b.digits.v) == 0)
            continue;
        CDecimal x(W(a.text).c_str()), y(W(b.text).c_str());
        SCOPED_TRACE(a.text + " / " + b.text);

        // t = trunc(a / b * 10^(limit + 2))
        Z numerator, denominator, t, q, rem, p;
        Rescale(numerator, a.digits, 0, b.scale + limit + 2);
        Rescale(denominator, b.digits, 0, a.scale);
        mpz_tdiv_q(t.v, numerator.v, denominator.v);
        mpz_tdiv_qr_ui(q.v, rem.v, t.v, 100);
        std::string expected;
        if (mpz_sgn(rem.v) == 0) {
            expected = Format(q, limit, false); // exact within the limit
        } else {
            if (mpz_cmp_si(rem.v, 50) > 0)
                mpz_add_ui(q.v, q.v, 1);
            else if (mpz_cmp_si(rem.v, -50) < 0)
                mpz_sub_ui(q.v, q.v, 1);
            Pow10(p, limit);
            if (mpz_divisible_p(q.v, p.v) && mpz_sgn(rem.v) != 0 && (mpz_cmpabs_ui(rem.v, 50) > 0))
                continue; // a carry that fills the fraction stays in it: checked on its own elsewhere
            expected = Format(q, limit, true);
        }
        EXPECT_EQ(N((x / y).ToString()), expected);
        ++checked;
    }
    EXPECT_GT(checked, 2500);
}

TEST(DecimalOracle, PlacesRoundHalfAwayFromZero)
{
    std::mt19937_64 rng(31337);
    for (int round = 0; round < 1500; ++round) {
        Operand a;
        MakeOperand(rng, 12, 10, a);
        unsigned places = unsigned(rng() % 12);
        CDecimal x(W(a.text).c_str());
        SCOPED_TRACE(a.text + " places " + std::to_string(places));

        // y = a + sign(a) * 5 / 10^(places + 1), then the fraction text cut to places.
        unsigned scale = a.scale > places + 1 ? a.scale : places + 1;
        Z y, half;
        Rescale(y, a.digits, a.scale, scale);
        Pow10(half, scale - places - 1);
        mpz_mul_ui(half.v, half.v, 5);
        if (mpz_sgn(a.digits.v) < 0)
            mpz_sub(y.v, y.v, half.v);
        else
            mpz_add(y.v, y.v, half.v);
        std::string full = Format(y, scale, false);
        std::string sign = full[0] == '-' ? "-" : "";
        if (!sign.empty())
            full.erase(0, 1);
        size_t point = full.find('.');
        std::string integer = full.substr(0, point);
        std::string fraction = point == std::string::npos ? "0" : full.substr(point + 1);
        if (fraction.size() > places)
            fraction.resize(places);
        EXPECT_EQ(N(x.ToString(int32_t(places))), sign + integer + "." + fraction);
    }
}

TEST(DecimalOracle, LongRoundsAndLongLongTruncates)
{
    std::mt19937_64 rng(4711);
    for (int round = 0; round < 1500; ++round) {
        Operand a;
        MakeOperand(rng, 9, 4, a);
        CDecimal x(W(a.text).c_str());
        SCOPED_TRACE(a.text);
        Z p, q, rem, twice;
        Pow10(p, a.scale);
        mpz_tdiv_qr(q.v, rem.v, a.digits.v, p.v);
        EXPECT_EQ(x.ToLongLong(), mpz_get_si(q.v));
        // Nearest, an exact half toward zero.
        mpz_mul_ui(twice.v, rem.v, 2);
        if (mpz_cmpabs(twice.v, p.v) > 0)
            mpz_sgn(rem.v) > 0 ? mpz_add_ui(q.v, q.v, 1) : mpz_sub_ui(q.v, q.v, 1);
        EXPECT_EQ(x.ToLong(), int32_t(mpz_get_si(q.v)));
    }
}

#endif // KVXML_TEST_HAVE_GMP
