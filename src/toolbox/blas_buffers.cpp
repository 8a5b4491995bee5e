// The build redirects blas_memory_alloc and blas_memory_free here (cmake/FindOpenBLASSerial.cmake).
// OpenBLAS asks for a buffer in nearly every call and gives it back at the end of it. Buffers that
// nobody uses wait in slots; a slot is emptied and filled by one atomic exchange, so no lock is
// held and no two calls get one buffer.
#include "toolbox/blas_buffers.hpp"

#include <sys/mman.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <new>

namespace vorin {
namespace {

/// What OpenBLAS takes a buffer to hold (BUFFER_SIZE, 32 << 22 on x86-64 and less elsewhere). It is
/// address space; a call touches little of it.
constexpr std::size_t bufferSize = std::size_t{128} << 20U;

/// The buffers that wait for a call. Those of more calls at once are unmapped after use.
class BufferPool {
 public:
  BufferPool() = default;
  BufferPool(const BufferPool&) = delete;
  BufferPool& operator=(const BufferPool&) = delete;
  ~BufferPool() {
    for (std::atomic<void*>& slot : slots_) {
      unmap(slot.exchange(nullptr));
    }
  }

  void* take() {
    for (std::atomic<void*>& slot : slots_) {
      if (void* const buffer = slot.exchange(nullptr, std::memory_order_acquire)) {
        return buffer;
      }
    }
    void* const buffer =
        mmap(nullptr, bufferSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (buffer == MAP_FAILED) {
      throw std::bad_alloc();
    }
    return buffer;
  }

  void giveBack(void* buffer) noexcept {
    for (std::atomic<void*>& slot : slots_) {
      void* none = nullptr;
      if (slot.compare_exchange_strong(none, buffer, std::memory_order_release,
                                       std::memory_order_relaxed)) {
        return;
      }
    }
    unmap(buffer);
  }

 private:
  static void unmap(void* buffer) noexcept {
    if (buffer != nullptr) {
      munmap(buffer, bufferSize);
    }
  }

  std::array<std::atomic<void*>, 32> slots_{};
};

BufferPool& thePool() {
  static BufferPool pool;
  return pool;
}

}  // namespace

void requireBlasBuffer() {
  thePool().giveBack(thePool().take());
}

}  // namespace vorin

// The names are the linker's (--wrap). Required: no exception may pass through OpenBLAS's frames;
// noexcept ends the process as any other work array that can't be had does.
extern "C" {
void* __wrap_blas_memory_alloc(int position) noexcept;  // NOLINT(bugprone-reserved-identifier)
void __wrap_blas_memory_free(void* buffer) noexcept;    // NOLINT(bugprone-reserved-identifier)

void* __wrap_blas_memory_alloc(int /*position*/) noexcept {  // NOLINT(bugprone-reserved-identifier)
  return vorin::thePool().take();
}

void __wrap_blas_memory_free(void* buffer) noexcept {  // NOLINT(bugprone-reserved-identifier)
  vorin::thePool().giveBack(buffer);
}
}
