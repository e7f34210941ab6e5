#pragma once

#include "kvxml/platform/KvPlatform.h"

namespace KvXmlLib16 {

// A recursive lock: the owning thread may enter again.
class KVXML_API CKVCriticalSection {
public:
    CKVCriticalSection();
    CKVCriticalSection(const CKVCriticalSection&) = delete;
    CKVCriticalSection& operator=(const CKVCriticalSection&) = delete;
    virtual ~CKVCriticalSection();

    void Enter();
    void Leave();

private:
    Platform::RecursiveLock m_lock;
};

// Enters on construction and leaves on destruction, so that a throw cannot leave the lock held.
class CKVCriticalSectionGuard {
public:
    explicit CKVCriticalSectionGuard(CKVCriticalSection& cs) : m_cs(cs) { m_cs.Enter(); }
    ~CKVCriticalSectionGuard() { m_cs.Leave(); }
    CKVCriticalSectionGuard(const CKVCriticalSectionGuard&) = delete;
    CKVCriticalSectionGuard& operator=(const CKVCriticalSectionGuard&) = delete;

private:
    CKVCriticalSection& m_cs;
};

} // namespace KvXmlLib16
