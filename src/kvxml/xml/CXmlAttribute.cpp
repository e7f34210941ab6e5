#include "kvxml/xml/CXmlAttribute.h"

#include "kvxml/base/KvNamespaces.h"
#include "kvxml/xml/CXmlDocument.h"
#include "kvxml/xml/CXmlElement.h"
#include "kvxml/xml/CXmlNodePool.h"

namespace KvXmlLib16 {

namespace {

std::u16string_view OrEmpty(const char16_t* text) { return text ? std::u16string_view(text) : std::u16string_view(); }

} // namespace

CXmlAttribute::CXmlAttribute(CXmlElement* element, const char16_t* name, const char16_t* value,
                             const char16_t* namespaceURI)
    : CXmlAttribute(element, OrEmpty(name), OrEmpty(value), OrEmpty(namespaceURI)) {}

CXmlAttribute::CXmlAttribute(CXmlElement* element, std::u16string_view name, std::u16string_view value,
                             std::u16string_view namespaceURI)
    : m_element(element),
      m_poolBits(reinterpret_cast<uintptr_t>(element ? element->Pool() : nullptr)),
      m_localName(CXmlNodePool::EmptyName()),
      m_value(value),
      m_namespaceURI(CXmlNodePool::EmptyName()) {
    if (Pool()) Pool()->AddRef();
    try {
        m_localName = CXmlNodePool::MakeName(Pool(), name);
        m_namespaceURI = CXmlNodePool::MakeName(Pool(), namespaceURI);
    } catch (...) {
        CXmlNodePool::DropName(m_localName);
        if (Pool()) Pool()->Release();
        throw;
    }
}

CXmlAttribute::CXmlAttribute(const CXmlAttribute& other)
    : CInstanceMonitor(other),
      m_element(other.m_element),
      m_poolBits(reinterpret_cast<uintptr_t>(other.Pool())), // a copy's block is its own
      m_localName(CXmlNodePool::CopyName(other.m_localName)),
      m_value(other.m_value),
      m_namespaceURI(CXmlNodePool::CopyName(other.m_namespaceURI)) {
    if (Pool()) Pool()->AddRef();
}

CXmlAttribute& CXmlAttribute::operator=(const CXmlAttribute& other) {
    if (this == &other) return *this;
    const CXmlNodeName localName = CXmlNodePool::CopyName(other.m_localName);
    const CXmlNodeName namespaceURI = CXmlNodePool::CopyName(other.m_namespaceURI);
    m_value = other.m_value;
    if (other.Pool()) other.Pool()->AddRef();
    CXmlNodePool::DropName(m_localName);
    CXmlNodePool::DropName(m_namespaceURI);
    if (Pool()) Pool()->Release();
    m_element = other.m_element;
    // The pool of the names changes, the origin of this node's block does not.
    m_poolBits = reinterpret_cast<uintptr_t>(other.Pool()) | (m_poolBits & 1);
    m_localName = localName;
    m_namespaceURI = namespaceURI;
    return *this;
}

CXmlAttribute::~CXmlAttribute() {
    CXmlNodePool::DropName(m_localName);
    CXmlNodePool::DropName(m_namespaceURI);
    if (Pool()) Pool()->Release();
}

void* CXmlAttribute::operator new(size_t size) { return CXmlNodePool::Allocate(size, nullptr); }
void* CXmlAttribute::operator new(size_t size, CXmlNodePool* pool) { return CXmlNodePool::Allocate(size, pool); }

void CXmlAttribute::operator delete(CXmlAttribute* attribute, std::destroying_delete_t) {
    // Read before the destructor runs; the block holds its pool until it is freed.
    CXmlNodePool* blockPool = (attribute->m_poolBits & 1) ? attribute->Pool() : nullptr;
    attribute->~CXmlAttribute();
    CXmlNodePool::Free(attribute, sizeof(CXmlAttribute), blockPool);
}

void CXmlAttribute::operator delete(void* block, CXmlNodePool* pool) {
    CXmlNodePool::Free(block, sizeof(CXmlAttribute), pool);
}
static_assert(alignof(CXmlAttribute) <= 8, "pool blocks are aligned to 8 bytes");

std::u16string CXmlAttribute::GetXPath() const {
    std::u16string path;
    if (m_element) {
        path = m_element->GetXPath();
        path += u'/';
        if (m_element->GetDocument() && !m_namespaceURI.Get().empty()) {
            const std::u16string alias =
                m_element->GetDocument()->LookupAliasFromNamespace(std::u16string_view(m_namespaceURI.Get()));
            if (!alias.empty()) {
                path += alias;
                path += u':';
            }
        }
    }
    path += u'@';
    path += m_localName.Get();
    return path;
}

bool CXmlAttribute::IsNamespaceAttribute() const {
    if (m_namespaceURI.Get() != kXsiNamespaceURI && m_namespaceURI.Get() != kXmlnsNamespaceURI) return false;
    const std::u16string& name = m_localName.Get();
    return name == u"xmlns" || name == u"type" || name == u"schemaLocation" || name == u"noNamespaceSchemaLocation";
}

bool CXmlAttribute::IsNilAttribute() const {
    if (m_namespaceURI.Get() != kXsiNamespaceURI && m_namespaceURI.Get() != kXmlnsNamespaceURI) return false;
    return m_localName.Get() == u"nil";
}

} // namespace KvXmlLib16
