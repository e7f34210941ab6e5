#include "kvxml/base/CKvException.h"
#include "kvxml/binding/BindingHelpers.h"
#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/binding/CXmlObjectBase.h"
#include "kvxml/binding/ReadRelease.h"
#include "kvxml/collections/CElement.h"
#include "kvxml/xml/CXmlDocument.h"
#include "kvxml/xml/CXmlElement.h"

namespace KvXmlLib16 {

namespace {

// A successful parse always has a root; this guards the call below should that ever change.
CXmlElement* RootOf(const CXmlDocument& document) {
    CXmlElement* root = document.GetDocumentElement();
    if (!root) throw CKvException(u"Invalid or empty XML document");
    return root;
}

} // namespace

void CXmlObjectBase::FromXml(const char16_t* xml, const CSerializationContext& context) {
    CXmlDocument document(context);
    document.SetKeepInput(false); // private to this call: nobody parses its input again
    document.LoadXml(xml);
    CXmlElement* root = RootOf(document);
    ReadRelease::Scope release(this, root); // the document is ours: what has been read may go
    FromXml_Int(root, root->GetFirstElement(), context, false);
}

void CXmlObjectBase::FromXml(const char* xml, const CSerializationContext& context) {
    CXmlDocument document(context);
    document.SetKeepInput(false); // private to this call: nobody parses its input again
    document.LoadXml(xml);
    CXmlElement* root = RootOf(document);
    ReadRelease::Scope release(this, root); // the document is ours: what has been read may go
    FromXml_Int(root, root->GetFirstElement(), context, false);
}

void CXmlObjectBase::FromXmlElement(CXmlElement* element, const CSerializationContext& context) {
    if (!element) throw CKvInvalidParamException(u"FromXmlElement needs an element to read from, not NULL");
    ReadRelease::Scope keep(this, nullptr); // the caller's tree stays as it is
    FromXml_Int(element, element->GetFirstElement(), context, false);
}

CXmlElement* CXmlObjectBase::FromXml_Int(CXmlObjectBase* object, CXmlElement* element, CXmlElement* firstChild,
                                         const CSerializationContext& context) {
    return ReadRelease::ReadChild(object, element, firstChild, context, false);
}

bool CXmlObjectBase::DoesElementNameMatch(const CSerializationContext& context, const CXmlElement* element,
                                          const char16_t* name, const char16_t* namespaceUri) {
    // Collections ask this once per item: one pass over each name, with no length taken first.
    if (!element || !BindingHelpers::SameText(element->GetLocalName(), name ? name : u"")) return false;
    if (context.GetSchemaType() == SchemaType_NoNamespaces || context.GetIgnoreNamespaces()) return true;
    return BindingHelpers::SameText(element->GetNamespaceURI(), namespaceUri ? namespaceUri : u"");
}

// ---- reading an object from an untyped element ----

// The element goes through text, whatever the context passed: only the reading uses it.
void CXmlObjectBase::FromXmlElement(CElement* element, const CSerializationContext& context) {
    if (!element) throw CKvInvalidParamException(u"FromXmlElement needs an element to read from, not NULL");
    const std::u16string xml = element->ToXml(false, false, EOLType_LF, CSerializationContext::GetDefaultContext());
    FromXml(xml.c_str(), context);
}

} // namespace KvXmlLib16
