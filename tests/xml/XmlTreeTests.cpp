#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/xml/CXmlDocument.h"

using namespace KvXmlLib16;

namespace {

std::vector<std::u16string> ChildNames(const CXmlElement* parent) {
    std::vector<std::u16string> names;
    for (const CXmlElement* child = parent->GetFirstElement(); child; child = child->GetNextSiblingElement())
        names.push_back(child->GetLocalName());
    return names;
}

const CXmlElement* NthChild(const CXmlElement* parent, int index) {
    const CXmlElement* child = parent->GetFirstElement();
    while (child && index-- > 0) child = child->GetNextSiblingElement();
    return child;
}

} // namespace

// Elements built by hand, with no document behind them.
TEST(CXmlElement, ChildrenAppendInOrderAndTheLastCanBeTakenBack) {
    const int64_t aliveBefore = CXmlElement::GetLiveElementCount();
    {
        CXmlElement root(nullptr, nullptr);
        EXPECT_EQ(root.RemoveLastChildElement(), nullptr);

        for (const char16_t* name : {u"a", u"b", u"c"}) {
            CXmlElement* child = root.CreateNewChildElement();
            EXPECT_EQ(child->GetParentElm(), &root);
            EXPECT_EQ(child->GetDocument(), nullptr);
            child->SetElementName(name);
        }
        EXPECT_EQ(ChildNames(&root), (std::vector<std::u16string>{u"a", u"b", u"c"}));

        std::unique_ptr<CXmlElement> c(root.RemoveLastChildElement());
        ASSERT_TRUE(c);
        EXPECT_EQ(c->GetLocalName(), u"c");
        EXPECT_EQ(ChildNames(&root), (std::vector<std::u16string>{u"a", u"b"}));

        // The new last child links correctly behind the remaining ones.
        root.CreateNewChildElement()->SetElementName(u"d");
        EXPECT_EQ(ChildNames(&root), (std::vector<std::u16string>{u"a", u"b", u"d"}));

        std::unique_ptr<CXmlElement> d(root.RemoveLastChildElement());
        std::unique_ptr<CXmlElement> b(root.RemoveLastChildElement());
        std::unique_ptr<CXmlElement> a(root.RemoveLastChildElement());
        EXPECT_EQ(a->GetLocalName(), u"a");
        EXPECT_EQ(root.GetFirstElement(), nullptr);
        EXPECT_EQ(root.RemoveLastChildElement(), nullptr);
        root.CreateNewChildElement()->SetElementName(u"e");
        EXPECT_EQ(ChildNames(&root), (std::vector<std::u16string>{u"e"}));
    }
    EXPECT_EQ(CXmlElement::GetLiveElementCount(), aliveBefore);
}

TEST(CXmlElement, AttributesKeepOrderAndDuplicatesAndLookupIsExact) {
    CXmlElement element(nullptr, nullptr);
    element.AddAttribute(u"x", u"1", u"");
    element.AddAttribute(u"x", u"2", u"");
    element.AddAttribute(u"x", u"3", u"urn:n");
    element.AddAttribute(u"empty", u"", nullptr);
    ASSERT_EQ(element.GetAttributes().size(), 4u);
    EXPECT_EQ(element.GetAttributes()[1]->GetValue(), u"2");
    EXPECT_EQ(element.GetAttributes()[0]->GetElement(), &element);

    struct Case {
        const char16_t* name;
        const char16_t* uri;
        const char16_t* expected;
    } cases[] = {
        {u"x", u"", u"1"},         // the first of two with one name
        {u"x", u"urn:n", u"3"},    // namespace must match too
        {u"x", u"urn:other", u""}, // absent
        {u"X", u"", u""},          // names compare exactly
        {u"empty", u"", u""},      // present but empty: indistinguishable from absent
        {u"missing", u"", u""},
    };
    for (const Case& c : cases) EXPECT_EQ(element.GetAttribute(c.name, c.uri), c.expected) << (const char*)c.name;
    // Absent attributes all share one empty string.
    EXPECT_EQ(&element.GetAttribute(u"a", u""), &element.GetAttribute(u"b", u""));
}

TEST(CXmlElement, TextPiecesConcatenateAndNullsAreEmpty) {
    CXmlElement element(nullptr, nullptr);
    element.SetElementName(nullptr);
    element.SetNamespace(nullptr);
    EXPECT_EQ(element.GetLocalName(), u"");
    element.AppendText(nullptr);
    element.AppendText(u"ab");
    element.AppendText(u"cdef", 2);
    element.AppendText(u"zzz", 0);
    std::u16string expected = u"abcd";
    for (int i = 0; i < 1000; ++i) {
        element.AppendText(u"0123456789", 10);
        expected += u"0123456789";
    }
    EXPECT_EQ(element.GetText(), expected);
}

TEST(CXmlAttribute, NamespaceAndNilAttributesAreToldByUriAndName) {
    const char16_t* xsi = u"http://www.w3.org/2001/XMLSchema-instance";
    const char16_t* xmlns = u"http://www.w3.org/2000/xmlns/";
    struct Case {
        const char16_t* name;
        const char16_t* uri;
        bool isNamespace;
        bool isNil;
    } cases[] = {
        {u"type", xsi, true, false},
        {u"schemaLocation", xsi, true, false},
        {u"noNamespaceSchemaLocation", xsi, true, false},
        {u"xmlns", xmlns, true, false},
        {u"type", xmlns, true, false},
        {u"nil", xsi, false, true},
        {u"nil", xmlns, false, true},
        {u"foo", xsi, false, false},
        {u"xmlns", u"", false, false},
        {u"nil", u"", false, false},
        {u"Type", xsi, false, false},
        {u"type", u"http://www.w3.org/2001/XMLSchema-instance/", false, false},
    };
    for (const Case& c : cases) {
        CXmlAttribute attribute(nullptr, c.name, u"v", c.uri);
        EXPECT_EQ(attribute.IsNamespaceAttribute(), c.isNamespace);
        EXPECT_EQ(attribute.IsNilAttribute(), c.isNil);
    }
}

TEST(CXmlAttribute, PathWithoutElementIsJustTheName) {
    CXmlAttribute attribute(nullptr, u"id", u"1", u"urn:x");
    EXPECT_EQ(attribute.GetXPath(), u"@id");
    CXmlElement element(nullptr, nullptr);
    element.SetElementName(u"e");
    element.SetNamespace(u"urn:x");
    element.AddAttribute(u"id", u"1", u"urn:x");
    // Without a document no alias can be found.
    EXPECT_EQ(element.GetAttributes()[0]->GetXPath(), u"/e/@id");
}

TEST(CXmlDocument, PathsCarryPredicatesOnlyForRepeatedNamesAndAliasesBeforeTheAt) {
    CXmlDocument document;
    document.LoadXml(
        "<a xmlns:p='urn:p' xmlns:q='urn:q'>"
        "<b/><p:b/><b><c p:k='1' k='2' q:k='3'/></b><c/><b/><q:b/><q:b/>"
        "</a>");
    const CXmlElement* a = document.GetDocumentElement();
    ASSERT_TRUE(a);
    EXPECT_EQ(a->GetXPath(), u"/a");
    EXPECT_EQ(a->GetNameWithPredicate(), u"a");

    struct Case {
        int index;
        const char16_t* path;
    } cases[] = {
        {0, u"/a/b[1]"}, {1, u"/a/p:b"}, {2, u"/a/b[2]"}, {3, u"/a/c"},
        {4, u"/a/b[3]"}, {5, u"/a/q:b[1]"}, {6, u"/a/q:b[2]"},
    };
    for (const Case& c : cases) EXPECT_EQ(NthChild(a, c.index)->GetXPath(), c.path) << c.index;

    const CXmlElement* c = NthChild(a, 2)->GetFirstElement();
    ASSERT_TRUE(c);
    EXPECT_EQ(c->GetXPath(), u"/a/b[2]/c");
    ASSERT_EQ(c->GetAttributes().size(), 3u);
    EXPECT_EQ(c->GetAttributes()[0]->GetXPath(), u"/a/b[2]/c/p:@k");
    EXPECT_EQ(c->GetAttributes()[1]->GetXPath(), u"/a/b[2]/c/@k");
    EXPECT_EQ(c->GetAttributes()[2]->GetXPath(), u"/a/b[2]/c/q:@k");
    EXPECT_EQ(c->GetAttribute(u"k", u"urn:p"), u"1");
    EXPECT_EQ(c->GetAttribute(u"k", u""), u"2");
}

TEST(CXmlDocument, AliasMapIsDocumentWideAndLaterDeclarationsWin) {
    CXmlDocument document;
    document.LoadXml(
        "<r xmlns='urn:default' xmlns:p='urn:one'>"
        "<p:x/>"
        "<y xmlns:p='urn:two' xmlns:z='urn:one' xmlns:a='urn:one'/>"
        "</r>");
    EXPECT_EQ(document.LookupNamespaceFromAlias(u""), u"urn:default");
    EXPECT_EQ(document.LookupNamespaceFromAlias(u"p"), u"urn:two"); // the inner scope's, for good
    EXPECT_EQ(document.LookupNamespaceFromAlias(u"z"), u"urn:one");
    EXPECT_EQ(document.LookupNamespaceFromAlias(u"none"), u"");
    EXPECT_EQ(document.LookupAliasFromNamespace(u"urn:one"), u"a"); // ascending alias order
    EXPECT_EQ(document.LookupAliasFromNamespace(u"urn:two"), u"p");
    EXPECT_EQ(document.LookupAliasFromNamespace(u"urn:unknown"), u"");

    const CXmlElement* r = document.GetDocumentElement();
    EXPECT_EQ(r->GetNamespaceURI(), u"urn:default");
    EXPECT_EQ(r->GetLocalName(), u"r");
    // The default namespace sits under the empty alias, so it adds no prefix.
    EXPECT_EQ(r->GetQName(), u"r");
    const CXmlElement* x = r->GetFirstElement();
    EXPECT_EQ(x->GetNamespaceURI(), u"urn:one");
    EXPECT_EQ(x->GetQName(), u"a:x"); // urn:one is now reached first through alias a
}

TEST(CXmlDocument, TextGathersAllCharacterDataAndDropsEveryCR) {
    struct Case {
        const char* xml;
        const char16_t* rootText;
    } cases[] = {
        {"<a>x&#13;y</a>", u"xy"},
        {"<a>before<b>inner</b>after</a>", u"beforeafter"},
        {"<a>\r\n line\r\n</a>", u"\n line\n"},
        {"<a>&#13;&#13;</a>", u""},
        {"<a>\n\t<b/>\n</a>", u"\n\t\n"},
        {"<a>&lt;&amp;&gt;&#x1F600;</a>", u"<&>\U0001F600"},
        {"<a>caf\xC3\xA9</a>", u"caf\u00E9"},
        {"<a><![CDATA[x<y]]></a>", u"x<y"}, // stripped by default
    };
    for (const Case& c : cases) {
        CXmlDocument document;
        document.LoadXml(c.xml);
        EXPECT_EQ(document.GetDocumentElement()->GetText(), c.rootText) << c.xml;
    }
}

TEST(CXmlDocument, CdataMarkersAreKeptUnlessStripped) {
    CSerializationContext keep;
    keep.SetStripCDATA(false);
    CSerializationContext strip;
    strip.SetStripCDATA(true);
    struct Case {
        const CSerializationContext* context;
        const char* xml;
        const char16_t* text;
    } cases[] = {
        {&keep, "<a><![CDATA[x<y]]></a>", u"<![CDATA[x<y]]>"},
        {&strip, "<a><![CDATA[x<y]]></a>", u"x<y"},
        {&keep, "<a>1<![CDATA[]]>2<![CDATA[&amp;]]></a>", u"1<![CDATA[]]>2<![CDATA[&amp;]]>"},
        {&strip, "<a>1<![CDATA[]]>2<![CDATA[&amp;]]></a>", u"12&amp;"},
    };
    for (const Case& c : cases) {
        CXmlDocument document(*c.context);
        document.LoadXml(c.xml);
        EXPECT_EQ(document.GetDocumentElement()->GetText(), c.text) << c.xml;
    }
}

TEST(CXmlDocument, WithoutNamespacesNamesStayWholeAndDeclarationsAreAttributes) {
    CSerializationContext context;
    context.SetSchemaType(SchemaType_NoNamespaces);
    CXmlDocument document(context);
    document.LoadXml("<p:a xmlns:p='urn:p' p:k='v'><p:b/></p:a>");
    const CXmlElement* a = document.GetDocumentElement();
    EXPECT_EQ(a->GetLocalName(), u"p:a");
    EXPECT_EQ(a->GetNamespaceURI(), u"");
    EXPECT_EQ(a->GetFirstElement()->GetLocalName(), u"p:b");
    ASSERT_EQ(a->GetAttributes().size(), 2u);
    EXPECT_EQ(a->GetAttribute(u"xmlns:p", u""), u"urn:p");
    EXPECT_EQ(a->GetAttribute(u"p:k", u""), u"v");
    EXPECT_EQ(document.LookupNamespaceFromAlias(u"p"), u"");
}

TEST(CXmlDocument, NamespaceAwareSplitOfElementAndAttributeNames) {
    CXmlDocument document;
    document.LoadXml("<p:a xmlns:p='urn:p' p:k='v' plain='w'/>");
    const CXmlElement* a = document.GetDocumentElement();
    EXPECT_EQ(a->GetLocalName(), u"a");
    EXPECT_EQ(a->GetNamespaceURI(), u"urn:p");
    // Namespace declarations are not attributes here.
    ASSERT_EQ(a->GetAttributes().size(), 2u);
    EXPECT_EQ(a->GetAttributes()[0]->GetLocalName(), u"k");
    EXPECT_EQ(a->GetAttributes()[0]->GetNamespaceURI(), u"urn:p");
    EXPECT_EQ(a->GetAttributes()[1]->GetNamespaceURI(), u"");
    EXPECT_EQ(a->GetAttributes()[1]->GetValue(), u"w");
}

// Nodes taken out of a tree, and copies of nodes, stay whole after their document is gone.
TEST(CXmlDocument, NodesKeptByTheCallerOutliveTheDocument) {
    const int64_t aliveBefore = CXmlElement::GetLiveElementCount();
    CXmlElement* kept = nullptr;
    std::unique_ptr<CXmlElement> leafCopy;
    std::unique_ptr<CXmlAttribute> attributeCopy;
    {
        CXmlDocument document;
        document.LoadXml("<p:r xmlns:p='urn:a-long-namespace-name'><p:first/><p:kept p:attribute-name='v'><p:leaf>t</p:leaf></p:kept></p:r>");
        CXmlElement* root = document.GetDocumentElement();
        kept = root->RemoveLastChildElement();
        leafCopy = std::make_unique<CXmlElement>(*kept->GetFirstElement());
        attributeCopy = std::make_unique<CXmlAttribute>(*kept->GetAttributes()[0]);
        // The document can still build nodes after handing some out.
        root->CreateNewChildElement()->SetElementName(u"after");
    }
    EXPECT_EQ(kept->GetLocalName(), u"kept");
    EXPECT_EQ(kept->GetNamespaceURI(), u"urn:a-long-namespace-name");
    EXPECT_EQ(kept->GetAttribute(u"attribute-name", u"urn:a-long-namespace-name"), u"v");
    EXPECT_EQ(kept->GetFirstElement()->GetText(), u"t");
    EXPECT_EQ(leafCopy->GetLocalName(), u"leaf");
    EXPECT_EQ(attributeCopy->GetLocalName(), u"attribute-name");
    EXPECT_EQ(attributeCopy->GetValue(), u"v");

    // A copy assigned over a hand-built element takes the interned names safely, and back.
    CXmlElement plain(nullptr, nullptr);
    plain.SetElementName(u"an-element-with-a-long-name");
    CXmlElement fromPool(*leafCopy);
    fromPool = plain;
    EXPECT_EQ(fromPool.GetLocalName(), u"an-element-with-a-long-name");
    plain = *leafCopy;
    EXPECT_EQ(plain.GetLocalName(), u"leaf");
    EXPECT_EQ(plain.GetNamespaceURI(), u"urn:a-long-namespace-name");
    CXmlAttribute bare(nullptr, u"x-long-attribute-name", u"1", nullptr);
    bare = *attributeCopy;
    EXPECT_EQ(bare.GetNamespaceURI(), u"urn:a-long-namespace-name");
    *attributeCopy = CXmlAttribute(nullptr, u"y-long-attribute-name", u"2", u"");
    EXPECT_EQ(attributeCopy->GetLocalName(), u"y-long-attribute-name");

    // The leaf copy shares nothing that the original's deletion frees.
    delete kept;
    EXPECT_EQ(leafCopy->GetText(), u"t");
    EXPECT_EQ(leafCopy->GetLocalName(), u"leaf");
    leafCopy.reset();
    attributeCopy.reset();
    EXPECT_EQ(CXmlElement::GetLiveElementCount(), aliveBefore + 2); // plain and fromPool
}
