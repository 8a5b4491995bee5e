// Pruning: fewer data points before an inversion.
//
// Bins are placed along the sample axis. A bin that holds points becomes one pruned row:
// their sum divided by s = sqrt(sum of scale^2), so that with equal scales the noise of a
// pruned value is that of a single point. The map from points to rows is linear, and nearly
// all elements of its matrix P are zero. A plan keeps for each row the points of its bin and
// its norm. Applying the plan adds the terms in the order of the dense product with P and
// gives the same bits. Only where a value is not finite do zeros of P matter, since zero
// times infinity is not a number: such a value turns every row without it into NaN.
#pragma once

#include <utility>
#include <vector>

namespace vorin::reduce {

/// How bins are spaced. Any other code builds no edges, and no bin holds a point.
enum PruneMode { pruneLog = 1, pruneLinear = 2, pruneLeading = 3 };

struct PruneRequest {
  int points = 0;                ///< number of points
  int capacityPoints = 0;        ///< elements of t, at least `points`
  int maxBins = 0;               ///< most rows a plan may have
  const float* t = nullptr;      ///< positions, rising
  const float* scale = nullptr;  ///< scale of each point; none: 1 for all
  int firstPoint = 1;            ///< 1-based index of the point at which the bins begin
  int target = 0;                ///< requested count of rows
  int mode = pruneLog;
  bool adjust = true;      ///< start with 1.3 target edges and adjust them until the count is
                           ///< reached; else target edges, once
  bool closingRow = true;  ///< end with an empty row
};

/// Rows past those that hold points have this norm, and no row a smaller one, so that a bin
/// of points with scale 0 is not divided by 0.
inline constexpr float smallestNorm = 1e-10f;

class PrunePlan {
 public:
  explicit PrunePlan(const PruneRequest& request);

  /// Rows of the pruned problem. With a closing row the last one is always empty (a
  /// zero row with datum 0), so there is one more than bins with points.
  int count() const { return filled() + (closingRow_ ? 1 : 0); }
  int filled() const { return static_cast<int>(rows_.size()); }

  /// The norm s of row r, filled or not: the least norm for a row without points, NaN where
  /// a scale outside the row has no finite square.
  float norm(int r) const;

  /// Calls visit(i) for the points i of filled row r, in rising order of i.
  template <class Visit>
  void forEachPoint(int r, Visit visit) const {
    const Row& row = rows_[static_cast<std::size_t>(r)];
    for (int place = row.begin; place < row.end; ++place) {
      visit(listed_.empty() ? place : listed_[static_cast<std::size_t>(place)]);
    }
  }

  /// out[r] = sum over the points i of row r of values[i] / norm(r), for the filled
  /// rows; 0 for the closing one. `out` has count() elements.
  void apply(const float* values, float* out) const;

  /// The same for each of `columns` columns: `in` with leading dimension ldIn, `out` with
  /// leading dimension ldOut, at least count(). The closing row is part of the product.
  void apply(int columns, const float* in, int ldIn, float* out, int ldOut) const;

  /// out[r] = sum over the points i of row r of values[i], for all count() rows.
  void sum(const float* values, float* out) const;

  /// What the dense product gives for a row without points: 0, or NaN with a value that is
  /// not finite.
  float emptyRow(const float* values) const;

  /// Sets each filled row that lacks one of `points` to NaN.
  void spread(const std::vector<int>& points, float* out) const;

  /// The dense matrix of the map, `rows` by `columns`, column-major, for hosts that expect
  /// one: 1 / norm(r) at the points of row r, 0 elsewhere.
  void render(int rows, int columns, float* P) const;

 private:
  // Points listed_[begin .. end) of a row; the points begin .. end themselves
  // when nothing is listed, which is so for rising positions.
  struct Row {
    int begin;
    int end;
    float norm;
  };

  void formNorms(const float* scale);
  void findUncovered();
  void sumRows(const float* values, float* out) const;
  bool spreadNonFinite(const float* values, float* out) const;

  std::vector<Row> rows_;
  std::vector<int> listed_;
  std::vector<std::pair<int, int>> uncovered_;  // runs of points that are in no row
  int points_ = 0;
  bool closingRow_;
  float emptyNorm_ = smallestNorm;
};

}  // namespace vorin::reduce
