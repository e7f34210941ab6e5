#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "kvxml/collections/CXmlTypeCollection.h"
#include "kvxml/platform/KvExport.h"
#include "kvxml/values/CBigInteger.h"
#include "kvxml/values/CBinaryData.h"
#include "kvxml/values/CDateTime.h"
#include "kvxml/values/CDateTimeSpan.h"
#include "kvxml/values/CDecimal.h"

namespace KvXmlLib16 {

// The collections of a repeated element of a simple type. All of them are one machine: a
// growable array of values, the facet check on every add, one element per value on output.
// They differ only in the value type, its conversions and its facet check.

// Storage, indexing, removal and the events shared by every primitive collection.
template <class V>
class KVXML_API CValueArrayCol : public CXmlTypeCollection {
public:
    using Array = std::vector<V>;
    using const_iterator = typename Array::const_iterator;
    using const_reference = typename Array::const_reference;

    int32_t GetCount() const override { return static_cast<int32_t>(m_values.size()); }
    // Removes from the front, each removal firing its messages. Without a listener the values go at once.
    void Clear() override;
    // Throws CKvInvalidParamException for an index outside the values, after message 3 has gone out.
    void Remove(int32_t index) override;

    const_iterator begin() const { return m_values.begin(); }
    const_iterator end() const { return m_values.end(); }

protected:
    using CXmlTypeCollection::CXmlTypeCollection;

    // Throws "Index %d is out of range, use 0 - %d" unless 0 <= index < count.
    void CheckItemIndex(int32_t index) const;
    const_reference ItemAt(int32_t index) const {
        CheckItemIndex(index);
        return m_values[static_cast<std::size_t>(index)];
    }
    // Throws "Index out of range" unless 0 <= index <= count.
    void CheckInsertIndex(int32_t index) const;
    // Inserts at a tested index and tells the sinks; `item` is what message 2 carries.
    void InsertChecked(int32_t index, const V& value, void* item);

    Array m_values;
};

// One primitive collection of the value type V and the item kind Kind.
template <class V, ItemType Kind>
class KVXML_API CPrimitiveCol : public CValueArrayCol<V> {
public:
    CPrimitiveCol(const char16_t* elementName, const char16_t* namespaceUri, int32_t minOccurs, int32_t maxOccurs,
                  const char16_t* pattern, int32_t minLength, int32_t maxLength, const char16_t* minInclusive,
                  const char16_t* maxInclusive, const char16_t* minExclusive, const char16_t* maxExclusive,
                  int32_t length, int32_t totalDigits, int32_t fractionDigits,
                  CWhitespaceUtils::WhitespaceRule whitespaceRule, const char16_t* formatOverride)
        : CValueArrayCol<V>(Kind, elementName, namespaceUri, minOccurs, maxOccurs, pattern, minLength, maxLength,
                            minInclusive, maxInclusive, minExclusive, maxExclusive, length, totalDigits, fractionDigits,
                            whitespaceRule, formatOverride) {}

    void Add(const V& value) { AddAt(this->GetCount(), value); }
    // Message 1, the index test, the facet check, the insert, messages 2 and 0. A refused value
    // leaves the array unchanged but has fired message 1.
    void AddAt(int32_t index, const V& value);
    typename CValueArrayCol<V>::const_reference Item(int32_t index) const { return this->ItemAt(index); }

    // One element per value, named by the collection's own name and namespace.
    void ToXml_Int(CXmlWriter* writer, bool isRoot, const char16_t* namespaceUri, const CSerializationContext& context,
                   bool noErrorOnEmptyChoice) const override;

protected:
    void AddFromString(const std::u16string& text) override;
};

// Common base of the date collections. Its add runs the member's type and facet check before
// anything is fired, so a refused date fires nothing.
class KVXML_API CdatetimeBaseCol : public CValueArrayCol<CDateTime> {
public:
    CdatetimeBaseCol(ItemType kind, const char16_t* elementName, const char16_t* namespaceUri, int32_t minOccurs,
                     int32_t maxOccurs, const char16_t* pattern, int32_t minLength, int32_t maxLength,
                     const char16_t* minInclusive, const char16_t* maxInclusive, const char16_t* minExclusive,
                     const char16_t* maxExclusive, int32_t length, int32_t totalDigits, int32_t fractionDigits,
                     CWhitespaceUtils::WhitespaceRule whitespaceRule, const char16_t* formatOverride);
    ~CdatetimeBaseCol() override;

    virtual void Add(const CDateTime& value);
    virtual void AddAt(int32_t index, const CDateTime& value) = 0;
    virtual const CDateTime& Item(int32_t index) const;
    virtual std::u16string ItemToString(const CDateTime& value) const;

    // Every value is handed to the writer as a dateTime, whichever member writes it.
    void ToXml_Int(CXmlWriter* writer, bool isRoot, const char16_t* namespaceUri, const CSerializationContext& context,
                   bool noErrorOnEmptyChoice) const override;

protected:
    void AddFromString(const std::u16string& text) override;
    // Message 1, the index test, the insert, messages 2 and 0.
    void BaseAddAt(int32_t index, const CDateTime& value);
};

// A date collection that takes only values of one type tag.
template <ItemType Kind, CDateTime::DTType Tag>
class KVXML_API CDateTypedCol : public CdatetimeBaseCol {
public:
    CDateTypedCol(const char16_t* elementName, const char16_t* namespaceUri, int32_t minOccurs, int32_t maxOccurs,
                  const char16_t* pattern, int32_t minLength, int32_t maxLength, const char16_t* minInclusive,
                  const char16_t* maxInclusive, const char16_t* minExclusive, const char16_t* maxExclusive,
                  int32_t length, int32_t totalDigits, int32_t fractionDigits,
                  CWhitespaceUtils::WhitespaceRule whitespaceRule, const char16_t* formatOverride)
        : CdatetimeBaseCol(Kind, elementName, namespaceUri, minOccurs, maxOccurs, pattern, minLength, maxLength,
                           minInclusive, maxInclusive, minExclusive, maxExclusive, length, totalDigits, fractionDigits,
                           whitespaceRule, formatOverride) {}

    // Throws CKvInvalidParamException for a value of another type tag, then checks the facets.
    void AddAt(int32_t index, const CDateTime& value) override;

private:
    void CheckFacets(const CDateTime& value) const;
};

// The instantiations live in the library.
extern template class CValueArrayCol<CBinaryData>;
extern template class CValueArrayCol<int8_t>;
extern template class CValueArrayCol<int16_t>;
extern template class CValueArrayCol<int32_t>;
extern template class CValueArrayCol<int64_t>;
extern template class CValueArrayCol<uint8_t>;
extern template class CValueArrayCol<uint16_t>;
extern template class CValueArrayCol<uint32_t>;
extern template class CValueArrayCol<uint64_t>;
extern template class CValueArrayCol<float>;
extern template class CValueArrayCol<double>;
extern template class CValueArrayCol<CDateTimeSpan>;
extern template class CValueArrayCol<CDateTime>;
extern template class CValueArrayCol<std::u16string>;
extern template class CValueArrayCol<bool>;
extern template class CValueArrayCol<CDecimal>;
extern template class CValueArrayCol<CBigInteger>;

// Every public collection class: PRIM(name, value type, kind) or DATE(name, kind, date type).
#define KVXML_PRIMITIVE_COLLECTIONS(PRIM, DATE)                    \
    PRIM(ChexBinaryCol, CBinaryData, ItemType_hexBinary)           \
    PRIM(Cbase64BinaryCol, CBinaryData, ItemType_base64Binary)     \
    PRIM(Ci1Col, int8_t, ItemType_i1)                              \
    PRIM(Ci2Col, int16_t, ItemType_i2)                             \
    PRIM(Ci4Col, int32_t, ItemType_i4)                             \
    PRIM(Ci8Col, int64_t, ItemType_i8)                             \
    PRIM(Cui1Col, uint8_t, ItemType_ui1)                           \
    PRIM(Cui2Col, uint16_t, ItemType_ui2)                          \
    PRIM(Cui4Col, uint32_t, ItemType_ui4)                          \
    PRIM(Cui8Col, uint64_t, ItemType_ui8)                          \
    PRIM(Cr4Col, float, ItemType_r4)                               \
    PRIM(Cr8Col, double, ItemType_r8)                              \
    PRIM(CdurationCol, CDateTimeSpan, ItemType_duration)           \
    DATE(CyearMonthCol, ItemType_yearMonth, CDateTime::gYearMonth) \
    DATE(CmonthDayCol, ItemType_monthDay, CDateTime::gMonthDay)    \
    PRIM(CyearCol, uint16_t, ItemType_year)                        \
    PRIM(CmonthCol, uint8_t, ItemType_month)                       \
    PRIM(CdayCol, uint8_t, ItemType_day)                           \
    DATE(CdateCol, ItemType_date, CDateTime::date)                 \
    DATE(CdatetimeCol, ItemType_datetime, CDateTime::dateTime)     \
    DATE(CtimeCol, ItemType_time, CDateTime::time)                 \
    PRIM(CstringCol, std::u16string, ItemType_string)              \
    /* Values packed as bits; no facet is checked on add. */       \
    PRIM(CbooleanCol, bool, ItemType_boolean)                      \
    PRIM(CdecimalCol, CDecimal, ItemType_decimal)                  \
    PRIM(CintegerCol, CBigInteger, ItemType_integer)

// The public collection classes. Each has its destructor in the library, so that its type
// information is the library's own.
#define KVXML_PRIMITIVE_COLLECTION(Name, Value, Kind)          \
    extern template class CPrimitiveCol<Value, Kind>;          \
    class KVXML_API Name : public CPrimitiveCol<Value, Kind> { \
    public:                                                    \
        using CPrimitiveCol<Value, Kind>::CPrimitiveCol;       \
        ~Name() override;                                      \
    };

#define KVXML_DATE_COLLECTION(Name, Kind, Tag)               \
    extern template class CDateTypedCol<Kind, Tag>;          \
    class KVXML_API Name : public CDateTypedCol<Kind, Tag> { \
    public:                                                  \
        using CDateTypedCol<Kind, Tag>::CDateTypedCol;       \
        ~Name() override;                                    \
    };

KVXML_PRIMITIVE_COLLECTIONS(KVXML_PRIMITIVE_COLLECTION, KVXML_DATE_COLLECTION)

#undef KVXML_PRIMITIVE_COLLECTION
#undef KVXML_DATE_COLLECTION

} // namespace KvXmlLib16
