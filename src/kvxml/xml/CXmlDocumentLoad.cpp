// Loading of files and byte blocks: a file read whole, a file read in chunks with the read of
// the next chunk under the parse of the current one, or a copy of bytes; the whole-file and
// byte paths inflate compressed input first.

#include <atomic>
#include <cstring>
#include <memory>
#include <zlib.h>

#include "kvxml/base/CKvException.h"
#include "kvxml/base/FormatString.h"
#include "kvxml/values/CBinaryData.h"
#include "kvxml/xml/CExpatReader.h"
#include "kvxml/xml/CXmlDocument.h"
#include "kvxml/xml/KvInflate.h"

namespace KvXmlLib16 {

namespace {

// One size for the chunk read, for each of the two buffers and for the short-read test.
constexpr uint32_t kChunkSize = 0x20000;
constexpr uint32_t kInflateWorkSize = 65536;
// Window bits that accept both the zlib and the gzip wrapping.
constexpr int kZlibOrGzipWindow = 47;

std::atomic<bool> g_asyncFromXmlFile{false};

[[noreturn]] void ThrowFileError(const char16_t* format, const char16_t* fileName, uint32_t error) {
    throw CKvException(FormatString(format, fileName != nullptr ? fileName : u"", error));
}

} // namespace

void AsyncFromXmlFile(bool async) { g_asyncFromXmlFile.store(async, std::memory_order_relaxed); }

bool GetAsyncFromXmlFile() { return g_asyncFromXmlFile.load(std::memory_order_relaxed); }

void CXmlDocument::LoadXmlStream(const unsigned char* bytes, uint32_t count) {
    Cleanup();
    if (bytes == nullptr || count == 0) throw CKvException(u"XML Stream is empty!");
    ParseCallerBytes(bytes, count, false);
}

void CXmlDocument::Load(const char16_t* fileName) {
    Cleanup();
    if (GetAsyncFromXmlFile())
        LoadInChunks(fileName);
    else
        LoadWholeFile(fileName);
}

void CXmlDocument::Parse() {
    TryInflate();
    // A Fast Infoset document is told by its opening octets and decoded straight into the tree;
    // anything else is XML text.
    if (ParseFastInfoset()) return;
    PlainParse();
}

bool InflateZlibOrGzip(const unsigned char* bytes, uint32_t size, uint32_t limit, CBinaryData& out) {
    z_stream zs{};
    if (inflateInit2(&zs, kZlibOrGzipWindow) != Z_OK) return false;
    zs.next_in = const_cast<unsigned char*>(bytes);
    zs.avail_in = size;
    int result = Z_OK;
    try {
        std::unique_ptr<unsigned char[]> work(new unsigned char[kInflateWorkSize]);
        do {
            zs.next_out = work.get();
            zs.avail_out = kInflateWorkSize;
            result = inflate(&zs, Z_NO_FLUSH);
            const uint32_t produced = kInflateWorkSize - zs.avail_out;
            if (produced != 0) {
                if (out.GetLength() > limit || produced > limit - out.GetLength())
                    throw CKvException(u"The inflated XML input is larger than 4 GB and cannot be read");
                out.Append(work.get(), produced);
            }
        } while (result == Z_OK);
    } catch (...) {
        inflateEnd(&zs);
        throw;
    }
    inflateEnd(&zs);
    return result == Z_STREAM_END;
}

void CXmlDocument::TryInflate() {
    if (m_inputBuffer == nullptr || m_inputSize == 0) return;
    CBinaryData inflated;
    // UTF-16 files are written with their byte-order mark in front of the compressed stream; the
    // mark is kept in front of the inflated text, which tells the parser its encoding.
    const bool marked = m_inputSize > 2 && m_inputBuffer[0] == 0xFF && m_inputBuffer[1] == 0xFE;
    if (marked) inflated.Append(m_inputBuffer, 2);
    const uint32_t skip = marked ? 2 : 0;
    // Anything but a complete stream is most likely plain text: left to the parser as it is.
    if (!InflateZlibOrGzip(m_inputBuffer + skip, m_inputSize - skip, UINT32_MAX, inflated)) return;
    const uint32_t size = inflated.GetLength();
    unsigned char* bytes = inflated.ReleaseData();
    if (bytes == nullptr) bytes = new unsigned char[1]; // an empty stream inflates to nothing
    FreeInput();
    m_inputBuffer = bytes;
    m_inputSize = size;
}

void CXmlDocument::LoadWholeFile(const char16_t* fileName) {
    ReadWholeFile(fileName);
    Parse();
    if (!m_keepInput) FreeInput();
}

void CXmlDocument::ReadWholeFile(const char16_t* fileName) {
    Platform::CPlatformFile file; // closed on every way out
    uint32_t error = file.OpenForRead(fileName);
    if (error != Platform::KV_ERROR_SUCCESS)
        ThrowFileError(u"Failed to open the file [%s] Error [0x%08x]", fileName, error);
    uint64_t size = 0;
    error = file.GetSize(&size);
    if (error != Platform::KV_ERROR_SUCCESS)
        ThrowFileError(u"Failed to get the size of the file [%s] Error [0x%08x]", fileName, error);
    if (size > UINT32_MAX) throw CKvException(u"The XML input is larger than 4 GB and cannot be read");
    const uint32_t count = static_cast<uint32_t>(size);
    m_inputBuffer = new unsigned char[count != 0 ? count : 1];
    m_inputSize = count;
    uint32_t done = 0;
    error = file.Read(m_inputBuffer, count, &done);
    // A file that shrank since its size was taken reads short: a failure like any other.
    if (error == Platform::KV_ERROR_SUCCESS && done != count) error = Platform::KV_ERROR_HANDLE_EOF;
    if (error != Platform::KV_ERROR_SUCCESS)
        ThrowFileError(u"Failed to read the contents of the file [%s] Error [0x%08x]", fileName, error);
    file.Close();
}

bool CXmlDocument::ReadChunkFromFile(unsigned char* buffer) {
    m_fileOperation.Reset();
    const uint32_t error = m_file->StartRead(&m_fileOperation, m_fileOffset, buffer, kChunkSize);
    if (error == Platform::KV_ERROR_SUCCESS || error == Platform::KV_ERROR_IO_PENDING) return false;
    if (error == Platform::KV_ERROR_HANDLE_EOF) return true;
    m_file->Close();
    throw CKvException(FormatString(u"Failed to read the contents of the file. Error [0x%08x]", error));
}

void CXmlDocument::LoadInChunks(const char16_t* fileName) {
    Platform::CPlatformFile file; // closed on every way out
    const uint32_t error = file.OpenForRead(fileName);
    if (error != Platform::KV_ERROR_SUCCESS)
        ThrowFileError(u"Failed to open the file [%s] Error [0x%08x]", fileName, error);
    m_file = &file;
    m_fileOffset = 0;
    try {
        m_inputBuffer = new unsigned char[kChunkSize];
        m_inputSize = 0;
        ReadChunkFromFile(m_inputBuffer);
        // The wait reports the end of the file again when the read met it, so an empty file
        // fails here and not at the parser.
        uint32_t count = 0;
        const uint32_t waited = m_file->WaitForOperation(&m_fileOperation, &count, true);
        if (waited == Platform::KV_ERROR_HANDLE_EOF)
            ThrowFileError(u"Failed to read the contents of the file [%s] Error [0x%08x]", fileName, waited);
        if (waited != Platform::KV_ERROR_SUCCESS) count = 0;
        m_fileOffset += count;
        m_inputSize = count;
        AsyncParse(count < kChunkSize);
    } catch (...) {
        // The tree of a failed chunked load goes with the failure.
        Cleanup();
        delete[] m_spareBuffer;
        m_spareBuffer = nullptr;
        m_file = nullptr;
        throw;
    }
    m_file = nullptr;
}

void CXmlDocument::AsyncParse(bool lastChunk) {
    CExpatReader reader(this);
    reader.Initialise();
    m_spareBuffer = new unsigned char[kChunkSize];
    while (!lastChunk) {
        ReadChunkFromFile(m_spareBuffer);
        reader.ParseBuffer(false);
        uint32_t count = 0;
        const uint32_t waited = m_file->WaitForOperation(&m_fileOperation, &count, true);
        // A file whose length is a multiple of the chunk size ends here too: its last full
        // read was not short, so the next one meets the end of the file.
        if (waited == Platform::KV_ERROR_HANDLE_EOF)
            throw CKvException(FormatString(u"Failed to read the contents of the file. Error [0x%08x]", waited));
        if (waited != Platform::KV_ERROR_SUCCESS) count = 0;
        std::swap(m_inputBuffer, m_spareBuffer);
        m_fileOffset += count;
        m_inputSize = count;
        lastChunk = count < kChunkSize;
    }
    reader.ParseBuffer(true);
    if (m_documentElement == nullptr) throw CKvException(u"Invalid or empty XML document");
    FreeInput();
    delete[] m_spareBuffer;
    m_spareBuffer = nullptr;
    m_file->Close();
}

} // namespace KvXmlLib16
