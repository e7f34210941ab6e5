// Text streamed to files, byte blocks written to files, and gzip/zlib compression checked against
// zlib's own inflation.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <zlib.h>

#include "kvxml/base/CKvException.h"
#include "kvxml/output/CBinaryStream.h"
#include "kvxml/output/CFileTextStream.h"
#include "kvxml/output/CXmlTextWriter.h"
#include "support/KvTestText.h"

using namespace KvXmlLib16;
using KvTest::MessageOf;

namespace {

namespace fs = std::filesystem;

const ItemType kString = static_cast<ItemType>(23);

std::string FileBytes(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::string Bytes(const CBinaryData& data) {
    return data.GetLength() ? std::string(reinterpret_cast<const char*>(data.GetData()), data.GetLength()) : std::string();
}

// A document of the given number of elements, each with text holding 1-, 2-, 3- and 4-byte
// UTF-8 characters.
void WriteDocument(CTextStream& stream, int elements) {
    CXmlTextWriter writer(&stream);
    stream.Open();
    writer.WriteXmlDeclaration();
    writer.WriteStartElement(u"root", u"urn:r");
    for (int i = 0; i < elements; ++i) {
        writer.WriteStartElement(u"item", u"urn:r");
        writer.WriteElementText(u"a\u00E9\u5C71\U0001F600 " + std::u16string(static_cast<size_t>(i % 50), u'x'), kString, false);
        writer.WriteEndElement();
    }
    writer.WriteEndElement();
    stream.Close();
}

class FileOutput : public ::testing::Test {
protected:
    void SetUp() override {
        m_dir = fs::temp_directory_path() / ("kvxml_output_" + std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()));
        fs::remove_all(m_dir);
        fs::create_directories(m_dir);
    }
    void TearDown() override { fs::remove_all(m_dir); }
    fs::path m_dir;
};

TEST_F(FileOutput, StreamedFilesHoldTheMarkAndTheBytesOfTheEncoding) {
    const std::u16string name = (m_dir / "out.xml").u16string();
    for (XmlEncoding encoding : {XmlEncoding_UTF8, XmlEncoding_UTF16, XmlEncoding_UTF16_NoDecl})
        for (int elements : {0, 3, 2000}) {  // one write from Close, and many flushes
            CTextStream memory(4095, encoding);
            WriteDocument(memory, elements);
            CFileTextStream file(name.c_str(), encoding);
            WriteDocument(file, elements);
            EXPECT_FALSE(file.IsOpen());
            const std::string mark = encoding == XmlEncoding_UTF8 ? "" : "\xFF\xFE";
            EXPECT_EQ(FileBytes(name), mark + Bytes(memory.GetBinaryData())) << encoding << " " << elements;
        }
}

TEST_F(FileOutput, FailuresCloseTheFileAndNameTheError) {
    const std::u16string missingDir = (m_dir / "none" / "out.xml").u16string();
    CFileTextStream stream(missingDir.c_str(), XmlEncoding_UTF8);
    EXPECT_EQ(MessageOf([&] { stream.Open(); }),
              "Failed to write data to the file [" + KvTest::Narrow(missingDir) + "] error [0x00000003]");
    CFileBinaryStream block(m_dir.u16string().c_str(), XmlEncoding_UTF16, CBinaryData(u"x"));
    EXPECT_EQ(MessageOf([&] { block.WriteToFile(); }),
              "Failed to write data to the file [" + m_dir.string() + "] error [0x00000005]");

    // No encoding chosen: the text cannot become bytes, at the first flush or at Close.
    const std::u16string name = (m_dir / "none.xml").u16string();
    for (int elements : {1, 2000}) {
        CFileTextStream unknown(name.c_str(), XmlEncoding_None);
        EXPECT_EQ(MessageOf([&] { WriteDocument(unknown, elements); }),
                  "Unknown Encoding, select UTF-8 (contact our support team)");
    }
    CTextStream memory(4095, XmlEncoding_UTF8);
    EXPECT_EQ(memory.GetBinaryData().GetLength(), 0u);
}

TEST_F(FileOutput, ByteBlocksGoToTheFileWithTheMarkWhateverTheyHold) {
    const std::u16string name = (m_dir / "block.bin").u16string();
    const unsigned char bytes[] = {0x1F, 0x8B, 0x00, 0x41};
    for (XmlEncoding encoding : {XmlEncoding_UTF8, XmlEncoding_UTF16, XmlEncoding_UTF16_NoDecl, XmlEncoding_None}) {
        CFileBinaryStream stream(name.c_str(), encoding, CBinaryData(bytes, 4, false));
        stream.WriteToFile();
        const bool marked = encoding == XmlEncoding_UTF16 || encoding == XmlEncoding_UTF16_NoDecl;
        EXPECT_EQ(FileBytes(name), std::string(marked ? "\xFF\xFE" : "") + std::string("\x1F\x8B\x00\x41", 4));
    }
}

std::string Inflate(const CBinaryData& data, int windowBits) {
    z_stream zs{};
    EXPECT_EQ(inflateInit2(&zs, windowBits), Z_OK);
    std::string out(1 << 20, '\0');
    zs.next_in = const_cast<unsigned char*>(data.GetData());
    zs.avail_in = data.GetLength();
    zs.next_out = reinterpret_cast<unsigned char*>(out.data());
    zs.avail_out = static_cast<uInt>(out.size());
    EXPECT_EQ(inflate(&zs, Z_FINISH), Z_STREAM_END);
    out.resize(zs.total_out);
    inflateEnd(&zs);
    return out;
}

TEST(Compression, GzipAndZlibFormsInflateBackAndOtherTypesChangeNothing) {
    CTextStream memory(4095, XmlEncoding_UTF8);
    WriteDocument(memory, 500);
    const CBinaryData plain = memory.GetBinaryData();
    struct Case {
        CompressionType type;
        int windowBits;  // 0: stays as it is
    };
    for (const Case& c : {Case{CompressionType_GZip, 31}, Case{CompressionType_ZLib, 15}, Case{CompressionType_None, 0},
                          Case{static_cast<CompressionType>(7), 0}}) {
        CBinaryData data = plain;
        Compress(data, c.type);
        if (c.windowBits == 0) {
            EXPECT_EQ(data, plain);
            continue;
        }
        EXPECT_LT(data.GetLength(), plain.GetLength() / 4);
        EXPECT_EQ(data[0], c.type == CompressionType_GZip ? 0x1F : 0x78);
        EXPECT_EQ(Inflate(data, c.windowBits), Bytes(plain));
    }
    CBinaryData empty;
    Compress(empty, CompressionType_GZip);
    EXPECT_EQ(empty.GetLength(), 0u);
}

TEST(Compression, DataThatDoesNotShrinkIsRefusedAndKept) {
    std::mt19937 random(7);
    std::string noise(300, '\0');
    for (char& c : noise) c = static_cast<char>(random());
    const CBinaryData original(reinterpret_cast<const unsigned char*>(noise.data()), 300, false);
    for (CompressionType type : {CompressionType_GZip, CompressionType_ZLib}) {
        CBinaryData data = original;
        EXPECT_EQ(MessageOf([&] { Compress(data, type); }), "Failed to compress data. [Error Code: 0]");
        EXPECT_EQ(data, original);
    }
    uint32_t size = 3;
    EXPECT_EQ(MessageOf([&] { CompressBuffer(nullptr, &size, CompressionType_GZip); }), "Invalid buffer passed to compression");
}

} // namespace
