#include "keystone/memory.h"

#include <cstddef>
#include <cstdint>

#include <malloc.h>
#include <sys/mman.h>

namespace keystone {

namespace {

// Larger blocks are taken from the system each time, and grow in place.
constexpr int kLargestFromHeap = 4 * 1024 * 1024;
constexpr int kMostKept = 256 * 1024 * 1024;
constexpr std::uintptr_t kPage = 4096;
constexpr std::size_t kLittle = 256 * 1024;

} // namespace

void keepFreedMemory()
{
    mallopt(M_MMAP_THRESHOLD, kLargestFromHeap);
    mallopt(M_TRIM_THRESHOLD, kMostKept);
}

void giveFreedMemoryBack()
{
    if (mallinfo2().fordblks > kLittle)
        malloc_trim(0);
}

void preferLargePages(const void *block, std::size_t size)
{
    // All pages that the block lies in, which are its own mapping: one that is advised in part can no longer grow in
    // place, and would be copied.
    const auto begin = reinterpret_cast<std::uintptr_t>(block) / kPage * kPage;
    const auto end = (reinterpret_cast<std::uintptr_t>(block) + size + kPage - 1) / kPage * kPage;
    if (size >= kLargestFromHeap)
        ::madvise(reinterpret_cast<void *>(begin), end - begin, MADV_HUGEPAGE);
}

} // namespace keystone
