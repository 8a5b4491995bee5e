// Measures of a distribution: its total, its means, its peaks.
#pragma once

#include <cstddef>
#include <vector>

#include "toolkit/model/distribution.hpp"

namespace vorin::toolkit {

/// The sum of the amplitudes.
double totalAmplitude(const Distribution& distribution);

/// exp(sum f ln T / sum f), in seconds: the log mean that core analysis works with.
/// Not a number when the total is 0.
double logMean(const Distribution& distribution);

/// sum f T / sum f, the arithmetic mean, in seconds. Not a number when the total is 0.
double arithmeticMean(const Distribution& distribution);

/// The amplitudes over the width of the grid around each time, in decades. They do not depend
/// on how fine the grid is, so that one picture can show distributions on different grids.
std::vector<double> perDecade(const Distribution& distribution);

/// A local maximum of a distribution and what belongs to it.
struct Peak {
  double time;        ///< its position in seconds, interpolated between grid times
  double share;       ///< the part of the total between the minima beside it, 0 to 1
  double width;       ///< standard deviation of log10 T over that part, in decades
  bool atGridEnd;     ///< the distribution rises up to the first or last grid time
  double centre;      ///< centre of gravity of that part in ln T (its log mean), in seconds
  double amount;      ///< the sum of the amplitudes of that part
  std::size_t first;  ///< the grid times of that part, from 0: a minimum or an end of the grid
  std::size_t last;
};

/// The peaks by rising time, without those whose share is below `smallestShare`.
///
/// A run of equal values is one maximum when both sides fall. The position is the
/// vertex of the parabola through the maximum and its neighbours over ln T. The
/// amplitude at a minimum between two peaks goes to both in equal parts. A peak on one
/// grid time has a width of 0.
std::vector<Peak> peaks(const Distribution& distribution, double smallestShare = 0.005);

/// What `distribution` has where `peak`, one of another distribution on the same grid, lies:
/// amount, share, centre and width over the same part, the position of its highest value there.
/// All but amount and share are not a number where it is 0 there.
Peak peakWithin(const Distribution& distribution, const Peak& peak);

}  // namespace vorin::toolkit
