// Documents loaded from byte blocks and files: transparent inflation, its limits and damaged
// streams, whole-file and chunked reading, and what each path leaves after a failure.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <zlib.h>

#include "kvxml/base/CKvException.h"
#include "kvxml/output/CBinaryStream.h"
#include "kvxml/xml/CXmlDocument.h"
#include "kvxml/xml/KvInflate.h"
#include "support/KvTestText.h"

using namespace KvXmlLib16;
using KvTest::MessageOf;
using KvTest::Narrow;

namespace {

namespace fs = std::filesystem;

constexpr size_t kChunk = 131072;

std::string Compressed(const std::string& text, CompressionType type) {
    CBinaryData data(reinterpret_cast<const unsigned char*>(text.data()), static_cast<uint32_t>(text.size()), false);
    Compress(data, type);
    return std::string(reinterpret_cast<const char*>(data.GetData()), data.GetLength());
}

// A root with `items` children; padded with trailing blanks up to `size` bytes when given.
std::string Document(int items, size_t size = 0) {
    std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?><root xmlns=\"urn:r\">";
    for (int i = 0; i < items; ++i) xml += "<item n=\"" + std::to_string(i) + "\">text " + std::to_string(i) + "</item>";
    xml += "</root>";
    if (xml.size() < size) xml.append(size - xml.size(), ' ');
    return xml;
}

int ChildCount(const CXmlDocument& document) {
    int count = 0;
    for (CXmlElement* e = document.GetDocumentElement()->GetFirstElement(); e; e = e->GetNextSiblingElement()) ++count;
    return count;
}

size_t OpenDescriptors() {
    return static_cast<size_t>(std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator()));
}

void LoadBytes(CXmlDocument& document, const std::string& bytes) {
    document.LoadXmlStream(reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<uint32_t>(bytes.size()));
}

class DocumentLoading : public ::testing::Test {
protected:
    void SetUp() override {
        m_dir = fs::temp_directory_path() / ("kvxml_load_" + std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()));
        fs::remove_all(m_dir);
        fs::create_directories(m_dir);
    }
    void TearDown() override {
        AsyncFromXmlFile(false);
        fs::remove_all(m_dir);
    }
    std::u16string Put(const std::string& leaf, const std::string& bytes) {
        std::ofstream(m_dir / leaf, std::ios::binary) << bytes;
        return (m_dir / leaf).u16string();
    }
    fs::path m_dir;
};

TEST_F(DocumentLoading, PlainAndCompressedInputGiveTheSameTree) {
    const std::string xml = Document(300);
    std::string utf16 = "\xFF\xFE";
    for (char c : std::string("<root xmlns=\"urn:r\"><item/><item/></root>")) utf16 += std::string{c, '\0'};
    struct Case {
        std::string bytes;
        int children;
        bool chunkedToo;  // chunked reading takes plain text only
    };
    const Case cases[] = {
        {xml, 300, true},
        {Compressed(xml, CompressionType_GZip), 300, false},
        {Compressed(xml, CompressionType_ZLib), 300, false},
        {utf16, 2, true},
        {"\xFF\xFE" + Compressed(utf16.substr(2), CompressionType_GZip), 2, false},
    };
    for (const Case& c : cases) {
        CXmlDocument document;
        LoadBytes(document, c.bytes);
        EXPECT_EQ(ChildCount(document), c.children);
        const std::u16string file = Put("doc.xml", c.bytes);
        for (bool chunked : {false, true}) {
            AsyncFromXmlFile(chunked);
            CXmlDocument fromFile;
            if (chunked && !c.chunkedToo) {
                EXPECT_NE(MessageOf([&] { fromFile.Load(file.c_str()); }).find(" at line "), std::string::npos);
                continue;
            }
            fromFile.Load(file.c_str());
            EXPECT_EQ(ChildCount(fromFile), c.children) << chunked;
        }
    }
    CXmlDocument document;
    EXPECT_EQ(MessageOf([&] { document.LoadXmlStream(nullptr, 0); }), "XML Stream is empty!");
}

TEST_F(DocumentLoading, DamagedStreamsReachTheParserAndNeverReadOutOfBounds) {
    const std::string xml = Document(200);
    for (CompressionType type : {CompressionType_GZip, CompressionType_ZLib}) {
        const std::string packed = Compressed(xml, type);
        // Truncated streams and single damaged bytes are handed to the parser as they stand.
        for (size_t cut : {size_t(1), size_t(10), packed.size() / 2, packed.size() - 1}) {
            CXmlDocument document;
            EXPECT_NE(MessageOf([&] { LoadBytes(document, packed.substr(0, cut)); }).find(" at line "), std::string::npos);
        }
        std::mt19937 random(static_cast<unsigned>(type));
        for (int round = 0; round < 200; ++round) {
            std::string damaged = packed;
            damaged[random() % damaged.size()] ^= static_cast<char>(1 + random() % 255);
            CXmlDocument document;
            try {
                LoadBytes(document, damaged);
            } catch (const CKvException&) {
            }
        }
    }
}

TEST_F(DocumentLoading, InflationStopsAtTheSizeLimitAndBombsInflateInOnePass) {
    const std::string xml = Document(50);
    const std::string packed = Compressed(xml, CompressionType_GZip);
    const auto* bytes = reinterpret_cast<const unsigned char*>(packed.data());
    const uint32_t size = static_cast<uint32_t>(packed.size());
    CBinaryData out;
    EXPECT_TRUE(InflateZlibOrGzip(bytes, size, static_cast<uint32_t>(xml.size()), out));
    EXPECT_EQ(out.GetLength(), xml.size());
    CBinaryData tooMuch;
    EXPECT_EQ(MessageOf([&] { InflateZlibOrGzip(bytes, size, static_cast<uint32_t>(xml.size() - 1), tooMuch); }),
              "The inflated XML input is larger than 4 GB and cannot be read");

    // About 1000:1, zlib's best: eight million blanks of text in one element.
    const std::string blanks = "<a>" + std::string(8u << 20, ' ') + "</a>";
    std::string bomb(compressBound(static_cast<uLong>(blanks.size())), '\0');
    uLongf packedSize = static_cast<uLongf>(bomb.size());
    ASSERT_EQ(compress2(reinterpret_cast<Bytef*>(bomb.data()), &packedSize,
                        reinterpret_cast<const Bytef*>(blanks.data()), static_cast<uLong>(blanks.size()), 9), Z_OK);
    bomb.resize(packedSize);
    EXPECT_LT(bomb.size(), (8u << 20) / 900);
    CXmlDocument document;
    LoadBytes(document, bomb);
    EXPECT_EQ(document.GetDocumentElement()->GetText().size(), 8u << 20);
}

TEST_F(DocumentLoading, ChunkedReadingFailuresFollowTheReadsAndDeleteTheTree) {
    AsyncFromXmlFile(true);
    struct Case {
        std::string bytes;
        std::string message;  // empty: loads
    };
    const std::u16string empty = Put("empty.xml", "");
    const Case cases[] = {
        {"", "Failed to read the contents of the file [" + Narrow(empty) + "] Error [0x00000026]"},
        // Full last chunk: the read behind it meets the end of the file.
        {Document(10, kChunk), "Failed to read the contents of the file. Error [0x00000026]"},
        {Document(10, 3 * kChunk), "Failed to read the contents of the file. Error [0x00000026]"},
        {Document(10, kChunk - 1), ""},
        {Document(10, 3 * kChunk + 1), ""},
        {Document(9000), ""},
        {Document(9000).substr(0, kChunk + 100), "unclosed token at line 1"},
    };
    for (const Case& c : cases) {
        const std::u16string file = Put("empty.xml", c.bytes);
        const size_t before = OpenDescriptors();
        CXmlDocument document;
        EXPECT_EQ(MessageOf([&] { document.Load(file.c_str()); }), c.message.empty() ? "<no exception>" : c.message);
        EXPECT_EQ(OpenDescriptors(), before);
        EXPECT_EQ(document.GetDocumentElement() != nullptr, c.message.empty()) << c.message;
    }
    // The whole-file path keeps the tree built before a failure.
    AsyncFromXmlFile(false);
    const std::u16string broken = Put("broken.xml", "<root><a/><b>");
    CXmlDocument document;
    EXPECT_EQ(MessageOf([&] { document.Load(broken.c_str()); }), "no element found at line 1");
    ASSERT_NE(document.GetDocumentElement(), nullptr);
    EXPECT_EQ(ChildCount(document), 2);
}

TEST_F(DocumentLoading, AChunkedLoadWithAFilterKeepsNothingButTheRoot) {
    AsyncFromXmlFile(true);
    const std::u16string file = Put("big.xml", Document(40000));
    CXmlDocument document([](CXmlElement*) { return true; });
    document.Load(file.c_str());
    EXPECT_EQ(document.GetDocumentElement()->GetFirstElement(), nullptr);
    // The document can be loaded again, whole this time.
    AsyncFromXmlFile(false);
    document.Load(file.c_str());
    EXPECT_EQ(document.GetDocumentElement()->GetLocalName(), u"root");
}

} // namespace
