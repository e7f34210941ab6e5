#include "kvxml/fastinfoset/CFastInfosetWriter.h"

#include <cstring>

#include "kvxml/base/CKvException.h"
#include "kvxml/base/FormatString.h"
#include "kvxml/fastinfoset/CFastInfosetBinaryData.h"
#include "kvxml/output/CBinaryStream.h"
#include "kvxml/values/ItemType.h"

namespace KvXmlLib16 {

namespace {

const std::u16string kXsiNamespace = kXsiNamespaceURI;

const char* const kDeclarations[] = {
    "",
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

// The XML namespace is bound by the format itself and never declared; a longer URI that begins
// with it is passed over as well.
bool StartsWithXmlNamespace(const std::u16string& uri) {
    constexpr size_t length = sizeof(kXmlNamespaceURI) / sizeof(char16_t) - 1;
    return uri.compare(0, length, kXmlNamespaceURI) == 0;
}

// The octet count of the UTF-8 form. `units` receives how many code units are converted: a broken
// surrogate ends the text there, as in WideToUtf8.
uint32_t Utf8Length(std::u16string_view text, size_t& units) {
    uint64_t bytes = 0;
    size_t i = 0;
    for (; i < text.size(); ++i) {
        const char16_t c = text[i];
        if (c < 0x80) {
            bytes += 1;
        } else if (c < 0x800) {
            bytes += 2;
        } else if (c >= 0xD800 && c <= 0xDBFF) {
            if (i + 1 >= text.size() || text[i + 1] < 0xDC00 || text[i + 1] > 0xDFFF) break;
            bytes += 4;
            ++i;
        } else if (c >= 0xDC00 && c <= 0xDFFF) {
            break;
        } else {
            bytes += 3;
        }
    }
    units = i;
    if (bytes > UINT32_MAX) throw CKvException(u"Failed to write FastInfoset. A string is too long for the format.");
    return static_cast<uint32_t>(bytes);
}

// Equality by one memcmp; the character-wise comparison of the standard strings is slower.
inline bool Same(const std::u16string& a, std::u16string_view b) {
    return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(char16_t)) == 0);
}

[[noreturn]] void ThrowNoOctets() {
    throw CKvException(u"Failed to write FastInfoset. A value gives no octets to write.");
}

} // namespace

CFastInfosetWriter::CFastInfosetWriter(CBinaryStream* stream, const CFastInfosetContext* context)
    : m_stream(stream),
      m_context(context),
      m_pendingElement(nullptr),
      m_terminatorPending(false),
      m_vocabulary(context->GetUseGeneratedVocabulary() ? new CFIVocabulary(*context->GetVocabulary())
                                                        : new CFIVocabulary()),
      m_buffer(new unsigned char[kBufferSize]),
      m_used(0) {
    const auto& alphabets = m_vocabulary->m_restrictedAlphabets;
    for (size_t a = 0; a < kTabledAlphabets; ++a) {
        for (int16_t& code : m_alphabetCodes[a]) code = -1;
        for (size_t i = 0; a < alphabets.size() && i < alphabets[a].size() && i < 0x7FFF; ++i) {
            const char16_t c = alphabets[a][i];
            if (c < 128 && m_alphabetCodes[a][c] < 0) m_alphabetCodes[a][c] = static_cast<int16_t>(i);
        }
    }
}

CFastInfosetWriter::~CFastInfosetWriter() {
    // What was written before a failure stays in the stream.
    try {
        Flush();
    } catch (...) {}
}

void CFastInfosetWriter::OpenOutput() {}

void CFastInfosetWriter::CloseOutput() {
    Flush();
    CXmlWriter::CloseOutput();
}

void CFastInfosetWriter::WriteComment(const std::u16string&) {}

void CFastInfosetWriter::WriteProcessingInstruction(const std::u16string&) { WritePendingElement(false); }

void CFastInfosetWriter::WriteInLineSchema(const std::u16string&) {}

void CFastInfosetWriter::Flush() {
    if (m_used == 0) return;
    const uint32_t used = m_used;
    m_used = 0;
    m_stream->GetBuffer().Append(m_buffer.get(), used);
}

void CFastInfosetWriter::Put(const unsigned char* octets, uint32_t count) {
    if (count == 0) return;
    if (count > kBufferSize - m_used) {
        Flush();
        if (count >= kBufferSize) {
            m_stream->GetBuffer().Append(octets, count);
            return;
        }
    }
    std::memcpy(m_buffer.get() + m_used, octets, count);
    m_used += count;
}

void CFastInfosetWriter::PutBigEndian32(uint32_t value) {
    const unsigned char octets[4] = {static_cast<unsigned char>(value >> 24), static_cast<unsigned char>(value >> 16),
                                     static_cast<unsigned char>(value >> 8), static_cast<unsigned char>(value)};
    Put(octets, 4);
}

void CFastInfosetWriter::PutUtf8(std::u16string_view text, size_t units) {
    // A code unit takes at most 3 octets (a surrogate pair 4 for two units): a text that fits the
    // buffer is converted without a test per unit.
    const bool fits = units <= kBufferSize / 3;
    if (fits && kBufferSize - m_used < units * 3) Flush();
    for (size_t i = 0; i < units; ++i) {
        if (!fits && kBufferSize - m_used < 4) Flush();
        unsigned char* out = m_buffer.get() + m_used;
        const uint32_t c = text[i];
        if (c < 0x80) {
            out[0] = static_cast<unsigned char>(c);
            m_used += 1;
        } else if (c < 0x800) {
            out[0] = static_cast<unsigned char>(0xC0 | (c >> 6));
            out[1] = static_cast<unsigned char>(0x80 | (c & 0x3F));
            m_used += 2;
        } else if (c >= 0xD800 && c <= 0xDBFF) {
            // Utf8Length has checked that the low surrogate follows.
            const uint32_t cp = 0x10000 + ((c - 0xD800) << 10) + (text[++i] - 0xDC00);
            out[0] = static_cast<unsigned char>(0xF0 | (cp >> 18));
            out[1] = static_cast<unsigned char>(0x80 | ((cp >> 12) & 0x3F));
            out[2] = static_cast<unsigned char>(0x80 | ((cp >> 6) & 0x3F));
            out[3] = static_cast<unsigned char>(0x80 | (cp & 0x3F));
            m_used += 4;
        } else {
            out[0] = static_cast<unsigned char>(0xE0 | (c >> 12));
            out[1] = static_cast<unsigned char>(0x80 | ((c >> 6) & 0x3F));
            out[2] = static_cast<unsigned char>(0x80 | (c & 0x3F));
            m_used += 3;
        }
    }
}

// ---- integers and lengths ----

void CFastInfosetWriter::WriteNonEmptyOctetStringBit2(std::u16string_view text) {
    size_t units = 0;
    const uint32_t length = Utf8Length(text, units);
    if (length == 0) {
        Put(0xFF);
        return;
    }
    if (length <= 64) {
        Put(static_cast<unsigned char>(length - 1));
    } else if (length <= 320) {
        Put(0x40);
        Put(static_cast<unsigned char>(length - 65));
    } else {
        Put(0x60);
        PutBigEndian32(length - 321);
    }
    PutUtf8(text, units);
}

void CFastInfosetWriter::WriteIndexBit2(unsigned char firstBit, uint32_t value) {
    if (value < 65) {
        Put(static_cast<unsigned char>(firstBit | (value - 1)));
    } else if (value < 8257) {
        const uint32_t v = value - 65;
        const unsigned char octets[2] = {static_cast<unsigned char>(firstBit | 0x40 | (v >> 8)),
                                         static_cast<unsigned char>(v)};
        Put(octets, 2);
    } else {
        const uint32_t v = value - 8257;
        const unsigned char octets[3] = {static_cast<unsigned char>(firstBit | 0x60 | ((v >> 16) & 0x0F)),
                                         static_cast<unsigned char>(v >> 8), static_cast<unsigned char>(v)};
        Put(octets, 3);
    }
}

void CFastInfosetWriter::WriteIndexBit3(unsigned char leading, uint32_t value) {
    if (value < 33) {
        Put(static_cast<unsigned char>(leading | (value - 1)));
    } else if (value < 2081) {
        const uint32_t v = value - 33;
        const unsigned char octets[2] = {static_cast<unsigned char>(leading | 0x20 | (v >> 8)),
                                         static_cast<unsigned char>(v)};
        Put(octets, 2);
    } else if (value < 526369) {
        const uint32_t v = value - 2081;
        const unsigned char octets[3] = {static_cast<unsigned char>(leading | 0x28 | (v >> 16)),
                                         static_cast<unsigned char>(v >> 8), static_cast<unsigned char>(v)};
        Put(octets, 3);
    } else {
        // One less than the range's lower bound is subtracted here, unlike the other branches.
        const uint32_t v = value - 526368;
        const unsigned char octets[4] = {static_cast<unsigned char>(leading | 0x30),
                                         static_cast<unsigned char>((v >> 16) & 0x0F),
                                         static_cast<unsigned char>(v >> 8), static_cast<unsigned char>(v)};
        Put(octets, 4);
    }
}

void CFastInfosetWriter::WriteIndexBit4(uint32_t value) {
    if (value < 17) {
        Put(static_cast<unsigned char>(0xA0 | (value - 1)));
    } else if (value < 1041) {
        const uint32_t v = value - 17;
        const unsigned char octets[2] = {static_cast<unsigned char>(0xB0 | (v >> 8)), static_cast<unsigned char>(v)};
        Put(octets, 2);
    } else if (value < 263185) {
        const uint32_t v = value - 1041;
        const unsigned char octets[3] = {static_cast<unsigned char>(0xB4 | (v >> 16)),
                                         static_cast<unsigned char>(v >> 8), static_cast<unsigned char>(v)};
        Put(octets, 3);
    } else {
        const uint32_t v = value - 263185;
        const unsigned char octets[4] = {0xB8, static_cast<unsigned char>((v >> 16) & 0x0F),
                                         static_cast<unsigned char>(v >> 8), static_cast<unsigned char>(v)};
        Put(octets, 4);
    }
}

void CFastInfosetWriter::WriteLengthBit5(unsigned char leading, uint32_t length) {
    if (length == 0) ThrowNoOctets();
    if (length <= 8) {
        Put(static_cast<unsigned char>(leading | (length - 1)));
    } else if (length <= 264) {
        Put(static_cast<unsigned char>(leading | 8));
        Put(static_cast<unsigned char>(length - 9));
    } else {
        Put(static_cast<unsigned char>(leading | 12));
        PutBigEndian32(length - 265);
    }
}

void CFastInfosetWriter::WriteLengthBit7(unsigned char leading, uint32_t length) {
    if (length == 0) ThrowNoOctets();
    if (length <= 2) {
        Put(static_cast<unsigned char>(leading | (length - 1)));
    } else if (length <= 258) {
        Put(static_cast<unsigned char>(leading | 2));
        Put(static_cast<unsigned char>(length - 3));
    } else {
        Put(static_cast<unsigned char>(leading | 3));
        PutBigEndian32(length - 259);
    }
}

// ---- encoded character strings ----

void CFastInfosetWriter::WriteEncodedStringBit5(unsigned char leading, const std::u16string& text, ItemType kind) {
    WriteEncodedString(false, leading, text, kind);
}

void CFastInfosetWriter::WriteEncodedStringBit7(unsigned char leading, const std::u16string& text, ItemType kind) {
    WriteEncodedString(true, leading, text, kind);
}

void CFastInfosetWriter::WriteEncodedString(bool bit7, unsigned char leading, const std::u16string& text,
                                            ItemType kind) {
    const CFastInfosetContext::EncodedCharacterString encoding = m_context->GetEncoding(static_cast<uint32_t>(kind));
    switch (encoding.kind) {
    case 0: {
        if (m_context->GetDefaultStringEncoding() != 0)
            throw CKvException(
                u"Failed to write FastInfoset. Unsupported Feature UTF16BE in EncodedCharacterStringBit5.");
        size_t units = 0;
        const uint32_t length = Utf8Length(text, units);
        if (bit7)
            WriteLengthBit7(leading, length);
        else
            WriteLengthBit5(leading, length);
        PutUtf8(text, units);
        return;
    }
    case 1:
        if (encoding.index < 1 || encoding.index > 2)
            throw CKvException(FormatString(u"Failed to write FastInfoset. Invalid Restricted Alphabet value [%d]",
                                            static_cast<int>(encoding.index)));
        WriteRestrictedAlphabetString(bit7, leading, encoding.index, text);
        return;
    case 2: {
        const uint32_t n = encoding.index;
        if (n < 1 || n > 10)
            throw CKvException(FormatString(u"Failed to write FastInfoset. Invalid Encoding Algorithm value [%d]",
                                            static_cast<int>(n)));
        // Numbers go through a small local block; the other algorithms need a buffer of their own.
        unsigned char item[8];
        const unsigned char* octets = item;
        uint32_t length = CFastInfosetBinaryData::EncodeFixedItem(n, text, item);
        CFastInfosetBinaryData data;
        if (length == 0) {
            data.SetAsEncodedString(n, text.c_str());
            octets = data.GetData();
            length = data.GetLength();
        }
        if (length == 0) ThrowNoOctets();
        const uint32_t table = n - 1;
        if (bit7) {
            Put(static_cast<unsigned char>(leading | 0x0C | (table >> 6)));
            WriteLengthBit7(static_cast<unsigned char>((table & 0x3F) << 2), length);
        } else {
            Put(static_cast<unsigned char>(leading | 0x30 | (table >> 4)));
            WriteLengthBit5(static_cast<unsigned char>((table & 0x0F) << 4), length);
        }
        Put(octets, length);
        return;
    }
    default:
        throw CKvException(bit7 ? u"Failed to write FastInfoset. Unknown encoding in EncodedCharacterStringBit7."
                                : u"Failed to write FastInfoset. Unknown encoding in EncodedCharacterStringBit5.");
    }
}

void CFastInfosetWriter::WriteRestrictedAlphabetString(bool bit7, unsigned char leading, uint32_t alphabetIndex,
                                                       const std::u16string& text) {
    const auto& alphabets = m_vocabulary->m_restrictedAlphabets;
    if (alphabetIndex - 1 >= alphabets.size())
        throw CKvException(FormatString(u"Failed to write FastInfoset. Invalid Restricted Alphabet value [%d]",
                                        static_cast<int>(alphabetIndex)));
    const std::u16string& alphabet = alphabets[alphabetIndex - 1];
    if (alphabet.size() < 2 || alphabet.size() > (size_t{1} << 20))
        throw CKvException(
            u"Failed to write FastInfoset. Invalid Restricted Alphabet. Alphabet must contain between 2 "
            u"and 2^20 characters.");
    unsigned bits = 2;
    while ((size_t{1} << bits) <= alphabet.size()) ++bits;
    if (bits != 4 && bits != 8)
        throw CKvException(u"Failed to write FastInfoset. Unsupported Feature in AppendRestrictedAlphabetString.");

    const size_t count = text.size();
    const uint64_t packed = bits == 4 ? (uint64_t{count} + 1) / 2 : count;
    if (packed > UINT32_MAX) throw CKvException(u"Failed to write FastInfoset. A string is too long for the format.");
    // Every character is checked before anything goes out; the built-in alphabets are ASCII and
    // looked up through a table.
    const bool tabled = alphabetIndex <= kTabledAlphabets;
    m_codes.clear();
    for (char16_t c : text) {
        const size_t position =
            tabled && c < 128 ? static_cast<size_t>(m_alphabetCodes[alphabetIndex - 1][c]) : alphabet.find(c);
        if (position >= alphabet.size())
            throw CKvException(u"Failed to write FastInfoset. Invalid character not found for Restricted Alphabet.");
        m_codes.push_back(static_cast<unsigned char>(position));
    }

    const uint32_t table = alphabetIndex - 1;
    if (bit7) {
        Put(static_cast<unsigned char>(leading | 0x08 | (table >> 6)));
        WriteLengthBit7(static_cast<unsigned char>((table & 0x3F) << 2), static_cast<uint32_t>(packed));
    } else {
        Put(static_cast<unsigned char>(leading | 0x20 | (table >> 4)));
        WriteLengthBit5(static_cast<unsigned char>((table & 0x0F) << 4), static_cast<uint32_t>(packed));
    }
    if (bits == 8) {
        Put(m_codes.data(), static_cast<uint32_t>(count));
        return;
    }
    // Two characters per octet, the first in the high half; an odd last one is followed by 1111.
    for (size_t i = 0; i < count; i += 2) {
        const unsigned char low = i + 1 < count ? m_codes[i + 1] : 0x0F;
        Put(static_cast<unsigned char>((m_codes[i] << 4) | low));
    }
}

// ---- names ----

void CFastInfosetWriter::WritePrefix(std::u16string_view prefix) {
    uint32_t index = 0;
    if (m_vocabulary->FindPrefixNameIndex(prefix, index)) {
        WriteIndexBit2(0x80, index);
    } else {
        WriteNonEmptyOctetStringBit2(prefix);
        m_vocabulary->AddPrefixName(std::u16string(prefix));
    }
}

void CFastInfosetWriter::WriteNamespaceName(std::u16string_view uri) {
    uint32_t index = 0;
    if (m_vocabulary->FindNamespaceNameIndex(uri, index)) {
        WriteIndexBit2(0x80, index);
    } else {
        WriteNonEmptyOctetStringBit2(uri);
        m_vocabulary->AddNamespaceName(std::u16string(uri));
    }
}

void CFastInfosetWriter::WriteLocalName(std::u16string_view localName) {
    uint32_t index = 0;
    if (m_vocabulary->FindLocalNameIndex(localName, index)) {
        WriteIndexBit2(0x80, index);
    } else {
        WriteNonEmptyOctetStringBit2(localName);
        m_vocabulary->AddLocalName(std::u16string(localName));
    }
}

void CFastInfosetWriter::WriteQNameParts(std::u16string_view prefix, const std::u16string& namespaceUri,
                                         const std::u16string& localName) {
    if (!prefix.empty()) WritePrefix(prefix);
    if (!namespaceUri.empty()) WriteNamespaceName(namespaceUri);
    WriteLocalName(localName);
}

uint32_t CFastInfosetWriter::FindQName(NameCacheEntry* cache, const CFIVocabulary::IndexMap& map,
                                       std::u16string_view prefix, const std::u16string& namespaceUri,
                                       const std::u16string& localName) {
    const size_t n = localName.size();
    const size_t slot =
        (n * 7 + (n ? localName[0] : 0) + (n > 1 ? localName[n - 1] * 3 : 0) + namespaceUri.size()) % kNameCacheSize;
    NameCacheEntry& entry = cache[slot];
    if (entry.index != 0 && Same(entry.localName, localName) && Same(entry.namespaceUri, namespaceUri) &&
        Same(entry.prefix, prefix))
        return entry.index;
    // The key stays in m_key for the caller, which adds it when the name is new.
    CFIVocabulary::MakeQNameKey(prefix, namespaceUri, localName, m_key);
    uint32_t index = 0;
    if (!CFIVocabulary::FindIndex(map, m_key, index)) return 0;
    entry.localName = localName;
    entry.namespaceUri = namespaceUri;
    entry.prefix = prefix;
    entry.index = index;
    return index;
}

void CFastInfosetWriter::WriteElementQName(unsigned char leading, std::u16string_view prefix,
                                           const std::u16string& namespaceUri, const std::u16string& localName) {
    if (const uint32_t index =
            FindQName(m_elementNameCache, m_vocabulary->m_elementNameMap, prefix, namespaceUri, localName)) {
        WriteIndexBit3(leading, index);
        return;
    }
    Put(static_cast<unsigned char>(leading | (!prefix.empty() ? 0x3F : !namespaceUri.empty() ? 0x3D : 0x3C)));
    WriteQNameParts(prefix, namespaceUri, localName);
    CFIVocabulary::AddValueToMap(m_key, m_vocabulary->m_elementNameMap);
}

void CFastInfosetWriter::WriteAttributeQName(std::u16string_view prefix, const std::u16string& namespaceUri,
                                             const std::u16string& localName) {
    if (const uint32_t index =
            FindQName(m_attributeNameCache, m_vocabulary->m_attributeNameMap, prefix, namespaceUri, localName)) {
        WriteIndexBit2(0, index);
        return;
    }
    Put(!prefix.empty() ? 0x7B : !namespaceUri.empty() ? 0x79 : 0x78);
    WriteQNameParts(prefix, namespaceUri, localName);
    CFIVocabulary::AddValueToMap(m_key, m_vocabulary->m_attributeNameMap);
}

std::u16string CFastInfosetWriter::AliasFor(const std::u16string& namespaceUri) {
    // No namespace attribute is written for a new alias: the literal name carries the binding.
    CXmlWriterContext* context = m_currentContext;
    const NamespaceMap& map = context->GetEffectiveMap();
    const auto found = map.find(namespaceUri);
    if (found != map.end()) return found->second;
    std::u16string alias = AllocateAlias(map);
    context->AddNamespaceAlias(alias, namespaceUri);
    return alias;
}

// ---- values ----

void CFastInfosetWriter::WriteAttributeValue(const std::u16string& value, ItemType kind) {
    if (value.empty()) {
        Put(0xFF); // index 0: the empty string
        return;
    }
    auto& map = m_vocabulary->m_attributeValueMap;
    if (value.size() >= m_context->GetAttributeMaxAddLength()) {
        WriteEncodedStringBit5(0, value, kind);
        return;
    }
    uint32_t index = 0;
    if (CFIVocabulary::FindIndex(map, value, index)) {
        WriteIndexBit2(0x80, index);
        return;
    }
    WriteEncodedStringBit5(0x40, value, kind);
    CFIVocabulary::AddValueToMap(value, map);
}

// ---- elements ----

void CFastInfosetWriter::WritePendingElement(bool hasAttributes) {
    CXmlWriterContext* context = m_pendingElement;
    if (!context) return;
    m_pendingElement = nullptr;
    unsigned char leading = 0;
    if (hasAttributes) {
        context->SetWriterMark(1);
        leading = 0x40;
    }
    if (!context->GetParent()) {
        // The root declares what was set on the writer before it (the map always holds at least
        // the XML namespace, so the run is always announced, even when it ends up empty).
        Put(static_cast<unsigned char>(leading | 0x38));
        leading = 0;
        if (!m_defaultNamespace.empty()) {
            Put(0xCD);
            WriteNamespaceName(m_defaultNamespace);
        }
        for (const auto& entry : m_namespaceMap) {
            if (StartsWithXmlNamespace(entry.first)) continue;
            Put(0xCF);
            WritePrefix(entry.second);
            WriteNamespaceName(entry.first);
        }
        Put(0xF0);
    }
    const std::u16string& uri = context->GetNamespaceURI();
    if (uri.empty() || uri == context->GetEffectiveDefaultNamespace()) {
        WriteElementQName(leading, std::u16string_view(), uri, context->GetName());
    } else {
        const std::u16string alias = AliasFor(uri);
        WriteElementQName(leading, alias, uri, context->GetName());
    }
}

void CFastInfosetWriter::CloseStartTag(CXmlWriterContext* context) {
    if (!context || !context->IsStartTagOpen()) return;
    context->SetStartTagOpen(false);
    if (context->GetWriterMark() != 0) Put(0xF0); // ends the attributes
}

void CFastInfosetWriter::ThrowIfStartTagClosed() const {
    // A head that went out without the attribute flag cannot take attributes either.
    const CXmlWriterContext* context = m_currentContext;
    if (!context || !context->IsStartTagOpen() || context->GetWriterMark() == 0)
        throw CKvException(u"Attributes must be added before elements");
}

void CFastInfosetWriter::WriteStartElement(const std::u16string& name, const std::u16string& namespaceUri) {
    WritePendingElement(false);
    if (m_terminatorPending) {
        Put(0xF0);
        m_terminatorPending = false;
    }
    if (CXmlWriterContext* parent = m_currentContext) {
        parent->IncrementChildCount();
        CloseStartTag(parent);
    }
    CXmlWriterContext* context = PushContext(name, namespaceUri);
    context->SetStartTagOpen(true);
    m_pendingElement = context;
}

void CFastInfosetWriter::WriteElementText(const std::u16string& text, ItemType kind, bool) {
    WritePendingElement(false);
    CXmlWriterContext* context = m_currentContext;
    if (!context) throw CKvException(u"There is no open element for the text.");
    CloseStartTag(context);
    if (text.empty()) return;
    // An owed end is deliberately not written first (see the header).
    auto& map = m_vocabulary->m_characterChunkMap;
    if (text.size() >= m_context->GetElementMaxAddLength()) {
        WriteEncodedStringBit7(0x80, text, kind);
        return;
    }
    uint32_t index = 0;
    if (CFIVocabulary::FindIndex(map, text, index)) {
        WriteIndexBit4(index);
        return;
    }
    WriteEncodedStringBit7(0x90, text, kind);
    CFIVocabulary::AddValueToMap(text, map);
}

void CFastInfosetWriter::WriteEndElement() {
    WritePendingElement(false);
    CXmlWriterContext* context = m_currentContext;
    if (!context) throw CKvException(u"There is no open element to end.");
    CloseStartTag(context);
    if (m_terminatorPending) {
        Put(0xFF); // this end and the owed one in one octet
        m_terminatorPending = false;
    } else {
        m_terminatorPending = true;
    }
    PopContext();
}

void CFastInfosetWriter::WriteAttribute(const std::u16string& name, const std::u16string& namespaceUri,
                                        const std::u16string& value, ItemType kind) {
    WritePendingElement(true);
    ThrowIfStartTagClosed();
    if (namespaceUri.empty()) {
        WriteAttributeQName(std::u16string_view(), namespaceUri, name);
    } else {
        const std::u16string alias = AliasFor(namespaceUri);
        WriteAttributeQName(alias, namespaceUri, name);
    }
    WriteAttributeValue(value, kind);
}

void CFastInfosetWriter::WriteXsiType(const std::u16string& namespaceUri, const std::u16string& typeName,
                                      ItemType kind) {
    WritePendingElement(true);
    ThrowIfStartTagClosed();
    CXmlWriterContext* context = m_currentContext;
    if (namespaceUri.empty() || namespaceUri == context->GetEffectiveDefaultNamespace()) {
        WriteAttribute(u"type", kXsiNamespace, typeName, kind);
        return;
    }
    // The two branches name the attribute differently; both are kept as they are.
    const NamespaceMap& map = context->GetEffectiveMap();
    const auto found = map.find(namespaceUri);
    std::u16string alias;
    if (found != map.end()) {
        alias = found->second;
        WriteAttributeQName(alias, kXsiNamespace, u"type");
    } else {
        alias = AllocateAlias(map);
        context->AddNamespaceAlias(alias, namespaceUri);
        WriteAttributeQName(alias, namespaceUri, typeName);
    }
    WriteAttributeValue(alias + u':' + typeName, kind);
}

void CFastInfosetWriter::WriteXsiNil() {
    WritePendingElement(true);
    ThrowIfStartTagClosed();
    WriteAttribute(u"nil", kXsiNamespace, u"true", ItemType_boolean);
}

// ---- document ----

void CFastInfosetWriter::WriteDocumentHeader(FInfoDecl declaration) {
    const auto value = static_cast<int32_t>(declaration);
    if (value < 0 || value > 9)
        throw CKvException(FormatString(u"Failed to write FastInfoset. Unknown XML declaration [%d]", value));
    Put(reinterpret_cast<const unsigned char*>(kDeclarations[value]),
        static_cast<uint32_t>(std::strlen(kDeclarations[value])));
    static const unsigned char magic[4] = {0xE0, 0x00, 0x00, 0x01};
    Put(magic, 4);
    if (!m_context->GetUseGeneratedVocabulary()) {
        Put(0x00); // no optional component
        return;
    }
    // An initial vocabulary that consists of an external vocabulary only.
    static const unsigned char vocabulary[3] = {0x20, 0x10, 0x00};
    Put(vocabulary, 3);
    const std::u16string uri = m_context->GetExternalVocabularyURI();
    WriteNonEmptyOctetStringBit2(uri.empty() ? std::u16string_view(kDefaultExternalVocabularyURI) : uri);
}

void CFastInfosetWriter::WriteDocumentEnd() {
    WritePendingElement(false);
    Put(m_terminatorPending ? 0xFF : 0xF0);
    m_terminatorPending = false;
}

} // namespace KvXmlLib16
