#include "interface/draw/PathRaster.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <utility>

namespace draw {

using namespace comms;

// --- text form -----------------------------------------------------------------------------------------------------------------

namespace {

constexpr float MaxNumber = 1000;
constexpr size_t MaxPoints = 100000;  // of one line of text
constexpr int CurveSteps = 16;
constexpr float Pi = 3.14159265f;

// Reads one line of text into shapes.
class PathReader {
 public:
  explicit PathReader(std::string_view text) : m_Text(text) {}
  bool Read(Drawing& drawing, cStr& error) {
    m_Shapes.emplace_back();
    for (SkipBlanks(); m_At < m_Text.size() && m_Error.empty(); SkipBlanks()) ReadCommand();
    if (!m_Error.empty()) {
      error = Format("column %zu: %s", m_At + 1, m_Error.c_str());
      return false;
    }
    for (PathShape& shape : m_Shapes)
      if (!shape.Lines.empty()) drawing.push_back(std::move(shape));
    return true;
  }

 private:
  void SkipBlanks() {
    while (m_At < m_Text.size() && (m_Text[m_At] == ' ' || m_Text[m_At] == ',' || m_Text[m_At] == '\t' || m_Text[m_At] == '\r'))
      m_At++;
  }
  bool IsNumber() {
    SkipBlanks();
    return m_At < m_Text.size() && (m_Text[m_At] == '-' || m_Text[m_At] == '.' || (m_Text[m_At] >= '0' && m_Text[m_At] <= '9'));
  }
  float Number() {
    SkipBlanks();
    float value = 0;
    const char* end = m_Text.data() + m_Text.size();
    const auto [next, fault] = std::from_chars(m_Text.data() + m_At, end, value, std::chars_format::fixed);
    if (fault != std::errc() || !(std::fabs(value) <= MaxNumber)) {
      if (m_Error.empty()) m_Error = "a number from -1000 to 1000 was expected";
      return 0;
    }
    m_At = size_t(next - m_Text.data());
    return value;
  }
  cVec2 Point() {
    const float x = Number();
    return {x, Number()};
  }
  PathLine& Begin() { return m_Shapes.back().Lines.emplace_back(); }
  void Add(cVec2 point) {
    if (++m_NumPoints > MaxPoints) m_Error = Format("more than %zu points in one line", MaxPoints);
    m_Shapes.back().Lines.back().Points.push_back(point);
  }
  bool HasLine() {
    if (m_Open) return true;
    m_Error = "a line must begin with M";
    return false;
  }

  void AddArc(cVec2 middle, float radius, float from, float to) {
    const int steps = std::clamp(int(std::fabs(to - from) / 360 * 48) + 1, 2, 480);
    for (int i = 0; i <= steps; i++) {
      const float angle = (from + (to - from) * float(i) / float(steps)) * Pi / 180;
      Add({middle.x + radius * std::cos(angle), middle.y + radius * std::sin(angle)});
    }
  }
  void AddCurve() {
    const cVec2 a = m_Shapes.back().Lines.back().Points.back(), b = Point(), c = Point(), d = Point();
    for (int i = 1; i <= CurveSteps; i++) {
      const float t = float(i) / CurveSteps, s = 1 - t;
      const float wa = s * s * s, wb = 3 * s * s * t, wc = 3 * s * t * t, wd = t * t * t;
      Add({wa * a.x + wb * b.x + wc * c.x + wd * d.x, wa * a.y + wb * b.y + wc * c.y + wd * d.y});
    }
  }
  void AddBox() {
    const cVec2 corner = Point();
    const float w = Number(), h = Number(), r = std::clamp(Number(), 0.0f, std::max(0.0f, std::min(w, h) / 2));
    const cVec2 middles[] = {{corner.x + w - r, corner.y + h - r},
                             {corner.x + r, corner.y + h - r},
                             {corner.x + r, corner.y + r},
                             {corner.x + w - r, corner.y + r}};
    Begin().Closed = true;
    for (int i = 0; i < 4; i++)
      if (r > 0) {
        AddArc(middles[i], r, float(i) * 90, float(i) * 90 + 90);
      } else {
        Add(middles[i]);
      }
  }

  void ReadCommand() {
    const char command = m_Text[m_At++];
    const bool was = std::exchange(m_Open, false);
    switch (command) {
      case 'M':
        Begin();
        Add(Point());
        m_Open = true;
        break;
      case 'L':
      case 'C':
        m_Open = was;
        if (!HasLine()) break;
        do {
          if (command == 'L') {
            Add(Point());
          } else {
            AddCurve();
          }
        } while (m_Error.empty() && IsNumber());
        break;
      case 'Z':
        m_Open = was;
        if (HasLine()) m_Shapes.back().Lines.back().Closed = true;
        m_Open = false;
        break;
      case 'O': {
        const cVec2 middle = Point();
        const float radius = Number();
        Begin().Closed = true;
        AddArc(middle, radius, 0, 360);
        m_Shapes.back().Lines.back().Points.pop_back();
        break;
      }
      case 'A': {
        const cVec2 middle = Point();
        const float radius = Number(), from = Number(), to = Number();
        if (!was) Begin();
        AddArc(middle, radius, from, to);
        m_Open = true;
        break;
      }
      case 'R':
        AddBox();
        break;
      case 'F':
      case 'S':
        m_Shapes.emplace_back().Filled = command == 'F';
        break;
      default:
        m_At--;
        m_Error = "one of the commands M L C Z O R A F S was expected";
    }
  }

  std::string_view m_Text;
  size_t m_At = 0, m_NumPoints = 0;
  bool m_Open = false;  // the last line can go on
  Drawing m_Shapes;
  cStr m_Error;
};

}  // namespace

bool ParsePath(std::string_view text, Drawing& drawing, cStr& error) { return PathReader(text).Read(drawing, error); }

// --- fitting -------------------------------------------------------------------------------------------------------------------

namespace {

template <class F>
void ForEachPoint(Drawing& drawing, F&& visit) {
  for (PathShape& shape : drawing)
    for (PathLine& line : shape.Lines)
      for (cVec2& point : line.Points) visit(point);
}

// Coordinates along one axis that must fall on pixels: of lines across the axis, and where a curve turns back.
void AddKeys(const PathLine& line, float cVec2::*axis, float cVec2::*across, cList<float>& keys) {
  const size_t count = line.Points.size();
  const auto at = [&](size_t i) { return line.Points[i % count].*axis; };
  for (size_t i = 0; i + 1 < count + (line.Closed ? 1 : 0); i++) {
    const cVec2 &a = line.Points[i], &b = line.Points[(i + 1) % count];
    if (std::fabs(a.*axis - b.*axis) < 0.01f && std::fabs(a.*across - b.*across) > 1) keys.push_back(a.*axis);
  }
  if (count < 12) return;  // a curve has many points
  for (size_t i = line.Closed ? 0 : 1; i + (line.Closed ? 0 : 1) < count; i++) {
    const float before = at(i + count - 1), here = at(i), after = at(i + 1);
    if ((here > before && here >= after) || (here < before && here <= after)) keys.push_back(here);
  }
}

// A map of one axis that is straight between its keys.
class AxisFit {
 public:
  AxisFit(cList<float> keys, float middle, float scale) {
    std::sort(keys.begin(), keys.end());
    for (const float key : keys)
      if (m_Keys.empty() || key - m_Keys.back() > 0.3f / scale) m_Keys.push_back(key);
    for (const float key : m_Keys) m_Places.push_back(middle + std::round((key - middle) * scale) / scale);
    // Two lines that are apart stay apart.
    for (size_t i = 1; i < m_Places.size(); i++)
      if (m_Places[i] <= m_Places[i - 1])
        m_Places[i] = m_Places[i - 1] + (m_Keys[i] - m_Keys[i - 1] > 0.7f / scale ? 1 / scale : 0);
  }
  float operator()(float x) const {
    if (m_Keys.empty()) return x;
    const size_t next = size_t(std::lower_bound(m_Keys.begin(), m_Keys.end(), x) - m_Keys.begin());
    if (next == 0) return x + m_Places[0] - m_Keys[0];
    if (next == m_Keys.size()) return x + m_Places.back() - m_Keys.back();
    const float part = (x - m_Keys[next - 1]) / (m_Keys[next] - m_Keys[next - 1]);
    return m_Places[next - 1] + (m_Places[next] - m_Places[next - 1]) * part;
  }

 private:
  cList<float> m_Keys, m_Places;
};

}  // namespace

void FitToPixels(Drawing& drawing, cVec2 middle, float scale) {
  cList<float> keysX, keysY;
  for (const PathShape& shape : drawing)
    for (const PathLine& line : shape.Lines) {
      AddKeys(line, &cVec2::x, &cVec2::y, keysX);
      AddKeys(line, &cVec2::y, &cVec2::x, keysY);
    }
  const AxisFit fitX(std::move(keysX), middle.x, scale), fitY(std::move(keysY), middle.y, scale);
  ForEachPoint(drawing, [&](cVec2& point) { point = {fitX(point.x), fitY(point.y)}; });
}

// --- pixels --------------------------------------------------------------------------------------------------------------------

namespace {

float DistanceToSegment(cVec2 p, cVec2 a, cVec2 b) {
  const float dx = b.x - a.x, dy = b.y - a.y, length2 = dx * dx + dy * dy;
  const float t = length2 > 0 ? std::clamp(((p.x - a.x) * dx + (p.y - a.y) * dy) / length2, 0.0f, 1.0f) : 0;
  return std::hypot(p.x - a.x - t * dx, p.y - a.y - t * dy);
}

class Raster {
 public:
  explicit Raster(const RasterOptions& options) : m_Options(options) {
    m_Mask.Width = std::max(0, options.Width);
    m_Mask.Height = std::max(0, options.Height);
    m_Mask.Coverage.resize(size_t(m_Mask.Width) * size_t(m_Mask.Height));
    m_Cover.resize(m_Mask.Coverage.size());
  }
  // The pen covers what lies within half its width of any segment, so ends and joins are round by themselves.
  void Stroke(const PathShape& shape) {
    for (const PathLine& line : shape.Lines) {
      const size_t count = line.Points.size();
      const size_t segments = line.Closed || count == 1 ? count : count - 1;
      for (size_t i = 0; i < segments; i++) StrokeSegment(Place(line.Points[i]), Place(line.Points[(i + 1) % count]));
    }
  }
  // Even-odd, by exact spans on eight lines a pixel.
  void Fill(const PathShape& shape) {
    constexpr int Lines = 8;
    cList<float> crossings;
    for (int row = 0; row < m_Mask.Height * Lines; row++) {
      const float y = (float(row) + 0.5f) / Lines;
      crossings.clear();
      for (const PathLine& line : shape.Lines)
        for (size_t i = 0; i < line.Points.size(); i++) {
          const cVec2 a = Place(line.Points[i]), b = Place(line.Points[(i + 1) % line.Points.size()]);
          if ((a.y <= y) != (b.y <= y)) crossings.push_back(a.x + (y - a.y) / (b.y - a.y) * (b.x - a.x));
        }
      std::sort(crossings.begin(), crossings.end());
      for (size_t i = 0; i + 1 < crossings.size(); i += 2) FillSpan(row / Lines, crossings[i], crossings[i + 1], 1.0f / Lines);
    }
  }
  Mask Finish() {
    for (size_t i = 0; i < m_Cover.size(); i++)
      m_Mask.Coverage[i] = uint8_t(std::lround(std::clamp(m_Cover[i], 0.0f, 1.0f) * 255));
    return std::move(m_Mask);
  }

 private:
  cVec2 Place(cVec2 p) const { return {p.x * m_Options.Scale + m_Options.Offset.x, p.y * m_Options.Scale + m_Options.Offset.y}; }
  float& Cover(int x, int y) { return m_Cover[size_t(y) * size_t(m_Mask.Width) + size_t(x)]; }

  void StrokeSegment(cVec2 a, cVec2 b) {
    const float reach = m_Options.PenWidth / 2 + 0.5f;
    const auto low = [](float v, int size) { return int(std::clamp(std::floor(v), 0.0f, float(size))); };
    const int left = low(std::min(a.x, b.x) - reach, m_Mask.Width), right = low(std::max(a.x, b.x) + reach + 1, m_Mask.Width);
    const int top = low(std::min(a.y, b.y) - reach, m_Mask.Height), bottom = low(std::max(a.y, b.y) + reach + 1, m_Mask.Height);
    for (int y = top; y < bottom; y++)
      for (int x = left; x < right; x++) {
        const float away = DistanceToSegment({float(x) + 0.5f, float(y) + 0.5f}, a, b);
        Cover(x, y) = std::max(Cover(x, y), std::min(std::clamp(reach - away, 0.0f, 1.0f), m_Options.PenWidth));
      }
  }
  void FillSpan(int y, float from, float to, float weight) {
    from = std::max(from, 0.0f);
    to = std::min(to, float(m_Mask.Width));
    for (int x = int(from); float(x) < to; x++)
      Cover(x, y) += weight * std::max(0.0f, std::min(to, float(x + 1)) - std::max(from, float(x)));
  }

  RasterOptions m_Options;
  Mask m_Mask;
  cList<float> m_Cover;
};

}  // namespace

Mask RasterizeDrawing(const Drawing& drawing, const RasterOptions& options) {
  Raster raster(options);
  for (const PathShape& shape : drawing)
    if (shape.Filled) {
      raster.Fill(shape);
    } else {
      raster.Stroke(shape);
    }
  return raster.Finish();
}

}  // namespace draw
