#pragma once

// A minimal concrete object for tests that need reference counting and nothing else: it counts
// its own destruction and implements every pure operation as doing nothing.

#include <cstdint>
#include <string>

#include "kvxml/binding/CXmlObjectBase.h"

namespace KvTest {

class CountedProbe : public KvXmlLib16::CXmlObjectBase {
public:
    explicit CountedProbe(int* destroyed = nullptr) : m_destroyed(destroyed) {}
    ~CountedProbe() override {
        if (m_destroyed) ++*m_destroyed;
    }
    KvXmlLib16::CXmlObjectBase* GetBase() override { return this; }
    std::u16string GetTargetNamespace() override { return u""; }
    std::u16string GetNamespace() override { return u""; }
    void ToXml_Int(KvXmlLib16::CXmlWriter*, bool, const char16_t*, const KvXmlLib16::CSerializationContext&,
                   bool) const override {}
    KvXmlLib16::CXmlElement* FromXml_Int(KvXmlLib16::CXmlElement*, KvXmlLib16::CXmlElement* firstChild,
                                         const KvXmlLib16::CSerializationContext&, bool) override {
        return firstChild;
    }
    int32_t Count() const { return m_refCount.load(); }

private:
    int* m_destroyed;
};

} // namespace KvTest
