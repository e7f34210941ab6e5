// Bytes into a CXmlDocument, as a document file or block would arrive: XML text in any
// encoding, Fast Infoset, or either compressed. The tree that results is walked once.
#include "FuzzSupport.h"

using namespace KvXmlLib16;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    try {
        CXmlDocument document;
        document.LoadXmlStream(data, KvFuzz::Count(size));
        CSmartPtr<CElement> element = new CElement(u"");
        if (document.GetDocumentElement()) element->CopyXmlElement(document.GetDocumentElement());
    } catch (const CKvException&) {}
    return 0;
}
