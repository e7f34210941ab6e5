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
#include "support/KvTestBytes.h"
#include "support/KvTestText.h"

using namespace KvXmlLib16;
using KvTest::FileBytes;
using KvTest::MessageOf;

namespace {

namespace fs = std::filesystem;

const ItemType kString = static_cast<ItemType>(23);

std::string Bytes(const CBinaryData& data) {
    return data.GetLength() ? std::string(reinterpret_cast<const char*>(data.GetData()), data.GetLength())
                            : std::string();
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
        writer.WriteElementText(u"a\u00E9\u5C71\U0001F600 " + std::u16string(static_cast<size_t>(i % 50), u'x'),
                                kString, false);
        writer.WriteEndElement();
    }
    writer.WriteEndElement();
    stream.Close();
}

TEST(FileOutput, FilesHoldTheMarkAndTheBytesOfTheEncodingOnBothRoutes) {
    const fs::path path = fs::temp_directory_path() / "kvxml_file_output.xml";
    const std::u16string name = path.u16string();
    for (XmlEncoding encoding : {XmlEncoding_UTF8, XmlEncoding_UTF16, XmlEncoding_UTF16_NoDecl})
        for (int elements : {0, 3, 2000}) { // one write from Close, and many flushes
            CTextStream memory(4095, encoding);
            WriteDocument(memory, elements);
            const std::string expected =
                (encoding == XmlEncoding_UTF8 ? "" : "\xFF\xFE") + Bytes(memory.GetBinaryData());
            CFileTextStream streamed(name.c_str(), encoding);
            WriteDocument(streamed, elements);
            EXPECT_FALSE(streamed.IsOpen());
            EXPECT_EQ(FileBytes(path), expected) << encoding << " " << elements;
            CFileBinaryStream(name.c_str(), encoding, memory.GetBinaryData()).WriteToFile();
            EXPECT_EQ(FileBytes(path), expected) << encoding << " " << elements;
        }
    // No encoding chosen: the text has no bytes, at the first flush or at Close; the file is closed.
    for (int elements : {1, 2000}) {
        CFileTextStream unknown(name.c_str(), XmlEncoding_None);
        EXPECT_EQ(MessageOf([&] { WriteDocument(unknown, elements); }),
                  "Unknown Encoding, select UTF-8 (contact our support team)");
        EXPECT_FALSE(unknown.IsOpen());
    }
    fs::remove(path);
}

TEST(Compression, GzipAndZlibInflateBackOtherTypesChangeNothingAndNoiseIsRefused) {
    CTextStream memory(4095, XmlEncoding_UTF8);
    WriteDocument(memory, 500);
    const CBinaryData plain = memory.GetBinaryData();
    // clang-format off
    const std::pair<CompressionType, int> cases[] = {   // window bits of the form; 0: left as it is
        {CompressionType_GZip, 31}, {CompressionType_ZLib, 15}, {CompressionType_None, 0}, {CompressionType(7), 0}};
    // clang-format on
    for (const auto& [type, windowBits] : cases) {
        CBinaryData data = plain;
        Compress(data, type);
        EXPECT_EQ(windowBits ? KvTest::Inflate(KvTest::Content(data), windowBits) : KvTest::Content(data),
                  KvTest::Content(plain))
            << type;
        EXPECT_TRUE(windowBits == 0 || data.GetLength() < plain.GetLength() / 4);
    }
    std::mt19937 random(7);
    std::string noise(300, '\0');
    for (char& c : noise) c = static_cast<char>(random());
    const CBinaryData original(reinterpret_cast<const unsigned char*>(noise.data()), 300, false);
    for (CompressionType type : {CompressionType_GZip, CompressionType_ZLib}) {
        CBinaryData data = original;
        EXPECT_EQ(MessageOf([&] { Compress(data, type); }), "Failed to compress data. [Error Code: 0]");
        EXPECT_EQ(data, original);
    }
}

} // namespace
