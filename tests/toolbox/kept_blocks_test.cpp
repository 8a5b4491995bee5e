// Blocks of memory that are kept from one array to the next.
#include "toolbox/kept_blocks.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <thread>
#include <vector>

namespace {

using vorin::giveBlock;
using vorin::takeBlock;

bool beginsOnALine(const void* block) {
  return reinterpret_cast<std::uintptr_t>(block) % 64 == 0;
}

TEST(KeptBlocks, AreNotSharedAndHoldWhatIsAskedFor) {
  // Every size about those at which the kinds change, all at once and filled to the last byte.
  std::vector<std::size_t> sizes;
  for (std::size_t power = 1U << 14U; power <= 1U << 22U; power *= 2) {
    for (const std::size_t near : {power, power / 2 * 3}) {
      sizes.insert(sizes.end(), {near - 1, near, near + 1});
    }
  }
  for (int round = 0; round < 2; ++round) {  // the second with blocks of the first
    std::vector<unsigned char*> blocks;
    for (std::size_t i = 0; i < sizes.size(); ++i) {
      blocks.push_back(static_cast<unsigned char*>(takeBlock(sizes[i])));
      ASSERT_TRUE(beginsOnALine(blocks[i]));
      std::memset(blocks[i], static_cast<int>(i + 1), sizes[i]);
    }
    for (std::size_t i = 0; i < sizes.size(); ++i) {
      EXPECT_EQ(blocks[i][0], i + 1);
      EXPECT_EQ(blocks[i][sizes[i] / 2], i + 1);
      EXPECT_EQ(blocks[i][sizes[i] - 1], i + 1);
      giveBlock(blocks[i], sizes[i]);
    }
  }
  giveBlock(nullptr, 100000);
}

TEST(KeptBlocks, AreNotSharedByThreads) {
  const auto work = [](unsigned seed) {
    std::mt19937 random(seed);
    for (int i = 0; i < 2000; ++i) {
      const std::size_t size = 30000 + random() % 100000;
      auto* const block = static_cast<unsigned char*>(takeBlock(size));
      std::memset(block, static_cast<int>(seed), size);
      std::this_thread::yield();
      if (block[0] != seed || block[size - 1] != seed) {
        ADD_FAILURE() << "a block was changed by another thread";
      }
      giveBlock(block, size);
    }
  };
  std::vector<std::thread> threads;
  for (unsigned seed = 1; seed <= 4; ++seed) {
    threads.emplace_back(work, seed);
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

}  // namespace
