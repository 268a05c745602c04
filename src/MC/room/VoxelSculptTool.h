#pragma once
// The main tool of the voxel room: pen and mouse become strokes on the current volume.
//
// Every sample that the device reports is used. Samples wait in a queue until Process, which applies all of them and refreshes
// the surface once; a sample that arrived before a frame began is in that frame's picture.
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "MC/Stroke.h"
#include "MC/room/SceneView.h"
#include "MC/room/SurfacePick.h"
#include "MC/room/VoxelScene.h"
#include "shell/core/BasicTool.h"

/// Numbers of the built-in tools.
enum class VoxelBrush : int32_t { Sphere, Carve, Segment, Stamp, Count };

class VoxelSculptTool : public BasicTool {
  REFLECTED(VoxelSculptTool, BasicTool)
 public:
  VoxelSculptTool();
  ~VoxelSculptTool() override;

  // --- parameters --------------------------------------------------------------------------------------------------------
  VoxelBrush CurrentToolId = VoxelBrush::Carve;  ///< shown as "Brush"; set by SetTool
  float Radius = 40;                             ///< window pixels; used unless FixedSize
  bool FixedSize = false;                        ///< SceneRadius counts, whatever the zoom
  float SceneRadius = 0.1f;                      ///< world units
  float Depth = 0.3f;       ///< -1 .. 1: how far the dab rises over the surface, in radii; below 0 it cuts as far into it
  float Smoothness = 0.5f;  ///< 0 .. 1: Carve: 0 full to the rim, 1 falls off from the middle
  bool Airbrush = false;    ///< cutting takes a part of the density each time
  float Spacing = 0.1f;     ///< least distance between dabs, in radii
  bool SymmetryX = false, SymmetryY = false, SymmetryZ = false;  ///< about the planes through the volume's origin
  bool PressureToRadius = true, PressureToDepth = true;
  float LeastRadius = 0.3f, LeastDepth = 0;  ///< 0 .. 1: part that is left at no pressure
  float PressureCurve = 1;                   ///< exponent: below 1 soft, above 1 hard
  _str StampVolume;                          ///< Stamp: name of the volume that is pressed in

  // --- what the window tells ---------------------------------------------------------------------------------------------
  /// The scene that is worked on; outlives the tool or is taken away with null. Without one the tool does nothing.
  void SetScene(VoxelScene* scene);
  /// Camera and place of the work view. Before the events of a frame, at latest before Process.
  void SetView(const SceneCamera& camera, const SceneViewport& viewport);
  /// Whether a right drag on the surface comes to this tool, for the hint: else it is the camera's, and the key is told.
  bool RightDragIsOurs = true;
  /// Ends the tool before, and its stroke; while the button is down the new tool begins one. Does nothing where `id` is the
  /// current one or none of VoxelBrush. `notify` lets the next frame know.
  void SetTool(int32_t id, bool notify);

  /// Names of the volumes that can be pressed into the current one.
  std::vector<std::string> ListStamps() const;
  VolumeObject* CurrentVolume() const { return m_Scene ? m_Scene->Current() : nullptr; }
  bool IsStroking() const { return m_Stroking; }
  /// Whether something has asked for a frame since the last call.
  bool TakeRedraw() { return std::exchange(m_Redraw, false); }
  /// Time of the last Process that changed the surface; below 0 before the first. A pen that is held still changes nothing.
  double LastChange() const { return m_LastChange; }
  /// Whether a stroke or an adjustment runs.
  bool IsBusy() const { return m_Stroking || m_Adjusting != Adjusting::None; }
  /// Ends the stroke as at the release of the button, with its undo step. One that memory is short for is taken back.
  void FinishStroke();
  /// Ends the stroke and takes all of it back.
  void CancelStroke();
  /// The strokes that the last press made, as they were applied: a press that crosses empty space makes several. As a stroke
  /// file they give the same surface.
  const std::vector<Stroke>& LastStrokes() const { return m_Pieces; }
  /// What is under the pointer, as of the last Process.
  const SurfaceHit& Hover() const { return m_Hover; }
  /// Radius of the brush at a place of the scene, world units, without pressure.
  float WorldRadiusAt(const comms::cVec3& point) const;

  // --- BasicTool ---------------------------------------------------------------------------------------------------------
  bool OnLeftDown(const InputEvent& event) override;
  bool OnLeftUp(const InputEvent& event) override;
  bool OnRightDown(const InputEvent& event) override;
  bool OnRightUp(const InputEvent& event) override;
  bool ProcessInput(const InputEvent& event) override;
  void Process(double timeSec) override;
  void DrawOverlay(Canvas& canvas) override;
  void OnDeactivate() override;
  void OnNewScene() override;
  const char* GetHintKey() const override { return "VOX_SCULPT_TOOL_HINT"; }
  const char* GetToolKey() const override { return "VOX_SCULPT_TOOL"; }
  const char* GetRoomName() const override { return "Voxels"; }
  std::string GetWorkHint() override;
  bool FilterParam(const char* name) override;
  void BuildRoomMenu(MenuBar& bar) override;
  void BuildRoomPopups(TextMenu& menu) override;
  void BuildToolButtons(BaseWidget& panel) override;
  void GetStatusText(std::string& out) override;
  void AddActions(Actions& actions) override;
  bool UsesPen() const override { return true; }
  bool UsesPressure() const override { return true; }
  bool UsesStroke() const override { return true; }
  bool WantsSurfacePick() const override { return true; }
  bool WantsDepth() const override { return true; }
  bool WantsSymmetry() const override { return true; }
  bool UsesAirbrush() const override { return Airbrush; }

 private:
  enum class Adjusting { None, RadiusDepth, Smoothness };
  struct Sample {
    float X, Y, Pressure;
  };
  int SymmetryBits() const { return (SymmetryX ? 1 : 0) | (SymmetryY ? 2 : 0) | (SymmetryZ ? 4 : 0); }
  SurfaceHit PickAt(float x, float y) const;
  float PressurePart(float pressure, float least) const;
  Stroke MakeSettings() const;
  PenSample MakePenSample(const SurfaceHit& hit, float pressure) const;
  bool BeginStroke(const Sample& sample, bool invert);
  bool IsInScene(const VolumeObject* volume) const;
  void ScaleRadius(float factor);
  void LogMemory();
  void AddBrushActions(Actions& actions);
  void AddSizeActions(Actions& actions);
  int64_t ChangedCells() const;
  void BeginAdjusting(Adjusting kind, float x, float y);
  void SwitchAdjustingByKey(Adjusting kind);
  void EndAdjustingByKey();
  std::string GetGestureHint() const;
  void Adjust(float x, float y);
  void ApplyQueue();
  void ApplySample(const Sample& sample);
  void EndPiece();
  void TakeBackIfTooLarge();
  template <class Work>
  void Guarded(Work&& work);
  void DrawBrush(Canvas& canvas, const SurfaceHit& hit, float alpha) const;
  SurfaceHit Mirrored(const SurfaceHit& hit, int axes) const;

  VoxelScene* m_Scene = nullptr;
  SceneCamera m_Camera;
  SceneViewport m_Viewport;
  SurfaceHit m_Hover;
  Sample m_Pointer{0, 0, 1};
  bool m_PointerInside = false, m_ControlHeld = false, m_Redraw = false;

  bool m_Stroking = false, m_ReleaseQueued = false, m_Invert = false;
  bool m_OnPlane = false;      // the stroke began in an empty volume
  bool m_WasTooLarge = false;  // the last stroke was taken back for its size
  VolumeObject* m_StrokeVolume = nullptr;
  float m_StrokeRadius = 0;     // world units, fixed at the press
  std::vector<Sample> m_Queue;  // since the last Process
  std::vector<Stroke> m_Pieces;
  std::unique_ptr<StrokeRun> m_Run;  // of the last piece; null where the pointer is off the surface
  ApplyReport m_Report;              // of the pieces that ended
  double m_LastChange = -1;
  Sample m_LastSample{0, 0, 1};

  Adjusting m_Adjusting = Adjusting::None;
  bool m_AdjustByKey = false;
  float m_AdjustX = 0, m_AdjustY = 0;
  float m_StartRadius = 0, m_StartSceneRadius = 0, m_StartDepth = 0, m_StartSmoothness = 0;
};
