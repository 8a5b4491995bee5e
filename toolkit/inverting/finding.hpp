// What an inversion found wrong with data or settings, apart from the library's status.
#pragma once

#include <string>
#include <string_view>

#include "toolkit/model/kernel.hpp"

namespace vorin::toolkit {

enum class FindingKind {
  none,
  empty,          ///< there is no signal above the noise
  negative,       ///< the data have the other sign
  otherKernel,    ///< another kernel fits them far better
  magnitude,      ///< an inversion recovery without its signs
  offset,         ///< a constant lies beside the curve
  efficiency,     ///< the inversion was not complete
  structure,      ///< the closest fit leaves more than noise
  tooFast,        ///< much of the signal relaxes before the first sample
  noiseTooLarge,  ///< the given noise is far above what the fit leaves
  noiseTooSmall,  ///< it is far below
  cornerLost      ///< the corner's fit misses the data by far more than the noise
};

struct Finding {
  FindingKind kind = FindingKind::none;
  Kernel kernel = Kernel::t2;  ///< the better one, of otherKernel
  double amount =
      0.0;  ///< offset over the largest amplitude, efficiency, share, or ratio of noises
  std::size_t samples = 0;  ///< of magnitude: how many have lost their sign

  /// True when the distribution is not what was asked for.
  bool fatal() const;
};

/// The kind in a word for programs: "negative", "other kernel", ...; empty for none.
std::string_view findingWord(FindingKind kind);

/// The sentence that a user is told: what was found, and what to do. Empty for none.
std::string findingText(const Finding& finding);

}  // namespace vorin::toolkit
