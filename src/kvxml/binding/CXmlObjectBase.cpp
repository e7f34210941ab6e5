#include "kvxml/binding/CXmlObjectBase.h"

namespace KvXmlLib16 {

CXmlObjectBase::CXmlObjectBase() : m_refCount(0) {}

CXmlObjectBase::CXmlObjectBase(const CXmlObjectBase& other)
    : IEventSink(other), m_elementName(other.m_elementName), m_refCount(other.m_refCount.load()) {}

CXmlObjectBase& CXmlObjectBase::operator=(const CXmlObjectBase& other) {
    m_elementName = other.m_elementName;
    m_refCount.store(other.m_refCount.load());
    return *this;
}

CXmlObjectBase::~CXmlObjectBase() { m_elementName.clear(); }

void CXmlObjectBase::OnEvent(CXmlObjectBase*, MsgType, void*) {}

const CXmlObjectBase* CXmlObjectBase::GetBase() const {
    return const_cast<CXmlObjectBase*>(this)->GetBase();
}

int32_t CXmlObjectBase::AddRef() { return m_refCount.fetch_add(1) + 1; }

int32_t CXmlObjectBase::Release() {
    const int32_t count = m_refCount.fetch_sub(1) - 1;
    if (count == 0) delete this;
    return count;
}

void CXmlObjectBase::SetElementName(const char16_t* name) { m_elementName = name ? name : u""; }

void CXmlObjectBase::SetElementName(CXmlObjectBase* object, const char16_t* name) {
    object->SetElementName(name);
}

} // namespace KvXmlLib16
