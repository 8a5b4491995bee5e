// What each instruction-set level's file offers to the dispatcher. Nothing here
// is compiled: a shared inline function could be kept by the linker in the copy
// of a higher level.
#pragma once

#include "toolbox/kernels/kernels.hpp"

namespace vorin::kernels {

namespace baseline {
Table<float> tableFloat();
Table<double> tableDouble();
}  // namespace baseline

namespace avx2 {
Table<float> tableFloat();
Table<double> tableDouble();
}  // namespace avx2

namespace avx512 {
Table<float> tableFloat();
Table<double> tableDouble();
}  // namespace avx512

}  // namespace vorin::kernels
