#include "shell/platform/AniCursor.h"

#include <algorithm>
#include <string_view>

#include "comms/Str.h"

using comms::Format;

namespace {

constexpr uint32_t MostFrames = 256, MostSteps = 1024, LargestSide = 256;
constexpr double SecondsPerTick = 1.0 / 60;
constexpr size_t DirectorySize = 6, EntrySize = 16, BitmapHeaderSize = 40, AniHeaderSize = 36;

struct Header {
  uint32_t Frames = 0, Steps = 0, Ticks = 0;
  bool HasIcons = false;
};

class AniReader {
 public:
  AniReader(std::span<const uint8_t> file, std::string& error) : m_File(file), m_Error(error) {}

  bool Read(std::vector<CursorStep>& steps) {
    if (!Has(0, 12) || Tag(0) != "RIFF" || Tag(8) != "ACON") return Fail(0, "is no animated cursor: RIFF and ACON are expected");
    if (!ReadChunks(12, std::min<uint64_t>(m_File.size(), uint64_t(U32(4)) + 8), false)) return false;
    if (m_Header.Frames == 0) return Fail(12, "has no chunk 'anih'");
    if (m_Frames.size() != m_Header.Frames)
      return Fail(12, Format("tells of %u pictures and holds %zu", m_Header.Frames, m_Frames.size()));
    return ArrangeSteps(steps);
  }

 private:
  bool Has(uint64_t at, uint64_t size) const { return at + size <= m_File.size(); }
  uint32_t U16(size_t at) const { return uint32_t(m_File[at]) | uint32_t(m_File[at + 1]) << 8; }
  uint32_t U32(size_t at) const { return U16(at) | U16(at + 2) << 16; }
  std::string_view Tag(size_t at) const { return {reinterpret_cast<const char*>(m_File.data()) + at, 4}; }
  bool Fail(size_t at, const std::string& sentence) {
    m_Error = Format("byte %zu: ", at) + sentence;
    return false;
  }

  bool ReadChunks(size_t at, size_t end, bool inFrames) {
    while (at + 8 <= end) {
      const std::string_view tag = Tag(at);
      const uint64_t size = U32(at + 4), body = at + 8;
      if (body + size > end) return Fail(at, Format("a chunk of %u bytes reaches beyond its end", U32(at + 4)));
      bool sound = true;
      if (inFrames) {
        if (tag == "icon") sound = ReadIcon(body, size);
      } else if (tag == "anih") {
        sound = ReadHeader(body, size);
      } else if (tag == "rate") {
        sound = ReadNumbers(body, size, m_Ticks);
      } else if (tag == "seq ") {
        sound = ReadNumbers(body, size, m_Sequence);
      } else if (tag == "LIST" && size >= 4 && Tag(body) == "fram") {
        sound = ReadChunks(body + 4, body + size, true);
      }
      if (!sound) return false;
      at = body + size + size % 2;
    }
    return true;
  }

  bool ReadHeader(size_t at, uint64_t size) {
    if (size < AniHeaderSize) return Fail(at, Format("'anih' needs %zu bytes", AniHeaderSize));
    m_Header = {U32(at + 4), U32(at + 8), U32(at + 28), (U32(at + 32) & 1) != 0};
    if (m_Header.Frames < 1 || m_Header.Frames > MostFrames || m_Header.Steps < 1 || m_Header.Steps > MostSteps)
      return Fail(at, Format("1 to %u pictures and 1 to %u steps are expected, found %u and %u", MostFrames, MostSteps,
                             m_Header.Frames, m_Header.Steps));
    return m_Header.HasIcons || Fail(at, "pictures without a .cur header are not read");
  }

  bool ReadNumbers(size_t at, uint64_t size, std::vector<uint32_t>& numbers) {
    if (size != uint64_t(m_Header.Steps) * 4)
      return Fail(at, Format("a number for each of %u steps is expected", m_Header.Steps));
    for (size_t i = 0; i < size; i += 4) numbers.push_back(U32(at + i));
    return true;
  }

  // The first picture of a .cur file.
  bool ReadIcon(size_t at, uint64_t size) {
    if (m_Frames.size() >= m_Header.Frames) return Fail(at, "more pictures than 'anih' tells of");
    if (size < DirectorySize + EntrySize || U16(at) != 0 || U16(at + 4) == 0) return Fail(at, "no directory of pictures");
    const bool hasHotSpot = U16(at + 2) == 2;
    const size_t entry = at + DirectorySize;
    const uint64_t bytes = U32(entry + 8), offset = U32(entry + 12);
    if (offset + bytes > size || bytes < BitmapHeaderSize) return Fail(entry, "a picture lies outside of its chunk");
    CursorStep frame;
    if (!ReadBitmap(at + offset, bytes, frame.Picture)) return false;
    if (hasHotSpot) {
      frame.HotX = std::min(int(U16(entry + 4)), frame.Picture.Width() - 1);
      frame.HotY = std::min(int(U16(entry + 6)), frame.Picture.Height() - 1);
    }
    m_Frames.push_back(std::move(frame));
    return true;
  }

  // A bitmap without its file header: colours from the bottom row up, then one bit a pixel for what is seen through.
  bool ReadBitmap(size_t at, uint64_t size, comms::cImage& picture) {
    const uint32_t headerSize = U32(at), width = U32(at + 4), height = U32(at + 8) / 2, bits = U16(at + 14);
    if (headerSize < BitmapHeaderSize || headerSize > size || width < 1 || width > LargestSide || height < 1 ||
        height > LargestSide)
      return Fail(at, Format("a bitmap of 1 to %u pixels a side is expected", LargestSide));
    if (U32(at + 16) != 0 || (bits != 1 && bits != 4 && bits != 8 && bits != 24 && bits != 32))
      return Fail(at, "1, 4, 8, 24 or 32 bits a pixel, not compressed, are expected");
    uint32_t colors = U32(at + 32);
    if (bits <= 8 && colors == 0) colors = 1u << bits;
    if (bits > 8) colors = 0;
    if (colors > 256) return Fail(at, "more than 256 colours");
    const uint64_t palette = headerSize, rowBytes = uint64_t(width * bits + 31) / 32 * 4,
                   maskBytes = uint64_t(width + 31) / 32 * 4;
    const uint64_t rows = palette + uint64_t(colors) * 4, mask = rows + rowBytes * height;
    if (mask + maskBytes * height > size) return Fail(at, "a picture is cut off");

    picture = comms::cImage(int(width), int(height));
    bool hasAlpha = false;
    for (uint32_t y = 0; y < height; y++)
      for (uint32_t x = 0; x < width; x++) {
        const size_t row = at + rows + rowBytes * (height - 1 - y);
        size_t color = row + size_t(x) * bits / 8;
        if (bits <= 8) {
          const uint32_t index = (m_File[color] >> (8 - bits - x * bits % 8)) & ((1u << bits) - 1);
          if (index >= colors) return Fail(color, "a colour that the palette does not have");
          color = at + palette + size_t(index) * 4;
        }
        uint8_t* pixel = picture.Pixel(int(x), int(y));
        for (int c = 0; c < 3; c++) pixel[c] = m_File[color + 2 - size_t(c)];
        pixel[3] = bits == 32 ? m_File[color + 3] : 0;
        hasAlpha |= pixel[3] != 0;
      }
    if (hasAlpha) return true;
    for (uint32_t y = 0; y < height; y++)
      for (uint32_t x = 0; x < width; x++) {
        const size_t row = at + mask + maskBytes * (height - 1 - y);
        const bool seenThrough = m_File[row + x / 8] >> (7 - x % 8) & 1;
        picture.Pixel(int(x), int(y))[3] = seenThrough ? 0 : 255;
      }
    return true;
  }

  bool ArrangeSteps(std::vector<CursorStep>& steps) {
    std::vector<CursorStep> arranged;
    for (uint32_t i = 0; i < m_Header.Steps; i++) {
      const uint32_t frame = i < m_Sequence.size() ? m_Sequence[i] : i;
      if (frame >= m_Frames.size()) return Fail(12, Format("step %u shows picture %u of %zu", i, frame, m_Frames.size()));
      arranged.push_back(m_Frames[frame]);
      arranged.back().Seconds = std::max(1u, i < m_Ticks.size() ? m_Ticks[i] : m_Header.Ticks) * SecondsPerTick;
    }
    steps = std::move(arranged);
    return true;
  }

  std::span<const uint8_t> m_File;
  std::string& m_Error;
  Header m_Header;
  std::vector<CursorStep> m_Frames;
  std::vector<uint32_t> m_Ticks, m_Sequence;
};

}  // namespace

bool ReadAniCursor(std::span<const uint8_t> file, std::vector<CursorStep>& steps, std::string& error) {
  return AniReader(file, error).Read(steps);
}
