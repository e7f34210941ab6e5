#include "kvxml/json/CJsonContext.h"

#include "kvxml/binding/CSerializationContext.h"

namespace KvXmlLib16 {

CJsonContext::CJsonContext() : m_supportRoundtrip(JsonRoundTrip_Full), m_allowComments(true) {}

CJsonContext::~CJsonContext() = default;

CJsonContext& CSerializationContext::GetJsonContext() const {
    if (!m_jsonContext) m_jsonContext = std::make_shared<CJsonContext>();
    return *m_jsonContext;
}

} // namespace KvXmlLib16
