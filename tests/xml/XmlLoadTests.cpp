#include <gtest/gtest.h>

#include <expat.h>

#include <algorithm>
#include <string>

#include "kvxml/base/CKvException.h"
#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/xml/CXmlDocument.h"

using namespace KvXmlLib16;

namespace {

std::u16string Widen(const std::string& ascii) { return std::u16string(ascii.begin(), ascii.end()); }

template <typename Text>
std::u16string LoadError(const Text& xml, const CSerializationContext& context = CSerializationContext()) {
    CXmlDocument document(context);
    try {
        document.LoadXml(xml);
    } catch (const CKvException& e) {
        return e.GetMessage();
    }
    return u"<no exception>";
}

std::u16string ExpatMessage(XML_Error code, int line) {
    return Widen(std::string(XML_ErrorString(code)) + " at line " + std::to_string(line));
}

} // namespace

TEST(CXmlDocumentLoad, FailuresCarryExpatsWordsAndTheLine) {
    EXPECT_EQ(LoadError(""), u"XML String is empty!");
    EXPECT_EQ(LoadError(static_cast<const char*>(nullptr)), u"XML String is empty!");
    // The wide form counts its byte-order mark, so an empty string reaches the parser.
    EXPECT_EQ(LoadError(u""), u"no element found at line 1");
    EXPECT_EQ(LoadError(u""), ExpatMessage(XML_ERROR_NO_ELEMENTS, 1));

    struct Case {
        const char* xml;
        const char16_t* message;
    } cases[] = {
        {"<a><b></a>", u"mismatched tag at line 1"},
        {"<a>\n\n<b>\n</a>", u"mismatched tag at line 4"},
        {"<a>\r\n<b x='1' x='2'/></a>", u"duplicate attribute at line 2"},
        {"<a>&undefined;</a>", u"undefined entity at line 1"},
        {"<a/><b/>", u"junk after document element at line 1"},
        {"<a>", u"no element found at line 1"},
        {"<p:a/>", u"unbound prefix at line 1"},
        {"  ", u"no element found at line 1"},
    };
    for (const Case& c : cases) EXPECT_EQ(LoadError(c.xml), c.message) << c.xml;
}

TEST(CXmlDocumentLoad, WideAndNarrowTextGiveTheSameTree) {
    const char* narrow = "<r a='\xE2\x82\xAC'>\xF0\x9F\x98\x80<c/></r>";
    const char16_t* wide = u"<r a='\u20AC'>\U0001F600<c/></r>";
    CXmlDocument fromNarrow;
    fromNarrow.LoadXml(narrow);
    CXmlDocument fromWide;
    fromWide.LoadXml(wide);
    for (const CXmlDocument* document : {&fromNarrow, &fromWide}) {
        const CXmlElement* r = document->GetDocumentElement();
        EXPECT_EQ(r->GetText(), u"\U0001F600");
        EXPECT_EQ(r->GetAttribute(u"a", u""), u"\u20AC");
        EXPECT_EQ(r->GetFirstElement()->GetLocalName(), u"c");
    }
    // An encoding declaration in the narrow form is honoured.
    CXmlDocument latin;
    latin.LoadXml("<?xml version='1.0' encoding='ISO-8859-1'?><r>\xE9</r>");
    EXPECT_EQ(latin.GetDocumentElement()->GetText(), u"\u00E9");
}

TEST(CXmlDocumentLoad, FailedLoadKeepsThePartialTreeAndAReloadReplacesIt) {
    CXmlDocument document;
    EXPECT_THROW(document.LoadXml("<a><b><c>text</c><d></a>"), CKvException);
    const CXmlElement* a = document.GetDocumentElement();
    ASSERT_TRUE(a);
    const CXmlElement* b = a->GetFirstElement();
    ASSERT_TRUE(b);
    EXPECT_EQ(b->GetFirstElement()->GetText(), u"text");
    EXPECT_EQ(b->GetFirstElement()->GetNextSiblingElement()->GetLocalName(), u"d");

    const int64_t before = CXmlElement::GetLiveElementCount();
    document.LoadXml("<x xmlns:p='urn:p'/>");
    EXPECT_EQ(CXmlElement::GetLiveElementCount(), before - 4 + 1);
    EXPECT_EQ(document.GetDocumentElement()->GetLocalName(), u"x");
    EXPECT_EQ(document.LookupNamespaceFromAlias(u"p"), u"urn:p");

    // Parsing the held input again builds an equal tree and leaves no trace of the old one.
    document.ParseText();
    EXPECT_EQ(document.GetDocumentElement()->GetLocalName(), u"x");
    EXPECT_EQ(CXmlElement::GetLiveElementCount(), before - 4 + 1);

    EXPECT_THROW(document.LoadXml(""), CKvException);
    EXPECT_EQ(document.GetDocumentElement(), nullptr);
    EXPECT_EQ(document.LookupNamespaceFromAlias(u"p"), u"");
    EXPECT_EQ(CXmlElement::GetLiveElementCount(), before - 4);
}

// Entity amplification must stay guarded: the expansion fails with Expat's own message
// instead of eating memory.
TEST(CXmlDocumentLoad, BillionLaughsIsRefused) {
    std::string xml = "<?xml version='1.0'?>\n<!DOCTYPE lolz [\n<!ENTITY lol0 'lollollollollollollollollollol'>\n";
    for (int i = 1; i < 10; ++i) {
        xml += "<!ENTITY lol" + std::to_string(i) + " '";
        for (int j = 0; j < 10; ++j) xml += "&lol" + std::to_string(i - 1) + ";";
        xml += "'>\n";
    }
    xml += "]>\n<lolz>&lol9;</lolz>";
    const std::u16string message = LoadError(xml.c_str());
    const std::u16string expected = Widen(std::string(XML_ErrorString(XML_ERROR_AMPLIFICATION_LIMIT_BREACH)) + " at line ");
    EXPECT_EQ(message.substr(0, expected.size()), expected) << std::string(message.begin(), message.end());
}

namespace {

int64_t g_maxAlive = 0;
int64_t g_filterCalls = 0;
int64_t g_baseline = 0;

bool DropEverything(CXmlElement*) {
    ++g_filterCalls;
    g_maxAlive = std::max(g_maxAlive, CXmlElement::GetLiveElementCount() - g_baseline);
    return true;
}

bool DropOddIds(CXmlElement* element) {
    ++g_filterCalls;
    const std::u16string& id = element->GetAttribute(u"id", u"");
    return !id.empty() && (id.back() - u'0') % 2 == 1;
}

bool ThrowOnBad(CXmlElement* element) {
    if (element->GetLocalName() == u"bad") throw CKvInvalidValueException(u"filter refused " + element->GetXPath());
    return false;
}

} // namespace

TEST(CXmlDocumentFilter, DroppingEveryItemKeepsMemoryFlat) {
    std::string xml = "<root>";
    for (int i = 0; i < 100000; ++i)
        xml += "<item id='" + std::to_string(i) + "'><name>n</name><v>" + std::to_string(i) + "</v></item>";
    xml += "</root>";

    g_maxAlive = 0;
    g_filterCalls = 0;
    g_baseline = CXmlElement::GetLiveElementCount();
    CXmlDocument document(&DropEverything);
    document.LoadXml(xml.c_str());
    EXPECT_EQ(g_filterCalls, 3 * 100000 + 1);
    // At most the root, one item and one of its children are ever alive together.
    EXPECT_LE(g_maxAlive, 3);
    // The root is never dropped: there is nothing to unlink it from.
    ASSERT_TRUE(document.GetDocumentElement());
    EXPECT_EQ(document.GetDocumentElement()->GetFirstElement(), nullptr);
    EXPECT_EQ(CXmlElement::GetLiveElementCount() - g_baseline, 1);
}

// Names are shared between nodes, up to a bound: ever new names must still come out right, and
// their strings must go with their nodes (the leak checker of the sanitizer build sees to that).
TEST(CXmlDocumentFilter, EverNewNamesAreReadRightAndFreedWithTheirNodes) {
    std::string xml = "<root xmlns:q='urn:q'>";
    const int count = 70000;
    for (int i = 0; i < count; ++i) {
        const std::string n = std::to_string(i);
        xml += "<e" + n + " xmlns='urn:" + n + "' q:a" + n + "='" + n + "'/>";
    }
    xml += "</root>";
    g_maxAlive = 0;
    g_filterCalls = 0;
    g_baseline = CXmlElement::GetLiveElementCount();
    {
        CXmlDocument document(&DropEverything);
        document.LoadXml(xml.c_str());
        EXPECT_EQ(g_filterCalls, count + 1);
        EXPECT_LE(g_maxAlive, 2);
    }
    CXmlDocument document;
    document.LoadXml(xml.c_str());
    int i = 0;
    for (const CXmlElement* e = document.GetDocumentElement()->GetFirstElement(); e; e = e->GetNextSiblingElement(), ++i) {
        const std::u16string n = Widen(std::to_string(i));
        ASSERT_EQ(e->GetLocalName(), u"e" + n);
        ASSERT_EQ(e->GetNamespaceURI(), u"urn:" + n);
        ASSERT_EQ(e->GetAttributes()[0]->GetLocalName(), u"a" + n);
        ASSERT_EQ(e->GetAttributes()[0]->GetNamespaceURI(), u"urn:q");
    }
    EXPECT_EQ(i, count);
}

TEST(CXmlDocumentFilter, DroppingSomeSiblingsKeepsTheRestLinked) {
    std::string xml = "<root>";
    const int count = 100000;
    for (int i = 0; i < count; ++i) xml += "<i id='" + std::to_string(i) + "'/>";
    xml += "</root>";
    g_filterCalls = 0;
    CXmlDocument document(&DropOddIds);
    document.LoadXml(xml.c_str());
    EXPECT_EQ(g_filterCalls, count + 1);
    int kept = 0;
    const CXmlElement* last = nullptr;
    for (const CXmlElement* e = document.GetDocumentElement()->GetFirstElement(); e; e = e->GetNextSiblingElement()) {
        EXPECT_EQ(e->GetAttribute(u"id", u""), Widen(std::to_string(2 * kept)));
        ++kept;
        last = e;
    }
    EXPECT_EQ(kept, count / 2);
    // The last-child pointer still points at the real end: a new child lands behind it.
    CXmlElement* appended = document.GetDocumentElement()->CreateNewChildElement();
    EXPECT_EQ(last->GetNextSiblingElement(), appended);
}

TEST(CXmlDocumentFilter, AnExceptionFromTheFilterPassesThroughTheParser) {
    CXmlDocument document(&ThrowOnBad);
    try {
        document.LoadXml("<a><ok/><bad/><never/></a>");
        FAIL() << "no exception";
    } catch (const CKvInvalidValueException& e) {
        EXPECT_EQ(e.GetMessage(), u"filter refused /a/bad");
    }
    // Parsing stopped at the failure.
    const CXmlElement* ok = document.GetDocumentElement()->GetFirstElement();
    EXPECT_EQ(ok->GetNextSiblingElement()->GetLocalName(), u"bad");
    EXPECT_EQ(ok->GetNextSiblingElement()->GetNextSiblingElement(), nullptr);
}

// Hostile shapes: neither depth nor width may cost stack or quadratic time.
TEST(CXmlDocumentLoad, MillionLevelsDeepLoadsWalksAndIsDestroyed) {
    const int depth = 1000000;
    std::string xml;
    xml.reserve(static_cast<size_t>(depth) * 8);
    for (int i = 0; i < depth; ++i) xml += "<e>";
    xml += "x";
    for (int i = 0; i < depth; ++i) xml += "</e>";

    const int64_t before = CXmlElement::GetLiveElementCount();
    {
        CXmlDocument document;
        document.LoadXml(xml.c_str());
        EXPECT_EQ(CXmlElement::GetLiveElementCount() - before, depth);
        const CXmlElement* deepest = document.GetDocumentElement();
        int levels = 1;
        while (deepest->GetFirstElement()) {
            deepest = deepest->GetFirstElement();
            ++levels;
        }
        EXPECT_EQ(levels, depth);
        EXPECT_EQ(deepest->GetText(), u"x");
        const std::u16string path = deepest->GetXPath();
        EXPECT_EQ(path.size(), static_cast<size_t>(depth) * 2);
        EXPECT_EQ(path.substr(0, 6), u"/e/e/e");
    }
    EXPECT_EQ(CXmlElement::GetLiveElementCount(), before);

    // A partial deep tree from a failed parse is freed just as well.
    xml.resize(static_cast<size_t>(depth) * 3);
    {
        CXmlDocument document;
        EXPECT_THROW(document.LoadXml(xml.c_str()), CKvException);
    }
    EXPECT_EQ(CXmlElement::GetLiveElementCount(), before);
}

// A run of text far longer than any buffer on the way, with entities, CRs and a CDATA section
// spread through it, arrives whole and in order.
TEST(CXmlDocumentLoad, LongTextRunsComeThroughWhole) {
    std::string xml = "<a>";
    std::u16string expected;
    for (int i = 0; i < 100000; ++i) {
        xml += "abc&#13;def&amp;\r\n";
        expected += u"abcdef&\n";
        if (i == 50000) {
            xml += "<![CDATA[x\r\ny]]>";
            expected += u"<![CDATA[x\ny]]>";
        }
    }
    xml += std::string(200000, 'z') + "</a>";
    expected += std::u16string(200000, u'z');
    CSerializationContext keepCdata;
    keepCdata.SetStripCDATA(false);
    CXmlDocument document(keepCdata);
    document.LoadXml(xml.c_str());
    EXPECT_TRUE(document.GetDocumentElement()->GetText() == expected);
    // UTF-16 input reaches the reader in much larger pieces.
    document.LoadXml(Widen(xml).c_str());
    EXPECT_TRUE(document.GetDocumentElement()->GetText() == expected);
}

TEST(CXmlDocumentLoad, HundredThousandChildrenAndAttributes) {
    const int count = 100000;
    std::string xml = "<r";
    for (int i = 0; i < count; ++i) xml += " a" + std::to_string(i) + "='" + std::to_string(i) + "'";
    xml += ">";
    for (int i = 0; i < count; ++i) xml += "<c>" + std::to_string(i) + "</c>";
    xml += "</r>";
    CXmlDocument document;
    document.LoadXml(xml.c_str());
    const CXmlElement* r = document.GetDocumentElement();
    ASSERT_EQ(r->GetAttributes().size(), static_cast<size_t>(count));
    EXPECT_EQ(r->GetAttributes()[count - 1]->GetLocalName(), u"a99999");
    EXPECT_EQ(r->GetAttribute(u"a54321", u""), u"54321");
    int children = 0;
    for (const CXmlElement* c = r->GetFirstElement(); c; c = c->GetNextSiblingElement()) {
        if (children == 777) {
            EXPECT_EQ(c->GetText(), u"777");
        }
        ++children;
    }
    EXPECT_EQ(children, count);
}

// Paths are built on error paths of every reader: many declarations and siblings must not make
// them quadratic.
TEST(CXmlDocumentLoad, PathsStayCheapWithManyDeclarationsAndSiblings) {
    const int count = 20000;
    std::string xml = "<r";
    for (int i = 0; i < count; ++i) xml += " xmlns:p" + std::to_string(i) + "='urn:" + std::to_string(i) + "'";
    xml += ">";
    for (int i = 0; i < count; ++i) xml += "<p" + std::to_string(i) + ":c/><c/>";
    xml += "</r>";
    CXmlDocument document;
    document.LoadXml(xml.c_str());
    const CXmlElement* last = document.GetDocumentElement()->GetFirstElement();
    const CXmlElement* lastPrefixed = nullptr;
    for (const CXmlElement* e = last; e; e = e->GetNextSiblingElement()) {
        if (!e->GetNamespaceURI().empty()) lastPrefixed = e;
        last = e;
    }
    EXPECT_EQ(lastPrefixed->GetXPath(), u"/r/p19999:c");
    EXPECT_EQ(last->GetXPath(), u"/r/c[20000]");
    EXPECT_EQ(document.LookupAliasFromNamespace(u"urn:123"), u"p123");
}
