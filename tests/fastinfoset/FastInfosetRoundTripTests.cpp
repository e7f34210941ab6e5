// The example classes written as Fast Infoset and read back through the XML entry points.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "../../examples/purchase_order/Checkout.cpp"
#include "../../examples/purchase_order/PurchaseOrder.cpp"
#include "kvxml/fastinfoset/CFastInfosetContext.h"
#include "support/KvTestText.h"

using namespace KvXmlLib16;
using namespace PurchaseOrderSample;

namespace {

CSmartPtr<CPurchaseOrder> MakeOrder(int items) {
    CSmartPtr<CPurchaseOrder> order = new CPurchaseOrder();
    order->SetOrderId(u"PO-1001");
    order->SetCurrency(u"USD");
    order->SetStatus(OrderStatus::Shipped);
    order->GetAnyAttributes()->Add(u"ref", u"A&B", u"urn:partner");
    order->SetCustomer(u"Alice <Smith> \u00E9\u4E2D\U0001F600");
    order->SetCustomerNumber(4000000000u);
    order->SetPriority(2);
    order->SetExpress(true);
    const unsigned char signature[] = {0x00, 0xAB, 0xFF};
    order->SetSignature(CBinaryData(signature, 3, false));
    CAddress* billTo = order->GetBillTo();
    billTo->SetName(u"Alice Smith");
    billTo->SetStreet(u"1 Main St");
    billTo->SetCity(u"Springfield");
    billTo->SetZip(u"12345");
    for (int i = 1; i <= items; ++i) {
        CSmartPtr<CItem> item = new CItem();
        item->SetPartNumber(i % 2 ? u"123-AB" : u"456-CD");
        item->SetProductName(i % 2 ? u"Lawnmower" : u"Baby Monitor");
        item->GetQuantity()->SetValue(static_cast<uint32_t>(i));
        if (i == 2) item->GetQuantity()->SetUnit(u"box");
        item->SetUnitPrice(i % 2 ? 148.95 : -39.5e-7);
        if (i == 1) {
            item->SetGiftWrap(false);
            item->GetTracking()->SetAddedBy(u"web");
            item->GetTracking()->SetLineNumber(1);
            item->GetTracking()->SetComment(u"Confirm this is electric");
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
    order->SetExtension(extension);
    return order;
}

CSmartPtr<CCheckout> MakeCheckout() {
    CSmartPtr<CCheckout> checkout = new CCheckout();
    checkout->SetOrderRef(u"PO-1001");
    CContact* contact = checkout->GetContact();
    contact->SetName(u"Alice Smith");
    contact->SetEmail(u"alice@example.com");
    contact->SetPreferredChannel(ContactChannel::Post);
    CSmartPtr<CInvoice> invoice = new CInvoice();
    invoice->SetDueInDays(14);
    invoice->SetPurchaseOrderNumber(u"PO-1001");
    checkout->GetPaymentMethod()->SetInvoice(invoice);
    checkout->SetGiftMessage(u"Happy birthday!\nLine two");
    return checkout;
}

struct Subject {
    const char* name;
    std::function<CSmartPtr<CXmlGeneratedClass>()> make;
    std::function<CSmartPtr<CXmlGeneratedClass>()> empty;
};

} // namespace

// Every declaration, plain and typed encodings, each compression, with and without a prepared
// vocabulary: the copy writes the same XML as the original.
TEST(FastInfosetRoundTrip, ExampleClassesThroughEveryOption) {
    const Subject subjects[] = {
        {"order", [] { return CSmartPtr<CXmlGeneratedClass>(MakeOrder(3).get()); },
         [] { return CSmartPtr<CXmlGeneratedClass>(new CPurchaseOrder()); }},
        {"checkout", [] { return CSmartPtr<CXmlGeneratedClass>(MakeCheckout().get()); },
         [] { return CSmartPtr<CXmlGeneratedClass>(new CCheckout()); }},
    };
    for (const Subject& subject : subjects) {
        const CSmartPtr<CXmlGeneratedClass> original = subject.make();
        for (int options = 0; options < 4; ++options) {
            CSerializationContext context;
            context.SetDefaultNamespaceURI(kTargetNamespace);
            context.GetNamespaceAliases().Add(u"xsi", u"http://www.w3.org/2001/XMLSchema-instance");
            CFastInfosetContext& fi = context.GetFIContext();
            if (options & 1) fi.SetSuggestedValues();
            if (options & 2) {
                fi.SetUseGeneratedVocabulary(true);
                fi.GetVocabulary()->AddElement(u"", kTargetNamespace, u"item");
                fi.GetVocabulary()->AddAttribute(u"", u"", u"partNumber");
                fi.GetVocabulary()->AddAttributeValue(u"box");
                fi.GetVocabulary()->AddElementValue(u"web");
            }
            const std::u16string xml = original->ToXml(true, true, EOLType_LF, context);
            for (int declaration = FInfoDecl_None; declaration <= FInfoDecl_V11_Enc_StandaloneNo; ++declaration) {
                for (CompressionType compression : {CompressionType_None, CompressionType_GZip, CompressionType_ZLib}) {
                    const CBinaryData octets =
                        original->ToFastInfosetStream(static_cast<FInfoDecl>(declaration), context, compression);
                    const CSmartPtr<CXmlGeneratedClass> copy = subject.empty();
                    copy->FromXmlStream(octets, context);
                    EXPECT_EQ(KvTest::Narrow(copy->ToXml(true, true, EOLType_LF, context)), KvTest::Narrow(xml))
                        << subject.name << " options " << options << " declaration " << declaration << " compression "
                        << compression;
                }
            }
        }
    }
}

// A float travels in a form that keeps only its first octet: the value read is not the one written.
TEST(FastInfosetRoundTrip, FloatsComeBackAltered) {
    CSmartPtr<CPurchaseOrder> order = MakeOrder(1);
    CSerializationContext context;
    context.SetDefaultNamespaceURI(kTargetNamespace);
    context.GetFIContext().SetSuggestedValues();
    context.GetFIContext().SetEncoding(ItemType_r8, {2, 7});  // the float algorithm for a double
    CSmartPtr<CPurchaseOrder> copy = new CPurchaseOrder();
    copy->FromXmlStream(order->ToFastInfosetStream(FInfoDecl_None, context, CompressionType_None), context);
    EXPECT_EQ(copy->GetCustomer(), order->GetCustomer());
    EXPECT_NE(copy->GetItems()->Item(0)->GetUnitPrice(), 148.95);
}
