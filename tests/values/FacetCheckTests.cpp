#include <gtest/gtest.h>

#include <atomic>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "support/KvTestText.h"
#include "kvxml/base/CKvException.h"
#include "kvxml/base/FormatString.h"
#include "kvxml/values/CPrimitiveRestrictions.h"
#include "kvxml/values/KvVariant.h"

using namespace KvXmlLib16;
using namespace KvXmlLib16::PatternInternals;

namespace {

using KvTest::MessageOf;
using KvTest::Narrow;

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

Facets MinInc(const char16_t* v) { return {.minInclusive = v}; }
Facets MaxInc(const char16_t* v) { return {.maxInclusive = v}; }
Facets MinExc(const char16_t* v) { return {.minExclusive = v}; }
Facets MaxExc(const char16_t* v) { return {.maxExclusive = v}; }
Facets Digits(int32_t n) { return {.totalDigits = n}; }
Facets Lengths(int32_t minL, int32_t maxL, int32_t exact) {
    return {.minLength = minL, .maxLength = maxL, .length = exact};
}
Facets Pattern(const char16_t* p) { return {.pattern = p}; }
Facets Never(const char16_t* above, const char16_t* below) { return {.minExclusive = above, .maxExclusive = below}; }
Facets AllBounds(const char16_t* v) {
    return {.minInclusive = v, .maxInclusive = v, .minExclusive = v, .maxExclusive = v};
}

KvVariant Value(ItemType kind, const std::u16string& text) {
    KvVariant v;
    v.FromString(text, kind, CWhitespaceUtils::WhitespaceRule_Preserve);
    return v;
}

// The message of the failure, empty when the check passes.
std::string Check(ItemType kind, const std::u16string& text, const Facets& f, ItemType declared = ItemType_Invalid) {
    const std::string m = MessageOf([&] {
        CheckPrimitiveRestrictions(u"v", Value(kind, text), declared == ItemType_Invalid ? kind : declared, f.Make());
    });
    return m == "<no exception>" ? "" : m;
}

TEST(FacetCheck, BoundsDigitsLengthsAndMessagesOfEveryKind) {
    const std::string nanText = Narrow(FormatString(u"%f", std::numeric_limits<double>::quiet_NaN()));
    // clang-format off
    // expected empty: passes
    const struct { ItemType kind; const char16_t* value; Facets facets; std::string expected; } rows[] = {
        {ItemType_i1, u"10", MinInc(u" 10 "), ""}, // the bound's blanks are collapsed
        {ItemType_i1, u"9", MinInc(u"10"), "Invalid Value for v [9]"},
        {ItemType_i4, u"7", MinExc(u"7"), "Invalid Value for v [7]"},
        {ItemType_i4, u"-99", Digits(2), "Invalid Value for v [-99]"}, // the sign counts
        {ItemType_i8, u"-5000000000", MinInc(u"0"), "Invalid Value for v [-5000000000]."},
        {ItemType_ui8, u"18446744073709551615", MaxInc(u"10"), "Invalid Value for v [18446744073709551615]."},
        {ItemType_ui4, u"4000000000", MaxInc(u"5"), "Invalid Value for v [-294967296]"}, // %d of the bits
        {ItemType_ui4, u"4000000000", MinInc(u"5"), ""},                                 // compared unsigned
        {ItemType_r8, u"123.456", Digits(1), ""},
        {ItemType_r8, u"NaN", MinInc(u"0"), "Invalid Value for v [" + nanText + "]"},
        {ItemType_r8, u"1", MaxInc(u"NaN"), "Invalid Value for v [1.000000]"},
        {ItemType_day, u"---01", MinExc(u"---01"), "Invalid Value for v [1]"},
        {ItemType_boolean, u"true", Facets{.pattern = u"x", .minLength = 5, .maxLength = 0, .minInclusive = u"junk", .length = 0}, ""},
        // Binary lengths count bytes, never the characters shown.
        {ItemType_hexBinary, u"0aFF10", Lengths(-1, -1, 6), "Invalid Value for v [0AFF10]."},
        {ItemType_hexBinary, u"0aFF10", Facets{.pattern = u"x", .maxInclusive = u"junk", .totalDigits = 1}, ""},
        {ItemType_base64Binary, u"AQID", Lengths(-1, 2, -1), "Invalid Value for v [AQID]."},
        // Durations and dates are ordered by their comparison; each facet's failing results.
        {ItemType_duration, u"P1D", MinInc(u"P2D"), "Invalid Value for v [P1D]."},
        {ItemType_duration, u"P1D", MaxExc(u" P1D "), "Invalid Value for v [P1D]."},
        {ItemType_duration, u"P1M", AllBounds(u"P30D"), ""}, // indeterminate fails nothing
        {ItemType_yearMonth, u"2024-05", MaxInc(u"2024-04"), "Invalid Value for v [2024-05]."},
        {ItemType_monthDay, u"--05-01", MinExc(u"--05-01"), "Invalid Value for v [--05-01]."},
        {ItemType_date, u"2024-05-01", MaxExc(u"2024-05-01"), "Invalid Value for v [2024-05-01]."},
        {ItemType_date, u"2024-05-01Z", MinInc(u"2024-05-03"), "Invalid Value for v [2024-05-01Z]."},
        {ItemType_datetime, u"2024-05-01T10:00:00Z", MaxInc(u"2024-05-01T12:00:00+02:00"), ""},
        {ItemType_datetime, u"2024-05-01T10:00:00Z", MaxExc(u"2024-05-01T12:00:00+02:00"),
         "Invalid Value for v [2024-05-01T10:00:00Z]."},
        {ItemType_time, u"10:00:00", MaxInc(u"09:59:59"), "Invalid Value for v [10:00:00]."},
        // Bounds no determinate value could meet: only values incomparable with both pass, those within
        // 14 hours of an unzoned bound and those of fewer fields than the bound.
        {ItemType_datetime, u"2000-01-01T12:00:00Z", Never(u"2000-01-01T20:00:00", u"2000-01-01T05:00:00"), ""},
        {ItemType_datetime, u"2000-01-01T17:00:00+05:00", Never(u"2000-01-01T20:00:00", u"2000-01-01T05:00:00"), ""},
        {ItemType_datetime, u"2000-01-02T12:00:00Z", Never(u"2000-01-01T20:00:00", u"2000-01-01T05:00:00"),
         "Invalid Value for v [2000-01-02T12:00:00Z]."},
        {ItemType_yearMonth, u"2000-06", Never(u"2000-06-15", u"2000-06-01"), ""},
        // Decimals: bounds, then total and fraction digits, signs and zero parts not counted.
        {ItemType_decimal, u"12.55", Facets{.fractionDigits = 1}, "Invalid Value for v [12.55]."},
        {ItemType_decimal, u"123.5", Digits(3), "Invalid Value for v [123.5]."},
        {ItemType_decimal, u"-0.1255", Digits(3), "Invalid Value for v [-0.1255]."},
        {ItemType_decimal, u"100", Facets{.totalDigits = 3, .fractionDigits = 0}, ""},
        {ItemType_decimal, u"12.50", MaxExc(u"12.5"), "Invalid Value for v [12.5]."},
        // Integers: bounds beyond 64 bits, then every character of the text, the sign too.
        {ItemType_integer, u"100000000000000000000", MaxInc(u"99999999999999999999"),
         "Invalid Value for v [100000000000000000000]."},
        {ItemType_integer, u"-99", Digits(2), "Invalid Value for v [-99]."},
    };
    // clang-format on
    for (const auto& r : rows)
        EXPECT_EQ(Check(r.kind, r.value, r.facets), r.expected) << r.kind << " " << Narrow(r.value);
    // The declared kind decides, not the variant's own.
    EXPECT_EQ(Check(ItemType_i4, u"-99", Digits(1), ItemType_boolean), "");

    // A bound of the wrong form raises its conversion's failure, and only when it is reached.
    for (const auto& [kind, value, bound] :
         {std::tuple{ItemType_date, u"2024-05-01", u"May 1st"}, std::tuple{ItemType_duration, u"P1D", u"1 day"},
          std::tuple{ItemType_decimal, u"1", u"1.2.3"}})
        EXPECT_THROW(CheckPrimitiveRestrictions(u"v", Value(kind, value), kind, MinInc(bound).Make()),
                     CKvInvalidValueException)
            << Narrow(bound);
    EXPECT_EQ(Check(ItemType_year, u"2000", Never(u"2000-06-01", u"2000-01-01"), ItemType_date), "");
    Facets late = MinInc(u"2");
    late.maxExclusive = u"junk";
    EXPECT_EQ(Check(ItemType_integer, u"1", late), "Invalid Value for v [1].");
}

TEST(FacetCheck, StringLengthsThenPattern) {
    // clang-format off
    const struct { std::u16string value; Facets facets; bool passes; } rows[] = {
        {u"a", Lengths(2, -1, -1), false}, {u"ab", Lengths(-1, -1, 3), false}, {u"", Lengths(-1, -1, 0), true},
        {u"\U0001F600", Lengths(-1, -1, 2), true}, // 16-bit units, not code points
        {u"abcd", Pattern(u"[a-c]+"), false}, {u"abc\n", Pattern(u"[a-c]+"), false},
        {u"a-1", Pattern(u"\\i\\c*"), true}, {u"\\i", Pattern(u"\\\\i"), true},
        {u"ab\u00e9", Pattern(u"\\p{IsBasicLatin}+"), false}, {u"\u00e9", Pattern(u"\\p{IsLatin-1Supplement}"), true},
        {u"\u00e9\u00e8", Pattern(u"[\u00e8\u00e9]{2}"), true},
    };
    // clang-format on
    for (const auto& r : rows) {
        const std::string expected = r.passes ? "<no exception>" : "Invalid Value for code [" + Narrow(r.value) + "].";
        EXPECT_EQ(MessageOf([&] { CheckStringRestrictions(u"code", r.value, r.facets.Make()); }), expected);
        EXPECT_EQ(MessageOf([&] {
                      CheckPrimitiveRestrictions(u"code", Value(ItemType_string, r.value), ItemType_string,
                                                 r.facets.Make());
                  }),
                  expected);
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
        EXPECT_EQ(MessageOf([&] { CheckStringRestrictions(u"code", u"xyz", f.Make()); }),
                  "Invalid Value for code [xyz].");
    }
    EXPECT_EQ(MessageOf<CKvInvalidValueException>([] {
                  CheckStringRestrictions(u"code", u"xyz", Pattern(u"(").Make());
              }).rfind("<not the expected type> ", 0),
              0u); // the wrapper is a plain exception
}

TEST(PatternTranslation, FixedSeriesOfRewrites) {
    // Each rewrite works on the raw bytes, inside character classes too, and case matters.
    // clang-format off
    const struct { const char *xsd, *expected; } rows[] = {
        {R"(\i\c*)", R"(([^\W\d]|:)(\w|\.|-|:)*)"}, {R"(\I\C)", R"(([\W\d])([^\w\.\-\:]))"},
        {R"([\i])", R"([([^\W\d]|:)])"}, {R"(\\i)", R"(\\i)"}, {R"(\\\i)", R"(\\([^\W\d]|:))"},
        {R"(\p{IsBasicLatin}\p{IsLatin-1Supplement})", R"([\000-\177][\200-\377])"},
        {R"(\p{IsLatinExtended-A}\p{IsLatinExtended-B})", R"([\400-\577][\600-\1117])"},
        {R"(\P{IsBasicLatin}\p{isbasiclatin}\p{IsGreek}\d)", R"(\P{IsBasicLatin}\p{isbasiclatin}\p{IsGreek}\d)"},
    };
    // clang-format on
    for (const auto& r : rows) EXPECT_EQ(TranslateXsdPattern(r.xsd), r.expected) << r.xsd;
}

// clang-format off
struct MatchCase { const char* pattern; std::u16string value; bool expected; };
const MatchCase kMatches[] = {
    {"[a-c]+", u"abc", true},
    {"[a-c]+", u"abc\n", false}, // `$` before a final line feed does not cover the subject
    {"a|b", u"ab", false},       // the alternation is wrapped, both ends anchored
    {"a)|(b", u"xb", false},     // a pattern that breaks out of the wrapping still starts at 0
    {R"(\i\c*)", u":x.y", true},
    {R"(\p{IsLatinExtended-A})", u"\u0101", true},
    {".", u"\U0001F600", true},               // a surrogate pair is one character
    {"a", u"a\xD800" u"b", true},             // a broken surrogate ends the subject
    {"ab", std::u16string(u"ab\0cd", 5), true},  // the subject ends at a NUL
};
// clang-format on

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

TEST(PatternMatch, RandomPatternsAndValuesOnlyReturnOrThrow) {
    std::mt19937 rng(11);
    // clang-format off
    const char pieces[][8] = {"a", "b", "\\", "(", ")", "[", "]", "-", "^", "*", "+", "?", "{", "}", "|", ".",
                              "\\i", "\\c", "\\d", "\\p{", "Is", "\\\\", "{2,3}", "\xc3\xa9", "\xff", ",", "1"};
    // clang-format on
    const char16_t units[] = {u'a', u'b', u'1', u'-', u'\n', 0xE9, 0xD800, 0xDC00, 0xFFFF, 0};
    for (int i = 0; i < 2000; ++i) {
        std::string pattern;
        for (int n = static_cast<int>(rng() % 10); n > 0; --n) pattern += pieces[rng() % std::size(pieces)];
        std::u16string value(rng() % 12, u'a');
        for (auto& c : value) c = units[rng() % std::size(units)];
        try {
            const bool cached = PatternMatch(pattern.c_str(), value);
            EXPECT_EQ(cached, PatternMatchUncached(pattern.c_str(), value)) << pattern;
        } catch (const CKvException&) {}
    }
}

} // namespace
