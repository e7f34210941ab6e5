#pragma once

// The purchase-order batch that the binding and JSON benchmarks read and write: about 20 MB of
// XML text made of the example classes.

#include "PurchaseOrder.h"

namespace BenchPurchaseOrders {

using namespace KvXmlLib16;
using namespace PurchaseOrderSample;

inline constexpr char16_t kTargetNamespace[] = u"urn:kvxml:samples:purchase-order";

inline CSmartPtr<CPurchaseOrder> MakeOrder(int number) {
    CSmartPtr<CPurchaseOrder> order = new CPurchaseOrder();
    order->SetOrderId(number % 2 ? u"PO-2024-A" : u"PO-2024-B");
    order->SetStatus(static_cast<PurchaseOrderStatus>(number % 3));
    order->SetCustomer(u"Customer & Sons Trading Company");
    order->SetCustomerNumber(100000u + static_cast<uint32_t>(number));
    order->SetPriority(1 + number % 5);
    order->SetExpress(number % 2 == 0);
    CAddress* billTo = order->GetBillTo();
    billTo->SetName(u"Alice Smith");
    billTo->SetStreet(u"123 Maple Street");
    billTo->SetCity(u"Mill Valley");
    billTo->SetZip(u"90952");
    CSmartPtr<CAddress> shipTo = new CAddress();
    shipTo->SetCountry(u"US");
    shipTo->SetName(u"Robert Smith");
    shipTo->SetStreet(u"8 Oak Avenue");
    shipTo->SetCity(u"Old Town");
    shipTo->SetZip(u"95819");
    order->SetShipTo(shipTo);
    for (int i = 0; i < 8; ++i) {
        CSmartPtr<CPurchaseOrderItem> item = new CPurchaseOrderItem();
        item->SetPartNumber(u"872-AA");
        item->SetProductName(u"Lawnmower with a rather long product description");
        item->GetQuantity()->SetValue(static_cast<uint32_t>(1 + i));
        item->SetUnitPrice(148.95 + i);
        if (i % 3 == 0) item->SetGiftWrap(true);
        if (i == 0) {
            item->SetAddedBy(u"web-shop");
            item->SetComment(u"Confirm this is electric");
        }
        order->GetItems()->Add(item);
    }
    CSmartPtr<CCreditCardPayment> payment = new CCreditCardPayment();
    payment->SetAmount(1234.5);
    payment->SetCardHolder(u"Alice Smith");
    payment->SetCardNumber(u"4111111111111111");
    order->SetPayment(payment);
    return order;
}

inline CSerializationContext& Context() {
    static CSerializationContext context = [] {
        CSerializationContext c;
        c.SetDefaultNamespaceURI(kTargetNamespace);
        c.GetNamespaceAliases().Add(u"xsi", u"http://www.w3.org/2001/XMLSchema-instance");
        return c;
    }();
    return context;
}

// The benchmarks' name for the generated batch of orders.
class CPurchaseOrderBatch : public CPurchaseOrders {
public:
    KvXmlGenerated::CObjectCol<CPurchaseOrder>* GetOrders() const { return GetPurchaseOrders(); }
};

inline CSmartPtr<CPurchaseOrderBatch> MakeBatch(size_t minimumCharacters) {
    CSmartPtr<CPurchaseOrderBatch> batch = new CPurchaseOrderBatch();
    batch->SetBatchId(u"benchmark");
    CSmartPtr<CPurchaseOrder> sample = MakeOrder(0);
    const size_t perOrder = sample->ToXml(false, false, EOLType_LF, Context()).size();
    for (size_t n = 0; n * perOrder < minimumCharacters; ++n) batch->GetOrders()->Add(MakeOrder(static_cast<int>(n)));
    return batch;
}

} // namespace BenchPurchaseOrders
