// Kept blocks: whoever takes one has it alone, on a cache line, and gets one that was given
// back before the system is asked.
#include "toolbox/block_cache.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <set>
#include <vector>

namespace {

using vorin::giveBlock;
using vorin::takeBlock;

TEST(BlockCache, BlocksInUseAreApartAndBeginOnACacheLine) {
  struct Taken {
    unsigned char* block;
    std::size_t bytes;
  };
  for (int round = 0; round < 3; ++round) {
    std::vector<Taken> taken;
    for (std::size_t bytes = 1; bytes < 3000000; bytes = bytes * 3 / 2 + 1) {
      for (int repeat = 0; repeat < 2; ++repeat) {
        auto* block = static_cast<unsigned char*>(takeBlock(bytes));
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 64, 0U);
        std::memset(block, static_cast<int>(taken.size() % 251), bytes);
        taken.push_back({block, bytes});
      }
    }
    for (std::size_t k = 0; k < taken.size(); ++k) {
      EXPECT_EQ(taken[k].block[0], k % 251);
      EXPECT_EQ(taken[k].block[taken[k].bytes - 1], k % 251);
    }
    for (const Taken& one : taken) {
      giveBlock(one.block, one.bytes);
    }
  }
}

TEST(BlockCache, ABlockOfNearlyTheSizeComesBack) {
#if defined(VORIN_SANITIZED)
  GTEST_SKIP() << "nothing is kept under an address checker";
#else
  // Four steps an octave: 68000 and 80000 both take 81920 bytes.
  std::set<void*> given;
  std::vector<void*> blocks;
  for (int k = 0; k < 3; ++k) {
    blocks.push_back(takeBlock(80000));
    given.insert(blocks.back());
  }
  for (void* block : blocks) {
    giveBlock(block, 80000);
  }
  void* again = takeBlock(68000);
  EXPECT_EQ(given.count(again), 1U);
  giveBlock(again, 68000);
#endif
}

TEST(BlockCache, NothingIsABlockToo) {
  giveBlock(takeBlock(0), 0);
  giveBlock(nullptr, 0);
}

}  // namespace
