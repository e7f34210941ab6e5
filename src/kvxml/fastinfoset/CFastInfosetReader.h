#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "kvxml/base/CInstanceMonitor.h"
#include "kvxml/fastinfoset/CFIVocabulary.h"

namespace KvXmlLib16 {

class CFastInfosetContext;
class CXmlDocument;
class CXmlElement;

// Decodes a Fast Infoset document (ITU-T X.891) from the input buffer of a CXmlDocument straight
// into its tree, through the tree's building operations. Only elements, attributes, their text
// and namespace declarations reach the tree; the optional parts of a document are read and
// passed over. Octets are read in place; every length and index is checked against the buffer
// and the tables before it is used, and nesting is followed without recursion, so a hostile
// document ends in a CKvException and never in a read out of bounds or a deep stack.
//
// Lives on the stack of one load (CXmlDocument::Parse). Internal to the library.
class CFastInfosetReader : public CInstanceMonitor {
public:
    // Neither is owned; both must outlive the reader.
    CFastInfosetReader(const CFastInfosetContext* context, CXmlDocument* document);
    CFastInfosetReader(const CFastInfosetReader&) = delete;
    CFastInfosetReader& operator=(const CFastInfosetReader&) = delete;
    ~CFastInfosetReader() override;

    // Reads the document's input into its tree when it opens as Fast Infoset and returns true;
    // returns false, having read nothing, when the input is something else (XML text).
    bool Parse();

private:
    // ---- the buffer ----
    // The next n octets; throws the end-of-file failure when fewer are left.
    const unsigned char* ReadOctets(size_t n) {
        m_current = m_position;
        if (static_cast<size_t>(m_end - m_position) < n) ThrowEndOfFile();
        m_position += n;
        return m_current;
    }
    unsigned char ReadOctet() { return *ReadOctets(1); }
    uint32_t ReadBigEndian(size_t octets);
    [[noreturn]] void ThrowEndOfFile();
    [[noreturn]] void Fail(const std::u16string& message);

    // ---- document structure ----
    bool ReadHeader();
    void ReadOptionalComponents();
    void ReadInitialVocabulary();
    void ReadBody();
    // The element whose identification octet is in hand, with everything inside it.
    void ReadElement(unsigned char head);
    // Starts an element: names, namespace attributes and attributes. False when the element
    // already ended behind its attributes.
    bool StartElement(unsigned char head);
    void ReadAttribute(unsigned char first, CXmlElement* element);
    void ReadNamespaceAttribute(unsigned char first);
    void ReadCharacterChunk(unsigned char first, CXmlElement* element);
    void SkipProcessingInstruction();
    void SkipComment();
    void SkipDocumentTypeDeclaration(unsigned char first);
    void SkipUnexpandedEntityReference(unsigned char first);
    // A string that may be given by index, starting on the first bit; read and dropped.
    void SkipNonIdentifyingString();

    // ---- names ----
    // A literal qualified name into the given table; leaves its parts in m_namespace and
    // m_localName.
    void ReadQName(unsigned char first, CFIVocabulary::CFIQNameTable& names);
    // A name of the table by its index (from 1); leaves its parts in m_namespace and m_localName.
    void LookupQName(const CFIVocabulary::CFIQNameTable& names, uint32_t index, const char16_t* tableName);
    // An identifying string: a literal, added to the table, or an index into it. Returns the
    // string and its index in the table (the new size for a literal).
    // A full table takes no literal: it is then decoded into fallback.
    std::u16string_view ReadIdentifyingString(CFIVocabulary::CFIStringTable& table, const char16_t* tableName,
                                              std::u16string& fallback, uint32_t& index);
    void SkipIdentifyingString();
    std::u16string_view Entry(const CFIVocabulary::CFIStringTable& table, uint32_t index, const char16_t* tableName);

    // ---- integers and lengths, named after the bit of the octet on which they start ----
    uint32_t ReadIndexBit2(unsigned char first);
    // Index 0 (the empty string) included.
    uint32_t ReadIndexZeroBit2(unsigned char first);
    uint32_t ReadIndexBit3(unsigned char first);
    uint32_t ReadIndexBit4(unsigned char first);
    uint64_t ReadLengthBit2(unsigned char first);
    uint64_t ReadLengthBit5(unsigned char first);
    uint64_t ReadLengthBit7(unsigned char first);
    uint32_t ReadSequenceLength();
    void SkipNonEmptyOctetStringBit2();

    // ---- strings ----
    // An encoded character string starting on the third bit (attribute values) or the fifth
    // (character chunks) of the octet in hand, decoded into out.
    void ReadEncodedString(unsigned char first, bool fifthBit, std::u16string& out);
    void DecodeUtf8(const unsigned char* octets, size_t count, std::u16string& out);
    void DecodeUtf16(uint64_t count, std::u16string& out);
    void DecodeRestrictedAlphabet(uint32_t alphabetNumber, const unsigned char* octets, size_t count,
                                  std::u16string& out);
    void DecodeAlgorithm(uint32_t algorithm, const unsigned char* octets, size_t count, std::u16string& out);
    // The next code of width bits from the packed data; all ones when the data is used up.
    uint32_t ReadBits(const unsigned char*& data, const unsigned char* end);

    const CFastInfosetContext* m_context;
    CXmlDocument* m_document;
    const unsigned char* m_position;
    const unsigned char* m_current;
    const unsigned char* m_end;
    uint32_t m_bitWidth;
    uint32_t m_bitsLeft;
    uint32_t m_bitBuffer;
    // Parts of the last name read. They view table entries, or the strings below when a table
    // was full; valid until the next name of the same tables is read.
    std::u16string_view m_namespace;
    std::u16string_view m_localName;
    std::u16string m_namespaceText;
    std::u16string m_localNameText;
    std::u16string m_prefixText;
    bool m_doubleTerminatorSeen;
    // The last value read for an element or attribute.
    std::u16string m_text;
    uint32_t m_lastIndex;
    bool m_addToTable;
    // The tables of this document: a copy of the prepared vocabulary, or fresh ones.
    std::unique_ptr<CFIVocabulary> m_vocabulary;
};

} // namespace KvXmlLib16
