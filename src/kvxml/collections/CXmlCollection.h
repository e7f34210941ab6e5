#pragma once

#include <cstdint>

#include "kvxml/base/CSmartPtr.h"
#include "kvxml/collections/CXmlCollectionBase.h"
#include "kvxml/platform/KvExport.h"

namespace KvXmlLib16 {

// One node of a collection's list; holds one reference on its item.
class KVXML_API CNode {
public:
    explicit CNode(CXmlObjectBase* item) : m_item(item), m_next(nullptr), m_previous(nullptr) {}

    CSmartPtr<CXmlObjectBase> m_item;
    CNode* m_next;
    CNode* m_previous;
};

// A doubly linked list of counted objects with occurrence bounds and change events. Typed
// collections of generated code derive from it and offer typed access over the protected
// operations. Every change fires, in order: about to add / add / added / changed, or
// about to remove / remove / removed / changed.
class KVXML_API CXmlCollection : public CXmlCollectionBase {
public:
    CXmlCollection();
    CXmlCollection(const char16_t* elementName, const char16_t* namespaceUri, int32_t minOccurs, int32_t maxOccurs);
    // A copy holds its own nodes on the same items (each item gains a reference), so that the
    // source and the copy may both be destroyed.
    CXmlCollection(const CXmlCollection& other);
    CXmlCollection& operator=(const CXmlCollection& other);
    // Removes every item, firing the removal messages of each.
    ~CXmlCollection() override;

    // Writes the attributes of every item, in list order, into the parent's start tag.
    void AttributesToXml_Int(CXmlWriter* writer, const CSerializationContext& context) const override;

    int32_t GetCount() const override { return m_count; }
    // Removes item 0 through the virtual Remove until the list is empty.
    void Clear() override;
    void Remove(int32_t index) override;

    // Typed iteration for derived collections: the first node, then CNode::m_next.
    CNode* GetHead() const { return m_head; }
    CNode* GetTail() const { return m_tail; }

protected:
    // Null items are refused with CKvInvalidParamException before anything is fired.
    void AppendItem(CXmlObjectBase* item);
    void PrependItem(CXmlObjectBase* item);
    // A null existing item prepends here, while AddBeforeItem appends: opposites by design.
    void AddAfterItem(CXmlObjectBase* existing, CXmlObjectBase* item);
    void AddBeforeItem(CXmlObjectBase* existing, CXmlObjectBase* item);
    // index == count appends; outside 0..count throws "Index out of range".
    void AddItemAt(int32_t index, CXmlObjectBase* item);
    void RemoveNode(CNode* node);
    CNode* GetNodeAtIndex(int32_t index) const;
    // Compares GetBase of the items; throws when the item is not held.
    CNode* GetNodeForItem(CXmlObjectBase* item) const;

    CNode* m_head;
    CNode* m_tail;
    int32_t m_count;

private:
    enum class Where { Head, Tail, Before, After };
    // The common frame of every addition; `anchor` is the node for Before and After.
    void Link(CNode* node, Where where, CNode* anchor);
    void CopyItemsFrom(const CXmlCollection& other);
};

} // namespace KvXmlLib16
