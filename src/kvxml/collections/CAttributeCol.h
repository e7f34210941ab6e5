#pragma once

#include <cstdint>
#include <string>

#include "kvxml/base/CInstanceMonitor.h"
#include "kvxml/base/CSmartPtr.h"
#include "kvxml/collections/CAttribute.h"
#include "kvxml/collections/CXmlCollection.h"
#include "kvxml/platform/KvExport.h"

namespace KvXmlLib16 {

// The attributes of an xs:anyAttribute wildcard, with the wildcard's namespace restriction and
// the target namespace it is read against. Its namespace is the collection's namespace.
class KVXML_API CAttributeCol : public CXmlCollection, public CInstanceMonitor {
public:
    // An empty namespace is taken from the restriction when its first token is a literal URI.
    CAttributeCol(const char16_t* namespaceUri, const char16_t* restriction, const char16_t* targetNamespace);
    CAttributeCol(const CAttributeCol& other) = default;
    CAttributeCol& operator=(const CAttributeCol& other) = default;
    ~CAttributeCol() override;

    // Both give the collection's namespace.
    std::u16string GetTargetNamespace() override { return m_namespace; }

    // Each form tests the namespace against the restriction before adding; the pointer form
    // only appends.
    CAttribute* Add(const char16_t* name, const char16_t* value, const char16_t* namespaceUri);
    CAttribute* Add(const char16_t* name, const char16_t* value);
    CAttribute* Add(const char16_t* name);
    CAttribute* Add(CAttribute* attribute);
    CSmartPtr<CAttribute> Item(int32_t index) const;

    CSmartPtr<CAttributeCol> Clone() const;

    const std::u16string& GetNamespaceRestriction() const { return m_restriction; }

    // Writes every attribute into the current start tag; the bounds are not looked at.
    void ToXml_Int(CXmlWriter* writer, bool isRoot, const char16_t* namespaceUri, const CSerializationContext& context,
                   bool noErrorOnEmptyChoice) const override;
    // Takes every attribute of `element`; one outside the restriction throws. Returns `cursor`.
    CXmlElement* FromXml_Int(CXmlElement* element, CXmlElement* cursor, const CSerializationContext& context,
                             bool ignoreMissingChoice) override;

protected:
    std::u16string m_restriction;
    std::u16string m_targetNamespace;
};

} // namespace KvXmlLib16
