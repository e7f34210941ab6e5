#include "kvxml/binding/CElementInfoSeq.h"

#include "kvxml/base/CKvException.h"
#include "kvxml/base/FormatString.h"
#include "kvxml/binding/CSerializationContext.h"
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

bool CElementInfoSeqAbsClsMnd::ElementFromXml(const Context& context, Object* object, Element* parent,
                                              Element** current, const char16_t*, XmlElementType parentType) const {
    const bool matched = IsThisElement(context, *current);
    if (!matched) {
        if (parentType != XmlElementType_Element) return false;
        ThrowNoSubstitution(m_elementName, parent);
    }
    CSmartPtr<CXmlObjectBase> child = CreateByElement(m_creator, *current, m_elementName);
    if (!child) {
        if (parentType != XmlElementType_Element) return false;
        ThrowNoSubstitution(m_elementName, parent);
    }
    ReadNewChild(context, object, parent, current, child);
    return true;
}

bool CElementInfoSeqAbsClsOpt::ElementFromXml(const Context& context, Object* object, Element* parent,
                                              Element** current, const char16_t*, XmlElementType) const {
    if (!IsThisElement(context, *current)) return true;
    CSmartPtr<CXmlObjectBase> child = CreateByElement(m_creator, *current, m_elementName);
    // A creator that knows no class leaves the element unread; the group reports it as left over.
    if (child) ReadNewChild(context, object, parent, current, child);
    return true;
}

// ---- classes ----------------------------------------------------------------------------------

bool CElementInfoSeqClsMnd::ElementFromXml(const Context& context, Object* object, Element* parent, Element** current,
                                           const char16_t*, XmlElementType parentType) const {
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

bool CElementInfoSeqClsOpt::ElementFromXml(const Context& context, Object* object, Element* parent, Element** current,
                                           const char16_t*, XmlElementType) const {
    if (m_elementType == XmlElementType_Element) {
        if (IsThisElement(context, *current))
            ReadNewChild(context, object, parent, current, CreateByClassId(m_creator, m_classId, m_elementName));
        return true;
    }
    if (*current)
        ReadNewContent(context, object, parent, current, CreateByClassId(m_creator, m_classId, m_elementName));
    return true;
}

// ---- enumerations and primitives --------------------------------------------------------------

bool CElementInfoSeqEnumMnd::ElementFromXml(const Context& context, Object* object, Element* parent, Element** current,
                                            const char16_t*, XmlElementType parentType) const {
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

bool CElementInfoSeqEnumOpt::ElementFromXml(const Context& context, Object* object, Element*, Element** current,
                                            const char16_t*, XmlElementType) const {
    ReadIfThisElement(context, object, current);
    return true;
}

bool CElementInfoSeqPrimMnd::ElementFromXml(const Context& context, Object* object, Element* parent, Element** current,
                                            const char16_t*, XmlElementType parentType) const {
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

bool CElementInfoSeqPrimOpt::ElementFromXml(const Context& context, Object* object, Element*, Element** current,
                                            const char16_t*, XmlElementType) const {
    ReadIfThisElement(context, object, current);
    return true;
}

// ---- wildcards --------------------------------------------------------------------------------

bool CElementInfoSeqUntpdMnd::ElementFromXml(const Context& context, Object* object, Element* parent, Element** current,
                                             const char16_t*, XmlElementType parentType) const {
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

bool CElementInfoSeqUntpdOpt::ElementFromXml(const Context& context, Object* object, Element* parent, Element** current,
                                             const char16_t* ns, XmlElementType) const {
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

bool CElementInfoSeqCol::ElementFromXml(const Context& context, Object* object, Element* parent, Element** current,
                                        const char16_t*, XmlElementType parentType) const {
    CSmartPtr<CXmlCollectionBase> collection = GetPropertyCollection(object);
    *current = FromXml_Int(collection.get(), parent, *current, context, false);
    return CountRule(context, collection, parentType);
}

bool CElementInfoSeqCol::CountRule(const Context& context, CXmlCollectionBase* collection, XmlElementType parentType) {
    if (parentType == XmlElementType_Element) {
        collection->ValidateCount(context);
        return true;
    }
    return collection->IsValidCount(context);
}

bool CElementInfoSeqUntpdCol::ElementFromXml(const Context& context, Object* object, Element* parent, Element** current,
                                             const char16_t*, XmlElementType parentType) const {
    CSmartPtr<CXmlCollectionBase> collection;
    *current = ReadUntypedCollection(context, object, parent, *current, collection);
    return CountRule(context, collection, parentType);
}

} // namespace KvXmlLib16Data
