#pragma once

// The example classes, generated from the schemas in examples/purchase_order, filled from the sample
// documents in tests/data/samples and shared by the suites of each format.

#include <kvxml/KvXmlLib16.h>

#include <string>

#include "Checkout.h"
#include "PurchaseOrder.h"
#include "measurements.h"

namespace KvTest {

inline constexpr char16_t kSampleNamespace[] = u"urn:kvxml:samples:purchase-order";

// A sample document read into a new object of its class.
template <class T>
KvXmlLib16::CSmartPtr<T> ReadSample(const char* name) {
    const std::string path = std::string(KVXML_TEST_DATA_DIR) + "/samples/" + name;
    KvXmlLib16::CSmartPtr<T> object = new T();
    object->FromXmlFile(std::u16string(path.begin(), path.end()).c_str(), KvXmlLib16::CSerializationContext());
    return object;
}

// Attributes, text needing escapes, a class collection (the first `items` of three), an xsi:type
// subclass, an untyped element and attribute in a second namespace.
inline KvXmlLib16::CSmartPtr<PurchaseOrderSample::CPurchaseOrder> MakeOrder(int items = 3) {
    KvXmlLib16::CSmartPtr<PurchaseOrderSample::CPurchaseOrder> order =
        ReadSample<PurchaseOrderSample::CPurchaseOrder>("order.xml");
    while (order->GetItems()->GetCount() > items) order->GetItems()->Remove(items);
    return order;
}

// A checkout paying by card (a choice inside an all block) or from a wallet of two gift cards (a
// collection of primitives).
inline KvXmlLib16::CSmartPtr<PurchaseOrderSample::CCheckout> MakeCheckout(bool wallet = false) {
    return ReadSample<PurchaseOrderSample::CCheckout>(wallet ? "checkout-wallet.xml" : "checkout.xml");
}

} // namespace KvTest
