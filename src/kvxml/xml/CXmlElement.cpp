#include "kvxml/xml/CXmlElement.h"

#include <algorithm>
#include <atomic>
#include <memory>

#include "kvxml/xml/CXmlDocument.h"
#include "kvxml/xml/CXmlNodePool.h"

namespace KvXmlLib16 {

namespace {

std::atomic<int64_t> g_liveElements{0};

std::u16string_view OrEmpty(const char16_t* text) { return text ? std::u16string_view(text) : std::u16string_view(); }

// Text runs grow in the pool up to this many units; longer text goes to a string of its own.
constexpr size_t kLargestRun = size_t(1) << 30;
// Attribute blocks hold at most this many pointers; more go to a vector.
constexpr size_t kLargestAttributeBlock = size_t(1) << 24;

inline size_t AttributeBlockBytes(size_t capacity) { return 8 + capacity * sizeof(CXmlAttribute*); }

} // namespace

CXmlElement::CXmlElement(CXmlDocument* document, CXmlElement* parent)
    : m_parent(parent),
      m_nextSibling(nullptr),
      m_firstChild(nullptr),
      m_lastChild(nullptr),
      m_poolBits(reinterpret_cast<uintptr_t>(document ? document->NodePool() : nullptr)),
      m_names(CXmlNodePool::EmptyName()),
      m_textBits(0),
      m_textLength(0),
      m_textCapacity(0),
      m_attributeBits(0) {
    if (Pool()) Pool()->AddRef();
    g_liveElements.fetch_add(1, std::memory_order_relaxed);
}

CXmlElement::CXmlElement(const CXmlElement& other)
    : CInstanceMonitor(other),
      m_parent(other.m_parent),
      m_nextSibling(other.m_nextSibling),
      m_firstChild(other.m_firstChild),
      m_lastChild(other.m_lastChild),
      m_poolBits(reinterpret_cast<uintptr_t>(other.Pool())), // a copy's block is its own
      m_names(CXmlNodePool::EmptyName()),
      m_textBits(0),
      m_textLength(0),
      m_textCapacity(0),
      m_attributeBits(0) {
    // A copy holds its text and attribute pointers in stores of its own, which need no pool.
    std::unique_ptr<std::u16string> text;
    std::unique_ptr<std::vector<CXmlAttribute*>> attributes;
    if ((other.m_textBits & kTagMask) != kTagShared && !other.TextView().empty())
        text = std::make_unique<std::u16string>(other.TextView());
    if (other.m_attributeBits) {
        const std::span<CXmlAttribute* const> items = other.AttributeSpan();
        attributes = std::make_unique<std::vector<CXmlAttribute*>>(items.begin(), items.end());
    }
    m_names = CXmlNodePool::CopyName(other.m_names);
    if ((other.m_textBits & kTagMask) == kTagShared)
        m_textBits = other.m_textBits;
    else if (text)
        m_textBits = reinterpret_cast<uintptr_t>(text.release()) | kTagOwned;
    if (attributes) m_attributeBits = reinterpret_cast<uintptr_t>(attributes.release()) | kTagOwned;
    if (Pool()) Pool()->AddRef();
    g_liveElements.fetch_add(1, std::memory_order_relaxed);
}

CXmlElement& CXmlElement::operator=(const CXmlElement& other) {
    if (this == &other) return *this;
    std::unique_ptr<std::u16string> text;
    std::unique_ptr<std::vector<CXmlAttribute*>> attributes;
    // A node whose block came from a pool stays with that pool; any other takes the other's.
    CXmlNodePool* const target = (m_poolBits & 1) ? Pool() : other.Pool();
    const bool samePool = target == other.Pool();
    const bool sharedText = samePool && (other.m_textBits & kTagMask) == kTagShared;
    if (!sharedText && !other.TextView().empty()) text = std::make_unique<std::u16string>(other.TextView());
    if (other.m_attributeBits) {
        const std::span<CXmlAttribute* const> items = other.AttributeSpan();
        attributes = std::make_unique<std::vector<CXmlAttribute*>>(items.begin(), items.end());
    }
    const CXmlNodeName names = samePool ? CXmlNodePool::CopyName(other.m_names)
                                        : CXmlNodePool::MakeName(target, other.GetLocalName(), other.GetNamespaceURI());
    // Stores in the old pool go before the pool changes.
    if (Pool()) Pool()->MarkUnsafe();
    if (other.Pool()) other.Pool()->MarkUnsafe();
    FreeText();
    FreeAttributeStore();
    if (sharedText)
        m_textBits = other.m_textBits;
    else if (text)
        m_textBits = reinterpret_cast<uintptr_t>(text.release()) | kTagOwned;
    if (attributes) m_attributeBits = reinterpret_cast<uintptr_t>(attributes.release()) | kTagOwned;
    if (target) target->AddRef();
    CXmlNodePool::DropName(m_names);
    if (Pool()) Pool()->Release();
    m_parent = other.m_parent;
    m_nextSibling = other.m_nextSibling;
    m_firstChild = other.m_firstChild;
    m_lastChild = other.m_lastChild;
    m_poolBits = reinterpret_cast<uintptr_t>(target) | (m_poolBits & 1);
    m_names = names;
    return *this;
}

void CXmlElement::DeleteChildren() {
    // The descendants are deleted from a worklist threaded through the sibling pointers: before
    // a node is deleted its children are spliced in front of the list, so no destructor ever
    // sees a child and the stack depth stays constant whatever the nesting.
    CXmlElement* pending = m_firstChild;
    m_firstChild = m_lastChild = nullptr;
    while (pending) {
        CXmlElement* node = pending;
        pending = node->m_nextSibling;
        if (node->m_firstChild) {
            node->m_lastChild->m_nextSibling = pending;
            pending = node->m_firstChild;
            node->m_firstChild = node->m_lastChild = nullptr;
        }
        delete node;
    }
}

CXmlElement::~CXmlElement() {
    DeleteChildren();
    for (CXmlAttribute* attribute : AttributeSpan()) delete attribute;
    FreeAttributeStore();
    FreeText();
    CXmlNodePool::DropName(m_names);
    if (Pool()) Pool()->Release();
    g_liveElements.fetch_sub(1, std::memory_order_relaxed);
}

void CXmlElement::ReleaseContent() {
    DeleteChildren();
    for (CXmlAttribute* attribute : AttributeSpan()) delete attribute;
    // Stores handed out by reference stay, empty.
    if (m_attributeBits & kTagOwned) {
        Vector()->clear();
        Vector()->shrink_to_fit();
    } else {
        FreeAttributeStore();
    }
    if ((m_textBits & kTagMask) == kTagOwned) {
        auto* text = reinterpret_cast<std::u16string*>(m_textBits & ~kTagMask);
        text->clear();
        text->shrink_to_fit();
    } else {
        FreeText();
    }
}

void CXmlElement::FreeText() {
    const uintptr_t tag = m_textBits & kTagMask;
    if (tag == kTagOwned)
        delete reinterpret_cast<std::u16string*>(m_textBits & ~kTagMask);
    else if (tag == 0 && m_textBits)
        CXmlNodePool::Free(reinterpret_cast<void*>(m_textBits), m_textCapacity * sizeof(char16_t), Pool());
    m_textBits = 0;
    m_textLength = m_textCapacity = 0;
}

void CXmlElement::SetSharedText(const std::u16string* text) {
    FreeText();
    m_textBits = reinterpret_cast<uintptr_t>(text) | kTagShared;
}

void CXmlElement::FreeAttributeStore() {
    if (m_attributeBits & kTagOwned)
        delete Vector();
    else if (m_attributeBits)
        CXmlNodePool::Free(Block(), AttributeBlockBytes(Block()->capacity), Pool());
    m_attributeBits = 0;
}

std::u16string_view CXmlElement::TextView() const {
    if (m_textBits & kTagMask) return *reinterpret_cast<const std::u16string*>(m_textBits & ~kTagMask);
    return std::u16string_view(reinterpret_cast<const char16_t*>(m_textBits), m_textLength);
}

const std::u16string& CXmlElement::GetText() const {
    if (m_textBits & kTagMask) return *reinterpret_cast<const std::u16string*>(m_textBits & ~kTagMask);
    // Empty text too gets a string of its own, which later text then goes to.
    auto* owned = new std::u16string(TextView());
    if (Pool()) Pool()->MarkUnsafe();
    const_cast<CXmlElement*>(this)->FreeText();
    m_textBits = reinterpret_cast<uintptr_t>(owned) | kTagOwned;
    return *owned;
}

void CXmlElement::MakeAttributeVector() const {
    if (m_attributeBits & kTagOwned) return;
    const std::span<CXmlAttribute* const> items = AttributeSpan();
    auto* vector = new std::vector<CXmlAttribute*>(items.begin(), items.end());
    if (Pool()) Pool()->MarkUnsafe();
    const_cast<CXmlElement*>(this)->FreeAttributeStore();
    m_attributeBits = reinterpret_cast<uintptr_t>(vector) | kTagOwned;
}

const std::vector<CXmlAttribute*>& CXmlElement::GetAttributes() const {
    MakeAttributeVector();
    return *Vector();
}

void CXmlElement::GrowAttributeBlock(size_t capacity) {
    const size_t count = m_attributeBits ? Block()->count : 0;
    if (capacity > kLargestAttributeBlock) {
        MakeAttributeVector();
        Vector()->reserve(capacity);
        return;
    }
    auto* grown = static_cast<AttributeBlock*>(CXmlNodePool::Allocate(AttributeBlockBytes(capacity), Pool()));
    grown->count = static_cast<uint32_t>(count);
    grown->capacity = static_cast<uint32_t>(capacity);
    if (count) std::copy_n(Block()->Items(), count, grown->Items());
    FreeAttributeStore();
    m_attributeBits = reinterpret_cast<uintptr_t>(grown);
}

void CXmlElement::ReserveAttributes(size_t count) {
    if (m_attributeBits & kTagOwned) {
        Vector()->reserve(Vector()->size() + count);
        return;
    }
    const size_t present = m_attributeBits ? Block()->count : 0;
    const size_t capacity = m_attributeBits ? Block()->capacity : 0;
    // Only a hint: a count beyond any block just moves the pointers to a vector.
    if (count > kLargestAttributeBlock - present)
        MakeAttributeVector();
    else if (count > capacity - present)
        GrowAttributeBlock(present + count);
}

void CXmlElement::MarkPooledBlock() {
    if (!m_poolBits) return;
    m_poolBits |= 1;
    Pool()->CountPooledNode(true, 1);
}

void CXmlElement::ForgetElements(int64_t count) { g_liveElements.fetch_sub(count, std::memory_order_relaxed); }

void* CXmlElement::operator new(size_t size) { return CXmlNodePool::Allocate(size, nullptr); }
void* CXmlElement::operator new(size_t size, CXmlNodePool* pool) { return CXmlNodePool::Allocate(size, pool); }

void CXmlElement::operator delete(CXmlElement* element, std::destroying_delete_t) {
    // Read before the destructor runs; the block holds its pool until it is freed.
    CXmlNodePool* blockPool = (element->m_poolBits & 1) ? element->Pool() : nullptr;
    element->~CXmlElement();
    if (blockPool) blockPool->CountPooledNode(true, -1);
    CXmlNodePool::Free(element, sizeof(CXmlElement), blockPool);
}

void CXmlElement::operator delete(void* block, CXmlNodePool* pool) {
    CXmlNodePool::Free(block, sizeof(CXmlElement), pool);
}
static_assert(alignof(CXmlElement) <= 8, "pool blocks are aligned to 8 bytes");
static_assert(sizeof(void*) != 8 || (sizeof(CXmlElement) <= 96 && sizeof(CXmlAttribute) <= 56),
              "a large document holds hundreds of thousands of nodes: keep them small");
static_assert(CXmlNodePool::Pooled(sizeof(CXmlElement)) && CXmlNodePool::Pooled(sizeof(CXmlAttribute)),
              "the tree's nodes come from the pool");

CXmlDocument* CXmlElement::GetDocument() const { return Pool() ? Pool()->GetDocument() : nullptr; }

int64_t CXmlElement::GetLiveElementCount() { return g_liveElements.load(std::memory_order_relaxed); }

const std::u16string& CXmlElement::GetAttribute(const char16_t* name, const char16_t* namespaceURI) const {
    static const std::u16string empty;
    const std::u16string_view wantedName = OrEmpty(name);
    const std::u16string_view wantedNamespace = OrEmpty(namespaceURI);
    for (const CXmlAttribute* attribute : AttributeSpan()) {
        if (attribute->GetLocalName() == wantedName && attribute->GetNamespaceURI() == wantedNamespace)
            return attribute->GetValue();
    }
    return empty;
}

std::u16string CXmlElement::GetXPath() const {
    // Ancestors first, collected without recursion so that deep trees are safe.
    std::vector<const CXmlElement*> chain;
    for (const CXmlElement* node = this; node; node = node->m_parent) chain.push_back(node);
    std::u16string path;
    for (auto it = chain.rbegin(); it != chain.rend(); ++it) {
        path += u'/';
        path += (*it)->GetNameWithPredicate();
    }
    return path;
}

void CXmlElement::SetElementName(const char16_t* name) { SetElementName(OrEmpty(name)); }

void CXmlElement::SetElementName(std::u16string_view name) { SetNames(name, m_names.NamespaceURI(), nullptr); }

void CXmlElement::SetNamespace(const char16_t* namespaceURI) { SetNamespace(OrEmpty(namespaceURI)); }

void CXmlElement::SetNamespace(std::u16string_view namespaceURI) {
    SetNames(m_names.LocalName(), namespaceURI, nullptr);
}

void CXmlElement::SetNames(std::u16string_view localName, std::u16string_view namespaceURI, const CXmlNodeName* hint) {
    const CXmlNodeName old = m_names;
    m_names = CXmlNodePool::MakeName(Pool(), localName, namespaceURI, hint);
    CXmlNodePool::DropName(old);
}

void CXmlElement::AddAttribute(const char16_t* name, const char16_t* value, const char16_t* namespaceURI) {
    AddAttribute(OrEmpty(name), OrEmpty(value), OrEmpty(namespaceURI));
}

void CXmlElement::AddAttribute(std::u16string_view name, std::u16string_view value, std::u16string_view namespaceURI) {
    std::unique_ptr<CXmlAttribute> attribute(new (Pool()) CXmlAttribute(this, name, value, namespaceURI));
    attribute->MarkPooledBlock();
    if (!(m_attributeBits & kTagOwned)) {
        const size_t count = m_attributeBits ? Block()->count : 0;
        if (!m_attributeBits || count == Block()->capacity) GrowAttributeBlock(std::max<size_t>(2, 2 * count));
    }
    if (m_attributeBits & kTagOwned) {
        Vector()->push_back(attribute.get());
    } else {
        AttributeBlock* block = Block();
        block->Items()[block->count++] = attribute.get();
    }
    attribute.release();
}

void CXmlElement::AppendText(const char16_t* text) {
    if (text) AppendText(text, std::char_traits<char16_t>::length(text));
}

void CXmlElement::AppendText(const char16_t* text, size_t length) {
    if (length == 0 || !text) return;
    if ((m_textBits & kTagMask) == kTagShared) {
        // More text follows: the element takes a copy of its own.
        const std::u16string* shared = reinterpret_cast<const std::u16string*>(m_textBits & ~kTagMask);
        m_textBits = 0;
        AppendText(shared->data(), shared->size());
    }
    // Character data comes in many small pieces: grow geometrically to keep the total linear.
    if (m_textBits & kTagOwned) {
        std::u16string& owned = *reinterpret_cast<std::u16string*>(m_textBits & ~kTagMask);
        const size_t needed = owned.size() + length;
        if (needed > owned.capacity()) owned.reserve(std::max(needed, 2 * owned.capacity()));
        owned.append(text, length);
        return;
    }
    const size_t present = m_textLength;
    char16_t* run = reinterpret_cast<char16_t*>(m_textBits);
    if (length > kLargestRun - present) {
        if (Pool()) Pool()->MarkUnsafe();
        auto owned = std::make_unique<std::u16string>(run ? run : u"", present);
        owned->append(text, length);
        FreeText();
        m_textBits = reinterpret_cast<uintptr_t>(owned.release()) | kTagOwned;
        return;
    }
    const size_t needed = present + length;
    if (needed > m_textCapacity) {
        // The first piece is mostly all there is: exactly its size.
        size_t capacity = present ? std::max(needed, 2 * size_t(m_textCapacity)) : needed;
        capacity = (std::min(capacity, kLargestRun) + 3) / 4 * 4;
        auto* grown = static_cast<char16_t*>(CXmlNodePool::Allocate(capacity * sizeof(char16_t), Pool()));
        if (present) std::char_traits<char16_t>::copy(grown, run, present);
        std::char_traits<char16_t>::copy(grown + present, text, length);
        FreeText();
        m_textBits = reinterpret_cast<uintptr_t>(grown);
        m_textCapacity = static_cast<uint32_t>(capacity);
    } else {
        std::char_traits<char16_t>::copy(run + present, text, length);
    }
    m_textLength = static_cast<uint32_t>(needed);
}

CXmlElement* CXmlElement::CreateNewChildElement() {
    // The child takes the document's pool, and so its block comes from there; a node whose
    // document is gone has no pool any more.
    CXmlDocument* document = GetDocument();
    CXmlElement* child = new (document ? Pool() : nullptr) CXmlElement(document, this);
    child->MarkPooledBlock();
    if (m_lastChild)
        m_lastChild->m_nextSibling = child;
    else
        m_firstChild = child;
    m_lastChild = child;
    return child;
}

CXmlElement* CXmlElement::RemoveLastChildElement() {
    CXmlElement* last = m_lastChild;
    if (!last) return nullptr;
    if (last->Pool()) last->Pool()->MarkUnsafe(); // the caller may keep it past its tree
    if (m_firstChild == last) {
        m_firstChild = m_lastChild = nullptr;
        return last;
    }
    CXmlElement* previous = m_firstChild;
    while (previous->m_nextSibling != last) previous = previous->m_nextSibling;
    previous->m_nextSibling = nullptr;
    m_lastChild = previous;
    return last;
}

std::u16string CXmlElement::GetQName() const {
    const CXmlDocument* document = GetDocument();
    if (document && !m_names.NamespaceURI().empty()) {
        std::u16string alias = document->LookupAliasFromNamespace(std::u16string_view(m_names.NamespaceURI()));
        if (!alias.empty()) {
            alias += u':';
            alias += m_names.LocalName();
            return alias;
        }
    }
    return m_names.LocalName();
}

std::u16string CXmlElement::GetNameWithPredicate() const {
    std::u16string name = GetQName();
    if (!m_parent) return name;
    size_t position = 0;
    size_t sameNamed = 0;
    for (const CXmlElement* sibling = m_parent->m_firstChild; sibling; sibling = sibling->m_nextSibling) {
        if (sibling == this) {
            position = ++sameNamed;
        } else if (sibling->GetQName() == name) {
            ++sameNamed;
        }
    }
    if (sameNamed > 1 && position > 0) {
        name += u'[';
        const std::string digits = std::to_string(position);
        name.append(digits.begin(), digits.end());
        name += u']';
    }
    return name;
}

} // namespace KvXmlLib16
