// Classes for the benchmark schema po.xsd written by hand, in the form of the purchase-order sample,
// as the yardstick for the classes that kvxmlc generates from the same schema.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "HandWrittenSupport.h"
#include "kvxml/collections/CXmlCollection.h"
#include "kvxml/values/CBigInteger.h"
#include "kvxml/values/CDateTime.h"
#include "kvxml/values/CDecimal.h"

namespace HandWrittenPo {

using KvXmlLib16::CSmartPtr;
using PurchaseOrderSample::CClassTables;

inline constexpr char16_t kTargetNamespace[] = u"urn:example:po";

enum class Status : int32_t { Open = 0, Shipped = 1, Closed = 2 };

#define KVXML_PO_MEMBERS()                                                                       \
public:                                                                                          \
    KvXmlLib16::CXmlObjectBase* GetBase() override { return this; }                              \
    std::u16string GetTargetNamespace() override { return kTargetNamespace; }                    \
    std::u16string GetNamespace() override { return kTargetNamespace; }                          \
    void AccessProperty(int32_t propertyIndex, bool get, KvXmlLib16::KvVariant& value) override; \
    KvXmlLib16Data::CParentElementInfo* GetClassInfo() const override {                          \
        s_tables.Ensure();                                                                       \
        return s_tables.m_classInfo;                                                             \
    }                                                                                            \
    KvXmlLib16Data::CElementInfo** GetClassElementInfo() const override {                        \
        s_tables.Ensure();                                                                       \
        return s_tables.m_elementInfo;                                                           \
    }                                                                                            \
    KvXmlLib16Data::CAttributeInfo** GetClassAttributeInfo() const override {                    \
        s_tables.Ensure();                                                                       \
        return s_tables.m_attributeInfo;                                                         \
    }                                                                                            \
    void Init() override;                                                                        \
                                                                                                 \
private:                                                                                         \
    static void BuildTables(CClassTables& tables);                                               \
    static CClassTables s_tables;

class CCustomer : public KvXmlLib16::CXmlGeneratedClass {
    KVXML_PO_MEMBERS()
public:
    CCustomer();
    std::u16string m_name, m_email;
};

class CItem : public KvXmlLib16::CXmlGeneratedClass {
    KVXML_PO_MEMBERS()
public:
    CItem();
    std::u16string m_description;
    KvXmlLib16::CDecimal m_price;
    std::u16string m_sku;
    KvXmlLib16::CBigInteger m_qty;
};

class CItemCol : public KvXmlLib16::CXmlCollection {
public:
    CItemCol();
    void Add(CItem* item) { AppendItem(item); }
    void ToXml_Int(KvXmlLib16::CXmlWriter* writer, bool isRoot, const char16_t* namespaceUri,
                   const KvXmlLib16::CSerializationContext& context, bool noErrorOnEmptyChoice) const override;
    KvXmlLib16::CXmlElement* FromXml_Int(KvXmlLib16::CXmlElement* parent, KvXmlLib16::CXmlElement* element,
                                         const KvXmlLib16::CSerializationContext& context,
                                         bool ignoreMissingChoice) override;
};

class CItems : public KvXmlLib16::CXmlGeneratedClass {
    KVXML_PO_MEMBERS()
public:
    CItems();
    CSmartPtr<CItemCol> m_items;
};

class COrder : public KvXmlLib16::CXmlGeneratedClass {
    KVXML_PO_MEMBERS()
public:
    COrder();
    CSmartPtr<CCustomer> m_customer;
    std::optional<std::u16string> m_note;
    CSmartPtr<CItems> m_items;
    Status m_status;
    std::u16string m_id;
    KvXmlLib16::CDateTime m_date;
};

class COrderCol : public KvXmlLib16::CXmlCollection {
public:
    COrderCol();
    void ToXml_Int(KvXmlLib16::CXmlWriter* writer, bool isRoot, const char16_t* namespaceUri,
                   const KvXmlLib16::CSerializationContext& context, bool noErrorOnEmptyChoice) const override;
    KvXmlLib16::CXmlElement* FromXml_Int(KvXmlLib16::CXmlElement* parent, KvXmlLib16::CXmlElement* element,
                                         const KvXmlLib16::CSerializationContext& context,
                                         bool ignoreMissingChoice) override;
};

class COrders : public KvXmlLib16::CXmlGeneratedClass {
    KVXML_PO_MEMBERS()
public:
    COrders();
    CSmartPtr<COrderCol> m_orders;
};

#undef KVXML_PO_MEMBERS

} // namespace HandWrittenPo
