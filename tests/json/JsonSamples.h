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
inline CSerializationContext SampleContext(JsonRoundTrip mode) {
    CSerializationContext context;
    context.SetDefaultNamespaceURI(KvTest::kSampleNamespace);
    context.GetNamespaceAliases().Add(u"xsi", u"http://www.w3.org/2001/XMLSchema-instance");
    context.GetNamespaceAliases().Add(u"p", u"urn:partner");
    context.GetJsonContext().SetSupportRoundtrip(mode);
    return context;
}

} // namespace JsonTest
