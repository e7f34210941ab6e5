#include "kvxml/binding/CElementInfoSeq.h"

#include "kvxml/base/CKvException.h"
#include "kvxml/base/FormatString.h"
#include "kvxml/binding/BindingHelpers.h"
#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/binding/CXmlGeneratedClass.h"
#include "kvxml/collections/CElement.h"
#include "kvxml/collections/CElementCol.h"
#include "kvxml/collections/CXmlCollectionBase.h"
#include "kvxml/xml/CXmlElement.h"

namespace KvXmlLib16Data {

using namespace KvXmlLib16;

namespace {

[[noreturn]] void ThrowNoSubstitution(const std::u16string& name, const CXmlElement* parent) {
    throw CKvValidationException(
        FormatString(u"Failed to find a suitable substitution element for [%s].", name.c_str()),
        parent ? parent->GetXPath() : u"");
}

} // namespace

// ---- abstract classes -------------------------------------------------------------------------

CElementInfoSeqAbsClsMnd::CElementInfoSeqAbsClsMnd(const char16_t* elementName, const char16_t* elementNamespace,
                                                   int32_t propertyIndex, XmlElementType elementType,
                                                   ElementCreatorFunc creator)
    : CElementInfo(elementName, elementNamespace, propertyIndex), m_elementType(elementType), m_creator(creator) {}

bool CElementInfoSeqAbsClsMnd::ElementToXml(const Context& context, const Object* object, Writer* writer) const {
    return MandatoryRule(ElementToXmlCls(context, object, writer, false));
}

bool CElementInfoSeqAbsClsMnd::ElementFromXml(const Context& context, Object* object, Element* parent,
                                              Element** current, const char16_t*, XmlElementType parentType) const {
    const bool matched = IsThisElement(context, *current);
    if (!matched) {
        if (parentType != XmlElementType_Element) return false;
        ThrowNoSubstitution(m_elementName, parent);
    }
    CSmartPtr<CXmlObjectBase> child = CreateByElement(m_creator, *current, m_elementName);
    KvVariant value;
    value.SetXmlObject(child);
    if (!child) {
        if (parentType != XmlElementType_Element) return false;
        ThrowNoSubstitution(m_elementName, parent);
    }
    Element* element = *current;
    FromXml_Int(child, element, element->GetFirstElement(), context, false);
    InvokePropertySet(object, value, parent);
    *current = element->GetNextSiblingElement();
    return true;
}

void CElementInfoSeqAbsClsMnd::PseudoChildAttributeToXml(const Context& context, const Object* object,
                                                         Writer* writer) const {
    ClassAttributesToParent(context, object, writer, m_elementType);
}

CElementInfoSeqAbsClsOpt::CElementInfoSeqAbsClsOpt(const char16_t* elementName, const char16_t* elementNamespace,
                                                   int32_t propertyIndex, XmlElementType elementType,
                                                   ElementCreatorFunc creator)
    : CElementInfo(elementName, elementNamespace, propertyIndex), m_elementType(elementType), m_creator(creator) {}

bool CElementInfoSeqAbsClsOpt::ElementToXml(const Context& context, const Object* object, Writer* writer) const {
    return ElementToXmlCls(context, object, writer, false);
}

bool CElementInfoSeqAbsClsOpt::ElementFromXml(const Context& context, Object* object, Element* parent,
                                              Element** current, const char16_t*, XmlElementType) const {
    if (!IsThisElement(context, *current)) return true;
    CSmartPtr<CXmlObjectBase> child = CreateByElement(m_creator, *current, m_elementName);
    KvVariant value;
    value.SetXmlObject(child);
    // A creator that knows no class leaves the element unread; the group reports it as left over.
    if (child) {
        Element* element = *current;
        FromXml_Int(child, element, element->GetFirstElement(), context, false);
        InvokePropertySet(object, value, parent);
        *current = element->GetNextSiblingElement();
    }
    return true;
}

void CElementInfoSeqAbsClsOpt::PseudoChildAttributeToXml(const Context& context, const Object* object,
                                                         Writer* writer) const {
    ClassAttributesToParent(context, object, writer, m_elementType);
}

// ---- classes ----------------------------------------------------------------------------------

CElementInfoSeqClsMnd::CElementInfoSeqClsMnd(const char16_t* elementName, const char16_t* elementNamespace,
                                             int32_t propertyIndex, XmlElementType elementType,
                                             ClassCreatorFunc creator, int32_t classId, bool contentRequired)
    : CElementInfo(elementName, elementNamespace, propertyIndex),
      m_elementType(elementType),
      m_contentRequired(contentRequired),
      m_creator(creator),
      m_classId(classId) {}

bool CElementInfoSeqClsMnd::ElementToXml(const Context& context, const Object* object, Writer* writer) const {
    return MandatoryRule(ElementToXmlCls(context, object, writer, false));
}

bool CElementInfoSeqClsMnd::ElementFromXml(const Context& context, Object* object, Element* parent,
                                           Element** current, const char16_t*, XmlElementType parentType) const {
    if (m_elementType == XmlElementType_Element) {
        if (parentType != XmlElementType_Element) {
            if (!IsThisElement(context, *current)) return false;
            ReadOwnElement(context, GetRequiredObject(object), current, false);
            return true;
        }
        for (;;) {
            if (*current && IsThisElement(context, *current)) {
                ReadOwnElement(context, GetRequiredObject(object), current, false);
                return true;
            }
            // Passes as if something was read, leaving the element for the next record.
            if (context.GetIgnoreMissingMandatoryElements()) return true;
            if (!context.GetIgnoreUnknownElements() || !*current) ThrowMissingChild(parent);
            *current = (*current)->GetNextSiblingElement();
        }
    }

    // The object's children stand among the parent's.
    if (!m_contentRequired) {
        Element* result = FromXml_Int(GetRequiredObject(object), parent, *current, context, false);
        if (*current && result == *current && context.GetIgnoreUnknownElements() &&
            parentType == XmlElementType_Element)
            return false;
        *current = result;
        return true;
    }
    if (!*current) {
        if (parentType != XmlElementType_Element) return false;
        ThrowMissingChild(parent);
    }
    Element* result = FromXml_Int(GetRequiredObject(object), parent, *current, context, false);
    if (result != *current) {
        *current = result;
        return true;
    }
    if (parentType != XmlElementType_Element) return false;
    ThrowMissingChild(parent);
}

void CElementInfoSeqClsMnd::PseudoChildAttributeToXml(const Context& context, const Object* object,
                                                      Writer* writer) const {
    ClassAttributesToParent(context, object, writer, m_elementType);
}

CElementInfoSeqClsOpt::CElementInfoSeqClsOpt(const char16_t* elementName, const char16_t* elementNamespace,
                                             int32_t propertyIndex, XmlElementType elementType,
                                             ClassCreatorFunc creator, int32_t classId)
    : CElementInfo(elementName, elementNamespace, propertyIndex),
      m_elementType(elementType),
      m_creator(creator),
      m_classId(classId) {}

bool CElementInfoSeqClsOpt::ElementToXml(const Context& context, const Object* object, Writer* writer) const {
    return ElementToXmlCls(context, object, writer, false);
}

bool CElementInfoSeqClsOpt::ElementFromXml(const Context& context, Object* object, Element* parent,
                                           Element** current, const char16_t*, XmlElementType) const {
    if (m_elementType == XmlElementType_Element) {
        if (IsThisElement(context, *current)) {
            CSmartPtr<CXmlObjectBase> child = CreateByClassId(m_creator, m_classId, m_elementName);
            KvVariant value;
            value.SetXmlObject(child);
            ReadOwnElement(context, child, current, false);
            InvokePropertySet(object, value, parent);
        }
        return true;
    }
    if (*current) {
        CSmartPtr<CXmlObjectBase> child = CreateByClassId(m_creator, m_classId, m_elementName);
        KvVariant value;
        value.SetXmlObject(child);
        Element* result = FromXml_Int(child, parent, *current, context, false);
        // An object that took nothing is dropped.
        if (result != *current) InvokePropertySet(object, value, parent);
        *current = result;
    }
    return true;
}

void CElementInfoSeqClsOpt::PseudoChildAttributeToXml(const Context& context, const Object* object,
                                                      Writer* writer) const {
    ClassAttributesToParent(context, object, writer, m_elementType);
}

// ---- enumerations and primitives --------------------------------------------------------------

CElementInfoSeqEnumMnd::CElementInfoSeqEnumMnd(const char16_t* elementName, const char16_t* elementNamespace,
                                               int32_t propertyIndex, bool nillable, EnumToTextFunc enumToText,
                                               EnumFromTextFunc enumFromText, const char16_t* defaultValue)
    : CElementInfo(elementName, elementNamespace, propertyIndex, nillable, enumToText, enumFromText, defaultValue) {}

bool CElementInfoSeqEnumMnd::ElementToXml(const Context& context, const Object* object, Writer* writer) const {
    return MandatoryRule(ElementToXmlEnum(context, object, writer, m_enumToText));
}

bool CElementInfoSeqEnumMnd::ElementFromXml(const Context& context, Object* object, Element* parent,
                                            Element** current, const char16_t*, XmlElementType parentType) const {
    if (parentType != XmlElementType_Element) {
        // Unlike the primitive record, no search forward here.
        if (!IsThisElement(context, *current)) return false;
        ElementFromXmlEnum(context, object, current);
        return true;
    }
    for (;;) {
        if (*current && IsThisElement(context, *current)) {
            ElementFromXmlEnum(context, object, current);
            return true;
        }
        if (context.GetIgnoreMissingMandatoryElements()) return true;
        if (!context.GetIgnoreUnknownElements() || !*current) ThrowMissingChild(parent);
        *current = (*current)->GetNextSiblingElement();
    }
}

CElementInfoSeqEnumOpt::CElementInfoSeqEnumOpt(const char16_t* elementName, const char16_t* elementNamespace,
                                               int32_t propertyIndex, bool nillable, EnumToTextFunc enumToText,
                                               EnumFromTextFunc enumFromText, const char16_t* defaultValue)
    : CElementInfo(elementName, elementNamespace, propertyIndex, nillable, enumToText, enumFromText, defaultValue) {}

bool CElementInfoSeqEnumOpt::ElementToXml(const Context& context, const Object* object, Writer* writer) const {
    return ElementToXmlEnum(context, object, writer, m_enumToText);
}

bool CElementInfoSeqEnumOpt::ElementFromXml(const Context& context, Object* object, Element*, Element** current,
                                            const char16_t*, XmlElementType) const {
    if (IsThisElement(context, *current)) ElementFromXmlEnum(context, object, current);
    return true;
}

CElementInfoSeqPrimMnd::CElementInfoSeqPrimMnd(const char16_t* elementName, const char16_t* elementNamespace,
                                               int32_t propertyIndex, bool nillable, ItemType itemType,
                                               const char16_t* formatOverride,
                                               CWhitespaceUtils::WhitespaceRule whitespaceRule,
                                               const CPrimitiveRestrictions& restrictions,
                                               const char16_t* defaultValue)
    : CElementInfo(elementName, elementNamespace, propertyIndex, nillable, itemType, formatOverride, whitespaceRule,
                   restrictions, defaultValue) {}

bool CElementInfoSeqPrimMnd::ElementToXml(const Context& context, const Object* object, Writer* writer) const {
    return MandatoryRule(ElementToXmlPrim(context, object, writer));
}

bool CElementInfoSeqPrimMnd::ElementFromXml(const Context& context, Object* object, Element* parent,
                                            Element** current, const char16_t*, XmlElementType parentType) const {
    for (;;) {
        if (*current && IsThisElement(context, *current)) {
            ElementFromXmlPrim(context, object, current);
            return true;
        }
        if (parentType == XmlElementType_Element) {
            if (context.GetIgnoreMissingMandatoryElements()) return true;
            if (!context.GetIgnoreUnknownElements() || !*current) ThrowMissingChild(parent);
        } else if (!context.GetIgnoreUnknownElements() || !*current) {
            return false;
        }
        // In a class without an element this consumes what it passes, even if it then fails.
        *current = (*current)->GetNextSiblingElement();
    }
}

CElementInfoSeqPrimOpt::CElementInfoSeqPrimOpt(const char16_t* elementName, const char16_t* elementNamespace,
                                               int32_t propertyIndex, bool nillable, ItemType itemType,
                                               const char16_t* formatOverride,
                                               CWhitespaceUtils::WhitespaceRule whitespaceRule,
                                               const CPrimitiveRestrictions& restrictions,
                                               const char16_t* defaultValue)
    : CElementInfo(elementName, elementNamespace, propertyIndex, nillable, itemType, formatOverride, whitespaceRule,
                   restrictions, defaultValue) {}

bool CElementInfoSeqPrimOpt::ElementToXml(const Context& context, const Object* object, Writer* writer) const {
    return ElementToXmlPrim(context, object, writer);
}

bool CElementInfoSeqPrimOpt::ElementFromXml(const Context& context, Object* object, Element*, Element** current,
                                            const char16_t*, XmlElementType) const {
    if (IsThisElement(context, *current)) ElementFromXmlPrim(context, object, current);
    return true;
}

// ---- wildcards --------------------------------------------------------------------------------

CElementInfoSeqUntpdMnd::CElementInfoSeqUntpdMnd(const char16_t* elementName, const char16_t* elementNamespace,
                                                 int32_t propertyIndex, const char16_t* namespacePattern,
                                                 const char16_t* targetNamespace)
    : CElementInfo(elementName, elementNamespace, propertyIndex),
      m_namespacePattern(namespacePattern ? namespacePattern : u""),
      m_targetNamespace(targetNamespace ? targetNamespace : u"") {
    m_usesNamespace = true;
}

bool CElementInfoSeqUntpdMnd::ElementToXml(const Context& context, const Object* object, Writer* writer) const {
    return MandatoryRule(ElementToXmlCls(context, object, writer, false));
}

bool CElementInfoSeqUntpdMnd::ElementFromXml(const Context& context, Object* object, Element* parent,
                                             Element** current, const char16_t*, XmlElementType parentType) const {
    if (!*current) ThrowMissingChild(parent);
    CSmartPtr<CXmlObjectBase> wildcard = GetRequiredObject(object);
    Element* result = ReadWildcard(context, wildcard, parent, *current);
    if (result == *current) {
        if (parentType != XmlElementType_Element) return false;
        throw CKvValidationException(
            FormatString(u"Failed to find the required element from namespace [%s].", m_elementNamespace.c_str()),
            parent ? parent->GetXPath() : u"");
    }
    *current = result;
    return true;
}

CElementInfoSeqUntpdOpt::CElementInfoSeqUntpdOpt(const char16_t* elementName, const char16_t* elementNamespace,
                                                 int32_t propertyIndex, const char16_t* namespacePattern,
                                                 const char16_t* targetNamespace)
    : CElementInfo(elementName, elementNamespace, propertyIndex),
      m_namespacePattern(namespacePattern ? namespacePattern : u""),
      m_targetNamespace(targetNamespace ? targetNamespace : u"") {
    m_usesNamespace = true;
}

bool CElementInfoSeqUntpdOpt::ElementToXml(const Context& context, const Object* object, Writer* writer) const {
    return ElementToXmlCls(context, object, writer, false);
}

bool CElementInfoSeqUntpdOpt::ElementFromXml(const Context& context, Object* object, Element* parent,
                                             Element** current, const char16_t* ns, XmlElementType) const {
    if (!*current) return true;
    CSmartPtr<CXmlObjectBase> wildcard = MakeWildcard(m_namespacePattern, ns, m_targetNamespace);
    Element* result = ReadWildcard(context, wildcard, parent, *current);
    if (result != *current) {
        KvVariant value;
        value.SetXmlObject(wildcard.get());
        InvokePropertySet(object, value, parent);
        *current = result;
    }
    return true;
}

// ---- collections ------------------------------------------------------------------------------

CElementInfoSeqCol::CElementInfoSeqCol(const char16_t* elementName, const char16_t* elementNamespace,
                                       int32_t propertyIndex)
    : CElementInfo(elementName, elementNamespace, propertyIndex) {}

bool CElementInfoSeqCol::ElementToXml(const Context& context, const Object* object, Writer* writer) const {
    return CollectionRule(context, object, writer, true);
}

bool CElementInfoSeqCol::ElementFromXml(const Context& context, Object* object, Element* parent,
                                        Element** current, const char16_t*, XmlElementType parentType) const {
    CSmartPtr<CXmlCollectionBase> collection = GetPropertyCollection(object);
    *current = FromXml_Int(collection.get(), parent, *current, context, false);
    if (parentType == XmlElementType_Element) {
        collection->ValidateCount(context);
        return true;
    }
    return collection->IsValidCount(context);
}

CElementInfoSeqAbsClsCol::CElementInfoSeqAbsClsCol(const char16_t* elementName, const char16_t* elementNamespace,
                                                   int32_t propertyIndex, XmlElementType elementType)
    : CElementInfoSeqCol(elementName, elementNamespace, propertyIndex), m_elementType(elementType) {}

void CElementInfoSeqAbsClsCol::PseudoChildAttributeToXml(const Context& context, const Object* object,
                                                         Writer* writer) const {
    CollectionAttributesToParent(context, object, writer, m_elementType);
}

CElementInfoSeqClsCol::CElementInfoSeqClsCol(const char16_t* elementName, const char16_t* elementNamespace,
                                             int32_t propertyIndex, XmlElementType elementType)
    : CElementInfoSeqCol(elementName, elementNamespace, propertyIndex), m_elementType(elementType) {}

void CElementInfoSeqClsCol::PseudoChildAttributeToXml(const Context& context, const Object* object,
                                                      Writer* writer) const {
    CollectionAttributesToParent(context, object, writer, m_elementType);
}

CElementInfoSeqEnumCol::CElementInfoSeqEnumCol(const char16_t* elementName, const char16_t* elementNamespace,
                                               int32_t propertyIndex)
    : CElementInfoSeqCol(elementName, elementNamespace, propertyIndex) {}

CElementInfoSeqPrimCol::CElementInfoSeqPrimCol(const char16_t* elementName, const char16_t* elementNamespace,
                                               int32_t propertyIndex)
    : CElementInfoSeqCol(elementName, elementNamespace, propertyIndex) {}

CElementInfoSeqUntpdCol::CElementInfoSeqUntpdCol(const char16_t* elementName, const char16_t* elementNamespace,
                                                 int32_t propertyIndex)
    : CElementInfoSeqCol(elementName, elementNamespace, propertyIndex) {}

bool CElementInfoSeqUntpdCol::ElementFromXml(const Context& context, Object* object, Element* parent,
                                             Element** current, const char16_t*, XmlElementType parentType) const {
    CSmartPtr<CXmlObjectBase> held = GetRequiredObject(object);
    CElementCol* collection = dynamic_cast<CElementCol*>(held.get());
    if (!collection)
        throw CKvException(FormatString(u"The property [%s] does not hold an element collection.",
                                        m_elementName.c_str()));
    if (m_elementName == BindingHelpers::kAnyElement) {
        *current = FromXml_Int(collection, parent, *current, context, false);
    } else {
        const std::u16string ns = *current ? (*current)->GetNamespaceURI() : std::u16string();
        *current = collection->FromXmlLockElementName_Int(m_elementName.c_str(), ns.c_str(), parent, *current,
                                                          context, false);
    }
    if (parentType == XmlElementType_Element) {
        collection->ValidateCount(context);
        return true;
    }
    return collection->IsValidCount(context);
}

} // namespace KvXmlLib16Data
