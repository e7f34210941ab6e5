#pragma once

// The purchase-order example classes filled with every kind of child, shared by the suites of each
// format. The example sources themselves are compiled by the including program.

#include <kvxml/KvXmlLib16.h>

#include "Checkout.h"
#include "PurchaseOrder.h"

namespace KvTest {

inline constexpr char16_t kSampleNamespace[] = u"urn:kvxml:samples:purchase-order";

// Attributes, text needing escapes, a class collection, an xsi:type subclass, an untyped element and
// attribute in a second namespace.
inline KvXmlLib16::CSmartPtr<PurchaseOrderSample::CPurchaseOrder> MakeOrder(int items = 3) {
    using namespace KvXmlLib16;
    using namespace PurchaseOrderSample;
    CSmartPtr<CPurchaseOrder> order = new CPurchaseOrder();
    order->SetOrderId(u"PO-1001");
    order->SetCurrency(u"USD");
    order->SetStatus(PurchaseOrderStatus::Shipped);
    order->GetAnyAttributes()->Add(u"ref", u"A&B", u"urn:partner");
    order->SetCustomer(u"Alice <Smith>");
    order->SetCustomerNumber(4000000000u);
    order->SetPriority(2);
    order->SetExpress(true);
    const unsigned char signature[] = {0x0a, 0xff, 0x10};
    order->SetSignature(CBinaryData(signature, 3, false));
    order->SetShipMethod(u"ground");
    CAddress* billTo = order->GetBillTo();
    billTo->SetName(u"Alice Smith");
    billTo->SetStreet(u"1 Main St\x01");
    billTo->SetCity(u"Springfield");
    billTo->SetZip(u"12345");
    CSmartPtr<CAddress> shipTo = new CAddress();
    shipTo->SetCountry(u"US");
    shipTo->SetName(u"Bob \u00e9\u4e2d");
    shipTo->SetStreet(u"2 Side St");
    shipTo->SetCity(u"Shelbyville");
    shipTo->SetZip(u"54321");
    order->SetShipTo(shipTo);
    for (int i = 1; i <= items; ++i) {
        CSmartPtr<CPurchaseOrderItem> item = new CPurchaseOrderItem();
        item->SetPartNumber(i == 1 ? u"123-AB" : u"456-CD");
        item->SetProductName(i == 1 ? u"Lawnmower" : u"Baby Monitor");
        item->GetQuantity()->SetValue(static_cast<uint32_t>(i));
        if (i == 2) item->GetQuantity()->SetUnit(u"box");
        item->SetUnitPrice(i == 1 ? 148.95 : 39.5);
        if (i == 1) {
            item->SetGiftWrap(false);
            item->SetAddedBy(u"web");
            item->SetLineNumber(1);
            item->SetComment(u"Confirm this is electric");
        }
        order->GetItems()->Add(item);
    }
    CSmartPtr<CCreditCardPayment> payment = new CCreditCardPayment();
    payment->SetAmount(188.45);
    payment->SetCardHolder(u"Alice Smith");
    payment->SetCardNumber(u"4111111111111111");
    order->SetPayment(payment);
    CSmartPtr<CElement> extension = new CElement(u"note", u"urn:partner");
    extension->SetText(u"leave at the door");
    order->SetAnyElement(extension);
    return order;
}

// A checkout paying by card (a choice inside an all block) or, with giftCards, from a wallet with
// that many gift cards (a collection of primitives).
inline KvXmlLib16::CSmartPtr<PurchaseOrderSample::CCheckout> MakeCheckout(int giftCards = 0) {
    using namespace KvXmlLib16;
    using namespace PurchaseOrderSample;
    CSmartPtr<CCheckout> checkout = new CCheckout();
    checkout->SetOrderRef(u"PO-1001");
    CContact* contact = checkout->GetContact();
    contact->SetName(u"Alice Smith");
    contact->SetEmail(u"alice@example.com");
    contact->SetPhone(u"+49 30 1234567");
    contact->SetPreferredChannel(ContactPreferredChannel::Post);
    CSmartPtr<CAddress> address = new CAddress();
    address->SetCountry(u"US");
    address->SetName(u"Alice Smith");
    address->SetStreet(u"1 Main St");
    address->SetCity(u"Springfield");
    address->SetZip(u"12345");
    contact->SetPostalAddress(address);
    if (giftCards > 0) {
        for (int i = 0; i < giftCards; ++i)
            checkout->GetPaymentMethod()->GetGiftCards()->Add(u"GC-" + std::u16string(1, u'1' + i));
    } else {
        CSmartPtr<CCard> card = new CCard();
        card->SetHolder(u"Alice Smith");
        card->SetNumber(u"4111111111111111");
        card->SetExpiry(u"2028-04");
        checkout->GetPaymentMethod()->SetCard(card);
    }
    checkout->SetGiftMessage(u"Happy birthday!");
    return checkout;
}

} // namespace KvTest
