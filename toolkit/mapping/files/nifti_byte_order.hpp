// NIfTI headers in the byte order of other machines.
#pragma once

#include <nifti1.h>
#include <nifti2.h>

#include <string>

namespace vorin::toolkit {

/// Turns the bytes of each field of `header` around. Throws UserError, which names the file, where
/// this build can't.
void swapBytes(nifti_1_header& header, const std::string& name);
void swapBytes(nifti_2_header& header, const std::string& name);

}  // namespace vorin::toolkit
