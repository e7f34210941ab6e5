#include <sys/mman.h>

#include <cstdint>

#include "kvxml/platform/KvPlatform.h"

namespace KvXmlLib16::Platform {

namespace {

// The transparent huge pages of x86-64 and most other Linux targets.
constexpr size_t kLargePage = 2 * 1024 * 1024;

} // namespace

void* AllocateLargeBlock(size_t size) {
    if (size == 0 || size > SIZE_MAX - kLargePage) return nullptr;
    // Room for aligning the start; the unused head and tail go back at once.
    const size_t mapped = size + kLargePage;
    void* memory = mmap(nullptr, mapped, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) return nullptr;
    const uintptr_t start = reinterpret_cast<uintptr_t>(memory);
    const uintptr_t aligned = (start + kLargePage - 1) & ~static_cast<uintptr_t>(kLargePage - 1);
    if (aligned > start) munmap(memory, aligned - start);
    const uintptr_t tail = aligned + size;
    const uintptr_t end = start + mapped;
    if (end > tail) munmap(reinterpret_cast<void*>(tail), end - tail);
#if defined(MADV_HUGEPAGE)
    madvise(reinterpret_cast<void*>(aligned), size, MADV_HUGEPAGE); // a hint: refused is fine
#endif
    return reinterpret_cast<void*>(aligned);
}

void FreeLargeBlock(void* block, size_t size) {
    if (block) munmap(block, size);
}

} // namespace KvXmlLib16::Platform
