#include "interface/draw/Batch.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "comms/BaseMesh.h"

namespace draw {

using namespace comms;

static const VertexLayout& GetLayout() {
  static const VertexLayout layout = {sizeof(Vertex),
                                      {{VertexUsage::Position, VertexFormat::Float2, offsetof(Vertex, X)},
                                       {VertexUsage::TexCoord0, VertexFormat::Float4, offsetof(Vertex, PlaceX)},
                                       {VertexUsage::TexCoord1, VertexFormat::Float4, offsetof(Vertex, Radius)},
                                       {VertexUsage::Color, VertexFormat::Color8, offsetof(Vertex, Color)},
                                       {VertexUsage::Normal, VertexFormat::Color8, offsetof(Vertex, BorderColor)}}};
  return layout;
}

Batch::Batch(cRender& render)
    : m_Render(render),
      m_RenderAlive(render.Alive()),
      m_Shader(render.GetShaderID("Interface")),
      m_Depth(render.CreateDepthState({.Test = false, .Write = false})),
      m_Blend(render.CreateBlendState({BlendMode::PremultipliedAlpha})),
      m_Fill(render.CreateFillState({})) {}

Batch::~Batch() {
  if (m_RenderAlive.expired()) return;
  if (m_VertexBuffer >= 0) m_Render.ReleaseBuffer(m_VertexBuffer);
  if (m_IndexBuffer >= 0) m_Render.ReleaseBuffer(m_IndexBuffer);
}

void Batch::Begin(int width, int height) {
  m_Width = width;
  m_Height = height;
  m_DrawCalls = 0;
  m_Vertices.clear();
  m_Calls.clear();
}

void Batch::Use(int Call::*slot, int texture) {
  const size_t quads = m_Vertices.size() / 4;
  if (m_Calls.empty()) m_Calls.push_back({});
  Call& last = m_Calls.back();
  if (texture < 0 || last.*slot == texture) return;
  if (last.*slot < 0 || last.FirstQuad == quads) {
    last.*slot = texture;
    return;
  }
  Call next = last;
  next.FirstQuad = quads;
  next.*slot = texture;
  m_Calls.push_back(next);
}

// --- clipping ----------------------------------------------------------------------------------------------------------------

static uint32_t MixBytes(uint32_t a, uint32_t b, float t) {
  uint32_t mixed = 0;
  for (int shift = 0; shift < 32; shift += 8) {
    const float from = float((a >> shift) & 0xFF), to = float((b >> shift) & 0xFF);
    mixed |= uint32_t(std::lround(from + (to - from) * t)) << shift;
  }
  return mixed;
}

// Radius, border, parameter and kind are the same all over a shape.
static Vertex Between(const Vertex& a, const Vertex& b, float t) {
  Vertex v = a;
  v.X += (b.X - a.X) * t;
  v.Y += (b.Y - a.Y) * t;
  v.PlaceX += (b.PlaceX - a.PlaceX) * t;
  v.PlaceY += (b.PlaceY - a.PlaceY) * t;
  if (a.Color != b.Color) v.Color = MixBytes(a.Color, b.Color, t);
  return v;
}

// Sutherland and Hodgman 1974, "Reentrant polygon clipping", against one side.
static size_t ClipSide(const Vertex* from, size_t count, Vertex* to, float Vertex::*axis, float limit, float sign) {
  size_t kept = 0;
  for (size_t i = 0; i < count; i++) {
    const Vertex &a = from[i], &b = from[(i + 1) % count];
    const float da = sign * (a.*axis - limit), db = sign * (b.*axis - limit);
    if (da >= 0) to[kept++] = a;
    if ((da >= 0) != (db >= 0)) {
      to[kept] = Between(a, b, da / (da - db));
      to[kept++].*axis = limit;
    }
  }
  return kept;
}

void Batch::AddQuad(const std::array<Vertex, 4>& corners, const cRect& clip) {
  const auto [left, right] = std::minmax({corners[0].X, corners[1].X, corners[2].X, corners[3].X});
  const auto [top, bottom] = std::minmax({corners[0].Y, corners[1].Y, corners[2].Y, corners[3].Y});
  // Written so that numbers that are none drop the shape.
  if (!(clip.W > 0 && clip.H > 0 && left < clip.Right() && right > clip.X && top < clip.Bottom() && bottom > clip.Y)) return;
  if (m_Calls.empty()) m_Calls.push_back({});
  if (left >= clip.X && right <= clip.Right() && top >= clip.Y && bottom <= clip.Bottom()) {
    m_Vertices.insert(m_Vertices.end(), corners.begin(), corners.end());
    return;
  }
  Vertex a[8], b[8];  // each of the four sides adds one corner at most
  size_t count = ClipSide(corners.data(), 4, a, &Vertex::X, clip.X, 1);
  count = ClipSide(a, count, b, &Vertex::X, clip.Right(), -1);
  count = ClipSide(b, count, a, &Vertex::Y, clip.Y, 1);
  count = ClipSide(a, count, b, &Vertex::Y, clip.Bottom(), -1);
  for (size_t i = 1; i + 1 < count; i += 2)
    for (const size_t corner : {size_t(0), i, i + 1, std::min(i + 2, count - 1)}) m_Vertices.push_back(b[corner]);
}

void Batch::AddPolygon(std::span<const Vertex> corners, const cRect& clip) {
  for (size_t i = 1; i + 1 < corners.size(); i += 2)
    AddQuad({corners[0], corners[i], corners[i + 1], corners[std::min(i + 2, corners.size() - 1)]}, clip);
}

// --- drawing -----------------------------------------------------------------------------------------------------------------

void Batch::GrowIndices(size_t quads) {
  if (quads <= m_IndexedQuads && m_Render.HasBuffer(m_IndexBuffer)) return;  // a lost device takes it along
  if (m_IndexBuffer >= 0) m_Render.ReleaseBuffer(m_IndexBuffer);
  if (quads > m_IndexedQuads) m_IndexedQuads = std::max(quads, std::max(size_t(4096), m_IndexedQuads * 2));
  cList<uint32_t> indices;
  indices.reserve(m_IndexedQuads * 6);
  for (size_t quad = 0; quad < m_IndexedQuads; quad++)
    for (const uint32_t corner : {0, 1, 2, 0, 2, 3}) indices.push_back(uint32_t(quad) * 4 + corner);
  m_IndexBuffer = m_Render.CreateBuffer(BufferKind::Index, sizeof(uint32_t), indices.size(), indices.data());
}

void Batch::SetState() {
  m_Render.SetScissor(0, 0, -1, -1);
  m_Render.SetViewport(0, 0, m_Width, m_Height);
  m_Render.SetDepthState(m_Depth);
  m_Render.SetBlendState(m_Blend);
  m_Render.SetFillState(m_Fill);
  m_Render.SetShader(m_Shader);
  m_Render.SetVertexBuffer(m_VertexBuffer, GetLayout());
  m_Render.SetIndexBuffer(m_IndexBuffer);
}

void Batch::Flush() {
  const size_t quads = m_Vertices.size() / 4;
  if (quads > 0) {
    GrowIndices(quads);
    if (m_VertexBuffer < 0) {
      m_VertexBuffer = m_Render.CreateBuffer(BufferKind::Vertex, sizeof(Vertex), m_Vertices.size(), m_Vertices.data());
    } else {
      m_Render.UpdateBuffer(m_VertexBuffer, m_Vertices.size(), m_Vertices.data());
    }
    SetState();
    const int atlas = m_Render.GetTextureParam("s_Glyphs"), image = m_Render.GetTextureParam("s_Image");
    for (size_t i = 0; i < m_Calls.size(); i++) {
      const size_t end = i + 1 < m_Calls.size() ? m_Calls[i + 1].FirstQuad : quads;
      if (end == m_Calls[i].FirstQuad) continue;
      if (m_Calls[i].Atlas >= 0) m_Render.SetTexture(atlas, m_Calls[i].Atlas);
      if (m_Calls[i].Image >= 0) m_Render.SetTexture(image, m_Calls[i].Image);
      m_Render.DrawIndexed(BaseMesh::TriangleList, int(m_Calls[i].FirstQuad * 6), int((end - m_Calls[i].FirstQuad) * 6));
      m_DrawCalls++;
    }
  }
  m_Vertices.clear();
  m_Calls.clear();
}

}  // namespace draw
