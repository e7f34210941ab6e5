// The decimal and integer kinds in the variant and in the text conversions.

#include <gtest/gtest.h>

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

TEST(BigNumberVariant, FromStringAppliesTheRuleAndKeepsTheValueOnFailure) {
    // clang-format off
    struct Case { const char16_t* text; ItemType kind; Rule rule; const char16_t* expected; };
    const Case cases[] = {
        {u" 1.50 ", ItemType_decimal, Rule::WhitespaceRule_Collapse, u"1.5"},
        {u"\t-0.5\n", ItemType_decimal, Rule::WhitespaceRule_None, u"-0.5"},
        {u"\t-5\n", ItemType_integer, Rule::WhitespaceRule_Collapse, u"-5"},
        {u"\t-5\n", ItemType_integer, Rule::WhitespaceRule_None, u"0"},
        {u"1.9", ItemType_integer, Rule::WhitespaceRule_Collapse, u"2"},
    };
    // clang-format on
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
