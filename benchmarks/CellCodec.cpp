// The codec of cells in files: both ways, against plain copies of the same samples.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <vector>

#include "Claims.h"
#include "ClassEngine/MemoryBinStream.h"
#include "MC/CellCodec.h"
#include "MC/VolumeObject.h"
#include "ScanVolume.h"

namespace {

/// The blocks of the cells that the surface of a scan crosses, one behind the other.
std::vector<uint16_t> CollectSurfaceBlocks(const VolumeObject& volume) {
  std::vector<uint16_t> samples;
  volume.ForEachCell([&](const CellKey&, const VoxelCell& cell) {
    if (cell.CrossesSurface() && cell.Density) samples.insert(samples.end(), cell.Density, cell.Density + CellSamples);
  });
  return samples;
}

const bench::Benchmark cellCodec("CellCodec", [](std::vector<bench::Claim>& claims) {
  bench::Claim claim;
  claim.Text = "Surface cells of koala.obj at 512 encoded and decoded: MB of samples a second, ours / copied twice";
  claim.Goal = ">= 0";  // for information: cells are written to a disk, which is slower than either
  bench::TriangleSoup mesh;
  const bool loaded = bench::LoadBenchMesh("koala.obj", mesh);
  const auto volume = loaded ? bench::VoxelizeScan(mesh, bench::LongestSide(mesh) / 512) : nullptr;
  if (!volume) {
    claim.Skipped = "mesh not there or refused";
    claims.push_back(claim);
    return;
  }
  const std::vector<uint16_t> samples = CollectSurfaceBlocks(*volume);
  std::vector<uint16_t> decoded(samples.size()), copy(samples.size()), back(samples.size());
  bool whole = true;
  int64_t encodedBytes = 0;
  const bench::Pair pair = bench::MeasurePairs(
      9,
      [&] {
        MemoryBinStream stream;
        for (size_t at = 0; at < samples.size(); at += CellSamples) EncodeCell(stream, &samples[at], CellSamples);
        encodedBytes = stream.Size();
        for (size_t at = 0; at < samples.size(); at += CellSamples) whole &= DecodeCell(stream, &decoded[at], CellSamples);
      },
      [&] {
        std::memcpy(copy.data(), samples.data(), samples.size() * sizeof(uint16_t));
        std::memcpy(back.data(), copy.data(), samples.size() * sizeof(uint16_t));
      });
  if (!whole || decoded != samples || back != samples) {
    claim.Failed = "the decoded samples differ";
    claims.push_back(claim);
    return;
  }
  const double megabytes = double(samples.size()) * sizeof(uint16_t) / 1e6;
  claim.Ours = megabytes / pair.Ours;
  claim.Peer = megabytes / pair.Peer;
  claim.Ratio = claim.Ours / claim.Peer;
  char note[120];
  std::snprintf(note, sizeof note, "%zu cells, %.1f MB in %.1f MB; for information", samples.size() / CellSamples, megabytes,
                double(encodedBytes) / 1e6);
  claim.OursSpread = pair.OursSpread;
  claim.Note = note;
  claims.push_back(claim);
});

}  // namespace
