// The JSON entry points of CXmlObjectBase. They live with the JSON subsystem so that the binding
// engine itself never learns of the format: writing is the ordinary engine walk against a
// CJsonTextWriter, reading the ordinary XML path over the XML that the JSON became.
#include <string>

#include "kvxml/base/CKvException.h"
#include "kvxml/base/FormatString.h"
#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/binding/CXmlObjectBase.h"
#include "kvxml/json/CJsonContext.h"
#include "kvxml/json/CJsonTextWriter.h"
#include "kvxml/json/JsonUtf8.h"
#include "kvxml/output/CBinaryStream.h"
#include "kvxml/output/CFileTextStream.h"
#include "kvxml/output/CTextStream.h"
#include "kvxml/values/CBinaryData.h"
#include "kvxml/xml/CXmlDocument.h"

namespace KvXmlLib16 {

namespace {

// The XML text that a JSON input maps to; the document that maps it is gone before the text is read.
template <class Load>
CBinaryData JsonAsXml(const CSerializationContext& context, Load load) {
    CXmlDocument document(context);
    return load(document);
}

// The frame shared by every JSON output: options, '{', the object as the one member, '}', then
// the stream is closed and an element left open fails the call.
void WriteJsonDocument(const CXmlObjectBase& object, CTextStream& stream, bool formatted, EOLType eolType,
                       const CSerializationContext& context) {
    CJsonTextWriter writer(&stream);
    stream.Open();
    writer.SetFormatted(formatted);
    writer.SetIndent(context.GetIndentChars());
    writer.SetEOLType(eolType);
    writer.SetSupportRoundtrip(context.GetJsonContext().GetSupportRoundtrip());
    stream.AppendChar(u'{');
    if (formatted) stream.Append(writer.GetEndOfLine());
    writer.FlushIfFull();
    // The target namespace is asked of the object as it stands; asking changes nothing.
    const std::u16string targetNamespace = const_cast<CXmlObjectBase&>(object).GetTargetNamespace();
    object.ToXml_Int(&writer, true, targetNamespace.c_str(), context, false);
    if (formatted) stream.Append(writer.GetEndOfLine());
    stream.AppendChar(u'}');
    stream.Close();
    if (writer.GetCurrentContext()) throw CKvException(u"An Element has not been closed.");
}

} // namespace

std::u16string CXmlObjectBase::ToJson(bool formatted, EOLType eolType, const CSerializationContext& context) const {
    CTextStream stream(4095, XmlEncoding_None);
    WriteJsonDocument(*this, stream, formatted, eolType, context);
    return stream.GetText();
}

CBinaryData CXmlObjectBase::ToJsonStream(bool formatted, XmlEncoding encoding, EOLType eolType,
                                         const CSerializationContext& context, CompressionType compression) const {
    CTextStream stream(4095, encoding);
    WriteJsonDocument(*this, stream, formatted, eolType, context);
    CBinaryData data = stream.GetBinaryData();
    if (compression != CompressionType_None) Compress(data, compression);
    return data;
}

void CXmlObjectBase::ToJsonFile(const char16_t* fileName, bool formatted, XmlEncoding encoding, EOLType eolType,
                                const CSerializationContext& context, CompressionType compression) const {
    if (compression == CompressionType_ZLib)
        throw CKvException(u"ZLIB Compression only available for To Stream methods.");
    if (!GetAsyncToXmlFile() || compression != CompressionType_None) {
        const CBinaryData data = ToJsonStream(formatted, encoding, eolType, context, compression);
        CFileBinaryStream file(fileName, encoding, data);
        file.WriteToFile();
        return;
    }
    // Streamed: the file is complete on disk before an unclosed element can fail the call.
    CFileTextStream stream(fileName, encoding);
    WriteJsonDocument(*this, stream, formatted, eolType, context);
}

void CXmlObjectBase::FromJsonFile(const char16_t* fileName, const CSerializationContext& context) {
    FromJson_Int(JsonAsXml(context, [&](CXmlDocument& document) { return document.LoadJsonFile(fileName); }), context);
}

void CXmlObjectBase::FromJsonStream(const CBinaryData& data, const CSerializationContext& context) {
    FromJsonStream(data.GetLength() != 0 ? data.GetData() : nullptr, data.GetLength(), context);
}

void CXmlObjectBase::FromJsonStream(const unsigned char* bytes, uint32_t count, const CSerializationContext& context) {
    FromJson_Int(JsonAsXml(context, [&](CXmlDocument& document) { return document.LoadJsonStream(bytes, count); }),
                 context);
}

void CXmlObjectBase::FromJson(const char16_t* json, const CSerializationContext& context) {
    FromJson_Int(JsonAsXml(context, [&](CXmlDocument& document) { return document.LoadJson(json); }), context);
}

void CXmlObjectBase::FromJson(const char* json, const CSerializationContext& context) {
    FromJson_Int(JsonAsXml(context, [&](CXmlDocument& document) { return document.LoadJson(json); }), context);
}

void CXmlObjectBase::FromJson_Int(const CBinaryData& xml, const CSerializationContext& context) {
    // The flag as the reading code sees it; it is put back on every way out.
    const bool saved = context.GetIgnoreNamespaces();
    const bool withoutNamespaces = context.GetJsonContext().GetSupportRoundtrip() != JsonRoundTrip_Full;
    struct Restore {
        const CSerializationContext& context;
        bool active;
        bool value;
        ~Restore() {
            if (active) context.m_ignoreNamespaces = value;
        }
    } restore{context, withoutNamespaces, saved};
    if (withoutNamespaces) context.m_ignoreNamespaces = true;
    try {
        FromXmlStream(xml, context);
    } catch (const CKvException& e) {
        const std::u16string text = Utf8ToWide(xml.GetData(), xml.GetLength());
        throw CKvException(FormatString(u"Error converting JSON to XML:\n%s", text.c_str()), e);
    }
}

} // namespace KvXmlLib16
