// The hot loops compiled for the instruction-set level `avx512`.
#include <immintrin.h>

#include <cstddef>
#include <cstdint>
#include <utility>

#include "toolbox/kernels/kernels.hpp"
#include "toolbox/kernels/levels.hpp"

#define VORIN_VECTOR_BYTES 64

namespace vorin::kernels::avx512 {
namespace {
#include "toolbox/kernels/kernel_body.inc"
}  // namespace

Table<float> tableFloat() {
  return makeTable<float>();
}
Table<double> tableDouble() {
  return makeTable<double>();
}

}  // namespace vorin::kernels::avx512
