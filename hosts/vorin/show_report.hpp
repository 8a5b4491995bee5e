// The text of vorin show about a save section.
//
// Times and amplitudes are in the units of the host that ran the inversion, which the
// section does not name, so they are shown as bare numbers.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "toolkit/model/distribution.hpp"
#include "toolkit/reading/save_section.hpp"

namespace vorin::toolkit {

/// A section with the place it has in its file.
struct Shown {
  std::string file;
  std::size_t number;  ///< from 1
  std::size_t count;   ///< of the sections in the file
  SaveSection section;

  /// "save section 2 of run.log"
  std::string name() const;
};

bool allFinite(const std::vector<double>& values);
bool rises(const std::vector<double>& values);

/// The distribution of a section.
Distribution distributionOf(const SaveSection& section);

/// Why nothing is to be read off it; empty when something is.
std::string_view obstacle(const SaveSection& section);

/// The summary for the terminal, lines ending in a newline.
std::string summaryOf(const Shown& shown);

/// The distribution as CSV: grid abscissa, amplitude.
std::string distributionCsvOf(const Shown& shown);

/// The fit of a full section as CSV: abscissa, data, fit, residual (data - fit).
std::string fitCsvOf(const Shown& shown);

}  // namespace vorin::toolkit
