#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <kvxml/KvXmlLib16.h>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "support/CountedProbe.h"

using namespace KvXmlLib16;

// A non-empty path is appended as a line of the message and stored; an empty one changes nothing.
TEST(CKvException, PathRuleAndFullMessage) {
    CKvException plain(u"Boom", std::u16string());
    EXPECT_TRUE(plain.GetMessage() == u"Boom" && plain.GetFullMessage() == u"Boom" && !plain.GetInnerException());

    CKvInvalidNamespaceException withPath(u"Bad", u"/a/b");
    EXPECT_EQ(withPath.GetMessage() + u"|" + withPath.GetPath(), u"Bad\nPath: /a/b|/a/b");

    // Inner exceptions are clones of the same concrete class; the full message walks them all.
    CKvValidationException top(u"top", u"/r", CKvInvalidStateException(u"middle", CKvInvalidValueException(u"leaf")));
    EXPECT_EQ(top.GetFullMessage(), u"top\nPath: /r\nmiddle\nleaf");
    const CKvException* inner = top.GetInnerException();
    ASSERT_NE(dynamic_cast<const CKvInvalidStateException*>(inner), nullptr);
    EXPECT_NE(dynamic_cast<const CKvInvalidValueException*>(inner->GetInnerException()), nullptr);
}

// Copying takes message, path and inner; assignment takes message and inner but not the path;
// converting from the root copies the three fields.
TEST(CKvException, CopyAssignmentAndConversion) {
    const CKvException source(u"src", u"/x", CKvOverFlowException(u"in"));
    const CKvException copy(source);
    EXPECT_EQ(copy.GetPath(), u"/x");
    ASSERT_NE(copy.GetInnerException(), nullptr);
    EXPECT_NE(copy.GetInnerException(), source.GetInnerException());

    CKvException target(u"tgt", u"/y");
    target = source;
    EXPECT_EQ(target.GetMessage(), u"src\nPath: /x");
    EXPECT_EQ(target.GetPath(), u"/y");
    target = target;
    EXPECT_EQ(target.GetFullMessage(), u"src\nPath: /x\nin");
    const CKvInvalidParamException converted(source);
    EXPECT_EQ(converted.GetPath() + u"|" + converted.GetFullMessage(), u"/x|src\nPath: /x\nin");
}

using Probe = KvTest::CountedProbe;

TEST(RefCount, CountStartsAtZeroAndIsCopiedWithTheName) {
    int destroyed = 0;
    Probe a(&destroyed);
    EXPECT_EQ(a.Count(), 0);
    EXPECT_EQ(a.Release(), -1); // only the step to exactly 0 deletes
    EXPECT_EQ(a.AddRef(), 0);
    EXPECT_EQ(destroyed, 0);
    a.SetElementName(u"order");
    a.AddRef();
    a.AddRef();
    // Kept on purpose: a copy takes the source's count as well as its name, as code written
    // against this library expects, so only a fresh object starts at 0.
    Probe b(a);
    Probe c;
    c = a;
    EXPECT_TRUE(b.GetElementName() == u"order" && b.Count() == 2 && c.Count() == 2);
}

TEST(CSmartPtr, TakesAndDropsReferences) {
    int destroyed = 0, destroyedB = 0;
    Probe* p = new Probe(&destroyed);
    {
        CSmartPtr<Probe> first(p);
        {
            CSmartPtr<Probe> second = first;
            CSmartPtr<CXmlObjectBase> asBase(second);
            EXPECT_EQ(p->Count(), 3);
        }
        first = first;
        CSmartPtr<Probe> moved(std::move(first));
        EXPECT_TRUE(first.IsNull() && p->Count() == 1 && destroyed == 0);
        moved = new Probe(&destroyedB); // the old object goes once the new one is held
        EXPECT_EQ(destroyed, 1);
    }
    EXPECT_EQ(destroyedB, 1);

    CSmartPtr<Probe> root(new Probe(&destroyed));
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&root] {
            for (int i = 0; i < 10000; ++i) CSmartPtr<Probe> copy(root);
        });
    for (auto& t : threads) t.join();
    EXPECT_EQ(root->Count(), 1);
}

TEST(CKVCriticalSection, IsRecursive) {
    CKVCriticalSection cs;
    cs.Enter();
    { CKVCriticalSectionGuard guard(cs); }
    cs.Leave();
}

// The conventions of the Windows wide formatter: %s wide, %S narrow, h and l force narrow and wide,
// I64 marks 64-bit integers, a null string reads "(null)".
TEST(FormatString, ConversionsFollowWideFormatterConventions) {
    const char16_t* nullWide = nullptr;
    const char* nullNarrow = nullptr;
    // clang-format off
    const std::pair<std::u16string, std::u16string> cases[] = {
        {FormatString(u"100%% [%s] [%S]", u"w\u4e2d", "n"), u"100% [w\u4e2d] [n]"},
        {FormatString(u"[%hs] [%lS] [%ws] [%hS]", "a", u"b", u"c", "d"), u"[a] [b] [c] [d]"},
        {FormatString(u"%s|%S|%.3s", nullWide, nullNarrow, nullWide), u"(null)|(null)|(nu"},
        {FormatString(u"[%5s][%-5s][%*s][%*s][%.*s]", u"ab", u"ab", 4, u"ab", -4, u"ab", 3, u"abcdef"),
         u"[   ab][ab   ][  ab][ab  ][abc]"},
        {FormatString(u"%c%C%hc%lc[%3c]", 0x4e2d, 'x', 'y', 0x4e2e, u'z'), u"\u4e2dxy\u4e2e[  z]"},
        {FormatString(u"%d %u %#X %05d %+d", INT_MIN, -1, 255, 42, 5), u"-2147483648 4294967295 0XFF 00042 +5"},
        {FormatString(u"%I64d %I64u %lld %ld", INT64_MIN, UINT64_MAX, 1234567890123LL, -5),
         u"-9223372036854775808 18446744073709551615 1234567890123 -5"},
        {FormatString(u"%hd %hu", 65535, 65537), u"-1 1"},
        {FormatString(u"%.2f %e %E %G", 3.14159, 12345.678, 0.5, 1e20), u"3.14 1.234568e+04 5.000000E-01 1E+20"},
        {FormatString(u"%p", reinterpret_cast<void*>(0xABCDEF)), u"0000000000ABCDEF"},
        {FormatString(u"abc%"), u"abc"}, {FormatString(u"%y"), u"y"}, {FormatString(u"a%cb", 0), u"a"},
        {FormatString(nullptr), u""},
    };
    // clang-format on
    for (const auto& [actual, expected] : cases) EXPECT_EQ(actual, expected);
    int count = 12345;
    EXPECT_EQ(FormatString(u"ab%ncd", &count), u"abcd");
    EXPECT_EQ(count, 12345);
}

// The first pass only estimates; output is never cut whatever the estimate says.
TEST(FormatString, NothingIsCutWhateverTheArguments) {
    const std::u16string longText(10000, u'q');
    EXPECT_EQ(FormatString(u"%S%s", std::string(5000, 'n').c_str(), longText.c_str()).size(), 15000u);
    const std::u16string huge = FormatString(u"%f", 1e300);
    EXPECT_EQ(huge.size(), 301u + 7u);
    // E is counted as nothing by the estimate, yet its text appears whole and later items are right.
    EXPECT_EQ(FormatString(u"%E|%s", 1e300, u"x"), u"1.000000E+300|x");
    EXPECT_EQ(FormatString(u"%#x%#x%300d", 1, 2, 3).size(), 306u);
    EXPECT_THROW(FormatString(u"%999999999999d", 1), CKvException);
    EXPECT_THROW(FormatString(u"%*d", INT_MAX, 1), CKvException);
    EXPECT_THROW(FormatString(u"%.*f", INT_MAX, 1.0), CKvException);
}

// Random conversion specifications, each with an argument of the kind it takes, either format or
// fail with a library exception.
TEST(FormatString, RandomSpecificationsStayInsideMemory) {
    std::mt19937 random(7);
    const char16_t* flags[] = {u"", u"-", u"+0", u" #", u"0-+ #"};
    const char16_t* widths[] = {u"", u"5", u"300", u"99999999999", u"*"};
    const char16_t* precisions[] = {u"", u".", u".2", u".400", u".*", u".99999999999"};
    const char16_t* prefixes[] = {u"", u"h", u"hh", u"l", u"ll", u"w", u"I", u"I32", u"I64", u"L", u"F", u"N", u"hl"};
    const char16_t types[] = u"diuxXocCsSeEfgGaApnqZ%";
    const int stars[] = {3, -3, 0, 1 << 30};
    char16_t text[16] = u"wide"; // zero-padded, so it also reads as a short narrow string
    for (int i = 0; i < 3000; ++i) {
        const std::u16string width = widths[random() % 5], precision = precisions[random() % 6];
        const std::u16string prefix = prefixes[random() % 13];
        const char16_t type = types[random() % 22];
        const std::u16string full =
            u"%" + std::u16string(flags[random() % 5]) + width + precision + prefix + type + u"|";
        const int s1 = stars[random() % 4], s2 = stars[random() % 4];
        const int starCount = (width == u"*") + (precision == u".*");
        const bool wide64 = prefix == u"I" || prefix == u"ll" || prefix == u"I64";
        auto call = [&](auto arg) {
            if (starCount == 0) return FormatString(full.c_str(), arg);
            if (starCount == 1) return FormatString(full.c_str(), s1, arg);
            return FormatString(full.c_str(), s1, s2, arg);
        };
        try {
            if (std::u16string(u"diuxXo").find(type) != std::u16string::npos) {
                if (wide64)
                    call(static_cast<long long>(random()));
                else
                    call(static_cast<int>(random()));
            } else if (type == u'c' || type == u'C') {
                call(static_cast<int>(random() % 0x10000));
            } else if (std::u16string(u"eEfgGaA").find(type) != std::u16string::npos) {
                call(random() % 2 ? 1e300 * (random() % 3) : -0.5);
            } else if (type == u'n') {
                int sink = 0;
                call(&sink);
            } else {
                call(static_cast<const void*>(text));
            }
        } catch (const CKvException&) {}
    }
}
