#include "shell/app/StillImageTool.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <functional>

#include "ClassEngine/ClassRegistry.h"
#include "ClassEngine/ValueTypes.h"
#include "MC/room/SceneView.h"
#include "comms/BaseMesh.h"
#include "comms/Log.h"
#include "interface/draw/Canvas.h"
#include "interface/draw/Theme.h"

using comms::cRender;
using comms::cVec3;

REGISTER_CLASS(StillImage, nullptr);
REGISTER_CLASS(StillImageTool, nullptr);
DECLARE_MEMBERS(StillImage) {
  Member<_str>("Picture|*.png", Picture).Hint("A PNG file");
  Member<_index>("Place", Place, "StillPlaces")
      .Entries({"Background", "Front", "Back", "Left", "Right", "Top", "Bottom"})
      .Hint("Behind the scene, or in it, facing the viewer of that standard view");
  Member<CtrlFSlider>("Opacity", Opacity, {0, 1, 0.6f}).Hint("0: not seen, 1: hides what is behind it");
  Member<_float>("Scale", Scale).Range(0.001, 1000).Hint("1: the background covers the view; in the scene two units high");
  Member<_float>("OffsetX", OffsetX).Range(-1e6, 1e6).Hint("To the right");
  Member<_float>("OffsetY", OffsetY).Range(-1e6, 1e6).Hint("Up");
  Member<_float>("Distance", Distance).Range(-1e6, 1e6).Unit("world units").Hint("Away from the viewer");
  Member<_bool>("OneSided", OneSided).Hint("Not seen from its back");
}
DECLARE_MEMBERS(StillImageTool) {
  Member<_bool>("Visible", Visible).Hidden();
  Member<ClonesArray<StillImage>>("Images", Images).Hint("Pictures to work from");
}

StillImageTool::StillImageTool() = default;
StillImageTool::~StillImageTool() { ReleaseTextures(); }

void StillImageTool::ReleaseTextures() {
  if (m_Render && !m_RenderAlive.expired())
    for (const Texture& texture : m_Textures)
      if (texture.Id >= 0) m_Render->DeleteTexture(texture.Id);
  m_Textures.clear();
}

// --- files ---------------------------------------------------------------------------------------------------------------------

StillImageTool::Texture StillImageTool::Read(cRender& render, const std::string& path) {
  Texture texture;
  texture.Path = path;
  comms::cImage image;
  if (!comms::LoadPng(path, image, texture.Fault)) {
    comms::LogWarning("%s", texture.Fault.c_str());
    return texture;
  }
  texture.Aspect = float(image.Width()) / float(image.Height());
  texture.Id = render.CreateTexture(
      {comms::TextureFormat::Rgba8, image.Width(), image.Height(), comms::TextureFilter::Trilinear, comms::AddressMode::Clamp},
      image.Pixels().data());
  if (texture.Id < 0) texture.Fault = path + ": the graphics device can't hold a picture of this size";
  return texture;
}

// A file is read once for each time that it comes into use.
void StillImageTool::ReadMissing(cRender& render) {
  if (m_Render != &render || m_RenderAlive.expired()) {
    ReleaseTextures();
    m_Render = &render;
    m_RenderAlive = render.Alive();
  }
  std::erase_if(m_Textures, [&](const Texture& texture) {
    const bool used =
        std::any_of(Images.begin(), Images.end(), [&](const StillImage* image) { return image->Picture == texture.Path; });
    if (!used && texture.Id >= 0) render.DeleteTexture(texture.Id);
    return !used;
  });
  for (const StillImage* image : Images)
    if (!image->Picture.Empty() && !Find(*image)) m_Textures.push_back(Read(render, image->Picture.ToString()));
}

const StillImageTool::Texture* StillImageTool::Find(const StillImage& image) const {
  const auto found =
      std::find_if(m_Textures.begin(), m_Textures.end(), [&](const Texture& texture) { return image.Picture == texture.Path; });
  return found == m_Textures.end() ? nullptr : &*found;
}

int StillImageTool::GetPreviewTexture() {
  const Texture* texture = Images.Count ? Find(*Images[0]) : nullptr;
  return texture ? texture->Id : -1;
}

float StillImageTool::GetPreviewAspect() {
  const Texture* texture = Images.Count ? Find(*Images[0]) : nullptr;
  return texture ? texture->Aspect : 1;
}

// --- drawing -------------------------------------------------------------------------------------------------------------------

namespace {

/// A picture in the scene: its middle, and from there to the middle of its right and upper sides.
struct StillPlane {
  cVec3 Center, Right, Up;
};

StillPlane PlaneOf(const StillImage& image, float aspect) {
  const ViewDirection direction = GetViewDirection(StandardView(int(image.Place) - int(StillPlace::Front)));
  const cVec3 right = Cross(direction.Forward, direction.Up);
  return {right * image.OffsetX + direction.Up * image.OffsetY + direction.Forward * image.Distance,
          right * (image.Scale * aspect), direction.Up * image.Scale};
}

// In clip space, as large as the view at least where the scale is 1; offsets count in halves of the view's height.
StillPlane BackgroundOf(const StillImage& image, float aspect, float viewAspect) {
  const float cover = std::max(1.0f, viewAspect / aspect) * image.Scale;
  return {{image.OffsetX / viewAspect, image.OffsetY, 0}, {cover * aspect / viewAspect, 0, 0}, {0, cover, 0}};
}

}  // namespace

uint64_t StillImageTool::GetDrawState() const {
  if (!Visible || !Images.Count) return 0;
  uint64_t hash = 0xCBF29CE484222325u;
  const auto add = [&hash](uint64_t word) { hash = (hash ^ word) * 0x100000001B3u; };
  for (const StillImage* image : Images) {
    add(std::hash<std::string_view>()(image->Picture.View()));
    add(uint64_t(image->Place) << 1 | uint64_t(image->OneSided));
    for (const float value : {image->Opacity, image->Scale, image->OffsetX, image->OffsetY, image->Distance})
      add(std::bit_cast<uint32_t>(value));
  }
  return hash | 1;
}

// All vertices come from the vertex number alone.
void StillImageTool::DrawIn3D(cRender& render) {
  ReadMissing(render);
  render.SetDepthState(render.CreateDepthState({.Write = false}));
  render.SetBlendState(render.CreateBlendState({comms::BlendMode::PremultipliedAlpha}));
  const float viewAspect = float(render.State.ViewportWidth) / float(std::max(render.State.ViewportHeight, 1));
  for (const StillImage* image : Images) {
    const Texture* texture = Find(*image);
    if (!texture || texture->Id < 0) continue;
    const bool behind = image->Place == StillPlace::Background;
    const StillPlane plane = behind ? BackgroundOf(*image, texture->Aspect, viewAspect) : PlaneOf(*image, texture->Aspect);
    render.SetFillState(
        render.CreateFillState({.Cull = image->OneSided && !behind ? comms::CullMode::Back : comms::CullMode::None}));
    render.SetShader(render.GetShaderID("StillImage", behind ? "#define BACKGROUND" : ""));
    render.SetTexture(render.GetTextureParam("s_Picture"), texture->Id, -1);
    render.SetConstant("c_Center", plane.Center);
    render.SetConstant("c_Right", plane.Right);
    render.SetConstant("c_Up", plane.Up);
    render.SetConstant("c_Opacity", std::clamp(image->Opacity, 0.0f, 1.0f));
    render.SetConstant("c_Exposure", SceneExposure);
    static const comms::VertexLayout noLayout;
    render.SetVertexBuffer(-1, noLayout);
    render.Draw(comms::BaseMesh::TriangleList, 0, 6);
  }
}

// What can't be shown is told where it would be.
void StillImageTool::DrawOverlay(Canvas& canvas) {
  if (!Visible) return;
  const cRect screen = canvas.Screen();
  float bottom = screen.Bottom() - canvas.Px(Measures::StatusHeight + Measures::Padding);
  for (const StillImage* image : Images) {
    const Texture* texture = Find(*image);
    if (!texture || texture->Fault.empty()) continue;
    const float width = screen.W * 0.5f, height = canvas.ParagraphHeight(width, texture->Fault);
    bottom -= height;
    canvas.Paragraph({screen.X + screen.W * 0.25f, bottom, width, height}, texture->Fault, GetTheme().Warning);
  }
}

void StillImageTool::AddBounds(SceneBox& box) const {
  if (!Visible) return;
  for (const StillImage* image : Images) {
    const Texture* texture = Find(*image);
    if (!texture || texture->Id < 0 || image->Place == StillPlace::Background) continue;
    const StillPlane plane = PlaneOf(*image, texture->Aspect);
    for (int corner = 0; corner < 4; corner++) {
      const cVec3 at = plane.Center + plane.Right * (corner & 1 ? 1.0f : -1.0f) + plane.Up * (corner & 2 ? 1.0f : -1.0f);
      if (box.Empty()) box = {at, at};
      for (int i = 0; i < 3; i++) {
        box.Min[i] = std::min(box.Min[i], at[i]);
        box.Max[i] = std::max(box.Max[i], at[i]);
      }
    }
  }
}

// --- project -------------------------------------------------------------------------------------------------------------------

bool StillImageTool::SaveProjectChunk(BinStream& stream) {
  ClearStreamError();
  SaveBin(nullptr, nullptr, stream);
  return LastStreamError == StreamOk;
}

// A payload that is not understood, or that goes on behind its end, leaves the pictures as they were.
bool StillImageTool::LoadProjectChunk(BinStream& stream, uint32_t size) {
  const int64_t end = stream.GetReadPos() + size;
  StillImageTool read;
  read.RegisterMembers();
  if (!read.LoadBin(nullptr, nullptr, stream) || stream.GetReadPos() > end) return false;
  Visible = read.Visible;
  Images.Clear();
  while (read.Images.Count) Images.Add(read.Images.Release(0));
  return true;
}
