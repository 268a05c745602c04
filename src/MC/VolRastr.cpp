#include "MC/VolRastr.h"

#include <immintrin.h>

#include <algorithm>
#include <cmath>
#include <utility>

#include "MC/Slab.h"

SnappedVertex SnapVertex(const comms::cVec3& p, const VoxelMapping& mapping) {
  const double scale = mapping.Scale;
  const double* shift = mapping.Shift;
  const __m256d at = _mm256_set_pd(0, double(p.z), double(p.y), double(p.x));
  const __m256d voxels = _mm256_add_pd(_mm256_mul_pd(at, _mm256_set1_pd(scale)), _mm256_set_pd(0, shift[2], shift[1], shift[0]));
  SnappedVertex snapped;
  _mm_store_si128(reinterpret_cast<__m128i*>(snapped.c), _mm256_cvtpd_epi32(_mm256_mul_pd(voxels, _mm256_set1_pd(VertexUnits))));
  return snapped;
}

size_t RasterFrame::RayCount() const {
  size_t count = 0;
  for (int axis = 0; axis < 3; axis++) count += size_t(Samples(AxisU(axis))) * size_t(Samples(AxisV(axis)));
  return count;
}

EntryBins::EntryBins(const RasterFrame& frame) {
  for (int axis = 0; axis < 3; axis++) m_Bins[axis].resize(size_t(frame.Bands(axis)));
}

EntryBins::~EntryBins() {
  for (void* slab : m_Slabs) FreeSlab(slab);
}

void EntryBins::AddChunk(Bin& bin) {
  if (m_Fresh == m_FreshEnd) {
    m_Slabs.push_back(nullptr);
    void* slab = m_Slabs.back() = AllocateSlab(HugeSlabBytes);
    m_Fresh = static_cast<Entry*>(slab);
    m_FreshEnd = m_Fresh + HugeSlabBytes / sizeof(Entry);
  }
  bin.Chunks.push_back(m_Fresh);
  bin.Next = m_Fresh;
  bin.End = m_Fresh += ChunkEntries;
}

// A triangle seen along one axis, turned counter-clockwise. With E_i the edge function opposite to vertex i, a ray at (u, v)
// meets the triangle where all E_i are at least 0, and its depth is sum(E_i * w_i) / Area.
struct VolRastr::Projected {
  int64_t u[3], v[3], w[3];
  int64_t Area;
  int32_t Side;
};

void VolRastr::AddTriangle(const SnappedVertex& a, const SnappedVertex& b, const SnappedVertex& c, uint16_t material) {
  // Dense meshes: most triangles lie between the rays. An axis along which no sample lies in the triangle's range excludes the
  // two directions that have it as u or v.
  const auto load = [](const SnappedVertex& p) { return _mm_load_si128(reinterpret_cast<const __m128i*>(p.c)); };
  const __m128i pa = load(a), pb = load(b), pc = load(c);
  const __m128i low = _mm_min_epi32(_mm_min_epi32(pa, pb), pc), high = _mm_max_epi32(_mm_max_epi32(pa, pb), pc);
  const __m128i first = _mm_srai_epi32(_mm_add_epi32(low, _mm_set1_epi32(VertexUnits - 1)), VertexShift);
  const int misses = _mm_movemask_ps(_mm_castsi128_ps(_mm_cmpgt_epi32(first, _mm_srai_epi32(high, VertexShift))));
  if (!(misses & 6)) RasterizeAlong(0, a, b, c, material);
  if (!(misses & 5)) RasterizeAlong(1, a, b, c, material);
  if (!(misses & 3)) RasterizeAlong(2, a, b, c, material);
}

void VolRastr::RasterizeAlong(int axis, const SnappedVertex& a, const SnappedVertex& b, const SnappedVertex& c,
                              uint16_t material) {
  const int ku = RasterFrame::AxisU(axis), kv = RasterFrame::AxisV(axis);
  Projected t{{a.c[ku], b.c[ku], c.c[ku]}, {a.c[kv], b.c[kv], c.c[kv]}, {a.c[axis], b.c[axis], c.c[axis]}, 0, 0};
  t.Area = (t.u[1] - t.u[0]) * (t.v[2] - t.v[0]) - (t.v[1] - t.v[0]) * (t.u[2] - t.u[0]);
  if (t.Area == 0) return;  // seen edge-on: an infinitely small step takes every ray off it
  // The normal's component along the axis is the area, but for y, where (u, v) = (x, z) is a left-handed view.
  t.Side = SideOf(material, (t.Area < 0) != (axis == 1));
  if (t.Area < 0) {
    t.Area = -t.Area;
    std::swap(t.u[1], t.u[2]);
    std::swap(t.v[1], t.v[2]);
    std::swap(t.w[1], t.w[2]);
  }
  m_Axis = axis;
  m_RowRays = m_Frame.Samples(ku);
  const auto firstSample = [](const int64_t p[3]) {
    return int32_t((std::min({p[0], p[1], p[2]}) + VertexUnits - 1) >> VertexShift);
  };
  const auto lastSample = [](const int64_t p[3]) { return int32_t(std::max({p[0], p[1], p[2]}) >> VertexShift); };
  const int32_t u0 = firstSample(t.u), u1 = lastSample(t.u), v0 = firstSample(t.v), v1 = lastSample(t.v);
  // The tie rule turns with the signs of u and v.
  for (int side = 0; side < 4; side++) {
    const int32_t left = side & 1 ? std::max(u0, 1) : u0, right = side & 1 ? u1 : std::min(u1, 0);
    const int32_t bottom = side & 2 ? std::max(v0, 1) : v0, top = side & 2 ? v1 : std::min(v1, 0);
    if (left <= right && bottom <= top) FillRectangle(t, left, right, bottom, top);
  }
}

void VolRastr::FillRectangle(const Projected& t, int32_t u0, int32_t u1, int32_t v0, int32_t v1) {
  // A ray on an edge is moved by (stepU e, stepV e^2): the edge function changes by du * stepV * e^2 - dv * stepU * e.
  const int64_t stepU = u0 > 0 ? -1 : 1, stepV = v0 > 0 ? -1 : 1;
  int64_t bias[3], reach = 0;
  for (int i = 0; i < 3; i++) {
    const int64_t du = t.u[(i + 2) % 3] - t.u[(i + 1) % 3], dv = t.v[(i + 2) % 3] - t.v[(i + 1) % 3];
    const int64_t change = dv ? -dv * stepU : du * stepV;
    bias[i] = change > 0 ? 0 : -1;
    reach = std::max(reach, std::abs(t.w[i]));
  }
  if (double(t.Area) * double(reach) < 0x1p61)
    FillRows<int64_t>(t, bias, u0, u1, v0, v1);
  else
    FillRows<__int128>(t, bias, u0, u1, v0, v1);
}

namespace {

// numerator / area, rounded to nearest (ties to even) as if computed exactly.
template <class Wide>
int32_t RoundedQuotient(Wide numerator, int64_t area, double inverse) {
  const double estimate = double(numerator) * inverse;
  const double below = std::floor(estimate);
  if (std::fabs(estimate - below - 0.5) > 0x1p-18) return int32_t(std::nearbyint(estimate));
  const Wide magnitude = numerator < 0 ? -numerator : numerator;
  Wide quotient = magnitude / area;
  const Wide rest = magnitude - quotient * area, up = area - rest;
  if (rest > up || (rest == up && (quotient & 1))) quotient++;
  return int32_t(numerator < 0 ? -quotient : quotient);
}

}  // namespace

template <class Wide>
void VolRastr::FillRows(const Projected& t, const int64_t bias[3], int32_t u0, int32_t u1, int32_t v0, int32_t v1) {
  const int32_t shiftU = m_Frame.FirstSample(RasterFrame::AxisU(m_Axis)),
                shiftV = m_Frame.FirstSample(RasterFrame::AxisV(m_Axis));
  const double inverse = 1.0 / double(t.Area);
  int64_t row[3], stepU[3], stepV[3];
  for (int i = 0; i < 3; i++) {
    const int p = (i + 1) % 3, q = (i + 2) % 3;
    const int64_t du = t.u[q] - t.u[p], dv = t.v[q] - t.v[p];
    row[i] = du * (int64_t(v0) * VertexUnits - t.v[p]) - dv * (int64_t(u0) * VertexUnits - t.u[p]) + bias[i];
    stepU[i] = -dv * VertexUnits;
    stepV[i] = du * VertexUnits;
  }
  for (int32_t v = v0; v <= v1; v++) {
    int64_t e0 = row[0], e1 = row[1], e2 = row[2];
    for (int32_t u = u0; u <= u1; u++) {
      if ((e0 | e1 | e2) >= 0) {
        const Wide depth = Wide(e0 - bias[0]) * t.w[0] + Wide(e1 - bias[1]) * t.w[1] + Wide(e2 - bias[2]) * t.w[2];
        PutPixel(u - shiftU, v - shiftV, RoundedQuotient<Wide>(depth * (DepthUnits / VertexUnits), t.Area, inverse), t.Side);
      }
      e0 += stepU[0], e1 += stepU[1], e2 += stepU[2];
    }
    for (int i = 0; i < 3; i++) row[i] += stepV[i];
  }
}

namespace {

constexpr int SideBits = 2;  // below the depth in a key

void SortKeys(int32_t* keys, uint32_t count) {
  if (count < 16) {
    for (uint32_t i = 1; i < count; i++) {
      const int32_t key = keys[i];
      uint32_t at = i;
      for (; at > 0 && keys[at - 1] > key; at--) keys[at] = keys[at - 1];
      keys[at] = key;
    }
  } else {
    std::sort(keys, keys + count);
  }
}

// Sorts one list of a closed mesh, cleans it in place and returns its new count.
uint32_t CleanList(int32_t* keys, uint32_t count, RayCount& rays) {
  if (count & 1) {
    rays.Skipped++;
    return 0;
  }
  if (count == 2 && (keys[0] ^ keys[1]) & SideEnters) {
    const int32_t low = std::min(keys[0], keys[1]) >> SideBits, high = std::max(keys[0], keys[1]) >> SideBits;
    if (low == high) return 0;
    keys[0] = low, keys[1] = high;
    return 2;
  }
  SortKeys(keys, count);
  int32_t balance = 0;
  for (uint32_t i = 0; i < count; i++) balance += keys[i] & SideEnters ? 1 : -1;

  uint32_t kept = 0;
  int32_t winding = 0;
  for (uint32_t i = 0; i < count;) {
    const int32_t depth = keys[i] >> SideBits, before = winding;
    for (; i < count && keys[i] >> SideBits == depth; i++) winding += balance ? 1 : keys[i] & SideEnters ? 1 : -1;
    const bool wasInside = balance ? before & 1 : before != 0, isInside = balance ? winding & 1 : winding != 0;
    if (wasInside != isInside) keys[kept++] = depth;
  }
  return kept;
}

// Sorts a list that meets a surface of one side and appends its alternating depths to `depths`.
void AppendSingleSided(int32_t* keys, uint32_t count, std::vector<int32_t>& depths) {
  SortKeys(keys, count);
  uint32_t left = 0;  // faces that coincide with opposite sides vanish in pairs
  for (uint32_t i = 0; i < count; i++) {
    const bool vanishes =
        left > 0 && keys[left - 1] >> SideBits == keys[i] >> SideBits && (keys[left - 1] ^ keys[i]) & SideEnters;
    if (vanishes)
      left--;
    else
      keys[left++] = keys[i];
  }
  if (left == 0) return;
  constexpr int32_t reach = OneSidedVoxels * DepthUnits;
  bool inside = !(keys[0] & SideEnters);
  if (inside) depths.push_back((keys[0] >> SideBits) - reach);
  for (uint32_t i = 0; i < left; i++) {
    const int32_t depth = keys[i] >> SideBits;
    const bool enters = keys[i] & SideEnters;
    depths.insert(depths.end(), enters == inside ? 2 : 1, depth);
    inside = enters;
  }
  if (inside) depths.push_back((keys[left - 1] >> SideBits) + reach);
}

}  // namespace

void BuildBand(const RasterFrame& frame, int axis, int32_t band, const std::vector<const VolRastr*>& rasterisers,
               DepthBand& result, RayCount& rays) {
  const bool last = band + 1 == frame.Bands(axis);  // it has only the row that closes the cells before it
  const size_t rayCount = size_t(frame.Samples(RasterFrame::AxisU(axis))) * (last ? 1 : 8);
  std::vector<uint32_t>& begin = result.Begin;
  begin.assign(rayCount + 1, 0);
  const auto forEachEntry = [&](auto&& visit) {
    for (const VolRastr* rasteriser : rasterisers)
      rasteriser->Bins.ForEachRun(axis, band, [&](const EntryBins::Entry* entry, const EntryBins::Entry* end) {
        for (; entry != end; entry++) visit(*entry);
      });
  };
  forEachEntry([&](const EntryBins::Entry& entry) { begin[entry.Ray]++; });
  uint32_t total = 0;
  for (uint32_t& at : begin) total += std::exchange(at, total);
  std::vector<int32_t> keys(total);
  // Filling moves every beginning to the list's end, which is the next one's beginning.
  int32_t sides = 0;
  forEachEntry([&](const EntryBins::Entry& entry) {
    keys[begin[entry.Ray]++] = entry.Key;
    sides |= entry.Key;
  });

  uint32_t kept = 0;
  const auto forEachList = [&](auto&& take) {
    uint32_t from = 0;
    for (size_t ray = 0; ray < rayCount; ray++) {
      const uint32_t to = begin[ray], count = to - from;
      begin[ray] = kept;
      if (count) {
        rays.Hit++;
        take(keys.data() + from, count);
      }
      from = to;
    }
    begin[rayCount] = kept;
  };
  if (sides & SideIsSingle) {
    result.Depths.clear();
    forEachList([&](int32_t* list, uint32_t count) {
      if (std::any_of(list, list + count, [](int32_t key) { return key & SideIsSingle; }))
        AppendSingleSided(list, count, result.Depths);
      else
        result.Depths.insert(result.Depths.end(), list, list + CleanList(list, count, rays));
      kept = uint32_t(result.Depths.size());
    });
  } else {
    forEachList([&](int32_t* list, uint32_t count) {
      const uint32_t left = CleanList(list, count, rays);
      std::copy_n(list, left, keys.data() + kept);
      kept += left;
    });
    result.Depths.assign(keys.begin(), keys.begin() + kept);
  }
}
