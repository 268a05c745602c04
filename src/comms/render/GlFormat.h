#pragma once
// The enumerations of comms in OpenGL's words.
#include <epoxy/gl.h>

#include "comms/cRender.h"

namespace comms {

struct GlFormat {
  GLint Internal = 0;
  GLenum Components = 0, Type = 0;
};
/// All zero for None and Count.
inline GlFormat ToGl(TextureFormat format) {
  switch (format) {
    case TextureFormat::Rgb8:
      return {GL_RGB8, GL_RGB, GL_UNSIGNED_BYTE};
    case TextureFormat::Rgba8:
      return {GL_RGBA8, GL_RGBA, GL_UNSIGNED_BYTE};
    case TextureFormat::Rg16:
      return {GL_RG16, GL_RG, GL_UNSIGNED_SHORT};
    case TextureFormat::Rgb16:
      return {GL_RGB16, GL_RGB, GL_UNSIGNED_SHORT};
    case TextureFormat::Rgba16:
      return {GL_RGBA16, GL_RGBA, GL_UNSIGNED_SHORT};
    case TextureFormat::R16f:
      return {GL_R16F, GL_RED, GL_HALF_FLOAT};
    case TextureFormat::Rg16f:
      return {GL_RG16F, GL_RG, GL_HALF_FLOAT};
    case TextureFormat::Rgb16f:
      return {GL_RGB16F, GL_RGB, GL_HALF_FLOAT};
    case TextureFormat::Rgba16f:
      return {GL_RGBA16F, GL_RGBA, GL_HALF_FLOAT};
    case TextureFormat::R32f:
      return {GL_R32F, GL_RED, GL_FLOAT};
    case TextureFormat::Rg32f:
      return {GL_RG32F, GL_RG, GL_FLOAT};
    case TextureFormat::Rgb32f:
      return {GL_RGB32F, GL_RGB, GL_FLOAT};
    case TextureFormat::Rgba32f:
      return {GL_RGBA32F, GL_RGBA, GL_FLOAT};
    case TextureFormat::Rgbe8:
      return {GL_RGBA8, GL_RGBA, GL_UNSIGNED_BYTE};  // shaders take the exponent from alpha
    case TextureFormat::Rgb565:
      return {GL_RGB5, GL_RGB, GL_UNSIGNED_SHORT_5_6_5};
    case TextureFormat::Rgba4:
      return {GL_RGBA4, GL_RGBA, GL_UNSIGNED_SHORT_4_4_4_4};
    case TextureFormat::Rgb10a2:
      return {GL_RGB10_A2, GL_RGBA, GL_UNSIGNED_INT_2_10_10_10_REV};
    case TextureFormat::Depth16:
      return {GL_DEPTH_COMPONENT16, GL_DEPTH_COMPONENT, GL_UNSIGNED_SHORT};
    case TextureFormat::Depth24:
      return {GL_DEPTH_COMPONENT24, GL_DEPTH_COMPONENT, GL_UNSIGNED_INT};
    case TextureFormat::Depth24Stencil8:
      return {GL_DEPTH24_STENCIL8, GL_DEPTH_STENCIL, GL_UNSIGNED_INT_24_8};
    case TextureFormat::Dxt1:
      return {GL_COMPRESSED_RGBA_S3TC_DXT1_EXT, GL_RGBA, GL_UNSIGNED_BYTE};
    case TextureFormat::Dxt3:
      return {GL_COMPRESSED_RGBA_S3TC_DXT3_EXT, GL_RGBA, GL_UNSIGNED_BYTE};
    case TextureFormat::Dxt5:
      return {GL_COMPRESSED_RGBA_S3TC_DXT5_EXT, GL_RGBA, GL_UNSIGNED_BYTE};
    case TextureFormat::None:
    case TextureFormat::Count:
      break;
  }
  return {};
}

inline GLenum ToGl(TextureKind kind) {
  static constexpr GLenum targets[] = {GL_TEXTURE_2D, GL_TEXTURE_1D, GL_TEXTURE_3D, GL_TEXTURE_CUBE_MAP};
  return targets[size_t(kind)];
}
inline bool HasMipmaps(TextureFilter filter) { return filter != TextureFilter::Nearest && filter != TextureFilter::Linear; }
inline bool IsAnisotropic(TextureFilter filter) {
  return filter == TextureFilter::BilinearAniso || filter == TextureFilter::TrilinearAniso;
}
inline GLint ToGlMinification(TextureFilter filter) {
  switch (filter) {
    case TextureFilter::Nearest:
      return GL_NEAREST;
    case TextureFilter::Bilinear:
    case TextureFilter::BilinearAniso:
      return GL_LINEAR_MIPMAP_NEAREST;
    case TextureFilter::Trilinear:
    case TextureFilter::TrilinearAniso:
      return GL_LINEAR_MIPMAP_LINEAR;
    default:
      return GL_LINEAR;
  }
}
inline GLint ToGlMagnification(TextureFilter filter) { return filter == TextureFilter::Nearest ? GL_NEAREST : GL_LINEAR; }
inline GLint ToGl(AddressMode address) {
  return address == AddressMode::Clamp ? GL_CLAMP_TO_EDGE : address == AddressMode::Mirror ? GL_MIRRORED_REPEAT : GL_REPEAT;
}

}  // namespace comms
