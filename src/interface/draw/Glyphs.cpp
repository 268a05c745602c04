#include "interface/draw/Glyphs.h"

namespace draw {

Glyphs::Glyphs(comms::cRender& render, Fonts& fonts, Icons& icons) : m_Fonts(fonts), m_IconDrawings(icons), m_Atlas(render) {}

void Glyphs::Begin() {
  if (m_Atlas.NumTextures() > KeptTextures) Clear();
}

void Glyphs::Clear() {
  m_Glyphs.clear();
  m_Icons.clear();
  m_Atlas.Clear();
}

const AtlasSpot& Glyphs::Get(const PlacedGlyph& glyph, TextStyle style, int step) {
  const uint64_t key = uint64_t(glyph.Glyph) | uint64_t(glyph.Face) << 32 | uint64_t(style) << 48 | uint64_t(step) << 56;
  const auto [at, isNew] = m_Glyphs.try_emplace(key);
  if (isNew) m_Atlas.Add(m_Fonts.Rasterize(glyph.Face, style, glyph.Glyph, step), at->second);
  return at->second;
}

const AtlasSpot& Glyphs::GetIcon(std::string_view name, int side) {
  const auto found = m_Icons.find(IconLess::View(name, side));
  if (found != m_Icons.end()) return found->second;
  AtlasSpot& spot = m_Icons[{comms::cStr(name), side}];
  m_Atlas.Add(m_IconDrawings.Rasterize(name, side), spot);
  return spot;
}

}  // namespace draw
