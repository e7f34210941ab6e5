#pragma once

#include <cstdint>
#include <string>

#include "kvxml/output/CTextStream.h"
#include "kvxml/output/CXmlWriter.h"
#include "kvxml/output/OutputEnums.h"
#include "kvxml/platform/KvExport.h"

namespace KvXmlLib16 {

// Writes XML text into a CTextStream. Unprefixed names for the default namespace, aliases AA, AB,
// ... for namespaces nobody declared, tab indent and LF line ends unless told otherwise.
class KVXML_API CXmlTextWriter : public CXmlWriter {
public:
    explicit CXmlTextWriter(CTextStream* stream);
    ~CXmlTextWriter() override;

    void OpenOutput() override;
    // Closes the stream first, then refuses an unclosed element.
    void CloseOutput() override;
    void WriteComment(const std::u16string& text) override;
    void WriteProcessingInstruction(const std::u16string& text) override;
    void WriteInLineSchema(const std::u16string& text) override;
    void WriteStartElement(const std::u16string& name, const std::u16string& namespaceUri) override;
    void WriteElementText(const std::u16string& text, ItemType kind, bool isDefault) override;
    void WriteEndElement() override;
    void WriteAttribute(const std::u16string& name, const std::u16string& namespaceUri, const std::u16string& value,
                        ItemType kind) override;
    void WriteXsiType(const std::u16string& namespaceUri, const std::u16string& typeName, ItemType kind) override;
    void WriteXsiNil() override;

    // `<?xml version="1.0"`, the encoding of the stream, `?>` and a line end, formatted or not.
    void WriteXmlDeclaration();
    void SetEOLType(EOLType type);
    // Ends the current element's start tag (if still open) and counts a child in it.
    void CloseStartTag();

    EOLType GetEOLType() const { return m_eolType; }
    bool GetFormatted() const { return m_formatted; }
    void SetFormatted(bool formatted) { m_formatted = formatted; }
    const std::u16string& GetIndent() const { return m_indent; }
    void SetIndent(const std::u16string& indent) { m_indent = indent; }
    bool GetWriteDefaultValues() const { return m_writeDefaultValues; }
    void SetWriteDefaultValues(bool write) { m_writeDefaultValues = write; }
    CTextStream* GetStream() const { return m_stream; }

protected:
    // Text mode turns LF into the selected line break; attribute mode into "&#xA;". CR is dropped.
    void WriteEscaped(const std::u16string& text, bool attributeMode);
    void WriteIndent(int32_t depth);
    void ThrowIfStartTagClosed() const;
    // A file stream empties its buffer once this much text is held.
    void FlushIfFull() {
        if (m_stream->GetBuffer().GetTotal() >= 4096) m_stream->Flush();
    }

    bool m_writeDefaultValues;
    std::u16string m_indent;
    std::u16string m_endOfLine;
    EOLType m_eolType;
    bool m_formatted;
    CTextStream* m_stream;
};

} // namespace KvXmlLib16
