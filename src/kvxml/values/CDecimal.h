#pragma once

#include <cstdint>
#include <string>

#include "kvxml/platform/KvExport.h"
#include "kvxml/values/CBigInteger.h"

namespace KvXmlLib16 {

// Exact decimal number: integer part + fraction part / 10^divider. Both parts carry the sign
// (-1.5 is -1 and -5; -0.5 has an integer part zero with sign -1). The divider counts fraction
// digits, not a power of ten. Values are kept without trailing fraction zeros (rationalised), and
// results are cut to a process-wide number of decimal places with rounding to nearest, ties
// toward zero.
//
// Text is read by a lenient scanner: signs anywhere (the last wins), blanks between digits, an
// exponent after "e" or "E". The scanner holds at most 511 integer digits, 511 fraction digits and
// 31 exponent digits; longer input fails with CKvInvalidValueException. The integer part is a
// CBigInteger with its limit of MAX_DIGITS (one million) digits: 1E999999 is read, 1E1000000 and
// 15E999999 fail, as does any operation whose intermediate value would pass that many digits.
class KVXML_API CDecimal {
public:
    static constexpr int32_t MAX_INTEGER_DIGITS = 511;
    static constexpr int32_t MAX_FRACTION_DIGITS = 511;
    static constexpr int32_t MAX_EXPONENT_DIGITS = 31;

    CDecimal();
    CDecimal(int32_t value);
    CDecimal(int64_t value);
    CDecimal(const CBigInteger& value);
    // Printed with 13 decimals and read back: CDecimal(0.1) is exactly 0.1.
    CDecimal(double value);
    CDecimal(const char16_t* text);
    CDecimal(const CDecimal& other);
    CDecimal(CDecimal&& other) noexcept = default;
    CDecimal& operator=(const CDecimal& other);
    CDecimal& operator=(CDecimal&& other) noexcept = default;
    virtual ~CDecimal();

    // Integer part, ".", the fraction padded to the divider; just the integer part when the
    // fraction is zero. Never cut.
    std::u16string ToString() const;
    // Rounds by adding half a unit of the last place (ties away from zero) and always writes the
    // point: ToString(0) of 1.2 is "1.".
    std::u16string ToString(int32_t decimalPlaces) const;

    // Nearest integer (by the rounding of the class); CKvOverFlowException outside 32 bits.
    int32_t ToLong() const;
    // Truncating; CKvOverFlowException outside 64 bits.
    int64_t ToLongLong() const;
    double ToDouble() const;
    CBigInteger ToBigInteger() const;

    CBigInteger GetIntegerPart() const { return m_integerPart; }
    CBigInteger GetFractionPart() const { return m_fractionPart; }
    int32_t GetFractionDivider() const { return m_fractionDivider; }
    CDecimal GetNegative() const;
    void Negate();

    // Process-wide, unlocked: set it during start-up.
    static int32_t GetMaxDecimalPlaces() { return m_maxDivider; }
    static void SetMaxDecimalPlaces(int32_t places) { m_maxDivider = places; }

    CDecimal operator+(const CDecimal& other) const;
    CDecimal operator-(const CDecimal& other) const;
    CDecimal operator*(const CDecimal& other) const;
    // Carried two digits past the limit of decimal places, truncated there, then cut to the limit.
    CDecimal operator/(const CDecimal& other) const;
    CDecimal& operator+=(const CDecimal& other);
    CDecimal& operator-=(const CDecimal& other);
    CDecimal& operator*=(const CDecimal& other);
    CDecimal& operator/=(const CDecimal& other);
    CDecimal& operator++();
    CDecimal operator++(int);
    CDecimal& operator--();
    CDecimal operator--(int);

    bool operator==(const CDecimal& other) const;
    bool operator!=(const CDecimal& other) const;
    bool operator<(const CDecimal& other) const { return Compare(*this, other) < 0; }
    bool operator>(const CDecimal& other) const { return Compare(*this, other) > 0; }
    bool operator<=(const CDecimal& other) const { return Compare(*this, other) <= 0; }
    bool operator>=(const CDecimal& other) const { return Compare(*this, other) >= 0; }

private:
    // The variant keeps a decimal as its parts and builds it again from them.
    friend class KvVariant;

    CDecimal(const CBigInteger& integerPart, const CBigInteger& fractionPart, int32_t divider);

    void Parse(const char16_t* text);
    // Multiplies a non-negative value by 10 to the exponent (an exponent in the text).
    void ShiftPoint(int64_t exponent);
    void Rationalise();
    void ChangeFractionalDivider(int32_t divider);
    static int32_t Normalize(CDecimal& a, CDecimal& b);
    static int32_t Compare(const CDecimal& a, const CDecimal& b);
    // Points a and b at x and y, or, when their dividers differ, at normalised copies held in
    // the scratch values; returns the common divider. Equal dividers need no copy.
    static int32_t Align(const CDecimal& x, const CDecimal& y, CDecimal& scratchX, CDecimal& scratchY,
                         const CDecimal*& a, const CDecimal*& b);
    // Applies the limit of decimal places after an operation.
    void CutToLimit();
    // Repairs an integer and a fraction part of different signs after a carry.
    void RepairSigns(const CBigInteger& unit);
    std::u16string FractionText() const;

    static int32_t m_maxDivider;

    CBigInteger m_integerPart;
    CBigInteger m_fractionPart;
    int32_t m_fractionDivider;
};

} // namespace KvXmlLib16
