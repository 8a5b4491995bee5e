// Memory of work arrays, kept from one call to the next.
//
// An inversion's arrays are freed at its end. Given back to the system they would come again
// page by page in the next one, which costs a short inversion a tenth of its time.
#pragma once

#include <cstddef>

namespace vorin {

/// At least `bytes` from the beginning of a cache line on.
void* takeBlock(std::size_t bytes);

/// Gives back what takeBlock gave for `bytes`. Small blocks are kept, 4 MB at most altogether;
/// like all that is library-wide, for one call at a time.
void giveBlock(void* block, std::size_t bytes);

}  // namespace vorin
