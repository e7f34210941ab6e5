#pragma once

#include "kvxml/binding/CElementInfo.h"

namespace KvXmlLib16Data {

// Alternatives of an xs:choice. A record never searches: it looks at the current element and
// says whether it took it.

class KVXML_API CElementInfoChoiceAbsClsOpt : public CElementInfo {
public:
    CElementInfoChoiceAbsClsOpt(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex,
        XmlElementType elementType, ElementCreatorFunc creator);
    bool ElementToXml(const Context& context, const Object* object, Writer* writer) const override;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current,
                        const char16_t* ns, XmlElementType parentType) const override;
    void PseudoChildAttributeToXml(const Context& context, const Object* object, Writer* writer) const override;

protected:
    XmlElementType m_elementType;
    ElementCreatorFunc m_creator;
};

class KVXML_API CElementInfoChoiceClsOpt : public CElementInfo {
public:
    CElementInfoChoiceClsOpt(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex,
        XmlElementType elementType, ClassCreatorFunc creator, int32_t classId);
    bool ElementToXml(const Context& context, const Object* object, Writer* writer) const override;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current,
                        const char16_t* ns, XmlElementType parentType) const override;
    void PseudoChildAttributeToXml(const Context& context, const Object* object, Writer* writer) const override;

protected:
    XmlElementType m_elementType;
    ClassCreatorFunc m_creator;
    int32_t m_classId;
};

class KVXML_API CElementInfoChoiceEnumOpt : public CElementInfo {
public:
    CElementInfoChoiceEnumOpt(const char16_t* elementName, const char16_t* elementNamespace,
        int32_t propertyIndex, bool nillable, EnumToTextFunc enumToText, EnumFromTextFunc enumFromText,
        const char16_t* defaultValue);
    bool ElementToXml(const Context& context, const Object* object, Writer* writer) const override;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current,
                        const char16_t* ns, XmlElementType parentType) const override;
};

class KVXML_API CElementInfoChoicePrimOpt : public CElementInfo {
public:
    CElementInfoChoicePrimOpt(const char16_t* elementName, const char16_t* elementNamespace,
        int32_t propertyIndex, bool nillable, KvXmlLib16::ItemType itemType, const char16_t* formatOverride,
        KvXmlLib16::CWhitespaceUtils::WhitespaceRule whitespaceRule,
        const KvXmlLib16::CPrimitiveRestrictions& restrictions, const char16_t* defaultValue);
    bool ElementToXml(const Context& context, const Object* object, Writer* writer) const override;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current,
                        const char16_t* ns, XmlElementType parentType) const override;
};

class KVXML_API CElementInfoChoiceUntpdOpt : public CElementInfo {
public:
    CElementInfoChoiceUntpdOpt(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex,
        const char16_t* namespacePattern, const char16_t* targetNamespace);
    bool ElementToXml(const Context& context, const Object* object, Writer* writer) const override;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current,
                        const char16_t* ns, XmlElementType parentType) const override;

protected:
    std::u16string m_namespacePattern;
    std::u16string m_targetNamespace;
};

// Repeated alternatives; the collection is not bounds-checked on writing.
class KVXML_API CElementInfoChoiceCol : public CElementInfo {
public:
    CElementInfoChoiceCol(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex);
    bool ElementToXml(const Context& context, const Object* object, Writer* writer) const override;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current,
                        const char16_t* ns, XmlElementType parentType) const override;
};

class KVXML_API CElementInfoChoiceAbsClsCol : public CElementInfoChoiceCol {
public:
    CElementInfoChoiceAbsClsCol(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex,
        XmlElementType elementType);
    void PseudoChildAttributeToXml(const Context& context, const Object* object, Writer* writer) const override;

protected:
    XmlElementType m_elementType;
};

class KVXML_API CElementInfoChoiceClsCol : public CElementInfoChoiceCol {
public:
    CElementInfoChoiceClsCol(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex,
        XmlElementType elementType);
    void PseudoChildAttributeToXml(const Context& context, const Object* object, Writer* writer) const override;

protected:
    XmlElementType m_elementType;
};

class KVXML_API CElementInfoChoiceEnumCol : public CElementInfoChoiceCol {
public:
    CElementInfoChoiceEnumCol(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex);
};

class KVXML_API CElementInfoChoicePrimCol : public CElementInfoChoiceCol {
public:
    CElementInfoChoicePrimCol(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex);
};

class KVXML_API CElementInfoChoiceUntpdCol : public CElementInfoChoiceCol {
public:
    CElementInfoChoiceUntpdCol(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex);
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current,
                        const char16_t* ns, XmlElementType parentType) const override;
};

} // namespace KvXmlLib16Data
