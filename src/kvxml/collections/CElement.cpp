#include "kvxml/collections/CElement.h"

#include "kvxml/base/CKvException.h"
#include "kvxml/base/CNestingGuard.h"
#include "kvxml/base/FormatString.h"
#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/output/CTextStream.h"
#include "kvxml/output/CXmlTextWriter.h"
#include "kvxml/values/ItemType.h"
#include "kvxml/xml/CXmlDocument.h"
#include "kvxml/xml/CXmlElement.h"

namespace KvXmlLib16 {

namespace {

const char16_t* Safe(const char16_t* s) { return s ? s : u""; }

bool IsWildcardKeyword(const char16_t* ns) {
    if (!ns) return false;
    const std::u16string_view v(ns);
    return v == u"##any" || v == u"##other" || v == u"##local" || v == u"##targetNamespace";
}

} // namespace

CElement::CElement(const char16_t* name) { Init(name, u"", u"##any", u""); }

CElement::CElement(const char16_t* name, const char16_t* namespaceUri) {
    if (IsWildcardKeyword(namespaceUri))
        throw CKvInvalidNamespaceException(FormatString(u"Invalid Namespace [%s].", namespaceUri), std::u16string());
    Init(name, namespaceUri, namespaceUri, u"");
}

CElement::CElement(const char16_t* name, const char16_t* namespaceUri, const char16_t* restriction,
                   const char16_t* targetNamespace) {
    Init(name, namespaceUri, restriction, targetNamespace);
}

CElement::CElement(const CXmlObjectBase* object, const char16_t* defaultNamespace) {
    Init(u"", u"", u"##any", u"");
    if (!object) throw CKvInvalidParamException(u"An element can only be made from an object, not NULL");
    if (defaultNamespace) m_defaultNamespace = defaultNamespace;
    CSerializationContext context;
    context.SetDefaultNamespaceURI(m_defaultNamespace.c_str());
    const CBinaryData bytes =
        object->ToXmlStream(false, false, XmlEncoding_UTF8, EOLType_LF, context, CompressionType_None);
    CXmlDocument document(context);
    document.LoadXmlStream(bytes.GetLength() != 0 ? bytes.GetData() : nullptr, bytes.GetLength());
    CopyXmlElement(document.GetDocumentElement());
}

CElement::~CElement() = default;

// Null pointers are refused; empty strings pass.
void CElement::Init(const char16_t* name, const char16_t* namespaceUri, const char16_t* restriction,
                    const char16_t* targetNamespace) {
    if (!name) throw CKvInvalidNamespaceException(u"Element Name must have a value", std::u16string());
    if (!restriction) throw CKvInvalidNamespaceException(u"Namespace Restriction must have a value", std::u16string());
    if (!targetNamespace) throw CKvInvalidNamespaceException(u"Target Namespace must have a value", std::u16string());
    TestNamespace(namespaceUri, restriction, targetNamespace);
    m_name = name;
    m_namespace = Safe(namespaceUri);
    m_namespaceRestriction = restriction;
    m_targetNamespace = targetNamespace;
    m_attributes = new CAttributeCol(m_namespace.c_str(), u"##any", m_targetNamespace.c_str());
    m_childElements = new CElementCol(m_namespace.c_str(), u"##any", m_targetNamespace.c_str(), 0, -1);
}

void CElement::SetNamespaceRestrictions(const char16_t* restriction, const char16_t* targetNamespace) {
    try {
        TestNamespace(m_namespace.c_str(), restriction, targetNamespace);
    } catch (const CKvException&) {
        // Thrown by pointer on purpose; the handler owns the object.
        throw new CKvInvalidNamespaceException(
            FormatString(u"The namespace %s in the class %s is invalid against restriction %s", m_namespace.c_str(),
                         m_name.c_str(), Safe(restriction)),
            std::u16string());
    }
    for (const CNode* n = m_attributes->GetHead(); n; n = n->m_next)
        TestNamespace(static_cast<CAttribute*>(n->m_item.get())->GetNamespace().c_str(), restriction, targetNamespace);
    for (CElement* child : *m_childElements) child->SetNamespaceRestrictions(restriction, targetNamespace);
}

CSmartPtr<CElement> CElement::Clone() const {
    CSmartPtr<CElement> copy(
        new CElement(m_name.c_str(), m_namespace.c_str(), m_namespaceRestriction.c_str(), m_targetNamespace.c_str()));
    copy->m_attributes = m_attributes->Clone();
    copy->m_childElements = m_childElements->Clone();
    copy->m_text = m_text;
    return copy;
}

void CElement::CopyXmlElement(const CXmlElement* element) {
    CNestingGuard guard;
    m_name = element->GetLocalName();
    m_namespace = element->GetNamespaceURI();
    m_text = element->TextView();
    m_attributes->Clear();
    m_childElements->Clear();
    for (const CXmlAttribute* attribute : element->AttributeSpan()) {
        const std::u16string value(attribute->ValueView());
        m_attributes->Add(attribute->GetLocalName().c_str(), value.c_str(), attribute->GetNamespaceURI().c_str());
        // Only parsers that leave namespaces unprocessed hand a declaration over as an attribute.
        if (attribute->GetLocalName() == u"xmlns") m_defaultNamespace = value;
    }
    for (const CXmlElement* child = element->GetFirstElement(); child; child = child->GetNextSiblingElement()) {
        CSmartPtr<CElement> item(new CElement(child->GetLocalName().c_str()));
        item->CopyXmlElement(child);
        m_childElements->Add(item);
    }
}

void CElement::FromXml(const char16_t* xml) {
    const CSerializationContext& context = CSerializationContext::GetDefaultContext();
    CXmlDocument document(context);
    document.LoadXml(xml);
    CXmlElement* root = document.GetDocumentElement();
    FromXml_Int(root, root, context, false);
}

void CElement::ToXml_Int(CXmlWriter* writer, bool, const char16_t*, const CSerializationContext& context,
                         bool flag) const {
    if (!m_defaultNamespace.empty()) return ToXmlWithOwnWriter(writer, context, flag);
    writer->WriteStartElement(m_name, m_namespace);
    m_attributes->ToXml_Int(writer, false, m_namespace.c_str(), context, false);
    m_childElements->ToXml_Int(writer, false, m_namespace.c_str(), context, flag);
    // Text goes behind the children, wherever it stood in the input.
    writer->WriteElementText(m_text, ItemType_string, false);
    writer->WriteEndElement();
}

// The subtree is written by a writer of its own, as a root, so that it can declare its own
// default namespace without touching the scopes of the outer document; its text is then
// spliced in. Only the XML text writer can take such a splice. The attributes are left out.
void CElement::ToXmlWithOwnWriter(CXmlWriter* writer, const CSerializationContext&, bool flag) const {
    auto* outer = dynamic_cast<CXmlTextWriter*>(writer);
    if (!outer) throw CKvException(u"An element with a default namespace of its own can only be written as XML text");
    CTextStream stream(4095, XmlEncoding_None);
    stream.Open();
    CXmlTextWriter inner(&stream);
    inner.SetEOLType(outer->GetEOLType());
    inner.SetFormatted(outer->GetFormatted());
    inner.SetDefaultNamespace(m_defaultNamespace);
    inner.WriteStartElement(m_name, m_namespace);
    CSerializationContext innerContext;
    innerContext.SetDefaultNamespaceURI(m_defaultNamespace.c_str());
    m_childElements->ToXml_Int(&inner, false, m_namespace.c_str(), innerContext, flag);
    inner.WriteElementText(m_text, ItemType_string, false);
    inner.WriteEndElement();

    outer->CloseStartTag();
    CTextStream* target = outer->GetStream();
    target->Append(stream.GetString());
    if (outer->GetFormatted()) target->Append(outer->GetEOLType() == EOLType_CRLF ? u"\r\n" : u"\n");
}

CXmlElement* CElement::FromXml_Int(CXmlElement*, CXmlElement* element, const CSerializationContext& context, bool) {
    if (!element) return nullptr;
    CNestingGuard guard;
    if (!IsNamespaceValid(element->GetNamespaceURI().c_str(), m_namespaceRestriction.c_str(),
                          m_targetNamespace.c_str()))
        return element;
    m_attributes->FromXml_Int(element, element, context, false);
    if (m_childElements->FromXml_Int(element, element->GetFirstElement(), context, false))
        throw CKvValidationException(FormatString(u"Invalid Element [%s] found.", element->GetLocalName().c_str()),
                                     element->GetXPath());
    m_text = element->TextView();
    m_name = element->GetLocalName();
    m_namespace = element->GetNamespaceURI();
    return element->GetNextSiblingElement();
}

} // namespace KvXmlLib16
