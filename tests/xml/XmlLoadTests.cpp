// Documents loaded from text, byte blocks and files: failures, filters, hostile shapes, transparent
// inflation and its limits, whole-file and chunked reading, and what each path leaves after a failure.
#include <gtest/gtest.h>

#include <expat.h>
#include <zlib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "kvxml/base/CKvException.h"
#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/output/CBinaryStream.h"
#include "kvxml/values/CPrimitiveRestrictions.h"
#include "kvxml/xml/CXmlDocument.h"
#include "kvxml/xml/KvInflate.h"
#include "support/KvTestBytes.h"
#include "support/KvTestText.h"

using namespace KvXmlLib16;
using KvTest::MessageOf;

namespace {

std::u16string Widen(const std::string& ascii) { return std::u16string(ascii.begin(), ascii.end()); }

template <typename Text>
std::string LoadError(const Text& xml) {
    CXmlDocument document;
    return MessageOf([&] { document.LoadXml(xml); });
}

// Touches every node of a (small) tree, paths included.
size_t Walk(const CXmlElement* e) {
    size_t touched = 0;
    for (; e; e = e->GetNextSiblingElement()) {
        touched += e->GetXPath().size() + e->GetText().size() + Walk(e->GetFirstElement());
        for (const CXmlAttribute* attribute : e->GetAttributes())
            touched += attribute->GetXPath().size() + attribute->IsNamespaceAttribute() + attribute->IsNilAttribute();
    }
    return touched;
}

struct CountingDocument : CXmlDocument {
    int cleanups = 0;
    void Cleanup() override {
        ++cleanups;
        CXmlDocument::Cleanup();
    }
};

int64_t g_maxAlive = 0;
int64_t g_filterCalls = 0;
int64_t g_baseline = 0;

bool DropEverything(CXmlElement*) {
    ++g_filterCalls;
    g_maxAlive = std::max(g_maxAlive, CXmlElement::GetLiveElementCount() - g_baseline);
    return true;
}

bool DropOddIds(CXmlElement* element) {
    const std::u16string& id = element->GetAttribute(u"id", u"");
    return !id.empty() && (id.back() - u'0') % 2 == 1;
}

} // namespace

TEST(CXmlDocumentLoad, FailuresCarryExpatsWordsAndTheLine) {
    EXPECT_EQ(LoadError(""), "XML String is empty!");
    EXPECT_EQ(LoadError(static_cast<const char*>(nullptr)), "XML String is empty!");
    // The wide form counts its byte-order mark, so an empty string reaches the parser.
    EXPECT_EQ(LoadError(u""), std::string(XML_ErrorString(XML_ERROR_NO_ELEMENTS)) + " at line 1");
    // clang-format off
    struct { const char* xml; const char* message; } cases[] = {
        {"<a>\n\n<b>\n</a>", "mismatched tag at line 4"},
        {"<a>\r\n<b x='1' x='2'/></a>", "duplicate attribute at line 2"},
        {"<a>&undefined;</a>", "undefined entity at line 1"},
        {"<p:a/>", "unbound prefix at line 1"},
    };
    // clang-format on
    for (const auto& c : cases) {
        EXPECT_EQ(LoadError(c.xml), c.message) << c.xml;
        EXPECT_EQ(LoadError(Widen(c.xml).c_str()), c.message) << c.xml;
    }
}

TEST(CXmlDocumentLoad, FailedLoadKeepsThePartialTreeAndReloadsStartWithCleanup) {
    CountingDocument document;
    EXPECT_THROW(document.LoadXml("<a>x<b>y<c>text</c>z<d></a>"), CKvException);
    const CXmlElement* a = document.GetDocumentElement();
    ASSERT_TRUE(a);
    EXPECT_EQ(a->GetText(), u"x");
    const CXmlElement* b = a->GetFirstElement();
    EXPECT_EQ(
        b->GetText() + b->GetFirstElement()->GetText() + b->GetFirstElement()->GetNextSiblingElement()->GetLocalName(),
        u"yztextd");

    const int64_t before = CXmlElement::GetLiveElementCount();
    document.LoadXml("<x xmlns:p='urn:p'>t</x>");
    EXPECT_EQ(CXmlElement::GetLiveElementCount(), before - 4 + 1);
    EXPECT_EQ(document.LookupNamespaceFromAlias(u"p"), u"urn:p");
    // The held input is parsed again after the same Cleanup as any load.
    document.cleanups = 0;
    document.ParseText();
    EXPECT_EQ(document.cleanups, 1);
    EXPECT_EQ(document.GetDocumentElement()->GetText(), u"t");
    EXPECT_EQ(CXmlElement::GetLiveElementCount(), before - 4 + 1);

    EXPECT_THROW(document.LoadXml(""), CKvException);
    EXPECT_EQ(document.GetDocumentElement(), nullptr);
    EXPECT_EQ(document.LookupNamespaceFromAlias(u"p"), u"");
    EXPECT_THROW(document.ParseText(), CKvException); // nothing held any more
}

// Without the kept input the caller's text is parsed where it stands; a failed load still keeps a
// copy, which outlives the caller's text (the sanitizer builds catch a read of the latter).
TEST(CXmlDocumentLoad, LoadsWithoutKeepingTheInput) {
    for (int form = 0; form < 3; ++form) {
        CXmlDocument document;
        document.SetKeepInput(false);
        auto load = [&](std::string xml) {
            const std::u16string wide = Widen(xml);
            if (form == 0) document.LoadXml(xml.c_str());
            if (form == 1) document.LoadXml(wide.c_str());
            if (form == 2) document.LoadXmlStream(reinterpret_cast<const unsigned char*>(xml.data()), xml.size());
        };
        load("<a>t</a>");
        EXPECT_EQ(document.GetDocumentElement()->GetText(), u"t");
        EXPECT_EQ(document.GetInputBuffer(), nullptr);
        EXPECT_THROW(load("<a>t<b>u</a>"), CKvException);
        EXPECT_EQ(document.GetInputSize(), form == 1 ? 26u : 12u);
        EXPECT_THROW(document.ParseText(), CKvException);
        EXPECT_EQ(document.GetDocumentElement()->GetFirstElement()->GetText(), u"u") << form;
    }
}

// Entity amplification stays guarded: the expansion fails with Expat's own message.
TEST(CXmlDocumentLoad, BillionLaughsIsRefused) {
    std::string xml = "<!DOCTYPE l [<!ENTITY l0 'lollollollollollollollollollol'>\n";
    for (int i = 1; i < 10; ++i) {
        xml += "<!ENTITY l" + std::to_string(i) + " '";
        for (int j = 0; j < 10; ++j) xml += "&l" + std::to_string(i - 1) + ";";
        xml += "'>\n";
    }
    xml += "]>\n<l>&l9;</l>";
    const std::string expected = std::string(XML_ErrorString(XML_ERROR_AMPLIFICATION_LIMIT_BREACH)) + " at line ";
    EXPECT_EQ(LoadError(xml.c_str()).substr(0, expected.size()), expected);
}

// With ever new names too: names are shared only up to a bound, and the rest must still come out
// right and go with their nodes (the leak checker of the sanitizer build sees to that).
TEST(CXmlDocumentFilter, DroppingEveryElementKeepsMemoryFlat) {
    const int count = 70000;
    std::string xml = "<root xmlns:q='urn:q'>";
    for (int i = 0; i < count; ++i) {
        const std::string n = std::to_string(i);
        xml += "<e" + n + " xmlns='urn:" + n + "' q:a" + n + "='" + n + "'><v>" + n + "</v></e" + n + ">";
    }
    xml += "</root>";
    g_baseline = CXmlElement::GetLiveElementCount();
    {
        CXmlDocument document(&DropEverything);
        document.LoadXml(xml.c_str());
        EXPECT_EQ(g_filterCalls, 2 * count + 1);
        EXPECT_LE(g_maxAlive, 3); // the root, one element and its child
        // The root is never dropped: there is nothing to unlink it from.
        EXPECT_EQ(document.GetDocumentElement()->GetFirstElement(), nullptr);
        EXPECT_EQ(CXmlElement::GetLiveElementCount() - g_baseline, 1);
    }
    CXmlDocument document;
    document.LoadXml(xml.c_str());
    int i = 0;
    for (const CXmlElement* e = document.GetDocumentElement()->GetFirstElement(); e;
         e = e->GetNextSiblingElement(), ++i) {
        const std::u16string n = Widen(std::to_string(i));
        ASSERT_EQ(e->GetLocalName(), u"e" + n);
        ASSERT_EQ(e->GetNamespaceURI(), u"urn:" + n);
        ASSERT_EQ(e->GetAttributes()[0]->GetLocalName(), u"a" + n);
        ASSERT_EQ(e->GetFirstElement()->GetText(), n);
    }
    EXPECT_EQ(i, count);
}

TEST(CXmlDocumentFilter, AnExceptionFromTheFilterPassesThroughTheParser) {
    CXmlDocument document([](CXmlElement* element) -> bool {
        if (element->GetLocalName() == u"bad") throw CKvInvalidValueException(u"filter refused " + element->GetXPath());
        return false;
    });
    EXPECT_EQ(MessageOf<CKvInvalidValueException>([&] { document.LoadXml("<a><ok/><bad/><never/></a>"); }),
              "filter refused /a/bad");
    const CXmlElement* ok = document.GetDocumentElement()->GetFirstElement();
    EXPECT_EQ(ok->GetNextSiblingElement()->GetLocalName(), u"bad");
    EXPECT_EQ(ok->GetNextSiblingElement()->GetNextSiblingElement(), nullptr);
}

// Hostile shapes: neither depth nor width may cost stack or quadratic time.
TEST(CXmlDocumentLoad, MillionLevelsDeepLoadsWalksAndIsDestroyed) {
    const int depth = 1000000;
    std::string xml;
    for (int i = 0; i < depth; ++i) xml += "<e>";
    xml += "x";
    for (int i = 0; i < depth; ++i) xml += "</e>";
    const int64_t before = CXmlElement::GetLiveElementCount();
    {
        CXmlDocument document;
        document.LoadXml(xml.c_str());
        EXPECT_EQ(CXmlElement::GetLiveElementCount() - before, depth);
        const CXmlElement* deepest = document.GetDocumentElement();
        while (deepest->GetFirstElement()) deepest = deepest->GetFirstElement();
        EXPECT_EQ(deepest->GetText(), u"x");
        EXPECT_EQ(deepest->GetXPath().size(), static_cast<size_t>(depth) * 2);
    }
    EXPECT_EQ(CXmlElement::GetLiveElementCount(), before);
    xml.resize(static_cast<size_t>(depth) * 3); // a failed parse leaves a deep partial tree
    {
        CXmlDocument document;
        EXPECT_THROW(document.LoadXml(xml.c_str()), CKvException);
    }
    EXPECT_EQ(CXmlElement::GetLiveElementCount(), before);
}

// A run of text far longer than any buffer on the way, with entities, CRs and a CDATA section
// spread through it, arrives whole and in order, also around a child.
TEST(CXmlDocumentLoad, LongTextRunsComeThroughWhole) {
    std::string xml = "<a>";
    std::u16string expected;
    for (int i = 0; i < 100000; ++i) {
        xml += "abc&#13;def&amp;\r\n";
        expected += u"abcdef&\n";
        if (i == 50000) {
            xml += "<![CDATA[x\r\ny]]><b>inner</b>";
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
    EXPECT_EQ(document.GetDocumentElement()->GetFirstElement()->GetText(), u"inner");
    document.LoadXml(Widen(xml).c_str()); // UTF-16 reaches the reader in larger pieces
    EXPECT_TRUE(document.GetDocumentElement()->GetText() == expected);
    // An outer element's waiting text leaves no room for the inner one's.
    const std::u16string outer(65000, u'y');
    const std::u16string inner(2000, u'z');
    document.LoadXml((u"<a>" + outer + u"<b>" + inner + u"</b>w</a>").c_str());
    EXPECT_TRUE(document.GetDocumentElement()->GetText() == outer + u"w");
    EXPECT_TRUE(document.GetDocumentElement()->GetFirstElement()->GetText() == inner);
}

// A large input is parsed in one go and given back behind the parser. Elements that stay open
// over megabytes, one from the start and one from the middle, long non-ASCII names among them,
// still meet their end tags, and a failure after megabytes of CR, LF and CR LF line ends names the
// line Expat would.
TEST(CXmlDocumentLoad, LargeInputsKeepOpenTagsAndLineNumbers) {
    const std::u16string name = u"p:\u00FCber-" + std::u16string(300, u'n');
    const char16_t* ends[] = {u"\n", u"\r\n", u"\r"};
    auto items = [&](std::u16string& xml, int count) {
        for (int i = 0; i < count; ++i) xml += u"<i n='" + Widen(std::to_string(i)) + u"'>text</i>" + ends[i % 3];
    };
    auto last = [](const CXmlElement* e) {
        for (e = e->GetFirstElement(); e->GetNextSiblingElement();) e = e->GetNextSiblingElement();
        return e;
    };
    std::u16string head = u"<p:root xmlns:p='urn:p'><" + name + u" a='" + std::u16string(9000, u'v') + u"'>\n";
    items(head, 60000);
    head += u"<p:mid>\n";
    items(head, 120000);
    const int line = 2 + 60000 + 1 + 120000; // where the tail starts
    struct {
        std::u16string tail;
        const char* error; // null: loads
    } cases[] = {
        {u"</p:mid></" + name + u"></p:root>", nullptr},
        {u"</p:mid>\n</" + name + u">\r\n<x b='1' b='2'/></p:root>", "duplicate attribute at line +2"},
        {u"</p:mid></p:root>", "mismatched tag at line +0"},
    };
    for (const auto& c : cases) {
        const std::u16string wide = head + c.tail;
        const std::string narrow = PatternInternals::WideToUtf8(wide.c_str());
        ASSERT_GT(narrow.size(), 3500000u);
        for (int form = 0; form < 2; ++form) {
            CXmlDocument document;
            const std::string message =
                MessageOf([&] { form ? document.LoadXml(wide.c_str()) : document.LoadXml(narrow.c_str()); });
            if (!c.error) {
                ASSERT_EQ(message, "<no exception>") << form;
                const CXmlElement* outer = document.GetDocumentElement()->GetFirstElement();
                EXPECT_EQ(outer->GetLocalName(), name.substr(2));
                EXPECT_EQ(outer->GetFirstElement()->GetAttribute(u"n", u""), u"0");
                EXPECT_EQ(last(outer)->GetLocalName(), u"mid");
                EXPECT_EQ(last(last(outer))->GetAttribute(u"n", u""), u"119999");
                continue;
            }
            std::string expected = c.error;
            const size_t plus = expected.find('+');
            expected.replace(plus, 2, std::to_string(line + (expected[plus + 1] - '0')));
            EXPECT_EQ(message, expected) << form;
        }
    }
}

// Mutated documents, narrow and wide, through every reading mode: each load either succeeds or
// throws a CKvException, and whatever tree it leaves can be walked.
TEST(CXmlDocumentLoad, MutatedInputOnlyEverFailsCleanly) {
    const std::string seeds[] = {
        "<?xml version='1.0' encoding='UTF-8'?>\n<!DOCTYPE r [<!ENTITY e 'v&#13;x'><!ATTLIST r d CDATA 'dv'>]>\n"
        "<p:r xmlns:p='urn:p' xmlns='urn:d' a='1' p:b='&e;'>t&amp;<c>x&#13;\r\ny</c><![CDATA[<z>]]>"
        "<p:c xmlns:p='urn:q' xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance' xsi:nil='true'/>tail&e;</p:r>",
        "<a><b><c>1</c><c>2</c></b><b x='&lt;'>\xC3\xA9\xF0\x9F\x98\x80</b><?pi data?><!-- c --></a>",
    };
    const char alphabet[] = "<>&;'\"=/:!?[]#x \r\n|\xC3\xFF\x80p";
    CSerializationContext keepCdata;
    keepCdata.SetStripCDATA(false);
    CSerializationContext noNamespaces;
    noNamespaces.SetSchemaType(SchemaType_NoNamespaces);
    const CSerializationContext byDefault;
    const CSerializationContext* contexts[] = {&byDefault, &keepCdata, &noNamespaces};

    std::mt19937 random(20261121);
    size_t loaded = 0;
    size_t walked = 0;
    for (int round = 0; round < 1500; ++round) {
        std::string xml = seeds[round % 2];
        for (int edits = 1 + static_cast<int>(random() % 4); edits > 0; --edits) {
            const size_t at = random() % xml.size();
            switch (random() % 4) {
            case 0: xml[at] = alphabet[random() % (sizeof(alphabet) - 1)]; break;
            case 1: xml.insert(at, 1, alphabet[random() % (sizeof(alphabet) - 1)]); break;
            case 2: xml.erase(at, 1 + random() % 8); break;
            default: xml.insert(at, xml.substr(random() % xml.size(), 1 + random() % 16)); break;
            }
            if (xml.empty()) xml = "<";
        }
        const CSerializationContext& context = *contexts[round % 3];
        CXmlDocument document(round % 5 == 0 ? &DropOddIds : nullptr, context);
        try {
            if (round / 2 % 2) {
                std::u16string wide(xml.begin(), xml.end());
                if (round % 7 == 1) wide[random() % wide.size()] = static_cast<char16_t>(0xD800 + random() % 0x800);
                document.LoadXml(wide.c_str());
            } else {
                document.LoadXml(xml.c_str());
            }
            ++loaded;
            document.ParseText();
        } catch (const CKvException&) {}
        walked += Walk(document.GetDocumentElement());
    }
    EXPECT_GT(loaded, 0u);
    EXPECT_GT(walked, 0u);
}

// Names and values of every length around the 8-unit block size, so that each terminator lands at
// a different offset of its block: a scan must stop at the terminator (the sanitizer builds catch
// a read behind it, as in "<p:aaaaaaaaaaaaaaaaaaaaaa xmlns:p="u"/>" loaded from bytes).
TEST(HostileInput, NamesAndValuesOfEveryLengthEndAtTheirTerminator) {
    for (size_t length = 1; length <= 40; ++length) {
        const std::string name(length, 'a'), value(length - 1, 'v'), uri(length, 'u');
        const std::string xml = "<p:" + name + " xmlns:p=\"" + uri + "\" p:" + name + "=\"" + value + "\"/>";
        for (bool narrow : {true, false}) {
            CXmlDocument document;
            if (narrow)
                document.LoadXml(xml.c_str());
            else
                document.LoadXml(Widen(xml).c_str());
            const CXmlElement* root = document.GetDocumentElement();
            ASSERT_NE(root, nullptr);
            EXPECT_EQ(root->GetLocalName(), Widen(name)) << xml;
            EXPECT_EQ(root->GetNamespaceURI(), Widen(uri)) << xml;
            EXPECT_EQ(root->GetAttribute(Widen(name).c_str(), Widen(uri).c_str()), Widen(value)) << xml;
        }
    }
}

namespace {

namespace fs = std::filesystem;

constexpr size_t kChunk = 131072;

std::string Compressed(const std::string& text, CompressionType type) {
    CBinaryData data(reinterpret_cast<const unsigned char*>(text.data()), static_cast<uint32_t>(text.size()), false);
    Compress(data, type);
    return std::string(reinterpret_cast<const char*>(data.GetData()), data.GetLength());
}

// A root with `items` children, padded with trailing blanks up to `size` bytes.
std::string Document(int items, size_t size = 0) {
    std::string xml = "<?xml version=\"1.0\"?><root xmlns=\"urn:r\">";
    for (int i = 0; i < items; ++i) xml += "<item n=\"" + std::to_string(i) + "\">text</item>";
    xml += "</root>";
    return xml + std::string(size > xml.size() ? size - xml.size() : 0, ' ');
}

int Children(const CXmlDocument& document) {
    int count = 0;
    for (CXmlElement* e = document.GetDocumentElement()->GetFirstElement(); e; e = e->GetNextSiblingElement()) ++count;
    return count;
}

void LoadBytes(CXmlDocument& document, const std::string& bytes) {
    document.LoadXmlStream(reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<uint32_t>(bytes.size()));
}

// Writes the bytes to a temporary file and loads it, whole or in chunks.
std::string LoadFile(CXmlDocument& document, const std::string& bytes, bool chunked) {
    const fs::path path = fs::temp_directory_path() / "kvxml_loading.xml";
    std::ofstream(path, std::ios::binary) << bytes;
    AsyncFromXmlFile(chunked);
    const size_t before = KvTest::OpenDescriptors();
    const std::string message = MessageOf([&] { document.Load(path.u16string().c_str()); });
    AsyncFromXmlFile(false);
    EXPECT_EQ(KvTest::OpenDescriptors(), before) << message;
    fs::remove(path);
    return message;
}

TEST(DocumentLoading, PlainAndCompressedInputGiveTheSameTreeOnEveryPath) {
    const std::string xml = Document(300);
    std::string utf16 = "\xFF\xFE";
    for (char c : std::string("<root><item/><item/></root>")) utf16 += std::string{c, '\0'};
    // clang-format off
    const std::pair<std::string, int> cases[] = {  // bytes, children
        {xml, 300}, {Compressed(xml, CompressionType_GZip), 300}, {Compressed(xml, CompressionType_ZLib), 300},
        {utf16, 2}, {"\xFF\xFE" + Compressed(utf16.substr(2), CompressionType_GZip), 2}};
    // clang-format on
    for (const auto& [bytes, children] : cases) {
        CXmlDocument fromBytes, whole, chunked;
        LoadBytes(fromBytes, bytes);
        EXPECT_EQ(Children(fromBytes), children);
        EXPECT_EQ(LoadFile(whole, bytes, false), "<no exception>");
        EXPECT_EQ(Children(whole), children);
        // Chunked reading takes plain text only: compressed files fail at the parser.
        const bool plain = bytes == xml || bytes == utf16;
        EXPECT_EQ(LoadFile(chunked, bytes, true).find(" at line ") != std::string::npos, !plain);
    }
    CXmlDocument document;
    EXPECT_EQ(MessageOf([&] { document.LoadXmlStream(nullptr, 0); }), "XML Stream is empty!");
}

TEST(DocumentLoading, DamagedStreamsReachTheParserAndInflationIsBounded) {
    const std::string xml = Document(200);
    for (CompressionType type : {CompressionType_GZip, CompressionType_ZLib}) {
        const std::string packed = Compressed(xml, type);
        for (size_t cut : {size_t(1), size_t(10), packed.size() / 2, packed.size() - 1}) {
            CXmlDocument document;
            EXPECT_NE(MessageOf([&] { LoadBytes(document, packed.substr(0, cut)); }).find(" at line "),
                      std::string::npos);
        }
        std::mt19937 random(static_cast<unsigned>(type));
        for (int round = 0; round < 200; ++round) { // loads or throws, within bounds
            std::string damaged = packed;
            damaged[random() % damaged.size()] ^= static_cast<char>(1 + random() % 255);
            CXmlDocument document;
            MessageOf([&] { LoadBytes(document, damaged); });
        }
    }
    const std::string packed = Compressed(xml, CompressionType_GZip);
    const auto* bytes = reinterpret_cast<const unsigned char*>(packed.data());
    CBinaryData exact, tooMuch;
    EXPECT_TRUE(InflateZlibOrGzip(bytes, uint32_t(packed.size()), uint32_t(xml.size()), exact));
    EXPECT_EQ(MessageOf([&] { InflateZlibOrGzip(bytes, uint32_t(packed.size()), uint32_t(xml.size() - 1), tooMuch); }),
              "The inflated XML input is larger than 4 GB and cannot be read");

    // About 1000:1, zlib's best: eight million blanks of text in one element.
    const std::string blanks = "<a>" + std::string(8u << 20, ' ') + "</a>";
    std::string bomb(compressBound(uLong(blanks.size())), '\0');
    uLongf size = uLongf(bomb.size());
    ASSERT_EQ(compress2(reinterpret_cast<Bytef*>(bomb.data()), &size, reinterpret_cast<const Bytef*>(blanks.data()),
                        uLong(blanks.size()), 9),
              Z_OK);
    bomb.resize(size);
    EXPECT_LT(bomb.size(), blanks.size() / 900);
    CXmlDocument document;
    LoadBytes(document, bomb);
    EXPECT_EQ(document.GetDocumentElement()->GetText().size(), 8u << 20);
}

TEST(DocumentLoading, ChunkedFailuresFollowTheReadsAndDeleteTheTree) {
    const std::string path = (fs::temp_directory_path() / "kvxml_loading.xml").string();
    const std::pair<std::string, std::string> cases[] = {
        // bytes, message
        {"", "Failed to read the contents of the file [" + path + "] Error [0x00000026]"},
        // A full last chunk: the read behind it meets the end of the file.
        {Document(10, kChunk), "Failed to read the contents of the file. Error [0x00000026]"},
        {Document(10, 3 * kChunk), "Failed to read the contents of the file. Error [0x00000026]"},
        {Document(10, kChunk - 1), "<no exception>"},
        {Document(10, 3 * kChunk + 1), "<no exception>"},
        {Document(9000).substr(0, kChunk + 100), "unclosed token at line 1"},
    };
    for (const auto& [bytes, message] : cases) {
        CXmlDocument document;
        EXPECT_EQ(LoadFile(document, bytes, true), message);
        EXPECT_EQ(document.GetDocumentElement() != nullptr, message == "<no exception>") << message;
    }
    // The whole-file path keeps the tree built before a failure.
    CXmlDocument document;
    EXPECT_EQ(LoadFile(document, "<root><a/><b>", false), "no element found at line 1");
    EXPECT_EQ(Children(document), 2);
    // A filter that drops every element keeps nothing but the root, however long the file.
    CXmlDocument filtered([](CXmlElement*) { return true; });
    EXPECT_EQ(LoadFile(filtered, Document(40000), true), "<no exception>");
    EXPECT_EQ(filtered.GetDocumentElement()->GetFirstElement(), nullptr);
}

} // namespace
