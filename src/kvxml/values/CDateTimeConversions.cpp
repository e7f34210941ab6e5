// Text conversions and variant accessors of the date, time and duration kinds.

#include "kvxml/values/CConversions.h"
#include "kvxml/values/CDateTime.h"
#include "kvxml/values/CDateTimeSpan.h"
#include "kvxml/values/DateTimeText.h"
#include "kvxml/values/KvVariant.h"

namespace KvXmlLib16 {

// ---- CConversions ----

std::u16string CConversions::dateToString(const CDateTime& value) { return value.ToString(u"s"); }

std::u16string CConversions::yearToString(uint16_t value) {
    std::u16string out;
    DateTimeText::AppendNumber(out, value);
    return out;
}

std::u16string CConversions::monthToString(uint8_t value) {
    std::u16string out(u"--");
    DateTimeText::AppendNumber(out, value, 2);
    return out;
}

std::u16string CConversions::dayToString(uint8_t value) {
    std::u16string out(u"---");
    DateTimeText::AppendNumber(out, value, 2);
    return out;
}

std::u16string CConversions::durationToString(const CDateTimeSpan& value) { return value.ToString(); }

namespace {

// The scanners read the text as a C string, as the parsers do: it ends at the first NUL.
size_t CLength(const std::u16string& text) { return std::char_traits<char16_t>::length(text.c_str()); }

// Scans and checks a date in text read up to its first NUL, as CLength reads it.
CDateTime ScanValidDate(std::u16string_view text) {
    text = text.substr(0, text.find(u'\0'));
    CDateTime value;
    value.ScanDate(text.data(), text.size());
    value.Validate();
    return value;
}

CDateTime ScanDateText(const std::u16string& text, CWhitespaceUtils::WhitespaceRule rule) {
    std::u16string scratch;
    return ScanValidDate(CWhitespaceUtils::ApplyRuleInPlace(rule, text, scratch));
}

} // namespace

CDateTime CConversions::dateFromString(const std::u16string& text, WhitespaceRule rule) {
    return ScanDateText(text, rule);
}

CDateTime CConversions::yearMonthFromString(const std::u16string& text, WhitespaceRule rule) {
    return ScanDateText(text, rule);
}

CDateTime CConversions::monthDayFromString(const std::u16string& text, WhitespaceRule rule) {
    return ScanDateText(text, rule);
}

CDateTime CConversions::timeFromString(const std::u16string& text, WhitespaceRule rule) {
    std::u16string scratch;
    const std::u16string& applied = CWhitespaceUtils::ApplyRuleInPlace(rule, text, scratch);
    CDateTime value;
    value.ScanTime(applied.c_str(), CLength(applied));
    value.Validate();
    return value;
}

CDateTime CConversions::datetimeFromString(const std::u16string& text, WhitespaceRule rule) {
    std::u16string scratch;
    const std::u16string& applied = CWhitespaceUtils::ApplyRuleInPlace(rule, text, scratch);
    CDateTime value;
    value.ParseXSDDateTime(applied.c_str());
    return value;
}

uint16_t CConversions::yearFromString(const std::u16string& text, WhitespaceRule rule) {
    return static_cast<uint16_t>(ScanDateText(text, rule).GetYear());
}

uint8_t CConversions::monthFromString(const std::u16string& text, WhitespaceRule rule) {
    return ScanDateText(text, rule).GetMonth();
}

uint8_t CConversions::dayFromString(const std::u16string& text, WhitespaceRule rule) {
    return ScanDateText(text, rule).GetDay();
}

CDateTimeSpan CConversions::durationFromString(const std::u16string& text, WhitespaceRule rule) {
    std::u16string scratch;
    const std::u16string& applied = CWhitespaceUtils::ApplyRuleInPlace(rule, text, scratch);
    CDateTimeSpan value;
    value.ParseXSDDuration(applied.c_str());
    return value;
}

// ---- KvVariant ----

void KvVariant::SetDuration(const CDateTimeSpan& value) {
    Store<CDateTimeSpan>(ItemType_duration, CDateTimeSpan(value));
}

CDateTimeSpan KvVariant::GetDuration() const {
    return m_type == ItemType_duration && m_hasHeld ? Held<CDateTimeSpan>() : CDateTimeSpan();
}

void KvVariant::SetDateKind(ItemType kind, const CDateTime& value) { Store<CDateTime>(kind, CDateTime(value)); }

// Only where the text needs no change: otherwise, and for an empty text (whose message differs
// for a null pointer), the caller takes the path through a copy.
bool KvVariant::ScanDateView(std::u16string_view text, ItemType kind, CWhitespaceUtils::WhitespaceRule rule) {
    if (kind != ItemType_date && kind != ItemType_yearMonth && kind != ItemType_monthDay) return false;
    if (text.empty() || CWhitespaceUtils::WouldChange(rule, text)) return false;
    SetDateKind(kind, ScanValidDate(text));
    return true;
}

CDateTime KvVariant::GetDateKind() const {
    switch (m_type) {
    case ItemType_yearMonth:
    case ItemType_monthDay:
    case ItemType_date:
    case ItemType_datetime:
    case ItemType_time:
        if (m_hasHeld) return Held<CDateTime>();
        break;
    default: break;
    }
    return CDateTime();
}

void KvVariant::SetYearMonth(const CDateTime& value) { SetDateKind(ItemType_yearMonth, value); }
CDateTime KvVariant::GetYearMonth() const { return GetDateKind(); }
void KvVariant::SetMonthDay(const CDateTime& value) { SetDateKind(ItemType_monthDay, value); }
CDateTime KvVariant::GetMonthDay() const { return GetDateKind(); }
void KvVariant::SetDate(const CDateTime& value) { SetDateKind(ItemType_date, value); }
CDateTime KvVariant::GetDate() const { return GetDateKind(); }
void KvVariant::SetDateTime(const CDateTime& value) { SetDateKind(ItemType_datetime, value); }
CDateTime KvVariant::GetDateTime() const { return GetDateKind(); }
void KvVariant::SetTime(const CDateTime& value) { SetDateKind(ItemType_time, value); }
CDateTime KvVariant::GetTime() const { return GetDateKind(); }

} // namespace KvXmlLib16
