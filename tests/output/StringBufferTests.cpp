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

TEST(CStringBuffer, EmptyBufferHasNoBlock) {
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

// Random appends of every size relative to a tiny block, joins and reopenings keep the buffer equal
// to a plain string.
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
            const std::u16string piece = Pattern(random() % 20, static_cast<char16_t>(u'A' + i % 26));
            stream.Append(piece.c_str());
            model += piece;
        }
        }
        ASSERT_EQ(stream.GetBuffer().GetTotal(), model.size());
        if (i % 100 == 0) {
            ASSERT_EQ(stream.GetText(), model);
        }
    }
    EXPECT_EQ(std::u16string(stream.GetString()), model);
    EXPECT_LE(stream.GetBuffer().GetBlockCount(), 1u);
}
