#pragma once
// Pictures in memory and their PNG files.
#include <cstdint>

#include "comms/Str.h"

namespace comms {

/// RGBA, 8 bits a channel, sRGB, alpha not multiplied in. Rows from top to bottom without padding.
class cImage {
 public:
  static constexpr int MaxSide = 65535;
  /// Pixels that a picture may have, so that its bytes stay countable in 31 bits.
  static constexpr int64_t MaxPixels = int64_t(1) << 29;

  cImage() = default;
  /// Transparent black. 0 <= width, height <= MaxSide, width * height <= MaxPixels.
  cImage(int width, int height);

  int Width() const { return m_Width; }
  int Height() const { return m_Height; }
  bool Empty() const { return m_Pixels.empty(); }
  uint8_t* Pixel(int x, int y) { return m_Pixels.data() + (size_t(y) * m_Width + x) * 4; }
  const uint8_t* Pixel(int x, int y) const { return m_Pixels.data() + (size_t(y) * m_Width + x) * 4; }
  uint8_t* Row(int y) { return Pixel(0, y); }
  const uint8_t* Row(int y) const { return Pixel(0, y); }
  const cList<uint8_t>& Pixels() const { return m_Pixels; }

 private:
  int m_Width = 0, m_Height = 0;
  cList<uint8_t> m_Pixels;
};

/// Writes `image` as PNG; the old file stays whole on failure. False with one sentence in `error`.
bool SavePng(const cImage& image, const cStr& path, cStr& error);
/// Reads a PNG of any kind, converted to cImage's form. The announced size is held against the limits and against what a file of
/// that many bytes can hold before memory is taken. False with one sentence in `error`, and `image` as it was.
bool LoadPng(const cStr& path, cImage& image, cStr& error);

}  // namespace comms
