#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>

#include "kvxml/platform/KvPlatform.h"

namespace KvXmlLib16::Platform {

namespace {

// Applies advice to the whole pages of the given size inside the range.
void Advise(void* start, size_t length, size_t page, int advice) {
    const uintptr_t from = (reinterpret_cast<uintptr_t>(start) + page - 1) & ~(page - 1);
    const uintptr_t to = (reinterpret_cast<uintptr_t>(start) + length) & ~(page - 1);
    if (to > from) madvise(reinterpret_cast<void*>(from), to - from, advice);
}

} // namespace

size_t PageSize() {
    static const size_t size = [] {
        const long value = sysconf(_SC_PAGESIZE);
        return value > 0 ? static_cast<size_t>(value) : static_cast<size_t>(4096);
    }();
    return size;
}

void DiscardPages(void* start, size_t length) { Advise(start, length, PageSize(), MADV_DONTNEED); }

void AdviseLargePages(void* start, size_t length) {
    // The size of the large pages of the memory manager, 2 MiB where it does not say.
    static const size_t page = [] {
        size_t size = static_cast<size_t>(2) << 20;
        if (std::FILE* file = std::fopen("/sys/kernel/mm/transparent_hugepage/hpage_pmd_size", "r")) {
            unsigned long value = 0;
            if (std::fscanf(file, "%lu", &value) == 1 && value >= 4096 && (value & (value - 1)) == 0) size = value;
            std::fclose(file);
        }
        return size;
    }();
    Advise(start, length, page, MADV_HUGEPAGE);
}

} // namespace KvXmlLib16::Platform
