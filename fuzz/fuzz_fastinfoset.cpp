// Fast Infoset bytes: the input follows the format's opening octets, so that every run reaches
// the decoder; what it builds is written back as XML and as Fast Infoset.
#include "FuzzSupport.h"

#include <vector>

using namespace KvXmlLib16;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::vector<uint8_t> bytes{0xE0, 0x00, 0x00, 0x01};
    bytes.insert(bytes.end(), data, data + size);
    try {
        CXmlDocument document;
        document.LoadXmlStream(bytes.data(), KvFuzz::Count(bytes.size()));
        if (document.GetDocumentElement()) {
            CSmartPtr<CElement> element = new CElement(u"");
            element->CopyXmlElement(document.GetDocumentElement());
            const CSerializationContext& context = CSerializationContext::GetDefaultContext();
            element->ToXml(true, false, EOLType_LF, context);
            element->ToFastInfosetStream(FInfoDecl_None, context, CompressionType_None);
        }
    } catch (const CKvException&) {}
    return 0;
}
