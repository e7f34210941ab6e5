#pragma once

// Classes for the benchmark purchase-order schema (po.xsd beside gen_po.py, namespace
// urn:example:po), in the shape of generated code but with one object class for all types:
// property i of an object is its variant props[i], and each type is one set of tables.
//
//   orders    order{0..}
//   order     @id, @date (xs:date); customer, note?, items, status
//   customer  name, email
//   items     item{1..10}
//   item      @sku, @qty (xs:positiveInteger); description, price (xs:decimal)

#include <string>
#include <vector>

#include "kvxml/base/CKvException.h"
#include "kvxml/binding/CAttributeInfo.h"
#include "kvxml/binding/CElementInfoSeq.h"
#include "kvxml/binding/CParentElementInfo.h"
#include "kvxml/binding/CXmlGeneratedClass.h"
#include "kvxml/collections/CXmlCollection.h"
#include "kvxml/values/CPrimitiveRestrictions.h"
#include "kvxml/values/KvVariant.h"
#include "kvxml/xml/CXmlElement.h"

namespace PoModel {

using namespace KvXmlLib16;
using namespace KvXmlLib16Data;

inline constexpr char16_t kNs[] = u"urn:example:po";

enum TypeId : int32_t { Type_Orders, Type_Order, Type_Customer, Type_Items, Type_Item, Type_Count };

struct TypeTables {
    CParentElementInfo* classInfo = nullptr;
    CElementInfo** elementInfo = nullptr;
    CAttributeInfo** attributeInfo = nullptr;
    // Properties that hold a collection of this item type (-1: none).
    int32_t collectionProperty = -1;
    TypeId collectionItem = Type_Count;
    const char16_t* collectionName = nullptr;
    int32_t collectionMax = -1;
    int32_t properties = 0;
};

TypeTables& Tables(TypeId type);
CSmartPtr<CXmlObjectBase> Create(int32_t type, const char16_t* elementName);

class CPoObject : public CXmlGeneratedClass {
public:
    CPoObject(TypeId type, const char16_t* elementName);
    CXmlObjectBase* GetBase() override { return this; }
    std::u16string GetTargetNamespace() override { return kNs; }
    std::u16string GetNamespace() override { return kNs; }
    void AccessProperty(int32_t index, bool get, KvVariant& value) override {
        if (index < 0 || static_cast<size_t>(index) >= props.size()) throw CKvException(u"Unknown property index");
        if (get)
            value = props[index];
        else
            props[index] = value;
    }
    CParentElementInfo* GetClassInfo() const override { return Tables(m_type).classInfo; }
    CElementInfo** GetClassElementInfo() const override { return Tables(m_type).elementInfo; }
    CAttributeInfo** GetClassAttributeInfo() const override { return Tables(m_type).attributeInfo; }
    void Init() override;

    CPoObject* Child(int32_t index) const { return dynamic_cast<CPoObject*>(props[index].GetXmlObject().get()); }

    std::vector<KvVariant> props;

private:
    TypeId m_type;
};

class CPoCol : public CXmlCollection {
public:
    CPoCol(TypeId itemType, const char16_t* name, int32_t maxOccurs)
        : CXmlCollection(name, kNs, itemType == Type_Order ? 0 : 1, maxOccurs), m_itemType(itemType) {}
    CPoObject* Add() {
        CPoObject* item = new CPoObject(m_itemType, m_elementName.c_str());
        AppendItem(item);
        return item;
    }
    void ToXml_Int(CXmlWriter* writer, bool, const char16_t* ns, const CSerializationContext& context,
                   bool) const override {
        ValidateCount(context);
        for (CNode* node = m_head; node; node = node->m_next)
            CXmlObjectBase::ToXml_Int(node->m_item, writer, false, ns, context, false);
    }
    CXmlElement* FromXml_Int(CXmlElement*, CXmlElement* element, const CSerializationContext& context, bool) override {
        while (element && DoesElementNameMatch(context, element, m_elementName.c_str(), m_namespace.c_str())) {
            CSmartPtr<CPoObject> item = new CPoObject(m_itemType, m_elementName.c_str());
            item->FromXml_Int(element, element->GetFirstElement(), context, false);
            AppendItem(item);
            element = element->GetNextSiblingElement();
        }
        return element;
    }

private:
    TypeId m_itemType;
};

inline CPoObject::CPoObject(TypeId type, const char16_t* elementName) : m_type(type) {
    SetElementName(elementName);
    CPoObject::Init();
}

inline void CPoObject::Init() {
    const TypeTables& t = Tables(m_type);
    props.assign(t.properties, KvVariant());
    if (t.collectionProperty >= 0)
        props[t.collectionProperty].SetXmlObject(new CPoCol(t.collectionItem, t.collectionName, t.collectionMax));
    // Mandatory children are there before they are read, as generated code makes them.
    if (m_type == Type_Order) {
        props[2].SetXmlObject(new CPoObject(Type_Customer, u"customer"));
        props[4].SetXmlObject(new CPoObject(Type_Items, u"items"));
    }
}

inline CSmartPtr<CXmlObjectBase> Create(int32_t type, const char16_t* elementName) {
    return CSmartPtr<CXmlObjectBase>(new CPoObject(static_cast<TypeId>(type), elementName));
}

namespace Detail {

inline const CPrimitiveRestrictions& NoFacets() {
    static const CPrimitiveRestrictions none;
    return none;
}
constexpr auto kPreserve = CWhitespaceUtils::WhitespaceRule_Preserve;
constexpr auto kCollapse = CWhitespaceUtils::WhitespaceRule_Collapse;

template <class R>
R** Table(std::initializer_list<R*> records) {
    R** table = new R*[records.size() + 1];
    size_t i = 0;
    for (R* r : records) table[i++] = r;
    table[i] = nullptr;
    return table;
}
inline CElementInfo* Prim(const char16_t* name, int32_t index, ItemType type, bool optional = false) {
    const auto rule = type == ItemType_string ? kPreserve : kCollapse;
    if (optional) return new CElementInfoSeqPrimOpt(name, kNs, index, false, type, nullptr, rule, NoFacets(), nullptr);
    return new CElementInfoSeqPrimMnd(name, kNs, index, false, type, nullptr, rule, NoFacets(), nullptr);
}
inline CElementInfo* Cls(const char16_t* name, int32_t index, TypeId type) {
    return new CElementInfoSeqClsMnd(name, kNs, index, XmlElementType_Element, &Create, type, true);
}
inline CElementInfo* Col(const char16_t* name, int32_t index) {
    return new CElementInfoSeqClsCol(name, kNs, index, XmlElementType_Element);
}
inline CAttributeInfo* Attr(const char16_t* name, int32_t index, ItemType type) {
    return new CAttributeInfoPrimitive(name, u"", index, false, type, nullptr, kCollapse, NoFacets(), nullptr);
}
inline CParentElementInfo* Class(const char16_t* name) {
    return new CParentElementInfo(XmlElementGroupType_Seq, XmlElementType_Element, name, kNs, true, false, -1,
                                  ItemType_Invalid, nullptr, false);
}

} // namespace Detail

// Built on first use; the process keeps them (a benchmark or a tool, not a library).
inline TypeTables& Tables(TypeId type) {
    using namespace Detail;
    static TypeTables* all = [] {
        auto* t = new TypeTables[Type_Count];
        t[Type_Orders] = {Class(u"orders"),
                          Table<CElementInfo>({Col(u"order", 0)}),
                          Table<CAttributeInfo>({}),
                          0,
                          Type_Order,
                          u"order",
                          -1,
                          1};
        t[Type_Order] = {
            Class(u"order"),
            Table<CElementInfo>({Cls(u"customer", 2, Type_Customer), Prim(u"note", 3, ItemType_string, true),
                                 Cls(u"items", 4, Type_Items), Prim(u"status", 5, ItemType_string)}),
            Table<CAttributeInfo>({Attr(u"id", 0, ItemType_string), Attr(u"date", 1, ItemType_date)}),
            -1,
            Type_Count,
            nullptr,
            -1,
            6};
        t[Type_Customer] = {
            Class(u"customer"),
            Table<CElementInfo>({Prim(u"name", 0, ItemType_string), Prim(u"email", 1, ItemType_string)}),
            Table<CAttributeInfo>({}),
            -1,
            Type_Count,
            nullptr,
            -1,
            2};
        t[Type_Items] = {Class(u"items"),
                         Table<CElementInfo>({Col(u"item", 0)}),
                         Table<CAttributeInfo>({}),
                         0,
                         Type_Item,
                         u"item",
                         10,
                         1};
        t[Type_Item] = {
            Class(u"item"),
            Table<CElementInfo>({Prim(u"description", 2, ItemType_string), Prim(u"price", 3, ItemType_decimal)}),
            Table<CAttributeInfo>({Attr(u"sku", 0, ItemType_string), Attr(u"qty", 1, ItemType_integer)}),
            -1,
            Type_Count,
            nullptr,
            -1,
            4};
        return t;
    }();
    return all[type];
}

// The objects of a document that gen_po.py wrote (UTF-8 bytes, NUL-terminated).
inline CSmartPtr<CPoObject> Load(const char* xml, const CSerializationContext& context) {
    CSmartPtr<CPoObject> orders = new CPoObject(Type_Orders, u"orders");
    orders->FromXml(xml, context);
    return orders;
}

} // namespace PoModel
