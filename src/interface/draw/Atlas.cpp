#include "interface/draw/Atlas.h"

#include <algorithm>

#include "comms/Log.h"

namespace draw {

using namespace comms;

Atlas::Atlas(cRender& render) : m_Render(render), m_RenderAlive(render.Alive()) {}

Atlas::~Atlas() {
  if (m_RenderAlive.expired()) return;
  for (const Texture& texture : m_Textures) m_Render.DeleteTexture(texture.Id);
}

void Atlas::Clear() {
  for (size_t i = 1; i < m_Textures.size(); i++) m_Render.DeleteTexture(m_Textures[i].Id);
  m_Textures.resize(std::min(m_Textures.size(), size_t(1)));
  for (Texture& texture : m_Textures) {
    std::fill(texture.Pixels.begin(), texture.Pixels.end(), uint8_t(0));
    for (Page& page : texture.Pages) page = {};
    texture.DirtyTop = 0;
    texture.DirtyBottom = Side;
  }
}

// Shelves of similar heights, each filled from left to right.
bool Atlas::FindPlace(Page& page, int width, int height, int& x, int& y) {
  const int rounded = std::min((height + 3) / 4 * 4, Side);
  Shelf* best = nullptr;
  for (Shelf& shelf : page.Shelves)
    if (shelf.Height >= height && shelf.Height <= rounded + rounded / 2 && shelf.Used + width <= Side &&
        (!best || shelf.Height < best->Height))
      best = &shelf;
  if (!best) {
    if (page.Used + rounded > Side) return false;
    page.Shelves.push_back({page.Used, rounded, 0});
    page.Used += rounded;
    best = &page.Shelves.back();
  }
  x = best->Used;
  y = best->Y;
  best->Used += width;
  return true;
}

bool Atlas::FindPlace(int width, int height, AtlasSpot& spot) {
  int x = 0, y = 0;
  for (size_t index = 0; index < MaxTextures; index++) {
    if (index == m_Textures.size()) {
      Texture texture;
      texture.Pixels.resize(size_t(Side) * Side * 4);
      texture.Id = m_Render.CreateTexture({TextureFormat::Rgba8, Side, Side, TextureFilter::Nearest, AddressMode::Clamp},
                                          texture.Pixels.data());
      if (texture.Id < 0) break;
      m_Textures.push_back(std::move(texture));
    }
    for (int channel = 0; channel < 4; channel++)
      if (FindPlace(m_Textures[index].Pages[channel], width, height, x, y)) {
        spot.Texture = int(index);
        spot.X = uint16_t(x);
        spot.Y = uint16_t(y);
        spot.Channel = uint8_t(channel);
        return true;
      }
  }
  if (!m_SaidFull)
    LogWarning("The glyphs of one frame fill all %zu textures of the atlas; the rest is not drawn.", m_Textures.size());
  m_SaidFull = true;
  return false;
}

bool Atlas::Add(const Mask& mask, AtlasSpot& spot) {
  spot = {};
  spot.Left = int16_t(mask.Left);
  spot.Top = int16_t(mask.Top);
  if (mask.Width <= 0 || mask.Height <= 0) return true;
  if (mask.Width > Side || mask.Height > Side || !FindPlace(mask.Width, mask.Height, spot)) return false;
  spot.Width = uint16_t(mask.Width);
  spot.Height = uint16_t(mask.Height);
  Texture& texture = m_Textures[size_t(spot.Texture)];
  for (int row = 0; row < mask.Height; row++) {
    uint8_t* to = texture.Pixels.data() + (size_t(spot.Y + row) * Side + spot.X) * 4 + spot.Channel;
    const uint8_t* from = mask.Coverage.data() + size_t(row) * size_t(mask.Width);
    for (int column = 0; column < mask.Width; column++) to[column * 4] = from[column];
  }
  texture.DirtyTop = std::min(texture.DirtyTop, int(spot.Y));
  texture.DirtyBottom = std::max(texture.DirtyBottom, spot.Y + mask.Height);
  spot.Texture = texture.Id;
  return true;
}

void Atlas::Upload() {
  for (Texture& texture : m_Textures) {
    if (texture.DirtyTop >= texture.DirtyBottom) continue;
    m_Render.UpdateTexture(texture.Id, 0, texture.DirtyTop, Side, texture.DirtyBottom - texture.DirtyTop,
                           texture.Pixels.data() + size_t(texture.DirtyTop) * Side * 4);
    texture.DirtyTop = Side;
    texture.DirtyBottom = 0;
  }
}

}  // namespace draw
