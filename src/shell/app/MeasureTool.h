#pragma once
// Distances and angles on the surface of the scene: places that the person sets form a line, whose parts are measured.
#include <string>
#include <vector>

#include "ClassEngine/Str.h"
#include "MC/room/SceneView.h"
#include "MC/room/VoxelScene.h"
#include "shell/core/BasicTool.h"

/// A line of text over the view on a ground of its own, so that it is read on whatever is below; `place` is the middle of the
/// box.
void DrawViewLabel(Canvas& canvas, comms::cVec2 place, const std::string& text);
/// Pixels of the sides of that box.
comms::cVec2 GetViewLabelSize(Canvas& canvas, const std::string& text);

class MeasureTool : public BasicTool {
  REFLECTED(MeasureTool, BasicTool)
 public:
  // --- parameters --------------------------------------------------------------------------------------------------------
  bool Closed = false;     ///< the last place is joined with the first one, from three on
  bool ShowAngles = true;  ///< between the parts that meet in a place
  float UnitsPerWorld = 1;
  _str UnitName;  ///< stands behind lengths

  // --- what the window tells ---------------------------------------------------------------------------------------------
  /// The scene that is measured; outlives the tool or is taken away with null.
  void SetScene(const VoxelScene* scene);
  void SetView(const SceneCamera& camera, const SceneViewport& viewport);

  /// World space, in the order in which they were set.
  const std::vector<comms::cVec3>& Points() const { return m_Points; }
  /// Of the parts that join the places, in the unit of the parameters; the closing one is the last.
  std::vector<double> Lengths() const;
  /// Degrees, 0 .. 180, of the angle at a place; -1 where fewer than two parts meet or one of them has no length.
  double AngleAt(size_t point) const;

  // --- BasicTool ---------------------------------------------------------------------------------------------------------
  bool OnLeftDown(const InputEvent& event) override;
  bool OnLeftUp(const InputEvent& event) override;
  bool OnAltLeftDown(const InputEvent& event) override;
  bool OnAltLeftUp(const InputEvent& event) override;
  bool OnAltRightDown(const InputEvent& event) override;
  bool ProcessInput(const InputEvent& event) override;
  void DrawIn3D(comms::cRender& render) override;
  uint64_t GetDrawState() const override;
  void DrawOverlay(Canvas& canvas) override;
  void OnDeactivate() override { m_Dragged = -1; }
  void OnNewScene() override;
  const char* GetHintKey() const override { return "MEASURE_TOOL_HINT"; }
  const char* GetToolKey() const override { return "MEASURE_TOOL"; }
  std::string GetWorkHint() override;
  bool WantsSurfacePick() const override { return true; }
  bool EditsPoints() const override { return true; }

 private:
  bool PickAt(const InputEvent& event, comms::cVec3& place) const;
  int PointAt(const InputEvent& event) const;
  /// Ends of the parts, by places.
  std::vector<std::pair<size_t, size_t>> Parts() const;
  std::string LengthText(double length) const;

  const VoxelScene* m_Scene = nullptr;
  SceneCamera m_Camera;
  SceneViewport m_Viewport;
  std::vector<comms::cVec3> m_Points;
  int m_Dragged = -1;  // the place that is being moved
};
