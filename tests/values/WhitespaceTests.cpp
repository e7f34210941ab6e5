#include <string>

#include "values/ValuesTestUtil.h"
#include "kvxml/values/CWhitespaceUtils.h"

using namespace KvXmlLib16;
using KvTest::MessageOf;
using KvTest::N;
using W = CWhitespaceUtils;

namespace {

// clang-format off
struct RuleCase { W::WhitespaceRule rule; std::u16string input; std::u16string expected; };
const RuleCase kRuleCases[] = {
    {W::WhitespaceRule_None, u" a\r\n\tb ", u" a\r\n\tb "}, {W::WhitespaceRule_Preserve, u"a\r\nb\rc", u"a\nb\nc"},
    {W::WhitespaceRule_Preserve, u"\r\r\n\n", u"\n\n\n"}, {W::WhitespaceRule_Preserve, u" a\tb\n", u" a\tb\n"},
    {W::WhitespaceRule_Preserve, std::u16string(u"a\0b", 3), std::u16string(u"a\0b", 3)}, // no CR: unchanged
    {W::WhitespaceRule_Preserve, std::u16string(u"a\r\0b", 4), u"a\n"},                   // cut at NUL
    {W::WhitespaceRule_Replace, u"a\r\nb", u"a b"}, // CR LF is one space, LF CR two
    {W::WhitespaceRule_Replace, u"a\n\rb", u"a  b"}, {W::WhitespaceRule_Replace, u"\ta\rb\n", u" a b "},
    {W::WhitespaceRule_Replace, u"", u""},
    {W::WhitespaceRule_Replace, std::u16string(u"a\0b", 3), std::u16string(u"a\0b", 3)},
    {W::WhitespaceRule_Replace, std::u16string(u"a\tb\0c", 5), u"a b"},
    {W::WhitespaceRule_Collapse, u"  a \t\r\n b  ", u"a b"}, {W::WhitespaceRule_Collapse, u" \t\r\n ", u""},
    {W::WhitespaceRule_Collapse, u"abc", u"abc"},
    {W::WhitespaceRule_Collapse, u"a\v\fb", u"a\v\fb"},               // only the four blanks count
    {W::WhitespaceRule_Collapse, std::u16string(u"a \0b", 4), u"a "}, // trailing blank goes before the cut
    {W::WhitespaceRule_Collapse, std::u16string(u"ab\0c", 4), u"ab"},
    // Four characters are tested at once: changes at each place of a group and after the last one.
    {W::WhitespaceRule_Preserve, u"abc\rdefg\r", u"abc\ndefg\n"}, {W::WhitespaceRule_Replace, u"\u8000bcd\te", u"\u8000bcd e"},
    {W::WhitespaceRule_Collapse, u"\uffff\u8021!!!", u"\uffff\u8021!!!"},
    {W::WhitespaceRule_Collapse, u"\uffff\u8021!\t!", u"\uffff\u8021! !"},
    {W::WhitespaceRule_Preserve, u"\u800d\u000e\u8000 ", u"\u800d\u000e\u8000 "},
};
// clang-format on

} // namespace

TEST(Whitespace, RulesAndInPlaceFormAgree) {
    for (const auto& c : kRuleCases) {
        SCOPED_TRACE(N(c.input) + " rule " + std::to_string(c.rule));
        EXPECT_EQ(N(W::ApplyRule(c.rule, c.input)), N(c.expected));
        EXPECT_EQ(N(W::ApplyRuleToView(c.rule, c.input)), N(c.expected));
        EXPECT_EQ(W::WouldChange(c.rule, c.input), c.expected != c.input);
        std::u16string scratch;
        const std::u16string& inPlace = W::ApplyRuleInPlace(c.rule, c.input, scratch);
        EXPECT_EQ(inPlace, c.expected);
        if (c.expected == c.input) {
            EXPECT_EQ(&inPlace, &c.input) << "unchanged text is not copied";
        }
    }
}

TEST(Whitespace, UnknownRuleAndBlankSet) {
    EXPECT_EQ(MessageOf([&] { W::ApplyRule(static_cast<W::WhitespaceRule>(4), u"x"); }), "Unknown WhitespaceRule");
    EXPECT_EQ(MessageOf([&] { W::ApplyRuleToView(static_cast<W::WhitespaceRule>(4), u"x"); }),
              "Unknown WhitespaceRule");
    std::u16string scratch;
    EXPECT_EQ(MessageOf([&] { W::ApplyRuleInPlace(static_cast<W::WhitespaceRule>(-1), u"x", scratch); }),
              "Unknown WhitespaceRule");
    for (char16_t c : {u' ', u'\t', u'\r', u'\n'}) EXPECT_TRUE(W::IsWhiteSpace(c)) << int(c);
    for (char16_t c : {u'\v', u'\f', u'\0', u'a', char16_t(0xA0), char16_t(0x2028), char16_t(0x3000)})
        EXPECT_FALSE(W::IsWhiteSpace(c)) << int(c);
}
