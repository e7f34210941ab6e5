// Arithmetic of CBigInteger checked against GMP, when the test program has it.

#ifdef KVXML_TEST_HAVE_GMP

#include <gtest/gtest.h>
#include <gmp.h>

#include <random>
#include <string>

#include "kvxml/values/CBigInteger.h"
#include "values/BigNumTestUtil.h"

using namespace KvXmlLib16;
using BigNumTest::N;
using BigNumTest::RandomDigits;
using BigNumTest::W;

namespace {

// A random signed operand of up to maxDigits digits; zero never carries a sign.
std::string RandomOperand(std::mt19937_64& rng, size_t maxDigits)
{
    std::string digits = RandomDigits(rng, maxDigits);
    if (digits != "0" && rng() % 2)
        return "-" + digits;
    return digits;
}

// Holder of a GMP integer with its text.
class Mpz {
public:
    Mpz() { mpz_init(m_v); }
    explicit Mpz(const std::string& text) { mpz_init_set_str(m_v, text.c_str(), 10); }
    Mpz(const Mpz&) = delete;
    Mpz& operator=(const Mpz&) = delete;
    ~Mpz() { mpz_clear(m_v); }
    mpz_t& v() { return m_v; }
    std::string Text() const
    {
        char* p = mpz_get_str(nullptr, 10, m_v);
        std::string s(p);
        void (*freeFunction)(void*, size_t);
        mp_get_memory_functions(nullptr, nullptr, &freeFunction);
        freeFunction(p, s.size() + 1);
        return s;
    }

private:
    mpz_t m_v;
};

} // namespace

TEST(BigIntegerOracle, AgreesWithGmpOnLongOperands)
{
    std::mt19937_64 rng(424242);
    for (int round = 0; round < 2500; ++round) {
        std::string ta = RandomOperand(rng, 150);
        // Divisors of every length relative to the dividend, short ones often.
        std::string tb = RandomOperand(rng, rng() % 2 ? 12 : 150);
        CBigInteger x(W(ta).c_str()), y(W(tb).c_str());
        Mpz a(ta), b(tb), r;
        SCOPED_TRACE(ta + " ? " + tb);

        mpz_add(r.v(), a.v(), b.v());
        EXPECT_EQ(N((x + y).ToString()), r.Text());
        mpz_sub(r.v(), a.v(), b.v());
        EXPECT_EQ(N((x - y).ToString()), r.Text());
        mpz_mul(r.v(), a.v(), b.v());
        EXPECT_EQ(N((x * y).ToString()), r.Text());
        if (mpz_sgn(b.v()) != 0) {
            mpz_tdiv_q(r.v(), a.v(), b.v());
            EXPECT_EQ(N((x / y).ToString()), r.Text());
            mpz_tdiv_r(r.v(), a.v(), b.v());
            EXPECT_EQ(N((x % y).ToString()), r.Text());
        }
        int c = mpz_cmp(a.v(), b.v());
        EXPECT_EQ(x < y, c < 0);
        EXPECT_EQ(x > y, c > 0);
        EXPECT_EQ(x <= y, c <= 0);
        EXPECT_EQ(x >= y, c >= 0);
        EXPECT_EQ(x == y, c == 0);
        EXPECT_EQ(x != y, c != 0);
        CBigInteger s = x;
        s += y;
        s -= y;
        EXPECT_EQ(s, x);
        if (mpz_sgn(b.v()) != 0) {
            CBigInteger q = x, r = x;
            q /= y;
            r %= y;
            EXPECT_EQ(q * y + r, x);
        }
    }
}

TEST(BigIntegerOracle, DivisorsWithLowZerosAndPowersOfTen)
{
    // Low zeros of the divisor are divided out separately: check the remainder keeps them.
    std::mt19937_64 rng(777);
    for (int round = 0; round < 600; ++round) {
        std::string ta = RandomOperand(rng, 80);
        std::string tb = RandomDigits(rng, 20) + std::string(rng() % 25, '0');
        if (round % 3 == 0)
            tb = "1" + std::string(rng() % 60, '0');
        CBigInteger x(W(ta).c_str()), y(W(tb).c_str());
        Mpz a(ta), b(tb), r;
        if (mpz_sgn(b.v()) == 0)
            continue;
        SCOPED_TRACE(ta + " / " + tb);
        mpz_tdiv_q(r.v(), a.v(), b.v());
        EXPECT_EQ(N((x / y).ToString()), r.Text());
        mpz_tdiv_r(r.v(), a.v(), b.v());
        EXPECT_EQ(N((x % y).ToString()), r.Text());
        mpz_mul(r.v(), a.v(), b.v());
        EXPECT_EQ(N((x * y).ToString()), r.Text());
    }
}

TEST(BigIntegerOracle, DivisionOnRunsOfNinesAndZeros)
{
    // Digits drawn from few values make the estimates of long division land on their edges
    // (quotient groups one too high, divisors with a small leading group).
    const char* alphabets[] = {"09", "0159", "9", "19", "05"};
    std::mt19937_64 rng(5150);
    for (int round = 0; round < 4000; ++round) {
        const std::string alphabet = alphabets[round % 5];
        auto make = [&](size_t maxLength) {
            size_t length = 1 + rng() % maxLength;
            // The first digit is never 0: every alphabet ends in a non-zero digit.
            std::string t(1, alphabet.back());
            while (t.size() < length)
                t.push_back(alphabet[rng() % alphabet.size()]);
            return t;
        };
        std::string ta = make(120), tb = make(round % 2 ? 40 : 19);
        if (tb.find_first_not_of('0') == std::string::npos)
            continue;
        CBigInteger x(W(ta).c_str()), y(W(tb).c_str());
        Mpz a(ta), b(tb), r;
        SCOPED_TRACE(ta + " / " + tb);
        mpz_tdiv_q(r.v(), a.v(), b.v());
        EXPECT_EQ(N((x / y).ToString()), r.Text());
        mpz_tdiv_r(r.v(), a.v(), b.v());
        EXPECT_EQ(N((x % y).ToString()), r.Text());
        mpz_mul(r.v(), a.v(), b.v());
        EXPECT_EQ(N((x * y).ToString()), r.Text());
    }
}

TEST(BigIntegerOracle, SquareRootAgreesWithGmp)
{
    std::mt19937_64 rng(99);
    for (int round = 0; round < 300; ++round) {
        std::string t = RandomDigits(rng, 90);
        if (t == "0")
            continue;
        Mpz a(t), r;
        mpz_sqrt(r.v(), a.v());
        EXPECT_EQ(N(CBigInteger(W(t).c_str()).SquareRoot().ToString()), r.Text()) << t;
    }
}

#endif // KVXML_TEST_HAVE_GMP
