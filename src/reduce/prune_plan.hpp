// Pruning: fewer data points before an inversion.
//
// Bins are laid along the sample axis. A bin that holds points becomes one pruned
// row: their sum divided by s = sqrt(sum of scale^2), so that with equal scales
// the noise of a pruned value is that of a single point. The map from points to
// rows is linear, and nearly all of its dense matrix is zero: here it is a plan,
// which keeps for each row the points of its bin and its norm. Applying the plan
// adds the same terms in the same order as the product with the dense matrix and
// gives the same bits for finite input.
#pragma once

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
  int target = 0;                ///< wanted count of rows
  int mode = pruneLog;
  bool adjust = true;      ///< lay 1.3 target edges, then anew until the count is reached;
                           ///< else target edges, once
  bool closingRow = true;  ///< end with an empty row
};

/// Rows past those that hold points have this norm, and no row a smaller one, so that a
/// bin of points with scale 0 divides by something.
inline constexpr float smallestNorm = 1e-10f;

class PrunePlan {
 public:
  explicit PrunePlan(const PruneRequest& request);

  /// Rows of the pruned problem. With a closing row the last one is always empty (a
  /// zero row with datum 0), so there is one more than bins with points.
  int count() const { return filled() + (closingRow_ ? 1 : 0); }
  int filled() const { return static_cast<int>(rows_.size()); }

  /// The norm s of filled row r.
  float norm(int r) const { return rows_[static_cast<std::size_t>(r)].norm; }

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

  /// The same for each of `columns` columns: `in` with leading dimension ldIn,
  /// `out` with leading dimension ldOut, at least count().
  void apply(int columns, const float* in, int ldIn, float* out, int ldOut) const;

  /// The dense matrix of the map, `rows` by `columns` by columns, for hosts that expect
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

  std::vector<Row> rows_;
  std::vector<int> listed_;
  bool closingRow_;
};

}  // namespace vorin::reduce
