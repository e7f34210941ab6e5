#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "kvxml/base/CRefCounted.h"
#include "kvxml/base/CSmartPtr.h"
#include "kvxml/platform/KvExport.h"
#include "kvxml/values/CBinaryData.h"
#include "kvxml/values/CWhitespaceUtils.h"
#include "kvxml/values/ItemType.h"

namespace KvXmlLib16 {

class CXmlObjectBase;
class CXmlCollectionBase;
class CDateTime;
class CDateTimeSpan;
class CBigInteger;
class CDecimal;

// One value of one ItemType, plus a nil flag that leaves the kind known. Numbers, calendar
// components, characters and booleans live in the slot; strings, dates, durations, decimals and
// integers are built in a buffer inside the variant, so that setting one takes no heap block of
// its own; binary data is owned on the heap; objects and collections are held by one counted
// reference.
// Getters do not test the kind: the caller knows it from its metadata.
class KVXML_API KvVariant {
public:
    KvVariant();
    KvVariant(const KvVariant& other);
    // No self-test: assigning a variant to itself releases its value (type read back after Clear).
    KvVariant& operator=(const KvVariant& other);
    virtual ~KvVariant();

    // With type 0 nothing happens, not even to the nil flag; otherwise the value is released,
    // nil is reset and the type becomes 0.
    void Clear();
    bool IsValid() const { return m_type != ItemType_Invalid || m_isNil; }
    void SetInvalid();
    bool IsNil() const { return m_isNil; }
    // Keeps the type. On a fresh variant this gives type 0 with nil set, which no Clear removes.
    void SetNil();
    std::u16string GetType() const;
    ItemType GetTypeAsEnum() const { return m_type; }

    std::u16string ToString(const char16_t* format = nullptr) const;
    // The text is converted before anything changes: a failure leaves the variant as it was.
    void FromString(const std::u16string& text, ItemType kind, CWhitespaceUtils::WhitespaceRule rule);
    // The same for text held elsewhere, such as a tree node's.
    void FromString(std::u16string_view text, ItemType kind, CWhitespaceUtils::WhitespaceRule rule);
    void FromString(const char16_t* text, ItemType kind, CWhitespaceUtils::WhitespaceRule rule);

    void SetI1(int8_t value);
    int8_t GetI1() const { return m_value.i1; }
    void SetI2(int16_t value);
    int16_t GetI2() const { return m_value.i2; }
    void SetI4(int32_t value);
    int32_t GetI4() const { return m_value.i4; }
    void SetI8(int64_t value);
    int64_t GetI8() const { return m_value.i8; }
    void SetUI1(uint8_t value);
    uint8_t GetUI1() const { return m_value.ui1; }
    void SetUI2(uint16_t value);
    uint16_t GetUI2() const { return m_value.ui2; }
    void SetUI4(uint32_t value);
    uint32_t GetUI4() const { return m_value.ui4; }
    void SetUI8(uint64_t value);
    uint64_t GetUI8() const { return m_value.ui8; }
    void SetR4(float value);
    float GetR4() const { return m_value.r4; }
    void SetR8(double value);
    double GetR8() const { return m_value.r8; }
    void SetYear(uint16_t value);
    uint16_t GetYear() const { return m_value.ui2; }
    void SetMonth(uint8_t value);
    uint8_t GetMonth() const { return m_value.ui1; }
    void SetDay(uint8_t value);
    uint8_t GetDay() const { return m_value.ui1; }
    void SetChar(char16_t value);
    char16_t GetChar() const { return m_value.c; }
    void SetString(std::u16string value);
    // Empty when the variant holds no string (nil, or another kind).
    std::u16string GetString() const;
    // A variant the reading engine builds only to carry one value into one property is marked
    // transient: the property then takes the string, decimal or integer instead of copying it.
    // Any other variant, copies included, gives a copy and keeps its own. The results are those
    // of the matching getters.
    void SetTransient() { m_transient = true; }
    std::u16string TakeString();
    CDecimal TakeDecimal();
    CBigInteger TakeInteger();
    void SetBoolean(bool value);
    bool GetBoolean() const { return m_value.b; }

    // Binary kinds store a new handle sharing the argument's buffer; getters return another.
    // On a variant without a stored handle (nil, other kind) the getters return empty data.
    void SetHexBinary(const CBinaryData& value);
    CBinaryData GetHexBinary() const;
    void SetBase64Binary(const CBinaryData& value);
    CBinaryData GetBase64Binary() const;

    // ---- [datetime] date, time and duration kinds (13, 14, 15, 19, 20, 21) ----
    // Setters store a copy that keeps the argument's own DTType. Getters return a copy;
    // without a stored value (nil, or another kind) they return an empty value.
    void SetDuration(const CDateTimeSpan& value);
    CDateTimeSpan GetDuration() const;
    void SetYearMonth(const CDateTime& value);
    CDateTime GetYearMonth() const;
    void SetMonthDay(const CDateTime& value);
    CDateTime GetMonthDay() const;
    void SetDate(const CDateTime& value);
    CDateTime GetDate() const;
    void SetDateTime(const CDateTime& value);
    CDateTime GetDateTime() const;
    void SetTime(const CDateTime& value);
    CDateTime GetTime() const;
    // ---- [datetime] end ----
    // ---- [bignum] decimal (25) and integer (26) kinds ----
    // Setters store a copy; getters return a copy, or zero without a stored value of the kind.
    void SetDecimal(const CDecimal& value);
    CDecimal GetDecimal() const;
    void SetInteger(const CBigInteger& value);
    CBigInteger GetInteger() const;
    // ---- [bignum] end ----

    // Takes a CXmlObjectBase (or a CSmartPtr of one); may be null. A non-null object gains one
    // reference, released by Clear. The variant holds objects by their count alone, so this
    // header does without the object classes, which need only be complete where these are called.
    void SetXmlObject(CRefCounted* value) { SetObject(ItemType_xmlObject, value); }
    // Empty unless the variant holds an object (kind 27 or 28).
    template <class O = CXmlObjectBase>
    CSmartPtr<O> GetXmlObject() const {
        const bool held = m_type == ItemType_xmlObject || m_type == ItemType_xmlCollection;
        return CSmartPtr<O>(held ? static_cast<O*>(m_value.obj) : nullptr);
    }

    // Collections are objects too and are stored as such; the templates let this header do
    // without the collection class, which need only be complete where these are called.
    template <class C>
    void SetXmlCollection(C* value) {
        SetObject(ItemType_xmlCollection, static_cast<CRefCounted*>(value));
    }
    void SetXmlCollection(std::nullptr_t) { SetObject(ItemType_xmlCollection, nullptr); }
    template <class C = CXmlCollectionBase>
    CSmartPtr<C> GetXmlCollection() const {
        return CSmartPtr<C>(m_type == ItemType_xmlCollection ? static_cast<C*>(m_value.obj) : nullptr);
    }

protected:
    union Slot {
        int8_t i1;
        int16_t i2;
        int32_t i4;
        int64_t i8;
        uint8_t ui1;
        uint16_t ui2;
        uint32_t ui4;
        uint64_t ui8;
        float r4;
        double r8;
        char16_t c;
        bool b;
        CBinaryData* bin;
        CRefCounted* obj;
    };

    // A decimal is kept as its parts, which fit where a whole CDecimal would not: the digits of
    // the integer part followed by those of the fraction part, and where the one ends.
    struct DecimalParts {
        std::u16string digits;
        uint32_t integerCount;
        int32_t divider;
        int32_t integerSign;
        int32_t fractionSign;
    };
    static constexpr size_t kHeldSize = 48;

    void SetObject(ItemType kind, CRefCounted* value);
    void SetDateKind(ItemType kind, const CDateTime& value); // [datetime]
    CDateTime GetDateKind() const;                           // [datetime]
    bool ScanDateView(std::u16string_view text, ItemType kind, CWhitespaceUtils::WhitespaceRule rule);
    bool ScanPlainNumber(std::u16string_view text, ItemType kind, CWhitespaceUtils::WhitespaceRule rule);
    static DecimalParts PartsOf(CDecimal&& value);
    static DecimalParts PartsOf(const CDecimal& value);
    static CDecimal DecimalOf(DecimalParts&& parts);
    void StoreInteger(CBigInteger&& value);

    // The value built in m_held; only valid while m_hasHeld is set for a kind that keeps a T.
    template <class T>
    T& Held() {
        return *std::launder(reinterpret_cast<T*>(m_held));
    }
    template <class T>
    const T& Held() const {
        return *std::launder(reinterpret_cast<const T*>(m_held));
    }
    // Moves an already made value in, after Clear: with the value made first, a failure leaves
    // the variant as it was, and the moves cannot fail. T is always named by the caller.
    template <class T>
    void Store(ItemType kind, std::type_identity_t<T>&& value) {
        static_assert(sizeof(T) <= kHeldSize && alignof(T) <= alignof(uint64_t));
        Clear();
        ::new (static_cast<void*>(m_held)) T(std::move(value));
        m_type = kind;
        m_hasHeld = true;
    }
    void CopyHeld(const KvVariant& other);
    void DestroyHeld();

    bool m_isNil;
    bool m_transient = false;
    // Set while m_held holds a built value: never for a nil variant, nor one whose copy failed.
    bool m_hasHeld = false;
    ItemType m_type;
    union {
        Slot m_value;
        alignas(uint64_t) unsigned char m_held[kHeldSize];
    };
};

} // namespace KvXmlLib16
