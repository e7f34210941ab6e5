#include "kvxml/binding/CElementInfoChoice.h"

#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/binding/CXmlGeneratedClass.h"
#include "kvxml/collections/CXmlCollectionBase.h"
#include "kvxml/xml/CXmlElement.h"

namespace KvXmlLib16Data {

using namespace KvXmlLib16;

namespace {

// Empties a property that an alternative had set before it turned out not to take anything.
void ClearObjectProperty(const CElementInfo& record, CXmlGeneratedClass* object, CXmlElement* parent) {
    KvVariant empty;
    empty.SetXmlObject(nullptr);
    record.InvokePropertySet(object, empty, parent);
}

} // namespace

bool CElementInfoChoiceAbsClsOpt::ElementFromXml(const Context& context, Object* object, Element* parent,
                                                 Element** current, const char16_t*, XmlElementType) const {
    if (!IsThisElement(context, *current)) return false;
    CSmartPtr<CXmlObjectBase> child = CreateByElement(m_creator, *current, m_elementName);
    KvVariant value;
    value.SetXmlObject(child);
    InvokePropertySet(object, value, parent);
    if (!child) return false;
    ReadOwnElement(context, child, current, false);
    return true;
}

bool CElementInfoChoiceClsOpt::ElementToXml(const Context& context, const Object* object, Writer* writer) const {
    return ElementToXmlCls(context, object, writer, true);
}

bool CElementInfoChoiceClsOpt::ElementFromXml(const Context& context, Object* object, Element* parent,
                                              Element** current, const char16_t*, XmlElementType) const {
    if (m_elementType == XmlElementType_Element) {
        if (!IsThisElement(context, *current)) return false;
        CSmartPtr<CXmlObjectBase> child = CreateByClassId(m_creator, m_classId, m_elementName);
        KvVariant value;
        value.SetXmlObject(child);
        // The property is set before the object is read.
        InvokePropertySet(object, value, parent);
        ReadOwnElement(context, child, current, true);
        return true;
    }
    if (!*current) return false;
    CSmartPtr<CXmlObjectBase> child = CreateByClassId(m_creator, m_classId, m_elementName);
    KvVariant value;
    value.SetXmlObject(child);
    InvokePropertySet(object, value, parent);
    Element* result = FromXml_Int(child, parent, *current, context, false);
    if (result == *current) {
        ClearObjectProperty(*this, object, parent);
        return false;
    }
    *current = result;
    return true;
}

bool CElementInfoChoiceEnumOpt::ElementFromXml(const Context& context, Object* object, Element*, Element** current,
                                               const char16_t*, XmlElementType) const {
    return ReadIfThisElement(context, object, current);
}

bool CElementInfoChoicePrimOpt::ElementFromXml(const Context& context, Object* object, Element*, Element** current,
                                               const char16_t*, XmlElementType) const {
    return ReadIfThisElement(context, object, current);
}

bool CElementInfoChoiceUntpdOpt::ElementFromXml(const Context& context, Object* object, Element* parent,
                                                Element** current, const char16_t* ns, XmlElementType) const {
    if (!*current) return false;
    CSmartPtr<CXmlObjectBase> wildcard = MakeWildcard(m_namespacePattern, ns, m_targetNamespace);
    Element* result = ReadWildcard(context, wildcard, parent, *current);
    if (result != *current) {
        KvVariant value;
        value.SetXmlObject(wildcard);
        InvokePropertySet(object, value, parent);
        *current = result;
        return true;
    }
    ClearObjectProperty(*this, object, parent);
    return false;
}

CElementInfoChoiceCol::CElementInfoChoiceCol(const char16_t* elementName, const char16_t* elementNamespace,
                                             int32_t propertyIndex)
    : CElementInfo(elementName, elementNamespace, propertyIndex) {}

bool CElementInfoChoiceCol::ElementToXml(const Context& context, const Object* object, Writer* writer) const {
    return CollectionRule(context, object, writer, false);
}

namespace {

// Steps 2 to 4 shared by the collection alternatives, once the collection has read.
bool FinishChoiceCollection(const CSerializationContext& context, CXmlCollectionBase* collection, CXmlElement* result,
                            CXmlElement** current, XmlElementType parentType) {
    if (result == *current) return false;
    if (parentType != XmlElementType_Element) {
        // The items stay in the collection although current goes back.
        if (!collection->IsValidCount(context)) return false;
        *current = result;
        return true;
    }
    *current = result;
    collection->ValidateCount(context);
    return true;
}

} // namespace

bool CElementInfoChoiceCol::ElementFromXml(const Context& context, Object* object, Element* parent, Element** current,
                                           const char16_t*, XmlElementType parentType) const {
    CSmartPtr<CXmlCollectionBase> collection = GetPropertyCollection(object);
    Element* result = FromXml_Int(collection.get(), parent, *current, context, false);
    return FinishChoiceCollection(context, collection, result, current, parentType);
}

bool CElementInfoChoiceUntpdCol::ElementFromXml(const Context& context, Object* object, Element* parent,
                                                Element** current, const char16_t*, XmlElementType parentType) const {
    CSmartPtr<CXmlCollectionBase> collection;
    Element* result = ReadUntypedCollection(context, object, parent, *current, collection);
    return FinishChoiceCollection(context, collection, result, current, parentType);
}

} // namespace KvXmlLib16Data
