// The Fast Infoset members of CXmlObjectBase. They stand with the writer they build, so that the
// binding layer includes no Fast Infoset header.

#include "kvxml/base/CKvException.h"
#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/binding/CXmlObjectBase.h"
#include "kvxml/fastinfoset/CFastInfosetContext.h"
#include "kvxml/fastinfoset/CFastInfosetWriter.h"
#include "kvxml/output/CBinaryStream.h"

namespace KvXmlLib16 {

CBinaryData CXmlObjectBase::ToFastInfosetStream(FInfoDecl declaration, const CSerializationContext& context,
                                                CompressionType compression) const {
    CBinaryData result;
    {
        CBinaryStream stream;
        CFastInfosetWriter writer(&stream, &context.GetFIContext());
        writer.WriteDocumentHeader(declaration);
        // The target namespace is asked of the object as it stands; asking changes nothing.
        const std::u16string targetNamespace = const_cast<CXmlObjectBase*>(this)->GetTargetNamespace();
        ToXml_Int(&writer, true, targetNamespace.c_str(), context, false);
        writer.WriteDocumentEnd();
        writer.CloseOutput();
        result = stream.GetData();
    }
    // The stream is gone, so the result holds its bytes alone and compression needs no copy.
    if (compression != CompressionType_None) Compress(result, compression);
    return result;
}

void CXmlObjectBase::ToFastInfosetFile(const char16_t* fileName, FInfoDecl declaration,
                                       const CSerializationContext& context, CompressionType compression) const {
    if (compression == CompressionType_ZLib)
        throw CKvException(u"ZLIB Compression only available for To Stream methods.");
    const CBinaryData data = ToFastInfosetStream(declaration, context, compression);
    // Encoding 0: a binary document never gets a byte-order mark.
    CFileBinaryStream file(fileName, XmlEncoding_None, data);
    file.WriteToFile();
}

} // namespace KvXmlLib16
