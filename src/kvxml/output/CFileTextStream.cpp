#include "kvxml/output/CFileTextStream.h"

#include <atomic>

#include "kvxml/base/CKvException.h"
#include "kvxml/base/FormatString.h"

namespace KvXmlLib16 {

namespace {

const unsigned char kUtf16Mark[2] = {0xFF, 0xFE};

std::atomic<bool> g_asyncToXmlFile{false};

} // namespace

void AsyncToXmlFile(bool async) { g_asyncToXmlFile.store(async, std::memory_order_relaxed); }

bool GetAsyncToXmlFile() { return g_asyncToXmlFile.load(std::memory_order_relaxed); }

CFileTextStream::CFileTextStream(const char16_t* fileName, XmlEncoding encoding)
    : CTextStream(4095, encoding), m_fileName(fileName != nullptr ? fileName : u""), m_expected(0), m_filePosition(0) {}

CFileTextStream::~CFileTextStream() { m_file.Close(); }

void CFileTextStream::Open() {
    CTextStream::Open();
    m_file.Close();
    const uint32_t error = m_file.CreateForWrite(m_fileName.c_str());
    if (error != Platform::KV_ERROR_SUCCESS)
        throw CKvException(
            FormatString(u"Failed to write data to the file [%s] error [0x%08X]", m_fileName.c_str(), error));
    m_operation.Reset();
    m_expected = 0;
    m_filePosition = 0;
    m_writeBuffer.Clear();
    if (m_encoding == XmlEncoding_UTF16 || m_encoding == XmlEncoding_UTF16_NoDecl) {
        const uint32_t started = m_file.StartWrite(&m_operation, 0, kUtf16Mark, 2);
        if (started != Platform::KV_ERROR_SUCCESS && started != Platform::KV_ERROR_IO_PENDING) {
            m_file.Close();
            throw CKvException(
                FormatString(u"Failed to write data to the file [%s] error [0x%08X]", m_fileName.c_str(), started));
        }
        m_expected = 2;
    }
}

void CFileTextStream::FailWrite(uint32_t error) {
    m_file.Close();
    throw CKvException(FormatString(u"Failed to write data to the file. Error [0x%08X]", error));
}

void CFileTextStream::WaitForWrite() {
    if (!m_file.IsOpen()) FailWrite(Platform::KV_ERROR_INVALID_HANDLE);
    uint32_t transferred = 0;
    uint32_t error = m_file.WaitForOperation(&m_operation, &transferred, true);
    // A write that stops short has met a full disk.
    if (error == Platform::KV_ERROR_SUCCESS && transferred != m_expected) error = Platform::KV_ERROR_DISK_FULL;
    if (error != Platform::KV_ERROR_SUCCESS && error != Platform::KV_ERROR_IO_PENDING) FailWrite(error);
    m_filePosition += transferred;
    m_operation.Reset();
    m_expected = 0;
}

void CFileTextStream::StartWrite(const unsigned char* bytes, uint32_t count) {
    const uint32_t error = m_file.StartWrite(&m_operation, m_filePosition, bytes, count);
    if (error != Platform::KV_ERROR_SUCCESS && error != Platform::KV_ERROR_IO_PENDING) FailWrite(error);
    m_expected = count;
}

void CFileTextStream::Flush() {
    if (m_buffer.GetTotal() == 0) return;
    WaitForWrite();
    // The previous bytes are released here, now that their write is over.
    try {
        m_writeBuffer = GetBinaryData();
    } catch (...) {
        // Text that has no bytes (no encoding chosen) ends the file like a failed write.
        m_file.Close();
        throw;
    }
    if (m_writeBuffer.GetLength() != 0) StartWrite(m_writeBuffer.GetData(), m_writeBuffer.GetLength());
    CTextStream::Open();
}

void CFileTextStream::Close() {
    Flush();
    WaitForWrite();
    m_writeBuffer.Clear();
    const uint32_t error = m_file.Close();
    if (error != Platform::KV_ERROR_SUCCESS) FailWrite(error);
}

} // namespace KvXmlLib16
