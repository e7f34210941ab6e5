#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "kvxml/base/CKvException.h"
#include "kvxml/output/CTextStream.h"
#include "kvxml/output/CXmlTextWriter.h"

using namespace KvXmlLib16;

namespace {

const ItemType kString = static_cast<ItemType>(23);
const std::u16string kXsi = u"http://www.w3.org/2001/XMLSchema-instance";
const std::u16string kAttributesFirst = u"Attributes must be added before elements";

// One writer call. S start (name, uri), E end, T text, D default-valued text, A attribute (name, uri,
// value), Y xsi:type (uri, type), N xsi:nil, C comment, P instruction, I in-line schema,
// d default namespace (uri), n alias (alias, uri), X declaration, O close output, W write defaults.
struct Op {
    Op(char k, std::u16string x = {}, std::u16string y = {}, std::u16string z = {})
        : kind(k), a(std::move(x)), b(std::move(y)), c(std::move(z)) {}
    char kind;
    std::u16string a, b, c;
};

void Apply(CXmlTextWriter& w, const Op& op) {
    switch (op.kind) {
    case 'S': w.WriteStartElement(op.a, op.b); break;
    case 'E': w.WriteEndElement(); break;
    case 'T': w.WriteElementText(op.a, kString, false); break;
    case 'D': w.WriteElementText(op.a, kString, true); break;
    case 'A': w.WriteAttribute(op.a, op.b, op.c, kString); break;
    case 'Y': w.WriteXsiType(op.a, op.b, kString); break;
    case 'N': w.WriteXsiNil(); break;
    case 'C': w.WriteComment(op.a); break;
    case 'P': w.WriteProcessingInstruction(op.a); break;
    case 'I': w.WriteInLineSchema(op.a); break;
    case 'd': w.SetDefaultNamespace(op.a); break;
    case 'n': w.AddNamespaceAlias(op.a, op.b); break;
    case 'X': w.WriteXmlDeclaration(); break;
    case 'O': w.CloseOutput(); break;
    case 'W': w.SetWriteDefaultValues(true); break;
    }
}

struct Session {
    CTextStream stream;
    CXmlTextWriter writer{&stream};
    std::u16string message = u"<no exception>";
    Session(const std::vector<Op>& ops, bool formatted = false, EOLType eol = EOLType_LF,
        XmlEncoding encoding = XmlEncoding_None)
        : stream(4095, encoding) {
        stream.Open();
        writer.SetFormatted(formatted);
        try {
            writer.SetEOLType(eol);
            for (const Op& op : ops) Apply(writer, op);
        } catch (const CKvException& e) {
            message = e.GetMessage();
        }
    }
    std::u16string Text() const { return stream.GetText(); }
};

struct OutputCase {
    const char* name;
    bool formatted;
    EOLType eol;
    std::vector<Op> ops;
    std::u16string expected;
};

void RunOutputCases(const std::vector<OutputCase>& cases) {
    for (const OutputCase& c : cases) {
        Session r(c.ops, c.formatted, c.eol);
        EXPECT_EQ(r.message, u"<no exception>") << c.name;
        EXPECT_EQ(r.Text(), c.expected) << c.name;
        EXPECT_EQ(r.writer.GetCurrentContext(), nullptr) << c.name;
    }
}

const Op E{'E'};
Op S(std::u16string name, std::u16string uri = u"") { return {'S', std::move(name), std::move(uri)}; }
Op T(std::u16string text) { return {'T', std::move(text)}; }

} // namespace

TEST(CXmlTextWriter, NamespacesAndAliasAllocation) {
    // clang-format off
    RunOutputCases({
        {"undeclared namespaces get AA, then AB; the end tag carries the alias", false, EOLType_LF,
         {S(u"r", u"urn:1"), S(u"c", u"urn:2"), E, S(u"d", u"urn:1"), T(u"t"), E, E},
         u"<AA:r xmlns:AA=\"urn:1\"><AB:c xmlns:AB=\"urn:2\"/><AA:d>t</AA:d></AA:r>"},
        {"two siblings in one undeclared namespace each declare AA", true, EOLType_LF,
         {S(u"r"), S(u"a", u"urn:s"), E, S(u"b", u"urn:s"), E, E},
         u"<r>\n\t<AA:a xmlns:AA=\"urn:s\"/>\n\t<AA:b xmlns:AA=\"urn:s\"/>\n</r>\n"},
        {"a declared AA makes the next AB; allocated first, then default, then aliases", false, EOLType_LF,
         {{'n', u"AA", u"urn:a"}, {'d', u"urn:d"}, S(u"r", u"urn:b"), E},
         u"<AB:r xmlns:AB=\"urn:b\" xmlns=\"urn:d\" xmlns:AA=\"urn:a\"/>"},
        {"declared aliases in URI order; no namespace beneath a default is bare", true, EOLType_CRLF,
         {{'n', u"z", u"urn:b"}, {'n', u"y", u"urn:a"}, {'n', u"q", u"urn:c"}, {'n', u"x", u"urn:c"}, {'d', u"urn:d"},
          S(u"r", u"urn:d"), S(u"p", u"urn:b"), E, S(u"n"), E, E},
         u"<r xmlns=\"urn:d\" xmlns:y=\"urn:a\" xmlns:z=\"urn:b\" xmlns:x=\"urn:c\">\r\n\t<z:p/>\r\n\t<n/>\r\n</r>\r\n"},
        {"the XML namespace and URIs beginning with it are not declared", false, EOLType_LF,
         {{'n', u"xx", u"http://www.w3.org/XML/1998/namespace/more"}, {'n', u"p", u"http://www.w3.org/XML/1998/namespac"},
          S(u"r"), {'A', u"lang", u"http://www.w3.org/XML/1998/namespace", u"en"}, E},
         u"<r xmlns:p=\"http://www.w3.org/XML/1998/namespac\" xml:lang=\"en\"/>"},
        {"an allocated alias goes out of scope with its element", false, EOLType_LF,
         {S(u"r"), S(u"a", u"urn:1"), S(u"b", u"urn:1"), E, E, S(u"c", u"urn:2"), E, E},
         u"<r><AA:a xmlns:AA=\"urn:1\"><AA:b/></AA:a><AA:c xmlns:AA=\"urn:2\"/></r>"},
        {"default namespace set on an open element", false, EOLType_LF,
         {{'d', u"urn:d"}, S(u"r", u"urn:d"), S(u"a"), {'d', u"urn:e"}, S(u"b", u"urn:e"), E, S(u"c", u"urn:d"), E, E,
          S(u"f", u"urn:e"), E, E},
         u"<r xmlns=\"urn:d\"><a><b/><AA:c xmlns:AA=\"urn:d\"/></a><AA:f xmlns:AA=\"urn:e\"/></r>"},
        {"alias added on an open element keeps the inherited default", false, EOLType_LF,
         {{'d', u"urn:d"}, S(u"r", u"urn:d"), S(u"a", u"urn:d"), {'n', u"k", u"urn:k"}, S(u"b", u"urn:k"), E,
          S(u"c", u"urn:d"), E, E, S(u"g", u"urn:k"), E, E},
         u"<r xmlns=\"urn:d\"><a><k:b/><c/></a><AA:g xmlns:AA=\"urn:k\"/></r>"}
    });
    // clang-format on
}

TEST(CXmlTextWriter, FailureMessages) {
    const Op attribute{'A', u"x", u"", u"1"};
    const std::tuple<std::vector<Op>, std::u16string, std::u16string> cases[] = {
        {{S(u"a"), T(u"t"), attribute}, kAttributesFirst, u"<a>t"},
        {{S(u"a"), S(u"b"), E, attribute}, kAttributesFirst, u"<a><b/>"},
        {{S(u"a"), S(u"b"), E, {'Y', u"", u"T"}}, kAttributesFirst, u"<a><b/>"},
        {{S(u"a"), T(u"t"), {'N'}}, kAttributesFirst, u"<a>t"},
        {{attribute}, kAttributesFirst, u""},
        {{S(u"a"), {'O'}}, u"An Element has not been closed.", u"<a"}
    };
    for (const auto& [ops, message, text] : cases) {
        Session r(ops);
        EXPECT_EQ(r.message + u"|" + r.Text(), message + u"|" + text);
    }
    EXPECT_EQ(Session({}, false, static_cast<EOLType>(2)).message, u"Invalid EOL type.");
}

// An unwinding failure deep in a document frees the whole stack without recursing per level.
TEST(CXmlTextWriter, DeepOpenStackIsFreedWithTheWriter) {
    CTextStream stream(4095, XmlEncoding_None);
    {
        CXmlTextWriter writer(&stream);
        writer.SetFormatted(false);
        for (int i = 0; i < 100000; ++i) writer.WriteStartElement(u"e", u"");
        EXPECT_EQ(writer.GetCurrentContext()->GetDepth(), 99999);
    }
    EXPECT_EQ(stream.GetBuffer().GetTotal(), 100000u * 3 - 1);
}

// Random call sequences over awkward texts either write or fail with a library exception.
TEST(CXmlTextWriter, RandomCallSequencesStayInsideMemory) {
    std::mt19937 random(5);
    const std::u16string texts[] = {u"", u"a", u"urn:x", u"urn:y", u"<&>\"\r\n'", u"<![CDATA[", std::u16string(1, 0),
                                    u"\xD800\xDFFF", std::u16string(5000, u'&'), kXsi};
    auto text = [&] { return texts[random() % 10]; };
    const char kinds[] = "SSSEEETTDAAYNCPIdnXW";
    for (int round = 0; round < 40; ++round) {
        Session r({}, random() % 2 == 0, random() % 2 == 0 ? EOLType_LF : EOLType_CRLF);
        for (int i = 0; i < 80; ++i) {
            try {
                Apply(r.writer, {kinds[random() % 20], text(), text(), text()});
            } catch (const CKvException&) {
            }
        }
        EXPECT_EQ(r.stream.GetBuffer().GetTotal(), r.Text().size());
    }
}

TEST(CXmlWriter, AliasAllocationSkipsTakenAliases) {
    struct Case {
        CXmlWriter::NamespaceMap map;
        std::u16string expected;
    };
    const Case cases[] = {
        {{}, u"AA"},
        {{{u"urn:1", u"AB"}}, u"AA"},
        {{{u"urn:1", u"AA"}, {u"urn:2", u"AC"}, {u"urn:3", u"AB"}}, u"AD"},
        {{{u"urn:1", u"aa"}, {u"urn:2", u"xml"}}, u"AA"}
    };
    for (const Case& c : cases) EXPECT_EQ(CXmlWriter::AllocateAlias(c.map), c.expected);
    CXmlWriter::NamespaceMap taken;
    for (int i = 0; i < 26 * 26; ++i) {
        taken[u"urn:" + std::u16string{char16_t(0x100 + i)}] = std::u16string{char16_t(u'A' + i / 26), char16_t(u'A' + i % 26)};
        if (i == 25) {
            EXPECT_EQ(CXmlWriter::AllocateAlias(taken), u"BA");
        }
    }
    EXPECT_EQ(CXmlWriter::AllocateAlias(taken), u"[A");
}
