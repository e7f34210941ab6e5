#include <cstring>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "ValuesTestUtil.h"
#include "kvxml/values/CBinaryData.h"
#include "kvxml/values/KvVariant.h"

using namespace KvXmlLib16;
using KvTest::N;
using Bytes = std::basic_string<unsigned char>;

namespace {

Bytes Content(const CBinaryData& d) {
    return d.GetData() == nullptr ? Bytes() : Bytes(d.GetData(), d.GetLength());
}

CBinaryData Make(const Bytes& b) { return CBinaryData(b.data(), static_cast<uint32_t>(b.size()), false); }

Bytes B(const char* s) { return Bytes(reinterpret_cast<const unsigned char*>(s), std::strlen(s)); }

// Exposes the adopting setter, to build a buffer whose capacity equals its length.
class AdoptingData : public CBinaryData {
public:
    using CBinaryData::AdoptBlock;
};

} // namespace

TEST(BinaryData, ConstructionCopiesOrAdopts) {
    unsigned char bytes[] = {5, 6, 7};
    CBinaryData set(bytes, 2, false);
    set.SetBuffer(bytes, 0);
    CBinaryData released;
    EXPECT_EQ(released.ReleaseData(), nullptr);
    // A handed-over block of no bytes is freed (the sanitizer build would see a leak otherwise).
    const CBinaryData empties[] = {CBinaryData(), CBinaryData(bytes, 0, false), set, CBinaryData(u""),
                                   CBinaryData(new unsigned char[4], 0, true)};
    for (const CBinaryData& d : empties) {
        EXPECT_EQ(d.GetData(), nullptr);
        EXPECT_EQ(d.GetLength(), 0u);
        EXPECT_EQ(d.GetAsBase64() + d.GetAsHexString(), u"");
    }
    CBinaryData copied(bytes, 3, false);
    bytes[0] = 0;
    EXPECT_EQ(Content(copied), Bytes({5, 6, 7}));
    auto* block = new unsigned char[2]{8, 9};
    EXPECT_EQ(CBinaryData(block, 2, true).GetData(), block);
    // Wide text as its 16-bit units, low byte first, no terminator.
    EXPECT_EQ(Content(CBinaryData(u"A\u0142")), Bytes({0x41, 0x00, 0x42, 0x01}));
    set.SetBuffer(u"hi");
    EXPECT_EQ(Content(set), Bytes({'h', 0, 'i', 0}));
}

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

    EXPECT_NO_THROW(cb[4]);  // the position behind the last byte is let through
    EXPECT_NO_THROW(b[4]);
    EXPECT_KV_THROW(cb[5], CKvException, u"Index Out of range [5]");
    EXPECT_KV_THROW(b[5], CKvException, u"Index Out of range [5]");
    CBinaryData empty;
    EXPECT_KV_THROW(empty[0], CKvException, u"Index Out of range [0]");
    EXPECT_KV_THROW(static_cast<const CBinaryData&>(empty)[0], CKvException, u"Index Out of range [0]");
    // Where the block ends at the length, the position behind it is refused rather than read.
    AdoptingData exact;
    exact.AdoptBlock(new unsigned char[2]{1, 2}, 2, 2);
    EXPECT_KV_THROW(static_cast<const CBinaryData&>(exact)[2], CKvException, u"Index Out of range [2]");
}

TEST(BinaryData, AppendForms) {
    CBinaryData d;
    d.Append(B("ab").data(), 2);  // an empty handle gets a buffer
    d.Append(static_cast<unsigned char>('c'));
    d.Append(u'\u0142');
    d.Append(u"xy");
    d.Append(std::u16string(u"z\0w", 3));  // up to the NUL
    d.Append(CBinaryData());
    d.Append(Make(B("!")));
    EXPECT_EQ(Content(d), Bytes({'a', 'b', 'c', 0x42, 0x01, 'x', 0, 'y', 0, 'z', 0, '!'}));

    CBinaryData shared(d);
    shared.Append(B("x").data(), 0);
    EXPECT_EQ(shared.GetData(), d.GetData()) << "an empty append does not detach";
    shared.Append(B("?").data(), 1);
    EXPECT_EQ(d.GetLength(), 12u);
    EXPECT_EQ(shared.GetLength(), 13u);

    // A handle appended to itself across a growth of the block (adopted: capacity = length).
    AdoptingData self;
    self.AdoptBlock(new unsigned char[3]{'1', '2', '3'}, 3, 3);
    self.Append(self);
    EXPECT_EQ(Content(self), B("123123"));

    const Bytes big(20000, 0x5A);  // far beyond the first capacity
    for (int i = 0; i < 4; ++i) d.Append(big.data(), 5000);
    EXPECT_EQ(Content(d).substr(12), big);
}

TEST(BinaryData, ReleaseData) {
    CBinaryData a = Make(B("abc"));
    CBinaryData b(a);
    unsigned char* block = b.ReleaseData();
    EXPECT_NE(block, a.GetData()) << "a shared handle hands out a fresh copy";
    EXPECT_EQ(Bytes(block, 3), B("abc"));
    EXPECT_EQ(b.GetData(), nullptr);
    delete[] block;
    unsigned char* own = a.GetData();
    block = a.ReleaseData();
    EXPECT_EQ(block, own) << "the sole holder hands out its own block";
    EXPECT_EQ(a.GetLength(), 0u);
    delete[] block;
}

TEST(BinaryData, Equality) {
    CBinaryData zeroLength, zeroLength2;
    zeroLength.SetAsBase64(u"====");  // decoded nothing, yet a buffer
    zeroLength2.SetAsBase64(u"!");
    const CBinaryData empty, empty2, abc = Make(B("abc")), abc2 = Make(B("abc")), abd = Make(B("abd")), ab = Make(B("ab"));
    const struct {
        const CBinaryData& a;
        const CBinaryData& b;
        bool equal;
    } rows[] = {
        {empty, empty2, true}, {empty, zeroLength, false}, {zeroLength, empty, false},
        {zeroLength, zeroLength2, true}, {abc, abc2, true}, {abc, abd, false}, {abc, ab, false}, {abc, abc, true},
    };
    for (const auto& r : rows) {
        EXPECT_EQ(r.a == r.b, r.equal) << N(r.a.GetAsHexString()) << " vs " << N(r.b.GetAsHexString());
        EXPECT_EQ(r.a != r.b, !r.equal);
    }
}

TEST(BinaryData, HexBothWays) {
    EXPECT_EQ(Make(Bytes({0x0A, 0xFF})).GetAsHexString(), u"0AFF");
    EXPECT_EQ(CBinaryData::GetAsHexString(nullptr, 4), u"");
    EXPECT_EQ(CBinaryData::GetAsHexString(Bytes({0x12, 0xAB, 0x00}).data(), 2), u"12AB");
    CBinaryData d;
    d.SetAsHexString(u"0aff");
    EXPECT_EQ(Content(d), Bytes({0x0A, 0xFF}));
    d.SetAsHexString(u"");
    EXPECT_EQ(d.GetData(), nullptr);

    Bytes all;
    for (int i = 0; i < 256; ++i) all.push_back(static_cast<unsigned char>(i));
    CBinaryData round;
    round.SetAsHexString(Make(all).GetAsHexString().c_str());
    EXPECT_EQ(Content(round), all);

    const std::pair<const char16_t*, std::u16string> bad[] = {
        {u"0aF", u"Invalid length in hex string"},
        {u"0G", u"Invalid char in hex string [G]"},
        {u"G0", u"Invalid char in hex string [G]"},
        {u"00 1", u"Invalid char in hex string [ ]"},
        {u"0\u00e9", u"Invalid char in hex string [\u00e9]"},
    };
    for (const auto& [text, message] : bad) {
        CBinaryData target = Make(B("keep"));
        EXPECT_KV_THROW(target.SetAsHexString(text), CKvException, message);
        EXPECT_EQ(target.GetData(), nullptr) << "the handle was cleared first";
    }
}

TEST(BinaryData, Base64Encoding) {
    const std::pair<Bytes, std::u16string> cases[] = {
        {B("M"), u"TQ=="}, {B("Ma"), u"TWE="}, {B("Man"), u"TWFu"}, {B("fooba"), u"Zm9vYmE="},
        {Bytes({0xFF, 0xFE, 0xFD}), u"//79"},
    };
    for (const auto& [bytes, text] : cases) EXPECT_EQ(N(Make(bytes).GetAsBase64()), N(text));
    // No line breaks, whatever the length.
    const std::u16string longText = Make(Bytes(3000, 0xAB)).GetAsBase64();
    EXPECT_EQ(longText.size(), 4000u);
    EXPECT_EQ(longText.find_first_of(u"\r\n="), std::u16string::npos);
}

TEST(BinaryData, Base64DecoderIsForgiving) {
    const std::pair<const char16_t*, Bytes> cases[] = {
        {u"T W\nF=u", B("Man")}, {u"=T\t=W\r=F==u=", B("Man")},  // blanks and '=' skipped anywhere
        {u"TQ", B("M")}, {u"T", B("")},                           // no padding needed; left-over bits dropped
        {u"\u0154WFu", B("Man")}, {u"TW\u00a0Fu", B("Man")},      // low seven bits: U+0154 is 'T', U+00A0 a blank
    };
    for (const auto& [text, bytes] : cases) {
        CBinaryData d;
        d.SetAsBase64(text);
        EXPECT_EQ(Content(d), bytes) << N(text);
    }
    for (const char16_t* bad : {u"TW!u", u"TWFu.", u"TWFu\u00a1"}) {
        CBinaryData d = Make(B("old"));
        EXPECT_NO_THROW(d.SetAsBase64(bad));
        EXPECT_NE(d.GetData(), nullptr) << N(bad);
        EXPECT_EQ(d.GetLength(), 0u) << N(bad);
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
        std::u16string spaced;  // blanks at every offset of the four-character groups
        for (size_t i = 0; i < text.size(); ++i) spaced += (i % 5 == 0 ? u"\r\n " : u"") + text.substr(i, 1);
        for (const std::u16string& t : {text, spaced}) {
            CBinaryData back;
            back.SetAsBase64(t.c_str());
            EXPECT_EQ(Content(back), bytes) << length;
        }
    }
}

TEST(BinaryData, WideToUtf8) {
    const std::pair<std::u16string, Bytes> cases[] = {
        {u"abc", B("abc")}, {u"\u07ff\u0800", Bytes({0xDF, 0xBF, 0xE0, 0xA0, 0x80})},
        {u"\uffff", Bytes({0xEF, 0xBF, 0xBF})}, {u"a\U0001F600b", Bytes({'a', 0xF0, 0x9F, 0x98, 0x80, 'b'})},
        {u"\U0010FFFF", Bytes({0xF4, 0x8F, 0xBF, 0xBF})}, {std::u16string(u"a\0b", 3), B("a")}, {u"", B("")},
        // A broken surrogate ends the conversion there.
        {u"a\xD800" u"b", B("a")}, {u"\u00e9\xDC00" u"b", Bytes({0xC3, 0xA9})}, {u"ab\xD83D", B("ab")},
        {u"x\xD800\xD800\xDC00", B("x")}, {u"\xD800", B("")},
    };
    for (const auto& [text, bytes] : cases) {
        const CBinaryData d = WideToUtf8(text.c_str());
        EXPECT_EQ(Content(d), bytes) << N(text);
        if (bytes.empty()) {
            EXPECT_EQ(d.GetData(), nullptr) << N(text);
        }
    }
    EXPECT_EQ(WideToUtf8(nullptr).GetData(), nullptr);
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
