#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "kvxml/base/CKvException.h"
#include "kvxml/output/CTextStream.h"
#include "kvxml/output/CXmlTextWriter.h"

using namespace KvXmlLib16;

namespace {

const ItemType kString = static_cast<ItemType>(23);
const std::u16string kXsi = u"http://www.w3.org/2001/XMLSchema-instance";

// A stream and a writer over it, with the writer's construction defaults unless changed.
struct Harness {
    CTextStream stream{4095, XmlEncoding_None};
    CXmlTextWriter writer{&stream};
    explicit Harness(bool formatted = true, EOLType eol = EOLType_LF) {
        stream.Open();
        writer.SetFormatted(formatted);
        writer.SetEOLType(eol);
    }
    std::u16string Text() const { return stream.GetText(); }
};

using Script = std::function<void(CXmlTextWriter&)>;

struct OutputCase {
    const char* name;
    bool formatted;
    EOLType eol;
    Script script;
    std::u16string expected;
};

void RunOutputCases(const std::vector<OutputCase>& cases) {
    for (const OutputCase& c : cases) {
        Harness h(c.formatted, c.eol);
        c.script(h.writer);
        EXPECT_EQ(h.Text(), c.expected) << c.name;
        EXPECT_EQ(h.writer.GetCurrentContext(), nullptr) << c.name;
    }
}

std::u16string MessageOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const CKvException& e) {
        return e.GetMessage();
    }
    return u"<no exception>";
}

} // namespace

TEST(CXmlTextWriter, DeclarationForEachEncodingAndLineEnd) {
    struct Case {
        XmlEncoding encoding;
        EOLType eol;
        bool formatted;
        std::u16string expected;
    };
    const Case cases[] = {
        {XmlEncoding_None, EOLType_LF, true, u"<?xml version=\"1.0\"?>\n"},
        {XmlEncoding_UTF8, EOLType_LF, true, u"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"},
        {XmlEncoding_UTF16, EOLType_LF, true, u"<?xml version=\"1.0\" encoding=\"UTF-16\"?>\n"},
        {XmlEncoding_UTF16_NoDecl, EOLType_LF, true, u"<?xml version=\"1.0\"?>\n"},
        {XmlEncoding_None, EOLType_CRLF, true, u"<?xml version=\"1.0\"?>\r\n"},
        {XmlEncoding_UTF8, EOLType_CRLF, false, u"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n"},
        {XmlEncoding_UTF16, EOLType_LF, false, u"<?xml version=\"1.0\" encoding=\"UTF-16\"?>\n"},
    };
    for (const Case& c : cases) {
        CTextStream stream(4095, c.encoding);
        CXmlTextWriter writer(&stream);
        writer.SetFormatted(c.formatted);
        writer.SetEOLType(c.eol);
        writer.WriteXmlDeclaration();
        EXPECT_EQ(stream.GetText(), c.expected) << c.encoding << "/" << c.eol << "/" << c.formatted;
    }
}

TEST(CXmlTextWriter, ConstructionDefaultsAndEolTypeRefusal) {
    CTextStream stream(4095, XmlEncoding_None);
    CXmlTextWriter writer(&stream);
    EXPECT_TRUE(writer.GetFormatted());
    EXPECT_EQ(writer.GetIndent(), u"\t");
    EXPECT_EQ(writer.GetEOLType(), EOLType_LF);
    EXPECT_FALSE(writer.GetWriteDefaultValues());

    writer.SetEOLType(EOLType_CRLF);
    EXPECT_EQ(MessageOf([&] { writer.SetEOLType(static_cast<EOLType>(2)); }), u"Invalid EOL type.");
    EXPECT_EQ(writer.GetEOLType(), EOLType_CRLF);
    writer.WriteXmlDeclaration();
    EXPECT_EQ(stream.GetText(), u"<?xml version=\"1.0\"?>\r\n");
}

// Layout of elements: empty elements, text on one line with its tags, children indented once per
// level, a text followed by a child keeping the child's indent on its own line.
TEST(CXmlTextWriter, ElementLayout) {
    auto tree = [](CXmlTextWriter& w) {
        w.WriteStartElement(u"r", u"");
        w.WriteStartElement(u"c", u"");
        w.WriteElementText(u"text", kString, false);
        w.WriteEndElement();
        w.WriteStartElement(u"d", u"");
        w.WriteStartElement(u"e", u"");
        w.WriteEndElement();
        w.WriteEndElement();
        w.WriteEndElement();
    };
    auto mixed = [](CXmlTextWriter& w) {
        w.WriteStartElement(u"a", u"");
        w.WriteElementText(u"text", kString, false);
        w.WriteStartElement(u"b", u"");
        w.WriteEndElement();
        w.WriteEndElement();
    };
    // The text-only sibling follows an element that had a child: nothing of that carries over.
    auto siblingAfterParent = [](CXmlTextWriter& w) {
        w.WriteStartElement(u"r", u"");
        w.WriteStartElement(u"a", u"urn:a");
        w.WriteStartElement(u"x", u"");
        w.WriteEndElement();
        w.WriteEndElement();
        w.WriteStartElement(u"b", u"");
        w.WriteElementText(u"text", kString, false);
        w.WriteEndElement();
        w.WriteStartElement(u"c", u"urn:a");
        w.WriteEndElement();
        w.WriteEndElement();
    };
    auto emptyText = [](CXmlTextWriter& w) {
        w.WriteStartElement(u"a", u"");
        w.WriteElementText(u"", kString, false);
        w.WriteEndElement();
    };
    RunOutputCases({
        {"tree formatted LF", true, EOLType_LF, tree, u"<r>\n\t<c>text</c>\n\t<d>\n\t\t<e/>\n\t</d>\n</r>\n"},
        {"tree formatted CRLF", true, EOLType_CRLF, tree,
         u"<r>\r\n\t<c>text</c>\r\n\t<d>\r\n\t\t<e/>\r\n\t</d>\r\n</r>\r\n"},
        {"tree unformatted", false, EOLType_CRLF, tree, u"<r><c>text</c><d><e/></d></r>"},
        {"text then child", true, EOLType_LF, mixed, u"<a>text\t<b/>\n</a>\n"},
        {"text then child unformatted", false, EOLType_LF, mixed, u"<a>text<b/></a>"},
        {"empty text closes empty", true, EOLType_LF, emptyText, u"<a/>\n"},
        {"sibling after a parent", true, EOLType_LF, siblingAfterParent,
         u"<r>\n\t<AA:a xmlns:AA=\"urn:a\">\n\t\t<x/>\n\t</AA:a>\n\t<b>text</b>\n\t<AA:c xmlns:AA=\"urn:a\"/>\n</r>\n"},
    });
}

// Escaping of text and attribute values. The line break in text follows the EOL type, also
// unformatted; CR is dropped in both modes.
TEST(CXmlTextWriter, EscapingOfTextAndAttributes) {
    struct Case {
        std::u16string input;
        EOLType eol;
        std::u16string text;
        std::u16string attribute;
    };
    const Case cases[] = {
        {u"plain", EOLType_LF, u"plain", u"plain"},
        {u"a<b>c&d", EOLType_LF, u"a&lt;b&gt;c&amp;d", u"a&lt;b&gt;c&amp;d"},
        {u"say \"hi\" 'x'", EOLType_LF, u"say \"hi\" 'x'", u"say &quot;hi&quot; 'x'"},
        {u"l1\r\nl2", EOLType_LF, u"l1\nl2", u"l1&#xA;l2"},
        {u"l1\r\nl2", EOLType_CRLF, u"l1\r\nl2", u"l1&#xA;l2"},
        {u"l1\nl2\n", EOLType_CRLF, u"l1\r\nl2\r\n", u"l1&#xA;l2&#xA;"},
        {u"\rcr\r", EOLType_LF, u"cr", u"cr"},
        {u"tab\there\x01", EOLType_LF, u"tab\there\x01", u"tab\there\x01"},
        {u"&&", EOLType_LF, u"&amp;&amp;", u"&amp;&amp;"},
        {u"\u00e9\u4e2d>", EOLType_LF, u"\u00e9\u4e2d&gt;", u"\u00e9\u4e2d&gt;"},
    };
    for (const Case& c : cases) {
        Harness h(false, c.eol);
        h.writer.WriteStartElement(u"a", u"");
        h.writer.WriteAttribute(u"v", u"", c.input, kString);
        h.writer.WriteElementText(c.input, kString, false);
        h.writer.WriteEndElement();
        EXPECT_EQ(h.Text(), u"<a v=\"" + c.attribute + u"\">" + c.text + u"</a>");
    }
}

TEST(CXmlTextWriter, CdataTextGoesOutUntouched) {
    const std::u16string texts[] = {u"<![CDATA[a<b&c]]>", u"<![CDATA[no end & <", u"<![CDATA["};
    for (const std::u16string& text : texts) {
        Harness h(false);
        h.writer.WriteStartElement(u"a", u"");
        h.writer.WriteElementText(text, kString, false);
        h.writer.WriteEndElement();
        EXPECT_EQ(h.Text(), u"<a>" + text + u"</a>");
    }
    // Only a text that begins with the marker is passed through.
    Harness h(false);
    h.writer.WriteStartElement(u"a", u"");
    h.writer.WriteElementText(u" <![CDATA[x]]>", kString, false);
    h.writer.WriteEndElement();
    EXPECT_EQ(h.Text(), u"<a> &lt;![CDATA[x]]&gt;</a>");
}

// A value flagged as the element's default stays out unless defaults are to be written.
TEST(CXmlTextWriter, DefaultValueRuleOfElementText) {
    struct Case {
        bool writeDefaults;
        bool isDefault;
        std::u16string expected;
    };
    const Case cases[] = {
        {false, true, u"<a/>"},
        {false, false, u"<a>5</a>"},
        {true, true, u"<a>5</a>"},
        {true, false, u"<a>5</a>"},
    };
    for (const Case& c : cases) {
        Harness h(false);
        h.writer.SetWriteDefaultValues(c.writeDefaults);
        h.writer.WriteStartElement(u"a", u"");
        h.writer.WriteElementText(u"5", kString, c.isDefault);
        h.writer.WriteEndElement();
        EXPECT_EQ(h.Text(), c.expected) << c.writeDefaults << c.isDefault;
    }
}

TEST(CXmlTextWriter, NamespacesAndAliasAllocation) {
    RunOutputCases({
        {"undeclared root namespace gets AA", false, EOLType_LF,
         [](CXmlTextWriter& w) {
             w.WriteStartElement(u"r", u"urn:x");
             w.WriteEndElement();
         },
         u"<AA:r xmlns:AA=\"urn:x\"/>"},
        {"closing tag carries the alias", false, EOLType_LF,
         [](CXmlTextWriter& w) {
             w.WriteStartElement(u"r", u"urn:x");
             w.WriteStartElement(u"c", u"urn:x");
             w.WriteElementText(u"t", kString, false);
             w.WriteEndElement();
             w.WriteEndElement();
         },
         u"<AA:r xmlns:AA=\"urn:x\"><AA:c>t</AA:c></AA:r>"},
        {"two siblings in one undeclared namespace each declare AA", true, EOLType_LF,
         [](CXmlTextWriter& w) {
             w.WriteStartElement(u"r", u"");
             w.WriteStartElement(u"a", u"urn:s");
             w.WriteEndElement();
             w.WriteStartElement(u"b", u"urn:s");
             w.WriteEndElement();
             w.WriteEndElement();
         },
         u"<r>\n\t<AA:a xmlns:AA=\"urn:s\"/>\n\t<AA:b xmlns:AA=\"urn:s\"/>\n</r>\n"},
        {"nested undeclared namespaces get AA then AB", false, EOLType_LF,
         [](CXmlTextWriter& w) {
             w.WriteStartElement(u"r", u"urn:1");
             w.WriteStartElement(u"c", u"urn:2");
             w.WriteEndElement();
             w.WriteEndElement();
         },
         u"<AA:r xmlns:AA=\"urn:1\"><AB:c xmlns:AB=\"urn:2\"/></AA:r>"},
        {"a declared AA makes the next allocation AB; allocated first, then default, then aliases", false,
         EOLType_LF,
         [](CXmlTextWriter& w) {
             w.AddNamespaceAlias(u"AA", u"urn:a");
             w.SetDefaultNamespace(u"urn:d");
             w.WriteStartElement(u"r", u"urn:b");
             w.WriteEndElement();
         },
         u"<AB:r xmlns:AB=\"urn:b\" xmlns=\"urn:d\" xmlns:AA=\"urn:a\"/>"},
        {"default namespace and declared aliases in URI order", true, EOLType_CRLF,
         [](CXmlTextWriter& w) {
             w.AddNamespaceAlias(u"z", u"urn:b");
             w.AddNamespaceAlias(u"y", u"urn:a");
             w.AddNamespaceAlias(u"q", u"urn:c");
             w.AddNamespaceAlias(u"x", u"urn:c");
             w.SetDefaultNamespace(u"urn:d");
             w.WriteStartElement(u"r", u"urn:d");
             w.WriteStartElement(u"p", u"urn:b");
             w.WriteEndElement();
             w.WriteStartElement(u"n", u"");
             w.WriteEndElement();
             w.WriteEndElement();
         },
         u"<r xmlns=\"urn:d\" xmlns:y=\"urn:a\" xmlns:z=\"urn:b\" xmlns:x=\"urn:c\">\r\n"
         u"\t<z:p/>\r\n\t<n/>\r\n</r>\r\n"},
        {"the XML namespace and URIs beginning with it are not declared", false, EOLType_LF,
         [](CXmlTextWriter& w) {
             w.AddNamespaceAlias(u"xx", u"http://www.w3.org/XML/1998/namespace/more");
             w.AddNamespaceAlias(u"p", u"http://www.w3.org/XML/1998/namespac");
             w.WriteStartElement(u"r", u"");
             w.WriteAttribute(u"lang", u"http://www.w3.org/XML/1998/namespace", u"en", kString);
             w.WriteEndElement();
         },
         u"<r xmlns:p=\"http://www.w3.org/XML/1998/namespac\" xml:lang=\"en\"/>"},
        {"an allocated alias goes out of scope with its element", false, EOLType_LF,
         [](CXmlTextWriter& w) {
             w.WriteStartElement(u"r", u"");
             w.WriteStartElement(u"a", u"urn:1");
             w.WriteStartElement(u"b", u"urn:1");
             w.WriteEndElement();
             w.WriteEndElement();
             w.WriteStartElement(u"c", u"urn:2");
             w.WriteEndElement();
             w.WriteEndElement();
         },
         u"<r><AA:a xmlns:AA=\"urn:1\"><AA:b/></AA:a><AA:c xmlns:AA=\"urn:2\"/></r>"},
    });
}

// Declarations made while an element is open shape the scope of that element and its children only.
TEST(CXmlTextWriter, ScopesOpenedBelowTheRoot) {
    RunOutputCases({
        {"default namespace set on an open element", false, EOLType_LF,
         [](CXmlTextWriter& w) {
             w.SetDefaultNamespace(u"urn:d");
             w.WriteStartElement(u"r", u"urn:d");
             w.WriteStartElement(u"a", u"");
             w.SetDefaultNamespace(u"urn:e");
             w.WriteStartElement(u"b", u"urn:e");
             w.WriteEndElement();
             w.WriteStartElement(u"c", u"urn:d");
             w.WriteEndElement();
             w.WriteEndElement();
             w.WriteStartElement(u"f", u"urn:e");
             w.WriteEndElement();
             w.WriteEndElement();
         },
         u"<r xmlns=\"urn:d\"><a><b/><AA:c xmlns:AA=\"urn:d\"/></a><AA:f xmlns:AA=\"urn:e\"/></r>"},
        {"alias added on an open element keeps the inherited default", false, EOLType_LF,
         [](CXmlTextWriter& w) {
             w.SetDefaultNamespace(u"urn:d");
             w.WriteStartElement(u"r", u"urn:d");
             w.WriteStartElement(u"a", u"urn:d");
             w.AddNamespaceAlias(u"k", u"urn:k");
             w.WriteStartElement(u"b", u"urn:k");
             w.WriteEndElement();
             w.WriteStartElement(u"c", u"urn:d");
             w.WriteEndElement();
             w.WriteEndElement();
             w.WriteStartElement(u"g", u"urn:k");
             w.WriteEndElement();
             w.WriteEndElement();
         },
         u"<r xmlns=\"urn:d\"><a><k:b/><c/></a><AA:g xmlns:AA=\"urn:k\"/></r>"},
    });
}

TEST(CXmlTextWriter, AttributesTypeAndNil) {
    RunOutputCases({
        {"attribute in an undeclared namespace", false, EOLType_LF,
         [](CXmlTextWriter& w) {
             w.WriteStartElement(u"r", u"");
             w.WriteAttribute(u"at", u"urn:a", u"v", kString);
             w.WriteAttribute(u"bt", u"urn:a", u"w", kString);
             w.WriteEndElement();
         },
         u"<r xmlns:AA=\"urn:a\" AA:at=\"v\" AA:bt=\"w\"/>"},
        {"attribute in the default namespace is prefixed", false, EOLType_LF,
         [](CXmlTextWriter& w) {
             w.SetDefaultNamespace(u"urn:d");
             w.WriteStartElement(u"r", u"urn:d");
             w.WriteAttribute(u"at", u"urn:d", u"v", kString);
             w.WriteAttribute(u"plain", u"", u"p", kString);
             w.WriteEndElement();
         },
         u"<r xmlns=\"urn:d\" xmlns:AA=\"urn:d\" AA:at=\"v\" plain=\"p\"/>"},
        {"xsi:type and xsi:nil with a declared prefix", false, EOLType_LF,
         [](CXmlTextWriter& w) {
             w.AddNamespaceAlias(u"xsi", kXsi);
             w.AddNamespaceAlias(u"t", u"urn:t");
             w.WriteStartElement(u"r", u"");
             w.WriteXsiType(u"urn:t", u"Derived", kString);
             w.WriteXsiNil();
             w.WriteEndElement();
         },
         u"<r xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" xmlns:t=\"urn:t\" xsi:type=\"t:Derived\""
         u" xsi:nil=\"true\"/>"},
        {"xsi:type of a type in the default namespace", false, EOLType_LF,
         [](CXmlTextWriter& w) {
             w.AddNamespaceAlias(u"xsi", kXsi);
             w.SetDefaultNamespace(u"urn:d");
             w.WriteStartElement(u"r", u"urn:d");
             w.WriteXsiType(u"urn:d", u"T", kString);
             w.WriteEndElement();
         },
         u"<r xmlns=\"urn:d\" xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" xsi:type=\"T\"/>"},
        {"xsi:type with both namespaces undeclared keeps two blanks", false, EOLType_LF,
         [](CXmlTextWriter& w) {
             w.WriteStartElement(u"r", u"");
             w.WriteXsiType(u"urn:t", u"T", kString);
             w.WriteEndElement();
         },
         u"<r xmlns:AA=\"urn:t\"  xmlns:AB=\"http://www.w3.org/2001/XMLSchema-instance\" AB:type=\"AA:T\"/>"},
        {"xsi:nil with the instance namespace undeclared", false, EOLType_LF,
         [](CXmlTextWriter& w) {
             w.WriteStartElement(u"r", u"");
             w.WriteXsiNil();
             w.WriteEndElement();
         },
         u"<r xmlns:AA=\"http://www.w3.org/2001/XMLSchema-instance\" AA:nil=\"true\"/>"},
    });
}

TEST(CXmlTextWriter, InstructionsCommentsAndInlineSchema) {
    RunOutputCases({
        {"processing instructions end with two line ends, also unformatted", false, EOLType_CRLF,
         [](CXmlTextWriter& w) {
             w.WriteXmlDeclaration();
             w.WriteProcessingInstruction(u"<?xml-stylesheet href=\"a&b\"?>");
             w.WriteStartElement(u"r", u"");
             w.WriteEndElement();
         },
         u"<?xml version=\"1.0\"?>\r\n<?xml-stylesheet href=\"a&b\"?>\r\n\r\n<r/>"},
        {"comment is escaped and leaves the start tag open", true, EOLType_LF,
         [](CXmlTextWriter& w) {
             w.WriteComment(u"a<b -- c");
             w.WriteStartElement(u"r", u"");
             w.WriteComment(u"inner");
             w.WriteEndElement();
         },
         u"<!--a&lt;b -- c-->\n<r<!--inner-->\n/>\n"},
        {"in-line schema stands inside the root's start tag", true, EOLType_LF,
         [](CXmlTextWriter& w) {
             w.WriteStartElement(u"r", u"");
             w.WriteAttribute(u"a", u"", u"1", kString);
             w.WriteInLineSchema(u"<xs:schema/>");
             w.WriteStartElement(u"c", u"");
             w.WriteEndElement();
             w.WriteEndElement();
         },
         u"<r a=\"1\" \n<xs:schema/>\n>\n\t<c/>\n</r>\n"},
    });
}

TEST(CXmlTextWriter, FailureMessages) {
    const std::u16string attributesFirst = u"Attributes must be added before elements";
    struct Case {
        const char* name;
        std::function<void(CXmlTextWriter&)> action;
        std::u16string message;
    };
    const Case cases[] = {
        {"attribute after text",
         [](CXmlTextWriter& w) {
             w.WriteStartElement(u"a", u"");
             w.WriteElementText(u"t", kString, false);
             w.WriteAttribute(u"x", u"", u"1", kString);
         },
         attributesFirst},
        {"attribute after a child",
         [](CXmlTextWriter& w) {
             w.WriteStartElement(u"a", u"");
             w.WriteStartElement(u"b", u"");
             w.WriteEndElement();
             w.WriteAttribute(u"x", u"", u"1", kString);
         },
         attributesFirst},
        {"type after a child",
         [](CXmlTextWriter& w) {
             w.WriteStartElement(u"a", u"");
             w.WriteStartElement(u"b", u"");
             w.WriteEndElement();
             w.WriteXsiType(u"", u"T", kString);
         },
         attributesFirst},
        {"nil after text",
         [](CXmlTextWriter& w) {
             w.WriteStartElement(u"a", u"");
             w.WriteElementText(u"t", kString, false);
             w.WriteXsiNil();
         },
         attributesFirst},
        {"attribute with no element",
         [](CXmlTextWriter& w) { w.WriteAttribute(u"x", u"", u"1", kString); }, attributesFirst},
        {"element left open",
         [](CXmlTextWriter& w) {
             w.WriteStartElement(u"a", u"");
             w.CloseOutput();
         },
         u"An Element has not been closed."},
    };
    for (const Case& c : cases) {
        Harness h;
        EXPECT_EQ(MessageOf([&] { c.action(h.writer); }), c.message) << c.name;
    }
    // A default-valued text does not close the start tag, so attributes may still follow.
    Harness h(false);
    h.writer.WriteStartElement(u"a", u"");
    h.writer.WriteElementText(u"d", kString, true);
    h.writer.WriteAttribute(u"x", u"", u"1", kString);
    h.writer.WriteEndElement();
    EXPECT_EQ(h.Text(), u"<a x=\"1\"/>");
}

// The text-mode escape refuses a line-end type that is neither CR LF nor LF, keeping what it wrote.
TEST(CXmlTextWriter, TextEscapeRefusesAnUnknownEolType) {
    struct BrokenWriter : CXmlTextWriter {
        using CXmlTextWriter::CXmlTextWriter;
        void Break() { m_eolType = static_cast<EOLType>(7); }
    };
    CTextStream stream(4095, XmlEncoding_None);
    BrokenWriter writer(&stream);
    writer.SetFormatted(false);
    writer.Break();
    writer.WriteStartElement(u"a", u"");
    writer.WriteAttribute(u"v", u"", u"x\ny", kString);
    EXPECT_EQ(MessageOf([&] { writer.WriteElementText(u"one\ntwo", kString, false); }), u"Invalid EOL type.");
    EXPECT_EQ(stream.GetText(), u"<a v=\"x&#xA;y\">one");
}

TEST(CXmlTextWriter, OutputOperationsDriveTheStream) {
    struct CountingStream : CTextStream {
        int opens = 0, closes = 0;
        CountingStream() : CTextStream(4095, XmlEncoding_None) {}
        void Open() override { ++opens; CTextStream::Open(); }
        void Close() override { ++closes; }
    };
    CountingStream stream;
    CXmlTextWriter writer(&stream);
    stream.Append(u"old");
    writer.OpenOutput();
    EXPECT_EQ(stream.opens, 1);
    EXPECT_EQ(stream.GetText(), u"");
    writer.WriteStartElement(u"a", u"");
    // The stream is closed before the open element is refused.
    EXPECT_EQ(MessageOf([&] { writer.CloseOutput(); }), u"An Element has not been closed.");
    EXPECT_EQ(stream.closes, 1);
    writer.WriteEndElement();
    writer.CloseOutput();
    EXPECT_EQ(stream.closes, 2);
}

// A stream that empties its buffer on Flush (as a file stream does) must receive the same text
// as the in-memory stream, and only when at least 4096 characters are held.
TEST(CXmlTextWriter, FlushRuleHandsOverEverything) {
    struct DrainingStream : CTextStream {
        std::u16string drained;
        int flushes = 0;
        uint32_t smallest = UINT32_MAX;
        DrainingStream() : CTextStream(4095, XmlEncoding_None) {}
        void Flush() override {
            ++flushes;
            smallest = std::min(smallest, GetBuffer().GetTotal());
            std::u16string part;
            GetBuffer().CopyTo(part);
            drained += part;
            GetBuffer().Clear();
        }
    };
    auto write = [](CXmlTextWriter& w) {
        w.WriteXmlDeclaration();
        w.WriteStartElement(u"root", u"urn:r");
        for (int i = 0; i < 2000; ++i) {
            w.WriteStartElement(u"item", i % 3 == 0 ? u"urn:other" : u"urn:r");
            w.WriteAttribute(u"n", u"", std::u16string(i % 7, u'x'), kString);
            w.WriteElementText(u"value & more\n", kString, false);
            w.WriteEndElement();
        }
        w.WriteEndElement();
    };
    CTextStream memory(4095, XmlEncoding_None);
    CXmlTextWriter memoryWriter(&memory);
    write(memoryWriter);

    DrainingStream draining;
    CXmlTextWriter drainingWriter(&draining);
    write(drainingWriter);
    const uint32_t smallestAtWriterFlush = draining.smallest;
    draining.Flush();

    EXPECT_GT(draining.flushes, 10);
    EXPECT_GE(smallestAtWriterFlush, 4096u);
    EXPECT_EQ(draining.drained, memory.GetText());
    EXPECT_GT(memory.GetText().size(), 50000u);
}

// An unwinding failure deep in a document frees the whole stack of open elements without
// recursing once per level.
TEST(CXmlTextWriter, DeepOpenStackIsFreedWithTheWriter) {
    CTextStream stream(4095, XmlEncoding_None);
    {
        CXmlTextWriter writer(&stream);
        writer.SetFormatted(false);
        for (int i = 0; i < 200000; ++i) writer.WriteStartElement(u"e", u"");
        EXPECT_EQ(writer.GetCurrentContext()->GetDepth(), 199999);
    }
    // "<e" per element and ">" for each one that got a child.
    EXPECT_EQ(stream.GetBuffer().GetTotal(), 200000u * 3 - 1);
}

TEST(CXmlWriter, AliasAllocationSkipsTakenAliases) {
    struct Case {
        CXmlWriter::NamespaceMap map;
        std::u16string expected;
    };
    const Case cases[] = {
        {{}, u"AA"},
        {{{u"urn:1", u"AA"}}, u"AB"},
        {{{u"urn:1", u"AB"}}, u"AA"},
        {{{u"urn:1", u"AA"}, {u"urn:2", u"AC"}, {u"urn:3", u"AB"}}, u"AD"},
        {{{u"urn:1", u"aa"}, {u"urn:2", u"xml"}}, u"AA"},
    };
    for (const Case& c : cases) EXPECT_EQ(CXmlWriter::AllocateAlias(c.map), c.expected);

    CXmlWriter::NamespaceMap full;
    for (int i = 0; i < 26; ++i) full[u"urn:" + std::u16string(1, u'a' + i)] = std::u16string{u'A', char16_t(u'A' + i)};
    EXPECT_EQ(CXmlWriter::AllocateAlias(full), u"BA");
    CXmlWriter::NamespaceMap beyond;
    for (int i = 0; i < 26 * 26; ++i)
        beyond[u"urn:" + std::u16string{char16_t(0x100 + i)}] =
            std::u16string{char16_t(u'A' + i / 26), char16_t(u'A' + i % 26)};
    EXPECT_EQ(CXmlWriter::AllocateAlias(beyond), u"[A");
}

// The collection state and the writer mark belong to one element and start at zero in each.
TEST(CXmlWriter, ContextFieldsStartClearedInEveryElement) {
    Harness h(false);
    h.writer.WriteStartElement(u"a", u"urn:a");
    CXmlWriter::CXmlWriterContext* a = h.writer.GetCurrentContext();
    EXPECT_EQ(a->GetName(), u"a");
    EXPECT_EQ(a->GetNamespaceURI(), u"urn:a");
    EXPECT_EQ(a->GetParent(), nullptr);
    a->SetCollectionState(1);
    a->SetWriterMark(1);
    h.writer.WriteStartElement(u"b", u"");
    CXmlWriter::CXmlWriterContext* b = h.writer.GetCurrentContext();
    EXPECT_EQ(b->GetParent(), a);
    EXPECT_EQ(b->GetDepth(), 1);
    EXPECT_TRUE(b->InheritsScope());
    EXPECT_EQ(b->GetCollectionState(), 0);
    EXPECT_EQ(b->GetWriterMark(), 0);
    b->SetCollectionState(3);
    h.writer.WriteEndElement();
    h.writer.WriteStartElement(u"c", u"");
    CXmlWriter::CXmlWriterContext* c = h.writer.GetCurrentContext();
    EXPECT_EQ(c->GetCollectionState(), 0);
    EXPECT_EQ(c->GetChildCount(), 0);
    EXPECT_TRUE(c->IsStartTagOpen());
    EXPECT_EQ(a->GetChildCount(), 2);
    EXPECT_EQ(a->GetCollectionState(), 1);
    h.writer.WriteEndElement();
    h.writer.WriteEndElement();
    EXPECT_EQ(h.Text(), u"<AA:a xmlns:AA=\"urn:a\"><b/><c/></AA:a>");
}
