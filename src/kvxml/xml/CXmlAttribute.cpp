#include "kvxml/xml/CXmlAttribute.h"

#include "kvxml/xml/CXmlDocument.h"
#include "kvxml/xml/CXmlElement.h"

namespace KvXmlLib16 {

namespace {

constexpr std::u16string_view kXsiNamespace = u"http://www.w3.org/2001/XMLSchema-instance";
constexpr std::u16string_view kXmlnsNamespace = u"http://www.w3.org/2000/xmlns/";

std::u16string_view OrEmpty(const char16_t* text) {
    return text ? std::u16string_view(text) : std::u16string_view();
}

} // namespace

CXmlAttribute::CXmlAttribute(CXmlElement* element, const char16_t* name, const char16_t* value,
                             const char16_t* namespaceURI)
    : CXmlAttribute(element, OrEmpty(name), OrEmpty(value), OrEmpty(namespaceURI)) {}

CXmlAttribute::CXmlAttribute(CXmlElement* element, std::u16string_view name,
                             std::u16string_view value, std::u16string_view namespaceURI)
    : m_element(element), m_localName(name), m_value(value), m_namespaceURI(namespaceURI) {}

CXmlAttribute::~CXmlAttribute() = default;

std::u16string CXmlAttribute::GetXPath() const {
    std::u16string path;
    if (m_element) {
        path = m_element->GetXPath();
        path += u'/';
        if (m_element->GetDocument() && !m_namespaceURI.empty()) {
            const std::u16string alias =
                m_element->GetDocument()->LookupAliasFromNamespace(std::u16string_view(m_namespaceURI));
            if (!alias.empty()) {
                path += alias;
                path += u':';
            }
        }
    }
    path += u'@';
    path += m_localName;
    return path;
}

bool CXmlAttribute::IsNamespaceAttribute() const {
    if (m_namespaceURI != kXsiNamespace && m_namespaceURI != kXmlnsNamespace) return false;
    return m_localName == u"xmlns" || m_localName == u"type" || m_localName == u"schemaLocation" ||
           m_localName == u"noNamespaceSchemaLocation";
}

bool CXmlAttribute::IsNilAttribute() const {
    if (m_namespaceURI != kXsiNamespace && m_namespaceURI != kXmlnsNamespace) return false;
    return m_localName == u"nil";
}

} // namespace KvXmlLib16
