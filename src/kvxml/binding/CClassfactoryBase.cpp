#include "kvxml/binding/CClassfactoryBase.h"

#include "kvxml/base/KvNamespaces.h"
#include "kvxml/xml/CXmlDocument.h"
#include "kvxml/xml/CXmlElement.h"

namespace KvXmlLib16 {

CClassfactoryBase::~CClassfactoryBase() = default;

std::u16string CClassfactoryBase::GetElementType(CXmlElement* element) {
    const std::u16string& type = element->GetAttribute(u"type", kXsiNamespaceURI);
    const size_t colon = type.find(u':');
    return colon == std::u16string::npos ? type : type.substr(colon + 1);
}

std::u16string CClassfactoryBase::GetElementTypeNamespaceUri(CXmlElement* element) {
    const std::u16string& type = element->GetAttribute(u"type", kXsiNamespaceURI);
    const size_t colon = type.find(u':');
    if (colon == std::u16string::npos) return element->GetNamespaceURI();
    // The document's alias table is global, not scoped to the element.
    CXmlDocument* document = element->GetDocument();
    if (document) {
        const std::u16string alias = type.substr(0, colon);
        std::u16string ns = document->LookupNamespaceFromAlias(alias.c_str());
        if (!ns.empty()) return ns;
    }
    return element->GetNamespaceURI();
}

} // namespace KvXmlLib16
