#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "kvxml/base/CKvException.h"
#include "kvxml/values/CPrimitiveRestrictions.h"

using namespace KvXmlLib16;
using namespace KvXmlLib16::PatternInternals;

namespace {

std::string Narrow(const std::u16string& s) { return std::string(s.begin(), s.end()); }

struct TranslationCase {
    const char* xsd;
    const char* expected;
};

// Each rewrite works on the raw bytes, inside character classes too, and case matters.
const TranslationCase kTranslations[] = {
    {R"(\i\c*)", R"(([^\W\d]|:)(\w|\.|-|:)*)"},
    {R"(\I)", R"(([\W\d]))"},
    {R"(\C)", R"(([^\w\.\-\:]))"},
    {R"([\i])", R"([([^\W\d]|:)])"},
    {R"(\\i)", R"(\\i)"},               // escaped backslash followed by a plain i
    {R"(\\\i)", R"(\\([^\W\d]|:))"},    // escaped backslash, then a real \i
    {R"(\\\\c)", R"(\\\\c)"},
    {R"(\p{IsBasicLatin})", R"([\000-\177])"},
    {R"(\p{IsLatin-1Supplement})", R"([\200-\377])"},
    {R"(\p{IsLatinExtended-A})", R"([\400-\577])"},
    {R"(\p{IsLatinExtended-B})", R"([\600-\1117])"},
    {R"(\P{IsBasicLatin})", R"(\P{IsBasicLatin})"},   // only the lower-case \p form is a block
    {R"(\p{isbasiclatin})", R"(\p{isbasiclatin})"},
    {R"(\p{IsGreek})", R"(\p{IsGreek})"},
    {R"(\d{2}-\w+)", R"(\d{2}-\w+)"},
    {"", ""},
};

TEST(PatternTranslation, FixedSeriesOfRewrites) {
    for (const auto& c : kTranslations) {
        EXPECT_EQ(TranslateXsdPattern(c.xsd), c.expected) << "pattern " << c.xsd;
    }
}

struct MatchCase {
    const char* pattern;
    std::u16string value;
    bool expected;
};

const MatchCase kMatches[] = {
    {"[a-c]+", u"abc", true},
    {"[a-c]+", u"abcd", false},
    {"[a-c]+", u"abc\n", false},  // `$` before a final line feed does not cover the subject
    {"[a-c]+", u"", false},
    {"a|b", u"a", true},
    {"a|b", u"ab", false},  // the alternation is wrapped, both ends are anchored
    {R"(\i\c*)", u"a-1", true},
    {R"(\i\c*)", u":x.y", true},
    {R"(\i\c*)", u"1a", false},
    {R"(\I)", u"1", true},
    {R"(\I)", u"a", false},
    {R"(\C+)", u" /", true},
    {R"(\C)", u"-", false},
    {R"(\\i)", u"\\i", true},
    {R"(\\i)", u"i", false},
    {R"(\p{IsBasicLatin}+)", u"abc", true},
    {R"(\p{IsBasicLatin}+)", u"ab\u00e9", false},
    {R"(\p{IsLatin-1Supplement})", u"\u00e9", true},
    {R"(\p{IsLatin-1Supplement})", u"e", false},
    {R"(\p{IsLatinExtended-A})", u"\u0101", true},
    {R"(\p{IsLatinExtended-A})", u"\u00e9", false},
    {".", u"\U0001F600", true},         // a surrogate pair is one character
    {"a", u"a\xD800" u"b", true},       // a lone surrogate ends the subject
    {"ab", std::u16string(u"ab\0cd", 5), true},  // so does a NUL
    {"[A-Z]{3}-\\d{4}-[a-z]+", u"ABC-1234-abcdefghijk", true},
    {"[A-Z]{3}-\\d{4}-[a-z]+", u"ABC-123-abcdefghijkl", false},
};

TEST(PatternMatch, CachedAndUncachedAgreeOnEveryCase) {
    for (const auto& c : kMatches) {
        EXPECT_EQ(PatternMatch(c.pattern, c.value), c.expected) << c.pattern << " / " << Narrow(c.value);
        EXPECT_EQ(PatternMatchUncached(c.pattern, c.value), c.expected) << c.pattern;
        // A second cached call takes the compiled entry.
        EXPECT_EQ(PatternMatch(c.pattern, c.value), c.expected) << c.pattern;
    }
}

// Long subjects through recursive groups: the cached form (JIT where available) must give the
// interpreter's answer even where the JIT's own stack runs short.
TEST(PatternMatch, CachedAndUncachedAgreeOnLongRecursiveSubjects) {
    const std::u16string longA(20000, u'a');
    for (const char* p : {"(a|b)*", "(a|b)*c", "((a)|(b))+"}) {
        for (const std::u16string& v : {longA, longA + u"c"}) {
            bool uncached = false, cached = true;
            EXPECT_NO_THROW(uncached = PatternMatchUncached(p, v));
            EXPECT_NO_THROW(cached = PatternMatch(p, v));
            EXPECT_EQ(cached, uncached) << p << " length " << v.size();
        }
    }
}

TEST(PatternMatch, WidePatternIsConvertedToItsFirstNul) {
    EXPECT_TRUE(PatternMatchWide(u"\u00e9+", u"\u00e9\u00e9"));
    EXPECT_TRUE(PatternMatchWide(std::u16string(u"a\0b", 3).c_str(), u"a"));
}

TEST(PatternMatch, InvalidPatternRaisesAtEveryCallWithTheValueInTheMessage) {
    for (const char* bad : {R"(\p{IsGreek})", R"(\p{IsLatinExtended-B})", "(", "[z-a]"}) {
        for (int round = 0; round < 2; ++round) {
            for (bool cached : {true, false}) {
                try {
                    cached ? PatternMatch(bad, u"xyz") : PatternMatchUncached(bad, u"xyz");
                    ADD_FAILURE() << "no exception for " << bad;
                } catch (const CKvException& e) {
                    const std::string m = Narrow(e.GetMessage());
                    EXPECT_EQ(m.rfind("Invalid Regular Expression: xyz Error: '", 0), 0u) << m;
                    EXPECT_EQ(m.back(), '\'') << m;
                    EXPECT_GT(m.size(), std::string("Invalid Regular Expression: xyz Error: ''").size());
                }
            }
        }
    }
}

TEST(PatternCache, IsBoundedAndCanBeCleared) {
    ClearPatternCache();
    EXPECT_EQ(PatternCacheSize(), 0u);
    PatternMatch("x", u"x");
    PatternMatch("x", u"y");
    EXPECT_EQ(PatternCacheSize(), 1u);
    for (std::size_t i = 0; i < PatternCacheCapacity + 40; ++i) {
        const std::string p = "a{" + std::to_string(i) + "}";
        EXPECT_EQ(PatternMatch(p.c_str(), std::u16string(i, u'a')), true) << p;
        EXPECT_LE(PatternCacheSize(), PatternCacheCapacity);
    }
    EXPECT_EQ(PatternCacheSize(), PatternCacheCapacity);
    // The uncached path never fills the cache.
    ClearPatternCache();
    PatternMatchUncached("q", u"q");
    EXPECT_EQ(PatternCacheSize(), 0u);
}

// Many threads on shared and private patterns, with capture counts that make the per-thread
// match data grow; any mix-up of compiled code or match data shows up as a wrong answer.
TEST(PatternCache, ConcurrentChecksGiveTheSameAnswers) {
    ClearPatternCache();
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t, &wrong] {
            const std::string own = "(t)(" + std::to_string(t) + ")((x)(y))?";
            const std::u16string ownValue = u"t" + std::u16string(1, char16_t(u'0' + t));
            for (int i = 0; i < 300; ++i) {
                const MatchCase& c = kMatches[(i + t) % std::size(kMatches)];
                if (PatternMatch(c.pattern, c.value) != c.expected) ++wrong;
                if (!PatternMatch(own.c_str(), ownValue)) ++wrong;
                if (PatternMatch(own.c_str(), ownValue + u"!")) ++wrong;
                if (i % 50 == 0) ClearPatternCache();
            }
        });
    }
    for (auto& th : threads) th.join();
    EXPECT_EQ(wrong.load(), 0);
}

TEST(WideToUtf8, EncodesAndStopsAtLoneSurrogates) {
    EXPECT_EQ(WideToUtf8(u"abc"), "abc");
    EXPECT_EQ(WideToUtf8(u""), "");
    EXPECT_EQ(WideToUtf8(nullptr), "");
    EXPECT_EQ(WideToUtf8(u"\u00e9\u20ac"), "\xC3\xA9\xE2\x82\xAC");
    EXPECT_EQ(WideToUtf8(u"\U0001F600"), "\xF0\x9F\x98\x80");
    EXPECT_EQ(WideToUtf8(u"a\xD83D" u"b"), "a");
    EXPECT_EQ(WideToUtf8(u"a\xDC00" u"b"), "a");
}

} // namespace
