#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>

#include "kvxml/platform/KvPlatform.h"

namespace KvXmlLib16::Platform {

size_t PageSize() {
    static const size_t size = [] {
        const long value = sysconf(_SC_PAGESIZE);
        return value > 0 ? static_cast<size_t>(value) : static_cast<size_t>(4096);
    }();
    return size;
}

void DiscardPages(void* start, size_t length) {
    const size_t page = PageSize();
    const uintptr_t from = (reinterpret_cast<uintptr_t>(start) + page - 1) & ~(page - 1);
    const uintptr_t to = (reinterpret_cast<uintptr_t>(start) + length) & ~(page - 1);
    if (to > from) madvise(reinterpret_cast<void*>(from), to - from, MADV_DONTNEED);
}

} // namespace KvXmlLib16::Platform
