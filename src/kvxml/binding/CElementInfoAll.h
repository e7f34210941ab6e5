#pragma once

#include "kvxml/binding/CElementInfoKinds.h"

namespace KvXmlLib16Data {

// Children of an xs:all, in any order. The driver remembers what was found and asks Validate.
// Fields, constructors and writing come from the kinds.

class KVXML_API CElementInfoAllAbsClsMnd : public CElementInfoAbsClsKind<Occurrence::Mandatory> {
public:
    // Generated code passes one more number, which nothing needs.
    CElementInfoAllAbsClsMnd(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex,
                             XmlElementType elementType, ElementCreatorFunc creator, int32_t unused);
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current, const char16_t* ns,
                        XmlElementType parentType) const override;
    bool Validate(const Context& context, const Object* object, bool found, bool strict) const override;
};

class KVXML_API CElementInfoAllAbsClsOpt : public CElementInfoAbsClsKind<Occurrence::Optional> {
public:
    using CElementInfoAbsClsKind::CElementInfoAbsClsKind;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current, const char16_t* ns,
                        XmlElementType parentType) const override;
    bool Validate(const Context& context, const Object* object, bool found, bool strict) const override;
};

class KVXML_API CElementInfoAllClsMnd : public CElementInfoClsMndKind {
public:
    using CElementInfoClsMndKind::CElementInfoClsMndKind;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current, const char16_t* ns,
                        XmlElementType parentType) const override;
    bool Validate(const Context& context, const Object* object, bool found, bool strict) const override;
};

class KVXML_API CElementInfoAllClsOpt : public CElementInfoClsKind<Occurrence::Optional> {
public:
    using CElementInfoClsKind::CElementInfoClsKind;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current, const char16_t* ns,
                        XmlElementType parentType) const override;
    bool Validate(const Context& context, const Object* object, bool found, bool strict) const override;
};

class KVXML_API CElementInfoAllEnumMnd : public CElementInfoEnumKind<Occurrence::Mandatory> {
public:
    using CElementInfoEnumKind::CElementInfoEnumKind;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current, const char16_t* ns,
                        XmlElementType parentType) const override;
    bool Validate(const Context& context, const Object* object, bool found, bool strict) const override;
};

class KVXML_API CElementInfoAllEnumOpt : public CElementInfoEnumKind<Occurrence::Optional> {
public:
    using CElementInfoEnumKind::CElementInfoEnumKind;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current, const char16_t* ns,
                        XmlElementType parentType) const override;
    bool Validate(const Context& context, const Object* object, bool found, bool strict) const override;
};

class KVXML_API CElementInfoAllPrimMnd : public CElementInfoPrimKind<Occurrence::Mandatory> {
public:
    using CElementInfoPrimKind::CElementInfoPrimKind;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current, const char16_t* ns,
                        XmlElementType parentType) const override;
    bool Validate(const Context& context, const Object* object, bool found, bool strict) const override;
};

class KVXML_API CElementInfoAllPrimOpt : public CElementInfoPrimKind<Occurrence::Optional> {
public:
    using CElementInfoPrimKind::CElementInfoPrimKind;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current, const char16_t* ns,
                        XmlElementType parentType) const override;
    bool Validate(const Context& context, const Object* object, bool found, bool strict) const override;
};

class KVXML_API CElementInfoAllUntpdMnd : public CElementInfoUntpdKind<Occurrence::Mandatory> {
public:
    using CElementInfoUntpdKind::CElementInfoUntpdKind;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current, const char16_t* ns,
                        XmlElementType parentType) const override;
    bool Validate(const Context& context, const Object* object, bool found, bool strict) const override;
};

class KVXML_API CElementInfoAllUntpdOpt : public CElementInfoUntpdKind<Occurrence::Optional> {
public:
    using CElementInfoUntpdKind::CElementInfoUntpdKind;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current, const char16_t* ns,
                        XmlElementType parentType) const override;
    bool Validate(const Context& context, const Object* object, bool found, bool strict) const override;
};

// Repeated children; never reports found, so it stays in play for every pass. Keeps the base Validate.
class KVXML_API CElementInfoAllCol : public CElementInfo {
public:
    CElementInfoAllCol(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex);
    bool ElementToXml(const Context& context, const Object* object, Writer* writer) const override;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current, const char16_t* ns,
                        XmlElementType parentType) const override;
};

// Arguments: name, namespace, property index, element type.
class KVXML_API CElementInfoAllAbsClsCol : public CElementInfoClsColKind<CElementInfoAllCol> {
public:
    using CElementInfoClsColKind::CElementInfoClsColKind;
};

// Arguments: name, namespace, property index, element type.
class KVXML_API CElementInfoAllClsCol : public CElementInfoClsColKind<CElementInfoAllCol> {
public:
    using CElementInfoClsColKind::CElementInfoClsColKind;
};

class KVXML_API CElementInfoAllPrimCol : public CElementInfoAllCol {
public:
    using CElementInfoAllCol::CElementInfoAllCol;
};

class KVXML_API CElementInfoAllUntpdCol : public CElementInfoAllCol {
public:
    using CElementInfoAllCol::CElementInfoAllCol;
};

// Kept abstract: writing and reading stay pure, so the class cannot be used.
class KVXML_API CElementInfoAllEnumCol : public CElementInfo {
public:
    CElementInfoAllEnumCol(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex);
};

} // namespace KvXmlLib16Data
