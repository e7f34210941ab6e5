#include "kvxml/collections/CAttributeCol.h"

#include "kvxml/base/CKvException.h"
#include "kvxml/base/FormatString.h"
#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/xml/CXmlElement.h"

namespace KvXmlLib16 {

namespace {

const char16_t* Safe(const char16_t* s) { return s ? s : u""; }

// The namespace of an attribute collection built without one: the restriction's first token when
// that is a literal URI rather than a "##" keyword.
std::u16string NamespaceFromRestriction(const std::u16string& restriction) {
    const std::u16string token = restriction.substr(0, restriction.find(u' '));
    if (token.size() >= 2 && token[0] != u'#' && token[1] != u'#') return token;
    return std::u16string();
}

} // namespace

CAttributeCol::CAttributeCol(const char16_t* namespaceUri, const char16_t* restriction, const char16_t* targetNamespace)
    : m_restriction(Safe(restriction)), m_targetNamespace(Safe(targetNamespace)) {
    m_namespace = Safe(namespaceUri);
    if (m_namespace.empty()) m_namespace = NamespaceFromRestriction(m_restriction);
}

CAttributeCol::~CAttributeCol() = default;

CAttribute* CAttributeCol::Add(const char16_t* name, const char16_t* value, const char16_t* namespaceUri) {
    TestNamespace(namespaceUri, m_restriction.c_str(), m_targetNamespace.c_str());
    CSmartPtr<CAttribute> attribute(new CAttribute(name, value, namespaceUri));
    AppendItem(attribute);
    return attribute;
}

CAttribute* CAttributeCol::Add(const char16_t* name, const char16_t* value) {
    return Add(name, value, m_namespace.c_str());
}

CAttribute* CAttributeCol::Add(const char16_t* name) { return Add(name, u"", m_namespace.c_str()); }

CAttribute* CAttributeCol::Add(CAttribute* attribute) {
    AppendItem(attribute);
    return attribute;
}

CSmartPtr<CAttribute> CAttributeCol::Item(int32_t index) const {
    return CSmartPtr<CAttribute>(static_cast<CAttribute*>(GetNodeAtIndex(index)->m_item.get()));
}

CSmartPtr<CAttributeCol> CAttributeCol::Clone() const {
    CSmartPtr<CAttributeCol> copy(
        new CAttributeCol(m_namespace.c_str(), m_restriction.c_str(), m_targetNamespace.c_str()));
    for (const CNode* n = m_head; n; n = n->m_next) copy->Add(static_cast<CAttribute*>(n->m_item.get())->Clone());
    return copy;
}

void CAttributeCol::ToXml_Int(CXmlWriter* writer, bool, const char16_t* namespaceUri,
                              const CSerializationContext& context, bool) const {
    for (const CNode* n = m_head; n; n = n->m_next)
        n->m_item->GetBase()->ToXml_Int(writer, false, namespaceUri, context, false);
}

CXmlElement* CAttributeCol::FromXml_Int(CXmlElement* element, CXmlElement* cursor, const CSerializationContext&, bool) {
    for (const CXmlAttribute* attribute : element->AttributeSpan()) {
        if (!IsNamespaceValid(attribute->GetNamespaceURI().c_str(), m_restriction.c_str(), m_targetNamespace.c_str()))
            throw CKvInvalidNamespaceException(
                FormatString(u"Invalid Attribute [%s]. The attributes namespace is Inappropriate.",
                             attribute->GetLocalName().c_str()),
                element->GetXPath());
        Add(attribute->GetLocalName().c_str(), std::u16string(attribute->ValueView()).c_str(),
            attribute->GetNamespaceURI().c_str());
    }
    return cursor;
}

} // namespace KvXmlLib16
