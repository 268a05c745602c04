#include "comms/render/OffscreenPicture.h"

#include <epoxy/gl.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <utility>

#include "comms/Progress.h"
#include "comms/render/EglContext.h"
#include "comms/render/ScenePasses.h"
#include "comms/render/cRenderGL.h"

namespace comms {

namespace {

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

cStr NoMemory(const PictureOptions& options) {
  return Format("Can't draw a picture of %d x %d pixels: the device has not enough memory for it.", options.Width,
                options.Height);
}

// Of boxes as long as the one of what is drawn: from farther away nothing fills a pixel, and the digits of a place are too few.
constexpr double FarthestCamera = 1e7;

cStr CheckCamera(const PictureCamera& camera, const Box& box) {
  if (!IsFinite(camera.Position) || !IsFinite(camera.Target) || !IsFinite(camera.Up))
    return "a number of the camera is not finite";
  if (camera.Position == camera.Target) return "the camera stands on its target";
  const cVec3 middle = box.Min * 0.5f + box.Max * 0.5f, &from = camera.Position;
  const double away = std::hypot(double(from.x) - middle.x, double(from.y) - middle.y, double(from.z) - middle.z);
  const double size = std::max(double(box.Diagonal()), 1e-6);
  if (away > FarthestCamera * size)
    return Format("the camera stands %g units away from what is drawn, at most %g are possible at its size of %g", away,
                  FarthestCamera * size, size);
  const cMat4 view = LookAt(camera.Position, camera.Target, camera.Up);
  const cVec3 back{view.m[0][2], view.m[1][2], view.m[2][2]};
  if (!(Length(Cross(back, Normalized(camera.Up))) > 1e-4f)) return "the camera looks along its up direction";
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
  explicit Framing(float aspect) {
    constexpr float Margin = 0.9f;
    m_TangentY = std::tan(PictureCamera().FovDegrees * float(M_PI) / 360) * Margin;
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
    camera.Target = m_Right * ((m_MaxX + m_MinX) / 2) + m_Top * ((m_MaxY + m_MinY) / 2) + m_Back * middle;
    camera.Position = camera.Target + m_Back * std::max(away - middle, least);
    return camera;
  }

 private:
  float m_TangentX, m_TangentY;
  cVec3 m_Right, m_Top, m_Back;
  float m_MinX = FLT_MAX, m_MaxX = -FLT_MAX, m_MinY = FLT_MAX, m_MaxY = -FLT_MAX, m_Near = -FLT_MAX, m_Far = FLT_MAX;
};

PictureCamera FrameItems(const cList<PictureItem>& items, float aspect) {
  Framing framing(aspect);
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

OffscreenPicture::OffscreenPicture() = default;
OffscreenPicture::~OffscreenPicture() { Close(); }

// What is on the device goes while its context is current.
void OffscreenPicture::Close() {
  if (!m_Context) return;
  const ContextTurn turn;
  m_Context->MakeCurrent();
  m_Passes.reset();
  m_Render.reset();
  m_Context.reset();
}

bool OffscreenPicture::Init(const cStr& dataFolder, const cStr& userFolder, cStr& error) {
  Close();
  const ContextTurn turn;
  m_Context = EglContext::Create(error);
  if (!m_Context) return false;
  m_Render = std::make_unique<cRenderGL>();
  if (!m_Render->Init({dataFolder, userFolder}, error)) return false;
  for (const auto& [name, defines] :
       std::initializer_list<std::pair<const char*, const char*>>{{"mcubes", ""},
                                                                  {"mcubes", "#define OUTWARD_NORMALS\n"},
                                                                  {"mcubes", "#define SOFT_SHADOW\n"},
                                                                  {"mcubes", "#define OUTWARD_NORMALS\n#define SOFT_SHADOW\n"},
                                                                  {"ShadowMap", ""},
                                                                  {"Background", ""},
                                                                  {"AmbientOcclusion", ""},
                                                                  {"AmbientOcclusion", "#define BLUR"},
                                                                  {"Compose", ""}}) {
    if (m_Render->IsShaderSound(m_Render->GetShaderID(name, defines))) continue;
    error = Format("Can't draw: the shader \"%s\" of \"%s\" does not compile, see the log.", name,
                   JoinPath(dataFolder, "Shaders").c_str());
    return false;
  }
  m_Passes = std::make_unique<ScenePasses>();
  return true;
}

cStr OffscreenPicture::DeviceName() const { return m_Render ? m_Render->DeviceName() : cStr(); }

// The largest supersampling up to the wanted one that the device has room for; 0 where it has none.
int OffscreenPicture::FindScale(const PictureOptions& options, cStr& error) const {
  const int limit = m_Render->MaxTargetSize();
  if (options.Width < 16 || options.Height < 16 || options.Width > limit || options.Height > limit) {
    error = Format("Can't draw a picture of %d x %d pixels: 16 to %d a side are possible.", options.Width, options.Height, limit);
    return 0;
  }
  constexpr int64_t MaxScenePixels = int64_t(1) << 27;  // 12 bytes each
  for (int64_t scale = std::clamp(options.Supersampling, 1, 4); scale > 0; scale--)
    if (options.Width * scale <= limit && options.Height * scale <= limit &&
        scale * scale * options.Width * options.Height <= MaxScenePixels)
      return int(scale);
  error = NoMemory(options);
  return 0;
}

void OffscreenPicture::DrawItems(const cList<PictureItem>& items, const ScenePassOptions& passes,
                                 const std::function<void()>& setShader) {
  constexpr size_t trianglesAtOnce = size_t(1) << 20;
  const int64_t pixels = int64_t(passes.Width) * passes.Height * passes.Supersampling * passes.Supersampling;
  const size_t itemsAtOnce = items.size() / size_t(1 + pixels / ScenePasses::StripePixels) + 1;
  size_t triangles = 0, drawn = 0;
  for (const PictureItem& item : items) {
    if (!item.Mesh || !item.Mesh->StagedVertices) continue;
    const bool kept = std::exchange(item.Mesh->KeepStaged, true);
    setShader();  // a mesh may have brought its own
    m_Render->State.World = item.World;
    item.Mesh->Draw(m_Render.get());
    item.Mesh->ReleaseBuffers();
    item.Mesh->KeepStaged = kept;
    triangles += size_t(item.Mesh->NumIndices) / 3;
    drawn++;
    if (triangles < trianglesAtOnce && drawn < itemsAtOnce) continue;
    if (!passes.GoOn()) return;
    triangles = drawn = 0;
  }
}

bool OffscreenPicture::Render(const cList<PictureItem>& items, const PictureOptions& options, cImage& image, cStr& error) {
  const ContextTurn turn;
  if (!m_Passes || !m_Context->MakeCurrent()) {
    error = "Can't draw: there is no device.";
    return false;
  }
  const std::optional<Box> box = FindBox(items);
  if (!box || !std::isfinite(box->Diagonal())) {
    error = box ? "Can't draw: the box of the meshes is not finite, or too long to be measured."
                : "Can't draw: no mesh has vertices.";
    return false;
  }
  const float aspect = float(options.Width) / float(options.Height);
  const PictureCamera camera = options.Camera ? *options.Camera : FrameItems(items, aspect);
  if (const cStr fault = CheckCamera(camera, *box); !fault.empty()) {
    error = "Can't draw: " + fault + ".";
    return false;
  }
  ScenePassOptions passes;
  passes.Supersampling = FindScale(options, error);
  if (passes.Supersampling == 0) return false;
  passes.Width = options.Width;
  passes.Height = options.Height;
  passes.OcclusionRadius = options.AmbientOcclusion ? OcclusionReach * box->Diagonal() : 0;
  passes.FinalTarget = m_Render->CreateTarget(
      {options.Width, options.Height, TextureFormat::Rgba8, TextureFormat::None, TextureFilter::Nearest, 1});

  // The device works behind the calls; each question waits for what it was given.
  bool cancelled = false, lost = false;
  int64_t asked = 0;
  const int64_t pixels = int64_t(passes.Width) * passes.Height,
                scenePixels = pixels * passes.Supersampling * passes.Supersampling;
  const int64_t questions = 3 * (scenePixels / ScenePasses::StripePixels + 1) +  // the background, the meshes and their shadow
                            3 * (pixels / ScenePasses::StripePixels + 1);        // the occlusion twice and the composition
  passes.GoOn = [this, &cancelled, &lost, &asked, questions] {
    if (cancelled || lost) return false;
    glFinish();
    lost = !ContextTurn::Interrupt(
        *m_Context, [&] { cancelled = !ShowProgress(double(std::min(asked++, questions)), double(questions), "Render"); });
    return !cancelled && !lost;
  };

  m_Render->BeginFrame(0);
  m_Render->State.View = LookAt(camera.Position, camera.Target, camera.Up);
  m_Render->State.Projection = MakeProjection(camera, m_Render->State.View, *box, aspect);
  bool read = false;
  const bool shadowed = options.SoftShadow && m_Passes->Shadow().Begin(*m_Render, m_Render->State.View, box->Min, box->Max);
  if (shadowed) {
    DrawItems(items, passes, [this] { m_Render->SetShader(m_Render->GetShaderID("ShadowMap", {})); });
    m_Passes->Shadow().End();
  }
  if (passes.FinalTarget >= 0 && m_Passes->Begin(*m_Render, passes)) {
    const cStr defines = options.OutwardNormals ? "#define OUTWARD_NORMALS\n" : "";
    DrawItems(items, passes, [&] { m_Passes->SetClay(defines, shadowed); });
    m_Passes->Finish();
    m_Render->EndFrame();
    read = passes.GoOn() && m_Render->ReadTarget(passes.FinalTarget, image);
    if (!read) error = cancelled ? "Can't draw: it was cancelled." : "Can't draw: the device did not give the picture back.";
  } else {
    error = NoMemory(options);
  }
  m_Passes->Release();
  m_Render->DeleteTarget(passes.FinalTarget);
  m_Render->BeginFrame(0);  // gives the buffers of the meshes back
  return read;
}

}  // namespace comms
