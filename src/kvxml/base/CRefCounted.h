#pragma once

#include <atomic>
#include <cstdint>

#include "kvxml/platform/KvExport.h"

namespace KvXmlLib16 {

// The intrusive atomic reference count of every counted object (objects, collections, wildcards),
// here so that a layer below the objects, such as the variant, can hold one by its count alone.
// A new object has count 0: the first CSmartPtr that takes it brings it to 1.
class KVXML_API CRefCounted {
public:
    int32_t AddRef() { return m_refCount.fetch_add(1) + 1; }
    // At 0 the object destroys itself. Release on a count of 0 yields -1 and destroys nothing.
    int32_t Release();

protected:
    CRefCounted() : m_refCount(0) {}
    // Copies take the source's count too, as code written against this library expects: a copy
    // of a held object starts with its holders' count, so only a fresh object starts at 0.
    CRefCounted(const CRefCounted& other) : m_refCount(other.m_refCount.load()) {}
    CRefCounted& operator=(const CRefCounted& other) {
        m_refCount.store(other.m_refCount.load());
        return *this;
    }
    virtual ~CRefCounted() = default;

    std::atomic<int32_t> m_refCount;
};

} // namespace KvXmlLib16
