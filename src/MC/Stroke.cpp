#include "MC/Stroke.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "MC/Dabs.h"

using comms::cVec3;

namespace {

std::array<float, 3> AxisScales(const comms::cMat4& space) {
  std::array<float, 3> scales;
  for (size_t i = 0; i < 3; i++) scales[i] = comms::Length({space.m[i][0], space.m[i][1], space.m[i][2]});
  return scales;
}

// Voxels; balls closer than this add nothing but time.
constexpr float LeastStep = 0.25f;

// A sample with its pressure applied, in the space of the dabs.
struct Tip {
  cVec3 Position, Normal;
  float Radius = 0, Height = 0;
};

class StrokeRunner {
 public:
  StrokeRunner(VolumeObject& volume, const Stroke& stroke, const StrokeOptions& options)
      : m_Volume(volume), m_Stroke(stroke), m_Options(options), m_Uniform(IsUniformSpace(volume.SpaceMatrix)) {
    const auto scales = AxisScales(volume.SpaceMatrix);
    m_UnitsPerVoxel = std::cbrt(scales[0] * scales[1] * scales[2]);
    m_InWorld = stroke.Tool == StrokeTool::Segment && !m_Uniform;
  }

  StrokeReport Run() {
    std::vector<Tip> tips;
    for (const PenSample& sample : m_Stroke.Samples) {
      const Tip tip = MakeTip(sample);
      if (tips.empty() || IsApart(tips.back(), tip)) tips.push_back(tip);
    }
    if (m_Stroke.Tool == StrokeTool::Sphere) {
      RunSpheres(tips);
    } else if (m_Stroke.Tool == StrokeTool::Stamp || tips.size() == 1) {
      for (const Tip& tip : tips) RunDab(tip, tip);
    } else {
      for (size_t i = 1; i < tips.size(); i++) RunDab(tips[i - 1], tips[i]);
    }
    return m_Report;
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

  // Balls along the path, at equal distances in radii of where they stand.
  void RunSpheres(const std::vector<Tip>& tips) {
    if (tips.empty()) return;
    RunDab(tips[0], tips[0]);
    const float spacing = m_Stroke.Spacing > 0 ? m_Stroke.Spacing : Stroke::SphereSpacing;
    float due = 0;  // part of the next step that the path before this piece has gone
    for (size_t i = 1; i < tips.size(); i++) {
      const Tip &a = tips[i - 1], &b = tips[i];
      const float length = Length(b.Position - a.Position);
      if (!(length > 0) || !std::isfinite(length)) continue;
      for (float at = 0;;) {
        const float t = at / length;
        const float step = std::max(spacing * (a.Radius + (b.Radius - a.Radius) * t), LeastStep);
        const float go = step * (1 - due);
        if (at + go > length) {
          due += (length - at) / step;
          break;
        }
        at += go;
        due = 0;
        const float u = at / length;
        const Tip tip{a.Position + (b.Position - a.Position) * u, a.Normal, a.Radius + (b.Radius - a.Radius) * u, 1};
        RunDab(tip, tip);
      }
    }
  }

  // The dab and its images about every combination of the axes in use.
  void RunDab(const Tip& a, const Tip& b) {
    Dab dab{a.Position, b.Position, a.Normal, b.Normal, a.Radius, b.Radius, a.Height, b.Height};
    if (Dot(dab.N1, dab.N2) < 0.5f) dab.N1 = dab.N2 = Normalized(dab.N1 + dab.N2, dab.N1);
    for (int mirror = 0; mirror < 8; mirror++) {
      if (mirror & ~m_Stroke.Symmetry) continue;
      m_Report.Apply = m_Report.Apply + ApplyDab(dab, {m_Stroke.Mode, m_Stroke.Airbrush, mirror});
      m_Report.Dabs++;
    }
    if (m_Options.RefreshEachDab) m_Volume.RefreshChanges(m_Options.BuildGroups);
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
  const Stroke& m_Stroke;
  const StrokeOptions& m_Options;
  bool m_Uniform, m_InWorld = false;
  float m_UnitsPerVoxel = 1;
  StrokeReport m_Report;
};

}  // namespace

bool IsUniformSpace(const comms::cMat4& space) {
  const auto scales = AxisScales(space);
  const auto [least, most] = std::minmax_element(scales.begin(), scales.end());
  return *least >= *most * 0.98f && *most <= *least * 1.02f;
}

StrokeReport ApplyStroke(VolumeObject& volume, const Stroke& stroke, const StrokeOptions& options) {
  return StrokeRunner(volume, stroke, options).Run();
}

void FinishStroke(VolumeObject& volume, StrokeListener* listener, const StrokeOptions& options) {
  if (listener && volume.BackupCount > 0) listener->OnStrokeEnd(volume, volume.StrokeCellKeys);
  volume.EndStroke(false);
  volume.RefreshChanges(options.BuildGroups);
}
