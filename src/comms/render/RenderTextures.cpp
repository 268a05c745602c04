#include <epoxy/gl.h>
#include <algorithm>
#include <cstring>

#include "comms/Log.h"
#include "comms/render/GlFormat.h"
#include "comms/render/cRenderGL.h"

namespace comms {

// --- textures ----------------------------------------------------------------------------------------------------------------

const cRenderGL::Texture* cRenderGL::FindTexture(int id) const {
  return size_t(id) < m_Textures.size() && m_Textures[size_t(id)].Used ? &m_Textures[size_t(id)] : nullptr;
}

// Errors of earlier calls must not be taken for those of the next one.
static void ForgetErrors() {
  while (glGetError() != GL_NO_ERROR) {
  }
}

bool cRenderGL::UploadTexture(Texture& texture, const void* pixels) {
  const TextureDesc& desc = texture.Desc;
  const GlFormat format = ToGl(desc.Format);
  if (desc.Width <= 0 || desc.Height <= 0 || desc.Width > m_MaxTargetSize || desc.Height > m_MaxTargetSize || !format.Internal) {
    LogError(
        "Can't make a texture of %d x %d pixels in format \"%s\": 1 to %d pixels a side in a format with content are possible.",
        desc.Width, desc.Height, GetName(desc.Format), m_MaxTargetSize);
    return false;
  }
  if (IsCompressed(desc.Format)) {
    if (desc.Width % 4 || desc.Height % 4) {
      LogError("Compressed images must have dimensions that are multiples of 4");
      return false;
    }
    if (!m_HasDxt) {
      LogError("Can't make a texture in format \"%s\": the graphics driver can't unpack it.", GetName(desc.Format));
      return false;
    }
  }
  ForgetErrors();
  glGenTextures(1, &texture.Object);
  glActiveTexture(GL_TEXTURE0);
  glBindTexture(GL_TEXTURE_2D, texture.Object);
  if (IsCompressed(desc.Format)) {
    cList<uint8_t> empty;
    const size_t bytes = GetImageBytes(desc.Format, desc.Width, desc.Height);
    if (!pixels) empty.resize(bytes);
    glCompressedTexImage2D(GL_TEXTURE_2D, 0, GLenum(format.Internal), desc.Width, desc.Height, 0, GLsizei(bytes),
                           pixels ? pixels : empty.data());
  } else {
    glTexImage2D(GL_TEXTURE_2D, 0, format.Internal, desc.Width, desc.Height, 0, format.Components, format.Type, pixels);
  }
  const bool mipmaps = HasMipmaps(desc.Filter) && !IsCompressed(desc.Format) && !IsDepth(desc.Format);
  if (mipmaps && pixels) glGenerateMipmap(GL_TEXTURE_2D);
  if (!mipmaps) glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAX_LEVEL, 0);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, ToGlMinification(desc.Filter));
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, ToGlMagnification(desc.Filter));
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, ToGl(desc.Address));
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, ToGl(desc.Address));
  if (IsAnisotropic(desc.Filter) && m_MaxAnisotropy > 1)
    glTexParameterf(GL_TEXTURE_2D, GL_TEXTURE_MAX_ANISOTROPY_EXT, m_MaxAnisotropy);
  const GLenum failure = glGetError();
  if (failure == GL_NO_ERROR) return true;
  LogError("Can't make a texture of %d x %d pixels in format \"%s\": the graphics driver refused with 0x%04x.", desc.Width,
           desc.Height, GetName(desc.Format), unsigned(failure));
  glDeleteTextures(1, &texture.Object);
  texture.Object = 0;
  return false;
}

int cRenderGL::AddTexture(Texture texture) {
  texture.Used = true;
  const auto slot = std::find_if(m_Textures.begin(), m_Textures.end(), [](const Texture& t) { return !t.Used; });
  const int id = int(slot - m_Textures.begin());
  if (slot == m_Textures.end()) {
    m_Textures.push_back(std::move(texture));
  } else {
    *slot = std::move(texture);
  }
  return id;
}

int cRenderGL::CreateTexture(const TextureDesc& desc, const void* pixels) {
  Texture texture;
  texture.Desc = desc;
  if (!UploadTexture(texture, pixels)) return -1;
  const size_t bytes = GetImageBytes(desc.Format, desc.Width, desc.Height);
  const uint8_t* source = static_cast<const uint8_t*>(pixels);
  if (source) texture.Source.assign(source, source + bytes);
  return AddTexture(std::move(texture));
}

bool cRenderGL::ReadTextureFile(Texture& texture) {
  cImage image;
  cStr error;
  if (!LoadPng(texture.FileName, image, error)) {
    LogError("%s", error.c_str());
    return false;
  }
  texture.Desc = {TextureFormat::Rgba8, image.Width(), image.Height(), TextureFilter::Trilinear, AddressMode::Wrap};
  return UploadTexture(texture, image.Row(0));
}

int cRenderGL::LoadTexture(const cStr& fileName) {
  for (size_t i = 0; i < m_Textures.size(); i++)
    if (m_Textures[i].Used && m_Textures[i].FileName == fileName && !fileName.empty()) return int(i);
  Texture texture;
  texture.FileName = fileName;
  return ReadTextureFile(texture) ? AddTexture(std::move(texture)) : -1;
}

void cRenderGL::UpdateTexture(int id, int x, int y, int width, int height, const void* pixels) {
  if (!FindTexture(id) || width <= 0 || height <= 0) return;
  Texture& texture = m_Textures[size_t(id)];
  const bool inside = x >= 0 && y >= 0 && width <= texture.Desc.Width - x && height <= texture.Desc.Height - y;
  if (!inside || IsCompressed(texture.Desc.Format) || IsDepth(texture.Desc.Format)) {
    LogError("Can't update %d x %d pixels at %d, %d of a texture of %d x %d in format \"%s\".", width, height, x, y,
             texture.Desc.Width, texture.Desc.Height, GetName(texture.Desc.Format));
    return;
  }
  if (!texture.Source.empty()) {
    const size_t pixelBytes = GetImageBytes(texture.Desc.Format, 1, 1), rowBytes = pixelBytes * size_t(width);
    for (int row = 0; row < height; row++)
      std::memcpy(texture.Source.data() + (size_t(y + row) * size_t(texture.Desc.Width) + size_t(x)) * pixelBytes,
                  static_cast<const uint8_t*>(pixels) + size_t(row) * rowBytes, rowBytes);
  }
  if (!texture.Object) return;
  const GlFormat format = ToGl(texture.Desc.Format);
  glActiveTexture(GL_TEXTURE0);
  glBindTexture(GL_TEXTURE_2D, texture.Object);
  glTexSubImage2D(GL_TEXTURE_2D, 0, x, y, width, height, format.Components, format.Type, pixels);
  if (HasMipmaps(texture.Desc.Filter)) glGenerateMipmap(GL_TEXTURE_2D);
}

void cRenderGL::DeleteTexture(int id) {
  if (!FindTexture(id)) return;
  Texture& texture = m_Textures[size_t(id)];
  if (texture.Object) glDeleteTextures(1, &texture.Object);
  texture = {};
}

void cRenderGL::Unload() {
  int textures = 0;
  for (Texture& texture : m_Textures) {
    if (!texture.Object || texture.OfTarget) continue;
    glDeleteTextures(1, &texture.Object);
    texture.Object = 0;
    textures++;
  }
  for (Shader& shader : m_Shaders) {
    if (shader.Program) glDeleteProgram(shader.Program);
    shader.Program = 0;
  }
  m_CurrentShader = -1;
  LogInfo("Unloaded %d Textures.", textures);
}

void cRenderGL::Reload() {
  int textures = 0, shaders = 0;
  for (Texture& texture : m_Textures)
    if (texture.Used && !texture.Object && !texture.OfTarget)
      textures += texture.FileName.empty() ? UploadTexture(texture, texture.Source.empty() ? nullptr : texture.Source.data())
                                           : ReadTextureFile(texture);
  LogInfo("Reloaded %d textures.", textures);
  for (Shader& shader : m_Shaders) {
    if (!shader.Program) CompileShader(shader);
    shaders += shader.Program != 0;
  }
  LogInfo("Reloaded %d Shaders.", shaders);
}

void cRenderGL::SetTexture(int param, int texture, int sampler) {
  const Texture* found = FindTexture(texture);
  if (param < 0 || !found) return;
  glActiveTexture(GL_TEXTURE0 + GLenum(param));
  glBindTexture(GL_TEXTURE_2D, found->Object);
  glBindSampler(GLuint(param), size_t(sampler) < m_Samplers.size() ? m_Samplers[size_t(sampler)].Object : 0);
}

int cRenderGL::CreateSampler(TextureFilter filter, AddressMode address) {
  for (size_t i = 0; i < m_Samplers.size(); i++)
    if (m_Samplers[i].Filter == filter && m_Samplers[i].Address == address) return int(i);
  GLuint object = 0;
  glGenSamplers(1, &object);
  glSamplerParameteri(object, GL_TEXTURE_MIN_FILTER, ToGlMinification(filter));
  glSamplerParameteri(object, GL_TEXTURE_MAG_FILTER, ToGlMagnification(filter));
  glSamplerParameteri(object, GL_TEXTURE_WRAP_S, ToGl(address));
  glSamplerParameteri(object, GL_TEXTURE_WRAP_T, ToGl(address));
  if (IsAnisotropic(filter) && m_MaxAnisotropy > 1) glSamplerParameterf(object, GL_TEXTURE_MAX_ANISOTROPY_EXT, m_MaxAnisotropy);
  m_Samplers.push_back({filter, address, object});
  return int(m_Samplers.size()) - 1;
}

// --- targets -----------------------------------------------------------------------------------------------------------------

static GLenum DepthAttachment(TextureFormat format) {
  return format == TextureFormat::Depth24Stencil8 ? GL_DEPTH_STENCIL_ATTACHMENT : GL_DEPTH_ATTACHMENT;
}

bool cRenderGL::AttachTextures(Target& target) {
  const auto make = [&](TextureFormat format) {
    Texture texture;
    texture.OfTarget = true;
    texture.Desc = {format, target.Desc.Width, target.Desc.Height, target.Desc.Filter, AddressMode::Clamp};
    return UploadTexture(texture, nullptr) ? AddTexture(std::move(texture)) : -1;
  };
  target.ColorTexture = make(target.Desc.ColorFormat);
  if (target.ColorTexture < 0) return false;
  glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, m_Textures[size_t(target.ColorTexture)].Object, 0);
  if (target.Desc.DepthFormat == TextureFormat::None) return true;
  target.DepthTexture = make(target.Desc.DepthFormat);
  if (target.DepthTexture < 0) return false;
  glFramebufferTexture2D(GL_FRAMEBUFFER, DepthAttachment(target.Desc.DepthFormat), GL_TEXTURE_2D,
                         m_Textures[size_t(target.DepthTexture)].Object, 0);
  return true;
}

bool cRenderGL::AttachBuffers(Target& target) {
  ForgetErrors();
  const auto make = [&](TextureFormat format, GLenum attachment, unsigned& object) {
    glGenRenderbuffers(1, &object);
    glBindRenderbuffer(GL_RENDERBUFFER, object);
    glRenderbufferStorageMultisample(GL_RENDERBUFFER, std::min(target.Desc.Samples, m_MaxSamples), GLenum(ToGl(format).Internal),
                                     target.Desc.Width, target.Desc.Height);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, attachment, GL_RENDERBUFFER, object);
  };
  make(target.Desc.ColorFormat, GL_COLOR_ATTACHMENT0, target.ColorBuffer);
  if (target.Desc.DepthFormat != TextureFormat::None)
    make(target.Desc.DepthFormat, DepthAttachment(target.Desc.DepthFormat), target.DepthBuffer);
  return glGetError() == GL_NO_ERROR;
}

int cRenderGL::CreateTarget(const TargetDesc& desc) {
  Target target;
  target.Desc = desc;
  if (desc.Width <= 0 || desc.Height <= 0 || desc.Width > m_MaxTargetSize || desc.Height > m_MaxTargetSize) {
    LogError("Can't make a render target of %d x %d pixels: 1 to %d a side are possible.", desc.Width, desc.Height,
             m_MaxTargetSize);
    return -1;
  }
  const auto slot = std::find_if(m_Targets.begin(), m_Targets.end(), [](const Target& t) { return !t.Used; });
  const int id = int(slot - m_Targets.begin());
  if (slot == m_Targets.end()) m_Targets.emplace_back();
  target.Used = true;
  glGenFramebuffers(1, &target.Framebuffer);
  glBindFramebuffer(GL_FRAMEBUFFER, target.Framebuffer);
  const bool attached = desc.Samples > 1 ? AttachBuffers(target) : AttachTextures(target);
  const bool complete = attached && glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
  m_Targets[size_t(id)] = target;
  SetTarget(m_CurrentTarget);
  if (complete) return id;
  LogError("Can't make a render target of %d x %d pixels in format \"%s\" with depth \"%s\".", desc.Width, desc.Height,
           GetName(desc.ColorFormat), GetName(desc.DepthFormat));
  DeleteTarget(id);
  return -1;
}

void cRenderGL::SetTarget(int id) {
  const bool valid = size_t(id) < m_Targets.size() && m_Targets[size_t(id)].Used;
  m_CurrentTarget = valid ? id : -1;
  glBindFramebuffer(GL_FRAMEBUFFER, valid ? m_Targets[size_t(id)].Framebuffer : 0);
}
int cRenderGL::GetTargetTexture(int id) const { return size_t(id) < m_Targets.size() ? m_Targets[size_t(id)].ColorTexture : -1; }
int cRenderGL::GetTargetDepth(int id) const { return size_t(id) < m_Targets.size() ? m_Targets[size_t(id)].DepthTexture : -1; }

void cRenderGL::ResolveTarget(int from, int to) {
  if (size_t(from) >= m_Targets.size() || size_t(to) >= m_Targets.size()) return;
  const Target &source = m_Targets[size_t(from)], &target = m_Targets[size_t(to)];
  if (!source.Used || !target.Used) return;
  glBindFramebuffer(GL_READ_FRAMEBUFFER, source.Framebuffer);
  glBindFramebuffer(GL_DRAW_FRAMEBUFFER, target.Framebuffer);
  const GLbitfield depth = source.Desc.DepthFormat == target.Desc.DepthFormat && source.Desc.DepthFormat != TextureFormat::None
                               ? GL_DEPTH_BUFFER_BIT
                               : 0;
  glBlitFramebuffer(0, 0, source.Desc.Width, source.Desc.Height, 0, 0, target.Desc.Width, target.Desc.Height,
                    GL_COLOR_BUFFER_BIT | depth, GL_NEAREST);
  SetTarget(m_CurrentTarget);
}

bool cRenderGL::ReadTarget(int id, cImage& image) {
  if (size_t(id) >= m_Targets.size() || !m_Targets[size_t(id)].Used) return false;
  const TargetDesc& desc = m_Targets[size_t(id)].Desc;
  if (desc.ColorFormat != TextureFormat::Rgba8 || desc.Samples > 1) return false;
  cImage read(desc.Width, desc.Height);
  ForgetErrors();
  glBindFramebuffer(GL_READ_FRAMEBUFFER, m_Targets[size_t(id)].Framebuffer);
  glReadPixels(0, 0, desc.Width, desc.Height, GL_RGBA, GL_UNSIGNED_BYTE, read.Row(0));
  SetTarget(m_CurrentTarget);
  if (glGetError() != GL_NO_ERROR) return false;
  const size_t rowBytes = size_t(desc.Width) * 4;
  for (int top = 0, bottom = desc.Height - 1; top < bottom; top++, bottom--)  // OpenGL's first row is the lowest
    std::swap_ranges(read.Row(top), read.Row(top) + rowBytes, read.Row(bottom));
  image = std::move(read);
  return true;
}

void cRenderGL::DeleteTarget(int id) {
  if (size_t(id) >= m_Targets.size() || !m_Targets[size_t(id)].Used) return;
  Target& target = m_Targets[size_t(id)];
  if (m_CurrentTarget == id) SetTarget(-1);
  glDeleteFramebuffers(1, &target.Framebuffer);
  if (target.ColorBuffer) glDeleteRenderbuffers(1, &target.ColorBuffer);
  if (target.DepthBuffer) glDeleteRenderbuffers(1, &target.DepthBuffer);
  DeleteTexture(target.ColorTexture);
  DeleteTexture(target.DepthTexture);
  target = {};
}

}  // namespace comms
