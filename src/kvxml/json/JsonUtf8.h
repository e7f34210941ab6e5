#pragma once

// Internal to the JSON loading path: UTF-8 bytes to wide text.

#include <cstddef>
#include <string>

namespace KvXmlLib16 {

// Decodes UTF-8 into UTF-16, characters beyond the BMP as surrogate pairs. A malformed, overlong
// or truncated sequence, and an encoded surrogate, become U+FFFD each; nothing is read past count.
std::u16string Utf8ToWide(const unsigned char* bytes, size_t count);

} // namespace KvXmlLib16
