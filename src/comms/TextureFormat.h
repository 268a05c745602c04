#pragma once
// Texture formats, filters and address modes with the names that reports use for them.

#include "comms/Str.h"

namespace comms {

enum class TextureFormat {
  None,
  Rgb8,
  Rgba8,
  Rg16,
  Rgb16,
  Rgba16,
  R16f,
  Rg16f,
  Rgb16f,
  Rgba16f,
  R32f,
  Rg32f,
  Rgb32f,
  Rgba32f,
  Rgbe8,
  Rgb565,
  Rgba4,
  Rgb10a2,
  Depth16,
  Depth24,
  Depth24Stencil8,
  Dxt1,
  Dxt3,
  Dxt5,
  Count
};
enum class TextureFilter { Nearest, Linear, Bilinear, Trilinear, BilinearAniso, TrilinearAniso, Count };
enum class AddressMode { Wrap, Clamp, Mirror, Count };

/// The names; "" past the end.
const char* GetName(TextureFormat format);
const char* GetName(TextureFilter filter);
const char* GetName(AddressMode address);

bool IsCompressed(TextureFormat format);
bool IsDepth(TextureFormat format);
/// Bytes of a picture in memory; 0 for None and for the depth formats, which are never filled from memory.
size_t GetImageBytes(TextureFormat format, int width, int height);

}  // namespace comms
