#include "kvxml/collections/CXmlCollectionBase.h"

#include <algorithm>

#include "kvxml/base/CKvException.h"
#include "kvxml/base/FormatString.h"
#include "kvxml/binding/CSerializationContext.h"

namespace KvXmlLib16 {

CXmlCollectionBase::CXmlCollectionBase() : m_minOccurs(0), m_maxOccurs(-1) {}

CXmlCollectionBase::CXmlCollectionBase(const char16_t* elementName, const char16_t* namespaceUri, int32_t minOccurs,
                                       int32_t maxOccurs)
    : m_namespace(namespaceUri ? namespaceUri : u""), m_minOccurs(minOccurs), m_maxOccurs(maxOccurs) {
    SetElementName(elementName);
}

CXmlCollectionBase::CXmlCollectionBase(const CXmlCollectionBase& other) = default;
CXmlCollectionBase& CXmlCollectionBase::operator=(const CXmlCollectionBase& other) = default;
CXmlCollectionBase::~CXmlCollectionBase() = default;

std::u16string CXmlCollectionBase::GetTargetNamespace() {
    throw CKvException(
        u"CXmlCollectionBase::GetTargetNamespace Should not be used from within a Collection (program logic error)");
}

void CXmlCollectionBase::ValidateCount(const CSerializationContext& context) const {
    if (context.GetIgnoreInvalidCollectionCounts()) return;
    const int32_t count = GetCount();
    if (count > m_maxOccurs && m_maxOccurs != -1)
        throw CKvValidationException(
            FormatString(u"The Maximum number of [%s] elements allowed in this collection is %d", m_elementName.c_str(),
                         m_maxOccurs),
            std::u16string());
    if (count < m_minOccurs)
        throw CKvValidationException(
            FormatString(u"The Minimum number of [%s] elements allowed in this collection is %d", m_elementName.c_str(),
                         m_minOccurs),
            std::u16string());
}

bool CXmlCollectionBase::IsValidCount(const CSerializationContext& context) const {
    if (context.GetIgnoreInvalidCollectionCounts()) return true;
    const int32_t count = GetCount();
    if (count > m_maxOccurs && m_maxOccurs != -1) return false;
    return count >= m_minOccurs;
}

void CXmlCollectionBase::AddEventListener(IEventSink* sink) { m_eventSinks.push_back(sink); }

void CXmlCollectionBase::RemoveEventListener(IEventSink* sink) {
    m_eventSinks.erase(std::remove(m_eventSinks.begin(), m_eventSinks.end(), sink), m_eventSinks.end());
}

// The end of the array is read again at every step, and elements are reached by index, so a sink
// that adds sinks while it is called is safe.
void CXmlCollectionBase::Fire(IEventSink::MsgType message, void* data) {
    // Nearly every collection has no sink; reading adds items by the hundred thousand.
    if (m_eventSinks.empty()) return;
    CXmlObjectBase* source = GetBase();
    for (std::size_t i = 0; i < m_eventSinks.size(); ++i) m_eventSinks[i]->OnEvent(source, message, data);
}

void CXmlCollectionBase::FireOnCollectionChange() { Fire(IEventSink::MsgType_CollectionChanged, nullptr); }

void CXmlCollectionBase::FireOnCollectionAdd(void* item) { Fire(IEventSink::MsgType_ItemAdding, item); }

void CXmlCollectionBase::FireOnCollectionAddComplete(void* item) { Fire(IEventSink::MsgType_ItemAdded, item); }

void CXmlCollectionBase::FireOnCollectionRemove(int32_t index) {
    Fire(IEventSink::MsgType_ItemRemoving, index == -1 ? nullptr : &index);
}

void CXmlCollectionBase::FireOnCollectionRemoveComplete(int32_t index) {
    Fire(IEventSink::MsgType_ItemRemoved, index == -1 ? nullptr : &index);
}

} // namespace KvXmlLib16
