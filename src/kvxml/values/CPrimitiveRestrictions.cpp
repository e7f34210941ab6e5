#include "kvxml/values/CPrimitiveRestrictions.h"

#include "kvxml/base/CKvException.h"
#include "kvxml/base/FormatString.h"
#include "kvxml/values/CConversions.h"
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
bool BoundsHold(T value, const CPrimitiveRestrictions& r, FromString fromString) {
    if (!r.GetMinInclusive().empty() && !(value >= fromString(r.GetMinInclusive(), Collapse))) return false;
    if (!r.GetMaxInclusive().empty() && !(value <= fromString(r.GetMaxInclusive(), Collapse))) return false;
    if (!r.GetMinExclusive().empty() && !(value > fromString(r.GetMinExclusive(), Collapse))) return false;
    if (!r.GetMaxExclusive().empty() && !(value < fromString(r.GetMaxExclusive(), Collapse))) return false;
    return true;
}

// totalDigits on the integral kinds counts every character of the value's text, a minus sign
// too. The text is made only when the facet is present.
template <class T, class ToString>
bool DigitsHold(T value, const CPrimitiveRestrictions& r, ToString toString) {
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
    if (!BoundsHold(value, r, fromString) || !DigitsHold(value, r, toString))
        ThrowInvalidText(name, toString(value));
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
    const std::size_t length = value.length();
    const int32_t minLength = restrictions.GetMinLength();
    const int32_t maxLength = restrictions.GetMaxLength();
    const int32_t exactLength = restrictions.GetLength();
    if (minLength >= 0 && length < static_cast<std::size_t>(minLength)) ThrowInvalidText(name, value);
    if (maxLength >= 0 && length > static_cast<std::size_t>(maxLength)) ThrowInvalidText(name, value);
    if (exactLength >= 0 && length != static_cast<std::size_t>(exactLength)) ThrowInvalidText(name, value);

    const std::u16string& pattern = restrictions.GetPattern();
    if (pattern.empty()) return;
    bool matched = false;
    try {
        matched = PatternInternals::PatternMatchWide(pattern.c_str(), value);
    } catch (const CKvException& e) {
        throw CKvException(FormatString(u"%s\nInvalid Value for %s [%s].", e.GetFullMessage().c_str(), name,
                                        value.c_str()));
    }
    if (!matched) ThrowInvalidText(name, value);
}

void CheckPrimitiveRestrictions(const char16_t* name, const KvVariant& value, ItemType kind,
                                const CPrimitiveRestrictions& r) {
    using C = CConversions;
    // The declared kind decides how the value is read; the variant's own type is not consulted.
    switch (kind) {
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
    case ItemType_year: return CheckCalendarComponent(name, value.GetYear(), r, C::yearFromString);
    case ItemType_month: return CheckCalendarComponent(name, value.GetMonth(), r, C::monthFromString);
    case ItemType_day: return CheckCalendarComponent(name, value.GetDay(), r, C::dayFromString);
    case ItemType_string: return CheckStringRestrictions(name, value.GetString(), r);
    case ItemType_boolean: return;
    default:
        // char has no check of its own and always lands here, as does every kind without a row.
        throw CKvInvalidValueException(u"Unknown type [" + value.GetType() + u"].");
    }
}

} // namespace KvXmlLib16
