// Memory of arrays that live for one call, kept for the next.
//
// A short inversion takes half a megabyte in a few arrays and gives it back within a millisecond.
// From the system's allocator the pages of such arrays are mapped and cleared anew each time, which
// took a third of the processor time of an inversion at a given weight.
#pragma once

#include <cstddef>

namespace vorin {

/// `bytes` of memory on a cache line, not cleared. Throws std::bad_alloc.
void* takeBlock(std::size_t bytes);

/// Gives back what takeBlock(bytes) returned. Any thread may.
void giveBlock(void* block, std::size_t bytes) noexcept;

}  // namespace vorin
