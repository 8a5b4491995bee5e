// The kernel of a problem: a matrix, or, where that would fill the memory, columns that are
// computed when they are needed.
#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

#include "toolkit/model/kernel.hpp"

namespace vorin::toolkit {

/// A kernel's matrix as decays of one shape share it: samples x grid, column-major.
using KernelMatrix = std::shared_ptr<const std::vector<float>>;

/// The matrix of one decay after another, on whatever thread: those of the same times and grid
/// share theirs, so that many of them cost no more than their inversions.
class SharedKernel {
 public:
  /// Null where the matrix would have more elements than are kept (64 megabytes), and for
  /// Kernel::t2Epg, whose matrix follows from more than times and grid.
  KernelMatrix of(Kernel kernel, const std::vector<double>& times, const std::vector<double>& grid);

 private:
  std::mutex guard_;
  Kernel kernel_ = Kernel::t2;
  std::vector<double> times_;
  std::vector<double> grid_;
  KernelMatrix matrix_;
};

/// What a problem asks of its kernel.
class KernelSource {
 public:
  /// `matrix`, or that of `kernel` where it is null and small enough to be kept.
  KernelSource(KernelMatrix matrix, Kernel kernel, const std::vector<double>& times,
               const std::vector<double>& grid);

  /// The same in every case as a matrix, which the library's own drivers take.
  static KernelSource asMatrix(KernelMatrix matrix, Kernel kernel, const std::vector<double>& times,
                               const std::vector<double>& grid);

  /// The matrix; null where columns are computed.
  const KernelMatrix& matrix() const { return matrix_; }

  std::size_t rows() const { return rows_; }
  std::size_t columns() const { return columns_; }

  /// The columns first .. first + count - 1, one after the other, in `buffer` or in the matrix.
  const float* columnsFrom(std::size_t first, std::size_t count, std::vector<float>& buffer) const;

  /// The rows first .. first + count - 1 of all columns, with leading dimension `leading`.
  const float* rowsFrom(std::size_t first, std::size_t count, std::vector<float>& buffer,
                        std::size_t& leading) const;

  /// Without the rows whose numbers, rising, are `left`.
  KernelSource without(const std::vector<std::size_t>& left) const;

 private:
  KernelSource() = default;

  std::size_t rows_ = 0;
  std::size_t columns_ = 0;
  KernelMatrix matrix_;
  Kernel kernel_ = Kernel::t2;
  std::shared_ptr<const std::vector<double>> times_;  ///< where there is no matrix
  std::vector<double> grid_;
};

}  // namespace vorin::toolkit
