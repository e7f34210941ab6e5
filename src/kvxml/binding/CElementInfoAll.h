#pragma once

#include "kvxml/binding/CElementInfo.h"

namespace KvXmlLib16Data {

// Children of an xs:all, in any order. The driver remembers what was found and asks Validate.

class KVXML_API CElementInfoAllAbsClsMnd : public CElementInfo {
public:
    CElementInfoAllAbsClsMnd(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex,
        XmlElementType elementType, ElementCreatorFunc creator, int32_t unused);
    bool ElementToXml(const Context& context, const Object* object, Writer* writer) const override;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current,
                        const char16_t* ns, XmlElementType parentType) const override;
    bool Validate(const Context& context, const Object* object, bool found, bool strict) const override;
    void PseudoChildAttributeToXml(const Context& context, const Object* object, Writer* writer) const override;

protected:
    XmlElementType m_elementType;
    ElementCreatorFunc m_creator;
    int32_t m_unused; // stored, read by nothing
};

class KVXML_API CElementInfoAllAbsClsOpt : public CElementInfo {
public:
    CElementInfoAllAbsClsOpt(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex,
        XmlElementType elementType, ElementCreatorFunc creator);
    bool ElementToXml(const Context& context, const Object* object, Writer* writer) const override;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current,
                        const char16_t* ns, XmlElementType parentType) const override;
    bool Validate(const Context& context, const Object* object, bool found, bool strict) const override;
    void PseudoChildAttributeToXml(const Context& context, const Object* object, Writer* writer) const override;

protected:
    XmlElementType m_elementType;
    ElementCreatorFunc m_creator;
};

class KVXML_API CElementInfoAllClsMnd : public CElementInfo {
public:
    CElementInfoAllClsMnd(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex,
        XmlElementType elementType, ClassCreatorFunc creator, int32_t classId, bool contentRequired);
    bool ElementToXml(const Context& context, const Object* object, Writer* writer) const override;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current,
                        const char16_t* ns, XmlElementType parentType) const override;
    bool Validate(const Context& context, const Object* object, bool found, bool strict) const override;
    void PseudoChildAttributeToXml(const Context& context, const Object* object, Writer* writer) const override;

protected:
    XmlElementType m_elementType;
    ClassCreatorFunc m_creator;
    int32_t m_classId;
    bool m_contentRequired;
};

class KVXML_API CElementInfoAllClsOpt : public CElementInfo {
public:
    CElementInfoAllClsOpt(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex,
        XmlElementType elementType, ClassCreatorFunc creator, int32_t classId);
    bool ElementToXml(const Context& context, const Object* object, Writer* writer) const override;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current,
                        const char16_t* ns, XmlElementType parentType) const override;
    bool Validate(const Context& context, const Object* object, bool found, bool strict) const override;
    void PseudoChildAttributeToXml(const Context& context, const Object* object, Writer* writer) const override;

protected:
    XmlElementType m_elementType;
    ClassCreatorFunc m_creator;
    int32_t m_classId;
};

class KVXML_API CElementInfoAllEnumMnd : public CElementInfo {
public:
    CElementInfoAllEnumMnd(const char16_t* elementName, const char16_t* elementNamespace,
        int32_t propertyIndex, bool nillable, EnumToTextFunc enumToText, EnumFromTextFunc enumFromText,
        const char16_t* defaultValue);
    bool ElementToXml(const Context& context, const Object* object, Writer* writer) const override;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current,
                        const char16_t* ns, XmlElementType parentType) const override;
    bool Validate(const Context& context, const Object* object, bool found, bool strict) const override;
};

class KVXML_API CElementInfoAllEnumOpt : public CElementInfo {
public:
    CElementInfoAllEnumOpt(const char16_t* elementName, const char16_t* elementNamespace,
        int32_t propertyIndex, bool nillable, EnumToTextFunc enumToText, EnumFromTextFunc enumFromText,
        const char16_t* defaultValue);
    bool ElementToXml(const Context& context, const Object* object, Writer* writer) const override;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current,
                        const char16_t* ns, XmlElementType parentType) const override;
    bool Validate(const Context& context, const Object* object, bool found, bool strict) const override;
};

class KVXML_API CElementInfoAllPrimMnd : public CElementInfo {
public:
    CElementInfoAllPrimMnd(const char16_t* elementName, const char16_t* elementNamespace,
        int32_t propertyIndex, bool nillable, KvXmlLib16::ItemType itemType, const char16_t* formatOverride,
        KvXmlLib16::CWhitespaceUtils::WhitespaceRule whitespaceRule,
        const KvXmlLib16::CPrimitiveRestrictions& restrictions, const char16_t* defaultValue);
    bool ElementToXml(const Context& context, const Object* object, Writer* writer) const override;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current,
                        const char16_t* ns, XmlElementType parentType) const override;
    bool Validate(const Context& context, const Object* object, bool found, bool strict) const override;
};

class KVXML_API CElementInfoAllPrimOpt : public CElementInfo {
public:
    CElementInfoAllPrimOpt(const char16_t* elementName, const char16_t* elementNamespace,
        int32_t propertyIndex, bool nillable, KvXmlLib16::ItemType itemType, const char16_t* formatOverride,
        KvXmlLib16::CWhitespaceUtils::WhitespaceRule whitespaceRule,
        const KvXmlLib16::CPrimitiveRestrictions& restrictions, const char16_t* defaultValue);
    bool ElementToXml(const Context& context, const Object* object, Writer* writer) const override;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current,
                        const char16_t* ns, XmlElementType parentType) const override;
    bool Validate(const Context& context, const Object* object, bool found, bool strict) const override;
};

class KVXML_API CElementInfoAllUntpdMnd : public CElementInfo {
public:
    CElementInfoAllUntpdMnd(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex,
        const char16_t* namespacePattern, const char16_t* targetNamespace);
    bool ElementToXml(const Context& context, const Object* object, Writer* writer) const override;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current,
                        const char16_t* ns, XmlElementType parentType) const override;
    bool Validate(const Context& context, const Object* object, bool found, bool strict) const override;

protected:
    std::u16string m_namespacePattern;
    std::u16string m_targetNamespace;
};

class KVXML_API CElementInfoAllUntpdOpt : public CElementInfo {
public:
    CElementInfoAllUntpdOpt(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex,
        const char16_t* namespacePattern, const char16_t* targetNamespace);
    bool ElementToXml(const Context& context, const Object* object, Writer* writer) const override;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current,
                        const char16_t* ns, XmlElementType parentType) const override;
    bool Validate(const Context& context, const Object* object, bool found, bool strict) const override;

protected:
    std::u16string m_namespacePattern;
    std::u16string m_targetNamespace;
};

// Repeated children; never reports found, so it stays in play for every pass.
class KVXML_API CElementInfoAllCol : public CElementInfo {
public:
    CElementInfoAllCol(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex);
    bool ElementToXml(const Context& context, const Object* object, Writer* writer) const override;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current,
                        const char16_t* ns, XmlElementType parentType) const override;
};

class KVXML_API CElementInfoAllAbsClsCol : public CElementInfoAllCol {
public:
    CElementInfoAllAbsClsCol(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex,
        XmlElementType elementType);
    void PseudoChildAttributeToXml(const Context& context, const Object* object, Writer* writer) const override;

protected:
    XmlElementType m_elementType;
};

class KVXML_API CElementInfoAllClsCol : public CElementInfoAllCol {
public:
    CElementInfoAllClsCol(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex,
        XmlElementType elementType);
    void PseudoChildAttributeToXml(const Context& context, const Object* object, Writer* writer) const override;

protected:
    XmlElementType m_elementType;
};

class KVXML_API CElementInfoAllPrimCol : public CElementInfoAllCol {
public:
    CElementInfoAllPrimCol(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex);
};

class KVXML_API CElementInfoAllUntpdCol : public CElementInfoAllCol {
public:
    CElementInfoAllUntpdCol(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex);
};

// Kept abstract: writing and reading stay pure, so the class cannot be used.
class KVXML_API CElementInfoAllEnumCol : public CElementInfo {
public:
    CElementInfoAllEnumCol(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex);
};

} // namespace KvXmlLib16Data
