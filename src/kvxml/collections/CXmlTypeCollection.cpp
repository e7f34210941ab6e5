#include "kvxml/collections/CXmlTypeCollection.h"

#include "kvxml/binding/BindingHelpers.h"
#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/xml/CXmlElement.h"

namespace KvXmlLib16 {

CXmlTypeCollection::CXmlTypeCollection(ItemType kind, const char16_t* elementName, const char16_t* namespaceUri,
                                       int32_t minOccurs, int32_t maxOccurs, const char16_t* pattern, int32_t minLength,
                                       int32_t maxLength, const char16_t* minInclusive, const char16_t* maxInclusive,
                                       const char16_t* minExclusive, const char16_t* maxExclusive, int32_t length,
                                       int32_t totalDigits, int32_t fractionDigits,
                                       CWhitespaceUtils::WhitespaceRule whitespaceRule, const char16_t* formatOverride)
    : CXmlCollectionBase(elementName, namespaceUri, minOccurs, maxOccurs),
      m_restrictions(pattern, minLength, maxLength, minInclusive, maxInclusive, minExclusive, maxExclusive, length,
                     totalDigits, fractionDigits),
      m_itemType(kind),
      m_formatOverride(formatOverride ? formatOverride : u""),
      m_whitespaceRule(whitespaceRule) {}

CXmlTypeCollection::CXmlTypeCollection(const CXmlTypeCollection& other) = default;
CXmlTypeCollection& CXmlTypeCollection::operator=(const CXmlTypeCollection& other) = default;
CXmlTypeCollection::~CXmlTypeCollection() = default;

CXmlElement* CXmlTypeCollection::FromXml_Int(CXmlElement*, CXmlElement* element, const CSerializationContext& context,
                                             bool) {
    while (element && DoesElementNameMatch(context, element, m_elementName.c_str(), m_namespace.c_str())) {
        BindingHelpers::RefuseChildElements(element, element->GetFirstElement(), context.GetIgnoreUnknownElements());
        AddFromString(std::u16string(element->TextView()));
        element = element->GetNextSiblingElement();
    }
    return element;
}

} // namespace KvXmlLib16
