#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "kvxml/platform/KvExport.h"

namespace KvXmlLib16 {

class CDecimal;

// Arbitrary-precision integer kept in base 10, one digit per element, least significant first,
// so that reading and writing text needs no base conversion. Arithmetic is school arithmetic.
//
// Zero is the single digit 0 and may carry the sign -1 (Negate, operator/ and operator* leave it);
// ToString shows it as "0" and operator== treats it as zero, but operator< takes the sign at face value.
//
// Size limit: no magnitude may exceed MAX_DIGITS (one million) decimal digits. Text, exponents and
// operations whose result would be longer fail with CKvInvalidValueException
// ("ERROR: Number too large, the limit is 1000000 digits.") before any memory is taken for it,
// so absurd input such as 10 to the power 999999999 cannot exhaust memory or run for minutes.
class KVXML_API CBigInteger {
public:
    static constexpr uint32_t MAX_DIGITS = 1000000;

    // Built at load time from text through the decimal parser.
    static const CBigInteger MAX_LONG;
    static const CBigInteger MIN_LONG;
    static const CBigInteger MAX_LONGLONG;
    static const CBigInteger MIN_LONGLONG;
    static const CBigInteger MAX_DOUBLE;
    static const CBigInteger MIN_DOUBLE;

    CBigInteger();
    CBigInteger(int32_t value);
    CBigInteger(uint32_t value);
    CBigInteger(int64_t value);
    CBigInteger(uint64_t value);
    // Rounded first with ceil(value - 0.5): halves go down; the digits are those of the binary value.
    // A NaN or an infinity is rejected.
    CBigInteger(double value);
    // The decimal cut to no fraction digits, with the decimal's rounding.
    CBigInteger(const CDecimal& value);
    CBigInteger(const char16_t* text);
    CBigInteger(const CBigInteger& other);
    // Moves are inline: values read into objects pass through a few of them each.
    CBigInteger(CBigInteger&& other) noexcept = default;
    CBigInteger& operator=(const CBigInteger& other);
    CBigInteger& operator=(CBigInteger&& other) noexcept = default;
    virtual ~CBigInteger();

    // A text of only digits, signs and blanks is read leniently: the last run of digits counts and a
    // misplaced sign or blank silently ends it ("12-34" is 34). Any other text goes to the decimal parser.
    void Parse(const char16_t* text);
    std::u16string ToString() const;

    void Abs() { m_sign = 1; }
    CBigInteger GetAbs() const;
    void Negate() { m_sign = -m_sign; }
    CBigInteger GetNegative() const;
    // Negates this value in place and returns it; no copy is made.
    CBigInteger& operator-();

    bool operator==(const CBigInteger& other) const;
    bool operator!=(const CBigInteger& other) const { return !(*this == other); }
    bool operator<(const CBigInteger& other) const;
    bool operator>(const CBigInteger& other) const { return other < *this; }
    bool operator<=(const CBigInteger& other) const { return !(other < *this); }
    bool operator>=(const CBigInteger& other) const { return !(*this < other); }

    CBigInteger operator+(const CBigInteger& other) const;
    CBigInteger operator-(const CBigInteger& other) const;
    CBigInteger operator*(const CBigInteger& other) const;
    // Truncates toward zero; the quotient's sign is the product of the signs, also for a zero quotient.
    CBigInteger operator/(const CBigInteger& other) const;
    // The remainder takes the sign of the dividend.
    CBigInteger operator%(const CBigInteger& other) const;
    CBigInteger& operator+=(const CBigInteger& other);
    CBigInteger& operator-=(const CBigInteger& other);
    CBigInteger& operator*=(const CBigInteger& other);
    CBigInteger& operator/=(const CBigInteger& other);
    CBigInteger& operator%=(const CBigInteger& other);

    // Bounded conversions; out of range raises CKvInvalidValueException.
    explicit operator int32_t() const;
    explicit operator int64_t() const;

    // Integer square root by Newton's iteration. Raises for a negative value, and (through the
    // division inside) for zero.
    CBigInteger SquareRoot() const;
    static CBigInteger Pow10(uint32_t exponent);

protected:
    // Digit vector: values 0 to 9 (not character codes), least significant first.
    using Digits = std::u16string;

    CBigInteger(int32_t sign, const Digits& digits);
    CBigInteger(int32_t sign, Digits&& digits);

    static void Build(uint32_t value, Digits& out);
    static void BuildDWORDLONG(uint64_t value, Digits& out);
    static void BuildDouble(double value, Digits& out);
    static void Build(const std::u16string& text, Digits& out);
    static void Clean(Digits& digits);
    static int32_t Compare(const Digits& a, const Digits& b);
    static void Add(const Digits& a, const Digits& b, Digits& out);
    static void Subtract(const Digits& a, const Digits& b, Digits& out);
    static void Multiply(const Digits& a, char16_t digit, Digits& out);
    static void Multiply(const Digits& a, const Digits& b, Digits& out);
    static void ShiftLeft(Digits& digits, int32_t count);
    static int32_t Position(const Digits& digits);
    static void Pow10(uint32_t exponent, Digits& out);
    static void Divide(const Digits& a, const Digits& b, Digits& quotient, Digits& remainder);

private:
    friend class CDecimal;
    friend class KvVariant;

    bool IsZero() const { return m_digits.size() <= 1 && (m_digits.empty() || m_digits[0] == 0); }
    // Reads the digits of text[0, length) backwards from the end, stopping at the first non-digit.
    static void BuildFromText(const char16_t* text, size_t length, Digits& out);
    // Raises the size error if a magnitude of that many digits would pass MAX_DIGITS.
    static void CheckSize(uint64_t digitCount);
    static CBigInteger AddSigned(const CBigInteger& a, const CBigInteger& b, int32_t signB);
    static bool IsZero(const Digits& d) { return d.size() <= 1 && (d.empty() || d[0] == 0); }
    void CheckedDivide(const CBigInteger& other, CBigInteger* quotient, CBigInteger* remainder) const;

    // Groups of nine decimal digits, least significant first, for the inner loops.
    using Limbs = std::vector<uint32_t>;
    static constexpr uint64_t kLimbBase = 1000000000;
    static void ToLimbs(const char16_t* digits, size_t count, Limbs& out);
    static void FromLimbs(const Limbs& limbs, size_t lowZeros, Digits& out);
    static void MultiplyLimbs(const Limbs& a, const Limbs& b, Limbs& out);
    static void DivideLimbs(const Limbs& a, const Limbs& b, Limbs& quotient, Limbs& remainder);

    int32_t m_sign;
    Digits m_digits;
};

} // namespace KvXmlLib16
