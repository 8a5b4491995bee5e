// Vectors that begin on a cache line, for the arrays the kernels stream through:
// a vector load that crosses a line takes two accesses. Elements constructed without a
// value are not set to zero.
#pragma once

#include <cstddef>
#include <new>
#include <utility>
#include <vector>

#include "toolbox/kept_blocks.hpp"

namespace vorin {

template <class T>
struct CacheLineAllocator {
  using value_type = T;

  CacheLineAllocator() = default;
  template <class U>
  CacheLineAllocator(const CacheLineAllocator<U>& /*other*/) {}

  T* allocate(std::size_t count) { return static_cast<T*>(takeBlock(count * sizeof(T))); }
  void deallocate(T* address, std::size_t count) { giveBlock(address, count * sizeof(T)); }

  // Not initialised: every element of these arrays is written before it is read.
  template <class U>
  void construct(U* place) {
    ::new (static_cast<void*>(place)) U;
  }
  template <class U, class... Arguments>
  void construct(U* place, Arguments&&... arguments) {
    ::new (static_cast<void*>(place)) U(std::forward<Arguments>(arguments)...);
  }

  template <class U>
  bool operator==(const CacheLineAllocator<U>& /*other*/) const {
    return true;
  }
};

template <class T>
using AlignedVector = std::vector<T, CacheLineAllocator<T>>;

}  // namespace vorin
