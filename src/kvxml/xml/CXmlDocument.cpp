#include "kvxml/xml/CXmlDocument.h"

#include <bit>
#include <cstring>
#include <memory>
#include <utility>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "kvxml/base/CKvException.h"
#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/fastinfoset/CFastInfosetReader.h"
#include "kvxml/xml/CExpatReader.h"
#include "kvxml/xml/CXmlNodePool.h"

namespace KvXmlLib16 {

CXmlDocument::CXmlDocument() : CXmlDocument(nullptr, CSerializationContext::GetDefaultContext()) {}

CXmlDocument::CXmlDocument(const CSerializationContext& context) : CXmlDocument(nullptr, context) {}

CXmlDocument::CXmlDocument(XmlElementFilter filter)
    : CXmlDocument(filter, CSerializationContext::GetDefaultContext()) {}

CXmlDocument::CXmlDocument(XmlElementFilter filter, const CSerializationContext& context)
    : m_fileOffset(0),
      m_file(nullptr),
      m_spareBuffer(nullptr),
      m_documentElement(nullptr),
      m_inputBuffer(nullptr),
      m_inputSize(0),
      m_inputBorrowed(false),
      m_keepInput(true),
      m_schemaType(SchemaType_Default),
      m_elementFilter(filter),
      m_context(&context),
      m_nodePool(nullptr),
      m_aliasIndexValid(false) {
    Init();
}

// Member by member, except the node pool: each document keeps its own, so that two copies
// never free one pool twice. Nodes already built keep the pool they came from.
CXmlDocument::CXmlDocument(const CXmlDocument& other)
    : CInstanceMonitor(other),
      m_fileOffset(other.m_fileOffset),
      m_file(nullptr),
      m_spareBuffer(nullptr),
      m_documentElement(other.m_documentElement),
      m_elementStack(other.m_elementStack),
      m_aliasMap(other.m_aliasMap),
      m_inputBuffer(other.m_inputBuffer),
      m_inputSize(other.m_inputSize),
      m_inputBorrowed(false),
      m_keepInput(other.m_keepInput),
      m_schemaType(other.m_schemaType),
      m_elementFilter(other.m_elementFilter),
      m_context(other.m_context),
      m_nodePool(nullptr),
      m_aliasIndexValid(false) {
    // The tree is shared now: it goes node by node, whichever document lets it go.
    if (other.m_nodePool) other.m_nodePool->MarkUnsafe();
}

CXmlDocument& CXmlDocument::operator=(const CXmlDocument& other) {
    if (this == &other) return *this;
    if (other.m_nodePool) other.m_nodePool->MarkUnsafe();
    if (m_nodePool) m_nodePool->MarkUnsafe();
    m_fileOffset = other.m_fileOffset;
    m_documentElement = other.m_documentElement;
    m_elementStack = other.m_elementStack;
    m_aliasMap = other.m_aliasMap;
    m_inputBuffer = other.m_inputBuffer;
    m_inputSize = other.m_inputSize;
    m_keepInput = other.m_keepInput;
    m_schemaType = other.m_schemaType;
    m_elementFilter = other.m_elementFilter;
    m_context = other.m_context;
    m_aliasIndexValid = false;
    return *this;
}

CXmlDocument::~CXmlDocument() {
    CXmlDocument::Cleanup();
    m_aliasMap.clear();
    m_elementStack.clear();
    if (m_nodePool) m_nodePool->Detach();
}

CXmlNodePool* CXmlDocument::NodePool() {
    if (!m_nodePool) m_nodePool = CXmlNodePool::Create(this);
    return m_nodePool;
}

void CXmlDocument::Init() {
    m_inputBuffer = nullptr;
    m_inputSize = 0;
    m_documentElement = nullptr;
    m_fileOffset = 0;
    m_schemaType = m_context->GetSchemaType();
}

void CXmlDocument::Cleanup() {
    if (m_nodePool) m_nodePool->SetTearingDown(true);
    // A tree all in the pool goes with its slabs; any other is deleted node by node.
    int64_t dropped = 0;
    if (m_documentElement && m_nodePool &&
        m_documentElement->m_poolBits == (reinterpret_cast<uintptr_t>(m_nodePool) | 1) && m_nodePool->DropTree(dropped))
        CXmlElement::ForgetElements(dropped);
    else
        delete m_documentElement;
    m_documentElement = nullptr;
    if (m_nodePool) {
        m_nodePool->Trim();
        m_nodePool->SetTearingDown(false);
    }
    FreeInput();
    m_elementStack.clear();
    m_aliasMap.clear();
    m_aliasIndexValid = false;
}

void CXmlDocument::FreeInput() {
    if (!m_inputBorrowed) delete[] m_inputBuffer;
    m_inputBuffer = nullptr;
    m_inputSize = 0;
    m_inputBorrowed = false;
}

void CXmlDocument::BorrowInput(const unsigned char* bytes, size_t count) {
    if (count > UINT32_MAX) throw CKvException(u"The XML input is larger than 4 GB and cannot be read");
    FreeInput();
    // Only read while the load runs: dropped or copied before the load returns.
    m_inputBuffer = const_cast<unsigned char*>(bytes);
    m_inputSize = static_cast<uint32_t>(count);
    m_inputBorrowed = true;
}

void CXmlDocument::KeepBorrowedInput() {
    if (!m_inputBorrowed) return;
    const unsigned char* bytes = m_inputBuffer;
    const uint32_t count = m_inputSize;
    m_inputBuffer = nullptr;
    m_inputSize = 0;
    m_inputBorrowed = false;
    SetInput(bytes, count);
}

void CXmlDocument::SetInput(const unsigned char* bytes, size_t count) {
    if (count > UINT32_MAX) throw CKvException(u"The XML input is larger than 4 GB and cannot be read");
    FreeInput();
    m_inputBuffer = new unsigned char[count ? count : 1];
    if (count) std::memcpy(m_inputBuffer, bytes, count);
    m_inputSize = static_cast<uint32_t>(count);
}

std::u16string CXmlDocument::LookupNamespaceFromAlias(const char16_t* alias) const {
    const auto found = m_aliasMap.find(alias ? std::u16string_view(alias) : std::u16string_view());
    return found == m_aliasMap.end() ? std::u16string() : found->second;
}

std::u16string CXmlDocument::LookupAliasFromNamespace(const char16_t* namespaceURI) const {
    return LookupAliasFromNamespace(namespaceURI ? std::u16string_view(namespaceURI) : std::u16string_view());
}

std::u16string CXmlDocument::LookupAliasFromNamespace(std::u16string_view namespaceURI) const {
    if (!m_aliasIndexValid) {
        m_aliasByNamespace.clear();
        // Ascending alias order, first one kept: the alias a scan of the map would meet first.
        for (const auto& entry : m_aliasMap) m_aliasByNamespace.emplace(entry.second, entry.first);
        m_aliasIndexValid = true;
    }
    const auto found = m_aliasByNamespace.find(std::u16string(namespaceURI));
    return found == m_aliasByNamespace.end() ? std::u16string() : found->second;
}

void CXmlDocument::SetAlias(std::u16string_view alias, std::u16string_view namespaceURI) {
    m_aliasIndexValid = false;
    const auto found = m_aliasMap.find(alias);
    if (found != m_aliasMap.end())
        found->second.assign(namespaceURI);
    else
        m_aliasMap.emplace(std::u16string(alias), std::u16string(namespaceURI));
}

namespace {

std::u16string_view View(const char16_t* text) { return text ? std::u16string_view(text) : std::u16string_view(); }

} // namespace

CXmlElement* CXmlDocument::AddDocElement(const char16_t* namespaceURI, const char16_t* localName) {
    return AddRootElement(View(namespaceURI), View(localName));
}

CXmlElement* CXmlDocument::AddRootElement(std::u16string_view namespaceURI, std::u16string_view localName) {
    std::unique_ptr<CXmlElement> root(new (NodePool()) CXmlElement(this, nullptr));
    root->MarkPooledBlock();
    root->SetNames(localName, namespaceURI, nullptr);
    // A second root replaces the first; nothing of the old tree may stay on the stack.
    m_elementStack.clear();
    m_elementStack.push_back(OpenElement{root.get(), nullptr});
    delete m_documentElement;
    m_documentElement = root.release();
    return m_documentElement;
}

CXmlElement* CXmlDocument::AddChildElement(const char16_t* namespaceURI, const char16_t* localName) {
    return AddElement(View(namespaceURI), View(localName));
}

CXmlElement* CXmlDocument::AddElement(std::u16string_view namespaceURI, std::u16string_view localName) {
    if (!m_documentElement) return AddRootElement(namespaceURI, localName);
    if (m_elementStack.empty()) throw CKvException(u"An element was started after the document element was closed");
    CXmlElement* parent = m_elementStack.back().element;
    CXmlElement* previous = parent->m_lastChild;
    // The children of the root come from slabs of their own, which stay when their content goes.
    CXmlElement* child;
    if (m_elementStack.size() == 1) {
        CXmlNodePool* pool = NodePool();
        pool->SetRegion(CXmlNodePool::Region_Skeleton);
        try {
            child = parent->CreateNewChildElement();
        } catch (...) {
            pool->SetRegion(CXmlNodePool::Region_Content);
            throw;
        }
        pool->SetRegion(CXmlNodePool::Region_Content);
    } else {
        child = parent->CreateNewChildElement();
    }
    // Children often repeat the previous sibling's names. Hints only between nodes of one pool,
    // whose names are interned there.
    const bool sharePool = parent->Pool() == child->Pool();
    child->SetNames(localName, namespaceURI, sharePool && previous ? &previous->m_names : nullptr);
    m_elementStack.push_back(OpenElement{child, previous});
    return child;
}

void CXmlDocument::EndElement() {
    if (m_elementStack.empty()) return;
    const OpenElement open = m_elementStack.back();
    m_elementStack.pop_back();
    if (!m_elementFilter) return;
    CXmlElement* element = open.element;
    if (!m_elementFilter(element)) return;
    CXmlElement* parent = element->m_parent;
    if (!parent) return; // the root has nobody to be unlinked from
    // The element closed last is its parent's last child; its predecessor was noted when it
    // was opened, which makes the unlink constant time. Should the filter have reshaped the
    // sibling list, fall back to a search.
    CXmlElement* previous = open.previous;
    const bool linkedAsNoted = parent->m_lastChild == element &&
                               (previous ? previous->m_nextSibling == element : parent->m_firstChild == element);
    if (!linkedAsNoted) {
        previous = nullptr;
        CXmlElement* node = parent->m_firstChild;
        while (node && node != element) {
            previous = node;
            node = node->m_nextSibling;
        }
        if (!node) return; // already taken out of the tree by the filter
    }
    if (previous)
        previous->m_nextSibling = element->m_nextSibling;
    else
        parent->m_firstChild = element->m_nextSibling;
    if (parent->m_lastChild == element) parent->m_lastChild = previous;
    element->m_nextSibling = nullptr;
    delete element;
}

void CXmlDocument::AddElementAttribute(CXmlElement* element, const std::u16string& name, const std::u16string& value,
                                       const std::u16string& namespaceURI) {
    element->AddAttribute(std::u16string_view(name), std::u16string_view(value), std::u16string_view(namespaceURI));
}

namespace {

// Index of the first CR or NUL in text[from, length), or length. Text is scanned eight units at
// a time where SSE2 is at hand: this runs over every character of every document.
inline uint32_t FindCROrNul(const char16_t* text, uint32_t from, uint32_t length) {
    uint32_t i = from;
#if defined(__SSE2__)
    const __m128i cr = _mm_set1_epi16(0x000D);
    const __m128i zero = _mm_setzero_si128();
    while (length - i >= 8) {
        const __m128i chunk = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + i));
        const int mask = _mm_movemask_epi8(_mm_or_si128(_mm_cmpeq_epi16(chunk, cr), _mm_cmpeq_epi16(chunk, zero)));
        if (mask) return i + static_cast<uint32_t>(__builtin_ctz(static_cast<unsigned>(mask))) / 2;
        i += 8;
    }
#endif
    for (; i < length; ++i) {
        if (text[i] == u'\r' || text[i] == 0) return i;
    }
    return length;
}

// Text no longer than this, of spaces, tabs and line ends only, is shared through the pool.
constexpr uint32_t kSharedBlankLimit = 256;

inline bool IsBlank(const char16_t* text, uint32_t length) {
    uint32_t i = 0;
#if defined(__SSE2__)
    // The whitespace between elements: every parent's text, so eight units at a time too.
    const __m128i space = _mm_set1_epi16(u' ');
    const __m128i newline = _mm_set1_epi16(u'\n');
    const __m128i tab = _mm_set1_epi16(u'\t');
    for (; length - i >= 8; i += 8) {
        const __m128i chunk = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + i));
        const __m128i blank = _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi16(chunk, space), _mm_cmpeq_epi16(chunk, newline)),
                                           _mm_cmpeq_epi16(chunk, tab));
        if (_mm_movemask_epi8(blank) != 0xFFFF) return false;
    }
#endif
    for (; i < length; ++i) {
        const char16_t c = text[i];
        if (c != u' ' && c != u'\n' && c != u'\t') return false;
    }
    return true;
}

} // namespace

void CXmlDocument::AppendTextExcludingCR(CXmlElement* element, const char16_t* text, uint32_t length) {
    if (!element || !text || length == 0) return;
    // With no explicit length the text ends at its terminator: find it first, so the block
    // scan never reads past it.
    if (length == UINT32_MAX) {
        const size_t terminated = std::char_traits<char16_t>::length(text);
        length = terminated < UINT32_MAX ? static_cast<uint32_t>(terminated) : UINT32_MAX - 1;
    }
    uint32_t runStart = 0;
    if (!element->m_textBits) {
        // The usual case: the element's whole text in one piece with no CR in it.
        const uint32_t stop = FindCROrNul(text, 0, length);
        if (stop == length) {
            if (length <= kSharedBlankLimit && IsBlank(text, length)) {
                if (const std::u16string* shared =
                        CXmlNodePool::ShareText(element->Pool(), std::u16string_view(text, length))) {
                    element->SetSharedText(shared);
                    return;
                }
            }
            element->AppendText(text, length);
            return;
        }
        if (stop > 0) element->AppendText(text, stop);
        if (text[stop] == 0) return;
        runStart = stop + 1;
    }
    for (;;) {
        const uint32_t stop = FindCROrNul(text, runStart, length);
        if (stop > runStart) element->AppendText(text + runStart, stop - runStart);
        if (stop == length || text[stop] == 0) return;
        runStart = stop + 1;
    }
}

bool CXmlDocument::ParseFastInfoset() {
    CFastInfosetReader reader(*m_context, this);
    return reader.Parse();
}

void CXmlDocument::PlainParse(bool markedUtf16) {
    CExpatReader reader(this);
    reader.Initialise();
    if (markedUtf16) {
        static const unsigned char mark[2] = {0xFF, 0xFE};
        reader.ParseBytes(mark, sizeof mark, false);
    }
    reader.ParseBuffer(true);
}

void CXmlDocument::LoadXml(const char* xml) {
    Cleanup();
    if (!xml || !*xml) throw CKvException(u"XML String is empty!");
    ParseCallerBytes(reinterpret_cast<const unsigned char*>(xml), std::strlen(xml), true);
}

void CXmlDocument::ParseCallerBytes(const unsigned char* bytes, size_t count, bool plain) {
    const auto parse = [&] { plain ? PlainParse() : Parse(); };
    if (m_keepInput) {
        SetInput(bytes, count);
        parse();
        return;
    }
    BorrowInput(bytes, count);
    try {
        parse();
    } catch (...) {
        KeepBorrowedInput();
        throw;
    }
    FreeInput();
}

void CXmlDocument::LoadXml(const char16_t* xml) {
    Cleanup();
    const size_t length = xml ? std::char_traits<char16_t>::length(xml) : 0;
    if (length >= UINT32_MAX / 2) throw CKvException(u"The XML input is larger than 4 GB and cannot be read");
    if constexpr (std::endian::native == std::endian::little) {
        if (!m_keepInput) {
            // The text as it stands, the byte-order mark fed to the parser on its own.
            BorrowInput(reinterpret_cast<const unsigned char*>(xml), length * 2);
            try {
                PlainParse(true);
            } catch (...) {
                FreeInput();
                SetWideInput(xml, length);
                throw;
            }
            FreeInput();
            return;
        }
    }
    SetWideInput(xml, length);
    PlainParse();
}

void CXmlDocument::SetWideInput(const char16_t* xml, size_t length) {
    FreeInput();
    // A little-endian byte-order mark in front makes Expat read the text as UTF-16LE.
    const size_t size = (length + 1) * 2;
    m_inputBuffer = new unsigned char[size];
    m_inputSize = static_cast<uint32_t>(size);
    m_inputBuffer[0] = 0xFF;
    m_inputBuffer[1] = 0xFE;
    if constexpr (std::endian::native == std::endian::little) {
        if (length) std::memcpy(m_inputBuffer + 2, xml, length * 2);
    } else {
        for (size_t i = 0; i < length; ++i) {
            m_inputBuffer[2 + 2 * i] = static_cast<unsigned char>(xml[i] & 0xFF);
            m_inputBuffer[3 + 2 * i] = static_cast<unsigned char>(xml[i] >> 8);
        }
    }
}

void CXmlDocument::ParseText() {
    // Like every load this starts with Cleanup, which must spare the input that is to be parsed.
    std::unique_ptr<unsigned char[]> input(std::exchange(m_inputBuffer, nullptr));
    const uint32_t size = std::exchange(m_inputSize, 0);
    Cleanup();
    m_inputBuffer = input.release();
    m_inputSize = size;
    PlainParse();
}

} // namespace KvXmlLib16
