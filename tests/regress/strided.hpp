// Sections of larger arrays: a dense array spread out at given strides in a storage
// full of marks, so that a test can tell whether anything between was touched.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <vector>

#include "toolbox/views.hpp"

namespace vorin::testing {

/// The bit pattern, so that NaN equals NaN and -0 differs from 0.
template <class Element>
auto bitsOf(Element value) {
  if constexpr (sizeof(Element) == 8) {
    return std::bit_cast<std::uint64_t>(value);
  } else {
    return std::bit_cast<std::uint32_t>(value);
  }
}

template <class Element>
bool sameBits(const std::vector<Element>& a, const std::vector<Element>& b) {
  if (a.size() != b.size()) {
    return false;
  }
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (bitsOf(a[i]) != bitsOf(b[i])) {
      return false;
    }
  }
  return true;
}

/// A rows-by-cols matrix (or a vector as one column) stored with gaps. A negative row
/// stride stores it upside down.
template <class Element>
class Strided {
 public:
  Strided(const std::vector<Element>& dense, std::ptrdiff_t rows, std::ptrdiff_t cols,
          std::ptrdiff_t rowStride, std::ptrdiff_t margin)
      : rows_(rows), cols_(cols), rowStride_(rowStride) {
    const std::ptrdiff_t step = rowStride < 0 ? -rowStride : rowStride;
    colStride_ = rows * step + margin;
    storage_.assign(static_cast<std::size_t>(margin + cols * colStride_ + margin), mark);
    origin_ = margin + (rowStride < 0 ? (rows - 1) * step : 0);
    for (std::ptrdiff_t j = 0; j < cols; ++j) {
      for (std::ptrdiff_t i = 0; i < rows; ++i) {
        matrix()(i, j) = dense[static_cast<std::size_t>(i + j * rows)];
      }
    }
  }

  MatrixView<Element> matrix() {
    return {storage_.data() + origin_, rows_, cols_, rowStride_, colStride_};
  }
  VectorView<Element> vector() { return matrix().column(0); }

  std::vector<Element> dense() {
    std::vector<Element> values;
    for (std::ptrdiff_t j = 0; j < cols_; ++j) {
      for (std::ptrdiff_t i = 0; i < rows_; ++i) {
        values.push_back(matrix()(i, j));
      }
    }
    return values;
  }

  /// True when no element outside the section has changed.
  bool gapsUntouched() {
    std::vector<Element> copy = storage_;
    const MatrixView<Element> section{copy.data() + origin_, rows_, cols_, rowStride_, colStride_};
    for (std::ptrdiff_t j = 0; j < cols_; ++j) {
      for (std::ptrdiff_t i = 0; i < rows_; ++i) {
        section(i, j) = mark;
      }
    }
    for (const Element value : copy) {
      if (value != mark) {
        return false;
      }
    }
    return true;
  }

 private:
  static constexpr Element mark = Element(-12345);
  std::ptrdiff_t rows_;
  std::ptrdiff_t cols_;
  std::ptrdiff_t rowStride_;
  std::ptrdiff_t colStride_ = 0;
  std::ptrdiff_t origin_ = 0;
  std::vector<Element> storage_;
};

template <class Element>
Strided<Element> spreadVector(const std::vector<Element>& dense, std::ptrdiff_t stride) {
  return {dense, static_cast<std::ptrdiff_t>(dense.size()), 1, stride, 3};
}

}  // namespace vorin::testing
