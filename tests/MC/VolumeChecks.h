#pragma once
// Slow routes and dumps that tests of volumes share.
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "MC/ApplyField.h"
#include "MC/VolumeObject.h"

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
    addBlock(surface.Vertices);
    addBlock(surface.Indices);
    addBlock(surface.SavedVertices);
    addBlock(surface.VertexIds);
    if (!surface.Vertices.Empty()) add(&surface.Box, sizeof surface.Box);
    for (uint32_t i = 0; i < surface.ColorLayers.Count(); i++) addBlock(surface.ColorLayers[i].Colors);
  });
  return dump;
}

/// Dense samples of a cube [-Half, Half]^3 and the merge of a field into it, sample by sample, by the rules as they are told.
class DenseVolume {
 public:
  explicit DenseVolume(int half) : Half(half), m_Samples(size_t(Side() * Side() * Side()), 0) {}
  int Side() const { return 2 * Half + 1; }
  uint16_t& At(int x, int y, int z) { return m_Samples[size_t(((z + Half) * Side() + y + Half) * Side() + x + Half)]; }
  bool Holds(int x, int y, int z) const { return std::abs(x) <= Half && std::abs(y) <= Half && std::abs(z) <= Half; }
  template <class Visit>
  void ForEach(Visit&& visit) {
    for (int z = -Half; z <= Half; z++)
      for (int y = -Half; y <= Half; y++)
        for (int x = -Half; x <= Half; x++) visit(x, y, z, At(x, y, z));
  }
  void Apply(const std::function<float(float, float, float)>& field, int mode, bool airbrush) {
    ForEach([&](int x, int y, int z, uint16_t& v) {
      float f = field(float(x), float(y), float(z));
      f = f > 0 ? f < 1 ? f : 1 : 0;
      const int q = int(f * 65535.0f);
      if (mode == ApplyAdd)
        v = uint16_t(std::max<int>(v, q));
      else if (airbrush)
        v = uint16_t(std::max(0, v - q));
      else
        v = uint16_t(std::min<int>(v, mode == ApplySubtract ? 65535 - q : q));
    });
  }
  /// First difference to `volume` in words, far planes of its cells included; empty where there is none.
  std::string Compare(const VolumeObject& volume) {
    std::string found;
    const auto report = [&](int x, int y, int z, int is, int expected) {
      if (found.empty())
        found = "sample (" + std::to_string(x) + ", " + std::to_string(y) + ", " + std::to_string(z) + ") is " +
                std::to_string(is) + ", expected " + std::to_string(expected);
    };
    VolumeObject::Cursor cursor;
    ForEach([&](int x, int y, int z, uint16_t v) {
      const uint16_t is = volume.SampleVoxel(x, y, z, cursor, false);
      if (is != v) report(x, y, z, is, v);
    });
    volume.ForEachCell([&](const CellKey& key, const VoxelCell& cell) {
      for (int i = 0; i < CellSamples; i++) {
        const int x = key.x * 8 + i % 9, y = key.y * 8 + i / 9 % 9, z = key.z * 8 + i / 81;
        const uint16_t is = cell.Density ? cell.Density[i] : cell.UniformValue;
        const uint16_t expected = Holds(x, y, z) ? At(x, y, z) : 0;
        if (is != expected) report(x, y, z, is, expected);
      }
    });
    return found;
  }
  int Half;

 private:
  std::vector<uint16_t> m_Samples;
};

}  // namespace volumechecks
