#pragma once

// The example classes filled for the JSON tests and for the check of the output by Python.

#include <kvxml/KvXmlLib16.h>

#include "../support/PurchaseOrderSamples.h"

namespace JsonTest {

using namespace KvXmlLib16;

using KvTest::MakeCheckout;
using KvTest::MakeOrder;
using CItem = PurchaseOrderSample::CPurchaseOrderItem;
// The example's namespace as default, aliases for xsi and the partner namespace, and the JSON mode.
CSerializationContext SampleContext(JsonRoundTrip mode);

} // namespace JsonTest
