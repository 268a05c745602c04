#include "comms/MeshFault.h"

#include <algorithm>
#include <bit>

#include "comms/ObjReader.h"
#include "comms/cMeshIO.h"
#include "comms/cMeshObj.h"

namespace comms {

// Of a float without its sign; from here on it is infinite or not a number.
constexpr uint32_t InfinityBits = 0x7F800000;
static uint32_t BitsWithoutSign(float value) { return std::bit_cast<uint32_t>(value) & 0x7FFFFFFF; }

// Index of the first position that is not finite, or their number. Nearly every mesh has none: that is found without a branch.
static size_t FindInfinitePosition(const cRawList<cVec3>& positions) {
  uint32_t largest = 0;
  for (const cVec3& v : positions)
    largest = std::max({largest, BitsWithoutSign(v.x), BitsWithoutSign(v.y), BitsWithoutSign(v.z)});
  if (largest < InfinityBits) return positions.size();
  return size_t(std::find_if_not(positions.begin(), positions.end(), [](const cVec3& v) { return IsFinite(v); }) -
                positions.begin());
}

namespace {
struct BadCorner {
  size_t Header = 0;    // record of the polygon
  int64_t Polygon = 0;  // its number, from 1
  int Corner = 0;       // from 0; -1: the stream ends within the polygon
};
}  // namespace

// Of a mesh whose indices are known to be bad.
static BadCorner FindBadCorner(const cRawMesh& mesh) {
  BadCorner bad;
  for (size_t at = 0; at < mesh.Polygons.size(); at += size_t(mesh.Polygons[at].Corners()) + 1) {
    bad.Header = at;
    bad.Polygon++;
    const int corners = mesh.Polygons[at].Corners();
    if (corners < 0 || size_t(corners) > mesh.Polygons.size() - at - 1) break;
    for (bad.Corner = 0; bad.Corner < corners; bad.Corner++)
      if (!mesh.HasValidIndices(mesh.Polygons[at + 1 + size_t(bad.Corner)])) return bad;
  }
  bad.Corner = -1;
  return bad;
}

// "names vertex 9, the file holds 4". `token` is the corner as the file writes it; empty where that is not known.
static cStr DescribeCorner(const cRawMesh& mesh, const cRawPolyRec& corner, std::string_view token) {
  const bool isPosition = size_t(corner.Position()) >= mesh.Positions.size();
  const bool isTexCoord = !isPosition && corner.TexCoord() != -1 && size_t(corner.TexCoord()) >= mesh.TexCoords.size();
  const char* const kind = isPosition ? "vertex" : isTexCoord ? "texture coordinate" : "normal";
  const int64_t index = isPosition ? corner.Position() : isTexCoord ? corner.TexCoord() : corner.Normal();
  const size_t count = isPosition ? mesh.Positions.size() : isTexCoord ? mesh.TexCoords.size() : mesh.Normals.size();
  const cStr held = Format("the file holds %lld", static_cast<long long>(count));
  if (index >= 0) return Format("names %s %lld, %s", kind, static_cast<long long>(index) + 1, held.c_str());
  const cStr quoted = token.empty() ? cStr() : " with \"" + cStr(token) + "\"";
  return Format("names a %s before the first%s, %s", kind, quoted.c_str(), held.c_str());
}

static cStr DescribePosition(const cRawMesh& mesh, size_t index, const cStr& fileName) {
  const cVec3& v = mesh.Positions[index];
  return Format("%s, vertex %lld: it is (%g, %g, %g), three finite numbers are expected", fileName.c_str(),
                static_cast<long long>(index) + 1, double(v.x), double(v.y), double(v.z));
}

static cStr DescribePolygon(const cRawMesh& mesh, const BadCorner& bad, const cStr& fileName) {
  const cStr place = Format("%s, polygon %lld: it ", fileName.c_str(), static_cast<long long>(bad.Polygon));
  if (bad.Corner < 0) return place + Format("declares %d corners, more than follow", mesh.Polygons[bad.Header].Corners());
  return place + DescribeCorner(mesh, mesh.Polygons[bad.Header + 1 + size_t(bad.Corner)], {});
}

// Empty where the file does not show the fault any more.
static cStr DescribeObjPolygon(const cRawMesh& mesh, const BadCorner& bad, const cFile& file) {
  ObjLine line;
  const int64_t number = FindObjLine(file, &ObjCounts::Records, int64_t(bad.Header), line);
  if (!number || bad.Corner < 0 || bad.Corner + 1 >= line.NumTokens()) return {};
  return ObjPlace(file, number) + ": the face " +
         DescribeCorner(mesh, mesh.Polygons[bad.Header + 1 + size_t(bad.Corner)], line.Token(bad.Corner + 1));
}

cStr FindMeshFault(const cRawMesh& mesh, const cStr& fileName) {
  const size_t position = FindInfinitePosition(mesh.Positions);
  const bool isInfinite = position < mesh.Positions.size();
  if (!isInfinite && mesh.HasValidIndices()) return {};
  const BadCorner bad = isInfinite ? BadCorner() : FindBadCorner(mesh);
  cStr sentence;
  if (dynamic_cast<const cMeshObj*>(cMeshIO::FindCodec(GetExtension(fileName).c_str()))) {
    cFile file;
    file.Open(fileName.c_str(), cFile::Read);
    sentence = isInfinite ? DescribeObjPosition(file, int64_t(position)) : DescribeObjPolygon(mesh, bad, file);
  }
  if (!sentence.empty()) return sentence;
  return isInfinite ? DescribePosition(mesh, position, fileName) : DescribePolygon(mesh, bad, fileName);
}

}  // namespace comms
