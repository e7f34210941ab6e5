#pragma once

#include <cstdint>
#include <string>

#include "kvxml/platform/KvExport.h"

namespace KvXmlLib16 {

class CBinaryBuffer;

// Handle on a shared, reference-counted, copy-on-write byte buffer. Copying a handle costs one
// count increment; every write through a handle first detaches it from other holders. Handles on
// one buffer may live on different threads (the buffer has its own lock); one handle may not.
// Wide text, where taken as bytes, is its 16-bit units low byte first, without the terminator.
class KVXML_API CBinaryData {
public:
    CBinaryData();
    CBinaryData(const CBinaryData& other);
    // A length of 0 gives an empty handle (an adopted block is then freed). With adopt the block
    // (allocated by new[]) is taken over as it stands, capacity equal to length; otherwise the
    // bytes are copied.
    CBinaryData(const unsigned char* bytes, uint32_t length, bool adopt);
    explicit CBinaryData(const char16_t* text);
    virtual ~CBinaryData();

    CBinaryData& operator=(const CBinaryData& other);

    // Hands the block to the caller, who frees it with delete[]; the handle becomes empty.
    unsigned char* ReleaseData();
    // No lock is taken: the handle stays the owner and the pointer is valid until the next write.
    unsigned char* GetData() const;
    uint32_t GetLength() const;

    void Append(const unsigned char* bytes, uint32_t length);
    void Append(unsigned char byte);
    void Append(char16_t c);
    void Append(const char16_t* text);
    void Append(const std::u16string& text); // up to the first NUL
    void Append(const CBinaryData& other);

    void SetBuffer(const unsigned char* bytes, uint32_t length);
    void SetBuffer(const char16_t* text);

    std::u16string GetAsBase64() const;
    // Forgiving decoder: blanks and '=' are skipped anywhere; any other foreign character gives
    // a handle on 0 bytes, without an exception.
    void SetAsBase64(const char16_t* text);

    std::u16string GetAsHexString() const;
    static std::u16string GetAsHexString(const unsigned char* bytes, uint32_t length);
    void SetAsHexString(const char16_t* text);

    bool operator==(const CBinaryData& other) const;
    bool operator!=(const CBinaryData& other) const { return !(*this == other); }

    // Index equal to the length is let through (the position behind the last byte) as long as
    // the block reaches that far; the non-const form detaches first.
    const unsigned char& operator[](uint32_t index) const;
    unsigned char& operator[](uint32_t index);

    void Clear();

protected:
    // Decodes hex text into a new block (delete[]) and returns its byte count; 0 gives null.
    static uint32_t ConvertToHexData(const char16_t* text, unsigned char** data);

    // Points the handle at a new buffer that takes over `block` (new[]), whatever the length.
    void AdoptBlock(unsigned char* block, uint32_t length, uint32_t capacity);

    CBinaryBuffer* m_pBuffer;

private:
    void Detach();
};

// Wide text (up to its first NUL) as UTF-8 bytes, without a byte-order mark. A broken surrogate
// ends the conversion there: what was converted before it is the result.
KVXML_API CBinaryData WideToUtf8(const char16_t* text);

} // namespace KvXmlLib16
