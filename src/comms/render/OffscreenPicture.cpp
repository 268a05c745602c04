#include "comms/render/OffscreenPicture.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <utility>

#include "comms/render/EglContext.h"
#include "comms/render/cRenderGL.h"

namespace comms {

namespace {

// Warm grey clay, linear.
constexpr cVec3 ClayAlbedo{0.46f, 0.345f, 0.27f};
constexpr float Exposure = 0.46f;
// The larger search of the occlusion, as a part of the diagonal of what is drawn.
constexpr float OcclusionReach = 0.11f;

struct Box {
  cVec3 Min{FLT_MAX, FLT_MAX, FLT_MAX}, Max{-FLT_MAX, -FLT_MAX, -FLT_MAX};
  void Add(const cVec3& p) {
    Min = {std::min(Min.x, p.x), std::min(Min.y, p.y), std::min(Min.z, p.z)};
    Max = {std::max(Max.x, p.x), std::max(Max.y, p.y), std::max(Max.z, p.z)};
  }
  cVec3 Corner(int i) const { return {i & 1 ? Max.x : Min.x, i & 2 ? Max.y : Min.y, i & 4 ? Max.z : Min.z}; }
  float Diagonal() const { return Length(Max - Min); }
};

// Empty where no mesh has staged vertices.
std::optional<Box> FindBox(const cList<PictureItem>& items) {
  std::optional<Box> box;
  for (const PictureItem& item : items) {
    Box own;
    if (!item.Mesh || !item.Mesh->GetBounds(own.Min, own.Max)) continue;
    if (!box) box.emplace();
    for (int i = 0; i < 8; i++) box->Add(item.World.TransformPoint(own.Corner(i)));
  }
  return box;
}

cStr CheckCamera(const PictureCamera& camera) {
  const cVec3 sight = camera.Target - camera.Position;
  if (!IsFinite(camera.Position) || !IsFinite(camera.Target) || !IsFinite(camera.Up))
    return "a number of the camera is not finite";
  if (!(Length(sight) > 0)) return "the camera stands on its target";
  if (!(Length(Cross(Normalized(sight), Normalized(camera.Up))) > 1e-4f)) return "the camera looks along its up direction";
  if (!(camera.FovDegrees >= 1 && camera.FovDegrees <= 150))
    return Format("the angle of view is %g degrees, 1 to 150 are possible", double(camera.FovDegrees));
  return {};
}

// Near and far plane just hold the box, which gives the depth picture all its precision.
cMat4 MakeProjection(const PictureCamera& camera, const cMat4& view, const Box& box, float aspect) {
  float nearDistance = FLT_MAX, farDistance = 0;
  for (int i = 0; i < 8; i++) {
    const float distance = -view.TransformPoint(box.Corner(i)).z;
    nearDistance = std::min(nearDistance, distance);
    farDistance = std::max(farDistance, distance);
  }
  const float size = std::max(box.Diagonal(), 1e-6f);
  farDistance = std::max(farDistance + 0.01f * size, 1e-3f * size);
  nearDistance = std::max(nearDistance - 0.01f * size, farDistance * 1e-3f);
  return Perspective(camera.FovDegrees, aspect, std::min(nearDistance, farDistance * 0.999f), farDistance);
}

// Finds the nearest place from which all points are in the picture, for the standard direction. The four side planes of the view
// bound the place from four sides; width and height are each met by the pair that the outermost points fix.
class Framing {
 public:
  Framing(float aspect, float fovDegrees) : m_FovDegrees(fovDegrees) {
    constexpr float Margin = 0.9f;
    m_TangentY = std::tan(fovDegrees * float(M_PI) / 360) * Margin;
    m_TangentX = m_TangentY * aspect;
    m_Back = Normalized(cVec3{0.50f, 0.26f, 0.85f});
    m_Right = Normalized(Cross(cVec3{0, 1, 0}, m_Back));
    m_Top = Cross(m_Back, m_Right);
  }
  void Add(const cVec3& p) {
    const float x = Dot(p, m_Right), y = Dot(p, m_Top), z = Dot(p, m_Back);
    m_MaxX = std::max(m_MaxX, x + z * m_TangentX);
    m_MinX = std::min(m_MinX, x - z * m_TangentX);
    m_MaxY = std::max(m_MaxY, y + z * m_TangentY);
    m_MinY = std::min(m_MinY, y - z * m_TangentY);
    m_Near = std::max(m_Near, z);
    m_Far = std::min(m_Far, z);
  }
  PictureCamera Camera() const {
    const float middle = (m_Near + m_Far) / 2, least = std::max(1e-6f, 1e-3f * std::fabs(middle));
    const float away = std::max((m_MaxX - m_MinX) / (2 * m_TangentX), (m_MaxY - m_MinY) / (2 * m_TangentY));
    PictureCamera camera;
    camera.FovDegrees = m_FovDegrees;
    camera.Target = m_Right * ((m_MaxX + m_MinX) / 2) + m_Top * ((m_MaxY + m_MinY) / 2) + m_Back * middle;
    camera.Position = camera.Target + m_Back * std::max(away - middle, least);
    return camera;
  }

 private:
  float m_FovDegrees, m_TangentX, m_TangentY;
  cVec3 m_Right, m_Top, m_Back;
  float m_MinX = FLT_MAX, m_MaxX = -FLT_MAX, m_MinY = FLT_MAX, m_MaxY = -FLT_MAX, m_Near = -FLT_MAX, m_Far = FLT_MAX;
};

PictureCamera FrameItems(const cList<PictureItem>& items, float aspect) {
  Framing framing(aspect, PictureCamera().FovDegrees);
  for (const PictureItem& item : items) {
    const uint8_t* at = item.Mesh ? item.Mesh->StagedPositions() : nullptr;
    if (!at) continue;
    for (int i = 0; i < item.Mesh->NumVertices; i++, at += item.Mesh->VertexDecl->Stride) {
      cVec3 p;
      std::memcpy(&p, at, sizeof p);
      framing.Add(item.World.TransformPoint(p));
    }
  }
  return framing.Camera();
}

}  // namespace

PictureCamera FrameBox(const cVec3& minimum, const cVec3& maximum, float aspect, float fovDegrees) {
  Framing framing(aspect, fovDegrees);
  const Box box{minimum, maximum};
  for (int i = 0; i < 8; i++) framing.Add(box.Corner(i));
  return framing.Camera();
}

struct OffscreenPicture::Targets {
  int Scale = 1;
  int Width = 0, Height = 0;
  int Scene = -1, Occlusion = -1, Blurred = -1, Final = -1;
};
struct OffscreenPicture::Frame {
  cMat4 View, Projection;
  float OcclusionRadius = 0;
  int ClayShader = -1;
};

OffscreenPicture::OffscreenPicture() = default;
OffscreenPicture::~OffscreenPicture() {
  if (m_Context) m_Context->MakeCurrent();
}

bool OffscreenPicture::Init(const cStr& dataFolder, const cStr& userFolder, cStr& error) {
  if (m_Context) m_Context->MakeCurrent();
  m_Render.reset();
  m_Context = EglContext::Create(error);
  if (!m_Context) return false;
  m_Render = std::make_unique<cRenderGL>();
  if (!m_Render->Init({dataFolder, userFolder}, error)) return false;
  const struct {
    int& Id;
    const char *Name, *Defines;
  } shaders[] = {{m_Clay, "mcubes", ""},
                 {m_ClayOutward, "mcubes", "#define OUTWARD_NORMALS"},
                 {m_Background, "Background", ""},
                 {m_Occlusion, "AmbientOcclusion", ""},
                 {m_OcclusionBlur, "AmbientOcclusion", "#define BLUR"},
                 {m_Compose, "Compose", ""}};
  for (const auto& shader : shaders) {
    shader.Id = m_Render->GetShaderID(shader.Name, shader.Defines);
    if (m_Render->IsShaderSound(shader.Id)) continue;
    error = Format("Can't draw: the shader \"%s\" of \"%s\" does not compile, see the log.", shader.Name,
                   JoinPath(dataFolder, "Shaders").c_str());
    return false;
  }
  m_SolidDepth = m_Render->CreateDepthState({});
  m_NoDepth = m_Render->CreateDepthState({.Test = false, .Write = false});
  return true;
}

cStr OffscreenPicture::DeviceName() const { return m_Render ? m_Render->DeviceName() : cStr(); }

bool OffscreenPicture::MakeTargets(const PictureOptions& options, Targets& targets, cStr& error) {
  const int limit = m_Render->MaxTargetSize();
  if (options.Width < 16 || options.Height < 16 || options.Width > limit || options.Height > limit) {
    error = Format("Can't draw a picture of %d x %d pixels: 16 to %d a side are possible.", options.Width, options.Height, limit);
    return false;
  }
  constexpr int64_t MaxScenePixels = int64_t(1) << 27;  // 12 bytes each
  const auto fits = [&](int64_t scale) {
    return options.Width * scale <= limit && options.Height * scale <= limit &&
           scale * scale * options.Width * options.Height <= MaxScenePixels;
  };
  targets.Scale = std::clamp(options.Supersampling, 1, 4);
  while (targets.Scale > 1 && !fits(targets.Scale)) targets.Scale--;
  targets.Width = options.Width;
  targets.Height = options.Height;
  if (fits(targets.Scale)) {
    const auto make = [&](int scale, TextureFormat color, TextureFormat depth) {
      return m_Render->CreateTarget({options.Width * scale, options.Height * scale, color, depth, TextureFilter::Nearest, 1});
    };
    targets.Scene = make(targets.Scale, TextureFormat::Rgba16f, TextureFormat::Depth24);
    targets.Occlusion = make(1, TextureFormat::R16f, TextureFormat::None);
    targets.Blurred = make(1, TextureFormat::R16f, TextureFormat::None);
    targets.Final = make(1, TextureFormat::Rgba8, TextureFormat::None);
  }
  if (targets.Scene >= 0 && targets.Occlusion >= 0 && targets.Blurred >= 0 && targets.Final >= 0) return true;
  error =
      Format("Can't draw a picture of %d x %d pixels: the device has not enough memory for it.", options.Width, options.Height);
  DropTargets(targets);
  return false;
}

void OffscreenPicture::DropTargets(Targets& targets) {
  for (int* target : {&targets.Scene, &targets.Occlusion, &targets.Blurred, &targets.Final}) {
    m_Render->DeleteTarget(*target);
    *target = -1;
  }
}

// All vertices of these passes come from the vertex number alone.
static void DrawWholePicture(cRenderGL& render) {
  static const VertexLayout noLayout;
  render.SetVertexBuffer(-1, noLayout);
  render.Draw(BaseMesh::TriangleList, 0, 3);
}

void OffscreenPicture::DrawScene(const cList<PictureItem>& items, const Frame& frame, const Targets& targets) {
  m_Render->SetTarget(targets.Scene);
  m_Render->SetViewport(0, 0, targets.Width * targets.Scale, targets.Height * targets.Scale);
  m_Render->Clear({}, 1);
  m_Render->SetDepthState(m_NoDepth);
  m_Render->SetShader(m_Background);
  DrawWholePicture(*m_Render);

  m_Render->SetDepthState(m_SolidDepth);
  m_Render->State.View = frame.View;
  m_Render->State.Projection = frame.Projection;
  m_Render->SetShader(frame.ClayShader);
  m_Render->SetConstant("c_Albedo", ClayAlbedo);
  for (const PictureItem& item : items) {
    if (!item.Mesh || !item.Mesh->StagedVertices) continue;
    const bool kept = std::exchange(item.Mesh->KeepStaged, true);
    m_Render->State.World = item.World;
    item.Mesh->Draw(m_Render.get());
    item.Mesh->ReleaseBuffers();
    item.Mesh->KeepStaged = kept;
    m_Render->SetShader(frame.ClayShader);  // the mesh may have brought its own
  }
}

void OffscreenPicture::DrawOcclusion(const Frame& frame, const Targets& targets) {
  m_Render->SetDepthState(m_NoDepth);
  m_Render->SetViewport(0, 0, targets.Width, targets.Height);
  if (!(frame.OcclusionRadius > 0)) {
    m_Render->SetTarget(targets.Blurred);
    m_Render->Clear({1, 1, 1, 1}, 1);
    return;
  }
  for (const bool blur : {false, true}) {
    m_Render->SetTarget(blur ? targets.Blurred : targets.Occlusion);
    m_Render->SetShader(blur ? m_OcclusionBlur : m_Occlusion);
    m_Render->SetTexture(m_Render->GetTextureParam("s_Depth"), m_Render->GetTargetDepth(targets.Scene), -1);
    if (blur) m_Render->SetTexture(m_Render->GetTextureParam("s_Occlusion"), m_Render->GetTargetTexture(targets.Occlusion), -1);
    m_Render->SetConstant("c_Scale", float(targets.Scale));
    m_Render->SetConstant("c_Radius", frame.OcclusionRadius);
    DrawWholePicture(*m_Render);
  }
}

void OffscreenPicture::Compose(const Targets& targets) {
  m_Render->SetTarget(targets.Final);
  m_Render->SetViewport(0, 0, targets.Width, targets.Height);
  m_Render->SetShader(m_Compose);
  m_Render->SetTexture(m_Render->GetTextureParam("s_Scene"), m_Render->GetTargetTexture(targets.Scene), -1);
  m_Render->SetTexture(m_Render->GetTextureParam("s_Depth"), m_Render->GetTargetDepth(targets.Scene), -1);
  m_Render->SetTexture(m_Render->GetTextureParam("s_Occlusion"), m_Render->GetTargetTexture(targets.Blurred), -1);
  m_Render->SetConstant("c_Scale", float(targets.Scale));
  m_Render->SetConstant("c_Albedo", ClayAlbedo);
  m_Render->SetConstant("c_Exposure", Exposure);
  DrawWholePicture(*m_Render);
}

bool OffscreenPicture::Render(const cList<PictureItem>& items, const PictureOptions& options, cImage& image, cStr& error) {
  if (!m_Render || m_Compose < 0 || !m_Context->MakeCurrent()) {
    error = "Can't draw: there is no device.";
    return false;
  }
  const std::optional<Box> box = FindBox(items);
  if (!box || !IsFinite(box->Min) || !IsFinite(box->Max)) {
    error = box ? "Can't draw: the box of the meshes is not finite." : "Can't draw: no mesh has vertices.";
    return false;
  }
  Targets targets;
  if (!MakeTargets(options, targets, error)) return false;
  const float aspect = float(options.Width) / float(options.Height);
  const PictureCamera camera = options.Camera ? *options.Camera : FrameItems(items, aspect);
  if (const cStr fault = CheckCamera(camera); !fault.empty()) {
    error = "Can't draw: " + fault + ".";
    DropTargets(targets);
    return false;
  }
  Frame frame;
  frame.View = LookAt(camera.Position, camera.Target, camera.Up);
  frame.Projection = MakeProjection(camera, frame.View, *box, aspect);
  frame.OcclusionRadius = options.AmbientOcclusion ? OcclusionReach * box->Diagonal() : 0;
  frame.ClayShader = options.OutwardNormals ? m_ClayOutward : m_Clay;

  m_Render->BeginFrame(0);
  DrawScene(items, frame, targets);
  DrawOcclusion(frame, targets);
  Compose(targets);
  m_Render->EndFrame();
  const bool read = m_Render->ReadTarget(targets.Final, image);
  DropTargets(targets);
  m_Render->BeginFrame(0);  // gives the buffers of the meshes back
  if (!read) error = "Can't draw: the device did not give the picture back.";
  return read;
}

}  // namespace comms
