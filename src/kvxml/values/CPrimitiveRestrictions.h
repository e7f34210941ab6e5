#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "kvxml/platform/KvExport.h"
#include "kvxml/values/ItemType.h"

namespace KvXmlLib16 {

class KvVariant;

// The XSD facets of one primitive element or attribute, as generated metadata states them.
// Numeric facets are absent when negative, text facets when empty. Bounds stay text and are
// converted by the kind's own conversion at every check, so the record never changes once built.
class KVXML_API CPrimitiveRestrictions {
public:
    CPrimitiveRestrictions();
    // Null texts count as empty.
    CPrimitiveRestrictions(const char16_t* pattern, int32_t minLength, int32_t maxLength, const char16_t* minInclusive,
                           const char16_t* maxInclusive, const char16_t* minExclusive, const char16_t* maxExclusive,
                           int32_t length, int32_t totalDigits, int32_t fractionDigits);
    CPrimitiveRestrictions(const CPrimitiveRestrictions& other);
    CPrimitiveRestrictions& operator=(const CPrimitiveRestrictions& other);
    virtual ~CPrimitiveRestrictions();

    const std::u16string& GetPattern() const { return m_pattern; }
    int32_t GetMinLength() const { return m_minLength; }
    int32_t GetMaxLength() const { return m_maxLength; }
    const std::u16string& GetMinInclusive() const { return m_minInclusive; }
    const std::u16string& GetMaxInclusive() const { return m_maxInclusive; }
    const std::u16string& GetMinExclusive() const { return m_minExclusive; }
    const std::u16string& GetMaxExclusive() const { return m_maxExclusive; }
    int32_t GetLength() const { return m_length; }
    int32_t GetTotalDigits() const { return m_totalDigits; }
    int32_t GetFractionDigits() const { return m_fractionDigits; }

private:
    std::u16string m_pattern;
    int32_t m_minLength;
    int32_t m_maxLength;
    std::u16string m_minInclusive;
    std::u16string m_maxInclusive;
    std::u16string m_minExclusive;
    std::u16string m_maxExclusive;
    int32_t m_length;
    int32_t m_totalDigits;
    int32_t m_fractionDigits;
};

// The facet check of one value of the declared kind. Returns, or throws CKvException naming the
// item and the value; kinds without a check of their own throw CKvInvalidValueException
// "Unknown type [<kind>].". Binary lengths count bytes; dates and durations compare partially, and
// an indeterminate comparison fails no bound. Reads the restrictions only: any number of threads
// may check at once.
KVXML_API void CheckPrimitiveRestrictions(const char16_t* name, const KvVariant& value, ItemType kind,
                                          const CPrimitiveRestrictions& restrictions);

// The string facets: minLength, maxLength, length (in 16-bit units), then the pattern.
// Throws CKvException on the first facet that fails.
KVXML_API void CheckStringRestrictions(const char16_t* name, const std::u16string& value,
                                       const CPrimitiveRestrictions& restrictions);

// Matches value against an XSD pattern given as UTF-8. True only when the match covers the
// whole value. A pattern that does not compile throws CKvException
// "Invalid Regular Expression: <value> Error: '<compiler text>'".
// Compiled patterns are kept in a bounded process-wide cache; safe from any number of threads.
KVXML_API bool PatternMatch(const char* pattern, const std::u16string& value);

namespace PatternInternals {

// The textual rewrite of XSD escapes into the regular-expression dialect of the matcher.
KVXML_API std::string TranslateXsdPattern(std::string_view pattern);

// The same result as PatternMatch, compiling the pattern at every call and never touching the
// cache. Kept for measurement and for tests that compare both paths.
KVXML_API bool PatternMatchUncached(const char* pattern, const std::u16string& value);

// PatternMatch with the pattern given as wide text, converted to UTF-8 up to its first NUL.
KVXML_API bool PatternMatchWide(const char16_t* pattern, const std::u16string& value);

// Wide text (to its first NUL) as UTF-8. A broken surrogate ends the conversion there, as in
// the library's other wide-to-UTF-8 routine.
KVXML_API std::string WideToUtf8(const char16_t* text);

KVXML_API void ClearPatternCache();
KVXML_API std::size_t PatternCacheSize();
// Most patterns the cache holds at once.
inline constexpr std::size_t PatternCacheCapacity = 256;

} // namespace PatternInternals

} // namespace KvXmlLib16
