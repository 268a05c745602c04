#pragma once
// The scene as the window shows it: every volume's group meshes in the chosen material, ground, shadow and background.
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ClassEngine/BaseClass.h"
#include "ClassEngine/Declare.h"
#include "MC/VolumeObject.h"
#include "MC/room/VoxelScene.h"
#include "comms/cRender.h"

enum class SceneMaterial : int32_t { Clay, Matcap };
enum class ClayKind : int32_t { Terracotta, Grey, White, Wax, Slate };
enum class MatcapKind : int32_t { Porcelain, RedWax, Jade, Bronze, Pearl };
enum class SceneQuality : int32_t { Automatic, Fast, Normal, Fine };

/// What a person can choose about the view; a panel is made from its members.
class SceneViewOptions : public BaseClass {
  REFLECTED(SceneViewOptions, BaseClass)
 public:
  SceneMaterial Material = SceneMaterial::Clay;
  ClayKind Clay = ClayKind::Terracotta;
  MatcapKind Matcap = MatcapKind::Porcelain;
  bool AmbientOcclusion = true;
  bool SoftShadow = true;
  bool GroundShadow = true;
  bool VertexColors = true;
  SceneQuality Quality = SceneQuality::Automatic;  ///< Automatic: as the device bears, see SceneFrame

  /// "Xmls/View.xml" of the data path; a bad file leaves the defaults. See ObjectFile.h.
  void Load();
  bool Store();
  using BaseClass::Load;
  bool SceneHasColors = false;  ///< the scene's surfaces have colours of their own; said by who shows it, not stored
  /// What has no effect shows no row: the material that isn't chosen, colours that are not there.
  bool IsElementHiddenInPanel(int32_t row, void* data, int options) override;
};

/// What the light of the scene is multiplied with before it is brought into the range of the screen.
inline constexpr float SceneExposure = 0.46f;

/// Quality at which a device of that name ("Vendor, Renderer") keeps up: drivers that draw on the processor get Fast.
SceneQuality SuggestQuality(const std::string& deviceName);

/// Row-vector matrices as in RenderState; perspective or parallel.
struct SceneCamera {
  comms::cMat4 View, Projection;
};

/// Part of the window that the scene fills; pixels from the window's upper left corner.
struct SceneViewport {
  int X = 0, Y = 0, Width = 1, Height = 1;
  int WindowHeight = 1;
};

/// What the window gives to each frame. Colours are sRGB, 0xAARRGGBB.
struct SceneFrame {
  SceneCamera Camera;
  SceneViewport Viewport;
  uint32_t BackgroundTop = 0xFF3A3D42, BackgroundBottom = 0xFF1C1C1E, GridColor = 0xFF6A6E76;
  uint32_t AxisXColor = 0xFFB0524A, AxisZColor = 0xFF4A78B0;
  bool Grid = true;                                   ///< lines on the ground
  bool Wireframe = false;                             ///< the edges of the triangles
  SceneQuality DeviceQuality = SceneQuality::Normal;  ///< what Automatic stands for
  bool Moving = false;                                ///< the view moves or a stroke runs: what is dear waits until it stands
  bool Quiet = false;                                 ///< neither the picture nor the hand has moved for a while
  int FinalTarget = -1;                               ///< -1: the window
  /// Draws more into the scene, behind the solid surfaces and before what is translucent; empty: nothing. See
  /// BasicTool::DrawIn3D.
  std::function<void(comms::cRender&)> DrawMore;
  uint64_t MoreState = 0;  ///< another number after every change of what DrawMore draws
};

/// A ray in world space; Direction has length 1.
struct SceneRay {
  comms::cVec3 Origin, Direction;
};
/// The ray through a place of the window, pixels with fractions; it begins at the near plane.
SceneRay PickRay(const SceneCamera& camera, const SceneViewport& viewport, float x, float y);
/// Window pixels of a world point. False where it lies behind the eye.
bool ProjectPoint(const SceneCamera& camera, const SceneViewport& viewport, const comms::cVec3& point, comms::cVec2& pixel);
/// World units that a pixel spans at `point`, across the line of sight.
float PixelSizeAt(const SceneCamera& camera, const SceneViewport& viewport, const comms::cVec3& point);
/// Box of all that is drawn, world space. False where there is nothing.
bool GetSceneBounds(const VoxelScene& scene, comms::cVec3& minimum, comms::cVec3& maximum);
/// The same for a single volume.
bool GetVolumeBounds(const VolumeObject& volume, comms::cVec3& minimum, comms::cVec3& maximum);

/// Draws; owns what drawing needs on the device. Main thread. Goes before the device does, or after: both are fine.
class SceneView {
 public:
  struct Statistics {
    int Groups = 0, VisibleGroups = 0, Uploads = 0, WaitingUploads = 0;
    int64_t Triangles = 0, UploadedBytes = 0;  ///< triangles that were drawn
    int CoarseGroups = 0;                      ///< visible groups that were drawn with fewer triangles
    bool Changed = false;                      ///< the picture is another than that of the Draw before
  };

  SceneView();
  ~SceneView();
  SceneView(const SceneView&) = delete;
  SceneView& operator=(const SceneView&) = delete;

  /// Draws into the viewport of the final target and leaves the whole of it as it is outside. Pending changes of volumes are
  /// refreshed first. New groups reach the device at most UploadBudget bytes a frame, the nearest ones first; groups that were
  /// seen before and have changed do so at once, so that a stroke leaves no holes. Cost without changes: a few comparisons for
  /// each group and a draw call for each visible one; no memory in proportion to them.
  ///
  /// At Fast quality, on machines that pay for every triangle, frames in motion show coarser meshes, see CoarseMesh.h, made
  /// within CoarseBudget as they are wanted; groups that a stroke works on stay full. A view that stands shows everything, and,
  /// once it is quiet, with smooth edges.
  ///
  /// A picture of which nothing has changed is kept and shown again, which costs as much whatever the scene.
  void Draw(comms::cRender& render, VoxelScene& scene, const SceneFrame& frame, const SceneViewOptions& options);
  /// Whether another frame would show more: uploads wait.
  bool NeedsAnotherFrame() const { return m_Statistics.WaitingUploads > 0; }
  /// The next Draw makes the picture anew, as after a change of shaders.
  void Forget();
  /// Whether a surface of the scene that was drawn last has colours of its own.
  bool SceneHasColors() const;
  /// Of the last Draw.
  const Statistics& LastStatistics() const { return m_Statistics; }

  size_t UploadBudget = size_t(48) << 20;  ///< bytes a frame
  int64_t CoarseBudget = 400000;           ///< triangles a frame that coarser meshes are made from

 private:
  struct State;
  std::unique_ptr<State> m_State;
  Statistics m_Statistics;
};
