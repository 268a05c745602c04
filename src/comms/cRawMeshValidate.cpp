#include <cmath>

#include "comms/Log.h"
#include "comms/cRawMesh.h"

namespace comms {

static cStr CoordText(const cVec2& v) { return Format("%f %f", double(v.x), double(v.y)); }
static cStr CoordText(const cVec3& v) { return Format("%f %f %f", double(v.x), double(v.y), double(v.z)); }
static bool HasNaN(const cVec2& v) { return std::isnan(v.x) || std::isnan(v.y); }
static bool HasNaN(const cVec3& v) { return std::isnan(v.x) || std::isnan(v.y) || std::isnan(v.z); }
static bool HasInfinity(const cVec2& v) { return std::isinf(v.x) || std::isinf(v.y); }
static bool HasInfinity(const cVec3& v) { return std::isinf(v.x) || std::isinf(v.y) || std::isinf(v.z); }

template <class Vec>
static int64_t CheckNaN(const cRawList<Vec>& list, const char* what) {
  int64_t faults = 0;
  for (size_t i = 0; i < list.size(); i++)
    if (HasNaN(list[i])) {
      LogError("%s at index %d = { %s } has NaN.", what, int(i), CoordText(list[i]).c_str());
      faults++;
    }
  return faults;
}

template <class Vec>
static int64_t CheckInfinity(const cRawList<Vec>& list, const char* what) {
  int64_t faults = 0;
  for (size_t i = 0; i < list.size(); i++)
    if (HasInfinity(list[i])) {
      LogError("%s at index %d = { %s } is out of infinity.", what, int(i), CoordText(list[i]).c_str());
      faults++;
    }
  return faults;
}

static int64_t CheckCorner(const cRawMesh& mesh, int polygon, const cRawPolyRec& corner) {
  int64_t faults = 0;
  const auto check = [&](const char* what, int index, size_t count, bool mayBeAbsent) {
    if ((index >= 0 && size_t(index) < count) || (index == -1 && mayBeAbsent)) return;
    LogError("Polygon %d has %s index %d that is out of available %d.", polygon, what, index, int(count));
    faults++;
  };
  check("position", corner.Position(), mesh.Positions.size(), false);
  check("texture coordinate", corner.TexCoord(), mesh.TexCoords.size(), true);
  check("normal", corner.Normal(), mesh.Normals.size(), true);
  return faults;
}

static int64_t CheckPolygons(const cRawMesh& mesh) {
  int64_t faults = 0;
  const cRawList<cRawPolyRec>& records = mesh.Polygons;
  size_t at = 0;
  for (int polygon = 0; at < records.size(); polygon++) {
    const cRawPolyRec& header = records[at];
    const auto report = [&](const char* fault) {
      LogError("Polygon %d = { %d %d %d } %s.", polygon, header.Words[0], header.Words[1], header.Words[2], fault);
      faults++;
    };
    if (header.Corners() < 3) report("has degree less than 3");
    if (size_t(header.Material()) >= mesh.Materials.size())
      report(Format("has material index out of available %d", int(mesh.Materials.size())).c_str());
    const size_t left = records.size() - at - 1;
    const bool isCut = header.Corners() < 0 || size_t(header.Corners()) > left;
    if (isCut) {
      LogError("Polygon %d has less than declared number of indices = %d.", polygon, header.Corners());
      faults++;
      if (header.Corners() < 0) return faults;  // no telling where the next one begins
    }
    const size_t end = isCut ? records.size() : at + 1 + size_t(header.Corners());
    for (at++; at < end; at++) faults += CheckCorner(mesh, polygon, records[at]);
  }
  return faults;
}

int64_t cRawMesh::Validate() const {
  LogInfo("Validating mesh \"%s\"...", Name.c_str());
  int64_t faults = NumWordPositions;
  if (faults > 0) LogError("%lld positions hold text that is no number.", static_cast<long long>(faults));
  faults += CheckNaN(Positions, "Position");
  faults += CheckInfinity(Positions, "Position");
  faults += CheckNaN(TexCoords, "Texture coordinate");
  faults += CheckInfinity(TexCoords, "Texture coordinate");
  if (!Tangents.empty() && Normals.size() != Tangents.size()) {
    LogError("Number of normals = %d is not equal number of tangents = %d.", int(Normals.size()), int(Tangents.size()));
    faults++;
  }
  faults += CheckNaN(Normals, "Normal");
  faults += CheckInfinity(Normals, "Normal");
  faults += CheckNaN(Tangents, "Tangent");
  faults += CheckNaN(BiTangents, "BiTangent");
  faults += CheckInfinity(Tangents, "Tangent");
  faults += CheckInfinity(BiTangents, "BiTangent");
  return faults + CheckPolygons(*this);
}

}  // namespace comms
