#include "toolbox/kept_blocks.hpp"

#include <array>
#include <atomic>
#include <bit>
#include <new>

namespace vorin {
namespace {

constexpr std::align_val_t line{64};

// Blocks of 32 kilobytes to 2 megabytes are kept: smaller ones stay with the system's allocator,
// and for larger ones a call computes so long that their pages don't count.
constexpr std::size_t smallest = std::size_t{1} << 15U;
constexpr std::size_t largest = std::size_t{1} << 21U;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool keeps = false;  // each array is watched on its own
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr bool keeps = false;
#else
constexpr bool keeps = true;
#endif
#else
constexpr bool keeps = true;
#endif

bool isKept(std::size_t bytes) {
  return keeps && bytes >= smallest && bytes <= largest;
}

// Sizes are rounded up to powers of 2 and one and a half times these, so that arrays of about one
// size share their blocks. Number and size of such a kind:
struct Kind {
  std::size_t number;
  std::size_t bytes;
};

Kind kindOf(std::size_t bytes) {
  const std::size_t power = std::bit_ceil(bytes);  // not below bytes
  const std::size_t between = power / 4 * 3;
  const auto doublings = static_cast<std::size_t>(std::countr_zero(power / smallest));
  return bytes <= between && power > smallest ? Kind{2 * doublings - 1, between}
                                              : Kind{2 * doublings, power};
}

constexpr std::size_t kinds = 2 * 6 + 1;  // 2^15, 1.5 * 2^15, ... 2^21
constexpr std::size_t blocksOfAKind = 4;

/// The blocks that wait for an array. A slot is emptied and filled by one atomic exchange, so no
/// lock is held and no two arrays get one block.
class Pool {
 public:
  Pool() = default;
  Pool(const Pool&) = delete;
  Pool& operator=(const Pool&) = delete;
  ~Pool() { empty(); }

  /// A block of this kind, or null.
  void* take(std::size_t kind) {
    for (std::atomic<void*>& slot : slots_[kind]) {
      if (void* const block = slot.exchange(nullptr, std::memory_order_acquire)) {
        return block;
      }
    }
    return nullptr;
  }

  /// False where the slots of this kind are full.
  bool keep(std::size_t kind, void* block) {
    for (std::atomic<void*>& slot : slots_[kind]) {
      void* none = nullptr;
      if (slot.compare_exchange_strong(none, block, std::memory_order_release,
                                       std::memory_order_relaxed)) {
        return true;
      }
    }
    return false;
  }

  void empty() {
    for (auto& slots : slots_) {
      for (std::atomic<void*>& slot : slots) {
        ::operator delete(slot.exchange(nullptr, std::memory_order_acquire), line);
      }
    }
  }

 private:
  std::array<std::array<std::atomic<void*>, blocksOfAKind>, kinds> slots_{};
};

Pool& pool() {
  static Pool blocks;
  return blocks;
}

}  // namespace

void* takeBlock(std::size_t bytes) {
  if (!isKept(bytes)) {
    return ::operator new(bytes, line);
  }
  const Kind kind = kindOf(bytes);
  if (void* const block = pool().take(kind.number)) {
    return block;
  }
  if (void* const block = ::operator new(kind.bytes, line, std::nothrow)) {
    return block;
  }
  pool().empty();  // what waits there may be what is missing
  return ::operator new(kind.bytes, line);
}

void giveBlock(void* block, std::size_t bytes) noexcept {
  if (block == nullptr || !isKept(bytes) || !pool().keep(kindOf(bytes).number, block)) {
    ::operator delete(block, line);
  }
}

}  // namespace vorin
