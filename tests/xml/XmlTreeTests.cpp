#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/xml/CXmlDocument.h"
#include "kvxml/xml/CXmlNodePool.h"

using namespace KvXmlLib16;

namespace {

const char16_t* const kXsi = u"http://www.w3.org/2001/XMLSchema-instance";
const char16_t* const kXmlns = u"http://www.w3.org/2000/xmlns/";

const CXmlElement* NthChild(const CXmlElement* parent, int index) {
    const CXmlElement* child = parent->GetFirstElement();
    while (child && index-- > 0) child = child->GetNextSiblingElement();
    return child;
}

std::u16string Widen(const std::string& ascii) { return std::u16string(ascii.begin(), ascii.end()); }

} // namespace

TEST(CXmlAttribute, NamespaceAndNilAttributesAreToldByUriAndName) {
    // clang-format off
    struct { const char16_t* name; const char16_t* uri; bool isNamespace; bool isNil; } cases[] = {
        {u"type", kXsi, true, false},   {u"schemaLocation", kXsi, true, false},
        {u"noNamespaceSchemaLocation", kXsi, true, false},
        {u"xmlns", kXmlns, true, false}, {u"type", kXmlns, true, false},
        {u"nil", kXsi, false, true},    {u"nil", kXmlns, false, true},
        {u"foo", kXsi, false, false},   {u"xmlns", u"", false, false},
        {u"nil", u"", false, false},    {u"Type", kXsi, false, false},
        {u"type", u"http://www.w3.org/2001/XMLSchema-instance/", false, false}
    };
    // clang-format on
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

TEST(CXmlDocument, AliasMapIsDocumentWideAndLaterDeclarationsWin) {
    CXmlDocument document;
    document.LoadXml(
        "<r xmlns='urn:default' xmlns:p='urn:one' xmlns:s='urn:gone'>"
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
    // clang-format off
    struct { const CSerializationContext* context; const char* xml; const char16_t* text; } cases[] = {
        {&byDefault, "<a>x&#13;y</a>", u"xy"},
        {&byDefault, "<a>before<b>inner</b>after</a>", u"beforeafter"},
        {&byDefault, "<a>\r\n line\r\n</a>", u"\n line\n"}, {&byDefault, "<a>&#13;&#13;</a>", u""},
        {&byDefault, "<a>&lt;&amp;&gt;&#x1F600;caf\xC3\xA9</a>", u"<&>\U0001F600caf\u00E9"},
        {&byDefault, "<a><![CDATA[x<y]]></a>", u"x<y"}, {&keep, "<a><![CDATA[x<y]]></a>", u"<![CDATA[x<y]]>"},
        {&keep, "<a>1<![CDATA[]]>2<![CDATA[&amp;\r\n]]></a>", u"1<![CDATA[]]>2<![CDATA[&amp;\n]]>"},
        {&strip, "<a>1<![CDATA[]]>2<![CDATA[&amp;]]></a>", u"12&amp;"},
    };
    // clang-format on
    for (const auto& c : cases) {
        CXmlDocument document(*c.context);
        document.LoadXml(c.xml);
        EXPECT_EQ(document.GetDocumentElement()->GetText(), c.text) << c.xml;
    }
    // Each level keeps its own text, whatever nests between the pieces.
    CXmlDocument document;
    document.LoadXml("<a>1<b>2<c>3</c>4</b>5<d/>6</a>");
    const CXmlElement* a = document.GetDocumentElement();
    EXPECT_EQ(a->GetText() + a->GetFirstElement()->GetText() + NthChild(a, 1)->GetText(), u"15624");
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
        document.LoadXml(
            "<p:r xmlns:p='urn:a-long-namespace-name'><p:first/>"
            "<p:kept p:attribute-name='v'><p:leaf> \n </p:leaf></p:kept></p:r>");
        kept.reset(document.GetDocumentElement()->RemoveLastChildElement());
        leafCopy = std::make_unique<CXmlElement>(*kept->GetFirstElement());
        attributeCopy = *kept->GetAttributes()[0];
        document.GetDocumentElement()->CreateNewChildElement()->SetElementName(u"after");
    }
    EXPECT_EQ(kept->GetAttribute(u"attribute-name", u"urn:a-long-namespace-name"), u"v");
    EXPECT_EQ(kept->CreateNewChildElement()->GetDocument(), nullptr); // a child from the heap
    EXPECT_EQ(attributeCopy.GetNamespaceURI(), u"urn:a-long-namespace-name");
    CXmlElement plain(nullptr, nullptr); // assignment between pooled and hand-built nodes
    plain.SetElementName(u"an-element-with-a-long-name");
    CXmlElement fromPool(*leafCopy);
    fromPool = plain;
    plain = *leafCopy;
    kept.reset(); // the leaf copy shares nothing that this frees
    EXPECT_EQ(leafCopy->GetLocalName() + u"|" + plain.GetNamespaceURI() + u"|" + fromPool.GetLocalName(),
              u"leaf|urn:a-long-namespace-name|an-element-with-a-long-name");
    leafCopy->AppendText(u"t"); // blank text is shared until more is added
    EXPECT_EQ(leafCopy->GetText() + u"|" + plain.GetText(), u" \n t| \n ");
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

// Text and values are held in the tree's own memory; the strings handed out by reference are
// built on the first call, and from then on follow every later change.
TEST(CXmlElement, TextAndValuesAsViewsAndAsStringsAgree) {
    CSerializationContext keep;
    keep.SetStripCDATA(false);
    const std::string longRun(300, 'x');
    // clang-format off
    struct { std::string xml; std::u16string text; } cases[] = {
        {"<a>x<b/>y<![CDATA[z]]>&#13;<c/>w</a>", u"xy<![CDATA[z]]>w"},
        {"<a>\t<b/>tail</a>", u"\ttail"}, {"<a/>", u""},
        {"<a>" + longRun + "<b/>" + longRun + "</a>", Widen(longRun + longRun)},
    };
    // clang-format on
    for (const auto& c : cases) {
        CXmlDocument document(keep);
        document.LoadXml(c.xml.c_str());
        CXmlElement* a = document.GetDocumentElement();
        EXPECT_EQ(a->TextView(), c.text) << c.xml;
        const std::u16string& text = a->GetText();
        EXPECT_EQ(text, c.text) << c.xml;
        a->AppendText(u"+", 1);
        EXPECT_EQ(&a->GetText(), &text);
        EXPECT_EQ(a->TextView(), c.text + u"+");
    }
    CXmlDocument document;
    document.LoadXml("<a v='a value longer than one block' e=''/>");
    const CXmlAttribute* v = document.GetDocumentElement()->AttributeSpan()[0];
    EXPECT_EQ(v->ValueView(), u"a value longer than one block");
    EXPECT_EQ(&v->GetValue(), &v->GetValue());
    EXPECT_EQ(v->ValueView(), v->GetValue());
    EXPECT_EQ(document.GetDocumentElement()->AttributeSpan()[1]->GetValue(), u"");
}

// Attributes come all at once from the XML reader and one by one from other builders; the vector
// handed out by reference follows later additions.
TEST(CXmlElement, AttributeArraysOfEveryBuilder) {
    std::string xml = "<r";
    CXmlElement built(nullptr, nullptr);
    built.SetElementName(u"r");
    for (int i = 0; i < 40; ++i) {
        const std::string n = std::to_string(i);
        xml += " a" + n + "='" + n + "'";
        built.AddAttribute(u"a" + Widen(n), Widen(n), u"");
    }
    CXmlDocument document;
    document.LoadXml((xml + "/>").c_str());
    CXmlElement* loaded = document.GetDocumentElement();
    for (CXmlElement* e : {loaded, &built}) {
        ASSERT_EQ(e->AttributeSpan().size(), 40u);
        const std::vector<CXmlAttribute*>& vector = e->GetAttributes();
        EXPECT_TRUE(std::equal(vector.begin(), vector.end(), e->AttributeSpan().begin(), e->AttributeSpan().end()));
        EXPECT_EQ(e->GetAttribute(u"a39", u""), u"39");
        e->AddAttribute(u"late", u"value", u"urn:x");
        EXPECT_EQ(vector.size(), 41u);
        EXPECT_EQ(e->AttributeSpan()[40]->GetXPath(), u"/r/@late"); // no alias for urn:x
    }
}

// Releasing an element's content keeps the element, its names and its place, and frees the rest.
TEST(CXmlElement, ReleaseContentKeepsTheSkeleton) {
    const int64_t aliveBefore = CXmlElement::GetLiveElementCount();
    CXmlDocument document;
    document.LoadXml("<p:r xmlns:p='urn:p'><p:a x='1'>t<b><c/></b>u</p:a><p:a y='2'>v</p:a><d/></p:r>");
    CXmlElement* first = document.GetDocumentElement()->GetFirstElement();
    const std::vector<CXmlAttribute*>& attributes = first->GetAttributes();
    const std::u16string& text = first->GetText();
    first->ReleaseContent();
    EXPECT_EQ(CXmlElement::GetLiveElementCount() - aliveBefore, 4); // r, both a, d
    EXPECT_TRUE(attributes.empty() && text.empty() && first->TextView().empty());
    EXPECT_EQ(first->GetFirstElement(), nullptr);
    EXPECT_EQ(first->GetXPath() + u" " + first->GetNextSiblingElement()->GetXPath(), u"/p:r/p:a[1] /p:r/p:a[2]");
    EXPECT_EQ(first->GetNamespaceURI(), u"urn:p");
    first->ReleaseContent(); // twice is harmless
    first->AppendText(u"new");
    first->AddAttribute(u"z", u"3", u"");
    EXPECT_EQ(first->GetText() + first->GetAttribute(u"z", u""), u"new3");
    EXPECT_EQ(NthChild(document.GetDocumentElement(), 1)->GetText(), u"v");
}

// A slab goes back to the heap once none of its blocks is in use; freed blocks of slabs still in
// use are filled again before any new slab is taken.
TEST(CXmlNodePool, SlabsGoBackAsSoonAsTheirBlocksDo) {
    CXmlNodePool* pool = CXmlNodePool::Create(nullptr);
    const auto size = [](size_t i) -> size_t { return i % 3 ? 80 : 24; };
    std::vector<void*> blocks;
    for (size_t i = 0; i < 20000; ++i) blocks.push_back(CXmlNodePool::Allocate(size(i), pool));
    const size_t slabs = pool->GetSlabCount();
    EXPECT_GT(slabs, 10u);
    const size_t half = blocks.size() / 2;
    for (size_t i = 0; i < half; ++i) CXmlNodePool::Free(blocks[i], size(i), pool);
    EXPECT_LE(pool->GetSlabCount(), slabs / 2 + 1);
    const size_t rest = pool->GetSlabCount();
    for (size_t i = half + 1; i < blocks.size(); i += 2) CXmlNodePool::Free(blocks[i], size(i), pool);
    for (size_t i = half + 1; i < blocks.size(); i += 2) blocks[i] = CXmlNodePool::Allocate(size(i), pool);
    EXPECT_EQ(pool->GetSlabCount(), rest);
    for (size_t i = half; i < blocks.size(); ++i) CXmlNodePool::Free(blocks[i], size(i), pool);
    EXPECT_EQ(pool->GetSlabCount(), 1u); // the slab being filled
    pool->Detach();
}

// A whole tree goes with its slabs when nothing outside it uses the pool, else node by node:
// either way every element is counted out, and what is held outside stays (the sanitizer build
// checks that nothing leaks or is freed twice).
TEST(CXmlDocument, TeardownWithAndWithoutNodesHeldOutside) {
    const std::string big(2000, 'x'); // beyond a slab's largest block
    const std::string xml = "<r a='1'><e b='2'>" + big + "</e><e/>" + big + "</r>";
    enum Hold { Nothing, AttributeCopy, RemovedChild, TextAsString };
    for (Hold hold : {Nothing, AttributeCopy, RemovedChild, TextAsString}) {
        const int64_t before = CXmlElement::GetLiveElementCount();
        std::unique_ptr<CXmlAttribute> copy;
        std::unique_ptr<CXmlElement> removed;
        {
            CXmlDocument document;
            document.LoadXml(xml.c_str());
            CXmlElement* r = document.GetDocumentElement();
            if (hold == AttributeCopy) copy = std::make_unique<CXmlAttribute>(*r->AttributeSpan()[0]);
            if (hold == RemovedChild) removed.reset(r->RemoveLastChildElement());
            if (hold == TextAsString) {
                EXPECT_EQ(r->GetFirstElement()->GetText().size(), big.size());
            }
            document.LoadXml(xml.c_str()); // the first tree goes here
            EXPECT_EQ(CXmlElement::GetLiveElementCount() - before, removed ? 4 : 3) << hold;
            EXPECT_EQ(document.GetDocumentElement()->GetFirstElement()->TextView().size(), big.size());
        }
        EXPECT_EQ(CXmlElement::GetLiveElementCount() - before, removed ? 1 : 0) << hold;
        if (copy) {
            EXPECT_EQ(copy->GetValue() + copy->GetLocalName(), u"1a");
        }
        if (removed) {
            EXPECT_EQ(removed->GetLocalName(), u"e");
        }
    }
    // Assigned into a tree of another document, a node keeps its own pool and document, and
    // nothing of the other one's.
    CXmlDocument first;
    CXmlDocument second;
    first.LoadXml("<a xmlns='urn:a' x='1'><b> </b></a>");
    second.LoadXml("<c y='2'><d/></c>");
    CXmlElement* c = second.GetDocumentElement();
    *c->GetFirstElement() = *first.GetDocumentElement()->GetFirstElement();
    *c->AttributeSpan()[0] = *first.GetDocumentElement()->AttributeSpan()[0];
    first.Cleanup();
    const CXmlElement* d = c->GetFirstElement();
    EXPECT_EQ(d->GetDocument(), &second);
    EXPECT_EQ(d->GetNamespaceURI() + d->GetLocalName() + d->GetText(), u"urn:ab ");
    EXPECT_EQ(c->AttributeSpan()[0]->GetLocalName() + c->AttributeSpan()[0]->GetValue(), u"x1");
}
