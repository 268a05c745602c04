#include "MC/DepthCells.h"

#include <oneapi/tbb/blocked_range.h>
#include <oneapi/tbb/parallel_for.h>

#include <algorithm>
#include <cmath>
#include <cstring>

using oneapi::tbb::blocked_range;
using oneapi::tbb::parallel_for;

namespace {

int32_t Along(const CellKey& key, int axis) { return axis == 0 ? key.x : axis == 1 ? key.y : key.z; }

/// Bits of the cells of one column.
class ColumnBits {
 public:
  explicit ColumnBits(int32_t cells) : m_Words(size_t(cells + 63) / 64) {}
  void Clear() { std::fill(m_Words.begin(), m_Words.end(), 0); }
  void SetAll() { std::fill(m_Words.begin(), m_Words.end(), ~uint64_t(0)); }
  void SetRange(int32_t first, int32_t last) {
    const size_t from = size_t(first) >> 6, to = size_t(last) >> 6;
    const uint64_t head = ~uint64_t(0) << (first & 63), tail = ~uint64_t(0) >> (63 - (last & 63));
    if (from == to) {
      m_Words[from] |= head & tail;
      return;
    }
    m_Words[from] |= head;
    for (size_t w = from + 1; w < to; w++) m_Words[w] = ~uint64_t(0);
    m_Words[to] |= tail;
  }
  void AndWith(const ColumnBits& other) {
    for (size_t w = 0; w < m_Words.size(); w++) m_Words[w] &= other.m_Words[w];
  }
  void OrWith(const ColumnBits& other) {
    for (size_t w = 0; w < m_Words.size(); w++) m_Words[w] |= other.m_Words[w];
  }
  bool Has(int32_t cell) const { return m_Words[size_t(cell) >> 6] >> (cell & 63) & 1; }

 private:
  std::vector<uint64_t> m_Words;
};

/// What the rays of a column say about its cells.
struct Column {
  explicit Column(int32_t cells) : Near(cells), AllInside(cells), AnyInside(cells), m_Ray(cells), m_Cells(cells) {}
  ColumnBits Near;       ///< some sample is so close to a depth of its ray that the ramp may reach it
  ColumnBits AllInside;  ///< where not Near: all rays run through the solid
  ColumnBits AnyInside;  ///< where not Near: some ray does

  void Begin() {
    Near.Clear();
    AllInside.SetAll();
    AnyInside.Clear();
  }
  void AddRay(const DepthTables::List& list, int32_t firstSample, int32_t reach) {
    m_Ray.Clear();
    for (const int32_t* at = list.First; at != list.Last; at += 2) {
      const int32_t enter = at[0] - firstSample * DepthUnits, leave = at[1] - firstSample * DepthUnits;
      MarkNear(enter, reach);
      MarkNear(leave, reach);
      m_Ray.SetRange(CellOf(enter >> DepthShift), CellOf(leave >> DepthShift));
    }
    AllInside.AndWith(m_Ray);
    AnyInside.OrWith(m_Ray);
  }

 private:
  int32_t CellOf(int32_t sample) const { return std::clamp(sample >> CellShift, 0, m_Cells - 1); }
  void MarkNear(int32_t depth, int32_t reach) {
    // The first sample in reach is the one behind the rounded depth. Where it lies on a border it belongs to the cell before it
    // too, and that is the cell of the rounded depth.
    Near.SetRange(CellOf((depth - reach) >> DepthShift), CellOf((depth + reach) >> DepthShift));
  }
  ColumnBits m_Ray;
  int32_t m_Cells;
};

enum CellState : uint8_t { StateNear = 1, StateAnyInside = 2, StateAllInside = 4 };  // the last one shifted by the axis

void ClassifyColumns(const DepthTables& tables, int axis, int32_t cv, int32_t reach, uint8_t* states) {
  const RasterFrame& frame = tables.Frame;
  const int ku = RasterFrame::AxisU(axis), kv = RasterFrame::AxisV(axis);
  const size_t strides[3] = {1, size_t(frame.Cells[0]), size_t(frame.Cells[0]) * size_t(frame.Cells[1])};
  const int32_t cells = frame.Cells[axis], rowRays = frame.Samples(ku);
  Column column(cells);
  for (int32_t cu = 0; cu < frame.Cells[ku]; cu++) {
    bool any = false;
    for (int32_t row = 0; row < CellEdge && !any; row++) {
      const std::vector<uint32_t>& begin = tables.Bands[axis][size_t(cv) + size_t(row >> 3)].Begin;
      const size_t ray = size_t(row & 7) * size_t(rowRays) + size_t(cu) * CellSize;
      any = begin[ray] != begin[ray + CellEdge];
    }
    if (!any) continue;
    column.Begin();
    for (int32_t v = 0; v < CellEdge; v++)
      for (int32_t u = 0; u < CellEdge; u++)
        column.AddRay(tables.Find(axis, cu * CellSize + u, cv * CellSize + v), frame.FirstSample(axis), reach);
    uint8_t* state = states + size_t(cu) * strides[ku] + size_t(cv) * strides[kv];
    for (int32_t c = 0; c < cells; c++, state += strides[axis])
      *state |= uint8_t((column.Near.Has(c) ? StateNear : 0) | (column.AnyInside.Has(c) ? StateAnyInside : 0) |
                        (column.AllInside.Has(c) ? StateAllInside << axis : 0));
  }
}

}  // namespace

std::vector<CellContent> ClassifyCells(const DepthTables& tables, int32_t rampWidth) {
  const RasterFrame& frame = tables.Frame;
  // The ramp reaches half its width from a plane. With all three axes alike the distance is theirs divided by sqrt(3), so a
  // sample within the ramp has a depth on one of its rays within sqrt(3) / 2 of the width.
  const int32_t reach = int32_t(0.876 * rampWidth * DepthUnits);
  std::vector<uint8_t> states(size_t(frame.Cells[0]) * size_t(frame.Cells[1]) * size_t(frame.Cells[2]));
  for (int axis = 0; axis < 3; axis++)
    parallel_for(blocked_range<int32_t>(0, frame.Cells[RasterFrame::AxisV(axis)]), [&](const blocked_range<int32_t>& range) {
      for (int32_t cv = range.begin(); cv != range.end(); cv++) ClassifyColumns(tables, axis, cv, reach, states.data());
    });
  std::vector<CellContent> contents(states.size());
  constexpr uint8_t solid = StateAnyInside | StateAllInside * 7;
  std::transform(states.begin(), states.end(), contents.begin(), [](uint8_t state) {
    return state == 0 ? CellContent::Empty : state == solid ? CellContent::Solid : CellContent::Mixed;
  });
  return contents;
}

namespace {

constexpr float NoInformation = -100000.0f;
constexpr float LeastInformative = -10.0f;
constexpr int32_t FarAway = 1 << 30;  // an interval without end; distances to it stay within 32 bits

}  // namespace

void CellSampler::FillAxis(int axis, const CellKey& cell) {
  alignas(32) int32_t low[Lanes], high[Lanes];
  alignas(32) float sign[Lanes], plane[Lanes];
  const int32_t* next[Lanes];
  const int32_t* last[Lanes];
  const float scale = 1.0f / float(m_RampWidth * DepthUnits);
  const int32_t origin = (m_Tables.Frame.FirstSample(axis) + Along(cell, axis) * CellSize) * DepthUnits;

  // The interval of every ray that holds the cell's first sample.
  int32_t nearest = FarAway;
  const auto advance = [&](int lane, int32_t position) {
    do {
      low[lane] = high[lane];
      sign[lane] = -sign[lane];
      high[lane] = next[lane] == last[lane] ? FarAway : *next[lane]++ - origin;
    } while (high[lane] < position);
  };
  const int32_t u0 = Along(cell, RasterFrame::AxisU(axis)) * CellSize, v0 = Along(cell, RasterFrame::AxisV(axis)) * CellSize;
  for (int lane = 0; lane < Lanes; lane++) {
    low[lane] = -FarAway;
    high[lane] = FarAway;
    sign[lane] = -scale;
    if (lane >= Rays) continue;
    const DepthTables::List list = m_Tables.Find(axis, u0 + lane % CellEdge, v0 + lane / CellEdge);
    next[lane] = list.First;
    last[lane] = list.Last;
    if (list.First == list.Last) continue;
    high[lane] = *next[lane]++ - origin;
    if (high[lane] < 0) advance(lane, 0);
    nearest = std::min(nearest, high[lane]);
  }

  float* out = m_Distance[axis];
  for (int step = 0; step < CellEdge; step++) {
    const int32_t position = step * DepthUnits;
    if (nearest < position) {
      nearest = FarAway;
      for (int lane = 0; lane < Rays; lane++) {
        if (high[lane] < position) advance(lane, position);
        nearest = std::min(nearest, high[lane]);
      }
    }
    for (int lane = 0; lane < Lanes; lane++) {
      const float distance = float(std::min(position - low[lane], high[lane] - position)) * sign[lane];
      plane[lane] = distance > LeastInformative ? distance : NoInformation;
    }
    if (axis == 0) {
      for (int ray = 0; ray < Rays; ray++) out[ray * CellEdge + step] = plane[ray];
    } else if (axis == 1) {
      for (int z = 0; z < CellEdge; z++)
        std::memcpy(out + SampleIndex(0, step, z), plane + z * CellEdge, CellEdge * sizeof(float));
    } else {
      std::memcpy(out + SampleIndex(0, 0, step), plane, Rays * sizeof(float));
    }
  }
}

void CellSampler::Fill(const CellKey& cell, uint16_t* samples) {
  for (int axis = 0; axis < 3; axis++) {
    FillAxis(axis, cell);
    std::fill(m_Distance[axis] + CellSamples, m_Distance[axis] + Padded, NoInformation);
  }
  const float *x = m_Distance[0], *y = m_Distance[1], *z = m_Distance[2];
  for (int i = 0; i < Padded; i++) {
    const float a = x[i], b = y[i], c = z[i];
    // An axis without information counts as crossed infinitely far away: its square is so large that it adds nothing.
    const float aa = a * a, bb = b * b, cc = c * c;
    const float below = std::max(aa * bb + cc * (aa + bb), 1e-30f);
    const float distance = std::sqrt(aa * bb * cc / below);
    const float knownA = a > LeastInformative ? std::fabs(a) : 0, knownB = b > LeastInformative ? std::fabs(b) : 0;
    const float knownC = c > LeastInformative ? std::fabs(c) : 0;
    const float longestAB = knownA >= knownB ? a : b, known = std::max(knownA, knownB);
    const float longest = known >= knownC ? longestAB : c;
    const float density = (std::copysign(distance, longest) + 0.5f) * 65535.0f;
    samples[i] = uint16_t(int32_t(std::min(std::max(density, 0.0f), 65535.0f)));
  }
}
