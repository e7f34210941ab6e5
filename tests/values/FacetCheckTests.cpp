#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
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
    const char16_t* minInclusive = nullptr;
    const char16_t* maxInclusive = nullptr;
    const char16_t* minExclusive = nullptr;
    const char16_t* maxExclusive = nullptr;
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

// Empty expected message: the check passes.
std::u16string Check(const KvVariant& v, ItemType kind, const Facets& f) {
    try {
        CheckPrimitiveRestrictions(u"v", v, kind, f.Make());
        return std::u16string();
    } catch (const CKvException& e) {
        return e.GetMessage();
    }
}

KvVariant Var(std::function<void(KvVariant&)> set) {
    KvVariant v;
    set(v);
    return v;
}

struct Row {
    const char* what;
    KvVariant value;
    ItemType kind;
    Facets facets;
    std::u16string expected;  // empty: passes
};

TEST(FacetCheck, ScalarBoundsDigitsAndMessages) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const Row rows[] = {
        // bounds, each inclusive/exclusive edge, with whitespace collapsed in the bound text
        {"i1 min ok", Var([](KvVariant& v) { v.SetI1(10); }), ItemType_i1, MinInc(u" 10 "), u""},
        {"i1 min fail", Var([](KvVariant& v) { v.SetI1(9); }), ItemType_i1, MinInc(u"10"), u"Invalid Value for v [9]"},
        {"i2 max ok", Var([](KvVariant& v) { v.SetI2(-5); }), ItemType_i2, MaxInc(u"-5"), u""},
        {"i2 max fail", Var([](KvVariant& v) { v.SetI2(-4); }), ItemType_i2, MaxInc(u"-5"), u"Invalid Value for v [-4]"},
        {"i4 minExc edge", Var([](KvVariant& v) { v.SetI4(7); }), ItemType_i4, MinExc(u"7"), u"Invalid Value for v [7]"},
        {"i4 minExc ok", Var([](KvVariant& v) { v.SetI4(8); }), ItemType_i4, MinExc(u"7"), u""},
        {"i4 maxExc edge", Var([](KvVariant& v) { v.SetI4(7); }), ItemType_i4, MaxExc(u"7"), u"Invalid Value for v [7]"},
        {"i4 maxExc ok", Var([](KvVariant& v) { v.SetI4(6); }), ItemType_i4, MaxExc(u"7"), u""},
        // totalDigits counts the minus sign
        {"i4 -99 in 2", Var([](KvVariant& v) { v.SetI4(-99); }), ItemType_i4, Digits(2), u"Invalid Value for v [-99]"},
        {"i4 99 in 2", Var([](KvVariant& v) { v.SetI4(99); }), ItemType_i4, Digits(2), u""},
        {"i4 -99 in 3", Var([](KvVariant& v) { v.SetI4(-99); }), ItemType_i4, Digits(3), u""},
        {"i4 fractionDigits ignored", Var([](KvVariant& v) { v.SetI4(5); }), ItemType_i4,
         [] { Facets f; f.fractionDigits = 0; return f; }(), u""},
        // 64-bit kinds show their text and end with a point
        {"i8 min", Var([](KvVariant& v) { v.SetI8(-5000000000LL); }), ItemType_i8, MinInc(u"0"),
         u"Invalid Value for v [-5000000000]."},
        {"i8 digits", Var([](KvVariant& v) { v.SetI8(-10); }), ItemType_i8, Digits(2), u"Invalid Value for v [-10]."},
        {"ui8 max", Var([](KvVariant& v) { v.SetUI8(18446744073709551615ULL); }), ItemType_ui8, MaxInc(u"10"),
         u"Invalid Value for v [18446744073709551615]."},
        {"ui8 digits ok", Var([](KvVariant& v) { v.SetUI8(12345); }), ItemType_ui8, Digits(5), u""},
        // unsigned kinds shown by %d show the bits as a signed number
        {"ui4 big", Var([](KvVariant& v) { v.SetUI4(4000000000U); }), ItemType_ui4, MaxInc(u"5"),
         u"Invalid Value for v [-294967296]"},
        {"ui4 compares unsigned", Var([](KvVariant& v) { v.SetUI4(4000000000U); }), ItemType_ui4, MinInc(u"5"), u""},
        {"ui1 max", Var([](KvVariant& v) { v.SetUI1(200); }), ItemType_ui1, MaxExc(u"200"), u"Invalid Value for v [200]"},
        {"ui2 digits", Var([](KvVariant& v) { v.SetUI2(65535); }), ItemType_ui2, Digits(4), u"Invalid Value for v [65535]"},
        // floating kinds: %f, no point
        {"r4 maxExc", Var([](KvVariant& v) { v.SetR4(1.5f); }), ItemType_r4, MaxExc(u"1.5"), u"Invalid Value for v [1.500000]"},
        {"r8 min", Var([](KvVariant& v) { v.SetR8(-0.25); }), ItemType_r8, MinInc(u"0"), u"Invalid Value for v [-0.250000]"},
        {"r8 ok", Var([](KvVariant& v) { v.SetR8(2.5); }), ItemType_r8, MinInc(u"2.5"), u""},
        {"r8 digits ignored", Var([](KvVariant& v) { v.SetR8(123.456); }), ItemType_r8, Digits(1), u""},
        {"r8 NaN no bound", Var([nan](KvVariant& v) { v.SetR8(nan); }), ItemType_r8, Facets{}, u""},
        {"r8 NaN min", Var([nan](KvVariant& v) { v.SetR8(nan); }), ItemType_r8, MinInc(u"0"),
         FormatString(u"Invalid Value for %s [%f]", u"v", nan)},
        {"r8 NaN maxExc", Var([nan](KvVariant& v) { v.SetR8(nan); }), ItemType_r8, MaxExc(u"INF"),
         FormatString(u"Invalid Value for %s [%f]", u"v", nan)},
        {"r8 bound NaN", Var([](KvVariant& v) { v.SetR8(1.0); }), ItemType_r8, MaxInc(u"NaN"),
         u"Invalid Value for v [1.000000]"},
        // calendar components: %d
        {"year", Var([](KvVariant& v) { v.SetYear(2024); }), ItemType_year, MinInc(u"2025"), u"Invalid Value for v [2024]"},
        {"year ok", Var([](KvVariant& v) { v.SetYear(2025); }), ItemType_year, MinInc(u"2025"), u""},
        {"month", Var([](KvVariant& v) { v.SetMonth(12); }), ItemType_month, MaxExc(u"--12"), u"Invalid Value for v [12]"},
        {"day", Var([](KvVariant& v) { v.SetDay(1); }), ItemType_day, MinExc(u"---01"), u"Invalid Value for v [1]"},
        {"day digits ignored", Var([](KvVariant& v) { v.SetDay(31); }), ItemType_day, Digits(1), u""},
        // boolean passes whatever the facets say
        {"boolean", Var([](KvVariant& v) { v.SetBoolean(true); }), ItemType_boolean,
         [] { Facets f; f.pattern = u"x"; f.length = 0; f.minInclusive = u"junk"; return f; }(), u""},
        // the declared kind decides, not the variant's
        {"kind decides", Var([](KvVariant& v) { v.SetI4(-99); }), ItemType_boolean, Digits(1), u""},
    };
    for (const Row& r : rows) EXPECT_EQ(Narrow(Check(r.value, r.kind, r.facets)), Narrow(r.expected)) << r.what;
}

TEST(FacetCheck, AllFacetsAbsentPassEveryKindButChar) {
    const std::function<void(KvVariant&)> setters[] = {
        [](KvVariant& v) { v.SetI1(-128); },  [](KvVariant& v) { v.SetI2(1); },   [](KvVariant& v) { v.SetI4(1); },
        [](KvVariant& v) { v.SetI8(1); },     [](KvVariant& v) { v.SetUI1(1); },  [](KvVariant& v) { v.SetUI2(1); },
        [](KvVariant& v) { v.SetUI4(1); },    [](KvVariant& v) { v.SetUI8(1); },  [](KvVariant& v) { v.SetR4(1); },
        [](KvVariant& v) { v.SetR8(1); },     [](KvVariant& v) { v.SetYear(1); }, [](KvVariant& v) { v.SetMonth(1); },
        [](KvVariant& v) { v.SetDay(1); },    [](KvVariant& v) { v.SetString(u"x"); },
        [](KvVariant& v) { v.SetBoolean(false); },
    };
    for (const auto& set : setters) {
        const KvVariant v = Var(set);
        EXPECT_EQ(Narrow(Check(v, v.GetTypeAsEnum(), {})), "") << Narrow(v.GetType());
    }

    KvVariant c;
    c.SetChar(u'x');
    EXPECT_THROW(
        {
            try {
                CheckPrimitiveRestrictions(u"v", c, ItemType_char, CPrimitiveRestrictions());
            } catch (const CKvInvalidValueException& e) {
                EXPECT_EQ(Narrow(e.GetMessage()), "Unknown type [char].");
                throw;
            }
        },
        CKvInvalidValueException);

    // Outside the known kinds the variant's own type text is what is shown.
    KvVariant s;
    s.SetString(u"a");
    EXPECT_EQ(Narrow(Check(s, static_cast<ItemType>(99), {})), "Unknown type [string].");
    // Object kinds have no type text: asking for it is what fails.
    KvVariant o;
    o.SetXmlObject(nullptr);
    EXPECT_EQ(Narrow(Check(o, ItemType_xmlObject, {})), "Invalid Type 27");
}

TEST(FacetCheck, MalformedBoundFailsAtTheCheckAsAConversionFailure) {
    KvVariant v;
    v.SetI4(5);
    EXPECT_THROW(CheckPrimitiveRestrictions(u"v", v, ItemType_i4, MinInc(u"five").Make()), CKvInvalidValueException);
    // A bound that is never reached is never converted.
    Facets f = MinInc(u"1");
    f.maxExclusive = u"junk";
    EXPECT_THROW(CheckPrimitiveRestrictions(u"v", v, ItemType_i4, f.Make()), CKvInvalidValueException);
    v.SetI4(0);
    EXPECT_EQ(Narrow(Check(v, ItemType_i4, f)), "Invalid Value for v [0]");
}

struct StringRow {
    const char* what;
    std::u16string value;
    Facets facets;
    bool passes;
};

TEST(FacetCheck, StringLengthsThenPattern) {
    auto len = [](int32_t minL, int32_t maxL, int32_t exact) {
        Facets f;
        f.minLength = minL;
        f.maxLength = maxL;
        f.length = exact;
        return f;
    };
    auto pat = [](const char16_t* p) {
        Facets f;
        f.pattern = p;
        return f;
    };
    const StringRow rows[] = {
        {"min ok", u"ab", len(2, -1, -1), true},
        {"min fail", u"a", len(2, -1, -1), false},
        {"max ok", u"abc", len(-1, 3, -1), true},
        {"max fail", u"abcd", len(-1, 3, -1), false},
        {"length ok", u"abc", len(-1, -1, 3), true},
        {"length fail", u"ab", len(-1, -1, 3), false},
        {"length 0", u"", len(-1, -1, 0), true},
        {"units not code points", u"\U0001F600", len(-1, -1, 2), true},
        {"units not code points 1", u"\U0001F600", len(-1, -1, 1), false},
        {"pattern ok", u"abc", pat(u"[a-c]+"), true},
        {"pattern fail", u"abcd", pat(u"[a-c]+"), false},
        {"pattern final LF", u"abc\n", pat(u"[a-c]+"), false},
        {"name chars", u"a-1", pat(u"\\i\\c*"), true},
        {"name start", u"1a", pat(u"\\i\\c*"), false},
        {"escaped backslash", u"\\i", pat(u"\\\\i"), true},
        {"basic latin", u"abc", pat(u"\\p{IsBasicLatin}+"), true},
        {"basic latin e-acute", u"ab\u00e9", pat(u"\\p{IsBasicLatin}+"), false},
        {"latin-1", u"\u00e9", pat(u"\\p{IsLatin-1Supplement}"), true},
        {"wide pattern text", u"\u00e9\u00e8", pat(u"[\u00e8\u00e9]{2}"), true},
    };
    for (const StringRow& r : rows) {
        for (bool throughVariant : {false, true}) {
            std::u16string message;
            try {
                if (throughVariant) {
                    KvVariant v;
                    v.SetString(r.value);
                    CheckPrimitiveRestrictions(u"code", v, ItemType_string, r.facets.Make());
                } else {
                    CheckStringRestrictions(u"code", r.value, r.facets.Make());
                }
            } catch (const CKvException& e) {
                message = e.GetMessage();
            }
            if (r.passes)
                EXPECT_EQ(Narrow(message), "") << r.what;
            else
                EXPECT_EQ(Narrow(message), Narrow(u"Invalid Value for code [" + r.value + u"].")) << r.what;
        }
    }
}

TEST(FacetCheck, InvalidPatternGivesTheDoubledMessageAtEveryCheck) {
    for (const char16_t* bad : {u"\\p{IsGreek}", u"\\p{IsLatinExtended-B}", u"(abc"}) {
        Facets f;
        f.pattern = bad;
        const CPrimitiveRestrictions r = f.Make();
        std::u16string inner;
        try {
            PatternInternals::PatternMatchWide(bad, u"xyz");
        } catch (const CKvException& e) {
            inner = e.GetFullMessage();
        }
        ASSERT_FALSE(inner.empty()) << Narrow(bad);
        for (int round = 0; round < 3; ++round) {
            try {
                CheckStringRestrictions(u"code", u"xyz", r);
                ADD_FAILURE() << "passed: " << Narrow(bad);
            } catch (const CKvException& e) {
                EXPECT_EQ(Narrow(e.GetMessage()), Narrow(inner + u"\nInvalid Value for code [xyz].")) << Narrow(bad);
                EXPECT_EQ(typeid(e), typeid(CKvException));
            }
        }
    }
}

// Lengths are tested before the pattern: a too-long text fails plainly even when the pattern
// could not compile.
TEST(FacetCheck, LengthFailsBeforeABrokenPatternIsCompiled) {
    Facets f;
    f.pattern = u"\\p{IsGreek}";
    f.maxLength = 2;
    try {
        CheckStringRestrictions(u"code", u"xyz", f.Make());
        ADD_FAILURE();
    } catch (const CKvException& e) {
        EXPECT_EQ(Narrow(e.GetMessage()), "Invalid Value for code [xyz].");
    }
}

// Absent numeric facets are -1: a default record must pass every value, even one with a length
// of zero or a value below zero.
TEST(CPrimitiveRestrictions, DefaultMeansEveryFacetAbsent) {
    const CPrimitiveRestrictions d;
    EXPECT_EQ(d.GetMinLength() | d.GetMaxLength() | d.GetLength() | d.GetTotalDigits() | d.GetFractionDigits(), -1);
    EXPECT_NO_THROW(CheckStringRestrictions(u"v", u"", d));
    const CPrimitiveRestrictions nulls(nullptr, -1, -1, nullptr, nullptr, nullptr, nullptr, -1, -1, -1);
    EXPECT_TRUE(nulls.GetPattern().empty() && nulls.GetMinInclusive().empty() && nulls.GetMaxExclusive().empty());
}

} // namespace
