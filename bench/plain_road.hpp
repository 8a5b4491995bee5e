// The main road written out: what the library would cost without its short cuts.
#pragma once

#include <cstdint>

namespace vorin::bench {

/// As Vorin_s with pruning, with the pruning matrix that the export renders for the full
/// capacity of rows and its dense product with the kernel. Without pruning the library's
/// own driver has nothing to shorten and is called.
void invertPlainly(std::int32_t nf, std::int32_t ng, const float* K, const float* Y, float* F,
                   std::int32_t* status);

}  // namespace vorin::bench
