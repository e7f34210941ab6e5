#include "kvxml/output/CTextStream.h"

#include <cstring>

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

} // namespace KvXmlLib16
