#pragma once

#include "kvxml/binding/CElementInfoKinds.h"

namespace KvXmlLib16Data {

// Children of an xs:sequence. Fields, constructors and writing come from the kinds; each class here
// adds its reading, which searches forward or fails according to its occurrence.

class KVXML_API CElementInfoSeqAbsClsMnd : public CElementInfoAbsClsKind<Occurrence::Mandatory> {
public:
    using CElementInfoAbsClsKind::CElementInfoAbsClsKind;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current, const char16_t* ns,
                        XmlElementType parentType) const override;
};

class KVXML_API CElementInfoSeqAbsClsOpt : public CElementInfoAbsClsKind<Occurrence::Optional> {
public:
    using CElementInfoAbsClsKind::CElementInfoAbsClsKind;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current, const char16_t* ns,
                        XmlElementType parentType) const override;
};

// A mandatory child class; the property already holds its object, which the record reads into.
class KVXML_API CElementInfoSeqClsMnd : public CElementInfoClsMndKind {
public:
    using CElementInfoClsMndKind::CElementInfoClsMndKind;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current, const char16_t* ns,
                        XmlElementType parentType) const override;
};

// An optional child class; the record makes the object when its element is there.
class KVXML_API CElementInfoSeqClsOpt : public CElementInfoClsKind<Occurrence::Optional> {
public:
    using CElementInfoClsKind::CElementInfoClsKind;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current, const char16_t* ns,
                        XmlElementType parentType) const override;
};

class KVXML_API CElementInfoSeqEnumMnd : public CElementInfoEnumKind<Occurrence::Mandatory> {
public:
    using CElementInfoEnumKind::CElementInfoEnumKind;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current, const char16_t* ns,
                        XmlElementType parentType) const override;
};

class KVXML_API CElementInfoSeqEnumOpt : public CElementInfoEnumKind<Occurrence::Optional> {
public:
    using CElementInfoEnumKind::CElementInfoEnumKind;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current, const char16_t* ns,
                        XmlElementType parentType) const override;
};

class KVXML_API CElementInfoSeqPrimMnd : public CElementInfoPrimKind<Occurrence::Mandatory> {
public:
    using CElementInfoPrimKind::CElementInfoPrimKind;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current, const char16_t* ns,
                        XmlElementType parentType) const override;
};

class KVXML_API CElementInfoSeqPrimOpt : public CElementInfoPrimKind<Occurrence::Optional> {
public:
    using CElementInfoPrimKind::CElementInfoPrimKind;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current, const char16_t* ns,
                        XmlElementType parentType) const override;
};

class KVXML_API CElementInfoSeqUntpdMnd : public CElementInfoUntpdKind<Occurrence::Mandatory> {
public:
    using CElementInfoUntpdKind::CElementInfoUntpdKind;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current, const char16_t* ns,
                        XmlElementType parentType) const override;
};

class KVXML_API CElementInfoSeqUntpdOpt : public CElementInfoUntpdKind<Occurrence::Optional> {
public:
    using CElementInfoUntpdKind::CElementInfoUntpdKind;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current, const char16_t* ns,
                        XmlElementType parentType) const override;
};

// Repeated children, held in a collection in the property; the count is checked after reading.
class KVXML_API CElementInfoSeqCol : public CElementInfo {
public:
    CElementInfoSeqCol(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex);
    bool ElementToXml(const Context& context, const Object* object, Writer* writer) const override;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current, const char16_t* ns,
                        XmlElementType parentType) const override;

protected:
    // In a class with an element of its own a wrong count fails; in another it only reports false.
    static bool CountRule(const Context& context, KvXmlLib16::CXmlCollectionBase* collection,
                          XmlElementType parentType);
};

// Arguments: name, namespace, property index, element type.
class KVXML_API CElementInfoSeqAbsClsCol : public CElementInfoClsColKind<CElementInfoSeqCol> {
public:
    using CElementInfoClsColKind::CElementInfoClsColKind;
};

// Arguments: name, namespace, property index, element type.
class KVXML_API CElementInfoSeqClsCol : public CElementInfoClsColKind<CElementInfoSeqCol> {
public:
    using CElementInfoClsColKind::CElementInfoClsColKind;
};

class KVXML_API CElementInfoSeqEnumCol : public CElementInfoSeqCol {
public:
    using CElementInfoSeqCol::CElementInfoSeqCol;
};

class KVXML_API CElementInfoSeqPrimCol : public CElementInfoSeqCol {
public:
    using CElementInfoSeqCol::CElementInfoSeqCol;
};

// Reads its items as elements; a record with a name other than "AnyElement" locks them to it.
class KVXML_API CElementInfoSeqUntpdCol : public CElementInfoSeqCol {
public:
    using CElementInfoSeqCol::CElementInfoSeqCol;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current, const char16_t* ns,
                        XmlElementType parentType) const override;
};

} // namespace KvXmlLib16Data
