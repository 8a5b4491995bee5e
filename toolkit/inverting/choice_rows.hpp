// The rows of a problem as a choice of noise, range and weight works on them: few, and made once
// for the many closest fits and penalised fits that it compares.
#pragma once

#include <cstddef>
#include <vector>

#include "toolkit/inverting/problem.hpp"

namespace vorin::toolkit {

/// Rows turned so that few of them hold all that the columns of a kernel can describe. The
/// exponentials of 100 to 200 times span some 25 directions above the rounding of single
/// precision, however many samples there are. An orthogonal matrix Q leaves |K f - d| as it is:
/// where Q'K is 0 below those directions, Q'd counts by its norm alone, in one row.
class CondensedRows {
 public:
  /// Q by Householder reflections with column pivoting (Businger and Golub, Numer. Math. 7, 269,
  /// 1965), until 1e-7 of the largest column is left of no other: K in single precision has no
  /// more. The first `kept` rows stay what they are. `K` has `rows` rows, column-major. Does
  /// nothing where that saves no row.
  CondensedRows(const std::vector<double>& K, std::size_t rows, std::size_t kept);

  /// Rows after condensing.
  std::size_t count() const { return count_; }

  /// Q'K, column-major.
  const std::vector<double>& kernel() const { return kernel_; }

  /// Q'd.
  std::vector<double> data(const std::vector<double>& d) const;

 private:
  struct Reflection {
    std::vector<double> direction;  ///< from the row of its number on; the first element is 1
    double factor;                  ///< of I - factor direction direction'
    void apply(double* rows) const;
  };
  class Elimination;

  std::size_t kept_;
  std::size_t below_;  ///< rows behind those kept
  std::size_t count_;
  std::vector<double> kernel_;
  std::vector<Reflection> reflections_;
};

/// The rows of a problem, condensed, and those of other data for the same samples.
class ChoiceRows {
 public:
  /// The first `kept` rows, or all if there are fewer, stay what they are.
  ChoiceRows(const Problem& problem, std::size_t kept);

  /// The rows that are left.
  const ReducedProblem& problem() const { return problem_; }

  /// How many of the first rows are single samples that stay rows of their own.
  std::size_t singleRows() const { return singleRows_; }

  /// Leaves out samples among the first singleRows(), whose numbers rise.
  void leaveOut(const std::vector<std::size_t>& samples);

  /// The rows of these data, as Problem::data().
  std::vector<double> rowsOf(const std::vector<float>& data) const;

  /// Those of the constant 1, which lies in the span of the rows as a column does.
  const std::vector<double>& ones() const { return ones_; }

  /// d - K f of the rows before they were condensed. `f` begins at column `first`.
  std::vector<double> residual(const std::vector<double>& f, std::size_t first) const;

 private:
  const Problem* source_;
  ReducedProblem whole_;  ///< before condensing
  std::size_t singleRows_;
  CondensedRows condensed_;
  ReducedProblem problem_;
  std::vector<double> ones_;
  std::vector<std::size_t> left_;
};

}  // namespace vorin::toolkit
