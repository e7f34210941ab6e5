// File and byte-block entry points of CXmlObjectBase.

#include "kvxml/base/CKvException.h"
#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/binding/CXmlObjectBase.h"
#include "kvxml/binding/ReadRelease.h"
#include "kvxml/output/CBinaryStream.h"
#include "kvxml/output/CFileTextStream.h"
#include "kvxml/output/CTextStream.h"
#include "kvxml/output/CXmlTextWriter.h"
#include "kvxml/xml/CXmlDocument.h"
#include "kvxml/xml/CXmlElement.h"

namespace KvXmlLib16 {

namespace {

// Writes the object into the stream, from Open to Close, as every text route does.
void WriteDocument(const CXmlObjectBase& object, CTextStream& stream, bool includeDeclaration, bool formatted,
                   EOLType eolType, const CSerializationContext& context) {
    CXmlTextWriter writer(&stream);
    stream.Open();
    writer.SetFormatted(formatted);
    writer.SetIndent(context.GetIndentChars());
    writer.SetEOLType(eolType);
    writer.SetWriteDefaultValues(context.GetWriteDefaultElementValues());
    if (includeDeclaration) writer.WriteXmlDeclaration();
    const std::u16string targetNamespace = const_cast<CXmlObjectBase&>(object).GetTargetNamespace();
    object.ToXml_Int(&writer, true, targetNamespace.c_str(), context, false);
    stream.Close();
    if (writer.GetCurrentContext()) throw CKvException(u"An Element has not been closed.");
}

void ReadDocument(CXmlObjectBase& object, CXmlDocument& document, const CSerializationContext& context) {
    CXmlElement* root = document.GetDocumentElement();
    // Loading stops a root-less document itself; this guards the call should that ever change.
    if (!root) throw CKvException(u"Invalid or empty XML document");
    ReadRelease::Scope release(&object, root); // the document is ours: what has been read may go
    object.FromXml_Int(root, root->GetFirstElement(), context, false);
}

} // namespace

CBinaryData CXmlObjectBase::ToXmlStream(bool includeDeclaration, bool formatted, XmlEncoding encoding, EOLType eolType,
                                        const CSerializationContext& context, CompressionType compression) const {
    CTextStream stream(4095, encoding);
    WriteDocument(*this, stream, includeDeclaration, formatted, eolType, context);
    CBinaryData data = stream.GetBinaryData();
    if (compression != CompressionType_None) Compress(data, compression);
    return data;
}

void CXmlObjectBase::ToXmlFile(const char16_t* fileName, bool includeDeclaration, bool formatted, XmlEncoding encoding,
                               EOLType eolType, const CSerializationContext& context,
                               CompressionType compression) const {
    if (compression == CompressionType_ZLib)
        throw CKvException(u"ZLIB Compression only available for To Stream methods.");
    if (!GetAsyncToXmlFile() || compression != CompressionType_None) {
        const CBinaryData data = ToXmlStream(includeDeclaration, formatted, encoding, eolType, context, compression);
        CFileBinaryStream file(fileName, encoding, data);
        file.WriteToFile();
        return;
    }
    CFileTextStream stream(fileName, encoding);
    WriteDocument(*this, stream, includeDeclaration, formatted, eolType, context);
}

void CXmlObjectBase::FromXmlFile(const char16_t* fileName, const CSerializationContext& context) {
    CXmlDocument document(context);
    document.SetKeepInput(false); // private to this call: nobody parses its input again
    document.Load(fileName);
    ReadDocument(*this, document, context);
}

void CXmlObjectBase::FromXmlStream(const CBinaryData& data, const CSerializationContext& context) {
    FromXmlStream(data.GetLength() != 0 ? data.GetData() : nullptr, data.GetLength(), context);
}

void CXmlObjectBase::FromXmlStream(const unsigned char* bytes, uint32_t count, const CSerializationContext& context) {
    CXmlDocument document(context);
    document.SetKeepInput(false);
    document.LoadXmlStream(bytes, count);
    ReadDocument(*this, document, context);
}

} // namespace KvXmlLib16
