// Big integer arithmetic checked against GMP, when the test program has it.

#ifdef KVXML_TEST_HAVE_GMP

#include <gtest/gtest.h>
#include <gmp.h>

#include <random>
#include <string>

#include "kvxml/values/CBigInteger.h"
#include "values/ValuesTestUtil.h"

using namespace KvXmlLib16;
using ValuesTest::N;
using ValuesTest::W;

namespace {

// A random run of up to maxLength digits, the first non-zero, or now and then a lone "0".
std::string RandomDigits(std::mt19937_64& rng, size_t maxLength) {
    if (rng() % 16 == 0) return "0";
    size_t length = 1 + rng() % maxLength;
    std::string s(1, char('1' + rng() % 9));
    while (s.size() < length) s.push_back(char('0' + rng() % 10));
    return s;
}

class Z {
public:
    Z() { mpz_init(v); }
    explicit Z(const std::string& text) { mpz_init_set_str(v, text.c_str(), 10); }
    Z(const Z&) = delete;
    Z& operator=(const Z&) = delete;
    ~Z() { mpz_clear(v); }
    std::string Text() const {
        std::string s(mpz_sizeinbase(v, 10) + 2, '\0');
        mpz_get_str(s.data(), 10, v);
        s.resize(s.find('\0'));
        return s;
    }
    mpz_t v;
};

// Shape 0: random digits. Shape 1: runs of few digit values, where quotient estimates land on
// their edges. Shape 2: low zeros and powers of ten, which division sets apart.
std::string IntegerOperand(std::mt19937_64& rng, int shape, size_t maxDigits) {
    std::string t;
    if (shape == 0) {
        t = RandomDigits(rng, maxDigits);
    } else if (shape == 1) {
        static const std::string alphabets[] = {"09", "0159", "9", "19", "05"};
        const std::string& a = alphabets[rng() % 5];
        size_t length = 1 + rng() % maxDigits;
        t.assign(1, a.back());
        while (t.size() < length) t.push_back(a[rng() % a.size()]);
    } else {
        t = rng() % 2 ? RandomDigits(rng, 20) + std::string(rng() % 25, '0') : "1" + std::string(rng() % 60, '0');
    }
    if (t.find_first_not_of('0') != std::string::npos && rng() % 2) t.insert(0, "-");
    return t;
}

} // namespace

TEST(BigIntegerOracle, AgreesWithGmp) {
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
        if (t == "0") continue;
        Z a(t), r;
        mpz_sqrt(r.v, a.v);
        EXPECT_EQ(N(CBigInteger(W(t).c_str()).SquareRoot().ToString()), r.Text()) << t;
    }
}

#endif // KVXML_TEST_HAVE_GMP
