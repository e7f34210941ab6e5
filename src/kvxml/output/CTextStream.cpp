#include "kvxml/output/CTextStream.h"

#include <bit>
#include <cstring>

#include "kvxml/base/CKvException.h"

namespace KvXmlLib16 {

CTextStream::CTextStream(uint32_t blockSize, XmlEncoding encoding) : m_buffer(blockSize), m_encoding(encoding) {}

CTextStream::~CTextStream() = default;

void CTextStream::Open() {
    // A single block is kept and reused; several are given back.
    if (m_buffer.m_blocks.size() == 1) {
        std::memset(m_buffer.m_blocks[0], 0, (static_cast<size_t>(m_buffer.m_blockLengths[0]) + 1) * sizeof(char16_t));
        m_buffer.m_used = 0;
        m_buffer.m_total = 0;
    } else {
        m_buffer.Clear();
    }
}

void CTextStream::Close() {}

void CTextStream::Flush() {}

std::u16string CTextStream::GetText() const {
    std::u16string text;
    m_buffer.CopyTo(text);
    return text;
}

CBinaryData CTextStream::GetBinaryData() {
    switch (m_encoding) {
    case XmlEncoding_UTF8: return WideToUtf8(GetString());
    case XmlEncoding_UTF16:
    case XmlEncoding_UTF16_NoDecl: {
        const uint32_t chars = m_buffer.GetTotal();
        if (chars == 0) return CBinaryData();
        if (chars > UINT32_MAX / 2) throw CKvException(u"Binary data can not hold more than 4294967295 bytes");
        const char16_t* text = GetString();
        const uint32_t bytes = chars * 2;
        // Exact size, adopted: the copy constructor of the data would reserve twice as much.
        unsigned char* block = new unsigned char[bytes];
        if constexpr (std::endian::native == std::endian::little) {
            std::memcpy(block, text, bytes);
        } else {
            for (uint32_t i = 0; i < chars; ++i) {
                block[2 * i] = static_cast<unsigned char>(text[i] & 0xFF);
                block[2 * i + 1] = static_cast<unsigned char>(text[i] >> 8);
            }
        }
        return CBinaryData(block, bytes, true);
    }
    default: throw CKvException(u"Unknown Encoding, select UTF-8 (contact our support team)");
    }
}

} // namespace KvXmlLib16
