#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "kvxml/base/CInstanceMonitor.h"
#include "kvxml/platform/KvExport.h"

namespace KvXmlLib16 {

class IJsonReaderHandler;
class IErrorPathProvider;

// Recursive scanner over a wide JSON text that reports each event to a handler. It is laxer than
// the JSON grammar on purpose: a raw line feed inside a token is dropped, text behind the root
// value is ignored, and a \u escape yields a single digit (see ReadString). Nesting is limited to
// 100 levels, which bounds the recursion.
class KVXML_API CJsonTextReader : public CInstanceMonitor {
public:
    // Takes ownership of the handler; pathProvider (usually the handler itself) names the JSON
    // path in failures and may be null.
    CJsonTextReader(IJsonReaderHandler* handler, IErrorPathProvider* pathProvider, bool allowComments,
                    const std::u16string& rootElementName);
    CJsonTextReader(const CJsonTextReader&) = delete;
    CJsonTextReader& operator=(const CJsonTextReader&) = delete;
    ~CJsonTextReader() override;

    // Scans the text once; the text must outlive the call. Failures are CKvValidationException.
    void Parse(std::u16string_view text);

private:
    bool NextChar(bool skipWhitespace);
    bool ReadChars(char16_t* buffer, int32_t count);
    void ReadValue(int32_t depth);
    void ReadArray(int32_t depth);
    void ReadObject(int32_t depth);
    void ReadLiteral(const char16_t* rest, int32_t count, const char16_t* endMessage, const char16_t* mismatchMessage);
    void ReadNumber();
    void ReadString();
    void AppendDigits();
    [[noreturn]] void Fail(const char16_t* format) const;
    [[noreturn]] void FailWithCurrent(const char16_t* format) const;

    IJsonReaderHandler* m_handler;
    IErrorPathProvider* m_pathProvider;
    int32_t m_maxDepth;
    bool m_allowComments;
    std::u16string m_rootElementName;
    const char16_t* m_text;
    int32_t m_length;
    int32_t m_index;
    char16_t m_current;
    bool m_atEnd;
    int32_t m_line;
    int32_t m_position;
    // The token being read; reused so that a token costs no allocation once one as long was read.
    std::u16string m_token;
};

} // namespace KvXmlLib16
