// The decimal and integer kinds in the variant and in the text conversions.

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "kvxml/values/CBigInteger.h"
#include "kvxml/values/CConversions.h"
#include "kvxml/values/CDecimal.h"
#include "kvxml/values/KvVariant.h"
#include "values/BigNumTestUtil.h"

using namespace KvXmlLib16;
using BigNumTest::ExpectThrowMessage;
using BigNumTest::N;
using Rule = CWhitespaceUtils::WhitespaceRule;

TEST(BigNumberVariant, StoresAndReturnsCopies)
{
    KvVariant v;
    CDecimal d(u"-12.25");
    v.SetDecimal(d);
    d += CDecimal(1);
    EXPECT_EQ(v.GetTypeAsEnum(), ItemType_decimal);
    EXPECT_EQ(v.GetDecimal().ToString(), u"-12.25");
    EXPECT_EQ(v.ToString(u"1"), u"-12.3");
    EXPECT_EQ(v.ToString(u""), u"-12.25");
    EXPECT_EQ(v.GetInteger().ToString(), u"0"); // another kind gives zero, not a stray pointer

    CBigInteger b(u"123456789012345678901234567890");
    v.SetInteger(b);
    b.Negate();
    EXPECT_EQ(v.GetTypeAsEnum(), ItemType_integer);
    EXPECT_EQ(v.ToString(u"5"), u"123456789012345678901234567890") << "integers take no format";
    KvVariant copy(v);
    v.SetInteger(CBigInteger(1));
    copy.SetInteger(copy.GetInteger() + CBigInteger(1));
    EXPECT_EQ(copy.ToString(), u"123456789012345678901234567891");
}

TEST(BigNumberVariant, FromStringAppliesTheRuleAndKeepsTheValueOnFailure)
{
    struct Case {
        const char16_t* text;
        ItemType kind;
        Rule rule;
        const char16_t* expected;
    };
    const Case cases[] = {
        {u" 1.50 ", ItemType_decimal, Rule::WhitespaceRule_Collapse, u"1.5"},
        {u"\t-0.5\n", ItemType_decimal, Rule::WhitespaceRule_None, u"-0.5"},
        {u"\t-5\n", ItemType_integer, Rule::WhitespaceRule_Collapse, u"-5"},
        {u"\t-5\n", ItemType_integer, Rule::WhitespaceRule_None, u"0"},
        {u"1.9", ItemType_integer, Rule::WhitespaceRule_Collapse, u"2"},
    };
    for (const Case& c : cases) {
        KvVariant v;
        v.FromString(c.text, c.kind, c.rule);
        EXPECT_EQ(v.GetTypeAsEnum(), c.kind) << N(c.text);
        EXPECT_EQ(v.ToString(), c.expected) << N(c.text);
    }
    KvVariant v;
    v.SetString(u"keep");
    ExpectThrowMessage<CKvInvalidValueException>(
        [&] { v.FromString(u"1.2.3", ItemType_decimal, Rule::WhitespaceRule_Collapse); },
        "The string representing a Decimal, contained an invalid char at position 3 [1.2.3].");
    EXPECT_THROW(v.FromString(u"x1", ItemType_integer, Rule::WhitespaceRule_Collapse), CKvInvalidValueException);
    EXPECT_EQ(v.GetString(), u"keep");
}

TEST(BigNumberConversions, DecimalFormatIsANumberOfPlaces)
{
    struct Case {
        const char16_t* value;
        const char16_t* format;
        const char16_t* expected;
    };
    const Case cases[] = {
        {u"1.25", u"", u"1.25"}, {u"1.25", u"1", u"1.3"}, {u"1.25", u"x", u"1."}, {u"3.14159", u"3abc", u"3.142"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(CConversions::decimalToString(CDecimal(c.value), c.format), c.expected) << N(c.format);
    EXPECT_EQ(CConversions::decimalToString(CDecimal(u"-0.5")), u"-0.5");
    EXPECT_EQ(CConversions::integerToString(CBigInteger(u"-0")), u"0");
}

TEST(BigNumberRobustness, RandomTextsReturnOrFailCleanly)
{
    // Random and mutated texts through every entry point that reads text; each must give a value
    // or one of the library's exceptions, and never touch memory outside its own.
    const std::u16string alphabet = u"0123456789+-.eE \t\n\rx,\u00e9";
    const std::u16string seeds[] = {u"-12.5e3", u" 1 2 . 3 ", u"0.000000000000000000000000000000015", u"1e-5",
                                    u"99999999999999999999.99", u"12-34", u"+.5E+2"};
    std::mt19937_64 rng(2024);
    for (int round = 0; round < 2000; ++round) {
        std::u16string text;
        if (round % 2) {
            for (size_t n = rng() % 20; text.size() < n;)
                text.push_back(alphabet[rng() % alphabet.size()]);
        } else {
            text = seeds[rng() % 7];
            for (int k = 1 + int(rng() % 3); k > 0; --k) {
                size_t at = rng() % (text.size() + 1);
                char16_t c = alphabet[rng() % alphabet.size()];
                if (rng() % 2 && at < text.size())
                    text[at] = c;
                else
                    text.insert(at, 1, c);
            }
        }
        if (round % 400 == 0)
            text += std::u16string(520 + rng() % 600, u'7'); // past the scanner's buffers
        const Rule rule = Rule(rng() % 4);
        try {
            CDecimal d(text.c_str());
            (void)d.ToString();
            (void)d.ToString(int32_t(rng() % 40));
            (void)CConversions::decimalFromString(text, rule);
        } catch (const CKvException&) {
        }
        try {
            (void)CBigInteger(text.c_str()).ToString();
            (void)CConversions::integerFromString(text, rule).ToString();
        } catch (const CKvException&) {
        }
    }
}
