// Variant accessors and text conversions of the decimal and integer kinds.

#include <algorithm>
#include <utility>

#include "kvxml/platform/KvPlatform.h"
#include "kvxml/values/CBigInteger.h"
#include "kvxml/values/CConversions.h"
#include "kvxml/values/CDecimal.h"
#include "kvxml/values/CWhitespaceUtils.h"
#include "kvxml/values/KvVariant.h"

namespace KvXmlLib16 {

// ---- KvVariant ----

void KvVariant::SetDecimal(const CDecimal& value) { Store<DecimalParts>(ItemType_decimal, PartsOf(value)); }

CDecimal KvVariant::GetDecimal() const {
    return m_type == ItemType_decimal && m_hasHeld ? DecimalOf(DecimalParts(Held<DecimalParts>())) : CDecimal();
}

CDecimal KvVariant::TakeDecimal() {
    if (!m_transient || m_type != ItemType_decimal || !m_hasHeld) return GetDecimal();
    return DecimalOf(std::move(Held<DecimalParts>()));
}

void KvVariant::SetInteger(const CBigInteger& value) { StoreInteger(CBigInteger(value)); }

void KvVariant::StoreInteger(CBigInteger&& value) { Store<CBigInteger>(ItemType_integer, std::move(value)); }

CBigInteger KvVariant::GetInteger() const {
    return m_type == ItemType_integer && m_hasHeld ? Held<CBigInteger>() : CBigInteger();
}

CBigInteger KvVariant::TakeInteger() {
    if (!m_transient || m_type != ItemType_integer || !m_hasHeld) return GetInteger();
    CBigInteger value(std::move(Held<CBigInteger>()));
    Held<CBigInteger>() = CBigInteger(); // what is left must still be a number
    return value;
}

KvVariant::DecimalParts KvVariant::PartsOf(const CDecimal& value) {
    const CBigInteger::Digits& integer = value.m_integerPart.m_digits;
    const CBigInteger::Digits& fraction = value.m_fractionPart.m_digits;
    DecimalParts parts{{},
                       static_cast<uint32_t>(integer.size()),
                       value.m_fractionDivider,
                       value.m_integerPart.m_sign,
                       value.m_fractionPart.m_sign};
    parts.digits.reserve(integer.size() + fraction.size());
    parts.digits.append(integer).append(fraction);
    return parts;
}

KvVariant::DecimalParts KvVariant::PartsOf(CDecimal&& value) {
    const auto integerCount = static_cast<uint32_t>(value.m_integerPart.m_digits.size());
    DecimalParts parts{std::move(value.m_integerPart.m_digits), integerCount, value.m_fractionDivider,
                       value.m_integerPart.m_sign, value.m_fractionPart.m_sign};
    parts.digits.append(value.m_fractionPart.m_digits);
    return parts;
}

// Takes the digits over: the integer part keeps their block, the fraction part copies its few.
// What is left of the parts is zero.
CDecimal KvVariant::DecimalOf(DecimalParts&& parts) {
    const size_t integerCount = std::min<size_t>(parts.integerCount, parts.digits.size());
    CDecimal value;
    value.m_fractionPart = CBigInteger(parts.fractionSign, CBigInteger::Digits(parts.digits, integerCount));
    parts.digits.resize(integerCount);
    value.m_integerPart = CBigInteger(parts.integerSign, std::move(parts.digits));
    value.m_fractionDivider = parts.divider;
    parts = DecimalParts{CBigInteger::Digits(2, char16_t(0)), 1, 1, 1, 1}; // the parts of CDecimal()
    return value;
}

// Most numbers in documents are plain: an optional minus, digits, for a decimal a point and more
// digits, nothing that a known whitespace rule would change. Those are built here in one pass, with
// the result that the full parser gives; anything else (blanks, plus signs, exponents, long numbers,
// an unknown rule, errors) is left to it.
bool KvVariant::ScanPlainNumber(std::u16string_view text, ItemType kind, CWhitespaceUtils::WhitespaceRule rule) {
    constexpr size_t kMaxDigits = 40; // well inside every digit limit, so none needs checking
    if (kind != ItemType_decimal && kind != ItemType_integer) return false;
    if (rule < CWhitespaceUtils::WhitespaceRule_None || rule > CWhitespaceUtils::WhitespaceRule_Collapse) return false;
    const bool negative = !text.empty() && text[0] == u'-';
    const char16_t* p = text.data() + (negative ? 1 : 0);
    const size_t n = text.size() - (negative ? 1 : 0);
    if (n == 0 || n > kMaxDigits + 1) return false;
    size_t point = n;
    for (size_t i = 0; i < n; ++i) {
        if (p[i] >= u'0' && p[i] <= u'9') continue;
        if (p[i] != u'.' || kind != ItemType_decimal || point != n) return false;
        point = i;
    }
    const int32_t sign = negative ? -1 : 1;
    if (kind == ItemType_integer) {
        CBigInteger value(sign, CBigInteger::Digits());
        CBigInteger::BuildFromText(p, n, value.m_digits);
        StoreInteger(std::move(value));
        return true;
    }
    const size_t fractionCount = point < n ? n - point - 1 : 0;
    if (point == 0 && fractionCount == 0) return false; // "." or "-.": no digit at all
    // The fraction as its value is kept: trailing zeros go, the divider shrinking with them. A zero
    // fraction is a plain zero with divider 1; it keeps the minus only where the text had at most
    // one fraction digit, so that the divider was 1 to begin with.
    size_t kept = fractionCount;
    while (kept > 0 && p[point + kept] == u'0') --kept;
    const int32_t divider = kept > 0 ? int32_t(kept) : 1;
    if (divider > CDecimal::GetMaxDecimalPlaces()) return false; // cut to the limit by the parser
    DecimalParts parts{{}, 0, divider, sign, negative && (kept > 0 || fractionCount <= 1) ? -1 : 1};
    CBigInteger::BuildFromText(p, point, parts.digits);
    parts.integerCount = static_cast<uint32_t>(parts.digits.size());
    CBigInteger::Digits fraction;
    CBigInteger::BuildFromText(p + point + 1, kept, fraction);
    parts.digits += fraction;
    Store<DecimalParts>(ItemType_decimal, std::move(parts));
    return true;
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
