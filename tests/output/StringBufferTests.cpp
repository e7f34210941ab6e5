#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

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

// Appends of every size relative to a tiny block keep the text whole and in order, through Append
// and AppendChar, and the total counts every character.
TEST(CStringBuffer, AppendsAcrossBlockBoundariesKeepTheText) {
    const std::vector<size_t> cases[] = {{3}, {4}, {5}, {17}, {1, 2, 3, 1, 4, 4, 1}, {0, 4, 0, 0, 5}};
    for (const auto& pieces : cases) {
        CStringBuffer buffer(4);
        std::u16string expected;
        char16_t first = u'a';
        for (size_t n : pieces) {
            const std::u16string piece = Pattern(n, first++);
            buffer.Append(piece.c_str());
            buffer.AppendChar(u'#');
            expected += piece + u"#";
        }
        EXPECT_EQ(buffer.GetTotal(), expected.size());
        std::u16string copied;
        buffer.CopyTo(copied);
        EXPECT_EQ(copied, expected);
        EXPECT_EQ(std::u16string(buffer.GetString()), expected);
        EXPECT_EQ(buffer.GetBlockCount(), 1u);
    }
    CStringBuffer empty;
    empty.Append(u"");
    empty.Append(static_cast<const char16_t*>(nullptr));
    EXPECT_EQ(empty.GetBlockCount(), 0u);
    EXPECT_EQ(std::u16string(empty.GetString()), u"");
}

// One block is handed out as it stands; several are joined once into one.
TEST(CStringBuffer, JoinedTextStaysCorrectWhenAppendingContinues) {
    CStringBuffer buffer(5);
    buffer.Append(u"abc");
    EXPECT_EQ(buffer.GetString(), buffer.GetString());
    buffer.Append(u"defghijkl");
    EXPECT_EQ(buffer.GetBlockCount(), 3u);
    EXPECT_EQ(std::u16string(buffer.GetString()), u"abcdefghijkl");
    buffer.Append(u"mn");
    EXPECT_EQ(buffer.GetBlockCount(), 2u);
    EXPECT_EQ(std::u16string(buffer.GetString()), u"abcdefghijklmn");
}

// Open keeps a single block (also a joined one) and empties it; several blocks it gives back.
TEST(CTextStream, OpenEmptiesTheText) {
    CTextStream stream(4, XmlEncoding_UTF8);
    stream.Append(u"abc");
    stream.Open();
    EXPECT_EQ(stream.GetBuffer().GetBlockCount(), 1u);
    EXPECT_EQ(std::u16string(stream.GetString()), u"");
    stream.Append(u"de0123456789");
    stream.Open();
    EXPECT_EQ(stream.GetBuffer().GetBlockCount(), 0u);
    stream.Append(u"ijklmnopq");
    stream.GetString();
    stream.Open();
    stream.Append(u"rs");
    EXPECT_EQ(std::u16string(stream.GetString()), u"rs");
    EXPECT_EQ(stream.GetText(), u"rs");
}

// Random appends, joins, reopenings and clears keep the buffer equal to a plain string.
TEST(CStringBuffer, RandomOperationsMatchAPlainString) {
    std::mt19937 random(3);
    CTextStream stream(7, XmlEncoding_None);
    std::u16string model;
    for (int i = 0; i < 3000; ++i) {
        switch (random() % 8) {
        case 0: stream.GetString(); break;
        case 1: if (random() % 8 == 0) { stream.Open(); model.clear(); } break;
        case 2: stream.AppendChar(u'c'); model += u'c'; break;
        default: {
            const std::u16string piece = Pattern(random() % 20, u'A');
            stream.Append(piece.c_str());
            model += piece;
        }
        }
        ASSERT_EQ(stream.GetBuffer().GetTotal(), model.size());
    }
    EXPECT_EQ(std::u16string(stream.GetString()), model);
}
