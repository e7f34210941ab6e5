#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "kvxml/base/CInstanceMonitor.h"
#include "kvxml/platform/KvExport.h"

namespace KvXmlLib16 {

// Text accumulator made of fixed blocks, so that appending never moves text already stored.
// Every block of capacity n is allocated as n + 1 zeroed characters and so stays terminated.
class KVXML_API CStringBuffer : public CInstanceMonitor {
public:
    explicit CStringBuffer(uint32_t blockSize = 4095);
    CStringBuffer(const CStringBuffer&) = delete;
    CStringBuffer& operator=(const CStringBuffer&) = delete;
    ~CStringBuffer() override;

    void Append(const char16_t* text);
    void Append(const char16_t* text, size_t length);
    void Append(const std::u16string& text) { Append(text.data(), text.size()); }
    void AppendChar(char16_t c) {
        if (m_total >= kMaxTotal) ThrowFull();
        if (m_used == m_capacity) AddBlock();
        m_current[m_used++] = c;
        ++m_total;
    }

    // The whole text, terminated. With several blocks they are first joined into one; the buffer
    // keeps ownership of what it returns.
    const char16_t* GetString();
    // Copies the text into out (replacing its content) without joining the blocks.
    void CopyTo(std::u16string& out) const;
    void Clear();

    uint32_t GetTotal() const { return m_total; }
    uint32_t GetBlockSize() const { return m_blockSize; }
    size_t GetBlockCount() const { return m_blocks.size(); }

protected:
    friend class CTextStream;
    void AddBlock();

    // The largest total for which total + 1 characters can still be counted in 32 bits.
    static constexpr uint32_t kMaxTotal = 0xFFFFFFFEu;
    [[noreturn]] static void ThrowFull();

    std::vector<char16_t*> m_blocks;
    std::vector<uint32_t> m_blockLengths;
    uint32_t m_blockSize;
    uint32_t m_used;
    uint32_t m_capacity;
    char16_t* m_current;
    uint32_t m_total;
};

} // namespace KvXmlLib16
