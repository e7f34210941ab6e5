#include "kvxml/values/CPrimitiveRestrictions.h"

#include "kvxml/base/CKvException.h"
#include "kvxml/base/FormatString.h"
#include "kvxml/values/CBigInteger.h"
#include "kvxml/values/CBinaryData.h"
#include "kvxml/values/CConversions.h"
#include "kvxml/values/CDateTime.h"
#include "kvxml/values/CDecimal.h"
#include "kvxml/values/KvVariant.h"

namespace KvXmlLib16 {

namespace {

std::u16string OrEmpty(const char16_t* text) { return text ? std::u16string(text) : std::u16string(); }

[[noreturn]] void ThrowInvalidText(const char16_t* name, const std::u16string& shown) {
    throw CKvException(FormatString(u"Invalid Value for %s [%s].", name, shown.c_str()));
}

constexpr auto Collapse = CWhitespaceUtils::WhitespaceRule_Collapse;

// Bounds in their fixed order; each bound is converted by the kind's own conversion at every
// check, and a conversion failure passes out as it is. A bound fails when the wanted comparison
// is not true, which makes NaN fail any bound that is present.
template <class T, class FromString>
bool BoundsHold(const T& value, const CPrimitiveRestrictions& r, FromString fromString) {
    if (!r.GetMinInclusive().empty() && !(value >= fromString(r.GetMinInclusive(), Collapse))) return false;
    if (!r.GetMaxInclusive().empty() && !(value <= fromString(r.GetMaxInclusive(), Collapse))) return false;
    if (!r.GetMinExclusive().empty() && !(value > fromString(r.GetMinExclusive(), Collapse))) return false;
    if (!r.GetMaxExclusive().empty() && !(value < fromString(r.GetMaxExclusive(), Collapse))) return false;
    return true;
}

// totalDigits on the integral kinds counts every character of the value's text, a minus sign
// too. The text is made only when the facet is present.
template <class T, class ToString>
bool DigitsHold(const T& value, const CPrimitiveRestrictions& r, ToString toString) {
    const int32_t totalDigits = r.GetTotalDigits();
    return totalDigits < 0 || toString(value).length() <= static_cast<std::size_t>(totalDigits);
}

// Kinds shown by "%d": the number as a 32-bit int, as the wide formatter sees it.
template <class T, class FromString, class ToString>
void CheckSmallIntegral(const char16_t* name, T value, const CPrimitiveRestrictions& r, FromString fromString,
                        ToString toString) {
    if (!BoundsHold(value, r, fromString) || !DigitsHold(value, r, toString))
        throw CKvException(FormatString(u"Invalid Value for %s [%d]", name, static_cast<int32_t>(value)));
}

template <class T, class FromString, class ToString>
void CheckWideIntegral(const char16_t* name, T value, const CPrimitiveRestrictions& r, FromString fromString,
                       ToString toString) {
    if (!BoundsHold(value, r, fromString) || !DigitsHold(value, r, toString)) ThrowInvalidText(name, toString(value));
}

template <class T, class FromString>
void CheckFloating(const char16_t* name, T value, const CPrimitiveRestrictions& r, FromString fromString) {
    if (!BoundsHold(value, r, fromString))
        throw CKvException(FormatString(u"Invalid Value for %s [%f]", name, static_cast<double>(value)));
}

template <class T, class FromString>
void CheckCalendarComponent(const char16_t* name, T value, const CPrimitiveRestrictions& r, FromString fromString) {
    if (!BoundsHold(value, r, fromString))
        throw CKvException(FormatString(u"Invalid Value for %s [%d]", name, static_cast<int32_t>(value)));
}

// The length facets, counted in whatever unit the kind measures (16-bit units, bytes).
bool LengthsHold(std::size_t length, const CPrimitiveRestrictions& r) {
    const int32_t minLength = r.GetMinLength();
    const int32_t maxLength = r.GetMaxLength();
    const int32_t exactLength = r.GetLength();
    if (minLength >= 0 && length < static_cast<std::size_t>(minLength)) return false;
    if (maxLength >= 0 && length > static_cast<std::size_t>(maxLength)) return false;
    if (exactLength >= 0 && length != static_cast<std::size_t>(exactLength)) return false;
    return true;
}

// Binary values are measured in bytes; the text is made only to report a failure.
void CheckBinary(const char16_t* name, const CBinaryData& value, const CPrimitiveRestrictions& r, bool hex) {
    if (!LengthsHold(value.GetLength(), r)) ThrowInvalidText(name, hex ? value.GetAsHexString() : value.GetAsBase64());
}

// Dates and durations are only partially ordered: an indeterminate comparison fails no bound.
template <class T, class FromString>
bool OrderedBoundsHold(const T& value, const CPrimitiveRestrictions& r, FromString fromString) {
    auto compare = [&](const std::u16string& bound) { return value.CompareTo(fromString(bound, Collapse)); };
    if (!r.GetMinInclusive().empty() && compare(r.GetMinInclusive()) == CDateTime::DTCompareLess) return false;
    if (!r.GetMaxInclusive().empty() && compare(r.GetMaxInclusive()) == CDateTime::DTCompareGreater) return false;
    if (!r.GetMinExclusive().empty()) {
        const auto c = compare(r.GetMinExclusive());
        if (c == CDateTime::DTCompareEqual || c == CDateTime::DTCompareLess) return false;
    }
    if (!r.GetMaxExclusive().empty()) {
        const auto c = compare(r.GetMaxExclusive());
        if (c == CDateTime::DTCompareEqual || c == CDateTime::DTCompareGreater) return false;
    }
    return true;
}

template <class T, class FromString>
void CheckOrdered(const char16_t* name, const T& value, const CPrimitiveRestrictions& r, FromString fromString) {
    if (!OrderedBoundsHold(value, r, fromString)) ThrowInvalidText(name, value.ToString());
}

void CheckInteger(const char16_t* name, const CBigInteger& value, const CPrimitiveRestrictions& r) {
    if (!BoundsHold(value, r, CConversions::integerFromString) ||
        !DigitsHold(value, r, [](const CBigInteger& v) { return v.ToString(); }))
        ThrowInvalidText(name, value.ToString());
}

// Integer digits count the integer part's absolute value (none for a zero part); fraction digits
// are the digits held for a non-zero fraction, which after rationalising has no trailing zeros.
bool DecimalDigitsHold(const CDecimal& value, const CPrimitiveRestrictions& r) {
    const int32_t totalDigits = r.GetTotalDigits();
    const int32_t fractionDigits = r.GetFractionDigits();
    if (totalDigits < 0 && fractionDigits < 0) return true;
    const CBigInteger zero;
    const CBigInteger fraction = value.GetFractionPart();
    const int64_t fractionCount = fraction == zero ? 0 : value.GetFractionDivider();
    if (totalDigits >= 0) {
        const CBigInteger integer = value.GetIntegerPart();
        const int64_t integerCount = integer == zero ? 0 : static_cast<int64_t>(integer.GetAbs().ToString().length());
        if (integerCount + fractionCount > totalDigits) return false;
    }
    return fractionDigits < 0 || fractionCount <= fractionDigits;
}

void CheckDecimal(const char16_t* name, const CDecimal& value, const CPrimitiveRestrictions& r) {
    if (!BoundsHold(value, r, CConversions::decimalFromString) || !DecimalDigitsHold(value, r))
        ThrowInvalidText(name, value.ToString());
}

} // namespace

CPrimitiveRestrictions::CPrimitiveRestrictions()
    : m_minLength(-1), m_maxLength(-1), m_length(-1), m_totalDigits(-1), m_fractionDigits(-1) {}

CPrimitiveRestrictions::CPrimitiveRestrictions(const char16_t* pattern, int32_t minLength, int32_t maxLength,
                                               const char16_t* minInclusive, const char16_t* maxInclusive,
                                               const char16_t* minExclusive, const char16_t* maxExclusive,
                                               int32_t length, int32_t totalDigits, int32_t fractionDigits)
    : m_pattern(OrEmpty(pattern)),
      m_minLength(minLength),
      m_maxLength(maxLength),
      m_minInclusive(OrEmpty(minInclusive)),
      m_maxInclusive(OrEmpty(maxInclusive)),
      m_minExclusive(OrEmpty(minExclusive)),
      m_maxExclusive(OrEmpty(maxExclusive)),
      m_length(length),
      m_totalDigits(totalDigits),
      m_fractionDigits(fractionDigits) {}

CPrimitiveRestrictions::CPrimitiveRestrictions(const CPrimitiveRestrictions& other) = default;
CPrimitiveRestrictions& CPrimitiveRestrictions::operator=(const CPrimitiveRestrictions& other) = default;
CPrimitiveRestrictions::~CPrimitiveRestrictions() = default;

void CheckStringRestrictions(const char16_t* name, const std::u16string& value,
                             const CPrimitiveRestrictions& restrictions) {
    // Cheapest first, so a text of the wrong length never reaches the regular-expression engine.
    if (!LengthsHold(value.length(), restrictions)) ThrowInvalidText(name, value);

    const std::u16string& pattern = restrictions.GetPattern();
    if (pattern.empty()) return;
    bool matched = false;
    try {
        matched = PatternInternals::PatternMatchWide(pattern.c_str(), value);
    } catch (const CKvException& e) {
        throw CKvException(
            FormatString(u"%s\nInvalid Value for %s [%s].", e.GetFullMessage().c_str(), name, value.c_str()));
    }
    if (!matched) ThrowInvalidText(name, value);
}

void CheckPrimitiveRestrictions(const char16_t* name, const KvVariant& value, ItemType kind,
                                const CPrimitiveRestrictions& r) {
    using C = CConversions;
    // The declared kind decides how the value is read; the variant's own type is not consulted.
    switch (kind) {
    case ItemType_hexBinary: return CheckBinary(name, value.GetHexBinary(), r, true);
    case ItemType_base64Binary: return CheckBinary(name, value.GetBase64Binary(), r, false);
    case ItemType_i1: return CheckSmallIntegral(name, value.GetI1(), r, C::i1FromString, C::i1ToString);
    case ItemType_i2: return CheckSmallIntegral(name, value.GetI2(), r, C::i2FromString, C::i2ToString);
    case ItemType_i4: return CheckSmallIntegral(name, value.GetI4(), r, C::i4FromString, C::i4ToString);
    case ItemType_i8: return CheckWideIntegral(name, value.GetI8(), r, C::i8FromString, C::i8ToString);
    case ItemType_ui1: return CheckSmallIntegral(name, value.GetUI1(), r, C::ui1FromString, C::ui1ToString);
    case ItemType_ui2: return CheckSmallIntegral(name, value.GetUI2(), r, C::ui2FromString, C::ui2ToString);
    case ItemType_ui4: return CheckSmallIntegral(name, value.GetUI4(), r, C::ui4FromString, C::ui4ToString);
    case ItemType_ui8: return CheckWideIntegral(name, value.GetUI8(), r, C::ui8FromString, C::ui8ToString);
    case ItemType_r4: return CheckFloating(name, value.GetR4(), r, C::r4FromString);
    case ItemType_r8: return CheckFloating(name, value.GetR8(), r, C::r8FromString);
    case ItemType_duration: return CheckOrdered(name, value.GetDuration(), r, C::durationFromString);
    case ItemType_yearMonth: return CheckOrdered(name, value.GetYearMonth(), r, C::yearMonthFromString);
    case ItemType_monthDay: return CheckOrdered(name, value.GetMonthDay(), r, C::monthDayFromString);
    case ItemType_date: return CheckOrdered(name, value.GetDate(), r, C::dateFromString);
    case ItemType_datetime: return CheckOrdered(name, value.GetDateTime(), r, C::datetimeFromString);
    case ItemType_time: return CheckOrdered(name, value.GetTime(), r, C::timeFromString);
    case ItemType_year: return CheckCalendarComponent(name, value.GetYear(), r, C::yearFromString);
    case ItemType_month: return CheckCalendarComponent(name, value.GetMonth(), r, C::monthFromString);
    case ItemType_day: return CheckCalendarComponent(name, value.GetDay(), r, C::dayFromString);
    case ItemType_string: return CheckStringRestrictions(name, value.GetString(), r);
    case ItemType_boolean: return;
    case ItemType_decimal: return CheckDecimal(name, value.GetDecimal(), r);
    case ItemType_integer: return CheckInteger(name, value.GetInteger(), r);
    default:
        // char has no check of its own and always lands here, as does every kind without a row.
        throw CKvInvalidValueException(u"Unknown type [" + value.GetType() + u"].");
    }
}

} // namespace KvXmlLib16
