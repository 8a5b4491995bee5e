// Search for the points of a bin on the sample axis.
#pragma once

#include <vector>

namespace vorin::reduce {

/// Finds the points of a bin. On rising positions they form one run, and a search starts
/// where the last one ended, since bins are asked for in order. Other positions are scanned.
class BinFinder {
 public:
  BinFinder(int points, const float* t);

  bool rising() const { return rising_; }

  /// The run of points with from <= t <= to, for rising positions.
  struct Run {
    int begin;
    int end;
  };
  Run run(float from, float to) const;

  /// The first point with t >= from, or with t > past, searched from point `near` in either
  /// direction; the number of points when there is none. For rising positions.
  int firstFrom(float from, int near) const;
  int firstPast(float past, int near) const;

  /// True when some point has from <= t <= to.
  bool holdsPoint(float from, float to) const;

  /// Appends the points with from <= t <= to, in rising order of their index.
  void list(float from, float to, std::vector<int>& points) const;

  int points() const { return points_; }
  float at(int point) const { return t_[point]; }

 private:
  int points_;
  const float* t_;
  bool rising_;
  mutable int last_ = 0;  // where the next search starts; results do not depend on it
};

}  // namespace vorin::reduce
