#include "kvxml/values/CDateTime.h"

#include <cmath>
#include <cstdlib>
#include <ctime>

#include "kvxml/base/CKvException.h"
#include "kvxml/base/FormatString.h"
#include "kvxml/values/CDateTimeSpan.h"
#include "kvxml/values/DateTimeText.h"

namespace KvXmlLib16 {

using DateTimeText::IsDigit;

namespace {

constexpr unsigned Bit(CDateTime::DTType t) { return 1u << static_cast<unsigned>(t); }

constexpr unsigned kUsesYear =
    Bit(CDateTime::dateTime) | Bit(CDateTime::date) | Bit(CDateTime::gYearMonth) | Bit(CDateTime::gYear);
constexpr unsigned kUsesMonth = Bit(CDateTime::dateTime) | Bit(CDateTime::date) | Bit(CDateTime::gYearMonth) |
                                Bit(CDateTime::gMonth) | Bit(CDateTime::gMonthDay);
constexpr unsigned kUsesDay =
    Bit(CDateTime::dateTime) | Bit(CDateTime::date) | Bit(CDateTime::gDay) | Bit(CDateTime::gMonthDay);
constexpr unsigned kUsesTime = Bit(CDateTime::dateTime) | Bit(CDateTime::time);
constexpr unsigned kDateOrDateTime = Bit(CDateTime::dateTime) | Bit(CDateTime::date);

bool Uses(CDateTime::DTType type, unsigned mask) {
    const uint32_t t = static_cast<uint32_t>(type);
    return t <= 8 && (mask & (1u << t)) != 0;
}

constexpr uint8_t kMonthTable[12] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
constexpr int kDaysBeforeMonth[12] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};

bool IsLeap(int year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

int DaysInMonth(int month, int year) {
    if (month == 2) return IsLeap(year) ? 29 : 28;
    return kMonthTable[month - 1];
}

// Day number of a proleptic Gregorian date with astronomical year numbering (year 0 exists and
// is leap), 0 = 1970-01-01. Divisibility does not depend on the sign, so this is the leap rule
// applied to the signed year as it stands.
int64_t DaysFromCivil(int64_t y, int64_t m, int64_t d) {
    y -= m <= 2 ? 1 : 0;
    const int64_t era = (y >= 0 ? y : y - 399) / 400;
    const int64_t yoe = y - era * 400;
    const int64_t doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    const int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + doe - 719468;
}

void CivilFromDays(int64_t z, int64_t& y, int64_t& m, int64_t& d) {
    z += 719468;
    const int64_t era = (z >= 0 ? z : z - 146096) / 146097;
    const int64_t doe = z - era * 146097;
    const int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const int64_t mp = (5 * doy + 2) / 153;
    d = doy - (153 * mp + 2) / 5 + 1;
    m = mp < 10 ? mp + 3 : mp - 9;
    y = yoe + era * 400 + (m <= 2 ? 1 : 0);
}

// The year field is 16 bits wide: a sum that leaves it is refused rather than wrapped.
constexpr int64_t kLowestYear = -32768, kHighestYear = 32767;
const int64_t kFirstDay = DaysFromCivil(kLowestYear, 1, 1);
const int64_t kLastDay = DaysFromCivil(kHighestYear, 12, 31);

// Components reach 64 bits unsigned, so sums and carries take 128.
using Wide = __int128;

// Exact floor division by a positive divisor.
Wide FloorDiv(Wide value, int divisor) {
    Wide quotient = value / divisor;
    if (value % divisor != 0 && value < 0) --quotient;
    return quotient;
}

[[noreturn]] void ThrowYearRange() {
    throw CKvInvalidValueException(FormatString(u"Invalid Date: adding the duration gives a year outside %d to %d.",
                                                int(kLowestYear), int(kHighestYear)));
}

[[noreturn]] void ThrowValue(const std::u16string& message) { throw CKvInvalidValueException(message); }

int TwoDigits(const char16_t* p) {
    if (!IsDigit(p[0]) || !IsDigit(p[1])) return -1;
    return (p[0] - u'0') * 10 + (p[1] - u'0');
}

int FourDigits(const char16_t* p) {
    const int hi = TwoDigits(p);
    const int lo = TwoDigits(p + 2);
    return hi < 0 || lo < 0 ? -1 : hi * 100 + lo;
}

size_t Length(const char16_t* text) { return std::char_traits<char16_t>::length(text); }

} // namespace

// ---- construction ----

CDateTime::CDateTime() { Clear(); }

CDateTime::CDateTime(DTType type) {
    Clear();
    m_type = type;
}

CDateTime::CDateTime(const char16_t* text) {
    Clear();
    ParseXSDDateTime(text);
}

CDateTime::CDateTime(int64_t time) {
    Clear();
    try {
        *this = time;
    } catch (const CKvInvalidValueException&) {
        Clear();
    }
}

CDateTime::CDateTime(const SYSTEMTIME& st) {
    Clear();
    try {
        *this = st;
    } catch (const CKvInvalidValueException&) {
        Clear();
    }
}

CDateTime::CDateTime(const FILETIME& ft) {
    Clear();
    try {
        *this = ft;
    } catch (const CKvInvalidValueException&) {
        Clear();
    }
}

CDateTime::CDateTime(int16_t year, uint8_t month, uint8_t day) {
    Clear();
    SetDate(year, month, day);
}

CDateTime::CDateTime(int16_t year, uint8_t month, uint8_t day, uint8_t hour, uint8_t minute, uint8_t second) {
    Clear();
    SetDateTime(year, month, day, hour, minute, second);
}

CDateTime::CDateTime(int16_t year, uint8_t month, uint8_t day, uint8_t hour, uint8_t minute, uint8_t second,
                     uint16_t milli, uint16_t micro, uint16_t nano) {
    Clear();
    SetDateTime(year, month, day, hour, minute, second, milli, micro, nano);
}

CDateTime::CDateTime(const CDateTime& other) = default;
CDateTime& CDateTime::operator=(const CDateTime& other) = default;
CDateTime::~CDateTime() = default;

void CDateTime::Clear() {
    m_type = yearZero;
    m_year = 0;
    m_month = m_day = m_hour = m_minute = m_second = 0;
    m_milli = m_micro = m_nano = 0;
    m_isUTC = m_hasTimeZone = false;
    m_zoneHour = 0;
    m_zoneMinute = 0;
}

CDateTime& CDateTime::operator=(int64_t time) {
    // The platform serves 1970 to 3000 only; outside that there are no fields to take over.
    std::tm tm{};
    if (!Platform::GmTime64(time, &tm)) ThrowValue(u"Failed to convert the time to a date");
    SetDateTime(dateTime, static_cast<int16_t>(tm.tm_year + 1900), static_cast<uint8_t>(tm.tm_mon + 1),
                static_cast<uint8_t>(tm.tm_mday), static_cast<uint8_t>(tm.tm_hour), static_cast<uint8_t>(tm.tm_min),
                static_cast<uint8_t>(tm.tm_sec), 0, 0, 0);
    return *this;
}

CDateTime& CDateTime::operator=(const SYSTEMTIME& st) {
    if (st.wYear > 9999)
        ThrowValue(FormatString(u"Invalid Year [%d] (%d <= year <= %d && year != 0)", static_cast<int>(st.wYear), -9999,
                                9999));
    // Out-of-range components stay out of range (255) rather than wrapping into valid ones.
    auto narrow = [](uint16_t v) { return static_cast<uint8_t>(v > 255 ? 255 : v); };
    SetDateTime(dateTime, static_cast<int16_t>(st.wYear), narrow(st.wMonth), narrow(st.wDay), narrow(st.wHour),
                narrow(st.wMinute), narrow(st.wSecond), st.wMilliseconds, 0, 0);
    return *this;
}

CDateTime& CDateTime::operator=(const FILETIME& ft) {
    SYSTEMTIME st{};
    if (!Platform::FileTimeToSystemTime(&ft, &st)) ThrowValue(u"Failed to convert FILETIME to SYSTEMTIME");
    return *this = st;
}

// ---- whole-value setters ----

void CDateTime::SetDateTime(DTType type, int16_t year, uint8_t month, uint8_t day, uint8_t hour, uint8_t minute,
                            uint8_t second, uint16_t milli, uint16_t micro, uint16_t nano) {
    if (m_type != yearZero && m_type != type)
        throw CKvInvalidStateException(FormatString(u"Failed to copy CDateTime. Invalid Date Type: %s, expected: %s.",
                                                    GetTypeAsString(type).c_str(), GetTypeAsString(m_type).c_str()));
    m_isUTC = false;
    m_hasTimeZone = false;
    m_zoneHour = 0;
    m_zoneMinute = 0;
    m_type = type;
    m_year = year;
    m_month = month;
    m_day = day;
    m_hour = hour;
    m_minute = minute;
    m_second = second;
    m_milli = milli;
    m_micro = micro;
    m_nano = nano;
    Validate();
}

void CDateTime::SetDateTime(int16_t year, uint8_t month, uint8_t day, uint8_t hour, uint8_t minute, uint8_t second,
                            uint16_t milli, uint16_t micro, uint16_t nano) {
    SetDateTime(dateTime, year, month, day, hour, minute, second, milli, micro, nano);
}

void CDateTime::SetDate(int16_t year, uint8_t month, uint8_t day) {
    SetDateTime(date, year, month, day, 0, 0, 0, 0, 0, 0);
}

void CDateTime::SetGYearMonth(int16_t year, uint8_t month) {
    SetDateTime(gYearMonth, year, month, 0, 0, 0, 0, 0, 0, 0);
}

void CDateTime::SetGYear(int16_t year) { SetDateTime(gYear, year, 0, 0, 0, 0, 0, 0, 0, 0); }

void CDateTime::SetGMonth(uint8_t month) { SetDateTime(gMonth, 0, month, 0, 0, 0, 0, 0, 0, 0); }

void CDateTime::SetGMonthDay(uint8_t month, uint8_t day) { SetDateTime(gMonthDay, 0, month, day, 0, 0, 0, 0, 0, 0); }

void CDateTime::SetGDay(uint8_t day) { SetDateTime(gDay, 0, 0, day, 0, 0, 0, 0, 0, 0); }

void CDateTime::SetTime(uint8_t hour, uint8_t minute, uint8_t second, uint16_t milli, uint16_t micro, uint16_t nano) {
    SetDateTime(time, 0, 0, 0, hour, minute, second, milli, micro, nano);
}

void CDateTime::SetFracTime(uint16_t milli, uint16_t micro, uint16_t nano) {
    SetDateTime(time, 0, 0, 0, 0, 0, 0, milli, micro, nano);
}

void CDateTime::SetDateTime(const CDateTime& source, DTType type) {
    if (!CheckConversion(source.m_type, type))
        ThrowValue(
            FormatString(u"Attempting to set a CDateTime of type %s using an XmlDateTime of type %s. The source "
                         u"CDateTime does not contian enough data to allow the conversion.",
                         GetTypeAsString(type).c_str(), GetTypeAsString(source.m_type).c_str()));
    *this = source;
    m_type = type;
}

bool CDateTime::CheckConversion(DTType from, DTType to) {
    if (from == to || to == yearZero) return true;
    switch (from) {
    case dateTime: return true;
    case date: return to == gDay || to == gMonth || to == gYear || to == gMonthDay || to == gYearMonth;
    case gYearMonth: return to == gMonth || to == gYear;
    case gMonthDay: return to == gDay || to == gMonth;
    case yearZero:
    case gYear:
    case time:
    case gDay:
    case gMonth: return false;
    }
    ThrowValue(FormatString(u"Unknown date type %d.", static_cast<int>(from)));
}

// ---- field accessors ----

void CDateTime::CheckType(unsigned allowedMask, const char16_t* message) const {
    if (!Uses(m_type, allowedMask))
        throw CKvInvalidStateException(FormatString(message, GetTypeAsString(m_type).c_str()));
}

// The setters report with the getters' words.
#define KVXML_DT_FIELD(Name, Type, member, mask)                            \
    Type CDateTime::Get##Name() const {                                     \
        CheckType(mask, u"Failed to Get" #Name ". Invalid Date Type: %s."); \
        return member;                                                      \
    }                                                                       \
    void CDateTime::Set##Name(Type value) {                                 \
        CheckType(mask, u"Failed to Get" #Name ". Invalid Date Type: %s."); \
        member = value;                                                     \
    }

KVXML_DT_FIELD(Year, int16_t, m_year, kUsesYear)
KVXML_DT_FIELD(Month, uint8_t, m_month, kUsesMonth)
KVXML_DT_FIELD(Day, uint8_t, m_day, kUsesDay)
KVXML_DT_FIELD(Hour, uint8_t, m_hour, kUsesTime)
KVXML_DT_FIELD(Minute, uint8_t, m_minute, kUsesTime)
KVXML_DT_FIELD(Second, uint8_t, m_second, kUsesTime)
KVXML_DT_FIELD(MilliSecond, uint16_t, m_milli, kUsesTime)
KVXML_DT_FIELD(MicroSecond, uint16_t, m_micro, kUsesTime)
KVXML_DT_FIELD(NanoSecond, uint16_t, m_nano, kUsesTime)

#undef KVXML_DT_FIELD

double CDateTime::GetRealSecond() const {
    CheckType(kUsesTime, u"Failed to GetRealSecond. Invalid Date Type: %s.");
    return m_second + m_milli / 1000.0 + m_micro / 1e6 + m_nano / 1e9;
}

int CDateTime::GetDayOfWeek() const {
    CheckType(kDateOrDateTime, u"Failed to GetDayOfWeek. Invalid Date Type: %s.");
    std::tm tm{};
    if (!Platform::LocalTime64(GetTime(), &tm)) ThrowValue(u"Failed to GetDayOfWeek: the time could not be converted");
    return tm.tm_wday + 1;
}

int CDateTime::GetDayOfYear() const {
    CheckType(kDateOrDateTime, u"Failed to GetDayOfYear. Invalid Date Type: %s.");
    if (m_month < 1 || m_month > 12)
        ThrowValue(FormatString(u"Invalid Month [%d] (1 <= month <= 12)", static_cast<int>(m_month)));
    // The leap day is counted for January and February, not from March on: kept as it is.
    return kDaysBeforeMonth[m_month - 1] + m_day + (IsLeap(m_year) && m_month < 3 ? 1 : 0);
}

// ---- zone ----

int16_t CDateTime::GetZoneHour() const {
    if (!m_hasTimeZone) throw CKvInvalidStateException(u"TimeZone is not been used");
    return m_zoneHour;
}

uint8_t CDateTime::GetZoneMinute() const {
    if (!m_hasTimeZone) throw CKvInvalidStateException(u"TimeZone is not been used");
    return m_zoneMinute;
}

void CDateTime::SetTimeZone(int16_t hour, uint8_t minute) {
    if (hour < -23 || hour > 23 || minute > 59)
        ThrowValue(FormatString(u"Invalid TimeZone [%d:%d]", static_cast<int>(hour), static_cast<int>(minute)));
    m_isUTC = true;
    m_hasTimeZone = true;
    m_zoneHour = hour;
    m_zoneMinute = minute;
}

void CDateTime::SetUTC() {
    m_isUTC = true;
    m_hasTimeZone = false;
    m_zoneHour = 0;
    m_zoneMinute = 0;
}

// ---- misc ----

std::u16string CDateTime::GetTypeAsString(DTType type) {
    switch (type) {
    case yearZero: return u"yearZero";
    case dateTime: return u"dateTime";
    case date: return u"date";
    case gYearMonth: return u"gYearMonth";
    case gYear: return u"gYear";
    case time: return u"time";
    case gDay: return u"gDay";
    case gMonth: return u"gMonth";
    case gMonthDay: return u"gMonthDay";
    }
    return std::u16string();
}

int64_t CDateTime::GetTime() const {
    const CDateTime n = GetNormalized();
    if (!Uses(n.m_type, kDateOrDateTime))
        ThrowValue(FormatString(u"Failed to GetTime, Date Status must be dateTime or date. Invalid Date Type: %s.",
                                GetTypeAsString(n.m_type).c_str()));
    std::tm tm{};
    tm.tm_year = n.m_year - 1900;
    tm.tm_mon = n.m_month - 1;
    tm.tm_mday = n.m_day;
    if (n.m_type == dateTime) {
        tm.tm_hour = n.m_hour;
        tm.tm_min = n.m_minute;
        tm.tm_sec = n.m_second;
    }
    tm.tm_isdst = -1;
    // The platform's local conversion decides which instants are served (outside its range it
    // fails, and that failure is what the caller gets). The fields themselves are UTC, so adding
    // the local offset back gives exactly their own count, also inside a daylight-saving gap.
    const int64_t clock = tm.tm_hour * 3600 + tm.tm_min * 60 + tm.tm_sec;
    if (Platform::MkTime64(&tm) == -1) return -1;
    return DaysFromCivil(n.m_year, n.m_month, n.m_day) * 86400 + clock;
}

SYSTEMTIME CDateTime::GetAsSystemTime() const {
    if (m_type != dateTime)
        ThrowValue(FormatString(u"Failed to GetAsSystemTime, Date Status must be dateTime. Invalid Date Type: %s.",
                                GetTypeAsString(m_type).c_str()));
    SYSTEMTIME st{};
    st.wYear = static_cast<uint16_t>(m_year);
    st.wMonth = m_month;
    st.wDayOfWeek = static_cast<uint16_t>(GetDayOfWeek() - 1);
    st.wDay = m_day;
    st.wHour = m_hour;
    st.wMinute = m_minute;
    st.wSecond = m_second;
    st.wMilliseconds = m_milli;
    return st;
}

CDateTime CDateTime::GetTickCount() {
    SYSTEMTIME st{};
    Platform::GetLocalTime(&st);
    return CDateTime(st);
}

CDateTime CDateTime::GetNormalized() const {
    CDateTime copy(*this);
    if (m_hasTimeZone) {
        try {
            CDateTimeSpan span(static_cast<uint32_t>(std::abs(m_zoneHour)), m_zoneMinute, 0);
            if (m_zoneHour >= 0) span.Negate();
            copy.AddDateTimeSpan(span);
            copy.SetTimeZone(0, 0);
        } catch (const CKvInvalidValueException&) {}
    }
    return copy;
}

// ---- validation ----

void CDateTime::Validate() const {
    if (m_type == yearZero) ThrowValue(u"Invalid Year Zero");
    const auto name = [this] { return GetTypeAsString(m_type); };

    if (Uses(m_type, kUsesMonth)) {
        if (m_month < 1 || m_month > 12)
            ThrowValue(FormatString(u"Invalid Month [%d] (1 <= month <= 12)", static_cast<int>(m_month)));
    } else if (m_month != 0) {
        ThrowValue(FormatString(u"Invalid Month [%d] for type %s", static_cast<int>(m_month), name().c_str()));
    }

    if (Uses(m_type, kUsesYear)) {
        if (m_year < -9999 || m_year > 9999 || m_year == 0)
            ThrowValue(FormatString(u"Invalid Year [%d] (%d <= year <= %d && year != 0)", static_cast<int>(m_year),
                                    -9999, 9999));
    } else if (m_year != 0) {
        ThrowValue(FormatString(u"Invalid Year [%d] for type %s", static_cast<int>(m_year), name().c_str()));
    }

    if (m_type == date || m_type == dateTime) {
        if (m_day < 1 || m_day > kMonthTable[m_month - 1] || (m_month == 2 && m_day == 29 && !IsLeap(m_year)))
            ThrowValue(FormatString(u"Invalid Day [%d] (1 <= day <= days in month", static_cast<int>(m_day)));
    } else if (m_type == gMonthDay) {
        if (m_day < 1 || m_day > kMonthTable[m_month - 1])
            ThrowValue(FormatString(u"Invalid Day [%d] (1 <= day <= days in month)", static_cast<int>(m_day)));
    } else if (m_type == gDay) {
        // No upper bound: the month is 0 for this type.
        if (m_day < 1) ThrowValue(FormatString(u"Invalid Day [%d] (1 <= day <= 31)", static_cast<int>(m_day)));
    } else if (m_day != 0) {
        ThrowValue(FormatString(u"Invalid Day [%d] for type %s", static_cast<int>(m_day), name().c_str()));
    }

    const struct {
        int value, max;
        const char16_t* outOfRange;
        const char16_t* forType;
    } clock[] = {
        {m_hour, 23, u"Invalid Hour [%d] (0 <= hour <= 23)", u"Invalid Hour [%d] for type %s"},
        {m_minute, 59, u"Invalid Minute [%d] (0 <= minute <= 59)", u"Invalid Minute [%d] for type %s"},
        {m_second, 59, u"Invalid Second [%d] (0 <= second <= 59)", u"Invalid Second [%d] for type %s"},
        {m_milli, 999, u"Invalid Milli-Second [%d] (0 <= milli <= 999)", u"Invalid Milli-Second [%d] for type %s"},
        {m_micro, 999, u"Invalid Micro-Second [%d] (0 <= micro <= 999)", u"Invalid Micro-Second [%d] for type %s"},
        {m_nano, 999, u"Invalid Nano-Second [%d] (0 <= nano <= 999)", u"Invalid Nano-Second [%d] for type %s"},
    };
    const bool usesTime = Uses(m_type, kUsesTime);
    for (const auto& f : clock) {
        if (usesTime && f.value > f.max) ThrowValue(FormatString(f.outOfRange, f.value));
        if (!usesTime && f.value != 0) ThrowValue(FormatString(f.forType, f.value, name().c_str()));
    }
}

// ---- parsing ----

void CDateTime::ScanZone(const char16_t* text, size_t length) {
    if (length == 0) return;
    if (text[0] == u'Z') {
        m_isUTC = true;
        m_hasTimeZone = false;
        m_zoneHour = 0;
        m_zoneMinute = 0;
        return;
    }
    if (text[0] != u'+' && text[0] != u'-') return;
    int hour = -1, minute = -1;
    if (length == 6 && text[3] == u':') {
        hour = TwoDigits(text + 1);
        minute = TwoDigits(text + 4);
    }
    if (hour < 0 || minute < 0)
        ThrowValue(FormatString(u"Invalid XSD Time Zone [%s].", std::u16string(text, length).c_str()));
    if (hour == 24) hour = 0; // tolerates "+24:00"
    if (text[0] == u'-') hour = -hour;
    SetTimeZone(static_cast<int16_t>(hour), static_cast<uint8_t>(minute));
}

void CDateTime::ScanDate(const char16_t* text, size_t length) {
    if (text == nullptr) ThrowValue(u"Invalid Date (Null String)");
    if (length == 0) ThrowValue(u"Invalid Date (Empty String)");
    bool colon = false;
    for (size_t i = 0; i < length; ++i) {
        if (text[i] == u'T') ThrowValue(u"Invalid Date ('T' not allowed)");
        if (text[i] == u':') colon = true;
    }
    const bool zulu = text[length - 1] == u'Z';
    if (zulu && colon) ThrowValue(u"Invalid Date (Bad Zone value)");

    const auto fail = [&] {
        ThrowValue(FormatString(u"Invalid XSD Date [%s] expected CCYY-MM-DD[Z|[+|-]hh:mm]",
                                std::u16string(text, length).c_str()));
    };
    const size_t zoneLength = zulu ? 1 : colon ? 6 : 0;
    if (zoneLength > length) fail();
    const size_t zonePos = length - zoneLength;
    size_t l = zonePos;

    if (length >= 2 && text[0] == u'-' && text[1] == u'-') {
        int month = 0, day = 0;
        DTType type = yearZero;
        if (l == 4 || l == 6) { // "--MM", and the old "--MM--" with the tail unread
            month = TwoDigits(text + 2);
            type = gMonth;
        } else if (l == 5) {
            day = text[2] == u'-' ? TwoDigits(text + 3) : -1;
            type = gDay;
        } else if (l == 7) {
            month = TwoDigits(text + 2);
            day = text[4] == u'-' ? TwoDigits(text + 5) : -1;
            type = gMonthDay;
        } else {
            fail();
        }
        if (month < 0 || day < 0) fail();
        m_type = type;
        m_month = static_cast<uint8_t>(month);
        m_day = static_cast<uint8_t>(day);
    } else {
        const char16_t* p = text;
        const bool negative = l > 0 && text[0] == u'-';
        if (negative) {
            ++p;
            --l;
        }
        int year = -1, month = 0, day = 0;
        DTType type = yearZero;
        if (l == 4 || l == 7 || l == 10) {
            year = FourDigits(p);
            type = gYear;
            if (l >= 7) {
                month = p[4] == u'-' ? TwoDigits(p + 5) : -1;
                type = gYearMonth;
            }
            if (l == 10) {
                day = p[7] == u'-' ? TwoDigits(p + 8) : -1;
                type = date;
            }
        }
        if (year < 0 || month < 0 || day < 0) fail();
        m_type = type;
        m_year = static_cast<int16_t>(negative ? -year : year);
        m_month = static_cast<uint8_t>(month);
        m_day = static_cast<uint8_t>(day);
    }
    if (zoneLength != 0) ScanZone(text + zonePos, zoneLength);
}

void CDateTime::ScanTime(const char16_t* text, size_t length) {
    if (text == nullptr) ThrowValue(u"Invalid Time (Null String)");
    if (length == 0) ThrowValue(u"Invalid XSD Time (Empty String)");
    int hour = -1, minute = -1, second = -1;
    if (length >= 8 && text[2] == u':' && text[5] == u':') {
        hour = TwoDigits(text);
        minute = TwoDigits(text + 3);
        second = TwoDigits(text + 6);
    }
    if (hour < 0 || minute < 0 || second < 0 || hour > 23 || minute > 59 || second > 59)
        ThrowValue(FormatString(u"Invalid XSD Time [%s] expected hh:mm:ss[.ff]", std::u16string(text, length).c_str()));
    m_hour = static_cast<uint8_t>(hour);
    m_minute = static_cast<uint8_t>(minute);
    m_second = static_cast<uint8_t>(second);
    size_t pos = 8;
    if (pos < length && text[pos] == u'.') {
        ++pos;
        static constexpr uint16_t kWeight[3] = {100, 10, 1};
        int count = 0;
        for (; pos < length && IsDigit(text[pos]); ++pos, ++count) {
            if (count == 9)
                ThrowValue(FormatString(u"Invalid XSD Time [%s] Fraction part too long",
                                        std::u16string(text, length).c_str()));
            const uint16_t add = static_cast<uint16_t>((text[pos] - u'0') * kWeight[count % 3]);
            uint16_t& field = count < 3 ? m_milli : count < 6 ? m_micro : m_nano;
            field = static_cast<uint16_t>(field + add);
        }
    }
    ScanZone(text + pos, length - pos);
    m_type = time;
}

void CDateTime::ParseXSDDate(const char16_t* text) {
    Clear();
    ScanDate(text, text ? Length(text) : 0);
    Validate();
}

void CDateTime::ParseXSDTime(const char16_t* text) {
    Clear();
    ScanTime(text, text ? Length(text) : 0);
    Validate();
}

void CDateTime::ParseXSDDateTime(const char16_t* text) {
    if (text == nullptr) ThrowValue(u"Invalid DateTime (Null String)");
    const size_t length = Length(text);
    size_t t = 0;
    while (t < length && text[t] != u'T') ++t;
    if (t == length) ThrowValue(FormatString(u"Invalid XSD DateTime [%s].", text));
    Clear();
    ScanDate(text, t);
    if (m_type != date) ThrowValue(FormatString(u"Invalid XSD DateTime [%s] expected CCYY-MM-DDThh:mm:ss[.ff]", text));
    ScanTime(text + t + 1, length - t - 1);
    m_type = dateTime;
    Validate();
}

// ---- text ----

std::u16string CDateTime::ToString() const { return ToString(u"s"); }

std::u16string CDateTime::ToString(const char16_t* format) const {
    if (m_type == yearZero || (m_type != time && m_year == 0 && m_month == 0 && m_day == 0 && m_hour == 0 &&
                               m_minute == 0 && m_second == 0 && m_milli == 0 && m_micro == 0 && m_nano == 0))
        return u"Error: Date Not Set";
    const std::u16string_view fmt = format ? std::u16string_view(format) : std::u16string_view();
    if (fmt.empty() || fmt == u"G") return std::u16string();
    if (fmt != u"s") return u"Unknown Format: " + std::u16string(fmt);

    using DateTimeText::AppendNumber;
    std::u16string out;
    out.reserve(40);
    const auto year = [&] {
        if (m_year < 0) out.push_back(u'-');
        AppendNumber(out, static_cast<uint64_t>(std::abs(static_cast<int>(m_year))), 4);
    };
    const auto clock = [&] {
        AppendNumber(out, m_hour, 2);
        out.push_back(u':');
        AppendNumber(out, m_minute, 2);
        out.push_back(u':');
        AppendNumber(out, m_second, 2);
        DateTimeText::AppendFraction(out, m_milli, m_micro, m_nano);
    };
    switch (m_type) {
    case dateTime:
    case date:
    case gYearMonth:
    case gYear:
        year();
        if (m_type == gYear) break;
        out.push_back(u'-');
        AppendNumber(out, m_month, 2);
        if (m_type == gYearMonth) break;
        out.push_back(u'-');
        AppendNumber(out, m_day, 2);
        if (m_type == date) break;
        out.push_back(u'T');
        clock();
        break;
    case time: clock(); break;
    case gDay:
        out.append(u"---");
        AppendNumber(out, m_day, 2);
        break;
    case gMonth:
    case gMonthDay:
        out.append(u"--");
        AppendNumber(out, m_month, 2);
        if (m_type == gMonthDay) {
            out.push_back(u'-');
            AppendNumber(out, m_day, 2);
        }
        break;
    case yearZero: break;
    }
    if (m_isUTC) {
        if (!m_hasTimeZone) {
            out.push_back(u'Z');
        } else {
            out.push_back(m_zoneHour < 0 ? u'-' : u'+');
            AppendNumber(out, static_cast<uint64_t>(std::abs(static_cast<int>(m_zoneHour))), 2);
            out.push_back(u':');
            AppendNumber(out, m_zoneMinute, 2);
        }
    }
    return out;
}

// ---- comparison ----

CDateTime::DTCompareResult CDateTime::CompareFields(const CDateTime& other) const {
    const auto fields = [](const CDateTime& v, double(&f)[6]) {
        const bool time = Uses(v.m_type, kUsesTime);
        f[0] = Uses(v.m_type, kUsesYear) ? v.m_year : -1;
        f[1] = Uses(v.m_type, kUsesMonth) ? v.m_month : -1;
        f[2] = Uses(v.m_type, kUsesDay) ? v.m_day : -1;
        f[3] = time ? v.m_hour : -1;
        f[4] = time ? v.m_minute : -1;
        f[5] = time ? v.m_second + v.m_milli / 1000.0 + v.m_micro / 1e6 + v.m_nano / 1e9 : -1;
    };
    double a[6], b[6];
    fields(*this, a);
    fields(other, b);
    for (int i = 0; i < 6; ++i) {
        // A field used on one side only, or years of opposite signs, cannot be ordered.
        if (a[i] * b[i] < 0) return DTCompareIndeterminate;
        if (a[i] < b[i]) return DTCompareLess;
        if (a[i] > b[i]) return DTCompareGreater;
    }
    return DTCompareEqual;
}

CDateTime CDateTime::WithZoneNormalized(int16_t zoneHour) const {
    CDateTime c(*this);
    c.SetTimeZone(zoneHour, 0);
    return c.GetNormalized();
}

CDateTime::DTCompareResult CDateTime::CompareTo(const CDateTime& other) const {
    const CDateTime p = m_hasTimeZone ? GetNormalized() : *this;
    const CDateTime q = other.m_hasTimeZone ? other.GetNormalized() : other;
    if (p.m_isUTC == q.m_isUTC) return p.CompareFields(q);
    // One side has no zone: it may lie anywhere within 14 hours either way. Normalising
    // swallows its own failures, so nothing here throws.
    if (p.m_isUTC) {
        if (p.CompareFields(q.WithZoneNormalized(14)) == DTCompareLess) return DTCompareLess;
        if (p.CompareFields(q.WithZoneNormalized(-14)) == DTCompareGreater) return DTCompareGreater;
    } else {
        if (p.WithZoneNormalized(14).CompareFields(q) == DTCompareGreater) return DTCompareGreater;
        if (p.WithZoneNormalized(-14).CompareFields(q) == DTCompareLess) return DTCompareLess;
    }
    return DTCompareIndeterminate;
}

bool CDateTime::operator<=(const CDateTime& other) const {
    const DTCompareResult r = CompareTo(other);
    return r == DTCompareLess || r == DTCompareEqual;
}

bool CDateTime::operator>=(const CDateTime& other) const {
    const DTCompareResult r = CompareTo(other);
    return r == DTCompareGreater || r == DTCompareEqual;
}

// ---- arithmetic ----

void CDateTime::AddDateTimeSpan(const CDateTimeSpan& span) {
    const Wide sign = span.IsNegative() ? -1 : 1;

    const Wide monthTemp = Wide(m_month) + sign * Wide(span.GetMonths()) - 1;
    const Wide monthCarry = FloorDiv(monthTemp, 12);
    const Wide year = Wide(m_year) + sign * Wide(span.GetYears()) + monthCarry;
    if (year < kLowestYear || year > kHighestYear) ThrowYearRange();
    m_month = static_cast<uint8_t>(monthTemp - 12 * monthCarry + 1);
    m_year = static_cast<int16_t>(year);

    Wide carry = 0;
    const auto step = [&](uint64_t field, uint64_t add, int divisor) {
        const Wide temp = Wide(field) + sign * Wide(add) + carry;
        carry = FloorDiv(temp, divisor);
        return temp - divisor * carry;
    };
    m_nano = static_cast<uint16_t>(step(m_nano, span.GetNanoSeconds(), 1000));
    m_micro = static_cast<uint16_t>(step(m_micro, span.GetMicroSeconds(), 1000));
    m_milli = static_cast<uint16_t>(step(m_milli, span.GetMilliSeconds(), 1000));
    m_second = static_cast<uint8_t>(step(m_second, span.GetSeconds(), 60));
    m_minute = static_cast<uint8_t>(step(m_minute, span.GetMinutes(), 60));
    m_hour = static_cast<uint8_t>(step(m_hour, span.GetHours(), 24));
    // At most about 2^64 / 1440 + 2^32 days: far inside 64 bits.
    AddDays(static_cast<int64_t>(carry + sign * Wide(span.GetDays())));
}

// Moves the day by days, month by month, without limiting the starting day to its month:
// 31 January plus a month stays "31 February" until something validates it.
void CDateTime::AddDays(int64_t days) {
    while (days != 0) {
        if (m_month < 1 || m_month > 12)
            ThrowValue(FormatString(u"Invalid Month [%d] (1 <= month <= 12)", static_cast<int>(m_month)));
        const int length = DaysInMonth(m_month, m_year);
        if (m_day >= 1 && m_day <= length && (days > 400 || days < -400)) {
            // From a day inside its month the walk is plain calendar arithmetic, so the remaining
            // days are added in one go.
            const int64_t from = DaysFromCivil(m_year, m_month, m_day);
            if (days < kFirstDay - from || days > kLastDay - from) ThrowYearRange();
            int64_t y, m, d;
            CivilFromDays(from + days, y, m, d);
            m_year = static_cast<int16_t>(y);
            m_month = static_cast<uint8_t>(m);
            m_day = static_cast<uint8_t>(d);
            return;
        }
        if (days < 0) {
            if (m_day - 1 < -days) {
                days += m_day;
                if (--m_month == 0) {
                    if (m_year == kLowestYear) ThrowYearRange();
                    m_month = 12;
                    m_year = static_cast<int16_t>(m_year - 1);
                }
                m_day = static_cast<uint8_t>(DaysInMonth(m_month, m_year));
            } else {
                m_day = static_cast<uint8_t>(m_day + days);
                days = 0;
            }
        } else {
            if (m_day + days > length) {
                days -= length - m_day + 1;
                m_day = 1;
                if (++m_month == 13) {
                    if (m_year == kHighestYear) ThrowYearRange();
                    m_month = 1;
                    m_year = static_cast<int16_t>(m_year + 1);
                }
            } else {
                m_day = static_cast<uint8_t>(m_day + days);
                days = 0;
            }
        }
    }
}

CDateTime CDateTime::operator+(const CDateTimeSpan& span) const {
    CDateTime copy(*this);
    copy.AddDateTimeSpan(span);
    return copy;
}

CDateTime& CDateTime::operator+=(const CDateTimeSpan& span) {
    AddDateTimeSpan(span);
    return *this;
}

CDateTime CDateTime::operator-(const CDateTimeSpan& span) const { return *this + span.GetAsNegative(); }

CDateTime& CDateTime::operator-=(const CDateTimeSpan& span) {
    AddDateTimeSpan(span.GetAsNegative());
    return *this;
}

CDateTimeSpan CDateTime::operator-(const CDateTime&) const { return CDateTimeSpan(); }

} // namespace KvXmlLib16
