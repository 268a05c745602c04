#include "comms/TextureFormat.h"

#include <iterator>

namespace comms {

static constexpr const char* FormatNames[] = {"None",    "Rgb8",    "Rgba8",           "Rg16",    "Rgb16", "Rgba16",
                                              "R16f",    "Rg16f",   "Rgb16f",          "Rgba16f", "R32f",  "Rg32f",
                                              "Rgb32f",  "Rgba32f", "Rgbe8",           "Rgb565",  "Rgba4", "Rgb10a2",
                                              "Depth16", "Depth24", "Depth24Stencil8", "Dxt1",    "Dxt3",  "Dxt5"};
static constexpr const char* FilterNames[] = {"Nearest", "Linear", "Bilinear", "Trilinear", "Bilinear Aniso", "Trilinear Aniso"};
static constexpr const char* AddressNames[] = {"Wrap", "Clamp", "Mirror"};
// Bytes of a pixel, for block-compressed formats of a block of 4 by 4.
static constexpr size_t FormatBytes[] = {0, 3, 4, 4, 6, 8, 2, 4, 6, 8, 4, 8, 12, 16, 4, 2, 2, 4, 0, 0, 0, 8, 16, 16};
static_assert(std::size(FormatNames) == size_t(TextureFormat::Count) && std::size(FormatBytes) == size_t(TextureFormat::Count));
static_assert(std::size(FilterNames) == size_t(TextureFilter::Count) && std::size(AddressNames) == size_t(AddressMode::Count));

template <class Enum, size_t Size>
static const char* NameOf(const char* const (&names)[Size], Enum value) {
  return size_t(value) < Size ? names[size_t(value)] : "";
}

const char* GetName(TextureFormat format) { return NameOf(FormatNames, format); }
const char* GetName(TextureFilter filter) { return NameOf(FilterNames, filter); }
const char* GetName(AddressMode address) { return NameOf(AddressNames, address); }

bool IsCompressed(TextureFormat format) { return format >= TextureFormat::Dxt1 && format <= TextureFormat::Dxt5; }
bool IsDepth(TextureFormat format) { return format >= TextureFormat::Depth16 && format <= TextureFormat::Depth24Stencil8; }

size_t GetImageBytes(TextureFormat format, int width, int height) {
  if (size_t(format) >= std::size(FormatBytes) || width <= 0 || height <= 0) return 0;
  if (IsCompressed(format)) return size_t((width + 3) / 4) * size_t((height + 3) / 4) * FormatBytes[size_t(format)];
  return size_t(width) * size_t(height) * FormatBytes[size_t(format)];
}

}  // namespace comms
