// The save section: a finished inversion as text, with the parameters in force, the
// distribution, the data with the fit, and the kernel, for a program that reads it
// back. In the normal case it is at the end of the log.
#pragma once

#include <cstdint>

namespace vorin::params {

/// Writes the save section of an inversion of `nf` data points and `ng` grid points:
///
///   unit open                in full, behind the last line of the log
///   unit closed, SAVE = 2    compact, into a file of its own beside the log: the
///                            log's name with the extension .sav, rewritten from its
///                            start
///   unit closed otherwise    not at all
///
///   K       kernel, nf x ng, column-major
///   T, Y    abscissae and data, nf
///   FIT     the fit, nf
///   G       grid abscissae, ng
///   F2      a second column for the table of the distribution, ng
///   F       the distribution, ng
///   status  goes on to the queries of the parameters; by value, so that the host
///           keeps the status of its inversion
///
/// Sizes below 1 leave the tables empty. Nothing is checked and nothing reported: the
/// arrays are written as they are after a failed inversion too, and a file that can't
/// be opened costs the section.
void VorinSave(std::int32_t unit, std::int32_t nf, std::int32_t ng, const float* K, const float* T,
               const float* Y, const float* FIT, const float* G, const float* F2, const float* F,
               std::int32_t status);

}  // namespace vorin::params
