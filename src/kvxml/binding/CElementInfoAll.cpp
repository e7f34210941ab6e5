#include "kvxml/binding/CElementInfoAll.h"

#include "kvxml/base/CKvException.h"
#include "kvxml/base/FormatString.h"
#include "kvxml/binding/CSerializationContext.h"
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

} // namespace

// ---- abstract classes -------------------------------------------------------------------------

CElementInfoAllAbsClsMnd::CElementInfoAllAbsClsMnd(const char16_t* elementName, const char16_t* elementNamespace,
                                                   int32_t propertyIndex, XmlElementType elementType,
                                                   ElementCreatorFunc creator, int32_t)
    : CElementInfoAbsClsKind(elementName, elementNamespace, propertyIndex, elementType, creator) {}

bool CElementInfoAllAbsClsMnd::ElementFromXml(const Context& context, Object* object, Element* parent,
                                              Element** current, const char16_t*, XmlElementType) const {
    return TakeChildByElement(context, object, parent, current, m_creator, m_elementType);
}

bool CElementInfoAllAbsClsMnd::Validate(const Context&, const Object*, bool found, bool strict) const {
    return MandatoryFound(m_elementName, found, strict);
}

bool CElementInfoAllAbsClsOpt::ElementFromXml(const Context& context, Object* object, Element* parent,
                                              Element** current, const char16_t*, XmlElementType) const {
    // Unlike the mandatory form, a used-up group is tested first.
    if (m_elementType != XmlElementType_Element && !*current) return false;
    return TakeChildByElement(context, object, parent, current, m_creator, m_elementType);
}

bool CElementInfoAllAbsClsOpt::Validate(const Context&, const Object*, bool, bool) const { return true; }

// ---- classes ----------------------------------------------------------------------------------

bool CElementInfoAllClsMnd::ElementFromXml(const Context& context, Object* object, Element* parent, Element** current,
                                           const char16_t*, XmlElementType) const {
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

bool CElementInfoAllClsOpt::ElementFromXml(const Context& context, Object* object, Element* parent, Element** current,
                                           const char16_t*, XmlElementType) const {
    if (m_elementType == XmlElementType_Element) {
        if (!IsThisElement(context, *current)) return false;
        ReadNewChild(context, object, parent, current, CreateByClassId(m_creator, m_classId, m_elementName));
        return true;
    }
    if (!*current) return false;
    return ReadNewContent(context, object, parent, current, CreateByClassId(m_creator, m_classId, m_elementName));
}

bool CElementInfoAllClsOpt::Validate(const Context&, const Object*, bool, bool) const { return true; }

// ---- enumerations and primitives --------------------------------------------------------------

bool CElementInfoAllEnumMnd::ElementFromXml(const Context& context, Object* object, Element*, Element** current,
                                            const char16_t*, XmlElementType) const {
    return ReadIfThisElement(context, object, current);
}

bool CElementInfoAllEnumMnd::Validate(const Context&, const Object*, bool found, bool strict) const {
    return MandatoryFound(m_elementName, found, strict);
}

bool CElementInfoAllEnumOpt::ElementFromXml(const Context& context, Object* object, Element*, Element** current,
                                            const char16_t*, XmlElementType) const {
    return ReadIfThisElement(context, object, current);
}

bool CElementInfoAllEnumOpt::Validate(const Context&, const Object*, bool, bool) const { return true; }

bool CElementInfoAllPrimMnd::ElementFromXml(const Context& context, Object* object, Element*, Element** current,
                                            const char16_t*, XmlElementType) const {
    return ReadIfThisElement(context, object, current);
}

bool CElementInfoAllPrimMnd::Validate(const Context&, const Object*, bool found, bool strict) const {
    return MandatoryFound(m_elementName, found, strict);
}

bool CElementInfoAllPrimOpt::ElementFromXml(const Context& context, Object* object, Element*, Element** current,
                                            const char16_t*, XmlElementType) const {
    return ReadIfThisElement(context, object, current);
}

bool CElementInfoAllPrimOpt::Validate(const Context&, const Object*, bool, bool) const { return true; }

// ---- wildcards --------------------------------------------------------------------------------

bool CElementInfoAllUntpdMnd::ElementFromXml(const Context& context, Object* object, Element* parent, Element** current,
                                             const char16_t*, XmlElementType) const {
    if (!*current) return false;
    Element* result = ReadWildcard(context, GetRequiredObject(object), parent, *current);
    if (result == *current) return false;
    *current = result;
    return true;
}

bool CElementInfoAllUntpdMnd::Validate(const Context&, const Object*, bool found, bool strict) const {
    return MandatoryFound(m_elementName, found, strict);
}

bool CElementInfoAllUntpdOpt::ElementFromXml(const Context& context, Object* object, Element* parent, Element** current,
                                             const char16_t* ns, XmlElementType) const {
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

CElementInfoAllEnumCol::CElementInfoAllEnumCol(const char16_t* elementName, const char16_t* elementNamespace,
                                               int32_t propertyIndex)
    : CElementInfo(elementName, elementNamespace, propertyIndex) {}

} // namespace KvXmlLib16Data
