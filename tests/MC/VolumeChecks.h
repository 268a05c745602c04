#pragma once
// Slow routes and dumps that tests of volumes share.
#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "MC/ApplyField.h"
#include "MC/VolumeObject.h"
#include "comms/Progress.h"

namespace volumechecks {

inline std::tuple<int, int, int> Ordered(const CellKey& key) { return {key.z, key.y, key.x}; }

/// Samples of every cell by z, y, x, uniform ones written out; without those that stand for nothing where `withEmpty` is not set.
using SampleDump = std::map<std::tuple<int, int, int>, std::vector<uint16_t>>;
inline SampleDump DumpSamples(const VolumeObject& volume, bool withEmpty = true) {
  SampleDump dump;
  volume.ForEachCell([&](const CellKey& key, const VoxelCell& cell) {
    if (!withEmpty && !cell.Density && cell.UniformValue == 0) return;
    std::vector<uint16_t>& samples = dump[Ordered(key)];
    samples.assign(CellSamples, cell.UniformValue);
    if (cell.Density) samples.assign(cell.Density, cell.Density + CellSamples);
  });
  return dump;
}

/// visit(place, value) for all 729 samples of every cell, so those that neighbours repeat come more than once.
template <class Visit>
void ForEachSample(const VolumeObject& volume, Visit&& visit) {
  volume.ForEachCell([&](const CellKey& key, const VoxelCell& cell) {
    for (int i = 0; i < CellSamples; i++)
      visit(std::array{key.x * 8 + i % 9, key.y * 8 + i / 9 % 9, key.z * 8 + i / 81},
            cell.Density ? cell.Density[i] : cell.UniformValue);
  });
}

/// A sample of either volume that the other one has not, as it is or as an axis mirrors it, in words; empty where there is none.
/// Of a volume and itself: one that neighbouring cells repeat wrongly, or that its mirror image has not.
inline std::string FindDifference(const VolumeObject& a, const VolumeObject& b, int mirror = -1) {
  std::string found;
  for (const auto& [one, other] : {std::pair{&a, &b}, {&b, &a}}) {
    VolumeObject::Cursor cursor;
    ForEachSample(*one, [&, &mirrored = *other](std::array<int, 3> at, uint16_t value) {
      if (mirror >= 0) at[size_t(mirror)] *= -1;
      const uint16_t expected = mirrored.SampleVoxel(at[0], at[1], at[2], cursor, false);
      if (value != expected)
        found = testing::PrintToString(at) + ": " + std::to_string(value) + ", not " + std::to_string(expected);
    });
  }
  return found;
}

/// Every byte of every cell that a stroke may change: samples, values, flags but Touched, triangles, ids and colours.
inline std::map<std::tuple<int, int, int>, std::vector<uint8_t>> DumpCells(const VolumeObject& volume) {
  std::map<std::tuple<int, int, int>, std::vector<uint8_t>> dump;
  volume.ForEachCell([&](const CellKey& key, const VoxelCell& cell) {
    std::vector<uint8_t>& bytes = dump[Ordered(key)];
    const auto add = [&](const void* data, size_t size) {
      bytes.insert(bytes.end(), static_cast<const uint8_t*>(data), static_cast<const uint8_t*>(data) + size);
    };
    const auto addBlock = [&](const auto& block) { add(block.Data(), block.Count() * sizeof(*block.Data())); };
    bytes.push_back(uint8_t(cell.Flags & ~Touched));
    add(&cell.UniformValue, 2);
    if (cell.Density) add(cell.Density, CellSamples * 2);
    if (!cell.Surface) return;
    const SurfaceData& surface = *cell.Surface;
    addBlock(surface.Vertices());
    addBlock(surface.Indices());
    addBlock(surface.Saved().Vertices());
    addBlock(surface.VertexIds);
    if (!surface.Empty()) add(&surface.Box, sizeof surface.Box);
    for (uint32_t i = 0; i < surface.ColorLayers().Count(); i++) addBlock(surface.ColorLayers()[i].Colors);
  });
  return dump;
}

/// Merges a field into every sample of the cells -5 .. 4 along each axis, by the rules as they are told.
inline void ApplyPlainly(VolumeObject& volume, const std::function<float(float, float, float)>& field, int mode, bool airbrush) {
  for (int n = 0; n < 1000; n++) {
    const CellKey key{n % 10 - 5, n / 10 % 10 - 5, n / 100 - 5};
    VoxelCell* cell = volume.GetCell(key.x, key.y, key.z, true, false, false);
    cell->Expand(ExpandAllocate | ExpandFill, false);
    for (int i = 0; i < CellSamples; i++) {
      uint16_t& v = cell->Density[i];
      const float f = field(float(key.x * 8 + i % 9), float(key.y * 8 + i / 9 % 9), float(key.z * 8 + i / 81));
      const int q = int((f > 0 ? f < 1 ? f : 1 : 0) * 65535.0f);
      if (mode == ApplyAdd)
        v = uint16_t(std::max<int>(v, q));
      else if (airbrush)
        v = uint16_t(std::max(0, v - q));
      else
        v = uint16_t(std::min<int>(v, mode == ApplySubtract ? 65535 - q : q));
    }
  }
}

/// Cancels what shows its progress while this lives, after some calls.
struct Canceller : comms::ProgressSink {
  explicit Canceller(int after) : Left(after) {}
  ~Canceller() override { comms::SetProgressSink(Old); }
  bool Show(double value, double maximum, const char*) override {
    EXPECT_LE(value, maximum);
    return Left-- > 0;
  }
  int Left;
  comms::ProgressSink* Old = comms::SetProgressSink(this);
};

}  // namespace volumechecks
