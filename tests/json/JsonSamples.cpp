#include "JsonSamples.h"

#include "../../examples/purchase_order/Checkout.cpp"
#include "../../examples/purchase_order/PurchaseOrder.cpp"

namespace JsonTest {

using namespace PurchaseOrderSample;

CSerializationContext SampleContext(JsonRoundTrip mode) {
    CSerializationContext context;
    context.SetDefaultNamespaceURI(kTargetNamespace);
    context.GetNamespaceAliases().Add(u"xsi", u"http://www.w3.org/2001/XMLSchema-instance");
    context.GetNamespaceAliases().Add(u"p", u"urn:partner");
    context.GetJsonContext().SetSupportRoundtrip(mode);
    return context;
}

} // namespace JsonTest
