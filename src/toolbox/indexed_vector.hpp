// An owned array with the index type of the views: element i of extent n needs no cast.
#pragma once

#include <cstddef>
#include <vector>

namespace vorin {

template <class T>
class IndexedVector : public std::vector<T> {
 public:
  using std::vector<T>::vector;

  T& operator[](std::ptrdiff_t i) { return this->data()[i]; }
  const T& operator[](std::ptrdiff_t i) const { return this->data()[i]; }
};

}  // namespace vorin
