#pragma once

#include <string>

#include "kvxml/base/CInstanceMonitor.h"
#include "kvxml/base/CSmartPtr.h"
#include "kvxml/binding/CXmlObjectBase.h"
#include "kvxml/platform/KvExport.h"

namespace KvXmlLib16 {

class CAttributeCol;

// One untyped attribute of an xs:anyAttribute wildcard. Made by CAttributeCol; read only
// through its collection.
class KVXML_API CAttribute : public CXmlObjectBase, public CInstanceMonitor {
public:
    CAttribute(const CAttribute& other) = default;
    CAttribute& operator=(const CAttribute& other) = default;
    ~CAttribute() override;

    CXmlObjectBase* GetBase() override { return this; }
    std::u16string GetTargetNamespace() override { return m_namespace; }
    std::u16string GetNamespace() override { return m_namespace; }

    const std::u16string& GetName() const { return m_name; }
    void SetName(const char16_t* name) { m_name = name ? name : u""; }
    const std::u16string& GetValue() const { return m_value; }
    void SetValue(const char16_t* value) { m_value = value ? value : u""; }
    void SetNamespace(const char16_t* namespaceUri) { m_namespace = namespaceUri ? namespaceUri : u""; }

    CSmartPtr<CAttribute> Clone() const;

    // Writes itself as an attribute of the current start tag.
    void ToXml_Int(CXmlWriter* writer, bool isRoot, const char16_t* namespaceUri, const CSerializationContext& context,
                   bool noErrorOnEmptyChoice) const override;
    // Attributes are read by their collection; this always throws.
    CXmlElement* FromXml_Int(CXmlElement* element, CXmlElement* firstChild, const CSerializationContext& context,
                             bool ignoreMissingChoice) override;

protected:
    friend class CAttributeCol;
    CAttribute(const char16_t* name, const char16_t* value, const char16_t* namespaceUri);

    std::u16string m_name;
    std::u16string m_value;
    std::u16string m_namespace;
};

} // namespace KvXmlLib16
