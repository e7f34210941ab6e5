#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "kvxml/platform/KvExport.h"
#include "kvxml/platform/KvPlatform.h"

namespace KvXmlLib16 {

class CDateTimeSpan;

// One class for the nine XSD date and time kinds: a type tag plus the union of their fields.
// Fields the tag does not use are kept 0 (Validate enforces it).
class KVXML_API CDateTime {
public:
    enum DTType : int32_t {
        yearZero = 0,
        dateTime = 1,
        date = 2,
        gYearMonth = 3,
        gYear = 4,
        time = 5,
        gDay = 6,
        gMonth = 7,
        gMonthDay = 8
    };

    enum DTCompareResult : int32_t {
        DTCompareEqual = 0,
        DTCompareLess = 1,
        DTCompareGreater = 2,
        DTCompareIndeterminate = 3
    };

    CDateTime();
    explicit CDateTime(DTType type);
    CDateTime(const char16_t* text);
    explicit CDateTime(int64_t time);
    CDateTime(const SYSTEMTIME& st);
    CDateTime(const FILETIME& ft);
    CDateTime(int16_t year, uint8_t month, uint8_t day);
    CDateTime(int16_t year, uint8_t month, uint8_t day, uint8_t hour, uint8_t minute, uint8_t second);
    CDateTime(int16_t year, uint8_t month, uint8_t day, uint8_t hour, uint8_t minute, uint8_t second, uint16_t milli,
              uint16_t micro, uint16_t nano);
    CDateTime(const CDateTime& other);
    CDateTime& operator=(const CDateTime& other);
    virtual ~CDateTime();

    // Seconds since 1 January 1970 UTC, broken down into a dateTime.
    CDateTime& operator=(int64_t time);
    CDateTime& operator=(const SYSTEMTIME& st);
    CDateTime& operator=(const FILETIME& ft);

    // Whole-value setters; each validates the result.
    void SetDateTime(int16_t year, uint8_t month, uint8_t day, uint8_t hour, uint8_t minute, uint8_t second,
                     uint16_t milli = 0, uint16_t micro = 0, uint16_t nano = 0);
    void SetDate(int16_t year, uint8_t month, uint8_t day);
    void SetGYearMonth(int16_t year, uint8_t month);
    void SetGYear(int16_t year);
    void SetGMonth(uint8_t month);
    void SetGMonthDay(uint8_t month, uint8_t day);
    void SetGDay(uint8_t day);
    void SetTime(uint8_t hour, uint8_t minute, uint8_t second, uint16_t milli = 0, uint16_t micro = 0,
                 uint16_t nano = 0);
    void SetFracTime(uint16_t milli, uint16_t micro, uint16_t nano);
    // Copies every field (zone included) and retypes the copy; no clearing, no validation.
    void SetDateTime(const CDateTime& source, DTType type);

    static bool CheckConversion(DTType from, DTType to);

    // Field accessors: the type must use the field. Setters store without validating.
    int16_t GetYear() const;
    void SetYear(int16_t year);
    uint8_t GetMonth() const;
    void SetMonth(uint8_t month);
    uint8_t GetDay() const;
    void SetDay(uint8_t day);
    uint8_t GetHour() const;
    void SetHour(uint8_t hour);
    uint8_t GetMinute() const;
    void SetMinute(uint8_t minute);
    uint8_t GetSecond() const;
    void SetSecond(uint8_t second);
    uint16_t GetMilliSecond() const;
    void SetMilliSecond(uint16_t milli);
    uint16_t GetMicroSecond() const;
    void SetMicroSecond(uint16_t micro);
    uint16_t GetNanoSecond() const;
    void SetNanoSecond(uint16_t nano);
    double GetRealSecond() const;
    // 1 for Sunday to 7 for Saturday.
    int GetDayOfWeek() const;
    int GetDayOfYear() const;

    // IsUTC: any zone is held ("Z" or an offset). HasTimeZone: a numeric offset is held.
    bool IsUTC() const { return m_isUTC; }
    bool HasTimeZone() const { return m_hasTimeZone; }
    int16_t GetZoneHour() const;
    uint8_t GetZoneMinute() const;
    void SetTimeZone(int16_t hour, uint8_t minute);
    void SetUTC();

    DTType GetType() const { return m_type; }
    std::u16string GetTypeAsString() const { return GetTypeAsString(m_type); }
    int64_t GetTime() const;
    SYSTEMTIME GetAsSystemTime() const;
    CDateTime GetNormalized() const;
    static CDateTime GetTickCount();

    void ParseXSDDateTime(const char16_t* text);
    void ParseXSDDate(const char16_t* text);
    void ParseXSDTime(const char16_t* text);
    void Validate() const;

    std::u16string ToString() const;
    std::u16string ToString(const char16_t* format) const;

    DTCompareResult CompareTo(const CDateTime& other) const;
    bool operator==(const CDateTime& other) const { return CompareTo(other) == DTCompareEqual; }
    bool operator!=(const CDateTime& other) const { return CompareTo(other) != DTCompareEqual; }
    bool operator<(const CDateTime& other) const { return CompareTo(other) == DTCompareLess; }
    bool operator<=(const CDateTime& other) const;
    bool operator>(const CDateTime& other) const { return CompareTo(other) == DTCompareGreater; }
    bool operator>=(const CDateTime& other) const;

    void AddDateTimeSpan(const CDateTimeSpan& span);
    CDateTime operator+(const CDateTimeSpan& span) const;
    CDateTime& operator+=(const CDateTimeSpan& span);
    CDateTime operator-(const CDateTimeSpan& span) const;
    CDateTime& operator-=(const CDateTimeSpan& span);
    // The difference of two dates is not computed: always a zero duration.
    CDateTimeSpan operator-(const CDateTime& other) const;

    // Scanners shared with the text conversions. They fill fields and type but do not validate.
    // The date scanner takes the text with its length (not necessarily NUL-terminated).
    void ScanDate(const char16_t* text, size_t length);
    void ScanTime(const char16_t* text, size_t length);

private:
    static std::u16string GetTypeAsString(DTType type);
    void Clear();
    void SetDateTime(DTType type, int16_t year, uint8_t month, uint8_t day, uint8_t hour, uint8_t minute,
                     uint8_t second, uint16_t milli, uint16_t micro, uint16_t nano);
    void ScanZone(const char16_t* text, size_t length);
    DTCompareResult CompareFields(const CDateTime& other) const;
    CDateTime WithZoneNormalized(int16_t zoneHour) const;
    void AddDays(int64_t days);
    void CheckType(unsigned allowedMask, const char16_t* message) const;

    DTType m_type;
    int16_t m_year;
    uint8_t m_month;
    uint8_t m_day;
    uint8_t m_hour;
    uint8_t m_minute;
    uint8_t m_second;
    uint16_t m_milli;
    uint16_t m_micro;
    uint16_t m_nano;
    bool m_isUTC;
    bool m_hasTimeZone;
    int16_t m_zoneHour;
    uint8_t m_zoneMinute;
};

} // namespace KvXmlLib16

#include "kvxml/values/CDateTimeSpan.h"
