#pragma once
// How a vertex lies in memory: what each part means and where it stands. Shaders know the parts by the names beside them.
#include <cstdint>

#include "comms/Str.h"

namespace comms {

enum class VertexUsage : uint8_t {
  Position,   ///< a_Position
  Normal,     ///< a_Normal
  Color,      ///< a_Color
  TexCoord0,  ///< a_TexCoord0
  TexCoord1,  ///< a_TexCoord1
  Tangent,    ///< a_Tangent
  Count
};

enum class VertexFormat : uint8_t {
  Float1,
  Float2,
  Float3,
  Float4,
  Color8,  ///< four bytes, arriving as 0 .. 1, in the byte order of memory: red first
  Count
};

struct VertexElement {
  VertexUsage Usage = VertexUsage::Position;
  VertexFormat Format = VertexFormat::Float3;
  uint16_t Offset = 0;  ///< bytes from the start of the vertex
};

/// Meshes refer to layouts by pointer, so a layout outlives every mesh that uses it; most are constants.
struct VertexLayout {
  uint32_t Stride = 0;  ///< bytes from one vertex to the next; parts that no element names are free for the owner
  cList<VertexElement> Elements;
};

}  // namespace comms
