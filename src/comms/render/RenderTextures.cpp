// Textures and samplers.
#include <epoxy/gl.h>
#include <algorithm>
#include <cstring>

#include "comms/Log.h"
#include "comms/render/DriverTime.h"
#include "comms/render/GlFormat.h"
#include "comms/render/cRenderGL.h"

namespace comms {

const cRenderGL::Texture* cRenderGL::FindTexture(int id) const {
  return size_t(id) < m_Textures.size() && m_Textures[size_t(id)].Used ? &m_Textures[size_t(id)] : nullptr;
}

// --- binding -----------------------------------------------------------------------------------------------------------------

void cRenderGL::ActivateUnit(unsigned unit) {
  if (unit != m_ActiveUnit) glActiveTexture(GL_TEXTURE0 + unit);
  m_ActiveUnit = unit;
}

// In the last unit, which no shader reaches: what is set for drawing stays.
void cRenderGL::BindForEdit(const Texture& texture) {
  const unsigned unit = unsigned(m_Units.size()) - 1;
  ActivateUnit(unit);
  glBindTexture(ToGl(texture.Desc.Kind), texture.Object);
  m_Units[unit].Texture = texture.Object;
}

void cRenderGL::SetTexture(int param, int texture, int sampler) {
  const Texture* found = FindTexture(texture);
  if (!m_Loaded || !found || size_t(param) >= m_Units.size()) return;
  TextureUnit& unit = m_Units[size_t(param)];
  const unsigned wanted = size_t(sampler) < m_Samplers.size() ? m_Samplers[size_t(sampler)].Object : 0;
  if (unit.Texture != found->Object) {
    ActivateUnit(unsigned(param));
    glBindTexture(ToGl(found->Desc.Kind), found->Object);
    unit.Texture = found->Object;
  }
  if (unit.Sampler != wanted) glBindSampler(GLuint(param), wanted);
  unit.Sampler = wanted;
}

// --- content -----------------------------------------------------------------------------------------------------------------

// What the kind asks for and `desc` lacks; null where it lacks nothing.
static const char* FindUnmetWant(const TextureDesc& desc) {
  if (desc.Kind == TextureKind::Flat) return nullptr;
  if (IsCompressed(desc.Format) || IsDepth(desc.Format)) return "lines, volumes and cubes have plain formats";
  if (desc.Kind == TextureKind::Line && desc.Height != 1) return "a line has one row";
  if (desc.Kind == TextureKind::Volume && desc.Depth < 1) return "a volume has a depth";
  if (desc.Kind == TextureKind::Cube && desc.Width != desc.Height) return "the sides of a cube are equal";
  return nullptr;
}

bool cRenderGL::CheckTexture(const TextureDesc& desc) const {
  if (desc.Width <= 0 || desc.Height <= 0 || desc.Width > m_MaxTargetSize || desc.Height > m_MaxTargetSize ||
      !ToGl(desc.Format).Internal) {
    LogError(
        "Can't make a texture of %d x %d pixels in format \"%s\": 1 to %d pixels a side in a format with content are possible.",
        desc.Width, desc.Height, GetName(desc.Format), m_MaxTargetSize);
    return false;
  }
  if (const char* const want = FindUnmetWant(desc)) {
    LogError("Can't make a texture of %d x %d x %d pixels in format \"%s\": %s.", desc.Width, desc.Height, desc.Depth,
             GetName(desc.Format), want);
    return false;
  }
  if (!IsCompressed(desc.Format)) return true;
  if (desc.Width % 4 || desc.Height % 4) {
    LogError("Compressed images must have dimensions that are multiples of 4");
    return false;
  }
  if (!m_HasDxt) LogError("Can't make a texture in format \"%s\": the graphics driver can't unpack it.", GetName(desc.Format));
  return m_HasDxt;
}

// What can't be averaged has one level and is never blended: a mean of exponents is not the exponent of the mean.
static bool IsBlendable(TextureFormat format) { return format != TextureFormat::Rgbe8; }
static bool HasMipmaps(const TextureDesc& desc) {
  return HasMipmaps(desc.Filter) && !IsCompressed(desc.Format) && !IsDepth(desc.Format) && IsBlendable(desc.Format);
}

// Of the bound texture, or of a sampler.
template <class SetInt, class SetFloat>
static void SetSampling(TextureFilter filter, AddressMode address, float maxAnisotropy, SetInt setInt, SetFloat setFloat) {
  setInt(GL_TEXTURE_MIN_FILTER, ToGlMinification(filter));
  setInt(GL_TEXTURE_MAG_FILTER, ToGlMagnification(filter));
  setInt(GL_TEXTURE_WRAP_S, ToGl(address));
  setInt(GL_TEXTURE_WRAP_T, ToGl(address));
  setInt(GL_TEXTURE_WRAP_R, ToGl(address));
  if (IsAnisotropic(filter) && maxAnisotropy > 1) setFloat(GL_TEXTURE_MAX_ANISOTROPY_EXT, maxAnisotropy);
}

// Of all pictures together.
static size_t CountBytes(const TextureDesc& desc) {
  const int pictures = desc.Kind == TextureKind::Volume ? desc.Depth : desc.Kind == TextureKind::Cube ? 6 : 1;
  return GetImageBytes(desc.Format, desc.Width, desc.Height) * size_t(pictures);
}

// Fills the bound texture; null leaves it open.
static void SendPictures(const TextureDesc& desc, const void* pixels) {
  const GlFormat format = ToGl(desc.Format);
  if (IsCompressed(desc.Format)) {
    const size_t bytes = CountBytes(desc);
    const cList<uint8_t> empty(pixels ? 0 : bytes);
    glCompressedTexImage2D(GL_TEXTURE_2D, 0, GLenum(format.Internal), desc.Width, desc.Height, 0, GLsizei(bytes),
                           pixels ? pixels : empty.data());
    return;
  }
  const auto sendFlat = [&](GLenum target, const void* picture) {
    glTexImage2D(target, 0, format.Internal, desc.Width, desc.Height, 0, format.Components, format.Type, picture);
  };
  switch (desc.Kind) {
    case TextureKind::Flat:
      sendFlat(GL_TEXTURE_2D, pixels);
      break;
    case TextureKind::Line:
      glTexImage1D(GL_TEXTURE_1D, 0, format.Internal, desc.Width, 0, format.Components, format.Type, pixels);
      break;
    case TextureKind::Volume:
      glTexImage3D(GL_TEXTURE_3D, 0, format.Internal, desc.Width, desc.Height, desc.Depth, 0, format.Components, format.Type,
                   pixels);
      break;
    case TextureKind::Cube:
      for (unsigned face = 0; face < 6; face++)
        sendFlat(GL_TEXTURE_CUBE_MAP_POSITIVE_X + face,
                 pixels ? static_cast<const uint8_t*>(pixels) + face * (CountBytes(desc) / 6) : nullptr);
      break;
  }
}

bool cRenderGL::UploadTexture(Texture& texture, const void* pixels) {
  const TextureDesc& desc = texture.Desc;
  if (!CheckTexture(desc)) return false;
  if (!m_Loaded) return true;  // Reload comes back to it
  const GLenum target = ToGl(desc.Kind);
  const DriverTime driver;
  GlDebug::Attempt attempt(m_Debug);
  glGenTextures(1, &texture.Object);
  BindForEdit(texture);
  SendPictures(desc, pixels);
  if (HasMipmaps(desc)) {
    glGenerateMipmap(target);
  } else {
    glTexParameteri(target, GL_TEXTURE_MAX_LEVEL, 0);
  }
  SetSampling(
      IsBlendable(desc.Format) ? desc.Filter : TextureFilter::Nearest, desc.Address, m_MaxAnisotropy,
      [&](GLenum name, GLint value) { glTexParameteri(target, name, value); },
      [&](GLenum name, GLfloat value) { glTexParameterf(target, name, value); });
  const GLenum failure = attempt.TakeError();
  if (failure == GL_NO_ERROR) return true;
  LogError("Can't make a texture of %d x %d pixels in format \"%s\": the graphics driver refused with 0x%04x.", desc.Width,
           desc.Height, GetName(desc.Format), unsigned(failure));
  DeleteTextureObject(texture);
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
  const uint8_t* source = static_cast<const uint8_t*>(pixels);
  if (source) texture.Source.assign(source, source + CountBytes(desc));
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

cStr cRenderGL::GetTextureName(int id) const {
  const Texture* texture = FindTexture(id);
  return texture ? texture->FileName : cStr();
}

// Copies the rows of a part into the picture. Compressed formats have rows of blocks.
static void CopyPart(const TextureDesc& desc, cList<uint8_t>& picture, int x, int y, int width, int height, const uint8_t* part) {
  const int block = IsCompressed(desc.Format) ? 4 : 1;
  const size_t blockBytes = GetImageBytes(desc.Format, block, block);
  const size_t partRow = size_t(width / block) * blockBytes, pictureRow = size_t(desc.Width / block) * blockBytes;
  for (int row = 0; row < height / block; row++)
    std::memcpy(picture.data() + size_t(y / block + row) * pictureRow + size_t(x / block) * blockBytes,
                part + size_t(row) * partRow, partRow);
}

void cRenderGL::UpdateTexture(int id, int x, int y, int width, int height, const void* pixels) {
  if (!FindTexture(id) || width <= 0 || height <= 0) return;
  Texture& texture = m_Textures[size_t(id)];
  const TextureDesc& desc = texture.Desc;
  const bool inside = x >= 0 && y >= 0 && width <= desc.Width - x && height <= desc.Height - y;
  const bool isFlat = desc.Kind == TextureKind::Flat || desc.Kind == TextureKind::Line;
  if (!inside || !isFlat || IsDepth(desc.Format)) {
    LogError("Can't update %d x %d pixels at %d, %d of a texture of %d x %d in format \"%s\".", width, height, x, y, desc.Width,
             desc.Height, GetName(desc.Format));
    return;
  }
  if (IsCompressed(desc.Format) && (x % 4 || y % 4 || width % 4 || height % 4)) {
    LogError("Compressed images must have dimensions that are multiples of 4");
    return;
  }
  if (texture.FileName.empty() && !texture.OfTarget) {
    texture.Source.resize(GetImageBytes(desc.Format, desc.Width, desc.Height));
    CopyPart(desc, texture.Source, x, y, width, height, static_cast<const uint8_t*>(pixels));
  }
  if (!texture.Object) return;
  const DriverTime driver;
  const GlFormat format = ToGl(desc.Format);
  BindForEdit(texture);
  if (desc.Kind == TextureKind::Line) {
    glTexSubImage1D(GL_TEXTURE_1D, 0, x, width, format.Components, format.Type, pixels);
  } else if (IsCompressed(desc.Format)) {
    glCompressedTexSubImage2D(GL_TEXTURE_2D, 0, x, y, width, height, GLenum(format.Internal),
                              GLsizei(GetImageBytes(desc.Format, width, height)), pixels);
  } else {
    glTexSubImage2D(GL_TEXTURE_2D, 0, x, y, width, height, format.Components, format.Type, pixels);
  }
  if (HasMipmaps(desc)) glGenerateMipmap(ToGl(desc.Kind));
}

void cRenderGL::DeleteTextureObject(Texture& texture) {
  if (!m_Loaded || !texture.Object) return;
  glDeleteTextures(1, &texture.Object);
  for (TextureUnit& unit : m_Units)  // deleting unbinds
    if (unit.Texture == texture.Object) unit.Texture = 0;
  texture.Object = 0;
}

void cRenderGL::DeleteTexture(int id) {
  if (!FindTexture(id)) return;
  DeleteTextureObject(m_Textures[size_t(id)]);
  m_Textures[size_t(id)] = {};
}

// Those of targets come along, without content; the others are counted.
int cRenderGL::ReloadTextures() {
  int count = 0;
  for (Texture& texture : m_Textures) {
    if (!texture.Used || texture.Object) continue;
    const bool done = texture.FileName.empty() ? UploadTexture(texture, texture.Source.empty() ? nullptr : texture.Source.data())
                                               : ReadTextureFile(texture);
    count += done && !texture.OfTarget;
  }
  return count;
}

// --- samplers ----------------------------------------------------------------------------------------------------------------

void cRenderGL::MakeSampler(Sampler& sampler) {
  glGenSamplers(1, &sampler.Object);
  SetSampling(
      sampler.Filter, sampler.Address, m_MaxAnisotropy,
      [&](GLenum name, GLint value) { glSamplerParameteri(sampler.Object, name, value); },
      [&](GLenum name, GLfloat value) { glSamplerParameterf(sampler.Object, name, value); });
}

int cRenderGL::CreateSampler(TextureFilter filter, AddressMode address) {
  for (size_t i = 0; i < m_Samplers.size(); i++)
    if (m_Samplers[i].Filter == filter && m_Samplers[i].Address == address) return int(i);
  m_Samplers.push_back({filter, address, 0});
  if (m_Loaded) MakeSampler(m_Samplers.back());
  return int(m_Samplers.size()) - 1;
}

}  // namespace comms
