#pragma once

#include <cstdint>
#include <string>

#include "kvxml/platform/KvExport.h"
#include "kvxml/values/CBinaryData.h"

namespace KvXmlLib16 {

// Octets of the built-in encoding algorithms of Fast Infoset, to and from the lexical text of a
// value. Algorithms: 1 hexadecimal, 2 base64, 3 short, 4 int, 5 long, 6 boolean, 7 float,
// 8 double, 9 uuid, 10 cdata; multi-octet items are big-endian.
class KVXML_API CFastInfosetBinaryData : public CBinaryData {
public:
    enum Algorithm : uint32_t {
        Algorithm_Hexadecimal = 1,
        Algorithm_Base64 = 2,
        Algorithm_Short = 3,
        Algorithm_Int = 4,
        Algorithm_Long = 5,
        Algorithm_Boolean = 6,
        Algorithm_Float = 7,
        Algorithm_Double = 8,
        Algorithm_Uuid = 9,
        Algorithm_Cdata = 10,
    };

    CFastInfosetBinaryData() = default;
    CFastInfosetBinaryData(const CFastInfosetBinaryData& other) = default;
    CFastInfosetBinaryData(const CBinaryData& other) : CBinaryData(other) {}
    CFastInfosetBinaryData(const unsigned char* bytes, uint32_t length, bool adopt)
        : CBinaryData(bytes, length, adopt) {}
    explicit CFastInfosetBinaryData(const char16_t* text) : CBinaryData(text) {}
    CFastInfosetBinaryData& operator=(const CFastInfosetBinaryData& other) = default;

    // Replaces the content with the octets of one item of the text; conversion failures pass
    // through, and an algorithm outside 1 to 10 throws "Unknown byte encoding.".
    void SetAsEncodedString(uint32_t algorithm, const char16_t* text);
    // The text of the items, joined by one blank. Empty data gives the empty string whatever the
    // algorithm; otherwise only 1 to 9 are known (the cdata form is plain UTF-8 to its reader).
    // A float item is read from its first octet alone, repeated four times.
    std::u16string GetAsString(uint32_t algorithm) const;

    // The octets of one item of a fixed-size algorithm (short to double, 3 to 8) into `out`,
    // which holds at least 8; returns their count, or 0 for any other algorithm. Lets a writer
    // encode numbers without a buffer of its own per value.
    static uint32_t EncodeFixedItem(uint32_t algorithm, const std::u16string& text, unsigned char* out);
};

} // namespace KvXmlLib16
