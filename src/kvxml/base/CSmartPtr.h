#pragma once

#include <utility>

namespace KvXmlLib16 {

// Counted pointer over the intrusive atomic count of CRefCounted (and anything with the same
// AddRef/Release pair). Taking a non-null pointer counts it; dropping it releases, and the object
// destroys itself when its count reaches 0.
template <class T>
class CSmartPtr {
public:
    CSmartPtr() noexcept : m_p(nullptr) {}
    CSmartPtr(T* p) : m_p(p) {
        if (m_p) m_p->AddRef();
    }
    CSmartPtr(const CSmartPtr& other) : m_p(other.m_p) {
        if (m_p) m_p->AddRef();
    }
    CSmartPtr(CSmartPtr&& other) noexcept : m_p(other.m_p) { other.m_p = nullptr; }
    template <class U>
    CSmartPtr(const CSmartPtr<U>& other) : m_p(other.get()) {
        if (m_p) m_p->AddRef();
    }
    ~CSmartPtr() {
        if (m_p) m_p->Release();
    }

    // The new object is counted before the old one is released, so self-assignment is safe.
    CSmartPtr& operator=(T* p) {
        if (p) p->AddRef();
        T* old = m_p;
        m_p = p;
        if (old) old->Release();
        return *this;
    }
    CSmartPtr& operator=(const CSmartPtr& other) { return *this = other.m_p; }
    CSmartPtr& operator=(CSmartPtr&& other) noexcept {
        if (this != &other) {
            T* old = m_p;
            m_p = other.m_p;
            other.m_p = nullptr;
            if (old) old->Release();
        }
        return *this;
    }

    T* get() const noexcept { return m_p; }
    T* operator->() const noexcept { return m_p; }
    T& operator*() const noexcept { return *m_p; }
    operator T*() const noexcept { return m_p; }
    bool IsNull() const noexcept { return m_p == nullptr; }

    // Hands the pointer out without releasing it; the caller takes over the reference.
    T* Detach() noexcept {
        T* p = m_p;
        m_p = nullptr;
        return p;
    }

private:
    T* m_p;
};

} // namespace KvXmlLib16
