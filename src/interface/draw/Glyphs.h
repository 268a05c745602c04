#pragma once
// The pixels of glyphs and icons, rasterised at the first use and kept in the atlas.
#include <unordered_map>

#include "interface/draw/Atlas.h"
#include "interface/draw/Fonts.h"
#include "interface/draw/Icons.h"
#include "interface/draw/TextRuns.h"

namespace draw {

class Glyphs {
 public:
  Glyphs(comms::cRender& render, Fonts& fonts, Icons& icons);

  /// At the start of a frame: makes room where the frames before filled many pages.
  void Begin();
  void Clear();
  /// `step` as in Fonts::Rasterize. The spot stands until the next Begin.
  const AtlasSpot& Get(const PlacedGlyph& glyph, TextStyle style, int step);
  const AtlasSpot& GetIcon(std::string_view name, int side);
  void Upload() { m_Atlas.Upload(); }
  size_t NumKept() const { return m_Glyphs.size() + m_Icons.size(); }

 private:
  // Textures that may stay from frame to frame.
  static constexpr size_t KeptTextures = 4;
  struct IconKey {
    comms::cStr Name;
    int Side;
  };
  struct IconLess {
    using is_transparent = void;
    using View = std::pair<std::string_view, int>;
    static View ToView(const IconKey& key) { return {key.Name, key.Side}; }
    static View ToView(const View& view) { return view; }
    bool operator()(const auto& a, const auto& b) const { return ToView(a) < ToView(b); }
  };

  Fonts& m_Fonts;
  Icons& m_IconDrawings;
  Atlas m_Atlas;
  std::unordered_map<uint64_t, AtlasSpot> m_Glyphs;
  std::map<IconKey, AtlasSpot, IconLess> m_Icons;
};

}  // namespace draw
