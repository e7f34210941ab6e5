// The example classes written as Fast Infoset and read back through the XML entry points.
#include <gtest/gtest.h>

#include <string>

#include "kvxml/fastinfoset/CFastInfosetContext.h"
#include "kvxml/xml/CXmlDocument.h"
#include "support/KvTestText.h"
#include "support/PurchaseOrderSamples.h"

using namespace KvXmlLib16;
using namespace PurchaseOrderSample;

namespace {

// Beyond the shared sample: a character outside the basic plane, octet 0 and a small negative double.
CSmartPtr<CPurchaseOrder> MakeOrder(int items) {
    CSmartPtr<CPurchaseOrder> order = KvTest::MakeOrder(items);
    order->SetCustomer(u"Alice <Smith> \u00E9\u4E2D\U0001F600");
    const unsigned char signature[] = {0x00, 0xAB, 0xFF};
    order->SetSignature(CBinaryData(signature, 3, false));
    order->GetItems()->Item(1)->SetUnitPrice(-39.5e-7);
    return order;
}

CSerializationContext OrderContext() {
    CSerializationContext context;
    context.SetDefaultNamespaceURI(KvTest::kSampleNamespace);
    context.GetNamespaceAliases().Add(u"xsi", u"http://www.w3.org/2001/XMLSchema-instance");
    return context;
}

} // namespace

// Every declaration, plain and typed encodings, each compression, with and without a prepared
// vocabulary: the copy writes the same XML as the original.
TEST(FastInfosetRoundTrip, ExampleClassesThroughEveryOption) {
    const CSmartPtr<CPurchaseOrder> original = MakeOrder(3);
    for (int options = 0; options < 4; ++options) {
        CSerializationContext context = OrderContext();
        CFastInfosetContext& fi = context.GetFIContext();
        if (options & 1) fi.SetSuggestedValues();
        if (options & 2) {
            fi.SetUseGeneratedVocabulary(true);
            fi.GetVocabulary()->AddElement(u"", KvTest::kSampleNamespace, u"item");
            fi.GetVocabulary()->AddAttribute(u"", u"", u"partNumber");
            fi.GetVocabulary()->AddAttributeValue(u"box");
            fi.GetVocabulary()->AddElementValue(u"web");
        }
        const std::u16string xml = original->ToXml(true, true, EOLType_LF, context);
        for (int declaration = FInfoDecl_None; declaration <= FInfoDecl_V11_Enc_StandaloneNo; ++declaration) {
            for (CompressionType compression : {CompressionType_None, CompressionType_GZip, CompressionType_ZLib}) {
                CSmartPtr<CPurchaseOrder> copy = new CPurchaseOrder();
                copy->FromXmlStream(
                    original->ToFastInfosetStream(static_cast<FInfoDecl>(declaration), context, compression), context);
                EXPECT_EQ(KvTest::Narrow(copy->ToXml(true, true, EOLType_LF, context)), KvTest::Narrow(xml))
                    << "options " << options << " declaration " << declaration << " compression " << compression;
            }
        }
    }
}

// Every cut of a real document fails cleanly. Only the last octet may be spared, when it ends
// the document alone: the root's end has already stopped the reading.
TEST(FastInfosetRoundTrip, EveryCutFails) {
    CSerializationContext context = OrderContext();
    context.GetFIContext().SetSuggestedValues();
    const CBinaryData octets = MakeOrder(2)->ToFastInfosetStream(FInfoDecl_V10_Enc, context, CompressionType_None);
    for (uint32_t size = 1; size < octets.GetLength(); ++size) {
        CXmlDocument document(context);
        const std::string message = KvTest::MessageOf([&] { document.LoadXmlStream(octets.GetData(), size); });
        if (size + 1 < octets.GetLength()) {
            EXPECT_NE(message, "<no exception>") << size;
        }
    }
}
