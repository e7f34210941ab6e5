#include "kvxml/fastinfoset/CFastInfosetBinaryData.h"

#include <bit>

#include "kvxml/base/CKvException.h"
#include "kvxml/values/CConversions.h"

namespace KvXmlLib16 {

namespace {

constexpr auto kRule = CConversions::WhitespaceRule::WhitespaceRule_Collapse;

uint32_t PutBigEndian(unsigned char* out, uint64_t value, unsigned octets) {
    for (unsigned i = 0; i < octets; ++i) out[i] = static_cast<unsigned char>(value >> (8 * (octets - 1 - i)));
    return octets;
}

uint64_t ReadBigEndian(const unsigned char* p, unsigned octets) {
    uint64_t value = 0;
    for (unsigned i = 0; i < octets; ++i) value = (value << 8) | p[i];
    return value;
}

// Splits the octets into items of `size`, turns each into text, joins them with one blank.
template <class ItemToText>
std::u16string JoinItems(const unsigned char* data, uint32_t length, uint32_t size, const char16_t* lengthMessage,
                         ItemToText toText) {
    if (length % size != 0) throw CKvException(lengthMessage);
    std::u16string out;
    for (uint32_t pos = 0; pos < length; pos += size) {
        if (pos != 0) out += u' ';
        out += toText(data + pos);
    }
    return out;
}

// Bit-packed booleans: the high half of the first octet counts the unused low bits of the last.
std::u16string BooleansToString(const unsigned char* data, uint32_t length) {
    const unsigned unused = data[0] >> 4;
    std::u16string out;
    for (uint32_t i = 0; i < length; ++i) {
        const int high = i == 0 ? 3 : 7;
        const int low = i + 1 == length ? static_cast<int>(unused) : 0;
        if (high < low) continue;
        if (!out.empty()) out += u' ';
        for (int bit = high; bit >= low; --bit) out += CConversions::booleanToString(((data[i] >> bit) & 1) != 0);
    }
    return out;
}

} // namespace

uint32_t CFastInfosetBinaryData::EncodeFixedItem(uint32_t algorithm, const std::u16string& text, unsigned char* out) {
    switch (algorithm) {
    case Algorithm_Short: return PutBigEndian(out, static_cast<uint16_t>(CConversions::i2FromString(text, kRule)), 2);
    case Algorithm_Int: return PutBigEndian(out, static_cast<uint32_t>(CConversions::i4FromString(text, kRule)), 4);
    case Algorithm_Long: return PutBigEndian(out, static_cast<uint64_t>(CConversions::i8FromString(text, kRule)), 8);
    case Algorithm_Boolean:
        // Three unused bits counted in the high half, the value in bit 3.
        out[0] = CConversions::booleanFromString(text, kRule) ? 0x38 : 0x30;
        return 1;
    case Algorithm_Float: return PutBigEndian(out, std::bit_cast<uint32_t>(CConversions::r4FromString(text, kRule)), 4);
    case Algorithm_Double:
        return PutBigEndian(out, std::bit_cast<uint64_t>(CConversions::r8FromString(text, kRule)), 8);
    default: return 0;
    }
}

void CFastInfosetBinaryData::SetAsEncodedString(uint32_t algorithm, const char16_t* text) {
    Clear();
    const std::u16string value = text ? std::u16string(text) : std::u16string();
    unsigned char item[8];
    if (const uint32_t length = EncodeFixedItem(algorithm, value, item)) {
        Append(item, length);
        return;
    }
    switch (algorithm) {
    case Algorithm_Hexadecimal:
    case Algorithm_Uuid: // plain hexadecimal: no hyphens, no length test
        SetAsHexString(value.c_str());
        break;
    case Algorithm_Base64: SetAsBase64(value.c_str()); break;
    case Algorithm_Cdata: Append(WideToUtf8(value.c_str())); break;
    default: throw CKvException(u"Unknown byte encoding.");
    }
}

std::u16string CFastInfosetBinaryData::GetAsString(uint32_t algorithm) const {
    const uint32_t length = GetLength();
    const unsigned char* data = GetData();
    if (length == 0 || data == nullptr) return std::u16string();
    switch (algorithm) {
    case Algorithm_Hexadecimal: return GetAsHexString();
    case Algorithm_Base64: return GetAsBase64();
    case Algorithm_Short:
        return JoinItems(data, length, 2, u"Invalid value for SHORT byte encoding.", [](const unsigned char* p) {
            return CConversions::i2ToString(static_cast<int16_t>(ReadBigEndian(p, 2)));
        });
    case Algorithm_Int:
        return JoinItems(data, length, 4, u"Invalid value for INT byte encoding.", [](const unsigned char* p) {
            return CConversions::i4ToString(static_cast<int32_t>(ReadBigEndian(p, 4)));
        });
    case Algorithm_Long:
        return JoinItems(data, length, 8, u"Invalid value for LONG byte encoding.", [](const unsigned char* p) {
            return CConversions::i8ToString(static_cast<int64_t>(ReadBigEndian(p, 8)));
        });
    case Algorithm_Boolean: return BooleansToString(data, length);
    case Algorithm_Float:
        // The pattern is the first octet in all four positions; the other three are passed over.
        return JoinItems(data, length, 4, u"Invalid value for FLOAT byte encoding.", [](const unsigned char* p) {
            return CConversions::r4ToString(std::bit_cast<float>(p[0] * 0x01010101u), std::u16string());
        });
    case Algorithm_Double:
        return JoinItems(data, length, 8, u"Invalid value for DOUBLE byte encoding.", [](const unsigned char* p) {
            return CConversions::r8ToString(std::bit_cast<double>(ReadBigEndian(p, 8)), std::u16string());
        });
    case Algorithm_Uuid:
        return JoinItems(data, length, 16, u"Invalid value for UUID byte encoding.",
                         [](const unsigned char* p) { return CBinaryData::GetAsHexString(p, 16); });
    default: throw CKvException(u"Unknown byte encoding.");
    }
}

} // namespace KvXmlLib16
