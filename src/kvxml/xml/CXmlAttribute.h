#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <string>
#include <string_view>

#include "kvxml/base/CInstanceMonitor.h"
#include "kvxml/platform/KvExport.h"
#include "kvxml/xml/CXmlNodeName.h"

namespace KvXmlLib16 {

class CXmlElement;
class CXmlNodePool;

// One attribute of a tree element. Owned by its element; the element pointer is not owned.
class KVXML_API CXmlAttribute : public CInstanceMonitor {
public:
    CXmlAttribute(CXmlElement* element, const char16_t* name, const char16_t* value, const char16_t* namespaceURI);
    // Same, from counted pieces: the parsers hand over names cut out of a longer string.
    CXmlAttribute(CXmlElement* element, std::u16string_view name, std::u16string_view value,
                  std::u16string_view namespaceURI);
    CXmlAttribute(const CXmlAttribute& other);
    CXmlAttribute& operator=(const CXmlAttribute& other);
    ~CXmlAttribute() override;

    // Tree nodes come from the document's block pool; any node may still be deleted plainly.
    static void* operator new(size_t size);
    static void* operator new(size_t size, CXmlNodePool* pool);
    // The block goes back where it came from, which the node itself knows.
    static void operator delete(CXmlAttribute* attribute, std::destroying_delete_t);
    static void operator delete(void* block, CXmlNodePool* pool);

    CXmlElement* GetElement() const { return m_element; }
    const std::u16string& GetLocalName() const { return m_names.LocalName(); }
    // Built on the first call and kept; ValueView builds nothing.
    const std::u16string& GetValue() const;
    std::u16string_view ValueView() const {
        if (m_valueBits & 1) return *reinterpret_cast<const std::u16string*>(m_valueBits & ~static_cast<uintptr_t>(1));
        return std::u16string_view(reinterpret_cast<const char16_t*>(m_valueBits), m_valueLength);
    }
    const std::u16string& GetNamespaceURI() const { return m_names.NamespaceURI(); }

    // "<element path>/p:@name": the alias stands in front of the '@'; messages quote this form.
    std::u16string GetXPath() const;
    // xmlns, type, schemaLocation or noNamespaceSchemaLocation in the XML Schema instance
    // or xmlns namespace: attributes a reader may pass over when the class does not know them.
    bool IsNamespaceAttribute() const;
    // nil in the XML Schema instance or xmlns namespace.
    bool IsNilAttribute() const;

private:
    friend class CXmlElement;
    CXmlNodePool* Pool() const { return reinterpret_cast<CXmlNodePool*>(m_poolBits & ~static_cast<uintptr_t>(1)); }
    void MarkPooledBlock();
    void SetValue(std::u16string_view value);
    void FreeValue();

    CXmlElement* m_element;
    // The element's pool, with the low bit set when the node's block came from it. Names are
    // interned there when it has room, else owned.
    uintptr_t m_poolBits;
    CXmlNodeName m_names;
    // The value: a run of m_valueLength units in a block of the pool (or the heap without one),
    // or, low bit set, a string of the attribute's own once GetValue was asked. Null when empty.
    mutable uintptr_t m_valueBits;
    mutable uint32_t m_valueLength;
};

} // namespace KvXmlLib16
