#pragma once

#include "kvxml/binding/CElementInfo.h"

namespace KvXmlLib16Data {

// Children of an xs:sequence. The writing rules here are shared by all three model groups.

// A child whose class is chosen at run time by a creator that looks at the element.
class KVXML_API CElementInfoSeqAbsClsMnd : public CElementInfo {
public:
    CElementInfoSeqAbsClsMnd(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex,
                             XmlElementType elementType, ElementCreatorFunc creator);
    bool ElementToXml(const Context& context, const Object* object, Writer* writer) const override;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current,
                        const char16_t* ns, XmlElementType parentType) const override;
    void PseudoChildAttributeToXml(const Context& context, const Object* object, Writer* writer) const override;

protected:
    XmlElementType m_elementType;
    ElementCreatorFunc m_creator;
};

class KVXML_API CElementInfoSeqAbsClsOpt : public CElementInfo {
public:
    CElementInfoSeqAbsClsOpt(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex,
                             XmlElementType elementType, ElementCreatorFunc creator);
    bool ElementToXml(const Context& context, const Object* object, Writer* writer) const override;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current,
                        const char16_t* ns, XmlElementType parentType) const override;
    void PseudoChildAttributeToXml(const Context& context, const Object* object, Writer* writer) const override;

protected:
    XmlElementType m_elementType;
    ElementCreatorFunc m_creator;
};

// A mandatory child class; the property already holds its object, which the record reads into.
class KVXML_API CElementInfoSeqClsMnd : public CElementInfo {
public:
    CElementInfoSeqClsMnd(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex,
                          XmlElementType elementType, ClassCreatorFunc creator, int32_t classId,
                          bool contentRequired);
    bool ElementToXml(const Context& context, const Object* object, Writer* writer) const override;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current,
                        const char16_t* ns, XmlElementType parentType) const override;
    void PseudoChildAttributeToXml(const Context& context, const Object* object, Writer* writer) const override;

protected:
    XmlElementType m_elementType;
    bool m_contentRequired;
    ClassCreatorFunc m_creator;
    int32_t m_classId;
};

// An optional child class; the record makes the object when its element is there.
class KVXML_API CElementInfoSeqClsOpt : public CElementInfo {
public:
    CElementInfoSeqClsOpt(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex,
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

class KVXML_API CElementInfoSeqEnumMnd : public CElementInfo {
public:
    CElementInfoSeqEnumMnd(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex,
                           bool nillable, EnumToTextFunc enumToText, EnumFromTextFunc enumFromText,
                           const char16_t* defaultValue);
    bool ElementToXml(const Context& context, const Object* object, Writer* writer) const override;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current,
                        const char16_t* ns, XmlElementType parentType) const override;
};

class KVXML_API CElementInfoSeqEnumOpt : public CElementInfo {
public:
    CElementInfoSeqEnumOpt(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex,
                           bool nillable, EnumToTextFunc enumToText, EnumFromTextFunc enumFromText,
                           const char16_t* defaultValue);
    bool ElementToXml(const Context& context, const Object* object, Writer* writer) const override;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current,
                        const char16_t* ns, XmlElementType parentType) const override;
};

class KVXML_API CElementInfoSeqPrimMnd : public CElementInfo {
public:
    CElementInfoSeqPrimMnd(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex,
                           bool nillable, KvXmlLib16::ItemType itemType, const char16_t* formatOverride,
                           KvXmlLib16::CWhitespaceUtils::WhitespaceRule whitespaceRule,
                           const KvXmlLib16::CPrimitiveRestrictions& restrictions, const char16_t* defaultValue);
    bool ElementToXml(const Context& context, const Object* object, Writer* writer) const override;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current,
                        const char16_t* ns, XmlElementType parentType) const override;
};

class KVXML_API CElementInfoSeqPrimOpt : public CElementInfo {
public:
    CElementInfoSeqPrimOpt(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex,
                           bool nillable, KvXmlLib16::ItemType itemType, const char16_t* formatOverride,
                           KvXmlLib16::CWhitespaceUtils::WhitespaceRule whitespaceRule,
                           const KvXmlLib16::CPrimitiveRestrictions& restrictions, const char16_t* defaultValue);
    bool ElementToXml(const Context& context, const Object* object, Writer* writer) const override;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current,
                        const char16_t* ns, XmlElementType parentType) const override;
};

// Wildcard content (xs:any). The name is the marker "AnyElement", or the one name the schema allows.
class KVXML_API CElementInfoSeqUntpdMnd : public CElementInfo {
public:
    CElementInfoSeqUntpdMnd(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex,
                            const char16_t* namespacePattern, const char16_t* targetNamespace);
    bool ElementToXml(const Context& context, const Object* object, Writer* writer) const override;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current,
                        const char16_t* ns, XmlElementType parentType) const override;

protected:
    std::u16string m_namespacePattern;
    std::u16string m_targetNamespace;
};

class KVXML_API CElementInfoSeqUntpdOpt : public CElementInfo {
public:
    CElementInfoSeqUntpdOpt(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex,
                            const char16_t* namespacePattern, const char16_t* targetNamespace);
    bool ElementToXml(const Context& context, const Object* object, Writer* writer) const override;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current,
                        const char16_t* ns, XmlElementType parentType) const override;

protected:
    std::u16string m_namespacePattern;
    std::u16string m_targetNamespace;
};

// Repeated children, held in a collection in the property.
class KVXML_API CElementInfoSeqCol : public CElementInfo {
public:
    CElementInfoSeqCol(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex);
    bool ElementToXml(const Context& context, const Object* object, Writer* writer) const override;
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current,
                        const char16_t* ns, XmlElementType parentType) const override;
};

class KVXML_API CElementInfoSeqAbsClsCol : public CElementInfoSeqCol {
public:
    CElementInfoSeqAbsClsCol(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex,
                             XmlElementType elementType);
    void PseudoChildAttributeToXml(const Context& context, const Object* object, Writer* writer) const override;

protected:
    XmlElementType m_elementType;
};

class KVXML_API CElementInfoSeqClsCol : public CElementInfoSeqCol {
public:
    CElementInfoSeqClsCol(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex,
                          XmlElementType elementType);
    void PseudoChildAttributeToXml(const Context& context, const Object* object, Writer* writer) const override;

protected:
    XmlElementType m_elementType;
};

class KVXML_API CElementInfoSeqEnumCol : public CElementInfoSeqCol {
public:
    CElementInfoSeqEnumCol(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex);
};

class KVXML_API CElementInfoSeqPrimCol : public CElementInfoSeqCol {
public:
    CElementInfoSeqPrimCol(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex);
};

class KVXML_API CElementInfoSeqUntpdCol : public CElementInfoSeqCol {
public:
    CElementInfoSeqUntpdCol(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex);
    bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current,
                        const char16_t* ns, XmlElementType parentType) const override;
};

} // namespace KvXmlLib16Data
