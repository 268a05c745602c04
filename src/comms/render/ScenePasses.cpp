#include "comms/render/ScenePasses.h"

#include <algorithm>

#include "comms/BaseMesh.h"

namespace comms {

bool ScenePasses::Begin(cRender& render, const ScenePassOptions& options) {
  if (m_Render != &render || m_RenderAlive.expired()) {
    ReleaseTargets();
    m_Render = &render;
    m_RenderAlive = render.Alive();
  }
  m_Options = options;
  if (!MakeTargets()) return false;
  render.SetScissor(0, 0, -1, -1);
  render.SetTarget(m_Multisampled >= 0 ? m_Multisampled : m_Scene);
  const ScreenPart whole{0, 0, m_Shape.Width * m_Shape.Scale, m_Shape.Height * m_Shape.Scale};
  render.SetViewport(whole.X, whole.Y, whole.Width, whole.Height);
  render.SetFillState(render.CreateFillState({}));
  render.SetBlendState(render.CreateBlendState({}));
  render.SetDepthState(render.CreateDepthState({}));
  render.Clear({}, 1);
  render.SetDepthState(render.CreateDepthState({.Test = false, .Write = false}));
  render.SetShader(render.GetShaderID("Background"));
  render.SetConstant("c_Top", options.BackgroundTop);
  render.SetConstant("c_Bottom", options.BackgroundBottom);
  render.SetConstant("c_Glow", options.BackgroundGlow);
  render.SetConstant("c_Vignette", options.Vignette);
  DrawStripes(whole);
  SetSolid();
  return true;
}

bool ScenePasses::MakeTargets() {
  const bool smoothed = m_Options.Samples > 1;
  const Shape shape{std::max(m_Options.Width, 1), std::max(m_Options.Height, 1),
                    smoothed ? 1 : std::clamp(m_Options.Supersampling, 1, 4), std::max(m_Options.Samples, 1),
                    std::clamp(m_Options.OcclusionStep, 1, 2)};
  if (m_Scene >= 0 && shape == m_Shape) return true;
  cRender* const render = m_Render;
  ReleaseTargets();
  m_Render = render;
  m_RenderAlive = render->Alive();
  m_Shape = shape;
  const auto make = [&](int width, int height, TextureFormat color, TextureFormat depth, int samples) {
    return render->CreateTarget({width, height, color, depth, TextureFilter::Nearest, samples});
  };
  const int width = shape.Width * shape.Scale, height = shape.Height * shape.Scale;
  const int partWidth = (shape.Width + shape.Step - 1) / shape.Step, partHeight = (shape.Height + shape.Step - 1) / shape.Step;
  m_Scene = make(width, height, TextureFormat::Rgba16f, TextureFormat::Depth24, 1);
  if (smoothed) m_Multisampled = make(width, height, TextureFormat::Rgba16f, TextureFormat::Depth24, shape.Samples);
  m_Occlusion = make(partWidth, partHeight, TextureFormat::R16f, TextureFormat::None, 1);
  m_Blurred = make(partWidth, partHeight, TextureFormat::R16f, TextureFormat::None, 1);
  if (m_Scene >= 0 && m_Occlusion >= 0 && m_Blurred >= 0 && (!smoothed || m_Multisampled >= 0)) return true;
  ReleaseTargets();
  return false;
}

void ScenePasses::Release() {
  ReleaseTargets();
  m_Shadow.Release();
}

void ScenePasses::ReleaseTargets() {
  if (m_Render && !m_RenderAlive.expired())
    for (const int target : {m_Multisampled, m_Scene, m_Occlusion, m_Blurred})
      if (target >= 0) m_Render->DeleteTarget(target);
  m_Multisampled = m_Scene = m_Occlusion = m_Blurred = -1;
  m_Render = nullptr;
}

void ScenePasses::SetSolid(CullMode cull) {
  m_Render->SetFillState(m_Render->CreateFillState({.Cull = cull}));
  m_Render->SetBlendState(m_Render->CreateBlendState({}));
  m_Render->SetDepthState(m_Render->CreateDepthState({}));
}

void ScenePasses::SetClay(const cStr& defines, bool shadowed) {
  m_Render->SetShader(m_Render->GetShaderID("mcubes", shadowed ? defines + "#define SOFT_SHADOW\n" : defines));
  m_Render->SetConstant("c_Albedo", m_Options.Albedo);
  // In a picture that is averaged later each pixel looks elsewhere.
  if (shadowed) m_Shadow.Apply(m_Shape.Scale > 1 ? 6 : 24);
}

void ScenePasses::SetWire() {
  m_Render->SetFillState(m_Render->CreateFillState({.Wireframe = true}));
  m_Render->SetBlendState(m_Render->CreateBlendState({BlendMode::PremultipliedAlpha}));
  m_Render->SetDepthState(m_Render->CreateDepthState({.Write = false}));
}

void ScenePasses::BeginTranslucent() {
  m_Render->SetFillState(m_Render->CreateFillState({}));
  m_Render->SetBlendState(m_Render->CreateBlendState({BlendMode::PremultipliedAlpha}));
  m_Render->SetDepthState(m_Render->CreateDepthState({.Write = false}));
}

// All vertices of these passes come from the vertex number alone.
void ScenePasses::DrawWhole() {
  static const VertexLayout noLayout;
  m_Render->SetVertexBuffer(-1, noLayout);
  m_Render->Draw(BaseMesh::TriangleList, 0, 3);
}

// Sets the viewport to `part` of the target and fills it.
void ScenePasses::DrawStripes(const ScreenPart& part) {
  m_Render->SetViewport(part.X, part.Y, part.Width, part.Height);
  if (!m_Options.GoOn) return DrawWhole();
  const int rows = std::max(1, int(StripePixels / part.Width));
  for (int y = 0; y < part.Height && m_Options.GoOn(); y += rows) {
    m_Render->SetScissor(part.X, part.Y + y, part.Width, std::min(rows, part.Height - y));
    DrawWhole();
  }
  m_Render->SetScissor(0, 0, -1, -1);
}

void ScenePasses::Finish() {
  if (m_Multisampled >= 0) m_Render->ResolveTarget(m_Multisampled, m_Scene);
  m_Render->SetFillState(m_Render->CreateFillState({}));
  m_Render->SetBlendState(m_Render->CreateBlendState({}));
  m_Render->SetDepthState(m_Render->CreateDepthState({.Test = false, .Write = false}));
  DrawOcclusion();
  Compose();
  m_Options.GoOn = {};  // of whoever wanted this picture
}

bool ScenePasses::Repeat(cRender& render) {
  if (m_Render != &render || m_RenderAlive.expired() || m_Scene < 0) return false;
  m_Render->SetScissor(0, 0, -1, -1);
  m_Render->SetFillState(m_Render->CreateFillState({}));
  m_Render->SetBlendState(m_Render->CreateBlendState({}));
  m_Render->SetDepthState(m_Render->CreateDepthState({.Test = false, .Write = false}));
  Compose();
  return true;
}

void ScenePasses::DrawOcclusion() {
  const ScreenPart whole{0, 0, (m_Shape.Width + m_Shape.Step - 1) / m_Shape.Step,
                         (m_Shape.Height + m_Shape.Step - 1) / m_Shape.Step};
  m_Render->SetViewport(0, 0, whole.Width, whole.Height);
  if (!(m_Options.OcclusionRadius > 0)) {
    m_Render->SetTarget(m_Blurred);
    m_Render->Clear({1, 1, 1, 1}, 1);
    return;
  }
  // Coprime to the number of samples, so that the spiral visits all directions.
  const auto turnsOf = [](int samples) { return samples >= 18 ? 7.0f : samples >= 12 ? 5.0f : 3.0f; };
  for (const bool blur : {false, true}) {
    m_Render->SetTarget(blur ? m_Blurred : m_Occlusion);
    m_Render->SetShader(m_Render->GetShaderID("AmbientOcclusion", blur ? "#define BLUR" : ""));
    m_Render->SetTexture(m_Render->GetTextureParam("s_Depth"), m_Render->GetTargetDepth(m_Scene), -1);
    if (blur) m_Render->SetTexture(m_Render->GetTextureParam("s_Occlusion"), m_Render->GetTargetTexture(m_Occlusion), -1);
    m_Render->SetConstant("c_Scale", float(m_Shape.Scale * m_Shape.Step));
    m_Render->SetConstant("c_Radius", m_Options.OcclusionRadius);
    m_Render->SetConstant("c_Detail", m_Options.Detail);
    m_Render->SetConstant("c_FormSamples", float(m_Options.FormSamples));
    m_Render->SetConstant("c_FormTurns", turnsOf(m_Options.FormSamples));
    m_Render->SetConstant("c_CreaseSamples", float(m_Options.CreaseSamples));
    m_Render->SetConstant("c_CreaseTurns", turnsOf(m_Options.CreaseSamples));
    DrawStripes(whole);
  }
}

void ScenePasses::Compose() {
  m_Render->SetTarget(m_Options.FinalTarget);
  m_Render->SetShader(m_Render->GetShaderID("Compose", m_Shape.Step > 1 ? "#define COARSE_OCCLUSION" : ""));
  m_Render->SetTexture(m_Render->GetTextureParam("s_Scene"), m_Render->GetTargetTexture(m_Scene), -1);
  m_Render->SetTexture(m_Render->GetTextureParam("s_Depth"), m_Render->GetTargetDepth(m_Scene), -1);
  m_Render->SetTexture(m_Render->GetTextureParam("s_Occlusion"), m_Render->GetTargetTexture(m_Blurred), -1);
  m_Render->SetConstant("c_Origin", cVec2{float(m_Options.X), float(m_Options.Y)});
  m_Render->SetConstant("c_Scale", float(m_Shape.Scale));
  m_Render->SetConstant("c_Step", float(m_Shape.Step));
  m_Render->SetConstant("c_Radius", m_Options.OcclusionRadius > 0 ? m_Options.OcclusionRadius : 1.0f);
  m_Render->SetConstant("c_Albedo", m_Options.Albedo);
  m_Render->SetConstant("c_Exposure", m_Options.Exposure);
  DrawStripes({m_Options.X, m_Options.Y, m_Shape.Width, m_Shape.Height});
}

}  // namespace comms
