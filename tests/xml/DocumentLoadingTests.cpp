// Documents loaded from byte blocks and files: transparent inflation, its limits and damaged
// streams, whole-file and chunked reading, and what each path leaves after a failure.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <zlib.h>

#include "kvxml/output/CBinaryStream.h"
#include "kvxml/xml/CXmlDocument.h"
#include "kvxml/xml/KvInflate.h"
#include "support/KvTestBytes.h"
#include "support/KvTestText.h"

using namespace KvXmlLib16;
using KvTest::MessageOf;

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
