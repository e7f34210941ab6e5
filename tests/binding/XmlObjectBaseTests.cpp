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

    void ToXml_Int(CXmlWriter* writer, bool isRoot, const char16_t* namespaceUri, const CSerializationContext& context,
                   bool) const override {
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

    // The root is written in the object's target namespace; an undeclared one gets an alias.
    Node inTarget(u"r", u"urn:t");
    inTarget.Add(new Node(u"c", u"urn:t"));
    EXPECT_EQ(inTarget.ToXml(false, false, EOLType_LF, CSerializationContext()),
              u"<AA:r xmlns:AA=\"urn:t\"><AA:c/></AA:r>");
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
        } catch (const CKvInvalidNamespaceException&) {}
    }
}

namespace {

const char16_t* const kNs = u"urn:people";

// Reads the way generated classes do: an attribute, then children matched by name, in order.
class Person : public CXmlObjectBase {
public:
    CXmlObjectBase* GetBase() override { return this; }
    std::u16string GetTargetNamespace() override { return kNs; }
    std::u16string GetNamespace() override { return kNs; }
    void ToXml_Int(CXmlWriter*, bool, const char16_t*, const CSerializationContext&, bool) const override {}

    CXmlElement* FromXml_Int(CXmlElement* element, CXmlElement* firstChild, const CSerializationContext& context,
                             bool ignoreMissingChoice) override {
        seenElement = element;
        seenFirstChild = firstChild;
        seenIgnoreMissingChoice = ignoreMissingChoice;
        rootName = element->GetLocalName();
        id = element->GetAttribute(u"id", u"");
        CXmlElement* current = firstChild;
        for (auto [field, value] : {std::pair{u"name", &name}, std::pair{u"city", &city}}) {
            if (DoesElementNameMatch(context, current, field, kNs)) {
                *value = current->GetText();
                current = current->GetNextSiblingElement();
            }
        }
        liveDuringRead = CXmlElement::GetLiveElementCount();
        return current; // left over: never looked at by the entry points
    }

    std::u16string rootName, id, name, city;
    CXmlElement* seenElement = nullptr;
    CXmlElement* seenFirstChild = nullptr;
    bool seenIgnoreMissingChoice = true;
    int64_t liveDuringRead = 0;
};

} // namespace

TEST(CXmlObjectBaseRead, FromXmlReadsTheRootAndItsFirstChildThenDropsTheTree) {
    CSerializationContext context;
    const int64_t aliveBefore = CXmlElement::GetLiveElementCount();
    Person wide;
    wide.FromXml(u"<person xmlns='urn:people' id='7'><name>Ann \u00E9</name><city>Z</city><extra/></person>", context);
    Person narrow; // the name of the root is not compared with anything
    narrow.FromXml("<other xmlns='urn:people' id='1'><name>J\xC3\xBCrg</name><x/></other>", context);
    EXPECT_EQ(CXmlElement::GetLiveElementCount(), aliveBefore);
    EXPECT_EQ(wide.liveDuringRead - aliveBefore, 4);
    EXPECT_FALSE(wide.seenIgnoreMissingChoice);
    EXPECT_EQ(wide.rootName + wide.id + wide.name + wide.city, u"person7Ann \u00E9Z");
    EXPECT_EQ(narrow.rootName + narrow.id + narrow.name + narrow.city, u"other1J\u00FCrg");
}
