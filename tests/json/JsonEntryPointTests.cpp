// ToJson and FromJson on the example classes: what survives a round trip in each mode, the
// context's flag around a read, hostile input that must end in an exception, and the byte-block and
// file forms with every route and compression.
#include <gtest/gtest.h>

#include <filesystem>

#include "JsonSamples.h"
#include "support/KvTestBytes.h"
#include "support/KvTestText.h"

namespace {

using namespace JsonTest;
using namespace PurchaseOrderSample;
using KvTest::MessageOf;
using KvTest::Narrow;
namespace fs = std::filesystem;

template <class T>
std::string Xml(const T& object, const CSerializationContext& context) {
    return Narrow(object.ToXml(false, false, EOLType_LF, context));
}

TEST(JsonEntryPoints, ChoiceAndAllRoundTripInModesOneAndTwo) {
    const CSmartPtr<CCheckout> original = MakeCheckout();
    const CSerializationContext full = SampleContext(JsonRoundTrip_Full);
    const std::u16string json = original->ToJson(false, EOLType_LF, full);
    EXPECT_EQ(Narrow(json).substr(0, 61), "{\"checkout\": {\"@xmlns\": \"urn:kvxml:samples:purchase-order\",\"@");
    for (JsonRoundTrip mode : {JsonRoundTrip_Simple, JsonRoundTrip_Full}) {
        const CSerializationContext context = SampleContext(mode);
        for (bool formatted : {false, true}) {
            CSmartPtr<CCheckout> back = new CCheckout();
            back->FromJson(original->ToJson(formatted, EOLType_CRLF, context).c_str(), context);
            EXPECT_EQ(Xml(*back, full), Xml(*original, full)) << mode << formatted;
        }
    }
    // Mode 0 writes the country attribute as a member, which reads back as an unknown element.
    const CSerializationContext none = SampleContext(JsonRoundTrip_None);
    CSmartPtr<CCheckout> back = new CCheckout();
    const std::string message =
        MessageOf([&] { back->FromJson(original->ToJson(true, EOLType_LF, none).c_str(), none); });
    EXPECT_EQ(message.substr(0, 69), "Error converting JSON to XML:\n<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n");
}

// A purchase order cannot come back: its payment follows the item collection and so lands inside
// the item array. A single item, with attributes, text beside an attribute and a pseudo child,
// does come back, and mode 0 loses its attributes.
TEST(JsonEntryPoints, WhatThePurchaseOrderKeeps) {
    const CSerializationContext full = SampleContext(JsonRoundTrip_Full);
    CSmartPtr<CPurchaseOrder> order = new CPurchaseOrder();
    EXPECT_EQ(
        MessageOf([&] { order->FromJson(MakeOrder()->ToJson(false, EOLType_LF, full).c_str(), full); }).substr(0, 53),
        "Expected Array separator character ',', found ':' at ");
    for (CSmartPtr<CItem> item : {MakeOrder()->GetItems()->Item(0), MakeOrder()->GetItems()->Item(1)}) {
        item->SetElementName(u"item");
        for (JsonRoundTrip mode : {JsonRoundTrip_None, JsonRoundTrip_Simple, JsonRoundTrip_Full}) {
            const CSerializationContext context = SampleContext(mode);
            CSmartPtr<CItem> back = new CItem();
            const std::string message =
                MessageOf([&] { back->FromJson(item->ToJson(true, EOLType_LF, context).c_str(), context); });
            if (mode == JsonRoundTrip_None) {
                EXPECT_NE(message, "<no exception>");
            } else {
                EXPECT_EQ(message, "<no exception>");
                EXPECT_EQ(Xml(*back, full), Xml(*item, full));
            }
        }
    }
}

// Outside mode 2 the read ignores namespaces, and the flag is as before afterwards, also when the
// read fails; mode 2 leaves it alone.
TEST(JsonEntryPoints, IgnoreNamespacesIsRestoredAfterTheRead) {
    const std::u16string good = MakeCheckout()->ToJson(false, EOLType_LF, SampleContext(JsonRoundTrip_Simple));
    for (bool flag : {false, true}) {
        for (const std::u16string& json : {good, good.substr(0, good.size() - 3)}) {
            CSerializationContext context = SampleContext(JsonRoundTrip_Simple);
            context.SetIgnoreNamespaces(flag);
            CSmartPtr<CCheckout> back = new CCheckout();
            MessageOf([&] { back->FromJson(json.c_str(), context); });
            EXPECT_EQ(context.GetIgnoreNamespaces(), flag);
        }
    }
    CSerializationContext full = SampleContext(JsonRoundTrip_Full);
    CSmartPtr<CCheckout> back = new CCheckout();
    EXPECT_NE(MessageOf([&] { back->FromJson(good.c_str(), full); }), "<no exception>");
}

// The JSON writer opens no array for a collection of primitives: each item repeats the member
// name, and the collection's end still writes its "]". Kept as the format defines it.
TEST(JsonEntryPoints, PrimitiveCollectionRepeatsTheNameOfEachItem) {
    EXPECT_EQ(Narrow(KvTest::ReadSample<CMeasurements>("measurements.xml")
                         ->ToJson(false, EOLType_LF, SampleContext(JsonRoundTrip_None))),
              "{\"measurements\": {\"parcelId\": \"DE123456789\",\"weight\": 1200,\"weight\": 1180,"
              "\"weight\": 31500,\"scanDate\": \"2026-11-24\",\"depot\": \"HAM-01\",\"depot\": \"BER-07\"]}}");
}

TEST(JsonEntryPoints, FailuresOfTheReadingEntryPoints) {
    const CSerializationContext context = SampleContext(JsonRoundTrip_Full);
    CSmartPtr<CCheckout> checkout = new CCheckout();
    EXPECT_EQ(MessageOf([&] { checkout->FromJson(u"", context); }), "JSON String is empty!");
    EXPECT_EQ(MessageOf([&] { checkout->FromJson(static_cast<const char*>(nullptr), context); }),
              "JSON String is empty!");
    try {
        checkout->FromJson("{\"checkout\": {\"bogus\": 1}}", context);
        ADD_FAILURE();
    } catch (const CKvException& e) {
        EXPECT_EQ(Narrow(e.GetMessage()),
                  "Error converting JSON to XML:\n<?xml version=\"1.0\" "
                  "encoding=\"UTF-8\"?>\n<checkout>\n\t<bogus>1</bogus>\n</checkout>\n");
        ASSERT_NE(e.GetInnerException(), nullptr);
    }
    // The narrow form is UTF-8.
    CSmartPtr<CItem> item = new CItem();
    item->FromJson(
        "{\"item\": {\"@partNumber\": \"123-AB\", \"productName\": \"Caf\xC3\xA9\", \"quantity\": 1, "
        "\"unitPrice\": 1}}",
        SampleContext(JsonRoundTrip_Simple));
    EXPECT_EQ(item->GetProductName(), u"Caf\u00e9");
}

// Each ends in a CKvException, never in a crash, a stack overflow or a hang.
TEST(JsonEntryPoints, HostileInputEndsInAnException) {
    const CSerializationContext context = SampleContext(JsonRoundTrip_Full);
    std::u16string emptyArrays = u"{\"checkout\":{";
    for (int i = 0; i < 100000; ++i) emptyArrays += u"\"a\":[],";
    const std::u16string huge = u"{\"checkout\": {\"orderRef\": \"" + std::u16string(25u << 20, u'x') + u"\"}}";
    const std::u16string digits = u"{\"item\": {\"@partNumber\": \"123-AB\", \"productName\": \"p\", \"quantity\": " +
                                  std::u16string(1000000, u'7') + u", \"unitPrice\": 1}}";
    // clang-format off
    const std::pair<std::u16string, std::string> cases[] = {
        {u"{\"a\":" + std::u16string(100000, u'['), "JSON exceeded depth limit at line 1, position 105."},
        {emptyArrays, "JSON nests more than 101 elements inside each other in XML.\nPath: $.a.checkout"},
        {u"{\"checkout\": {\"orderRef\": \"PO", "Unexpected End of File. Expected string value at line 1, position 29."},
        {u"{\"checkout\": {\"orderRef\": \"\\uD800\"}}", "Error converting JSON to XML:"},
        {u"{\"checkout\": {\"orderRef\": \"\xD800\"}}", "Error converting JSON to XML:"},
        {huge, "Error converting JSON to XML:"},
        {digits, "Error converting JSON to XML:"},
    };
    // clang-format on
    for (const auto& [json, message] : cases) {
        CSmartPtr<CCheckout> checkout = new CCheckout();
        CSmartPtr<CItem> item = new CItem();
        const std::string got = MessageOf([&] {
            if (json.compare(0, 8, u"{\"item\":") == 0)
                item->FromJson(json.c_str(), context);
            else
                checkout->FromJson(json.c_str(), context);
        });
        EXPECT_EQ(got.substr(0, message.size()), message) << got.substr(0, 200);
    }
}

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
    const std::string expected = Xml(*original, context);
    const auto check = [&](const std::function<void(CCheckout&)>& read, const char* what) {
        CSmartPtr<CCheckout> back = new CCheckout();
        read(*back);
        EXPECT_EQ(Xml(*back, context), expected) << what;
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
