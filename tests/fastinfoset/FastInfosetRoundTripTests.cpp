// The example classes written as Fast Infoset through the entry points, and read back through the
// XML ones.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "kvxml/fastinfoset/CFastInfosetContext.h"
#include "kvxml/xml/CXmlDocument.h"
#include "support/KvTestBytes.h"
#include "support/KvTestText.h"
#include "support/PurchaseOrderSamples.h"

using namespace KvXmlLib16;
using namespace PurchaseOrderSample;
using namespace KvTest;

namespace {

// Beyond the shared sample: a character outside the basic plane, octet 0 and a small negative double.
CSmartPtr<CPurchaseOrder> OddOrder(int items) {
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

// Fifty lines of one text: long enough to shrink when compressed.
CSmartPtr<CElement> MakeTree() {
    CSmartPtr<CElement> root = new CElement(u"batch", u"urn:b");
    for (int i = 0; i < 50; ++i)
        root->GetChildElements()->Add(u"line", u"urn:b")->SetText(u"a line of text that repeats");
    return root;
}

} // namespace

// Every declaration, plain and typed encodings, each compression, with and without a prepared
// vocabulary: the copy writes the same XML as the original. The second class has repeated simple
// elements, each item of which must come back.
TEST(FastInfosetRoundTrip, ExampleClassesThroughEveryOption) {
    const std::pair<CSmartPtr<CXmlObjectBase>, const char16_t*> originals[] = {
        {OddOrder(3).get(), u"purchaseOrder"}, {ReadSample<CMeasurements>("measurements.xml").get(), u"measurements"}};
    for (int options = 0; options < 8; ++options) {
        const auto& [original, name] = originals[options / 4];
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
                if (options >= 4 && compression != CompressionType_None) continue; // too small to shrink
                CSmartPtr<CXmlObjectBase> copy = CreateForElement(kSampleNamespace, name);
                copy->FromXmlStream(
                    original->ToFastInfosetStream(static_cast<FInfoDecl>(declaration), context, compression), context);
                EXPECT_EQ(Narrow(copy->ToXml(true, true, EOLType_LF, context)), Narrow(xml))
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
    const CBinaryData octets = OddOrder(2)->ToFastInfosetStream(FInfoDecl_V10_Enc, context, CompressionType_None);
    for (uint32_t size = 1; size < octets.GetLength(); ++size) {
        CXmlDocument document(context);
        const std::string message = KvTest::MessageOf([&] { document.LoadXmlStream(octets.GetData(), size); });
        if (size + 1 < octets.GetLength()) {
            EXPECT_NE(message, "<no exception>") << size;
        }
    }
}

TEST(FastInfosetEntryPoints, StreamDeclarationsCompressionAndFile) {
    CSerializationContext context;
    context.SetDefaultNamespaceURI(u"urn:b");
    CSmartPtr<CElement> batch = MakeTree();
    const Bytes plain = Content(batch->ToFastInfosetStream(FInfoDecl_None, context, CompressionType_None));
    ASSERT_GT(plain.size(), 5u);
    EXPECT_EQ(Bytes(plain.begin(), plain.begin() + 5), (Bytes{0xE0, 0, 0, 1, 0}));
    EXPECT_EQ(Bytes(plain.end() - 2, plain.end()), (Bytes{0xFF, 0xF0})); // two ends in one octet, then the document's

    const std::string declaration = "<?xml version='1.1' encoding='finf' standalone='yes'?>";
    const Bytes declared =
        Content(batch->ToFastInfosetStream(FInfoDecl_V11_Enc_StandaloneYes, context, CompressionType_None));
    EXPECT_EQ(std::string(declared.begin(), declared.begin() + declaration.size()), declaration);
    EXPECT_EQ(Bytes(declared.begin() + declaration.size(), declared.end()), plain);

    const Bytes gzip = Content(batch->ToFastInfosetStream(FInfoDecl_None, context, CompressionType_GZip));
    const Bytes zlib = Content(batch->ToFastInfosetStream(FInfoDecl_None, context, CompressionType_ZLib));
    EXPECT_EQ(gzip[0], 0x1F);
    EXPECT_EQ(zlib[0], 0x78);
    EXPECT_EQ(Inflate(gzip), plain);
    EXPECT_EQ(Inflate(zlib), plain);

    // The options are those of the context passed in: with a higher add length the repeated
    // line becomes an index.
    context.GetFIContext().SetElementMaxAddLength(100);
    EXPECT_LT(batch->ToFastInfosetStream(FInfoDecl_None, context, CompressionType_None).GetLength(), plain.size() / 4);

    const std::string path = testing::TempDir() + "kvxml_fi_entry.finf";
    const std::u16string widePath(path.begin(), path.end());
    std::remove(path.c_str());
    EXPECT_EQ(
        MessageOf([&] { batch->ToFastInfosetFile(widePath.c_str(), FInfoDecl_None, context, CompressionType_ZLib); }),
        "ZLIB Compression only available for To Stream methods.");
    EXPECT_FALSE(std::ifstream(path).good());
    batch->ToFastInfosetFile(widePath.c_str(), FInfoDecl_Enc, context, CompressionType_None);
    const std::string written = FileBytes(path);
    EXPECT_EQ(Bytes(written.begin(), written.end()),
              Content(batch->ToFastInfosetStream(FInfoDecl_Enc, context, CompressionType_None)));
    std::remove(path.c_str());
}
