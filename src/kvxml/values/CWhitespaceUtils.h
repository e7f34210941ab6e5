#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "kvxml/platform/KvExport.h"

namespace KvXmlLib16 {

// The XSD whitespace facet. Whitespace is exactly space, tab, carriage return and line feed.
class KVXML_API CWhitespaceUtils {
public:
    enum WhitespaceRule {
        WhitespaceRule_None = 0,     // text left exactly as it is
        WhitespaceRule_Preserve = 1, // only line ends normalised
        WhitespaceRule_Replace = 2,
        WhitespaceRule_Collapse = 3,
    };

    // Line ends become LF. The pointer form takes `length` units; 0 or less gives "".
    static std::u16string Preserve(const char16_t* text, int32_t length);
    static std::u16string Preserve(const std::u16string& text);
    // Every whitespace character becomes a space; CR LF becomes a single space.
    static std::u16string Replace(const std::u16string& text);
    // Runs of whitespace become one space; leading and trailing whitespace go.
    static std::u16string Collapse(const std::u16string& text);
    static std::u16string ApplyRule(WhitespaceRule rule, const std::u16string& text);
    // The same for text held elsewhere, such as a tree node's: the result is the only copy made.
    static std::u16string ApplyRuleToView(WhitespaceRule rule, std::u16string_view text);
    // False when the rule leaves the text exactly as it is; true for an unknown rule.
    static bool WouldChange(WhitespaceRule rule, std::u16string_view text);
    static bool IsWhiteSpace(char16_t c) { return c == u' ' || c == u'\t' || c == u'\r' || c == u'\n'; }

    // Same result as ApplyRule, but where the rule leaves the text as it is no copy is made:
    // the input itself is returned and `scratch` stays untouched.
    static const std::u16string& ApplyRuleInPlace(WhitespaceRule rule, const std::u16string& text,
                                                  std::u16string& scratch);
};

} // namespace KvXmlLib16
