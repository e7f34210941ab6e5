#include "kvxml/values/KvVariant.h"

#include <cstring>
#include <memory>
#include <utility>

#include "kvxml/base/CKvException.h"
#include "kvxml/base/FormatString.h"
#include "kvxml/values/CBigInteger.h"
#include "kvxml/values/CConversions.h"
#include "kvxml/values/CDateTime.h"
#include "kvxml/values/CDateTimeSpan.h"
#include "kvxml/values/CDecimal.h"

namespace KvXmlLib16 {

// The held values share the slot's place, so a variant stays a small thing to pass around.
static_assert(sizeof(KvVariant) <= 64);

namespace {

const char16_t* const kTypeNames[] = {
    nullptr, u"hexBinary", u"base64Binary", u"i1",   u"i2",       u"i4",        u"i8",       u"ui1",     u"ui2",
    u"ui4",  u"ui8",       u"r4",           u"r8",   u"duration", u"yearMonth", u"monthDay", u"year",    u"month",
    u"day",  u"date",      u"datetime",     u"time", u"char",     u"string",    u"boolean",  u"decimal", u"integer",
};

bool IsPointerKind(int32_t kind) {
    switch (kind) {
    case ItemType_hexBinary:
    case ItemType_base64Binary:
    case ItemType_duration:
    case ItemType_yearMonth:
    case ItemType_monthDay:
    case ItemType_date:
    case ItemType_datetime:
    case ItemType_time:
    case ItemType_string:
    case ItemType_decimal:
    case ItemType_integer:
    case ItemType_xmlObject:
    case ItemType_xmlCollection: return true;
    default: return false;
    }
}

[[noreturn]] void ThrowInvalidToString(int32_t type) {
    throw CKvException(FormatString(u"Invalid Type %d to convert to string", static_cast<int>(type)));
}

} // namespace

KvVariant::KvVariant() : m_isNil(false), m_type(ItemType_Invalid) { m_value.ui8 = 0; }

KvVariant::KvVariant(const KvVariant& other) : KvVariant() { *this = other; }

KvVariant::~KvVariant() { Clear(); }

void KvVariant::Clear() {
    if (m_type == ItemType_Invalid) return;
    m_isNil = false;
    switch (m_type) {
    case ItemType_hexBinary:
    case ItemType_base64Binary:
        delete m_value.bin;
        m_value.bin = nullptr;
        break;
    case ItemType_xmlObject:
    case ItemType_xmlCollection:
        if (m_value.obj != nullptr) m_value.obj->Release();
        m_value.obj = nullptr;
        break;
    default:
        if (m_hasHeld) DestroyHeld();
        break; // inline kinds keep their bits
    }
    m_type = ItemType_Invalid;
}

void KvVariant::DestroyHeld() {
    switch (m_type) {
    case ItemType_duration: std::destroy_at(&Held<CDateTimeSpan>()); break;
    case ItemType_yearMonth:
    case ItemType_monthDay:
    case ItemType_date:
    case ItemType_datetime:
    case ItemType_time: std::destroy_at(&Held<CDateTime>()); break;
    case ItemType_string: std::destroy_at(&Held<std::u16string>()); break;
    case ItemType_decimal: std::destroy_at(&Held<DecimalParts>()); break;
    case ItemType_integer: std::destroy_at(&Held<CBigInteger>()); break;
    default: break;
    }
    m_hasHeld = false;
    m_value.ui8 = 0; // as a released pointer would leave it
}

// Builds a copy of the other's held value; this variant already has its type and nothing held.
void KvVariant::CopyHeld(const KvVariant& other) {
    void* const at = m_held;
    switch (m_type) {
    case ItemType_duration: ::new (at) CDateTimeSpan(other.Held<CDateTimeSpan>()); break;
    case ItemType_yearMonth:
    case ItemType_monthDay:
    case ItemType_date:
    case ItemType_datetime:
    case ItemType_time: ::new (at) CDateTime(other.Held<CDateTime>()); break;
    case ItemType_string: ::new (at) std::u16string(other.Held<std::u16string>()); break;
    case ItemType_decimal: ::new (at) DecimalParts(other.Held<DecimalParts>()); break;
    case ItemType_integer: ::new (at) CBigInteger(other.Held<CBigInteger>()); break;
    default: return;
    }
    m_hasHeld = true;
}

KvVariant& KvVariant::operator=(const KvVariant& other) {
    Clear();
    m_type = other.m_type;
    m_isNil = other.m_isNil;
    // A pointer kind must never inherit the bits an inline kind left in the slot.
    if (IsPointerKind(m_type)) m_value.obj = nullptr;
    if (m_isNil) return *this;
    const Slot& src = other.m_value;
    switch (m_type) {
    case ItemType_Invalid: break;
    case ItemType_hexBinary:
    case ItemType_base64Binary:
        if (src.bin != nullptr) m_value.bin = new CBinaryData(*src.bin);
        break;
    case ItemType_i1:
    case ItemType_ui1:
    case ItemType_month:
    case ItemType_day:
    case ItemType_boolean: std::memcpy(&m_value, &src, 1); break;
    case ItemType_i2:
    case ItemType_ui2:
    case ItemType_year:
    case ItemType_char: std::memcpy(&m_value, &src, 2); break;
    case ItemType_i4:
    case ItemType_ui4:
    case ItemType_r4: std::memcpy(&m_value, &src, 4); break;
    case ItemType_i8:
    case ItemType_ui8:
    case ItemType_r8: std::memcpy(&m_value, &src, 8); break;
    case ItemType_duration:
    case ItemType_yearMonth:
    case ItemType_monthDay:
    case ItemType_date:
    case ItemType_datetime:
    case ItemType_time:
    case ItemType_string:
    case ItemType_decimal:
    case ItemType_integer:
        if (other.m_hasHeld) CopyHeld(other);
        break;
    case ItemType_xmlObject:
    case ItemType_xmlCollection:
        if (src.obj != nullptr) {
            src.obj->AddRef();
            m_value.obj = src.obj;
        }
        break;
    default: throw CKvException(u"Unknown Type");
    }
    return *this;
}

void KvVariant::SetInvalid() {
    Clear();
    m_type = ItemType_Invalid;
}

void KvVariant::SetNil() {
    const ItemType type = m_type;
    Clear();
    m_type = type;
    m_isNil = true;
}

std::u16string KvVariant::GetType() const {
    if (m_type <= ItemType_Invalid || m_type > ItemType_integer)
        throw CKvException(FormatString(u"Invalid Type %d", static_cast<int>(m_type)));
    return kTypeNames[m_type];
}

std::u16string KvVariant::ToString(const char16_t* format) const {
    const std::u16string fmt = format != nullptr ? std::u16string(format) : std::u16string();
    // The nil flag is not looked at; a pointer kind without a stored value converts as empty.
    switch (m_type) {
    case ItemType_hexBinary:
        return m_value.bin != nullptr ? CConversions::hexBinaryToString(*m_value.bin) : std::u16string();
    case ItemType_base64Binary:
        return m_value.bin != nullptr ? CConversions::base64BinaryToString(*m_value.bin) : std::u16string();
    case ItemType_i1: return CConversions::i1ToString(m_value.i1);
    case ItemType_i2: return CConversions::i2ToString(m_value.i2);
    case ItemType_i4: return CConversions::i4ToString(m_value.i4);
    case ItemType_i8: return CConversions::i8ToString(m_value.i8);
    case ItemType_ui1: return CConversions::ui1ToString(m_value.ui1);
    case ItemType_ui2: return CConversions::ui2ToString(m_value.ui2);
    case ItemType_ui4: return CConversions::ui4ToString(m_value.ui4);
    case ItemType_ui8: return CConversions::ui8ToString(m_value.ui8);
    case ItemType_r4: return CConversions::r4ToString(m_value.r4, fmt);
    case ItemType_r8: return CConversions::r8ToString(m_value.r8, fmt);
    case ItemType_char: return CConversions::charToString(m_value.c);
    case ItemType_string: return m_hasHeld ? CConversions::stringToString(Held<std::u16string>()) : std::u16string();
    case ItemType_boolean: return CConversions::booleanToString(m_value.b);
    // [datetime]
    case ItemType_duration: return m_hasHeld ? CConversions::durationToString(Held<CDateTimeSpan>()) : std::u16string();
    case ItemType_yearMonth:
    case ItemType_monthDay:
    case ItemType_date:
    case ItemType_datetime:
    case ItemType_time: return m_hasHeld ? CConversions::dateToString(Held<CDateTime>()) : std::u16string();
    case ItemType_year: return CConversions::yearToString(m_value.ui2);
    case ItemType_month: return CConversions::monthToString(m_value.ui1);
    case ItemType_day: return CConversions::dayToString(m_value.ui1);
    // [datetime] end
    // [bignum]
    case ItemType_decimal: return m_hasHeld ? CConversions::decimalToString(GetDecimal(), fmt) : std::u16string();
    case ItemType_integer: return m_hasHeld ? CConversions::integerToString(Held<CBigInteger>()) : std::u16string();
    // [bignum] end
    default: ThrowInvalidToString(m_type);
    }
}

void KvVariant::FromString(const std::u16string& text, ItemType kind, CWhitespaceUtils::WhitespaceRule rule) {
    if (kind < ItemType_hexBinary || kind > ItemType_integer) ThrowInvalidToString(m_type);
    // Each case converts first and stores only a value that converted.
    switch (kind) {
    case ItemType_hexBinary: SetHexBinary(CConversions::hexBinaryFromString(text, rule)); return;
    case ItemType_base64Binary: SetBase64Binary(CConversions::base64BinaryFromString(text, rule)); return;
    case ItemType_i1: SetI1(CConversions::i1FromString(text, rule)); return;
    case ItemType_i2: SetI2(CConversions::i2FromString(text, rule)); return;
    case ItemType_i4: SetI4(CConversions::i4FromString(text, rule)); return;
    case ItemType_i8: SetI8(CConversions::i8FromString(text, rule)); return;
    case ItemType_ui1: SetUI1(CConversions::ui1FromString(text, rule)); return;
    case ItemType_ui2: SetUI2(CConversions::ui2FromString(text, rule)); return;
    case ItemType_ui4: SetUI4(CConversions::ui4FromString(text, rule)); return;
    case ItemType_ui8: SetUI8(CConversions::ui8FromString(text, rule)); return;
    case ItemType_r4: SetR4(CConversions::r4FromString(text, rule)); return;
    case ItemType_r8: SetR8(CConversions::r8FromString(text, rule)); return;
    case ItemType_char: SetChar(CConversions::charFromString(text, rule)); return;
    case ItemType_string: SetString(CConversions::stringFromString(text, rule)); return;
    case ItemType_boolean: SetBoolean(CConversions::booleanFromString(text, rule)); return;
    // [datetime]
    case ItemType_duration: SetDuration(CConversions::durationFromString(text, rule)); return;
    case ItemType_yearMonth: SetYearMonth(CConversions::yearMonthFromString(text, rule)); return;
    case ItemType_monthDay: SetMonthDay(CConversions::monthDayFromString(text, rule)); return;
    case ItemType_year: SetYear(CConversions::yearFromString(text, rule)); return;
    case ItemType_month: SetMonth(CConversions::monthFromString(text, rule)); return;
    case ItemType_day: SetDay(CConversions::dayFromString(text, rule)); return;
    case ItemType_date: SetDate(CConversions::dateFromString(text, rule)); return;
    case ItemType_datetime: SetDateTime(CConversions::datetimeFromString(text, rule)); return;
    case ItemType_time: SetTime(CConversions::timeFromString(text, rule)); return;
    // [datetime] end
    // [bignum]
    case ItemType_decimal:
        Store<DecimalParts>(ItemType_decimal, PartsOf(CConversions::decimalFromString(text, rule)));
        return;
    case ItemType_integer: StoreInteger(CConversions::integerFromString(text, rule)); return;
    // [bignum] end
    default: ThrowInvalidToString(m_type);
    }
}

void KvVariant::FromString(std::u16string_view text, ItemType kind, CWhitespaceUtils::WhitespaceRule rule) {
    // A string gets its rule applied straight into the one copy that it keeps; a date is scanned
    // where it lies; the other scanners need a terminated copy, which the short text of most
    // values holds without allocating.
    if (kind == ItemType_string) {
        SetString(CWhitespaceUtils::ApplyRuleToView(rule, text));
        return;
    }
    if (ScanDateView(text, kind, rule) || ScanPlainNumber(text, kind, rule)) return;
    FromString(std::u16string(text), kind, rule);
}

void KvVariant::FromString(const char16_t* text, ItemType kind, CWhitespaceUtils::WhitespaceRule rule) {
    FromString(text ? std::u16string_view(text) : std::u16string_view(), kind, rule);
}

void KvVariant::SetI1(int8_t value) {
    Clear();
    m_type = ItemType_i1;
    m_value.i1 = value;
}
void KvVariant::SetI2(int16_t value) {
    Clear();
    m_type = ItemType_i2;
    m_value.i2 = value;
}
void KvVariant::SetI4(int32_t value) {
    Clear();
    m_type = ItemType_i4;
    m_value.i4 = value;
}
void KvVariant::SetI8(int64_t value) {
    Clear();
    m_type = ItemType_i8;
    m_value.i8 = value;
}
void KvVariant::SetUI1(uint8_t value) {
    Clear();
    m_type = ItemType_ui1;
    m_value.ui1 = value;
}
void KvVariant::SetUI2(uint16_t value) {
    Clear();
    m_type = ItemType_ui2;
    m_value.ui2 = value;
}
void KvVariant::SetUI4(uint32_t value) {
    Clear();
    m_type = ItemType_ui4;
    m_value.ui4 = value;
}
void KvVariant::SetUI8(uint64_t value) {
    Clear();
    m_type = ItemType_ui8;
    m_value.ui8 = value;
}
void KvVariant::SetR4(float value) {
    Clear();
    m_type = ItemType_r4;
    m_value.r4 = value;
}
void KvVariant::SetR8(double value) {
    Clear();
    m_type = ItemType_r8;
    m_value.r8 = value;
}
void KvVariant::SetYear(uint16_t value) {
    Clear();
    m_type = ItemType_year;
    m_value.ui2 = value;
}
void KvVariant::SetMonth(uint8_t value) {
    Clear();
    m_type = ItemType_month;
    m_value.ui1 = value;
}
void KvVariant::SetDay(uint8_t value) {
    Clear();
    m_type = ItemType_day;
    m_value.ui1 = value;
}
void KvVariant::SetChar(char16_t value) {
    Clear();
    m_type = ItemType_char;
    m_value.c = value;
}
void KvVariant::SetBoolean(bool value) {
    Clear();
    m_type = ItemType_boolean;
    m_value.b = value;
}

void KvVariant::SetString(std::u16string value) { Store<std::u16string>(ItemType_string, std::move(value)); }

std::u16string KvVariant::GetString() const {
    return m_type == ItemType_string && m_hasHeld ? Held<std::u16string>() : std::u16string();
}

std::u16string KvVariant::TakeString() {
    if (!m_transient || m_type != ItemType_string || !m_hasHeld) return GetString();
    return std::move(Held<std::u16string>());
}

void KvVariant::SetHexBinary(const CBinaryData& value) {
    auto* stored = new CBinaryData(value);
    Clear();
    m_type = ItemType_hexBinary;
    m_value.bin = stored;
}

CBinaryData KvVariant::GetHexBinary() const {
    return (m_type == ItemType_hexBinary || m_type == ItemType_base64Binary) && m_value.bin != nullptr
               ? CBinaryData(*m_value.bin)
               : CBinaryData();
}

void KvVariant::SetBase64Binary(const CBinaryData& value) {
    auto* stored = new CBinaryData(value);
    Clear();
    m_type = ItemType_base64Binary;
    m_value.bin = stored;
}

CBinaryData KvVariant::GetBase64Binary() const { return GetHexBinary(); }

void KvVariant::SetObject(ItemType kind, CRefCounted* value) {
    // The new reference is taken first: the object may be the one this variant already holds.
    if (value != nullptr) value->AddRef();
    Clear();
    m_type = kind;
    m_value.obj = value;
}

} // namespace KvXmlLib16
