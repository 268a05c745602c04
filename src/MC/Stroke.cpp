#include "MC/Stroke.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <utility>

#include "MC/Dabs.h"

using comms::cVec3;

namespace {

std::array<float, 3> AxisScales(const comms::cMat4& space) {
  std::array<float, 3> scales;
  for (size_t i = 0; i < 3; i++) scales[i] = comms::Length({space.m[i][0], space.m[i][1], space.m[i][2]});
  return scales;
}

// Voxels; balls closer than this add nothing but time.
constexpr double LeastStep = 0.25;

// Steps on a way of `length` voxels along which the step goes evenly from one value to the other, but for LeastStep.
double CountSteps(double length, double first, double last) {
  const double low = std::min(first, last), high = std::max(first, last);
  if (!(high > LeastStep)) return length / LeastStep;
  if (low < LeastStep) {
    const double flat = length * (LeastStep - low) / (high - low);
    return flat / LeastStep + CountSteps(length - flat, LeastStep, high);
  }
  return high - low < 1e-6 * high ? length / high : length / (high - low) * std::log(high / low);
}

void Refresh(VolumeObject& volume, const StrokeOptions& options) {
  if (options.BuildGroups)
    volume.RefreshChanges();
  else
    volume.RefreshSurfaces();
}

// A sample with its pressure applied, in the space of the dabs.
struct Tip {
  cVec3 Position, Normal;
  float Radius = 0, Height = 0;
};

}  // namespace

class StrokeRun::Runner {
 public:
  Runner(VolumeObject& volume, const Stroke& stroke, const StrokeOptions& options)
      : m_Volume(volume), m_Stroke(stroke), m_Options(options), m_Uniform(IsUniformSpace(volume.SpaceMatrix)) {
    m_Stroke.Samples = {};
    const auto scales = AxisScales(volume.SpaceMatrix);
    m_UnitsPerVoxel = std::cbrt(scales[0] * scales[1] * scales[2]);
    m_InWorld = stroke.Tool == StrokeTool::Segment && !m_Uniform;
  }

  void Add(const PenSample& sample) {
    const Tip tip = MakeTip(sample);
    if (m_Tips > 0 && !IsApart(m_Last, tip)) return;
    if (m_Stroke.Tool == StrokeTool::Sphere) {
      m_Tips > 0 ? RunSpheres(m_Last, tip) : RunDab(tip, tip);
    } else if (m_Stroke.Tool == StrokeTool::Stamp) {
      RunDab(tip, tip);
    } else if (m_Tips > 0) {
      RunDab(m_Last, tip);
    }
    m_Last = tip;
    m_Tips++;
  }
  void Finish() {
    const bool reaches = m_Stroke.Tool == StrokeTool::Segment || m_Stroke.Tool == StrokeTool::Carve;
    if (reaches && m_Tips == 1) RunDab(m_Last, m_Last);
  }
  const StrokeReport& Report() const { return m_Report; }
  // As Add, without the dabs.
  double CountBalls(const PenSample& sample) {
    const Tip tip = MakeTip(sample);
    if (m_Tips > 0 && !IsApart(m_Last, tip)) return 0;
    const double images = double(1 << std::popcount(unsigned(m_Stroke.Symmetry & 7)));
    const double steps =
        m_Tips > 0 ? CountSteps(Distance(m_Last, tip), BallSpacing() * m_Last.Radius, BallSpacing() * tip.Radius) : 0;
    m_Last = tip;
    m_Tips++;
    return std::isfinite(steps) ? steps * images : 0;  // RunSpheres goes no way that isn't finite
  }

 private:
  Tip MakeTip(const PenSample& sample) const {
    Tip tip;
    tip.Radius = sample.Radius * (m_Stroke.PressureRadius ? sample.Pressure : 1);
    tip.Height = sample.Height * (m_Stroke.PressureHeight ? sample.Pressure : 1);
    tip.Position = sample.Position;
    tip.Normal = sample.Normal;
    if (!m_InWorld) {
      tip.Radius /= m_UnitsPerVoxel;
      tip.Position = m_Volume.WorldToVolume(sample.Position);
      tip.Normal = m_Volume.WorldToVolumeDirection(sample.Normal);
    }
    tip.Normal = Normalized(tip.Normal, {0, 0, 1});
    return tip;
  }
  bool IsApart(const Tip& a, const Tip& b) const {
    return m_Stroke.Spacing <= 0 || Length(b.Position - a.Position) >= m_Stroke.Spacing * std::max(a.Radius, b.Radius);
  }

  double BallSpacing() const { return double(m_Stroke.Spacing > 0 ? m_Stroke.Spacing : Stroke::SphereSpacing); }
  static double Distance(const Tip& a, const Tip& b) {
    const auto apart = [&](int axis) { return double(b.Position[axis]) - double(a.Position[axis]); };
    return std::hypot(apart(0), apart(1), apart(2));
  }

  // Balls along a piece of the path, at equal distances in radii of where they stand. In doubles: on a long way a step is lost in
  // the rounding of a float.
  void RunSpheres(const Tip& a, const Tip& b) {
    const double spacing = BallSpacing(), length = Distance(a, b);
    if (!(length > 0) || !std::isfinite(length)) return;
    for (double at = 0; !IsStopped();) {
      const double radius = double(a.Radius) + (double(b.Radius) - double(a.Radius)) * (at / length);
      const double step = std::max(spacing * radius, LeastStep);
      const double go = step * (1 - m_Due);
      if (at + go > length) {
        m_Due += (length - at) / step;
        return;
      }
      at += go;
      m_Due = 0;
      const float u = float(at / length);
      const Tip tip{a.Position + (b.Position - a.Position) * u, a.Normal, a.Radius + (b.Radius - a.Radius) * u, 1};
      RunDab(tip, tip);
    }
  }

  // What is stopped or cut off is taken back: nothing more has to be done.
  bool IsStopped() const { return m_Report.Apply.Capped || m_Report.Apply.Cancelled; }

  // The dab and its images about every combination of the axes in use.
  void RunDab(const Tip& a, const Tip& b) {
    Dab dab{a.Position, b.Position, a.Normal, b.Normal, a.Radius, b.Radius, a.Height, b.Height};
    if (Dot(dab.N1, dab.N2) < 0.5f) dab.N1 = dab.N2 = Normalized(dab.N1 + dab.N2, dab.N1);
    for (int mirror = 0; mirror < 8; mirror++) {
      if (mirror & ~m_Stroke.Symmetry) continue;
      if (m_Options.GoOn && !m_Options.GoOn()) m_Report.Apply.Cancelled = true;
      if (IsStopped()) return;
      m_Report.Apply = m_Report.Apply + ApplyDab(dab, {m_Stroke.Mode, m_Stroke.Airbrush, mirror, &m_Options.GoOn});
      m_Report.Dabs++;
    }
    if (m_Options.RefreshEachDab) Refresh(m_Volume, m_Options);
  }
  ApplyReport ApplyDab(const Dab& dab, const DabOptions& options) {
    switch (m_Stroke.Tool) {
      case StrokeTool::Sphere:
        return ApplySphereDab(m_Volume, dab.P1, dab.R1, options);
      case StrokeTool::Segment:
        return m_InWorld ? ApplyWorldSegmentDab(m_Volume, dab, options) : ApplySegmentDab(m_Volume, dab, options);
      case StrokeTool::Carve:
        return ApplyCarveDab(m_Volume, dab, {m_Stroke.Falloff, m_Stroke.Base / m_UnitsPerVoxel}, options);
      case StrokeTool::Stamp:
        return m_Stroke.StampSource ? ApplyStamp(m_Volume, *m_Stroke.StampSource, dab, options) : ApplyReport{};
    }
    return {};
  }

  VolumeObject& m_Volume;
  Stroke m_Stroke;
  StrokeOptions m_Options;
  bool m_Uniform, m_InWorld = false;
  float m_UnitsPerVoxel = 1;
  Tip m_Last;        // the last sample that counted
  int m_Tips = 0;    // samples that counted
  double m_Due = 0;  // Sphere: part of the next step that the path so far has gone
  StrokeReport m_Report;
};

bool IsUniformSpace(const comms::cMat4& space) {
  const auto scales = AxisScales(space);
  const auto [least, most] = std::minmax_element(scales.begin(), scales.end());
  return *least >= *most * 0.98f && *most <= *least * 1.02f;
}

double CountBalls(VolumeObject& volume, const Stroke& stroke) {
  if (stroke.Tool != StrokeTool::Sphere) return 0;
  StrokeRun::Runner runner(volume, stroke, {});
  double balls = 0;
  for (const PenSample& sample : stroke.Samples) balls += runner.CountBalls(sample);
  return balls;
}

StrokeReport ApplyStroke(VolumeObject& volume, const Stroke& stroke, const StrokeOptions& options) {
  StrokeRun run(volume, stroke, options);
  for (const PenSample& sample : stroke.Samples) run.Add(sample);
  run.Finish();
  return run.Report();
}

StrokeRun::StrokeRun(VolumeObject& volume, const Stroke& settings, const StrokeOptions& options)
    : m_Runner(std::make_unique<Runner>(volume, settings, options)) {}
StrokeRun::~StrokeRun() = default;
void StrokeRun::Add(const PenSample& sample) { m_Runner->Add(sample); }
void StrokeRun::Finish() { m_Runner->Finish(); }
const StrokeReport& StrokeRun::Report() const { return m_Runner->Report(); }

void FinishStroke(VolumeObject& volume, StrokeListener* listener, const StrokeOptions& options) {
  Refresh(volume, options);  // first: what it finds no memory for can still be taken back
  StrokeCells replaced = volume.TakeStroke();
  if (listener && !replaced.Empty()) listener->OnStrokeEnd(volume, std::move(replaced));
}
