#include "comms/render/SoftShadow.h"

#include <algorithm>

namespace comms {

namespace {

constexpr float SmallTurn = 0.5f / SoftShadow::Side;  // radians
constexpr float Spread = 0.14f;                       // width of a shadow's edge for each unit behind what throws it
constexpr float WidestEdge = 0.013f;                  // half of it, as a part of the map

cVec3 ToLamp(const cMat4& view) {
  cMat4 inverse;
  Invert(view, inverse);
  return Normalized(inverse.TransformDirection(KeyLampDirection), {0, 1, 0});
}

}  // namespace

bool SoftShadow::Fits(const cRender& render, const cMat4& view, const cVec3& minimum, const cVec3& maximum) const {
  return m_Render == &render && IsThere() && m_Generation == render.Generation() && m_Min == minimum && m_Max == maximum &&
         Length(ToLamp(view) - m_ToLamp) < SmallTurn;
}

bool SoftShadow::Begin(cRender& render, const cMat4& view, const cVec3& minimum, const cVec3& maximum) {
  if (m_Render != &render || !IsThere()) {
    Release();
    m_Render = &render;
    m_RenderAlive = render.Alive();
    m_Target = render.CreateTarget({Side, Side, TextureFormat::R16f, TextureFormat::Depth24, TextureFilter::Nearest, 1});
    if (m_Target < 0) return false;
  }
  m_Generation = render.Generation();
  m_Min = minimum, m_Max = maximum;
  m_ToLamp = ToLamp(view);
  m_View = render.State.View, m_Projection = render.State.Projection;

  // The ball around the box: its size in the map is the same from everywhere.
  const cVec3 middle = (minimum + maximum) * 0.5f;
  const float radius = std::max(Length(maximum - minimum) * 0.51f, 1e-6f);
  const cVec3 up = std::abs(m_ToLamp.y) < 0.9f ? cVec3{0, 1, 0} : cVec3{0, 0, -1};
  render.State.View = LookAt(middle + m_ToLamp * radius, middle, up);
  render.State.Projection = Orthographic(2 * radius, 2 * radius, 0, 2 * radius);
  m_WorldToMap = render.State.View * render.State.Projection * cMat4::Scale(0.5f) * cMat4::Translation({0.5f, 0.5f, 0.5f});

  render.SetTarget(m_Target);
  render.SetScissor(0, 0, -1, -1);
  render.SetViewport(0, 0, Side, Side);
  render.SetFillState(render.CreateFillState({}));
  render.SetBlendState(render.CreateBlendState({.WriteColor = false}));
  render.SetDepthState(render.CreateDepthState({}));
  render.ClearDepth(1);
  render.SetShader(render.GetShaderID("ShadowMap"));
  return true;
}

void SoftShadow::End() {
  m_Render->State.World = {};
  m_Render->State.View = m_View;
  m_Render->State.Projection = m_Projection;
}

void SoftShadow::Apply(int taps) const {
  cMat4 toWorld;
  Invert(m_Render->State.View, toWorld);
  m_Render->SetTexture(m_Render->GetTextureParam("s_ShadowMap"), m_Render->GetTargetDepth(m_Target), -1);
  m_Render->SetConstant("c_ToMap", toWorld * m_WorldToMap);
  m_Render->SetConstant("c_ShadowSpread", Spread);
  m_Render->SetConstant("c_ShadowReach", WidestEdge);
  m_Render->SetConstant("c_ShadowTaps", float(std::clamp(taps, 1, 32)));
}

void SoftShadow::Release() {
  if (m_Render && IsThere()) m_Render->DeleteTarget(m_Target);
  m_Target = -1;
  m_Render = nullptr;
}

}  // namespace comms
