#include "kvxml/output/CBinaryStream.h"

#include <limits>
#include <memory>
#include <zlib.h>

#include "kvxml/base/CKvException.h"
#include "kvxml/base/FormatString.h"
#include "kvxml/platform/KvFile.h"

namespace KvXmlLib16 {

namespace {

const unsigned char kUtf16Mark[2] = {0xFF, 0xFE};

bool WantsByteOrderMark(XmlEncoding encoding) {
    return encoding == XmlEncoding_UTF16 || encoding == XmlEncoding_UTF16_NoDecl;
}

// Writes all of count bytes with blocking writes; a short write counts as a disk-full failure.
uint32_t WriteAll(Platform::CPlatformFile& file, const unsigned char* bytes, uint32_t count) {
    uint32_t done = 0;
    const uint32_t error = file.Write(bytes, count, &done);
    if (error != Platform::KV_ERROR_SUCCESS) return error;
    return done == count ? Platform::KV_ERROR_SUCCESS : Platform::KV_ERROR_DISK_FULL;
}

} // namespace

CBinaryStream::CBinaryStream() = default;

CBinaryStream::CBinaryStream(const CBinaryData& data) : m_data(data) {}

CBinaryStream::~CBinaryStream() = default;

CFileBinaryStream::CFileBinaryStream(const char16_t* fileName, XmlEncoding encoding)
    : m_fileName(fileName != nullptr ? fileName : u""), m_encoding(encoding) {}

CFileBinaryStream::CFileBinaryStream(const char16_t* fileName, XmlEncoding encoding, const CBinaryData& data)
    : CBinaryStream(data), m_fileName(fileName != nullptr ? fileName : u""), m_encoding(encoding) {}

CFileBinaryStream::~CFileBinaryStream() = default;

void CFileBinaryStream::WriteToFile() {
    Platform::CPlatformFile file; // closes itself on every path out
    uint32_t error = file.CreateForWrite(m_fileName.c_str());
    if (error == Platform::KV_ERROR_SUCCESS && WantsByteOrderMark(m_encoding)) error = WriteAll(file, kUtf16Mark, 2);
    if (error == Platform::KV_ERROR_SUCCESS && m_data.GetLength() != 0)
        error = WriteAll(file, m_data.GetData(), m_data.GetLength());
    if (error == Platform::KV_ERROR_SUCCESS) error = file.Close();
    if (error != Platform::KV_ERROR_SUCCESS)
        throw CKvException(
            FormatString(u"Failed to write data to the file [%s] error [0x%08X]", m_fileName.c_str(), error));
}

void Compress(CBinaryData& data, CompressionType type) {
    if (data.GetLength() == 0 || (type != CompressionType_GZip && type != CompressionType_ZLib)) return;
    uint32_t size = data.GetLength();
    unsigned char* block = data.ReleaseData();
    try {
        CompressBuffer(&block, &size, type);
    } catch (...) {
        // The input goes back unchanged.
        data = CBinaryData(block, size, true);
        throw;
    }
    data = CBinaryData(block, size, true);
}

void CompressBuffer(unsigned char** buffer, uint32_t* size, CompressionType type) {
    if (type != CompressionType_GZip && type != CompressionType_ZLib) return;
    if (buffer == nullptr || size == nullptr || (*buffer == nullptr && *size != 0))
        throw CKvException(u"Invalid buffer passed to compression");
    static_assert(std::numeric_limits<uInt>::max() >= UINT32_MAX, "zlib counts must hold 32 bits");

    // The output may be no larger than the input: data that does not shrink is refused.
    std::unique_ptr<unsigned char[]> out(new unsigned char[*size == 0 ? 1 : *size]);
    z_stream zs{};
    const int init = type == CompressionType_GZip ? deflateInit2(&zs, 1, Z_DEFLATED, 31, 8, Z_DEFAULT_STRATEGY)
                                                  : deflateInit(&zs, 1);
    if (init != Z_OK) throw CKvException(FormatString(u"Failed to compress data. [Error Code: %d]", init));
    zs.next_in = *buffer;
    zs.avail_in = *size;
    zs.next_out = out.get();
    zs.avail_out = *size;
    deflate(&zs, Z_NO_FLUSH);
    const int result = deflate(&zs, Z_FINISH);
    const uLong total = zs.total_out;
    deflateEnd(&zs);
    if (result != Z_STREAM_END) throw CKvException(FormatString(u"Failed to compress data. [Error Code: %d]", result));

    delete[] * buffer;
    *buffer = out.release();
    *size = static_cast<uint32_t>(total);
}

} // namespace KvXmlLib16
