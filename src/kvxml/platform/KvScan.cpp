// Number scanning over 16-bit text with the results of the Windows C run-time in the C locale.
// Only ASCII counts: white space is TAB, LF, VT, FF, CR and blank; digits are 0-9 and the
// letters a-z/A-Z for bases above ten. Locale settings of the process never change the result.

#include "kvxml/platform/KvPlatform.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <locale.h>
#include <string>

namespace KvXmlLib16 {
namespace Platform {

namespace {

inline bool IsSpace(char16_t c) { return c == u' ' || (c >= u'\t' && c <= u'\r'); }

inline bool IsDecimalDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

// Value of c as a digit of any base up to 36, or 99 when c is not a digit at all.
inline unsigned DigitValue(char16_t c) {
    if (c >= u'0' && c <= u'9') return unsigned(c - u'0');
    if (c >= u'a' && c <= u'z') return unsigned(c - u'a') + 10;
    if (c >= u'A' && c <= u'Z') return unsigned(c - u'A') + 10;
    return 99;
}

// The shared scanner of the four integer conversions. U is the unsigned type of the result's
// width; signedMax is the largest positive value of the signed form (ignored when unsigned).
// Digits keep being consumed after an overflow, so the end points past all of them.
template <typename U>
U ScanInteger(const char16_t* text, char16_t** end, int base, bool isSigned, U signedMax) {
    if (text == nullptr) {
        errno = EINVAL;
        if (end != nullptr) *end = nullptr;
        return 0;
    }
    if (base < 0 || base == 1 || base > 36) {
        errno = EINVAL;
        if (end != nullptr) *end = const_cast<char16_t*>(text);
        return 0;
    }

    const char16_t* p = text;
    while (IsSpace(*p)) ++p;

    bool negative = false;
    if (*p == u'-') {
        negative = true;
        ++p;
    } else if (*p == u'+') {
        ++p;
    }

    // A "0x" prefix is taken for base 16 and, with base 0, selects 16; a lone leading zero
    // with base 0 selects octal. "0x" followed by no hex digit converts nothing at all.
    if (base == 0 || base == 16) {
        if (p[0] == u'0' && (p[1] == u'x' || p[1] == u'X')) {
            p += 2;
            base = 16;
        } else if (base == 0) {
            base = (p[0] == u'0') ? 8 : 10;
        }
    }

    const U ubase = static_cast<U>(base);
    const U maxBeforeMultiply = static_cast<U>(~U(0)) / ubase;
    U number = 0;
    bool overflow = false;
    bool anyDigit = false;
    for (;; ++p) {
        const unsigned digit = DigitValue(*p);
        if (digit >= unsigned(base)) break;
        anyDigit = true;
        if (overflow) continue;
        if (number > maxBeforeMultiply) {
            overflow = true;
            continue;
        }
        const U multiplied = number * ubase;
        const U added = multiplied + digit;
        if (added < multiplied) {
            overflow = true;
            continue;
        }
        number = added;
    }

    if (!anyDigit) {
        if (end != nullptr) *end = const_cast<char16_t*>(text);
        return 0;
    }
    if (end != nullptr) *end = const_cast<char16_t*>(p);

    if (isSigned) {
        // The negative limit has one more unit than the positive one.
        const U limit = negative ? static_cast<U>(signedMax + 1) : signedMax;
        if (overflow || number > limit) {
            errno = ERANGE;
            return negative ? static_cast<U>(signedMax + 1) : signedMax;
        }
    } else if (overflow) {
        errno = ERANGE;
        return static_cast<U>(~U(0));
    }
    // Both forms negate in unsigned arithmetic: "-1" in an unsigned conversion wraps to all ones.
    return negative ? static_cast<U>(U(0) - number) : number;
}

// The C locale, fixed once, so that a process-wide setlocale never changes the decimal point.
locale_t CLocale() {
    static const locale_t loc = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(0));
    return loc;
}

} // namespace

int32_t WcsToL(const char16_t* text, char16_t** end, int base) {
    const uint32_t bits = ScanInteger<uint32_t>(text, end, base, true, uint32_t(INT32_MAX));
    return static_cast<int32_t>(bits);
}

uint32_t WcsToUL(const char16_t* text, char16_t** end, int base) {
    return ScanInteger<uint32_t>(text, end, base, false, 0);
}

int64_t WcsToI64(const char16_t* text, char16_t** end, int base) {
    const uint64_t bits = ScanInteger<uint64_t>(text, end, base, true, uint64_t(INT64_MAX));
    return static_cast<int64_t>(bits);
}

uint64_t WcsToUI64(const char16_t* text, char16_t** end, int base) {
    return ScanInteger<uint64_t>(text, end, base, false, 0);
}

int WToI(const char16_t* text) { return WcsToL(text, nullptr, 10); }

double WcsToD(const char16_t* text, char16_t** end) {
    if (text == nullptr) {
        errno = EINVAL;
        if (end != nullptr) *end = nullptr;
        return 0.0;
    }

    // Accept: blanks, [sign] digits [. digits] or [sign] . digits, then [e|E [sign] digits].
    // Anything else - the words inf/infinity/nan, hexadecimal forms - converts nothing.
    const char16_t* p = text;
    while (IsSpace(*p)) ++p;
    const char16_t* const start = p;
    if (*p == u'+' || *p == u'-') ++p;
    size_t mantissaDigits = 0;
    while (IsDecimalDigit(*p)) {
        ++p;
        ++mantissaDigits;
    }
    if (*p == u'.') {
        ++p;
        while (IsDecimalDigit(*p)) {
            ++p;
            ++mantissaDigits;
        }
    }
    if (mantissaDigits == 0) {
        if (end != nullptr) *end = const_cast<char16_t*>(text);
        return 0.0;
    }
    // The exponent counts only when at least one digit follows its letter and sign.
    if (*p == u'e' || *p == u'E') {
        const char16_t* q = p + 1;
        if (*q == u'+' || *q == u'-') ++q;
        if (IsDecimalDigit(*q)) {
            while (IsDecimalDigit(*q)) ++q;
            p = q;
        }
    }

    // The span is pure ASCII by now; hand a narrow copy to the C library for exact rounding.
    const size_t length = size_t(p - start);
    char small[128];
    std::string large;
    char* narrow = small;
    if (length >= sizeof(small)) {
        large.resize(length);
        narrow = large.data();
    }
    for (size_t i = 0; i < length; ++i) narrow[i] = static_cast<char>(start[i]);
    narrow[length] = '\0';

    const int savedErrno = errno;
    errno = 0;
    char* narrowEnd = nullptr;
    const double value = strtod_l(narrow, &narrowEnd, CLocale());
    // Keep the caller's errno unless the conversion itself reports a range error.
    if (errno != ERANGE) errno = savedErrno;
    if (end != nullptr) *end = const_cast<char16_t*>(start + (narrowEnd - narrow));
    return value;
}

int WcsICmp(const char16_t* a, const char16_t* b) {
    if (a == nullptr || b == nullptr) {
        errno = EINVAL;
        return INT_MAX;
    }
    // Both sides are folded to lower case (ASCII only), so '_' sorts before letters.
    for (;; ++a, ++b) {
        char16_t ca = *a;
        char16_t cb = *b;
        if (ca >= u'A' && ca <= u'Z') ca = char16_t(ca + (u'a' - u'A'));
        if (cb >= u'A' && cb <= u'Z') cb = char16_t(cb + (u'a' - u'A'));
        if (ca != cb || ca == 0) return int(ca) - int(cb);
    }
}

} // namespace Platform
} // namespace KvXmlLib16
