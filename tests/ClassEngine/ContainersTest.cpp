#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "ClassEngine/StrBuffer.h"
#include "ClassEngine/dynarray.h"
#include "ClassEngine/khash.h"
#include "ClassEngine/pool.h"
#include "ClassEngine/unihash.h"

// --- DynArray ------------------------------------------------------------------------------------

// Half as much again at least each time, so that a million items cost some thirty moves, and the exact figures of the rule.
TEST(DynArray, GrowsByItsRule) {
  DynArray<int, 15> array;
  array.Add(1);
  EXPECT_EQ(array.Capacity, 16);
  int moves = 0;
  for (int i = 1; i < 1000000; i++) {
    const int before = array.Capacity;
    array.Add(array.Data[0]);  // an item of the array itself, which may move meanwhile
    if (array.Capacity == before) continue;
    EXPECT_EQ(array.Capacity, before + 1 + before / 2 + 15);
    moves++;
  }
  EXPECT_LT(moves, 35);
  for (const int item : array) ASSERT_EQ(item, 1);
}

TEST(DynArray, BehavesLikeAVector) {
  std::mt19937 random(11);
  DynArray<int> array;
  std::vector<int> reference;
  for (int i = 0; i < 3000; i++) {
    const int size = int(reference.size()), at = size ? int(random() % unsigned(size)) : 0;
    switch (random() % 5) {
      case 0:
      case 1:
        EXPECT_EQ(array.Add(i), size);
        reference.push_back(i);
        break;
      case 2:
        array.InsertAt(at, i);
        reference.insert(reference.begin() + at, i);
        break;
      case 3: {
        const int count = int(random() % unsigned(size - at + 1)) % 4;
        array.RemoveAt(at, count);
        reference.erase(reference.begin() + at, reference.begin() + at + count);
        break;
      }
      default: {
        array.Shrink(16);
        EXPECT_LE(array.Capacity, array.Count + 16 + 15 + array.Count / 2);
        DynArray<int> copy(array);
        array = std::move(copy);
      }
    }
    ASSERT_EQ(array.Count, int(reference.size()));
    ASSERT_TRUE(std::equal(array.begin(), array.end(), reference.begin()));
  }
}

TEST(ContainersDeathTest, ReadsOutOfRangeAreStopped) {
  DynArray<int> array;
  array.Add(5);
  EXPECT_DEATH(array[1], "dynarray.h.*assertion failed");
  EXPECT_DEATH(array[-1], "dynarray.h.*assertion failed");
  EXPECT_DEATH(array.RemoveAt(0, 2), "assertion failed");
  NameHash table;
  table.Add("only", 1);
  EXPECT_DEATH(table.GetValue(1), "khash.h.*assertion failed");
  EXPECT_DEATH(table.GetKey(-1), "khash.h.*assertion failed");
}

// --- StrBuffer -----------------------------------------------------------------------------------

TEST(StrBuffer, BuffersFollowTheText) {
  const int64_t expected[][2] = {
      {1, 8},     {8, 8},     {9, 16},    {17, 32},    {65, 128}, {128, 128},
      {129, 144}, {512, 512}, {513, 896}, {1000, 1616}};  // 513: 528 exceeds 512, so 513 + 256 + 128 = 897, cut to 896
  for (const auto& [bytes, capacity] : expected) EXPECT_EQ(StrBuffer::CapacityFor(bytes), capacity) << bytes;
  for (int64_t bytes = 1; bytes < 100000; bytes++) ASSERT_GE(StrBuffer::CapacityFor(bytes), bytes);

  const size_t live = GetPool().GetLiveCount();
  StrBuffer text(std::string(255, 'x'));
  EXPECT_EQ(text.Capacity, 256);
  text = "short";
  EXPECT_EQ(text.Capacity, 256) << "up to 256 bytes a buffer is kept";
  text = std::string(256, 'x');
  ASSERT_GT(text.Capacity, 256);
  text = "short";
  EXPECT_EQ(text.Capacity, 8);
  for (const char* empty : {"", static_cast<const char*>(nullptr)}) {
    text = "something";
    text = empty;
    EXPECT_STREQ(text.Get(), "");
    EXPECT_EQ(text.Data, nullptr);
    EXPECT_EQ(text.Capacity, 0);
  }
  EXPECT_EQ(GetPool().GetLiveCount(), live);
}

TEST(StrBuffer, TakesItsOwnPieces) {
  for (const size_t size : {5u, 100u, 300u, 5000u}) {
    std::string reference;
    for (size_t i = 0; i < size; i++) reference += char('a' + i % 26);
    StrBuffer text(reference);
    for (int i = 0; i < 4; i++) {
      text.Append(text.View().substr(1));
      reference += reference.substr(1);
    }
    EXPECT_EQ(text.View(), reference);
    text = text.View().substr(3);
    EXPECT_EQ(text.View(), reference.substr(3));
    text = text.View().substr(0, 0);
    EXPECT_EQ(text.Data, nullptr);
  }
}

// --- Hash ----------------------------------------------------------------------------------------

TEST(NameHash, FindsEachNameAtItsPlaceFarPastItsCapacity) {
  NameHash table;
  constexpr int Count = 200000;
  const auto name = [](int i) { return "Member" + std::to_string(i); };
  for (int i = 0; i < Count; i++) ASSERT_EQ(table.Add(name(i), uint32_t(i) * 3), i);
  ASSERT_EQ(table.GetCount(), Count);
  for (int i = 0; i < Count; i += 7) {
    ASSERT_EQ(table.Find(name(i)), i);
    ASSERT_EQ(table.GetValue(i), uint32_t(i) * 3);
    ASSERT_EQ(table.GetKey(i), name(i));
  }
  EXPECT_EQ(table.Find("member0"), -1) << "case counts";
  EXPECT_EQ(table.Find("Member"), -1);
  EXPECT_EQ(table.Add("Member5", 99), 5);
  EXPECT_EQ(table.GetValue(5), 15u) << "the first value stays";
  const NameHash copy(table);
  table.Clear();
  EXPECT_EQ(table.Find("Member6"), -1);
  EXPECT_EQ(copy.Find("Member6"), 6) << "a copy has keys of its own";
}

// --- CoordHash -----------------------------------------------------------------------------------

struct TestKey {
  int32_t x, y, z;
};

TEST(CoordHash, BehavesLikeAMap) {
  std::mt19937 random(5);
  CoordHash<std::unique_ptr<int>> table;
  std::map<std::tuple<int, int, int>, int> reference;
  for (int i = 0; i < 200000; i++) {
    const auto coord = [&] { return int32_t(random() % 24) - 12; };
    const TestKey key{coord(), coord(), coord()};
    const std::tuple<int, int, int> tuple{key.x, key.y, key.z};
    if (random() % 2) {
      table.Set(key, std::make_unique<int>(i));
      reference[tuple] = i;
    } else {
      ASSERT_EQ(table.Remove(key), reference.erase(tuple) == 1);
    }
    ASSERT_EQ(table.Count(), reference.size());
  }
  size_t seen = 0;
  table.ForEach([&](const TestKey& key, const std::unique_ptr<int>& value) {
    const auto found = reference.find({key.x, key.y, key.z});
    ASSERT_NE(found, reference.end());
    ASSERT_EQ(found->second, *value);
    seen++;
  });
  EXPECT_EQ(seen, reference.size());
  for (const auto& [key, value] : reference) {
    const std::unique_ptr<int>* found = table.Find(TestKey{std::get<0>(key), std::get<1>(key), std::get<2>(key)});
    ASSERT_TRUE(found && **found == value);
  }
}

TEST(CoordHash, WalksInTheOrderOfTheOperationsWhateverItsSize) {
  const auto order = [](size_t reserve) {
    CoordHash<int32_t> table;
    table.Reserve(reserve);
    for (int i = 0; i < 1000; i++) table.Set(TestKey{i * 7919 % 1000, -i, i % 3}, i);
    for (int i = 0; i < 1000; i += 3) table.Remove(TestKey{i * 7919 % 1000, -i, i % 3});
    std::vector<int> values;
    table.ForEach([&](const CoordInt3&, int32_t value) { values.push_back(value); });
    return values;
  };
  EXPECT_EQ(order(0), order(100000));
}

TEST(CoordHash, ClearKeepsMemoryOnlyForLikeFillings) {
  CoordHash<int32_t> table;
  for (int i = 0; i < 1000000; i++) table.Set(TestKey{i, 0, 0}, i);
  const size_t large = table.Bytes();
  table.Clear();
  EXPECT_EQ(table.Bytes(), large);
  EXPECT_EQ(table.Find(TestKey{5, 0, 0}), nullptr);
  table.Set(TestKey{1, 2, 3}, 4);
  table.Clear();
  EXPECT_LT(table.Bytes(), 1000u);
  table.Set(TestKey{1, 2, 3}, 4);
  EXPECT_EQ(*table.Find(TestKey{1, 2, 3}), 4);
}
