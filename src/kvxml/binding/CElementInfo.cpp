#include "kvxml/binding/CElementInfo.h"

#include "kvxml/base/CKvException.h"
#include "kvxml/base/FormatString.h"
#include "kvxml/binding/BindingHelpers.h"
#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/binding/CXmlGeneratedClass.h"
#include "kvxml/collections/CElement.h"
#include "kvxml/collections/CElementCol.h"
#include "kvxml/collections/CXmlCollectionBase.h"
#include "kvxml/output/CXmlWriter.h"
#include "kvxml/xml/CXmlElement.h"

namespace KvXmlLib16Data {

using namespace KvXmlLib16;

CElementInfo::CElementInfo(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex)
    : m_elementName(elementName ? elementName : u""),
      m_elementNamespace(elementNamespace ? elementNamespace : u""),
      m_propertyIndex(propertyIndex),
      m_itemType(ItemType_Invalid),
      m_whitespaceRule(CWhitespaceUtils::WhitespaceRule_None),
      m_nillable(false),
      m_enumToText(nullptr),
      m_enumFromText(nullptr),
      m_isPrimitive(false),
      m_usesNamespace(false) {}

CElementInfo::CElementInfo(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex,
                           bool nillable, EnumToTextFunc enumToText, EnumFromTextFunc enumFromText,
                           const char16_t* defaultValue)
    : CElementInfo(elementName, elementNamespace, propertyIndex) {
    m_nillable = nillable;
    m_enumToText = enumToText;
    m_enumFromText = enumFromText;
    m_defaultValue = defaultValue ? defaultValue : u"";
}

CElementInfo::CElementInfo(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex,
                           bool nillable, ItemType itemType, const char16_t* formatOverride,
                           CWhitespaceUtils::WhitespaceRule whitespaceRule, const CPrimitiveRestrictions& restrictions,
                           const char16_t* defaultValue)
    : CElementInfo(elementName, elementNamespace, propertyIndex) {
    m_nillable = nillable;
    m_itemType = itemType;
    m_formatOverride = formatOverride ? formatOverride : u"";
    m_whitespaceRule = whitespaceRule;
    m_restrictions = restrictions;
    m_defaultValue = defaultValue ? defaultValue : u"";
    m_isPrimitive = true;
}

CElementInfo::~CElementInfo() = default;

bool CElementInfo::Validate(const Context&, const Object*, bool, bool) const {
    throw CKvException(u"Not implemented, should never be called");
}

void CElementInfo::PseudoChildAttributeToXml(const Context&, const Object*, Writer*) const {}

bool CElementInfo::IsThisElement(const Context& context, const Element* element) const {
    if (!element) return false;
    if (!BindingHelpers::SameText(element->GetLocalName(), m_elementName)) return false;
    if (context.GetIgnoreNamespaces()) return true;
    return BindingHelpers::SameText(element->GetNamespaceURI(), m_elementNamespace);
}

void CElementInfo::InvokePropertyGet(Object* object, KvVariant& value) const {
    try {
        object->AccessProperty(m_propertyIndex, true, value);
    } catch (const CKvException& e) {
        throw CKvValidationException(FormatString(u"Failed to get the property value for [%s].", m_elementName.c_str()),
                                     std::u16string(), e);
    }
}

void CElementInfo::InvokePropertySet(Object* object, KvVariant& value, const Element* element) const {
    try {
        object->AccessProperty(m_propertyIndex, false, value);
    } catch (const CKvException& e) {
        throw CKvValidationException(u"Failed to set the property value.", element ? element->GetXPath() : u"", e);
    }
}

void CElementInfo::ReadProperty(const Object* object, KvVariant& value) const {
    // Reading a property does not change the object; AccessProperty merely serves both directions.
    InvokePropertyGet(const_cast<Object*>(object), value);
}

void CElementInfo::CheckRestriction(const KvVariant& value) const {
    if (!m_isPrimitive) throw CKvException(u"Cannot CheckRestriction for type: " + value.GetType());
    BindingHelpers::CheckFacets(m_elementName.c_str(), value, m_itemType, m_restrictions);
}

std::u16string CElementInfo::GetAnyDefaultNamespace(const char16_t* pattern, const char16_t* defaultNamespace,
                                                    const char16_t* targetNamespace) {
    const std::u16string p = pattern ? pattern : u"";
    const std::u16string def = defaultNamespace ? defaultNamespace : u"";
    if (p == u"##any") return def;
    if (p == u"##other") return def.empty() ? std::u16string(u"DefaultNamespace") : std::u16string();
    if (p == u"##local") return std::u16string();
    if (p == u"##targetNamespace") return targetNamespace ? targetNamespace : u"";
    const size_t blank = p.find(u' ');
    if (blank != std::u16string::npos && p.size() >= 3 && p.compare(0, 2, u"##") == 0) {
        const std::u16string first = p.substr(0, blank);
        return GetAnyDefaultNamespace(first.c_str(), defaultNamespace, targetNamespace);
    }
    return std::u16string();
}

CSmartPtr<CXmlObjectBase> CElementInfo::GetPropertyObject(const Object* object) const {
    KvVariant value;
    ReadProperty(object, value);
    return BindingHelpers::ObjectOf(value);
}

bool CElementInfo::ElementToXmlCls(const Context& context, const Object* object, Writer* writer,
                                   bool noErrorOnEmptyChoice) const {
    CSmartPtr<CXmlObjectBase> child = GetPropertyObject(object);
    if (!child) return false;
    CXmlObjectBase::ToXml_Int(child, writer, false, m_elementNamespace.c_str(), context, noErrorOnEmptyChoice);
    return true;
}

bool CElementInfo::ElementToXmlCol(const Context& context, const Object* object, Writer* writer) const {
    CSmartPtr<CXmlCollectionBase> collection = BindingHelpers::CollectionOf(GetPropertyObject(object));
    // A property that holds no collection has nothing to write.
    if (!collection || collection->GetCount() < 1) return false;
    BindingHelpers::SetCollectionState(writer, 1);
    CXmlObjectBase* base = collection->GetBase();
    CXmlObjectBase::ToXml_Int(base, writer, false, m_elementNamespace.c_str(), context, false);
    BindingHelpers::SetCollectionState(writer, 3);
    return true;
}

bool CElementInfo::WriteValueElement(const Object* object, Writer* writer, EnumToTextFunc enumToText) const {
    KvVariant value;
    ReadProperty(object, value);
    if (value.IsNil()) {
        writer->WriteStartElement(m_elementName, m_elementNamespace);
        writer->WriteXsiNil();
        writer->WriteEndElement();
        return true;
    }
    if (value.GetTypeAsEnum() == ItemType_Invalid) return false;

    std::u16string text;
    ItemType kind = value.GetTypeAsEnum();
    if (enumToText) {
        const char16_t* enumText = enumToText(value.GetI4());
        if (!enumText)
            throw CKvInvalidValueException(
                FormatString(u"Invalid enumeration value %d for [%s].", value.GetI4(), m_elementName.c_str()));
        text = enumText;
        kind = ItemType_string;
    } else {
        text = value.ToString(m_formatOverride.c_str());
    }
    // A value equal to the default is not tested: the schema vouches for its own default.
    const bool isDefault = !m_defaultValue.empty() && text == m_defaultValue;
    if (!isDefault && !enumToText) CheckRestriction(value);
    writer->WriteStartElement(m_elementName, m_elementNamespace);
    writer->WriteElementText(text, kind, isDefault);
    writer->WriteEndElement();
    return true;
}

bool CElementInfo::ElementToXmlPrim(const Context&, const Object* object, Writer* writer) const {
    return WriteValueElement(object, writer, nullptr);
}

bool CElementInfo::ElementToXmlEnum(const Context&, const Object* object, Writer* writer,
                                    EnumToTextFunc enumToText) const {
    if (!enumToText)
        throw CKvException(FormatString(u"No enumeration function is set for [%s].", m_elementName.c_str()));
    return WriteValueElement(object, writer, enumToText);
}

void CElementInfo::ReadValueElement(const Context& context, Object* object, Element** current, bool asEnum) const {
    Element* element = *current;
    KvVariant value;
    bool nilSeen = false;
    for (const CXmlAttribute* attribute : element->AttributeSpan()) {
        if (attribute->IsNilAttribute()) {
            const std::u16string_view text = attribute->ValueView();
            if (BindingHelpers::EqualsNoCase(text, u"false") || BindingHelpers::EqualsNoCase(text, u"0")) {
                nilSeen = false;
                continue;
            }
            nilSeen = true;
            if (!m_nillable)
                throw CKvValidationException(u"Invalid use of 'nil' attribute in non-nillable element.",
                                             element->GetXPath());
            if (BindingHelpers::EqualsNoCase(text, u"true") || BindingHelpers::EqualsNoCase(text, u"1")) {
                value.SetNil();
            } else {
                throw CKvValidationException(
                    FormatString(u"Unexpected Value [%s] for 'nil' Attribute found.", std::u16string(text).c_str()),
                    attribute->GetXPath());
            }
        } else if (!context.GetIgnoreUnknownAttributes()) {
            throw CKvValidationException(u"Unexpected Attribute found.", attribute->GetXPath());
        }
    }
    Element* next = element->GetNextSiblingElement();
    if (nilSeen) {
        // A nil element leaves the property as it was.
        *current = next;
        return;
    }
    BindingHelpers::RefuseChildElements(element, element->GetFirstElement(), context.GetIgnoreUnknownElements());
    const std::u16string_view text = element->TextView();
    const std::u16string_view source = (text.empty() && !m_defaultValue.empty()) ? m_defaultValue : text;
    if (asEnum) {
        if (!m_enumFromText)
            throw CKvException(FormatString(u"No enumeration function is set for [%s].", m_elementName.c_str()));
        value.SetI4(m_enumFromText(std::u16string(source).c_str()));
    } else {
        value.FromString(source, m_itemType, m_whitespaceRule);
        value.SetTransient();
    }
    InvokePropertySet(object, value, element);
    *current = next;
}

void CElementInfo::ElementFromXmlPrim(const Context& context, Object* object, Element** current) const {
    ReadValueElement(context, object, current, false);
}

void CElementInfo::ElementFromXmlEnum(const Context& context, Object* object, Element** current) const {
    ReadValueElement(context, object, current, true);
}

void CElementInfo::ThrowMissingChild(const Element* parent) const {
    throw CKvValidationException(
        FormatString(u"Failed to find the required child element [%s].", m_elementName.c_str()),
        parent ? parent->GetXPath() : u"");
}

CXmlElement* CElementInfo::FromXml_Int(CXmlObjectBase* object, Element* element, Element* firstChild,
                                       const Context& context, bool ignoreMissingChoice) {
    return BindingHelpers::CallFromXml(object, element, firstChild, context, ignoreMissingChoice);
}

void CElementInfo::AttributesToXml_Int(CXmlObjectBase* object, Writer* writer, const Context& context) {
    CXmlObjectBase::AttributesToXml_Int(object, writer, context);
}

bool CElementInfo::MandatoryRule(bool written) const {
    if (!written)
        throw CKvInvalidParamException(
            FormatString(u"The Property [%s] is mandatory, it may not be NULL", m_elementName.c_str()));
    return true;
}

CSmartPtr<CXmlCollectionBase> CElementInfo::GetPropertyCollection(const Object* object) const {
    CSmartPtr<CXmlCollectionBase> collection = BindingHelpers::CollectionOf(GetPropertyObject(object));
    if (!collection)
        throw CKvException(FormatString(u"The property [%s] does not hold a collection.", m_elementName.c_str()));
    return collection;
}

CSmartPtr<CXmlObjectBase> CElementInfo::GetRequiredObject(const Object* object) const {
    CSmartPtr<CXmlObjectBase> child = GetPropertyObject(object);
    if (!child) throw CKvException(FormatString(u"The property [%s] does not hold an object.", m_elementName.c_str()));
    return child;
}

bool CElementInfo::CollectionRule(const Context& context, const Object* object, Writer* writer,
                                  bool validateCount) const {
    if (validateCount && !context.GetIgnoreInvalidCollectionCounts()) {
        CSmartPtr<CXmlCollectionBase> collection = BindingHelpers::CollectionOf(GetPropertyObject(object));
        if (collection) collection->ValidateCount(context);
    }
    return ElementToXmlCol(context, object, writer);
}

void CElementInfo::ClassAttributesToParent(const Context& context, const Object* object, Writer* writer,
                                           XmlElementType recordType) const {
    if (recordType != XmlElementType_Pseudo) return;
    CSmartPtr<CXmlObjectBase> child = GetPropertyObject(object);
    if (child) AttributesToXml_Int(child, writer, context);
}

void CElementInfo::CollectionAttributesToParent(const Context& context, const Object* object, Writer* writer,
                                                XmlElementType recordType) const {
    if (recordType != XmlElementType_Pseudo) return;
    AttributesToXml_Int(GetPropertyCollection(object).get(), writer, context);
}

void CElementInfo::ReadOwnElement(const Context& context, CXmlObjectBase* child, Element** current,
                                  bool ignoreMissingChoice) const {
    Element* element = *current;
    FromXml_Int(child, element, element->GetFirstElement(), context, ignoreMissingChoice);
    *current = element->GetNextSiblingElement();
}

CSmartPtr<CXmlObjectBase> CElementInfo::CreateByClassId(ClassCreatorFunc creator, int32_t classId,
                                                        const std::u16string& name) {
    if (!creator) throw CKvException(FormatString(u"No creator function is set for [%s].", name.c_str()));
    CSmartPtr<CXmlObjectBase> created = creator(classId, name.c_str());
    if (!created) throw CKvException(FormatString(u"The creator function made no object for [%s].", name.c_str()));
    return created;
}

CSmartPtr<CXmlObjectBase> CElementInfo::CreateByElement(ElementCreatorFunc creator, Element* element,
                                                        const std::u16string& name) {
    if (!creator) throw CKvException(FormatString(u"No creator function is set for [%s].", name.c_str()));
    return creator(element);
}

CSmartPtr<CXmlObjectBase> CElementInfo::MakeWildcard(const std::u16string& pattern, const char16_t* ns,
                                                     const std::u16string& targetNamespace) const {
    const std::u16string defaultNamespace = GetAnyDefaultNamespace(pattern.c_str(), ns, targetNamespace.c_str());
    return CSmartPtr<CXmlObjectBase>(
        new CElement(m_elementName.c_str(), defaultNamespace.c_str(), pattern.c_str(), targetNamespace.c_str()));
}

CXmlElement* CElementInfo::ReadWildcard(const Context& context, CXmlObjectBase* wildcard, Element* parent,
                                        Element* current) const {
    if (m_elementName == BindingHelpers::kAnyElement || current->GetLocalName() == m_elementName)
        return FromXml_Int(wildcard, parent, current, context, false);
    return current;
}

void CElementInfo::ReadNewChild(const Context& context, Object* object, Element* parent, Element** current,
                                const CSmartPtr<CXmlObjectBase>& child) const {
    KvVariant value;
    value.SetXmlObject(child);
    ReadOwnElement(context, child, current, false);
    InvokePropertySet(object, value, parent);
}

bool CElementInfo::ReadNewContent(const Context& context, Object* object, Element* parent, Element** current,
                                  const CSmartPtr<CXmlObjectBase>& child) const {
    Element* result = FromXml_Int(child, parent, *current, context, false);
    const bool took = result != *current;
    if (took) {
        KvVariant value;
        value.SetXmlObject(child);
        InvokePropertySet(object, value, parent);
    }
    *current = result;
    return took;
}

bool CElementInfo::TakeChildByElement(const Context& context, Object* object, Element* parent, Element** current,
                                      ElementCreatorFunc creator, XmlElementType recordType) const {
    // A creator that returns null is not allowed here.
    auto create = [&]() {
        CSmartPtr<CXmlObjectBase> created = CreateByElement(creator, *current, m_elementName);
        if (!created)
            throw CKvException(FormatString(u"The creator function made no object for [%s].", m_elementName.c_str()));
        return created;
    };
    if (recordType != XmlElementType_Element) return ReadNewContent(context, object, parent, current, create());
    if (!IsThisElement(context, *current)) return false;
    ReadNewChild(context, object, parent, current, create());
    return true;
}

CXmlElement* CElementInfo::ReadUntypedCollection(const Context& context, Object* object, Element* parent,
                                                 Element* current, CSmartPtr<CXmlCollectionBase>& collection) const {
    CSmartPtr<CXmlObjectBase> held = GetRequiredObject(object);
    CElementCol* elements = dynamic_cast<CElementCol*>(held.get());
    if (!elements)
        throw CKvException(
            FormatString(u"The property [%s] does not hold an element collection.", m_elementName.c_str()));
    collection = elements;
    if (m_elementName == BindingHelpers::kAnyElement) return FromXml_Int(elements, parent, current, context, false);
    // With no element left there is no namespace to lock to; the empty one matches nothing present.
    const std::u16string ns = current ? current->GetNamespaceURI() : std::u16string();
    return elements->FromXmlLockElementName_Int(m_elementName.c_str(), ns.c_str(), parent, current, context, false);
}

} // namespace KvXmlLib16Data
