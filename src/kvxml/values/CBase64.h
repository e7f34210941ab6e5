#pragma once

#include <cstdint>
#include <string>

namespace KvXmlLib16 {

// Base64 coder of CBinaryData (RFC 4648 alphabet, '=' padding, no line breaks). One object
// serves one call.
class CBase64 {
public:
    CBase64();
    virtual ~CBase64();

    std::u16string Encode(const unsigned char* data, uint32_t length);
    // Decodes `length` characters into `out`, which must hold at least length * 3 / 4 + 1 bytes,
    // and returns the number of bytes written. A character outside the alphabet, '=' and the
    // four blanks ends decoding with 0 bytes.
    uint32_t Decode(const char16_t* text, uint32_t length, unsigned char* out);

private:
    uint32_t m_length;
    int32_t m_bitsWaiting;
    uint32_t m_accumulator;
    const char16_t* m_input;
};

} // namespace KvXmlLib16
