#pragma once

#include <cstdint>
#include <string>

#include "kvxml/binding/CElementInfo.h"
#include "kvxml/platform/KvExport.h"
#include "kvxml/values/CWhitespaceUtils.h"
#include "kvxml/values/CPrimitiveRestrictions.h"
#include "kvxml/values/KvVariant.h"

namespace KvXmlLib16 {
class CXmlAttribute;
}

namespace KvXmlLib16Data {

// Base of every attribute record of a generated class.
class KVXML_API CAttributeInfo {
public:
    typedef KvXmlLib16::CSerializationContext Context;
    typedef KvXmlLib16::CXmlGeneratedClass Object;
    typedef KvXmlLib16::CXmlWriter Writer;
    typedef KvXmlLib16::CXmlAttribute Attribute;

    CAttributeInfo(const CAttributeInfo& other) = default;
    CAttributeInfo& operator=(const CAttributeInfo& other) = default;
    virtual ~CAttributeInfo();

    virtual void AttributeToXml(const Context& context, const Object* object, Writer* writer) const = 0;
    // true if this record took the attribute
    virtual bool AttributeFromXml(const Context& context, Object* object, Attribute* attribute) const = 0;
    virtual void Validate(const Context& context, bool found) const = 0;

    std::u16string GetAttributeName() const { return m_attributeName; }
    std::u16string GetAttributeNamespace() const { return m_attributeNamespace; }
    int32_t GetPropertyIndex() const { return m_propertyIndex; }
    bool IsOptional() const { return m_optional; }
    std::u16string GetDefaultValue() const { return m_defaultValue; }

    bool IsThisAttribute(const Context& context, const Attribute* attribute) const;
    void InvokePropertyGet(Object* object, KvXmlLib16::KvVariant& value) const;
    void InvokePropertySet(Object* object, KvXmlLib16::KvVariant& value, const Attribute* attribute) const;
    void ReadProperty(const Object* object, KvXmlLib16::KvVariant& value) const;
    static std::u16string GetTargetNamespace(KvXmlLib16::CXmlObjectBase* object);
    static bool IsNamespaceValid(const char16_t* ns, const char16_t* pattern, const char16_t* targetNamespace);
    static void TestNamespace(const char16_t* ns, const char16_t* pattern, const char16_t* targetNamespace);
    static void ToXml_Int(KvXmlLib16::CXmlObjectBase* object, Writer* writer, bool isRoot, const char16_t* ns,
                          const Context& context);

protected:
    CAttributeInfo(const char16_t* attributeName, const char16_t* attributeNamespace, int32_t propertyIndex,
                   bool optional, const char16_t* defaultValue);
    // The failure shared by the value records: a mandatory attribute that was not there.
    void ValidateValue(bool found) const;

    std::u16string m_attributeName;
    std::u16string m_attributeNamespace;
    int32_t m_propertyIndex;
    bool m_optional;
    std::u16string m_defaultValue;
};

// xs:anyAttribute: the property holds a CAttributeCol that takes every attribute whose namespace fits.
class KVXML_API CAttributeInfoAny : public CAttributeInfo {
public:
    CAttributeInfoAny(const char16_t* attributeName, const char16_t* attributeNamespace, int32_t propertyIndex,
                      bool optional, const char16_t* namespacePattern, const char16_t* targetNamespace,
                      const char16_t* defaultValue);
    void AttributeToXml(const Context& context, const Object* object, Writer* writer) const override;
    bool AttributeFromXml(const Context& context, Object* object, Attribute* attribute) const override;
    void Validate(const Context& context, bool found) const override;

protected:
    std::u16string m_namespacePattern;
    std::u16string m_targetNamespace;
};

class KVXML_API CAttributeInfoEnum : public CAttributeInfo {
public:
    CAttributeInfoEnum(const char16_t* attributeName, const char16_t* attributeNamespace, int32_t propertyIndex,
                       bool optional, EnumToTextFunc enumToText, EnumFromTextFunc enumFromText,
                       const char16_t* defaultValue);
    void AttributeToXml(const Context& context, const Object* object, Writer* writer) const override;
    bool AttributeFromXml(const Context& context, Object* object, Attribute* attribute) const override;
    void Validate(const Context& context, bool found) const override;

protected:
    EnumFromTextFunc m_enumFromText;
    EnumToTextFunc m_enumToText;
};

class KVXML_API CAttributeInfoPrimitive : public CAttributeInfo {
public:
    CAttributeInfoPrimitive(const char16_t* attributeName, const char16_t* attributeNamespace, int32_t propertyIndex,
                            bool optional, KvXmlLib16::ItemType itemType, const char16_t* formatOverride,
                            KvXmlLib16::CWhitespaceUtils::WhitespaceRule whitespaceRule,
                            const KvXmlLib16::CPrimitiveRestrictions& restrictions, const char16_t* defaultValue);
    void AttributeToXml(const Context& context, const Object* object, Writer* writer) const override;
    bool AttributeFromXml(const Context& context, Object* object, Attribute* attribute) const override;
    void Validate(const Context& context, bool found) const override;
    void CheckRestriction(KvXmlLib16::KvVariant value) const;

protected:
    KvXmlLib16::CPrimitiveRestrictions m_restrictions;
    KvXmlLib16::ItemType m_itemType;
    std::u16string m_formatOverride;
    KvXmlLib16::CWhitespaceUtils::WhitespaceRule m_whitespaceRule;
};

} // namespace KvXmlLib16Data
