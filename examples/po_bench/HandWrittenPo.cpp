#include "HandWrittenPo.h"

#include "kvxml/base/CKvException.h"
#include "kvxml/base/FormatString.h"
#include "kvxml/binding/CElementInfoSeq.h"
#include "kvxml/xml/CXmlElement.h"

namespace HandWrittenPo {

using namespace KvXmlLib16;
using namespace KvXmlLib16Data;
using namespace PurchaseOrderSample::Support;

namespace {

const char16_t* StatusToText(int32_t value) {
    switch (static_cast<Status>(value)) {
    case Status::Open: return u"open";
    case Status::Shipped: return u"shipped";
    case Status::Closed: return u"closed";
    }
    return nullptr;
}

int32_t StatusFromText(const char16_t* text) {
    const std::u16string value = text ? text : u"";
    if (value == u"open") return static_cast<int32_t>(Status::Open);
    if (value == u"shipped") return static_cast<int32_t>(Status::Shipped);
    if (value == u"closed") return static_cast<int32_t>(Status::Closed);
    throw CKvInvalidValueException(FormatString(u"Invalid Status [%s].", value.c_str()));
}

CSmartPtr<CXmlObjectBase> NoCreator(int32_t, const char16_t*) { return CSmartPtr<CXmlObjectBase>(); }

} // namespace

// ---- CCustomer --------------------------------------------------------------------------------

CClassTables CCustomer::s_tables(&CCustomer::BuildTables);

void CCustomer::BuildTables(CClassTables& t) {
    t.m_classInfo = new CParentElementInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"Customer",
                                           kTargetNamespace, true, false, -1, ItemType_Invalid, nullptr, false);
    t.m_elementInfo = ElementTable({
        new CElementInfoSeqPrimMnd(u"name", kTargetNamespace, 0, false, ItemType_string, nullptr, kPreserve, kNoFacets,
                                   nullptr),
        new CElementInfoSeqPrimMnd(u"email", kTargetNamespace, 1, false, ItemType_string, nullptr, kPreserve, kNoFacets,
                                   nullptr),
    });
    t.m_attributeInfo = EmptyAttributeTable();
}

CCustomer::CCustomer() { Init(); }

void CCustomer::Init() {
    m_name.clear();
    m_email.clear();
}

void CCustomer::AccessProperty(int32_t index, bool get, KvVariant& value) {
    std::u16string* text = index == 0 ? &m_name : index == 1 ? &m_email : nullptr;
    if (!text) ThrowUnknownProperty(index);
    if (get)
        value.SetString(*text);
    else
        *text = value.TakeString();
}

// ---- CItem ------------------------------------------------------------------------------------

CClassTables CItem::s_tables(&CItem::BuildTables);

void CItem::BuildTables(CClassTables& t) {
    t.m_classInfo = new CParentElementInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"Item", kTargetNamespace,
                                           true, false, -1, ItemType_Invalid, nullptr, false);
    t.m_elementInfo = ElementTable({
        new CElementInfoSeqPrimMnd(u"description", kTargetNamespace, 0, false, ItemType_string, nullptr, kPreserve,
                                   kNoFacets, nullptr),
        new CElementInfoSeqPrimMnd(u"price", kTargetNamespace, 1, false, ItemType_decimal, nullptr, kCollapse,
                                   kNoFacets, nullptr),
    });
    t.m_attributeInfo = AttributeTable({
        new CAttributeInfoPrimitive(u"sku", u"", 2, false, ItemType_string, nullptr, kPreserve, kNoFacets, nullptr),
        new CAttributeInfoPrimitive(u"qty", u"", 3, false, ItemType_integer, nullptr, kCollapse, kNoFacets, nullptr),
    });
}

CItem::CItem() {
    Init();
    SetElementName(u"item");
}

void CItem::Init() {
    m_description.clear();
    m_price = CDecimal();
    m_sku.clear();
    m_qty = CBigInteger();
}

void CItem::AccessProperty(int32_t index, bool get, KvVariant& value) {
    switch (index) {
    case 0:
        if (get)
            value.SetString(m_description);
        else
            m_description = value.TakeString();
        return;
    case 1:
        if (get)
            value.SetDecimal(m_price);
        else
            m_price = value.TakeDecimal();
        return;
    case 2:
        if (get)
            value.SetString(m_sku);
        else
            m_sku = value.TakeString();
        return;
    case 3:
        if (get)
            value.SetInteger(m_qty);
        else
            m_qty = value.TakeInteger();
        return;
    default: ThrowUnknownProperty(index);
    }
}

CItemCol::CItemCol() : CXmlCollection(u"item", kTargetNamespace, 1, 10) {}

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

// ---- CItems -----------------------------------------------------------------------------------

CClassTables CItems::s_tables(&CItems::BuildTables);

void CItems::BuildTables(CClassTables& t) {
    t.m_classInfo = new CParentElementInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"Items", kTargetNamespace,
                                           true, false, -1, ItemType_Invalid, nullptr, false);
    t.m_elementInfo = ElementTable({
        new CElementInfoSeqClsCol(u"item", kTargetNamespace, 0, XmlElementType_Element),
    });
    t.m_attributeInfo = EmptyAttributeTable();
}

CItems::CItems() { Init(); }

void CItems::Init() {
    if (m_items)
        m_items->Clear();
    else
        m_items = new CItemCol();
}

void CItems::AccessProperty(int32_t index, bool get, KvVariant& value) {
    if (index != 0) ThrowUnknownProperty(index);
    if (get)
        value.SetXmlObject(m_items);
    else
        m_items = ObjectFrom<CItemCol>(value);
}

// ---- COrder -----------------------------------------------------------------------------------

CClassTables COrder::s_tables(&COrder::BuildTables);

void COrder::BuildTables(CClassTables& t) {
    t.m_classInfo = new CParentElementInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"Order", kTargetNamespace,
                                           true, false, -1, ItemType_Invalid, nullptr, false);
    t.m_elementInfo = ElementTable({
        new CElementInfoSeqClsMnd(u"customer", kTargetNamespace, 0, XmlElementType_Element, &NoCreator, 0, true),
        new CElementInfoSeqPrimOpt(u"note", kTargetNamespace, 1, false, ItemType_string, nullptr, kPreserve, kNoFacets,
                                   nullptr),
        new CElementInfoSeqClsMnd(u"items", kTargetNamespace, 2, XmlElementType_Element, &NoCreator, 0, true),
        new CElementInfoSeqEnumMnd(u"status", kTargetNamespace, 3, false, &StatusToText, &StatusFromText, nullptr),
    });
    t.m_attributeInfo = AttributeTable({
        new CAttributeInfoPrimitive(u"id", u"", 4, false, ItemType_string, nullptr, kPreserve, kNoFacets, nullptr),
        new CAttributeInfoPrimitive(u"date", u"", 5, false, ItemType_date, nullptr, kCollapse, kNoFacets, nullptr),
    });
}

COrder::COrder() {
    Init();
    SetElementName(u"order");
}

void COrder::Init() {
    if (m_customer)
        m_customer->Init();
    else
        m_customer = new CCustomer();
    m_customer->SetElementName(u"customer");
    m_note.reset();
    if (m_items)
        m_items->Init();
    else
        m_items = new CItems();
    m_items->SetElementName(u"items");
    m_status = Status::Open;
    m_id.clear();
    m_date = CDateTime();
}

void COrder::AccessProperty(int32_t index, bool get, KvVariant& value) {
    switch (index) {
    case 0:
        if (get)
            value.SetXmlObject(m_customer);
        else
            m_customer = ObjectFrom<CCustomer>(value);
        return;
    case 1: get ? GetString(m_note, value) : SetString(m_note, value); return;
    case 2:
        if (get)
            value.SetXmlObject(m_items);
        else
            m_items = ObjectFrom<CItems>(value);
        return;
    case 3:
        if (get)
            value.SetI4(static_cast<int32_t>(m_status));
        else
            m_status = static_cast<Status>(value.GetI4());
        return;
    case 4:
        if (get)
            value.SetString(m_id);
        else
            m_id = value.TakeString();
        return;
    case 5:
        if (get)
            value.SetDate(m_date);
        else
            m_date = value.GetDate();
        return;
    default: ThrowUnknownProperty(index);
    }
}

COrderCol::COrderCol() : CXmlCollection(u"order", kTargetNamespace, 0, -1) {}

void COrderCol::ToXml_Int(CXmlWriter* writer, bool, const char16_t* namespaceUri, const CSerializationContext& context,
                          bool) const {
    ValidateCount(context);
    for (CNode* node = m_head; node; node = node->m_next)
        CXmlObjectBase::ToXml_Int(node->m_item, writer, false, namespaceUri, context, false);
}

CXmlElement* COrderCol::FromXml_Int(CXmlElement*, CXmlElement* element, const CSerializationContext& context, bool) {
    while (element && DoesElementNameMatch(context, element, m_elementName.c_str(), m_namespace.c_str())) {
        CSmartPtr<COrder> order = new COrder();
        order->FromXml_Int(element, element->GetFirstElement(), context, false);
        AppendItem(order);
        element = element->GetNextSiblingElement();
    }
    return element;
}

// ---- COrders ----------------------------------------------------------------------------------

CClassTables COrders::s_tables(&COrders::BuildTables);

void COrders::BuildTables(CClassTables& t) {
    t.m_classInfo = new CParentElementInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"Orders", kTargetNamespace,
                                           true, false, -1, ItemType_Invalid, nullptr, false);
    t.m_elementInfo = ElementTable({
        new CElementInfoSeqClsCol(u"order", kTargetNamespace, 0, XmlElementType_Element),
    });
    t.m_attributeInfo = EmptyAttributeTable();
}

COrders::COrders() {
    Init();
    SetElementName(u"orders");
}

void COrders::Init() {
    if (m_orders)
        m_orders->Clear();
    else
        m_orders = new COrderCol();
}

void COrders::AccessProperty(int32_t index, bool get, KvVariant& value) {
    if (index != 0) ThrowUnknownProperty(index);
    if (get)
        value.SetXmlObject(m_orders);
    else
        m_orders = ObjectFrom<COrderCol>(value);
}

} // namespace HandWrittenPo
