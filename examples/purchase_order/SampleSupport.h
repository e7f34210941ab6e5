#pragma once

// Helpers of classes written by hand in the form that kvxmlc generates (the benchmark's yardstick
// in examples/po_bench): the tables of a class, the table builders and the property accessors.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include <kvxml/KvXmlLib16.h>

namespace PurchaseOrderSample {

// The three tables of one class, built on first use under CXmlGeneratedClass::m_csInit.
class CClassTables {
public:
    typedef void (*BuildFunc)(CClassTables& tables);
    explicit CClassTables(BuildFunc build) : m_build(build) {}
    void Ensure() {
        if (m_built.load(std::memory_order_acquire)) return;
        KvXmlLib16::CKVCriticalSectionGuard guard(KvXmlLib16::CXmlGeneratedClass::m_csInit);
        if (m_built.load(std::memory_order_relaxed)) return;
        m_build(*this);
        m_built.store(true, std::memory_order_release);
    }
    // Releases the tables through CleanMetaData; the next use builds them again.
    void Release() {
        KvXmlLib16::CKVCriticalSectionGuard guard(KvXmlLib16::CXmlGeneratedClass::m_csInit);
        KvXmlLib16::CXmlGeneratedClass::CleanMetaData(m_classInfo, m_elementInfo, m_attributeInfo);
        m_built.store(false, std::memory_order_release);
    }

    KvXmlLib16Data::CParentElementInfo* m_classInfo = nullptr;
    KvXmlLib16Data::CElementInfo** m_elementInfo = nullptr;
    KvXmlLib16Data::CAttributeInfo** m_attributeInfo = nullptr;

private:
    BuildFunc m_build;
    std::atomic<bool> m_built{false};
};

} // namespace PurchaseOrderSample

namespace PurchaseOrderSample::Support {

inline const KvXmlLib16::CPrimitiveRestrictions kNoFacets;
constexpr KvXmlLib16::CWhitespaceUtils::WhitespaceRule kPreserve =
    KvXmlLib16::CWhitespaceUtils::WhitespaceRule_Preserve;
constexpr KvXmlLib16::CWhitespaceUtils::WhitespaceRule kCollapse =
    KvXmlLib16::CWhitespaceUtils::WhitespaceRule_Collapse;

// A null-terminated table made of the given records.
template <class Record, size_t N>
Record** NullTerminated(Record* const (&records)[N]) {
    Record** table = new Record*[N + 1];
    for (size_t i = 0; i < N; ++i) table[i] = records[i];
    table[N] = nullptr;
    return table;
}

template <size_t N>
KvXmlLib16Data::CElementInfo** ElementTable(KvXmlLib16Data::CElementInfo* const (&records)[N]) {
    return NullTerminated(records);
}
template <size_t N>
KvXmlLib16Data::CAttributeInfo** AttributeTable(KvXmlLib16Data::CAttributeInfo* const (&records)[N]) {
    return NullTerminated(records);
}
inline KvXmlLib16Data::CElementInfo** EmptyElementTable() {
    return new KvXmlLib16Data::CElementInfo* [1] { nullptr };
}
inline KvXmlLib16Data::CAttributeInfo** EmptyAttributeTable() {
    return new KvXmlLib16Data::CAttributeInfo* [1] { nullptr };
}

inline KvXmlLib16::CPrimitiveRestrictions Pattern(const char16_t* pattern) {
    return KvXmlLib16::CPrimitiveRestrictions(pattern, -1, -1, nullptr, nullptr, nullptr, nullptr, -1, -1, -1);
}

// Property access: an unset optional leaves the variant at type 0; a nil or foreign value unsets it.
inline void GetString(const std::optional<std::u16string>& field, KvXmlLib16::KvVariant& value) {
    if (field) value.SetString(*field);
}
inline void SetString(std::optional<std::u16string>& field, const KvXmlLib16::KvVariant& value) {
    if (value.GetTypeAsEnum() == KvXmlLib16::ItemType_string && !value.IsNil())
        field = value.GetString();
    else
        field.reset();
}
inline void GetI4(const std::optional<int32_t>& field, KvXmlLib16::KvVariant& value) {
    if (field) value.SetI4(*field);
}
inline void SetI4(std::optional<int32_t>& field, const KvXmlLib16::KvVariant& value) {
    if (value.GetTypeAsEnum() == KvXmlLib16::ItemType_i4 && !value.IsNil())
        field = value.GetI4();
    else
        field.reset();
}
inline void GetBoolean(const std::optional<bool>& field, KvXmlLib16::KvVariant& value) {
    if (field) value.SetBoolean(*field);
}
inline void SetBoolean(std::optional<bool>& field, const KvXmlLib16::KvVariant& value) {
    if (value.GetTypeAsEnum() == KvXmlLib16::ItemType_boolean && !value.IsNil())
        field = value.GetBoolean();
    else
        field.reset();
}

template <class T>
KvXmlLib16::CSmartPtr<T> ObjectFrom(const KvXmlLib16::KvVariant& value) {
    KvXmlLib16::CSmartPtr<KvXmlLib16::CXmlObjectBase> object = value.GetXmlObject();
    return KvXmlLib16::CSmartPtr<T>(dynamic_cast<T*>(object.get()));
}

[[noreturn]] inline void ThrowUnknownProperty(int32_t index) {
    throw KvXmlLib16::CKvInvalidParamException(KvXmlLib16::FormatString(u"Unknown property index %d", index));
}

} // namespace PurchaseOrderSample::Support
