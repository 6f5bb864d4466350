#pragma once

#include <cstddef>

namespace keystone {

/// Lets the process keep memory that it has freed, for its next large block: taking it from the system again costs a
/// page fault for every 4 KB, several times what filling it does. To be called once, before much is allocated.
void keepFreedMemory();

/// Gives the system back what is kept, once that is more than a little.
void giveFreedMemoryBack();

/// Has the system fill what of a large block nothing was written to yet in steps of 2 MB instead of 4 KB. Does nothing
/// for a smaller one, or where the system has no such pages.
void preferLargePages(const void *block, std::size_t size);

} // namespace keystone
