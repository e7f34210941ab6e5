#include <gtest/gtest.h>

#include <atomic>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "kvxml/base/CKvException.h"
#include "kvxml/base/FormatString.h"
#include "kvxml/values/CPrimitiveRestrictions.h"
#include "kvxml/values/KvVariant.h"

using namespace KvXmlLib16;
using namespace KvXmlLib16::PatternInternals;

namespace {

std::string Narrow(const std::u16string& s) {
    std::string out;
    for (char16_t c : s) out += c < 128 ? static_cast<char>(c) : '?';
    return out;
}

template <class F>
std::string MessageOf(F f) {
    try {
        f();
    } catch (const CKvException& e) {
        return Narrow(e.GetMessage());
    }
    return "(no exception)";
}

// Facets by name, so that a table row states only what it sets.
struct Facets {
    const char16_t* pattern = nullptr;
    int32_t minLength = -1, maxLength = -1;
    const char16_t *minInclusive = nullptr, *maxInclusive = nullptr, *minExclusive = nullptr, *maxExclusive = nullptr;
    int32_t length = -1, totalDigits = -1, fractionDigits = -1;

    CPrimitiveRestrictions Make() const {
        return CPrimitiveRestrictions(pattern, minLength, maxLength, minInclusive, maxInclusive, minExclusive,
                                      maxExclusive, length, totalDigits, fractionDigits);
    }
};

Facets MinInc(const char16_t* v) { Facets f; f.minInclusive = v; return f; }
Facets MaxInc(const char16_t* v) { Facets f; f.maxInclusive = v; return f; }
Facets MinExc(const char16_t* v) { Facets f; f.minExclusive = v; return f; }
Facets MaxExc(const char16_t* v) { Facets f; f.maxExclusive = v; return f; }
Facets Digits(int32_t n) { Facets f; f.totalDigits = n; return f; }
Facets Lengths(int32_t minL, int32_t maxL, int32_t exact) { Facets f; f.minLength = minL; f.maxLength = maxL; f.length = exact; return f; }
Facets Pattern(const char16_t* p) { Facets f; f.pattern = p; return f; }

KvVariant Value(ItemType kind, const std::u16string& text) {
    KvVariant v;
    v.FromString(text, kind, CWhitespaceUtils::WhitespaceRule_Preserve);
    return v;
}

// The message of the failure, empty when the check passes.
std::string Check(ItemType kind, const std::u16string& text, const Facets& f, ItemType declared = ItemType_Invalid) {
    try {
        CheckPrimitiveRestrictions(u"v", Value(kind, text), declared == ItemType_Invalid ? kind : declared, f.Make());
        return "";
    } catch (const CKvException& e) {
        return Narrow(e.GetMessage());
    }
}

TEST(FacetCheck, ScalarBoundsDigitsAndMessages) {
    const std::string nanText = Narrow(FormatString(u"%f", std::numeric_limits<double>::quiet_NaN()));
    const struct {
        ItemType kind;
        const char16_t* value;
        Facets facets;
        std::string expected;  // empty: passes
    } rows[] = {
        {ItemType_i1, u"10", MinInc(u" 10 "), ""},  // the bound's blanks are collapsed
        {ItemType_i1, u"9", MinInc(u"10"), "Invalid Value for v [9]"},
        {ItemType_i2, u"-4", MaxInc(u"-5"), "Invalid Value for v [-4]"},
        {ItemType_i4, u"7", MinExc(u"7"), "Invalid Value for v [7]"},
        {ItemType_i4, u"8", MinExc(u"7"), ""},
        {ItemType_i4, u"7", MaxExc(u"7"), "Invalid Value for v [7]"},
        {ItemType_i4, u"-99", Digits(2), "Invalid Value for v [-99]"},  // the sign counts
        {ItemType_i4, u"99", Digits(2), ""},
        {ItemType_i4, u"5", [] { Facets f; f.fractionDigits = 0; return f; }(), ""},
        {ItemType_i8, u"-5000000000", MinInc(u"0"), "Invalid Value for v [-5000000000]."},
        {ItemType_i8, u"-10", Digits(2), "Invalid Value for v [-10]."},
        {ItemType_ui8, u"18446744073709551615", MaxInc(u"10"), "Invalid Value for v [18446744073709551615]."},
        {ItemType_ui4, u"4000000000", MaxInc(u"5"), "Invalid Value for v [-294967296]"},  // %d of the bits
        {ItemType_ui4, u"4000000000", MinInc(u"5"), ""},                                  // compared unsigned
        {ItemType_ui1, u"200", MaxExc(u"200"), "Invalid Value for v [200]"},
        {ItemType_ui2, u"65535", Digits(4), "Invalid Value for v [65535]"},
        {ItemType_r4, u"1.5", MaxExc(u"1.5"), "Invalid Value for v [1.500000]"},
        {ItemType_r8, u"-0.25", MinInc(u"0"), "Invalid Value for v [-0.250000]"},
        {ItemType_r8, u"123.456", Digits(1), ""},
        {ItemType_r8, u"NaN", {}, ""},
        {ItemType_r8, u"NaN", MinInc(u"0"), "Invalid Value for v [" + nanText + "]"},
        {ItemType_r8, u"1", MaxInc(u"NaN"), "Invalid Value for v [1.000000]"},
        {ItemType_year, u"2024", MinInc(u"2025"), "Invalid Value for v [2024]"},
        {ItemType_month, u"--12", MaxExc(u"--12"), "Invalid Value for v [12]"},
        {ItemType_day, u"---01", MinExc(u"---01"), "Invalid Value for v [1]"},
        {ItemType_day, u"---31", Digits(1), ""},
        {ItemType_boolean, u"true", [] { Facets f = Lengths(5, 0, 0); f.pattern = u"x"; f.minInclusive = u"junk"; return f; }(), ""},
    };
    for (const auto& r : rows) EXPECT_EQ(Check(r.kind, r.value, r.facets), r.expected) << Narrow(r.value);
    // The declared kind decides, not the variant's own.
    EXPECT_EQ(Check(ItemType_i4, u"-99", Digits(1), ItemType_boolean), "");
}

TEST(FacetCheck, WithoutFacetsEveryKindPassesButChar) {
    const struct {
        ItemType kind;
        const char16_t* value;
    } rows[] = {{ItemType_i1, u"-128"}, {ItemType_i2, u"-1"},      {ItemType_i4, u"-1"},     {ItemType_i8, u"1"},
                {ItemType_ui1, u"1"},   {ItemType_ui2, u"1"},      {ItemType_ui4, u"1"},     {ItemType_ui8, u"1"},
                {ItemType_r4, u"1"},    {ItemType_r8, u"NaN"},     {ItemType_year, u"2001"}, {ItemType_month, u"--01"},
                {ItemType_day, u"---01"}, {ItemType_string, u""}, {ItemType_boolean, u"0"}};
    for (const auto& r : rows) EXPECT_EQ(Check(r.kind, r.value, {}), "") << r.kind;

    EXPECT_EQ(Check(ItemType_char, u"x", {}), "Unknown type [char].");
    EXPECT_THROW(CheckPrimitiveRestrictions(u"v", Value(ItemType_char, u"x"), ItemType_char, CPrimitiveRestrictions()),
                 CKvInvalidValueException);
    // Outside the known kinds the variant's own type text is shown.
    EXPECT_EQ(Check(ItemType_string, u"a", {}, static_cast<ItemType>(99)), "Unknown type [string].");
    // Object kinds have no type text: asking for it is what fails.
    KvVariant o;
    o.SetXmlObject(nullptr);
    EXPECT_THROW(CheckPrimitiveRestrictions(u"v", o, ItemType_xmlObject, CPrimitiveRestrictions()), CKvException);
}

TEST(FacetCheck, MalformedBoundFailsAtTheCheckOnlyWhenReached) {
    EXPECT_THROW(CheckPrimitiveRestrictions(u"v", Value(ItemType_i4, u"5"), ItemType_i4, MinInc(u"five").Make()),
                 CKvInvalidValueException);
    Facets f = MinInc(u"1");
    f.maxExclusive = u"junk";
    EXPECT_EQ(Check(ItemType_i4, u"0", f), "Invalid Value for v [0]");
}

TEST(FacetCheck, StringLengthsThenPattern) {
    const struct {
        std::u16string value;
        Facets facets;
        bool passes;
    } rows[] = {
        {u"a", Lengths(2, -1, -1), false},
        {u"ab", Lengths(2, -1, -1), true},
        {u"abcd", Lengths(-1, 3, -1), false},
        {u"ab", Lengths(-1, -1, 3), false},
        {u"", Lengths(-1, -1, 0), true},
        {u"\U0001F600", Lengths(-1, -1, 2), true},  // 16-bit units, not code points
        {u"abc", Pattern(u"[a-c]+"), true},
        {u"abcd", Pattern(u"[a-c]+"), false},
        {u"abc\n", Pattern(u"[a-c]+"), false},
        {u"a-1", Pattern(u"\\i\\c*"), true},
        {u"1a", Pattern(u"\\i\\c*"), false},
        {u"\\i", Pattern(u"\\\\i"), true},
        {u"abc", Pattern(u"\\p{IsBasicLatin}+"), true},
        {u"ab\u00e9", Pattern(u"\\p{IsBasicLatin}+"), false},
        {u"\u00e9", Pattern(u"\\p{IsLatin-1Supplement}"), true},
        {u"\u00e9\u00e8", Pattern(u"[\u00e8\u00e9]{2}"), true},
    };
    for (const auto& r : rows) {
        const std::string expected = r.passes ? "" : "Invalid Value for code [" + Narrow(r.value) + "].";
        for (bool throughVariant : {false, true}) {
            std::string message;
            try {
                if (throughVariant)
                    CheckPrimitiveRestrictions(u"code", Value(ItemType_string, r.value), ItemType_string, r.facets.Make());
                else
                    CheckStringRestrictions(u"code", r.value, r.facets.Make());
            } catch (const CKvException& e) {
                message = Narrow(e.GetMessage());
            }
            EXPECT_EQ(message, expected) << Narrow(r.value);
        }
    }
}

// An invalid pattern fails at every call, cached or not, with the value in the message; the
// string check wraps it, after the length facets, which fail plainly without compiling it.
TEST(FacetCheck, InvalidPatternFailsAtEveryCheckWithTheDoubledMessage) {
    for (const char16_t* bad : {u"\\p{IsGreek}", u"\\p{IsLatinExtended-B}", u"(abc", u"[z-a]"}) {
        const std::string utf8 = Narrow(bad);
        const std::string inner = MessageOf([&] { PatternMatchUncached(utf8.c_str(), u"xyz"); });
        EXPECT_EQ(inner.rfind("Invalid Regular Expression: xyz Error: '", 0), 0u) << inner;
        EXPECT_TRUE(inner.size() > 42 && inner.back() == '\'') << inner;
        Facets f = Pattern(bad);
        for (int round = 0; round < 2; ++round) {
            EXPECT_EQ(MessageOf([&] { PatternMatch(utf8.c_str(), u"xyz"); }), inner);
            EXPECT_EQ(MessageOf([&] { CheckStringRestrictions(u"code", u"xyz", f.Make()); }),
                      inner + "\nInvalid Value for code [xyz].");
        }
        f.maxLength = 2;
        EXPECT_EQ(MessageOf([&] { CheckStringRestrictions(u"code", u"xyz", f.Make()); }), "Invalid Value for code [xyz].");
    }
    try {
        CheckStringRestrictions(u"code", u"xyz", Pattern(u"(").Make());
    } catch (const CKvException& e) {
        EXPECT_EQ(typeid(e), typeid(CKvException));
    }
}

TEST(FacetCheck, RandomBoundsAndValuesOnlyReturnOrThrow) {
    std::mt19937 rng(7);
    const char16_t alphabet[] = u"0123456789-+.eE INFaN\t:TZ";
    const ItemType kinds[] = {ItemType_i1, ItemType_i2, ItemType_i4, ItemType_i8, ItemType_ui1, ItemType_ui2,
                              ItemType_ui4, ItemType_ui8, ItemType_r4, ItemType_r8, ItemType_year, ItemType_month,
                              ItemType_day, ItemType_string};
    auto text = [&] {
        std::u16string s(rng() % 8, u' ');
        for (auto& c : s) c = alphabet[rng() % (std::size(alphabet) - 1)];
        return s;
    };
    for (int i = 0; i < 3000; ++i) {
        const ItemType kind = kinds[rng() % std::size(kinds)];
        const std::u16string bound = text();
        Facets f;
        (rng() % 2 ? f.minInclusive : f.maxExclusive) = bound.c_str();
        f.totalDigits = static_cast<int32_t>(rng() % 5) - 1;
        f.maxLength = static_cast<int32_t>(rng() % 5) - 1;
        KvVariant v;
        try {
            v.FromString(text(), kind, CWhitespaceUtils::WhitespaceRule_Collapse);
        } catch (const CKvException&) {
            v = Value(kind, kind == ItemType_month ? u"--05"
                            : kind == ItemType_day ? u"---05"
                            : kind == ItemType_year ? u"2001"
                                                    : u"1");
        }
        try {
            CheckPrimitiveRestrictions(u"v", v, kind, f.Make());
        } catch (const CKvException&) {
        }
    }
}

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
    {"a)|(b", u"xb", false},      // a pattern that breaks out of the wrapping still starts at 0
    {"a)|(b", u"b", true},
    {R"(\i\c*)", u":x.y", true},
    {R"(\I)", u"1", true},
    {R"(\I)", u"a", false},
    {R"(\C+)", u" /", true},
    {R"(\C)", u"-", false},
    {R"(\\i)", u"i", false},
    {R"(\p{IsLatinExtended-A})", u"\u0101", true},
    {R"(\p{IsLatinExtended-A})", u"\u00e9", false},
    {".", u"\U0001F600", true},               // a surrogate pair is one character
    {"a", u"a\xD800" u"b", true},             // a broken surrogate ends the subject
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

TEST(WideToUtf8, EncodesUpToABrokenSurrogate) {
    const struct {
        const char16_t* wide;
        const char* utf8;
    } rows[] = {{nullptr, ""}, {u"a\u00e9\u20ac\U0001F600", "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"},
                {u"a\xD83D" u"b", "a"}, {u"a\xDC00" u"b", "a"}};
    for (const auto& r : rows) EXPECT_EQ(PatternInternals::WideToUtf8(r.wide), r.utf8);
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
