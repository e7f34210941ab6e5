#pragma once

#include <cstdint>
#include <string>

#include "kvxml/platform/KvExport.h"

namespace KvXmlLib16 {

// How much of an XML infoset a JSON text carries.
enum JsonRoundTrip : int32_t {
    // Attributes and text are ordinary members; '@' and '#' in names mean nothing.
    JsonRoundTrip_None = 0,
    // Attributes as "@name" members, text beside attributes as "#text"; no namespaces.
    JsonRoundTrip_Simple = 1,
    // As Simple, and namespace prefixes, "@xmlns" members and xsi:type are carried too.
    JsonRoundTrip_Full = 2,
};

// JSON options of a call; hangs off CSerializationContext, which makes it on first use.
class KVXML_API CJsonContext {
public:
    CJsonContext();
    CJsonContext(const CJsonContext& other) = default;
    CJsonContext& operator=(const CJsonContext& other) = default;
    virtual ~CJsonContext();

    JsonRoundTrip GetSupportRoundtrip() const { return m_supportRoundtrip; }
    void SetSupportRoundtrip(JsonRoundTrip value) { m_supportRoundtrip = value; }
    // A non-empty name wraps the whole text read: {"a": 1} read with "R" is read as {"R": {"a": 1}}.
    // Writing ignores it.
    std::u16string GetRootElementName() const { return m_rootElementName; }
    void SetRootElementName(const char16_t* name) { m_rootElementName = name ? name : u""; }
    // Whether /* */ and // comments are skipped when reading. The setter bears the getter's name.
    bool GetAllowComments() const { return m_allowComments; }
    void GetAllowComments(bool allow) { m_allowComments = allow; }

private:
    JsonRoundTrip m_supportRoundtrip;
    std::u16string m_rootElementName;
    bool m_allowComments;
};

} // namespace KvXmlLib16
