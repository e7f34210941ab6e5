#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "kvxml/base/IEventSink.h"
#include "kvxml/binding/CXmlObjectBase.h"
#include "kvxml/platform/KvExport.h"

namespace KvXmlLib16 {

class CSerializationContext;
class CXmlElement;

// What every collection has: the element name (kept in the base's element name) and namespace
// of its items, occurrence bounds, and the sinks that hear of its changes. A collection writes no
// element of its own: its items stand directly inside the parent.
class KVXML_API CXmlCollectionBase : public CXmlObjectBase {
public:
    CXmlCollectionBase();
    // maxOccurs -1 means unbounded.
    CXmlCollectionBase(const char16_t* elementName, const char16_t* namespaceUri, int32_t minOccurs, int32_t maxOccurs);
    // Copies bounds, namespace and the sink array (the sinks themselves are not owned).
    CXmlCollectionBase(const CXmlCollectionBase& other);
    CXmlCollectionBase& operator=(const CXmlCollectionBase& other);
    ~CXmlCollectionBase() override;

    CXmlObjectBase* GetBase() override { return this; }
    // A collection has no target namespace of its own: asking is a program error and throws.
    std::u16string GetTargetNamespace() override;
    std::u16string GetNamespace() override { return m_namespace; }

    // Reads items from `element` on and returns the first element not taken.
    CXmlElement* FromXml_Int(CXmlElement* parent, CXmlElement* element, const CSerializationContext& context,
                             bool ignoreMissingChoice) override = 0;

    virtual int32_t GetCount() const = 0;
    virtual void Clear() = 0;
    virtual void Remove(int32_t index) = 0;
    // Throws CKvValidationException when the count lies outside the bounds, unless the context
    // ignores invalid collection counts.
    virtual void ValidateCount(const CSerializationContext& context) const;
    virtual bool IsValidCount(const CSerializationContext& context) const;

    int32_t GetMinOccurs() const { return m_minOccurs; }
    int32_t GetMaxOccurs() const { return m_maxOccurs; }

    // Appends without a test for duplicates.
    void AddEventListener(IEventSink* sink);
    // Removes every entry equal to the sink. Not to be called from within a firing.
    void RemoveEventListener(IEventSink* sink);

protected:
    // Each calls OnEvent on every sink in order; a sink may add sinks while it is called.
    void FireOnCollectionChange();
    // data: the new item as passed by the caller (an object, or a pointer to a value).
    void FireOnCollectionAdd(void* item);
    void FireOnCollectionAddComplete(void* item);
    // The data handed to the sinks points at the index, or is null when the index is -1.
    void FireOnCollectionRemove(int32_t index);
    void FireOnCollectionRemoveComplete(int32_t index);

    std::u16string m_namespace;
    std::vector<IEventSink*> m_eventSinks;
    int32_t m_minOccurs;
    int32_t m_maxOccurs;

private:
    void Fire(IEventSink::MsgType message, void* data);
};

} // namespace KvXmlLib16
