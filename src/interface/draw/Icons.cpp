#include "interface/draw/Icons.h"

#include <algorithm>
#include <cmath>
#include <fstream>

#include "comms/Log.h"

namespace draw {

using namespace comms;

Icons::Icons(const cStr& file) {
  std::ifstream stream(file);
  const bool isThere = bool(stream);
  if (!isThere) LogWarning("Can't read \"%s\"; icons are plain outlines.", file.c_str());
  constexpr size_t MaxIcons = 4096;
  Drawing* current = nullptr;
  cStr text;
  for (int line = 1; std::getline(stream, text); line++) {
    text.erase(std::min(text.find('#'), text.size()));
    const size_t last = text.find_last_not_of(" \t\r");
    if (last == cStr::npos) continue;
    text.erase(last + 1);
    if (text[0] != ' ' && text[0] != '\t') {
      if (m_Drawings.size() >= MaxIcons) {
        LogWarning("\"%s\", line %d: more than %zu icons; the rest is left out.", file.c_str(), line, MaxIcons);
        return;
      }
      current = &m_Drawings[text];
      continue;
    }
    cStr fault = "an indented line before the first name of an icon";
    if (current && ParsePath(text, *current, fault)) continue;
    LogWarning("\"%s\", line %d, %s.", file.c_str(), line, fault.c_str());
  }
  std::erase_if(m_Drawings, [](const auto& icon) { return icon.second.empty(); });
  if (isThere && m_Drawings.empty()) LogWarning("\"%s\" holds no drawing; icons are plain outlines.", file.c_str());
}

static int PenWidthAt(int side) { return std::max(1, int(std::lround(Icons::Pen * float(side) / Icons::Grid))); }

int Icons::FitSide(int side) {
  side = std::clamp(side, 1, 1000);
  return side > 1 && side % 2 != PenWidthAt(side) % 2 ? side - 1 : side;
}

Mask Icons::Rasterize(std::string_view name, int side) {
  Drawing drawing;
  if (const auto found = m_Drawings.find(name); found != m_Drawings.end()) {
    drawing = found->second;
  } else {
    // Without any icon the file is at fault, which was said when it was read.
    if (!m_Drawings.empty() && m_SaidMissing.size() < 1000 && m_SaidMissing.emplace(name).second)
      LogWarning("There is no icon \"%s\"; a plain outline stands in its place.", cStr(name).c_str());
    drawing = {{{{{{5, 5}, {19, 5}, {19, 19}, {5, 19}}, true}}, false}};
  }
  const float scale = float(side) / Grid;
  FitToPixels(drawing, {Grid / 2, Grid / 2}, scale);
  return RasterizeDrawing(drawing,
                          {.Scale = scale, .PenWidth = float(PenWidthAt(side)), .Width = side, .Height = side, .Offset = {}});
}

}  // namespace draw
