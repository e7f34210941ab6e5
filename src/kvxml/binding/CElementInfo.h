#pragma once

#include <cstdint>
#include <string>

#include "kvxml/base/CSmartPtr.h"
#include "kvxml/binding/CParentElementInfo.h"
#include "kvxml/platform/KvExport.h"
#include "kvxml/values/CWhitespaceUtils.h"
#include "kvxml/values/CPrimitiveRestrictions.h"
#include "kvxml/values/KvVariant.h"

namespace KvXmlLib16 {
class CSerializationContext;
class CXmlWriter;
class CXmlElement;
class CXmlObjectBase;
class CXmlGeneratedClass;
class CXmlCollectionBase;
} // namespace KvXmlLib16

namespace KvXmlLib16Data {

// Functions that generated code supplies to the records.
typedef const char16_t* (*EnumToTextFunc)(int32_t value);
typedef int32_t (*EnumFromTextFunc)(const char16_t* text);
// Makes a new object of the class with that id, named after the element.
typedef KvXmlLib16::CSmartPtr<KvXmlLib16::CXmlObjectBase> (*ClassCreatorFunc)(int32_t classId,
                                                                              const char16_t* elementName);
// Decides the class by looking at the element (usually its xsi:type); may return null.
typedef KvXmlLib16::CSmartPtr<KvXmlLib16::CXmlObjectBase> (*ElementCreatorFunc)(KvXmlLib16::CXmlElement* element);

// Base of every child-element record. A record is immutable once built and keeps no per-document
// state, so one table serves any number of objects and threads.
class KVXML_API CElementInfo {
public:
    typedef KvXmlLib16::CSerializationContext Context;
    typedef KvXmlLib16::CXmlGeneratedClass Object;
    typedef KvXmlLib16::CXmlWriter Writer;
    typedef KvXmlLib16::CXmlElement Element;

    CElementInfo(const CElementInfo& other) = default;
    CElementInfo& operator=(const CElementInfo& other) = default;
    virtual ~CElementInfo();

    // true if something was written
    virtual bool ElementToXml(const Context& context, const Object* object, Writer* writer) const = 0;
    // Reads at *current and moves it; see the group readers for what the result means.
    virtual bool ElementFromXml(const Context& context, Object* object, Element* parent, Element** current,
                                const char16_t* ns, XmlElementType parentType) const = 0;
    virtual bool Validate(const Context& context, const Object* object, bool found, bool strict) const;
    virtual void PseudoChildAttributeToXml(const Context& context, const Object* object, Writer* writer) const;

    std::u16string GetElementName() const { return m_elementName; }
    std::u16string GetElementNamespace() const { return m_elementNamespace; }
    int32_t GetPropertyIndex() const { return m_propertyIndex; }

    bool IsThisElement(const Context& context, const Element* element) const;
    void InvokePropertyGet(Object* object, KvXmlLib16::KvVariant& value) const;
    void InvokePropertySet(Object* object, KvXmlLib16::KvVariant& value, const Element* element) const;
    void ReadProperty(const Object* object, KvXmlLib16::KvVariant& value) const;
    void CheckRestriction(const KvXmlLib16::KvVariant& value) const;
    static std::u16string GetAnyDefaultNamespace(const char16_t* pattern, const char16_t* defaultNamespace,
                                                 const char16_t* targetNamespace);

    bool ElementToXmlCls(const Context& context, const Object* object, Writer* writer, bool noErrorOnEmptyChoice) const;
    bool ElementToXmlCol(const Context& context, const Object* object, Writer* writer) const;
    bool ElementToXmlPrim(const Context& context, const Object* object, Writer* writer) const;
    bool ElementToXmlEnum(const Context& context, const Object* object, Writer* writer,
                          EnumToTextFunc enumToText) const;
    void ElementFromXmlPrim(const Context& context, Object* object, Element** current) const;
    void ElementFromXmlEnum(const Context& context, Object* object, Element** current) const;

    static Element* FromXml_Int(KvXmlLib16::CXmlObjectBase* object, Element* element, Element* firstChild,
                                const Context& context, bool ignoreMissingChoice);
    static void AttributesToXml_Int(KvXmlLib16::CXmlObjectBase* object, Writer* writer, const Context& context);

    // Borrowed views for the engine's hot paths.
    const std::u16string& ElementNameRef() const { return m_elementName; }
    const std::u16string& ElementNamespaceRef() const { return m_elementNamespace; }
    bool IsPrimitive() const { return m_isPrimitive; }
    // True for the wildcard records, the only ones that read the namespace argument of ElementFromXml.
    bool UsesNamespace() const { return m_usesNamespace; }
    bool IsNillable() const { return m_nillable; }
    const std::u16string& DefaultValueRef() const { return m_defaultValue; }

protected:
    CElementInfo(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex);
    CElementInfo(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex, bool nillable,
                 EnumToTextFunc enumToText, EnumFromTextFunc enumFromText, const char16_t* defaultValue);
    CElementInfo(const char16_t* elementName, const char16_t* elementNamespace, int32_t propertyIndex, bool nillable,
                 KvXmlLib16::ItemType itemType, const char16_t* formatOverride,
                 KvXmlLib16::CWhitespaceUtils::WhitespaceRule whitespaceRule,
                 const KvXmlLib16::CPrimitiveRestrictions& restrictions, const char16_t* defaultValue);

    // Takes the object out of a property that holds a class, collection or wildcard.
    KvXmlLib16::CSmartPtr<KvXmlLib16::CXmlObjectBase> GetPropertyObject(const Object* object) const;
    // The shared reading of a primitive or enumeration element; enumFromText selects the enum form.
    void ReadValueElement(const Context& context, Object* object, Element** current, bool asEnum) const;
    // The shared writing of a primitive or enumeration element; enumToText selects the enum form.
    bool WriteValueElement(const Object* object, Writer* writer, EnumToTextFunc enumToText) const;
    // The failure of a missing mandatory child, with the parent's path.
    [[noreturn]] void ThrowMissingChild(const Element* parent) const;

    // Writing rules shared by the three model groups.
    bool MandatoryRule(bool written) const;
    bool CollectionRule(const Context& context, const Object* object, Writer* writer, bool validateCount) const;
    void ClassAttributesToParent(const Context& context, const Object* object, Writer* writer,
                                 XmlElementType recordType) const;
    void CollectionAttributesToParent(const Context& context, const Object* object, Writer* writer,
                                      XmlElementType recordType) const;
    // The property's collection; throws when the property holds none, which only broken tables do.
    KvXmlLib16::CSmartPtr<KvXmlLib16::CXmlCollectionBase> GetPropertyCollection(const Object* object) const;
    // The property's object; throws when the property holds none.
    KvXmlLib16::CSmartPtr<KvXmlLib16::CXmlObjectBase> GetRequiredObject(const Object* object) const;
    // Creators called through the checks that keep a broken table from reaching a null function.
    static KvXmlLib16::CSmartPtr<KvXmlLib16::CXmlObjectBase> CreateByClassId(ClassCreatorFunc creator, int32_t classId,
                                                                             const std::u16string& name);
    static KvXmlLib16::CSmartPtr<KvXmlLib16::CXmlObjectBase> CreateByElement(ElementCreatorFunc creator,
                                                                             Element* element,
                                                                             const std::u16string& name);
    // A new wildcard element for an optional xs:any record, in the namespace the pattern defaults to.
    KvXmlLib16::CSmartPtr<KvXmlLib16::CXmlObjectBase> MakeWildcard(const std::u16string& pattern, const char16_t* ns,
                                                                   const std::u16string& targetNamespace) const;
    // Lets a wildcard read at *current when the record's name allows it; returns where it stopped.
    Element* ReadWildcard(const Context& context, KvXmlLib16::CXmlObjectBase* wildcard, Element* parent,
                          Element* current) const;
    // Reads a new child object from its own element at current, then sets the property to it.
    void ReadNewChild(const Context& context, Object* object, Element* parent, Element** current,
                      const KvXmlLib16::CSmartPtr<KvXmlLib16::CXmlObjectBase>& child) const;
    // Lets a new child object read at current without an element of its own; the property is set only
    // if the object took something, else the object is dropped. Says whether it took something.
    bool ReadNewContent(const Context& context, Object* object, Element* parent, Element** current,
                        const KvXmlLib16::CSmartPtr<KvXmlLib16::CXmlObjectBase>& child) const;
    // Reads a child whose class the creator picks, where a record may leave the element to another
    // (xs:all); says whether it took it. A creator that makes no object fails.
    bool TakeChildByElement(const Context& context, Object* object, Element* parent, Element** current,
                            ElementCreatorFunc creator, XmlElementType recordType) const;
    // Reads the items of an untyped collection property from current on and returns where it stopped,
    // handing out the collection for the count check. A name other than "AnyElement" locks the items to it.
    Element* ReadUntypedCollection(const Context& context, Object* object, Element* parent, Element* current,
                                   KvXmlLib16::CSmartPtr<KvXmlLib16::CXmlCollectionBase>& collection) const;
    // Reads a child object in place of its own element, whose children are read.
    void ReadOwnElement(const Context& context, KvXmlLib16::CXmlObjectBase* child, Element** current,
                        bool ignoreMissingChoice) const;

    std::u16string m_elementName;
    std::u16string m_elementNamespace;
    int32_t m_propertyIndex;
    KvXmlLib16::CPrimitiveRestrictions m_restrictions;
    KvXmlLib16::ItemType m_itemType;
    std::u16string m_formatOverride;
    KvXmlLib16::CWhitespaceUtils::WhitespaceRule m_whitespaceRule;
    std::u16string m_defaultValue;
    bool m_nillable;
    EnumToTextFunc m_enumToText;
    EnumFromTextFunc m_enumFromText;
    bool m_isPrimitive;
    bool m_usesNamespace;
};

} // namespace KvXmlLib16Data
