#include "kvxml/collections/CXmlCollection.h"

#include <memory>

#include "kvxml/base/CKvException.h"
#include "kvxml/base/FormatString.h"

namespace KvXmlLib16 {

namespace {

void ThrowIfNull(const CXmlObjectBase* item) {
    if (!item) throw CKvInvalidParamException(u"A collection item may not be NULL");
}

} // namespace

CXmlCollection::CXmlCollection() : m_head(nullptr), m_tail(nullptr), m_count(0) {}

CXmlCollection::CXmlCollection(const char16_t* elementName, const char16_t* namespaceUri, int32_t minOccurs,
                               int32_t maxOccurs)
    : CXmlCollectionBase(elementName, namespaceUri, minOccurs, maxOccurs),
      m_head(nullptr),
      m_tail(nullptr),
      m_count(0) {}

CXmlCollection::CXmlCollection(const CXmlCollection& other)
    : CXmlCollectionBase(other), m_head(nullptr), m_tail(nullptr), m_count(0) {
    CopyItemsFrom(other);
}

CXmlCollection& CXmlCollection::operator=(const CXmlCollection& other) {
    if (this == &other) return *this;
    CXmlCollectionBase::operator=(other);
    // Quietly: a copy is a new state, not a series of changes.
    CNode* node = m_head;
    m_head = m_tail = nullptr;
    m_count = 0;
    while (node) {
        CNode* next = node->m_next;
        delete node;
        node = next;
    }
    CopyItemsFrom(other);
    return *this;
}

void CXmlCollection::CopyItemsFrom(const CXmlCollection& other) {
    for (const CNode* n = other.m_head; n; n = n->m_next) {
        CNode* node = new CNode(n->m_item);
        node->m_previous = m_tail;
        (m_tail ? m_tail->m_next : m_head) = node;
        m_tail = node;
        ++m_count;
    }
}

CXmlCollection::~CXmlCollection() { CXmlCollection::Clear(); }

void CXmlCollection::AttributesToXml_Int(CXmlWriter* writer, const CSerializationContext& context) const {
    for (const CNode* n = m_head; n; n = n->m_next) n->m_item->GetBase()->AttributesToXml_Int(writer, context);
}

void CXmlCollection::Clear() {
    while (m_count > 0) Remove(0);
}

void CXmlCollection::Remove(int32_t index) { RemoveNode(GetNodeAtIndex(index)); }

void CXmlCollection::Link(CNode* node, Where where, CNode* anchor) {
    switch (where) {
    case Where::Head:
        node->m_next = m_head;
        if (m_head) m_head->m_previous = node;
        m_head = node;
        if (!m_tail) m_tail = node;
        break;
    case Where::Tail:
        node->m_previous = m_tail;
        if (m_tail) m_tail->m_next = node;
        m_tail = node;
        if (!m_head) m_head = node;
        break;
    case Where::Before:
        node->m_next = anchor;
        node->m_previous = anchor->m_previous;
        (anchor->m_previous ? anchor->m_previous->m_next : m_head) = node;
        anchor->m_previous = node;
        break;
    case Where::After:
        node->m_previous = anchor;
        node->m_next = anchor->m_next;
        (anchor->m_next ? anchor->m_next->m_previous : m_tail) = node;
        anchor->m_next = node;
        break;
    }
    ++m_count;
}

void CXmlCollection::AppendItem(CXmlObjectBase* item) {
    ThrowIfNull(item);
    FireOnCollectionAdd(item);
    Link(new CNode(item), Where::Tail, nullptr);
    FireOnCollectionAddComplete(item);
    FireOnCollectionChange();
}

void CXmlCollection::PrependItem(CXmlObjectBase* item) {
    ThrowIfNull(item);
    FireOnCollectionAdd(item);
    Link(new CNode(item), Where::Head, nullptr);
    FireOnCollectionAddComplete(item);
    FireOnCollectionChange();
}

// The existing item is looked up after the first message, so a failed lookup has fired it; the
// node is made only once the lookup succeeded, so nothing is lost on that path.
void CXmlCollection::AddAfterItem(CXmlObjectBase* existing, CXmlObjectBase* item) {
    ThrowIfNull(item);
    FireOnCollectionAdd(item);
    CNode* anchor = existing ? GetNodeForItem(existing) : nullptr;
    Link(new CNode(item), anchor ? Where::After : Where::Head, anchor);
    FireOnCollectionAddComplete(item);
    FireOnCollectionChange();
}

void CXmlCollection::AddBeforeItem(CXmlObjectBase* existing, CXmlObjectBase* item) {
    ThrowIfNull(item);
    FireOnCollectionAdd(item);
    CNode* anchor = existing ? GetNodeForItem(existing) : nullptr;
    Link(new CNode(item), anchor ? Where::Before : Where::Tail, anchor);
    FireOnCollectionAddComplete(item);
    FireOnCollectionChange();
}

void CXmlCollection::AddItemAt(int32_t index, CXmlObjectBase* item) {
    if (index < 0 || index > m_count) throw CKvInvalidParamException(u"Index out of range");
    if (index == m_count) return AppendItem(item);
    ThrowIfNull(item);
    FireOnCollectionAdd(item);
    CNode* anchor = m_head;
    for (int32_t i = 0; i < index; ++i) anchor = anchor->m_next;
    Link(new CNode(item), Where::Before, anchor);
    FireOnCollectionAddComplete(item);
    FireOnCollectionChange();
}

void CXmlCollection::RemoveNode(CNode* node) {
    FireOnCollectionRemove(-1);
    (node->m_previous ? node->m_previous->m_next : m_head) = node->m_next;
    (node->m_next ? node->m_next->m_previous : m_tail) = node->m_previous;
    // The item is released with the node; releasing may destroy it, and with it anything it owns.
    delete node;
    --m_count;
    FireOnCollectionRemoveComplete(-1);
    FireOnCollectionChange();
}

CNode* CXmlCollection::GetNodeAtIndex(int32_t index) const {
    if (index < 0 || index > m_count - 1)
        throw CKvInvalidParamException(FormatString(u"Index %d is out of range, use 0 - %d", index, m_count));
    CNode* node = m_head;
    for (int32_t i = 0; i < index; ++i) node = node->m_next;
    return node;
}

CNode* CXmlCollection::GetNodeForItem(CXmlObjectBase* item) const {
    const CXmlObjectBase* wanted = item ? item->GetBase() : nullptr;
    for (CNode* n = m_head; n; n = n->m_next)
        if (wanted && n->m_item->GetBase() == wanted) return n;
    throw CKvInvalidParamException(u"The object was not found in the collection");
}

} // namespace KvXmlLib16
