#include "kvxml/binding/CElementInfoAll.h"

#include "kvxml/base/CKvException.h"
#include "kvxml/base/FormatString.h"
#include "kvxml/binding/BindingHelpers.h"
#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/binding/CXmlGeneratedClass.h"
#include "kvxml/collections/CXmlCollectionBase.h"
#include "kvxml/xml/CXmlElement.h"

namespace KvXmlLib16Data {

using namespace KvXmlLib16;

namespace {

// The rule of a mandatory value: a missing one fails only in a class with an element of its own.
bool MandatoryFound(const std::u16string& name, bool found, bool strict) {
    if (found || !strict) return found;
    throw CKvValidationException(FormatString(u"Failed to find the mandatory element [%s].", name.c_str()),
                                 std::u16string());
}

// A creator that returns null is not allowed in this group.
CSmartPtr<CXmlObjectBase> RequireCreated(CSmartPtr<CXmlObjectBase> created, const std::u16string& name) {
    if (!created) throw CKvException(FormatString(u"The creator function made no object for [%s].", name.c_str()));
    return created;
}

} // namespace

// ---- abstract classes -------------------------------------------------------------------------

CElementInfoAllAbsClsMnd::CElementInfoAllAbsClsMnd(const char16_t* elementName, const char16_t* elementNamespace,
                                                   int32_t propertyIndex, XmlElementType elementType,
                                                   ElementCreatorFunc creator, int32_t unused)
    : CElementInfo(elementName, elementNamespace, propertyIndex),
      m_elementType(elementType),
      m_creator(creator),
      m_unused(unused) {}

bool CElementInfoAllAbsClsMnd::ElementToXml(const Context& context, const Object* object, Writer* writer) const {
    return MandatoryRule(ElementToXmlCls(context, object, writer, false));
}

bool CElementInfoAllAbsClsMnd::ElementFromXml(const Context& context, Object* object, Element* parent,
                                              Element** current, const char16_t*, XmlElementType) const {
    if (m_elementType != XmlElementType_Element) {
        CSmartPtr<CXmlObjectBase> child = RequireCreated(CreateByElement(m_creator, *current, m_elementName),
                                                         m_elementName);
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
    if (!IsThisElement(context, *current)) return false;
    CSmartPtr<CXmlObjectBase> child = RequireCreated(CreateByElement(m_creator, *current, m_elementName),
                                                     m_elementName);
    KvVariant value;
    value.SetXmlObject(child);
    ReadOwnElement(context, child, current, false);
    InvokePropertySet(object, value, parent);
    return true;
}

bool CElementInfoAllAbsClsMnd::Validate(const Context&, const Object*, bool found, bool strict) const {
    return MandatoryFound(m_elementName, found, strict);
}

void CElementInfoAllAbsClsMnd::PseudoChildAttributeToXml(const Context& context, const Object* object,
                                                         Writer* writer) const {
    ClassAttributesToParent(context, object, writer, m_elementType);
}

CElementInfoAllAbsClsOpt::CElementInfoAllAbsClsOpt(const char16_t* elementName, const char16_t* elementNamespace,
                                                   int32_t propertyIndex, XmlElementType elementType,
                                                   ElementCreatorFunc creator)
    : CElementInfo(elementName, elementNamespace, propertyIndex), m_elementType(elementType), m_creator(creator) {}

bool CElementInfoAllAbsClsOpt::ElementToXml(const Context& context, const Object* object, Writer* writer) const {
    return ElementToXmlCls(context, object, writer, false);
}

bool CElementInfoAllAbsClsOpt::ElementFromXml(const Context& context, Object* object, Element* parent,
                                              Element** current, const char16_t*, XmlElementType) const {
    if (m_elementType != XmlElementType_Element) {
        // Unlike the mandatory form, a used-up group is tested first.
        if (!*current) return false;
        CSmartPtr<CXmlObjectBase> child = RequireCreated(CreateByElement(m_creator, *current, m_elementName),
                                                         m_elementName);
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
    if (!IsThisElement(context, *current)) return false;
    CSmartPtr<CXmlObjectBase> child = RequireCreated(CreateByElement(m_creator, *current, m_elementName),
                                                     m_elementName);
    KvVariant value;
    value.SetXmlObject(child);
    ReadOwnElement(context, child, current, false);
    InvokePropertySet(object, value, parent);
    return true;
}

bool CElementInfoAllAbsClsOpt::Validate(const Context&, const Object*, bool, bool) const { return true; }

void CElementInfoAllAbsClsOpt::PseudoChildAttributeToXml(const Context& context, const Object* object,
                                                         Writer* writer) const {
    ClassAttributesToParent(context, object, writer, m_elementType);
}

// ---- classes ----------------------------------------------------------------------------------

CElementInfoAllClsMnd::CElementInfoAllClsMnd(const char16_t* elementName, const char16_t* elementNamespace,
                                             int32_t propertyIndex, XmlElementType elementType,
                                             ClassCreatorFunc creator, int32_t classId, bool contentRequired)
    : CElementInfo(elementName, elementNamespace, propertyIndex),
      m_elementType(elementType),
      m_creator(creator),
      m_classId(classId),
      m_contentRequired(contentRequired) {}

bool CElementInfoAllClsMnd::ElementToXml(const Context& context, const Object* object, Writer* writer) const {
    return MandatoryRule(ElementToXmlCls(context, object, writer, false));
}

bool CElementInfoAllClsMnd::ElementFromXml(const Context& context, Object* object, Element* parent,
                                           Element** current, const char16_t*, XmlElementType) const {
    if (m_elementType != XmlElementType_Element) {
        Element* result = FromXml_Int(GetRequiredObject(object), parent, *current, context, false);
        const bool took = result != *current;
        *current = result;
        return took;
    }
    if (!IsThisElement(context, *current)) return false;
    ReadOwnElement(context, GetRequiredObject(object), current, false);
    return true;
}

bool CElementInfoAllClsMnd::Validate(const Context&, const Object*, bool found, bool strict) const {
    if (found || !strict) return found;
    // A group without an element of its own (type 2) that needs no content is satisfied; type 1 is not.
    if (m_elementType != XmlElementType_Pseudo && !m_contentRequired) return true;
    return MandatoryFound(m_elementName, found, strict);
}

void CElementInfoAllClsMnd::PseudoChildAttributeToXml(const Context& context, const Object* object,
                                                      Writer* writer) const {
    ClassAttributesToParent(context, object, writer, m_elementType);
}

CElementInfoAllClsOpt::CElementInfoAllClsOpt(const char16_t* elementName, const char16_t* elementNamespace,
                                             int32_t propertyIndex, XmlElementType elementType,
                                             ClassCreatorFunc creator, int32_t classId)
    : CElementInfo(elementName, elementNamespace, propertyIndex),
      m_elementType(elementType),
      m_creator(creator),
      m_classId(classId) {}

bool CElementInfoAllClsOpt::ElementToXml(const Context& context, const Object* object, Writer* writer) const {
    return ElementToXmlCls(context, object, writer, false);
}

bool CElementInfoAllClsOpt::ElementFromXml(const Context& context, Object* object, Element* parent,
                                           Element** current, const char16_t*, XmlElementType) const {
    if (m_elementType == XmlElementType_Element) {
        if (!IsThisElement(context, *current)) return false;
        CSmartPtr<CXmlObjectBase> child = CreateByClassId(m_creator, m_classId, m_elementName);
        KvVariant value;
        value.SetXmlObject(child);
        ReadOwnElement(context, child, current, false);
        InvokePropertySet(object, value, parent);
        return true;
    }
    if (!*current) return false;
    CSmartPtr<CXmlObjectBase> child = CreateByClassId(m_creator, m_classId, m_elementName);
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

bool CElementInfoAllClsOpt::Validate(const Context&, const Object*, bool, bool) const { return true; }

void CElementInfoAllClsOpt::PseudoChildAttributeToXml(const Context& context, const Object* object,
                                                      Writer* writer) const {
    ClassAttributesToParent(context, object, writer, m_elementType);
}

// ---- enumerations and primitives --------------------------------------------------------------

CElementInfoAllEnumMnd::CElementInfoAllEnumMnd(const char16_t* elementName, const char16_t* elementNamespace,
                                               int32_t propertyIndex, bool nillable, EnumToTextFunc enumToText,
                                               EnumFromTextFunc enumFromText, const char16_t* defaultValue)
    : CElementInfo(elementName, elementNamespace, propertyIndex, nillable, enumToText, enumFromText, defaultValue) {}

bool CElementInfoAllEnumMnd::ElementToXml(const Context& context, const Object* object, Writer* writer) const {
    return MandatoryRule(ElementToXmlEnum(context, object, writer, m_enumToText));
}

bool CElementInfoAllEnumMnd::ElementFromXml(const Context& context, Object* object, Element*, Element** current,
                                            const char16_t*, XmlElementType) const {
    if (!IsThisElement(context, *current)) return false;
    ElementFromXmlEnum(context, object, current);
    return true;
}

bool CElementInfoAllEnumMnd::Validate(const Context&, const Object*, bool found, bool strict) const {
    return MandatoryFound(m_elementName, found, strict);
}

CElementInfoAllEnumOpt::CElementInfoAllEnumOpt(const char16_t* elementName, const char16_t* elementNamespace,
                                               int32_t propertyIndex, bool nillable, EnumToTextFunc enumToText,
                                               EnumFromTextFunc enumFromText, const char16_t* defaultValue)
    : CElementInfo(elementName, elementNamespace, propertyIndex, nillable, enumToText, enumFromText, defaultValue) {}

bool CElementInfoAllEnumOpt::ElementToXml(const Context& context, const Object* object, Writer* writer) const {
    return ElementToXmlEnum(context, object, writer, m_enumToText);
}

bool CElementInfoAllEnumOpt::ElementFromXml(const Context& context, Object* object, Element*, Element** current,
                                            const char16_t*, XmlElementType) const {
    if (!IsThisElement(context, *current)) return false;
    ElementFromXmlEnum(context, object, current);
    return true;
}

bool CElementInfoAllEnumOpt::Validate(const Context&, const Object*, bool, bool) const { return true; }

CElementInfoAllPrimMnd::CElementInfoAllPrimMnd(const char16_t* elementName, const char16_t* elementNamespace,
                                               int32_t propertyIndex, bool nillable, ItemType itemType,
                                               const char16_t* formatOverride,
                                               CWhitespaceUtils::WhitespaceRule whitespaceRule,
                                               const CPrimitiveRestrictions& restrictions,
                                               const char16_t* defaultValue)
    : CElementInfo(elementName, elementNamespace, propertyIndex, nillable, itemType, formatOverride, whitespaceRule,
                   restrictions, defaultValue) {}

bool CElementInfoAllPrimMnd::ElementToXml(const Context& context, const Object* object, Writer* writer) const {
    return MandatoryRule(ElementToXmlPrim(context, object, writer));
}

bool CElementInfoAllPrimMnd::ElementFromXml(const Context& context, Object* object, Element*, Element** current,
                                            const char16_t*, XmlElementType) const {
    if (!IsThisElement(context, *current)) return false;
    ElementFromXmlPrim(context, object, current);
    return true;
}

bool CElementInfoAllPrimMnd::Validate(const Context&, const Object*, bool found, bool strict) const {
    return MandatoryFound(m_elementName, found, strict);
}

CElementInfoAllPrimOpt::CElementInfoAllPrimOpt(const char16_t* elementName, const char16_t* elementNamespace,
                                               int32_t propertyIndex, bool nillable, ItemType itemType,
                                               const char16_t* formatOverride,
                                               CWhitespaceUtils::WhitespaceRule whitespaceRule,
                                               const CPrimitiveRestrictions& restrictions,
                                               const char16_t* defaultValue)
    : CElementInfo(elementName, elementNamespace, propertyIndex, nillable, itemType, formatOverride, whitespaceRule,
                   restrictions, defaultValue) {}

bool CElementInfoAllPrimOpt::ElementToXml(const Context& context, const Object* object, Writer* writer) const {
    return ElementToXmlPrim(context, object, writer);
}

bool CElementInfoAllPrimOpt::ElementFromXml(const Context& context, Object* object, Element*, Element** current,
                                            const char16_t*, XmlElementType) const {
    if (!IsThisElement(context, *current)) return false;
    ElementFromXmlPrim(context, object, current);
    return true;
}

bool CElementInfoAllPrimOpt::Validate(const Context&, const Object*, bool, bool) const { return true; }

// ---- wildcards --------------------------------------------------------------------------------

CElementInfoAllUntpdMnd::CElementInfoAllUntpdMnd(const char16_t* elementName, const char16_t* elementNamespace,
                                                 int32_t propertyIndex, const char16_t* namespacePattern,
                                                 const char16_t* targetNamespace)
    : CElementInfo(elementName, elementNamespace, propertyIndex),
      m_namespacePattern(namespacePattern ? namespacePattern : u""),
      m_targetNamespace(targetNamespace ? targetNamespace : u"") {
    m_usesNamespace = true;
}

bool CElementInfoAllUntpdMnd::ElementToXml(const Context& context, const Object* object, Writer* writer) const {
    return MandatoryRule(ElementToXmlCls(context, object, writer, false));
}

bool CElementInfoAllUntpdMnd::ElementFromXml(const Context& context, Object* object, Element* parent,
                                             Element** current, const char16_t*, XmlElementType) const {
    if (!*current) return false;
    Element* result = ReadWildcard(context, GetRequiredObject(object), parent, *current);
    if (result == *current) return false;
    *current = result;
    return true;
}

bool CElementInfoAllUntpdMnd::Validate(const Context&, const Object*, bool found, bool strict) const {
    return MandatoryFound(m_elementName, found, strict);
}

CElementInfoAllUntpdOpt::CElementInfoAllUntpdOpt(const char16_t* elementName, const char16_t* elementNamespace,
                                                 int32_t propertyIndex, const char16_t* namespacePattern,
                                                 const char16_t* targetNamespace)
    : CElementInfo(elementName, elementNamespace, propertyIndex),
      m_namespacePattern(namespacePattern ? namespacePattern : u""),
      m_targetNamespace(targetNamespace ? targetNamespace : u"") {
    m_usesNamespace = true;
}

bool CElementInfoAllUntpdOpt::ElementToXml(const Context& context, const Object* object, Writer* writer) const {
    return ElementToXmlCls(context, object, writer, false);
}

bool CElementInfoAllUntpdOpt::ElementFromXml(const Context& context, Object* object, Element* parent,
                                             Element** current, const char16_t* ns, XmlElementType) const {
    if (!*current) return false;
    CSmartPtr<CXmlObjectBase> wildcard = MakeWildcard(m_namespacePattern, ns, m_targetNamespace);
    Element* result = ReadWildcard(context, wildcard, parent, *current);
    if (result == *current) return false;
    KvVariant value;
    value.SetXmlObject(wildcard);
    InvokePropertySet(object, value, parent);
    *current = result;
    return true;
}

bool CElementInfoAllUntpdOpt::Validate(const Context&, const Object*, bool, bool) const { return true; }

// ---- collections ------------------------------------------------------------------------------

CElementInfoAllCol::CElementInfoAllCol(const char16_t* elementName, const char16_t* elementNamespace,
                                       int32_t propertyIndex)
    : CElementInfo(elementName, elementNamespace, propertyIndex) {}

bool CElementInfoAllCol::ElementToXml(const Context& context, const Object* object, Writer* writer) const {
    return CollectionRule(context, object, writer, true);
}

bool CElementInfoAllCol::ElementFromXml(const Context& context, Object* object, Element* parent, Element** current,
                                        const char16_t*, XmlElementType) const {
    CSmartPtr<CXmlCollectionBase> collection = GetPropertyCollection(object);
    *current = FromXml_Int(collection.get(), parent, *current, context, false);
    return false;
}

CElementInfoAllAbsClsCol::CElementInfoAllAbsClsCol(const char16_t* elementName, const char16_t* elementNamespace,
                                                   int32_t propertyIndex, XmlElementType elementType)
    : CElementInfoAllCol(elementName, elementNamespace, propertyIndex), m_elementType(elementType) {}

void CElementInfoAllAbsClsCol::PseudoChildAttributeToXml(const Context& context, const Object* object,
                                                         Writer* writer) const {
    CollectionAttributesToParent(context, object, writer, m_elementType);
}

CElementInfoAllClsCol::CElementInfoAllClsCol(const char16_t* elementName, const char16_t* elementNamespace,
                                             int32_t propertyIndex, XmlElementType elementType)
    : CElementInfoAllCol(elementName, elementNamespace, propertyIndex), m_elementType(elementType) {}

void CElementInfoAllClsCol::PseudoChildAttributeToXml(const Context& context, const Object* object,
                                                      Writer* writer) const {
    CollectionAttributesToParent(context, object, writer, m_elementType);
}

CElementInfoAllPrimCol::CElementInfoAllPrimCol(const char16_t* elementName, const char16_t* elementNamespace,
                                               int32_t propertyIndex)
    : CElementInfoAllCol(elementName, elementNamespace, propertyIndex) {}

CElementInfoAllUntpdCol::CElementInfoAllUntpdCol(const char16_t* elementName, const char16_t* elementNamespace,
                                                 int32_t propertyIndex)
    : CElementInfoAllCol(elementName, elementNamespace, propertyIndex) {}

CElementInfoAllEnumCol::CElementInfoAllEnumCol(const char16_t* elementName, const char16_t* elementNamespace,
                                               int32_t propertyIndex)
    : CElementInfo(elementName, elementNamespace, propertyIndex) {}

} // namespace KvXmlLib16Data
