// The JSON loading operations of CXmlDocument. They fill no tree: the JSON becomes XML bytes,
// which the caller reads through the ordinary XML path.
#include <cstring>
#include <string>

#include "kvxml/base/CKvException.h"
#include "kvxml/json/CJsonReaderHandlers.h"
#include "kvxml/json/JsonUtf8.h"
#include "kvxml/values/CBinaryData.h"
#include "kvxml/xml/CXmlDocument.h"

namespace KvXmlLib16 {

CBinaryData CXmlDocument::LoadJson(const char* json) {
    Cleanup();
    if (!json || !*json) throw CKvException(u"JSON String is empty!");
    const std::u16string text = Utf8ToWide(reinterpret_cast<const unsigned char*>(json), std::strlen(json));
    return ConvertJsonToXml(text, *m_context);
}

// The caller's text is converted where it stands; a copy into the input buffer would add nothing.
CBinaryData CXmlDocument::LoadJson(const char16_t* json) {
    Cleanup();
    if (!json || !*json) throw CKvException(u"JSON String is empty!");
    return ConvertJsonToXml(std::u16string_view(json), *m_context);
}

CBinaryData CXmlDocument::LoadJsonFile(const char16_t* fileName) {
    Cleanup();
    ReadWholeFile(fileName);
    return ParseJson();
}

CBinaryData CXmlDocument::LoadJsonStream(const unsigned char* bytes, uint32_t count) {
    Cleanup();
    if (!bytes || count == 0) throw CKvException(u"JSON Stream is empty!");
    SetInput(bytes, count);
    return ParseJson();
}

CBinaryData CXmlDocument::ParseJson() {
    TryInflate();
    const unsigned char* bytes = m_inputBuffer;
    uint32_t count = m_inputSize;
    if (count > 2 && bytes[0] == 0xEF && bytes[1] == 0xBB && bytes[2] == 0xBF) {
        bytes += 3;
        count -= 3;
    }
    const std::u16string text = Utf8ToWide(bytes, count);
    // The bytes are not needed any more; the document serves only its loading here.
    FreeInput();
    return ConvertJsonToXml(text, *m_context);
}

} // namespace KvXmlLib16
