#pragma once

#include <cstdint>
#include <string>

#include "kvxml/platform/KvExport.h"
#include "kvxml/values/CDateTime.h"

namespace KvXmlLib16 {

// XSD duration: a sign and eight unsigned components, kept exactly as set (never normalised).
// Its order is that of its sums with four reference dates.
class KVXML_API CDateTimeSpan {
public:
    CDateTimeSpan();
    CDateTimeSpan(const CDateTimeSpan& other);
    CDateTimeSpan& operator=(const CDateTimeSpan& other);
    CDateTimeSpan(uint32_t hours, uint64_t minutes, uint64_t seconds);
    CDateTimeSpan(uint16_t years, uint32_t months, uint32_t days, uint32_t hours, uint64_t minutes, uint64_t seconds);
    CDateTimeSpan(uint16_t years, uint32_t months, uint32_t days, uint32_t hours, uint64_t minutes, uint64_t seconds,
                  uint16_t milli, uint16_t micro, uint16_t nano);
    virtual ~CDateTimeSpan();

    void SetDateTimeSpan(uint32_t hours, uint64_t minutes, uint64_t seconds);
    void SetDateTimeSpan(uint16_t years, uint32_t months, uint32_t days, uint32_t hours, uint64_t minutes,
                         uint64_t seconds);
    void SetDateTimeSpan(uint16_t years, uint32_t months, uint32_t days, uint32_t hours, uint64_t minutes,
                         uint64_t seconds, uint16_t milli, uint16_t micro, uint16_t nano);

    uint16_t GetYears() const { return m_years; }
    uint32_t GetMonths() const { return m_months; }
    uint32_t GetDays() const { return m_days; }
    uint32_t GetHours() const { return m_hours; }
    uint64_t GetMinutes() const { return m_minutes; }
    uint64_t GetSeconds() const { return m_seconds; }
    uint16_t GetMilliSeconds() const { return m_milli; }
    uint16_t GetMicroSeconds() const { return m_micro; }
    uint16_t GetNanoSeconds() const { return m_nano; }

    void SetYears(uint16_t v) { m_years = v; }
    void SetMonths(uint32_t v) { m_months = v; }
    void SetDays(uint32_t v) { m_days = v; }
    void SetHours(uint32_t v) { m_hours = v; }
    void SetMinutes(uint64_t v) { m_minutes = v; }
    void SetSeconds(uint64_t v) { m_seconds = v; }
    void SetMilliSeconds(uint16_t v) { m_milli = v; }
    void SetMicroSeconds(uint16_t v) { m_micro = v; }
    void SetNanoSeconds(uint16_t v) { m_nano = v; }

    bool IsNegative() const { return m_negative; }
    void Negate() { m_negative = !m_negative; }
    // Sets the sign rather than flipping it: a negative span stays negative.
    CDateTimeSpan GetAsNegative() const;

    std::u16string ToString() const;
    void ParseXSDDuration(const char16_t* text);

    CDateTime::DTCompareResult CompareTo(const CDateTimeSpan& other) const;
    bool operator==(const CDateTimeSpan& other) const { return CompareTo(other) == CDateTime::DTCompareEqual; }
    bool operator!=(const CDateTimeSpan& other) const { return CompareTo(other) != CDateTime::DTCompareEqual; }
    bool operator<(const CDateTimeSpan& other) const { return CompareTo(other) == CDateTime::DTCompareLess; }
    bool operator>(const CDateTimeSpan& other) const { return CompareTo(other) == CDateTime::DTCompareGreater; }

private:
    void Clear();

    uint16_t m_years;
    uint32_t m_months;
    uint32_t m_days;
    uint32_t m_hours;
    uint64_t m_minutes;
    uint64_t m_seconds;
    uint16_t m_milli;
    uint16_t m_micro;
    uint16_t m_nano;
    bool m_negative;
};

} // namespace KvXmlLib16
