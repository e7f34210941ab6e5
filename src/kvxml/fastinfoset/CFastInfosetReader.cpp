#include "kvxml/fastinfoset/CFastInfosetReader.h"

#include <cstring>

#include "kvxml/base/CKvException.h"
#include "kvxml/base/FormatString.h"
#include "kvxml/fastinfoset/CFastInfosetBinaryData.h"
#include "kvxml/fastinfoset/CFastInfosetContext.h"
#include "kvxml/xml/CXmlDocument.h"

namespace KvXmlLib16 {

namespace {

// The declarations that may stand in front of the magic, tried in this order.
const char* const kDeclarations[] = {
    "<?xml encoding='finf'?>",
    "<?xml encoding='finf' standalone='yes'?>",
    "<?xml encoding='finf' standalone='no'?>",
    "<?xml version='1.0' encoding='finf'?>",
    "<?xml version='1.0' encoding='finf' standalone='yes'?>",
    "<?xml version='1.0' encoding='finf' standalone='no'?>",
    "<?xml version='1.1' encoding='finf'?>",
    "<?xml version='1.1' encoding='finf' standalone='yes'?>",
    "<?xml version='1.1' encoding='finf' standalone='no'?>",
};

const unsigned char kMagic[4] = {0xE0, 0x00, 0x00, 0x01};

constexpr unsigned char kTerminator = 0xF0;
constexpr unsigned char kDoubleTerminator = 0xFF;

const char16_t kPrefixNames[] = u"prefix names";
const char16_t kNamespaceNames[] = u"namespace names";
const char16_t kLocalNames[] = u"local names";
const char16_t kElementNames[] = u"element names";
const char16_t kAttributeNames[] = u"attribute names";
const char16_t kAttributeValues[] = u"attribute values";
const char16_t kCharacterChunks[] = u"character chunks";

// Magic and version at `at`, with at least one octet behind them.
bool MagicAt(const unsigned char* at, const unsigned char* end) {
    return end - at > 4 && std::memcmp(at, kMagic, 4) == 0;
}

} // namespace

CFastInfosetReader::CFastInfosetReader(const CFastInfosetContext* context, CXmlDocument* document)
    : m_context(context), m_document(document), m_position(nullptr), m_current(nullptr), m_end(nullptr),
      m_bitWidth(0), m_bitsLeft(0), m_bitBuffer(0), m_doubleTerminatorSeen(false), m_lastIndex(0),
      m_addToTable(false) {}

CFastInfosetReader::~CFastInfosetReader() = default;

void CFastInfosetReader::ThrowEndOfFile() {
    m_vocabulary.reset();
    throw CKvException(u"Failed to parse FastInfoset. Unexpected End of File.");
}

void CFastInfosetReader::Fail(const std::u16string& message) {
    m_vocabulary.reset();
    throw CKvException(message);
}

uint32_t CFastInfosetReader::ReadBigEndian(size_t octets) {
    const unsigned char* p = ReadOctets(octets);
    uint32_t value = 0;
    for (size_t i = 0; i < octets; ++i) value = (value << 8) | p[i];
    return value;
}

// ---- document structure ----

bool CFastInfosetReader::Parse() {
    const unsigned char* input = m_document->GetInputBuffer();
    if (!input) return false;
    m_position = input;
    m_end = input + m_document->GetInputSize();
    if (!ReadHeader()) return false;
    // The tables are made only now: XML text, the usual input, pays for the header test alone.
    m_vocabulary.reset(m_context->GetUseGeneratedVocabulary() ? new CFIVocabulary(*m_context->GetVocabulary())
                                                               : new CFIVocabulary());
    ReadOptionalComponents();
    ReadBody();
    m_vocabulary.reset();
    return true;
}

bool CFastInfosetReader::ReadHeader() {
    const unsigned char* start = m_position;
    if (MagicAt(start, m_end)) {
        m_position = start + 4;
        return true;
    }
    const size_t size = static_cast<size_t>(m_end - start);
    for (const char* declaration : kDeclarations) {
        const size_t length = std::strlen(declaration);
        if (length >= size || std::memcmp(start, declaration, length) != 0) continue;
        if (!MagicAt(start + length, m_end)) return false;
        m_position = start + length + 4;
        return true;
    }
    return false;
}

void CFastInfosetReader::ReadOptionalComponents() {
    const unsigned char flags = ReadOctet();
    if (flags & 0x40) {  // additional data: pairs of identifier and data
        for (uint32_t n = ReadSequenceLength(); n > 0; --n) {
            SkipNonEmptyOctetStringBit2();
            SkipNonEmptyOctetStringBit2();
        }
    }
    if (flags & 0x20) ReadInitialVocabulary();
    if (flags & 0x10) {  // notations: name, and system and public identifiers by bits 1 and 0
        for (unsigned char octet = ReadOctet(); (octet & 0xFC) == 0xC0; octet = ReadOctet()) {
            SkipIdentifyingString();
            if (octet & 0x02) SkipIdentifyingString();
            if (octet & 0x01) SkipIdentifyingString();
        }
    }
    if (flags & 0x08) {  // unparsed entities: name, system identifier, public one by bit 0, notation
        for (unsigned char octet = ReadOctet(); (octet & 0xFE) == 0xD0; octet = ReadOctet()) {
            SkipIdentifyingString();
            SkipIdentifyingString();
            if (octet & 0x01) SkipIdentifyingString();
            SkipIdentifyingString();
        }
    }
    // The document's strings are read as the format defines them, whatever the scheme says.
    if (flags & 0x04) SkipNonEmptyOctetStringBit2();
    if (flags & 0x02) ReadOctet();  // standalone
    if (flags & 0x01) SkipNonIdentifyingString();  // version
}

// Everything of an initial vocabulary is read and dropped: the tables start from the prepared
// vocabulary of the context, or empty, whatever the document announces.
void CFastInfosetReader::ReadInitialVocabulary() {
    const unsigned char* flags = ReadOctets(2);
    const unsigned char first = flags[0];
    const unsigned char second = flags[1];
    if (first & 0x10) SkipNonEmptyOctetStringBit2();  // the URI of an external vocabulary
    auto skipOctetStrings = [this](bool present) {
        if (!present) return;
        for (uint32_t n = ReadSequenceLength(); n > 0; --n) SkipNonEmptyOctetStringBit2();
    };
    auto skipEncodedStrings = [this](bool present) {
        if (!present) return;
        for (uint32_t n = ReadSequenceLength(); n > 0; --n) ReadEncodedString(ReadOctet(), false, m_text);
    };
    auto skipValues = [this](bool present) {
        if (!present) return;
        for (uint32_t n = ReadSequenceLength(); n > 0; --n) SkipNonIdentifyingString();
    };
    // Restricted alphabets, encoding algorithms, prefixes, namespace names.
    for (unsigned char bit : {0x08, 0x04, 0x02, 0x01}) skipOctetStrings(first & bit);
    // Local names, other NCNames, other URIs.
    for (unsigned char bit : {0x80, 0x40, 0x20}) skipOctetStrings(second & bit);
    // Attribute values, content character chunks, other strings.
    for (unsigned char bit : {0x10, 0x08, 0x04}) skipEncodedStrings(second & bit);
    // Element and attribute name surrogates.
    for (unsigned char bit : {0x02, 0x01}) skipValues(second & bit);
}

void CFastInfosetReader::ReadBody() {
    for (;;) {
        const unsigned char octet = ReadOctet();
        if (octet < 0x80)
            ReadElement(octet);
        else if (octet == 0xE1)
            SkipProcessingInstruction();
        else if (octet == 0xE2)
            SkipComment();
        else if ((octet & 0xFC) == 0xC4)
            SkipDocumentTypeDeclaration(octet);
        // Anything else at this level is passed over.
        if (*m_current == kTerminator || *m_current == kDoubleTerminator) return;
    }
}

// Nesting is followed with a count instead of recursion; the document's stack of open elements
// holds the elements themselves. An element's end is a terminator octet; 0xFF ends two.
void CFastInfosetReader::ReadElement(unsigned char head) {
    if (!StartElement(head)) return;
    size_t depth = 1;
    CXmlElement* element = m_document->GetInnermostElement();
    for (;;) {
        const unsigned char octet = ReadOctet();
        if (octet < 0x80) {
            if (StartElement(octet)) ++depth;
            element = m_document->GetInnermostElement();
        } else if (octet < 0xC0) {
            ReadCharacterChunk(octet, element);
        } else if (octet == kTerminator || octet == kDoubleTerminator) {
            m_document->EndElement();
            --depth;
            if (octet == kDoubleTerminator) {
                if (depth == 0) {
                    // The second end belongs to the caller: the document.
                    m_doubleTerminatorSeen = true;
                    return;
                }
                m_document->EndElement();
                --depth;
            }
            if (depth == 0) return;
            element = m_document->GetInnermostElement();
        } else if (octet == 0xE1) {
            SkipProcessingInstruction();
        } else if (octet == 0xE2) {
            SkipComment();
        } else if ((octet & 0xFC) == 0xC8) {
            SkipUnexpandedEntityReference(octet);
        } else {
            Fail(u"Failed to parse FastInfoset. Invalid Encoding of Element type.");
        }
    }
}

bool CFastInfosetReader::StartElement(unsigned char head) {
    unsigned char nameOctet = head;
    bool hasAttributes = (head & 0x40) != 0;
    if ((head & 0x3C) == 0x38) {
        unsigned char octet = ReadOctet();
        while ((octet & 0xFC) == 0xCC) {
            ReadNamespaceAttribute(octet);
            octet = ReadOctet();
        }
        nameOctet = ReadOctet();
        // Encoders differ on which octet carries the attribute flag when namespace attributes
        // come first: the identification octet or the one of the name. Either is taken.
        hasAttributes = hasAttributes || (nameOctet & 0x40) != 0;
    }
    if ((nameOctet & 0x3C) < 0x3C)
        LookupQName(m_vocabulary->m_elementNamesTable, ReadIndexBit3(nameOctet), kElementNames);
    else
        ReadQName(nameOctet, m_vocabulary->m_elementNamesTable);
    // The prefix plays no part: the tree holds namespace and local name.
    CXmlElement* element = m_document->GetOpenElementCount() != 0 ? m_document->AddElement(m_namespace, m_localName)
                                                                  : m_document->AddRootElement(m_namespace, m_localName);
    if (!hasAttributes) return true;
    unsigned char octet = ReadOctet();
    while (octet < 0x80) {
        ReadAttribute(octet, element);
        octet = ReadOctet();
    }
    if (octet != kDoubleTerminator) return true;
    // The element ends right behind its attributes; this 0xFF owes nothing to the parent.
    m_document->EndElement();
    return false;
}

void CFastInfosetReader::ReadAttribute(unsigned char first, CXmlElement* element) {
    if ((first & 0x78) != 0x78)
        LookupQName(m_vocabulary->m_attributeNamesTable, ReadIndexBit2(first), kAttributeNames);
    else
        ReadQName(first, m_vocabulary->m_attributeNamesTable);
    const unsigned char octet = ReadOctet();
    if (octet & 0x80) {
        m_lastIndex = ReadIndexZeroBit2(octet);
        const std::u16string_view value =
            m_lastIndex == 0 ? std::u16string_view()
                             : Entry(m_vocabulary->m_attributeValuesTable, m_lastIndex, kAttributeValues);
        element->AddAttribute(m_localName, value, m_namespace);
        return;
    }
    m_addToTable = (octet & 0x40) != 0;
    ReadEncodedString(octet, false, m_text);
    if (m_addToTable) CFIVocabulary::AddValueToVector(m_text, m_vocabulary->m_attributeValuesTable);
    element->AddAttribute(m_localName, m_text, m_namespace);
}

void CFastInfosetReader::ReadNamespaceAttribute(unsigned char first) {
    std::u16string_view prefix;
    std::u16string_view uri;
    if (first & 0x02)
        prefix = ReadIdentifyingString(m_vocabulary->m_prefixNamesTable, kPrefixNames, m_prefixText, m_lastIndex);
    if (first & 0x01)
        uri = ReadIdentifyingString(m_vocabulary->m_namespaceNamesTable, kNamespaceNames, m_namespaceText,
                                    m_lastIndex);
    m_document->SetAlias(prefix, uri);
}

void CFastInfosetReader::ReadCharacterChunk(unsigned char first, CXmlElement* element) {
    if (first & 0x20) {
        m_lastIndex = ReadIndexBit4(first);
        const std::u16string_view text = Entry(m_vocabulary->m_characterChunksTable, m_lastIndex, kCharacterChunks);
        m_document->AppendTextExcludingCR(element, text.data(), static_cast<uint32_t>(text.size()));
        return;
    }
    m_addToTable = (first & 0x10) != 0;
    ReadEncodedString(first, true, m_text);
    if (m_addToTable) CFIVocabulary::AddValueToVector(m_text, m_vocabulary->m_characterChunksTable);
    m_document->AppendTextExcludingCR(element, m_text.data(), static_cast<uint32_t>(m_text.size()));
}

// Target, then content.
void CFastInfosetReader::SkipProcessingInstruction() {
    SkipIdentifyingString();
    SkipNonIdentifyingString();
}

void CFastInfosetReader::SkipComment() { SkipNonIdentifyingString(); }

void CFastInfosetReader::SkipDocumentTypeDeclaration(unsigned char first) {
    if (first & 0x02) SkipIdentifyingString();
    if (first & 0x01) SkipIdentifyingString();
}

// Name, then system and public identifiers by bits 1 and 0.
void CFastInfosetReader::SkipUnexpandedEntityReference(unsigned char first) {
    SkipIdentifyingString();
    if (first & 0x02) SkipIdentifyingString();
    if (first & 0x01) SkipIdentifyingString();
}

void CFastInfosetReader::SkipNonIdentifyingString() {
    const unsigned char octet = ReadOctet();
    if (octet & 0x80)
        ReadIndexZeroBit2(octet);
    else
        ReadEncodedString(octet, false, m_text);
}

// ---- names ----

std::u16string_view CFastInfosetReader::Entry(const CFIVocabulary::CFIStringTable& table, uint32_t index,
                                              const char16_t* tableName) {
    const size_t size = table.m_items.size();
    if (index == 0 || index > size)
        Fail(FormatString(u"Failed to parse FastInfoset. Index [%u] is not in the table of %s, which holds [%u] entries.",
                          index, tableName, static_cast<uint32_t>(size)));
    return table.m_items[index - 1];
}

void CFastInfosetReader::LookupQName(const CFIVocabulary::CFIQNameTable& names, uint32_t index,
                                     const char16_t* tableName) {
    const size_t size = names.m_items.size();
    if (index == 0 || index > size)
        Fail(FormatString(u"Failed to parse FastInfoset. Index [%u] is not in the table of %s, which holds [%u] entries.",
                          index, tableName, static_cast<uint32_t>(size)));
    m_lastIndex = index;
    const CFIVocabulary::CQNameParts& parts = names.m_items[index - 1];
    m_namespace = parts.m_namespaceIndex == 0
                      ? std::u16string_view()
                      : Entry(m_vocabulary->m_namespaceNamesTable, parts.m_namespaceIndex, kNamespaceNames);
    m_localName = parts.m_localNameIndex == 0
                      ? std::u16string_view()
                      : Entry(m_vocabulary->m_localNamesTable, parts.m_localNameIndex, kLocalNames);
}

void CFastInfosetReader::ReadQName(unsigned char first, CFIVocabulary::CFIQNameTable& names) {
    if ((first & 0x03) == 0x02)
        Fail(u"Failed to parse FastInfoset. Invalid QName type Prefix without Namespace.");
    uint32_t prefixIndex = 0;
    uint32_t namespaceIndex = 0;
    uint32_t localIndex = 0;
    if (first & 0x02)
        ReadIdentifyingString(m_vocabulary->m_prefixNamesTable, kPrefixNames, m_prefixText, prefixIndex);
    // Each part comes from its own table, so adding one part leaves the view of another valid.
    m_namespace = (first & 0x01) ? ReadIdentifyingString(m_vocabulary->m_namespaceNamesTable, kNamespaceNames,
                                                         m_namespaceText, namespaceIndex)
                                 : std::u16string_view();
    m_localName = ReadIdentifyingString(m_vocabulary->m_localNamesTable, kLocalNames, m_localNameText, localIndex);
    CFIVocabulary::AddQNameToVector(prefixIndex, namespaceIndex, localIndex, names);
}

std::u16string_view CFastInfosetReader::ReadIdentifyingString(CFIVocabulary::CFIStringTable& table,
                                                              const char16_t* tableName, std::u16string& fallback,
                                                              uint32_t& index) {
    const unsigned char octet = ReadOctet();
    if (octet & 0x80) {
        index = ReadIndexBit2(octet);
        return Entry(table, index, tableName);
    }
    const uint64_t length = ReadLengthBit2(octet);
    const unsigned char* octets = ReadOctets(length);
    auto& items = table.m_items;
    // A literal enters the table, decoded in place there; a full table keeps it aside, and its
    // index is then the table's unchanged size.
    std::u16string* target = &fallback;
    if (items.size() < CFIVocabulary::kMaxTableSize) {
        items.emplace_back();
        target = &items.back();
    }
    DecodeUtf8(octets, static_cast<size_t>(length), *target);
    index = static_cast<uint32_t>(items.size());
    return *target;
}

void CFastInfosetReader::SkipIdentifyingString() {
    const unsigned char octet = ReadOctet();
    if (octet & 0x80)
        ReadIndexBit2(octet);
    else
        ReadOctets(ReadLengthBit2(octet));
}

// ---- integers and lengths ----

uint32_t CFastInfosetReader::ReadIndexBit2(unsigned char first) {
    if ((first & 0x40) == 0) return (first & 0x3Fu) + 1;
    if ((first & 0x60) == 0x40) return (((first & 0x1Fu) << 8) | ReadOctet()) + 65;
    if ((first & 0x70) == 0x60) return (((first & 0x0Fu) << 16) | ReadBigEndian(2)) + 8257;
    Fail(u"Failed to parse FastInfoset. Invalid Encoding of integers 1 To 2^20 type  on the second bit of an octet.");
}

uint32_t CFastInfosetReader::ReadIndexZeroBit2(unsigned char first) {
    if ((first & 0x7F) == 0x7F) return 0;
    if ((first & 0x70) == 0x70)
        Fail(u"Failed to parse FastInfoset. Invalid Encoding of integers 0 To 2^20 type  on the second bit of an octet.");
    return ReadIndexBit2(first);
}

uint32_t CFastInfosetReader::ReadIndexBit3(unsigned char first) {
    if ((first & 0x20) == 0) return (first & 0x1Fu) + 1;
    switch (first & 0x38) {
    case 0x20:
        return (((first & 0x07u) << 8) | ReadOctet()) + 33;
    case 0x28:
        return (((first & 0x07u) << 16) | ReadBigEndian(2)) + 2081;
    case 0x30:
        // All 24 bits of the three octets; one more than the writer's offset, as it stands.
        return ReadBigEndian(3) + 526369;
    default:
        Fail(u"Failed to parse FastInfoset. Invalid Encoding of integers 1 To 2^20 type  on the third bit of an octet.");
    }
}

uint32_t CFastInfosetReader::ReadIndexBit4(unsigned char first) {
    if ((first & 0x10) == 0) return (first & 0x0Fu) + 1;
    switch (first & 0x1C) {
    case 0x10:
        return (((first & 0x03u) << 8) | ReadOctet()) + 17;
    case 0x14:
        return (((first & 0x03u) << 16) | ReadBigEndian(2)) + 1041;
    case 0x18:
        return ReadBigEndian(3) + 263185;
    default:
        Fail(u"Failed to parse FastInfoset. Invalid Encoding of integers 1 To 2^20 type  on the fourth bit of an octet.");
    }
}

// Lengths may claim up to 2^32 + 320 octets; they are 64-bit so that the sum cannot wrap, and
// ReadOctets refuses any that the buffer does not hold before anything is allocated.
uint64_t CFastInfosetReader::ReadLengthBit2(unsigned char first) {
    const unsigned char form = first & 0x7F;
    if (form < 0x40) return form + 1u;
    if (form == 0x40) return ReadOctet() + 65u;
    if (form == 0x60) return ReadBigEndian(4) + uint64_t{321};
    Fail(u"Failed to parse FastInfoset. Invalid NonEmptyOctetString type  on the second bit of an octet.");
}

uint64_t CFastInfosetReader::ReadLengthBit5(unsigned char first) {
    const unsigned char form = first & 0x0F;
    if (form < 8) return form + 1u;
    if (form == 8) return ReadOctet() + 9u;
    if (form == 12) return ReadBigEndian(4) + uint64_t{265};
    Fail(u"Failed to parse FastInfoset. Invalid NonEmptyOctetString type  on the fifth bit of an octet.");
}

uint64_t CFastInfosetReader::ReadLengthBit7(unsigned char first) {
    const unsigned char form = first & 0x03;
    if (form < 2) return form + 1u;
    if (form == 2) return ReadOctet() + 3u;
    return ReadBigEndian(4) + uint64_t{259};
}

uint32_t CFastInfosetReader::ReadSequenceLength() {
    const unsigned char octet = ReadOctet();
    if (octet < 0x80) return octet + 1u;
    return (((octet & 0x0Fu) << 16) | ReadBigEndian(2)) + 129;
}

void CFastInfosetReader::SkipNonEmptyOctetStringBit2() { ReadOctets(ReadLengthBit2(ReadOctet())); }

// ---- strings ----

void CFastInfosetReader::ReadEncodedString(unsigned char first, bool fifthBit, std::u16string& out) {
    const unsigned form = fifthBit ? (first >> 2) & 0x03u : (first >> 4) & 0x03u;
    if (form < 2) {
        const uint64_t length = fifthBit ? ReadLengthBit7(first) : ReadLengthBit5(first);
        if (form == 1) {
            DecodeUtf16(length, out);
            return;
        }
        const unsigned char* octets = ReadOctets(length);
        DecodeUtf8(octets, static_cast<size_t>(length), out);
        return;
    }
    // The number of the alphabet or algorithm spans this octet and the next, which then
    // carries the length.
    const unsigned char next = ReadOctet();
    const uint32_t number =
        (fifthBit ? ((first & 0x03u) << 6) | (next >> 2) : ((first & 0x0Fu) << 4) | (next >> 4)) + 1;
    const uint64_t length = fifthBit ? ReadLengthBit7(next) : ReadLengthBit5(next);
    const unsigned char* octets = ReadOctets(length);
    if (form == 2)
        DecodeRestrictedAlphabet(number, octets, static_cast<size_t>(length), out);
    else
        DecodeAlgorithm(number, octets, static_cast<size_t>(length), out);
}

void CFastInfosetReader::DecodeUtf8(const unsigned char* octets, size_t count, std::u16string& out) {
    // Never more code units than octets.
    out.resize(count);
    char16_t* target = out.data();
    size_t i = 0;
    size_t k = 0;
    while (i < count) {
        // Runs of ASCII, eight octets at a time.
        while (count - i >= 8) {
            uint64_t block;
            std::memcpy(&block, octets + i, 8);
            if (block & 0x8080808080808080ull) break;
            for (int j = 0; j < 8; ++j) target[k + j] = octets[i + j];
            i += 8;
            k += 8;
        }
        if (i == count) break;
        const uint32_t c = octets[i];
        if (c < 0x80) {
            target[k++] = static_cast<char16_t>(c);
            ++i;
            continue;
        }
        size_t extra;
        uint32_t code;
        uint32_t least;
        if (c >= 0xC2 && c <= 0xDF) {
            extra = 1;
            code = c & 0x1F;
            least = 0x80;
        } else if (c >= 0xE0 && c <= 0xEF) {
            extra = 2;
            code = c & 0x0F;
            least = 0x800;
        } else if (c >= 0xF0 && c <= 0xF4) {
            extra = 3;
            code = c & 0x07;
            least = 0x10000;
        } else {
            break;
        }
        if (count - i <= extra) break;
        bool valid = true;
        for (size_t j = 1; j <= extra; ++j) {
            const uint32_t follow = octets[i + j];
            if ((follow & 0xC0) != 0x80) valid = false;
            code = (code << 6) | (follow & 0x3F);
        }
        if (!valid || code < least || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) break;
        i += extra + 1;
        if (code >= 0x10000) {
            code -= 0x10000;
            target[k++] = static_cast<char16_t>(0xD800 + (code >> 10));
            target[k++] = static_cast<char16_t>(0xDC00 + (code & 0x3FF));
        } else {
            target[k++] = static_cast<char16_t>(code);
        }
    }
    if (i != count) Fail(u"Failed to parse FastInfoset. A string holds octets that are not UTF-8.");
    out.resize(k);
}

// The octet count is taken as the count of 16-bit units, in the machine's order, so the text runs
// on past its octets into what follows them. That is how this form is read; the units it takes
// must still lie inside the document.
void CFastInfosetReader::DecodeUtf16(uint64_t count, std::u16string& out) {
    const unsigned char* start = m_position;
    if (static_cast<uint64_t>(m_end - start) / 2 < count) {
        m_current = start;
        ThrowEndOfFile();
    }
    ReadOctets(count);
    out.resize(static_cast<size_t>(count));
    std::memcpy(out.data(), start, static_cast<size_t>(count) * 2);
}

void CFastInfosetReader::DecodeRestrictedAlphabet(uint32_t alphabetNumber, const unsigned char* octets, size_t count,
                                                  std::u16string& out) {
    const auto& alphabets = m_vocabulary->m_restrictedAlphabets;
    if (alphabetNumber > alphabets.size())
        Fail(FormatString(u"Failed to parse FastInfoset. Restricted alphabet [%u] is not in the vocabulary, which "
                          u"holds [%u].",
                          alphabetNumber, static_cast<uint32_t>(alphabets.size())));
    const std::u16string& alphabet = alphabets[alphabetNumber - 1];
    if (alphabet.size() < 2 || alphabet.size() > (size_t{1} << 20))
        Fail(u"Failed to parse FastInfoset. Invalid Encoding of Restricted Alphabet. Alphabet must contain between 2 "
             u"and 2^20 characters.");
    uint32_t bits = 2;
    while ((size_t{1} << bits) <= alphabet.size()) ++bits;
    out.clear();
    auto character = [&](uint32_t code) {
        if (code >= alphabet.size())
            Fail(FormatString(u"Failed to parse FastInfoset. Character code [%u] is not in the restricted alphabet "
                              u"of [%u] characters.",
                              code, static_cast<uint32_t>(alphabet.size())));
        return alphabet[code];
    };
    if (bits == 8) {
        out.reserve(count);
        for (size_t i = 0; i < count; ++i) out.push_back(character(octets[i]));
        return;
    }
    // Packed codes, most significant bit first; a code of all ones pads the last octet.
    m_bitWidth = bits;
    m_bitsLeft = 0;
    m_bitBuffer = 0;
    const uint32_t end = (1u << bits) - 1;
    const uint64_t most = static_cast<uint64_t>(count) * 8 / bits;
    out.reserve(static_cast<size_t>(most));
    const unsigned char* data = octets;
    for (uint64_t i = 0; i < most; ++i) {
        const uint32_t code = ReadBits(data, octets + count);
        if (code == end) break;
        out.push_back(character(code));
    }
}

uint32_t CFastInfosetReader::ReadBits(const unsigned char*& data, const unsigned char* end) {
    const uint32_t mask = (1u << m_bitWidth) - 1;
    while (m_bitsLeft < m_bitWidth) {
        if (data == end) return mask;
        m_bitBuffer = (m_bitBuffer << 8) | *data++;
        m_bitsLeft += 8;
    }
    m_bitsLeft -= m_bitWidth;
    return (m_bitBuffer >> m_bitsLeft) & mask;
}

void CFastInfosetReader::DecodeAlgorithm(uint32_t algorithm, const unsigned char* octets, size_t count,
                                         std::u16string& out) {
    if (algorithm == CFastInfosetBinaryData::Algorithm_Cdata) {
        DecodeUtf8(octets, count, out);
        return;
    }
    const CFastInfosetBinaryData data(octets, static_cast<uint32_t>(count), false);
    out = data.GetAsString(algorithm);
}

} // namespace KvXmlLib16
