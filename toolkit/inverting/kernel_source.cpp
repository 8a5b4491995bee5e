#include "toolkit/inverting/kernel_source.hpp"

#include <utility>

#include "toolkit/model/matrix.hpp"

namespace vorin::toolkit {

namespace {

constexpr std::size_t mostElements = std::size_t{1} << 24U;

KernelMatrix made(Kernel kernel, const std::vector<double>& times,
                  const std::vector<double>& grid) {
  return std::make_shared<const std::vector<float>>(kernelMatrix(kernel, times, grid));
}

bool isKept(const std::vector<double>& times, const std::vector<double>& grid) {
  return times.size() <= mostElements / grid.size();
}

}  // namespace

KernelMatrix SharedKernel::of(Kernel kernel, const std::vector<double>& times,
                              const std::vector<double>& grid) {
  if (kernel == Kernel::t2Epg || !isKept(times, grid)) {
    return nullptr;
  }
  {
    const std::lock_guard guard(guard_);
    if (matrix_ && kernel_ == kernel && times_ == times && grid_ == grid) {
      return matrix_;
    }
  }
  KernelMatrix fresh = made(kernel, times, grid);  // others need not wait for it
  const std::lock_guard guard(guard_);
  kernel_ = kernel;
  times_ = times;
  grid_ = grid;
  matrix_ = fresh;
  return fresh;
}

KernelSource::KernelSource(KernelMatrix matrix, Kernel kernel, const std::vector<double>& times,
                           const std::vector<double>& grid)
    : rows_(times.size()), columns_(grid.size()), matrix_(std::move(matrix)), kernel_(kernel) {
  if (!matrix_ && isKept(times, grid)) {
    matrix_ = made(kernel, times, grid);
  }
  if (!matrix_) {
    times_ = std::make_shared<const std::vector<double>>(times);
    grid_ = grid;
  }
}

KernelSource KernelSource::asMatrix(KernelMatrix matrix, Kernel kernel,
                                    const std::vector<double>& times,
                                    const std::vector<double>& grid) {
  KernelSource result;
  result.rows_ = times.size();
  result.columns_ = grid.size();
  result.kernel_ = kernel;
  result.matrix_ = matrix ? std::move(matrix) : made(kernel, times, grid);
  return result;
}

const float* KernelSource::columnsFrom(std::size_t first, std::size_t count,
                                       std::vector<float>& buffer) const {
  if (matrix_) {
    return matrix_->data() + first * rows_;
  }
  const auto from = grid_.begin() + static_cast<std::ptrdiff_t>(first);
  buffer = kernelMatrix(kernel_, *times_, {from, from + static_cast<std::ptrdiff_t>(count)});
  return buffer.data();
}

const float* KernelSource::rowsFrom(std::size_t first, std::size_t count,
                                    std::vector<float>& buffer, std::size_t& leading) const {
  if (matrix_) {
    leading = rows_;
    return matrix_->data() + first;
  }
  const auto from = times_->begin() + static_cast<std::ptrdiff_t>(first);
  leading = count;
  buffer = kernelMatrix(kernel_, {from, from + static_cast<std::ptrdiff_t>(count)}, grid_);
  return buffer.data();
}

KernelSource KernelSource::without(const std::vector<std::size_t>& left) const {
  KernelSource result = *this;
  result.rows_ = rows_ - left.size();
  if (matrix_) {
    result.matrix_ = std::make_shared<const std::vector<float>>(withoutRows(*matrix_, rows_, left));
  } else {
    result.times_ = std::make_shared<const std::vector<double>>(withoutRows(*times_, rows_, left));
  }
  return result;
}

}  // namespace vorin::toolkit
