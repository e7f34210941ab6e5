// Writes the documents that the interoperability check gives to an independent Fast Infoset codec:
// for each sample object its XML text (UTF-8, no declaration) and its Fast Infoset forms, plain and
// with typed encodings, under every XML declaration. A manifest names each pair and says whether
// the codec is expected to take it ("pass") or may refuse a form that this library writes on
// purpose ("refuse:<why>").
//   FiDocuments <output dir> [purchase-order XML written by gen_po.py]
#include <cstdio>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>

#include "../../../bench/PoModel.h"
#include "../../../examples/purchase_order/Checkout.cpp"
#include "../../../examples/purchase_order/PurchaseOrder.cpp"
#include "kvxml/KvXmlLib16.h"

using namespace KvXmlLib16;
using namespace PurchaseOrderSample;

namespace {

constexpr char16_t kXsi[] = u"http://www.w3.org/2001/XMLSchema-instance";
constexpr char16_t kPartner[] = u"urn:partner";

std::string g_dir;
std::ofstream g_manifest;

void WriteFile(const std::string& path, const CBinaryData& data) {
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(data.GetData()), data.GetLength());
}

// Writes the XML form once and the Fast Infoset forms; `declarations` says how many of the
// FInfoDecl values to go through (from 0).
void Emit(const std::string& name, const CXmlObjectBase& object, const CSerializationContext& plain,
          const CSerializationContext& typed, const std::string& expectation, int declarations = 10) {
    const std::string xml = g_dir + "/" + name + ".xml";
    const std::u16string text = object.ToXml(false, false, EOLType_LF, plain);
    WriteFile(xml, WideToUtf8(text.c_str()));
    for (int variant = 0; variant < 2; ++variant) {
        for (int decl = 0; decl < declarations; ++decl) {
            const std::string id = name + (variant ? "-typed-" : "-plain-") + std::to_string(decl);
            const std::string finf = g_dir + "/" + id + ".finf";
            WriteFile(finf, object.ToFastInfosetStream(static_cast<FInfoDecl>(decl), variant ? typed : plain,
                                                       CompressionType_None));
            g_manifest << id << '\t' << expectation << '\t' << finf << '\t' << xml << '\n';
        }
    }
}

CSmartPtr<CPurchaseOrder> MakeOrder() {
    CSmartPtr<CPurchaseOrder> order = new CPurchaseOrder();
    order->SetOrderId(u"PO-1001");
    order->SetCurrency(u"USD");
    order->SetStatus(OrderStatus::Shipped);
    order->GetAnyAttributes()->Add(u"ref", u"A&B", kPartner);
    order->SetCustomer(u"Alice <Smith> \u00e9\u4e2d");
    order->SetCustomerNumber(4000000000u);
    order->SetPriority(2);
    order->SetExpress(true);
    const unsigned char signature[] = {0x0a, 0xff, 0x10};
    order->SetSignature(CBinaryData(signature, 3, false));
    CAddress* billTo = order->GetBillTo();
    billTo->SetName(u"Alice Smith");
    billTo->SetStreet(u"1 Main St");
    billTo->SetCity(u"Springfield");
    billTo->SetZip(u"12345");
    for (int i = 1; i <= 3; ++i) {
        CSmartPtr<CItem> item = new CItem();
        item->SetPartNumber(i == 1 ? u"123-AB" : u"456-CD");
        item->SetProductName(i == 1 ? u"Lawnmower" : u"Baby Monitor");
        item->GetQuantity()->SetValue(i);
        if (i == 2) item->GetQuantity()->SetUnit(u"box");
        item->SetUnitPrice(i == 1 ? 148.95 : 39.5);
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
    CSmartPtr<CElement> extension = new CElement(u"note", kPartner);
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
    CSmartPtr<CCard> card = new CCard();
    card->SetHolder(u"Alice Smith");
    card->SetNumber(u"4111111111111111");
    card->SetExpiry(u"2028-04");
    checkout->GetPaymentMethod()->SetCard(card);
    checkout->SetGiftMessage(u"Happy birthday!");
    return checkout;
}

// A pair of contexts with the same options, the second with typed encodings.
struct Contexts {
    explicit Contexts(const std::function<void(CSerializationContext&)>& setup) {
        setup(plain);
        setup(typed);
        typed.GetFIContext().SetSuggestedValues();
    }
    CSerializationContext plain, typed;
};

void DeclareAll(CSerializationContext& c) {
    c.SetDefaultNamespaceURI(kTargetNamespace);
    c.GetNamespaceAliases().Add(u"xsi", kXsi);
    c.GetNamespaceAliases().Add(u"partner", kPartner);
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: FiDocuments <output dir> [purchase orders XML]\n");
        return 2;
    }
    g_dir = argv[1];
    g_manifest.open(g_dir + "/manifest.tsv");
    try {
        // Every namespace declared on the root through the alias map: what every reader takes.
        const Contexts declared(DeclareAll);
        Emit("order", *MakeOrder(), declared.plain, declared.typed, "pass");
        Emit("checkout", *MakeCheckout(), declared.plain, declared.typed, "pass");
        CSmartPtr<CPurchaseOrderBatch> batch = new CPurchaseOrderBatch();
        batch->SetBatchId(u"b-1");
        for (int i = 0; i < 3; ++i) batch->GetOrders()->Add(MakeOrder());
        Emit("batch", *batch, declared.plain, declared.typed, "pass");

        // Forms that are written on purpose and that some readers refuse.
        const Contexts undeclared([](CSerializationContext& c) {
            c.SetDefaultNamespaceURI(kTargetNamespace);
            c.GetNamespaceAliases().Add(u"xsi", kXsi);
        });
        Emit("order-namespace-below-root", *MakeOrder(), undeclared.plain, undeclared.typed,
             "refuse:a namespace first met below the root goes out with a literal prefix", 1);
        const Contexts cdata([](CSerializationContext& c) {
            DeclareAll(c);
            c.GetFIContext().SetEncoding(ItemType_string, {2, 10});
        });
        Emit("order-cdata-attribute", *MakeOrder(), cdata.plain, cdata.plain,
             "refuse:the cdata algorithm in an attribute value", 1);
        const Contexts defaulted([](CSerializationContext& c) { c.SetDefaultNamespaceURI(u"urn:d"); });
        CSmartPtr<CElement> root = new CElement(u"doc", u"urn:d");
        root->GetChildElements()->Add(u"plain")->SetText(u"in no namespace");
        Emit("no-namespace-under-default", *root, defaulted.plain, defaulted.typed,
             "refuse:an element in no namespace under a default namespace", 1);

        if (argc > 2) {
            std::ifstream in(argv[2], std::ios::binary);
            const std::string xml((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
            const Contexts po([](CSerializationContext& c) { c.SetDefaultNamespaceURI(PoModel::kNs); });
            CSmartPtr<PoModel::CPoObject> orders = PoModel::Load(xml.c_str(), po.plain);
            Emit("po20mb", *orders, po.plain, po.typed, "pass");
        }
    } catch (const CKvException& e) {
        const std::u16string message = e.GetFullMessage();
        std::fprintf(stderr, "failed: %s\n", std::string(message.begin(), message.end()).c_str());
        return 1;
    }
    CleanPurchaseOrderMetaData();
    return 0;
}
