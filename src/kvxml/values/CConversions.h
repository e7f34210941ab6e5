#pragma once

#include <cstdint>
#include <string>

#include "kvxml/platform/KvExport.h"
#include "kvxml/values/CBinaryData.h"
#include "kvxml/values/CWhitespaceUtils.h"

namespace KvXmlLib16 {

// The one place where primitive values become text and text becomes values. Failures of the
// ...FromString members are CKvInvalidValueException; the caller's value is never touched.
class KVXML_API CConversions {
public:
    using WhitespaceRule = CWhitespaceUtils::WhitespaceRule;

    // ---- to text ----
    static std::u16string i1ToString(int8_t value);
    static std::u16string i2ToString(int16_t value);
    static std::u16string i4ToString(int32_t value);
    static std::u16string i8ToString(int64_t value);
    static std::u16string ui1ToString(uint8_t value);
    static std::u16string ui2ToString(uint16_t value);
    static std::u16string ui4ToString(uint32_t value);
    static std::u16string ui8ToString(uint64_t value);
    // "NaN", "INF", "-INF", else printf with `format` (one double) or "%.7g" / "%.16g"; a
    // formatted text is cut at 32 / 48 characters.
    static std::u16string r4ToString(float value, const std::u16string& format = std::u16string());
    static std::u16string r8ToString(double value, const std::u16string& format = std::u16string());
    static std::u16string charToString(char16_t value);
    static std::u16string stringToString(const std::u16string& value);
    static std::u16string booleanToString(bool value);
    static std::u16string hexBinaryToString(const CBinaryData& value);
    static std::u16string base64BinaryToString(const CBinaryData& value);
    // [datetime] dateToString, yearToString, monthToString, dayToString, durationToString go here.
    // [bignum] integerToString, decimalToString go here.

    // ---- from text ----
    static int8_t i1FromString(const std::u16string& text, WhitespaceRule rule);
    static int16_t i2FromString(const std::u16string& text, WhitespaceRule rule);
    static int32_t i4FromString(const std::u16string& text, WhitespaceRule rule);
    static int64_t i8FromString(const std::u16string& text, WhitespaceRule rule);
    static uint8_t ui1FromString(const std::u16string& text, WhitespaceRule rule);
    static uint16_t ui2FromString(const std::u16string& text, WhitespaceRule rule);
    static uint32_t ui4FromString(const std::u16string& text, WhitespaceRule rule);
    static uint64_t ui8FromString(const std::u16string& text, WhitespaceRule rule);
    static float r4FromString(const std::u16string& text, WhitespaceRule rule);
    static double r8FromString(const std::u16string& text, WhitespaceRule rule);
    static char16_t charFromString(const std::u16string& text, WhitespaceRule rule);
    static std::u16string stringFromString(const std::u16string& text, WhitespaceRule rule);
    static bool booleanFromString(const std::u16string& text, WhitespaceRule rule);
    static CBinaryData hexBinaryFromString(const std::u16string& text, WhitespaceRule rule);
    static CBinaryData base64BinaryFromString(const std::u16string& text, WhitespaceRule rule);
    // [datetime] yearMonthFromString, monthDayFromString, yearFromString, monthFromString,
    //            dayFromString, datetimeFromString, timeFromString, dateFromString,
    //            durationFromString go here.
    // [bignum] integerFromString, decimalFromString go here.
};

} // namespace KvXmlLib16
