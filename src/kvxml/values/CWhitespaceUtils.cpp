#include "kvxml/values/CWhitespaceUtils.h"

#include <utility>

#include "kvxml/base/CKvException.h"

namespace KvXmlLib16 {

namespace {

bool HasCarriageReturn(const std::u16string& text) { return text.find(u'\r') != std::u16string::npos; }

bool HasReplaceable(const std::u16string& text) {
    for (char16_t c : text)
        if (c == u'\t' || c == u'\r' || c == u'\n') return true;
    return false;
}

// CR LF and lone CR become LF. Stops at the first NUL: the result is cut there anyway.
std::u16string PreserveCore(const char16_t* p, size_t n) {
    std::u16string out;
    out.reserve(n);
    for (size_t i = 0; i < n; ++i) {
        const char16_t c = p[i];
        if (c == 0) break;
        if (c == u'\r') {
            out.push_back(u'\n');
            if (i + 1 < n && p[i + 1] == u'\n') ++i;
        } else {
            out.push_back(c);
        }
    }
    return out;
}

} // namespace

std::u16string CWhitespaceUtils::Preserve(const char16_t* text, int32_t length) {
    if (text == nullptr || length <= 0) return std::u16string();
    return PreserveCore(text, static_cast<size_t>(length));
}

std::u16string CWhitespaceUtils::Preserve(const std::u16string& text) {
    if (!HasCarriageReturn(text)) return text;
    return PreserveCore(text.data(), text.size());
}

std::u16string CWhitespaceUtils::Replace(const std::u16string& text) {
    if (!HasReplaceable(text)) return text;
    std::u16string out;
    out.reserve(text.size());
    const size_t n = text.size();
    for (size_t i = 0; i < n; ++i) {
        const char16_t c = text[i];
        if (c == 0) break;
        if (c == u'\r') {
            // CR LF gives one space, not two: kept for compatibility with existing documents.
            out.push_back(u' ');
            if (i + 1 < n && text[i + 1] == u'\n') ++i;
        } else if (c == u'\t' || c == u'\n') {
            out.push_back(u' ');
        } else {
            out.push_back(c);
        }
    }
    return out;
}

std::u16string CWhitespaceUtils::Collapse(const std::u16string& text) {
    std::u16string out;
    out.reserve(text.size());
    bool lastWasSpace = true; // so that leading whitespace vanishes
    for (char16_t c : text) {
        if (IsWhiteSpace(c)) {
            if (!lastWasSpace) out.push_back(u' ');
            lastWasSpace = true;
        } else {
            out.push_back(c);
            lastWasSpace = false;
        }
    }
    if (!out.empty() && out.back() == u' ') out.pop_back();
    // The trailing space is removed before the cut at NUL, so "a \0b" keeps its blank.
    const size_t nul = out.find(u'\0');
    if (nul != std::u16string::npos) out.resize(nul);
    return out;
}

std::u16string CWhitespaceUtils::ApplyRule(WhitespaceRule rule, const std::u16string& text) {
    std::u16string scratch;
    const std::u16string& result = ApplyRuleInPlace(rule, text, scratch);
    return &result == &text ? text : std::move(scratch);
}

const std::u16string& CWhitespaceUtils::ApplyRuleInPlace(WhitespaceRule rule, const std::u16string& text,
                                                         std::u16string& scratch) {
    switch (rule) {
    case WhitespaceRule_None: return text;
    case WhitespaceRule_Preserve:
        if (!HasCarriageReturn(text)) return text;
        scratch = PreserveCore(text.data(), text.size());
        return scratch;
    case WhitespaceRule_Replace:
        if (!HasReplaceable(text)) return text;
        scratch = Replace(text);
        return scratch;
    case WhitespaceRule_Collapse:
        // Collapse changes nothing only where no blank and no NUL occurs.
        for (char16_t c : text) {
            if (c == 0 || IsWhiteSpace(c)) {
                scratch = Collapse(text);
                return scratch;
            }
        }
        return text;
    }
    throw CKvException(u"Unknown WhitespaceRule");
}

} // namespace KvXmlLib16
