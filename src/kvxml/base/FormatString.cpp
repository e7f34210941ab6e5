#include "kvxml/base/FormatString.h"

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <string>
#include <type_traits>

#include "kvxml/base/CKvException.h"
#include "kvxml/base/CNumberText.h"

namespace KvXmlLib16 {

namespace {

// Widths and precisions beyond this are refused rather than allocated.
constexpr int kMaxFieldSize = 1 << 24;

size_t WideLength(const char16_t* s) {
    size_t n = 0;
    while (s[n]) ++n;
    return n;
}

size_t NarrowLength(const char* s) {
    size_t n = 0;
    while (s[n]) ++n;
    return n;
}

// Reads decimal digits at p, advancing it; guards against absurd values.
int ReadNumber(const char16_t*& p) {
    long long value = 0;
    while (*p >= u'0' && *p <= u'9') {
        value = value * 10 + (*p - u'0');
        if (value > kMaxFieldSize) throw CKvException(u"Format field width or precision is too large");
        ++p;
    }
    return static_cast<int>(value);
}

int CheckedField(int value) {
    if (value > kMaxFieldSize || value < -kMaxFieldSize)
        throw CKvException(u"Format field width or precision is too large");
    return value;
}

enum class Width { Default, Short, Char, Long64, Narrow, Wide };

// One conversion, as both passes read it.
struct Conversion {
    bool left = false, plus = false, blank = false, alt = false, zero = false;
    int width = 0;
    int precision = -1; // -1: none given
    bool is64 = false;
    bool forceNarrow = false;
    bool forceWide = false;
    bool isShort = false;
    bool isChar = false;
    char16_t type = 0;
};

// ---- pass one: an upper bound of the output length ----

size_t MeasureFloatF(double value, int width, int precision) {
    // The text of the value is really produced, with six extra digits of precision, into a
    // scratch area of the larger of precision + 318 and the width.
    const size_t scratch = static_cast<size_t>(precision + 318 > width ? precision + 318 : width);
    int n = std::snprintf(nullptr, 0, "%*.*f", width, precision + 6, value);
    if (n < 0) return 0;
    return static_cast<size_t>(n) < scratch ? static_cast<size_t>(n) : scratch;
}

size_t MeasureBound(const char16_t* format, va_list args) {
    size_t total = 0;
    const char16_t* p = format;
    while (*p) {
        if (*p != u'%') {
            ++total;
            ++p;
            continue;
        }
        ++p;
        if (*p == u'%') {
            ++total;
            ++p;
            continue;
        }
        if (*p == 0) break;

        int width = 0;
        int precision = 0;
        for (;; ++p) {
            if (*p == u'#')
                total += 2;
            else if (*p == u'*')
                width = CheckedField(va_arg(args, int));
            else if (*p == u'-' || *p == u'+' || *p == u'0' || *p == u' ') {
            } else
                break;
        }
        if (width == 0) width = ReadNumber(p);
        if (*p == u'.') {
            ++p;
            if (*p == u'*') {
                precision = CheckedField(va_arg(args, int));
                ++p;
            } else
                precision = ReadNumber(p);
        }
        if (width < 0) width = -width;
        if (precision < 0) precision = 0;

        bool is64 = false, narrow = false, wide = false;
        for (;;) {
            if (p[0] == u'I' && p[1] == u'6' && p[2] == u'4') {
                is64 = true;
                p += 3;
            } else if (p[0] == u'I' && p[1] == u'3' && p[2] == u'2') {
                p += 3;
            } else if (*p == u'I') {
                is64 = true;
                ++p;
            } else if (*p == u'F' || *p == u'L' || *p == u'N')
                ++p;
            else if (*p == u'h') {
                narrow = true;
                ++p;
            } else if (*p == u'l') {
                if (p[1] == u'l') {
                    is64 = true;
                    ++p;
                } else
                    wide = true;
                ++p;
            } else if (*p == u'w') {
                wide = true;
                ++p;
            } else
                break;
        }

        const char16_t type = *p;
        if (type == 0) break;
        ++p;
        size_t size = 0;
        switch (type) {
        case u'c':
        case u'C':
            (void)va_arg(args, int);
            size = 2;
            if (precision != 0 && static_cast<size_t>(precision) < size) size = precision;
            if (size < static_cast<size_t>(width)) size = width;
            break;
        case u's':
        case u'S': {
            const bool isWide = type == u's' ? !narrow : wide;
            const void* ptr = va_arg(args, const void*);
            if (!ptr)
                size = 6;
            else {
                size = isWide ? WideLength(static_cast<const char16_t*>(ptr))
                              : NarrowLength(static_cast<const char*>(ptr));
                if (size < 1) size = 1;
            }
            if (precision != 0 && static_cast<size_t>(precision) < size) size = precision;
            if (size < static_cast<size_t>(width)) size = width;
            break;
        }
        case u'd':
        case u'i':
        case u'u':
        case u'x':
        case u'X':
        case u'o':
            if (is64)
                (void)va_arg(args, long long);
            else
                (void)va_arg(args, int);
            size = width + precision > 32 ? width + precision : 32;
            break;
        case u'p':
            (void)va_arg(args, void*);
            size = width + precision > 32 ? width + precision : 32;
            break;
        case u'e':
        case u'g':
        case u'G':
            (void)va_arg(args, double);
            size = width + precision > 128 ? width + precision : 128;
            break;
        case u'f': size = MeasureFloatF(va_arg(args, double), width, precision); break;
        case u'n': (void)va_arg(args, void*); break;
        case u'E':
        case u'a':
        case u'A':
            // Counted as nothing, but the argument is consumed so that later items are sized from
            // the right arguments; the output grows if the bound falls short.
            (void)va_arg(args, double);
            break;
        default: break;
        }
        total += size;
    }
    return total;
}

// ---- pass two: the output ----

void Pad(std::u16string& out, size_t count, char16_t fill) { out.append(count, fill); }

template <class CharT>
void EmitString(std::u16string& out, const CharT* s, const Conversion& conv) {
    static const char16_t kNull[] = u"(null)";
    size_t len = 0;
    const bool isNull = s == nullptr;
    const size_t limit = conv.precision >= 0 ? static_cast<size_t>(conv.precision) : SIZE_MAX;
    if (isNull) {
        len = 6 < limit ? 6 : limit;
    } else {
        while (len < limit && s[len]) ++len;
    }
    const size_t width = static_cast<size_t>(conv.width);
    const char16_t fill = conv.zero && !conv.left ? u'0' : u' ';
    if (!conv.left && len < width) Pad(out, width - len, fill);
    for (size_t i = 0; i < len; ++i) {
        if (isNull)
            out.push_back(kNull[i]);
        else if constexpr (sizeof(CharT) == 1)
            out.push_back(static_cast<unsigned char>(s[i]));
        else
            out.push_back(static_cast<char16_t>(s[i]));
    }
    if (conv.left && len < width) Pad(out, width - len, u' ');
}

void EmitChar(std::u16string& out, char16_t c, const Conversion& conv) {
    const size_t width = static_cast<size_t>(conv.width);
    const char16_t fill = conv.zero && !conv.left ? u'0' : u' ';
    if (!conv.left && width > 1) Pad(out, width - 1, fill);
    out.push_back(c);
    if (conv.left && width > 1) Pad(out, width - 1, u' ');
}

// Builds the narrow printf conversion for numbers and lets snprintf do the digits.
std::string NarrowConversion(const Conversion& conv, const char* length, char type) {
    std::string f = "%";
    if (conv.left) f += '-';
    if (conv.plus) f += '+';
    if (conv.blank) f += ' ';
    if (conv.alt) f += '#';
    if (conv.zero) f += '0';
    if (conv.width > 0) f += std::to_string(conv.width);
    if (conv.precision >= 0) {
        f += '.';
        f += std::to_string(conv.precision);
    }
    f += length;
    f += type;
    return f;
}

template <class T>
int PrintNumber(char* buffer, size_t size, const char* fmt, T value) {
    if constexpr (std::is_floating_point_v<T>)
        return FormatDoubleC(buffer, size, fmt, value);
    else
        return std::snprintf(buffer, size, fmt, value);
}

template <class T>
void EmitNumber(std::u16string& out, const std::string& fmt, T value) {
    char small[128];
    int n = PrintNumber(small, sizeof small, fmt.c_str(), value);
    if (n < 0) return;
    if (static_cast<size_t>(n) < sizeof small) {
        for (int i = 0; i < n; ++i) out.push_back(static_cast<unsigned char>(small[i]));
        return;
    }
    std::string big(static_cast<size_t>(n) + 1, '\0');
    n = PrintNumber(big.data(), big.size(), fmt.c_str(), value);
    for (int i = 0; i < n; ++i) out.push_back(static_cast<unsigned char>(big[i]));
}

void FormatInto(std::u16string& out, const char16_t* format, va_list args) {
    const char16_t* p = format;
    while (*p) {
        if (*p != u'%') {
            out.push_back(*p++);
            continue;
        }
        ++p;
        if (*p == u'%') {
            out.push_back(u'%');
            ++p;
            continue;
        }
        if (*p == 0) break;

        Conversion conv;
        for (;; ++p) {
            if (*p == u'-')
                conv.left = true;
            else if (*p == u'+')
                conv.plus = true;
            else if (*p == u' ')
                conv.blank = true;
            else if (*p == u'#')
                conv.alt = true;
            else if (*p == u'0')
                conv.zero = true;
            else
                break;
        }
        if (*p == u'*') {
            conv.width = CheckedField(va_arg(args, int));
            if (conv.width < 0) {
                conv.left = true;
                conv.width = -conv.width;
            }
            ++p;
        } else {
            conv.width = ReadNumber(p);
        }
        if (*p == u'.') {
            ++p;
            if (*p == u'*') {
                conv.precision = CheckedField(va_arg(args, int));
                ++p;
            } else
                conv.precision = ReadNumber(p);
            if (conv.precision < 0) conv.precision = -1;
        }
        for (;;) {
            if (p[0] == u'I' && p[1] == u'6' && p[2] == u'4') {
                conv.is64 = true;
                p += 3;
            } else if (p[0] == u'I' && p[1] == u'3' && p[2] == u'2') {
                p += 3;
            } else if (*p == u'I') {
                conv.is64 = true;
                ++p;
            } // pointer-sized
            else if (*p == u'F' || *p == u'L' || *p == u'N')
                ++p;
            else if (*p == u'h') {
                if (conv.isShort) conv.isChar = true;
                conv.isShort = true;
                conv.forceNarrow = true;
                ++p;
            } else if (*p == u'l') {
                if (p[1] == u'l') {
                    conv.is64 = true;
                    p += 2;
                } else {
                    conv.forceWide = true;
                    ++p;
                }
            } else if (*p == u'w') {
                conv.forceWide = true;
                ++p;
            } else
                break;
        }

        conv.type = *p;
        if (conv.type == 0) break;
        ++p;
        switch (conv.type) {
        case u'c':
        case u'C': {
            const int v = va_arg(args, int);
            const bool wide = conv.type == u'c' ? !conv.forceNarrow : conv.forceWide;
            EmitChar(out, wide ? static_cast<char16_t>(v) : static_cast<char16_t>(static_cast<unsigned char>(v)), conv);
            break;
        }
        case u's':
        case u'S': {
            const bool wide = conv.type == u's' ? !conv.forceNarrow : conv.forceWide;
            if (wide)
                EmitString(out, va_arg(args, const char16_t*), conv);
            else
                EmitString(out, va_arg(args, const char*), conv);
            break;
        }
        case u'd':
        case u'i':
            if (conv.is64)
                EmitNumber(out, NarrowConversion(conv, "ll", 'd'), va_arg(args, long long));
            else {
                int v = va_arg(args, int);
                if (conv.isChar)
                    v = static_cast<signed char>(v);
                else if (conv.isShort)
                    v = static_cast<short>(v);
                EmitNumber(out, NarrowConversion(conv, "", 'd'), v);
            }
            break;
        case u'u':
        case u'x':
        case u'X':
        case u'o': {
            const char t = static_cast<char>(conv.type);
            if (conv.is64)
                EmitNumber(out, NarrowConversion(conv, "ll", t), va_arg(args, unsigned long long));
            else {
                unsigned v = va_arg(args, unsigned);
                if (conv.isChar)
                    v = static_cast<unsigned char>(v);
                else if (conv.isShort)
                    v = static_cast<unsigned short>(v);
                EmitNumber(out, NarrowConversion(conv, "", t), v);
            }
            break;
        }
        case u'p': {
            // Upper-case hexadecimal, zero-padded to the width of a pointer, no prefix.
            const auto v = reinterpret_cast<uintptr_t>(va_arg(args, void*));
            Conversion pc = conv;
            pc.alt = pc.plus = pc.blank = pc.zero = false;
            pc.precision = static_cast<int>(2 * sizeof(void*));
            EmitNumber(out, NarrowConversion(pc, "ll", 'X'), static_cast<unsigned long long>(v));
            break;
        }
        case u'e':
        case u'E':
        case u'f':
        case u'g':
        case u'G':
        case u'a':
        case u'A':
            EmitNumber(out, NarrowConversion(conv, "", static_cast<char>(conv.type)), va_arg(args, double));
            break;
        case u'n':
            // Writing through a caller's pointer is never done: the argument is consumed only.
            (void)va_arg(args, void*);
            break;
        default: out.push_back(conv.type); break;
        }
    }
}

} // namespace

std::u16string FormatString(const char16_t* format, ...) {
    if (!format) return std::u16string();

    va_list args;
    va_start(args, format);
    va_list second;
    va_copy(second, args);

    std::u16string out;
    try {
        const size_t bound = MeasureBound(format, args);
        out.reserve(bound + 1);
        FormatInto(out, format, second);
    } catch (...) {
        va_end(second);
        va_end(args);
        throw;
    }
    va_end(second);
    va_end(args);

    // The result ends at the first terminator written, as a C buffer would.
    const size_t nul = out.find(u'\0');
    if (nul != std::u16string::npos) out.resize(nul);
    return out;
}

} // namespace KvXmlLib16
