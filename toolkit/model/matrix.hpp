// Matrices of numbers, column-major.
#pragma once

#include <cstddef>
#include <vector>

namespace vorin::toolkit {

/// Element (i, j) is values[j * rows + i].
struct Matrix {
  std::size_t rows = 0;
  std::size_t columns = 0;
  std::vector<double> values;
};

/// The column-major matrix `values` of `rows` rows without the rows whose numbers, from 0 and
/// rising, are in `omitted`. A vector is a matrix of one column.
template <class Value>
std::vector<Value> withoutRows(const std::vector<Value>& values, std::size_t rows,
                               const std::vector<std::size_t>& omitted) {
  std::vector<Value> result;
  result.reserve(values.size());
  for (std::size_t start = 0; start < values.size(); start += rows) {
    auto next = omitted.begin();
    for (std::size_t i = 0; i < rows; ++i) {
      if (next != omitted.end() && *next == i) {
        ++next;
      } else {
        result.push_back(values[start + i]);
      }
    }
  }
  return result;
}

}  // namespace vorin::toolkit
