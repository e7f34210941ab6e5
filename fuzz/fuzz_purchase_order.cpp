// XML into the example's generated classes and back out: whatever reads must also write, as
// XML, JSON and Fast Infoset.
#include "FuzzSupport.h"

#include "PurchaseOrder.h"

using namespace KvXmlLib16;
using namespace PurchaseOrderSample;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static CSerializationContext* context = [] {
        auto* c = new CSerializationContext();
        c->SetDefaultNamespaceURI(u"urn:kvxml:samples:purchase-order");
        c->GetNamespaceAliases().Add(u"xsi", u"http://www.w3.org/2001/XMLSchema-instance");
        return c;
    }();
    CSmartPtr<CPurchaseOrder> order = new CPurchaseOrder();
    try {
        order->FromXmlStream(data, KvFuzz::Count(size), *context);
    } catch (const CKvException&) {
        return 0;
    }
    // A document that reads may still fail to write (a choice left empty, say): that is a
    // reported error, not a finding.
    try {
        order->ToXml(true, true, EOLType_LF, *context);
        order->ToJson(false, EOLType_LF, *context);
        order->ToFastInfosetStream(FInfoDecl_None, *context, CompressionType_None);
    } catch (const CKvException&) {}
    return 0;
}
