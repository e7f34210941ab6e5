#pragma once

#include "kvxml/binding/CElementInfo.h"

namespace KvXmlLib16Data {

// What the records of one kind share in every model group: their fields, their constructor and their
// writing. The group classes (Seq, Choice, All) derive from these and add only their reading and,
// in an xs:all, their Validate.

// A mandatory child that writes nothing fails; an optional one just reports that nothing was written.
enum class Occurrence { Mandatory, Optional };

// Base of the kinds below; applies the occurrence rule to what a writing member returns.
template <Occurrence O>
class KVXML_API CElementInfoOccurs : public CElementInfo {
protected:
    using CElementInfo::CElementInfo;
    bool ByOccurrence(bool written) const { return O == Occurrence::Mandatory ? MandatoryRule(written) : written; }
};

// A primitive value. Arguments: name, namespace, property index, nillable, item type, format override,
// whitespace rule, restrictions, default value.
template <Occurrence O>
class KVXML_API CElementInfoPrimKind : public CElementInfoOccurs<O> {
public:
    CElementInfoPrimKind(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex,
                         bool nillable, KvXmlLib16::ItemType itemType, const char16_t* formatOverride,
                         KvXmlLib16::CWhitespaceUtils::WhitespaceRule whitespaceRule,
                         const KvXmlLib16::CPrimitiveRestrictions& restrictions, const char16_t* defaultValue)
        : CElementInfoOccurs<O>(elementName, elementNamespace, propertyIndex, nillable, itemType, formatOverride,
                                whitespaceRule, restrictions, defaultValue) {}
    bool ElementToXml(const CElementInfo::Context& context, const CElementInfo::Object* object,
                      CElementInfo::Writer* writer) const override {
        return this->ByOccurrence(this->ElementToXmlPrim(context, object, writer));
    }

protected:
    // Reads the current element if it is this record's; says whether it did.
    bool ReadIfThisElement(const CElementInfo::Context& context, CElementInfo::Object* object,
                           CElementInfo::Element** current) const {
        if (!this->IsThisElement(context, *current)) return false;
        this->ElementFromXmlPrim(context, object, current);
        return true;
    }
};

// An enumeration value. Arguments: name, namespace, property index, nillable, enum to text,
// enum from text, default value.
template <Occurrence O>
class KVXML_API CElementInfoEnumKind : public CElementInfoOccurs<O> {
public:
    CElementInfoEnumKind(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex,
                         bool nillable, EnumToTextFunc enumToText, EnumFromTextFunc enumFromText,
                         const char16_t* defaultValue)
        : CElementInfoOccurs<O>(elementName, elementNamespace, propertyIndex, nillable, enumToText, enumFromText,
                                defaultValue) {}
    bool ElementToXml(const CElementInfo::Context& context, const CElementInfo::Object* object,
                      CElementInfo::Writer* writer) const override {
        return this->ByOccurrence(this->ElementToXmlEnum(context, object, writer, this->m_enumToText));
    }

protected:
    // Reads the current element if it is this record's; says whether it did.
    bool ReadIfThisElement(const CElementInfo::Context& context, CElementInfo::Object* object,
                           CElementInfo::Element** current) const {
        if (!this->IsThisElement(context, *current)) return false;
        this->ElementFromXmlEnum(context, object, current);
        return true;
    }
};

// Wildcard content (xs:any). The name is the marker "AnyElement", or the one name the schema allows.
// Arguments: name, namespace, property index, namespace pattern, target namespace.
template <Occurrence O>
class KVXML_API CElementInfoUntpdKind : public CElementInfoOccurs<O> {
public:
    CElementInfoUntpdKind(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex,
                          const char16_t* namespacePattern, const char16_t* targetNamespace)
        : CElementInfoOccurs<O>(elementName, elementNamespace, propertyIndex),
          m_namespacePattern(namespacePattern ? namespacePattern : u""),
          m_targetNamespace(targetNamespace ? targetNamespace : u"") {
        this->m_usesNamespace = true;
    }
    bool ElementToXml(const CElementInfo::Context& context, const CElementInfo::Object* object,
                      CElementInfo::Writer* writer) const override {
        return this->ByOccurrence(this->ElementToXmlCls(context, object, writer, false));
    }

protected:
    std::u16string m_namespacePattern;
    std::u16string m_targetNamespace;
};

// A child object: written by its own ToXml_Int, its attributes go up into a parent without an element.
template <Occurrence O>
class KVXML_API CElementInfoClassKind : public CElementInfoOccurs<O> {
public:
    bool ElementToXml(const CElementInfo::Context& context, const CElementInfo::Object* object,
                      CElementInfo::Writer* writer) const override {
        return this->ByOccurrence(this->ElementToXmlCls(context, object, writer, false));
    }
    void PseudoChildAttributeToXml(const CElementInfo::Context& context, const CElementInfo::Object* object,
                                   CElementInfo::Writer* writer) const override {
        this->ClassAttributesToParent(context, object, writer, m_elementType);
    }

protected:
    CElementInfoClassKind(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex,
                          XmlElementType elementType)
        : CElementInfoOccurs<O>(elementName, elementNamespace, propertyIndex), m_elementType(elementType) {}

    XmlElementType m_elementType;
};

// A child whose class is chosen at run time by a creator that looks at the element.
// Arguments: name, namespace, property index, element type, creator.
template <Occurrence O>
class KVXML_API CElementInfoAbsClsKind : public CElementInfoClassKind<O> {
public:
    CElementInfoAbsClsKind(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex,
                           XmlElementType elementType, ElementCreatorFunc creator)
        : CElementInfoClassKind<O>(elementName, elementNamespace, propertyIndex, elementType), m_creator(creator) {}

protected:
    ElementCreatorFunc m_creator;
};

// A child of a known class, made by class id. Arguments: name, namespace, property index, element type,
// creator, class id.
template <Occurrence O>
class KVXML_API CElementInfoClsKind : public CElementInfoClassKind<O> {
public:
    CElementInfoClsKind(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex,
                        XmlElementType elementType, ClassCreatorFunc creator, int32_t classId)
        : CElementInfoClassKind<O>(elementName, elementNamespace, propertyIndex, elementType),
          m_creator(creator),
          m_classId(classId) {}

protected:
    ClassCreatorFunc m_creator;
    int32_t m_classId;
};

// A mandatory child of a known class. Content required: in a class without an element of its own,
// whether its children must take something. Arguments: as above, then content required.
class KVXML_API CElementInfoClsMndKind : public CElementInfoClsKind<Occurrence::Mandatory> {
public:
    CElementInfoClsMndKind(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex,
                           XmlElementType elementType, ClassCreatorFunc creator, int32_t classId, bool contentRequired)
        : CElementInfoClsKind(elementName, elementNamespace, propertyIndex, elementType, creator, classId),
          m_contentRequired(contentRequired) {}

protected:
    bool m_contentRequired;
};

// A collection of child objects on top of a group's collection record: only the element type is added,
// and the attributes of every item go up into a parent without an element.
// Arguments: name, namespace, property index, element type.
template <class ColBase>
class KVXML_API CElementInfoClsColKind : public ColBase {
public:
    CElementInfoClsColKind(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex,
                           XmlElementType elementType)
        : ColBase(elementName, elementNamespace, propertyIndex), m_elementType(elementType) {}
    void PseudoChildAttributeToXml(const CElementInfo::Context& context, const CElementInfo::Object* object,
                                   CElementInfo::Writer* writer) const override {
        this->CollectionAttributesToParent(context, object, writer, m_elementType);
    }

protected:
    XmlElementType m_elementType;
};

} // namespace KvXmlLib16Data
