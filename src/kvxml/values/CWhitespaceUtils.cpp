#include "kvxml/values/CWhitespaceUtils.h"

#include <bit>
#include <cstring>
#include <initializer_list>

#include "kvxml/base/CKvException.h"

namespace KvXmlLib16 {

namespace {

// Bit c is set for each character c (all below 64) that a rule may change.
constexpr uint64_t Bits(std::initializer_list<char16_t> chars) {
    uint64_t bits = 0;
    for (char16_t c : chars) bits |= uint64_t(1) << c;
    return bits;
}
constexpr uint64_t kReplaceable = Bits({u'\t', u'\r', u'\n'});
constexpr uint64_t kCollapsible = Bits({u'\0', u'\t', u'\r', u'\n', u' '});
constexpr uint64_t kCarriageReturn = Bits({u'\r'});

template <uint64_t kBits>
bool IsAnyOf(char16_t c) {
    return c < 64 && ((kBits >> c) & 1) != 0;
}

// Most values have no character as low as those of kBits at all, so four characters are tested
// at once for one that low; only a group that has one is looked at character by character.
template <uint64_t kBits>
bool HasAnyOf(std::u16string_view text) {
    constexpr uint64_t kLanes = 0x0001000100010001ULL;
    constexpr uint64_t kHighBits = 0x8000800080008000ULL;
    constexpr uint64_t kLimit = std::bit_width(kBits); // each character of kBits is below this
    const char16_t* p = text.data();
    const size_t n = text.size();
    size_t i = 0;
    for (; i + 4 <= n; i += 4) {
        uint64_t group;
        std::memcpy(&group, p + i, sizeof group);
        // Non-zero whenever a lane is below kLimit (it may also be for others, never the reverse).
        if (((group - kLanes * kLimit) & ~group & kHighBits) == 0) continue;
        if (IsAnyOf<kBits>(p[i]) || IsAnyOf<kBits>(p[i + 1]) || IsAnyOf<kBits>(p[i + 2]) || IsAnyOf<kBits>(p[i + 3]))
            return true;
    }
    for (; i < n; ++i)
        if (IsAnyOf<kBits>(p[i])) return true;
    return false;
}

bool HasReplaceable(std::u16string_view text) { return HasAnyOf<kReplaceable>(text); }
bool HasCarriageReturn(std::u16string_view text) { return HasAnyOf<kCarriageReturn>(text); }

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

// Every blank becomes a space, CR LF one space only. Stops at the first NUL, as PreserveCore.
std::u16string ReplaceCore(const char16_t* p, size_t n) {
    std::u16string out;
    out.reserve(n);
    for (size_t i = 0; i < n; ++i) {
        const char16_t c = p[i];
        if (c == 0) break;
        if (c == u'\r') {
            // CR LF gives one space, not two: kept for compatibility with existing documents.
            out.push_back(u' ');
            if (i + 1 < n && p[i + 1] == u'\n') ++i;
        } else if (c == u'\t' || c == u'\n') {
            out.push_back(u' ');
        } else {
            out.push_back(c);
        }
    }
    return out;
}

std::u16string CollapseCore(const char16_t* p, size_t n) {
    std::u16string out;
    out.reserve(n);
    bool lastWasSpace = true; // so that leading whitespace vanishes
    for (size_t i = 0; i < n; ++i) {
        const char16_t c = p[i];
        if (CWhitespaceUtils::IsWhiteSpace(c)) {
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
    return ReplaceCore(text.data(), text.size());
}

std::u16string CWhitespaceUtils::Collapse(const std::u16string& text) { return CollapseCore(text.data(), text.size()); }

std::u16string CWhitespaceUtils::ApplyRule(WhitespaceRule rule, const std::u16string& text) {
    return ApplyRuleToView(rule, text);
}

std::u16string CWhitespaceUtils::ApplyRuleToView(WhitespaceRule rule, std::u16string_view text) {
    // Most text has no character the rule would change and is copied once.
    if (!WouldChange(rule, text)) return std::u16string(text);
    switch (rule) {
    case WhitespaceRule_Preserve: return PreserveCore(text.data(), text.size());
    case WhitespaceRule_Replace: return ReplaceCore(text.data(), text.size());
    case WhitespaceRule_Collapse: return CollapseCore(text.data(), text.size());
    default: break;
    }
    throw CKvException(u"Unknown WhitespaceRule");
}

bool CWhitespaceUtils::WouldChange(WhitespaceRule rule, std::u16string_view text) {
    switch (rule) {
    case WhitespaceRule_None: return false;
    case WhitespaceRule_Preserve: return HasCarriageReturn(text);
    case WhitespaceRule_Replace: return HasReplaceable(text);
    // Collapse changes nothing only where no blank and no NUL occurs.
    case WhitespaceRule_Collapse: return HasAnyOf<kCollapsible>(text);
    }
    return true; // an unknown rule goes on to fail where it is applied
}

const std::u16string& CWhitespaceUtils::ApplyRuleInPlace(WhitespaceRule rule, const std::u16string& text,
                                                         std::u16string& scratch) {
    if (!WouldChange(rule, text)) return text;
    scratch = ApplyRuleToView(rule, text);
    return scratch;
}

} // namespace KvXmlLib16
