#pragma once

// Text pieces shared by the date/time and duration writers. Internal: not part of the public API.

#include <cstdint>
#include <string>

namespace KvXmlLib16 {
namespace DateTimeText {

// Decimal digits of value, left-padded with zeros to at least width characters.
inline void AppendNumber(std::u16string& out, uint64_t value, int width = 1) {
    char16_t buf[24];
    int n = 0;
    do {
        buf[n++] = static_cast<char16_t>(u'0' + value % 10);
        value /= 10;
    } while (value != 0);
    for (int i = n; i < width; ++i) out.push_back(u'0');
    while (n > 0) out.push_back(buf[--n]);
}

// "." and milli, micro, nano in three digits each, trailing zeros dropped; nothing if all are 0.
inline void AppendFraction(std::u16string& out, uint16_t milli, uint16_t micro, uint16_t nano) {
    if (milli == 0 && micro == 0 && nano == 0) return;
    out.push_back(u'.');
    AppendNumber(out, milli, 3);
    if (micro != 0 || nano != 0) AppendNumber(out, micro, 3);
    if (nano != 0) AppendNumber(out, nano, 3);
    while (out.back() == u'0') out.pop_back();
}

inline bool IsDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

} // namespace DateTimeText
} // namespace KvXmlLib16
