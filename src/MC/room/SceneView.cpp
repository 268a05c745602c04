#include "MC/room/SceneView.h"

#include <algorithm>
#include <bit>
#include <cfloat>
#include <cmath>
#include <new>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "ClassEngine/ClassRegistry.h"
#include "ClassEngine/ValueTypes.h"
#include "MC/room/CoarseMesh.h"
#include "MC/room/GroundShadow.h"
#include "MC/room/GroupsInSight.h"
#include "MC/room/SceneMaterials.h"
#include "comms/render/ScenePasses.h"
#include "shell/core/DataPath.h"
#include "shell/core/ObjectFile.h"

using comms::cMat4;
using comms::cRender;
using comms::cVec3;

static constexpr const char* ViewFile = "Xmls/View.xml";

REGISTER_CLASS(SceneViewOptions, nullptr);
DECLARE_MEMBERS(SceneViewOptions) {
  Caption<Delimiter>("@NaviControl@");
  Member<_index>("Material", Material, "SceneMaterials").Entries({"Clay", "Matcap"}).Hint("What the surface is made of");
  Member<_index>("Clay", Clay, "ClayKinds").Entries({"Terracotta", "Grey", "White", "Wax", "Slate"}).Hint("Colour of the clay");
  Member<_index>("Matcap", Matcap, "MatcapKinds")
      .Entries({"Porcelain", "RedWax", "Jade", "Bronze", "Pearl"})
      .Hint("Light and surface in one picture of a sphere");
  Member<_bool>("AmbientOcclusion", AmbientOcclusion).Hint("Darkens cavities, which shows the form");
  Member<_bool>("SoftShadow", SoftShadow).Hint("Shadow of the surface on itself; at Fast quality it comes once the view stands");
  Member<_bool>("GroundShadow", GroundShadow).Hint("Soft shadow of the scene on the ground");
  Member<_bool>("VertexColors", VertexColors).Hint("Tints the surface with its own colours");
  Member<_index>("Quality", Quality, "SceneQualities")
      .Entries({"Automatic", "Fast", "Normal", "Fine"})
      .Hint("Automatic goes by the graphics card; Fast serves machines without one; Fine smooths more while the view stands");
}

bool SceneViewOptions::IsElementHiddenInPanel(int32_t row, void* data, int options) {
  const char* name = GetVisibleElementName(row, data, options);
  const bool isClay = Material == SceneMaterial::Clay;
  for (const auto& [member, shown] : {std::pair<std::string_view, bool>{"Clay", isClay},
                                      {"SoftShadow", isClay},
                                      {"Matcap", !isClay},
                                      {"VertexColors", SceneHasColors}})
    if (name && name == member && !shown) return true;
  return BaseClass::IsElementHiddenInPanel(row, data, options);
}

void SceneViewOptions::Load() {
  RegisterMembers();
  LoadObjectFile(*this, GetFullPath(ViewFile));
}

bool SceneViewOptions::Store() {
  RegisterMembers();
  return StoreObjectFile(*this, GetFullPath(ViewFile));
}

SceneQuality SuggestQuality(const std::string& deviceName) {
  for (const char* name : {"llvmpipe", "softpipe", "swrast", "SWR", "Software"})
    if (deviceName.find(name) != std::string::npos) return SceneQuality::Fast;
  return SceneQuality::Normal;
}

namespace {

constexpr float OcclusionReach = 0.11f;  // as a part of the diagonal of the scene
constexpr int MatcapSide = 256;
constexpr float DarkMaterial = 0.28f, LightWire = 1.1f;  // brightness of the material, light of a line on a darker one

struct Bounds {
  cVec3 Min{FLT_MAX, FLT_MAX, FLT_MAX}, Max{-FLT_MAX, -FLT_MAX, -FLT_MAX};
  bool Empty() const { return !(Min.x <= Max.x); }
  void Add(const cVec3& p) {
    for (int i = 0; i < 3; i++) Min[i] = std::min(Min[i], p[i]), Max[i] = std::max(Max[i], p[i]);
  }
  void Add(const VolumeBox& box, const cMat4& space) {
    if (box.Empty()) return;
    for (int i = 0; i < 8; i++)
      Add(space.TransformPoint({i & 1 ? box.MaxX : box.MinX, i & 2 ? box.MaxY : box.MinY, i & 4 ? box.MaxZ : box.MinZ}));
  }
};

// 64-bit FNV-1a (Fowler, Noll, Vo), a word at a time; never 0.
class Fingerprint {
 public:
  void Add(uint64_t word) { m_Hash = (m_Hash ^ word) * 0x100000001B3u; }
  void Add(const float* values, int count) {
    for (int i = 0; i < count; i++) Add(std::bit_cast<uint32_t>(values[i]));
  }
  void Add(const cMat4& matrix) { Add(&matrix.m[0][0], 16); }
  uint64_t Value() const { return m_Hash ? m_Hash : 1; }

 private:
  uint64_t m_Hash = 0xCBF29CE484222325u;
};

// World units along the shortest edge of a voxel.
float VoxelSizeOf(const VolumeObject& volume) {
  const auto& m = volume.SpaceMatrix.m;
  float least = FLT_MAX;
  for (int i = 0; i < 3; i++) least = std::min(least, Length(cVec3{m[i][0], m[i][1], m[i][2]}));
  return least;
}

float ToLinear(float c) { return c <= 0.04045f ? c / 12.92f : std::pow((c + 0.055f) / 1.055f, 2.4f); }

// The light that the last pass turns into a colour of the screen: the inverse of its curve, see Compose.glsl.
float LightOf(float color) {
  const double y = std::min(double(ToLinear(color)), 0.98);
  const double a = 2.51 - 2.43 * y, b = 0.03 - 0.59 * y, c = -0.14 * y;
  return float((-b + std::sqrt(b * b - 4 * a * c)) / (2 * a)) / SceneExposure;
}
cVec3 LightOfColor(uint32_t argb) {
  return {LightOf(float(argb >> 16 & 255) / 255), LightOf(float(argb >> 8 & 255) / 255), LightOf(float(argb & 255) / 255)};
}

}  // namespace

static bool TakeBounds(const Bounds& bounds, cVec3& minimum, cVec3& maximum) {
  minimum = bounds.Min;
  maximum = bounds.Max;
  return !bounds.Empty();
}

bool GetSceneBounds(const VoxelScene& scene, cVec3& minimum, cVec3& maximum) {
  Bounds bounds;
  for (const auto& volume : scene.Volumes()) bounds.Add(GetSurfaceBox(*volume), volume->SpaceMatrix);
  return TakeBounds(bounds, minimum, maximum);
}

bool GetVolumeBounds(const VolumeObject& volume, cVec3& minimum, cVec3& maximum) {
  Bounds bounds;
  bounds.Add(GetSurfaceBox(volume), volume.SpaceMatrix);
  return TakeBounds(bounds, minimum, maximum);
}

struct SceneView::State {
  struct Item {
    RenderGroup* Group;
    const VolumeObject* Volume;
    CellKey Key;
    float Depth;
    comms::BaseMesh* Mesh = nullptr;  // what is drawn of the group
    bool HasColors = false;           // of its vertices
  };
  cRender* Render = nullptr;
  std::weak_ptr<void> RenderAlive;
  int Generation = 0;
  comms::ScenePasses Passes;
  std::vector<Item> Visible;
  // Groups that have been on the device, with the motion in which they came or changed last; 0: in none.
  std::unordered_map<const VolumeObject*, CoordHash<uint32_t>> Seen;
  Bounds Scene;
  bool EyeInside = false;  // of the box of the scene
  int Matcap = -1, MatcapTexture = -1;
  ::GroundShadow Shadow;
  int ShadowTexture = -1;
  bool ShadowStale = true;
  bool MapStale = true;     // of the shadow on the surface
  uint64_t MapVolumes = 0;  // fingerprint of the volumes that are in that map
  bool Shadowed = false;    // the picture that Passes keeps has that shadow
  bool HasColors = false;   // some group has
  bool ColorsStale = true;
  size_t GroupCount = 0;
  cMat4 LastView;
  bool Moving = false;  // the last frame was one in motion
  uint32_t Motion = 0;  // number of the motion that goes on, or of the last one
  float Ground = 0;
  bool GroundKnown = false;  // Ground is that of the scene
  uint64_t Picture = 0;      // fingerprint of the picture that Passes keeps; 0: none
  bool Refined = false;      // that picture has smooth edges
  int Supersampling = 1;     // of that picture

  ~State() { ReleaseTextures(); }
  void ReleaseTextures();
  void AttachTo(cRender& render, VoxelScene& scene);
  void Refresh(VoxelScene& scene);
  void Collect(VoxelScene& scene, const SceneFrame& frame, Statistics& statistics);
  void Upload(size_t budget, Statistics& statistics);
  void FindColors(const VoxelScene& scene);
  bool BeginMotion(const SceneFrame& frame, const SceneViewOptions& options);
  void ChooseMeshes(bool coarse, int64_t budget, Statistics& statistics);
  uint64_t GetFingerprint(const SceneFrame& frame, const SceneViewOptions& options) const;
  comms::ScenePassOptions MakePasses(const SceneFrame& frame, const SceneViewOptions& options) const;
  bool WantsShadow(const SceneFrame& frame, const SceneViewOptions& options) const;
  void DrawShadowMap(VoxelScene& scene, size_t budget, Statistics& statistics);
  void SetMaterial(const SceneViewOptions& options, bool colored);
  void DrawSolids(const SceneViewOptions& options);
  void DrawWires(const SceneViewOptions& options);
  void DrawGround(VoxelScene& scene, const SceneFrame& frame, const SceneViewOptions& options);
  void DrawShadow(VoxelScene& scene, bool moving, float alpha);
};

SceneView::SceneView() : m_State(std::make_unique<State>()) {}
SceneView::~SceneView() = default;

void SceneView::State::ReleaseTextures() {
  if (Render && !RenderAlive.expired())
    for (const int texture : {MatcapTexture, ShadowTexture})
      if (texture >= 0) Render->DeleteTexture(texture);
  MatcapTexture = ShadowTexture = Matcap = -1;
  ShadowStale = MapStale = true;
}

// What was on another device, or what this one lost, is gone: those groups are built anew, since their staged data went when it
// was uploaded.
void SceneView::State::AttachTo(cRender& render, VoxelScene& scene) {
  const bool known = Render == &render && !RenderAlive.expired();
  if (known && Generation == render.Generation()) return;
  Generation = render.Generation();
  if (!known) {
    ReleaseTextures();
    Render = &render;
    RenderAlive = render.Alive();
    Seen.clear();
  }
  for (const auto& volume : scene.Volumes())
    volume->RenderGroups.ForEach([&](const CoordInt3& key, const RenderGroup& group) {
      const bool kept = known && render.HasBuffer(group.Mesh->VertexBuffer);
      if (!group.Mesh->StagedVertices && !kept) volume->DirtyGroups.Set(key, 1);
    });
}

void SceneView::State::Refresh(VoxelScene& scene) {
  for (const auto& volume : scene.Volumes())
    if (!volume->DirtyCells.Empty() || !volume->DirtyGroups.Empty()) try {
        ShadowStale = MapStale = true;
        volume->RefreshChanges();
      } catch (const std::bad_alloc&) {
        // What there is no memory for waits, and the picture is what was made last.
      }
}

void SceneView::State::Collect(VoxelScene& scene, const SceneFrame& frame, Statistics& statistics) {
  Visible.clear();
  std::erase_if(Seen, [&](const auto& entry) {
    return std::none_of(scene.Volumes().begin(), scene.Volumes().end(),
                        [&](const auto& volume) { return volume.get() == entry.first; });
  });
  Scene = {};
  size_t groups = 0;
  for (const auto& volume : scene.Volumes()) {
    groups += volume->RenderGroups.Count();
    const Frustum frustum(volume->SpaceMatrix * frame.Camera.View * frame.Camera.Projection);
    ForEachGroupInSight(*volume, frustum, [&](const CellKey& key, RenderGroup& group) {
      Visible.push_back({&group, volume.get(), key, frustum.DepthOf(group.Box)});
    });
    Scene.Add(GetSurfaceBox(*volume), volume->SpaceMatrix);
  }
  cMat4 inverse;
  comms::Invert(frame.Camera.View, inverse);
  const cVec3 eye = inverse.TransformPoint({});
  EyeInside = !Scene.Empty();
  for (int i = 0; i < 3; i++) EyeInside = EyeInside && eye[i] >= Scene.Min[i] && eye[i] <= Scene.Max[i];
  if (groups != GroupCount) ShadowStale = MapStale = ColorsStale = true;
  GroupCount = groups;
  // From the front to the back: what is hidden costs no light.
  std::sort(Visible.begin(), Visible.end(), [](const Item& a, const Item& b) { return a.Depth < b.Depth; });
  statistics.Groups = int(groups);
}

void SceneView::State::Upload(size_t budget, Statistics& statistics) {
  size_t used = 0;
  const auto drawable = [&](const Item& item) {
    comms::BaseMesh& mesh = *item.Group->Mesh;
    if (mesh.HasBuffers()) return true;
    CoordHash<uint32_t>& seen = Seen[item.Volume];
    const bool changed = seen.Contains(item.Key);
    const size_t bytes = mesh.Bytes();
    if (!changed && used > 0 && used + bytes > budget) {
      statistics.WaitingUploads++;
      return false;
    }
    mesh.Flush(Render);
    if (!changed) used += bytes;
    seen.Set(item.Key, Moving ? Motion : 0);
    ShadowStale = MapStale = ColorsStale = true;
    statistics.Uploads++;
    statistics.UploadedBytes += int64_t(bytes);
    return true;
  };
  Visible.erase(std::remove_if(Visible.begin(), Visible.end(), [&](const Item& item) { return !drawable(item); }), Visible.end());
  statistics.VisibleGroups = int(Visible.size());
}

static SceneQuality QualityOf(const SceneFrame& frame, const SceneViewOptions& options) {
  return options.Quality == SceneQuality::Automatic ? frame.DeviceQuality : options.Quality;
}

// Once a frame. A view that turns is coarse from its first frame on, everything else that moves from the second: a mere click
// doesn't change the look of the whole scene.
bool SceneView::State::BeginMotion(const SceneFrame& frame, const SceneViewOptions& options) {
  const cMat4 view = frame.Camera.View * frame.Camera.Projection;
  const bool turned = !(std::exchange(LastView, view) == view), moved = std::exchange(Moving, frame.Moving);
  if (Moving && !moved) Motion++;
  return Moving && (turned || moved) && QualityOf(frame, options) == SceneQuality::Fast;
}

static bool HasVertexColors(const comms::BaseMesh& mesh) {
  const comms::VertexLayout* layout = mesh.VertexDecl;
  return layout && std::any_of(layout->Elements.begin(), layout->Elements.end(),
                               [](const comms::VertexElement& element) { return element.Usage == comms::VertexUsage::Color; });
}

// After changes alone: it looks at all groups.
void SceneView::State::FindColors(const VoxelScene& scene) {
  if (!std::exchange(ColorsStale, false)) return;
  HasColors = false;
  for (const auto& volume : scene.Volumes())
    volume->RenderGroups.ForEach(
        [&](const auto&, const RenderGroup& group) { HasColors = HasColors || HasVertexColors(*group.Mesh); });
}

// Coarse and full groups meet without gaps, so each takes what there is. What a stroke works on stays full. Missing meshes are
// made, the nearest ones first, as many as a frame bears; where there are colours they would run, so those groups stay full.
void SceneView::State::ChooseMeshes(bool coarse, int64_t budget, Statistics& statistics) {
  for (Item& item : Visible) {
    RenderGroup& group = *item.Group;
    item.Mesh = group.Mesh.get();
    const uint32_t* changed = Seen[item.Volume].Find(item.Key);
    if (coarse && !(changed && *changed == Motion)) {
      if (!group.Coarse && budget > 0 && !HasVertexColors(*group.Mesh)) {
        group.Coarse = MakeCoarseMesh(*item.Volume, item.Key);
        budget -= group.Mesh->NumIndices / 3;
      }
      if (group.Coarse) item.Mesh = group.Coarse.get();
    }
    item.HasColors = HasVertexColors(*item.Mesh);
    statistics.CoarseGroups += item.Mesh != group.Mesh.get();
    statistics.Triangles += item.Mesh->NumIndices / 3;
  }
}

// Over all that the picture depends on besides the data on the device.
uint64_t SceneView::State::GetFingerprint(const SceneFrame& frame, const SceneViewOptions& options) const {
  Fingerprint hash;
  hash.Add(frame.Camera.View);
  hash.Add(frame.Camera.Projection);
  const SceneViewport& place = frame.Viewport;
  for (const int value : {place.X, place.Y, place.Width, place.Height, place.WindowHeight, frame.FinalTarget, Generation})
    hash.Add(uint64_t(value));
  for (const uint32_t color : {frame.BackgroundTop, frame.BackgroundBottom, frame.GridColor, frame.AxisXColor, frame.AxisZColor})
    hash.Add(color);
  for (const bool flag : {frame.Grid, frame.Wireframe, frame.Moving, options.AmbientOcclusion, options.SoftShadow,
                          options.GroundShadow, options.VertexColors})
    hash.Add(flag);
  for (const int kind : {int(options.Material), int(options.Clay), int(options.Matcap), int(QualityOf(frame, options))})
    hash.Add(uint64_t(kind));
  hash.Add(frame.MoreState);
  hash.Add(&Scene.Min.x, 3);
  hash.Add(&Scene.Max.x, 3);
  const VolumeObject* volume = nullptr;
  for (const Item& item : Visible) {
    if (std::exchange(volume, item.Volume) != item.Volume) hash.Add(item.Volume->SpaceMatrix);
    hash.Add(uint64_t(reinterpret_cast<uintptr_t>(item.Mesh)));
  }
  return hash.Value();
}

comms::ScenePassOptions SceneView::State::MakePasses(const SceneFrame& frame, const SceneViewOptions& options) const {
  comms::ScenePassOptions passes;
  const SceneViewport& viewport = frame.Viewport;
  passes.X = viewport.X;
  passes.Y = viewport.WindowHeight - viewport.Y - viewport.Height;
  passes.Width = viewport.Width;
  passes.Height = viewport.Height;
  passes.FinalTarget = frame.FinalTarget;
  passes.Exposure = SceneExposure;
  passes.Albedo = options.Material == SceneMaterial::Clay ? GetClayAlbedo(options.Clay) : cVec3{0.4f, 0.4f, 0.4f};
  passes.BackgroundTop = LightOfColor(frame.BackgroundTop);
  passes.BackgroundBottom = LightOfColor(frame.BackgroundBottom);
  passes.BackgroundGlow = passes.BackgroundTop * 0.35f;
  passes.Vignette = 0.22f;
  if (options.AmbientOcclusion && !Scene.Empty()) passes.OcclusionRadius = OcclusionReach * Length(Scene.Max - Scene.Min);
  for (const Item& item : Visible) {
    const float voxel = VoxelSizeOf(*item.Volume);
    passes.Detail = passes.Detail > 0 ? std::min(passes.Detail, voxel) : voxel;
  }
  switch (QualityOf(frame, options)) {
    case SceneQuality::Fast:
      if (Refined) passes.Supersampling = 2;
      passes.OcclusionStep = 2;
      passes.FormSamples = 8;
      passes.CreaseSamples = 5;
      break;
    case SceneQuality::Automatic:
    case SceneQuality::Normal:
      passes.Samples = 4;
      break;
    case SceneQuality::Fine:
      // Standing still there is time for the larger picture.
      passes.Samples = frame.Moving ? 4 : 1;
      passes.Supersampling = frame.Moving ? 1 : 2;
      break;
  }
  return passes;
}

// Where the processor draws, it comes with the smooth edges, once all is quiet.
bool SceneView::State::WantsShadow(const SceneFrame& frame, const SceneViewOptions& options) const {
  return options.SoftShadow && options.Material == SceneMaterial::Clay && !Scene.Empty() &&
         (Refined || QualityOf(frame, options) != SceneQuality::Fast);
}

// All groups throw it, those out of sight too; they reach the device within `budget` bytes. The map stays while the lamp, which
// turns with the viewer, and the volumes stand: through pans and zooms, and whatever the pointer shows.
void SceneView::State::DrawShadowMap(VoxelScene& scene, size_t budget, Statistics& statistics) {
  Fingerprint volumes;
  for (const auto& volume : scene.Volumes()) volumes.Add(volume->SpaceMatrix);
  comms::SoftShadow& shadow = Passes.Shadow();
  if (!MapStale && MapVolumes == volumes.Value() && shadow.Fits(*Render, Render->State.View, Scene.Min, Scene.Max)) return;
  MapStale = false;
  MapVolumes = volumes.Value();
  if (!shadow.Begin(*Render, Render->State.View, Scene.Min, Scene.Max)) return;
  size_t used = 0;
  for (const auto& volume : scene.Volumes()) {
    Render->State.World = volume->SpaceMatrix;
    volume->RenderGroups.ForEach([&](const CoordInt3& key, RenderGroup& group) {
      if (!group.Mesh->HasBuffers()) {
        const size_t bytes = group.Mesh->Bytes();
        if (used > 0 && used + bytes > budget) {
          MapStale = true;
          statistics.WaitingUploads++;
          return;
        }
        used += bytes;
        group.Mesh->Flush(Render);
        Seen[volume.get()].Set(key, uint32_t(0));
        statistics.UploadedBytes += int64_t(bytes);
      }
      group.Mesh->Draw(Render);
    });
  }
  shadow.End();
}

void SceneView::State::SetMaterial(const SceneViewOptions& options, bool colored) {
  const char* defines = colored ? "#define VERTEX_COLORS\n" : "";
  if (options.Material == SceneMaterial::Clay) return Passes.SetClay(defines, Shadowed);
  Render->SetShader(Render->GetShaderID("Matcap", defines));
  if (Matcap != int(options.Matcap)) {
    if (MatcapTexture >= 0) Render->DeleteTexture(MatcapTexture);
    const comms::cImage image = MakeMatcap(options.Matcap, MatcapSide);
    MatcapTexture = Render->CreateTexture(
        {comms::TextureFormat::Rgba8, MatcapSide, MatcapSide, comms::TextureFilter::Trilinear, comms::AddressMode::Clamp},
        image.Row(0));
    Matcap = int(options.Matcap);
  }
  Render->SetTexture(Render->GetTextureParam("s_Matcap"), MatcapTexture, -1);
}

// Groups with colours of their own come last: they have another shader.
void SceneView::State::DrawSolids(const SceneViewOptions& options) {
  for (const bool colored : {false, true}) {
    const VolumeObject* volume = nullptr;
    bool set = false;
    for (const Item& item : Visible) {
      if ((item.HasColors && options.VertexColors) != colored) continue;
      if (!std::exchange(set, true)) SetMaterial(options, colored);
      if (std::exchange(volume, item.Volume) != item.Volume) {
        Render->State.World = item.Volume->SpaceMatrix;
        // The surface of a volume is closed: its far side is left out, unless the eye may be within.
        const bool mirrored = comms::Determinant3(item.Volume->SpaceMatrix) < 0;
        Passes.SetSolid(EyeInside ? comms::CullMode::None : mirrored ? comms::CullMode::Front : comms::CullMode::Back);
      }
      item.Mesh->Draw(Render);
    }
  }
  Render->State.World = {};
}

// Dark lines on a light material, light ones on a dark one.
void SceneView::State::DrawWires(const SceneViewOptions& options) {
  Passes.SetWire();
  Render->SetShader(Render->GetShaderID("Matcap", "#define WIRE"));
  const float light = GetBrightness(options) < DarkMaterial ? LightWire : 0;
  Render->SetConstant("c_Wire", cVec3{light, light, light});
  const VolumeObject* volume = nullptr;
  for (const Item& item : Visible) {
    if (std::exchange(volume, item.Volume) != item.Volume) {
      Render->State.World = item.Volume->SpaceMatrix;
      // An edge crosses a voxel; in a picture that is averaged later a pixel counts for less.
      Render->SetConstant("c_Edge", VoxelSizeOf(*item.Volume) / float(Supersampling));
    }
    item.Mesh->Draw(Render);
  }
  Render->State.World = {};
}

void SceneView::State::DrawGround(VoxelScene& scene, const SceneFrame& frame, const SceneViewOptions& options) {
  const bool any = !Scene.Empty();
  if (!frame.Moving || !GroundKnown || !any) Ground = any ? Scene.Min.y : 0;
  GroundKnown = any;
  cMat4 inverse;
  comms::Invert(frame.Camera.View, inverse);
  const cVec3 eye = inverse.TransformPoint({});
  const float size = any ? std::max(Length(Scene.Max - Scene.Min), 1e-6f) : 2;
  // A ground seen from below would hide the scene: it fades where the eye sinks under it.
  const float above = std::clamp((eye.y - Ground) / (0.05f * size), 0.0f, 1.0f);
  if (options.GroundShadow && any && above > 0) DrawShadow(scene, frame.Moving, above);
  if (!frame.Grid) return;
  const cVec3 center =
      any ? cVec3{(Scene.Min.x + Scene.Max.x) / 2, Ground, (Scene.Min.z + Scene.Max.z) / 2} : cVec3{0, Ground, 0};
  // As wide in a picture that is averaged later.
  Render->SetShader(Render->GetShaderID("Grid"));
  Render->SetConstant("c_LineWidth", float(Supersampling));
  Render->DrawGrid({.Center = center,
                    .Half = {4 * size, 4 * size},
                    // Lines at powers of ten; the scene is some ten fine ones wide.
                    .Spacing = std::pow(10.0f, std::floor(std::log10(size / 2.5f))),
                    .Color = LightOfColor(frame.GridColor),
                    .AxisX = LightOfColor(frame.AxisXColor),
                    .AxisZ = LightOfColor(frame.AxisZColor),
                    .Alpha = 0.55f * (0.35f + 0.65f * above)});
}

void SceneView::State::DrawShadow(VoxelScene& scene, bool moving, float alpha) {
  // Within a stroke the last one serves: nobody sees a stroke's own shadow while the hand moves.
  if (ShadowTexture < 0 || (ShadowStale && !moving)) {
    MakeGroundShadow(scene, Scene.Min, Scene.Max, Ground, Shadow);
    constexpr int side = ::GroundShadow::Side;
    if (ShadowTexture < 0)
      ShadowTexture = Render->CreateTexture(
          {comms::TextureFormat::Rgba8, side, side, comms::TextureFilter::Linear, comms::AddressMode::Clamp},
          Shadow.Pixels.data());
    else
      Render->UpdateTexture(ShadowTexture, 0, 0, side, side, Shadow.Pixels.data());
    ShadowStale = false;
  }
  Render->SetShader(Render->GetShaderID("Grid", "#define SHADOW"));
  Render->SetTexture(Render->GetTextureParam("s_Shadow"), ShadowTexture, -1);
  Render->SetConstant("c_Center", Shadow.Center);
  Render->SetConstant("c_Half", comms::cVec2{Shadow.HalfX, Shadow.HalfZ});
  Render->SetConstant("c_Alpha", alpha);
  static const comms::VertexLayout noLayout;  // the corners come from the vertex number alone
  Render->SetVertexBuffer(-1, noLayout);
  Render->Draw(comms::BaseMesh::TriangleList, 0, 6);
}

void SceneView::Draw(cRender& render, VoxelScene& scene, const SceneFrame& frame, const SceneViewOptions& options) {
  m_Statistics = {};
  if (frame.Viewport.Width <= 0 || frame.Viewport.Height <= 0) return;
  m_State->AttachTo(render, scene);
  m_State->Refresh(scene);
  m_State->Collect(scene, frame, m_Statistics);
  const bool coarse = m_State->BeginMotion(frame, options);
  m_State->Upload(UploadBudget, m_Statistics);
  m_State->FindColors(scene);
  m_State->ChooseMeshes(coarse, CoarseBudget, m_Statistics);

  render.State.World = {};
  render.State.View = frame.Camera.View;
  render.State.Projection = frame.Camera.Projection;
  const uint64_t picture = m_State->GetFingerprint(frame, options);
  const bool same = m_Statistics.Uploads == 0 && picture == m_State->Picture && !(m_State->Shadowed && m_State->MapStale);
  m_Statistics.Changed = !same;
  const bool refines = same && frame.Quiet && m_Statistics.WaitingUploads == 0 && !m_State->Refined &&
                       QualityOf(frame, options) == SceneQuality::Fast;
  if (same && !refines && m_State->Passes.Repeat(render)) return;
  m_State->Picture = 0;
  m_State->Refined = refines || (same && m_State->Refined);
  m_State->Shadowed = m_State->WantsShadow(frame, options);
  if (m_State->Shadowed) {
    // A picture for which the hand has waited is whole.
    m_State->DrawShadowMap(scene, refines ? SIZE_MAX : UploadBudget, m_Statistics);
    m_State->Shadowed = m_State->Passes.Shadow().IsThere();
  }
  const comms::ScenePassOptions passes = m_State->MakePasses(frame, options);
  m_State->Supersampling = passes.Supersampling;
  if (!m_State->Passes.Begin(render, passes)) return;
  m_State->DrawSolids(options);
  if (frame.DrawMore) {
    m_State->Passes.SetSolid();
    frame.DrawMore(render);
  }
  m_State->Passes.BeginTranslucent();
  m_State->DrawGround(scene, frame, options);
  if (frame.Wireframe) m_State->DrawWires(options);
  m_State->Passes.Finish();
  m_State->Picture = picture;
}

void SceneView::Forget() { m_State->Picture = 0; }
bool SceneView::SceneHasColors() const { return m_State->HasColors; }
