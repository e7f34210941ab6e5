#pragma once

#include <cstdint>
#include <string>

#include "kvxml/output/CTextStream.h"
#include "kvxml/platform/KvExport.h"
#include "kvxml/platform/KvFile.h"
#include "kvxml/values/CBinaryData.h"

namespace KvXmlLib16 {

// Process-wide choice of the route of ToXmlFile without compression: the whole document in
// memory, then one write (off, the default), or streamed to the file while it is produced (on).
KVXML_API void AsyncToXmlFile(bool async);
KVXML_API bool GetAsyncToXmlFile();

// Text stream that goes to a file while it is being produced: each flush converts the text
// held so far to bytes and starts their write, while the writer fills the text buffer again.
// At most one write is in flight; a flush waits for the previous one first.
class KVXML_API CFileTextStream : public CTextStream {
public:
    CFileTextStream(const char16_t* fileName, XmlEncoding encoding);
    // Closes what is still open without waiting for anything: a stream abandoned by an
    // exception leaves a partial file and no handle.
    ~CFileTextStream() override;

    // Creates (or truncates) the file; UTF-16 encodings start it with the byte-order mark.
    void Open() override;
    // Writes what is left and waits for the last write; the file is complete afterwards.
    void Close() override;
    void Flush() override;

    bool IsOpen() const { return m_file.IsOpen(); }

private:
    // Waits for the write in flight and counts its bytes in the file position.
    void WaitForWrite();
    void StartWrite(const unsigned char* bytes, uint32_t count);
    [[noreturn]] void FailWrite(uint32_t error);

    std::u16string m_fileName;
    CBinaryData m_writeBuffer;            // bytes of the write in flight, kept alive until it ends
    Platform::CFileOperation m_operation; // the write in flight
    uint32_t m_expected;                  // its byte count
    uint64_t m_filePosition;              // bytes written by completed writes
    Platform::CPlatformFile m_file;
};

} // namespace KvXmlLib16
