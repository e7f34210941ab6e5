#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "kvxml/base/CKvException.h"
#include "kvxml/base/CSmartPtr.h"
#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/binding/CXmlObjectBase.h"
#include "kvxml/output/CXmlWriter.h"

using namespace KvXmlLib16;

namespace {

const ItemType kString = static_cast<ItemType>(23);

// A hand-written object that writes itself the way the generated-class driver does: on the root
// the instructions and declarations of the context, then start tag, type, attributes, in-line
// schema, nil or text or children, end tag.
class Node : public CXmlObjectBase {
public:
    Node(const char16_t* name, const char16_t* ns = u"") : m_ns(ns) { SetElementName(name); }

    Node* Attr(std::u16string name, std::u16string value, std::u16string ns = u"") {
        m_attributes.push_back({std::move(name), std::move(ns), std::move(value)});
        return this;
    }
    Node* Text(std::u16string text, bool isDefault = false) {
        m_text = std::move(text);
        m_textIsDefault = isDefault;
        return this;
    }
    Node* Add(Node* child) {
        m_children.emplace_back(child);
        return this;
    }

    CXmlObjectBase* GetBase() override { return this; }
    std::u16string GetTargetNamespace() override { return m_ns; }
    std::u16string GetNamespace() override { return m_ns; }

    CXmlElement* FromXml_Int(CXmlElement*, CXmlElement* firstChild, const CSerializationContext&, bool) override {
        return firstChild;
    }

    void AttributesToXml_Int(CXmlWriter* writer, const CSerializationContext&) const override {
        for (const auto& a : m_attributes) writer->WriteAttribute(a.name, a.ns, a.value, kString);
    }

    void ToXml_Int(CXmlWriter* writer, bool isRoot, const char16_t* namespaceUri,
                   const CSerializationContext& context, bool) const override {
        if (isRoot) {
            for (const auto& pi : context.GetProcessingInstructions()) writer->WriteProcessingInstruction(pi);
            for (const auto& entry : context.GetNamespaceAliases().GetMap())
                writer->AddNamespaceAlias(entry.second, entry.first);
            if (!context.GetDefaultNamespaceURI().empty())
                writer->SetDefaultNamespace(context.GetDefaultNamespaceURI());
        }
        writer->WriteStartElement(m_elementName, namespaceUri);
        if (!m_typeName.empty()) writer->WriteXsiType(m_ns, m_typeName, kString);
        CXmlObjectBase::AttributesToXml_Int(this, writer, context);
        if (isRoot && !context.GetInLineSchema().empty()) writer->WriteInLineSchema(context.GetInLineSchema());
        if (m_nil) {
            writer->WriteXsiNil();
        } else {
            writer->WriteElementText(m_text, kString, m_textIsDefault);
            for (const auto& child : m_children)
                CXmlObjectBase::ToXml_Int(child.get(), writer, false, child->m_ns.c_str(), context, false);
        }
        if (!m_leaveOpen) writer->WriteEndElement();
    }

    struct Attribute {
        std::u16string name, ns, value;
    };
    std::u16string m_ns;
    std::vector<Attribute> m_attributes;
    std::u16string m_text;
    bool m_textIsDefault = false;
    std::vector<CSmartPtr<Node>> m_children;
    std::u16string m_typeName;
    bool m_nil = false;
    bool m_leaveOpen = false;
};

// GetBase hands out another object, as collections and wrappers do.
class Wrapper : public Node {
public:
    explicit Wrapper(Node* inner) : Node(u"wrapper"), m_inner(inner) {}
    CXmlObjectBase* GetBase() override { return m_inner.get(); }
    CSmartPtr<Node> m_inner;
};

std::u16string MessageOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const CKvException& e) {
        return e.GetMessage();
    }
    return u"<no exception>";
}

} // namespace

// One document with everything the root may carry, in each layout.
TEST(CXmlObjectBaseToXml, WholeDocumentsByteForByte) {
    auto build = [] {
        Node* root = new Node(u"order", u"urn:shop");
        root->Attr(u"id", u"7 \"x\"")->Attr(u"lang", u"en", u"http://www.w3.org/XML/1998/namespace");
        root->m_typeName = u"SpecialOrder";
        root->Add((new Node(u"item", u"urn:shop"))->Text(u"a < b & c\r\nnext"));
        root->Add((new Node(u"note", u"urn:ext"))->Text(u"<![CDATA[<raw>]]>"));
        root->Add(new Node(u"empty", u""));
        Node* missing = new Node(u"missing", u"urn:shop");
        missing->m_nil = true;
        root->Add(missing);
        return CSmartPtr<Node>(root);
    };
    CSerializationContext context;
    context.SetDefaultNamespaceURI(u"urn:shop");
    context.GetNamespaceAliases().Add(u"xsi", u"http://www.w3.org/2001/XMLSchema-instance");
    context.GetNamespaceAliases().Add(u"AA", u"urn:aa");
    context.GetProcessingInstructions().push_back(u"<?xml-stylesheet href=\"s.xsl\"?>");
    context.SetInLineSchema(u"<xs:schema/>");

    struct Case {
        const char* name;
        bool declaration;
        bool formatted;
        EOLType eol;
        std::u16string expected;
    };
    const std::u16string rootTag =
        u"<order xmlns=\"urn:shop\" xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" xmlns:AA=\"urn:aa\""
        u" xsi:type=\"SpecialOrder\" id=\"7 &quot;x&quot;\" xml:lang=\"en\" ";
    const Case cases[] = {
        {"formatted CR LF", true, true, EOLType_CRLF,
         u"<?xml version=\"1.0\"?>\r\n<?xml-stylesheet href=\"s.xsl\"?>\r\n\r\n" + rootTag +
             u"\r\n<xs:schema/>\r\n>\r\n"
             u"\t<item>a &lt; b &amp; c\r\nnext</item>\r\n"
             u"\t<AB:note xmlns:AB=\"urn:ext\"><![CDATA[<raw>]]></AB:note>\r\n"
             u"\t<empty/>\r\n"
             u"\t<missing xsi:nil=\"true\"/>\r\n"
             u"</order>\r\n"},
        {"unformatted LF, no declaration", false, false, EOLType_LF,
         u"<?xml-stylesheet href=\"s.xsl\"?>\n\n" + rootTag +
             u"\n<xs:schema/>\n>"
             u"<item>a &lt; b &amp; c\nnext</item>"
             u"<AB:note xmlns:AB=\"urn:ext\"><![CDATA[<raw>]]></AB:note>"
             u"<empty/>"
             u"<missing xsi:nil=\"true\"/>"
             u"</order>"},
    };
    for (const Case& c : cases) {
        CSmartPtr<Node> root = build();
        EXPECT_EQ(root->ToXml(c.declaration, c.formatted, c.eol, context), c.expected) << c.name;
    }
}

// The indent and the default-value rule come from the context.
TEST(CXmlObjectBaseToXml, WriterOptionsComeFromTheContext) {
    Node root(u"r");
    root.Add((new Node(u"a"))->Add((new Node(u"b"))->Text(u"0", true)));
    CSerializationContext context;
    EXPECT_EQ(root.ToXml(false, true, EOLType_LF, context), u"<r>\n\t<a>\n\t\t<b/>\n\t</a>\n</r>\n");
    context.SetIndentChars(u"  ");
    context.SetWriteDefaultElementValues(true);
    EXPECT_EQ(root.ToXml(true, true, EOLType_LF, context),
              u"<?xml version=\"1.0\"?>\n<r>\n  <a>\n    <b>0</b>\n  </a>\n</r>\n");
    context.SetIndentChars(u"");
    EXPECT_EQ(root.ToXml(false, true, EOLType_CRLF, context), u"<r>\r\n<a>\r\n<b>0</b>\r\n</a>\r\n</r>\r\n");
    EXPECT_EQ(root.ToXml(false, true, EOLType_LF, CSerializationContext::GetDefaultContext()),
              u"<r>\n\t<a>\n\t\t<b/>\n\t</a>\n</r>\n");
}

// The root is written in the object's target namespace; an undeclared one gets an alias.
TEST(CXmlObjectBaseToXml, RootInItsTargetNamespace) {
    Node root(u"r", u"urn:t");
    root.Add(new Node(u"c", u"urn:t"));
    root.Add(new Node(u"d", u"urn:u"));
    EXPECT_EQ(root.ToXml(false, false, EOLType_LF, CSerializationContext()),
              u"<AA:r xmlns:AA=\"urn:t\"><AA:c/><AB:d xmlns:AB=\"urn:u\"/></AA:r>");
}

// Large output spans many blocks of the buffer and comes back whole.
TEST(CXmlObjectBaseToXml, LargeDocumentComesBackWhole) {
    Node root(u"r");
    std::u16string expected = u"<r>";
    for (int i = 0; i < 3000; ++i) {
        const std::u16string text = u"v" + std::u16string(i % 11, u'&');
        root.Add((new Node(u"e"))->Text(text));
        std::u16string escaped = u"v";
        for (int k = 0; k < i % 11; ++k) escaped += u"&amp;";
        expected += u"<e>" + escaped + u"</e>";
    }
    expected += u"</r>";
    EXPECT_EQ(root.ToXml(false, false, EOLType_LF, CSerializationContext()), expected);
}

TEST(CXmlObjectBaseToXml, FailureMessages) {
    CSerializationContext context;
    Node open(u"r");
    open.Add(new Node(u"c"));
    open.m_leaveOpen = true;
    EXPECT_EQ(MessageOf([&] { open.ToXml(false, true, EOLType_LF, context); }), u"An Element has not been closed.");

    Node plain(u"r");
    EXPECT_EQ(MessageOf([&] { plain.ToXml(false, true, static_cast<EOLType>(2), context); }), u"Invalid EOL type.");

    // A writer failure passes through ToXml unchanged.
    struct LateAttribute : Node {
        LateAttribute() : Node(u"r") {}
        void ToXml_Int(CXmlWriter* w, bool, const char16_t* ns, const CSerializationContext&, bool) const override {
            w->WriteStartElement(m_elementName, ns);
            w->WriteElementText(u"t", kString, false);
            w->WriteAttribute(u"a", u"", u"1", kString);
        }
    } lateAttribute;
    EXPECT_EQ(MessageOf([&] { lateAttribute.ToXml(false, true, EOLType_LF, context); }),
              u"Attributes must be added before elements");
}

// Namespace wildcard patterns, including the scan of patterns of several tokens: only the first
// token is tested by its own text; later passes test an empty token.
TEST(CXmlObjectBaseNamespaces, PatternRules) {
    struct Case {
        const char16_t* ns;
        const char16_t* pattern;
        const char16_t* target;
        bool expected;
    };
    const Case cases[] = {
        {u"urn:x", u"##any", u"urn:t", true},
        {u"", u"##any", u"urn:t", true},
        {u"", u"##other", u"urn:t", true},
        {u"urn:x", u"##other", u"urn:t", true},
        {u"urn:t", u"##other", u"urn:t", false},
        {u"", u"##other", u"", false},
        {u"", u"##local", u"urn:t", true},
        {u"urn:t", u"##local", u"urn:t", false},
        {u"urn:t", u"##targetNamespace", u"urn:t", true},
        {u"urn:x", u"##targetNamespace", u"urn:t", false},
        {u"", u"##targetNamespace", u"", true},
        {u"urn:a", u"urn:a", u"urn:t", true},
        {u"", u"urn:a", u"urn:t", true},
        {u"urn:b", u"urn:a", u"urn:t", false},
        {u"urn:a", u"", u"urn:t", false},
        {u"", u"", u"urn:t", true},
        {u"urn:x", u"##ANY", u"urn:t", false},
        // several tokens
        {u"urn:t", u"##targetNamespace ##local", u"urn:t", true},
        {u"", u"##targetNamespace ##local", u"urn:t", true},
        {u"urn:x", u"##targetNamespace ##local", u"urn:t", false},
        {u"", u"##other ##any", u"", true},
        {u"urn:x", u"##local ##any", u"urn:t", false},
        {u"urn:x", u"##any ##local", u"urn:t", true},
        // a pattern of two URIs: given the first URI the scan would never end; it ends false
        {u"urn:a", u"urn:a urn:b", u"urn:t", false},
        {u"urn:b", u"urn:a urn:b", u"urn:t", false},
        {u"", u"urn:a urn:b", u"urn:t", true},
        // a namespace equal to the whole pattern passes the empty-token test
        {u"##local x", u"##local x", u"urn:t", true},
        {u"urn:x", u" ##any", u"urn:t", false},
        {u"", u" ##any", u"urn:t", true},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(CXmlObjectBase::IsNamespaceValid(c.ns, c.pattern, c.target), c.expected)
            << "ns=[" << std::string(c.ns, c.ns + std::char_traits<char16_t>::length(c.ns)) << "] pattern=["
            << std::string(c.pattern, c.pattern + std::char_traits<char16_t>::length(c.pattern)) << "]";
        if (c.expected) {
            EXPECT_NO_THROW(CXmlObjectBase::TestNamespace(c.ns, c.pattern, c.target));
        } else {
            EXPECT_THROW(CXmlObjectBase::TestNamespace(c.ns, c.pattern, c.target), CKvInvalidNamespaceException);
        }
    }
    EXPECT_TRUE(CXmlObjectBase::IsNamespaceValid(nullptr, nullptr, nullptr));
}

TEST(CXmlObjectBaseNamespaces, TestNamespaceMessage) {
    try {
        CXmlObjectBase::TestNamespace(u"urn:x", u"##local", u"urn:t");
        FAIL() << "no exception";
    } catch (const CKvInvalidNamespaceException& e) {
        EXPECT_EQ(e.GetMessage(),
                  u"Invalid namespace [urn:x]. The namespace must be one of [##local] where the target namespace is "
                  u"[urn:t].");
        EXPECT_EQ(e.GetPath(), u"");
    }
}

TEST(CXmlObjectBaseChecks, PropertyAndElementNameChecks) {
    EXPECT_NO_THROW(CXmlObjectBase::Throw_IfPropertyIsNull(CSmartPtr<Node>(new Node(u"a")), u"Prop"));
    try {
        CXmlObjectBase::Throw_IfPropertyIsNull(nullptr, u"Prop");
        FAIL() << "no exception";
    } catch (const CKvInvalidParamException& e) {
        EXPECT_EQ(e.GetMessage(), u"The Property [Prop] is mandatory, it may node be NULL");
    }

    EXPECT_NO_THROW(CXmlObjectBase::Throw_IfElementNameDiffers(nullptr, u"x"));
    CSmartPtr<Node> named(new Node(u"Name"));
    EXPECT_NO_THROW(CXmlObjectBase::Throw_IfElementNameDiffers(named, u"Name"));
    try {
        CXmlObjectBase::Throw_IfElementNameDiffers(named, u"name");
        FAIL() << "no exception";
    } catch (const CKvInvalidParamException& e) {
        EXPECT_EQ(e.GetMessage(),
                  u"This property requires an element with the name name the element being set has the element name Name");
    }
    // The name compared is that of the object GetBase hands out.
    CSmartPtr<Wrapper> wrapper(new Wrapper(new Node(u"inner")));
    EXPECT_NO_THROW(CXmlObjectBase::Throw_IfElementNameDiffers(wrapper, u"inner"));
    EXPECT_EQ(MessageOf([&] { CXmlObjectBase::Throw_IfElementNameDiffers(wrapper, u"wrapper"); }),
              u"This property requires an element with the name wrapper the element being set has the element name inner");
}

TEST(CXmlObjectBaseChecks, ChoiceSelection) {
    const std::u16string plain = u"The Property A is already set. Only one element within this class bay be set at a time";
    const std::u16string bracketed =
        u"The Property [A] is already set. Only one element within this class bay be set at a time";
    const std::u16string none = u"<no exception>";
    CSmartPtr<Node> value(new Node(u"v"));
    struct Case {
        const char* name;
        std::u16string before;
        std::function<void(std::u16string&)> call;
        std::u16string after;
        std::u16string message;
    };
    const Case cases[] = {
        {"valid false clears", u"A", [](std::u16string& s) { CXmlObjectBase::Choice_SetElementValid(false, u"B", s); }, u"", none},
        {"valid same keeps", u"A", [](std::u16string& s) { CXmlObjectBase::Choice_SetElementValid(true, u"A", s); }, u"A", none},
        {"valid other throws", u"A", [](std::u16string& s) { CXmlObjectBase::Choice_SetElementValid(true, u"B", s); }, u"A", plain},
        {"valid with nothing selected throws", u"",
         [](std::u16string& s) { CXmlObjectBase::Choice_SetElementValid(true, u"B", s); }, u"",
         u"The Property  is already set. Only one element within this class bay be set at a time"},
        {"select same non-null keeps", u"A", [&](std::u16string& s) { CXmlObjectBase::Choice_SelectElement(u"A", value, s); }, u"A", none},
        {"select same null clears", u"A", [](std::u16string& s) { CXmlObjectBase::Choice_SelectElement(u"A", nullptr, s); }, u"", none},
        {"select other null ignored", u"A", [](std::u16string& s) { CXmlObjectBase::Choice_SelectElement(u"B", nullptr, s); }, u"A", none},
        {"select other non-null throws", u"A", [&](std::u16string& s) { CXmlObjectBase::Choice_SelectElement(u"B", value, s); }, u"A", bracketed},
        {"select first", u"", [&](std::u16string& s) { CXmlObjectBase::Choice_SelectElement(u"B", value, s); }, u"B", none},
        {"select first with null", u"", [](std::u16string& s) { CXmlObjectBase::Choice_SelectElement(u"B", nullptr, s); }, u"B", none},
        {"collection same nonzero keeps", u"A", [](std::u16string& s) { CXmlObjectBase::Choice_CollectionChanged(u"A", 3, s); }, u"A", none},
        {"collection same zero clears", u"A", [](std::u16string& s) { CXmlObjectBase::Choice_CollectionChanged(u"A", 0, s); }, u"", none},
        {"collection other zero ignored", u"A", [](std::u16string& s) { CXmlObjectBase::Choice_CollectionChanged(u"B", 0, s); }, u"A", none},
        {"collection other nonzero throws", u"A", [](std::u16string& s) { CXmlObjectBase::Choice_CollectionChanged(u"B", 1, s); }, u"A", bracketed},
        {"collection other negative throws", u"A", [](std::u16string& s) { CXmlObjectBase::Choice_CollectionChanged(u"B", -1, s); }, u"A", bracketed},
        {"collection first", u"", [](std::u16string& s) { CXmlObjectBase::Choice_CollectionChanged(u"B", 2, s); }, u"B", none},
        {"collection first empty", u"", [](std::u16string& s) { CXmlObjectBase::Choice_CollectionChanged(u"B", 0, s); }, u"", none},
        {"collection first negative", u"", [](std::u16string& s) { CXmlObjectBase::Choice_CollectionChanged(u"B", -2, s); }, u"", none},
    };
    for (const Case& c : cases) {
        std::u16string selected = c.before;
        EXPECT_EQ(MessageOf([&] { c.call(selected); }), c.message) << c.name;
        EXPECT_EQ(selected, c.after) << c.name;
    }
    std::u16string selected = u"A";
    EXPECT_THROW(CXmlObjectBase::Choice_SelectElement(u"B", value, selected), CKvInvalidStateException);
}
