// Variant accessors and text conversions of the decimal and integer kinds.

#include <memory>

#include "kvxml/platform/KvPlatform.h"
#include "kvxml/values/CBigInteger.h"
#include "kvxml/values/CConversions.h"
#include "kvxml/values/CDecimal.h"
#include "kvxml/values/CWhitespaceUtils.h"
#include "kvxml/values/KvVariant.h"

namespace KvXmlLib16 {

// ---- KvVariant ----

void KvVariant::SetDecimal(const CDecimal& value) {
    // Copied before Clear, so that a value held by this variant itself survives.
    auto stored = std::make_unique<CDecimal>(value);
    Clear();
    m_type = ItemType_decimal;
    m_value.dec = stored.release();
}

CDecimal KvVariant::GetDecimal() const {
    return m_type == ItemType_decimal && m_value.dec != nullptr ? *m_value.dec : CDecimal();
}

void KvVariant::SetInteger(const CBigInteger& value) {
    auto stored = std::make_unique<CBigInteger>(value);
    Clear();
    m_type = ItemType_integer;
    m_value.big = stored.release();
}

CBigInteger KvVariant::GetInteger() const {
    return m_type == ItemType_integer && m_value.big != nullptr ? *m_value.big : CBigInteger();
}

// ---- CConversions ----

std::u16string CConversions::integerToString(const CBigInteger& value) { return value.ToString(); }

std::u16string CConversions::decimalToString(const CDecimal& value) { return value.ToString(); }

std::u16string CConversions::decimalToString(const CDecimal& value, const std::u16string& format) {
    if (format.empty()) return value.ToString();
    return value.ToString(Platform::WToI(format.c_str()));
}

CBigInteger CConversions::integerFromString(const std::u16string& text, WhitespaceRule rule) {
    std::u16string scratch;
    const std::u16string& applied = CWhitespaceUtils::ApplyRuleInPlace(rule, text, scratch);
    CBigInteger value;
    value.Parse(applied.c_str());
    return value;
}

CDecimal CConversions::decimalFromString(const std::u16string& text, WhitespaceRule rule) {
    std::u16string scratch;
    const std::u16string& applied = CWhitespaceUtils::ApplyRuleInPlace(rule, text, scratch);
    return CDecimal(applied.c_str());
}

} // namespace KvXmlLib16
