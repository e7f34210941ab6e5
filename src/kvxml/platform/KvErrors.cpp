// Translation of POSIX errno values into the Win32 codes that the library's messages show.

#include "kvxml/platform/KvPlatform.h"

#include <cerrno>

namespace KvXmlLib16 {
namespace Platform {

// errno            Win32 code
// 0                0    ERROR_SUCCESS
// ENOENT           2    ERROR_FILE_NOT_FOUND
// ENOTDIR          3    ERROR_PATH_NOT_FOUND
// EMFILE, ENFILE   4    ERROR_TOO_MANY_OPEN_FILES
// EACCES, EPERM,
// EISDIR           5    ERROR_ACCESS_DENIED
// EBADF            6    ERROR_INVALID_HANDLE
// ENOMEM           8    ERROR_NOT_ENOUGH_MEMORY
// ENODEV           15   ERROR_INVALID_DRIVE
// EXDEV            17   ERROR_NOT_SAME_DEVICE
// EROFS            19   ERROR_WRITE_PROTECT
// ETXTBSY          32   ERROR_SHARING_VIOLATION
// ENOLCK           36   ERROR_SHARING_BUFFER_EXCEEDED
// ENOSYS, ENOTSUP,
// EOPNOTSUPP       50   ERROR_NOT_SUPPORTED
// EEXIST           80   ERROR_FILE_EXISTS
// EINVAL, ERANGE   87   ERROR_INVALID_PARAMETER
// EPIPE            109  ERROR_BROKEN_PIPE
// ENOSPC           112  ERROR_DISK_FULL
// ESPIPE           132  ERROR_SEEK_ON_DEVICE
// ENOTEMPTY        145  ERROR_DIR_NOT_EMPTY
// EBUSY, EAGAIN    170  ERROR_BUSY
// ENAMETOOLONG     206  ERROR_FILENAME_EXCED_RANGE
// EFBIG            223  ERROR_FILE_TOO_LARGE
// EINTR, ECANCELED 995  ERROR_OPERATION_ABORTED
// EFAULT           998  ERROR_NOACCESS
// EIO              1117 ERROR_IO_DEVICE
// EMLINK           1142 ERROR_TOO_MANY_LINKS
// EDQUOT           1295 ERROR_DISK_QUOTA_EXCEEDED
// ETIMEDOUT        1460 ERROR_TIMEOUT
// EILSEQ           1113 ERROR_NO_UNICODE_TRANSLATION
// ELOOP            1921 ERROR_CANT_RESOLVE_FILENAME
// anything else    31   ERROR_GEN_FAILURE
uint32_t Win32ErrorFromErrno(int err) {
    switch (err) {
    case 0: return KV_ERROR_SUCCESS;
    case ENOENT: return KV_ERROR_FILE_NOT_FOUND;
    case ENOTDIR: return KV_ERROR_PATH_NOT_FOUND;
    case EMFILE:
    case ENFILE: return KV_ERROR_TOO_MANY_OPEN_FILES;
    case EACCES:
    case EPERM:
    case EISDIR: return KV_ERROR_ACCESS_DENIED;
    case EBADF: return KV_ERROR_INVALID_HANDLE;
    case ENOMEM: return KV_ERROR_NOT_ENOUGH_MEMORY;
    case ENODEV: return 15;
    case EXDEV: return 17;
    case EROFS: return KV_ERROR_WRITE_PROTECT;
    case ETXTBSY: return KV_ERROR_SHARING_VIOLATION;
    case ENOLCK: return 36;
    case ENOSYS:
#if defined(ENOTSUP) && ENOTSUP != EOPNOTSUPP
    case ENOTSUP:
#endif
    case EOPNOTSUPP: return 50;
    case EEXIST: return KV_ERROR_FILE_EXISTS;
    case EINVAL:
    case ERANGE: return KV_ERROR_INVALID_PARAMETER;
    case EPIPE: return 109;
    case ENOSPC: return KV_ERROR_DISK_FULL;
    case ESPIPE: return 132;
    case ENOTEMPTY: return 145;
    case EBUSY:
#if EWOULDBLOCK != EAGAIN
    case EWOULDBLOCK:
#endif
    case EAGAIN: return 170;
    case ENAMETOOLONG: return KV_ERROR_FILENAME_EXCED_RANGE;
    case EFBIG: return 223;
    case EINTR:
    case ECANCELED: return 995;
    case EFAULT: return 998;
    case EIO: return 1117;
    case EMLINK: return 1142;
    case EDQUOT: return 1295;
    case ETIMEDOUT: return 1460;
    case EILSEQ: return 1113;
    case ELOOP: return 1921;
    default: return KV_ERROR_GEN_FAILURE;
    }
}

} // namespace Platform
} // namespace KvXmlLib16
