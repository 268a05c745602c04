// State, strokes and adjusting. Input is in VoxelSculptInput.cpp, the cursor in VoxelSculptCursor.cpp, menus and lists of
// commands are in VoxelSculptMenus.cpp.
#include "MC/room/VoxelSculptTool.h"

#include <algorithm>
#include <cmath>
#include <new>

#include "ClassEngine/ClassRegistry.h"
#include "ClassEngine/ValueTypes.h"
#include "MC/room/RoomHelpers.h"
#include "comms/Log.h"
#include "comms/Str.h"
#include "interface/Language.h"

using comms::cVec3;

REGISTER_CLASS(VoxelSculptTool, nullptr);
DECLARE_MEMBERS(VoxelSculptTool) {
  Member<_index>("Brush", CurrentToolId, "VoxelBrushes")
      .Entries({"Sphere", "Carve", "Segment", "Stamp"})
      .Hint("Shape of the dab");
  Member<CtrlFSlider>("Radius", Radius, {1, 400, 40}).Unit("pixels").Hint("Radius of the brush on the screen");
  Member<_bool>("FixedSize", FixedSize).Hint("The brush keeps its size in the scene, whatever the zoom");
  Member<_float>("SceneRadius", SceneRadius).Range(1e-6, 1e6).Unit("world units").Hint("Radius of the brush in the scene");
  Member<CtrlFSlider>("Depth", Depth, {-1, 1, 0.3f})
      .Unit("radii")
      .Hint("How far a dab rises over the surface; below 0 it cuts. Ctrl turns it round");
  Member<CtrlFSlider>("Smoothness", Smoothness, {0, 1, 0.5f}).Hint("0: full up to the rim; 1: falls off from the middle");
  Member<_bool>("Airbrush", Airbrush).Hint("Cutting takes a part of the density each time");
  Member<CtrlFSlider>("Spacing", Spacing, {0, 2, 0.1f}).Unit("radii").Hint("Least distance between dabs");
  Member<_bool>("SymmetryX", SymmetryX).Hint("Repeats each dab mirrored across x");
  Member<_bool>("SymmetryY", SymmetryY).Hint("Repeats each dab mirrored across y");
  Member<_bool>("SymmetryZ", SymmetryZ).Hint("Repeats each dab mirrored across z");
  Member<_bool>("PressureToRadius", PressureToRadius).Hint("Pressure of the pen changes the radius");
  Member<CtrlFSlider>("LeastRadius", LeastRadius, {0, 1, 0.3f}).Hint("Part of the radius at no pressure");
  Member<_bool>("PressureToDepth", PressureToDepth).Hint("Pressure of the pen changes the depth");
  Member<CtrlFSlider>("LeastDepth", LeastDepth, {0, 1, 0}).Hint("Part of the depth at no pressure");
  Member<CtrlFSlider>("PressureCurve", PressureCurve, {0.25f, 4, 1})
      .Hint("Below 1 a light hand is enough; above 1 it takes a heavy one");
  Member<_str>("StampVolume", StampVolume).Hint("Volume that Stamp presses in").Choices([](const BaseClass& owner) {
    return static_cast<const VoxelSculptTool&>(owner).ListStamps();
  });
}

/// Radii in voxels beyond which a brush does not grow: a ball stays below the cells that one dab may reach, a segment of some
/// length as well.
static constexpr float MostBrushVoxels = 240, MostSegmentVoxels = 512;

/// Digits in groups of three, apart as the language writes them.
static std::string PrintGrouped(int64_t number) {
  std::string text = std::to_string(number);
  const std::string mark = HasText("THOUSANDS_SEPARATOR") ? GetText("THOUSANDS_SEPARATOR") : "";
  for (ptrdiff_t at = ptrdiff_t(text.size()) - 3; at > (number < 0 ? 1 : 0); at -= 3) text.insert(size_t(at), mark);
  return text;
}

VoxelSculptTool::VoxelSculptTool() { IsRoomTool = true; }
VoxelSculptTool::~VoxelSculptTool() = default;

void VoxelSculptTool::SetScene(VoxelScene* scene) {
  if (scene == m_Scene) return;
  FinishStroke();
  m_Scene = scene;
  m_Hover = {};
}

void VoxelSculptTool::SetView(const SceneCamera& camera, const SceneViewport& viewport) {
  m_Camera = camera;
  m_Viewport = viewport;
}

void VoxelSculptTool::SetTool(int32_t id, bool notify) {
  if (id == int32_t(CurrentToolId) || id < 0 || id >= int32_t(VoxelBrush::Count)) return;
  const bool goesOn = m_Stroking && !m_ReleaseQueued;
  FinishStroke();
  m_Adjusting = Adjusting::None;
  CurrentToolId = VoxelBrush(id);
  m_Redraw = m_Redraw || notify;
  // The button is still down: the rest of the drag is a stroke of the new brush.
  if (goesOn) BeginStroke(m_Pointer, m_Invert);
}

bool VoxelSculptTool::FilterParam(const char* name) {
  const std::string_view parameter(name);
  if (parameter == "Radius") return !FixedSize;
  if (parameter == "SceneRadius") return FixedSize;
  if (parameter == "Smoothness") return CurrentToolId == VoxelBrush::Carve;
  if (parameter == "StampVolume") return CurrentToolId == VoxelBrush::Stamp;
  return true;
}

// --- places ------------------------------------------------------------------------------------------------------------------

SurfaceHit VoxelSculptTool::PickAt(float x, float y) const {
  VolumeObject* volume = m_Stroking ? m_StrokeVolume : CurrentVolume();
  if (!volume) return {};
  const SceneRay ray = PickRay(m_Camera, m_Viewport, x, y);
  if (const SurfaceHit hit = PickVolume(*volume, ray, float(GetMaxDistance()))) return hit;
  // An empty volume has nothing to touch: clay appears on the plane through its origin that faces the viewer.
  const bool empty = m_Stroking ? m_OnPlane : volume->Cells.Count() == 0;
  if (!empty) return {};
  comms::cMat4 inverse;
  comms::Invert(m_Camera.View, inverse);
  SurfaceHit hit;
  hit.Normal = Normalized(inverse.TransformDirection({0, 0, 1}), {0, 0, 1});
  const float along = Dot(ray.Direction, hit.Normal);
  if (std::fabs(along) < 1e-6f) return {};
  hit.Distance = Dot(volume->VolumeToWorld({}) - ray.Origin, hit.Normal) / along;
  if (!(hit.Distance > 0)) return {};
  hit.Position = ray.Origin + ray.Direction * hit.Distance;
  hit.Volume = volume;
  return hit;
}

float VoxelSculptTool::WorldRadiusAt(const cVec3& point) const {
  const float wanted = FixedSize ? SceneRadius : std::max(Radius, 0.5f) * PixelSizeAt(m_Camera, m_Viewport, point);
  const VolumeObject* const volume = CurrentVolume();
  if (!volume) return wanted;
  const float voxel = GetVoxelSize(*volume), most = CurrentToolId == VoxelBrush::Segment ? MostSegmentVoxels : MostBrushVoxels;
  return std::clamp(wanted, 0.5f * voxel, most * voxel);
}

float VoxelSculptTool::PressurePart(float pressure, float least) const {
  return least + (1 - least) * std::pow(std::clamp(pressure, 0.0f, 1.0f), std::clamp(PressureCurve, 0.05f, 20.0f));
}

// --- strokes -----------------------------------------------------------------------------------------------------------------

Stroke VoxelSculptTool::MakeSettings() const {
  static constexpr StrokeTool tools[] = {StrokeTool::Sphere, StrokeTool::Carve, StrokeTool::Segment, StrokeTool::Stamp};
  Stroke stroke;
  stroke.Tool = tools[size_t(CurrentToolId)];
  stroke.Mode = (Depth < 0) != m_Invert ? ApplySubtract : ApplyAdd;
  stroke.Airbrush = Airbrush;
  stroke.Symmetry = SymmetryBits();
  stroke.Spacing = Spacing;
  // The curves of pressure are in the samples already.
  stroke.PressureRadius = stroke.PressureHeight = false;
  stroke.Falloff = Smoothness;
  if (stroke.Tool == StrokeTool::Stamp) {
    const VolumeObject* source = m_Scene->Find(StampVolume.ToString());
    stroke.StampSource = source == m_StrokeVolume ? nullptr : source;
  }
  return stroke;
}

PenSample VoxelSculptTool::MakePenSample(const SurfaceHit& hit, float pressure) const {
  PenSample sample;
  sample.Radius = m_StrokeRadius * (PressureToRadius ? PressurePart(pressure, LeastRadius) : 1);
  sample.Radius = std::max(sample.Radius, 1e-3f * m_StrokeRadius);
  const float depth = std::fabs(Depth) * (PressureToDepth ? PressurePart(pressure, LeastDepth) : 1);
  sample.Position = hit.Position;
  sample.Normal = hit.Normal;
  sample.Pressure = 1;
  sample.Height = depth;
  // Round brushes reach as far over the surface, or under it, as the depth says: the ball's middle lies on its other side.
  if (CurrentToolId == VoxelBrush::Sphere || CurrentToolId == VoxelBrush::Segment) {
    const bool cuts = (Depth < 0) != m_Invert;
    sample.Position += hit.Normal * (sample.Radius * (1 - depth) * (cuts ? 1.0f : -1.0f));
    sample.Height = 1;
  }
  return sample;
}

bool VoxelSculptTool::BeginStroke(const Sample& sample, bool invert) {
  VolumeObject* const volume = CurrentVolume();
  if (!volume || m_Stroking || volume->SurfaceMode || volume->BackupCount != 0) return false;
  m_OnPlane = volume->Cells.Count() == 0;
  const SurfaceHit hit = PickAt(sample.X, sample.Y);
  if (!hit) return false;
  m_Stroking = true;
  m_StrokeVolume = volume;
  m_Invert = invert;
  m_StrokeRadius = WorldRadiusAt(hit.Position);
  m_WasTooLarge = false;
  m_Pieces.clear();
  m_Queue.assign(1, sample);
  m_Report = {};
  if (CurrentToolId == VoxelBrush::Stamp && !MakeSettings().StampSource) {
    m_Stroking = false;
    return false;
  }
  return true;
}

bool VoxelSculptTool::IsInScene(const VolumeObject* volume) const {
  return m_Scene &&
         std::any_of(m_Scene->Volumes().begin(), m_Scene->Volumes().end(), [&](const auto& one) { return one.get() == volume; });
}

void VoxelSculptTool::ApplySample(const Sample& sample) {
  const SurfaceHit hit = PickAt(sample.X, sample.Y);
  if (!hit) {
    EndPiece();
    m_LastSample = sample;
    return;
  }
  const PenSample pen = MakePenSample(hit, sample.Pressure);
  if (m_Run) {
    // Over an outline the surface jumps: the pen lifts there and does not cut through what lies between.
    const float moved = std::hypot(sample.X - m_LastSample.X, sample.Y - m_LastSample.Y);
    const float apart = Length(pen.Position - m_Pieces.back().Samples.back().Position);
    if (apart > 3 * moved * PixelSizeAt(m_Camera, m_Viewport, hit.Position) + 2 * m_StrokeRadius) EndPiece();
  }
  m_LastSample = sample;
  if (!CheckReach(*m_StrokeVolume, pen).empty()) return;
  if (!m_Run) {
    m_Pieces.push_back(MakeSettings());
    m_Run = std::make_unique<StrokeRun>(*m_StrokeVolume, m_Pieces.back(), StrokeOptions{});
  }
  m_Pieces.back().Samples.push_back(pen);
  m_Run->Add(pen);
}

void VoxelSculptTool::EndPiece() {
  if (!m_Run) return;
  m_Run->Finish();
  m_Report = m_Report + m_Run->Report().Apply;
  m_Run.reset();
}

void VoxelSculptTool::ApplyQueue() {
  if (!m_Stroking) return;
  if (!IsInScene(m_StrokeVolume)) {  // it takes its stroke along
    m_Run.reset();
    m_Stroking = m_ReleaseQueued = false;
    m_Queue.clear();
    return;
  }
  if (m_Run && m_Pieces.back().StampSource && !IsInScene(m_Pieces.back().StampSource)) EndPiece();
  for (const Sample& sample : m_Queue) ApplySample(sample);
  m_Queue.clear();
}

// A stroke that memory is short for is taken back whole.
template <class Work>
void VoxelSculptTool::Guarded(Work&& work) {
  try {
    work();
  } catch (const std::bad_alloc&) {
    comms::LogError("there is not enough memory for this stroke; it was taken back");
    CancelStroke();
  }
}

void VoxelSculptTool::FinishStroke() {
  m_ReleaseQueued = false;
  Guarded([this] {
    ApplyQueue();
    if (!m_Stroking) return;
    EndPiece();
    TakeBackIfTooLarge();
    if (!m_Stroking) return;
    ::FinishStroke(*m_StrokeVolume, &m_Scene->History(), {});
    m_Stroking = false;
  });
}

// A dab that was cut off in its middle leaves a surface that does not join.
void VoxelSculptTool::TakeBackIfTooLarge() {
  if (!m_Stroking || !(m_Report.Capped || (m_Run && m_Run->Report().Apply.Capped))) return;
  CancelStroke();
  m_WasTooLarge = true;
}

void VoxelSculptTool::CancelStroke() {
  m_Queue.clear();
  ApplyQueue();
  m_ReleaseQueued = false;
  if (!m_Stroking) return;
  m_Run.reset();
  m_Pieces.clear();
  m_Stroking = false;
  m_StrokeVolume->EndStroke(true);
  try {
    m_StrokeVolume->RefreshChanges();
  } catch (const std::bad_alloc&) {
    // the marks stay for the next frame
  }
}

void VoxelSculptTool::Process(double timeSec) {
  const int64_t before = ChangedCells();
  if (m_ReleaseQueued) {
    FinishStroke();
  } else if (m_Stroking) {
    Guarded([this] {
      ApplyQueue();
      TakeBackIfTooLarge();
      if (m_Stroking) m_StrokeVolume->RefreshChanges();
    });
  }
  if (ChangedCells() != before) m_LastChange = timeSec;
  if (m_Adjusting == Adjusting::None)
    m_Hover = m_PointerInside ? PickAt(m_Pointer.X, m_Pointer.Y) : SurfaceHit{};
  else if (!IsInScene(m_Hover.Volume))
    m_Hover = {};
}

void VoxelSculptTool::OnDeactivate() {
  FinishStroke();
  m_Adjusting = Adjusting::None;
}

void VoxelSculptTool::OnNewScene() {
  CancelStroke();
  m_Hover = {};
}

std::vector<std::string> VoxelSculptTool::ListStamps() const {
  std::vector<std::string> names;
  if (!m_Scene) return names;
  for (const auto& volume : m_Scene->Volumes())
    if (volume.get() != m_Scene->Current()) names.push_back(volume->Name);
  return names;
}

std::string VoxelSculptTool::GetWorkHint() {
  if (m_WasTooLarge) return GetText("WORKHINT_TOO_LARGE");
  if (CurrentToolId == VoxelBrush::Stamp && (!m_Scene || !m_Scene->Find(StampVolume.ToString())))
    return GetText("WORKHINT_STAMP");
  const auto show = [](const char* key, const char* format, float value) {
    return GetText(key) + " " + ShowNumber(comms::Format(format, double(value)));
  };
  const std::string depth = show("Depth", "%.2f", Depth);
  if (m_Adjusting == Adjusting::Smoothness) return show("Smoothness", "%.2f", Smoothness);
  if (m_Adjusting == Adjusting::RadiusDepth && FixedSize) return show("SceneRadius", "%.4g", SceneRadius) + "   " + depth;
  if (m_Adjusting == Adjusting::RadiusDepth)
    return comms::Format("%s %.0f px   %s", GetText("Radius").c_str(), double(Radius), depth.c_str());
  if (m_Stroking)
    return comms::Format("%s %s   %s", GetText("CHANGED_CELLS").c_str(), PrintGrouped(ChangedCells()).c_str(),
                         GetText("WORKHINT_STROKE").c_str());
  return GetGestureHint();
}

int64_t VoxelSculptTool::ChangedCells() const { return m_Report.ChangedCells + (m_Run ? m_Run->Report().Apply.ChangedCells : 0); }

// Whether a step along each axis of the volume is as long as along the others.
static bool IsUniform(const VolumeObject& volume) {
  const float x = Length(volume.VolumeToWorldDirection({1, 0, 0})), y = Length(volume.VolumeToWorldDirection({0, 1, 0})),
              z = Length(volume.VolumeToWorldDirection({0, 0, 1}));
  return std::max({x, y, z}) - std::min({x, y, z}) <= 1e-4f * std::max({x, y, z});
}

void VoxelSculptTool::GetStatusText(std::string& out) {
  int64_t triangles = 0, all = 0;
  if (m_Scene)
    for (const auto& volume : m_Scene->Volumes()) {
      int64_t own = 0;
      // Indices of group meshes are counted, whether they are on the device or not.
      volume->RenderGroups.ForEach([&](const auto&, const RenderGroup& group) { own += group.Mesh->NumIndices / 3; });
      all += own;
      if (volume.get() == CurrentVolume()) triangles = own;
    }
  // What is told first gives way first where there is little room.
  out.clear();
  if (const VolumeObject* volume = CurrentVolume())
    out = comms::Format("%s: %s %s, %s\n", GetText("LinearScale").c_str(),
                        ShowNumber(comms::Format("%.4g", double(GetVoxelSize(*volume)))).c_str(),
                        GetText("UNITS_PER_VOXEL").c_str(), GetText(IsUniform(*volume) ? "Uniform" : "NonUniform").c_str());
  out += comms::Format("%s: %s\n%s: %s", GetText("CurrObjTriangles").c_str(), PrintGrouped(triangles).c_str(),
                       GetText("OverallTriangles").c_str(), PrintGrouped(all).c_str());
}
