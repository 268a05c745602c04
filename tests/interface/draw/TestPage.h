#pragma once
// A page of 400 x 300 with one of everything that a canvas draws, and where it went on a device that draws nothing.
#include <algorithm>
#include <cstring>

#include "comms/cRenderNull.h"
#include "interface/draw/Batch.h"
#include "interface/draw/Canvas.h"

inline void DrawTestPage(Canvas& canvas) {
  const comms::cVec2 zigzag[] = {{20, 200}, {120, 60}, {60, 280}, {380, 190}};
  canvas.FillRoundRect({10, 10, 380, 280}, 6, 0xFF202428, 1, 0xFF808080);
  canvas.FillGradient({60, 20, 120, 60}, 8, 0xFF3B6FD4, 0xFFD45B8B);
  canvas.Shadow({200, 60, 80, 60}, 6, 14, 0xC0FFFFFF);
  canvas.Circle({110, 150}, 60, 0xFF3B6FD4, 2, 0xFFFFFFFF);
  canvas.Polyline(zigzag, 5, 0x80FFFFFF);
  canvas.Icon("Grid", {90, 110, 48, 48}, 0xFFFFFFFF);
  canvas.Text({30, 170, 300, 20}, "A title over the edge of everything", 0xFFFFFFFF, TextStyle::Title);
  canvas.Paragraph({60, 200, 150, 0}, "A paragraph that breaks at its blanks into several lines.", 0xFFE0E0E0);
}

/// Bounds of all vertices in the device's buffers.
inline cRect VertexBounds(const comms::cRenderNull& device) {
  float left = 1e9f, top = 1e9f, right = -1e9f, bottom = -1e9f;
  for (const auto& buffer : device.Buffers)
    for (size_t at = 0; buffer.Kind == comms::BufferKind::Vertex && at < buffer.Data.size(); at += sizeof(draw::Vertex)) {
      draw::Vertex v;
      std::memcpy(&v, buffer.Data.data() + at, sizeof v);
      left = std::min(left, v.X);
      right = std::max(right, v.X);
      top = std::min(top, v.Y);
      bottom = std::max(bottom, v.Y);
    }
  return right < left ? cRect{} : cRect{left, top, right - left, bottom - top};
}
