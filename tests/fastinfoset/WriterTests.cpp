#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "kvxml/fastinfoset/CFastInfosetWriter.h"
#include "kvxml/output/CBinaryStream.h"
#include "kvxml/values/ItemType.h"
#include "support/KvTestBytes.h"
#include "support/KvTestText.h"
#include "support/WriterScript.h"

using namespace KvXmlLib16;
using KvTest::Bytes;
using KvTest::Content;
using KvTest::MessageOf;
using KvTest::Play;

namespace {

// Reaches the integer and length forms.
class Probe : public CFastInfosetWriter {
public:
    using CFastInfosetWriter::CFastInfosetWriter;
    using CFastInfosetWriter::WriteIndexBit2;
    using CFastInfosetWriter::WriteIndexBit3;
    using CFastInfosetWriter::WriteIndexBit4;
    using CFastInfosetWriter::WriteLengthBit5;
    using CFastInfosetWriter::WriteLengthBit7;
    using CFastInfosetWriter::WriteNonEmptyOctetStringBit2;
};

Bytes Ascii(const std::string& s) { return Bytes(s.begin(), s.end()); }

Bytes Cat(std::initializer_list<Bytes> parts) {
    Bytes out;
    for (const Bytes& p : parts) out.insert(out.end(), p.begin(), p.end());
    return out;
}

// The octets of a whole document made by a script, header and end included.
Bytes Document(const CFastInfosetContext& context, const std::string& script, FInfoDecl declaration = FInfoDecl_None) {
    CBinaryStream stream;
    CFastInfosetWriter writer(&stream, &context);
    writer.WriteDocumentHeader(declaration);
    Play(writer, script);
    writer.WriteDocumentEnd();
    writer.CloseOutput();
    return Content(stream.GetData());
}

const Bytes kHead = {0xE0, 0x00, 0x00, 0x01, 0x00};
constexpr ItemType kString = ItemType_string;

} // namespace

TEST(FastInfosetWriter, IntegerAndLengthForms) {
    using Form = std::function<void(Probe&, uint32_t)>;
    const Form index2 = [](Probe& p, uint32_t v) { p.WriteIndexBit2(0x80, v); };
    const Form index3 = [](Probe& p, uint32_t v) { p.WriteIndexBit3(0x40, v); };
    const Form index4 = [](Probe& p, uint32_t v) { p.WriteIndexBit4(v); };
    const Form length5 = [](Probe& p, uint32_t v) { p.WriteLengthBit5(0x40, v); };
    const Form length7 = [](Probe& p, uint32_t v) { p.WriteLengthBit7(0x90, v); };
    const Form string2 = [](Probe& p, uint32_t v) { p.WriteNonEmptyOctetStringBit2(std::u16string(v, u'x')); };
    // clang-format off
    // head: the octets before any string data
    struct Case { const char* name; const Form& form; std::vector<std::pair<uint32_t, Bytes>> heads; } cases[] = {
        {"index2", index2, {{1, {0x80}}, {64, {0xBF}}, {65, {0xC0, 0x00}}, {8256, {0xDF, 0xFF}},
                            {8257, {0xE0, 0x00, 0x00}}, {0x100000, {0xEF, 0xDF, 0xBF}}}},
        // The last branch subtracts one less than its lower bound.
        {"index3", index3, {{1, {0x40}}, {32, {0x5F}}, {33, {0x60, 0x00}}, {2080, {0x67, 0xFF}},
                            {2081, {0x68, 0x00, 0x00}}, {526368, {0x6F, 0xFF, 0xFF}}, {526369, {0x70, 0x00, 0x00, 0x01}}}},
        {"index4", index4, {{1, {0xA0}}, {16, {0xAF}}, {17, {0xB0, 0x00}}, {1040, {0xB3, 0xFF}},
                            {1041, {0xB4, 0x00, 0x00}}, {263184, {0xB7, 0xFF, 0xFF}}, {263185, {0xB8, 0x00, 0x00, 0x00}}}},
        {"length5", length5, {{1, {0x40}}, {8, {0x47}}, {9, {0x48, 0x00}}, {264, {0x48, 0xFF}},
                              {265, {0x4C, 0x00, 0x00, 0x00, 0x00}}}},
        {"length7", length7, {{1, {0x90}}, {2, {0x91}}, {3, {0x92, 0x00}}, {258, {0x92, 0xFF}},
                              {259, {0x93, 0x00, 0x00, 0x00, 0x00}}}},
        {"string2", string2, {{0, {0xFF}}, {1, {0x00}}, {64, {0x3F}}, {65, {0x40, 0x00}}, {320, {0x40, 0xFF}},
                              {321, {0x60, 0x00, 0x00, 0x00, 0x00}}, {70000, {0x60, 0x00, 0x01, 0x10, 0x2F}}}},
    };
    // clang-format on
    const CFastInfosetContext context;
    for (const Case& c : cases) {
        for (const auto& [value, head] : c.heads) {
            CBinaryStream stream;
            Probe probe(&stream, &context);
            c.form(probe, value);
            probe.Flush();
            Bytes octets = Content(stream.GetData());
            if (c.name[0] == 's') { // a string: its octets follow the head
                EXPECT_EQ(octets.size(), head.size() + value) << c.name << " " << value;
                octets.resize(std::min(octets.size(), head.size()));
            }
            EXPECT_EQ(octets, head) << c.name << " " << value;
        }
    }
}

TEST(FastInfosetWriter, Documents) {
    CFastInfosetContext plain, typed;
    typed.SetSuggestedValues();
    // clang-format off
    // body: after the header
    struct Case { const CFastInfosetContext& context; std::string script; Bytes body; } cases[] = {
        {plain, "<a;/", {0x38, 0xF0, 0x3C, 0x00, 'a', 0xFF}},
        // A child with an attribute: 0x40 in its head, 0xF0 behind the attributes.
        {plain, "<r;<c;@x v;/;/", {0x38, 0xF0, 0x3C, 0x00, 'r', 0x7C, 0x00, 'c', 0x78, 0x00, 'x', 0x40, 'v', 0xF0, 0xFF, 0xF0}},
        // Siblings: the owed end goes out before the second, whose name is now an index.
        {plain, "<r;<a;/;<a;/;/", {0x38, 0xF0, 0x3C, 0x00, 'r', 0x3C, 0x00, 'a', 0xF0, 0x01, 0xFF, 0xF0}},
        // Text after a child comes before the child's owed end; the repeated value is an index.
        {plain, "<r;'t;<c;/;'t;/", {0x38, 0xF0, 0x3C, 0x00, 'r', 0x90, 't', 0x3C, 0x00, 'c', 0xA0, 0xFF, 0xF0}},
        // Short values shared, those of the add length literal each time, the empty one index 0.
        {plain, "<r;@a abc;@a abc;@a abcdef;@a abcdef;@a ;/",
         Cat({{0x78, 0xF0, 0x3C, 0x00, 'r', 0x78, 0x00, 'a', 0x42, 'a', 'b', 'c', 0x00, 0x80, 0x00, 0x05}, Ascii("abcdef"),
              {0x00, 0x05}, Ascii("abcdef"), {0x00, 0xFF, 0xF0, 0xFF}})},
        // nil: a literal name with a new alias and the boolean algorithm; 12 packed in the numeric
        // alphabet; 7 as the four octets of the int algorithm.
        {typed, "<r;nil;'12#26;'7#5;/",
         Cat({{0x78, 0xF0, 0x3C, 0x00, 'r', 0x7B, 0x01, 'A', 'A', 0x28}, Ascii("http://www.w3.org/2001/XMLSchema-instance"),
              {0x02, 'n', 'i', 'l', 0x70, 0x50, 0x38, 0xF0, 0x98, 0x00, 0x12, 0x9C, 0x0E, 0x01, 0, 0, 0, 7, 0xFF}})},
        // Namespaces set before the root are declared on it; one met below it only gets an alias.
        {plain, "!urn:d;!p urn:p;<r urn:d;<c urn:p;/;<c urn:x;/;/",
         Cat({{0x38, 0xCD, 0x04}, Ascii("urn:d"), {0xCF, 0x00, 'p', 0x04}, Ascii("urn:p"),
              {0xF0, 0x3D, 0x81, 0x00, 'r', 0x3F, 0x81, 0x82, 0x00, 'c', 0xF0, 0x3F, 0x01, 'A', 'A', 0x04},
              Ascii("urn:x"), {0x81, 0xFF, 0xF0}})},
    };
    // clang-format on
    for (const Case& c : cases) EXPECT_EQ(Document(c.context, c.script), Cat({kHead, c.body})) << c.script;
}

TEST(FastInfosetWriter, HeaderAndVocabulary) {
    CFastInfosetContext context;
    EXPECT_EQ(Document(context, "<a;/", FInfoDecl_V10_Enc_StandaloneNo),
              Cat({Ascii("<?xml version='1.0' encoding='finf' standalone='no'?>"),
                   kHead,
                   {0x38, 0xF0, 0x3C, 0x00, 'a', 0xFF}}));
    // A prepared vocabulary is announced by its URI, its names go out as indexes, and the writer
    // works on a copy of it.
    context.SetUseGeneratedVocabulary(true);
    context.SetExternalVocabularyURI(u"urn:v");
    context.GetVocabulary()->AddElement(u"", u"", u"a");
    EXPECT_EQ(Document(context, "<a;<b;/;/"), Cat({{0xE0, 0x00, 0x00, 0x01, 0x20, 0x10, 0x00, 0x04},
                                                   Ascii("urn:v"),
                                                   {0x38, 0xF0, 0x00, 0x3C, 0x00, 'b', 0xFF, 0xF0}}));
    const auto& names = context.GetVocabulary()->GetLocalNamesTable();
    EXPECT_EQ(std::vector<std::u16string>(names.begin(), names.end()), std::vector<std::u16string>{u"a"});
    EXPECT_EQ(MessageOf([&] { Document(context, "<a;/", static_cast<FInfoDecl>(10)); }),
              "Failed to write FastInfoset. Unknown XML declaration [10]");
}

TEST(FastInfosetWriter, Failures) {
    CFastInfosetContext typed, broken;
    typed.SetSuggestedValues();
    broken.SetEncoding(ItemType_string, {3, 0});
    broken.SetEncoding(ItemType_i4, {1, 3});
    broken.SetEncoding(ItemType_i8, {2, 11});
    // clang-format off
    struct Case { const CFastInfosetContext& context; std::string script; std::string message; } cases[] = {
        {typed, "<r;'t;nil", "Attributes must be added before elements"},
        {typed, "<r", "An Element has not been closed."},
        {typed, "<r;'2024-01-01+01:00#19;/", "Failed to write FastInfoset. Invalid character not found for Restricted Alphabet."},
        {broken, "<r;'x;/", "Failed to write FastInfoset. Unknown encoding in EncodedCharacterStringBit7."},
        {broken, "<r;@a x;/", "Failed to write FastInfoset. Unknown encoding in EncodedCharacterStringBit5."},
        {broken, "<r;'1#5;/", "Failed to write FastInfoset. Invalid Restricted Alphabet value [3]"},
        {broken, "<r;@a 1#6;/", "Failed to write FastInfoset. Invalid Encoding Algorithm value [11]"},
        // Values that their algorithm cannot take fail in the conversion.
        {typed, "<r;'x#5;/", "The value [x] can not be converted to a i4"},
        {typed, "<r;'!!#2;/", "Failed to write FastInfoset. A value gives no octets to write."},
    };
    // clang-format on
    for (const Case& c : cases) EXPECT_EQ(MessageOf([&] { Document(c.context, c.script); }), c.message) << c.script;
}
