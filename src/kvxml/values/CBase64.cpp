#include "kvxml/values/CBase64.h"

#include <array>

namespace KvXmlLib16 {

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr uint8_t kSkip = 0x40;
constexpr uint8_t kInvalid = 0x80;

constexpr std::array<uint8_t, 256> MakeDecodeTable() {
    std::array<uint8_t, 256> t{};
    for (auto& e : t) e = kInvalid;
    for (int i = 0; i < 64; ++i) {
        const auto c = static_cast<unsigned char>(kAlphabet[i]);
        t[c] = static_cast<uint8_t>(i);
        t[c + 128] = static_cast<uint8_t>(i);
    }
    t['='] = kSkip;
    t['=' + 128] = kSkip;
    t[' '] = kSkip;
    t['\t'] = kSkip;
    t['\n'] = kSkip;
    t['\r'] = kSkip;
    return t;
}

constexpr std::array<uint8_t, 256> kDecode = MakeDecodeTable();

// Only the low seven bits of a character count, so e.g. U+0141 reads as 'A'.
inline uint8_t Lookup(char16_t c) { return kDecode[c & 0x7F]; }

} // namespace

CBase64::CBase64() : m_length(0), m_bitsWaiting(0), m_accumulator(0), m_input(nullptr) {}
CBase64::~CBase64() = default;

std::u16string CBase64::Encode(const unsigned char* data, uint32_t length) {
    m_input = nullptr;
    m_length = length;
    m_bitsWaiting = 0;
    m_accumulator = 0;
    if (data == nullptr || length == 0) return std::u16string();

    const size_t outLength = (static_cast<size_t>(length) + 2) / 3 * 4;
    std::u16string out(outLength, u'=');
    char16_t* o = out.data();
    uint32_t i = 0;
    for (; i + 3 <= length; i += 3) {
        const uint32_t v = (uint32_t{data[i]} << 16) | (uint32_t{data[i + 1]} << 8) | data[i + 2];
        o[0] = static_cast<char16_t>(kAlphabet[v >> 18]);
        o[1] = static_cast<char16_t>(kAlphabet[(v >> 12) & 0x3F]);
        o[2] = static_cast<char16_t>(kAlphabet[(v >> 6) & 0x3F]);
        o[3] = static_cast<char16_t>(kAlphabet[v & 0x3F]);
        o += 4;
    }
    // The last group is zero-filled on the right; the '=' already in place pad it.
    const uint32_t rest = length - i;
    if (rest == 1) {
        const uint32_t v = uint32_t{data[i]} << 16;
        o[0] = static_cast<char16_t>(kAlphabet[v >> 18]);
        o[1] = static_cast<char16_t>(kAlphabet[(v >> 12) & 0x3F]);
    } else if (rest == 2) {
        const uint32_t v = (uint32_t{data[i]} << 16) | (uint32_t{data[i + 1]} << 8);
        o[0] = static_cast<char16_t>(kAlphabet[v >> 18]);
        o[1] = static_cast<char16_t>(kAlphabet[(v >> 12) & 0x3F]);
        o[2] = static_cast<char16_t>(kAlphabet[(v >> 6) & 0x3F]);
    }
    return out;
}

uint32_t CBase64::Decode(const char16_t* text, uint32_t length, unsigned char* out) {
    m_input = text;
    m_length = length;
    m_bitsWaiting = 0;
    m_accumulator = 0;
    if (text == nullptr) return 0;

    uint32_t bits = 0; // 0, 2, 4 or 6 bits wait in acc between groups
    uint32_t acc = 0;
    uint32_t written = 0;
    uint32_t i = 0;
    while (i < length) {
        // Fast path: four alphabet characters in a row add exactly three bytes.
        if (i + 4 <= length) {
            const uint8_t a = Lookup(text[i]), b = Lookup(text[i + 1]), c = Lookup(text[i + 2]),
                          d = Lookup(text[i + 3]);
            if (((a | b | c | d) & 0xC0) == 0) {
                const uint64_t x =
                    (uint64_t{acc} << 24) | (uint32_t{a} << 18) | (uint32_t{b} << 12) | (uint32_t{c} << 6) | d;
                out[written] = static_cast<unsigned char>(x >> (bits + 16));
                out[written + 1] = static_cast<unsigned char>(x >> (bits + 8));
                out[written + 2] = static_cast<unsigned char>(x >> bits);
                written += 3;
                acc = static_cast<uint32_t>(x & ((1u << bits) - 1));
                i += 4;
                continue;
            }
        }
        const uint8_t v = Lookup(text[i++]);
        if (v == kSkip) continue;
        if (v == kInvalid) {
            m_bitsWaiting = 0;
            m_accumulator = 0;
            return 0;
        }
        acc = (acc << 6) | v;
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            out[written++] = static_cast<unsigned char>(acc >> bits);
            acc &= (1u << bits) - 1;
        }
    }
    // Bits left over at the end are dropped.
    m_bitsWaiting = static_cast<int32_t>(bits);
    m_accumulator = acc;
    return written;
}

} // namespace KvXmlLib16
