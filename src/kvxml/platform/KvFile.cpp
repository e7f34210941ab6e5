// POSIX files behind the Win32-shaped file calls. Started transfers complete at once, inside
// the start; the start/wait pair still works as the overlapped calls do, so callers written
// for real overlap keep their shape. Sharing is enforced among users of this library by
// advisory whole-file locks: readers share, a writer excludes everyone.

#include "kvxml/platform/KvFile.h"

#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace KvXmlLib16 {
namespace Platform {

namespace {

// UTF-8 form of a UTF-16 file name. A lone surrogate has no UTF-8 form and makes the name invalid.
uint32_t NameToUtf8(const char16_t* name, std::string* out) {
    if (name == nullptr) return KV_ERROR_INVALID_PARAMETER;
    out->clear();
    for (const char16_t* p = name; *p != 0; ++p) {
        uint32_t c = *p;
        if (c >= 0xD800 && c <= 0xDBFF) {
            if (p[1] < 0xDC00 || p[1] > 0xDFFF) return KV_ERROR_INVALID_NAME;
            c = 0x10000 + ((c - 0xD800) << 10) + (uint32_t(p[1]) - 0xDC00);
            ++p;
        } else if (c >= 0xDC00 && c <= 0xDFFF) {
            return KV_ERROR_INVALID_NAME;
        }
        if (c < 0x80) {
            out->push_back(static_cast<char>(c));
        } else if (c < 0x800) {
            out->push_back(static_cast<char>(0xC0 | (c >> 6)));
            out->push_back(static_cast<char>(0x80 | (c & 0x3F)));
        } else if (c < 0x10000) {
            out->push_back(static_cast<char>(0xE0 | (c >> 12)));
            out->push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
            out->push_back(static_cast<char>(0x80 | (c & 0x3F)));
        } else {
            out->push_back(static_cast<char>(0xF0 | (c >> 18)));
            out->push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
            out->push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
            out->push_back(static_cast<char>(0x80 | (c & 0x3F)));
        }
    }
    return KV_ERROR_SUCCESS;
}

// Take the advisory lock without waiting. A held lock is a sharing violation; a file system
// without locks is used unlocked rather than refused.
uint32_t TakeLock(int fd, int kind) {
    while (flock(fd, kind | LOCK_NB) != 0) {
        if (errno == EINTR) continue;
        if (errno == EWOULDBLOCK) return KV_ERROR_SHARING_VIOLATION;
        return KV_ERROR_SUCCESS;
    }
    return KV_ERROR_SUCCESS;
}

// The code of a failed open. A missing directory on the way is not a missing file to Windows.
uint32_t OpenError(int err, const std::string& name) {
    if (err != ENOENT) return Win32ErrorFromErrno(err);
    const size_t slash = name.find_last_of('/');
    if (slash == std::string::npos || slash == 0) return KV_ERROR_FILE_NOT_FOUND;
    struct stat st {};
    if (stat(name.substr(0, slash).c_str(), &st) != 0 && errno == ENOENT) return KV_ERROR_PATH_NOT_FOUND;
    return KV_ERROR_FILE_NOT_FOUND;
}

uint32_t CloseDescriptor(int fd) {
    // The descriptor is gone after close even when it reports EINTR; never close twice.
    if (close(fd) != 0 && errno != EINTR) return Win32ErrorFromErrno(errno);
    return KV_ERROR_SUCCESS;
}

// Read until count bytes or the end of the file; offset < 0 means the current position.
uint32_t ReadFully(int fd, unsigned char* buffer, uint32_t count, int64_t offset, uint32_t* done) {
    uint32_t total = 0;
    while (total < count) {
        const ssize_t n = offset < 0 ? read(fd, buffer + total, count - total)
                                     : pread(fd, buffer + total, count - total, off_t(offset + total));
        if (n < 0) {
            if (errno == EINTR) continue;
            *done = total;
            return Win32ErrorFromErrno(errno);
        }
        if (n == 0) break;
        total += static_cast<uint32_t>(n);
    }
    *done = total;
    return KV_ERROR_SUCCESS;
}

uint32_t WriteFully(int fd, const unsigned char* buffer, uint32_t count, int64_t offset, uint32_t* done) {
    uint32_t total = 0;
    while (total < count) {
        const ssize_t n = offset < 0 ? write(fd, buffer + total, count - total)
                                     : pwrite(fd, buffer + total, count - total, off_t(offset + total));
        if (n < 0) {
            if (errno == EINTR) continue;
            *done = total;
            return Win32ErrorFromErrno(errno);
        }
        if (n == 0) {
            *done = total;
            return KV_ERROR_DISK_FULL;
        }
        total += static_cast<uint32_t>(n);
    }
    *done = total;
    return KV_ERROR_SUCCESS;
}

} // namespace

CPlatformFile::~CPlatformFile() { Close(); }

CPlatformFile::CPlatformFile(CPlatformFile&& other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}

CPlatformFile& CPlatformFile::operator=(CPlatformFile&& other) noexcept {
    if (this != &other) {
        Close();
        m_fd = std::exchange(other.m_fd, -1);
    }
    return *this;
}

uint32_t CPlatformFile::OpenForRead(const char16_t* fileName) {
    Close();
    std::string name;
    if (const uint32_t err = NameToUtf8(fileName, &name)) return err;

    int fd;
    do {
        fd = open(name.c_str(), O_RDONLY | O_CLOEXEC);
    } while (fd < 0 && errno == EINTR);
    if (fd < 0) return OpenError(errno, name);

    // A directory opens for reading on POSIX but not as a file on Windows.
    struct stat st {};
    if (fstat(fd, &st) != 0 || S_ISDIR(st.st_mode)) {
        const uint32_t err = S_ISDIR(st.st_mode) ? KV_ERROR_ACCESS_DENIED : Win32ErrorFromErrno(errno);
        CloseDescriptor(fd);
        return err;
    }
    if (const uint32_t err = TakeLock(fd, LOCK_SH)) {
        CloseDescriptor(fd);
        return err;
    }
    posix_fadvise(fd, 0, 0, POSIX_FADV_SEQUENTIAL);
    m_fd = fd;
    return KV_ERROR_SUCCESS;
}

uint32_t CPlatformFile::CreateForWrite(const char16_t* fileName) {
    Close();
    std::string name;
    if (const uint32_t err = NameToUtf8(fileName, &name)) return err;

    // Truncation waits until the lock is held, so a refused open leaves the content intact.
    int fd;
    do {
        fd = open(name.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
    } while (fd < 0 && errno == EINTR);
    if (fd < 0) return OpenError(errno, name);

    if (const uint32_t err = TakeLock(fd, LOCK_EX)) {
        CloseDescriptor(fd);
        return err;
    }
    struct stat st {};
    if (fstat(fd, &st) != 0) {
        const uint32_t err = Win32ErrorFromErrno(errno);
        CloseDescriptor(fd);
        return err;
    }
    if (S_ISREG(st.st_mode) && st.st_size != 0) {
        int rc;
        do {
            rc = ftruncate(fd, 0);
        } while (rc != 0 && errno == EINTR);
        if (rc != 0) {
            const uint32_t err = Win32ErrorFromErrno(errno);
            CloseDescriptor(fd);
            return err;
        }
    }
    m_fd = fd;
    return KV_ERROR_SUCCESS;
}

uint32_t CPlatformFile::GetSize(uint64_t* size) const {
    if (size == nullptr) return KV_ERROR_INVALID_PARAMETER;
    if (m_fd < 0) return KV_ERROR_INVALID_HANDLE;
    struct stat st {};
    if (fstat(m_fd, &st) != 0) return Win32ErrorFromErrno(errno);
    *size = static_cast<uint64_t>(st.st_size);
    return KV_ERROR_SUCCESS;
}

uint32_t CPlatformFile::Read(void* buffer, uint32_t count, uint32_t* done) {
    if (done == nullptr || (buffer == nullptr && count != 0)) return KV_ERROR_INVALID_PARAMETER;
    *done = 0;
    if (m_fd < 0) return KV_ERROR_INVALID_HANDLE;
    return ReadFully(m_fd, static_cast<unsigned char*>(buffer), count, -1, done);
}

uint32_t CPlatformFile::Write(const void* buffer, uint32_t count, uint32_t* done) {
    if (done == nullptr || (buffer == nullptr && count != 0)) return KV_ERROR_INVALID_PARAMETER;
    *done = 0;
    if (m_fd < 0) return KV_ERROR_INVALID_HANDLE;
    return WriteFully(m_fd, static_cast<const unsigned char*>(buffer), count, -1, done);
}

uint32_t CPlatformFile::StartRead(CFileOperation* operation, uint64_t offset, void* buffer, uint32_t count) {
    if (operation == nullptr || (buffer == nullptr && count != 0) || offset > uint64_t(INT64_MAX))
        return KV_ERROR_INVALID_PARAMETER;
    if (m_fd < 0) return KV_ERROR_INVALID_HANDLE;
    operation->m_offset = offset;
    operation->m_transferred = 0;
    operation->m_buffer = nullptr;
    operation->m_requested = 0;
    struct stat info;
    if (fstat(m_fd, &info) != 0) return operation->m_status = Win32ErrorFromErrno(errno);
    if (count != 0 && S_ISREG(info.st_mode) && offset >= uint64_t(info.st_size))
        return operation->m_status = KV_ERROR_HANDLE_EOF;
    if (count == 0 || !S_ISREG(info.st_mode)) return operation->m_status = CompleteRead(operation, buffer, count);
    // The kernel starts reading the range into its cache now; the copy into the buffer happens
    // at the wait, so the caller's work in between overlaps the disk.
    posix_fadvise(m_fd, off_t(offset), off_t(count), POSIX_FADV_WILLNEED);
    operation->m_buffer = buffer;
    operation->m_requested = count;
    return operation->m_status = KV_ERROR_IO_PENDING;
}

uint32_t CPlatformFile::CompleteRead(CFileOperation* operation, void* buffer, uint32_t count) {
    uint32_t done = 0;
    uint32_t status = ReadFully(m_fd, static_cast<unsigned char*>(buffer), count, int64_t(operation->m_offset), &done);
    // Nothing at all to read where bytes were asked for: the end of the file.
    if (status == KV_ERROR_SUCCESS && done == 0 && count != 0) status = KV_ERROR_HANDLE_EOF;
    operation->m_transferred = status == KV_ERROR_SUCCESS ? done : 0;
    return status;
}

uint32_t CPlatformFile::StartWrite(CFileOperation* operation, uint64_t offset, const void* buffer, uint32_t count) {
    if (operation == nullptr || (buffer == nullptr && count != 0) || offset > uint64_t(INT64_MAX) ||
        count > uint64_t(INT64_MAX) - offset)
        return KV_ERROR_INVALID_PARAMETER;
    if (m_fd < 0) return KV_ERROR_INVALID_HANDLE;
    operation->m_offset = offset;
    uint32_t done = 0;
    const uint32_t status = WriteFully(m_fd, static_cast<const unsigned char*>(buffer), count, int64_t(offset), &done);
    operation->m_status = status;
    operation->m_transferred = done;
    return status;
}

uint32_t CPlatformFile::WaitForOperation(CFileOperation* operation, uint32_t* transferred, bool wait) {
    if (operation == nullptr || transferred == nullptr) return KV_ERROR_INVALID_PARAMETER;
    if (operation->m_status == KV_ERROR_IO_PENDING) {
        if (!wait) {
            *transferred = 0;
            return KV_ERROR_IO_INCOMPLETE;
        }
        if (operation->m_buffer == nullptr || m_fd < 0) {
            operation->m_status = KV_ERROR_INVALID_HANDLE;
        } else {
            operation->m_status = CompleteRead(operation, operation->m_buffer, operation->m_requested);
            operation->m_buffer = nullptr;
        }
    }
    *transferred = operation->m_transferred;
    return operation->m_status;
}

uint32_t CPlatformFile::Close() {
    if (m_fd < 0) return KV_ERROR_SUCCESS;
    const int fd = std::exchange(m_fd, -1);
    return CloseDescriptor(fd);
}

} // namespace Platform
} // namespace KvXmlLib16
