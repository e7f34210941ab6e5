#include "JsonSamples.h"

namespace JsonTest {

CSerializationContext SampleContext(JsonRoundTrip mode) {
    CSerializationContext context;
    context.SetDefaultNamespaceURI(KvTest::kSampleNamespace);
    context.GetNamespaceAliases().Add(u"xsi", u"http://www.w3.org/2001/XMLSchema-instance");
    context.GetNamespaceAliases().Add(u"p", u"urn:partner");
    context.GetJsonContext().SetSupportRoundtrip(mode);
    return context;
}

} // namespace JsonTest
