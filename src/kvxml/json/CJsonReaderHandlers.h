#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "kvxml/json/CJsonContext.h"
#include "kvxml/json/IJsonReaderHandler.h"
#include "kvxml/platform/KvExport.h"

namespace KvXmlLib16 {

class CBinaryData;
class CSerializationContext;
class CXmlTextWriter;

// First of the chain: keeps the JSON path of the current event for failure messages and forwards
// every event to the next handler, which it owns.
class KVXML_API CJsonReaderDefaultHandler : public IJsonReaderHandler, public IErrorPathProvider {
public:
    explicit CJsonReaderDefaultHandler(IJsonReaderHandler* next = nullptr);
    CJsonReaderDefaultHandler(const CJsonReaderDefaultHandler&) = delete;
    CJsonReaderDefaultHandler& operator=(const CJsonReaderDefaultHandler&) = delete;
    ~CJsonReaderDefaultHandler() override;

    void SetNextHandler(IJsonReaderHandler* next);

    void OnStartDocument() override;
    void OnEndDocument() override;
    void OnName(const std::u16string& name) override;
    void OnString(const std::u16string& value) override;
    void OnNumber(const std::u16string& value) override;
    void OnStartObject() override;
    void OnEndObject() override;
    void OnStartArray() override;
    void OnEndArray() override;
    void OnBoolean(bool value) override;
    void OnNull() override;

    // "$" and then, innermost first, "." and the name of each member and array item: for
    // {"a":{"b":[{"c":x the path is "$.c.b[\0].a". The index of an array item stands as one raw
    // character whose code is the index, not as digits.
    std::u16string GetErrorPath() const override;

private:
    enum Kind : int32_t { Kind_Array = 0, Kind_Name = 1, Kind_Object = 2 };
    struct Entry {
        std::u16string name;
        int32_t index;
        Kind kind;
    };
    // Entries below m_count are live; those above are kept for reuse so that a path costs no
    // allocation once the document has been as deep before.
    Entry& Push(Kind kind);
    void Pop() { --m_count; }
    Entry& Top() { return m_entries[m_count - 1]; }
    void PopThrough(Kind kind);

    std::vector<Entry> m_entries;
    size_t m_count;
    IJsonReaderHandler* m_next;
};

// Second of the chain: turns the events into XML through a CXmlTextWriter. Every value becomes
// string text; the typed reading happens later on the XML path. With no look-ahead and no schema,
// some JSON shapes give XML that does not parse, or a different nesting than the JSON suggests.
class KVXML_API CJsonReaderToXmlHandler : public IJsonReaderHandler {
public:
    CJsonReaderToXmlHandler(CXmlTextWriter* writer, JsonRoundTrip supportRoundtrip, IErrorPathProvider* errorPath);
    ~CJsonReaderToXmlHandler() override;

    void OnStartDocument() override;
    void OnEndDocument() override;
    void OnName(const std::u16string& name) override;
    void OnString(const std::u16string& value) override;
    void OnNumber(const std::u16string& value) override;
    void OnStartObject() override;
    void OnEndObject() override;
    void OnStartArray() override;
    void OnEndArray() override;
    void OnBoolean(bool value) override;
    void OnNull() override;

    static constexpr int kMaxOpenElements = 101;

private:
    void BeginElement(const std::u16string& name);
    void CloseValue();
    void WriteValue(const std::u16string& text);
    std::u16string ErrorPath() const;

    CXmlTextWriter* m_writer;
    JsonRoundTrip m_supportRoundtrip;
    IErrorPathProvider* m_errorPath;
    // Elements this handler has open. Only their number is ever used, so only that is kept.
    size_t m_openElements;
    std::vector<std::u16string> m_arrays;
    std::u16string m_pendingName;
    bool m_pendingAttribute;
    bool m_textMemberSeen;
};

// Turns a JSON text into an XML document (UTF-8, with its declaration) by the mapping of
// CJsonReaderToXmlHandler, with the JSON options of the context.
KVXML_API CBinaryData ConvertJsonToXml(std::u16string_view text, const CSerializationContext& context);

} // namespace KvXmlLib16
