// From columns of numbers to decays: which columns, which unit, which rows.
#pragma once

#include <vector>

#include "toolkit/reading/columns.hpp"
#include "toolkit/reading/decay_file.hpp"

namespace vorin::toolkit {

/// The decays that `format` selects in `source`. Throws UserError as readDecays() does.
std::vector<FileDecay> decaysIn(const ColumnSource& source, const DecayFormat& format);

/// Throws UserError for times that are no times: negative, too long, or (unless `zeroAllowed`) 0.
/// `unit` is that of the file in SI units, `places` the row of each.
void requireTimes(const ColumnSource& source, const std::vector<double>& times, Quantity quantity,
                  double unit, bool zeroAllowed);

/// Throws UserError for times that do not rise, too.
void requireRisingTimes(const ColumnSource& source, const std::vector<double>& times,
                        Quantity quantity);

}  // namespace vorin::toolkit
