#include <cstring>
#include <random>
#include <thread>
#include <utility>
#include <vector>

#include "ClassEngine/TestHost.h"
#include "ClassEngine/pool.h"

// The next smaller size shares no block with it, the size itself is the last of its class.
TEST(Pool, SizeClassesBeginAndEndWhereTheyShould) {
  PooledAllocator pool;
  EXPECT_EQ(pool.Allocate(0), nullptr);
  const size_t limits[] = {8, 16, 32, 64, 128};
  size_t blocks = 0;
  for (const size_t limit : limits) {
    void* last = pool.Allocate(limit);
    EXPECT_EQ(pool.GetBlockCount(), ++blocks) << limit;
    void* first = pool.Allocate(limit / 2 + 1);
    EXPECT_EQ(pool.GetBlockCount(), blocks) << limit;
    EXPECT_EQ(static_cast<char*>(first) - static_cast<char*>(last), std::ptrdiff_t(limit))
        << "elements of one block are neighbours";
    EXPECT_EQ(std::memcmp(last, "DOOF", 4), 0) << "the stamp of a live element";
    pool.Free(last, limit);
    pool.Free(first, limit / 2 + 1);
  }
  void* large = pool.Allocate(129);
  EXPECT_EQ(pool.GetBlockCount(), blocks);
  EXPECT_EQ(pool.GetLiveCount(), 0u);
  pool.Free(large, 129);
  pool.Free(nullptr, 8);
}

TEST(Pool, ReallocateKeepsTheBytesAndWhereItCanThePlace) {
  const fixture::RecordingHost host;
  PooledAllocator pool;
  char* text = static_cast<char*>(pool.Reallocate(nullptr, 20, 20));
  EXPECT_EQ(host.Boxes, std::vector<std::string>{"Class engine error|NULL pointer in pool!"});
  std::memcpy(text, "nineteen characters", 20);
  EXPECT_EQ(pool.Reallocate(text, 20, 30), text);
  size_t size = 30;
  for (const size_t next : {33u, 128u, 129u, 5000u, 100u, 20u}) {
    text = static_cast<char*>(pool.Reallocate(text, size, next));
    EXPECT_STREQ(text, "nineteen characters") << size << " to " << next;
    size = next;
  }
  EXPECT_EQ(pool.Reallocate(text, size, 0), nullptr);
  EXPECT_EQ(pool.GetLiveCount(), 0u);
}

// Live elements that begin with the words that mark free ones are the trap.
TEST(Pool, CompactGivesBackEmptyBlocksAndNothingElse) {
  PooledAllocator pool;
  std::mt19937 random(3);
  std::vector<std::pair<char*, std::string>> kept, gone;
  const uint32_t words[] = {ChunkTag("BOOK"), ChunkTag("GLUK"), ChunkTag("BAAD"), ChunkTag("FOOD")};
  for (int i = 0; i < 20000; i++) {
    std::string content(4 + random() % 125, char('a' + i % 26));
    std::memcpy(content.data(), &words[random() % 4], 4);
    char* data = static_cast<char*>(pool.Allocate(content.size()));
    std::memcpy(data, content.data(), content.size());
    // The early ones go nearly all, so that most of their blocks are empty.
    (i < 15000 && i % 5000 != 0 ? gone : kept).emplace_back(data, content);
  }
  const size_t full = pool.GetBlockCount();
  for (const auto& [data, content] : gone) pool.Free(data, content.size());
  pool.Compact();
  EXPECT_LT(pool.GetBlockCount(), full * 2 / 5);
  EXPECT_EQ(pool.GetLiveCount(), kept.size());
  // Whatever is handed out now must not lie in a live element.
  std::vector<void*> fresh;
  for (int i = 0; i < 5000; i++) fresh.push_back(std::memset(pool.Allocate(64), 0xEE, 64));
  for (const auto& [data, content] : kept) EXPECT_EQ(std::string(data, content.size()), content);
  for (void* data : fresh) pool.Free(data, 64);
  for (const auto& [data, content] : kept) pool.Free(data, content.size());
  pool.Compact();
  EXPECT_EQ(pool.GetBlockCount(), 0u);
  EXPECT_NE(pool.Allocate(8), nullptr) << "an emptied pool serves on";
}

TEST(Pool, GuardWordsTellOfStrayWrites) {
  PooledAllocator pool;
  char* first = static_cast<char*>(pool.Allocate(16));
  char* freed = static_cast<char*>(pool.Allocate(16));
  pool.Free(freed, 16);
  EXPECT_TRUE(pool.IsWhole());
  for (char* stray : {freed, first + 16 * PoolSizeClass::ElementsPerBlock}) {
    *stray ^= 1;
    EXPECT_FALSE(pool.IsWhole());
    *stray ^= 1;
  }
  pool.Compact();
  EXPECT_TRUE(pool.IsWhole());
  pool.Free(first, 16);
}

TEST(PoolDeathTest, AnotherThreadIsStoppedAtPooledSizesOnly) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  PooledAllocator pool;
  pool.Free(pool.Allocate(16), 16);
  std::thread([&] { pool.Free(pool.Allocate(1000), 1000); }).join();
  EXPECT_DEATH(std::thread([&] { pool.Allocate(16); }).join(), "assertion failed");
}
