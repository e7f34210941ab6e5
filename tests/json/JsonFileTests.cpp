// The byte-block and file forms of JSON: every route and compression back through the XML path.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "JsonSamples.h"
#include "support/KvTestBytes.h"
#include "support/KvTestText.h"

namespace {

using namespace JsonTest;
using namespace PurchaseOrderSample;
using KvTest::MessageOf;
using KvTest::Narrow;
namespace fs = std::filesystem;

class JsonFiles : public KvTest::TempDirTest {
protected:
    void TearDown() override {
        AsyncToXmlFile(false);
        TempDirTest::TearDown();
    }
};

TEST_F(JsonFiles, EveryRouteAndCompressionReadsBack) {
    const CSerializationContext context = SampleContext(JsonRoundTrip_Full);
    const CSmartPtr<CCheckout> original = MakeCheckout();
    const std::u16string expected = original->ToXml(false, false, EOLType_LF, context);
    const auto check = [&](const std::function<void(CCheckout&)>& read, const char* what) {
        CSmartPtr<CCheckout> back = new CCheckout();
        read(*back);
        EXPECT_EQ(Narrow(back->ToXml(false, false, EOLType_LF, context)), Narrow(expected)) << what;
    };
    for (CompressionType compression : {CompressionType_None, CompressionType_GZip, CompressionType_ZLib}) {
        const CBinaryData data = original->ToJsonStream(true, XmlEncoding_UTF8, EOLType_CRLF, context, compression);
        check([&](CCheckout& c) { c.FromJsonStream(data, context); }, "stream");
    }
    const CBinaryData plain =
        original->ToJsonStream(false, XmlEncoding_UTF8, EOLType_LF, context, CompressionType_None);
    EXPECT_EQ(Narrow(original->ToJson(false, EOLType_LF, context)),
              std::string(reinterpret_cast<const char*>(plain.GetData()), plain.GetLength()));
    CBinaryData marked;
    marked.Append(reinterpret_cast<const unsigned char*>("\xEF\xBB\xBF"), 3);
    marked.Append(plain);
    check([&](CCheckout& c) { c.FromJsonStream(marked.GetData(), marked.GetLength(), context); }, "byte-order mark");
    for (bool async : {false, true}) {
        AsyncToXmlFile(async);
        for (CompressionType compression : {CompressionType_None, CompressionType_GZip}) {
            original->ToJsonFile(Name("c.json").c_str(), true, XmlEncoding_UTF8, EOLType_LF, context, compression);
            check([&](CCheckout& c) { c.FromJsonFile(Name("c.json").c_str(), context); }, "file");
        }
    }
}

TEST_F(JsonFiles, Failures) {
    const CSerializationContext context = SampleContext(JsonRoundTrip_Full);
    CSmartPtr<CCheckout> checkout = MakeCheckout();
    EXPECT_EQ(MessageOf([&] {
                  checkout->ToJsonFile(Name("z.json").c_str(), false, XmlEncoding_UTF8, EOLType_LF, context,
                                       CompressionType_ZLib);
              }),
              "ZLIB Compression only available for To Stream methods.");
    EXPECT_FALSE(fs::exists(m_dir / "z.json"));
    EXPECT_EQ(MessageOf([&] { checkout->FromJsonStream(CBinaryData(), context); }), "JSON Stream is empty!");
    EXPECT_EQ(MessageOf([&] { checkout->FromJsonFile(Name("missing.json").c_str(), context); }),
              "Failed to open the file [" + Narrow(Name("missing.json")) + "] Error [0x00000002]");
    // Byte input is read as UTF-8 only: a UTF-16 block does not come back.
    const CBinaryData utf16 =
        checkout->ToJsonStream(false, XmlEncoding_UTF16, EOLType_LF, context, CompressionType_None);
    EXPECT_EQ(MessageOf([&] { checkout->FromJsonStream(utf16, context); }).substr(0, 23), "Expected quotation mark");
}

} // namespace
