#include "kvxml/xml/CExpatReader.h"

#include <expat.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>

#include "kvxml/base/CKvException.h"
#include "kvxml/base/FormatString.h"
#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/platform/KvPlatform.h"
#include "kvxml/xml/CXmlDocument.h"

static_assert(sizeof(XML_Char) == sizeof(char16_t), "the reader needs the UTF-16 build of Expat");
static_assert(std::is_same_v<XML_Char, unsigned short>, "callback signatures assume unsigned short");

namespace KvXmlLib16 {

namespace {

constexpr char16_t kNamespaceSeparator = u'|';
constexpr size_t kPendingLimit = 64 * 1024;
constexpr size_t kFeedSize = 256 * 1024;
// A final input at least this large is released behind the parser, in steps of kReleaseStep,
// keeping kReleaseMargin behind the current token.
constexpr uint64_t kReleaseFrom = 1024 * 1024;
constexpr uint64_t kReleaseStep = 1024 * 1024;
constexpr uint64_t kReleaseMargin = 64 * 1024;
constexpr uint64_t kReleaseAlign = 2 * 1024 * 1024;

inline const char16_t* Wide(const XML_Char* text) { return reinterpret_cast<const char16_t*>(text); }

inline std::u16string_view WideView(const XML_Char* text) {
    return text ? std::u16string_view(Wide(text)) : std::u16string_view();
}

// First unit equal to stop, or the terminator, from text on. Expat hands over terminated strings
// without their lengths, so the scan goes one unit at a time: a block read could look past the
// terminator, outside the buffer.
inline const char16_t* FindUnitOrEnd(const char16_t* text, char16_t stop) {
    while (*text && *text != stop) ++text;
    return text;
}

// "uri|local" as the namespace-aware parser delivers it; a name without a separator is local.
inline void SplitName(const XML_Char* name, std::u16string_view& uri, std::u16string_view& local) {
    const char16_t* text = Wide(name);
    const char16_t* stop = FindUnitOrEnd(text, kNamespaceSeparator);
    if (!*stop) {
        uri = std::u16string_view();
        local = std::u16string_view(text, static_cast<size_t>(stop - text));
        return;
    }
    uri = std::u16string_view(text, static_cast<size_t>(stop - text));
    const char16_t* localStart = stop + 1;
    local = std::u16string_view(localStart, static_cast<size_t>(FindUnitOrEnd(localStart, 0) - localStart));
}

// Line ends before the end of the bytes as Expat counts them: CR, LF and CR LF each end a line.
// Units are one byte unless the input is UTF-16 (its first two bytes a byte-order mark or '<'
// with a zero byte), where neither byte of a unit can be read as a line end alone.
size_t CountLineEnds(const unsigned char* bytes, size_t size, const unsigned char lead[2]) {
    const bool little = (lead[0] == 0xFF && lead[1] == 0xFE) || (lead[0] == '<' && lead[1] == 0);
    const bool big = (lead[0] == 0xFE && lead[1] == 0xFF) || (lead[0] == 0 && lead[1] == '<');
    const size_t width = little || big ? 2 : 1;
    auto unit = [&](size_t i) -> unsigned {
        if (width == 1) return bytes[i];
        return little ? bytes[i] | bytes[i + 1] << 8 : bytes[i] << 8 | bytes[i + 1];
    };
    size_t lines = 0;
    for (size_t i = 0; i + width <= size; i += width) {
        const unsigned c = unit(i);
        if (c == u'\n') {
            ++lines;
        } else if (c == u'\r') {
            ++lines;
            if (i + 2 * width <= size && unit(i + width) == u'\n') i += width;
        }
    }
    return lines;
}

} // namespace

CExpatReader::CExpatReader(CXmlDocument* document)
    : m_document(document),
      m_parser(nullptr),
      m_pendingLength(0),
      m_pendingCapacity(0),
      m_bytesFed(0),
      m_feedWhole(false),
      m_lead{0, 0},
      m_releasing(false),
      m_released(false),
      m_callData(nullptr),
      m_callStart(0),
      m_callSize(0),
      m_releasedTo(0),
      m_releaseNext(0) {}

CExpatReader::~CExpatReader() { FreeParser(); }

void CExpatReader::FreeParser() {
    if (m_parser) {
        XML_ParserFree(m_parser);
        m_parser = nullptr;
    }
}

void CExpatReader::Initialise() {
    FreeParser();
    m_failure = nullptr;
    m_pendingLength = 0;
    m_textStarts.clear();
    m_bytesFed = 0;
    m_feedWhole = false;
    m_lead[0] = m_lead[1] = 0;
    m_releasing = m_released = false;
    m_openTags.clear();
    if (m_document->GetSchemaType() == SchemaType_NoNamespaces)
        m_parser = XML_ParserCreate(nullptr);
    else
        m_parser = XML_ParserCreateNS(nullptr, static_cast<XML_Char>(kNamespaceSeparator));
    if (!m_parser) throw std::bad_alloc();
    XML_SetUserData(m_parser, this);
    XML_SetElementHandler(m_parser, &CExpatReader::StartElement, &CExpatReader::EndElement);
    XML_SetNamespaceDeclHandler(m_parser, &CExpatReader::StartNamespace, &CExpatReader::EndNamespace);
    XML_SetCharacterDataHandler(m_parser, &CExpatReader::CharacterData);
    if (!m_document->GetContext().GetStripCDATA())
        XML_SetCdataSectionHandler(m_parser, &CExpatReader::StartCdata, &CExpatReader::EndCdata);
}

void CExpatReader::ParseBuffer(bool final) {
    const unsigned char* data = m_document->GetInputBuffer();
    ParseBytes(data, data ? m_document->GetInputSize() : 0, final);
}

void CExpatReader::ParseBytes(const unsigned char* data, size_t size, bool final) {
    if (!m_parser) throw CKvInvalidStateException(u"The XML reader was not initialised");
    // Expat copies what it is given into a buffer of its own before parsing it, and at the end of
    // every call but the final one it walks all it has parsed again to count lines and columns.
    // So the final input goes in as one call, and when it is large the pages of Expat's copy that
    // lie behind the parser are handed back as it goes, so that the input is not held twice.
    // Input that is not final goes in pieces of moderate size, which keep Expat's buffer small;
    // but a token longer than a piece is scanned again from its start with each new piece, and
    // Expat's buffer then grows by doubling: once more than a piece waits unparsed, the rest goes
    // in at once (XML_Parse takes an int length, so larger input still goes in pieces).
    size_t remaining = data ? size : 0;
    for (size_t i = 0; i < remaining && m_bytesFed + i < 2; ++i) m_lead[m_bytesFed + i] = data[i];
    XML_Status status;
    do {
        const bool whole = final && remaining <= static_cast<size_t>(INT_MAX);
        const size_t limit = m_feedWhole || whole ? static_cast<size_t>(INT_MAX) : kFeedSize;
        const int piece = static_cast<int>(remaining > limit ? limit : remaining);
        remaining -= static_cast<size_t>(piece);
        const bool last = final && remaining == 0;
        // Lines are counted from the start of this call's bytes, so only a lone byte-order mark
        // may have gone before.
        const bool mark = (m_lead[0] == 0xFF && m_lead[1] == 0xFE) || (m_lead[0] == 0xFE && m_lead[1] == 0xFF);
        const bool markOnly = m_bytesFed == 0 || (m_bytesFed == 2 && mark);
        m_releasing = last && markOnly && static_cast<uint64_t>(piece) >= kReleaseFrom;
        if (m_releasing) {
            m_callData = data;
            m_callStart = m_releasedTo = m_bytesFed;
            m_callSize = static_cast<uint64_t>(piece);
            m_releaseNext = m_bytesFed + kReleaseStep;
            m_openTags.clear();
            // XML_Parse's own steps, with large pages asked for before the copy touches them:
            // fewer faults while copying, and whole pages to give back.
            void* buffer = XML_GetBuffer(m_parser, piece);
            if (buffer) {
                Platform::AdviseLargePages(buffer, static_cast<size_t>(piece));
                std::memcpy(buffer, data, static_cast<size_t>(piece));
                status = XML_ParseBuffer(m_parser, piece, XML_TRUE);
            } else {
                status = XML_STATUS_ERROR;
            }
        } else {
            status = XML_Parse(m_parser, reinterpret_cast<const char*>(data), piece, last ? XML_TRUE : XML_FALSE);
        }
        data += piece;
        m_bytesFed += static_cast<uint64_t>(piece);
        if (status == XML_STATUS_OK && !m_feedWhole && !last) {
            const XML_Index parsed = XML_GetCurrentByteIndex(m_parser);
            m_feedWhole = parsed < 0 || m_bytesFed - static_cast<uint64_t>(parsed) > kFeedSize;
        }
    } while (status == XML_STATUS_OK && remaining > 0);
    m_releasing = false;

    if (status == XML_STATUS_OK && !m_failure) {
        if (final) FreeParser();
        return;
    }
    // The partial tree keeps the text read so far.
    try {
        FlushAll();
    } catch (...) {
        if (!m_failure) m_failure = std::current_exception();
    }
    if (m_failure) {
        FreeParser();
        std::exception_ptr failure = m_failure;
        m_failure = nullptr;
        std::rethrow_exception(failure);
    }
    const int line =
        m_released ? LineAt(XML_GetCurrentByteIndex(m_parser)) : static_cast<int>(XML_GetCurrentLineNumber(m_parser));
    const XML_LChar* error = XML_ErrorString(XML_GetErrorCode(m_parser));
    FreeParser();
    std::u16string errorText;
    for (const XML_LChar* p = error ? error : ""; *p; ++p)
        errorText.push_back(static_cast<char16_t>(static_cast<unsigned char>(*p)));
    throw CKvException(FormatString(u"%s at line %d", errorText.c_str(), line));
}

void CExpatReader::ReleaseConsumed(uint64_t at) {
    m_releaseNext = at + kReleaseStep;
    if (at < m_callStart + kReleaseMargin) return;
    // Expat's copy of the call's bytes is one block; the current token lies at offset there.
    int offset = 0;
    int size = 0;
    const char* buffer = XML_GetInputContext(m_parser, &offset, &size);
    if (!buffer || offset < 0 || offset > size || at - m_callStart > static_cast<uint64_t>(offset)) return;
    const char* current = buffer + offset;
    // Released up to a boundary of the large pages, which then go whole.
    uint64_t limit = at - kReleaseMargin;
    const uint64_t down = reinterpret_cast<uintptr_t>(current - (at - limit)) & (kReleaseAlign - 1);
    if (limit <= m_releasedTo || down >= limit - m_releasedTo) return;
    limit -= down;
    auto release = [&](uint64_t from, uint64_t to) {
        if (to > from) Platform::DiscardPages(const_cast<char*>(current - (at - from)), to - from);
    };
    // The spans are in document order and do not overlap: at most one reaches back over the
    // released part, and those after it opened since, so each release looks at few.
    auto tag =
        std::lower_bound(m_openTags.begin(), m_openTags.end(), m_releasedTo,
                         [](const std::pair<uint64_t, uint64_t>& span, uint64_t from) { return span.second <= from; });
    uint64_t from = m_releasedTo;
    for (; tag != m_openTags.end() && tag->first < limit; ++tag) {
        release(from, tag->first);
        from = std::max(from, tag->second);
    }
    release(from, limit);
    m_releasedTo = limit;
    m_released = true;
}

int CExpatReader::LineAt(int64_t index) const {
    uint64_t offset =
        index > 0 && static_cast<uint64_t>(index) > m_callStart ? static_cast<uint64_t>(index) - m_callStart : 0;
    offset = std::min(offset, m_callSize);
    const size_t lines = CountLineEnds(m_callData, static_cast<size_t>(offset), m_lead) + 1;
    return lines > static_cast<size_t>(INT_MAX) ? INT_MAX : static_cast<int>(lines);
}

void CExpatReader::Fail() {
    if (!m_failure) m_failure = std::current_exception();
    XML_StopParser(m_parser, XML_FALSE);
}

CXmlElement* CExpatReader::Innermost() const {
    // The document's stack of open elements and m_textStarts grow and shrink together.
    return m_document->GetOpenElementCount() == m_textStarts.size() ? m_document->GetInnermostElement() : nullptr;
}

void CExpatReader::FlushInnermost() {
    const size_t start = m_textStarts.back();
    if (m_pendingLength == start) return;
    const size_t length = m_pendingLength - start;
    m_pendingLength = start;
    if (CXmlElement* element = Innermost())
        m_document->AppendTextExcludingCR(element, m_pendingText.get() + start, static_cast<uint32_t>(length));
}

void CExpatReader::FlushAll() {
    const size_t levels = std::min(m_document->GetOpenElementCount(), m_textStarts.size());
    for (size_t i = 0; i < levels; ++i) {
        const size_t start = m_textStarts[i];
        const size_t end = i + 1 < m_textStarts.size() ? m_textStarts[i + 1] : m_pendingLength;
        if (end > start)
            m_document->AppendTextExcludingCR(m_document->GetOpenElement(i), m_pendingText.get() + start,
                                              static_cast<uint32_t>(end - start));
    }
    m_pendingLength = 0;
    m_textStarts.clear();
}

void CExpatReader::AppendPending(const char16_t* text, size_t length) {
    if (m_textStarts.empty()) return; // no open element: Expat reports no such text
    // A leaf's text mostly comes in one piece: when nothing of the element waits, text that cannot
    // be blank goes to the element at once, copied once. Blank text waits, so that an element whose
    // whole text is blank still shares it; text after waiting text waits too, to keep the order.
    if (m_pendingLength == m_textStarts.back()) {
        const char16_t first = text[0];
        if (first != u' ' && first != u'\n' && first != u'\t') {
            if (CXmlElement* element = Innermost()) {
                m_document->AppendTextExcludingCR(element, text, static_cast<uint32_t>(length));
                return;
            }
        }
    }
    if (m_pendingLength + length > kPendingLimit) {
        FlushInnermost();
        if (m_pendingLength + length > kPendingLimit) {
            if (CXmlElement* element = Innermost())
                m_document->AppendTextExcludingCR(element, text, static_cast<uint32_t>(length));
            return;
        }
    }
    if (m_pendingLength + length > m_pendingCapacity) {
        const size_t capacity =
            std::min(kPendingLimit, std::max(m_pendingLength + length, 2 * m_pendingCapacity + 256));
        std::unique_ptr<char16_t[]> grown(new char16_t[capacity]);
        if (m_pendingLength) std::memcpy(grown.get(), m_pendingText.get(), m_pendingLength * sizeof(char16_t));
        m_pendingText = std::move(grown);
        m_pendingCapacity = capacity;
    }
    char16_t* target = m_pendingText.get() + m_pendingLength;
    m_pendingLength += length;
    // Most pieces are a line end or a few characters: not worth a call.
    if (length <= 4) {
        for (size_t i = 0; i < length; ++i) target[i] = text[i];
    } else {
        std::memcpy(target, text, length * sizeof(char16_t));
    }
}

void CExpatReader::StartElement(void* user, const XML_Char* name, const XML_Char** attributes) {
    auto* self = static_cast<CExpatReader*>(user);
    if (self->m_failure) return;
    try {
        std::u16string_view uri;
        std::u16string_view local;
        SplitName(name, uri, local);
        self->m_textStarts.push_back(self->m_pendingLength);
        if (self->m_releasing) {
            // Every open element has its span, so that EndElement pops the right one.
            const XML_Index at = XML_GetCurrentByteIndex(self->m_parser);
            if (at >= 0) {
                const uint64_t start = static_cast<uint64_t>(at);
                const int count = XML_GetCurrentByteCount(self->m_parser);
                self->m_openTags.emplace_back(start, start + static_cast<uint64_t>(std::max(0, count)));
                if (start >= self->m_releaseNext) self->ReleaseConsumed(start);
            } else {
                const uint64_t last = self->m_openTags.empty() ? self->m_callStart : self->m_openTags.back().first;
                self->m_openTags.emplace_back(last, last);
            }
        }
        CXmlElement* element;
        try {
            element = self->m_document->AddElement(uri, local);
        } catch (...) {
            self->m_textStarts.pop_back();
            throw;
        }
        if (attributes && attributes[0]) {
            size_t count = 0;
            while (attributes[2 * count]) ++count;
            element->ReserveAttributes(count);
            for (size_t i = 0; i < count; ++i) {
                SplitName(attributes[2 * i], uri, local);
                const char16_t* value = Wide(attributes[2 * i + 1]);
                const size_t valueLength = static_cast<size_t>(FindUnitOrEnd(value, 0) - value);
                element->AddAttribute(local, std::u16string_view(value, valueLength), uri);
            }
        }
    } catch (...) {
        self->Fail();
    }
}

void CExpatReader::EndElement(void* user, const XML_Char*) {
    auto* self = static_cast<CExpatReader*>(user);
    if (self->m_failure) return;
    try {
        if (!self->m_textStarts.empty()) {
            self->FlushInnermost();
            self->m_textStarts.pop_back();
        }
        if (!self->m_openTags.empty()) self->m_openTags.pop_back();
        self->m_document->EndElement();
    } catch (...) {
        self->Fail();
    }
}

void CExpatReader::CharacterData(void* user, const XML_Char* text, int length) {
    auto* self = static_cast<CExpatReader*>(user);
    if (self->m_failure || length <= 0) return;
    try {
        self->AppendPending(Wide(text), static_cast<size_t>(length));
    } catch (...) {
        self->Fail();
    }
}

void CExpatReader::StartNamespace(void* user, const XML_Char* alias, const XML_Char* uri) {
    auto* self = static_cast<CExpatReader*>(user);
    if (self->m_failure) return;
    try {
        self->m_document->SetAlias(WideView(alias), WideView(uri));
    } catch (...) {
        self->Fail();
    }
}

// Declarations stay in the document-wide map after their scope ends.
void CExpatReader::EndNamespace(void*, const XML_Char*) {}

void CExpatReader::StartCdata(void* user) {
    auto* self = static_cast<CExpatReader*>(user);
    if (self->m_failure) return;
    try {
        self->AppendPending(u"<![CDATA[", 9);
    } catch (...) {
        self->Fail();
    }
}

void CExpatReader::EndCdata(void* user) {
    auto* self = static_cast<CExpatReader*>(user);
    if (self->m_failure) return;
    try {
        self->AppendPending(u"]]>", 3);
    } catch (...) {
        self->Fail();
    }
}

} // namespace KvXmlLib16
