#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/xml/CXmlDocument.h"

using namespace KvXmlLib16;

namespace {

const char16_t* const kXsi = u"http://www.w3.org/2001/XMLSchema-instance";
const char16_t* const kXmlns = u"http://www.w3.org/2000/xmlns/";

std::u16string ChildNames(const CXmlElement* parent) {
    std::u16string names;
    for (const CXmlElement* child = parent->GetFirstElement(); child; child = child->GetNextSiblingElement())
        names += child->GetLocalName();
    return names;
}

const CXmlElement* NthChild(const CXmlElement* parent, int index) {
    const CXmlElement* child = parent->GetFirstElement();
    while (child && index-- > 0) child = child->GetNextSiblingElement();
    return child;
}

} // namespace

TEST(CXmlElement, ChildrenAppendInOrderAndTheLastCanBeTakenBack) {
    const int64_t aliveBefore = CXmlElement::GetLiveElementCount();
    {
        CXmlElement root(nullptr, nullptr);
        EXPECT_EQ(root.RemoveLastChildElement(), nullptr);
        for (const char16_t* name : {u"a", u"b", u"c"}) {
            CXmlElement* child = root.CreateNewChildElement();
            EXPECT_EQ(child->GetParentElm(), &root);
            child->SetElementName(name);
        }
        std::unique_ptr<CXmlElement> c(root.RemoveLastChildElement());
        EXPECT_EQ(c->GetLocalName(), u"c");
        root.CreateNewChildElement()->SetElementName(u"d"); // links behind the new last child
        EXPECT_EQ(ChildNames(&root), u"abd");
        std::unique_ptr<CXmlElement> d(root.RemoveLastChildElement());
        std::unique_ptr<CXmlElement> b(root.RemoveLastChildElement());
        std::unique_ptr<CXmlElement> a(root.RemoveLastChildElement());
        EXPECT_EQ(a->GetLocalName(), u"a");
        EXPECT_EQ(root.GetFirstElement(), nullptr);
        root.CreateNewChildElement()->SetElementName(u"e");
        EXPECT_EQ(ChildNames(&root), u"e");
    }
    EXPECT_EQ(CXmlElement::GetLiveElementCount(), aliveBefore);
}

TEST(CXmlElement, AttributesKeepOrderAndDuplicatesAndTextPiecesConcatenate) {
    CXmlElement element(nullptr, nullptr);
    element.AddAttribute(u"x", u"1", u"");
    element.AddAttribute(u"x", u"2", u"");
    element.AddAttribute(u"x", u"3", u"urn:n");
    element.AddAttribute(u"empty", u"", nullptr);
    ASSERT_EQ(element.GetAttributes().size(), 4u);
    EXPECT_EQ(element.GetAttributes()[1]->GetValue(), u"2");
    EXPECT_EQ(element.GetAttributes()[0]->GetElement(), &element);
    struct {
        const char16_t* name;
        const char16_t* uri;
        const char16_t* expected;
    } cases[] = {
        {u"x", u"", u"1"}, {u"x", u"urn:n", u"3"}, {u"x", u"urn:other", u""},
        {u"X", u"", u""},  {u"empty", u"", u""},   {u"missing", nullptr, u""},
    };
    for (const auto& c : cases) EXPECT_EQ(element.GetAttribute(c.name, c.uri), c.expected);
    EXPECT_EQ(&element.GetAttribute(u"a", u""), &element.GetAttribute(u"b", u""));

    element.SetElementName(nullptr);
    element.AppendText(nullptr);
    element.AppendText(nullptr, 3);
    element.AppendText(u"ab");
    element.AppendText(u"cdef", 2);
    element.AppendText(u"zzz", 0);
    std::u16string expected = u"abcd";
    for (int i = 0; i < 100; ++i) {
        element.AppendText(u"0123456789", 10);
        expected += u"0123456789";
    }
    EXPECT_EQ(element.GetText(), expected);
    EXPECT_EQ(element.GetLocalName(), u"");
}

TEST(CXmlAttribute, NamespaceAndNilAttributesAreToldByUriAndName) {
    struct {
        const char16_t* name;
        const char16_t* uri;
        bool isNamespace;
        bool isNil;
    } cases[] = {
        {u"type", kXsi, true, false},   {u"schemaLocation", kXsi, true, false},
        {u"noNamespaceSchemaLocation", kXsi, true, false},
        {u"xmlns", kXmlns, true, false}, {u"type", kXmlns, true, false},
        {u"nil", kXsi, false, true},    {u"nil", kXmlns, false, true},
        {u"foo", kXsi, false, false},   {u"xmlns", u"", false, false},
        {u"nil", u"", false, false},    {u"Type", kXsi, false, false},
        {u"type", u"http://www.w3.org/2001/XMLSchema-instance/", false, false},
    };
    for (const auto& c : cases) {
        CXmlAttribute attribute(nullptr, c.name, u"v", c.uri);
        EXPECT_EQ(attribute.IsNamespaceAttribute(), c.isNamespace);
        EXPECT_EQ(attribute.IsNilAttribute(), c.isNil);
    }
    // Without an element the path is the name alone; without a document there is no alias.
    CXmlAttribute loose(nullptr, u"id", u"1", u"urn:x");
    EXPECT_EQ(loose.GetXPath(), u"@id");
    CXmlElement element(nullptr, nullptr);
    element.SetElementName(u"e");
    element.AddAttribute(u"id", u"1", u"urn:x");
    EXPECT_EQ(element.GetAttributes()[0]->GetXPath(), u"/e/@id");
}

TEST(CXmlDocument, PathsCarryPredicatesOnlyForRepeatedNamesAndAliasesBeforeTheAt) {
    CXmlDocument document;
    document.LoadXml("<a xmlns:p='urn:p' xmlns:q='urn:q'>"
                     "<b/><p:b/><b><c p:k='1' k='2' q:k='3'/></b><c/><b/><q:b/><q:b/></a>");
    const CXmlElement* a = document.GetDocumentElement();
    EXPECT_EQ(a->GetXPath(), u"/a");
    const char16_t* paths[] = {u"/a/b[1]", u"/a/p:b", u"/a/b[2]", u"/a/c", u"/a/b[3]", u"/a/q:b[1]", u"/a/q:b[2]"};
    for (int i = 0; i < 7; ++i) EXPECT_EQ(NthChild(a, i)->GetXPath(), paths[i]);
    const CXmlElement* c = NthChild(a, 2)->GetFirstElement();
    EXPECT_EQ(c->GetAttributes()[0]->GetXPath(), u"/a/b[2]/c/p:@k");
    EXPECT_EQ(c->GetAttributes()[1]->GetXPath(), u"/a/b[2]/c/@k");
    EXPECT_EQ(c->GetAttributes()[2]->GetXPath(), u"/a/b[2]/c/q:@k");
    EXPECT_EQ(c->GetAttribute(u"k", u"urn:p"), u"1");
}

TEST(CXmlDocument, AliasMapIsDocumentWideAndLaterDeclarationsWin) {
    CXmlDocument document;
    document.LoadXml("<r xmlns='urn:default' xmlns:p='urn:one' xmlns:s='urn:gone'>"
                     "<p:x/><s:w/>"
                     "<y xmlns:p='urn:two' xmlns:z='urn:one' xmlns:a='urn:one' xmlns:s='urn:other'/></r>");
    struct {
        const char16_t* alias;
        const char16_t* uri;
    } aliases[] = {{u"", u"urn:default"}, {u"p", u"urn:two"}, {u"z", u"urn:one"}, {u"none", u""}};
    for (const auto& c : aliases) EXPECT_EQ(document.LookupNamespaceFromAlias(c.alias), c.uri);
    EXPECT_EQ(document.LookupAliasFromNamespace(u"urn:one"), u"a"); // ascending alias order
    EXPECT_EQ(document.LookupAliasFromNamespace(u"urn:unknown"), u"");

    const CXmlElement* r = document.GetDocumentElement();
    EXPECT_EQ(r->GetNamespaceURI(), u"urn:default");
    EXPECT_EQ(r->GetQName(), u"r"); // the default namespace sits under the empty alias
    EXPECT_EQ(NthChild(r, 0)->GetQName(), u"a:x");
    EXPECT_EQ(NthChild(r, 1)->GetNamespaceURI(), u"urn:gone");
    EXPECT_EQ(NthChild(r, 1)->GetQName(), u"w"); // no alias maps to its URI any more
}

TEST(CXmlDocument, TextGathersAllCharacterDataAndDropsEveryCR) {
    CSerializationContext keep;
    keep.SetStripCDATA(false);
    CSerializationContext strip;
    strip.SetStripCDATA(true);
    const CSerializationContext byDefault;
    struct {
        const CSerializationContext* context;
        const char* xml;
        const char16_t* text;
    } cases[] = {
        {&byDefault, "<a>x&#13;y</a>", u"xy"},
        {&byDefault, "<a>before<b>inner</b>after</a>", u"beforeafter"},
        {&byDefault, "<a>\r\n line\r\n</a>", u"\n line\n"},
        {&byDefault, "<a>&#13;&#13;</a>", u""},
        {&byDefault, "<a>&lt;&amp;&gt;&#x1F600;caf\xC3\xA9</a>", u"<&>\U0001F600caf\u00E9"},
        {&byDefault, "<a><![CDATA[x<y]]></a>", u"x<y"},
        {&keep, "<a><![CDATA[x<y]]></a>", u"<![CDATA[x<y]]>"},
        {&keep, "<a>1<![CDATA[]]>2<![CDATA[&amp;\r\n]]></a>", u"1<![CDATA[]]>2<![CDATA[&amp;\n]]>"},
        {&strip, "<a>1<![CDATA[]]>2<![CDATA[&amp;]]></a>", u"12&amp;"},
    };
    for (const auto& c : cases) {
        CXmlDocument document(*c.context);
        document.LoadXml(c.xml);
        EXPECT_EQ(document.GetDocumentElement()->GetText(), c.text) << c.xml;
    }
    // Each level keeps its own text, whatever nests between the pieces.
    CXmlDocument document;
    document.LoadXml("<a>1<b>2<c>3</c>4</b>5<d/>6</a>");
    const CXmlElement* a = document.GetDocumentElement();
    EXPECT_EQ(a->GetText(), u"156");
    EXPECT_EQ(a->GetFirstElement()->GetText(), u"24");
    EXPECT_EQ(a->GetFirstElement()->GetFirstElement()->GetText(), u"3");
    EXPECT_EQ(NthChild(a, 1)->GetText(), u"");
}

TEST(CXmlDocument, NamesSplitAtTheSeparatorUnlessNamespacesAreOff) {
    CXmlDocument aware;
    aware.LoadXml("<p:a xmlns:p='urn:p' p:k='v' plain='w'><p:b/></p:a>");
    const CXmlElement* a = aware.GetDocumentElement();
    EXPECT_EQ(a->GetLocalName(), u"a");
    EXPECT_EQ(a->GetNamespaceURI(), u"urn:p");
    ASSERT_EQ(a->GetAttributes().size(), 2u); // declarations are not attributes
    EXPECT_EQ(a->GetAttributes()[0]->GetLocalName(), u"k");
    EXPECT_EQ(a->GetAttributes()[0]->GetNamespaceURI(), u"urn:p");
    EXPECT_EQ(a->GetAttributes()[1]->GetNamespaceURI(), u"");

    CSerializationContext context;
    context.SetSchemaType(SchemaType_NoNamespaces);
    CXmlDocument plain(context);
    plain.LoadXml("<p:a xmlns:p='urn:p' p:k='v'><p:b/></p:a>");
    a = plain.GetDocumentElement();
    EXPECT_EQ(a->GetLocalName(), u"p:a");
    EXPECT_EQ(a->GetNamespaceURI(), u"");
    EXPECT_EQ(a->GetFirstElement()->GetLocalName(), u"p:b");
    ASSERT_EQ(a->GetAttributes().size(), 2u);
    EXPECT_EQ(a->GetAttribute(u"xmlns:p", u""), u"urn:p");
    EXPECT_EQ(a->GetAttribute(u"p:k", u""), u"v");
    EXPECT_EQ(plain.LookupNamespaceFromAlias(u"p"), u"");
}

// Nodes taken out of a tree, copies of nodes and copies of documents stay safe to use and to
// destroy after their document is gone.
TEST(CXmlDocument, NodesAndCopiesOutliveTheDocument) {
    const int64_t aliveBefore = CXmlElement::GetLiveElementCount();
    std::unique_ptr<CXmlElement> kept;
    std::unique_ptr<CXmlElement> leafCopy;
    CXmlAttribute attributeCopy(nullptr, u"x-long-attribute-name", u"1", nullptr);
    {
        CXmlDocument document;
        document.LoadXml("<p:r xmlns:p='urn:a-long-namespace-name'><p:first/>"
                         "<p:kept p:attribute-name='v'><p:leaf>t</p:leaf></p:kept></p:r>");
        kept.reset(document.GetDocumentElement()->RemoveLastChildElement());
        leafCopy = std::make_unique<CXmlElement>(*kept->GetFirstElement());
        attributeCopy = *kept->GetAttributes()[0];
        document.GetDocumentElement()->CreateNewChildElement()->SetElementName(u"after");
    }
    EXPECT_EQ(kept->GetAttribute(u"attribute-name", u"urn:a-long-namespace-name"), u"v");
    EXPECT_EQ(attributeCopy.GetNamespaceURI(), u"urn:a-long-namespace-name");
    CXmlElement plain(nullptr, nullptr); // assignment between pooled and hand-built nodes
    plain.SetElementName(u"an-element-with-a-long-name");
    CXmlElement fromPool(*leafCopy);
    fromPool = plain;
    plain = *leafCopy;
    kept.reset(); // the leaf copy shares nothing that this frees
    EXPECT_EQ(leafCopy->GetLocalName(), u"leaf");
    EXPECT_EQ(plain.GetNamespaceURI(), u"urn:a-long-namespace-name");
    EXPECT_EQ(fromPool.GetLocalName(), u"an-element-with-a-long-name");
    leafCopy.reset();
    EXPECT_EQ(CXmlElement::GetLiveElementCount(), aliveBefore + 2); // plain and fromPool

    CXmlDocument original; // copies of an emptied document may all be destroyed
    original.LoadXml("<r/>");
    original.Cleanup();
    CXmlDocument copy(original);
    CXmlDocument assigned;
    assigned.LoadXml("<s/>");
    assigned.Cleanup();
    assigned = original;
    copy.LoadXml("<t/>");
    EXPECT_EQ(copy.GetDocumentElement()->GetLocalName(), u"t");
}
