#include "interface/draw/Strokes.h"

#include <algorithm>
#include <cmath>

namespace draw {

using namespace comms;

static cVec2 operator+(cVec2 a, cVec2 b) { return {a.x + b.x, a.y + b.y}; }
static cVec2 operator-(cVec2 a, cVec2 b) { return {a.x - b.x, a.y - b.y}; }
static cVec2 operator*(cVec2 a, float s) { return {a.x * s, a.y * s}; }
static float Dot(cVec2 a, cVec2 b) { return a.x * b.x + a.y * b.y; }
static float Cross(cVec2 a, cVec2 b) { return a.x * b.y - a.y * b.x; }
static float Length(cVec2 a) { return std::hypot(a.x, a.y); }
static cVec2 TurnLeft(cVec2 a) { return {a.y, -a.x}; }

// Points that differ, with the closing one dropped.
static cList<cVec2> DropRepeats(std::span<const cVec2> points, bool closed) {
  constexpr float Nearest = 0.01f;
  cList<cVec2> kept;
  for (const cVec2& p : points)
    if (std::isfinite(p.x) && std::isfinite(p.y) && (kept.empty() || Length(p - kept.back()) > Nearest)) kept.push_back(p);
  while (closed && kept.size() > 1 && Length(kept.front() - kept.back()) <= Nearest) kept.pop_back();
  return kept;
}

namespace {

// One line. A segment is two quads, one on each side of the middle line, so that the distance from the middle line, which is what
// the shader needs, is exact all over them, at mitred corners too.
class PolylineMaker {
 public:
  PolylineMaker(Batch& batch, const cRect& clip, cList<cVec2> points, float width, uint32_t color, bool closed)
      : m_Batch(batch),
        m_Clip(clip),
        m_Points(std::move(points)),
        m_Closed(closed),
        m_Half(width / 2),
        m_Reach(width / 2 + 0.75f) {
    m_Form.Kind = float(ShapeKind::Stroke);
    m_Form.Color = ToVertexColor(color);
    m_Form.ExtentX = m_Half;
    if (width < 1) {  // thinner than a pixel: as wide as one, and paler
      m_Form.ExtentX = 0.5f;
      m_Reach = 1.25f;
      const uint32_t alpha = uint32_t(std::lround(float(color >> 24) * width));
      m_Form.Color = ToVertexColor((color & 0xFFFFFF) | alpha << 24);
    }
  }
  void Make() {
    const size_t count = m_Points.size(), segments = m_Closed ? count : count - 1;
    for (size_t i = 0; i < segments; i++) AddSegment(i);
    for (size_t i = m_Closed ? 0 : 1; i + (m_Closed ? 0 : 1) < count; i++) AddRoundCorner(i);
  }

 private:
  cVec2 Point(size_t i) const { return m_Points[i % m_Points.size()]; }
  cVec2 Direction(size_t segment) const {
    const cVec2 along = Point(segment + 1) - Point(segment);
    return along * (1 / Length(along));
  }
  size_t Before(size_t corner) const { return (corner + m_Points.size() - 1) % m_Points.size(); }

  // Corner between the segments before and behind it: vector to where the left edges meet.
  struct Corner {
    cVec2 Mitre;
    bool Sharp = false;  // no mitre on the outer side
    bool LeftIsOuter = false;
  };
  Corner FindCorner(size_t i) const {
    const cVec2 a = Direction(Before(i)), b = Direction(i), sum = TurnLeft(a) + TurnLeft(b);
    const float cosine2 = Dot(sum, sum) / 4;  // of half the turn, squared
    Corner corner;
    corner.LeftIsOuter = Cross(a, b) > 0;
    corner.Sharp = cosine2 < 0.35f;
    const float shorter = std::min(Length(Point(i) - Point(Before(i))), Length(Point(i + 1) - Point(i)));
    // The inner edges meet no farther away than the shorter segment reaches.
    const float stretch = std::min(1 / std::max(cosine2, 1e-4f), std::max(2.0f, shorter / m_Reach * 2));
    corner.Mitre = sum * (0.5f * stretch * m_Reach);
    return corner;
  }
  // The edge's end on one side (+1 left, -1 right) of `segment` at its point `i`.
  cVec2 EdgeEnd(size_t segment, size_t i, float side) const {
    const bool isEnd = !m_Closed && (i == 0 || i + 1 == m_Points.size());
    const cVec2 straight = TurnLeft(Direction(segment)) * (side * m_Reach);
    if (isEnd) return straight;
    const Corner corner = FindCorner(i % m_Points.size());
    return corner.Sharp && corner.LeftIsOuter == (side > 0) ? straight : corner.Mitre * side;
  }
  Vertex At(cVec2 place, float across, float fromEnd) const {
    Vertex v = m_Form;
    v.X = place.x;
    v.Y = place.y;
    v.PlaceX = across;
    v.PlaceY = fromEnd;
    return v;
  }
  void AddSegment(size_t i) {
    const bool first = !m_Closed && i == 0, last = !m_Closed && i + 2 == m_Points.size();
    const cVec2 along = Direction(i), from = Point(i), to = Point(i + 1);
    const float length = Length(to - from);
    const size_t toIndex = (i + 1) % m_Points.size();
    if (first && last) {  // ends at both sides: cut in the middle
      const cVec2 middle = from + along * (length / 2);
      AddHalves(from - along * 0.5f, middle, TurnLeft(along) * m_Reach, TurnLeft(along) * m_Reach, -0.5f, length / 2);
      AddHalves(to + along * 0.5f, middle, TurnLeft(along) * m_Reach, TurnLeft(along) * m_Reach, -0.5f, length / 2);
      return;
    }
    for (const float side : {1.0f, -1.0f}) {
      const cVec2 a = EdgeEnd(i, i, side), b = EdgeEnd(i, toIndex, side);
      const cVec2 start = first ? from - along * 0.5f : from, end = last ? to + along * 0.5f : to;
      const auto fromEnd = [&](cVec2 place) { return first ? Dot(place - from, along) : last ? Dot(to - place, along) : 1.0f; };
      m_Batch.AddQuad({At(start, 0, fromEnd(start)), At(end, 0, fromEnd(end)), At(end + b, m_Reach * side, fromEnd(end + b)),
                       At(start + a, m_Reach * side, fromEnd(start + a))},
                      m_Clip);
    }
  }
  void AddHalves(cVec2 from, cVec2 to, cVec2 a, cVec2 b, float fromEnd, float toEnd) {
    for (const float side : {1.0f, -1.0f})
      m_Batch.AddQuad(
          {At(from, 0, fromEnd), At(to, 0, toEnd), At(to + b * side, m_Reach, toEnd), At(from + a * side, m_Reach, fromEnd)},
          m_Clip);
  }
  // Fills the gap that two segments leave on the outer side of a sharp corner.
  void AddRoundCorner(size_t i) {
    const Corner corner = FindCorner(i);
    if (!corner.Sharp) return;
    const float side = corner.LeftIsOuter ? 1.0f : -1.0f;
    const cVec2 a = TurnLeft(Direction(Before(i))) * side, b = TurnLeft(Direction(i)) * side;
    const float from = std::atan2(a.y, a.x), turn = std::atan2(Cross(a, b), Dot(a, b));
    const int steps = std::clamp(int(std::fabs(turn) * std::sqrt(m_Reach) * 2) + 2, 2, 64);
    cList<Vertex> fan = {At(Point(i), 0, 1)};
    for (int s = 0; s <= steps; s++) {
      const float angle = from + turn * float(s) / float(steps);
      fan.push_back(At(Point(i) + cVec2{std::cos(angle), std::sin(angle)} * m_Reach, m_Reach, 1));
    }
    m_Batch.AddPolygon(fan, m_Clip);
  }

  Batch& m_Batch;
  cRect m_Clip;
  cList<cVec2> m_Points;
  bool m_Closed;
  float m_Half, m_Reach;
  Vertex m_Form;
};

}  // namespace

void AddPolyline(Batch& batch, const cRect& clip, std::span<const cVec2> points, float width, uint32_t color, bool closed) {
  cList<cVec2> kept = DropRepeats(points, closed);
  if (kept.size() < 2) return;
  const bool ring = closed && kept.size() > 2;
  PolylineMaker(batch, clip, std::move(kept), width, color, ring).Make();
}

}  // namespace draw
