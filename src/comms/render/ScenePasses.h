#pragma once
// How a solid scene becomes a picture, whoever asks: light in linear numbers off-screen, darkening in cavities from the depth
// picture, and a last pass that brings both onto the screen. Pictures without a window and the window's view are both made here.
#include <functional>

#include "comms/cRender.h"
#include "comms/render/SoftShadow.h"

namespace comms {

/// One picture.
struct ScenePassOptions {
  int X = 0, Y = 0;           ///< where the picture goes in the final target, pixels from its lower left corner
  int Width = 0, Height = 0;  ///< of the picture, pixels, at least 1
  int FinalTarget = -1;       ///< -1: the window
  int Supersampling = 1;      ///< 1 .. 4 pixels a side are averaged into one
  int Samples = 1;            ///< above 1 edges are smoothed by the device; then Supersampling is 1
  float OcclusionRadius = 0;  ///< of the search for what hides the sky, world units; 0: no darkening
  float Detail = 0;           ///< world units that the surface shows at the finest: far below there is no darkening; 0: not known
  int OcclusionStep = 1;      ///< pixels of the picture per pixel of the search, 1 or 2
  int FormSamples = 18, CreaseSamples = 12;  ///< places that are probed at each pixel, 0 .. 32
  cVec3 Albedo{0.46f, 0.345f, 0.27f};        ///< of the surface, linear: light that bounces in a crease takes it on
  float Exposure = 0.46f;
  cVec3 BackgroundTop{0.060f, 0.066f, 0.076f}, BackgroundBottom{0.022f, 0.022f, 0.024f};  ///< linear
  cVec3 BackgroundGlow{0.115f, 0.120f, 0.130f};  ///< added in the middle of the background
  float Vignette = 0.42f;                        ///< part of the background's light that its corners lack
  /// Asked between stripes of StripePixels, wherever the whole picture is gone over; false leaves the rest out. Empty: the passes
  /// are drawn in one go.
  std::function<bool()> GoOn = {};
};

/// Keeps the targets of the last picture; equal sizes make no new ones. Main thread.
class ScenePasses {
 public:
  static constexpr int64_t StripePixels = 1 << 21;  ///< what a slow device draws in a part of a second

  ScenePasses() = default;
  ~ScenePasses() { Release(); }
  ScenePasses(const ScenePasses&) = delete;
  ScenePasses& operator=(const ScenePasses&) = delete;

  /// Targets of a fitting size, the background drawn and the solid states set: what is drawn next, up to Finish, is the scene, in
  /// linear light. State.View and State.Projection are set before. False where the device has no memory for it; nothing is to be
  /// drawn then.
  bool Begin(cRender& render, const ScenePassOptions& options);
  /// The shader of clay with `defines`, one a line, in the colour of the options, and where `shadowed` with the map of Shadow.
  void SetClay(const cStr& defines, bool shadowed);
  /// The shadow of the scene on itself; its map is drawn before Begin.
  SoftShadow& Shadow() { return m_Shadow; }
  /// Everything that is translucent goes here: the depth of the solids is there and is not written.
  void BeginTranslucent();
  /// Darkens, composes into the final target and leaves it set, without depth test.
  void Finish();
  /// Composes the last finished picture once more, in place of Begin to Finish. False where it is gone: it is to be drawn anew.
  bool Repeat(cRender& render);
  /// Gives the targets back, that of Shadow too.
  void Release();

  /// States that scene drawing needs between Begin and Finish. Closed surfaces may leave out the faces that nobody sees.
  void SetSolid(CullMode cull = CullMode::None);
  /// Lines of the triangles over what is drawn.
  void SetWire();

 private:
  struct ScreenPart {
    int X, Y, Width, Height;
  };
  bool MakeTargets();
  void ReleaseTargets();
  void DrawWhole();
  void DrawStripes(const ScreenPart& part);
  void DrawOcclusion();
  void Compose();

  struct Shape {
    int Width = 0, Height = 0, Scale = 1, Samples = 1, Step = 1;
    friend bool operator==(const Shape&, const Shape&) = default;
  };
  cRender* m_Render = nullptr;
  std::weak_ptr<void> m_RenderAlive;
  ScenePassOptions m_Options;
  SoftShadow m_Shadow;
  Shape m_Shape;
  int m_Multisampled = -1, m_Scene = -1, m_Occlusion = -1, m_Blurred = -1;
};

}  // namespace comms
