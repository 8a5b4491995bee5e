// Replaces operator new and delete by ones that count, and that refuse memory where a test says so.
// A replacement is of the whole program: include this in one source of a test program. A shared
// library that the program loads takes its memory from here, too.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>
#ifdef _WIN32
#include <malloc.h>
#endif

namespace vorin::test::memory {

enum class Refusal { none, one, rest };

inline std::atomic<long> asked = 0;                  ///< allocations since a test set it to 0
inline std::atomic<long> held = 0;                   ///< allocations that are not freed
inline std::atomic<Refusal> refusal{Refusal::none};  ///< what is refused after `granted` ones
inline std::atomic<long> granted = 0;

/// Counts a request, and says whether it is refused.
inline bool askedAndRefused() {
  const long before = asked++;
  const Refusal now = refusal;
  return (now == Refusal::one && before == granted) || (now == Refusal::rest && before >= granted);
}

inline void* counted(void* memory) noexcept {
  held += memory != nullptr ? 1 : 0;
  return memory;
}

inline void* taken(std::size_t size) noexcept {
  return askedAndRefused() ? nullptr : counted(std::malloc(std::max<std::size_t>(size, 1)));
}

inline void* takenAligned(std::size_t size, std::align_val_t wanted) noexcept {
  if (askedAndRefused()) {
    return nullptr;
  }
  const auto alignment = static_cast<std::size_t>(wanted);
  const std::size_t rounded = (size + alignment) / alignment * alignment;
#ifdef _WIN32
  return counted(_aligned_malloc(rounded, alignment));
#else
  return counted(std::aligned_alloc(alignment, rounded));  // asks for a multiple of the alignment
#endif
}

inline void* orThrown(void* memory) {
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return memory;
}

inline void freed(void* memory) noexcept {
  held -= memory != nullptr ? 1 : 0;
  std::free(memory);
}

inline void freedAligned(void* memory) noexcept {
  held -= memory != nullptr ? 1 : 0;
#ifdef _WIN32
  _aligned_free(memory);
#else
  std::free(memory);
#endif
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
namespace memory = vorin::test::memory;
void* operator new(std::size_t size) { return memory::orThrown(memory::taken(size)); }
void* operator new[](std::size_t size) { return memory::orThrown(memory::taken(size)); }
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept { return memory::taken(size); }
void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept { return memory::taken(size); }
void* operator new(std::size_t size, std::align_val_t alignment) {
  return memory::orThrown(memory::takenAligned(size, alignment));
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t& /*tag*/) noexcept {
  return memory::takenAligned(size, alignment);
}
void operator delete(void* block) noexcept { memory::freed(block); }
void operator delete[](void* block) noexcept { memory::freed(block); }
void operator delete(void* block, std::size_t /*size*/) noexcept { memory::freed(block); }
void operator delete[](void* block, std::size_t /*size*/) noexcept { memory::freed(block); }
void operator delete(void* block, std::align_val_t /*alignment*/) noexcept { memory::freedAligned(block); }
void operator delete(void* block, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
  memory::freedAligned(block);
}
void operator delete(void* block, const std::nothrow_t& /*tag*/) noexcept { memory::freed(block); }
void operator delete(void* block, std::align_val_t /*alignment*/, const std::nothrow_t& /*tag*/) noexcept {
  memory::freedAligned(block);
}
// clang-format on
