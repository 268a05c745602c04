#include "MC/StlExport.h"

#include <tbb/parallel_for.h>

#include <algorithm>
#include <cstring>

#include "MC/SurfaceCells.h"
#include "comms/Progress.h"
#include "comms/SafeFile.h"

using comms::cVec3;

namespace {

constexpr size_t HeaderBytes = 80, TriangleBytes = 50;
constexpr size_t BatchTriangles = 1 << 16;  // formatted side by side before they are written in order
constexpr int ProgressShift = 12;           // one step of the bar a 4096 triangles

struct Piece {
  const VolumeObject* Volume;
  const SurfaceData* Surface;
  size_t FirstTriangle;  // in the batch
};

std::vector<Piece> CollectPieces(const std::vector<const VolumeObject*>& volumes, uint64_t& triangles) {
  std::vector<Piece> pieces;
  triangles = 0;
  for (const VolumeObject* volume : volumes)
    for (const SurfaceCell& cell : CollectSurfaceCells(*volume)) {
      pieces.push_back({volume, cell.Surface, 0});
      triangles += cell.Surface->Indices().Count() / 3;
    }
  return pieces;
}

cVec3 SwapAxes(const cVec3& v) { return {v.x, v.z, -v.y}; }

void FormatPiece(const Piece& piece, const StlOptions& options, uint8_t* to) {
  const auto put = [&](const cVec3& v) {
    const cVec3 turned = options.SwapYZ ? SwapAxes(v) : v;
    std::memcpy(to, &turned, sizeof turned);
    to += sizeof turned;
  };
  const VolumeObject& volume = *piece.Volume;
  const BlockView<const VolumeVertex> vertices = piece.Surface->Vertices();
  const BlockView<const uint16_t> indices = piece.Surface->Indices();
  for (uint32_t i = 0; i + 2 < indices.Count(); i += 3) {
    const VolumeVertex* corners[3] = {&vertices[indices[i]], &vertices[indices[i + 1]], &vertices[indices[i + 2]]};
    cVec3 normal;  // those of the vertices point into the solid
    for (const VolumeVertex* v : corners) normal -= cVec3{v->nx, v->ny, v->nz};
    put(Normalized(volume.VolumeToWorldDirection(Normalized(normal))));
    for (const VolumeVertex* v : corners) put(volume.VolumeToWorld({v->x, v->y, v->z}));
    const uint8_t attribute[2] = {2, 0};
    std::memcpy(to, attribute, 2);
    to += 2;
  }
}

// Formats and writes pieces from `first` on until a batch is full; returns the end of the batch.
size_t WriteBatch(comms::SafeFileWriter& file, std::vector<Piece>& pieces, size_t first, const StlOptions& options,
                  std::vector<uint8_t>& bytes, uint64_t& done) {
  size_t end = first, triangles = 0;
  for (; end < pieces.size() && triangles < BatchTriangles; end++) {
    pieces[end].FirstTriangle = triangles;
    triangles += pieces[end].Surface->Indices().Count() / 3;
  }
  bytes.resize(triangles * TriangleBytes);
  tbb::parallel_for(tbb::blocked_range<size_t>(first, end, 32), [&](const tbb::blocked_range<size_t>& range) {
    for (size_t i = range.begin(); i != range.end(); i++)
      FormatPiece(pieces[i], options, bytes.data() + pieces[i].FirstTriangle * TriangleBytes);
  });
  file.Write(bytes.data(), bytes.size());
  done += triangles;
  return end;
}

}  // namespace

std::string MakeStlHeader() {
  std::string header = "BINARY STL WITH VOXEL DATA EXPORTD FROM Morvane";
  header.resize(HeaderBytes - 1, '.');
  return header + "\n";
}

bool ExportStl(const std::vector<const VolumeObject*>& volumes, const std::string& path, const StlOptions& options,
               std::string& error) {
  uint64_t triangles = 0, done = 0;
  std::vector<Piece> pieces = CollectPieces(volumes, triangles);
  if (triangles > UINT32_MAX) {
    error = path + ": an STL file holds at most 4294967295 triangles, the volumes have " + std::to_string(triangles) + ".";
    return false;
  }
  comms::SafeFileWriter file(path);
  const std::string header = MakeStlHeader();
  const uint32_t count = uint32_t(triangles);
  file.Write(header.data(), header.size());
  file.Write(&count, sizeof count);
  std::vector<uint8_t> bytes;
  for (size_t at = 0; at < pieces.size() && !file.Failed();) {
    const uint64_t before = done >> ProgressShift;
    at = WriteBatch(file, pieces, at, options, bytes, done);
    for (uint64_t step = before; step < done >> ProgressShift; step++)
      if (!comms::ShowProgress(double(step + 1), double(std::max<uint64_t>(1, triangles >> ProgressShift)), "ExportStl")) {
        error = path + ": the export was cancelled, nothing was written.";
        return false;
      }
  }
  if (!file.Commit()) {
    error = file.Error();
    return false;
  }
  return true;
}
