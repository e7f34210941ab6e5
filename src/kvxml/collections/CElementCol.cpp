#include "kvxml/collections/CElementCol.h"

#include "kvxml/base/CKvException.h"
#include "kvxml/collections/CElement.h"
#include "kvxml/xml/CXmlElement.h"

namespace KvXmlLib16 {

namespace {

const char16_t* Safe(const char16_t* s) { return s ? s : u""; }

} // namespace

CElement* CElementCol::Iterator::operator*() const { return static_cast<CElement*>(m_node->m_item.get()); }

CElementCol::CElementCol(const char16_t* namespaceUri, const char16_t* restriction, const char16_t* targetNamespace,
                         int32_t, int32_t)
    : m_restriction(u"##any"), m_targetNamespace(Safe(targetNamespace)) {
    TestNamespace(namespaceUri, restriction, targetNamespace);
    // The reverse of the attribute collection's rule: an empty namespace takes a "##" keyword
    // restriction whole.
    m_elementNamespace = Safe(namespaceUri);
    const std::u16string given = Safe(restriction);
    if (m_elementNamespace.empty() && given.size() >= 2 && given[0] == u'#' && given[1] == u'#')
        m_elementNamespace = given;
}

CElementCol::~CElementCol() = default;

CElement* CElementCol::Add(const char16_t* name, const char16_t* namespaceUri) {
    TestNamespace(namespaceUri, m_restriction.c_str(), m_targetNamespace.c_str());
    CSmartPtr<CElement> element(new CElement(name, namespaceUri, m_restriction.c_str(), m_targetNamespace.c_str()));
    AppendItem(element);
    return element;
}

CElement* CElementCol::Add(const char16_t* name) {
    if (m_elementNamespace.empty()) throw CKvInvalidStateException(u"A Namespace has not been set for this Collection");
    CSmartPtr<CElement> element(
        new CElement(name, m_elementNamespace.c_str(), m_restriction.c_str(), m_targetNamespace.c_str()));
    AppendItem(element);
    return element;
}

CElement* CElementCol::Add(CElement* element) {
    if (!element) throw CKvInvalidParamException(u"A collection item may not be NULL");
    TestNamespace(element->GetNamespace().c_str(), m_restriction.c_str(), m_targetNamespace.c_str());
    AppendItem(element);
    return element;
}

CSmartPtr<CElement> CElementCol::Item(int32_t index) const {
    return CSmartPtr<CElement>(static_cast<CElement*>(GetNodeAtIndex(index)->m_item.get()));
}

void CElementCol::AddAfter(CElement* existing, CElement* element) { AddAfterItem(existing, element); }

void CElementCol::AddBefore(CElement* existing, CElement* element) { AddBeforeItem(existing, element); }

CSmartPtr<CElementCol> CElementCol::Clone() const {
    CSmartPtr<CElementCol> copy(new CElementCol(m_elementNamespace.c_str(), m_restriction.c_str(),
                                                m_targetNamespace.c_str(), m_minOccurs, m_maxOccurs));
    for (const CNode* n = m_head; n; n = n->m_next) copy->Add(static_cast<CElement*>(n->m_item.get())->Clone());
    return copy;
}

void CElementCol::ToXml_Int(CXmlWriter* writer, bool, const char16_t* namespaceUri,
                            const CSerializationContext& context, bool) const {
    ValidateCount(context);
    for (const CNode* n = m_head; n; n = n->m_next)
        n->m_item->GetBase()->ToXml_Int(writer, false, namespaceUri, context, false);
}

CXmlElement* CElementCol::FromXml_Int(CXmlElement* parent, CXmlElement* element, const CSerializationContext& context,
                                      bool) {
    while (element &&
           IsNamespaceValid(element->GetNamespaceURI().c_str(), m_restriction.c_str(), m_targetNamespace.c_str())) {
        CSmartPtr<CElement> item(new CElement(element->GetLocalName().c_str(), element->GetNamespaceURI().c_str(),
                                              m_restriction.c_str(), m_targetNamespace.c_str()));
        CXmlElement* next = item->FromXml_Int(parent, element, context, false);
        if (next == element) return element; // consumed nothing: the new element is dropped
        Add(item);
        element = next;
    }
    return element;
}

CXmlElement* CElementCol::FromXmlLockElementName_Int(const char16_t* name, const char16_t* namespaceUri,
                                                     CXmlElement* parent, CXmlElement* element,
                                                     const CSerializationContext& context, bool) {
    const std::u16string wantedName = Safe(name);
    const std::u16string wantedNamespace = Safe(namespaceUri);
    while (element && element->GetLocalName() == wantedName && element->GetNamespaceURI() == wantedNamespace) {
        CSmartPtr<CElement> item(new CElement(element->GetLocalName().c_str(), element->GetNamespaceURI().c_str(),
                                              u"##any", m_targetNamespace.c_str()));
        CXmlElement* next = item->FromXml_Int(parent, element, context, false);
        if (next == element) return element;
        Add(item);
        element = next;
    }
    return element;
}

} // namespace KvXmlLib16
