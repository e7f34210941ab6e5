// Objects written to files and byte blocks and read back, on every route, encoding and
// compression offered, and the refusals and file failures of those entry points.
#include "BindingTestSupport.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

// The example classes are compiled with PurchaseOrderTests.cpp and CheckoutTests.cpp.
#include "../../examples/purchase_order/Checkout.h"
#include "kvxml/output/CFileTextStream.h"

namespace BindingTest {
namespace {

namespace fs = std::filesystem;
using namespace PurchaseOrderSample;

const char kOrder[] =
    "<purchaseOrder xmlns=\"urn:kvxml:samples:purchase-order\" xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\""
    " orderId=\"PO-1001\" currency=\"USD\" status=\"shipped\">"
    "<customer>Zo\xC3\xAB &lt;\xE5\xB1\xB1\xE7\x94\xB0&gt; \xF0\x9F\x98\x80</customer><customerNumber>4000000000</customerNumber>"
    "<priority>2</priority><express>true</express><signature>0AFF10</signature><shipMethod/>"
    "<billTo><name>Alice Smith</name><street>1 Main St</street><city>Springfield</city><zip>12345</zip></billTo>"
    "<item partNumber=\"123-AB\" lineNumber=\"1\"><productName>Lawnmower</productName>"
    "<quantity>1</quantity><unitPrice>148.95</unitPrice><giftWrap>false</giftWrap></item>"
    "<payment xsi:type=\"CreditCardPaymentType\"><amount>188.45</amount><cardHolder>Alice Smith</cardHolder>"
    "<cardNumber>4111111111111111</cardNumber></payment></purchaseOrder>";

const char kCheckout[] =
    "<checkout xmlns=\"urn:kvxml:samples:purchase-order\"><orderRef>PO-1001</orderRef>"
    "<contact><email>alice@example.com</email><name>Alice Smith</name><preferredChannel>post</preferredChannel>"
    "</contact><paymentMethod><card><holder>Alice Smith</holder><number>4111111111111111</number>"
    "<expiry>2028-04</expiry></card></paymentMethod><giftMessage>Happy birthday!</giftMessage></checkout>";

CSerializationContext Context() {
    CSerializationContext context;
    context.SetDefaultNamespaceURI(kTargetNamespace);
    return context;
}

CSmartPtr<CXmlObjectBase> Parsed(CXmlObjectBase* object, const std::string& xml) {
    CSmartPtr<CXmlObjectBase> held(object);
    held->FromXml(xml.c_str(), Context());
    return held;
}

// A batch long enough for the streaming route to flush many times.
std::string Batch() {
    std::string xml = "<purchaseOrderBatch xmlns=\"urn:kvxml:samples:purchase-order\" batchId=\"B-7\">";
    std::string order = kOrder;
    order.replace(order.find(" xmlns=\""), std::strlen(" xmlns=\"urn:kvxml:samples:purchase-order\""), "");
    for (int i = 0; i < 60; ++i) xml += order;
    return xml + "</purchaseOrderBatch>";
}

struct Example {
    const char* name;
    std::function<CXmlObjectBase*()> make;
    std::string xml;
};

std::vector<Example> Examples() {
    return {{"order", [] { return new CPurchaseOrder(); }, kOrder},
            {"checkout", [] { return new CCheckout(); }, kCheckout},
            {"batch", [] { return new CPurchaseOrderBatch(); }, Batch()}};
}

size_t OpenDescriptors() {
    return static_cast<size_t>(std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator()));
}

std::string FileBytes(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

class FileEntryPoints : public ::testing::Test {
protected:
    void SetUp() override {
        m_dir = fs::temp_directory_path() / ("kvxml_entry_" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) +
                                             "_" + ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(m_dir);
        fs::create_directories(m_dir);
    }
    void TearDown() override {
        AsyncToXmlFile(false);
        AsyncFromXmlFile(false);
        fs::remove_all(m_dir);
    }
    std::u16string Name(const std::string& leaf) const { return Widen((m_dir / leaf).string()); }
    fs::path m_dir;
};

enum class Route { Stream, File, StreamedFile };

TEST_F(FileEntryPoints, EveryRouteEncodingAndCompressionRoundTrips) {
    const CSerializationContext context = Context();
    for (const Example& example : Examples()) {
        CSmartPtr<CXmlObjectBase> original = Parsed(example.make(), example.xml);
        const std::u16string expected = original->ToXml(false, false, EOLType_LF, context);
        for (Route route : {Route::Stream, Route::File, Route::StreamedFile})
            for (XmlEncoding encoding : {XmlEncoding_UTF8, XmlEncoding_UTF16, XmlEncoding_UTF16_NoDecl})
                for (CompressionType compression : {CompressionType_None, CompressionType_GZip, CompressionType_ZLib})
                    for (bool chunked : {false, true}) {
                        if (route != Route::Stream && compression == CompressionType_ZLib) continue;
                        // Chunked reading takes plain XML text from files only.
                        if (chunked && (route == Route::Stream || compression != CompressionType_None)) continue;
                        SCOPED_TRACE(::testing::Message() << example.name << " route " << int(route) << " encoding "
                                                          << encoding << " compression " << compression
                                                          << " chunked " << chunked);
                        const bool declaration = encoding != XmlEncoding_UTF16;
                        CSmartPtr<CXmlObjectBase> back(example.make());
                        EXPECT_EQ(MessageOf([&] {
                                      if (route == Route::Stream) {
                                          back->FromXmlStream(original->ToXmlStream(declaration, true, encoding,
                                                                                    EOLType_CRLF, context, compression),
                                                              context);
                                          return;
                                      }
                                      AsyncToXmlFile(route == Route::StreamedFile);
                                      AsyncFromXmlFile(chunked);
                                      const std::u16string file = Name("doc.xml");
                                      original->ToXmlFile(file.c_str(), declaration, true, encoding, EOLType_CRLF,
                                                          context, compression);
                                      back->FromXmlFile(file.c_str(), context);
                                  }),
                                  "<no exception>");
                        EXPECT_EQ(back->ToXml(false, false, EOLType_LF, context), expected);
                    }
    }
}

TEST_F(FileEntryPoints, FilesCarryTheMarkAndTheFormTheyWereAskedFor) {
    CSmartPtr<CXmlObjectBase> order = Parsed(new CPurchaseOrder(), kOrder);
    const CSerializationContext context = Context();
    using namespace std::string_literals;
    struct Case {
        bool streamed;
        XmlEncoding encoding;
        CompressionType compression;
        std::string head;  // the first bytes of the file
    };
    const Case cases[] = {
        {false, XmlEncoding_UTF8, CompressionType_None, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>"s},
        {true, XmlEncoding_UTF8, CompressionType_None, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>"s},
        {false, XmlEncoding_UTF16, CompressionType_None, "\xFF\xFE<\0?\0"s},
        {true, XmlEncoding_UTF16_NoDecl, CompressionType_None, "\xFF\xFE<\0?\0"s},
        // Compression takes the blocking route even when streaming is on; the mark stays in front.
        {true, XmlEncoding_UTF8, CompressionType_GZip, "\x1F\x8B"s},
        {true, XmlEncoding_UTF16, CompressionType_GZip, "\xFF\xFE\x1F\x8B"s},
    };
    for (const Case& c : cases) {
        AsyncToXmlFile(c.streamed);
        order->ToXmlFile(Name("mark.xml").c_str(), true, false, c.encoding, EOLType_LF, context, c.compression);
        EXPECT_EQ(FileBytes(m_dir / "mark.xml").substr(0, c.head.size()), c.head)
            << c.streamed << " " << c.encoding << " " << c.compression;
    }
    // The two routes write the same bytes.
    AsyncToXmlFile(false);
    order->ToXmlFile(Name("a.xml").c_str(), true, true, XmlEncoding_UTF16, EOLType_CRLF, context, CompressionType_None);
    AsyncToXmlFile(true);
    order->ToXmlFile(Name("b.xml").c_str(), true, true, XmlEncoding_UTF16, EOLType_CRLF, context, CompressionType_None);
    EXPECT_EQ(FileBytes(m_dir / "a.xml"), FileBytes(m_dir / "b.xml"));
}

TEST_F(FileEntryPoints, RefusalsAndFileFailuresLeaveNoDescriptorBehind) {
    CSmartPtr<CXmlObjectBase> order = Parsed(new CPurchaseOrder(), kOrder);
    const CSerializationContext context = Context();
    fs::create_directories(m_dir / "dir");
    const std::string missing = (m_dir / "missing.xml").string();
    const std::string noDir = (m_dir / "none" / "x.xml").string();
    const std::string dir = (m_dir / "dir").string();
    struct Case {
        bool async;
        std::function<void()> call;
        std::string message;
    };
    auto toFile = [&](const std::string& name, XmlEncoding encoding, CompressionType compression) {
        return [&, name, encoding, compression] {
            order->ToXmlFile(Widen(name).c_str(), true, false, encoding, EOLType_LF, context, compression);
        };
    };
    auto fromFile = [&](const std::string& name) {
        return [&, name] {
            CSmartPtr<CPurchaseOrder> back = new CPurchaseOrder();
            back->FromXmlFile(Widen(name).c_str(), context);
        };
    };
    std::vector<Case> cases;
    for (bool async : {false, true}) {
        cases.push_back({async, fromFile(missing), "Failed to open the file [" + missing + "] Error [0x00000002]"});
        cases.push_back({async, fromFile(noDir), "Failed to open the file [" + noDir + "] Error [0x00000003]"});
        cases.push_back({async, fromFile(dir), "Failed to open the file [" + dir + "] Error [0x00000005]"});
        cases.push_back({async, toFile(noDir, XmlEncoding_UTF8, CompressionType_None),
                         "Failed to write data to the file [" + noDir + "] error [0x00000003]"});
        cases.push_back({async, toFile(dir, XmlEncoding_UTF16, CompressionType_None),
                         "Failed to write data to the file [" + dir + "] error [0x00000005]"});
        cases.push_back({async, toFile(missing, XmlEncoding_UTF8, CompressionType_ZLib),
                         "ZLIB Compression only available for To Stream methods."});
        cases.push_back({async, toFile((m_dir / "enc.xml").string(), XmlEncoding_None, CompressionType_None),
                         "Unknown Encoding, select UTF-8 (contact our support team)"});
    }
    for (const Case& c : cases) {
        AsyncToXmlFile(c.async);
        AsyncFromXmlFile(c.async);
        const size_t before = OpenDescriptors();
        EXPECT_EQ(MessageOf(c.call), c.message) << c.async;
        EXPECT_EQ(OpenDescriptors(), before) << c.message;
        EXPECT_FALSE(fs::exists(missing)) << c.message;  // zlib is refused before any file is made
    }
    // Encoding 0 fails on the blocking route before the file is made, on the streaming one after.
    EXPECT_EQ(fs::exists(m_dir / "enc.xml"), true);

    EXPECT_EQ(MessageOf([&] { order->ToXmlStream(true, false, XmlEncoding_None, EOLType_LF, context, CompressionType_None); }),
              "Unknown Encoding, select UTF-8 (contact our support team)");
    EXPECT_EQ(MessageOf([&] {
                  CSmartPtr<CPurchaseOrder> back = new CPurchaseOrder();
                  back->FromXmlStream(CBinaryData(), context);
              }),
              "XML Stream is empty!");
    // A compressed form that does not shrink is refused, whatever the type.
    CSmartPtr<CElement> tiny = new CElement(u"a");
    for (CompressionType type : {CompressionType_GZip, CompressionType_ZLib})
        EXPECT_EQ(MessageOf([&] { tiny->ToXmlStream(false, false, XmlEncoding_UTF8, EOLType_LF, context, type); })
                      .rfind("Failed to compress data. [Error Code: ", 0),
                  0u);
}

TEST_F(FileEntryPoints, AnObjectBecomesAnUntypedElement) {
    CSmartPtr<CXmlObjectBase> order = Parsed(new CPurchaseOrder(), kOrder);
    const CSerializationContext context = Context();
    CSmartPtr<CElement> element = new CElement(order.get(), kTargetNamespace);
    EXPECT_EQ(element->GetName(), u"purchaseOrder");
    EXPECT_EQ(element->GetNamespace(), kTargetNamespace);
    EXPECT_EQ(element->GetDefaultNamespace(), kTargetNamespace);
    EXPECT_EQ(element->GetNamespaceRestriction(), u"##any");
    // Its text reads back into an object equal to the original.
    element->SetDefaultNamespace(u"");
    CSmartPtr<CPurchaseOrder> back = new CPurchaseOrder();
    back->FromXmlElement(element.get(), context);
    EXPECT_EQ(back->ToXml(false, false, EOLType_LF, context), order->ToXml(false, false, EOLType_LF, context));

    CSmartPtr<CElement> plain = new CElement(order.get(), nullptr);
    EXPECT_EQ(plain->GetDefaultNamespace(), u"");
    EXPECT_EQ(plain->GetChildElements()->GetCount(), element->GetChildElements()->GetCount());
}

} // namespace
} // namespace BindingTest
