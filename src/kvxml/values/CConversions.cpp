#include "kvxml/values/CConversions.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>

#include "kvxml/base/CKvException.h"
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

using Uint128 = unsigned __int128;

constexpr std::array<Uint128, 23> MakePowersOfTen() {
    std::array<Uint128, 23> t{};
    t[0] = 1;
    for (size_t i = 1; i < t.size(); ++i) t[i] = t[i - 1] * 10;
    return t;
}

constexpr std::array<Uint128, 23> kPow10 = MakePowersOfTen();

// Rounds a positive value to P significant digits exactly as printf does (ties to even):
// value ~= digits * 10^(exponent - P + 1) with 10^(P-1) <= digits < 10^P. The value times 10^k is
// exact in 128 bits while k <= 22 and the value has a fraction in binary; false otherwise.
template <int P>
bool RoundToDigits(double value, uint64_t& digits, int& exponent) {
    uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    const int biased = static_cast<int>(bits >> 52) & 0x7FF;
    const int shift = 1075 - biased; // value = mantissa / 2^shift
    // floor(log10(2) * binary exponent): the decimal exponent or one below it.
    int e10 = ((biased - 1023) * 78913) >> 18;
    const int k = P - 1 - e10;
    if (biased == 0 || k < 0 || k > 22 || shift <= 0 || shift > 127) return false;
    const uint64_t mantissa = (bits & ((uint64_t{1} << 52) - 1)) | (uint64_t{1} << 52);
    const Uint128 scaled = mantissa * kPow10[k];
    const Uint128 wide = scaled >> shift;
    if (wide < kPow10[P - 1] || wide >= kPow10[P + 1]) return false;
    uint64_t whole = static_cast<uint64_t>(wide);
    const Uint128 rest = scaled & ((Uint128{1} << shift) - 1);
    const Uint128 half = Uint128{1} << (shift - 1);
    bool up;
    if (whole >= kPow10[P]) {
        // One digit too many: round the last one away; what lies behind it only breaks a tie.
        const uint64_t last = whole % 10;
        whole /= 10;
        ++e10;
        up = last > 5 || (last == 5 && (rest != 0 || (whole & 1) != 0));
    } else {
        up = rest > half || (rest == half && (whole & 1) != 0);
    }
    if (up && ++whole == kPow10[P]) {
        whole = static_cast<uint64_t>(kPow10[P - 1]);
        ++e10;
    }
    digits = whole;
    exponent = e10;
    return true;
}

// The text of "%.<P>g" from rounded digits: fixed form for exponents from -4 to P - 1, else
// d.ddde+XX; trailing zeros and a bare point are dropped.
template <int P>
size_t LayOutGeneral(char16_t* out, bool negative, uint64_t digits, int exponent) {
    static constexpr char kPairs[] =
        "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
        "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
        "8081828384858687888990919293949596979899";
    char16_t d[20];
    int n = P;
    for (; n >= 2; n -= 2) {
        const char* pair = kPairs + 2 * (digits % 100);
        digits /= 100;
        d[n - 2] = static_cast<char16_t>(pair[0]);
        d[n - 1] = static_cast<char16_t>(pair[1]);
    }
    if (n == 1) d[0] = static_cast<char16_t>(u'0' + digits);
    int count = P;
    while (d[count - 1] == u'0') --count;
    char16_t* p = out;
    if (negative) *p++ = u'-';
    if (exponent < -4 || exponent >= P) {
        *p++ = d[0];
        if (count > 1) {
            *p++ = u'.';
            for (int i = 1; i < count; ++i) *p++ = d[i];
        }
        *p++ = u'e';
        *p++ = exponent < 0 ? u'-' : u'+';
        unsigned e = static_cast<unsigned>(exponent < 0 ? -exponent : exponent);
        if (e >= 100) *p++ = static_cast<char16_t>(u'0' + e / 100);
        *p++ = static_cast<char16_t>(u'0' + e / 10 % 10);
        *p++ = static_cast<char16_t>(u'0' + e % 10);
    } else if (exponent < 0) {
        *p++ = u'0';
        *p++ = u'.';
        for (int i = -1; i > exponent; --i) *p++ = u'0';
        for (int i = 0; i < count; ++i) *p++ = d[i];
    } else {
        for (int i = 0; i <= exponent; ++i) *p++ = i < count ? d[i] : u'0';
        if (count > exponent + 1) {
            *p++ = u'.';
            for (int i = exponent + 1; i < count; ++i) *p++ = d[i];
        }
    }
    return static_cast<size_t>(p - out);
}

// "%.<P>g" in the C locale, as snprintf writes it, without the cost of printf: exact
// integer rounding for the usual magnitudes, the standard library's exact one for the rest.
template <int P>
std::u16string GeneralText(double value) {
    char16_t out[48];
    const bool negative = std::signbit(value);
    if (value == 0) return negative ? u"-0" : u"0";
    uint64_t digits;
    int exponent;
    if (RoundToDigits<P>(std::fabs(value), digits, exponent))
        return std::u16string(out, LayOutGeneral<P>(out, negative, digits, exponent));
    char buf[48];
    const auto result = std::to_chars(buf, buf + sizeof buf, value, std::chars_format::general, P);
    char16_t* p = out;
    for (const char* c = buf; c != result.ptr; ++c) *p++ = static_cast<char16_t>(*c);
    return std::u16string(out, p);
}

template <int P>
std::u16string RealToString(double value, const std::u16string& format, size_t bufferLength) {
    if (std::isnan(value)) return u"NaN";
    if (std::isinf(value)) return value < 0 ? u"-INF" : u"INF";
    if (format.empty()) return GeneralText<P>(value);
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
    return RealToString<7>(static_cast<double>(value), format, 32);
}

std::u16string CConversions::r8ToString(double value, const std::u16string& format) {
    return RealToString<16>(value, format, 48);
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
