#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "kvxml/base/CInstanceMonitor.h"
#include "kvxml/platform/KvExport.h"
#include "kvxml/xml/CXmlNodeName.h"
#include "kvxml/xml/CXmlAttribute.h"

namespace KvXmlLib16 {

class CXmlDocument;
class CXmlNodePool;

// A node of the in-memory tree every input is reduced to. Children form a singly linked list
// with a last-child pointer, so appending is constant time. All character data of the element,
// wherever it stood between the children, is one string.
//
// Copies are shallow: a copy shares the child, sibling and attribute pointers of its source,
// and only one of the two may be destroyed. Names of elements built by a document are held by
// the document's node pool, which lives as long as any element that uses them.
class KVXML_API CXmlElement : public CInstanceMonitor {
public:
    CXmlElement(CXmlDocument* document, CXmlElement* parent);
    CXmlElement(const CXmlElement& other);
    CXmlElement& operator=(const CXmlElement& other);
    // Frees the whole subtree, without recursion, so any depth is safe.
    ~CXmlElement() override;

    // Tree nodes come from the document's block pool; any node may still be deleted plainly.
    static void* operator new(size_t size);
    static void* operator new(size_t size, CXmlNodePool* pool);
    // The block goes back where it came from, which the node itself knows.
    static void operator delete(CXmlElement* element, std::destroying_delete_t);
    static void operator delete(void* block, CXmlNodePool* pool);

    // Read side. Null once the document is gone.
    CXmlDocument* GetDocument() const;
    CXmlElement* GetParentElm() const { return m_parent; }
    CXmlElement* GetFirstElement() const { return m_firstChild; }
    CXmlElement* GetNextSiblingElement() const { return m_nextSibling; }
    // The vector and the text string are built on the first call and kept: readers of the tree go
    // through the views below, which build nothing.
    const std::vector<CXmlAttribute*>& GetAttributes() const;
    const std::u16string& GetLocalName() const { return m_names.LocalName(); }
    const std::u16string& GetNamespaceURI() const { return m_names.NamespaceURI(); }
    const std::u16string& GetText() const;
    std::u16string_view TextView() const;
    std::span<CXmlAttribute* const> AttributeSpan() const {
        if (!m_attributeBits) return {};
        if (m_attributeBits & kTagOwned) return *Vector();
        return {Block()->Items(), Block()->count};
    }
    // First attribute equal in name and namespace URI; an absent one gives an empty string.
    const std::u16string& GetAttribute(const char16_t* name, const char16_t* namespaceURI) const;
    std::u16string GetXPath() const;

    // Building side.
    void SetElementName(const char16_t* name);
    void SetElementName(std::u16string_view name);
    void SetNamespace(const char16_t* namespaceURI);
    void SetNamespace(std::u16string_view namespaceURI);
    // Appends without looking for a duplicate.
    void AddAttribute(const char16_t* name, const char16_t* value, const char16_t* namespaceURI);
    void AddAttribute(std::u16string_view name, std::u16string_view value, std::u16string_view namespaceURI);
    void AppendText(const char16_t* text);
    void AppendText(const char16_t* text, size_t length);
    // Room for count more attributes, when a reader knows how many follow.
    void ReserveAttributes(size_t count);
    CXmlElement* CreateNewChildElement();
    // Unlinks the last child and hands it to the caller; null when there is none.
    CXmlElement* RemoveLastChildElement();
    // Frees the children (whole subtrees), the attributes and the text of an element whose content
    // has been read. The node itself, its names and its parent and sibling links stay, so paths of
    // later siblings count it as before.
    void ReleaseContent();
    std::u16string GetQName() const;
    std::u16string GetNameWithPredicate() const;

    // Number of elements alive in the process, for diagnostics and tests of the filter path.
    static int64_t GetLiveElementCount();

private:
    friend class CXmlDocument;

    void SetNames(std::u16string_view localName, std::u16string_view namespaceURI, const CXmlNodeName* hint);
    friend class CXmlAttribute;

    // The document's pool, with the low bit set when the node's block came from it.
    CXmlNodePool* Pool() const { return reinterpret_cast<CXmlNodePool*>(m_poolBits & ~static_cast<uintptr_t>(1)); }
    // For the nodes the tree builds with new (Pool()).
    void MarkPooledBlock();
    // Elements dropped with their whole tree by the pool, without their destructors.
    static void ForgetElements(int64_t count);

    // Text: a run of units in a block of the pool (or the heap without one), untagged; a string
    // of the element's own (kTagOwned); or blank text held once by the pool (kTagShared).
    static constexpr uintptr_t kTagOwned = 1;
    static constexpr uintptr_t kTagShared = 2;
    static constexpr uintptr_t kTagMask = 3;
    // Attributes: a block holding count, capacity and the pointers, untagged; or, once
    // GetAttributes was asked, a vector of the element's own (kTagOwned).
    struct AttributeBlock {
        uint32_t count;
        uint32_t capacity;
        CXmlAttribute** Items() { return reinterpret_cast<CXmlAttribute**>(this + 1); }
    };
    AttributeBlock* Block() const { return reinterpret_cast<AttributeBlock*>(m_attributeBits); }
    std::vector<CXmlAttribute*>* Vector() const {
        return reinterpret_cast<std::vector<CXmlAttribute*>*>(m_attributeBits & ~kTagMask);
    }
    void GrowAttributeBlock(size_t capacity);
    // The attribute pointers into a vector of the element's own.
    void MakeAttributeVector() const;
    // Frees the children's subtrees without recursion.
    void DeleteChildren();
    void FreeText();
    void FreeAttributeStore();
    void SetSharedText(const std::u16string* text);

    CXmlElement* m_parent;
    CXmlElement* m_nextSibling;
    CXmlElement* m_firstChild;
    CXmlElement* m_lastChild;
    // The pool of the document, which also holds the names when it has room (else they are owned).
    uintptr_t m_poolBits;
    CXmlNodeName m_names;
    mutable uintptr_t m_textBits;
    // Length and capacity of a text run, in units.
    mutable uint32_t m_textLength;
    mutable uint32_t m_textCapacity;
    mutable uintptr_t m_attributeBits;
};

} // namespace KvXmlLib16
