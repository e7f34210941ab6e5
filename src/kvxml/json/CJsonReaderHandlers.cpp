#include "kvxml/json/CJsonReaderHandlers.h"

#include "kvxml/base/CKvException.h"
#include "kvxml/base/FormatString.h"
#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/json/CJsonTextReader.h"
#include "kvxml/output/CTextStream.h"
#include "kvxml/output/CXmlTextWriter.h"
#include "kvxml/values/CBinaryData.h"

namespace KvXmlLib16 {

// ---- CJsonReaderDefaultHandler ----

CJsonReaderDefaultHandler::CJsonReaderDefaultHandler(IJsonReaderHandler* next) : m_count(0), m_next(next) {}

CJsonReaderDefaultHandler::~CJsonReaderDefaultHandler() { delete m_next; }

void CJsonReaderDefaultHandler::SetNextHandler(IJsonReaderHandler* next) {
    if (next == m_next) return;
    delete m_next;
    m_next = next;
}

CJsonReaderDefaultHandler::Entry& CJsonReaderDefaultHandler::Push(Kind kind) {
    if (m_count == m_entries.size()) m_entries.emplace_back();
    Entry& entry = m_entries[m_count++];
    entry.name.clear();
    entry.index = -1;
    entry.kind = kind;
    return entry;
}

void CJsonReaderDefaultHandler::PopThrough(Kind kind) {
    while (m_count > 0) {
        const Kind removed = Top().kind;
        Pop();
        if (removed == kind) return;
    }
}

void CJsonReaderDefaultHandler::OnStartDocument() {
    if (m_next) m_next->OnStartDocument();
}

void CJsonReaderDefaultHandler::OnEndDocument() {
    if (m_next) m_next->OnEndDocument();
}

void CJsonReaderDefaultHandler::OnName(const std::u16string& name) {
    if (m_count > 0 && Top().kind == Kind_Name) Pop();
    Push(Kind_Name).name = name;
    if (m_next) m_next->OnName(name);
}

void CJsonReaderDefaultHandler::OnString(const std::u16string& value) {
    if (m_next) m_next->OnString(value);
}

void CJsonReaderDefaultHandler::OnNumber(const std::u16string& value) {
    if (m_next) m_next->OnNumber(value);
}

// The root object has no entry of its own.
void CJsonReaderDefaultHandler::OnStartObject() {
    if (m_count > 0) {
        Entry& top = Top();
        if (top.kind == Kind_Name) {
            // The member's entry becomes the object's: same name, new kind.
            top.kind = Kind_Object;
            top.index = -1;
        } else if (top.kind == Kind_Array) {
            ++top.index;
            const char16_t index = static_cast<char16_t>(top.index & 0xFFFF);
            const size_t arrayAt = m_count - 1;
            Entry& entry = Push(Kind_Object);
            const std::u16string& arrayName = m_entries[arrayAt].name;
            entry.name.reserve(arrayName.size() + 3);
            entry.name = arrayName;
            entry.name += u'[';
            entry.name += index;
            entry.name += u']';
        } else {
            Push(Kind_Object);
        }
    }
    if (m_next) m_next->OnStartObject();
}

void CJsonReaderDefaultHandler::OnEndObject() {
    PopThrough(Kind_Object);
    if (m_next) m_next->OnEndObject();
}

void CJsonReaderDefaultHandler::OnStartArray() {
    if (m_count > 0) {
        Entry& top = Top();
        if (top.kind == Kind_Name) {
            top.kind = Kind_Array;
            top.index = -1;
        } else {
            Push(Kind_Array);
        }
    }
    if (m_next) m_next->OnStartArray();
}

void CJsonReaderDefaultHandler::OnEndArray() {
    PopThrough(Kind_Array);
    if (m_next) m_next->OnEndArray();
}

void CJsonReaderDefaultHandler::OnBoolean(bool value) {
    if (m_next) m_next->OnBoolean(value);
}

void CJsonReaderDefaultHandler::OnNull() {
    if (m_next) m_next->OnNull();
}

std::u16string CJsonReaderDefaultHandler::GetErrorPath() const {
    std::u16string path(u"$");
    for (size_t i = m_count; i-- > 0;) {
        const Entry& entry = m_entries[i];
        if (entry.kind == Kind_Array) continue;
        path += u'.';
        path += entry.name;
    }
    return path;
}

// ---- CJsonReaderToXmlHandler ----

CJsonReaderToXmlHandler::CJsonReaderToXmlHandler(CXmlTextWriter* writer, JsonRoundTrip supportRoundtrip,
                                                 IErrorPathProvider* errorPath)
    : m_writer(writer),
      m_supportRoundtrip(supportRoundtrip),
      m_errorPath(errorPath),
      m_openElements(0),
      m_pendingAttribute(false),
      m_textMemberSeen(false) {}

CJsonReaderToXmlHandler::~CJsonReaderToXmlHandler() = default;

std::u16string CJsonReaderToXmlHandler::ErrorPath() const {
    return m_errorPath ? m_errorPath->GetErrorPath() : std::u16string();
}

void CJsonReaderToXmlHandler::BeginElement(const std::u16string& name) {
    // Well-formed nesting opens at most one element per level of the scanner's limit (and one for
    // a root element name), but an empty array leaves its element open, so a long run of them
    // would nest the XML without bound, and its indentation would grow with the square of it.
    if (m_openElements >= kMaxOpenElements)
        throw CKvValidationException(
            FormatString(u"JSON nests more than %d elements inside each other in XML.", kMaxOpenElements), ErrorPath());
    m_pendingAttribute = false;
    m_pendingName = name;
    ++m_openElements;
    try {
        m_writer->WriteStartElement(name, std::u16string());
    } catch (const CKvException&) {
        throw CKvInvalidStateException(
            FormatString(u"Failed to convert name '%s' to Element name in XML.", name.c_str()));
    }
}

// A pending attribute keeps its flag: only a new element or "#text" clears it, so an object that
// ends on an attribute leaves its element open.
void CJsonReaderToXmlHandler::CloseValue() {
    m_pendingName.clear();
    if (m_pendingAttribute || m_openElements == 0) return;
    --m_openElements;
    m_writer->WriteEndElement();
}

void CJsonReaderToXmlHandler::WriteValue(const std::u16string& text) {
    static const ItemType kString = static_cast<ItemType>(23);
    if (m_pendingAttribute) {
        try {
            m_writer->WriteAttribute(m_pendingName, std::u16string(), text, kString);
        } catch (const CKvException&) {
            throw CKvInvalidStateException(
                FormatString(u"Failed to convert value '%s' to Attribute string value in XML.", text.c_str()));
        }
    } else {
        try {
            m_writer->WriteElementText(text, kString, false);
        } catch (const CKvException&) {
            throw CKvInvalidStateException(
                FormatString(u"Failed to convert value '%s' to Element string value in XML.", text.c_str()));
        }
    }
    CloseValue();
}

void CJsonReaderToXmlHandler::OnStartDocument() {
    m_openElements = 0;
    m_arrays.clear();
    m_writer->WriteXmlDeclaration();
}

void CJsonReaderToXmlHandler::OnEndDocument() {}

void CJsonReaderToXmlHandler::OnName(const std::u16string& name) {
    if (name.empty()) throw CKvValidationException(u"JSON item has an empty Name.", ErrorPath());
    if (m_supportRoundtrip != JsonRoundTrip_None) {
        if (name == u"#text") {
            m_pendingAttribute = false;
            m_textMemberSeen = true;
            return;
        }
        if (name[0] == u'@') {
            m_pendingAttribute = true;
            m_pendingName.assign(name, 1);
            return;
        }
    }
    BeginElement(name);
}

void CJsonReaderToXmlHandler::OnString(const std::u16string& value) { WriteValue(value); }

void CJsonReaderToXmlHandler::OnNumber(const std::u16string& value) { WriteValue(value); }

void CJsonReaderToXmlHandler::OnBoolean(bool value) {
    static const std::u16string kTrue(u"true"), kFalse(u"false");
    WriteValue(value ? kTrue : kFalse);
}

// No text is written: a null element closes empty, and a null attribute is not written at all.
void CJsonReaderToXmlHandler::OnNull() { CloseValue(); }

// The second and later objects of an array repeat the array's element; the first one's element
// was begun by its member name.
void CJsonReaderToXmlHandler::OnStartObject() {
    if (m_pendingName.empty() && !m_arrays.empty()) BeginElement(m_arrays.back());
}

void CJsonReaderToXmlHandler::OnEndObject() {
    if (m_textMemberSeen) {
        // "#text" already closed the element.
        m_textMemberSeen = false;
        return;
    }
    CloseValue();
    m_textMemberSeen = false;
}

void CJsonReaderToXmlHandler::OnStartArray() {
    if (m_pendingName.empty()) throw CKvValidationException(u"JSON Array has no Name.", ErrorPath());
    m_arrays.push_back(m_pendingName);
}

void CJsonReaderToXmlHandler::OnEndArray() {
    if (!m_arrays.empty()) m_arrays.pop_back();
}

// ---- ConvertJsonToXml ----

CBinaryData ConvertJsonToXml(std::u16string_view text, const CSerializationContext& context) {
    const CJsonContext& options = context.GetJsonContext();
    CTextStream stream(4095, XmlEncoding_UTF8);
    CXmlTextWriter writer(&stream);
    writer.SetIndent(u"\t");
    writer.SetEOLType(EOLType_LF);
    writer.SetFormatted(true);
    writer.SetWriteDefaultValues(false);
    CJsonReaderDefaultHandler* first = new CJsonReaderDefaultHandler();
    CJsonTextReader reader(first, first, options.GetAllowComments(), options.GetRootElementName());
    first->SetNextHandler(new CJsonReaderToXmlHandler(&writer, options.GetSupportRoundtrip(), first));
    reader.Parse(text);
    stream.Close();
    if (writer.GetCurrentContext()) throw CKvException(u"An Element has not been closed.");
    return WideToUtf8(stream.GetString());
}

} // namespace KvXmlLib16
