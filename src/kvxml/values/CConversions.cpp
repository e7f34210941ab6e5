#include "kvxml/values/CConversions.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <limits>

#include "kvxml/base/CKvException.h"
#include "kvxml/base/CNumberText.h"
#include "kvxml/base/FormatString.h"
#include "kvxml/platform/KvPlatform.h"

namespace KvXmlLib16 {

namespace {

using Rule = CWhitespaceUtils::WhitespaceRule;

template <class U>
std::u16string UnsignedToString(U value, bool negative) {
    char16_t buf[24];
    char16_t* p = buf + 24;
    do {
        *--p = static_cast<char16_t>(u'0' + value % 10);
        value /= 10;
    } while (value != 0);
    if (negative) *--p = u'-';
    return std::u16string(p, buf + 24);
}

template <class S>
std::u16string SignedToString(S value) {
    using U = std::make_unsigned_t<S>;
    // Negation in the unsigned type, so that the minimum value does not overflow.
    const U magnitude = value < 0 ? static_cast<U>(U{0} - static_cast<U>(value)) : static_cast<U>(value);
    return UnsignedToString(magnitude, value < 0);
}

std::u16string Widen(const char* s) {
    std::u16string out;
    while (*s) out.push_back(static_cast<char16_t>(static_cast<unsigned char>(*s++)));
    return out;
}

std::u16string RealToString(double value, const std::u16string& format, const char* defaultFormat,
                            size_t bufferLength) {
    if (std::isnan(value)) return u"NaN";
    if (std::isinf(value)) return value < 0 ? u"-INF" : u"INF";
    if (format.empty()) {
        char buf[64];
        FormatDoubleC(buf, sizeof buf, defaultFormat, value);
        return Widen(buf);
    }
    std::u16string text = FormatString(format.c_str(), value);
    // An override may produce more than the fixed buffer of the conversion holds: cut it there.
    if (text.size() > bufferLength) text.resize(bufferLength);
    return text;
}

[[noreturn]] void ThrowNotConverted(const std::u16string& text, const char16_t* typeName) {
    throw CKvInvalidValueException(
        FormatString(u"The value [%s] can not be converted to a %s", text.c_str(), typeName));
}

[[noreturn]] void ThrowTooLarge(const std::u16string& text, const char16_t* typeName) {
    throw CKvInvalidValueException(FormatString(u"The value [%s] is to large to fit in a %s", text.c_str(), typeName));
}

// Radix-10 scan through one of the run-time style scanners: whitespace and one sign accepted
// in front, ERANGE on overflow. The scan must stop on a NUL: the text's end or an embedded one,
// also where nothing was consumed, so a text that starts with NUL reads as 0.
template <class T, class Scanner>
T ScanInteger(const std::u16string& text, Rule rule, const char16_t* typeName, Scanner scan) {
    std::u16string scratch;
    const std::u16string& t = CWhitespaceUtils::ApplyRuleInPlace(rule, text, scratch);
    if (t.empty()) ThrowNotConverted(t, typeName);
    const char16_t* start = t.c_str();
    char16_t* end = nullptr;
    errno = 0;
    const T value = scan(start, &end, 10);
    if (errno == ERANGE) ThrowTooLarge(t, typeName);
    if (*end != 0) ThrowNotConverted(t, typeName);
    return value;
}

// Compares as the C run-time's wcscmp does: up to the first NUL.
bool SameCText(const std::u16string& text, const char16_t* word) {
    const char16_t* p = text.c_str();
    while (*p != 0 && *p == *word) {
        ++p;
        ++word;
    }
    return *p == *word;
}

double ScanReal(const std::u16string& text, Rule rule, const char16_t* typeName) {
    std::u16string scratch;
    const std::u16string& t = CWhitespaceUtils::ApplyRuleInPlace(rule, text, scratch);
    if (t.empty()) ThrowNotConverted(t, typeName);
    if (SameCText(t, u"NaN") || SameCText(t, u"1.#QNAN") || SameCText(t, u"-NAN"))
        return std::numeric_limits<double>::quiet_NaN();
    if (SameCText(t, u"-INF")) return -std::numeric_limits<double>::infinity();
    if (SameCText(t, u"INF")) return std::numeric_limits<double>::infinity();
    const char16_t* start = t.c_str();
    char16_t* end = nullptr;
    // The platform scanner takes the plain decimal form only (no inf/nan words, no hex floats).
    // No errno test: a magnitude out of range is infinity (or 0), without complaint.
    const double value = Platform::WcsToD(start, &end);
    if (*end != 0) ThrowNotConverted(t, typeName);
    return value;
}

} // namespace

std::u16string CConversions::i1ToString(int8_t value) { return SignedToString(value); }
std::u16string CConversions::i2ToString(int16_t value) { return SignedToString(value); }
std::u16string CConversions::i4ToString(int32_t value) { return SignedToString(value); }
std::u16string CConversions::i8ToString(int64_t value) { return SignedToString(value); }
std::u16string CConversions::ui1ToString(uint8_t value) { return UnsignedToString<uint32_t>(value, false); }
std::u16string CConversions::ui2ToString(uint16_t value) { return UnsignedToString<uint32_t>(value, false); }
std::u16string CConversions::ui4ToString(uint32_t value) { return UnsignedToString(value, false); }
std::u16string CConversions::ui8ToString(uint64_t value) { return UnsignedToString(value, false); }

std::u16string CConversions::r4ToString(float value, const std::u16string& format) {
    return RealToString(static_cast<double>(value), format, "%.7g", 32);
}

std::u16string CConversions::r8ToString(double value, const std::u16string& format) {
    return RealToString(value, format, "%.16g", 48);
}

std::u16string CConversions::charToString(char16_t value) {
    // A NUL character ends the string at once.
    return value == 0 ? std::u16string() : std::u16string(1, value);
}

std::u16string CConversions::stringToString(const std::u16string& value) { return value; }

std::u16string CConversions::booleanToString(bool value) { return value ? u"true" : u"false"; }

std::u16string CConversions::hexBinaryToString(const CBinaryData& value) { return value.GetAsHexString(); }

std::u16string CConversions::base64BinaryToString(const CBinaryData& value) { return value.GetAsBase64(); }

int32_t CConversions::i4FromString(const std::u16string& text, WhitespaceRule rule) {
    return ScanInteger<int32_t>(text, rule, u"i4", Platform::WcsToL);
}

int64_t CConversions::i8FromString(const std::u16string& text, WhitespaceRule rule) {
    return ScanInteger<int64_t>(text, rule, u"i8", Platform::WcsToI64);
}

uint32_t CConversions::ui4FromString(const std::u16string& text, WhitespaceRule rule) {
    // No test for a minus sign: "-1" wraps to 4294967295 as the run-time's scanner does.
    return ScanInteger<uint32_t>(text, rule, u"ui4", Platform::WcsToUL);
}

uint64_t CConversions::ui8FromString(const std::u16string& text, WhitespaceRule rule) {
    return ScanInteger<uint64_t>(text, rule, u"ui8", Platform::WcsToUI64);
}

// The narrow kinds reuse the 32-bit scan (and its wording for text that is no number) and show
// the raw input, before the whitespace rule, in their own range message.
int8_t CConversions::i1FromString(const std::u16string& text, WhitespaceRule rule) {
    const int32_t value = i4FromString(text, rule);
    if (value < -128 || value > 127) ThrowTooLarge(text, u"i1");
    return static_cast<int8_t>(value);
}

int16_t CConversions::i2FromString(const std::u16string& text, WhitespaceRule rule) {
    const int32_t value = i4FromString(text, rule);
    if (value < -32768 || value > 32767) ThrowTooLarge(text, u"i2");
    return static_cast<int16_t>(value);
}

uint8_t CConversions::ui1FromString(const std::u16string& text, WhitespaceRule rule) {
    const uint32_t value = ui4FromString(text, rule);
    if (value > 255) ThrowTooLarge(text, u"ui1");
    return static_cast<uint8_t>(value);
}

uint16_t CConversions::ui2FromString(const std::u16string& text, WhitespaceRule rule) {
    const uint32_t value = ui4FromString(text, rule);
    if (value > 65535) ThrowTooLarge(text, u"ui2");
    return static_cast<uint16_t>(value);
}

float CConversions::r4FromString(const std::u16string& text, WhitespaceRule rule) {
    return static_cast<float>(ScanReal(text, rule, u"r4"));
}

double CConversions::r8FromString(const std::u16string& text, WhitespaceRule rule) {
    return ScanReal(text, rule, u"r8");
}

char16_t CConversions::charFromString(const std::u16string& text, WhitespaceRule rule) {
    std::u16string scratch;
    const std::u16string& t = CWhitespaceUtils::ApplyRuleInPlace(rule, text, scratch);
    if (t.size() != 1)
        throw CKvInvalidValueException(FormatString(
            u"The value [%s] can not be a char as it is either empty of greater than 1 char long", t.c_str()));
    return t[0];
}

std::u16string CConversions::stringFromString(const std::u16string& text, WhitespaceRule rule) {
    return CWhitespaceUtils::ApplyRule(rule, text);
}

bool CConversions::booleanFromString(const std::u16string& text, WhitespaceRule rule) {
    std::u16string scratch;
    const char16_t* t = CWhitespaceUtils::ApplyRuleInPlace(rule, text, scratch).c_str();
    if (Platform::WcsICmp(t, u"true") == 0) return true;
    if (Platform::WcsICmp(t, u"false") == 0) return false;
    if (Platform::WcsICmp(t, u"1") == 0) return true;
    if (Platform::WcsICmp(t, u"0") == 0) return false;
    throw CKvInvalidValueException(FormatString(
        u"A Boolean Value read from an XML document was invalid [%s]. Valid values are 'true', 'false', '1', or '0'",
        text.c_str()));
}

CBinaryData CConversions::hexBinaryFromString(const std::u16string& text, WhitespaceRule rule) {
    std::u16string scratch;
    CBinaryData data;
    data.SetAsHexString(CWhitespaceUtils::ApplyRuleInPlace(rule, text, scratch).c_str());
    return data;
}

CBinaryData CConversions::base64BinaryFromString(const std::u16string& text, WhitespaceRule rule) {
    std::u16string scratch;
    CBinaryData data;
    data.SetAsBase64(CWhitespaceUtils::ApplyRuleInPlace(rule, text, scratch).c_str());
    return data;
}

} // namespace KvXmlLib16
