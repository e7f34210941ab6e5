#pragma once

#include <cstdint>
#include <string>

#include "kvxml/json/CJsonContext.h"
#include "kvxml/output/CTextStream.h"
#include "kvxml/output/CXmlWriter.h"
#include "kvxml/output/OutputEnums.h"
#include "kvxml/platform/KvExport.h"

namespace KvXmlLib16 {

// Writes the writer events as JSON text in one pass: an element becomes a member of its parent's
// object. Whether that member is a bare value or an object is known only when the next event
// arrives, so the '{' waits until then. A collection is told to it through the collection state
// of the current context: '[' goes out with the first member of the first item, ']' when the
// element holding the collection ends. Quotation marks and backslashes in values are not escaped,
// and some shapes (collections of primitives, elements with no value) give text that is not JSON:
// that is the format as it stands, kept for the readers of it.
class KVXML_API CJsonTextWriter : public CXmlWriter {
public:
    explicit CJsonTextWriter(CTextStream* stream);
    ~CJsonTextWriter() override;

    void OpenOutput() override;
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

    void SetEOLType(EOLType type);
    EOLType GetEOLType() const { return m_eolType; }
    const std::u16string& GetEndOfLine() const { return m_endOfLine; }
    bool GetFormatted() const { return m_formatted; }
    void SetFormatted(bool formatted) { m_formatted = formatted; }
    const std::u16string& GetIndent() const { return m_indent; }
    void SetIndent(const std::u16string& indent) { m_indent = indent; }
    JsonRoundTrip GetSupportRoundtrip() const { return m_supportRoundtrip; }
    void SetSupportRoundtrip(JsonRoundTrip mode) { m_supportRoundtrip = mode; }
    CTextStream* GetStream() const { return m_stream; }

    // A file stream empties its buffer once this much text is held.
    void FlushIfFull() {
        if (m_stream->GetBuffer().GetTotal() >= 4096) m_stream->Flush();
    }

private:
    void Separator(CXmlWriterContext* context);
    void WriteIndent(int32_t depth);
    void WriteEscaped(const std::u16string& text);
    void WriteValue(const std::u16string& text, ItemType kind);
    // `"`, then the parts, then `": `.
    void WriteName(const std::u16string& prefix, const std::u16string& name);
    void WriteDeclaration(CXmlWriterContext* context, const std::u16string& alias, const std::u16string& uri);
    int32_t CurrentDepth() const { return m_currentContext ? m_currentContext->GetDepth() : 0; }

    std::u16string m_indent;
    std::u16string m_endOfLine;
    EOLType m_eolType;
    JsonRoundTrip m_supportRoundtrip;
    bool m_formatted;
    CTextStream* m_stream;
    // True from a member's name until something follows it.
    bool m_awaitingValue;
};

} // namespace KvXmlLib16
