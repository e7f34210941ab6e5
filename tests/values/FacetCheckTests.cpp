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

Facets Fraction(int32_t n) { Facets f; f.fractionDigits = n; return f; }
Facets Length(int32_t n) { return Lengths(-1, -1, n); }
Facets AllBounds(const char16_t* v) { Facets f; f.minInclusive = f.maxInclusive = f.minExclusive = f.maxExclusive = v; return f; }

TEST(FacetCheck, ValueClassKinds) {
    const struct {
        ItemType kind;
        const char16_t* value;
        Facets facets;
        std::string expected;  // empty: passes
    } rows[] = {
        // Binary lengths count bytes, never the characters shown.
        {ItemType_hexBinary, u"0aFF10", Length(3), ""},
        {ItemType_hexBinary, u"0aFF10", Length(6), "Invalid Value for v [0AFF10]."},
        {ItemType_hexBinary, u"0aFF10", Lengths(4, -1, -1), "Invalid Value for v [0AFF10]."},
        {ItemType_hexBinary, u"0aFF10", Lengths(-1, 2, -1), "Invalid Value for v [0AFF10]."},
        {ItemType_hexBinary, u"0aFF10", [] { Facets f = MaxInc(u"junk"); f.pattern = u"x"; f.totalDigits = 1; return f; }(), ""},
        {ItemType_base64Binary, u"AQID", Lengths(3, 3, 3), ""},
        {ItemType_base64Binary, u"AQID", Lengths(-1, 2, -1), "Invalid Value for v [AQID]."},
        // Durations and dates are ordered by their comparison; each facet's failing results.
        {ItemType_duration, u"P1D", MinInc(u"P2D"), "Invalid Value for v [P1D]."},
        {ItemType_duration, u"P1D", MinInc(u"P1D"), ""},
        {ItemType_duration, u"P1D", MaxExc(u" P1D "), "Invalid Value for v [P1D]."},
        {ItemType_duration, u"-P1D", MinExc(u"-P1D"), "Invalid Value for v [-P1D]."},
        {ItemType_duration, u"P1M", AllBounds(u"P30D"), ""},  // indeterminate fails nothing
        {ItemType_yearMonth, u"2024-05", MaxInc(u"2024-04"), "Invalid Value for v [2024-05]."},
        {ItemType_yearMonth, u"2024-04", MaxInc(u"2024-04"), ""},
        {ItemType_monthDay, u"--05-01", MinExc(u"--05-01"), "Invalid Value for v [--05-01]."},
        {ItemType_monthDay, u"--05-02", MinExc(u"--05-01"), ""},
        {ItemType_date, u"2024-05-01", MaxExc(u"2024-05-01"), "Invalid Value for v [2024-05-01]."},
        {ItemType_date, u"2024-05-01Z", AllBounds(u"2024-05-01"), ""},
        {ItemType_date, u"2024-05-01Z", MinInc(u"2024-05-02"), ""},  // still within 14 hours
        {ItemType_date, u"2024-05-01Z", MinInc(u"2024-05-03"), "Invalid Value for v [2024-05-01Z]."},
        {ItemType_datetime, u"2024-05-01T10:00:00", MinInc(u"2024-05-01T10:00:01"),
         "Invalid Value for v [2024-05-01T10:00:00]."},
        {ItemType_datetime, u"2024-05-01T10:00:00Z", MaxInc(u"2024-05-01T12:00:00+02:00"), ""},
        {ItemType_datetime, u"2024-05-01T10:00:00Z", MaxExc(u"2024-05-01T12:00:00+02:00"),
         "Invalid Value for v [2024-05-01T10:00:00Z]."},
        {ItemType_time, u"10:00:00", MaxInc(u"09:59:59"), "Invalid Value for v [10:00:00]."},
        {ItemType_time, u"10:00:00", MaxExc(u"10:00:01"), ""},
        // Decimals: bounds, then total and fraction digits, signs and zero parts not counted.
        {ItemType_decimal, u"12.50", Fraction(1), ""},  // held as 12.5
        {ItemType_decimal, u"12.55", Fraction(1), "Invalid Value for v [12.55]."},
        {ItemType_decimal, u"-12.5", Digits(3), ""},
        {ItemType_decimal, u"123.5", Digits(3), "Invalid Value for v [123.5]."},
        {ItemType_decimal, u"0.125", Digits(3), ""},
        {ItemType_decimal, u"-0.1255", Digits(3), "Invalid Value for v [-0.1255]."},
        {ItemType_decimal, u"100", [] { Facets f = Digits(3); f.fractionDigits = 0; return f; }(), ""},
        {ItemType_decimal, u"12.50", MaxExc(u"12.5"), "Invalid Value for v [12.5]."},
        {ItemType_decimal, u"12.5", MinInc(u" 12.6 "), "Invalid Value for v [12.5]."},
        {ItemType_decimal, u"-0.5", MinExc(u"-1"), ""},
        // Integers: bounds beyond 64 bits, then every character of the text, the sign too.
        {ItemType_integer, u"100000000000000000000", MaxInc(u"99999999999999999999"),
         "Invalid Value for v [100000000000000000000]."},
        {ItemType_integer, u"-100000000000000000000", MinExc(u"-100000000000000000000"),
         "Invalid Value for v [-100000000000000000000]."},
        {ItemType_integer, u"-99", Digits(2), "Invalid Value for v [-99]."},
        {ItemType_integer, u"99", [] { Facets f = Digits(2); f.fractionDigits = 0; return f; }(), ""},
    };
    for (const auto& r : rows)
        EXPECT_EQ(Check(r.kind, r.value, r.facets), r.expected) << r.kind << " " << Narrow(r.value);

    // A bound of the wrong form raises its conversion's failure, and only when it is reached.
    for (const auto& [kind, value, bound] : {std::tuple{ItemType_date, u"2024-05-01", u"May 1st"},
                                             std::tuple{ItemType_duration, u"P1D", u"1 day"},
                                             std::tuple{ItemType_decimal, u"1", u"1.2.3"}})
        EXPECT_THROW(CheckPrimitiveRestrictions(u"v", Value(kind, value), kind, MinInc(bound).Make()),
                     CKvInvalidValueException)
            << Narrow(bound);
    Facets late = MinInc(u"2");
    late.maxExclusive = u"junk";
    EXPECT_EQ(Check(ItemType_integer, u"1", late), "Invalid Value for v [1].");
}

TEST(FacetCheck, WithoutFacetsEveryKindPassesButChar) {
    const struct {
        ItemType kind;
        const char16_t* value;
    } rows[] = {{ItemType_i1, u"-128"}, {ItemType_i2, u"-1"},      {ItemType_i4, u"-1"},     {ItemType_i8, u"1"},
                {ItemType_ui1, u"1"},   {ItemType_ui2, u"1"},      {ItemType_ui4, u"1"},     {ItemType_ui8, u"1"},
                {ItemType_r4, u"1"},    {ItemType_r8, u"NaN"},     {ItemType_year, u"2001"}, {ItemType_month, u"--01"},
                {ItemType_day, u"---01"}, {ItemType_string, u""}, {ItemType_boolean, u"0"},
                {ItemType_hexBinary, u""}, {ItemType_base64Binary, u"AQID"}, {ItemType_duration, u"P1D"},
                {ItemType_yearMonth, u"2024-05"}, {ItemType_monthDay, u"--05-01"}, {ItemType_date, u"2024-05-01"},
                {ItemType_datetime, u"2024-05-01T10:00:00"}, {ItemType_time, u"10:00:00"},
                {ItemType_decimal, u"-0.5"}, {ItemType_integer, u"-1"}};
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
    const char16_t alphabet[] = u"0123456789-+.eE INFaN\t:TZPYMDHS";
    // Each kind with a value to fall back on when the random text is not one of it.
    const struct {
        ItemType kind;
        const char16_t* fallback;
    } kinds[] = {{ItemType_i1, u"1"},          {ItemType_i2, u"1"},        {ItemType_i4, u"1"},
                 {ItemType_i8, u"1"},          {ItemType_ui1, u"1"},       {ItemType_ui2, u"1"},
                 {ItemType_ui4, u"1"},         {ItemType_ui8, u"1"},       {ItemType_r4, u"1"},
                 {ItemType_r8, u"1"},          {ItemType_year, u"2001"},   {ItemType_month, u"--05"},
                 {ItemType_day, u"---05"},     {ItemType_string, u"1"},    {ItemType_hexBinary, u"0A"},
                 {ItemType_duration, u"P1D"},  {ItemType_date, u"2001-05-01Z"}, {ItemType_datetime, u"2001-05-01T00:00:00"},
                 {ItemType_time, u"10:00:00"}, {ItemType_decimal, u"-1.5"}, {ItemType_integer, u"-12"}};
    auto text = [&] {
        std::u16string s(rng() % 8, u' ');
        for (auto& c : s) c = alphabet[rng() % (std::size(alphabet) - 1)];
        return s;
    };
    for (int i = 0; i < 3000; ++i) {
        const auto& [kind, fallback] = kinds[rng() % std::size(kinds)];
        const std::u16string bound = text();
        Facets f;
        (rng() % 2 ? f.minInclusive : f.maxExclusive) = bound.c_str();
        f.totalDigits = static_cast<int32_t>(rng() % 5) - 1;
        f.maxLength = static_cast<int32_t>(rng() % 5) - 1;
        f.fractionDigits = static_cast<int32_t>(rng() % 5) - 1;
        KvVariant v;
        try {
            v.FromString(text(), kind, CWhitespaceUtils::WhitespaceRule_Collapse);
        } catch (const CKvException&) {
            v = Value(kind, fallback);
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
