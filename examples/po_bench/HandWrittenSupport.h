#pragma once

// Helpers of classes written by hand in the form that kvxmlc generates (the benchmark's yardstick
// in examples/po_bench): the tables of a class, the table builders and the property accessors.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include <kvxml/KvXmlLib16.h>

#include "KvGeneratedSupport.h"

namespace PurchaseOrderSample {

// The tables of a class are held as generated classes hold theirs.
using KvXmlGenerated::CClassTables;

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
inline void SetString(std::optional<std::u16string>& field, KvXmlLib16::KvVariant& value) {
    if (value.GetTypeAsEnum() == KvXmlLib16::ItemType_string && !value.IsNil())
        field = value.TakeString();
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
