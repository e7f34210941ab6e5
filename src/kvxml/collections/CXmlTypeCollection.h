#pragma once

#include <cstdint>
#include <string>

#include "kvxml/collections/CXmlCollectionBase.h"
#include "kvxml/platform/KvExport.h"
#include "kvxml/values/CPrimitiveRestrictions.h"
#include "kvxml/values/CWhitespaceUtils.h"
#include "kvxml/values/ItemType.h"

namespace KvXmlLib16 {

class CXmlElement;

// Common frame of the collections of primitive values: the facets every item is checked
// against, the kind of the items, the format used to print them and the whitespace rule used to
// read them. Each derived collection keeps its own typed array.
class KVXML_API CXmlTypeCollection : public CXmlCollectionBase {
public:
    // The ten facet arguments go to the restrictions in this order; a null format counts as empty.
    CXmlTypeCollection(ItemType kind, const char16_t* elementName, const char16_t* namespaceUri, int32_t minOccurs,
                       int32_t maxOccurs, const char16_t* pattern, int32_t minLength, int32_t maxLength,
                       const char16_t* minInclusive, const char16_t* maxInclusive, const char16_t* minExclusive,
                       const char16_t* maxExclusive, int32_t length, int32_t totalDigits, int32_t fractionDigits,
                       CWhitespaceUtils::WhitespaceRule whitespaceRule, const char16_t* formatOverride);
    CXmlTypeCollection(const CXmlTypeCollection& other);
    CXmlTypeCollection& operator=(const CXmlTypeCollection& other);
    ~CXmlTypeCollection() override;

    // Takes every following sibling, from `element` on, whose name matches the collection's
    // element name and namespace, and adds its text. Returns the first that does not match, or null.
    CXmlElement* FromXml_Int(CXmlElement* parent, CXmlElement* element, const CSerializationContext& context,
                             bool ignoreMissingChoice) override;

    const CPrimitiveRestrictions& GetRestrictions() const { return m_restrictions; }
    ItemType GetItemType() const { return m_itemType; }
    const std::u16string& GetFormatOverride() const { return m_formatOverride; }
    CWhitespaceUtils::WhitespaceRule GetWhitespaceRule() const { return m_whitespaceRule; }

protected:
    // Converts the text by the collection's kind and rule, checks it and adds it.
    virtual void AddFromString(const std::u16string& text) = 0;

    CPrimitiveRestrictions m_restrictions;
    ItemType m_itemType;
    std::u16string m_formatOverride;
    CWhitespaceUtils::WhitespaceRule m_whitespaceRule;
};

} // namespace KvXmlLib16
