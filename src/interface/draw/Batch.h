#pragma once
// Gathers the shapes of a frame as quads in one vertex buffer. Clipping cuts the quads themselves, so that only a change of
// texture begins a new draw call, and what is not seen costs nothing.
#include <array>
#include <span>

#include "comms/cRender.h"
#include "interface/draw/Canvas.h"

namespace draw {

/// The order of the constants in "Interface.glsl".
enum class ShapeKind : uint8_t { Box, Gradient, Shadow, Mask, Picture, Stroke };

struct Vertex {
  float X = 0, Y = 0;                   ///< pixels
  float PlaceX = 0, PlaceY = 0;         ///< Box, Shadow: from the middle; Mask: pixels of the atlas; Picture: 0 .. 1;
                                        ///< Stroke: distance from the middle line, distance from the end
  float ExtentX = 0, ExtentY = 0;       ///< half the size; Stroke: x is half the width
  float Radius = 0, Border = 0;         ///< Mask: Radius is the channel
  float Parameter = 0, Kind = 0;        ///< Shadow: blur; Mask: exponent of the coverage
  uint32_t Color = 0, BorderColor = 0;  ///< bytes r, g, b, a
};

/// From 0xAARRGGBB to the bytes of a vertex.
inline uint32_t ToVertexColor(uint32_t argb) { return (argb & 0xFF00FF00) | ((argb >> 16) & 0xFF) | ((argb & 0xFF) << 16); }

class Batch {
 public:
  explicit Batch(comms::cRender& render);
  ~Batch();
  Batch(const Batch&) = delete;
  Batch& operator=(const Batch&) = delete;

  void Begin(int width, int height);
  /// `clip` has whole pixels. Corners run around the quad; only the part inside `clip` is kept.
  void AddQuad(const std::array<Vertex, 4>& corners, const cRect& clip);
  /// Convex polygon as a fan of its first vertex.
  void AddPolygon(std::span<const Vertex> corners, const cRect& clip);
  /// The textures that shapes added from now on read; -1: none, any may stay.
  void UseAtlas(int texture) { Use(&Call::Atlas, texture); }
  void UseImage(int texture) { Use(&Call::Image, texture); }
  /// Draws everything and forgets it.
  void Flush();
  int DrawCalls() const { return m_DrawCalls; }

 private:
  struct Call {
    size_t FirstQuad = 0;
    int Atlas = -1, Image = -1;
  };
  void Use(int Call::*slot, int texture);
  void GrowIndices(size_t quads);
  void SetState();

  comms::cRender& m_Render;
  std::weak_ptr<void> m_RenderAlive;
  int m_Width = 1, m_Height = 1, m_DrawCalls = 0;
  int m_Shader, m_Depth, m_Blend, m_Fill;
  int m_VertexBuffer = -1, m_IndexBuffer = -1;
  size_t m_IndexedQuads = 0;
  comms::cList<Vertex> m_Vertices;
  comms::cList<Call> m_Calls;
};

}  // namespace draw
