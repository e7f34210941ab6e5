// Writes a purchase order, reads the text back into a new object and writes that again. The classes
// are generated from PurchaseOrder.xsd and measurements.xsd at build time by kvxmlc.
#include <cstdio>
#include <string>

#include "measurements.h"
#include "PurchaseOrder.h"
#include "kvxml/values/CConversions.h"
#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/base/CKvException.h"

using namespace KvXmlLib16;
using namespace PurchaseOrderSample;

static std::string Narrow(const std::u16string& s) {
    std::string out;
    for (char16_t c : s) out += c < 0x80 ? static_cast<char>(c) : '?';
    return out;
}

int main() {
    CSerializationContext context;
    context.SetDefaultNamespaceURI(u"urn:kvxml:samples:purchase-order");
    context.GetNamespaceAliases().Add(u"xsi", u"http://www.w3.org/2001/XMLSchema-instance");
    try {
        CSmartPtr<CPurchaseOrder> order = new CPurchaseOrder();
        order->SetOrderId(u"PO-1");
        order->SetCustomer(u"Alice Smith");
        order->SetCustomerNumber(42);
        CAddress* billTo = order->GetBillTo();
        billTo->SetName(u"Alice Smith");
        billTo->SetStreet(u"1 Main St");
        billTo->SetCity(u"Springfield");
        billTo->SetZip(u"12345");
        CSmartPtr<CPurchaseOrderItem> item = new CPurchaseOrderItem();
        item->SetPartNumber(u"123-AB");
        item->SetProductName(u"Lawnmower");
        item->GetQuantity()->SetValue(1);
        item->SetUnitPrice(148.95);
        order->GetItems()->Add(item);
        CSmartPtr<CBankTransferPayment> payment = new CBankTransferPayment();
        payment->SetAmount(148.95);
        payment->SetIban(u"DE89370400440532013000");
        order->SetPayment(payment);

        const std::u16string text = order->ToXml(true, true, EOLType_LF, context);
        std::printf("%s", Narrow(text).c_str());

        CSmartPtr<CPurchaseOrder> copy = new CPurchaseOrder();
        copy->FromXml(text.c_str(), context);
        std::printf("read back %s\n", copy->ToXml(true, true, EOLType_LF, context) == text ? "identical" : "DIFFERENT");

        // Repeated simple elements live in typed collections that check each value as it is added.
        CSmartPtr<CMeasurements> measurements = new CMeasurements();
        measurements->SetParcelId(u"DE123456789");
        measurements->GetWeights()->Add(1200);
        measurements->GetWeights()->Add(1180);
        measurements->GetScanDates()->Add(
            CConversions::dateFromString(u"2026-11-24", CWhitespaceUtils::WhitespaceRule_Collapse));
        measurements->GetDepots()->Add(u"HAM-01");
        std::printf("%s", Narrow(measurements->ToXml(false, true, EOLType_LF, context)).c_str());
        try {
            measurements->GetWeights()->Add(40000);
        } catch (const CKvException& e) {
            std::printf("refused: %s\n", Narrow(e.GetMessage()).c_str());
        }

        // A failure names the element where it happened.
        copy->FromXml(u"<purchaseOrder xmlns='urn:kvxml:samples:purchase-order' orderId='x' status='open'/>", context);
    } catch (const CKvException& e) {
        std::printf("failure: %s\n", Narrow(e.GetFullMessage()).c_str());
    }
    ReleaseMetaData();
    return 0;
}
