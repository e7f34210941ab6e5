#pragma once

#include "kvxml/binding/CElementInfoKinds.h"

namespace KvXmlLib16Data {

// Alternatives of an xs:choice. A record never searches: it looks at the current element and
// says whether it took it. Fields, constructors and writing come from the kinds.

class KVXML_API CElementInfoChoiceAbsClsOpt : public CElementInfoAbsClsKind<Occurrence::Optional> {
public:
    using CElementInfoAbsClsKind::CElementInfoAbsClsKind;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current, const char16_t* ns,
                        XmlElementType parentType) const override;
};

class KVXML_API CElementInfoChoiceClsOpt : public CElementInfoClsKind<Occurrence::Optional> {
public:
    using CElementInfoClsKind::CElementInfoClsKind;
    // An alternative that is itself a choice may come out empty.
    bool ElementToXml(const Context& context, const Object* object, Writer* writer) const override;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current, const char16_t* ns,
                        XmlElementType parentType) const override;
};

// Reads as CElementInfoAllEnumMnd does.
class KVXML_API CElementInfoChoiceEnumOpt : public CElementInfoEnumKind<Occurrence::Optional> {
public:
    using CElementInfoEnumKind::CElementInfoEnumKind;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current, const char16_t* ns,
                        XmlElementType parentType) const override;
};

// Reads as CElementInfoAllPrimMnd does.
class KVXML_API CElementInfoChoicePrimOpt : public CElementInfoPrimKind<Occurrence::Optional> {
public:
    using CElementInfoPrimKind::CElementInfoPrimKind;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current, const char16_t* ns,
                        XmlElementType parentType) const override;
};

class KVXML_API CElementInfoChoiceUntpdOpt : public CElementInfoUntpdKind<Occurrence::Optional> {
public:
    using CElementInfoUntpdKind::CElementInfoUntpdKind;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current, const char16_t* ns,
                        XmlElementType parentType) const override;
};

// Repeated alternatives; the collection is not bounds-checked on writing.
class KVXML_API CElementInfoChoiceCol : public CElementInfo {
public:
    CElementInfoChoiceCol(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex);
    bool ElementToXml(const Context& context, const Object* object, Writer* writer) const override;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current, const char16_t* ns,
                        XmlElementType parentType) const override;
};

// Arguments: name, namespace, property index, element type.
class KVXML_API CElementInfoChoiceAbsClsCol : public CElementInfoClsColKind<CElementInfoChoiceCol> {
public:
    using CElementInfoClsColKind::CElementInfoClsColKind;
};

// Arguments: name, namespace, property index, element type.
class KVXML_API CElementInfoChoiceClsCol : public CElementInfoClsColKind<CElementInfoChoiceCol> {
public:
    using CElementInfoClsColKind::CElementInfoClsColKind;
};

class KVXML_API CElementInfoChoiceEnumCol : public CElementInfoChoiceCol {
public:
    using CElementInfoChoiceCol::CElementInfoChoiceCol;
};

class KVXML_API CElementInfoChoicePrimCol : public CElementInfoChoiceCol {
public:
    using CElementInfoChoiceCol::CElementInfoChoiceCol;
};

// Reads its items as elements; a record with a name other than "AnyElement" locks them to it.
class KVXML_API CElementInfoChoiceUntpdCol : public CElementInfoChoiceCol {
public:
    using CElementInfoChoiceCol::CElementInfoChoiceCol;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current, const char16_t* ns,
                        XmlElementType parentType) const override;
};

} // namespace KvXmlLib16Data
