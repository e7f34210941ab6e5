#include "kvxml/values/CPrimitiveRestrictions.h"

#include "kvxml/base/CKvException.h"
#include "kvxml/base/FormatString.h"

namespace KvXmlLib16 {

namespace {

std::u16string OrEmpty(const char16_t* text) { return text ? std::u16string(text) : std::u16string(); }

[[noreturn]] void ThrowInvalidText(const char16_t* name, const std::u16string& shown) {
    throw CKvException(FormatString(u"Invalid Value for %s [%s].", name, shown.c_str()));
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

} // namespace KvXmlLib16
