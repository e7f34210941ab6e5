#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <string>

#include "kvxml/base/CKvException.h"
#include "kvxml/base/FormatString.h"
#include "kvxml/values/CPrimitiveRestrictions.h"
#include "kvxml/values/KvVariant.h"

using namespace KvXmlLib16;

namespace {

std::string Narrow(const std::u16string& s) {
    std::string out;
    for (char16_t c : s) out += c < 128 ? static_cast<char>(c) : '?';
    return out;
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
    } rows[] = {{ItemType_i1, u"-128"}, {ItemType_i8, u"1"}, {ItemType_ui8, u"1"}, {ItemType_r4, u"1"},
                {ItemType_year, u"2001"},  {ItemType_string, u"x"}, {ItemType_boolean, u"0"}};
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

TEST(FacetCheck, InvalidPatternGivesTheDoubledMessageAtEveryCheckAfterTheLengths) {
    for (const char16_t* bad : {u"\\p{IsGreek}", u"\\p{IsLatinExtended-B}", u"(abc"}) {
        std::u16string inner;
        try {
            PatternInternals::PatternMatchWide(bad, u"xyz");
        } catch (const CKvException& e) {
            inner = e.GetFullMessage();
        }
        ASSERT_FALSE(inner.empty()) << Narrow(bad);
        Facets f = Pattern(bad);
        for (int round = 0; round < 2; ++round) {
            try {
                CheckStringRestrictions(u"code", u"xyz", f.Make());
                ADD_FAILURE() << Narrow(bad);
            } catch (const CKvException& e) {
                EXPECT_EQ(Narrow(e.GetMessage()), Narrow(inner + u"\nInvalid Value for code [xyz]."));
                EXPECT_EQ(typeid(e), typeid(CKvException));
            }
        }
        // A text too long fails plainly: the pattern is never compiled.
        f.maxLength = 2;
        try {
            CheckStringRestrictions(u"code", u"xyz", f.Make());
        } catch (const CKvException& e) {
            EXPECT_EQ(Narrow(e.GetMessage()), "Invalid Value for code [xyz].");
        }
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
            v = Value(kind, kind == ItemType_month ? u"--05" : kind == ItemType_day ? u"---05" : kind == ItemType_year ? u"2001" : u"1");
        }
        try {
            CheckPrimitiveRestrictions(u"v", v, kind, f.Make());
        } catch (const CKvException&) {
        }
    }
}

} // namespace
