// Render.
#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>
#include <optional>

#include "ClassEngine/ValueTypes.h"
#include "MC/RefreshProgress.h"
#include "MC/room/RoomCommands.h"
#include "MC/room/RoomHelpers.h"
#include "MC/room/StrokePlacement.h"
#include "comms/Image.h"
#include "comms/render/OffscreenPicture.h"

using comms::cVec3;

namespace {

class RenderParams : public CommandParameters {
  REFLECTED(RenderParams, CommandParameters)
 public:
  _str File, Volume;
  int32_t Width = 1280, Height = 960;
  float Azimuth = 35, Elevation = 15, Fov = 28, Zoom = 1;
  bool SoftShadow = true;
  cVec3 Position, Target;
};
DECLARE_MEMBERS(RenderParams) {
  Member<_str>("File", File).Hint("PNG file to write; {Name} stands for the current volume's name");
  Member<_str>("Volume", Volume).Hint("Name of the volume; empty: all");
  Member<_int>("Width", Width).Range(16, 16384).Unit("pixels").Hint("Width of the picture");
  Member<_int>("Height", Height).Range(16, 16384).Unit("pixels").Hint("Height of the picture");
  Member<_float>("Azimuth", Azimuth)
      .Range(-360, 360)
      .Unit("degrees")
      .Hint("Where the camera stands: 0 in front (+z), 90 at the right (+x)");
  Member<_float>("Elevation", Elevation)
      .Range(-90, 90)
      .Unit("degrees")
      .Hint("How far the camera stands above the horizon (y is up)");
  Member<_float>("Fov", Fov).Range(1, 150).Unit("degrees").Hint("Vertical angle of view");
  Member<_float>("Zoom", Zoom).Range(0.01, 100).Hint("1 just shows everything, 2 shows it twice as large");
  Member<_bool>("SoftShadow", SoftShadow).Hint("Shadow of the surface on itself");
  Member<_cFloat3>("Position", Position).Unit("world units").Hint("Place of the camera, in place of Azimuth, Elevation and Zoom");
  Member<_cFloat3>("Target", Target)
      .Unit("world units")
      .Hint("Point in the middle of the picture; not given: the middle of what is shown");
}

// Camera in the direction of the two angles at the least distance from which every corner of the box is in the picture.
comms::PictureCamera FrameFromAngles(const cVec3& minimum, const cVec3& maximum, const cVec3& target,
                                     const RenderParams& parameters) {
  constexpr float degree = std::numbers::pi_v<float> / 180;
  const float azimuth = parameters.Azimuth * degree, elevation = parameters.Elevation * degree;
  const cVec3 back{std::sin(azimuth) * std::cos(elevation), std::sin(elevation), std::cos(azimuth) * std::cos(elevation)};
  const cVec3 right{std::cos(azimuth), 0, -std::sin(azimuth)}, up = Cross(back, right);
  const float tangent = std::tan(parameters.Fov * degree / 2), aspect = float(parameters.Width) / float(parameters.Height);
  constexpr float margin = 1.04f;
  float distance = 0;
  for (int i = 0; i < 8; ++i) {
    const cVec3 corner =
        cVec3{i & 1 ? maximum.x : minimum.x, i & 2 ? maximum.y : minimum.y, i & 4 ? maximum.z : minimum.z} - target;
    const float needed = std::max(std::fabs(Dot(corner, up)) / tangent, std::fabs(Dot(corner, right)) / (tangent * aspect));
    distance = std::max(distance, Dot(corner, back) + needed * margin);
  }
  return {target + back * (distance / parameters.Zoom), target, up, parameters.Fov};
}

// Y is up. Where the camera looks along it, x is at the right, as it is for a camera in front.
comms::PictureCamera LookFromPosition(const RenderParams& parameters, const cVec3& target) {
  const cVec3& from = parameters.Position;
  const double x = double(target.x) - from.x, y = double(target.y) - from.y, z = double(target.z) - from.z;
  const bool alongY = std::hypot(x, z) <= 1e-3 * std::fabs(y);
  return {from, target, alongY ? cVec3{0, 0, y < 0 ? -1.0f : 1.0f} : cVec3{0, 1, 0}, parameters.Fov};
}

class PictureMaker {
 public:
  explicit PictureMaker(const VoxelScene& scene) : m_Scene(scene) {}

  CommandResult Run(const RenderParams& parameters) {
    std::string error;
    if (error = CheckExtension(parameters.File.ToString(), "png"); !error.empty()) return CommandResult::Refuse(error);
    const std::vector<VolumeObject*> volumes = FindVolumes(m_Scene, parameters.Volume.ToString(), error);
    if (volumes.empty()) return CommandResult::Fail(error);

    comms::cList<comms::PictureItem> items;
    std::vector<std::unique_ptr<comms::BaseMesh>> copies;
    std::optional<std::pair<cVec3, cVec3>> box;
    RefreshProgress progress;
    for (VolumeObject* volume : volumes) {
      volume->RefreshChanges();
      if (progress.IsCancelled()) return CommandResult::Fail(CancelledSentence);
      volume->RenderGroups.ForEach([&](const CoordInt3& key, RenderGroup& group) {
        comms::BaseMesh* mesh = group.Mesh.get();
        if (!mesh->StagedVertices) {  // its vertices went to the window's device
          VolumeBox groupBox;
          ScreenRect rect;
          copies.push_back(volume->BuildGroupMesh(key.x, key.y, key.z, groupBox, rect));
          mesh = copies.back().get();
        }
        items.push_back({mesh, volume->SpaceMatrix});
      });
      cVec3 minimum, maximum;
      if (!GetSurfaceBounds(*volume, minimum, maximum)) continue;
      if (!box) box = {minimum, maximum};
      for (int i = 0; i < 3; ++i) {
        box->first[i] = std::min(box->first[i], minimum[i]);
        box->second[i] = std::max(box->second[i], maximum[i]);
      }
    }
    if (!box) return CommandResult::Fail("there is no surface to draw");

    comms::PictureOptions options;
    options.Width = parameters.Width;
    options.Height = parameters.Height;
    options.SoftShadow = parameters.SoftShadow;
    const cVec3 target = parameters.IsGiven("Target") ? parameters.Target : (box->first + box->second) * 0.5f;
    options.Camera = parameters.IsGiven("Position") ? LookFromPosition(parameters, target)
                                                    : FrameFromAngles(box->first, box->second, target, parameters);
    comms::cImage image;
    if (!Begin(error) || !m_Picture->Render(items, options, image, error)) return CommandResult::Fail(error);
    const std::string path = PrepareOutputPath(m_Scene, parameters.File.ToString());
    if (!comms::SavePng(image, path, error)) return CommandResult::NoOutput(error);
    return CommandResult::Done(JsonObject()
                                   .Add("file", path)
                                   .Add("width", image.Width())
                                   .Add("height", image.Height())
                                   .Add("position", options.Camera->Position)
                                   .Add("target", target)
                                   .Add("device", m_Picture->DeviceName()));
  }

 private:
  // The context is made for the first picture and kept for the next ones.
  bool Begin(std::string& error) {
    if (m_Picture) return true;
    auto picture = std::make_unique<comms::OffscreenPicture>();
    if (!picture->Init(m_Scene.DataFolder(), {}, error)) return false;
    m_Picture = std::move(picture);
    return true;
  }

  const VoxelScene& m_Scene;
  std::unique_ptr<comms::OffscreenPicture> m_Picture;
};

}  // namespace

void AddRenderCommands(CommandTable& table, VoxelScene& scene) {
  const auto maker = std::make_shared<PictureMaker>(scene);
  table.Add<RenderParams>("Render", "Draws the scene into a picture.",
                          [maker](const RenderParams& parameters) { return maker->Run(parameters); }, {"File"});
}
