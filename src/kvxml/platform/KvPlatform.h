#pragma once

// The one place that knows the operating system. Everything above talks to these calls only,
// which behave as the Windows calls named beside them; no POSIX header is seen above this layer.

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <mutex>

#include "kvxml/platform/KvExport.h"

namespace KvXmlLib16 {

// Broken-down time as the Windows record of that name.
struct SYSTEMTIME {
    uint16_t wYear;
    uint16_t wMonth;
    uint16_t wDayOfWeek;
    uint16_t wDay;
    uint16_t wHour;
    uint16_t wMinute;
    uint16_t wSecond;
    uint16_t wMilliseconds;
};

// 100-nanosecond intervals since 1 January 1601 UTC, as the Windows record of that name.
struct FILETIME {
    uint32_t dwLowDateTime;
    uint32_t dwHighDateTime;
};

namespace Platform {

// ---- Win32 error codes shown in messages ----
constexpr uint32_t KV_ERROR_SUCCESS = 0;
constexpr uint32_t KV_ERROR_FILE_NOT_FOUND = 2;
constexpr uint32_t KV_ERROR_PATH_NOT_FOUND = 3;
constexpr uint32_t KV_ERROR_TOO_MANY_OPEN_FILES = 4;
constexpr uint32_t KV_ERROR_ACCESS_DENIED = 5;
constexpr uint32_t KV_ERROR_INVALID_HANDLE = 6;
constexpr uint32_t KV_ERROR_NOT_ENOUGH_MEMORY = 8;
constexpr uint32_t KV_ERROR_WRITE_PROTECT = 19;
constexpr uint32_t KV_ERROR_GEN_FAILURE = 31;
constexpr uint32_t KV_ERROR_SHARING_VIOLATION = 32;
constexpr uint32_t KV_ERROR_HANDLE_EOF = 38;
constexpr uint32_t KV_ERROR_FILE_EXISTS = 80;
constexpr uint32_t KV_ERROR_INVALID_PARAMETER = 87;
constexpr uint32_t KV_ERROR_DISK_FULL = 112;
constexpr uint32_t KV_ERROR_INVALID_NAME = 123;
constexpr uint32_t KV_ERROR_FILENAME_EXCED_RANGE = 206;
constexpr uint32_t KV_ERROR_IO_INCOMPLETE = 996;
constexpr uint32_t KV_ERROR_IO_PENDING = 997;

// Maps an errno value to its Win32 equivalent.
KVXML_API uint32_t Win32ErrorFromErrno(int err);

// ---- Recursive lock (critical section) ----
class RecursiveLock {
public:
    void Lock() { m_mutex.lock(); }
    void Unlock() { m_mutex.unlock(); }

private:
    std::recursive_mutex m_mutex;
};

// ---- Number scanning over 16-bit wide text, C locale, errno = ERANGE on overflow ----
// Exact 32-bit limits whatever the width of the host's long. Only ASCII white space and digits
// count. When nothing is converted the end is the start of the text and the result 0; a "0x"
// without a hex digit after it converts nothing. The unsigned forms negate after a minus sign.
// A null text or a base outside 0 and 2..36 sets errno to EINVAL and converts nothing.
KVXML_API int32_t WcsToL(const char16_t* text, char16_t** end, int base);     // wcstol
KVXML_API uint32_t WcsToUL(const char16_t* text, char16_t** end, int base);   // wcstoul
KVXML_API int64_t WcsToI64(const char16_t* text, char16_t** end, int base);   // _wcstoi64
KVXML_API uint64_t WcsToUI64(const char16_t* text, char16_t** end, int base); // _wcstoui64
// Decimal form only: no inf/infinity/nan words, no hexadecimal floating point.
KVXML_API double WcsToD(const char16_t* text, char16_t** end); // wcstod
KVXML_API int WcsICmp(const char16_t* a, const char16_t* b);   // _wcsicmp
KVXML_API int WToI(const char16_t* text);                      // _wtoi

// ---- Time conversions ----
// Seconds count from 1970-01-01 00:00:00 UTC. Like the Windows 64-bit calls, only the range
// 1970-01-01 00:00:00 .. 3000-12-31 23:59:59 is served; anything outside fails.
// MkTime64 normalises the fields (and sets tm_wday, tm_yday, tm_isdst) only when it succeeds.
KVXML_API int64_t MkTime64(std::tm* local);             // _mktime64: -1 on failure
KVXML_API int64_t MkGmTime64(std::tm* utc);             // _mkgmtime64: -1 on failure
KVXML_API bool GmTime64(int64_t seconds, std::tm* out); // _gmtime64: false on failure
// Fails as well when the local wall-clock time would fall outside the range.
KVXML_API bool LocalTime64(int64_t seconds, std::tm* out); // _localtime64
// A negative argument gives 0 with errno EINVAL.
KVXML_API double DiffTime64(int64_t later, int64_t earlier); // _difftime64
KVXML_API void GetLocalTime(SYSTEMTIME* out);                // GetLocalTime
// UTC fields of the ticks; false when the top bit of the value is set.
KVXML_API bool FileTimeToSystemTime(const FILETIME* in, SYSTEMTIME* out); // FileTimeToSystemTime

// ---- Memory pages ----
KVXML_API size_t PageSize(); // GetSystemInfo's page size
// Gives the whole pages inside [start, start + length) back to the system while the memory stays
// allocated: their contents read back as zeros (VirtualAlloc with MEM_RESET, without the promise
// to keep the old contents). Best effort: a refusal changes nothing.
KVXML_API void DiscardPages(void* start, size_t length);
// Asks the memory manager to back the range with large pages, before it is first touched: fewer
// faults to fill it, whole pages to give back. A hint: where there are none, nothing changes.
KVXML_API void AdviseLargePages(void* start, size_t length);

// ---- Files ----
// The file API (open for sequential read, exclusive create-and-truncate for write, size,
// reads and writes started at an offset and waited on for their byte count, close) is declared
// in KvFile.h.

} // namespace Platform
} // namespace KvXmlLib16
