#pragma once

// Files as the library needs them: a shared open for sequential reading, an exclusive
// create-and-truncate open for writing, the size, blocking reads and writes, and reads and
// writes started at a 64-bit offset that are later waited on for their byte count.
// Every operation returns a Win32 error code (0 on success), as GetLastError would give it.

#include <cstdint>

#include "kvxml/platform/KvPlatform.h"

namespace KvXmlLib16 {
namespace Platform {

// The record of one started read or write, in the role of an OVERLAPPED record with its
// event. A fresh or reset record waits as a finished operation of 0 bytes.
class KVXML_API CFileOperation {
public:
    // Forget the previous operation, as zeroing the record does.
    void Reset() {
        m_status = KV_ERROR_SUCCESS;
        m_transferred = 0;
        m_offset = 0;
        m_buffer = nullptr;
        m_requested = 0;
    }
    uint64_t GetOffset() const { return m_offset; }

private:
    friend class CPlatformFile;
    uint32_t m_status = KV_ERROR_SUCCESS; // outcome as a Win32 code; 997 while running
    uint32_t m_transferred = 0;           // bytes moved by the finished operation
    uint64_t m_offset = 0;                // where the operation started
    void* m_buffer = nullptr;             // destination of a read still running
    uint32_t m_requested = 0;             // bytes asked for by a read still running
};

// Exported because exported classes may hold one by value.
class KVXML_API CPlatformFile {
public:
    CPlatformFile() = default;
    ~CPlatformFile();
    CPlatformFile(const CPlatformFile&) = delete;
    CPlatformFile& operator=(const CPlatformFile&) = delete;
    CPlatformFile(CPlatformFile&& other) noexcept;
    CPlatformFile& operator=(CPlatformFile&& other) noexcept;

    // Open an existing file for reading, others may read it too (read access, share read,
    // open existing, sequential scan). A directory is refused with 5.
    uint32_t OpenForRead(const char16_t* fileName);
    // Create the file, or truncate it when it exists, for writing by this handle alone
    // (write access, no sharing, create always). An open of the same file by this library
    // elsewhere, for reading or writing, fails with 32 and leaves its content alone.
    uint32_t CreateForWrite(const char16_t* fileName);

    bool IsOpen() const { return m_fd >= 0; }

    // Size in bytes.
    uint32_t GetSize(uint64_t* size) const;

    // Blocking transfer at the current position, which moves on by the count. A read at the
    // end of the file succeeds with 0 bytes, as a synchronous ReadFile does.
    uint32_t Read(void* buffer, uint32_t count, uint32_t* done);
    uint32_t Write(const void* buffer, uint32_t count, uint32_t* done);

    // Start a transfer at an offset; the current position is not used nor moved. The buffer
    // must stay valid until the operation has been waited on. Results:
    //   0   finished already (wait for the count all the same),
    //   997 started and running,
    //   38  a read at or after the end of the file (waiting reports 38 again),
    //   other codes: failure, nothing was started.
    uint32_t StartRead(CFileOperation* operation, uint64_t offset, void* buffer, uint32_t count);
    uint32_t StartWrite(CFileOperation* operation, uint64_t offset, const void* buffer, uint32_t count);
    // The outcome of the started operation and its byte count, as GetOverlappedResult.
    // Without waiting, a running operation reports 996.
    uint32_t WaitForOperation(CFileOperation* operation, uint32_t* transferred, bool wait = true);

    // Close the file; closing a closed file does nothing and succeeds.
    uint32_t Close();

private:
    // The copy of a started read into its buffer, at the offset the operation holds.
    uint32_t CompleteRead(CFileOperation* operation, void* buffer, uint32_t count);

    int m_fd = -1;
};

} // namespace Platform
} // namespace KvXmlLib16
