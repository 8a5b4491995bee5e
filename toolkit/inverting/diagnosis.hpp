// Whether a kernel describes the data, and if not, what would.
#pragma once

#include "toolkit/inverting/choice.hpp"
#include "toolkit/inverting/choice_rows.hpp"

namespace vorin::toolkit {

/// The closest non-negative fit with a constant beside it.
struct ConstantFit {
  double offset = 0.0;
  double total = 0.0;  ///< of the distribution
  ClosestFit fit;
};

/// The constant is 0 or above unless `eitherSign`.
ConstantFit fitWithConstant(const ChoiceRows& rows, ColumnRange range, bool eitherSign);

/// Holds the closest fit against the closest ones of what else the data may be: of the other
/// sign, of another kernel of the same axis, an inversion recovery without its signs, with a
/// constant beside the curve, from an incomplete inversion. One of them is told when it lowers
/// the sum of squares by chance once in 10000 draws only (an F test of one degree of freedom, by
/// the variance of its own residual). Without any, a recovery's signal that is back before the
/// first samples is told where a constant does as well, and a
/// residual whose neighbours go together and whose noise is
/// far above that of second differences is told as structure (von Neumann, Ann. Math. Stat. 12,
/// 367, 1941).
Finding diagnose(const ChoiceInput& input, const ChoiceRows& rows, ColumnRange range,
                 const Choice& choice);

}  // namespace vorin::toolkit
