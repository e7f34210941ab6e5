#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "kvxml/base/CKvException.h"
#include "kvxml/values/CPrimitiveRestrictions.h"

using namespace KvXmlLib16;
using namespace KvXmlLib16::PatternInternals;

namespace {

std::string Narrow(const std::u16string& s) { return std::string(s.begin(), s.end()); }

TEST(PatternTranslation, FixedSeriesOfRewrites) {
    // Each rewrite works on the raw bytes, inside character classes too, and case matters.
    const struct {
        const char *xsd, *expected;
    } rows[] = {
        {R"(\i\c*)", R"(([^\W\d]|:)(\w|\.|-|:)*)"},
        {R"(\I\C)", R"(([\W\d])([^\w\.\-\:]))"},
        {R"([\i])", R"([([^\W\d]|:)])"},
        {R"(\\i)", R"(\\i)"},
        {R"(\\\i)", R"(\\([^\W\d]|:))"},
        {R"(\p{IsBasicLatin}\p{IsLatin-1Supplement})", R"([\000-\177][\200-\377])"},
        {R"(\p{IsLatinExtended-A}\p{IsLatinExtended-B})", R"([\400-\577][\600-\1117])"},
        {R"(\P{IsBasicLatin}\p{isbasiclatin}\p{IsGreek}\d)", R"(\P{IsBasicLatin}\p{isbasiclatin}\p{IsGreek}\d)"},
    };
    for (const auto& r : rows) EXPECT_EQ(TranslateXsdPattern(r.xsd), r.expected) << r.xsd;
}

struct MatchCase {
    const char* pattern;
    std::u16string value;
    bool expected;
};

const MatchCase kMatches[] = {
    {"[a-c]+", u"abc", true},
    {"[a-c]+", u"abc\n", false},  // `$` before a final line feed does not cover the subject
    {"a|b", u"ab", false},        // the alternation is wrapped, both ends anchored
    {R"(\i\c*)", u":x.y", true},
    {R"(\I)", u"1", true},
    {R"(\I)", u"a", false},
    {R"(\C+)", u" /", true},
    {R"(\C)", u"-", false},
    {R"(\\i)", u"i", false},
    {R"(\p{IsLatinExtended-A})", u"\u0101", true},
    {R"(\p{IsLatinExtended-A})", u"\u00e9", false},
    {".", u"\U0001F600", true},               // a surrogate pair is one character
    {"a", u"a\xD800" u"b", false},            // a lone surrogate does not end the subject
    {"a.b", u"a\xDC00" u"b", true},           // it stands as one replacement character
    {"ab", std::u16string(u"ab\0cd", 5), true},  // the subject ends at a NUL
};

TEST(PatternMatch, CachedAndUncachedGiveTheSameAnswers) {
    for (const auto& c : kMatches) {
        EXPECT_EQ(PatternMatch(c.pattern, c.value), c.expected) << c.pattern << " / " << Narrow(c.value);
        EXPECT_EQ(PatternMatch(c.pattern, c.value), c.expected) << c.pattern;  // from the cache
        EXPECT_EQ(PatternMatchUncached(c.pattern, c.value), c.expected) << c.pattern;
    }
    EXPECT_TRUE(PatternMatchWide(std::u16string(u"a\0b", 3).c_str(), u"a"));  // the pattern ends at a NUL
    // Long subjects through recursive groups: where the JIT's stack runs short, the interpreter decides.
    const std::u16string longA(20000, u'a');
    for (const char* p : {"(a|b)*", "(a|b)*c"})
        for (const std::u16string& v : {longA, longA + u"c"}) EXPECT_EQ(PatternMatch(p, v), PatternMatchUncached(p, v));
}

TEST(PatternMatch, InvalidPatternRaisesAtEveryCallWithTheValueInTheMessage) {
    for (const char* bad : {R"(\p{IsGreek})", R"(\p{IsLatinExtended-B})", "(", "\xff"}) {
        for (int call = 0; call < 4; ++call) {
            try {
                call % 2 ? PatternMatch(bad, u"xyz") : PatternMatchUncached(bad, u"xyz");
                ADD_FAILURE() << bad;
            } catch (const CKvException& e) {
                const std::string m = Narrow(e.GetMessage());
                EXPECT_EQ(m.rfind("Invalid Regular Expression: xyz Error: '", 0), 0u) << m;
                EXPECT_GT(m.size(), 42u) << m;
                EXPECT_EQ(m.back(), '\'') << m;
            }
        }
    }
}

TEST(PatternCache, IsBoundedAndSharedByThreads) {
    ClearPatternCache();
    PatternMatch("x", u"x");
    PatternMatch("x", u"y");
    PatternMatchUncached("q", u"q");
    EXPECT_EQ(PatternCacheSize(), 1u);
    for (std::size_t i = 0; i < PatternCacheCapacity + 40; ++i) {
        const std::string p = "a{" + std::to_string(i) + "}";
        EXPECT_TRUE(PatternMatch(p.c_str(), std::u16string(i, u'a'))) << p;
    }
    EXPECT_EQ(PatternCacheSize(), PatternCacheCapacity);

    // Shared and private patterns, with capture counts that make each thread's match data grow,
    // while the cache is cleared under them: any mix-up shows as a wrong answer.
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t, &wrong] {
            const std::string own = "(t)(" + std::to_string(t) + ")((x)(y))?";
            const std::u16string ownValue = u"t" + std::u16string(1, char16_t(u'0' + t));
            for (int i = 0; i < 300; ++i) {
                const MatchCase& c = kMatches[(i + t) % std::size(kMatches)];
                if (PatternMatch(c.pattern, c.value) != c.expected) ++wrong;
                if (!PatternMatch(own.c_str(), ownValue) || PatternMatch(own.c_str(), ownValue + u"!")) ++wrong;
                if (i % 50 == 0) ClearPatternCache();
            }
        });
    }
    for (auto& th : threads) th.join();
    EXPECT_EQ(wrong.load(), 0);
}

TEST(WideToUtf8, EncodesEveryUnit) {
    EXPECT_EQ(WideToUtf8(nullptr), "");
    EXPECT_EQ(WideToUtf8(u"a\u00e9\u20ac\U0001F600"), "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
    EXPECT_EQ(WideToUtf8(u"a\xD83D" u"b\xDC00"), "a\xEF\xBF\xBD" "b\xEF\xBF\xBD");
}

TEST(PatternMatch, RandomPatternsAndValuesOnlyReturnOrThrow) {
    std::mt19937 rng(11);
    const char pieces[][8] = {"a", "b", "\\", "(", ")", "[", "]", "-", "^", "*", "+", "?", "{", "}", "|", ".",
                              "\\i", "\\c", "\\d", "\\p{", "Is", "\\\\", "{2,3}", "\xc3\xa9", "\xff", ",", "1"};
    const char16_t units[] = {u'a', u'b', u'1', u'-', u'\n', 0xE9, 0xD800, 0xDC00, 0xFFFF, 0};
    for (int i = 0; i < 2000; ++i) {
        std::string pattern;
        for (int n = static_cast<int>(rng() % 10); n > 0; --n) pattern += pieces[rng() % std::size(pieces)];
        std::u16string value(rng() % 12, u'a');
        for (auto& c : value) c = units[rng() % std::size(units)];
        try {
            const bool cached = PatternMatch(pattern.c_str(), value);
            EXPECT_EQ(cached, PatternMatchUncached(pattern.c_str(), value)) << pattern;
        } catch (const CKvException&) {
        }
    }
}

} // namespace
