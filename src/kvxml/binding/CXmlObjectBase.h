#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "kvxml/base/CSmartPtr.h"
#include "kvxml/base/IEventSink.h"
#include "kvxml/platform/KvExport.h"

namespace KvXmlLib16 {

class CSerializationContext;
class CXmlWriter;
class CXmlElement;

// Root of everything that can be written to or read from a document. Carries the element name
// that the object is written as and an intrusive atomic reference count that starts at 0: the
// first CSmartPtr that takes the object brings it to 1.
class KVXML_API CXmlObjectBase : public IEventSink {
public:
    CXmlObjectBase();
    // Copies take the element name and, unusually, the source's reference count too.
    CXmlObjectBase(const CXmlObjectBase& other);
    CXmlObjectBase& operator=(const CXmlObjectBase& other);
    ~CXmlObjectBase() override;

    void OnEvent(CXmlObjectBase* source, MsgType message, void* data) override;
    virtual CXmlObjectBase* GetBase() = 0;
    const CXmlObjectBase* GetBase() const;

    virtual std::u16string GetTargetNamespace() = 0;
    virtual std::u16string GetNamespace() = 0;

    int32_t AddRef();
    // At 0 the object destroys itself. Release on a count of 0 yields -1 and destroys nothing.
    int32_t Release();

    std::u16string GetElementName() const { return m_elementName; }
    void SetElementName(const char16_t* name);
    static void SetElementName(CXmlObjectBase* object, const char16_t* name);

protected:
    std::u16string m_elementName;
    std::atomic<int32_t> m_refCount;
};

} // namespace KvXmlLib16
