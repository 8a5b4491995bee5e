#include "reduce/bin_search.hpp"

#include <algorithm>
#include <cmath>

namespace vorin::reduce {
namespace {

// The first of the points 0 .. points - 1 for which isPast holds; isPast is false up to some
// point and true from there on. Steps of doubling length from `near` bracket the point, a
// bisection finds it.
template <class IsPast>
int firstOf(int points, int near, IsPast isPast) {
  int lo = 0;
  int hi = points;
  if (near < points && !isPast(near)) {
    lo = near + 1;
    for (int step = 1; lo + step < points; step *= 2) {
      if (isPast(lo + step)) {
        hi = lo + step;
        break;
      }
      lo += step + 1;
    }
  } else {
    hi = near;
    for (int step = 1; hi - step >= 0; step *= 2) {
      if (!isPast(hi - step)) {
        lo = hi - step + 1;
        break;
      }
      hi -= step;
    }
  }
  while (lo < hi) {
    const int middle = lo + (hi - lo) / 2;
    if (isPast(middle)) {
      hi = middle;
    } else {
      lo = middle + 1;
    }
  }
  return lo;
}

}  // namespace

BinFinder::BinFinder(int points, const float* t) : points_(points), t_(t), rising_(true) {
  // A comparison with NaN is false, so that positions with a NaN are scanned.
  for (int i = 0; i < points && rising_; ++i) {
    rising_ = i == 0 ? t[0] == t[0] : t[i - 1] <= t[i];
  }
}

int BinFinder::firstFrom(float from, int near) const {
  return firstOf(points_, near, [&](int i) { return t_[i] >= from; });
}

int BinFinder::firstPast(float past, int near) const {
  return firstOf(points_, near, [&](int i) { return t_[i] > past; });
}

BinFinder::Run BinFinder::run(float from, float to) const {
  if (std::isnan(from) || std::isnan(to)) {
    return {0, 0};
  }
  const int begin = firstFrom(from, last_);
  const int end = firstPast(to, begin);
  last_ = begin;
  return {begin, std::max(begin, end)};
}

bool BinFinder::holdsPoint(float from, float to) const {
  return std::any_of(t_, t_ + points_, [=](float t) { return t >= from && t <= to; });
}

void BinFinder::list(float from, float to, std::vector<int>& points) const {
  for (int i = 0; i < points_; ++i) {
    if (t_[i] >= from && t_[i] <= to) {
      points.push_back(i);
    }
  }
}

}  // namespace vorin::reduce
