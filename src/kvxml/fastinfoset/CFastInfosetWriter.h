#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "kvxml/fastinfoset/CFIVocabulary.h"
#include "kvxml/fastinfoset/CFastInfosetContext.h"
#include "kvxml/fastinfoset/FInfoDecl.h"
#include "kvxml/output/CXmlWriter.h"
#include "kvxml/platform/KvExport.h"

namespace KvXmlLib16 {

class CBinaryStream;

// Writes the events of CXmlWriter as a Fast Infoset document (ITU-T X.891) into a binary stream.
// Every item is octet aligned. An element's head waits until the next call tells whether
// attributes follow; an element end is owed until the next event, so that two ends can share one
// octet. Comments, processing instructions and in-line schemas are dropped.
class KVXML_API CFastInfosetWriter : public CXmlWriter {
public:
    // Neither the stream nor the context is owned; both must outlive the writer. The tables start
    // from the context's prepared vocabulary when it is to be used, else from a fresh one.
    CFastInfosetWriter(CBinaryStream* stream, const CFastInfosetContext* context);
    ~CFastInfosetWriter() override;

    void OpenOutput() override;
    // Moves the octets out to the stream, then refuses to end while an element is open.
    void CloseOutput() override;
    void WriteComment(const std::u16string& text) override;
    void WriteProcessingInstruction(const std::u16string& text) override;
    void WriteInLineSchema(const std::u16string& text) override;
    void WriteStartElement(const std::u16string& name, const std::u16string& namespaceUri) override;
    // Text that follows a child element goes out before that child's owed end, and so is read as
    // that child's content. The is-default flag is ignored.
    void WriteElementText(const std::u16string& text, ItemType kind, bool isDefault) override;
    void WriteEndElement() override;
    void WriteAttribute(const std::u16string& name, const std::u16string& namespaceUri, const std::u16string& value,
                        ItemType kind) override;
    void WriteXsiType(const std::u16string& namespaceUri, const std::u16string& typeName, ItemType kind) override;
    void WriteXsiNil() override;

    // The optional 'finf' declaration, the magic and version, and the optional components.
    void WriteDocumentHeader(FInfoDecl declaration);
    // The document's last octet: it also ends the element whose end is still owed.
    void WriteDocumentEnd();
    bool IsTerminatorPending() const { return m_terminatorPending; }
    // Moves the octets collected so far into the stream.
    void Flush();

    // The URI announced for a prepared vocabulary when the context names none.
    static constexpr char16_t kDefaultExternalVocabularyURI[] = u"urn:kvxml16:fastinfoset:vocabulary";

protected:
    // The integer and length forms, named after the bit of the octet on which they start.
    void WriteNonEmptyOctetStringBit2(std::u16string_view text);
    void WriteIndexBit2(unsigned char firstBit, uint32_t value);
    void WriteIndexBit3(unsigned char leading, uint32_t value);
    void WriteIndexBit4(uint32_t value);
    void WriteLengthBit5(unsigned char leading, uint32_t length);
    void WriteLengthBit7(unsigned char leading, uint32_t length);

private:
    void WritePendingElement(bool hasAttributes);
    void CloseStartTag(CXmlWriterContext* context);
    void ThrowIfStartTagClosed() const;
    std::u16string AliasFor(const std::u16string& namespaceUri);

    void WriteElementQName(unsigned char leading, std::u16string_view prefix, const std::u16string& namespaceUri,
                           const std::u16string& localName);
    void WriteAttributeQName(std::u16string_view prefix, const std::u16string& namespaceUri,
                             const std::u16string& localName);
    void WriteQNameParts(std::u16string_view prefix, const std::u16string& namespaceUri,
                         const std::u16string& localName);
    // An identifying string: an index if the map knows it, else a literal that enters the table.
    void WritePrefix(std::u16string_view prefix);
    void WriteNamespaceName(std::u16string_view uri);
    void WriteLocalName(std::u16string_view localName);
    void WriteAttributeValue(const std::u16string& value, ItemType kind);

    void WriteEncodedStringBit5(unsigned char leading, const std::u16string& text, ItemType kind);
    void WriteEncodedStringBit7(unsigned char leading, const std::u16string& text, ItemType kind);
    // The part shared by both bit positions, `bit7` choosing the layout.
    void WriteEncodedString(bool bit7, unsigned char leading, const std::u16string& text, ItemType kind);
    void WriteRestrictedAlphabetString(bool bit7, unsigned char leading, uint32_t alphabetIndex,
                                       const std::u16string& text);

    void Put(unsigned char octet) {
        if (m_used == kBufferSize) Flush();
        m_buffer[m_used++] = octet;
    }
    void Put(const unsigned char* octets, uint32_t count);
    void PutBigEndian32(uint32_t value);
    void PutUtf8(std::u16string_view text, size_t units);

    static constexpr uint32_t kBufferSize = 32768;

    CBinaryStream* m_stream;
    const CFastInfosetContext* m_context;
    // The element whose head is not yet out; it already stands on the context stack.
    CXmlWriterContext* m_pendingElement;
    bool m_terminatorPending;
    std::unique_ptr<CFIVocabulary> m_vocabulary;
    // Octets not yet moved to the stream: one append per block rather than per octet.
    std::unique_ptr<unsigned char[]> m_buffer;
    uint32_t m_used;
    // Reused for map keys, so that a name costs no allocation once seen.
    std::u16string m_key;
    // Names met before, with their index, so that a repeated name is found by comparing its parts
    // instead of hashing its key. A name's index never changes, so an entry never goes stale.
    struct NameCacheEntry {
        std::u16string localName, namespaceUri, prefix;
        uint32_t index = 0;
    };
    static constexpr size_t kNameCacheSize = 32;
    NameCacheEntry m_elementNameCache[kNameCacheSize];
    NameCacheEntry m_attributeNameCache[kNameCacheSize];
    // The index of a name in `map`, through `cache`; 0 when the map does not hold it.
    uint32_t FindQName(NameCacheEntry* cache, const CFIVocabulary::IndexMap& map, std::u16string_view prefix,
                       const std::u16string& namespaceUri, const std::u16string& localName);
};

} // namespace KvXmlLib16
