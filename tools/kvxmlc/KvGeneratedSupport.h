// Written by kvxmlc beside the classes it generates: the helpers that every generated source shares.
// The same text is written for every schema, so sources of several runs can be linked together.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <kvxml/KvXmlLib16.h>

namespace KvXmlGenerated {

using KvXmlLib16::CSmartPtr;
using KvXmlLib16::ItemType;
using KvXmlLib16::KvVariant;

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
    // Releases the tables; the next use builds them again.
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

// A null-terminated table of the given records, in the one array allocation that CleanMetaData frees.
template <class Record>
Record** Table(std::initializer_list<Record*> records) {
    Record** table = new Record*[records.size() + 1];
    size_t i = 0;
    for (Record* record : records) table[i++] = record;
    table[i] = nullptr;
    return table;
}

inline const KvXmlLib16::CPrimitiveRestrictions kNoFacets;

// ---- values: the C++ type of each value kind and its way in and out of a variant ----------------

template <ItemType K>
struct Value;
#define KVXMLC_VALUE(kind, type, set, get)                         \
    template <>                                                    \
    struct Value<KvXmlLib16::kind> {                               \
        typedef type Type;                                         \
        static void Put(KvVariant& v, const Type& x) { v.set(x); } \
        static Type Take(KvVariant& v) { return v.get(); }         \
    };
KVXMLC_VALUE(ItemType_hexBinary, KvXmlLib16::CBinaryData, SetHexBinary, GetHexBinary)
KVXMLC_VALUE(ItemType_base64Binary, KvXmlLib16::CBinaryData, SetBase64Binary, GetBase64Binary)
KVXMLC_VALUE(ItemType_i1, int8_t, SetI1, GetI1)
KVXMLC_VALUE(ItemType_i2, int16_t, SetI2, GetI2)
KVXMLC_VALUE(ItemType_i4, int32_t, SetI4, GetI4)
KVXMLC_VALUE(ItemType_i8, int64_t, SetI8, GetI8)
KVXMLC_VALUE(ItemType_ui1, uint8_t, SetUI1, GetUI1)
KVXMLC_VALUE(ItemType_ui2, uint16_t, SetUI2, GetUI2)
KVXMLC_VALUE(ItemType_ui4, uint32_t, SetUI4, GetUI4)
KVXMLC_VALUE(ItemType_ui8, uint64_t, SetUI8, GetUI8)
KVXMLC_VALUE(ItemType_r4, float, SetR4, GetR4)
KVXMLC_VALUE(ItemType_r8, double, SetR8, GetR8)
KVXMLC_VALUE(ItemType_duration, KvXmlLib16::CDateTimeSpan, SetDuration, GetDuration)
KVXMLC_VALUE(ItemType_yearMonth, KvXmlLib16::CDateTime, SetYearMonth, GetYearMonth)
KVXMLC_VALUE(ItemType_monthDay, KvXmlLib16::CDateTime, SetMonthDay, GetMonthDay)
KVXMLC_VALUE(ItemType_year, uint16_t, SetYear, GetYear)
KVXMLC_VALUE(ItemType_month, uint8_t, SetMonth, GetMonth)
KVXMLC_VALUE(ItemType_day, uint8_t, SetDay, GetDay)
KVXMLC_VALUE(ItemType_date, KvXmlLib16::CDateTime, SetDate, GetDate)
KVXMLC_VALUE(ItemType_datetime, KvXmlLib16::CDateTime, SetDateTime, GetDateTime)
KVXMLC_VALUE(ItemType_time, KvXmlLib16::CDateTime, SetTime, GetTime)
KVXMLC_VALUE(ItemType_char, char16_t, SetChar, GetChar)
KVXMLC_VALUE(ItemType_string, std::u16string, SetString, TakeString)
KVXMLC_VALUE(ItemType_boolean, bool, SetBoolean, GetBoolean)
KVXMLC_VALUE(ItemType_decimal, KvXmlLib16::CDecimal, SetDecimal, TakeDecimal)
KVXMLC_VALUE(ItemType_integer, KvXmlLib16::CBigInteger, SetInteger, TakeInteger)
#undef KVXMLC_VALUE

// A value that always exists. A nil or foreign variant leaves it as it was.
template <ItemType K>
void Access(typename Value<K>::Type& field, bool get, KvVariant& value) {
    if (get)
        Value<K>::Put(value, field);
    else if (value.GetTypeAsEnum() == K && !value.IsNil())
        field = Value<K>::Take(value);
}

// An optional value: unset leaves the variant at type 0; a nil or foreign value unsets it.
template <ItemType K>
void Access(std::optional<typename Value<K>::Type>& field, bool get, KvVariant& value) {
    if (get) {
        if (field) Value<K>::Put(value, *field);
    } else if (value.GetTypeAsEnum() == K && !value.IsNil()) {
        field = Value<K>::Take(value);
    } else {
        field.reset();
    }
}

template <class E>
void AccessEnum(E& field, bool get, KvVariant& value) {
    if (get)
        value.SetI4(static_cast<int32_t>(field));
    else if (value.GetTypeAsEnum() == KvXmlLib16::ItemType_i4 && !value.IsNil())
        field = static_cast<E>(value.GetI4());
}

template <class E>
void AccessEnum(std::optional<E>& field, bool get, KvVariant& value) {
    if (get) {
        if (field) value.SetI4(static_cast<int32_t>(*field));
    } else if (value.GetTypeAsEnum() == KvXmlLib16::ItemType_i4 && !value.IsNil()) {
        field = static_cast<E>(value.GetI4());
    } else {
        field.reset();
    }
}

template <class T>
void AccessObject(CSmartPtr<T>& field, bool get, KvVariant& value) {
    if (get) {
        value.SetXmlObject(field.get());
    } else {
        CSmartPtr<KvXmlLib16::CXmlObjectBase> object = value.GetXmlObject();
        field = CSmartPtr<T>(dynamic_cast<T*>(object.get()));
    }
}

// A collection always exists: a null or foreign value empties it instead.
template <class C>
void AccessCollection(CSmartPtr<C>& field, bool get, KvVariant& value) {
    if (get) {
        value.SetXmlObject(field.get());
        return;
    }
    CSmartPtr<KvXmlLib16::CXmlObjectBase> object = value.GetXmlObject();
    if (C* collection = dynamic_cast<C*>(object.get()))
        field = collection;
    else if (field)
        field->Clear();
}

// The text of an enumeration value; an unknown number has none.
inline const char16_t* EnumText(const char16_t* const* texts, int32_t count, int32_t value) {
    return value >= 0 && value < count ? texts[value] : nullptr;
}

// The number of an enumeration text, compared after collapsing its whitespace.
inline int32_t EnumValue(const char16_t* const* texts, int32_t count, const char16_t* text, const char16_t* typeName) {
    const std::u16string value = KvXmlLib16::CWhitespaceUtils::Collapse(text ? text : u"");
    for (int32_t i = 0; i < count; ++i)
        if (value == texts[i]) return i;
    throw KvXmlLib16::CKvInvalidValueException(KvXmlLib16::FormatString(u"Invalid %s [%s].", typeName, value.c_str()));
}

[[noreturn]] inline void ThrowUnknownProperty(int32_t index) {
    throw KvXmlLib16::CKvInvalidParamException(KvXmlLib16::FormatString(u"Unknown property index %d", index));
}

inline void CheckIndex(int32_t index, int32_t count) {
    if (index < 0 || index >= count)
        throw KvXmlLib16::CKvInvalidParamException(
            KvXmlLib16::FormatString(u"Index %d is outside the collection.", index));
}

// ---- collections --------------------------------------------------------------------------------

// The repeated elements of one class, or the repeated occurrences of a model group (inline items).
template <class T>
class CObjectCol : public KvXmlLib16::CXmlCollection {
public:
    typedef CSmartPtr<KvXmlLib16::CXmlObjectBase> (*Factory)(KvXmlLib16::CXmlElement* element);
    CObjectCol(const char16_t* elementName, const char16_t* namespaceUri, int32_t minOccurs, int32_t maxOccurs,
               bool inlineItems, Factory factory = nullptr)
        : CXmlCollection(elementName, namespaceUri, minOccurs, maxOccurs), m_inline(inlineItems), m_factory(factory) {}

    void Add(T* item) {
        if (item && !m_inline) item->SetElementName(m_elementName.c_str());
        AppendItem(item);
    }
    CSmartPtr<T> Item(int32_t index) const {
        CheckIndex(index, m_count);
        return CSmartPtr<T>(dynamic_cast<T*>(GetNodeAtIndex(index)->m_item.get()));
    }

    void ToXml_Int(KvXmlLib16::CXmlWriter* writer, bool, const char16_t* namespaceUri,
                   const KvXmlLib16::CSerializationContext& context, bool) const override {
        ValidateCount(context);
        for (KvXmlLib16::CNode* node = m_head; node; node = node->m_next)
            CXmlObjectBase::ToXml_Int(node->m_item, writer, false, namespaceUri, context, false);
    }

    KvXmlLib16::CXmlElement* FromXml_Int(KvXmlLib16::CXmlElement* parent, KvXmlLib16::CXmlElement* element,
                                         const KvXmlLib16::CSerializationContext& context, bool) override {
        while (element) {
            if (m_inline) {
                // A group occurrence that takes nothing ends the run.
                CSmartPtr<T> item = new T();
                KvXmlLib16::CXmlElement* next = CXmlObjectBase::FromXml_Int(item.get(), parent, element, context);
                if (next == element) break;
                AppendItem(item);
                element = next;
                continue;
            }
            if (!DoesElementNameMatch(context, element, m_elementName.c_str(), m_namespace.c_str())) break;
            CSmartPtr<KvXmlLib16::CXmlObjectBase> item =
                m_factory ? m_factory(element) : CSmartPtr<KvXmlLib16::CXmlObjectBase>(new T());
            if (!item) break;
            // Through the library's call of a child, which may free the element once it is read.
            CXmlObjectBase::FromXml_Int(item.get(), element, element->GetFirstElement(), context);
            AppendItem(item);
            element = element->GetNextSiblingElement();
        }
        return element;
    }

private:
    bool m_inline;
    Factory m_factory;
};

// The repeated elements of one enumeration.
template <class E>
class CEnumCol : public KvXmlLib16::CXmlCollectionBase {
public:
    typedef const char16_t* (*ToText)(int32_t value);
    typedef int32_t (*FromText)(const char16_t* text);
    CEnumCol(const char16_t* elementName, const char16_t* namespaceUri, int32_t minOccurs, int32_t maxOccurs,
             ToText toText, FromText fromText)
        : CXmlCollectionBase(elementName, namespaceUri, minOccurs, maxOccurs), m_toText(toText), m_fromText(fromText) {}

    void Add(E item) { m_items.push_back(item); }
    E Item(int32_t index) const {
        CheckIndex(index, GetCount());
        return m_items[static_cast<size_t>(index)];
    }
    int32_t GetCount() const override { return static_cast<int32_t>(m_items.size()); }
    void Clear() override { m_items.clear(); }
    void Remove(int32_t index) override {
        CheckIndex(index, GetCount());
        m_items.erase(m_items.begin() + index);
    }

    void ToXml_Int(KvXmlLib16::CXmlWriter* writer, bool, const char16_t* namespaceUri,
                   const KvXmlLib16::CSerializationContext& context, bool) const override {
        ValidateCount(context);
        const std::u16string ns = namespaceUri ? namespaceUri : u"";
        for (E item : m_items) {
            const char16_t* text = m_toText(static_cast<int32_t>(item));
            if (!text)
                throw KvXmlLib16::CKvInvalidValueException(KvXmlLib16::FormatString(
                    u"Invalid value %d for [%s].", static_cast<int32_t>(item), m_elementName.c_str()));
            writer->WriteStartElement(m_elementName, ns);
            writer->WriteElementText(text, KvXmlLib16::ItemType_string, false);
            writer->WriteEndElement();
        }
    }

    KvXmlLib16::CXmlElement* FromXml_Int(KvXmlLib16::CXmlElement*, KvXmlLib16::CXmlElement* element,
                                         const KvXmlLib16::CSerializationContext& context, bool) override {
        while (element && DoesElementNameMatch(context, element, m_elementName.c_str(), m_namespace.c_str())) {
            m_items.push_back(static_cast<E>(m_fromText(std::u16string(element->TextView()).c_str())));
            element = element->GetNextSiblingElement();
        }
        return element;
    }

private:
    ToText m_toText;
    FromText m_fromText;
    std::vector<E> m_items;
};

} // namespace KvXmlGenerated
