#include <cstring>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "values/ValuesTestUtil.h"
#include "kvxml/values/CBinaryData.h"
#include "kvxml/values/KvVariant.h"

using namespace KvXmlLib16;
using KvTest::MessageOf;
using KvTest::N;
using Bytes = std::basic_string<unsigned char>;

namespace {

Bytes Content(const CBinaryData& d) { return d.GetData() == nullptr ? Bytes() : Bytes(d.GetData(), d.GetLength()); }

CBinaryData Make(const Bytes& b) { return CBinaryData(b.data(), static_cast<uint32_t>(b.size()), false); }

Bytes B(const char* s) { return Bytes(reinterpret_cast<const unsigned char*>(s), std::strlen(s)); }

// Exposes the adopting setter, to build a buffer whose capacity equals its length.
class AdoptingData : public CBinaryData {
public:
    using CBinaryData::AdoptBlock;
};

} // namespace

TEST(BinaryData, CopyOnWriteAndIndexBound) {
    CBinaryData a = Make(B("abcd"));
    CBinaryData b;
    b = a;
    const CBinaryData& cb = b;
    EXPECT_EQ(cb[1], 'b');
    EXPECT_EQ(b.GetData(), a.GetData()) << "reading through a const handle does not detach";
    b[1] = 'X';
    EXPECT_EQ(Content(a), B("abcd"));
    EXPECT_EQ(Content(b), B("aXcd"));
    unsigned char* before = b.GetData();
    b[0] = 'Y';
    EXPECT_EQ(b.GetData(), before) << "the sole holder writes in place";

    EXPECT_NO_THROW(b[4]); // the position behind the last byte is let through
    EXPECT_EQ(MessageOf([&] { cb[5]; }), "Index Out of range [5]");
    EXPECT_EQ(MessageOf([&] { b[5]; }), "Index Out of range [5]");
    CBinaryData empty;
    EXPECT_EQ(MessageOf([&] { empty[0]; }), "Index Out of range [0]");
    // Where the block ends at the length, the position behind it is refused rather than read.
    AdoptingData exact;
    exact.AdoptBlock(new unsigned char[2]{1, 2}, 2, 2);
    EXPECT_EQ(MessageOf([&] { static_cast<const CBinaryData&>(exact)[2]; }), "Index Out of range [2]");
}

TEST(BinaryData, Base64DecoderIsForgiving) {
    const std::pair<const char16_t*, Bytes> cases[] = {
        {u"T W\nF=u", B("Man")},  {u"=T\t=W\r=F==u=", B("Man")}, // blanks and '=' skipped anywhere
        {u"TQ", B("M")},          {u"T", B("")},                 // no padding needed; left-over bits dropped
        {u"\u0154WFu", B("Man")}, {u"TW\u00a0Fu", B("Man")},     // low seven bits: U+0154 is 'T', U+00A0 a blank
    };
    for (const auto& [text, bytes] : cases) {
        CBinaryData d;
        d.SetAsBase64(text);
        EXPECT_EQ(Content(d), bytes) << N(text);
    }
    for (const char16_t* bad : {u"TW!u", u"TWFu.", u"TWFu\u00a1"}) {
        CBinaryData d = Make(B("old"));
        EXPECT_NO_THROW(d.SetAsBase64(bad));
        EXPECT_TRUE(d.GetData() != nullptr && d.GetLength() == 0) << N(bad);
    }
    CBinaryData none = Make(B("old"));
    none.SetAsBase64(u"");
    EXPECT_EQ(none.GetData(), nullptr);
}

TEST(BinaryData, Base64RoundTripsEveryLength) {
    std::mt19937 rng(7);
    for (uint32_t length = 0; length < 100; ++length) {
        Bytes bytes(length, 0);
        for (auto& b : bytes) b = static_cast<unsigned char>(rng());
        const std::u16string text = Make(bytes).GetAsBase64();
        EXPECT_EQ(text.size(), (length + 2) / 3 * 4);
        std::u16string spaced; // blanks at every offset of the four-character groups
        for (size_t i = 0; i < text.size(); ++i) spaced += (i % 5 == 0 ? u"\r\n " : u"") + text.substr(i, 1);
        for (const std::u16string& t : {text, spaced}) {
            CBinaryData back;
            back.SetAsBase64(t.c_str());
            EXPECT_EQ(Content(back), bytes) << length;
        }
    }
}

// Handles on one buffer are copied, written, appended to and released on several threads at once.
TEST(BinaryData, HandlesOnOneBufferAcrossThreads) {
    Bytes original(20000, 0);
    for (size_t i = 0; i < original.size(); ++i) original[i] = static_cast<unsigned char>(i * 7);
    const CBinaryData master = Make(original);
    KvVariant sharedVariant;
    sharedVariant.SetHexBinary(master);
    std::vector<int> failures(4, 0);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int r = 0; r < 300; ++r) {
                CBinaryData mine = master, second(mine), third = master;
                const unsigned char mark = static_cast<unsigned char>(t * 50 + r);
                mine[static_cast<uint32_t>(r)] = mark;
                second.Append(&mark, 1);
                unsigned char* block = third.ReleaseData();
                const bool bad = mine[static_cast<uint32_t>(r)] != mark || second.GetData() == mine.GetData() ||
                                 second.GetData()[original.size()] != mark ||
                                 std::memcmp(block, original.data(), original.size()) != 0 ||
                                 KvVariant(sharedVariant).GetHexBinary() != master;
                delete[] block;
                mine = second;
                failures[t] += bad;
            }
        });
    }
    for (auto& th : threads) th.join();
    for (int t = 0; t < 4; ++t) EXPECT_EQ(failures[t], 0) << "thread " << t;
    EXPECT_EQ(Content(master), original);
}
