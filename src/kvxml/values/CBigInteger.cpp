#include "kvxml/values/CBigInteger.h"

#include <cmath>
#include <utility>
#include <vector>

#include "kvxml/base/CKvException.h"
#include "kvxml/base/FormatString.h"
#include "kvxml/values/CDecimal.h"

namespace KvXmlLib16 {

namespace {

inline bool IsBlank(char16_t c) { return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r'; }
inline bool IsDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

// Number of zero digits at the low end of a (non-zero) digit vector.
size_t LowZeros(const std::u16string& d) {
    size_t k = 0;
    while (k < d.size() && d[k] == 0) ++k;
    return k;
}

} // namespace

// ---------------------------------------------------------------------------------------------
// Load-time constants: through the decimal parser, as any text the library reads.

const CBigInteger CBigInteger::MAX_LONG(CDecimal(u"2147483647"));
const CBigInteger CBigInteger::MIN_LONG(CDecimal(u"-2147483648"));
const CBigInteger CBigInteger::MAX_LONGLONG(CDecimal(u"9223372036854775807"));
const CBigInteger CBigInteger::MIN_LONGLONG(CDecimal(u"-9223372036854775808"));
const CBigInteger CBigInteger::MAX_DOUBLE(CDecimal(u"1.7E+308"));
const CBigInteger CBigInteger::MIN_DOUBLE(CDecimal(u"-1.7E+308"));

// ---------------------------------------------------------------------------------------------
// Construction

CBigInteger::CBigInteger() : m_sign(1), m_digits(1, char16_t(0)) {}

CBigInteger::CBigInteger(int32_t value) : m_sign(value < 0 ? -1 : 1) {
    // Absolute value formed as unsigned so that the smallest value does not overflow.
    Build(value < 0 ? 0u - uint32_t(value) : uint32_t(value), m_digits);
}

CBigInteger::CBigInteger(uint32_t value) : m_sign(1) { Build(value, m_digits); }

CBigInteger::CBigInteger(int64_t value) : m_sign(value < 0 ? -1 : 1) {
    BuildDWORDLONG(value < 0 ? 0ull - uint64_t(value) : uint64_t(value), m_digits);
}

CBigInteger::CBigInteger(uint64_t value) : m_sign(1) { BuildDWORDLONG(value, m_digits); }

CBigInteger::CBigInteger(double value) : m_sign(value < 0.0 ? -1 : 1) { BuildDouble(std::fabs(value), m_digits); }

CBigInteger::CBigInteger(const CDecimal& value) : CBigInteger(value.ToBigInteger()) {}

CBigInteger::CBigInteger(const char16_t* text) : m_sign(1), m_digits(1, char16_t(0)) { Parse(text); }

CBigInteger::CBigInteger(const CBigInteger& other) = default;
CBigInteger& CBigInteger::operator=(const CBigInteger& other) = default;
CBigInteger::~CBigInteger() = default;

CBigInteger::CBigInteger(int32_t sign, const Digits& digits) : m_sign(sign), m_digits(digits) {}
CBigInteger::CBigInteger(int32_t sign, Digits&& digits) : m_sign(sign), m_digits(std::move(digits)) {}

// ---------------------------------------------------------------------------------------------
// Text

void CBigInteger::Parse(const char16_t* text) {
    if (text == nullptr) text = u"";
    size_t length = 0;
    bool plain = true;
    for (; text[length] != 0; ++length) {
        char16_t c = text[length];
        if (!IsDigit(c) && c != u'-' && c != u'+' && !IsBlank(c)) plain = false;
    }
    if (!plain) {
        *this = CDecimal(text).ToBigInteger();
        return;
    }
    // Only spaces are stripped: any other blank, like a misplaced sign, ends the digits read from the end.
    size_t end = length;
    while (end > 0 && text[end - 1] == u' ') --end;
    size_t begin = 0;
    while (begin < end && text[begin] == u' ') ++begin;
    Digits digits;
    int32_t sign = 1;
    if (begin < end && text[begin] == u'-') {
        sign = -1;
        ++begin;
    }
    BuildFromText(text + begin, end - begin, digits);
    m_sign = sign;
    m_digits = std::move(digits);
}

std::u16string CBigInteger::ToString() const {
    if (IsZero()) return u"0";
    std::u16string s;
    s.reserve(m_digits.size() + 1);
    if (m_sign == -1) s.push_back(u'-');
    for (size_t i = m_digits.size(); i-- > 0;) s.push_back(char16_t(u'0' + m_digits[i]));
    return s;
}

// ---------------------------------------------------------------------------------------------
// Sign

CBigInteger CBigInteger::GetAbs() const { return CBigInteger(1, m_digits); }

CBigInteger CBigInteger::GetNegative() const { return CBigInteger(-m_sign, m_digits); }

CBigInteger& CBigInteger::operator-() {
    Negate();
    return *this;
}

// ---------------------------------------------------------------------------------------------
// Comparison

bool CBigInteger::operator==(const CBigInteger& other) const {
    if (m_digits != other.m_digits) return false;
    return IsZero() || m_sign == other.m_sign;
}

// Signs at face value: a zero with sign -1 is below a zero with sign +1.
bool CBigInteger::operator<(const CBigInteger& other) const {
    if (m_sign != other.m_sign) return m_sign < other.m_sign;
    return m_sign < 0 ? Compare(other.m_digits, m_digits) < 0 : Compare(m_digits, other.m_digits) < 0;
}

// ---------------------------------------------------------------------------------------------
// Arithmetic

// a + b with b's sign given apart, so that subtraction needs no negated copy.
CBigInteger CBigInteger::AddSigned(const CBigInteger& a, const CBigInteger& b, int32_t signB) {
    CBigInteger result;
    if (a.m_sign == signB) {
        Add(a.m_digits, b.m_digits, result.m_digits);
        result.m_sign = signB;
        return result;
    }
    int32_t c = Compare(a.m_digits, b.m_digits);
    if (c > 0) {
        Subtract(a.m_digits, b.m_digits, result.m_digits);
        result.m_sign = a.m_sign;
    } else if (c < 0) {
        Subtract(b.m_digits, a.m_digits, result.m_digits);
        result.m_sign = signB;
    }
    return result;
}

CBigInteger CBigInteger::operator+(const CBigInteger& other) const { return AddSigned(*this, other, other.m_sign); }
CBigInteger CBigInteger::operator-(const CBigInteger& other) const { return AddSigned(*this, other, -other.m_sign); }

CBigInteger CBigInteger::operator*(const CBigInteger& other) const {
    CBigInteger result;
    Multiply(m_digits, other.m_digits, result.m_digits);
    result.m_sign = m_sign * other.m_sign;
    return result;
}

// Both division operators share this: the zero tests have been made by the caller.
void CBigInteger::CheckedDivide(const CBigInteger& other, CBigInteger* quotient, CBigInteger* remainder) const {
    // Signs are taken first: a result may be this object itself.
    const int32_t quotientSign = m_sign == other.m_sign ? 1 : -1;
    const int32_t remainderSign = m_sign;
    Digits q, r;
    Divide(m_digits, other.m_digits, q, r);
    if (quotient) {
        quotient->m_digits = std::move(q);
        quotient->m_sign = quotientSign;
    }
    if (remainder) {
        remainder->m_digits = std::move(r);
        remainder->m_sign = remainderSign;
    }
}

CBigInteger CBigInteger::operator/(const CBigInteger& other) const {
    if (other.IsZero()) throw CKvInvalidValueException(u"ERROR: Overflow in operator/.");
    CBigInteger result;
    if (IsZero()) return result;
    CheckedDivide(other, &result, nullptr);
    return result;
}

CBigInteger CBigInteger::operator%(const CBigInteger& other) const {
    if (other.IsZero()) throw CKvInvalidValueException(u"ERROR: Overflow in operator%.");
    CBigInteger result;
    if (IsZero()) return result;
    CheckedDivide(other, nullptr, &result);
    return result;
}

CBigInteger& CBigInteger::operator+=(const CBigInteger& other) { return *this = *this + other; }
CBigInteger& CBigInteger::operator-=(const CBigInteger& other) { return *this = *this - other; }
CBigInteger& CBigInteger::operator*=(const CBigInteger& other) { return *this = *this * other; }

CBigInteger& CBigInteger::operator/=(const CBigInteger& other) {
    if (other.IsZero()) throw CKvInvalidValueException(u"ERROR: Overflow in operator /=.");
    return *this = *this / other;
}

CBigInteger& CBigInteger::operator%=(const CBigInteger& other) {
    if (other.IsZero()) throw CKvInvalidValueException(u"ERROR: Overflow in operator%=.");
    return *this = *this % other;
}

// ---------------------------------------------------------------------------------------------
// Conversions

CBigInteger::operator int32_t() const {
    if (*this < MIN_LONG || *this > MAX_LONG) throw CKvInvalidValueException(u"ERROR: Value out of bound of int.");
    // Summed toward the sign, so that the smallest value does not overflow.
    int64_t v = 0;
    for (size_t i = m_digits.size(); i-- > 0;) v = m_sign < 0 ? v * 10 - m_digits[i] : v * 10 + m_digits[i];
    return int32_t(v);
}

CBigInteger::operator int64_t() const {
    if (*this < MIN_LONGLONG || *this > MAX_LONGLONG)
        throw CKvInvalidValueException(u"ERROR: Value out of bound of LONGLONG.");
    int64_t v = 0;
    for (size_t i = m_digits.size(); i-- > 0;) v = m_sign < 0 ? v * 10 - m_digits[i] : v * 10 + m_digits[i];
    return v;
}

CBigInteger CBigInteger::SquareRoot() const {
    if (m_sign == -1) throw CKvInvalidValueException(u"ERROR: Negative Number in function SquareRoot().");
    const CBigInteger hundred(100);
    const CBigInteger ten(10);
    const CBigInteger two(2);
    const CBigInteger zero(0);
    // An initial guess above the root: 10 times 10 per two digits of the value.
    CBigInteger r = ten;
    CBigInteger x = *this;
    for (;;) {
        x = x / hundred;
        if (x > zero)
            r = r * ten;
        else
            break;
    }
    CBigInteger previous;
    do {
        previous = r;
        r = (r + *this / r) / two;
    } while (r < previous);
    return previous;
}

CBigInteger CBigInteger::Pow10(uint32_t exponent) {
    CBigInteger result;
    Pow10(exponent, result.m_digits);
    return result;
}

// ---------------------------------------------------------------------------------------------
// Digit-vector kernel

void CBigInteger::CheckSize(uint64_t digitCount) {
    if (digitCount > MAX_DIGITS)
        throw CKvInvalidValueException(
            FormatString(u"ERROR: Number too large, the limit is %u digits.", unsigned(MAX_DIGITS)));
}

void CBigInteger::Build(uint32_t value, Digits& out) { BuildDWORDLONG(value, out); }

void CBigInteger::BuildDWORDLONG(uint64_t value, Digits& out) {
    out.clear();
    do {
        out.push_back(char16_t(value % 10));
        value /= 10;
    } while (value != 0);
}

void CBigInteger::BuildDouble(double value, Digits& out) {
    out.clear();
    if (!std::isfinite(value))
        throw CKvInvalidValueException(u"ERROR: A big integer can not be built from a value that is not finite.");
    // Rounded with halves going down, then digits taken from the low end.
    double v = std::ceil(value - 0.5);
    if (v < 0.0) v = 0.0;
    if (v >= 9007199254740992.0) {
        // From 2^53 on, a division by ten in doubles is no longer exact: the value is an integer
        // there, its 53-bit mantissa times a power of two, and that product gives the exact digits.
        int exponent = 0;
        const double mantissa = std::frexp(v, &exponent);
        BuildDWORDLONG(uint64_t(std::ldexp(mantissa, 53)), out);
        for (int i = 53; i < exponent; ++i) Multiply(out, char16_t(2), out);
        return;
    }
    do {
        out.push_back(char16_t(std::fmod(v, 10.0)));
        std::modf(v / 10.0, &v);
    } while (v > 0.0);
}

void CBigInteger::Build(const std::u16string& text, Digits& out) { BuildFromText(text.data(), text.size(), out); }

void CBigInteger::BuildFromText(const char16_t* text, size_t length, Digits& out) {
    size_t start = length;
    while (start > 0 && IsDigit(text[start - 1])) --start;
    size_t count = length - start;
    if (count == 0) {
        out.assign(1, char16_t(0));
        return;
    }
    // High zeros are dropped before the size check, so padded text within the limit is fine.
    size_t firstSignificant = start;
    while (firstSignificant + 1 < length && text[firstSignificant] == u'0') ++firstSignificant;
    CheckSize(length - firstSignificant);
    out.resize(length - firstSignificant);
    for (size_t i = 0; i < out.size(); ++i) out[i] = char16_t(text[length - 1 - i] - u'0');
}

void CBigInteger::Clean(Digits& digits) {
    size_t n = digits.size();
    while (n > 1 && digits[n - 1] == 0) --n;
    if (n == 0)
        digits.assign(1, char16_t(0));
    else
        digits.resize(n);
}

int32_t CBigInteger::Compare(const Digits& a, const Digits& b) {
    if (a.size() != b.size()) return a.size() > b.size() ? 1 : -1;
    for (size_t i = a.size(); i-- > 0;) {
        if (a[i] != b[i]) return a[i] > b[i] ? 1 : -1;
    }
    return 0;
}

void CBigInteger::Add(const Digits& a, const Digits& b, Digits& out) {
    const Digits& longer = a.size() >= b.size() ? a : b;
    const Digits& shorter = a.size() >= b.size() ? b : a;
    Digits result;
    result.resize(longer.size() + 1);
    int carry = 0;
    size_t i = 0;
    for (; i < shorter.size(); ++i) {
        int v = longer[i] + shorter[i] + carry;
        carry = v > 9;
        result[i] = char16_t(carry ? v - 10 : v);
    }
    for (; i < longer.size(); ++i) {
        int v = longer[i] + carry;
        carry = v > 9;
        result[i] = char16_t(carry ? v - 10 : v);
    }
    if (carry) result[i++] = 1;
    result.resize(i);
    Clean(result);
    CheckSize(result.size());
    out = std::move(result);
}

void CBigInteger::Subtract(const Digits& a, const Digits& b, Digits& out) {
    Digits result = a;
    if (b.size() > result.size()) result.resize(b.size(), 0); // only reachable when the a >= b precondition is broken
    int borrow = 0;
    for (size_t i = 0; i < result.size() && (i < b.size() || borrow); ++i) {
        int v = int(result[i]) - (i < b.size() ? int(b[i]) : 0) - borrow;
        borrow = v < 0;
        result[i] = char16_t(v < 0 ? v + 10 : v);
    }
    Clean(result);
    out = std::move(result);
}

void CBigInteger::Multiply(const Digits& a, char16_t digit, Digits& out) {
    if (digit == 0) {
        out.assign(1, char16_t(0));
        return;
    }
    Digits result;
    result.resize(a.size() + 1);
    int carry = 0;
    for (size_t i = 0; i < a.size(); ++i) {
        int v = a[i] * digit + carry;
        carry = v / 10;
        result[i] = char16_t(v % 10);
    }
    if (carry)
        result[a.size()] = char16_t(carry);
    else
        result.resize(a.size());
    Clean(result);
    CheckSize(result.size());
    out = std::move(result);
}

void CBigInteger::Multiply(const Digits& a, const Digits& b, Digits& out) {
    if (IsZero(a) || IsZero(b)) {
        out.assign(1, char16_t(0));
        return;
    }
    CheckSize(uint64_t(a.size()) + b.size() - 1);
    // Low zeros of both operands only shift the product: multiply the rest, then shift once.
    size_t za = LowZeros(a), zb = LowZeros(b);
    Limbs la, lb, product;
    ToLimbs(a.data() + za, a.size() - za, la);
    ToLimbs(b.data() + zb, b.size() - zb, lb);
    MultiplyLimbs(la, lb, product);
    Digits result;
    FromLimbs(product, za + zb, result);
    CheckSize(result.size());
    out = std::move(result);
}

void CBigInteger::ShiftLeft(Digits& digits, int32_t count) {
    if (count < 1) return;
    CheckSize(uint64_t(digits.size()) + uint32_t(count));
    digits.insert(digits.begin(), size_t(count), char16_t(0));
}

int32_t CBigInteger::Position(const Digits& digits) { return digits.empty() ? 1 : int32_t(digits.size()); }

void CBigInteger::Pow10(uint32_t exponent, Digits& out) {
    CheckSize(uint64_t(exponent) + 1);
    out.assign(size_t(exponent) + 1, char16_t(0));
    out[exponent] = 1;
}

// Truncating division of magnitudes. Low zeros of the divisor are divided out first, and a
// divisor that is a power of ten needs no arithmetic at all; otherwise long division in groups of
// nine digits, without recursion, so that the stack stays flat for any length.
void CBigInteger::Divide(const Digits& a, const Digits& b, Digits& quotient, Digits& remainder) {
    if (IsZero(b)) throw CKvInvalidValueException(u"ERROR: Overflow in operator/.");
    if (Compare(a, b) < 0) {
        Digits r = a;
        quotient.assign(1, char16_t(0));
        remainder = std::move(r);
        return;
    }
    size_t shift = LowZeros(b);
    const char16_t* pa = a.data() + shift;
    size_t na = a.size() - shift; // a >= b, so a has more than `shift` digits
    Digits q, r;
    if (b.size() - shift == 1 && b[shift] == 1) {
        q.assign(pa, na);
        r.assign(1, char16_t(0));
    } else {
        Limbs la, lb, lq, lr;
        ToLimbs(pa, na, la);
        ToLimbs(b.data() + shift, b.size() - shift, lb);
        DivideLimbs(la, lb, lq, lr);
        FromLimbs(lq, 0, q);
        FromLimbs(lr, 0, r);
    }
    Clean(q);
    // The remainder gets back the low digits of a that were set aside.
    Digits rem;
    if (shift > 0) {
        rem.assign(a.data(), shift);
        rem.append(r);
    } else {
        rem = std::move(r);
    }
    Clean(rem);
    quotient = std::move(q);
    remainder = std::move(rem);
}

// ---------------------------------------------------------------------------------------------
// Groups of nine digits: the inner loops of multiplication and division work on these.

void CBigInteger::ToLimbs(const char16_t* digits, size_t count, Limbs& out) {
    out.assign((count + 8) / 9, 0);
    for (size_t k = 0; k < out.size(); ++k) {
        uint32_t v = 0;
        size_t low = k * 9;
        size_t high = low + 9 < count ? low + 9 : count;
        for (size_t i = high; i-- > low;) v = v * 10 + digits[i];
        out[k] = v;
    }
    while (out.size() > 1 && out.back() == 0) out.pop_back();
}

void CBigInteger::FromLimbs(const Limbs& limbs, size_t lowZeros, Digits& out) {
    out.assign(lowZeros + limbs.size() * 9, char16_t(0));
    char16_t* p = out.data() + lowZeros;
    for (uint32_t v : limbs) {
        for (int i = 0; i < 9; ++i) {
            *p++ = char16_t(v % 10);
            v /= 10;
        }
    }
    Clean(out);
}

void CBigInteger::MultiplyLimbs(const Limbs& a, const Limbs& b, Limbs& out) {
    const uint64_t base = kLimbBase;
    out.assign(a.size() + b.size(), 0);
    for (size_t j = 0; j < b.size(); ++j) {
        uint64_t factor = b[j];
        if (factor == 0) continue;
        uint64_t carry = 0;
        uint32_t* row = out.data() + j;
        for (size_t i = 0; i < a.size(); ++i) {
            uint64_t t = row[i] + a[i] * factor + carry; // < 10^18 + 2 * 10^9
            row[i] = uint32_t(t % base);
            carry = t / base;
        }
        for (size_t k = a.size(); carry != 0; ++k) {
            uint64_t t = row[k] + carry;
            row[k] = uint32_t(t % base);
            carry = t / base;
        }
    }
    while (out.size() > 1 && out.back() == 0) out.pop_back();
}

// Long division of a by b (no high zero limbs, b not zero), estimating each quotient limb from the
// leading limbs after scaling so that the divisor's top limb is at least half the base.
void CBigInteger::DivideLimbs(const Limbs& a, const Limbs& b, Limbs& quotient, Limbs& remainder) {
    const uint64_t base = kLimbBase;
    if (a.size() < b.size()) {
        quotient.assign(1, 0);
        remainder = a;
        return;
    }
    if (b.size() == 1) {
        uint64_t divisor = b[0], rest = 0;
        quotient.assign(a.size(), 0);
        for (size_t i = a.size(); i-- > 0;) {
            uint64_t cur = rest * base + a[i];
            quotient[i] = uint32_t(cur / divisor);
            rest = cur % divisor;
        }
        while (quotient.size() > 1 && quotient.back() == 0) quotient.pop_back();
        remainder.assign(1, uint32_t(rest));
        return;
    }
    const size_t n = b.size(), m = a.size() - n;
    const uint64_t scale = base / (uint64_t(b[n - 1]) + 1);
    auto scaled = [&](const Limbs& x, size_t size) {
        Limbs r(size, 0);
        uint64_t carry = 0;
        for (size_t i = 0; i < x.size(); ++i) {
            uint64_t t = x[i] * scale + carry;
            r[i] = uint32_t(t % base);
            carry = t / base;
        }
        if (x.size() < size) r[x.size()] = uint32_t(carry);
        return r;
    };
    Limbs u = scaled(a, a.size() + 1);
    Limbs v = scaled(b, n);
    const uint64_t vTop = v[n - 1], vNext = v[n - 2];
    quotient.assign(m + 1, 0);
    for (size_t j = m + 1; j-- > 0;) {
        uint64_t num = uint64_t(u[j + n]) * base + u[j + n - 1];
        uint64_t qhat = num / vTop, rhat = num % vTop;
        while (qhat >= base || qhat * vNext > rhat * base + u[j + n - 2]) {
            --qhat;
            rhat += vTop;
            if (rhat >= base) break;
        }
        if (qhat >= base) qhat = base - 1;
        // u[j .. j+n] -= qhat * v
        uint64_t carry = 0;
        int64_t borrow = 0;
        for (size_t i = 0; i < n; ++i) {
            uint64_t p = qhat * v[i] + carry;
            carry = p / base;
            int64_t t = int64_t(u[i + j]) - int64_t(p % base) - borrow;
            borrow = t < 0;
            u[i + j] = uint32_t(t < 0 ? t + int64_t(base) : t);
        }
        int64_t top = int64_t(u[j + n]) - int64_t(carry) - borrow;
        // An estimate one (rarely two) too high: add the divisor back.
        while (top < 0) {
            --qhat;
            uint64_t c = 0;
            for (size_t i = 0; i < n; ++i) {
                uint64_t t = uint64_t(u[i + j]) + v[i] + c;
                u[i + j] = uint32_t(t % base);
                c = t / base;
            }
            top += int64_t(c);
        }
        u[j + n] = uint32_t(top);
        quotient[j] = uint32_t(qhat);
    }
    while (quotient.size() > 1 && quotient.back() == 0) quotient.pop_back();
    // The remainder is the low part of u, scaled back.
    remainder.assign(n, 0);
    uint64_t rest = 0;
    for (size_t i = n; i-- > 0;) {
        uint64_t cur = rest * base + u[i];
        remainder[i] = uint32_t(cur / scale);
        rest = cur % scale;
    }
    while (remainder.size() > 1 && remainder.back() == 0) remainder.pop_back();
}

} // namespace KvXmlLib16
