// What mouse, pen and keys do to the voxel tool.
#include <algorithm>
#include <cmath>

#include "MC/room/VoxelSculptTool.h"
#include "comms/Log.h"
#include "shell/core/KeyTable.h"
#include "shell/core/ToolInput.h"

namespace {

constexpr float DepthPixels = 150, SmoothnessPixels = 200;  // a drag of so many pixels is a whole unit

}  // namespace

bool VoxelSculptTool::OnLeftDown(const InputEvent& event) {
  m_Pointer = {event.X, event.Y, event.Pressure};
  m_PointerInside = true;
  if (m_Adjusting != Adjusting::None) {
    EndAdjustingByKey();
    return true;
  }
  if (m_ReleaseQueued) FinishStroke();  // the next press came within the same frame
  return BeginStroke(m_Pointer, (StrokeMode == 1) != event.IsEraser);
}

bool VoxelSculptTool::OnLeftUp(const InputEvent& event) {
  if (!m_Stroking) return m_Adjusting != Adjusting::None;
  // A pen reports no pressure as it lifts; its last place is a move of its own.
  if (!event.IsPen && (event.X != m_Pointer.X || event.Y != m_Pointer.Y))
    m_Queue.push_back({event.X, event.Y, m_Pointer.Pressure});
  m_ReleaseQueued = true;
  return true;
}

bool VoxelSculptTool::OnRightDown(const InputEvent& event) {
  if (m_Stroking) return true;
  m_Pointer = {event.X, event.Y, event.Pressure};
  m_PointerInside = true;
  m_Hover = PickAt(event.X, event.Y);
  if (!m_Hover) return false;
  BeginAdjusting(event.Modifiers & ModShift ? Adjusting::Smoothness : Adjusting::RadiusDepth, event.X, event.Y);
  m_AdjustByKey = false;
  return true;
}

bool VoxelSculptTool::OnRightUp(const InputEvent&) {
  if (m_Adjusting == Adjusting::None || m_AdjustByKey) return m_Stroking;
  m_Adjusting = Adjusting::None;
  return true;
}

bool VoxelSculptTool::ProcessInput(const InputEvent& event) {
  m_ControlHeld = (event.Modifiers & ModControl) != 0;
  switch (event.Kind) {
    case InputKind::PointerMove:
      m_Pointer = {event.X, event.Y, event.Pressure};
      m_PointerInside = true;
      if (m_Stroking && !m_ReleaseQueued) {
        m_Queue.push_back(m_Pointer);
        return true;
      }
      if (m_Adjusting == Adjusting::None) return false;
      Adjust(event.X, event.Y);
      return true;
    case InputKind::PointerLeave:
      if (!m_Stroking) m_PointerInside = false;
      return false;
    case InputKind::FocusLost:
      if (m_Stroking) m_ReleaseQueued = true;
      m_Adjusting = Adjusting::None;
      return false;
    case InputKind::KeyDown:
      if (event.Key != KeyEsc || !m_Stroking) return false;
      CancelStroke();
      return true;
    default:
      return false;
  }
}

void VoxelSculptTool::ScaleRadius(float factor) {
  if (FixedSize)
    SceneRadius = std::clamp(SceneRadius * factor, 1e-6f, 1e6f);
  else
    Radius = std::clamp(Radius * factor, 1.0f, 400.0f);
}

// From the key's press to its release; chosen in a menu, from where the pointer comes back to the view until a press there.
void VoxelSculptTool::SwitchAdjustingByKey(Adjusting kind) {
  if (m_Adjusting != Adjusting::None) return EndAdjustingByKey();
  if (m_Stroking) return;
  BeginAdjusting(kind, m_PointerInside ? m_Pointer.X : NAN, m_Pointer.Y);
  m_AdjustByKey = true;
}

void VoxelSculptTool::EndAdjustingByKey() {
  if (m_AdjustByKey) m_Adjusting = Adjusting::None;
}

// The report gives the triangles away that it has counted.
void VoxelSculptTool::LogMemory() {
  VolumeObject* const volume = CurrentVolume();
  if (!volume) return;
  comms::LogInfo("%s", volume->MemoryReport().c_str());
  volume->MarkAllChanged();
  volume->RefreshChanges();
}

void VoxelSculptTool::BeginAdjusting(Adjusting kind, float x, float y) {
  m_Adjusting = kind;
  m_AdjustX = x;
  m_AdjustY = y;
  m_StartRadius = Radius;
  m_StartSceneRadius = SceneRadius;
  m_StartDepth = Depth;
  m_StartSmoothness = Smoothness;
}

// From the press on, so that going back brings the first values back.
void VoxelSculptTool::Adjust(float x, float y) {
  if (std::isnan(m_AdjustX)) m_AdjustX = x, m_AdjustY = y;
  const float dx = x - m_AdjustX, dy = m_AdjustY - y;
  if (m_Adjusting == Adjusting::Smoothness) {
    Smoothness = std::clamp(m_StartSmoothness + dx / SmoothnessPixels, 0.0f, 1.0f);
    return;
  }
  if (FixedSize) {
    const float pixel = m_Hover ? PixelSizeAt(m_Camera, m_Viewport, m_Hover.Position) : m_StartSceneRadius / DepthPixels;
    SceneRadius = std::clamp(m_StartSceneRadius + dx * pixel, pixel, 1e6f);
  } else {
    Radius = std::clamp(m_StartRadius + dx, 1.0f, 400.0f);
  }
  Depth = std::clamp(m_StartDepth + dy / DepthPixels, -1.0f, 1.0f);
}
