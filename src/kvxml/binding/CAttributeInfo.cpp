#include "kvxml/binding/CAttributeInfo.h"

#include "kvxml/base/CKvException.h"
#include "kvxml/base/FormatString.h"
#include "kvxml/binding/BindingHelpers.h"
#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/binding/CXmlGeneratedClass.h"
#include "kvxml/collections/CAttributeCol.h"
#include "kvxml/output/CXmlWriter.h"
#include "kvxml/xml/CXmlElement.h"

namespace KvXmlLib16Data {

using namespace KvXmlLib16;

CAttributeInfo::CAttributeInfo(const char16_t* attributeName, const char16_t* attributeNamespace, int32_t propertyIndex,
                               bool optional, const char16_t* defaultValue)
    : m_attributeName(attributeName ? attributeName : u""),
      m_attributeNamespace(attributeNamespace ? attributeNamespace : u""),
      m_propertyIndex(propertyIndex),
      m_optional(optional),
      m_defaultValue(defaultValue ? defaultValue : u"") {}

CAttributeInfo::~CAttributeInfo() = default;

bool CAttributeInfo::IsThisAttribute(const Context& context, const Attribute* attribute) const {
    if (!attribute) return false;
    if (!BindingHelpers::SameText(attribute->GetLocalName(), m_attributeName)) return false;
    if (context.GetIgnoreNamespaces()) return true;
    return BindingHelpers::SameText(attribute->GetNamespaceURI(), m_attributeNamespace);
}

void CAttributeInfo::InvokePropertyGet(Object* object, KvVariant& value) const {
    try {
        object->AccessProperty(m_propertyIndex, true, value);
    } catch (const CKvException& e) {
        throw CKvValidationException(
            FormatString(u"Failed to get the property value for [%s].", m_attributeName.c_str()), std::u16string(), e);
    }
}

void CAttributeInfo::InvokePropertySet(Object* object, KvVariant& value, const Attribute* attribute) const {
    try {
        object->AccessProperty(m_propertyIndex, false, value);
    } catch (const CKvException& e) {
        throw CKvValidationException(FormatString(u"Failed to set the property value [%s].",
                                                  attribute ? std::u16string(attribute->ValueView()).c_str() : u""),
                                     attribute ? attribute->GetXPath() : u"", e);
    }
}

void CAttributeInfo::ReadProperty(const Object* object, KvVariant& value) const {
    InvokePropertyGet(const_cast<Object*>(object), value);
}

std::u16string CAttributeInfo::GetTargetNamespace(CXmlObjectBase* object) { return object->GetTargetNamespace(); }

bool CAttributeInfo::IsNamespaceValid(const char16_t* ns, const char16_t* pattern, const char16_t* targetNamespace) {
    return CXmlObjectBase::IsNamespaceValid(ns, pattern, targetNamespace);
}

void CAttributeInfo::TestNamespace(const char16_t* ns, const char16_t* pattern, const char16_t* targetNamespace) {
    CXmlObjectBase::TestNamespace(ns, pattern, targetNamespace);
}

void CAttributeInfo::ToXml_Int(CXmlObjectBase* object, Writer* writer, bool isRoot, const char16_t* ns,
                               const Context& context) {
    CXmlObjectBase::ToXml_Int(object, writer, isRoot, ns, context, false);
}

void CAttributeInfo::ValidateValue(bool found) const {
    if (!m_optional && !found)
        throw CKvValidationException(
            FormatString(u"Failed to find the required Attribute [%s].", m_attributeName.c_str()), std::u16string());
}

// ---- any --------------------------------------------------------------------------------------

CAttributeInfoAny::CAttributeInfoAny(const char16_t* attributeName, const char16_t* attributeNamespace,
                                     int32_t propertyIndex, bool optional, const char16_t* namespacePattern,
                                     const char16_t* targetNamespace, const char16_t* defaultValue)
    : CAttributeInfo(attributeName, attributeNamespace, propertyIndex, optional, defaultValue),
      m_namespacePattern(namespacePattern ? namespacePattern : u""),
      m_targetNamespace(targetNamespace ? targetNamespace : u"") {}

void CAttributeInfoAny::AttributeToXml(const Context& context, const Object* object, Writer* writer) const {
    KvVariant value;
    ReadProperty(object, value);
    const std::u16string ns = GetTargetNamespace(const_cast<Object*>(object));
    CSmartPtr<CXmlObjectBase> attributes = BindingHelpers::ObjectOf(value);
    if (!attributes) return;
    ToXml_Int(attributes, writer, false, ns.c_str(), context);
}

bool CAttributeInfoAny::AttributeFromXml(const Context&, Object* object, Attribute* attribute) const {
    if (!IsNamespaceValid(attribute->GetNamespaceURI().c_str(), m_namespacePattern.c_str(), m_targetNamespace.c_str()))
        return false;
    KvVariant value;
    InvokePropertyGet(object, value);
    CSmartPtr<CXmlObjectBase> held = BindingHelpers::ObjectOf(value);
    CAttributeCol* attributes = dynamic_cast<CAttributeCol*>(held.get());
    if (!attributes)
        throw CKvException(u"Serialization Data Error : The collection should be a CAttributeCol, it was not!");
    attributes->Add(attribute->GetLocalName().c_str(), std::u16string(attribute->ValueView()).c_str(),
                    attribute->GetNamespaceURI().c_str());
    return true;
}

void CAttributeInfoAny::Validate(const Context&, bool) const {}

// ---- enumeration ------------------------------------------------------------------------------

CAttributeInfoEnum::CAttributeInfoEnum(const char16_t* attributeName, const char16_t* attributeNamespace,
                                       int32_t propertyIndex, bool optional, EnumToTextFunc enumToText,
                                       EnumFromTextFunc enumFromText, const char16_t* defaultValue)
    : CAttributeInfo(attributeName, attributeNamespace, propertyIndex, optional, defaultValue),
      m_enumFromText(enumFromText),
      m_enumToText(enumToText) {}

void CAttributeInfoEnum::AttributeToXml(const Context& context, const Object* object, Writer* writer) const {
    KvVariant value;
    ReadProperty(object, value);
    if (m_optional && value.GetTypeAsEnum() == ItemType_Invalid && !value.IsNil()) return;
    if (!m_enumToText)
        throw CKvException(FormatString(u"No enumeration function is set for [%s].", m_attributeName.c_str()));
    const char16_t* enumText = m_enumToText(value.GetI4());
    if (!enumText)
        throw CKvInvalidValueException(
            FormatString(u"Invalid enumeration value %d for [%s].", value.GetI4(), m_attributeName.c_str()));
    const std::u16string text = enumText;
    if (m_optional && !m_defaultValue.empty() && context.GetNoOptionalAttributeDefaultOutput() &&
        text == m_defaultValue)
        return;
    writer->WriteAttribute(m_attributeName, m_attributeNamespace, text, ItemType_string);
}

bool CAttributeInfoEnum::AttributeFromXml(const Context& context, Object* object, Attribute* attribute) const {
    if (!IsThisAttribute(context, attribute)) return false;
    if (!m_enumFromText)
        throw CKvException(FormatString(u"No enumeration function is set for [%s].", m_attributeName.c_str()));
    KvVariant value;
    value.SetI4(m_enumFromText(std::u16string(attribute->ValueView()).c_str()));
    InvokePropertySet(object, value, attribute);
    return true;
}

void CAttributeInfoEnum::Validate(const Context&, bool found) const { ValidateValue(found); }

// ---- primitive --------------------------------------------------------------------------------

CAttributeInfoPrimitive::CAttributeInfoPrimitive(const char16_t* attributeName, const char16_t* attributeNamespace,
                                                 int32_t propertyIndex, bool optional, ItemType itemType,
                                                 const char16_t* formatOverride,
                                                 CWhitespaceUtils::WhitespaceRule whitespaceRule,
                                                 const CPrimitiveRestrictions& restrictions,
                                                 const char16_t* defaultValue)
    : CAttributeInfo(attributeName, attributeNamespace, propertyIndex, optional, defaultValue),
      m_restrictions(restrictions),
      m_itemType(itemType),
      m_formatOverride(formatOverride ? formatOverride : u""),
      m_whitespaceRule(whitespaceRule) {}

void CAttributeInfoPrimitive::AttributeToXml(const Context& context, const Object* object, Writer* writer) const {
    KvVariant value;
    ReadProperty(object, value);
    // An unset optional attribute is left out; a mandatory one goes on and fails in ToString.
    if (m_optional && value.GetTypeAsEnum() == ItemType_Invalid && !value.IsNil()) return;
    const std::u16string text = value.ToString(m_formatOverride.c_str());
    if (m_optional && !m_defaultValue.empty() && context.GetNoOptionalAttributeDefaultOutput() &&
        text == m_defaultValue)
        return;
    CheckRestriction(value);
    writer->WriteAttribute(m_attributeName, m_attributeNamespace, text, value.GetTypeAsEnum());
}

bool CAttributeInfoPrimitive::AttributeFromXml(const Context&, Object* object, Attribute* attribute) const {
    // An exact test on purpose: ignoring namespaces does not reach primitive attributes.
    if (!BindingHelpers::SameText(attribute->GetLocalName(), m_attributeName) ||
        !BindingHelpers::SameText(attribute->GetNamespaceURI(), m_attributeNamespace))
        return false;
    KvVariant value;
    value.FromString(attribute->ValueView(), m_itemType, m_whitespaceRule);
    value.SetTransient();
    InvokePropertySet(object, value, attribute);
    return true;
}

void CAttributeInfoPrimitive::Validate(const Context&, bool found) const { ValidateValue(found); }

void CAttributeInfoPrimitive::CheckRestriction(KvVariant value) const {
    BindingHelpers::CheckFacets(m_attributeName.c_str(), value, m_itemType, m_restrictions);
}

} // namespace KvXmlLib16Data
