#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "kvxml/base/CKvException.h"
#include "kvxml/output/CStringBuffer.h"
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
};

struct Case {
    const char* name;
    bool formatted;
    EOLType eol;
    std::vector<Op> ops;
    std::u16string expected;
};

const Op E{'E'};
Op S(std::u16string name, std::u16string uri = u"") { return {'S', std::move(name), std::move(uri)}; }
Op T(std::u16string text) { return {'T', std::move(text)}; }

// The text a sequence of calls writes, or the message of the library exception it raised.
std::u16string Write(const std::vector<Op>& ops, bool formatted, EOLType eol, XmlEncoding encoding = XmlEncoding_None) {
    Session r(ops, formatted, eol, encoding);
    if (r.message != u"<no exception>") return u"<exception> " + r.message;
    return r.writer.GetCurrentContext() == nullptr ? r.stream.GetText() : u"<left open> " + r.stream.GetText();
}

void RunCases(const std::vector<Case>& cases) {
    for (const Case& c : cases) EXPECT_EQ(Write(c.ops, c.formatted, c.eol), c.expected) << c.name;
}

// Text of n characters that shows where each character came from.
std::u16string Pattern(size_t n, char16_t first = u'a') {
    std::u16string s;
    for (size_t i = 0; i < n; ++i) s += static_cast<char16_t>(first + i % 26);
    return s;
}

} // namespace

TEST(CXmlTextWriter, NamespacesAndAliasAllocation) {
    // clang-format off
    RunCases({
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
        {{S(u"a"), {'O'}}, u"An Element has not been closed.", u"<a"}};
    for (const auto& [ops, message, text] : cases) {
        Session r(ops);
        EXPECT_EQ(r.message + u"|" + r.stream.GetText(), message + u"|" + text);
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
    // clang-format off
    const std::u16string texts[] = {u"", u"a", u"urn:x", u"urn:y", u"<&>\"\r\n'", u"<![CDATA[", std::u16string(1, 0),
                                    u"\xD800\xDFFF", std::u16string(5000, u'&'), kXsi};
    // clang-format on
    auto text = [&] { return texts[random() % 10]; };
    const char kinds[] = "SSSEEETTDAAYNCPIdnXW";
    for (int round = 0; round < 40; ++round) {
        Session r({}, random() % 2 == 0, random() % 2 == 0 ? EOLType_LF : EOLType_CRLF);
        for (int i = 0; i < 80; ++i) {
            try {
                Apply(r.writer, {kinds[random() % 20], text(), text(), text()});
            } catch (const CKvException&) {}
        }
        EXPECT_EQ(r.stream.GetBuffer().GetTotal(), r.stream.GetText().size());
    }
}

TEST(CXmlWriter, AliasAllocationSkipsTakenAliases) {
    // clang-format off
    struct Case { CXmlWriter::NamespaceMap map; std::u16string expected; };
    const Case cases[] = {{{}, u"AA"}, {{{u"urn:1", u"AB"}}, u"AA"},
                          {{{u"urn:1", u"AA"}, {u"urn:2", u"AC"}, {u"urn:3", u"AB"}}, u"AD"},
                          {{{u"urn:1", u"aa"}, {u"urn:2", u"xml"}}, u"AA"}};
    // clang-format on
    for (const Case& c : cases) EXPECT_EQ(CXmlWriter::AllocateAlias(c.map), c.expected);
    CXmlWriter::NamespaceMap taken;
    for (int i = 0; i < 26 * 26; ++i) {
        taken[u"urn:" + std::u16string{char16_t(0x100 + i)}] =
            std::u16string{char16_t(u'A' + i / 26), char16_t(u'A' + i % 26)};
        if (i == 25) {
            EXPECT_EQ(CXmlWriter::AllocateAlias(taken), u"BA");
        }
    }
    EXPECT_EQ(CXmlWriter::AllocateAlias(taken), u"[A");
}

TEST(XmlWriterForms, DeclarationFollowsEncodingAndLineEnd) {
    // clang-format off
    const struct { XmlEncoding encoding; EOLType eol; bool formatted; std::u16string expected; } cases[] = {
        {XmlEncoding_UTF8, EOLType_CRLF, false, u"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n"},
        {XmlEncoding_UTF16, EOLType_LF, false, u"<?xml version=\"1.0\" encoding=\"UTF-16\"?>\n"},
        {XmlEncoding_UTF16_NoDecl, EOLType_LF, true, u"<?xml version=\"1.0\"?>\n"},
    };
    // clang-format on
    for (const auto& c : cases) EXPECT_EQ(Write({{'X'}}, c.formatted, c.eol, c.encoding), c.expected) << c.encoding;
}

// Empty elements, text on one line with its tags, one indent per level, text then a child.
TEST(XmlWriterForms, ElementLayout) {
    const std::vector<Op> tree = {S(u"r"), S(u"c"), T(u"text"), E, S(u"d"), S(u"e"), E, E, E};
    const std::vector<Op> mixed = {S(u"a"), T(u"text"), S(u"b"), E, E};
    // clang-format off
    RunCases({
        {"tree LF", true, EOLType_LF, tree, u"<r>\n\t<c>text</c>\n\t<d>\n\t\t<e/>\n\t</d>\n</r>\n"},
        {"tree CRLF", true, EOLType_CRLF, tree, u"<r>\r\n\t<c>text</c>\r\n\t<d>\r\n\t\t<e/>\r\n\t</d>\r\n</r>\r\n"},
        {"tree unformatted", false, EOLType_CRLF, tree, u"<r><c>text</c><d><e/></d></r>"},
        {"text then child", true, EOLType_LF, mixed, u"<a>text\t<b/>\n</a>\n"},
        {"text then child unformatted", false, EOLType_LF, mixed, u"<a>text<b/></a>"},
        {"empty text closes empty", true, EOLType_LF, {S(u"a"), T(u""), E}, u"<a/>\n"},
        {"default text closes empty", false, EOLType_LF, {S(u"a"), {'D', u"5"}, E}, u"<a/>"},
        {"default text written on request", false, EOLType_LF, {{'W'}, S(u"a"), {'D', u"5"}, E}, u"<a>5</a>"},
        {"CDATA untouched", false, EOLType_LF, {S(u"a"), T(u"<![CDATA[a<b&c]]>"), E}, u"<a><![CDATA[a<b&c]]></a>"},
        {"CDATA without end", false, EOLType_LF, {S(u"a"), T(u"<![CDATA[& <"), E}, u"<a><![CDATA[& <</a>"},
        {"CDATA marker not first", false, EOLType_LF, {S(u"a"), T(u" <![CDATA[x]]>"), E},
         u"<a> &lt;![CDATA[x]]&gt;</a>"},
        {"sibling after a parent", true, EOLType_LF, {S(u"r"), S(u"a", u"urn:a"), S(u"x"), E, E, S(u"b"), T(u"t"), E, E},
         u"<r>\n\t<AA:a xmlns:AA=\"urn:a\">\n\t\t<x/>\n\t</AA:a>\n\t<b>t</b>\n</r>\n"},
    });
    // clang-format on
}

// The line break in text follows the EOL type, also unformatted; CR is dropped in both modes.
TEST(XmlWriterForms, EscapingOfTextAndAttributes) {
    // clang-format off
    const struct { std::u16string input; EOLType eol; std::u16string text, attribute; } cases[] = {
        {u"a<b>c&d", EOLType_LF, u"a&lt;b&gt;c&amp;d", u"a&lt;b&gt;c&amp;d"},
        {u"say \"hi\" 'x'", EOLType_LF, u"say \"hi\" 'x'", u"say &quot;hi&quot; 'x'"},
        {u"l1\r\nl2", EOLType_LF, u"l1\nl2", u"l1&#xA;l2"},
        {u"l1\r\nl2\n", EOLType_CRLF, u"l1\r\nl2\r\n", u"l1&#xA;l2&#xA;"},
        {u"\rcr\r", EOLType_LF, u"cr", u"cr"},
        {u"tab\there\x01\u4e2d", EOLType_LF, u"tab\there\x01\u4e2d", u"tab\there\x01\u4e2d"},
    };
    // clang-format on
    for (const auto& c : cases)
        EXPECT_EQ(Write({S(u"a"), {'A', u"v", u"", c.input}, T(c.input), E}, false, c.eol),
                  u"<a v=\"" + c.attribute + u"\">" + c.text + u"</a>");
}

TEST(XmlWriterForms, AttributesTypeAndNil) {
    // clang-format off
    RunCases({
        {"attributes in an undeclared namespace", false, EOLType_LF,
         {S(u"r"), {'A', u"at", u"urn:a", u"v"}, {'A', u"bt", u"urn:a", u"w"}, E},
         u"<r xmlns:AA=\"urn:a\" AA:at=\"v\" AA:bt=\"w\"/>"},
        {"attribute in the default namespace is prefixed", false, EOLType_LF,
         {{'d', u"urn:d"}, S(u"r", u"urn:d"), {'A', u"at", u"urn:d", u"v"}, {'A', u"plain", u"", u"p"}, E},
         u"<r xmlns=\"urn:d\" xmlns:AA=\"urn:d\" AA:at=\"v\" plain=\"p\"/>"},
        {"xsi:type and xsi:nil with declared prefixes", false, EOLType_LF,
         {{'n', u"xsi", kXsi}, {'n', u"t", u"urn:t"}, S(u"r"), {'Y', u"urn:t", u"Derived"}, {'N'}, E},
         u"<r xmlns:xsi=\"" + kXsi + u"\" xmlns:t=\"urn:t\" xsi:type=\"t:Derived\" xsi:nil=\"true\"/>"},
        {"xsi:type of a type in the default namespace", false, EOLType_LF,
         {{'n', u"xsi", kXsi}, {'d', u"urn:d"}, S(u"r", u"urn:d"), {'Y', u"urn:d", u"T"}, E},
         u"<r xmlns=\"urn:d\" xmlns:xsi=\"" + kXsi + u"\" xsi:type=\"T\"/>"},
        {"xsi:type with both namespaces undeclared keeps two blanks", false, EOLType_LF,
         {S(u"r"), {'Y', u"urn:t", u"T"}, E}, u"<r xmlns:AA=\"urn:t\"  xmlns:AB=\"" + kXsi + u"\" AB:type=\"AA:T\"/>"},
        {"xsi:nil with the instance namespace undeclared", false, EOLType_LF, {S(u"r"), {'N'}, E},
         u"<r xmlns:AA=\"" + kXsi + u"\" AA:nil=\"true\"/>"},
        {"a default-valued text leaves the start tag open", false, EOLType_LF,
         {S(u"a"), {'D', u"d"}, {'A', u"x", u"", u"1"}, E}, u"<a x=\"1\"/>"},
    });
    // clang-format on
}

TEST(XmlWriterForms, InstructionsCommentsAndInlineSchema) {
    // clang-format off
    RunCases({
        {"instructions end with two line ends, also unformatted", false, EOLType_CRLF,
         {{'X'}, {'P', u"<?xml-stylesheet href=\"a&b\"?>"}, S(u"r"), E},
         u"<?xml version=\"1.0\"?>\r\n<?xml-stylesheet href=\"a&b\"?>\r\n\r\n<r/>"},
        {"comment is escaped and leaves the start tag open", true, EOLType_LF,
         {{'C', u"a<b -- c"}, S(u"r"), {'C', u"inner"}, E}, u"<!--a&lt;b -- c-->\n<r<!--inner-->\n/>\n"},
        {"in-line schema stands inside the start tag", true, EOLType_LF,
         {S(u"r"), {'A', u"a", u"", u"1"}, {'I', u"<xs:schema/>"}, S(u"c"), E, E},
         u"<r a=\"1\" \n<xs:schema/>\n>\n\t<c/>\n</r>\n"},
        {"comment and schema after the tag closed do not fail", false, EOLType_LF,
         {S(u"r"), T(u"t"), {'C', u"c"}, {'I', u"s"}, E}, u"<r>t<!--c-->\n \ns\n</r>"},
    });
    // clang-format on
}

// A new writer is formatted with a tab and LF and leaves default values out; a refused line-end type
// keeps the one before.
TEST(CXmlTextWriter, Defaults) {
    CTextStream stream(4095, XmlEncoding_None);
    CXmlTextWriter writer(&stream);
    EXPECT_EQ(
        std::tuple(writer.GetFormatted(), writer.GetIndent(), writer.GetEOLType(), writer.GetWriteDefaultValues()),
        std::tuple(true, std::u16string(u"\t"), EOLType_LF, false));
    writer.SetEOLType(EOLType_CRLF);
    EXPECT_THROW(writer.SetEOLType(static_cast<EOLType>(2)), CKvException);
    EXPECT_EQ(writer.GetEOLType(), EOLType_CRLF);
}

// CloseOutput closes the stream before it checks for unclosed elements. A stream that empties its
// buffer on Flush (as a file stream does) receives the same text as the in-memory one, and only in
// pieces of at least 4096 characters.
TEST(CXmlTextWriter, StreamOperationsAndFlushRule) {
    struct DrainingStream : CTextStream {
        std::u16string drained;
        int closes = 0;
        uint32_t smallest = UINT32_MAX;
        DrainingStream() : CTextStream(4095, XmlEncoding_None) {}
        void Close() override { ++closes; }
        void Flush() override {
            smallest = std::min(smallest, GetBuffer().GetTotal());
            drained += GetText();
            GetBuffer().Clear();
        }
    };
    CTextStream memory(4095, XmlEncoding_None);
    DrainingStream draining;
    for (CTextStream* stream : {&memory, static_cast<CTextStream*>(&draining)}) {
        CXmlTextWriter w(stream);
        w.OpenOutput();
        w.WriteXmlDeclaration();
        w.WriteStartElement(u"root", u"urn:r");
        for (int i = 0; i < 1000; ++i) {
            w.WriteStartElement(u"item", i % 3 == 0 ? u"urn:other" : u"urn:r");
            w.WriteAttribute(u"n", u"", std::u16string(i % 7, u'x'), kString);
            w.WriteElementText(u"value & more\n", kString, false);
            w.WriteEndElement();
        }
        EXPECT_THROW(w.CloseOutput(), CKvException);
        w.WriteEndElement();
        w.CloseOutput();
    }
    EXPECT_EQ(draining.closes, 2);
    EXPECT_GE(draining.smallest, 4096u);
    draining.Flush();
    EXPECT_EQ(draining.drained, memory.GetText());
}

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
