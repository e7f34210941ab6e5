#pragma once

#include <string>

#include "kvxml/base/CInstanceMonitor.h"
#include "kvxml/platform/KvExport.h"

namespace KvXmlLib16 {

// Receives the syntactic events of a JSON text in document order. Strings and numbers arrive as
// the text that stood in the source (numbers unconverted), each ending at its first NUL.
class KVXML_API IJsonReaderHandler : public CInstanceMonitor {
public:
    ~IJsonReaderHandler() override = default;
    virtual void OnStartDocument() = 0;
    virtual void OnEndDocument() = 0;
    virtual void OnName(const std::u16string& name) = 0;
    virtual void OnString(const std::u16string& value) = 0;
    virtual void OnNumber(const std::u16string& value) = 0;
    virtual void OnStartObject() = 0;
    virtual void OnEndObject() = 0;
    virtual void OnStartArray() = 0;
    virtual void OnEndArray() = 0;
    virtual void OnBoolean(bool value) = 0;
    virtual void OnNull() = 0;
};

// The JSON path of the current event, for the path of failures.
class KVXML_API IErrorPathProvider {
public:
    virtual ~IErrorPathProvider() = default;
    virtual std::u16string GetErrorPath() const = 0;
};

} // namespace KvXmlLib16
