#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "ClassEngine/StrBuffer.h"
#include "ClassEngine/dynarray.h"
#include "ClassEngine/khash.h"
#include "ClassEngine/pool.h"
#include "ClassEngine/unihash.h"

TEST(DynArray, BehavesLikeAVectorAndGrowsByItsRule) {
  std::mt19937 random(11);
  DynArray<int> array;
  std::vector<int> reference;
  for (int i = 0; i < 3000; i++) {
    const int size = int(reference.size()), at = size ? int(random() % unsigned(size)) : 0;
    const int count = std::min(size - at, int(random() % 4));
    if (!size || random() % 2) {
      const int before = array.Capacity, item = size ? reference[size_t(at)] : i;
      EXPECT_EQ(array.Add(size ? array.Data[at] : item), size) << "an item of the array itself, which may move meanwhile";
      reference.push_back(item);
      EXPECT_TRUE(array.Capacity == before || array.Capacity == (before ? before + 1 + before / 2 + 15 : 16));
    } else if (random() % 2) {
      array.InsertAt(at, i);
      reference.insert(reference.begin() + at, i);
    } else {
      array.RemoveAt(at, count);
      reference.erase(reference.begin() + at, reference.begin() + at + count);
      array.Shrink(16);
      EXPECT_LE(array.Capacity, array.Count + 16);
      DynArray<int> copy(array);
      array = std::move(copy);
    }
    ASSERT_TRUE(std::equal(array.begin(), array.end(), reference.begin(), reference.end()));
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
}

TEST(StrBuffer, BuffersFollowTheText) {
  const int64_t expected[][2] = {{1, 8}, {8, 8}, {9, 16}, {65, 128}, {129, 144}, {512, 512}, {513, 896}, {1000, 1616}};
  for (const auto& [bytes, capacity] : expected) EXPECT_EQ(StrBuffer::CapacityFor(bytes), capacity) << bytes;
  for (int64_t bytes = 1; bytes < 100000; bytes++) ASSERT_GE(StrBuffer::CapacityFor(bytes), bytes);

  const size_t live = GetPool().GetLiveCount();
  StrBuffer text(std::string(255, 'x'));
  text = "short";
  EXPECT_EQ(text.Capacity, 256) << "up to 256 bytes a buffer is kept";
  text = std::string(256, 'x');
  text = "short";
  EXPECT_EQ(text.Capacity, 8);
  for (const char* empty : {"", static_cast<const char*>(nullptr)}) {
    text = "something";
    text = empty;
    EXPECT_STREQ(text.Get(), "");
    EXPECT_EQ(text.Data, nullptr);
  }
  EXPECT_EQ(GetPool().GetLiveCount(), live);
}

TEST(StrBuffer, TakesItsOwnPieces) {
  for (const size_t size : {5u, 100u, 300u, 5000u}) {
    std::string reference;
    for (size_t i = 0; i < size; i++) reference += char('a' + i % 26);
    StrBuffer text(reference);
    text.Append(text.View().substr(1));
    EXPECT_EQ(text.View(), reference + reference.substr(1));
    text = text.View().substr(3);
    EXPECT_EQ(text.View(), reference.substr(3) + reference.substr(1));
  }
}

TEST(NameHash, FindsEachNameAtItsPlaceFarPastItsCapacity) {
  NameHash table;
  const auto name = [](int i) { return "Member" + std::to_string(i); };
  for (int i = 0; i < 200000; i++) ASSERT_EQ(table.Add(name(i), uint32_t(i) * 3), i);
  const NameHash copy(table);
  table.Clear();
  EXPECT_EQ(table.Find("Member6"), -1);
  table = copy;
  for (int i = 0; i < 200000; i += 7) {
    ASSERT_EQ(table.Find(name(i)), i);
    ASSERT_EQ(table.GetValue(i), uint32_t(i) * 3);
    ASSERT_EQ(table.GetKey(i), name(i));
  }
  EXPECT_EQ(table.Find("member0"), -1) << "case counts";
  EXPECT_EQ(table.Add("Member5", 99), 5);
  EXPECT_EQ(table.GetValue(5), 15u) << "the first value stays";
}

TEST(CoordHash, BehavesLikeAListWhoseLastItemFillsGaps) {
  std::mt19937 random(5);
  CoordHash<std::unique_ptr<int>> table;
  std::vector<std::pair<CoordInt3, int>> reference;
  for (int i = 0; i < 50000; i++) {
    const auto coord = [&] { return int32_t(random() % 8) - 4; };
    const CoordInt3 key{coord(), coord(), coord()};
    const auto known = std::find_if(reference.begin(), reference.end(), [&](const auto& item) { return item.first == key; });
    const bool has = known != reference.end();
    ASSERT_EQ(table.Contains(key), has);
    if (random() % 2) {
      table.Set(key, std::make_unique<int>(i));
      (has ? *known : reference.emplace_back()) = {key, i};
    } else {
      ASSERT_EQ(table.Remove(key), has);
      if (!has) continue;
      *known = reference.back();
      reference.pop_back();
    }
    if (i == 40000) table.Reserve(5000);  // must not change the order
  }
  size_t at = 0;
  table.ForEach([&](const CoordInt3& key, const std::unique_ptr<int>& value) {
    ASSERT_LT(at, reference.size());
    ASSERT_TRUE(reference[at++] == std::pair(key, *value));
    ASSERT_EQ(table.Find(key), &value);
  });
  EXPECT_EQ(at, reference.size());
}

TEST(CoordHash, ClearKeepsMemoryOnlyForLikeFillings) {
  CoordHash<int32_t> table;
  for (int i = 0; i < 1000000; i++) table.Set(CoordInt3{i, 0, 0}, i);
  const size_t large = table.Bytes();
  table.Clear();
  EXPECT_EQ(table.Bytes(), large);
  EXPECT_EQ(table.Find(CoordInt3{5, 0, 0}), nullptr);
  table.Set(CoordInt3{1, 2, 3}, 4);
  table.Clear();
  EXPECT_LT(table.Bytes(), 1000u);
  table.Set(CoordInt3{1, 2, 3}, 4);
  EXPECT_EQ(*table.Find(CoordInt3{1, 2, 3}), 4);
}
