#pragma once
// A curve over 0 .. 1 through points, as of pressure, falloff and tone.
#include "ClassEngine/ClassArray.h"

namespace comms {

/// A point that the curve goes through; both 0 .. 1.
class wCurvePoint : public BaseClass {
  REFLECTED(wCurvePoint, BaseClass)
 public:
  wCurvePoint() = default;
  wCurvePoint(float x, float y) : X(x), Y(y) {}
  float X = 0, Y = 0;
};

/// Points in the order of X. Between two of them the curve is the monotone cubic of Fritsch and Carlson ("Monotone Piecewise
/// Cubic Interpolation", SIAM J. Numer. Anal. 17, 1980): where points rise it never falls and never shoots over them. Before the
/// first and behind the last point it is level.
class One2DCurve : public BaseClass {
  REFLECTED(One2DCurve, BaseClass)
 public:
  /// A fresh curve has no points and gives X itself.
  float Evaluate(float x) const;
  /// Its index. Numbers are held to 0 .. 1; what is not finite counts as 0.
  int AddPoint(float x, float y);
  /// Moves a point, which stays between its neighbours.
  void MovePoint(int index, float x, float y);
  void RemovePoint(int index);
  /// The straight line from (0, 0) to (1, 1).
  void SetLinear();
  int GetPointCount() const { return Points.Count; }
  bool Load(const XmlNode* node, void* data = nullptr, XmlErrorLog* errors = nullptr, void* extra = nullptr) override;

  ClonesArray<wCurvePoint> Points;

 private:
  float Tangent(int index) const;
};

}  // namespace comms
