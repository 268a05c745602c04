// What is drawn out of the operations of the back end alone, the same on every device.
#include "comms/cRender.h"

#include <cstddef>

#include "ClassEngine/Assert.h"
#include "comms/BaseMesh.h"

namespace comms {

namespace {

struct LineVertex {
  cVec3 Position;
  uint8_t Color[4];
};
const VertexLayout LineLayout = {sizeof(LineVertex),
                                 {{VertexUsage::Position, VertexFormat::Float3, offsetof(LineVertex, Position)},
                                  {VertexUsage::Color, VertexFormat::Color8, offsetof(LineVertex, Color)}}};

}  // namespace

void cRender::DrawLines(const ColoredPoint* points, size_t count) {
  MORVANE_ASSERT(count % 2 == 0 && count <= size_t(INT32_MAX));
  if (count == 0) return;
  cList<LineVertex> vertices(count);
  for (size_t i = 0; i < count; i++) {
    const uint32_t argb = points[i].Color.Argb;
    vertices[i] = {points[i].Position, {uint8_t(argb >> 16), uint8_t(argb >> 8), uint8_t(argb), uint8_t(argb >> 24)}};
  }
  if (m_LineBuffer < 0) {
    m_LineBuffer = CreateBuffer(BufferKind::Vertex, sizeof(LineVertex), count, vertices.data());
  } else {
    UpdateBuffer(m_LineBuffer, count, vertices.data());
  }
  if (m_LineShader < 0) m_LineShader = GetShaderID("Colored");
  SetShader(m_LineShader);
  SetVertexBuffer(m_LineBuffer, LineLayout);
  Draw(BaseMesh::LineList, 0, int(count));
}

void cRender::DrawGrid(const GridDesc& grid) {
  static const VertexLayout noLayout;  // the corners come from the vertex number alone
  if (m_GridShader < 0) m_GridShader = GetShaderID("Grid");
  SetShader(m_GridShader);
  SetConstant("c_Center", grid.Center);
  SetConstant("c_Half", grid.Half);
  SetConstant("c_Spacing", grid.Spacing);
  SetConstant("c_Color", grid.Color);
  SetConstant("c_AxisX", grid.AxisX);
  SetConstant("c_AxisZ", grid.AxisZ);
  SetConstant("c_Alpha", grid.Alpha);
  SetVertexBuffer(-1, noLayout);
  Draw(BaseMesh::TriangleList, 0, 6);
}

}  // namespace comms
