#include "toolkit/mapping/files/nifti_byte_order.hpp"

#include <nifti2_io.h>

namespace vorin::toolkit {

void swapBytes(nifti_1_header& header, const std::string& /*name*/) {
  nifti_swap_as_nifti1(&header);
}

void swapBytes(nifti_2_header& header, const std::string& /*name*/) {
  nifti_swap_as_nifti2(&header);
}

}  // namespace vorin::toolkit
