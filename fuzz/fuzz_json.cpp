// JSON text, read in the round-trip mode the first byte picks: turned into XML, which is then
// loaded, and the result written back as JSON.
#include "FuzzSupport.h"

using namespace KvXmlLib16;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    CSerializationContext context;
    context.GetJsonContext().SetSupportRoundtrip(static_cast<JsonRoundTrip>(data[0] % 3));
    context.GetJsonContext().GetAllowComments((data[0] & 4) == 0);
    try {
        CXmlDocument document(context);
        const CBinaryData xml = document.LoadJsonStream(data + 1, KvFuzz::Count(size - 1));
        document.LoadXmlStream(xml.GetData(), xml.GetLength());
        if (document.GetDocumentElement()) {
            CSmartPtr<CElement> element = new CElement(u"");
            element->CopyXmlElement(document.GetDocumentElement());
            element->ToJson(false, EOLType_LF, context);
        }
    } catch (const CKvException&) {}
    return 0;
}
