#include "kvxml/json/JsonUtf8.h"

#include <cstdint>

namespace KvXmlLib16 {

std::u16string Utf8ToWide(const unsigned char* bytes, size_t count) {
    std::u16string out;
    out.reserve(count);
    size_t i = 0;
    while (i < count) {
        // ASCII runs are the common case and are copied without decoding.
        const size_t start = i;
        while (i < count && bytes[i] < 0x80) ++i;
        if (i > start) {
            const size_t at = out.size();
            out.resize(at + (i - start));
            for (size_t k = start; k < i; ++k) out[at + (k - start)] = bytes[k];
            if (i == count) break;
        }
        const unsigned char lead = bytes[i];
        uint32_t code;
        size_t length;
        uint32_t minimum;
        if (lead >= 0xC2 && lead <= 0xDF) {
            code = lead & 0x1F;
            length = 2;
            minimum = 0x80;
        } else if (lead >= 0xE0 && lead <= 0xEF) {
            code = lead & 0x0F;
            length = 3;
            minimum = 0x800;
        } else if (lead >= 0xF0 && lead <= 0xF4) {
            code = lead & 0x07;
            length = 4;
            minimum = 0x10000;
        } else {
            out.push_back(0xFFFD);
            ++i;
            continue;
        }
        size_t k = 1;
        for (; k < length && i + k < count && (bytes[i + k] & 0xC0) == 0x80; ++k)
            code = (code << 6) | (bytes[i + k] & 0x3F);
        if (k < length || code < minimum || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) {
            // The bytes taken so far stand for one replacement character.
            out.push_back(0xFFFD);
            i += k;
            continue;
        }
        i += length;
        if (code < 0x10000) {
            out.push_back(static_cast<char16_t>(code));
        } else {
            code -= 0x10000;
            out.push_back(static_cast<char16_t>(0xD800 + (code >> 10)));
            out.push_back(static_cast<char16_t>(0xDC00 + (code & 0x3FF)));
        }
    }
    return out;
}

} // namespace KvXmlLib16
