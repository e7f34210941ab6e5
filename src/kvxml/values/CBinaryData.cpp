#include "kvxml/values/CBinaryData.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cstring>
#include <memory>

#include "kvxml/base/CKVCriticalSection.h"
#include "kvxml/base/CKvException.h"
#include "kvxml/base/FormatString.h"
#include "kvxml/values/CBase64.h"

namespace KvXmlLib16 {

// One per distinct content. The count and the content are guarded by the lock; a handle that
// holds the only reference may write without it, as nobody else can reach the buffer. The count
// changes only under the lock; it and the length are atomic so that such a holder may test the
// one and advance the other without it (AppendInPlace).
class CBinaryBuffer {
public:
    CBinaryBuffer(unsigned char* data, uint32_t length, uint32_t capacity)
        : m_data(data), m_length(length), m_capacity(capacity), m_refCount(1) {}

    unsigned char* m_data;
    std::atomic<uint32_t> m_length;
    uint32_t m_capacity;
    std::atomic<int32_t> m_refCount;
    CKVCriticalSection m_cs;
};

namespace {

constexpr uint32_t kMinCapacity = 8192;
constexpr uint64_t kMaxLength = UINT32_MAX;

// Capacity of a buffer that is going to be written: room to grow, never less than 8192.
uint32_t GrowCapacity(uint64_t needed, uint32_t floor) {
    const uint64_t wanted = std::max<uint64_t>(needed * 2, floor);
    return static_cast<uint32_t>(std::min<uint64_t>(wanted, kMaxLength));
}

CBinaryBuffer* NewCopyBuffer(const unsigned char* bytes, uint32_t length) {
    const uint32_t capacity = GrowCapacity(length, kMinCapacity);
    std::unique_ptr<unsigned char[]> block(new unsigned char[capacity]);
    if (length != 0) std::memcpy(block.get(), bytes, length);
    auto* buffer = new CBinaryBuffer(block.get(), length, capacity);
    block.release();
    return buffer;
}

size_t WideLength(const char16_t* text) {
    if (text == nullptr) return 0;
    size_t n = 0;
    while (text[n] != 0) ++n;
    return n;
}

uint32_t CheckedByteLength(size_t chars) {
    if (chars > kMaxLength / 2) throw CKvException(u"Binary data can not hold more than 4294967295 bytes");
    return static_cast<uint32_t>(chars * 2);
}

// Calls f(bytes, byteCount) with the wide text as bytes, low byte first.
template <class F>
void WithWideBytes(const char16_t* text, size_t chars, F&& f) {
    const uint32_t byteCount = CheckedByteLength(chars);
    if constexpr (std::endian::native == std::endian::little) {
        f(reinterpret_cast<const unsigned char*>(text), byteCount);
    } else {
        std::unique_ptr<unsigned char[]> tmp(new unsigned char[byteCount]);
        for (size_t i = 0; i < chars; ++i) {
            tmp[2 * i] = static_cast<unsigned char>(text[i] & 0xFF);
            tmp[2 * i + 1] = static_cast<unsigned char>(text[i] >> 8);
        }
        f(tmp.get(), byteCount);
    }
}

constexpr char16_t kHexDigits[] = u"0123456789ABCDEF";

constexpr std::array<int8_t, 256> MakeHexTable() {
    std::array<int8_t, 256> t{};
    for (auto& e : t) e = -1;
    for (int i = 0; i < 10; ++i) t['0' + i] = static_cast<int8_t>(i);
    for (int i = 0; i < 6; ++i) {
        t['A' + i] = static_cast<int8_t>(10 + i);
        t['a' + i] = static_cast<int8_t>(10 + i);
    }
    return t;
}

constexpr std::array<int8_t, 256> kHexValues = MakeHexTable();

inline int HexValue(char16_t c) { return c < 256 ? kHexValues[c] : -1; }

} // namespace

CBinaryData::CBinaryData() : m_pBuffer(nullptr) {}

CBinaryData::CBinaryData(const CBinaryData& other) : m_pBuffer(other.m_pBuffer) {
    if (m_pBuffer != nullptr) {
        CKVCriticalSectionGuard guard(m_pBuffer->m_cs);
        ++m_pBuffer->m_refCount;
    }
}

CBinaryData::CBinaryData(const unsigned char* bytes, uint32_t length, bool adopt) : m_pBuffer(nullptr) {
    if (bytes == nullptr || length == 0) {
        // A handed-over block that holds nothing is still ours to free.
        if (adopt) delete[] bytes;
        return;
    }
    if (adopt)
        AdoptBlock(const_cast<unsigned char*>(bytes), length, length);
    else
        m_pBuffer = NewCopyBuffer(bytes, length);
}

CBinaryData::CBinaryData(const char16_t* text) : m_pBuffer(nullptr) {
    const size_t chars = WideLength(text);
    if (chars == 0) return;
    WithWideBytes(text, chars, [this](const unsigned char* b, uint32_t n) { m_pBuffer = NewCopyBuffer(b, n); });
}

CBinaryData::~CBinaryData() { Clear(); }

CBinaryData& CBinaryData::operator=(const CBinaryData& other) {
    // The new reference is taken before the old one goes, which makes self-assignment harmless.
    CBinaryBuffer* buffer = other.m_pBuffer;
    if (buffer != nullptr) {
        CKVCriticalSectionGuard guard(buffer->m_cs);
        ++buffer->m_refCount;
    }
    Clear();
    m_pBuffer = buffer;
    return *this;
}

void CBinaryData::AdoptBlock(unsigned char* block, uint32_t length, uint32_t capacity) {
    Clear();
    try {
        m_pBuffer = new CBinaryBuffer(block, length, capacity);
    } catch (...) {
        delete[] block;
        throw;
    }
}

void CBinaryData::Clear() {
    CBinaryBuffer* buffer = m_pBuffer;
    if (buffer == nullptr) return;
    m_pBuffer = nullptr;
    int32_t count;
    {
        CKVCriticalSectionGuard guard(buffer->m_cs);
        count = --buffer->m_refCount;
    }
    if (count == 0) {
        delete[] buffer->m_data;
        delete buffer;
    }
}

void CBinaryData::Detach() {
    CBinaryBuffer* buffer = m_pBuffer;
    CKVCriticalSectionGuard guard(buffer->m_cs);
    if (buffer->m_refCount < 2) return;
    CBinaryBuffer* copy = NewCopyBuffer(buffer->m_data, buffer->m_length);
    --buffer->m_refCount; // cannot reach 0: another holder remains
    m_pBuffer = copy;
}

unsigned char* CBinaryData::ReleaseData() {
    if (m_pBuffer == nullptr) return nullptr;
    Detach();
    CBinaryBuffer* buffer = m_pBuffer;
    unsigned char* data = buffer->m_data;
    int32_t count;
    {
        CKVCriticalSectionGuard guard(buffer->m_cs);
        count = --buffer->m_refCount;
    }
    // The reference is gone either way; the handle must not drop it a second time.
    m_pBuffer = nullptr;
    if (count > 0) throw CKvException(FormatString(u"Failed to release data. [RefCount=%d]", count));
    delete buffer;
    return data;
}

unsigned char* CBinaryData::GetData() const { return m_pBuffer != nullptr ? m_pBuffer->m_data : nullptr; }

uint32_t CBinaryData::GetLength() const {
    return m_pBuffer != nullptr ? m_pBuffer->m_length.load(std::memory_order_acquire) : 0;
}

namespace {

// Appends to a buffer that the caller holds alone, under its lock.
void AppendToSoleBuffer(CBinaryBuffer* buffer, const unsigned char* bytes, uint32_t length) {
    const uint64_t newLength = uint64_t{buffer->m_length} + length;
    if (newLength > kMaxLength) throw CKvException(u"Binary data can not hold more than 4294967295 bytes");
    if (newLength > buffer->m_capacity) {
        // Twice the needed size, without the floor of new buffers.
        const uint32_t capacity = GrowCapacity(newLength, 0);
        unsigned char* block = new unsigned char[capacity];
        std::memcpy(block, buffer->m_data, buffer->m_length);
        // The source may lie in the old block (a handle appended to itself): copy before freeing.
        std::memcpy(block + buffer->m_length, bytes, length);
        delete[] buffer->m_data;
        buffer->m_data = block;
        buffer->m_capacity = capacity;
    } else {
        std::memmove(buffer->m_data + buffer->m_length, bytes, length);
    }
    buffer->m_length.store(static_cast<uint32_t>(newLength), std::memory_order_release);
}

// Appends bytes that fit without the lock when the caller holds the buffer alone. A handle
// belongs to one thread at a time and the count rises only through a copy of a handle, so with
// a count of 1 nobody else can reach the buffer; the acquire pairs with the leaving of the last
// other holder. Growth, detaching and shared buffers take the lock as ever.
inline bool AppendInPlace(CBinaryBuffer* buffer, const unsigned char* bytes, uint32_t length) {
    if (buffer->m_refCount.load(std::memory_order_acquire) != 1) return false;
    const uint32_t used = buffer->m_length.load(std::memory_order_relaxed);
    if (length > buffer->m_capacity - used) return false;
    std::memmove(buffer->m_data + used, bytes, length);
    buffer->m_length.store(used + length, std::memory_order_release);
    return true;
}

// Out of line, so that the fast path of Append(unsigned char) needs no stack frame.
[[gnu::noinline]] void AppendOneByte(CBinaryData& data, unsigned char byte) { data.Append(&byte, 1); }

} // namespace

void CBinaryData::Append(const unsigned char* bytes, uint32_t length) {
    if (length == 0) return;
    if (bytes == nullptr) throw CKvException(u"Failed to append. [No data]");
    if (m_pBuffer == nullptr) {
        m_pBuffer = NewCopyBuffer(bytes, length);
        return;
    }
    if (AppendInPlace(m_pBuffer, bytes, length)) return;
    {
        // A sole holder that must grow (or a count that changed meanwhile): one pass under the lock.
        CKVCriticalSectionGuard guard(m_pBuffer->m_cs);
        if (m_pBuffer->m_refCount < 2) {
            AppendToSoleBuffer(m_pBuffer, bytes, length);
            return;
        }
    }
    Detach();
    CBinaryBuffer* buffer = m_pBuffer;
    int32_t count;
    {
        CKVCriticalSectionGuard guard(buffer->m_cs);
        count = buffer->m_refCount;
        if (count < 2) {
            AppendToSoleBuffer(buffer, bytes, length);
            return;
        }
    }
    throw CKvException(FormatString(u"Failed to append. [RefCount=%d]", count));
}

void CBinaryData::Append(unsigned char byte) {
    // The byte-wise writers call this once per byte: the usual case takes no lock, no call and
    // no stack frame.
    CBinaryBuffer* buffer = m_pBuffer;
    if (buffer != nullptr && buffer->m_refCount.load(std::memory_order_acquire) == 1) {
        const uint32_t used = buffer->m_length.load(std::memory_order_relaxed);
        if (used != buffer->m_capacity) {
            buffer->m_data[used] = byte;
            buffer->m_length.store(used + 1, std::memory_order_release);
            return;
        }
    }
    AppendOneByte(*this, byte);
}

void CBinaryData::Append(char16_t c) {
    const unsigned char bytes[2] = {static_cast<unsigned char>(c & 0xFF), static_cast<unsigned char>(c >> 8)};
    Append(bytes, 2);
}

void CBinaryData::Append(const char16_t* text) {
    const size_t chars = WideLength(text);
    if (chars == 0) return;
    WithWideBytes(text, chars, [this](const unsigned char* b, uint32_t n) { Append(b, n); });
}

void CBinaryData::Append(const std::u16string& text) { Append(text.c_str()); }

void CBinaryData::Append(const CBinaryData& other) {
    if (other.m_pBuffer == nullptr) return;
    Append(other.GetData(), other.GetLength());
}

void CBinaryData::SetBuffer(const unsigned char* bytes, uint32_t length) {
    // The new buffer is made before the old one is let go, in case the bytes lie inside it.
    CBinaryBuffer* buffer = (bytes != nullptr && length != 0) ? NewCopyBuffer(bytes, length) : nullptr;
    Clear();
    m_pBuffer = buffer;
}

void CBinaryData::SetBuffer(const char16_t* text) {
    const size_t chars = WideLength(text);
    if (chars == 0) {
        Clear();
        return;
    }
    WithWideBytes(text, chars, [this](const unsigned char* b, uint32_t n) { SetBuffer(b, n); });
}

std::u16string CBinaryData::GetAsBase64() const {
    if (m_pBuffer == nullptr) return std::u16string();
    CBase64 coder;
    return coder.Encode(m_pBuffer->m_data, m_pBuffer->m_length);
}

void CBinaryData::SetAsBase64(const char16_t* text) {
    Clear();
    const size_t chars = WideLength(text);
    if (chars == 0) return;
    if (chars >= kMaxLength) throw CKvException(u"Binary data can not hold more than 4294967295 bytes");
    unsigned char* block = new unsigned char[chars + 1];
    CBase64 coder;
    const uint32_t decoded = coder.Decode(text, static_cast<uint32_t>(chars), block);
    std::memset(block + decoded, 0, chars + 1 - decoded);
    // Even 0 bytes decoded leave a handle on a buffer, unlike the other setters.
    AdoptBlock(block, decoded, decoded);
}

std::u16string CBinaryData::GetAsHexString() const {
    if (m_pBuffer == nullptr) return std::u16string();
    return GetAsHexString(m_pBuffer->m_data, m_pBuffer->m_length);
}

std::u16string CBinaryData::GetAsHexString(const unsigned char* bytes, uint32_t length) {
    if (bytes == nullptr) return std::u16string();
    std::u16string out(static_cast<size_t>(length) * 2, u'\0');
    char16_t* o = out.data();
    for (uint32_t i = 0; i < length; ++i) {
        o[2 * i] = kHexDigits[bytes[i] >> 4];
        o[2 * i + 1] = kHexDigits[bytes[i] & 0x0F];
    }
    return out;
}

uint32_t CBinaryData::ConvertToHexData(const char16_t* text, unsigned char** data) {
    *data = nullptr;
    const size_t chars = WideLength(text);
    if (chars % 2 != 0) throw CKvException(u"Invalid length in hex string");
    if (chars == 0) return 0;
    if (chars / 2 > kMaxLength) throw CKvException(u"Binary data can not hold more than 4294967295 bytes");
    const size_t count = chars / 2;
    std::unique_ptr<unsigned char[]> block(new unsigned char[count]);
    for (size_t i = 0; i < count; ++i) {
        const char16_t hc = text[2 * i], lc = text[2 * i + 1];
        const int hi = HexValue(hc), lo = HexValue(lc);
        if ((hi | lo) < 0) {
            const char16_t bad = hi < 0 ? hc : lc; // the high nibble is looked at first
            throw CKvException(FormatString(u"Invalid char in hex string [%c]", static_cast<int>(bad)));
        }
        block[i] = static_cast<unsigned char>((hi << 4) | lo);
    }
    *data = block.release();
    return static_cast<uint32_t>(count);
}

void CBinaryData::SetAsHexString(const char16_t* text) {
    Clear();
    unsigned char* block = nullptr;
    const uint32_t count = ConvertToHexData(text, &block);
    if (count != 0) AdoptBlock(block, count, count);
}

bool CBinaryData::operator==(const CBinaryData& other) const {
    if (m_pBuffer == nullptr || other.m_pBuffer == nullptr) return m_pBuffer == other.m_pBuffer;
    if (m_pBuffer == other.m_pBuffer) return true;
    const uint32_t length = m_pBuffer->m_length;
    if (length != other.m_pBuffer->m_length) return false;
    return length == 0 || std::memcmp(m_pBuffer->m_data, other.m_pBuffer->m_data, length) == 0;
}

namespace {

// The position equal to the length is let through, but only while the block reaches that far.
void CheckIndex(const CBinaryBuffer* buffer, uint32_t index) {
    if (buffer == nullptr || index > buffer->m_length || (index == buffer->m_length && index >= buffer->m_capacity))
        throw CKvException(FormatString(u"Index Out of range [%d]", static_cast<int>(index)));
}

} // namespace

const unsigned char& CBinaryData::operator[](uint32_t index) const {
    CheckIndex(m_pBuffer, index);
    return m_pBuffer->m_data[index];
}

unsigned char& CBinaryData::operator[](uint32_t index) {
    if (m_pBuffer != nullptr) Detach();
    CheckIndex(m_pBuffer, index);
    return m_pBuffer->m_data[index];
}

CBinaryData WideToUtf8(const char16_t* text) {
    if (text == nullptr || text[0] == 0) return CBinaryData();

    // Counting pass; it also finds where a broken surrogate ends the text.
    size_t bytes = 0;
    size_t end = 0; // characters that will be converted
    bool ascii = true;
    for (size_t i = 0; text[i] != 0; ++i) {
        const char16_t c = text[i];
        if (c < 0x80) {
            bytes += 1;
        } else if (c < 0x800) {
            bytes += 2;
            ascii = false;
        } else if (c >= 0xD800 && c <= 0xDBFF) {
            if (text[i + 1] < 0xDC00 || text[i + 1] > 0xDFFF) break;
            bytes += 4;
            ascii = false;
            ++i;
        } else if (c >= 0xDC00 && c <= 0xDFFF) {
            break;
        } else {
            bytes += 3;
            ascii = false;
        }
        end = i + 1;
    }
    if (bytes == 0) return CBinaryData();
    if (bytes > kMaxLength) throw CKvException(u"Binary data can not hold more than 4294967295 bytes");

    unsigned char* block = new unsigned char[bytes];
    unsigned char* o = block;
    if (ascii) {
        for (size_t i = 0; i < end; ++i) o[i] = static_cast<unsigned char>(text[i]);
    } else {
        for (size_t i = 0; i < end; ++i) {
            const uint32_t c = text[i];
            if (c < 0x80) {
                *o++ = static_cast<unsigned char>(c);
            } else if (c < 0x800) {
                *o++ = static_cast<unsigned char>(0xC0 | (c >> 6));
                *o++ = static_cast<unsigned char>(0x80 | (c & 0x3F));
            } else if (c >= 0xD800 && c <= 0xDBFF) {
                const uint32_t cp = 0x10000 + ((c - 0xD800) << 10) + (uint32_t{text[++i]} - 0xDC00);
                *o++ = static_cast<unsigned char>(0xF0 | (cp >> 18));
                *o++ = static_cast<unsigned char>(0x80 | ((cp >> 12) & 0x3F));
                *o++ = static_cast<unsigned char>(0x80 | ((cp >> 6) & 0x3F));
                *o++ = static_cast<unsigned char>(0x80 | (cp & 0x3F));
            } else {
                *o++ = static_cast<unsigned char>(0xE0 | (c >> 12));
                *o++ = static_cast<unsigned char>(0x80 | ((c >> 6) & 0x3F));
                *o++ = static_cast<unsigned char>(0x80 | (c & 0x3F));
            }
        }
    }
    return CBinaryData(block, static_cast<uint32_t>(bytes), true);
}

} // namespace KvXmlLib16
