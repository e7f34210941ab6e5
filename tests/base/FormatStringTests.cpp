#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <string>

#include <kvxml/KvXmlLib16.h>

using namespace KvXmlLib16;

namespace {

struct Case {
    const char* name;
    std::u16string actual;
    std::u16string expected;
};

} // namespace

// Each row formats with the wide-printf conventions of the Windows run-time: %s wide, %S narrow,
// h and l forcing narrow and wide, I64 for 64-bit integers.
TEST(FormatString, ConversionsFollowWideFormatterConventions) {
    const char16_t* nullWide = nullptr;
    const char* nullNarrow = nullptr;
    const Case cases[] = {
        {"plain", FormatString(u"abc"), u"abc"},
        {"percent", FormatString(u"100%%"), u"100%"},
        {"wide s", FormatString(u"[%s]", u"wide"), u"[wide]"},
        {"narrow S", FormatString(u"[%S]", "narrow"), u"[narrow]"},
        {"hs narrow", FormatString(u"[%hs]", "n"), u"[n]"},
        {"lS wide", FormatString(u"[%lS]", u"w"), u"[w]"},
        {"ws wide", FormatString(u"[%ws]", u"w"), u"[w]"},
        {"non-ascii wide", FormatString(u"%s", u"\u00e9\u4e2d"), u"\u00e9\u4e2d"},
        {"null wide", FormatString(u"%s", nullWide), u"(null)"},
        {"null narrow", FormatString(u"%S", nullNarrow), u"(null)"},
        {"null with precision", FormatString(u"%.3s", nullWide), u"(nu"},
        {"string width", FormatString(u"[%5s]", u"ab"), u"[   ab]"},
        {"string left", FormatString(u"[%-5s]", u"ab"), u"[ab   ]"},
        {"string star width", FormatString(u"[%*s]", 4, u"ab"), u"[  ab]"},
        {"negative star width", FormatString(u"[%*s]", -4, u"ab"), u"[ab  ]"},
        {"string precision", FormatString(u"[%.2s]", u"abcdef"), u"[ab]"},
        {"string star precision", FormatString(u"[%.*s]", 3, u"abcdef"), u"[abc]"},
        {"wide char", FormatString(u"%c", 0x4e2d), u"\u4e2d"},
        {"narrow C", FormatString(u"%C", 'x'), u"x"},
        {"hc", FormatString(u"%hc", 'y'), u"y"},
        {"char width", FormatString(u"[%3c]", u'z'), u"[  z]"},
        {"d", FormatString(u"%d", -42), u"-42"},
        {"i", FormatString(u"%i", 7), u"7"},
        {"int min", FormatString(u"%d", INT_MIN), u"-2147483648"},
        {"u of -1", FormatString(u"%u", -1), u"4294967295"},
        {"x", FormatString(u"%x", 255), u"ff"},
        {"X alt", FormatString(u"%#X", 255), u"0XFF"},
        {"o", FormatString(u"%o", 8), u"10"},
        {"zero pad", FormatString(u"%05d", 42), u"00042"},
        {"plus", FormatString(u"%+d", 5), u"+5"},
        {"blank", FormatString(u"% d", 5), u" 5"},
        {"int precision", FormatString(u"%.4d", 7), u"0007"},
        {"I64 d", FormatString(u"%I64d", INT64_MIN), u"-9223372036854775808"},
        {"I64 u", FormatString(u"%I64u", UINT64_MAX), u"18446744073709551615"},
        {"ll d", FormatString(u"%lld", 1234567890123LL), u"1234567890123"},
        {"ld is 32-bit", FormatString(u"%ld", -5), u"-5"},
        {"hd", FormatString(u"%hd", 65535), u"-1"},
        {"hu", FormatString(u"%hu", 65537), u"1"},
        {"f", FormatString(u"%f", 1.5), u"1.500000"},
        {"f precision", FormatString(u"%.2f", 3.14159), u"3.14"},
        {"e", FormatString(u"%e", 12345.678), u"1.234568e+04"},
        {"E", FormatString(u"%E", 0.5), u"5.000000E-01"},
        {"g", FormatString(u"%g", 0.0001), u"0.0001"},
        {"G", FormatString(u"%G", 1e20), u"1E+20"},
        {"g precision", FormatString(u"%.17g", 0.1), u"0.10000000000000001"},
        {"pointer", FormatString(u"%p", reinterpret_cast<void*>(0xABCDEF)), u"0000000000ABCDEF"},
        {"mixed", FormatString(u"Invalid Type %d to convert to string", 27), u"Invalid Type 27 to convert to string"},
        {"mixed strings", FormatString(u"%s at line %d", u"syntax error", 3), u"syntax error at line 3"},
        {"trailing percent", FormatString(u"abc%"), u"abc"},
        {"unknown type", FormatString(u"%y"), u"y"},
    };
    for (const auto& c : cases) EXPECT_EQ(c.actual, c.expected) << c.name;
}

TEST(FormatString, NullFormatGivesEmptyText) {
    EXPECT_EQ(FormatString(nullptr), u"");
}

TEST(FormatString, OutputEndsAtFirstTerminatorWritten) {
    EXPECT_EQ(FormatString(u"a%cb", 0), u"a");
}

TEST(FormatString, PercentNNeverWritesThroughItsArgument) {
    int count = 12345;
    EXPECT_EQ(FormatString(u"ab%ncd", &count), u"abcd");
    EXPECT_EQ(count, 12345);
}

// The first pass only estimates; output is never cut whatever the estimate says.
TEST(FormatString, NothingIsCutWhateverTheArguments) {
    const std::u16string longText(10000, u'q');
    EXPECT_EQ(FormatString(u"%s", longText.c_str()), longText);
    EXPECT_EQ(FormatString(u"%S%s", std::string(5000, 'n').c_str(), longText.c_str()).size(), 15000u);

    const std::u16string huge = FormatString(u"%f", 1e300);
    EXPECT_EQ(huge.size(), 301u + 7u);
    EXPECT_EQ(huge.substr(0, 3), u"100");

    // E is counted as nothing by the estimate, yet its text appears whole.
    EXPECT_EQ(FormatString(u"%E|%E", 1e300, -2.5), u"1.000000E+300|-2.500000E+00");
    EXPECT_EQ(FormatString(u"%.200e", 1.0).size(), 206u);
    EXPECT_EQ(FormatString(u"%300d", 1).size(), 300u);
    EXPECT_EQ(FormatString(u"%#x%#x%#x", 1, 2, 3), u"0x10x20x3");
}

TEST(FormatString, AbsurdFieldSizesAreRefused) {
    EXPECT_THROW(FormatString(u"%999999999999d", 1), CKvException);
    EXPECT_THROW(FormatString(u"%*d", INT_MAX, 1), CKvException);
    EXPECT_THROW(FormatString(u"%.*f", INT_MAX, 1.0), CKvException);
}
