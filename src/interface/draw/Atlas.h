#pragma once
// The textures that glyphs and icons are drawn from. A page is one channel of a texture, so that the first four pages, which
// serve most interfaces, cost one texture and no change of it.
#include "comms/cRender.h"
#include "interface/draw/Mask.h"

namespace draw {

/// Where a mask lies. Width 0: it has no pixels.
struct AtlasSpot {
  int Texture = -1;
  uint16_t X = 0, Y = 0, Width = 0, Height = 0;
  int16_t Left = 0, Top = 0;
  uint8_t Channel = 0;
};

class Atlas {
 public:
  static constexpr int Side = 1024;  ///< pixels of a page, and the most that a mask may have
  static constexpr size_t MaxTextures = 16;

  explicit Atlas(comms::cRender& render);
  ~Atlas();
  Atlas(const Atlas&) = delete;
  Atlas& operator=(const Atlas&) = delete;

  /// False where the mask is too large or all pages are full; the latter is said once in the log. The pixels reach the device
  /// with Upload.
  bool Add(const Mask& mask, AtlasSpot& spot);
  void Upload();
  /// Forgets all masks and keeps one texture.
  void Clear();
  size_t NumTextures() const { return m_Textures.size(); }

 private:
  struct Shelf {
    int Y = 0, Height = 0, Used = 0;
  };
  struct Page {
    comms::cList<Shelf> Shelves;
    int Used = 0;  // rows that shelves take
  };
  struct Texture {
    int Id = -1;
    comms::cList<uint8_t> Pixels;  // Side x Side x 4
    Page Pages[4];
    int DirtyTop = Side, DirtyBottom = 0;  // rows
  };
  static bool FindPlace(Page& page, int width, int height, int& x, int& y);
  bool FindPlace(int width, int height, AtlasSpot& spot);

  comms::cRender& m_Render;
  std::weak_ptr<void> m_RenderAlive;
  comms::cList<Texture> m_Textures;
  bool m_SaidFull = false;
};

}  // namespace draw
