#pragma once

#include <cstdint>
#include <string>

#include "kvxml/platform/KvExport.h"
#include "kvxml/values/CBinaryData.h"
#include "kvxml/values/CWhitespaceUtils.h"
#include "kvxml/values/CBigInteger.h" // [bignum]
#include "kvxml/values/CDecimal.h"    // [bignum]

namespace KvXmlLib16 {

class CDateTime;     // [datetime]
class CDateTimeSpan; // [datetime]

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
    // ---- [datetime] ----
    static std::u16string dateToString(const CDateTime& value);
    static std::u16string yearToString(uint16_t value);
    static std::u16string monthToString(uint8_t value);
    static std::u16string dayToString(uint8_t value);
    static std::u16string durationToString(const CDateTimeSpan& value);
    // ---- [datetime] end ----
    // ---- [bignum] ----
    static std::u16string integerToString(const CBigInteger& value);
    static std::u16string decimalToString(const CDecimal& value);
    // An empty format writes the value as it is; otherwise the format is a number of decimal
    // places (read as by _wtoi), not a printf format.
    static std::u16string decimalToString(const CDecimal& value, const std::u16string& format);
    // ---- [bignum] end ----

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
    // ---- [datetime] ----
    // The date forms take their type from the text: none insists on its own kind.
    static CDateTime dateFromString(const std::u16string& text, WhitespaceRule rule);
    static CDateTime yearMonthFromString(const std::u16string& text, WhitespaceRule rule);
    static CDateTime monthDayFromString(const std::u16string& text, WhitespaceRule rule);
    static CDateTime timeFromString(const std::u16string& text, WhitespaceRule rule);
    static CDateTime datetimeFromString(const std::u16string& text, WhitespaceRule rule);
    // Any date form holding the field will do; one without it raises the getter's
    // CKvInvalidStateException. The year comes back as 16 unsigned bits, so a negative year wraps.
    static uint16_t yearFromString(const std::u16string& text, WhitespaceRule rule);
    static uint8_t monthFromString(const std::u16string& text, WhitespaceRule rule);
    static uint8_t dayFromString(const std::u16string& text, WhitespaceRule rule);
    static CDateTimeSpan durationFromString(const std::u16string& text, WhitespaceRule rule);
    // ---- [datetime] end ----
    // ---- [bignum] ----
    static CBigInteger integerFromString(const std::u16string& text, WhitespaceRule rule);
    static CDecimal decimalFromString(const std::u16string& text, WhitespaceRule rule);
    // ---- [bignum] end ----
};

} // namespace KvXmlLib16
