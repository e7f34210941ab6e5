// A generated class with repeated simple elements through the other formats: Fast Infoset (plain
// and typed encodings) gives the same objects back; JSON repeats the name of each item.
#include <gtest/gtest.h>

#include <string>

#include <kvxml/KvXmlLib16.h>
#include "support/KvTestText.h"
#include "support/PurchaseOrderSamples.h"

namespace {

using namespace KvXmlLib16;
using PurchaseOrderSample::CMeasurements;

CSmartPtr<CMeasurements> Sample() { return KvTest::ReadSample<CMeasurements>("measurements.xml"); }

TEST(PrimitiveCollectionFormats, FastInfosetRoundTripKeepsEveryItem) {
    for (bool typed : {false, true}) {
        CSerializationContext context;
        context.SetDefaultNamespaceURI(KvTest::kSampleNamespace);
        if (typed) context.GetFIContext().SetSuggestedValues();
        CSmartPtr<CMeasurements> m = Sample();
        const CBinaryData fi = m->ToFastInfosetStream(FInfoDecl_None, context, CompressionType_None);
        CSmartPtr<CMeasurements> copy = new CMeasurements();
        copy->FromXmlStream(fi, context);
        EXPECT_EQ(copy->GetWeights()->GetCount(), 3) << typed;
        EXPECT_EQ(copy->ToXml(false, false, EOLType_LF, context), m->ToXml(false, false, EOLType_LF, context)) << typed;
    }
}

// The JSON writer opens no array for a collection of primitives: each item repeats the member
// name, and the collection's end still writes its "]". Kept as the format defines it.
TEST(PrimitiveCollectionFormats, JsonRepeatsTheNameOfEachItem) {
    CSerializationContext context;
    context.SetDefaultNamespaceURI(KvTest::kSampleNamespace);
    context.GetJsonContext().SetSupportRoundtrip(JsonRoundTrip_None);
    EXPECT_EQ(KvTest::Narrow(Sample()->ToJson(false, EOLType_LF, context)),
              "{\"measurements\": {\"parcelId\": \"DE123456789\",\"weight\": 1200,\"weight\": 1180,"
              "\"weight\": 31500,\"scanDate\": \"2026-11-24\",\"depot\": \"HAM-01\",\"depot\": \"BER-07\"]}}");
}

} // namespace
