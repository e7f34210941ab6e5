#include "kvxml/xml/CXmlAttribute.h"

#include "kvxml/base/KvNamespaces.h"
#include "kvxml/xml/CXmlDocument.h"
#include "kvxml/xml/CXmlElement.h"
#include "kvxml/xml/CXmlNodePool.h"

namespace KvXmlLib16 {

namespace {

std::u16string_view OrEmpty(const char16_t* text) { return text ? std::u16string_view(text) : std::u16string_view(); }

// Bytes of the block holding a run of length units: whole pool granules.
inline size_t RunBytes(size_t length) { return (length + 3) / 4 * 4 * sizeof(char16_t); }

} // namespace

void CXmlAttribute::SetValue(std::u16string_view value) {
    m_valueBits = 0;
    m_valueLength = 0;
    if (value.empty()) return;
    if (value.size() > UINT32_MAX) {
        m_valueBits = reinterpret_cast<uintptr_t>(new std::u16string(value)) | 1;
        return;
    }
    auto* run = static_cast<char16_t*>(CXmlNodePool::Allocate(RunBytes(value.size()), Pool()));
    std::char_traits<char16_t>::copy(run, value.data(), value.size());
    m_valueBits = reinterpret_cast<uintptr_t>(run);
    m_valueLength = static_cast<uint32_t>(value.size());
}

void CXmlAttribute::FreeValue() {
    if (m_valueBits & 1)
        delete reinterpret_cast<std::u16string*>(m_valueBits & ~static_cast<uintptr_t>(1));
    else if (m_valueBits)
        CXmlNodePool::Free(reinterpret_cast<void*>(m_valueBits), RunBytes(m_valueLength), Pool());
    m_valueBits = 0;
    m_valueLength = 0;
}

void CXmlAttribute::MarkPooledBlock() {
    if (!m_poolBits) return;
    m_poolBits |= 1;
    Pool()->CountPooledNode(false, 1);
}

const std::u16string& CXmlAttribute::GetValue() const {
    if (m_valueBits & 1) return *reinterpret_cast<const std::u16string*>(m_valueBits & ~static_cast<uintptr_t>(1));
    if (!m_valueBits) return CXmlNodePool::EmptyString();
    auto* owned = new std::u16string(ValueView());
    if (Pool()) Pool()->MarkUnsafe();
    CXmlNodePool::Free(reinterpret_cast<void*>(m_valueBits), RunBytes(m_valueLength), Pool());
    m_valueBits = reinterpret_cast<uintptr_t>(owned) | 1;
    m_valueLength = 0;
    return *owned;
}

CXmlAttribute::CXmlAttribute(CXmlElement* element, const char16_t* name, const char16_t* value,
                             const char16_t* namespaceURI)
    : CXmlAttribute(element, OrEmpty(name), OrEmpty(value), OrEmpty(namespaceURI)) {}

CXmlAttribute::CXmlAttribute(CXmlElement* element, std::u16string_view name, std::u16string_view value,
                             std::u16string_view namespaceURI)
    : m_element(element),
      m_poolBits(reinterpret_cast<uintptr_t>(element ? element->Pool() : nullptr)),
      m_names(CXmlNodePool::EmptyName()),
      m_valueBits(0),
      m_valueLength(0) {
    if (Pool()) Pool()->AddRef();
    try {
        m_names = CXmlNodePool::MakeName(Pool(), name, namespaceURI);
        SetValue(value);
    } catch (...) {
        CXmlNodePool::DropName(m_names);
        if (Pool()) Pool()->Release();
        throw;
    }
}

CXmlAttribute::CXmlAttribute(const CXmlAttribute& other)
    : CInstanceMonitor(other),
      m_element(other.m_element),
      m_poolBits(reinterpret_cast<uintptr_t>(other.Pool())), // a copy's block is its own
      m_names(CXmlNodePool::CopyName(other.m_names)),
      m_valueBits(0),
      m_valueLength(0) {
    if (Pool()) Pool()->AddRef();
    try {
        SetValue(other.ValueView());
    } catch (...) {
        CXmlNodePool::DropName(m_names);
        if (Pool()) Pool()->Release();
        throw;
    }
}

CXmlAttribute& CXmlAttribute::operator=(const CXmlAttribute& other) {
    if (this == &other) return *this;
    // A node whose block came from a pool stays with that pool; any other takes the other's.
    CXmlNodePool* const target = (m_poolBits & 1) ? Pool() : other.Pool();
    const CXmlNodeName names = target == other.Pool()
                                   ? CXmlNodePool::CopyName(other.m_names)
                                   : CXmlNodePool::MakeName(target, other.GetLocalName(), other.GetNamespaceURI());
    // The value is an owned string, which needs no pool.
    auto* value = new std::u16string(other.ValueView());
    if (Pool()) Pool()->MarkUnsafe();
    if (other.Pool()) other.Pool()->MarkUnsafe();
    FreeValue();
    m_valueBits = reinterpret_cast<uintptr_t>(value) | 1;
    if (target) target->AddRef();
    CXmlNodePool::DropName(m_names);
    if (Pool()) Pool()->Release();
    m_element = other.m_element;
    m_poolBits = reinterpret_cast<uintptr_t>(target) | (m_poolBits & 1);
    m_names = names;
    return *this;
}

CXmlAttribute::~CXmlAttribute() {
    FreeValue();
    CXmlNodePool::DropName(m_names);
    if (Pool()) Pool()->Release();
}

void* CXmlAttribute::operator new(size_t size) { return CXmlNodePool::Allocate(size, nullptr); }
void* CXmlAttribute::operator new(size_t size, CXmlNodePool* pool) { return CXmlNodePool::Allocate(size, pool); }

void CXmlAttribute::operator delete(CXmlAttribute* attribute, std::destroying_delete_t) {
    // Read before the destructor runs; the block holds its pool until it is freed.
    CXmlNodePool* blockPool = (attribute->m_poolBits & 1) ? attribute->Pool() : nullptr;
    attribute->~CXmlAttribute();
    if (blockPool) blockPool->CountPooledNode(false, -1);
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
        if (m_element->GetDocument() && !m_names.NamespaceURI().empty()) {
            const std::u16string alias =
                m_element->GetDocument()->LookupAliasFromNamespace(std::u16string_view(m_names.NamespaceURI()));
            if (!alias.empty()) {
                path += alias;
                path += u':';
            }
        }
    }
    path += u'@';
    path += m_names.LocalName();
    return path;
}

bool CXmlAttribute::IsNamespaceAttribute() const {
    if (m_names.NamespaceURI() != kXsiNamespaceURI && m_names.NamespaceURI() != kXmlnsNamespaceURI) return false;
    const std::u16string& name = m_names.LocalName();
    return name == u"xmlns" || name == u"type" || name == u"schemaLocation" || name == u"noNamespaceSchemaLocation";
}

bool CXmlAttribute::IsNilAttribute() const {
    if (m_names.NamespaceURI() != kXsiNamespaceURI && m_names.NamespaceURI() != kXmlnsNamespaceURI) return false;
    return m_names.LocalName() == u"nil";
}

} // namespace KvXmlLib16
