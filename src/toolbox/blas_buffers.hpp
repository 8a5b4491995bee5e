// Work buffers for the serial OpenBLAS that is linked in, in place of its own table of them,
// which threads that call at once can be handed one buffer of: some results are wrong then.
#pragma once

namespace vorin {

/// Makes sure that a buffer is there or can be had. Throws std::bad_alloc, which OpenBLAS could
/// not let through.
void requireBlasBuffer();

}  // namespace vorin
