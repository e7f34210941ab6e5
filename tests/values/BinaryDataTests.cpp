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
    using CBinaryData::ConvertToHexData;
};

} // namespace

TEST(BinaryData, EmptyHandles) {
    const unsigned char bytes[] = {1, 2};
    const CBinaryData fresh;
    const CBinaryData zero(bytes, 0, false);
    CBinaryData set(bytes, 2, false);
    set.SetBuffer(bytes, 0);
    const CBinaryData noText(u"");
    const CBinaryData* handles[] = {&fresh, &zero, &set, &noText};
    for (const CBinaryData* d : handles) {
        EXPECT_EQ(d->GetData(), nullptr);
        EXPECT_EQ(d->GetLength(), 0u);
        EXPECT_EQ(d->GetAsBase64(), u"");
        EXPECT_EQ(d->GetAsHexString(), u"");
    }
    CBinaryData released;
    EXPECT_EQ(released.ReleaseData(), nullptr);
    // Adopting a block of no bytes frees it (the sanitizer build would see a leak otherwise).
    CBinaryData adopted(new unsigned char[4], 0, true);
    EXPECT_EQ(adopted.GetData(), nullptr);
}

TEST(BinaryData, ConstructionCopiesOrAdopts) {
    unsigned char bytes[] = {5, 6, 7};
    CBinaryData copied(bytes, 3, false);
    EXPECT_NE(copied.GetData(), bytes);
    bytes[0] = 0;
    EXPECT_EQ(Content(copied), Bytes({5, 6, 7}));

    auto* block = new unsigned char[2]{8, 9};
    CBinaryData adopted(block, 2, true);
    EXPECT_EQ(adopted.GetData(), block);

    // Wide text as its 16-bit units, low byte first, no terminator.
    EXPECT_EQ(Content(CBinaryData(u"A\u0142")), Bytes({0x41, 0x00, 0x42, 0x01}));
    CBinaryData text;
    text.SetBuffer(u"hi");
    EXPECT_EQ(Content(text), Bytes({'h', 0, 'i', 0}));
}

TEST(BinaryData, CopyOnWriteThroughIndex) {
    CBinaryData a = Make(B("abcd"));
    CBinaryData b;
    b = a;
    EXPECT_EQ(b.GetData(), a.GetData()) << "copies share the bytes";
    const CBinaryData& cb = b;
    EXPECT_EQ(cb[1], 'b');
    EXPECT_EQ(b.GetData(), a.GetData()) << "reading through a const handle does not detach";
    b[1] = 'X';
    EXPECT_NE(b.GetData(), a.GetData());
    EXPECT_EQ(Content(a), B("abcd"));
    EXPECT_EQ(Content(b), B("aXcd"));
    // The sole holder writes in place.
    unsigned char* before = b.GetData();
    b[0] = 'Y';
    EXPECT_EQ(b.GetData(), before);
}

TEST(BinaryData, IndexBound) {
    CBinaryData d = Make(B("abcd"));
    const CBinaryData& cd = d;
    EXPECT_NO_THROW(cd[4]);  // the position behind the last byte is let through
    EXPECT_NO_THROW(d[4]);
    EXPECT_KV_THROW(cd[5], CKvException, u"Index Out of range [5]");
    EXPECT_KV_THROW(d[5], CKvException, u"Index Out of range [5]");
    const CBinaryData empty;
    EXPECT_KV_THROW(empty[0], CKvException, u"Index Out of range [0]");
    CBinaryData emptyMutable;
    EXPECT_KV_THROW(emptyMutable[0], CKvException, u"Index Out of range [0]");
    // Where the block ends at the length, the position behind it is refused rather than read.
    AdoptingData exact;
    exact.AdoptBlock(new unsigned char[2]{1, 2}, 2, 2);
    const CBinaryData& ce = exact;
    EXPECT_EQ(ce[1], 2);
    EXPECT_KV_THROW(ce[2], CKvException, u"Index Out of range [2]");
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

    // Appending a handle to itself, across a growth of the block.
    CBinaryData self;
    AdoptingData exact;
    exact.AdoptBlock(new unsigned char[3]{'1', '2', '3'}, 3, 3);
    self = exact;
    exact.Clear();
    self.Append(self);
    EXPECT_EQ(Content(self), B("123123"));
}

TEST(BinaryData, AppendDetachesOnlyWhenItWrites) {
    CBinaryData a = Make(B("abc"));
    CBinaryData b(a);
    b.Append(B("x").data(), 0);
    EXPECT_EQ(b.GetData(), a.GetData()) << "an empty append does not detach";
    b.Append(B("d").data(), 1);
    EXPECT_NE(b.GetData(), a.GetData());
    EXPECT_EQ(Content(a), B("abc"));
    EXPECT_EQ(Content(b), B("abcd"));

    // Growth well beyond the first capacity keeps every byte.
    CBinaryData big;
    Bytes expected;
    for (int i = 0; i < 5000; ++i) {
        const unsigned char chunk[7] = {static_cast<unsigned char>(i), 1, 2, 3, 4, 5, static_cast<unsigned char>(i >> 8)};
        big.Append(chunk, 7);
        expected.append(chunk, 7);
    }
    EXPECT_EQ(Content(big), expected);
}

TEST(BinaryData, ReleaseData) {
    CBinaryData a = Make(B("abc"));
    CBinaryData b(a);
    unsigned char* block = b.ReleaseData();
    ASSERT_NE(block, nullptr);
    EXPECT_NE(block, a.GetData()) << "a shared handle hands out a fresh copy";
    EXPECT_EQ(std::memcmp(block, "abc", 3), 0);
    EXPECT_EQ(b.GetData(), nullptr);
    EXPECT_EQ(b.GetLength(), 0u);
    EXPECT_EQ(Content(a), B("abc"));
    delete[] block;

    unsigned char* own = a.GetData();
    unsigned char* released = a.ReleaseData();
    EXPECT_EQ(released, own) << "the sole holder hands out its own block";
    EXPECT_EQ(a.GetData(), nullptr);
    delete[] released;
}

TEST(BinaryData, Equality) {
    const CBinaryData empty1, empty2;
    CBinaryData zeroLength;
    zeroLength.SetAsBase64(u"====");
    EXPECT_NE(zeroLength.GetData(), nullptr) << "decoded nothing, yet a buffer";
    EXPECT_EQ(zeroLength.GetLength(), 0u);
    const CBinaryData abc1 = Make(B("abc")), abc2 = Make(B("abc")), abd = Make(B("abd")), ab = Make(B("ab"));
    CBinaryData zeroLength2;
    zeroLength2.SetAsBase64(u"!");
    struct Row {
        const CBinaryData* a;
        const CBinaryData* b;
        bool equal;
    };
    const Row rows[] = {
        {&empty1, &empty2, true},     {&empty1, &zeroLength, false}, {&zeroLength, &empty1, false},
        {&zeroLength, &zeroLength2, true}, {&abc1, &abc2, true},     {&abc1, &abd, false},
        {&abc1, &ab, false},          {&abc1, &abc1, true},          {&empty1, &abc1, false},
    };
    for (const auto& r : rows) {
        EXPECT_EQ(*r.a == *r.b, r.equal) << N(r.a->GetAsHexString()) << " vs " << N(r.b->GetAsHexString());
        EXPECT_EQ(*r.a != *r.b, !r.equal);
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
    unsigned char* out = reinterpret_cast<unsigned char*>(1);
    EXPECT_EQ(AdoptingData::ConvertToHexData(u"", &out), 0u);
    EXPECT_EQ(out, nullptr);
}

TEST(BinaryData, Base64Encoding) {
    const std::pair<Bytes, std::u16string> cases[] = {
        {B(""), u""},          {B("M"), u"TQ=="},     {B("Ma"), u"TWE="},        {B("Man"), u"TWFu"},
        {B("f"), u"Zg=="},     {B("fo"), u"Zm8="},    {B("foo"), u"Zm9v"},       {B("foob"), u"Zm9vYg=="},
        {B("fooba"), u"Zm9vYmE="}, {B("foobar"), u"Zm9vYmFy"}, {Bytes({0xFF, 0xFE, 0xFD}), u"//79"},
    };
    for (const auto& [bytes, text] : cases) EXPECT_EQ(N(Make(bytes).GetAsBase64()), N(text));
    // No line breaks, whatever the length.
    const std::u16string longText = Make(Bytes(3000, 0xAB)).GetAsBase64();
    EXPECT_EQ(longText.size(), 4000u);
    EXPECT_EQ(longText.find_first_of(u"\r\n="), std::u16string::npos);
}

TEST(BinaryData, Base64DecoderIsForgiving) {
    const std::pair<const char16_t*, Bytes> cases[] = {
        {u"TWFu", B("Man")},
        {u"T W\nF=u", B("Man")},   // blanks and '=' skipped anywhere
        {u"=T\t=W\r=F==u=", B("Man")},
        {u"TQ==", B("M")},
        {u"TQ", B("M")},            // no padding needed
        {u"TWE", B("Ma")},
        {u"T", B("")},              // left-over bits dropped
        {u"Zm9vYmFy", B("foobar")},
        {u"\u0154WFu", B("Man")},   // only the low seven bits count: U+0154 reads as 'T'
        {u"//79", Bytes({0xFF, 0xFE, 0xFD})},
        {u"TW\u00a0Fu", B("Man")},  // U+00A0 masks to a blank, which is skipped
    };
    for (const auto& [text, bytes] : cases) {
        CBinaryData d;
        d.SetAsBase64(text);
        EXPECT_EQ(Content(d), bytes) << N(text);
    }
    for (const char16_t* bad : {u"TW!u", u"TWFu.", u"-", u"TWFu\u00a1"}) {
        CBinaryData d = Make(B("old"));
        EXPECT_NO_THROW(d.SetAsBase64(bad));
        EXPECT_NE(d.GetData(), nullptr) << N(bad);
        EXPECT_EQ(d.GetLength(), 0u) << N(bad);
    }
    CBinaryData none = Make(B("old"));
    none.SetAsBase64(u"");
    EXPECT_EQ(none.GetData(), nullptr);
    none.SetAsBase64(nullptr);
    EXPECT_EQ(none.GetData(), nullptr);
}

TEST(BinaryData, Base64RoundTripsEveryLength) {
    std::mt19937 rng(7);
    for (uint32_t length = 0; length < 200; ++length) {
        Bytes bytes(length, 0);
        for (auto& b : bytes) b = static_cast<unsigned char>(rng());
        const std::u16string text = Make(bytes).GetAsBase64();
        EXPECT_EQ(text.size(), (length + 2) / 3 * 4);
        CBinaryData back;
        back.SetAsBase64(text.c_str());
        EXPECT_EQ(Content(back), bytes) << length;
        // Blanks inserted at every fourth position change nothing.
        std::u16string spaced;
        for (size_t i = 0; i < text.size(); ++i) {
            if (i % 4 == 0) spaced += u"\r\n ";
            spaced += text[i];
        }
        back.SetAsBase64(spaced.c_str());
        EXPECT_EQ(Content(back), bytes) << length;
    }
}

TEST(BinaryData, WideToUtf8) {
    const std::pair<std::u16string, Bytes> cases[] = {
        {u"abc", B("abc")},
        {u"\u00e9", Bytes({0xC3, 0xA9})},
        {u"\u07ff\u0800", Bytes({0xDF, 0xBF, 0xE0, 0xA0, 0x80})},
        {u"\u4e2d", Bytes({0xE4, 0xB8, 0xAD})},
        {u"\uffff", Bytes({0xEF, 0xBF, 0xBF})},
        {u"a\U0001F600b", Bytes({'a', 0xF0, 0x9F, 0x98, 0x80, 'b'})},
        {u"\U0010FFFF", Bytes({0xF4, 0x8F, 0xBF, 0xBF})},
        // A broken surrogate ends the conversion there.
        {std::u16string(u"a\xD800" u"b"), B("a")},
        {std::u16string(u"\u00e9\xDC00" u"b"), Bytes({0xC3, 0xA9})},
        {std::u16string(u"ab\xD83D"), B("ab")},
        {std::u16string(u"x\xD800\xD800\xDC00"), B("x")},
        {std::u16string(u"\xD800"), B("")},
        {u"", B("")},
        {std::u16string(u"a\0b", 3), B("a")},
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

// Handles on one buffer are copied, written, appended to and released from several threads at
// once; the buffer's own lock must keep the count and the bytes consistent (run under TSan too).
TEST(BinaryData, HandlesOnOneBufferAcrossThreads) {
    Bytes original(20000, 0);
    for (size_t i = 0; i < original.size(); ++i) original[i] = static_cast<unsigned char>(i * 7);
    const CBinaryData master = Make(original);
    KvVariant sharedVariant;
    sharedVariant.SetHexBinary(master);
    const KvVariant& constVariant = sharedVariant;

    constexpr int kThreads = 4;
    constexpr int kRounds = 300;
    std::vector<int> failures(kThreads, 0);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            int& bad = failures[t];
            for (int r = 0; r < kRounds; ++r) {
                CBinaryData mine = master;  // shares
                CBinaryData second(mine);
                const unsigned char mark = static_cast<unsigned char>(t * 50 + r);
                mine[static_cast<uint32_t>(r)] = mark;  // detaches
                if (mine[static_cast<uint32_t>(r)] != mark || second.GetData() == mine.GetData()) ++bad;
                second.Append(&mark, 1);  // detaches as well
                if (second.GetLength() != original.size() + 1 || second.GetData()[original.size()] != mark) ++bad;
                CBinaryData third = master;
                unsigned char* block = third.ReleaseData();  // a copy while others hold the buffer
                if (block == nullptr || std::memcmp(block, original.data(), original.size()) != 0) ++bad;
                delete[] block;
                KvVariant v(constVariant);
                CBinaryData fromVariant = v.GetHexBinary();
                if (fromVariant != master) ++bad;
                fromVariant.Clear();
                mine = second;  // drop one buffer, share another
                if (mine != second) ++bad;
            }
        });
    }
    for (auto& th : threads) th.join();
    for (int t = 0; t < kThreads; ++t) EXPECT_EQ(failures[t], 0) << "thread " << t;
    EXPECT_EQ(Content(master), original);
    EXPECT_EQ(sharedVariant.GetHexBinary().GetData(), master.GetData());
}
