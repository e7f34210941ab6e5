#pragma once

#include <cstdint>
#include <string>

#include "kvxml/base/CInstanceMonitor.h"
#include "kvxml/output/CStringBuffer.h"
#include "kvxml/output/OutputEnums.h"
#include "kvxml/platform/KvExport.h"
#include "kvxml/values/CBinaryData.h"

namespace KvXmlLib16 {

// In-memory text stream: the writers append to its buffer. Derived streams (files) override
// Open, Close and Flush; here Open empties the text and Close and Flush do nothing.
class KVXML_API CTextStream : public CInstanceMonitor {
public:
    CTextStream(uint32_t blockSize, XmlEncoding encoding);
    CTextStream(const CTextStream&) = delete;
    CTextStream& operator=(const CTextStream&) = delete;
    ~CTextStream() override;

    virtual void Open();
    virtual void Close();
    virtual void Flush();

    XmlEncoding GetEncoding() const { return m_encoding; }
    CStringBuffer& GetBuffer() { return m_buffer; }
    const CStringBuffer& GetBuffer() const { return m_buffer; }

    void Append(const char16_t* text) { m_buffer.Append(text); }
    void Append(const char16_t* text, size_t length) { m_buffer.Append(text, length); }
    void Append(const std::u16string& text) { m_buffer.Append(text); }
    void AppendChar(char16_t c) { m_buffer.AppendChar(c); }

    // The text held, as one terminated string owned by the stream.
    const char16_t* GetString() { return m_buffer.GetString(); }
    // A copy of the text held.
    std::u16string GetText() const;
    // The text held as bytes of the stream's encoding: UTF-8 for 1, the UTF-16 units low byte
    // first for 2 and 3, never with a byte-order mark. Other encodings are refused.
    CBinaryData GetBinaryData();

protected:
    CStringBuffer m_buffer;
    XmlEncoding m_encoding;
};

} // namespace KvXmlLib16
