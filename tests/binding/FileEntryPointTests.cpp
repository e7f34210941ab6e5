// Objects written to files and byte blocks and read back, on every route, encoding and
// compression offered, and the refusals and file failures of those entry points.
#include "BindingTestSupport.h"

#include <filesystem>

#include "kvxml/output/CFileTextStream.h"
#include "support/KvTestBytes.h"
#include "support/PurchaseOrderSamples.h"

namespace BindingTest {
namespace {

namespace fs = std::filesystem;
using namespace PurchaseOrderSample;
using KvTest::kSampleNamespace;
using KvTest::OpenDescriptors;

CSerializationContext Context() {
    CSerializationContext context;
    context.SetDefaultNamespaceURI(kSampleNamespace);
    return context;
}

// The sample order with one item and a customer in characters of one to four UTF-8 octets.
CSmartPtr<CXmlObjectBase> Order() {
    CSmartPtr<CPurchaseOrder> order = KvTest::MakeOrder(1);
    order->SetCustomer(u"Zo\u00eb <\u5c71\u7530> \U0001F600");
    return order;
}

class FileEntryPoints : public KvTest::TempDirTest {
protected:
    void SetUp() override {
        TempDirTest::SetUp();
        fs::create_directories(m_dir / "dir");
    }
    void TearDown() override {
        AsyncToXmlFile(false);
        AsyncFromXmlFile(false);
        TempDirTest::TearDown();
    }
};

TEST_F(FileEntryPoints, EveryRouteEncodingAndCompressionRoundTrips) {
    const CSerializationContext context = Context();
    const std::u16string file = Widen(Path("doc.xml"));
    // Routes: 0 byte block, 1 file built in memory, 2 file streamed, 3 streamed and read in chunks.
    for (const CSmartPtr<CXmlObjectBase>& original : {Order(), CSmartPtr<CXmlObjectBase>(KvTest::MakeCheckout())})
        for (int route = 0; route < 4; ++route)
            for (XmlEncoding encoding : {XmlEncoding_UTF8, XmlEncoding_UTF16, XmlEncoding_UTF16_NoDecl})
                for (CompressionType compression : {CompressionType_None, CompressionType_GZip, CompressionType_ZLib}) {
                    // zlib is for blocks only; chunked reading takes plain text only.
                    // clang-format off
                    if ((route > 0 && compression == CompressionType_ZLib) || (route == 3 && compression != 0)) continue;
                    // clang-format on
                    SCOPED_TRACE(::testing::Message() << route << " " << encoding << " " << compression);
                    CSmartPtr<CXmlObjectBase> back =
                        CreateForElement(kSampleNamespace, original->GetElementName().c_str());
                    const bool declaration = encoding != XmlEncoding_UTF16;
                    EXPECT_EQ(MessageOf([&] {
                                  if (route == 0)
                                      // clang-format off
                                      return back->FromXmlStream(original->ToXmlStream(declaration, true, encoding,
                                                                                       EOLType_CRLF, context, compression),
                                                                 context);
                                  // clang-format on
                                  AsyncToXmlFile(route >= 2);
                                  AsyncFromXmlFile(route == 3);
                                  original->ToXmlFile(file.c_str(), declaration, true, encoding, EOLType_CRLF, context,
                                                      compression);
                                  back->FromXmlFile(file.c_str(), context);
                              }),
                              "<no exception>");
                    // clang-format off
                    EXPECT_EQ(back->ToXml(false, false, EOLType_LF, context), original->ToXml(false, false, EOLType_LF, context));
                    // clang-format on
                }
}

TEST_F(FileEntryPoints, RefusalsAndFileFailuresLeaveNoDescriptorBehind) {
    CSmartPtr<CXmlObjectBase> order = Order();
    const CSerializationContext context = Context();
    const std::string missing = Path("missing.xml"), noDir = Path("none/x.xml"), dir = Path("dir");
    struct Case {
        bool read;
        std::string name;
        XmlEncoding encoding;
        CompressionType compression;
        std::string message;
    };
    const Case cases[] = {
        // clang-format off
        {true, missing, XmlEncoding_UTF8, CompressionType_None, "Failed to open the file [" + missing + "] Error [0x00000002]"},
        {true, noDir, XmlEncoding_UTF8, CompressionType_None, "Failed to open the file [" + noDir + "] Error [0x00000003]"},
        // clang-format on
        {true, dir, XmlEncoding_UTF8, CompressionType_None, "Failed to open the file [" + dir + "] Error [0x00000005]"},
        // clang-format off
        {false, noDir, XmlEncoding_UTF8, CompressionType_None, "Failed to write data to the file [" + noDir + "] error [0x00000003]"},
        {false, dir, XmlEncoding_UTF16, CompressionType_None, "Failed to write data to the file [" + dir + "] error [0x00000005]"},
        {false, missing, XmlEncoding_UTF8, CompressionType_ZLib, "ZLIB Compression only available for To Stream methods."},
        {false, Path("enc.xml"), XmlEncoding_None, CompressionType_None, "Unknown Encoding, select UTF-8 (contact our support team)"},
        // clang-format on
    };
    for (bool async : {false, true})
        for (const Case& c : cases) {
            AsyncToXmlFile(async);
            AsyncFromXmlFile(async);
            const size_t before = OpenDescriptors();
            EXPECT_EQ(MessageOf([&] {
                          if (c.read) return order->FromXmlFile(Widen(c.name).c_str(), context);
                          // clang-format off
                          order->ToXmlFile(Widen(c.name).c_str(), true, false, c.encoding, EOLType_LF, context, c.compression);
                          // clang-format on
                      }),
                      c.message);
            EXPECT_EQ(OpenDescriptors(), before) << c.message;
            EXPECT_FALSE(fs::exists(missing)) << c.message; // zlib is refused before any file is made
        }

    // clang-format off
    EXPECT_EQ(MessageOf([&] { order->ToXmlStream(true, false, XmlEncoding_None, EOLType_LF, context, CompressionType_None); }),
              // clang-format on
              "Unknown Encoding, select UTF-8 (contact our support team)");
    EXPECT_EQ(MessageOf([&] { order->FromXmlStream(CBinaryData(), context); }), "XML Stream is empty!");
}

TEST_F(FileEntryPoints, AnObjectBecomesAnUntypedElement) {
    CSmartPtr<CXmlObjectBase> order = Order();
    CSmartPtr<CElement> element = new CElement(order.get(), kSampleNamespace);
    EXPECT_EQ(element->GetDefaultNamespace(), kSampleNamespace);
    EXPECT_EQ(element->GetNamespaceRestriction(), u"##any");
    CSmartPtr<CElement> plain = new CElement(order.get(), nullptr);
    EXPECT_EQ(plain->GetDefaultNamespace(), u"");
    // Its text reads back into an object equal to the original.
    CSmartPtr<CPurchaseOrder> back = new CPurchaseOrder();
    back->FromXmlElement(plain.get(), Context());
    EXPECT_EQ(back->ToXml(false, false, EOLType_LF, Context()), order->ToXml(false, false, EOLType_LF, Context()));
}

} // namespace
} // namespace BindingTest
