#include "toolbox/block_cache.hpp"

#include <algorithm>
#include <bit>
#include <new>
#include <vector>

namespace vorin {
namespace {

constexpr std::align_val_t line{64};
constexpr std::size_t smallestKept = 4096;
constexpr std::size_t largestKept = std::size_t{1} << 20;
constexpr std::size_t mostKept = std::size_t{4} << 20;

// Sizes come in four steps an octave, so that arrays of nearly one size share blocks. Other
// sizes are as they are, and so are all where an address checker is to see overruns.
std::size_t sizeOf(std::size_t bytes) {
#if defined(VORIN_SANITIZED)
  return bytes;
#else
  if (bytes < smallestKept || bytes > largestKept) {
    return bytes;
  }
  const std::size_t step = std::bit_floor(bytes) / 4;
  return (bytes + step - 1) / step * step;
#endif
}

bool isKept(std::size_t size) {
#if defined(VORIN_SANITIZED)
  static_cast<void>(size);
  return false;
#else
  return size >= smallestKept && size <= largestKept;
#endif
}

struct Cache {
  struct Block {
    void* address;
    std::size_t size;
  };
  std::vector<Block> blocks;
  std::size_t held = 0;
};

// Never destroyed: work arrays may go later than any order of destruction would have it.
Cache& cache() {
  static Cache& kept = *new Cache;
  return kept;
}

}  // namespace

void* takeBlock(std::size_t bytes) {
  const std::size_t size = sizeOf(bytes);
  if (isKept(size)) {
    Cache& kept = cache();
    const auto found = std::find_if(kept.blocks.rbegin(), kept.blocks.rend(),
                                    [size](const Cache::Block& b) { return b.size == size; });
    if (found != kept.blocks.rend()) {
      void* block = found->address;
      *found = kept.blocks.back();
      kept.blocks.pop_back();
      kept.held -= size;
      return block;
    }
  }
  return ::operator new(size, line);
}

void giveBlock(void* block, std::size_t bytes) {
  const std::size_t size = sizeOf(bytes);
  Cache& kept = cache();
  if (block != nullptr && isKept(size) && kept.held + size <= mostKept) {
    kept.blocks.push_back({block, size});
    kept.held += size;
    return;
  }
  ::operator delete(block, line);
}

}  // namespace vorin
