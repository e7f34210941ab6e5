#include "BindingTestSupport.h"

using namespace KvXmlLib16;
using BindingTest::MessageOf;

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

} // namespace

// One document with everything the root may carry.
TEST(CXmlObjectBaseToXml, WholeDocumentByteForByte) {
    Node root(u"order", u"urn:shop");
    root.Attr(u"id", u"7 \"x\"")->Attr(u"lang", u"en", u"http://www.w3.org/XML/1998/namespace");
    root.m_typeName = u"SpecialOrder";
    root.Add((new Node(u"item", u"urn:shop"))->Text(u"a < b & c\r\nnext"));
    root.Add((new Node(u"note", u"urn:ext"))->Text(u"<![CDATA[<raw>]]>"));
    root.Add(new Node(u"empty", u""));
    Node* missing = new Node(u"missing", u"urn:shop");
    missing->m_nil = true;
    root.Add(missing);
    CSerializationContext context;
    context.SetDefaultNamespaceURI(u"urn:shop");
    context.GetNamespaceAliases().Add(u"xsi", u"http://www.w3.org/2001/XMLSchema-instance");
    context.GetNamespaceAliases().Add(u"AA", u"urn:aa");
    context.GetProcessingInstructions().push_back(u"<?xml-stylesheet href=\"s.xsl\"?>");
    context.SetInLineSchema(u"<xs:schema/>");
    EXPECT_EQ(root.ToXml(true, true, EOLType_CRLF, context),
              u"<?xml version=\"1.0\"?>\r\n<?xml-stylesheet href=\"s.xsl\"?>\r\n\r\n"
              u"<order xmlns=\"urn:shop\" xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" xmlns:AA=\"urn:aa\""
              u" xsi:type=\"SpecialOrder\" id=\"7 &quot;x&quot;\" xml:lang=\"en\" \r\n<xs:schema/>\r\n>\r\n"
              u"\t<item>a &lt; b &amp; c\r\nnext</item>\r\n"
              u"\t<AB:note xmlns:AB=\"urn:ext\"><![CDATA[<raw>]]></AB:note>\r\n"
              u"\t<empty/>\r\n"
              u"\t<missing xsi:nil=\"true\"/>\r\n"
              u"</order>\r\n");
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

    // The root is written in the object's target namespace; an undeclared one gets an alias.
    Node inTarget(u"r", u"urn:t");
    inTarget.Add(new Node(u"c", u"urn:t"));
    EXPECT_EQ(inTarget.ToXml(false, false, EOLType_LF, CSerializationContext()), u"<AA:r xmlns:AA=\"urn:t\"><AA:c/></AA:r>");
}

TEST(CXmlObjectBaseToXml, FailureMessages) {
    CSerializationContext context;
    Node open(u"r");
    open.Add(new Node(u"c"));
    open.m_leaveOpen = true;
    EXPECT_EQ(MessageOf([&] { open.ToXml(false, true, EOLType_LF, context); }), "An Element has not been closed.");

    Node plain(u"r");
    EXPECT_EQ(MessageOf([&] { plain.ToXml(false, true, static_cast<EOLType>(2), context); }), "Invalid EOL type.");
}

// Namespace wildcard patterns. Only the first token of a pattern is tested by its own text; later
// passes test an empty token. A scan that would repeat for ever ends false.
TEST(CXmlObjectBaseNamespaces, PatternRules) {
    struct Case {
        const char16_t* ns;
        const char16_t* pattern;
        bool expected;
    };
    const Case cases[] = {  // the target namespace is urn:t
        {u"urn:x", u"##any", true},  {u"", u"##other", true},   {u"urn:x", u"##other", true},
        {u"urn:t", u"##other", false}, {u"", u"##local", true}, {u"urn:t", u"##local", false},
        {u"urn:t", u"##targetNamespace", true}, {u"urn:x", u"##targetNamespace", false},
        {u"urn:a", u"urn:a", true},  {u"", u"urn:a", true},     {u"urn:b", u"urn:a", false},
        {u"urn:a", u"", false},      {u"urn:x", u"##ANY", false},
        {u"urn:t", u"##targetNamespace ##local", true}, {u"", u"##targetNamespace ##local", true},
        {u"urn:x", u"##targetNamespace ##local", false}, {u"urn:x", u"##local ##any", false},
        {u"urn:a", u"urn:a urn:b", false}, {u"urn:b", u"urn:a urn:b", false}, {u"", u"urn:a urn:b", true},
        {u"##local x", u"##local x", true}, {u"urn:x", u" ##any", false},
    };
    for (size_t i = 0; i < std::size(cases); ++i) {
        const Case& c = cases[i];
        EXPECT_EQ(CXmlObjectBase::IsNamespaceValid(c.ns, c.pattern, u"urn:t"), c.expected) << i;
        if (!c.expected) {
            EXPECT_THROW(CXmlObjectBase::TestNamespace(c.ns, c.pattern, u"urn:t"), CKvInvalidNamespaceException);
        }
    }
    EXPECT_FALSE(CXmlObjectBase::IsNamespaceValid(u"", u"##other", u""));
    EXPECT_TRUE(CXmlObjectBase::IsNamespaceValid(u"", u"##targetNamespace", u""));
    EXPECT_TRUE(CXmlObjectBase::IsNamespaceValid(nullptr, nullptr, nullptr));
    try {
        CXmlObjectBase::TestNamespace(u"urn:x", u"##local", u"urn:t");
        FAIL() << "no exception";
    } catch (const CKvInvalidNamespaceException& e) {
        EXPECT_EQ(e.GetMessage(), u"Invalid namespace [urn:x]. The namespace must be one of [##local] where the "
                                  u"target namespace is [urn:t].");
        EXPECT_EQ(e.GetPath(), u"");
    }
}

// Random patterns of tokens and blanks always end, with a result or the namespace failure.
TEST(CXmlObjectBaseNamespaces, RandomPatternsEnd) {
    std::mt19937 random(13);
    const std::u16string tokens[] = {u"##any", u"##other", u"##local", u"##targetNamespace", u"urn:a", u"", u" "};
    for (int i = 0; i < 3000; ++i) {
        std::u16string pattern;
        for (int n = random() % 5; n > 0; --n) pattern += tokens[random() % 7] + (random() % 2 ? u" " : u"");
        const std::u16string ns = random() % 4 ? tokens[random() % 7] : pattern;
        try {
            CXmlObjectBase::TestNamespace(ns.c_str(), pattern.c_str(), tokens[random() % 7].c_str());
        } catch (const CKvInvalidNamespaceException&) {
        }
    }
}

TEST(CXmlObjectBaseChecks, PropertyAndElementNameChecks) {
    CSmartPtr<Node> named(new Node(u"Name"));
    CSmartPtr<Wrapper> wrapper(new Wrapper(new Node(u"inner")));
    EXPECT_NO_THROW(CXmlObjectBase::Throw_IfPropertyIsNull(named, u"Prop"));
    EXPECT_THROW(CXmlObjectBase::Throw_IfPropertyIsNull(nullptr, u"Prop"), CKvInvalidParamException);
    EXPECT_EQ(MessageOf([] { CXmlObjectBase::Throw_IfPropertyIsNull(nullptr, u"Prop"); }),
              "The Property [Prop] is mandatory, it may node be NULL");
    EXPECT_NO_THROW(CXmlObjectBase::Throw_IfElementNameDiffers(nullptr, u"x"));
    EXPECT_NO_THROW(CXmlObjectBase::Throw_IfElementNameDiffers(named, u"Name"));
    EXPECT_THROW(CXmlObjectBase::Throw_IfElementNameDiffers(named, u"name"), CKvInvalidParamException);
    // The name compared is that of the object GetBase hands out.
    EXPECT_NO_THROW(CXmlObjectBase::Throw_IfElementNameDiffers(wrapper, u"inner"));
    EXPECT_EQ(MessageOf([&] { CXmlObjectBase::Throw_IfElementNameDiffers(wrapper, u"wrapper"); }),
              "This property requires an element with the name wrapper the element being set has the element name inner");
}

// V: Choice_SetElementValid(arg != 0), S: Choice_SelectElement(arg ? object : null),
// C: Choice_CollectionChanged(arg); each on the selected property "before".
TEST(CXmlObjectBaseChecks, ChoiceSelection) {
    const std::string tail = " is already set. Only one element within this class bay be set at a time";
    const std::string plain = "The Property A" + tail, bracketed = "The Property [A]" + tail, none = "<no exception>";
    CSmartPtr<Node> value(new Node(u"v"));
    struct Case {
        char op;
        const char16_t* name;
        int arg;
        std::u16string before, after;
        std::string message;
    };
    const Case cases[] = {
        {'V', u"B", 0, u"A", u"", none},          {'V', u"A", 1, u"A", u"A", none},
        {'V', u"B", 1, u"A", u"A", plain},        {'V', u"B", 1, u"", u"", "The Property " + tail},
        {'S', u"A", 1, u"A", u"A", none},         {'S', u"A", 0, u"A", u"", none},
        {'S', u"B", 0, u"A", u"A", none},         {'S', u"B", 1, u"A", u"A", bracketed},
        {'S', u"B", 1, u"", u"B", none},          {'S', u"B", 0, u"", u"B", none},
        {'C', u"A", 3, u"A", u"A", none},         {'C', u"A", 0, u"A", u"", none},
        {'C', u"B", 0, u"A", u"A", none},         {'C', u"B", 1, u"A", u"A", bracketed},
        {'C', u"B", -1, u"A", u"A", bracketed},   {'C', u"B", 2, u"", u"B", none},
        {'C', u"B", 0, u"", u"", none},           {'C', u"B", -2, u"", u"", none},
    };
    for (size_t i = 0; i < std::size(cases); ++i) {
        const Case& c = cases[i];
        std::u16string selected = c.before;
        EXPECT_EQ(MessageOf([&] {
                      if (c.op == 'V') CXmlObjectBase::Choice_SetElementValid(c.arg != 0, c.name, selected);
                      if (c.op == 'S') CXmlObjectBase::Choice_SelectElement(c.name, c.arg ? value.get() : nullptr, selected);
                      if (c.op == 'C') CXmlObjectBase::Choice_CollectionChanged(c.name, c.arg, selected);
                  }),
                  c.message) << i;
        EXPECT_EQ(selected, c.after) << i;
    }
    std::u16string selected = u"A";
    EXPECT_THROW(CXmlObjectBase::Choice_SelectElement(u"B", value, selected), CKvInvalidStateException);
    EXPECT_THROW(CXmlObjectBase::Choice_SetElementValid(true, u"B", selected), CKvInvalidStateException);
}
