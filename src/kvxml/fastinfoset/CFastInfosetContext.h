#pragma once

#include <cstdint>
#include <string>

#include "kvxml/fastinfoset/CFIVocabulary.h"
#include "kvxml/platform/KvExport.h"

namespace KvXmlLib16 {

// Per-call options of Fast Infoset output and input: the encoded form of each kind of value, the
// longest strings that still enter a table, and the prepared vocabulary. Reached through
// CSerializationContext::GetFIContext.
class KVXML_API CFastInfosetContext {
public:
    // How a value of one ItemType goes out.
    struct EncodedCharacterString {
        // 0 plain string, 1 restricted alphabet, 2 encoding algorithm.
        uint32_t kind;
        // With kind 1 the alphabet (1 numeric, 2 date and time); with kind 2 the algorithm
        // (1 to 10, as in CFastInfosetBinaryData); ignored with kind 0.
        uint32_t index;
    };

    static constexpr uint32_t kEncodingCount = 29;

    CFastInfosetContext();
    CFastInfosetContext(const CFastInfosetContext&) = default;
    CFastInfosetContext& operator=(const CFastInfosetContext&) = default;

    // 0 UTF-8, 1 UTF-16BE (which the writer refuses). There is no setter.
    uint8_t GetDefaultStringEncoding() const { return m_defaultStringEncoding; }

    // The index is an ItemType; one outside 0 to 28 throws CKvException.
    EncodedCharacterString GetEncoding(uint32_t index) const;
    void SetEncoding(uint32_t index, EncodedCharacterString encoding);
    // Typed encodings for the numeric, binary, boolean and date kinds; other rows keep their value.
    void SetSuggestedValues();

    // Values of at least this many characters go out literally and never enter a table.
    uint32_t GetAttributeMaxAddLength() const { return m_attributeMaxAddLength; }
    void SetAttributeMaxAddLength(uint32_t value) { m_attributeMaxAddLength = value; }
    uint32_t GetElementMaxAddLength() const { return m_elementMaxAddLength; }
    void SetElementMaxAddLength(uint32_t value) { m_elementMaxAddLength = value; }

    // With true, writer and reader start their tables from GetVocabulary, and the writer announces
    // it as the external vocabulary named by the URI.
    bool GetUseGeneratedVocabulary() const { return m_useGeneratedVocabulary; }
    void SetUseGeneratedVocabulary(bool value) { m_useGeneratedVocabulary = value; }
    CFIVocabulary* GetVocabulary() { return &m_vocabulary; }
    const CFIVocabulary* GetVocabulary() const { return &m_vocabulary; }
    std::u16string GetExternalVocabularyURI() const { return m_externalVocabularyURI; }
    void SetExternalVocabularyURI(std::u16string uri) { m_externalVocabularyURI = std::move(uri); }

private:
    uint8_t m_defaultStringEncoding;
    EncodedCharacterString m_encodings[kEncodingCount];
    uint32_t m_attributeMaxAddLength;
    uint32_t m_elementMaxAddLength;
    bool m_useGeneratedVocabulary;
    CFIVocabulary m_vocabulary;
    std::u16string m_externalVocabularyURI;
};

} // namespace KvXmlLib16
