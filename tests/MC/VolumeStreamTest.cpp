// Volumes as bytes: what comes back, and what is refused.
#include "MC/VolumeStream.h"

#include <gtest/gtest.h>

#include "ClassEngine/MemoryBinStream.h"
#include "MC/VolumeChecks.h"
#include "MC/VolumeFixtures.h"

namespace {

using Volumes = std::vector<std::unique_ptr<VolumeObject>>;

/// Cells of every kind at `at`: surface, noise, solid.
void Build(VolumeObject& volume, const CellKey& at) {
  const CellKey low{at.x * 8, at.y * 8, at.z * 8}, high{low.x + 16, low.y + 16, low.z + 16};
  fixtures::Fill(volume, at, at + CellKey{1, 1, 1}, fixtures::Noise{low, high, 7});
  volume.GetCell(at.x + 3, at.y, at.z, true, false, false)->SetUniform(65535, false);
}

void Save(const Volumes& volumes, MemoryBinStream& stream) {
  std::vector<const VolumeObject*> list;
  for (const auto& volume : volumes) list.push_back(volume.get());
  SaveVolumes(stream, list);
}

Volumes MakeTwo(const CellKey& at) {
  Volumes volumes;
  for (const char* name : {"first", "second"}) {
    volumes.push_back(std::make_unique<VolumeObject>());
    volumes.back()->Name = name;
    Build(*volumes.back(), at);
  }
  volumes[1]->SpaceMatrix = {{{0, 2, 0, 0}, {-2, 0, 0, 0}, {0, 0, 2, 0}, {5, 6, 7, 1}}};
  volumes[1]->ShaderName = "mcubes";
  volumes[1]->Reference = volumes[0].get();
  return volumes;
}

TEST(VolumeStream, EverySampleComesBack) {
  for (const CellKey& at : {CellKey{-3, 0, 5}, CellKey{-32768, 2, -9}, CellKey{40000, -40000, 0}}) {
    const Volumes saved = MakeTwo(at);
    MemoryBinStream stream;
    Save(saved, stream);
    const uint32_t version = ReadDWORD(stream);
    EXPECT_EQ(version, at.x == -3 ? 5u : 6u);
    stream.SetReadPos(0);
    Volumes loaded;
    std::string error;
    ASSERT_TRUE(LoadVolumes(stream, loaded, error)) << error;
    EXPECT_EQ(GetBytesLeft(stream), 0);
    ASSERT_EQ(loaded.size(), 2u);
    for (size_t i = 0; i < 2; i++) {
      EXPECT_EQ(loaded[i]->Name, saved[i]->Name);
      EXPECT_EQ(loaded[i]->ShaderName, saved[i]->ShaderName);
      EXPECT_EQ(loaded[i]->SpaceMatrix, saved[i]->SpaceMatrix);
      EXPECT_EQ(volumechecks::DumpSamples(*loaded[i]), volumechecks::DumpSamples(*saved[i]));
      EXPECT_EQ(loaded[i]->DirtyCells.Count(), loaded[i]->Cells.Count()) << "nobody would see the surface";
    }
    EXPECT_EQ(loaded[1]->Reference, loaded[0].get());
  }
}

// Cut off anywhere, and with any byte of the head of the stream another one: no crash, and a sentence where it can't be read.
TEST(VolumeStream, DamageIsToldAndLeavesNothing) {
  for (const CellKey& at : {CellKey{}, CellKey{40000, 0, 0}}) {
    MemoryBinStream whole;
    Save(MakeTwo(at), whole);
    const auto load = [&](int64_t size, int64_t change) {
      MemoryBinStream stream;
      stream.Write(whole.GetData(), size);
      if (change >= 0) {
        stream.SetWritePos(change);
        WriteBYTE(stream, uint8_t(whole.GetData()[change] ^ 0xFF));
      }
      Volumes volumes;
      std::string error;
      const bool isRead = LoadVolumes(stream, volumes, error);
      EXPECT_EQ(isRead, error.empty()) << error;
      EXPECT_EQ(volumes.size(), isRead ? 2u : 0u) << error;
      return isRead;
    };
    for (int64_t size = 0; size < whole.Size(); size += size < 400 ? 1 : 97) EXPECT_FALSE(load(size, -1)) << size;
    for (int64_t change = 0; change < 400; change++) load(whole.Size(), change);
    EXPECT_FALSE(load(whole.Size(), 0)) << "the version";
  }
}

// With long keys what stands between the cells is passed over, and the end mark ends the list whatever count was announced.
TEST(VolumeStream, LongKeysGoOnBehindDamage) {
  VolumeObject one;
  one.Name = "one";
  one.GetCell(40000, 1, 2, true, false, false)->SetUniform(65535, false);
  const VolumeObject* list[] = {&one};
  MemoryBinStream whole, damaged;
  SaveVolumes(whole, list);
  constexpr int64_t tail = (2 + 12 + 3 + 2) + 2;  // the cell, the end mark
  damaged.Write(whole.GetData(), whole.Size() - tail);
  WriteWORD(damaged, 52753);  // a cell of another edge
  for (int i = 0; i < 3; i++) WriteDWORD(damaged, 1);
  WriteBYTE(damaged, 17);
  for (int i = 0; i < 3; i++) WriteWORD(damaged, 99);
  damaged.Write(whole.GetData() + whole.Size() - tail, tail);
  Volumes volumes;
  std::string error;
  ASSERT_TRUE(LoadVolumes(damaged, volumes, error)) << error;
  EXPECT_EQ(volumechecks::DumpSamples(*volumes[0]), volumechecks::DumpSamples(one));
}

}  // namespace
