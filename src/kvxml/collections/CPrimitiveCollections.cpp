#include "kvxml/collections/CPrimitiveCollections.h"

#include <cstdint>
#include <type_traits>

#include "kvxml/base/CKvException.h"
#include "kvxml/base/FormatString.h"
#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/output/CXmlWriter.h"
#include "kvxml/values/CConversions.h"
#include "kvxml/values/CPrimitiveRestrictions.h"
#include "kvxml/values/KvVariant.h"

namespace KvXmlLib16 {

namespace {

using Rule = CWhitespaceUtils::WhitespaceRule;
using C = CConversions;

// What distinguishes the members: conversion from and to text, and the facet check.
template <class V, ItemType Kind>
struct KindOps;

// The facet check through the variant, for kinds whose check is only reachable that way.
#define KVXML_KIND_OPS(Value, Kind, Name, Setter, ToTextExpr)                                                    \
    template <>                                                                                                  \
    struct KindOps<Value, Kind> {                                                                                \
        static Value FromText(const std::u16string& text, Rule rule) { return C::Name##FromString(text, rule); } \
        static std::u16string ToText(const Value& value, [[maybe_unused]] const std::u16string& format) {        \
            return ToTextExpr;                                                                                   \
        }                                                                                                        \
        static void Check(const char16_t* name, const Value& value, const CPrimitiveRestrictions& r) {           \
            KvVariant variant;                                                                                   \
            variant.Setter(value);                                                                               \
            CheckPrimitiveRestrictions(name, variant, Kind, r);                                                  \
        }                                                                                                        \
    };

KVXML_KIND_OPS(CBinaryData, ItemType_hexBinary, hexBinary, SetHexBinary, C::hexBinaryToString(value))
KVXML_KIND_OPS(CBinaryData, ItemType_base64Binary, base64Binary, SetBase64Binary, C::base64BinaryToString(value))
KVXML_KIND_OPS(int8_t, ItemType_i1, i1, SetI1, C::i1ToString(value))
KVXML_KIND_OPS(int16_t, ItemType_i2, i2, SetI2, C::i2ToString(value))
KVXML_KIND_OPS(int32_t, ItemType_i4, i4, SetI4, C::i4ToString(value))
KVXML_KIND_OPS(int64_t, ItemType_i8, i8, SetI8, C::i8ToString(value))
KVXML_KIND_OPS(uint8_t, ItemType_ui1, ui1, SetUI1, C::ui1ToString(value))
KVXML_KIND_OPS(uint16_t, ItemType_ui2, ui2, SetUI2, C::ui2ToString(value))
KVXML_KIND_OPS(uint32_t, ItemType_ui4, ui4, SetUI4, C::ui4ToString(value))
KVXML_KIND_OPS(uint64_t, ItemType_ui8, ui8, SetUI8, C::ui8ToString(value))
KVXML_KIND_OPS(float, ItemType_r4, r4, SetR4, C::r4ToString(value, format))
KVXML_KIND_OPS(double, ItemType_r8, r8, SetR8, C::r8ToString(value, format))
KVXML_KIND_OPS(CDateTimeSpan, ItemType_duration, duration, SetDuration, C::durationToString(value))
KVXML_KIND_OPS(uint16_t, ItemType_year, year, SetYear, C::yearToString(value))
KVXML_KIND_OPS(uint8_t, ItemType_month, month, SetMonth, C::monthToString(value))
KVXML_KIND_OPS(uint8_t, ItemType_day, day, SetDay, C::dayToString(value))
KVXML_KIND_OPS(CDecimal, ItemType_decimal, decimal, SetDecimal, C::decimalToString(value, format))
KVXML_KIND_OPS(CBigInteger, ItemType_integer, integer, SetInteger, C::integerToString(value))
#undef KVXML_KIND_OPS

// Strings are checked directly, without a copy into a variant.
template <>
struct KindOps<std::u16string, ItemType_string> {
    static std::u16string FromText(const std::u16string& text, Rule rule) { return C::stringFromString(text, rule); }
    static std::u16string ToText(const std::u16string& value, const std::u16string&) {
        return C::stringToString(value);
    }
    static void Check(const char16_t* name, const std::u16string& value, const CPrimitiveRestrictions& r) {
        CheckStringRestrictions(name, value, r);
    }
};

// Booleans have no facet to check, whatever the constructor was given.
template <>
struct KindOps<bool, ItemType_boolean> {
    static bool FromText(const std::u16string& text, Rule rule) { return C::booleanFromString(text, rule); }
    static std::u16string ToText(bool value, const std::u16string&) { return C::booleanToString(value); }
    static void Check(const char16_t*, bool, const CPrimitiveRestrictions&) {}
};

// With no facet at all every kind passes, so the common unrestricted collection skips the check.
bool HasFacets(const CPrimitiveRestrictions& r) {
    return !r.GetPattern().empty() || r.GetMinLength() >= 0 || r.GetMaxLength() >= 0 || r.GetLength() >= 0 ||
           r.GetTotalDigits() >= 0 || r.GetFractionDigits() >= 0 || !r.GetMinInclusive().empty() ||
           !r.GetMaxInclusive().empty() || !r.GetMinExclusive().empty() || !r.GetMaxExclusive().empty();
}

// Message 4 carries the real index only in the string and boolean collections; elsewhere 0.
template <class V>
constexpr bool kRealIndexWhenRemoved = std::is_same_v<V, std::u16string> || std::is_same_v<V, bool>;

} // namespace

// ---- storage shared by all members ----

template <class V>
void CValueArrayCol<V>::CheckItemIndex(int32_t index) const {
    if (index < 0 || index >= GetCount())
        throw CKvInvalidParamException(FormatString(u"Index %d is out of range, use 0 - %d", index, GetCount()));
}

template <class V>
void CValueArrayCol<V>::CheckInsertIndex(int32_t index) const {
    if (index < 0 || index > GetCount()) throw CKvInvalidParamException(u"Index out of range");
}

template <class V>
void CValueArrayCol<V>::InsertChecked(int32_t index, const V& value, void* item) {
    if (GetCount() == INT32_MAX) throw CKvInvalidParamException(u"Index out of range");
    m_values.insert(m_values.begin() + index, value);
    if (this->m_eventSinks.empty()) return;
    this->FireOnCollectionAddComplete(item);
    this->FireOnCollectionChange();
}

template <class V>
void CValueArrayCol<V>::Remove(int32_t index) {
    this->FireOnCollectionRemove(index);
    CheckItemIndex(index);
    m_values.erase(m_values.begin() + index);
    this->FireOnCollectionRemoveComplete(kRealIndexWhenRemoved<V> ? index : 0);
    this->FireOnCollectionChange();
}

template <class V>
void CValueArrayCol<V>::Clear() {
    // Removing one by one from the front costs quadratic time; it is only worth it when someone
    // listens to the messages of each removal.
    if (this->m_eventSinks.empty()) {
        m_values.clear();
        return;
    }
    while (!m_values.empty()) Remove(0);
}

// ---- the plain members ----

template <class V, ItemType Kind>
void CPrimitiveCol<V, Kind>::AddAt(int32_t index, const V& value) {
    // The sinks hear of the value before any test; they get it as the caller passed it.
    void* item = const_cast<V*>(&value);
    if (!this->m_eventSinks.empty()) this->FireOnCollectionAdd(item);
    this->CheckInsertIndex(index);
    if (HasFacets(this->m_restrictions))
        KindOps<V, Kind>::Check(this->m_elementName.c_str(), value, this->m_restrictions);
    this->InsertChecked(index, value, item);
}

template <class V, ItemType Kind>
void CPrimitiveCol<V, Kind>::AddFromString(const std::u16string& text) {
    Add(KindOps<V, Kind>::FromText(text, this->m_whitespaceRule));
}

template <class V, ItemType Kind>
void CPrimitiveCol<V, Kind>::ToXml_Int(CXmlWriter* writer, bool, const char16_t*, const CSerializationContext& context,
                                       bool) const {
    this->ValidateCount(context);
    for (const V& value : this->m_values) {
        writer->WriteStartElement(this->m_elementName, this->m_namespace);
        writer->WriteElementText(KindOps<V, Kind>::ToText(value, this->m_formatOverride), Kind, false);
        writer->WriteEndElement();
    }
}

// ---- the date members ----

CdatetimeBaseCol::CdatetimeBaseCol(ItemType kind, const char16_t* elementName, const char16_t* namespaceUri,
                                   int32_t minOccurs, int32_t maxOccurs, const char16_t* pattern, int32_t minLength,
                                   int32_t maxLength, const char16_t* minInclusive, const char16_t* maxInclusive,
                                   const char16_t* minExclusive, const char16_t* maxExclusive, int32_t length,
                                   int32_t totalDigits, int32_t fractionDigits, Rule whitespaceRule,
                                   const char16_t* formatOverride)
    : CValueArrayCol<CDateTime>(kind, elementName, namespaceUri, minOccurs, maxOccurs, pattern, minLength, maxLength,
                                minInclusive, maxInclusive, minExclusive, maxExclusive, length, totalDigits,
                                fractionDigits, whitespaceRule, formatOverride) {}

CdatetimeBaseCol::~CdatetimeBaseCol() = default;

void CdatetimeBaseCol::Add(const CDateTime& value) { AddAt(GetCount(), value); }

const CDateTime& CdatetimeBaseCol::Item(int32_t index) const { return ItemAt(index); }

std::u16string CdatetimeBaseCol::ItemToString(const CDateTime& value) const { return C::dateToString(value); }

void CdatetimeBaseCol::BaseAddAt(int32_t index, const CDateTime& value) {
    void* item = const_cast<CDateTime*>(&value);
    if (!m_eventSinks.empty()) FireOnCollectionAdd(item);
    CheckInsertIndex(index);
    InsertChecked(index, value, item);
}

void CdatetimeBaseCol::AddFromString(const std::u16string& text) {
    switch (m_itemType) {
    case ItemType_yearMonth: return Add(C::yearMonthFromString(text, m_whitespaceRule));
    case ItemType_monthDay: return Add(C::monthDayFromString(text, m_whitespaceRule));
    case ItemType_date: return Add(C::dateFromString(text, m_whitespaceRule));
    case ItemType_time: return Add(C::timeFromString(text, m_whitespaceRule));
    default: return Add(C::datetimeFromString(text, m_whitespaceRule));
    }
}

void CdatetimeBaseCol::ToXml_Int(CXmlWriter* writer, bool, const char16_t*, const CSerializationContext& context,
                                 bool) const {
    ValidateCount(context);
    for (const CDateTime& value : m_values) {
        writer->WriteStartElement(m_elementName, m_namespace);
        writer->WriteElementText(ItemToString(value), ItemType_datetime, false);
        writer->WriteEndElement();
    }
}

namespace {

const char16_t* WrongDateTypeMessage(ItemType kind) {
    switch (kind) {
    case ItemType_yearMonth: return u"Dates added to this collection must be of type dt_gYearMonth";
    case ItemType_monthDay: return u"Dates added to this collection must be of type dt_gMonthDay";
    case ItemType_date: return u"Dates added to this collection must be of type dt_date";
    case ItemType_time: return u"Dates added to this collection must be of type dt_time";
    default: return u"Dates added to this collection must be of type dt_dateTime";
    }
}

} // namespace

template <ItemType Kind, CDateTime::DTType Tag>
void CDateTypedCol<Kind, Tag>::AddAt(int32_t index, const CDateTime& value) {
    if (value.GetType() != Tag) throw CKvInvalidParamException(WrongDateTypeMessage(Kind));
    if (HasFacets(m_restrictions)) CheckFacets(value);
    BaseAddAt(index, value);
}

template <ItemType Kind, CDateTime::DTType Tag>
void CDateTypedCol<Kind, Tag>::CheckFacets(const CDateTime& value) const {
    KvVariant variant;
    switch (Kind) {
    case ItemType_yearMonth: variant.SetYearMonth(value); break;
    case ItemType_monthDay: variant.SetMonthDay(value); break;
    case ItemType_date: variant.SetDate(value); break;
    case ItemType_time: variant.SetTime(value); break;
    default: variant.SetDateTime(value); break;
    }
    CheckPrimitiveRestrictions(m_elementName.c_str(), variant, Kind, m_restrictions);
}

// ---- instantiations ----

template class CValueArrayCol<CBinaryData>;
template class CValueArrayCol<int8_t>;
template class CValueArrayCol<int16_t>;
template class CValueArrayCol<int32_t>;
template class CValueArrayCol<int64_t>;
template class CValueArrayCol<uint8_t>;
template class CValueArrayCol<uint16_t>;
template class CValueArrayCol<uint32_t>;
template class CValueArrayCol<uint64_t>;
template class CValueArrayCol<float>;
template class CValueArrayCol<double>;
template class CValueArrayCol<CDateTimeSpan>;
template class CValueArrayCol<CDateTime>;
template class CValueArrayCol<std::u16string>;
template class CValueArrayCol<bool>;
template class CValueArrayCol<CDecimal>;
template class CValueArrayCol<CBigInteger>;

#define KVXML_PRIMITIVE_COLLECTION(Name, Value, Kind) \
    template class CPrimitiveCol<Value, Kind>;        \
    Name::~Name() = default;
#define KVXML_DATE_COLLECTION(Name, Kind, Tag) \
    template class CDateTypedCol<Kind, Tag>;   \
    Name::~Name() = default;

KVXML_PRIMITIVE_COLLECTIONS(KVXML_PRIMITIVE_COLLECTION, KVXML_DATE_COLLECTION)

} // namespace KvXmlLib16
