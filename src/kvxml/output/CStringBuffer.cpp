#include "kvxml/output/CStringBuffer.h"

#include <algorithm>
#include <cstring>

#include "kvxml/base/CKvException.h"

namespace KvXmlLib16 {

CStringBuffer::CStringBuffer(uint32_t blockSize)
    : m_blockSize(blockSize == 0 ? 1 : blockSize), m_used(0), m_capacity(0), m_current(nullptr), m_total(0) {}

CStringBuffer::~CStringBuffer() { Clear(); }

void CStringBuffer::ThrowFull() {
    throw CKvException(u"The text buffer is full: it cannot hold more than 4294967294 characters");
}

void CStringBuffer::AddBlock() {
    char16_t* block = new char16_t[static_cast<size_t>(m_blockSize) + 1]();
    try {
        m_blocks.push_back(block);
        m_blockLengths.push_back(m_blockSize);
    } catch (...) {
        if (m_blocks.size() > m_blockLengths.size()) m_blocks.pop_back();
        delete[] block;
        throw;
    }
    m_current = block;
    m_used = 0;
    m_capacity = m_blockSize;
}

void CStringBuffer::Append(const char16_t* text) {
    if (!text) return;
    Append(text, std::char_traits<char16_t>::length(text));
}

void CStringBuffer::Append(const char16_t* text, size_t length) {
    if (length == 0) return;
    if (length > static_cast<size_t>(kMaxTotal - m_total)) ThrowFull();
    m_total += static_cast<uint32_t>(length);
    while (length > 0) {
        if (m_used < m_capacity) {
            const size_t n = std::min<size_t>(length, m_capacity - m_used);
            std::memcpy(m_current + m_used, text, n * sizeof(char16_t));
            m_used += static_cast<uint32_t>(n);
            text += n;
            length -= n;
        } else {
            try {
                AddBlock();
            } catch (...) {
                // Keep the count in step with what was really stored.
                m_total -= static_cast<uint32_t>(length);
                throw;
            }
        }
    }
}

const char16_t* CStringBuffer::GetString() {
    if (m_blocks.empty()) return u"";
    if (m_blocks.size() == 1) return m_blocks[0];
    char16_t* joined = new char16_t[static_cast<size_t>(m_total) + 1];
    char16_t* p = joined;
    const size_t last = m_blocks.size() - 1;
    for (size_t i = 0; i < m_blocks.size(); ++i) {
        const uint32_t n = i == last ? m_used : m_blockLengths[i];
        std::memcpy(p, m_blocks[i], static_cast<size_t>(n) * sizeof(char16_t));
        p += n;
    }
    *p = 0;
    for (char16_t* block : m_blocks) delete[] block;
    m_blocks.assign(1, joined);
    m_blockLengths.assign(1, m_total);
    m_current = joined;
    m_used = m_total;
    m_capacity = m_total;
    return joined;
}

void CStringBuffer::CopyTo(std::u16string& out) const {
    out.clear();
    out.reserve(m_total);
    const size_t last = m_blocks.size() - 1;
    for (size_t i = 0; i < m_blocks.size(); ++i) out.append(m_blocks[i], i == last ? m_used : m_blockLengths[i]);
}

void CStringBuffer::Clear() {
    for (char16_t* block : m_blocks) delete[] block;
    m_blocks.clear();
    m_blockLengths.clear();
    m_used = 0;
    m_capacity = 0;
    m_current = nullptr;
    m_total = 0;
}

} // namespace KvXmlLib16
