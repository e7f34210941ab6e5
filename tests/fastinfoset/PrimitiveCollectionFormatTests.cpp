// A generated class with repeated simple elements through the other formats: Fast Infoset (plain
// and typed encodings) gives the same objects back; JSON repeats the name of each item.
#include <gtest/gtest.h>

#include <string>

#include "measurements.h"
#include <kvxml/KvXmlLib16.h>
#include "support/KvTestText.h"

namespace {

using namespace KvXmlLib16;
using PurchaseOrderSample::CMeasurements;

CSmartPtr<CMeasurements> Sample() {
    CSmartPtr<CMeasurements> m = new CMeasurements();
    m->SetParcelId(u"DE123456789");
    for (int32_t w : {1200, 1180, 31500}) m->GetWeights()->Add(w);
    m->GetScanDates()->Add(CConversions::dateFromString(u"2026-11-24", CWhitespaceUtils::WhitespaceRule_Collapse));
    m->GetDepots()->Add(u"HAM-01");
    m->GetDepots()->Add(u"BER-07");
    return m;
}

TEST(PrimitiveCollectionFormats, FastInfosetRoundTripKeepsEveryItem) {
    for (bool typed : {false, true}) {
        CSerializationContext context;
        context.SetDefaultNamespaceURI(u"urn:kvxml:samples:purchase-order");
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
    context.SetDefaultNamespaceURI(u"urn:kvxml:samples:purchase-order");
    context.GetJsonContext().SetSupportRoundtrip(JsonRoundTrip_None);
    EXPECT_EQ(KvTest::Narrow(Sample()->ToJson(false, EOLType_LF, context)),
              "{\"measurements\": {\"parcelId\": \"DE123456789\",\"weight\": 1200,\"weight\": 1180,"
              "\"weight\": 31500,\"scanDate\": \"2026-11-24\",\"depot\": \"HAM-01\",\"depot\": \"BER-07\"]}}");
}

} // namespace
