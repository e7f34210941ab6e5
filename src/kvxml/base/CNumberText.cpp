#include "kvxml/base/CNumberText.h"

#include <clocale>
#include <cstdio>
#include <cstring>

namespace KvXmlLib16 {

int FormatDoubleC(char* buffer, size_t size, const char* format, double value) {
    const int n = std::snprintf(buffer, size, format, value);
    if (n <= 0 || size == 0) return n;
    const char* point = std::localeconv()->decimal_point;
    if (!point || (point[0] == '.' && point[1] == 0)) return n;
    // Replace the locale's decimal point (possibly several bytes) by '.' in what was written.
    const size_t pointLength = std::strlen(point);
    const size_t written = static_cast<size_t>(n) < size ? static_cast<size_t>(n) : size - 1;
    char* hit = pointLength ? std::strstr(buffer, point) : nullptr;
    if (!hit || static_cast<size_t>(hit - buffer) >= written) return n;
    *hit = '.';
    std::memmove(hit + 1, hit + pointLength, std::strlen(hit + pointLength) + 1);
    return n - static_cast<int>(pointLength - 1);
}

} // namespace KvXmlLib16
