// The pattern facet: XSD pattern -> PCRE2 expression, a bounded cache of compiled expressions,
// and an anchored match that must cover the whole value.

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <unordered_map>

#include "kvxml/base/CKvException.h"
#include "kvxml/base/FormatString.h"
#include "kvxml/values/CPrimitiveRestrictions.h"

namespace KvXmlLib16 {

namespace {

// Replaces every occurrence of `from`, always finding the leftmost one in the text as it stands
// after the previous replacement. A new occurrence can only start up to from.size() - 1 bytes
// before the last replacement, so the search resumes there instead of at 0: same result, no
// quadratic rescans of long patterns.
void ReplaceAll(std::string& text, std::string_view from, std::string_view to) {
    std::size_t pos = text.find(from);
    while (pos != std::string::npos) {
        text.replace(pos, from.size(), to);
        const std::size_t back = from.size() - 1;
        pos = text.find(from, pos > back ? pos - back : 0);
    }
}

void AppendUtf8(std::string& out, const char16_t* text) {
    out.clear();
    if (!text) return;
    const char16_t* p = text;
    while (*p && *p < 0x80) ++p;
    // The ASCII head goes over one byte per unit, written in place (assigning from a range of
    // another character type would build a temporary string first).
    const std::size_t head = static_cast<std::size_t>(p - text);
    out.resize(head);
    for (std::size_t i = 0; i < head; ++i) out[i] = static_cast<char>(text[i]);
    for (; *p; ++p) {
        const uint32_t c = *p;
        if (c < 0x80) {
            out.push_back(static_cast<char>(c));
        } else if (c < 0x800) {
            out.push_back(static_cast<char>(0xC0 | (c >> 6)));
            out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
        } else if (c >= 0xD800 && c <= 0xDBFF) {
            const uint32_t low = p[1];
            if (low < 0xDC00 || low > 0xDFFF) return; // high surrogate not followed by a low one
            const uint32_t cp = 0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00);
            out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
            out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
            ++p;
        } else if (c >= 0xDC00 && c <= 0xDFFF) {
            return; // lone low surrogate
        } else {
            out.push_back(static_cast<char>(0xE0 | (c >> 12)));
            out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
        }
    }
}

// One compiled expression, or the compiler's complaint about it. Immutable once built, so
// threads share it without a lock; PCRE2 allows concurrent matching against one code block.
struct CompiledPattern {
    pcre2_code* code = nullptr;
    uint32_t captureCount = 0;
    bool jit = false;
    std::u16string error; // compiler text, widened; meaningful when code is null

    CompiledPattern() = default;
    CompiledPattern(const CompiledPattern&) = delete;
    CompiledPattern& operator=(const CompiledPattern&) = delete;
    ~CompiledPattern() { pcre2_code_free(code); }
};

// `forCache` builds the long-lived form, JIT-compiled where the platform allows it.
std::shared_ptr<const CompiledPattern> Compile(std::string_view pattern, bool forCache) {
    auto compiled = std::make_shared<CompiledPattern>();
    const std::string expression = "^(" + PatternInternals::TranslateXsdPattern(pattern) + ")$";
    int errorCode = 0;
    PCRE2_SIZE errorOffset = 0;
    compiled->code = pcre2_compile(reinterpret_cast<PCRE2_SPTR>(expression.data()), expression.size(), PCRE2_UTF,
                                   &errorCode, &errorOffset, nullptr);
    if (!compiled->code) {
        PCRE2_UCHAR buffer[256];
        const int n = pcre2_get_error_message(errorCode, buffer, sizeof buffer);
        const std::size_t len = n > 0 ? static_cast<std::size_t>(n) : 0;
        compiled->error.assign(buffer, buffer + len); // the compiler's text is ASCII
        return compiled;
    }
    pcre2_pattern_info(compiled->code, PCRE2_INFO_CAPTURECOUNT, &compiled->captureCount);
    // Without JIT support the interpreter runs: slower, same answers.
    if (forCache) compiled->jit = pcre2_jit_compile(compiled->code, PCRE2_JIT_COMPLETE) == 0;
    return compiled;
}

[[noreturn]] void ThrowCompileError(const CompiledPattern& compiled, const std::u16string& value) {
    throw CKvException(
        FormatString(u"Invalid Regular Expression: %s Error: '%s'", value.c_str(), compiled.error.c_str()));
}

// Anchored match of the UTF-8 subject; only a match from 0 to the end of the subject counts,
// so a `$` satisfied before a final line feed does not.
bool RunMatch(const CompiledPattern& compiled, const std::string& subject, pcre2_match_data* data) {
    const auto* start = reinterpret_cast<PCRE2_SPTR>(subject.data());
    // The subject is our own valid UTF-8. The interpreter honours PCRE2_ANCHORED; the JIT entry
    // ignores it. The answer is the same: the JIT tries offset 0 first and takes the same match
    // there, and a match it finds further on fails the offset test below.
    const uint32_t options = PCRE2_ANCHORED | PCRE2_NO_UTF_CHECK;
    int rc = compiled.jit ? pcre2_jit_match(compiled.code, start, subject.size(), 0, options, data, nullptr)
                          : pcre2_match(compiled.code, start, subject.size(), 0, options, data, nullptr);
    // The JIT's own stack is smaller than the interpreter's limits: let the interpreter decide.
    if (rc == PCRE2_ERROR_JIT_STACKLIMIT)
        rc = pcre2_match(compiled.code, start, subject.size(), 0, options | PCRE2_NO_JIT, data, nullptr);
    if (rc < 1) return false;
    const PCRE2_SIZE* ovector = pcre2_get_ovector_pointer(data);
    return ovector[0] == 0 && ovector[1] == subject.size();
}

struct StringHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view s) const noexcept { return std::hash<std::string_view>{}(s); }
};

// Keyed by the untranslated pattern text. Entries are shared pointers, so evicting one that
// another thread is matching with only drops the cache's reference.
class PatternCache {
public:
    std::shared_ptr<const CompiledPattern> Get(std::string_view pattern) {
        {
            std::shared_lock lock(m_mutex);
            auto it = m_entries.find(pattern);
            if (it != m_entries.end()) return it->second;
        }
        // Compile outside the lock; two threads racing on one new pattern both compile and the
        // first insert wins.
        std::shared_ptr<const CompiledPattern> compiled = Compile(pattern, true);
        std::unique_lock lock(m_mutex);
        auto it = m_entries.find(pattern);
        if (it != m_entries.end()) return it->second;
        if (m_entries.size() >= PatternInternals::PatternCacheCapacity) m_entries.erase(m_entries.begin());
        m_entries.emplace(std::string(pattern), compiled);
        return compiled;
    }

    void Clear() {
        std::unique_lock lock(m_mutex);
        m_entries.clear();
        m_generation.fetch_add(1, std::memory_order_release);
    }

    uint64_t Generation() const { return m_generation.load(std::memory_order_acquire); }

    std::size_t Size() {
        std::shared_lock lock(m_mutex);
        return m_entries.size();
    }

private:
    std::shared_mutex m_mutex;
    std::atomic<uint64_t> m_generation{0};
    std::unordered_map<std::string, std::shared_ptr<const CompiledPattern>, StringHash, std::equal_to<>> m_entries;
};

PatternCache& Cache() {
    static PatternCache cache; // built on first use, after every static it might depend on
    return cache;
}

// Per thread: match data (grown when a pattern needs more capture slots), the subject buffer,
// and a few recently used entries in front of the shared cache, so that the common case of one
// pattern checked again and again takes no lock and touches no shared counter.
struct ThreadScratch {
    static constexpr std::size_t FrontSize = 8;
    struct FrontEntry {
        std::string key;
        std::shared_ptr<const CompiledPattern> compiled;
    };

    pcre2_match_data* data = nullptr;
    uint32_t pairs = 0;
    std::string subject;
    FrontEntry front[FrontSize];
    std::size_t nextVictim = 0;
    uint64_t generation = 0;

    ~ThreadScratch() { pcre2_match_data_free(data); }

    pcre2_match_data* For(uint32_t captureCount) {
        const uint32_t wanted = captureCount + 1;
        if (!data || pairs < wanted) {
            pcre2_match_data* fresh = pcre2_match_data_create(wanted, nullptr);
            if (!fresh) throw CKvException(u"Out of memory for the pattern match");
            pcre2_match_data_free(data);
            data = fresh;
            pairs = wanted;
        }
        return data;
    }

    // The entry stays alive in the front until this thread replaces it.
    const CompiledPattern& Lookup(std::string_view pattern) {
        PatternCache& cache = Cache();
        const uint64_t current = cache.Generation();
        if (current != generation) { // the shared cache was cleared: forget what we remember
            for (FrontEntry& e : front) {
                e.key.clear();
                e.compiled.reset();
            }
            generation = current;
        }
        for (const FrontEntry& e : front)
            if (e.compiled && e.key == pattern) return *e.compiled;
        FrontEntry& slot = front[nextVictim];
        nextVictim = (nextVictim + 1) % FrontSize;
        slot.compiled = cache.Get(pattern);
        slot.key.assign(pattern);
        return *slot.compiled;
    }
};

ThreadScratch& Scratch() {
    thread_local ThreadScratch scratch;
    return scratch;
}

} // namespace

namespace PatternInternals {

std::string TranslateXsdPattern(std::string_view pattern) {
    std::string text(pattern);
    ReplaceAll(text, "\\\\", "\x01"); // an escaped backslash must not start a rewrite
    ReplaceAll(text, "\\i", "([^\\W\\d]|:)");
    ReplaceAll(text, "\\I", "([\\W\\d])");
    ReplaceAll(text, "\\c", "(\\w|\\.|-|:)");
    ReplaceAll(text, "\\C", "([^\\w\\.\\-\\:])");
    ReplaceAll(text, "\\p{IsBasicLatin}", "[\\000-\\177]");
    ReplaceAll(text, "\\p{IsLatin-1Supplement}", "[\\200-\\377]");
    ReplaceAll(text, "\\p{IsLatinExtended-A}", "[\\400-\\577]");
    ReplaceAll(text, "\\p{IsLatinExtended-B}", "[\\600-\\1117]");
    ReplaceAll(text, "\x01", "\\\\");
    return text;
}

bool PatternMatchUncached(const char* pattern, const std::u16string& value) {
    const std::shared_ptr<const CompiledPattern> compiled = Compile(pattern ? pattern : "", false);
    if (!compiled->code) ThrowCompileError(*compiled, value);
    std::string subject;
    AppendUtf8(subject, value.c_str());
    std::unique_ptr<pcre2_match_data, decltype(&pcre2_match_data_free)> data(
        pcre2_match_data_create(compiled->captureCount + 1, nullptr), &pcre2_match_data_free);
    if (!data) throw CKvException(u"Out of memory for the pattern match");
    return RunMatch(*compiled, subject, data.get());
}

std::string WideToUtf8(const char16_t* text) {
    std::string out;
    AppendUtf8(out, text);
    return out;
}

void ClearPatternCache() { Cache().Clear(); }

std::size_t PatternCacheSize() { return Cache().Size(); }

} // namespace PatternInternals

namespace {

bool MatchCached(std::string_view pattern, const std::u16string& value) {
    ThreadScratch& scratch = Scratch();
    const CompiledPattern& compiled = scratch.Lookup(pattern);
    if (!compiled.code) ThrowCompileError(compiled, value);
    pcre2_match_data* data = scratch.For(compiled.captureCount);
    AppendUtf8(scratch.subject, value.c_str());
    return RunMatch(compiled, scratch.subject, data);
}

} // namespace

bool PatternMatch(const char* pattern, const std::u16string& value) {
    return MatchCached(pattern ? std::string_view(pattern) : std::string_view(), value);
}

namespace PatternInternals {

bool PatternMatchWide(const char16_t* pattern, const std::u16string& value) {
    // The pattern's UTF-8 form lives in a per-thread buffer: no allocation once it has grown.
    thread_local std::string utf8;
    AppendUtf8(utf8, pattern);
    return MatchCached(utf8, value);
}

} // namespace PatternInternals

} // namespace KvXmlLib16
