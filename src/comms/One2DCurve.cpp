#include "comms/One2DCurve.h"

#include <algorithm>
#include <cmath>

#include "ClassEngine/ClassRegistry.h"
#include "ClassEngine/ValueTypes.h"

namespace comms {

REGISTER_CLASS(wCurvePoint, nullptr);
REGISTER_CLASS(One2DCurve, nullptr);
DECLARE_MEMBERS(wCurvePoint) {
  Member<_float>("X", X).Range(0, 1);
  Member<_float>("Y", Y).Range(0, 1);
}
DECLARE_MEMBERS(One2DCurve) { Member<ClonesArray<wCurvePoint>>("Points", Points); }

static float HoldToUnit(float number) { return number >= 0 ? std::min(number, 1.0f) : 0.0f; }

// Slope between a point and the next; points at the same X make a step, which has none.
static float Slope(const wCurvePoint& a, const wCurvePoint& b) { return b.X > a.X ? (b.Y - a.Y) / (b.X - a.X) : 0; }

// The weighted harmonic mean of the slopes on both sides keeps every piece within the region of Fritsch and Carlson where a cubic
// is monotone (the weights are those of Fritsch and Butland, SIAM J. Sci. Stat. Comput. 5, 1984). At a turning point it is level.
float One2DCurve::Tangent(int index) const {
  const int last = Points.Count - 1;
  if (index == 0) return Slope(*Points[0], *Points[1]);
  if (index == last) return Slope(*Points[last - 1], *Points[last]);
  const wCurvePoint &a = *Points[index - 1], &b = *Points[index], &c = *Points[index + 1];
  const float before = Slope(a, b), behind = Slope(b, c);
  if (!(before * behind > 0)) return 0;
  const float h0 = b.X - a.X, h1 = c.X - b.X, w0 = 2 * h1 + h0, w1 = h1 + 2 * h0;
  return (w0 + w1) / (w0 / before + w1 / behind);
}

float One2DCurve::Evaluate(float x) const {
  const int count = Points.Count;
  if (!count) return x;
  if (!(x > Points[0]->X)) return Points[0]->Y;
  if (x >= Points[count - 1]->X) return Points[count - 1]->Y;
  int next = 1;
  while (Points[next]->X <= x) next++;
  const wCurvePoint &a = *Points[next - 1], &b = *Points[next];
  const float h = b.X - a.X, t = (x - a.X) / h, t2 = t * t, t3 = t2 * t;
  const float y = (2 * t3 - 3 * t2 + 1) * a.Y + (t3 - 2 * t2 + t) * h * Tangent(next - 1) + (3 * t2 - 2 * t3) * b.Y +
                  (t3 - t2) * h * Tangent(next);
  return std::clamp(y, std::min(a.Y, b.Y), std::max(a.Y, b.Y));
}

int One2DCurve::AddPoint(float x, float y) {
  x = HoldToUnit(x);
  int index = 0;
  while (index < Points.Count && Points[index]->X <= x) index++;
  Points.InsertAt(index, new wCurvePoint(x, HoldToUnit(y)));
  return index;
}

void One2DCurve::MovePoint(int index, float x, float y) {
  if (index < 0 || index >= Points.Count) return;
  constexpr float Apart = 1e-3f;
  const float low = index > 0 ? Points[index - 1]->X + Apart : 0;
  const float high = index + 1 < Points.Count ? Points[index + 1]->X - Apart : 1;
  if (low <= high) Points[index]->X = std::clamp(HoldToUnit(x), low, high);
  Points[index]->Y = HoldToUnit(y);
}

void One2DCurve::RemovePoint(int index) {
  if (index >= 0 && index < Points.Count) Points.RemoveAt(index);
}

void One2DCurve::SetLinear() {
  Points.Clear();
  AddPoint(0, 0);
  AddPoint(1, 1);
}

// A file may hold any numbers in any order.
bool One2DCurve::Load(const XmlNode* node, void* data, XmlErrorLog* errors, void* extra) {
  One2DCurve& to = data ? *static_cast<One2DCurve*>(static_cast<BaseClass*>(data)) : *this;
  const bool loaded = BaseClass::Load(node, data, errors, extra);
  for (wCurvePoint* point : to.Points) {
    point->X = HoldToUnit(point->X);
    point->Y = HoldToUnit(point->Y);
  }
  std::stable_sort(to.Points.begin(), to.Points.end(), [](const wCurvePoint* a, const wCurvePoint* b) { return a->X < b->X; });
  return loaded;
}

}  // namespace comms
