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

#include "Checkout.h"
#include "PurchaseOrder.h"
#include "po.h"
#include "kvxml/KvXmlLib16.h"
#include "../../support/PurchaseOrderSamples.h"
#include "../../support/WriterScript.h"

using namespace KvXmlLib16;
using namespace PurchaseOrderSample;
using KvTest::MakeCheckout;

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
    // The Fast Infoset writer always writes a default value, so the XML to compare with does too.
    CSerializationContext withDefaults(plain);
    withDefaults.SetWriteDefaultElementValues(true);
    const std::u16string text = object.ToXml(false, false, EOLType_LF, withDefaults);
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

// The shared sample, in characters that XML 1.0 can carry.
CSmartPtr<CPurchaseOrder> MakeOrder() {
    CSmartPtr<CPurchaseOrder> order = KvTest::MakeOrder();
    order->SetCustomer(u"Alice <Smith> \u00e9\u4e2d");
    return order;
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
    c.SetDefaultNamespaceURI(KvTest::kSampleNamespace);
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
        CSmartPtr<CPurchaseOrders> batch = new CPurchaseOrders();
        batch->SetBatchId(u"b-1");
        for (int i = 0; i < 3; ++i) batch->GetPurchaseOrders()->Add(MakeOrder());
        Emit("batch", *batch, declared.plain, declared.typed, "pass");

        // Forms that are written on purpose and that some readers refuse.
        const Contexts undeclared([](CSerializationContext& c) {
            c.SetDefaultNamespaceURI(KvTest::kSampleNamespace);
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
        {
            // Written through the writer itself, as no sample class puts an element in no
            // namespace beneath a default one.
            const std::string xml = g_dir + "/no-namespace-under-default.xml";
            WriteFile(xml, WideToUtf8(u"<doc xmlns=\"urn:d\"><plain xmlns=\"\">in no namespace</plain></doc>"));
            const CFastInfosetContext options;
            CBinaryStream stream;
            CFastInfosetWriter writer(&stream, &options);
            writer.WriteDocumentHeader(FInfoDecl_None);
            KvTest::Play(writer, "!urn:d;<doc urn:d;<plain;'in no namespace;/;/");
            writer.WriteDocumentEnd();
            writer.CloseOutput();
            const std::string finf = g_dir + "/no-namespace-under-default.finf";
            WriteFile(finf, stream.GetData());
            g_manifest << "no-namespace-under-default\trefuse:an element in no namespace under a default namespace\t"
                       << finf << '\t' << xml << '\n';
        }

        if (argc > 2) {
            std::ifstream in(argv[2], std::ios::binary);
            const std::string xml((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
            const Contexts po([](CSerializationContext& c) { c.SetDefaultNamespaceURI(u"urn:example:po"); });
            CSmartPtr<GeneratedPo::COrders> orders = new GeneratedPo::COrders();
            orders->FromXml(xml.c_str(), po.plain);
            Emit("po20mb", *orders, po.plain, po.typed, "pass");
        }
    } catch (const CKvException& e) {
        const std::u16string message = e.GetFullMessage();
        std::fprintf(stderr, "failed: %s\n", std::string(message.begin(), message.end()).c_str());
        return 1;
    }
    ReleaseMetaData();
    return 0;
}
