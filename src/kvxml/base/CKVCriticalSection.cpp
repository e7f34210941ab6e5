#include "kvxml/base/CKVCriticalSection.h"

namespace KvXmlLib16 {

CKVCriticalSection::CKVCriticalSection() = default;
CKVCriticalSection::~CKVCriticalSection() = default;

void CKVCriticalSection::Enter() { m_lock.Lock(); }
void CKVCriticalSection::Leave() { m_lock.Unlock(); }

} // namespace KvXmlLib16
