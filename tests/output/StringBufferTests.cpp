#include <gtest/gtest.h>

#include <string>

#include "kvxml/base/CKvException.h"
#include "kvxml/output/CStringBuffer.h"
#include "kvxml/output/CTextStream.h"

using namespace KvXmlLib16;

namespace {

// Text of n characters that shows where each character came from.
std::u16string Pattern(size_t n, char16_t first = u'a') {
    std::u16string s;
    for (size_t i = 0; i < n; ++i) s += static_cast<char16_t>(first + i % 26);
    return s;
}

} // namespace

// Appends of every size relative to a tiny block keep the text whole and in order, whether
// they go through Append or AppendChar, and the total counts every character.
TEST(CStringBuffer, AppendsAcrossBlockBoundariesKeepTheText) {
    struct Case {
        const char* name;
        std::vector<size_t> pieces;
    };
    const Case cases[] = {
        {"fits one block", {3}},
        {"exactly one block", {4}},
        {"one over", {5}},
        {"many blocks in one append", {17}},
        {"small pieces", {1, 2, 3, 1, 4, 4, 1}},
        {"with empty pieces", {0, 4, 0, 0, 5}},
    };
    for (const Case& c : cases) {
        CStringBuffer buffer(4);
        std::u16string expected;
        char16_t first = u'a';
        for (size_t n : c.pieces) {
            const std::u16string piece = Pattern(n, first);
            buffer.Append(piece.c_str());
            expected += piece;
            buffer.AppendChar(u'#');
            expected += u'#';
            first = static_cast<char16_t>(first + 1);
        }
        EXPECT_EQ(buffer.GetTotal(), expected.size()) << c.name;
        std::u16string copied;
        buffer.CopyTo(copied);
        EXPECT_EQ(copied, expected) << c.name;
        EXPECT_EQ(std::u16string(buffer.GetString()), expected) << c.name;
        EXPECT_EQ(buffer.GetBlockCount(), 1u) << c.name;
    }
}

TEST(CStringBuffer, EmptyBufferGivesEmptyTextWithoutABlock) {
    CStringBuffer buffer;
    buffer.Append(u"");
    buffer.Append(static_cast<const char16_t*>(nullptr));
    EXPECT_EQ(buffer.GetBlockCount(), 0u);
    EXPECT_EQ(buffer.GetTotal(), 0u);
    EXPECT_EQ(std::u16string(buffer.GetString()), u"");
}

// One block is handed out as it stands; several are joined once, and the joined block then
// takes further appends in new blocks without losing anything.
TEST(CStringBuffer, JoinedTextStaysCorrectWhenAppendingContinues) {
    CStringBuffer one;
    one.Append(u"abc");
    const char16_t* first = one.GetString();
    EXPECT_EQ(first, one.GetString());
    EXPECT_EQ(std::u16string(first), u"abc");

    CStringBuffer buffer(5);
    const std::u16string a = Pattern(12);
    buffer.Append(a.c_str());
    EXPECT_EQ(buffer.GetBlockCount(), 3u);
    EXPECT_EQ(std::u16string(buffer.GetString()), a);
    EXPECT_EQ(buffer.GetBlockCount(), 1u);

    const std::u16string b = Pattern(7, u'A');
    buffer.Append(b.c_str());
    buffer.AppendChar(u'!');
    EXPECT_EQ(buffer.GetBlockCount(), 3u);
    std::u16string copied;
    buffer.CopyTo(copied);
    EXPECT_EQ(copied, a + b + u"!");
    EXPECT_EQ(std::u16string(buffer.GetString()), a + b + u"!");
    EXPECT_EQ(buffer.GetTotal(), a.size() + b.size() + 1);

    buffer.Clear();
    EXPECT_EQ(buffer.GetTotal(), 0u);
    EXPECT_EQ(std::u16string(buffer.GetString()), u"");
    buffer.Append(u"xy");
    EXPECT_EQ(std::u16string(buffer.GetString()), u"xy");
}

// Open keeps a single block for reuse and empties it; with several blocks it gives them back.
TEST(CTextStream, OpenEmptiesTheText) {
    CTextStream stream(4, XmlEncoding_UTF8);
    EXPECT_EQ(stream.GetEncoding(), XmlEncoding_UTF8);
    stream.Append(u"abc");
    stream.Open();
    EXPECT_EQ(stream.GetBuffer().GetBlockCount(), 1u);
    EXPECT_EQ(stream.GetText(), u"");
    EXPECT_EQ(std::u16string(stream.GetString()), u"");
    stream.Append(u"de");
    EXPECT_EQ(std::u16string(stream.GetString()), u"de");

    stream.Append(u"0123456789");
    EXPECT_EQ(stream.GetBuffer().GetBlockCount(), 3u);
    stream.Open();
    EXPECT_EQ(stream.GetBuffer().GetBlockCount(), 0u);
    stream.Append(u"fgh");
    EXPECT_EQ(stream.GetText(), u"fgh");

    // A joined block is reused whole by Open, then filled again from its start.
    stream.Append(u"ijklmnopq");
    stream.GetString();
    stream.Open();
    stream.Append(u"rs");
    EXPECT_EQ(std::u16string(stream.GetString()), u"rs");
    EXPECT_EQ(stream.GetText(), u"rs");
}
