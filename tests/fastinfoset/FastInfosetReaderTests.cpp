#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "TreeText.h"
#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/fastinfoset/CFastInfosetContext.h"
#include "kvxml/xml/CXmlDocument.h"
#include "support/KvTestText.h"

using namespace KvXmlLib16;
using KvTest::MessageOf;
using KvTest::TreeText;
using Bytes = std::vector<unsigned char>;

namespace {

// Octets from a readable form: hexadecimal pairs, 'ASCII text', and H for the magic, version and
// an empty set of optional components; blanks and bars only separate.
Bytes Octets(const char* form) {
    Bytes out;
    for (const char* p = form; *p;) {
        if (*p == ' ' || *p == '|') {
            ++p;
        } else if (*p == 'H') {
            out.insert(out.end(), {0xE0, 0x00, 0x00, 0x01, 0x00});
            ++p;
        } else if (*p == '\'') {
            for (++p; *p != '\''; ++p) out.push_back(static_cast<unsigned char>(*p));
            ++p;
        } else {
            out.push_back(static_cast<unsigned char>(std::stoul(std::string(p, 2), nullptr, 16)));
            p += 2;
        }
    }
    return out;
}

// The tree of the loaded octets, or "!" and the message of the failure.
std::string Load(const Bytes& octets, const CSerializationContext& context = CSerializationContext()) {
    CXmlDocument document(context);
    std::string failure =
        MessageOf([&] { document.LoadXmlStream(octets.data(), static_cast<uint32_t>(octets.size())); });
    return failure == "<no exception>" ? TreeText(document) : "!" + failure;
}

const char kEnd[] = "!Failed to parse FastInfoset. Unexpected End of File.";

} // namespace

TEST(FastInfosetReader, ReadsHandBuiltDocuments) {
    // clang-format off
    struct Case { const char* name; const char* octets; const char* tree; } cases[] = {
        {"empty root", "H 3C 00 'a' FF", "a"},
        {"behind a declaration", "'<?xml encoding=' 27 'finf' 27 '?>' H 3C 00 'a' FF", "a"},
        {"XML text goes to Expat", "'<a>x</a>'", "a\"x\""},
        {"the magic alone is not taken: an octet must follow", "E0 00 00 01", "!syntax error at line 1"},
        {"nor behind a declaration", "'<?xml encoding=' 27 'finf' 27 '?>' E0 00 00 01",
         "!XML declaration not well-formed at line 1"},
        {"root after an empty run of namespace attributes", "H 38 F0 3C 00 'a' FF", "a"},
        {"attribute and text", "H 7C 00 'a' 78 00 'b' 40 'v' F0 91 'hi' FF", "a[b=v]\"hi\""},
        {"names and values again by index", "H 3C 00 'a' 7C 00 'b' 78 00 'c' 40 'v' F0 90 'x' F0 41 00 80 F0 A0 FF",
         "a(b[c=v]\"x\",b[c=v]\"x\")"},
        {"namespace declaration and prefixed name", "H 38 CF 00 'p' 02 'urn' F0 3F 81 81 00 'e' FF", "{urn}e"},
        {"0xFF behind attributes ends one element", "H 3C 00 'a' 7C 00 'b' 78 00 'c' 40 'v' FF 3C 00 'd' FF",
         "a(b[c=v],d)"},
        {"0xFF among children ends two", "H 3C 00 'a' 3C 00 'b' 3C 00 'c' FF 3C 00 'd' FF", "a(b(c),d)"},
        {"attribute value 0xFF is empty", "H 7C 00 'a' 78 00 'b' FF F0 FF", "a[b=]"},
        {"text around a child joins", "H 3C 00 'a' 90 'x' 3C 00 'b' F0 90 'y' FF", "a\"xy\"(b)"},
        {"instructions, comments and entity references are passed over",
         "H E1 00 't' 00 'd' 3C 00 'a' E2 00 'c' C8 00 'n' 90 'x' E1 00 't' 00 'd' FF", "a\"x\""},
        {"CR is dropped from text", "H 3C 00 'a' 92 00 'x' 0D 'y' FF", "a\"xy\""},
        {"typed text: int, numeric alphabet, odd digit count, cdata",
         "H 3C 00 'a' 8C 0E 01 00 00 01 00 88 00 12 88 00 1F 8C 24 'z' FF", "a\"256121z\""},
        {"typed attribute: boolean, date alphabet", "H 7C 00 'a' 78 00 'b' 30 50 38 78 00 'c' 20 11 2A CB F0 FF",
         "a[b=true][c=2-T:]"},
        {"a UTF-16 string takes as many units as it has octets", "H 3C 00 'a' 84 41 FF", "a\"\\uFF41\""},
        {"multi-octet UTF-8", "H 3C 00 'a' 92 03 C3 A9 F0 9F 98 80 FF", "a\"\\u00E9\\uD83D\\uDE00\""},
        {"optional components passed over",
         "E0 00 00 01 7F | 00 00 'a' 00 'b' | 12 89 00 'u' 00 00 'p' 00 00 'l' 00 00 'k' 00 80 | C0 00 'n' C3 00 'n' "
         "00 's' 00 'p' F0 | D0 00 'e' 00 's' 00 'n' F0 | 00 'c' | 01 | 00 '1' | 3C 00 'a' FF",
         "a"},
        {"no element", "H F0", "!Failed to parse FastInfoset. The document ended before its first element."},
        {"document type declaration ends the body", "H C6 00 's' F0 3C 00 'a' FF",
         "!Failed to parse FastInfoset. The document ended before its first element."},

        {"nothing after the header", "H", kEnd},
        {"element name index past the table", "H 00",
         "!Failed to parse FastInfoset. Index [1] is not in the table of element names, which holds [0] entries."},
        {"unknown octet among children", "H 3C 00 'a' C0",
         "!Failed to parse FastInfoset. Invalid Encoding of Element type."},
        {"prefix without namespace", "H 3E",
         "!Failed to parse FastInfoset. Invalid QName type Prefix without Namespace."},
        {"text length near 2^32", "H 3C 00 'a' 83 FF FF FF FC 'x'", kEnd},
        {"name length near 2^32", "H 3C 60 FF FF FF FF 'x'", kEnd},
        {"attribute value length near 2^32", "H 7C 00 'a' 78 00 'b' 0C FF FF FF FF 'x'", kEnd},
        {"bad index, second bit", "H 7C 00 'a' 70",
         "!Failed to parse FastInfoset. Invalid Encoding of integers 1 To 2^20 type  on the second bit of an octet."},
        {"bad index from 0, second bit", "H 7C 00 'a' 78 00 'b' F5",
         "!Failed to parse FastInfoset. Invalid Encoding of integers 0 To 2^20 type  on the second bit of an octet."},
        {"bad index, third bit", "H 38 F0 38",
         "!Failed to parse FastInfoset. Invalid Encoding of integers 1 To 2^20 type  on the third bit of an octet."},
        {"bad index, fourth bit", "H 3C 00 'a' BC",
         "!Failed to parse FastInfoset. Invalid Encoding of integers 1 To 2^20 type  on the fourth bit of an octet."},
        {"bad length, second bit", "H 3C 41",
         "!Failed to parse FastInfoset. Invalid NonEmptyOctetString type  on the second bit of an octet."},
        {"bad length, fifth bit", "H 7C 00 'a' 78 00 'b' 09",
         "!Failed to parse FastInfoset. Invalid NonEmptyOctetString type  on the fifth bit of an octet."},
        {"text index past the table", "H 3C 00 'a' A5",
         "!Failed to parse FastInfoset. Index [6] is not in the table of character chunks, which holds [0] entries."},
        {"attribute value index past the table", "H 7C 00 'a' 78 00 'b' 82",
         "!Failed to parse FastInfoset. Index [3] is not in the table of attribute values, which holds [0] entries."},
        {"local name index past the table", "H 3C 85",
         "!Failed to parse FastInfoset. Index [6] is not in the table of local names, which holds [0] entries."},
        {"prefix index past the table", "H 38 CE 85",
         "!Failed to parse FastInfoset. Index [6] is not in the table of prefix names, which holds [1] entries."},
        {"alphabet past the vocabulary", "H 3C 00 'a' 88 08 12",
         "!Failed to parse FastInfoset. Restricted alphabet [3] is not in the vocabulary, which holds [2]."},
        {"unknown algorithm", "H 3C 00 'a' 8C 28 00", "!Unknown byte encoding."},
        {"octets that are not UTF-8", "H 3C 00 'a' 90 C3",
         "!Failed to parse FastInfoset. A string holds octets that are not UTF-8."},
        {"UTF-16 units past the end", "H 3C 00 'a' 85 41 42", kEnd},
        {"notations without end", "E0 00 00 01 10 C0 00 'n'", kEnd},
    };
    // clang-format on
    for (const Case& c : cases) EXPECT_EQ(Load(Octets(c.octets)), c.tree) << c.name;
}

TEST(FastInfosetReader, PreparedVocabularyOnlyWhenAskedFor) {
    CSerializationContext context;
    CFIVocabulary* vocabulary = context.GetFIContext().GetVocabulary();
    vocabulary->AddElement(u"", u"urn:v", u"root");
    vocabulary->AddElementValue(u"shared");
    const Bytes octets = Octets("H 00 A0 FF"); // element name 1, text 1
    EXPECT_EQ(Load(octets, context),
              "!Failed to parse FastInfoset. Index [1] is not in the table of element names, which holds [0] entries.");
    context.GetFIContext().SetUseGeneratedVocabulary(true);
    EXPECT_EQ(Load(octets, context), "{urn:v}root\"shared\"");
}

// A million levels: no recursion in the reader or the tree, and a cut one ends in the message.
TEST(FastInfosetReader, DeepNestingWithoutRecursion) {
    const size_t levels = 1000000;
    Bytes octets = Octets("H 3C 00 'a'");
    octets.insert(octets.end(), levels - 1, 0x00); // element name 1 again and again
    {
        CXmlDocument cut;
        EXPECT_EQ("!" + MessageOf([&] { cut.LoadXmlStream(octets.data(), static_cast<uint32_t>(octets.size())); }),
                  kEnd);
        EXPECT_EQ(cut.GetOpenElementCount(), levels);
    }
    octets.insert(octets.end(), levels / 2, 0xFF); // each ends two
    CXmlDocument whole;
    whole.LoadXmlStream(octets.data(), static_cast<uint32_t>(octets.size()));
    EXPECT_EQ(whole.GetOpenElementCount(), 0u);
    size_t depth = 0;
    for (const CXmlElement* e = whole.GetDocumentElement(); e; e = e->GetFirstElement()) ++depth;
    EXPECT_EQ(depth, levels);
}

// Documents that an independent codec wrote from our XML read into the trees of that XML.
TEST(FastInfosetReader, ReadsDocumentsOfAnotherEncoder) {
    for (const char* name : {"order", "checkout", "batch"}) {
        const std::string base = std::string(KVXML_TEST_DATA_DIR) + "/fi/" + name;
        CXmlDocument fi;
        CXmlDocument xml;
        const std::u16string fiPath(base.begin(), base.end());
        fi.Load((fiPath + u".finf").c_str());
        xml.Load((fiPath + u".xml").c_str());
        EXPECT_EQ(TreeText(fi), TreeText(xml)) << name;
        for (const char16_t* alias : {u"", u"xsi", u"partner"})
            EXPECT_EQ(fi.LookupNamespaceFromAlias(alias), xml.LookupNamespaceFromAlias(alias)) << name;
    }
}
