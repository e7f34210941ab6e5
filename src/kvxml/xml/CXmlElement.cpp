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

} // namespace

CXmlElement::CXmlElement(CXmlDocument* document, CXmlElement* parent)
    : m_parent(parent),
      m_nextSibling(nullptr),
      m_firstChild(nullptr),
      m_lastChild(nullptr),
      m_sharedText(nullptr),
      m_poolBits(reinterpret_cast<uintptr_t>(document ? document->NodePool() : nullptr)),
      m_localName(CXmlNodePool::EmptyName()),
      m_namespaceURI(CXmlNodePool::EmptyName()) {
    if (Pool()) Pool()->AddRef();
    g_liveElements.fetch_add(1, std::memory_order_relaxed);
}

CXmlElement::CXmlElement(const CXmlElement& other)
    : CInstanceMonitor(other),
      m_parent(other.m_parent),
      m_nextSibling(other.m_nextSibling),
      m_firstChild(other.m_firstChild),
      m_lastChild(other.m_lastChild),
      m_attributes(other.m_attributes),
      m_text(other.m_text),
      m_sharedText(other.m_sharedText),
      m_poolBits(reinterpret_cast<uintptr_t>(other.Pool())), // a copy's block is its own
      m_localName(CXmlNodePool::CopyName(other.m_localName)),
      m_namespaceURI(CXmlNodePool::CopyName(other.m_namespaceURI)) {
    if (Pool()) Pool()->AddRef();
    g_liveElements.fetch_add(1, std::memory_order_relaxed);
}

CXmlElement& CXmlElement::operator=(const CXmlElement& other) {
    if (this == &other) return *this;
    const CXmlNodeName localName = CXmlNodePool::CopyName(other.m_localName);
    const CXmlNodeName namespaceURI = CXmlNodePool::CopyName(other.m_namespaceURI);
    m_text = other.m_text;
    m_sharedText = other.m_sharedText;
    m_attributes = other.m_attributes;
    if (other.Pool()) other.Pool()->AddRef();
    CXmlNodePool::DropName(m_localName);
    CXmlNodePool::DropName(m_namespaceURI);
    if (Pool()) Pool()->Release();
    m_parent = other.m_parent;
    m_nextSibling = other.m_nextSibling;
    m_firstChild = other.m_firstChild;
    m_lastChild = other.m_lastChild;
    // The pool (and so the document) changes, the origin of this node's block does not.
    m_poolBits = reinterpret_cast<uintptr_t>(other.Pool()) | (m_poolBits & 1);
    m_localName = localName;
    m_namespaceURI = namespaceURI;
    return *this;
}

CXmlElement::~CXmlElement() {
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
    for (CXmlAttribute* attribute : m_attributes) delete attribute;
    CXmlNodePool::DropName(m_localName);
    CXmlNodePool::DropName(m_namespaceURI);
    if (Pool()) Pool()->Release();
    g_liveElements.fetch_sub(1, std::memory_order_relaxed);
}

void* CXmlElement::operator new(size_t size) { return CXmlNodePool::Allocate(size, nullptr); }
void* CXmlElement::operator new(size_t size, CXmlNodePool* pool) { return CXmlNodePool::Allocate(size, pool); }

void CXmlElement::operator delete(CXmlElement* element, std::destroying_delete_t) {
    // Read before the destructor runs; the block holds its pool until it is freed.
    CXmlNodePool* blockPool = (element->m_poolBits & 1) ? element->Pool() : nullptr;
    element->~CXmlElement();
    CXmlNodePool::Free(element, sizeof(CXmlElement), blockPool);
}

void CXmlElement::operator delete(void* block, CXmlNodePool* pool) {
    CXmlNodePool::Free(block, sizeof(CXmlElement), pool);
}
static_assert(alignof(CXmlElement) <= 8, "pool blocks are aligned to 8 bytes");
static_assert(CXmlNodePool::Pooled(sizeof(CXmlElement)) && CXmlNodePool::Pooled(sizeof(CXmlAttribute)),
              "the tree's nodes come from the pool");

CXmlDocument* CXmlElement::GetDocument() const { return Pool() ? Pool()->GetDocument() : nullptr; }

int64_t CXmlElement::GetLiveElementCount() { return g_liveElements.load(std::memory_order_relaxed); }

const std::u16string& CXmlElement::GetAttribute(const char16_t* name, const char16_t* namespaceURI) const {
    static const std::u16string empty;
    const std::u16string_view wantedName = OrEmpty(name);
    const std::u16string_view wantedNamespace = OrEmpty(namespaceURI);
    for (const CXmlAttribute* attribute : m_attributes) {
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

void CXmlElement::SetElementName(std::u16string_view name) { SetElementNameHinted(name, nullptr); }

void CXmlElement::SetElementNameHinted(std::u16string_view name, const CXmlNodeName* hint) {
    const CXmlNodeName old = m_localName;
    m_localName = CXmlNodePool::MakeName(Pool(), name, hint);
    CXmlNodePool::DropName(old);
}

void CXmlElement::SetNamespace(const char16_t* namespaceURI) { SetNamespace(OrEmpty(namespaceURI)); }

void CXmlElement::SetNamespace(std::u16string_view namespaceURI) { SetNamespaceHinted(namespaceURI, nullptr); }

void CXmlElement::SetNamespaceHinted(std::u16string_view namespaceURI, const CXmlNodeName* hint) {
    const CXmlNodeName old = m_namespaceURI;
    m_namespaceURI = CXmlNodePool::MakeName(Pool(), namespaceURI, hint);
    CXmlNodePool::DropName(old);
}

void CXmlElement::AddAttribute(const char16_t* name, const char16_t* value, const char16_t* namespaceURI) {
    AddAttribute(OrEmpty(name), OrEmpty(value), OrEmpty(namespaceURI));
}

void CXmlElement::AddAttribute(std::u16string_view name, std::u16string_view value, std::u16string_view namespaceURI) {
    std::unique_ptr<CXmlAttribute> attribute(new (Pool()) CXmlAttribute(this, name, value, namespaceURI));
    attribute->MarkPooledBlock();
    m_attributes.push_back(attribute.get());
    attribute.release();
}

void CXmlElement::AppendText(const char16_t* text) {
    if (text) AppendText(text, std::char_traits<char16_t>::length(text));
}

void CXmlElement::AppendText(const char16_t* text, size_t length) {
    if (length == 0 || !text) return;
    if (m_sharedText) {
        m_text = *m_sharedText; // more text follows: the element takes a copy of its own
        m_sharedText = nullptr;
    }
    // Character data comes in many small pieces: grow geometrically to keep the total linear.
    if (!m_text.empty()) {
        const size_t needed = m_text.size() + length;
        if (needed > m_text.capacity()) m_text.reserve(std::max(needed, 2 * m_text.capacity()));
    }
    m_text.append(text, length);
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

void CXmlElement::ReleaseContent() {
    CXmlElement* child = m_firstChild;
    m_firstChild = m_lastChild = nullptr;
    while (child) {
        CXmlElement* next = child->m_nextSibling;
        delete child; // its own destructor frees the subtree without recursion
        child = next;
    }
    for (CXmlAttribute* attribute : m_attributes) delete attribute;
    std::vector<CXmlAttribute*>().swap(m_attributes);
    std::u16string().swap(m_text);
    m_sharedText = nullptr;
}

std::u16string CXmlElement::GetQName() const {
    const CXmlDocument* document = GetDocument();
    if (document && !m_namespaceURI.Get().empty()) {
        std::u16string alias = document->LookupAliasFromNamespace(std::u16string_view(m_namespaceURI.Get()));
        if (!alias.empty()) {
            alias += u':';
            alias += m_localName.Get();
            return alias;
        }
    }
    return m_localName.Get();
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
