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

// Random appends of every size relative to a tiny block, joins and reopenings keep the buffer equal
// to a plain string.
TEST(CStringBuffer, RandomOperationsMatchAPlainString) {
    std::mt19937 random(3);
    CTextStream stream(7, XmlEncoding_None);
    std::u16string model;
    for (int i = 0; i < 3000; ++i) {
        switch (random() % 8) {
        case 0: stream.GetString(); break;
        case 1:
            if (random() % 8 == 0) {
                stream.Open();
                model.clear();
            }
            break;
        case 2:
            stream.AppendChar(u'c');
            model += u'c';
            break;
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
