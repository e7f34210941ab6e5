#include "kvxml/values/CDateTimeSpan.h"

#include <cstdint>

#include "kvxml/base/CKvException.h"
#include "kvxml/base/FormatString.h"
#include "kvxml/values/DateTimeText.h"

namespace KvXmlLib16 {

CDateTimeSpan::CDateTimeSpan() { Clear(); }

CDateTimeSpan::CDateTimeSpan(const CDateTimeSpan& other) = default;
CDateTimeSpan& CDateTimeSpan::operator=(const CDateTimeSpan& other) = default;
CDateTimeSpan::~CDateTimeSpan() = default;

CDateTimeSpan::CDateTimeSpan(uint32_t hours, uint64_t minutes, uint64_t seconds) {
    SetDateTimeSpan(hours, minutes, seconds);
}

CDateTimeSpan::CDateTimeSpan(uint16_t years, uint32_t months, uint32_t days, uint32_t hours, uint64_t minutes,
                             uint64_t seconds) {
    SetDateTimeSpan(years, months, days, hours, minutes, seconds);
}

CDateTimeSpan::CDateTimeSpan(uint16_t years, uint32_t months, uint32_t days, uint32_t hours, uint64_t minutes,
                             uint64_t seconds, uint16_t milli, uint16_t micro, uint16_t nano) {
    SetDateTimeSpan(years, months, days, hours, minutes, seconds, milli, micro, nano);
}

void CDateTimeSpan::Clear() {
    m_years = 0;
    m_months = m_days = m_hours = 0;
    m_minutes = m_seconds = 0;
    m_milli = m_micro = m_nano = 0;
    m_negative = false;
}

void CDateTimeSpan::SetDateTimeSpan(uint32_t hours, uint64_t minutes, uint64_t seconds) {
    SetDateTimeSpan(0, 0, 0, hours, minutes, seconds, 0, 0, 0);
}

void CDateTimeSpan::SetDateTimeSpan(uint16_t years, uint32_t months, uint32_t days, uint32_t hours, uint64_t minutes,
                                    uint64_t seconds) {
    SetDateTimeSpan(years, months, days, hours, minutes, seconds, 0, 0, 0);
}

void CDateTimeSpan::SetDateTimeSpan(uint16_t years, uint32_t months, uint32_t days, uint32_t hours, uint64_t minutes,
                                    uint64_t seconds, uint16_t milli, uint16_t micro, uint16_t nano) {
    m_years = years;
    m_months = months;
    m_days = days;
    m_hours = hours;
    m_minutes = minutes;
    m_seconds = seconds;
    m_milli = milli;
    m_micro = micro;
    m_nano = nano;
    m_negative = false;
}

CDateTimeSpan CDateTimeSpan::GetAsNegative() const {
    CDateTimeSpan copy(*this);
    copy.m_negative = true;
    return copy;
}

std::u16string CDateTimeSpan::ToString() const {
    using DateTimeText::AppendNumber;
    std::u16string out(m_negative ? u"-P" : u"P");
    const auto part = [&out](uint64_t value, char16_t designator) {
        if (value != 0) {
            AppendNumber(out, value);
            out.push_back(designator);
        }
    };
    part(m_years, u'Y');
    part(m_months, u'M');
    part(m_days, u'D');
    const bool fraction = m_milli != 0 || m_micro != 0 || m_nano != 0;
    if (m_hours == 0 && m_minutes == 0 && m_seconds == 0 && !fraction) return out;
    out.push_back(u'T');
    part(m_hours, u'H');
    part(m_minutes, u'M');
    if (m_seconds != 0 || fraction) {
        AppendNumber(out, m_seconds);
        DateTimeText::AppendFraction(out, m_milli, m_micro, m_nano);
        out.push_back(u'S');
    }
    return out;
}

void CDateTimeSpan::ParseXSDDuration(const char16_t* text) {
    Clear();
    if (text == nullptr) throw CKvInvalidValueException(u"Invalid XSD Duration (Null String)");
    if (*text == 0) throw CKvInvalidValueException(u"Invalid XSD Duration (Empty String)");
    const auto fail = [text] {
        throw CKvInvalidValueException(
            FormatString(u"Invalid XSD Duration [%s] expected [-]P[nY][nM][nD][T[nH][nM][nS.ff]]", text));
    };
    const char16_t* p = text;
    if (*p == u'-') {
        m_negative = true;
        ++p;
    }
    if (*p != u'P') fail();
    ++p;

    int state = 0;
    while (*p != 0) {
        // A number is never wrapped into its field: one that does not fit is refused.
        uint64_t number = 0;
        bool tooLarge = false;
        for (; DateTimeText::IsDigit(*p); ++p) {
            const uint64_t digit = static_cast<uint64_t>(*p - u'0');
            if (number > (UINT64_MAX - digit) / 10)
                tooLarge = true;
            else
                number = number * 10u + digit;
        }
        const auto fitting = [&](uint64_t limit) {
            if (tooLarge || number > limit) fail();
            return number;
        };
        const char16_t designator = *p;
        if (designator == 0) fail();
        ++p;
        switch (designator) {
        case u'Y': // accepted in any state, deliberately
            m_years = static_cast<uint16_t>(fitting(UINT16_MAX));
            state = 1;
            break;
        case u'M':
            if (state < 2) {
                m_months = static_cast<uint32_t>(fitting(UINT32_MAX));
                state = 2;
            } else if (state == 4 || state == 5) {
                m_minutes = fitting(UINT64_MAX);
                state = 6;
            } else {
                fail();
            }
            break;
        case u'D':
            if (state > 2) fail();
            m_days = static_cast<uint32_t>(fitting(UINT32_MAX));
            state = 3;
            break;
        case u'T':
            if (state > 3) fail();
            state = 4;
            break;
        case u'H':
            if (state != 4) fail();
            m_hours = static_cast<uint32_t>(fitting(UINT32_MAX));
            state = 5;
            break;
        case u'S':
            if (state < 4 || state > 6) fail();
            m_seconds = fitting(UINT64_MAX);
            state = 7;
            break;
        case u'.': {
            if (state < 4 || state > 6) fail();
            m_seconds = fitting(UINT64_MAX);
            static constexpr uint16_t kWeight[6] = {100, 10, 1, 100, 10, 1};
            int count = 0;
            for (; DateTimeText::IsDigit(*p); ++p, ++count) {
                if (count == 9)
                    throw CKvInvalidValueException(
                        FormatString(u"Invalid XSD Duration [%s] Fraction part too long", text));
                const uint16_t digit = static_cast<uint16_t>(*p - u'0');
                if (count < 3)
                    m_milli = static_cast<uint16_t>(m_milli + digit * kWeight[count]);
                else if (count < 6)
                    m_micro = static_cast<uint16_t>(m_micro + digit * kWeight[count]);
                else
                    m_nano = digit; // each of the last three replaces it, unweighted: kept as it is
            }
            if (*p != u'S') fail();
            ++p;
            state = 8;
            break;
        }
        default: fail();
        }
    }
    if (state == 0 || state == 4) fail();
}

CDateTime::DTCompareResult CDateTimeSpan::CompareTo(const CDateTimeSpan& other) const {
    static const int16_t kReference[4][3] = {{1696, 9, 1}, {1697, 2, 1}, {1903, 3, 1}, {1903, 7, 1}};
    try {
        CDateTime::DTCompareResult first = CDateTime::DTCompareIndeterminate;
        for (int i = 0; i < 4; ++i) {
            CDateTime reference(kReference[i][0], static_cast<uint8_t>(kReference[i][1]),
                                static_cast<uint8_t>(kReference[i][2]));
            reference.SetUTC();
            const CDateTime::DTCompareResult r = (reference + *this).CompareTo(reference + other);
            if (r == CDateTime::DTCompareIndeterminate || (i > 0 && r != first))
                return CDateTime::DTCompareIndeterminate;
            first = r;
        }
        return first;
    } catch (const CKvInvalidValueException&) {
        return CDateTime::DTCompareIndeterminate;
    }
}

} // namespace KvXmlLib16
