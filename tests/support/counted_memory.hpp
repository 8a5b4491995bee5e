// Replaces operator new and delete by ones that count, and that refuse memory where a test says so.
// A replacement is of the whole program: include this in one source of a test program. A shared
// library that the program loads takes its memory from here, too.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace vorin::test::memory {

enum class Refusal { none, one, rest };

inline std::atomic<long> asked = 0;                  ///< allocations since a test set it to 0
inline std::atomic<long> held = 0;                   ///< allocations that are not freed
inline std::atomic<Refusal> refusal{Refusal::none};  ///< what is refused after `granted` ones
inline std::atomic<long> granted = 0;

inline void* taken(std::size_t size, std::size_t alignment) noexcept {
  const long before = asked++;
  const Refusal now = refusal;
  if ((now == Refusal::one && before == granted) || (now == Refusal::rest && before >= granted)) {
    return nullptr;
  }
  // The C library asks for a multiple of the alignment.
  const std::size_t rounded = (size + alignment) / alignment * alignment;
  void* const memory = alignment > alignof(std::max_align_t)
                           ? std::aligned_alloc(alignment, rounded)
                           : std::malloc(std::max<std::size_t>(size, 1));
  held += memory != nullptr ? 1 : 0;
  return memory;
}

inline void* takenOrThrown(std::size_t size, std::size_t alignment) {
  if (void* const memory = taken(size, alignment)) {
    return memory;
  }
  throw std::bad_alloc();
}

inline void freed(void* memory) noexcept {
  held -= memory != nullptr ? 1 : 0;
  std::free(memory);
}

/// Refuses memory while it lives: that of the allocation after `count` ones, or of all from there.
class Refused {
 public:
  Refused(Refusal kind, long count) {
    asked = 0;
    granted = count;
    refusal = kind;
  }
  ~Refused() { refusal = Refusal::none; }
  Refused(const Refused&) = delete;
  Refused& operator=(const Refused&) = delete;
};

}  // namespace vorin::test::memory

// clang-format off
void* operator new(std::size_t size) { return vorin::test::memory::takenOrThrown(size, 1); }
void* operator new[](std::size_t size) { return vorin::test::memory::takenOrThrown(size, 1); }
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return vorin::test::memory::taken(size, 1);
}
void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return vorin::test::memory::taken(size, 1);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
  return vorin::test::memory::takenOrThrown(size, static_cast<std::size_t>(alignment));
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t& /*tag*/) noexcept {
  return vorin::test::memory::taken(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* memory) noexcept { vorin::test::memory::freed(memory); }
void operator delete[](void* memory) noexcept { vorin::test::memory::freed(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { vorin::test::memory::freed(memory); }
void operator delete[](void* memory, std::size_t /*size*/) noexcept { vorin::test::memory::freed(memory); }
void operator delete(void* memory, std::align_val_t /*alignment*/) noexcept { vorin::test::memory::freed(memory); }
void operator delete(void* memory, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
  vorin::test::memory::freed(memory);
}
void operator delete(void* memory, const std::nothrow_t& /*tag*/) noexcept { vorin::test::memory::freed(memory); }
void operator delete(void* memory, std::align_val_t /*alignment*/, const std::nothrow_t& /*tag*/) noexcept {
  vorin::test::memory::freed(memory);
}
// clang-format on
