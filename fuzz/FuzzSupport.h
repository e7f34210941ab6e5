// Shared by the harnesses: the library reports bad input by throwing CKvException, which is
// the expected outcome for most fuzz inputs; anything else escaping is a finding.
#pragma once

#include <kvxml/KvXmlLib16.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace KvFuzz {

// Each byte widened to one code unit; a byte pair after 0xFF gives any unit, so that the text
// parsers also meet surrogates and characters beyond Latin-1.
inline std::u16string Widen(const uint8_t* data, size_t size) {
    std::u16string text;
    text.reserve(size);
    for (size_t i = 0; i < size; ++i) {
        if (data[i] == 0xFF && i + 2 < size) {
            text += static_cast<char16_t>(data[i + 1] | (data[i + 2] << 8));
            i += 2;
        } else {
            text += static_cast<char16_t>(data[i]);
        }
    }
    return text;
}

// The library's entry points take a 32-bit count; inputs are kept far below that.
inline uint32_t Count(size_t size) { return static_cast<uint32_t>(size); }

} // namespace KvFuzz
