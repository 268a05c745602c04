#pragma once
// Pictures of meshes without a window: clay in studio light before a soft background.
#include <functional>
#include <memory>
#include <optional>

#include "comms/BaseMesh.h"
#include "comms/Image.h"
#include "comms/Vec.h"

namespace comms {

class EglContext;
class cRenderGL;
class ScenePasses;
struct ScenePassOptions;

struct PictureItem {
  BaseMesh* Mesh = nullptr;
  cMat4 World;
};

/// Y is up. Position and Target differ, Up is not parallel to the line between them, and what is drawn is nearer than 1e7 of its
/// lengths.
struct PictureCamera {
  cVec3 Position{0, 0, 1}, Target, Up{0, 1, 0};
  float FovDegrees = 28;  ///< full vertical angle, 1 .. 150
};

struct PictureOptions {
  int Width = 1280, Height = 960;       ///< pixels, at least 16; the device sets the upper limit
  std::optional<PictureCamera> Camera;  ///< none: from the front, a little from the right and from above, just with all of them
  int Supersampling = 2;                ///< 1 .. 4 pixels a side are averaged into one; less where the device can't
  bool AmbientOcclusion = true;
  bool SoftShadow = true;       ///< of the meshes on themselves; left out where the device has no memory for it
  bool OutwardNormals = false;  ///< false: vertex normals point into the solid, as those of volumes do
};

/// Keeps one context; begin once, draw many. Main thread.
class OffscreenPicture {
 public:
  OffscreenPicture();
  ~OffscreenPicture();
  OffscreenPicture(const OffscreenPicture&) = delete;
  OffscreenPicture& operator=(const OffscreenPicture&) = delete;

  /// False with one sentence where there is no device, or where the shaders of the data folder do not compile on it.
  bool Init(const cStr& dataFolder, const cStr& userFolder, cStr& error);
  /// Draws the staged data of `items`, which stays as it is: nothing of the meshes remains on the device. Items without vertices
  /// are left out. False with one sentence where nothing is left, the size or camera is unusable, memory runs out or the person
  /// cancels.
  bool Render(const cList<PictureItem>& items, const PictureOptions& options, cImage& image, cStr& error);
  /// Vendor and renderer of the device.
  cStr DeviceName() const;

 private:
  void Close();
  int FindScale(const PictureOptions& options, cStr& error) const;
  void DrawItems(const cList<PictureItem>& items, const ScenePassOptions& passes, const std::function<void()>& setShader);
  std::unique_ptr<EglContext> m_Context;
  std::unique_ptr<cRenderGL> m_Render;
  std::unique_ptr<ScenePasses> m_Passes;
};

}  // namespace comms
