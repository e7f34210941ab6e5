#include "kvxml/values/CDecimal.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <utility>

#include "kvxml/base/CKvException.h"
#include "kvxml/base/FormatString.h"

namespace KvXmlLib16 {

int32_t CDecimal::m_maxDivider = 30;

namespace {

inline bool IsBlank(char16_t c) { return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r'; }
inline bool IsDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

} // namespace

// 10 to a power given as a (possibly negative or huge) count of decimal places. A negative count
// can only come from a negative limit of decimal places and cannot be honoured.
static CBigInteger PowerOfTen(int64_t exponent) {
    if (exponent < 0)
        throw CKvInvalidValueException(FormatString(u"ERROR: Invalid number of decimal places %d.",
                                                    int(exponent < INT32_MIN ? INT32_MIN : exponent)));
    if (exponent >= int64_t(CBigInteger::MAX_DIGITS))
        throw CKvInvalidValueException(
            FormatString(u"ERROR: Number too large, the limit is %u digits.", unsigned(CBigInteger::MAX_DIGITS)));
    return CBigInteger::Pow10(uint32_t(exponent));
}

// ---------------------------------------------------------------------------------------------
// Construction

CDecimal::CDecimal() : m_integerPart(), m_fractionPart(), m_fractionDivider(1) {}
CDecimal::CDecimal(int32_t value) : m_integerPart(value), m_fractionPart(), m_fractionDivider(1) {}
CDecimal::CDecimal(int64_t value) : m_integerPart(value), m_fractionPart(), m_fractionDivider(1) {}
CDecimal::CDecimal(const CBigInteger& value) : m_integerPart(value), m_fractionPart(), m_fractionDivider(1) {}

CDecimal::CDecimal(double value) : CDecimal() {
    // "%.13f\n" in the C locale, whatever locale the application has chosen.
    char narrow[512];
    auto res = std::to_chars(narrow, narrow + sizeof(narrow) - 2, value, std::chars_format::fixed, 13);
    size_t n = res.ec == std::errc() ? size_t(res.ptr - narrow) : 0;
    narrow[n++] = '\n';
    char16_t wide[512];
    for (size_t i = 0; i < n; ++i) wide[i] = char16_t(static_cast<unsigned char>(narrow[i]));
    wide[n] = 0;
    Parse(wide);
}

CDecimal::CDecimal(const char16_t* text) : CDecimal() { Parse(text); }

CDecimal::CDecimal(const CBigInteger& integerPart, const CBigInteger& fractionPart, int32_t divider)
    : m_integerPart(integerPart), m_fractionPart(fractionPart), m_fractionDivider(divider) {}

CDecimal::CDecimal(const CDecimal& other) = default;
CDecimal& CDecimal::operator=(const CDecimal& other) = default;
CDecimal::~CDecimal() = default;

// ---------------------------------------------------------------------------------------------
// Scanner

void CDecimal::Parse(const char16_t* text) {
    if (text == nullptr) text = u"";
    char16_t integerDigits[MAX_INTEGER_DIGITS];
    char16_t fractionDigits[MAX_FRACTION_DIGITS];
    char16_t exponentDigits[MAX_EXPONENT_DIGITS];
    // Only the counted part is ever read; the first cells are set so the compiler can see that.
    integerDigits[0] = fractionDigits[0] = exponentDigits[0] = u'0';
    int32_t integerCount = 0, fractionCount = 0, exponentCount = 0;
    bool negative = false;
    bool exponentNegative = false;

    auto invalidChar = [text](size_t position) {
        return CKvInvalidValueException(FormatString(
            u"The string representing a Decimal, contained an invalid char at position %d [%s].", int(position), text));
    };
    auto tooManyDigits = [text](const char16_t* which, int32_t limit) {
        return CKvInvalidValueException(FormatString(
            u"The string representing a Decimal, has more than %d %s digits [%s].", int(limit), which, text));
    };

    size_t i = 0;
    // Integer digits; signs anywhere (the last wins) and blanks between digits.
    for (; text[i] != 0; ++i) {
        char16_t c = text[i];
        if (IsDigit(c)) {
            if (integerCount == MAX_INTEGER_DIGITS) throw tooManyDigits(u"integer", MAX_INTEGER_DIGITS);
            integerDigits[integerCount++] = c;
        } else if (c == u'-') {
            negative = true;
        } else if (c == u'+') {
            negative = false;
        } else if (IsBlank(c)) {
            continue;
        } else if (c == u'.' || c == u'e' || c == u'E') {
            break;
        } else {
            throw invalidChar(i);
        }
    }
    if (text[i] == u'.') {
        for (++i; text[i] != 0; ++i) {
            char16_t c = text[i];
            if (IsDigit(c)) {
                if (fractionCount == MAX_FRACTION_DIGITS) throw tooManyDigits(u"fraction", MAX_FRACTION_DIGITS);
                fractionDigits[fractionCount++] = c;
            } else if (!IsBlank(c)) {
                break;
            }
        }
    }
    if (text[i] == u'e' || text[i] == u'E') {
        for (++i; text[i] != 0; ++i) {
            char16_t c = text[i];
            if (c == u'-')
                exponentNegative = true;
            else if (c == u'+')
                exponentNegative = false;
            else if (!IsBlank(c))
                break;
        }
        // Unlike the stages before, a blank among or behind the exponent digits is an error.
        for (; text[i] != 0; ++i) {
            char16_t c = text[i];
            if (IsDigit(c)) {
                if (exponentCount == MAX_EXPONENT_DIGITS) throw tooManyDigits(u"exponent", MAX_EXPONENT_DIGITS);
                exponentDigits[exponentCount++] = c;
            } else if (IsBlank(c)) {
                throw invalidChar(i);
            } else {
                break;
            }
        }
    }
    if (text[i] != 0) throw invalidChar(i);
    CBigInteger::BuildFromText(integerDigits, size_t(integerCount), m_integerPart.m_digits);
    m_integerPart.m_sign = 1;
    CBigInteger::BuildFromText(fractionDigits, size_t(fractionCount), m_fractionPart.m_digits);
    m_fractionPart.m_sign = 1;
    m_fractionDivider = fractionCount > 0 ? fractionCount : 1;

    if (exponentCount > 0) {
        CBigInteger::Digits e;
        CBigInteger::BuildFromText(exponentDigits, size_t(exponentCount), e);
        uint64_t exponent = 0;
        if (e.size() <= 7) {
            for (size_t k = e.size(); k-- > 0;) exponent = exponent * 10 + e[k];
        }
        if (e.size() > 7 || exponent >= CBigInteger::MAX_DIGITS)
            throw CKvInvalidValueException(
                FormatString(u"The string representing a Decimal, has an exponent above %u [%s].",
                             unsigned(CBigInteger::MAX_DIGITS - 1), text));
        ShiftPoint(exponentNegative ? -int64_t(exponent) : int64_t(exponent));
    }
    if (negative) Negate();
    Rationalise();
    CutToLimit();
}

// ---------------------------------------------------------------------------------------------
// Scale

// Multiplies the (non-negative) value by 10 to the exponent by moving its digits, so that no
// intermediate is longer than the result: 1E999999 holds its million digits as CBigInteger does.
// A negative exponent keeps the places that a division would: the limit plus two, truncated.
void CDecimal::ShiftPoint(int64_t exponent) {
    // All digits, least significant first, the fraction padded to the divider's width.
    CBigInteger::Digits all(size_t(m_fractionDivider), char16_t(0));
    std::copy(m_fractionPart.m_digits.begin(), m_fractionPart.m_digits.end(), all.begin());
    all += m_integerPart.m_digits;
    int64_t scale = int64_t(m_fractionDivider) - exponent;
    if (exponent < 0) {
        const int64_t places = int64_t(m_maxDivider) + 2;
        if (places < 0) PowerOfTen(places); // refuses the limit, as the division does
        if (scale > places) {
            all.erase(0, size_t(std::min<int64_t>(scale - places, int64_t(all.size()))));
            scale = places;
        }
    }
    CBigInteger::Clean(all);
    m_integerPart = CBigInteger();
    m_fractionPart = CBigInteger();
    if (scale <= 0) {
        if (!CBigInteger::IsZero(all)) {
            CBigInteger::CheckSize(uint64_t(all.size()) + uint64_t(-scale));
            all.insert(size_t(0), size_t(-scale), char16_t(0));
        }
        m_integerPart.m_digits = std::move(all);
        m_fractionDivider = 1;
        return;
    }
    const size_t split = size_t(std::min<int64_t>(scale, int64_t(all.size())));
    m_fractionPart.m_digits.assign(all, 0, split);
    CBigInteger::Clean(m_fractionPart.m_digits);
    if (split < all.size()) m_integerPart.m_digits.assign(all, split, CBigInteger::Digits::npos);
    m_fractionDivider = int32_t(scale);
}

// Drops trailing zeros of the fraction, one digit at a time, keeping at least one digit of the
// fraction written to the divider's width.
void CDecimal::Rationalise() {
    if (m_fractionPart.IsZero()) {
        if (m_fractionDivider > 1) {
            // Dividing a zero gives a plain zero with sign +1.
            m_fractionPart = CBigInteger();
            m_fractionDivider = 1;
        }
        return;
    }
    CBigInteger::Digits& d = m_fractionPart.m_digits;
    size_t zeros = 0;
    while (zeros < d.size() && d[zeros] == 0) ++zeros;
    if (zeros > 0) {
        d.erase(0, zeros);
        m_fractionDivider -= int32_t(zeros);
    }
}

void CDecimal::ChangeFractionalDivider(int32_t divider) {
    int64_t current = m_fractionDivider;
    if (divider >= current) {
        if (divider > current) m_fractionPart = m_fractionPart * PowerOfTen(int64_t(divider) - current);
        m_fractionDivider = divider;
        return;
    }
    CBigInteger p = PowerOfTen(current - divider);
    CBigInteger remainder;
    if (m_fractionPart.IsZero()) {
        m_fractionPart = CBigInteger(); // as a division of zero gives
    } else {
        m_fractionPart.CheckedDivide(p, &m_fractionPart, &remainder);
    }
    m_fractionDivider = divider;
    // Nearest, an exact half dropped: ties go toward zero.
    CBigInteger half = p / CBigInteger(2);
    int carry = 0;
    if (remainder > half)
        carry = 1;
    else if (remainder < half.GetNegative())
        carry = -1;
    if (carry == 0) return;
    if (divider == 0) {
        m_integerPart += CBigInteger(carry);
        return;
    }
    // No carry into the integer part: a fraction that reaches 10^divider stays so.
    m_fractionPart += CBigInteger(carry);
    RepairSigns(PowerOfTen(divider));
    if (m_integerPart == CBigInteger()) m_integerPart.m_sign = m_fractionPart.m_sign;
}

void CDecimal::RepairSigns(const CBigInteger& unit) {
    static const CBigInteger zero;
    static const CBigInteger one(1);
    if (m_integerPart > zero && m_fractionPart < zero) {
        m_fractionPart += unit;
        m_integerPart -= one;
    }
    if (m_integerPart < zero && m_fractionPart > zero) {
        m_fractionPart -= unit;
        m_integerPart += one;
    }
}

int32_t CDecimal::Normalize(CDecimal& a, CDecimal& b) {
    if (a.m_fractionDivider < b.m_fractionDivider)
        a.ChangeFractionalDivider(b.m_fractionDivider);
    else if (b.m_fractionDivider < a.m_fractionDivider)
        b.ChangeFractionalDivider(a.m_fractionDivider);
    return a.m_fractionDivider;
}

int32_t CDecimal::Align(const CDecimal& x, const CDecimal& y, CDecimal& scratchX, CDecimal& scratchY,
                        const CDecimal*& a, const CDecimal*& b) {
    a = &x;
    b = &y;
    if (x.m_fractionDivider == y.m_fractionDivider) return x.m_fractionDivider;
    scratchX = x;
    scratchY = y;
    a = &scratchX;
    b = &scratchY;
    return Normalize(scratchX, scratchY);
}

void CDecimal::CutToLimit() {
    if (m_fractionDivider > m_maxDivider) ChangeFractionalDivider(m_maxDivider);
}

// ---------------------------------------------------------------------------------------------
// Text

std::u16string CDecimal::FractionText() const {
    const CBigInteger::Digits& d = m_fractionPart.m_digits;
    size_t width = m_fractionDivider > 0 ? size_t(m_fractionDivider) : 0;
    size_t n = d.empty() ? 1 : d.size();
    std::u16string s;
    s.reserve(width > n ? width : n);
    if (width > n) s.append(width - n, u'0');
    if (d.empty()) s.push_back(u'0');
    for (size_t i = d.size(); i-- > 0;) s.push_back(char16_t(u'0' + d[i]));
    return s;
}

std::u16string CDecimal::ToString() const {
    if (m_fractionPart.IsZero()) return m_integerPart.ToString();
    std::u16string s;
    if (m_integerPart.m_sign == -1) s.push_back(u'-');
    s += m_integerPart.GetAbs().ToString();
    s.push_back(u'.');
    s += FractionText();
    return s;
}

std::u16string CDecimal::ToString(int32_t decimalPlaces) const {
    size_t places = decimalPlaces > 0 ? size_t(decimalPlaces) : 0;
    // Half a unit of the last place, with the sign of this value, as the text "0.005" (for two
    // places) would read: ties go away from zero, and the limit of places may cut the half away.
    CBigInteger zero, five(5);
    if (m_integerPart.m_sign == -1) {
        zero.Negate();
        five.Negate();
    }
    const int64_t halfDivider = int64_t(places) + 1;
    CDecimal rounded(zero, five, 1);
    if (halfDivider > m_maxDivider && m_maxDivider >= 0) {
        // Cut to the limit: a lone 5 one place or more behind it is dropped, a tie at most.
        rounded.m_fractionPart = zero;
        rounded.m_fractionDivider = m_maxDivider;
    } else {
        rounded.m_fractionDivider = int32_t(halfDivider < INT32_MAX ? halfDivider : INT32_MAX);
        rounded.CutToLimit(); // only a negative limit cuts here
    }
    rounded = rounded + *this;

    std::u16string fraction = rounded.FractionText();
    if (fraction.size() > places) fraction.resize(places);
    std::u16string s;
    if (rounded.m_integerPart.m_sign == -1) s.push_back(u'-');
    s += rounded.m_integerPart.GetAbs().ToString();
    s.push_back(u'.');
    s += fraction;
    return s;
}

// ---------------------------------------------------------------------------------------------
// Conversions

int32_t CDecimal::ToLong() const {
    CDecimal copy(*this);
    copy.ChangeFractionalDivider(0);
    if (copy.m_integerPart < CBigInteger::MIN_LONG || copy.m_integerPart > CBigInteger::MAX_LONG)
        throw CKvOverFlowException(u"The Decimal value if to large to fit into a LONG");
    return int32_t(copy.m_integerPart);
}

int64_t CDecimal::ToLongLong() const {
    // Divider 1, not 0: only the integer part is read, so the value is in effect truncated.
    CDecimal copy(*this);
    copy.ChangeFractionalDivider(1);
    if (copy.m_integerPart < CBigInteger::MIN_LONGLONG || copy.m_integerPart > CBigInteger::MAX_LONGLONG)
        throw CKvOverFlowException(u"The Decimal value if to large to fit into a LONGLONG");
    return int64_t(copy.m_integerPart);
}

double CDecimal::ToDouble() const {
    if (m_integerPart < CBigInteger::MIN_DOUBLE || m_integerPart > CBigInteger::MAX_DOUBLE)
        throw CKvOverFlowException(u"The Decimal value if to large to fit into a Double");
    std::u16string text = ToString();
    std::string narrow(text.size(), '\0');
    for (size_t i = 0; i < text.size(); ++i) narrow[i] = char(text[i]);
    double value = 0.0;
    std::from_chars(narrow.data(), narrow.data() + narrow.size(), value);
    return value;
}

CBigInteger CDecimal::ToBigInteger() const {
    CDecimal copy(*this);
    copy.ChangeFractionalDivider(0);
    return copy.m_integerPart;
}

CDecimal CDecimal::GetNegative() const {
    CDecimal copy(*this);
    copy.Negate();
    return copy;
}

void CDecimal::Negate() {
    m_integerPart.Negate();
    m_fractionPart.Negate();
}

// ---------------------------------------------------------------------------------------------
// Arithmetic

CDecimal CDecimal::operator+(const CDecimal& other) const {
    CDecimal scratchA, scratchB;
    const CDecimal *pa, *pb;
    int32_t divider = Align(*this, other, scratchA, scratchB, pa, pb);
    const CDecimal& a = *pa;
    const CDecimal& b = *pb;
    CBigInteger unit = PowerOfTen(divider);
    CBigInteger unitNegative = unit.GetNegative();
    static const CBigInteger one(1);
    CDecimal r(a.m_integerPart + b.m_integerPart, a.m_fractionPart + b.m_fractionPart, divider);
    while (r.m_fractionPart >= unit) {
        r.m_fractionPart -= unit;
        r.m_integerPart += one;
    }
    while (r.m_fractionPart <= unitNegative) {
        r.m_fractionPart += unit;
        r.m_integerPart -= one;
    }
    r.RepairSigns(unit);
    if (r.m_integerPart == CBigInteger()) r.m_integerPart.m_sign = r.m_fractionPart.m_sign;
    r.Rationalise();
    return r;
}

CDecimal CDecimal::operator-(const CDecimal& other) const { return *this + other.GetNegative(); }

CDecimal CDecimal::operator*(const CDecimal& other) const {
    CDecimal scratchA, scratchB;
    const CDecimal *pa, *pb;
    int32_t divider = Align(*this, other, scratchA, scratchB, pa, pb);
    const CDecimal& a = *pa;
    const CDecimal& b = *pb;
    CBigInteger p = PowerOfTen(divider);
    CBigInteger q = PowerOfTen(2 * int64_t(divider));
    // ia*ib*Q + ia*fb*P + fa*ib*P + fa*fb, factored into one product of the scaled values.
    CBigInteger t = (a.m_integerPart * p + a.m_fractionPart) * (b.m_integerPart * p + b.m_fractionPart);
    CDecimal r(t / q, t % q, 2 * divider);
    r.Rationalise();
    r.CutToLimit();
    return r;
}

CDecimal CDecimal::operator/(const CDecimal& other) const {
    CDecimal scratchA, scratchB;
    const CDecimal *pa, *pb;
    int32_t divider = Align(*this, other, scratchA, scratchB, pa, pb);
    const CDecimal& a = *pa;
    const CDecimal& b = *pb;
    int64_t places = int64_t(m_maxDivider) + 2;
    CBigInteger p = PowerOfTen(divider);
    CBigInteger m = PowerOfTen(places);
    CBigInteger n = (a.m_integerPart * p + a.m_fractionPart) * m;
    CBigInteger v = b.m_integerPart * p + b.m_fractionPart;
    CBigInteger t = n / v;
    CDecimal r(t / m, t % m, int32_t(places));
    r.Rationalise();
    r.CutToLimit();
    return r;
}

CDecimal& CDecimal::operator+=(const CDecimal& other) { return *this = *this + other; }
CDecimal& CDecimal::operator-=(const CDecimal& other) { return *this = *this - other; }
CDecimal& CDecimal::operator*=(const CDecimal& other) { return *this = *this * other; }
CDecimal& CDecimal::operator/=(const CDecimal& other) { return *this = *this / other; }

CDecimal& CDecimal::operator++() { return *this = *this + CDecimal(1); }

CDecimal CDecimal::operator++(int) {
    CDecimal before(*this);
    *this = *this + CDecimal(1);
    return before;
}

CDecimal& CDecimal::operator--() { return *this = *this - CDecimal(1); }

CDecimal CDecimal::operator--(int) {
    CDecimal before(*this);
    *this = *this - CDecimal(1);
    return before;
}

// ---------------------------------------------------------------------------------------------
// Comparison: both brought to one divider; a zero integer part counts by its sign.

bool CDecimal::operator==(const CDecimal& other) const {
    CDecimal scratchA, scratchB;
    const CDecimal *pa, *pb;
    Align(*this, other, scratchA, scratchB, pa, pb);
    const CDecimal& a = *pa;
    const CDecimal& b = *pb;
    return a.m_integerPart == b.m_integerPart && a.m_fractionPart == b.m_fractionPart;
}

bool CDecimal::operator!=(const CDecimal& other) const { return !(*this == other); }

// Integer parts first, by the order of CBigInteger (a zero counts by its sign), then fractions.
int32_t CDecimal::Compare(const CDecimal& x, const CDecimal& y) {
    CDecimal scratchA, scratchB;
    const CDecimal *pa, *pb;
    Align(x, y, scratchA, scratchB, pa, pb);
    const CDecimal& a = *pa;
    const CDecimal& b = *pb;
    if (a.m_integerPart < b.m_integerPart) return -1;
    if (b.m_integerPart < a.m_integerPart) return 1;
    if (a.m_fractionPart < b.m_fractionPart) return -1;
    return b.m_fractionPart < a.m_fractionPart ? 1 : 0;
}

} // namespace KvXmlLib16
