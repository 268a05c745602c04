#pragma once
// Pictures to work from: one behind the scene, and drawings that stand in it for the standard views.
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ClassEngine/ClassArray.h"
#include "ClassEngine/Str.h"
#include "comms/cRender.h"
#include "shell/core/BasicTool.h"
#include "shell/core/NaviSystem.h"

/// Where a picture is: behind everything, as large as the view; or upright in the scene, through the world's origin and facing
/// the viewer of that standard view.
enum class StillPlace : int32_t { Background, Front, Back, Left, Right, Top, Bottom };

/// One picture.
class StillImage : public BaseClass {
  REFLECTED(StillImage, BaseClass)
 public:
  _str Picture;  ///< path of a PNG file
  StillPlace Place = StillPlace::Front;
  float Opacity = 0.6f;            ///< 0 .. 1
  float Scale = 1;                 ///< 1: covers the view; in the scene two units high
  float OffsetX = 0, OffsetY = 0;  ///< to the right and up as seen: world units, of the background halves of the view's height
  float Distance = 0;              ///< world units, away from the viewer; no effect on the background
  bool OneSided = true;            ///< hidden from viewers at its back
};

class StillImageTool : public ActiveBasicTool {
  REFLECTED(StillImageTool, ActiveBasicTool)
 public:
  StillImageTool();
  ~StillImageTool() override;

  bool Visible = true;
  ClonesArray<StillImage> Images;

  /// Makes the box hold the pictures that stand in the scene.
  void AddBounds(SceneBox& box) const;

  void DrawIn3D(comms::cRender& render) override;
  void DrawOverlay(Canvas& canvas) override;
  uint64_t GetDrawState() const override;
  /// Of the first picture.
  int GetPreviewTexture() override;
  float GetPreviewAspect() override;
  uint32_t GetProjectChunkTag() const override { return ChunkTag("STIL"); }
  /// Visible and Images in their binary form.
  bool SaveProjectChunk(BinStream& stream) override;
  bool LoadProjectChunk(BinStream& stream, uint32_t size) override;

 private:
  struct Texture {
    std::string Path, Fault;  // one sentence where the file can't be shown; Id is -1 then
    int Id = -1;
    float Aspect = 1;
  };
  static Texture Read(comms::cRender& render, const std::string& path);
  const Texture* Find(const StillImage& image) const;
  void ReadMissing(comms::cRender& render);
  void ReleaseTextures();
  std::vector<Texture> m_Textures;  // of the pictures that were drawn
  comms::cRender* m_Render = nullptr;
  std::weak_ptr<void> m_RenderAlive;
};
