// The cumulative curve of a distribution, and what is read off it: the amounts between
// cutoffs (bound and free fluid) and percentiles.
//
// A grid value has an interval, its bin, that reaches half way to its neighbours in the
// logarithm; the first and the last bin are as long on their outer side as on their inner one.
// The amplitude of a value is spread evenly over its bin in the logarithm. So the cumulative
// curve, the amount at and below T, is continuous and piecewise linear in ln T, a cutoff within a
// bin divides it in proportion, and nothing depends on which of two values a cutoff is nearer to.
#pragma once

#include <string_view>
#include <vector>

#include "toolkit/model/distribution.hpp"
#include "toolkit/reading/units.hpp"

namespace vorin::toolkit {

/// The natural logarithms of the edges of the bins: one more than there are grid values, which
/// rise from above 0. A single value has a bin of no width.
std::vector<double> logBinEdges(const std::vector<double>& grid);

/// The cumulative curve at the upper edge of each bin: the sum of the amplitudes up to and with
/// that of each grid value. The last one is the total.
std::vector<double> cumulative(const Distribution& distribution);

/// What lies between two neighbouring cutoffs.
struct Part {
  double from;    ///< a cutoff; 0 for the first part
  double to;      ///< a cutoff; infinite for the last part
  double amount;  ///< in the unit of the amplitudes
  double share;   ///< of the total, 0 to 1; not a number where that is 0
};

/// The parts below, between and above `cutoffs`, which rise from above 0: one more than there are
/// cutoffs. Their amounts add up to the total.
std::vector<Part> partsBetween(const Distribution& distribution,
                               const std::vector<double>& cutoffs);

/// The least T at and below which lie `percent` (0 to 100) of the total: where the cumulative
/// curve reaches that. 0 is the lower edge of the first bin that is not empty. Not a number where
/// the total is 0.
double percentile(const Distribution& distribution, double percent);

/// Reads cutoffs, values with or without a unit (as parseQuantity()) with commas between them, in
/// any order; they are returned rising. Throws UserError, which names `option`, for values that
/// are not finite and above 0, that occur more than once, and for more than 20 of them.
std::vector<double> parseCutoffs(std::string_view text, std::string_view option, Quantity quantity);

/// Reads percentages above 0 and below 100 with commas between them; they are returned rising.
/// Throws UserError, which names `option`, for anything else, as parseCutoffs().
std::vector<double> parsePercentiles(std::string_view text, std::string_view option);

}  // namespace vorin::toolkit
