#include "PurchaseOrder.h"
#include "SampleSupport.h"

#include "kvxml/base/CKVCriticalSection.h"
#include "kvxml/base/CKvException.h"
#include "kvxml/base/FormatString.h"
#include "kvxml/binding/CElementInfoSeq.h"
#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/values/CPrimitiveRestrictions.h"
#include "kvxml/xml/CXmlElement.h"

namespace PurchaseOrderSample {

using namespace KvXmlLib16;
using namespace KvXmlLib16Data;

using namespace Support;

// ---- support ----------------------------------------------------------------------------------

void CClassTables::Ensure() {
    if (m_built.load(std::memory_order_acquire)) return;
    CKVCriticalSectionGuard guard(CXmlGeneratedClass::m_csInit);
    if (m_built.load(std::memory_order_relaxed)) return;
    m_build(*this);
    m_built.store(true, std::memory_order_release);
}

void CClassTables::Release() {
    CKVCriticalSectionGuard guard(CXmlGeneratedClass::m_csInit);
    CXmlGeneratedClass::CleanMetaData(m_classInfo, m_elementInfo, m_attributeInfo);
    m_built.store(false, std::memory_order_release);
}

void CleanPurchaseOrderMetaData() {
    CAddress::ReleaseMetaData();
    CQuantity::ReleaseMetaData();
    CItemTracking::ReleaseMetaData();
    CItem::ReleaseMetaData();
    CCreditCardPayment::ReleaseMetaData();
    CBankTransferPayment::ReleaseMetaData();
    CPurchaseOrder::ReleaseMetaData();
    CPurchaseOrderBatch::ReleaseMetaData();
}

CSmartPtr<CXmlObjectBase> CreateClass(int32_t classId, const char16_t* elementName) {
    CSmartPtr<CXmlObjectBase> created;
    switch (classId) {
    case ClassId_Address: created = new CAddress(); break;
    case ClassId_Quantity: created = new CQuantity(); break;
    case ClassId_ItemTracking: created = new CItemTracking(); break;
    case ClassId_PurchaseOrder: created = new CPurchaseOrder(); break;
    default: return created;
    }
    created->SetElementName(elementName);
    return created;
}

const char16_t* OrderStatusToText(int32_t value) {
    switch (static_cast<OrderStatus>(value)) {
    case OrderStatus::Open: return u"open";
    case OrderStatus::Shipped: return u"shipped";
    case OrderStatus::Cancelled: return u"cancelled";
    }
    return nullptr;
}

int32_t OrderStatusFromText(const char16_t* text) {
    const std::u16string value = text ? text : u"";
    if (value == u"open") return static_cast<int32_t>(OrderStatus::Open);
    if (value == u"shipped") return static_cast<int32_t>(OrderStatus::Shipped);
    if (value == u"cancelled") return static_cast<int32_t>(OrderStatus::Cancelled);
    throw CKvInvalidValueException(FormatString(u"Invalid OrderStatus [%s].", value.c_str()));
}

// ---- CAddress ---------------------------------------------------------------------------------

CClassTables CAddress::s_tables(&CAddress::BuildTables);

void CAddress::BuildTables(CClassTables& t) {
    t.m_classInfo = new CParentElementInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"AddressType",
                                           kTargetNamespace, true, false, -1, ItemType_Invalid, nullptr, false);
    t.m_elementInfo = ElementTable({
        new CElementInfoSeqPrimMnd(u"name", kTargetNamespace, Property_Name, false, ItemType_string, nullptr, kPreserve,
                                   kNoFacets, nullptr),
        new CElementInfoSeqPrimMnd(u"street", kTargetNamespace, Property_Street, false, ItemType_string, nullptr,
                                   kPreserve, kNoFacets, nullptr),
        new CElementInfoSeqPrimMnd(u"city", kTargetNamespace, Property_City, false, ItemType_string, nullptr, kPreserve,
                                   kNoFacets, nullptr),
        new CElementInfoSeqPrimMnd(u"zip", kTargetNamespace, Property_Zip, false, ItemType_string, nullptr, kCollapse,
                                   kNoFacets, nullptr),
    });
    t.m_attributeInfo = AttributeTable({
        new CAttributeInfoPrimitive(u"country", u"", Property_Country, true, ItemType_string, nullptr, kCollapse,
                                    kNoFacets, u"DE"),
    });
}

CAddress::CAddress() { Init(); }

void CAddress::Init() {
    m_nil = false;
    m_country.reset();
    m_name.clear();
    m_street.clear();
    m_city.clear();
    m_zip.clear();
}

void CAddress::AccessProperty(int32_t index, bool get, KvVariant& value) {
    std::u16string* text = nullptr;
    switch (index) {
    case Property_Country:
        if (get)
            GetString(m_country, value);
        else
            SetString(m_country, value);
        return;
    case Property_Name: text = &m_name; break;
    case Property_Street: text = &m_street; break;
    case Property_City: text = &m_city; break;
    case Property_Zip: text = &m_zip; break;
    default: ThrowUnknownProperty(index);
    }
    if (get)
        value.SetString(*text);
    else
        *text = value.GetString();
}

// ---- CQuantity --------------------------------------------------------------------------------

CClassTables CQuantity::s_tables(&CQuantity::BuildTables);

void CQuantity::BuildTables(CClassTables& t) {
    t.m_classInfo = new CParentElementInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"quantity",
                                           kTargetNamespace, true, false, Property_Value, ItemType_ui4, nullptr, false);
    t.m_elementInfo = EmptyElementTable();
    t.m_attributeInfo = AttributeTable({
        new CAttributeInfoPrimitive(u"unit", u"", Property_Unit, true, ItemType_string, nullptr, kCollapse, kNoFacets,
                                    u"piece"),
    });
}

CQuantity::CQuantity() {
    Init();
    SetElementName(u"quantity");
}

void CQuantity::Init() {
    m_unit.reset();
    m_value = 0;
}

void CQuantity::AccessProperty(int32_t index, bool get, KvVariant& value) {
    switch (index) {
    case Property_Unit:
        if (get)
            GetString(m_unit, value);
        else
            SetString(m_unit, value);
        return;
    case Property_Value:
        if (get)
            value.SetUI4(m_value);
        else
            m_value = value.GetUI4();
        return;
    default: ThrowUnknownProperty(index);
    }
}

// ---- CItemTracking ----------------------------------------------------------------------------

CClassTables CItemTracking::s_tables(&CItemTracking::BuildTables);

void CItemTracking::BuildTables(CClassTables& t) {
    t.m_classInfo = new CParentElementInfo(XmlElementGroupType_Seq, XmlElementType_Pseudo, u"ItemTracking",
                                           kTargetNamespace, false, false, -1, ItemType_Invalid, nullptr, false);
    t.m_elementInfo = ElementTable({
        new CElementInfoSeqPrimOpt(u"comment", kTargetNamespace, Property_Comment, false, ItemType_string, nullptr,
                                   kPreserve, kNoFacets, nullptr),
    });
    t.m_attributeInfo = AttributeTable({
        new CAttributeInfoPrimitive(u"addedBy", u"", Property_AddedBy, true, ItemType_string, nullptr, kCollapse,
                                    kNoFacets, nullptr),
        new CAttributeInfoPrimitive(
            u"lineNumber", u"", Property_LineNumber, true, ItemType_i4, nullptr, kCollapse,
            CPrimitiveRestrictions(nullptr, -1, -1, u"1", nullptr, nullptr, nullptr, -1, -1, -1), nullptr),
    });
}

CItemTracking::CItemTracking() { Init(); }

void CItemTracking::Init() {
    m_addedBy.reset();
    m_lineNumber.reset();
    m_comment.reset();
}

void CItemTracking::AccessProperty(int32_t index, bool get, KvVariant& value) {
    switch (index) {
    case Property_AddedBy: get ? GetString(m_addedBy, value) : SetString(m_addedBy, value); return;
    case Property_LineNumber: get ? GetI4(m_lineNumber, value) : SetI4(m_lineNumber, value); return;
    case Property_Comment: get ? GetString(m_comment, value) : SetString(m_comment, value); return;
    default: ThrowUnknownProperty(index);
    }
}

// ---- CItem ------------------------------------------------------------------------------------

CClassTables CItem::s_tables(&CItem::BuildTables);

void CItem::BuildTables(CClassTables& t) {
    // Unknown attributes are let through: the item's element also carries the tracking group's.
    t.m_classInfo = new CParentElementInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"item", kTargetNamespace,
                                           false, false, -1, ItemType_Invalid, nullptr, false);
    t.m_elementInfo = ElementTable({
        new CElementInfoSeqPrimMnd(u"productName", kTargetNamespace, Property_ProductName, false, ItemType_string,
                                   nullptr, kPreserve, kNoFacets, nullptr),
        new CElementInfoSeqClsMnd(u"quantity", kTargetNamespace, Property_Quantity, XmlElementType_Element,
                                  &CreateClass, ClassId_Quantity, true),
        new CElementInfoSeqPrimMnd(u"unitPrice", kTargetNamespace, Property_UnitPrice, false, ItemType_r8, nullptr,
                                   kCollapse, kNoFacets, nullptr),
        new CElementInfoSeqPrimOpt(u"giftWrap", kTargetNamespace, Property_GiftWrap, false, ItemType_boolean, nullptr,
                                   kCollapse, kNoFacets, nullptr),
        new CElementInfoSeqClsMnd(u"ItemTracking", kTargetNamespace, Property_Tracking, XmlElementType_Pseudo,
                                  &CreateClass, ClassId_ItemTracking, false),
    });
    t.m_attributeInfo = AttributeTable({
        new CAttributeInfoPrimitive(
            u"partNumber", u"", Property_PartNumber, false, ItemType_string, nullptr, kCollapse,
            CPrimitiveRestrictions(u"[0-9]{3}-[A-Z]{2}", -1, -1, nullptr, nullptr, nullptr, nullptr, -1, -1, -1),
            nullptr),
    });
}

CItem::CItem() {
    Init();
    SetElementName(u"item");
}

void CItem::Init() {
    m_partNumber.clear();
    m_productName.clear();
    // Children that always exist are reset in place rather than made anew for every read.
    if (m_quantity)
        m_quantity->Init();
    else
        m_quantity = new CQuantity();
    m_unitPrice = 0;
    m_giftWrap.reset();
    if (m_tracking)
        m_tracking->Init();
    else
        m_tracking = new CItemTracking();
}

void CItem::AccessProperty(int32_t index, bool get, KvVariant& value) {
    switch (index) {
    case Property_PartNumber:
        if (get)
            value.SetString(m_partNumber);
        else
            m_partNumber = value.GetString();
        return;
    case Property_ProductName:
        if (get)
            value.SetString(m_productName);
        else
            m_productName = value.GetString();
        return;
    case Property_Quantity:
        if (get)
            value.SetXmlObject(m_quantity);
        else
            m_quantity = ObjectFrom<CQuantity>(value);
        return;
    case Property_UnitPrice:
        if (get)
            value.SetR8(m_unitPrice);
        else
            m_unitPrice = value.GetR8();
        return;
    case Property_GiftWrap: get ? GetBoolean(m_giftWrap, value) : SetBoolean(m_giftWrap, value); return;
    case Property_Tracking:
        if (get)
            value.SetXmlObject(m_tracking);
        else
            m_tracking = ObjectFrom<CItemTracking>(value);
        return;
    default: ThrowUnknownProperty(index);
    }
}

CItemCol::CItemCol() : CXmlCollection(u"item", kTargetNamespace, 1, 100) {}

CSmartPtr<CItem> CItemCol::Item(int32_t index) const {
    return CSmartPtr<CItem>(static_cast<CItem*>(GetNodeAtIndex(index)->m_item.get()));
}

void CItemCol::ToXml_Int(CXmlWriter* writer, bool, const char16_t* namespaceUri, const CSerializationContext& context,
                         bool) const {
    ValidateCount(context);
    for (CNode* node = m_head; node; node = node->m_next)
        CXmlObjectBase::ToXml_Int(node->m_item, writer, false, namespaceUri, context, false);
}

CXmlElement* CItemCol::FromXml_Int(CXmlElement*, CXmlElement* element, const CSerializationContext& context, bool) {
    while (element && DoesElementNameMatch(context, element, m_elementName.c_str(), m_namespace.c_str())) {
        CSmartPtr<CItem> item = new CItem();
        item->FromXml_Int(element, element->GetFirstElement(), context, false);
        AppendItem(item);
        element = element->GetNextSiblingElement();
    }
    return element;
}

// ---- payments ---------------------------------------------------------------------------------

CClassTables CCreditCardPayment::s_tables(&CCreditCardPayment::BuildTables);

void CCreditCardPayment::BuildTables(CClassTables& t) {
    // Named after its schema type: an instance under the payment element states it with xsi:type.
    t.m_classInfo = new CParentElementInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"CreditCardPaymentType",
                                           kTargetNamespace, true, true, -1, ItemType_Invalid, nullptr, false);
    t.m_elementInfo = ElementTable({
        new CElementInfoSeqPrimMnd(u"amount", kTargetNamespace, Property_Amount, false, ItemType_r8, nullptr, kCollapse,
                                   kNoFacets, nullptr),
        new CElementInfoSeqPrimMnd(u"cardHolder", kTargetNamespace, Property_CardHolder, false, ItemType_string,
                                   nullptr, kPreserve, kNoFacets, nullptr),
        new CElementInfoSeqPrimMnd(u"cardNumber", kTargetNamespace, Property_CardNumber, false, ItemType_string,
                                   nullptr, kCollapse, kNoFacets, nullptr),
    });
    t.m_attributeInfo = EmptyAttributeTable();
}

CCreditCardPayment::CCreditCardPayment() { Init(); }

void CCreditCardPayment::Init() {
    m_amount = 0;
    m_cardHolder.clear();
    m_cardNumber.clear();
}

void CCreditCardPayment::AccessProperty(int32_t index, bool get, KvVariant& value) {
    switch (index) {
    case Property_Amount:
        if (get)
            value.SetR8(m_amount);
        else
            m_amount = value.GetR8();
        return;
    case Property_CardHolder:
        if (get)
            value.SetString(m_cardHolder);
        else
            m_cardHolder = value.GetString();
        return;
    case Property_CardNumber:
        if (get)
            value.SetString(m_cardNumber);
        else
            m_cardNumber = value.GetString();
        return;
    default: ThrowUnknownProperty(index);
    }
}

CClassTables CBankTransferPayment::s_tables(&CBankTransferPayment::BuildTables);

void CBankTransferPayment::BuildTables(CClassTables& t) {
    t.m_classInfo = new CParentElementInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"BankTransferPaymentType",
                                           kTargetNamespace, true, true, -1, ItemType_Invalid, nullptr, false);
    t.m_elementInfo = ElementTable({
        new CElementInfoSeqPrimMnd(u"amount", kTargetNamespace, Property_Amount, false, ItemType_r8, nullptr, kCollapse,
                                   kNoFacets, nullptr),
        new CElementInfoSeqPrimMnd(u"iban", kTargetNamespace, Property_Iban, false, ItemType_string, nullptr, kCollapse,
                                   kNoFacets, nullptr),
    });
    t.m_attributeInfo = EmptyAttributeTable();
}

CBankTransferPayment::CBankTransferPayment() { Init(); }

void CBankTransferPayment::Init() {
    m_amount = 0;
    m_iban.clear();
}

void CBankTransferPayment::AccessProperty(int32_t index, bool get, KvVariant& value) {
    switch (index) {
    case Property_Amount:
        if (get)
            value.SetR8(m_amount);
        else
            m_amount = value.GetR8();
        return;
    case Property_Iban:
        if (get)
            value.SetString(m_iban);
        else
            m_iban = value.GetString();
        return;
    default: ThrowUnknownProperty(index);
    }
}

CSmartPtr<CXmlObjectBase> CPaymentFactory::CreatePayment(CXmlElement* element) {
    // A type in no namespace is taken as this schema's, so that documents read without namespaces resolve.
    const std::u16string ns = GetElementTypeNamespaceUri(element);
    if (!ns.empty() && ns != kTargetNamespace) return CSmartPtr<CXmlObjectBase>();
    const std::u16string type = GetElementType(element);
    if (type == u"CreditCardPaymentType") return CSmartPtr<CXmlObjectBase>(new CCreditCardPayment());
    if (type == u"BankTransferPaymentType") return CSmartPtr<CXmlObjectBase>(new CBankTransferPayment());
    return CSmartPtr<CXmlObjectBase>();
}

// ---- CPurchaseOrder ---------------------------------------------------------------------------

CClassTables CPurchaseOrder::s_tables(&CPurchaseOrder::BuildTables);

void CPurchaseOrder::BuildTables(CClassTables& t) {
    t.m_classInfo = new CParentElementInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"purchaseOrder",
                                           kTargetNamespace, true, false, -1, ItemType_Invalid, nullptr, false);
    t.m_elementInfo = ElementTable({
        new CElementInfoSeqPrimMnd(u"customer", kTargetNamespace, Property_Customer, false, ItemType_string, nullptr,
                                   kPreserve, kNoFacets, nullptr),
        new CElementInfoSeqPrimMnd(u"customerNumber", kTargetNamespace, Property_CustomerNumber, false, ItemType_ui4,
                                   nullptr, kCollapse, kNoFacets, nullptr),
        new CElementInfoSeqPrimOpt(
            u"priority", kTargetNamespace, Property_Priority, false, ItemType_i4, nullptr, kCollapse,
            CPrimitiveRestrictions(nullptr, -1, -1, u"1", u"5", nullptr, nullptr, -1, -1, -1), nullptr),
        new CElementInfoSeqPrimOpt(u"express", kTargetNamespace, Property_Express, false, ItemType_boolean, nullptr,
                                   kCollapse, kNoFacets, nullptr),
        new CElementInfoSeqPrimOpt(u"signature", kTargetNamespace, Property_Signature, false, ItemType_hexBinary,
                                   nullptr, kCollapse, kNoFacets, nullptr),
        new CElementInfoSeqPrimOpt(u"shipMethod", kTargetNamespace, Property_ShipMethod, false, ItemType_string,
                                   nullptr, kCollapse, kNoFacets, u"ground"),
        new CElementInfoSeqClsMnd(u"billTo", kTargetNamespace, Property_BillTo, XmlElementType_Element, &CreateClass,
                                  ClassId_Address, true),
        new CElementInfoSeqClsOpt(u"shipTo", kTargetNamespace, Property_ShipTo, XmlElementType_Element, &CreateClass,
                                  ClassId_Address),
        new CElementInfoSeqClsCol(u"item", kTargetNamespace, Property_Items, XmlElementType_Element),
        new CElementInfoSeqAbsClsMnd(u"payment", kTargetNamespace, Property_Payment, XmlElementType_Element,
                                     &CPaymentFactory::CreatePayment),
        new CElementInfoSeqUntpdOpt(u"AnyElement", u"", Property_Extension, u"##other", kTargetNamespace),
    });
    // The wildcard comes last: it takes every attribute of another namespace that the others declined.
    t.m_attributeInfo = AttributeTable({
        new CAttributeInfoPrimitive(u"orderId", u"", Property_OrderId, false, ItemType_string, nullptr, kCollapse,
                                    kNoFacets, nullptr),
        new CAttributeInfoPrimitive(
            u"currency", u"", Property_Currency, true, ItemType_string, nullptr, kCollapse,
            CPrimitiveRestrictions(nullptr, -1, -1, nullptr, nullptr, nullptr, nullptr, 3, -1, -1), u"EUR"),
        new CAttributeInfoEnum(u"status", u"", Property_Status, false, &OrderStatusToText, &OrderStatusFromText,
                               nullptr),
        new CAttributeInfoAny(u"AnyAttribute", u"", Property_AnyAttributes, true, u"##other", kTargetNamespace,
                              nullptr),
    });
}

CPurchaseOrder::CPurchaseOrder() {
    Init();
    SetElementName(u"purchaseOrder");
}

void CPurchaseOrder::Init() {
    m_orderId.clear();
    m_currency.reset();
    m_status = OrderStatus::Open;
    if (m_anyAttributes)
        m_anyAttributes->Clear();
    else
        m_anyAttributes = new CAttributeCol(u"", u"##other", kTargetNamespace);
    m_customer.clear();
    m_customerNumber = 0;
    m_priority.reset();
    m_express.reset();
    m_signature.reset();
    m_shipMethod.reset();
    if (m_billTo) {
        m_billTo->Init();
    } else {
        m_billTo = new CAddress();
        m_billTo->SetElementName(u"billTo");
    }
    m_shipTo = nullptr;
    if (m_items)
        m_items->Clear();
    else
        m_items = new CItemCol();
    m_payment = nullptr;
    m_extension = nullptr;
}

void CPurchaseOrder::SetShipTo(CAddress* value) {
    if (value) value->SetElementName(u"shipTo");
    m_shipTo = value;
}

void CPurchaseOrder::SetPayment(CPayment* value) {
    if (value) value->SetElementName(u"payment");
    m_payment = value;
}

void CPurchaseOrder::AccessProperty(int32_t index, bool get, KvVariant& value) {
    switch (index) {
    case Property_OrderId:
        if (get)
            value.SetString(m_orderId);
        else
            m_orderId = value.GetString();
        return;
    case Property_Currency: get ? GetString(m_currency, value) : SetString(m_currency, value); return;
    case Property_Status:
        if (get)
            value.SetI4(static_cast<int32_t>(m_status));
        else
            m_status = static_cast<OrderStatus>(value.GetI4());
        return;
    case Property_AnyAttributes:
        if (get)
            value.SetXmlObject(m_anyAttributes);
        else
            m_anyAttributes = ObjectFrom<CAttributeCol>(value);
        return;
    case Property_Customer:
        if (get)
            value.SetString(m_customer);
        else
            m_customer = value.GetString();
        return;
    case Property_CustomerNumber:
        if (get)
            value.SetUI4(m_customerNumber);
        else
            m_customerNumber = value.GetUI4();
        return;
    case Property_Priority: get ? GetI4(m_priority, value) : SetI4(m_priority, value); return;
    case Property_Express: get ? GetBoolean(m_express, value) : SetBoolean(m_express, value); return;
    case Property_Signature:
        if (get) {
            if (m_signature) value.SetHexBinary(*m_signature);
        } else if (value.GetTypeAsEnum() == ItemType_hexBinary && !value.IsNil()) {
            m_signature = value.GetHexBinary();
        } else {
            m_signature.reset();
        }
        return;
    case Property_ShipMethod: get ? GetString(m_shipMethod, value) : SetString(m_shipMethod, value); return;
    case Property_BillTo:
        if (get)
            value.SetXmlObject(m_billTo);
        else
            m_billTo = ObjectFrom<CAddress>(value);
        return;
    case Property_ShipTo:
        if (get)
            value.SetXmlObject(m_shipTo);
        else
            m_shipTo = ObjectFrom<CAddress>(value);
        return;
    case Property_Items:
        if (get)
            value.SetXmlObject(m_items);
        else
            m_items = ObjectFrom<CItemCol>(value);
        return;
    case Property_Payment:
        if (get)
            value.SetXmlObject(m_payment);
        else
            m_payment = ObjectFrom<CPayment>(value);
        return;
    case Property_Extension:
        if (get)
            value.SetXmlObject(m_extension);
        else
            m_extension = ObjectFrom<CElement>(value);
        return;
    default: ThrowUnknownProperty(index);
    }
}

CPurchaseOrderCol::CPurchaseOrderCol() : CXmlCollection(u"purchaseOrder", kTargetNamespace, 1, -1) {}

CSmartPtr<CPurchaseOrder> CPurchaseOrderCol::Item(int32_t index) const {
    return CSmartPtr<CPurchaseOrder>(static_cast<CPurchaseOrder*>(GetNodeAtIndex(index)->m_item.get()));
}

void CPurchaseOrderCol::ToXml_Int(CXmlWriter* writer, bool, const char16_t* namespaceUri,
                                  const CSerializationContext& context, bool) const {
    ValidateCount(context);
    for (CNode* node = m_head; node; node = node->m_next)
        CXmlObjectBase::ToXml_Int(node->m_item, writer, false, namespaceUri, context, false);
}

CXmlElement* CPurchaseOrderCol::FromXml_Int(CXmlElement*, CXmlElement* element, const CSerializationContext& context,
                                            bool) {
    while (element && DoesElementNameMatch(context, element, m_elementName.c_str(), m_namespace.c_str())) {
        CSmartPtr<CPurchaseOrder> order = new CPurchaseOrder();
        order->FromXml_Int(element, element->GetFirstElement(), context, false);
        AppendItem(order);
        element = element->GetNextSiblingElement();
    }
    return element;
}

// ---- CPurchaseOrderBatch ----------------------------------------------------------------------

CClassTables CPurchaseOrderBatch::s_tables(&CPurchaseOrderBatch::BuildTables);

void CPurchaseOrderBatch::BuildTables(CClassTables& t) {
    t.m_classInfo = new CParentElementInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"purchaseOrders",
                                           kTargetNamespace, true, false, -1, ItemType_Invalid, nullptr, false);
    t.m_elementInfo = ElementTable({
        new CElementInfoSeqClsCol(u"purchaseOrder", kTargetNamespace, Property_Orders, XmlElementType_Element),
    });
    t.m_attributeInfo = AttributeTable({
        new CAttributeInfoPrimitive(u"batchId", u"", Property_BatchId, true, ItemType_string, nullptr, kCollapse,
                                    kNoFacets, nullptr),
    });
}

CPurchaseOrderBatch::CPurchaseOrderBatch() {
    Init();
    SetElementName(u"purchaseOrders");
}

void CPurchaseOrderBatch::Init() {
    m_batchId.reset();
    if (m_orders)
        m_orders->Clear();
    else
        m_orders = new CPurchaseOrderCol();
}

void CPurchaseOrderBatch::AccessProperty(int32_t index, bool get, KvVariant& value) {
    switch (index) {
    case Property_BatchId: get ? GetString(m_batchId, value) : SetString(m_batchId, value); return;
    case Property_Orders:
        if (get)
            value.SetXmlObject(m_orders);
        else
            m_orders = ObjectFrom<CPurchaseOrderCol>(value);
        return;
    default: ThrowUnknownProperty(index);
    }
}

} // namespace PurchaseOrderSample
