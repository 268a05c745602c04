#include "interface/draw/Canvas.h"

#include <algorithm>
#include <cmath>

#include "interface/draw/Batch.h"
#include "interface/draw/Glyphs.h"
#include "interface/draw/Strokes.h"

using namespace comms;
using namespace draw;

static constexpr std::string_view Ellipsis = "\xE2\x80\xA6";

cRect cRect::Intersection(const cRect& other) const {
  const float left = std::max(X, other.X), top = std::max(Y, other.Y);
  return {left, top, std::max(0.0f, std::min(Right(), other.Right()) - left),
          std::max(0.0f, std::min(Bottom(), other.Bottom()) - top)};
}

struct Canvas::State {
  State(cRender& render, const cStr& dataFolder)
      : IconDrawings(JoinPath(dataFolder, "Icons/Icons.txt")),
        Runs(FontFiles),
        Pixels(render, FontFiles, IconDrawings),
        Shapes(render) {}

  void AddBox(const cRect& rect, float spread, Vertex form, uint32_t top, uint32_t bottom, bool horizontal);
  void AddMask(const AtlasSpot& spot, float x, float y, uint32_t color, float exponent);
  void DrawRun(const TextRun& run, float x, float baseLine, uint32_t color, TextStyle style);
  const TextRun& Fit(std::string_view text, float width, TextStyle style);
  void BreakLines(std::string_view text, float width, TextStyle style, LongWords longWords);
  void BreakLine(std::string_view text, size_t from, size_t to, float width, TextStyle style, LongWords longWords);

  Fonts FontFiles;
  Icons IconDrawings;
  TextRuns Runs;
  Glyphs Pixels;
  Batch Shapes;
  int Width = 1, Height = 1, TextsCut = 0;
  float Scale = 1;
  cList<cRect> Clips{{0, 0, 1, 1}};
  cStr Shortened;
  cList<std::pair<size_t, size_t>> Lines;  // of a paragraph: first byte, and the byte behind
};

Canvas::Canvas(cRender& render, const cStr& dataFolder) : m_State(std::make_unique<State>(render, dataFolder)) {}
Canvas::~Canvas() = default;

// --- frame -------------------------------------------------------------------------------------------------------------------

void Canvas::Begin(int width, int height, float scale) {
  State& s = *m_State;
  s.Width = std::max(1, width);
  s.Height = std::max(1, height);
  scale = scale >= 0.5f ? std::min(scale, 4.0f) : 0.5f;
  if (scale != s.Scale) {
    s.Scale = scale;
    s.FontFiles.SetScale(scale);
    s.Runs.Clear();
    s.Pixels.Clear();
  }
  s.TextsCut = 0;
  s.Pixels.Begin();
  s.Shapes.Begin(s.Width, s.Height);
  s.Clips.assign(1, Screen());
}

void Canvas::Flush() {
  m_State->Pixels.Upload();
  m_State->Shapes.Flush();
}

float Canvas::Scale() const { return m_State->Scale; }
float Canvas::Px(float length) const {
  const float pixels = std::ceil(length * m_State->Scale - 0.5f);  // hair lines stay thin at 1.5
  return length > 0 ? std::max(1.0f, pixels) : pixels;
}
int Canvas::Width() const { return m_State->Width; }
int Canvas::Height() const { return m_State->Height; }
int Canvas::DrawCalls() const { return m_State->Shapes.DrawCalls(); }
int Canvas::TextsCut() const { return m_State->TextsCut; }

// --- clip --------------------------------------------------------------------------------------------------------------------

static cRect ToWholePixels(const cRect& rect) {
  const float left = std::round(rect.X), top = std::round(rect.Y);
  return {left, top, std::max(0.0f, std::round(rect.Right()) - left), std::max(0.0f, std::round(rect.Bottom()) - top)};
}

void Canvas::PushClip(const cRect& rect) { m_State->Clips.push_back(Clip().Intersection(ToWholePixels(rect))); }
void Canvas::PopClip() {
  if (m_State->Clips.size() > 1) m_State->Clips.pop_back();
}
const cRect& Canvas::Clip() const { return m_State->Clips.back(); }

// --- boxes -------------------------------------------------------------------------------------------------------------------

// Edges on whole pixels; what is thinner than a pixel stays visible.
static cRect ToBox(const cRect& rect) {
  cRect box = ToWholePixels(rect);
  if (rect.W > 0) box.W = std::max(1.0f, box.W);
  if (rect.H > 0) box.H = std::max(1.0f, box.H);
  return box;
}

static bool IsInvisible(uint32_t color) { return (color >> 24) == 0; }

// Quad with one pixel of margin around a shape, and `spread` more, for its soft edge.
void Canvas::State::AddBox(const cRect& rect, float spread, Vertex form, uint32_t top, uint32_t bottom, bool horizontal) {
  if (!(rect.W > 0 && rect.H > 0)) return;
  form.ExtentX = rect.W / 2;
  form.ExtentY = rect.H / 2;
  form.Radius = std::clamp(form.Radius, 0.0f, std::min(form.ExtentX, form.ExtentY));
  const float middleX = rect.X + form.ExtentX, middleY = rect.Y + form.ExtentY;
  const float reachX = form.ExtentX + 1 + spread, reachY = form.ExtentY + 1 + spread;
  const auto corner = [&](float x, float y) {
    Vertex v = form;
    v.X = middleX + x * reachX;
    v.Y = middleY + y * reachY;
    v.PlaceX = x * reachX;
    v.PlaceY = y * reachY;
    v.Color = ToVertexColor((horizontal ? x : y) < 0 ? top : bottom);
    return v;
  };
  Shapes.AddQuad({corner(-1, -1), corner(1, -1), corner(1, 1), corner(-1, 1)}, Clips.back());
}

void Canvas::FillRoundRect(const cRect& rect, float radius, uint32_t color, float borderWidth, uint32_t borderColor) {
  if (IsInvisible(color) && (borderWidth <= 0 || IsInvisible(borderColor))) return;
  Vertex form;
  form.Kind = float(ShapeKind::Box);
  form.Radius = radius;
  form.Border = borderWidth;
  form.BorderColor = ToVertexColor(borderColor);
  m_State->AddBox(ToBox(rect), 0, form, color, color, false);
}

void Canvas::FillGradient(const cRect& rect, float radius, uint32_t top, uint32_t bottom, bool horizontal) {
  Vertex form;
  form.Kind = float(ShapeKind::Gradient);
  form.Radius = radius;
  m_State->AddBox(ToBox(rect), 0, form, top, bottom, horizontal);
}

void Canvas::Shadow(const cRect& rect, float radius, float blur, uint32_t color) {
  if (IsInvisible(color) || !(blur > 0)) return;
  Vertex form;
  form.Kind = float(ShapeKind::Shadow);
  form.Radius = radius + blur / 2;
  form.Parameter = blur;
  m_State->AddBox(ToBox(rect), blur, form, color, color, false);
}

void Canvas::Circle(cVec2 center, float radius, uint32_t fill, float borderWidth, uint32_t borderColor) {
  Vertex form;
  form.Kind = float(ShapeKind::Box);
  form.Radius = radius;
  form.Border = borderWidth;
  form.BorderColor = ToVertexColor(borderColor);
  m_State->AddBox({center.x - radius, center.y - radius, 2 * radius, 2 * radius}, 0, form, fill, fill, false);
}

void Canvas::Image(const cRect& rect, int texture, uint32_t tint, const cRect& from, bool flip) {
  const cRect box = ToBox(rect);
  if (texture < 0 || IsInvisible(tint) || !(box.W > 0 && box.H > 0)) return;
  m_State->Shapes.UseImage(texture);
  Vertex form;
  form.Kind = float(ShapeKind::Picture);
  form.Color = ToVertexColor(tint);
  const auto corner = [&](float x, float y) {
    Vertex v = form;
    v.X = box.X + x * box.W;
    v.Y = box.Y + y * box.H;
    v.PlaceX = from.X + x * from.W;
    v.PlaceY = from.Y + y * from.H;
    if (flip) v.PlaceY = 1 - v.PlaceY;
    return v;
  };
  m_State->Shapes.AddQuad({corner(0, 0), corner(1, 0), corner(1, 1), corner(0, 1)}, Clip());
}

// --- lines -------------------------------------------------------------------------------------------------------------------

void Canvas::Line(cVec2 from, cVec2 to, float width, uint32_t color) {
  if (from.x == to.x || from.y == to.y) {  // upright or level: on whole pixels
    const float thick = std::max(1.0f, std::round(width));
    const float left = std::min(from.x, to.x), top = std::min(from.y, to.y);
    const float across = (from.x == to.x ? from.x : from.y) - thick / 2;
    if (from.x == to.x) return FillRect({across + 0.01f, top, thick, std::fabs(to.y - from.y)}, color);
    return FillRect({left, across + 0.01f, std::fabs(to.x - from.x), thick}, color);
  }
  const cVec2 points[] = {from, to};
  Polyline(points, width, color);
}

void Canvas::Polyline(std::span<const cVec2> points, float width, uint32_t color, bool closed) {
  if (IsInvisible(color) || !(width > 0)) return;
  AddPolyline(m_State->Shapes, Clip(), points, width, color, closed);
}

// --- icons -------------------------------------------------------------------------------------------------------------------

// Bright strokes look thinner on dark ground than dark ones on bright ground, because colours are blended in sRGB: the brighter
// the colour, the more a half covered pixel counts.
static float GetCoverageExponent(uint32_t color) {
  const float brightness =
      (0.299f * float((color >> 16) & 0xFF) + 0.587f * float((color >> 8) & 0xFF) + 0.114f * float(color & 0xFF)) / 255;
  return 0.88f - 0.18f * brightness;
}

void Canvas::State::AddMask(const AtlasSpot& spot, float x, float y, uint32_t color, float exponent) {
  if (spot.Texture < 0) return;
  Shapes.UseAtlas(spot.Texture);
  Vertex form;
  form.Kind = float(ShapeKind::Mask);
  form.Radius = spot.Channel;
  form.Parameter = exponent;
  form.Color = color;
  const auto corner = [&](float right, float down) {
    Vertex v = form;
    v.X = x + right;
    v.Y = y + down;
    v.PlaceX = spot.X + right;
    v.PlaceY = spot.Y + down;
    return v;
  };
  const float w = spot.Width, h = spot.Height;
  Shapes.AddQuad({corner(0, 0), corner(w, 0), corner(w, h), corner(0, h)}, Clips.back());
}

void Canvas::Icon(std::string_view name, const cRect& rect, uint32_t color) {
  const float shorter = std::min(rect.W, rect.H) + 0.01f;
  if (!(shorter >= 1) || IsInvisible(color) || Clip().Intersection(rect).W <= 0) return;
  const int side = int(std::min(shorter, 4096.0f));
  const int fitted = Icons::FitSide(side);
  const float x = std::round(rect.X + (rect.W - float(fitted)) / 2 - 0.01f),
              y = std::round(rect.Y + (rect.H - float(fitted)) / 2 - 0.01f);
  m_State->AddMask(m_State->Pixels.GetIcon(name, fitted), x, y, ToVertexColor(color), GetCoverageExponent(color));
}

// --- text --------------------------------------------------------------------------------------------------------------------

void Canvas::State::DrawRun(const TextRun& run, float x, float baseLine, uint32_t color, TextStyle style) {
  const int steps = FontFiles.SubpixelSteps(style);
  const float exponent = GetCoverageExponent(color);
  const uint32_t vertexColor = ToVertexColor(color);
  const cRect& clip = Clips.back();
  const float reach = 2 * FontFiles.Metrics(style).Size;
  if (!std::isfinite(x) || !(baseLine + reach >= clip.Y && baseLine - reach <= clip.Bottom())) return;
  for (const PlacedGlyph& glyph : run.Glyphs) {
    if (x + glyph.X + reach < clip.X || x + glyph.X - reach > clip.Right()) continue;
    const float place = std::floor((x + glyph.X) * float(steps) + 0.5f);
    const float column = std::floor(place / float(steps));
    const AtlasSpot& spot = Pixels.Get(glyph, style, int(place - column * float(steps)));
    AddMask(spot, column + spot.Left, baseLine - std::round(glyph.Y) - spot.Top, vertexColor, exponent);
  }
}

// The text, or the longest beginning of it that fits with dots behind; an empty run where not even the dots do. Half a pixel more
// is allowed, so that a box that was rounded to the text's width holds it.
const TextRun& Canvas::State::Fit(std::string_view text, float width, TextStyle style) {
  constexpr size_t MaxShown = 4096;  // bytes; no line on a screen holds more, and shaping a whole file for it would be felt
  const float limit = width + 0.5f;
  const bool shown = text.size() <= MaxShown;
  const TextRun& whole = Runs.Get(text.substr(0, MaxShown), style);
  if (shown && whole.Width <= limit) return whole;
  TextsCut++;
  const float dots = Runs.Get(Ellipsis, style).Width;
  if (dots > limit) return Runs.Get({}, style);
  size_t count = whole.Carets.size() - 1;
  while (count > 0 && whole.Carets[count].X + dots > limit) count--;
  for (;;) {
    // Shaped anew, since letters may close ranks before the dots; right-to-left writing needs a few tries.
    Shortened.assign(text.substr(0, whole.Carets[count].Byte));
    Shortened.erase(Shortened.find_last_not_of(' ') + 1);
    Shortened += Ellipsis;
    const TextRun& run = Runs.Get(Shortened, style);
    if (run.Width <= limit || count == 0) return run;
    count -= std::max(size_t(1), count / 8);
  }
}

// Pixels between the left edge of a box and a text in it.
static float GetIndent(float spare, TextAlign align) {
  return align == TextAlign::Left ? 0 : std::max(0.0f, align == TextAlign::Center ? spare / 2 : spare);
}

// Capitals stand in the middle of the box; a spare pixel goes below them.
static float GetBaseLine(const cRect& rect, const StyleMetrics& metrics) {
  return std::round(rect.Y + (rect.H + metrics.CapHeight) / 2 - 0.01f);
}

float Canvas::Text(const cRect& rect, std::string_view text, uint32_t color, TextStyle style, TextAlign align) {
  State& s = *m_State;
  const TextRun& run = s.Fit(text, rect.W, style);
  const float x = std::round(rect.X + GetIndent(rect.W - run.Width, align));
  const float baseLine = GetBaseLine(rect, s.FontFiles.Metrics(style));
  if (!IsInvisible(color)) s.DrawRun(run, x, baseLine, color, style);
  return std::ceil(run.Width);
}

float Canvas::TextWidth(std::string_view text, TextStyle style) { return std::ceil(m_State->Runs.Get(text, style).Width); }
float Canvas::LineHeight(TextStyle style) const { return m_State->FontFiles.Metrics(style).LineHeight; }

float Canvas::CaretX(std::string_view text, size_t index, TextStyle style) {
  return m_State->Runs.Get(text, style).CaretBefore(index).X;
}
size_t Canvas::CaretIndex(std::string_view text, float x, TextStyle style) {
  return m_State->Runs.Get(text, style).CaretAt(x).Byte;
}

// --- paragraphs --------------------------------------------------------------------------------------------------------------

// Paths, names and combinations of keys are read on behind these.
static bool IsJoint(char symbol) { return std::string_view("/\\-_+.,:;|").find(symbol) != std::string_view::npos; }

// Greedy. A word that is wider than the line has one to itself, or is broken behind its last joint that fits; a word without a
// joint, between characters.
void Canvas::State::BreakLine(std::string_view text, size_t from, size_t to, float width, TextStyle style, LongWords longWords) {
  const TextRun& run = Runs.Get(text.substr(from, to - from), style);
  size_t begin = 0, blank = 0, joint = 0;  // carets: of the line's start, and behind its last blank and joint
  for (size_t i = 1; i < run.Carets.size(); i++) {
    const char before = text[from + run.Carets[i - 1].Byte];
    // Right-to-left writing runs the other way.
    const float reach = std::fabs(run.Carets[i].X - run.Carets[begin].X);
    if (before != ' ' && reach > width + 0.5f && i - 1 > begin) {
      const size_t inWord = longWords == LongWords::Cut ? begin : joint > begin ? joint : i - 1;
      const size_t next = blank > begin ? blank : inWord;
      if (next > begin) Lines.push_back({from + run.Carets[begin].Byte, from + run.Carets[next].Byte});
      begin = next;
    }
    if (before == ' ') blank = i;
    if (IsJoint(before)) joint = i;
  }
  Lines.push_back({from + run.Carets[begin].Byte, to});
}

void Canvas::State::BreakLines(std::string_view text, float width, TextStyle style, LongWords longWords) {
  Lines.clear();
  for (size_t from = 0; from <= text.size();) {
    const size_t end = std::min(text.find('\n', from), text.size());
    BreakLine(text, from, end, width, style, longWords);
    from = end + 1;
  }
}

float Canvas::Paragraph(const cRect& rect, std::string_view text, uint32_t color, TextStyle style, TextAlign align,
                        LongWords longWords) {
  State& s = *m_State;
  s.BreakLines(text, rect.W, style, longWords);
  const float height = LineHeight(style);
  cRect line = {rect.X, rect.Y, rect.W, height};
  for (const auto& [from, to] : s.Lines) {
    if (line.Y < Clip().Bottom() && line.Bottom() > Clip().Y) {
      std::string_view words = text.substr(from, to - from);
      if (longWords == LongWords::Cut) words = words.substr(0, words.find_last_not_of(' ') + 1);
      const TextRun& run = longWords == LongWords::Cut ? s.Fit(words, rect.W, style) : s.Runs.Get(words, style);
      s.DrawRun(run, std::round(line.X + GetIndent(line.W - run.Width, align)), GetBaseLine(line, s.FontFiles.Metrics(style)),
                color, style);
    }
    line.Y += height;
  }
  return height * float(s.Lines.size());
}

float Canvas::ParagraphHeight(float width, std::string_view text, TextStyle style, LongWords longWords) {
  m_State->BreakLines(text, width, style, longWords);
  return LineHeight(style) * float(m_State->Lines.size());
}
