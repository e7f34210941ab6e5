// Classes for a purchase-order schema, in the form that the schema compiler generates them: each
// class holds its properties and describes itself with three metadata tables; the library does
// all the writing and reading.
//
// Schema outline (target namespace urn:kvxml:samples:purchase-order, elementFormDefault qualified):
//   purchaseOrders     batchId?; purchaseOrder{1..unbounded}
//   purchaseOrder      @orderId, @currency? (default EUR), @status (open|shipped|cancelled),
//                      anyAttribute ##other;
//                      customer, customerNumber, priority? (1..5), express?, signature? (hexBinary),
//                      shipMethod? (default ground), billTo (nillable), shipTo?, item{1..100},
//                      payment (abstract PaymentType, chosen by xsi:type), any ##other?
//   AddressType        @country? (default DE); name, street, city, zip
//   item               @partNumber (pattern [0-9]{3}-[A-Z]{2}); productName, quantity, unitPrice,
//                      giftWrap?, then the group ItemTracking: @addedBy?, @lineNumber?; comment?
//   quantity           unsigned int text with @unit? (default piece)
//   PaymentType        abstract: amount; extended by CreditCardPaymentType (cardHolder, cardNumber)
//                      and BankTransferPaymentType (iban)
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>

#include "kvxml/base/CSmartPtr.h"
#include "kvxml/binding/CAttributeInfo.h"
#include "kvxml/binding/CClassfactoryBase.h"
#include "kvxml/binding/CElementInfo.h"
#include "kvxml/binding/CParentElementInfo.h"
#include "kvxml/binding/CXmlGeneratedClass.h"
#include "kvxml/binding/INillable.h"
#include "kvxml/collections/CAttributeCol.h"
#include "kvxml/collections/CElement.h"
#include "kvxml/collections/CXmlCollection.h"
#include "kvxml/values/CBinaryData.h"
#include "kvxml/values/KvVariant.h"

namespace PurchaseOrderSample {

using KvXmlLib16::CSmartPtr;

inline constexpr char16_t kTargetNamespace[] = u"urn:kvxml:samples:purchase-order";

// ---- support shared by the generated classes --------------------------------------------------

// The three tables of one class, built on first use under CXmlGeneratedClass::m_csInit.
class CClassTables {
public:
    typedef void (*BuildFunc)(CClassTables& tables);
    explicit CClassTables(BuildFunc build) : m_build(build) {}
    void Ensure();
    // Releases the tables through CleanMetaData; the next use builds them again.
    void Release();

    KvXmlLib16Data::CParentElementInfo* m_classInfo = nullptr;
    KvXmlLib16Data::CElementInfo** m_elementInfo = nullptr;
    KvXmlLib16Data::CAttributeInfo** m_attributeInfo = nullptr;

private:
    BuildFunc m_build;
    std::atomic<bool> m_built{false};
};

// Releases the tables of every class of the schema.
void CleanPurchaseOrderMetaData();

enum ClassId : int32_t { ClassId_Address = 1, ClassId_Quantity, ClassId_ItemTracking, ClassId_PurchaseOrder };
// The creator of the class-id form, for the records of optional children.
CSmartPtr<KvXmlLib16::CXmlObjectBase> CreateClass(int32_t classId, const char16_t* elementName);

enum class OrderStatus : int32_t { Open = 0, Shipped = 1, Cancelled = 2 };
const char16_t* OrderStatusToText(int32_t value);
int32_t OrderStatusFromText(const char16_t* text);

// Common frame of the generated classes: identity, namespaces, the tables.
#define KVXML_SAMPLE_GENERATED_MEMBERS()                                                         \
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
    static void ReleaseMetaData() { s_tables.Release(); }                                        \
                                                                                                 \
private:                                                                                         \
    static void BuildTables(CClassTables& tables);                                               \
    static CClassTables s_tables;

// ---- AddressType ------------------------------------------------------------------------------

class CAddress : public KvXmlLib16::CXmlGeneratedClass, public KvXmlLib16::INillable {
    KVXML_SAMPLE_GENERATED_MEMBERS()
public:
    CAddress();
    bool IsNil() const override { return m_nil; }
    void SetNil(bool nil) override { m_nil = nil; }

    const std::u16string& GetName() const { return m_name; }
    void SetName(const std::u16string& value) { m_name = value; }
    const std::u16string& GetStreet() const { return m_street; }
    void SetStreet(const std::u16string& value) { m_street = value; }
    const std::u16string& GetCity() const { return m_city; }
    void SetCity(const std::u16string& value) { m_city = value; }
    const std::u16string& GetZip() const { return m_zip; }
    void SetZip(const std::u16string& value) { m_zip = value; }
    const std::optional<std::u16string>& GetCountry() const { return m_country; }
    void SetCountry(const std::optional<std::u16string>& value) { m_country = value; }

private:
    enum Property { Property_Country, Property_Name, Property_Street, Property_City, Property_Zip };
    bool m_nil;
    std::optional<std::u16string> m_country;
    std::u16string m_name, m_street, m_city, m_zip;
};

// ---- quantity: a class with a text value ------------------------------------------------------

class CQuantity : public KvXmlLib16::CXmlGeneratedClass {
    KVXML_SAMPLE_GENERATED_MEMBERS()
public:
    CQuantity();
    uint32_t GetValue() const { return m_value; }
    void SetValue(uint32_t value) { m_value = value; }
    const std::optional<std::u16string>& GetUnit() const { return m_unit; }
    void SetUnit(const std::optional<std::u16string>& value) { m_unit = value; }

private:
    enum Property { Property_Unit, Property_Value };
    std::optional<std::u16string> m_unit;
    uint32_t m_value;
};

// ---- ItemTracking: a group without an element; its attributes go into the item's start tag -----

class CItemTracking : public KvXmlLib16::CXmlGeneratedClass {
    KVXML_SAMPLE_GENERATED_MEMBERS()
public:
    CItemTracking();
    const std::optional<std::u16string>& GetAddedBy() const { return m_addedBy; }
    void SetAddedBy(const std::optional<std::u16string>& value) { m_addedBy = value; }
    const std::optional<int32_t>& GetLineNumber() const { return m_lineNumber; }
    void SetLineNumber(const std::optional<int32_t>& value) { m_lineNumber = value; }
    const std::optional<std::u16string>& GetComment() const { return m_comment; }
    void SetComment(const std::optional<std::u16string>& value) { m_comment = value; }

private:
    enum Property { Property_AddedBy, Property_LineNumber, Property_Comment };
    std::optional<std::u16string> m_addedBy;
    std::optional<int32_t> m_lineNumber;
    std::optional<std::u16string> m_comment;
};

// ---- item -------------------------------------------------------------------------------------

class CItem : public KvXmlLib16::CXmlGeneratedClass {
    KVXML_SAMPLE_GENERATED_MEMBERS()
public:
    CItem();
    const std::u16string& GetPartNumber() const { return m_partNumber; }
    void SetPartNumber(const std::u16string& value) { m_partNumber = value; }
    const std::u16string& GetProductName() const { return m_productName; }
    void SetProductName(const std::u16string& value) { m_productName = value; }
    CQuantity* GetQuantity() const { return m_quantity; }
    double GetUnitPrice() const { return m_unitPrice; }
    void SetUnitPrice(double value) { m_unitPrice = value; }
    const std::optional<bool>& GetGiftWrap() const { return m_giftWrap; }
    void SetGiftWrap(const std::optional<bool>& value) { m_giftWrap = value; }
    CItemTracking* GetTracking() const { return m_tracking; }

private:
    enum Property {
        Property_PartNumber,
        Property_ProductName,
        Property_Quantity,
        Property_UnitPrice,
        Property_GiftWrap,
        Property_Tracking
    };
    std::u16string m_partNumber;
    std::u16string m_productName;
    CSmartPtr<CQuantity> m_quantity;
    double m_unitPrice;
    std::optional<bool> m_giftWrap;
    CSmartPtr<CItemTracking> m_tracking;
};

// The typed collection of the repeated item element: 1 to 100 occurrences.
class CItemCol : public KvXmlLib16::CXmlCollection {
public:
    CItemCol();
    void Add(CItem* item) { AppendItem(item); }
    CSmartPtr<CItem> Item(int32_t index) const;

    void ToXml_Int(KvXmlLib16::CXmlWriter* writer, bool isRoot, const char16_t* namespaceUri,
                   const KvXmlLib16::CSerializationContext& context, bool noErrorOnEmptyChoice) const override;
    KvXmlLib16::CXmlElement* FromXml_Int(KvXmlLib16::CXmlElement* parent, KvXmlLib16::CXmlElement* element,
                                         const KvXmlLib16::CSerializationContext& context,
                                         bool ignoreMissingChoice) override;
};

// ---- payment: an abstract type, chosen by xsi:type --------------------------------------------

class CPayment : public KvXmlLib16::CXmlGeneratedClass {
public:
    double GetAmount() const { return m_amount; }
    void SetAmount(double value) { m_amount = value; }

protected:
    CPayment() : m_amount(0) {}
    double m_amount;
};

class CCreditCardPayment : public CPayment {
    KVXML_SAMPLE_GENERATED_MEMBERS()
public:
    CCreditCardPayment();
    const std::u16string& GetCardHolder() const { return m_cardHolder; }
    void SetCardHolder(const std::u16string& value) { m_cardHolder = value; }
    const std::u16string& GetCardNumber() const { return m_cardNumber; }
    void SetCardNumber(const std::u16string& value) { m_cardNumber = value; }

private:
    enum Property { Property_Amount, Property_CardHolder, Property_CardNumber };
    std::u16string m_cardHolder, m_cardNumber;
};

class CBankTransferPayment : public CPayment {
    KVXML_SAMPLE_GENERATED_MEMBERS()
public:
    CBankTransferPayment();
    const std::u16string& GetIban() const { return m_iban; }
    void SetIban(const std::u16string& value) { m_iban = value; }

private:
    enum Property { Property_Amount, Property_Iban };
    std::u16string m_iban;
};

// Chooses the payment class from the xsi:type of the element.
class CPaymentFactory : public KvXmlLib16::CClassfactoryBase {
public:
    static CSmartPtr<KvXmlLib16::CXmlObjectBase> CreatePayment(KvXmlLib16::CXmlElement* element);
};

// ---- purchaseOrder ----------------------------------------------------------------------------

class CPurchaseOrder : public KvXmlLib16::CXmlGeneratedClass {
    KVXML_SAMPLE_GENERATED_MEMBERS()
public:
    CPurchaseOrder();

    const std::u16string& GetOrderId() const { return m_orderId; }
    void SetOrderId(const std::u16string& value) { m_orderId = value; }
    const std::optional<std::u16string>& GetCurrency() const { return m_currency; }
    void SetCurrency(const std::optional<std::u16string>& value) { m_currency = value; }
    OrderStatus GetStatus() const { return m_status; }
    void SetStatus(OrderStatus value) { m_status = value; }
    KvXmlLib16::CAttributeCol* GetAnyAttributes() const { return m_anyAttributes; }

    const std::u16string& GetCustomer() const { return m_customer; }
    void SetCustomer(const std::u16string& value) { m_customer = value; }
    uint32_t GetCustomerNumber() const { return m_customerNumber; }
    void SetCustomerNumber(uint32_t value) { m_customerNumber = value; }
    const std::optional<int32_t>& GetPriority() const { return m_priority; }
    void SetPriority(const std::optional<int32_t>& value) { m_priority = value; }
    const std::optional<bool>& GetExpress() const { return m_express; }
    void SetExpress(const std::optional<bool>& value) { m_express = value; }
    const std::optional<KvXmlLib16::CBinaryData>& GetSignature() const { return m_signature; }
    void SetSignature(const std::optional<KvXmlLib16::CBinaryData>& value) { m_signature = value; }
    const std::optional<std::u16string>& GetShipMethod() const { return m_shipMethod; }
    void SetShipMethod(const std::optional<std::u16string>& value) { m_shipMethod = value; }
    CAddress* GetBillTo() const { return m_billTo; }
    CAddress* GetShipTo() const { return m_shipTo; }
    void SetShipTo(CAddress* value);
    CItemCol* GetItems() const { return m_items; }
    CPayment* GetPayment() const { return m_payment; }
    void SetPayment(CPayment* value);
    KvXmlLib16::CElement* GetExtension() const { return m_extension; }
    void SetExtension(KvXmlLib16::CElement* value) { m_extension = value; }

private:
    enum Property {
        Property_OrderId,
        Property_Currency,
        Property_Status,
        Property_AnyAttributes,
        Property_Customer,
        Property_CustomerNumber,
        Property_Priority,
        Property_Express,
        Property_Signature,
        Property_ShipMethod,
        Property_BillTo,
        Property_ShipTo,
        Property_Items,
        Property_Payment,
        Property_Extension
    };
    std::u16string m_orderId;
    std::optional<std::u16string> m_currency;
    OrderStatus m_status;
    CSmartPtr<KvXmlLib16::CAttributeCol> m_anyAttributes;
    std::u16string m_customer;
    uint32_t m_customerNumber;
    std::optional<int32_t> m_priority;
    std::optional<bool> m_express;
    std::optional<KvXmlLib16::CBinaryData> m_signature;
    std::optional<std::u16string> m_shipMethod;
    CSmartPtr<CAddress> m_billTo;
    CSmartPtr<CAddress> m_shipTo;
    CSmartPtr<CItemCol> m_items;
    CSmartPtr<CPayment> m_payment;
    CSmartPtr<KvXmlLib16::CElement> m_extension;
};

class CPurchaseOrderCol : public KvXmlLib16::CXmlCollection {
public:
    CPurchaseOrderCol();
    void Add(CPurchaseOrder* order) { AppendItem(order); }
    CSmartPtr<CPurchaseOrder> Item(int32_t index) const;

    void ToXml_Int(KvXmlLib16::CXmlWriter* writer, bool isRoot, const char16_t* namespaceUri,
                   const KvXmlLib16::CSerializationContext& context, bool noErrorOnEmptyChoice) const override;
    KvXmlLib16::CXmlElement* FromXml_Int(KvXmlLib16::CXmlElement* parent, KvXmlLib16::CXmlElement* element,
                                         const KvXmlLib16::CSerializationContext& context,
                                         bool ignoreMissingChoice) override;
};

// ---- purchaseOrders: a batch, the root of large documents -------------------------------------

class CPurchaseOrderBatch : public KvXmlLib16::CXmlGeneratedClass {
    KVXML_SAMPLE_GENERATED_MEMBERS()
public:
    CPurchaseOrderBatch();
    const std::optional<std::u16string>& GetBatchId() const { return m_batchId; }
    void SetBatchId(const std::optional<std::u16string>& value) { m_batchId = value; }
    CPurchaseOrderCol* GetOrders() const { return m_orders; }

private:
    enum Property { Property_BatchId, Property_Orders };
    std::optional<std::u16string> m_batchId;
    CSmartPtr<CPurchaseOrderCol> m_orders;
};

} // namespace PurchaseOrderSample
