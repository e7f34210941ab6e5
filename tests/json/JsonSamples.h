#pragma once

// The example classes filled for the JSON tests and for the check of the output by Python.

#include <kvxml/KvXmlLib16.h>

#include "../../examples/purchase_order/Checkout.h"
#include "../../examples/purchase_order/PurchaseOrder.h"

namespace JsonTest {

using namespace KvXmlLib16;

// A purchase order with every kind of child: attributes, text, a class collection, an xsi:type
// subclass, an untyped element and attribute in a second namespace.
CSmartPtr<PurchaseOrderSample::CPurchaseOrder> MakeOrder();
// A checkout paying by card (a choice inside an all block) or, with giftCards, from a wallet with
// that many gift cards (a collection of primitives).
CSmartPtr<PurchaseOrderSample::CCheckout> MakeCheckout(int giftCards = 0);
// The example's namespace as default, aliases for xsi and the partner namespace, and the JSON mode.
CSerializationContext SampleContext(JsonRoundTrip mode);

} // namespace JsonTest
