#include "interface/draw/TextRuns.h"

#include <hb.h>

#include <algorithm>
#include <climits>
#include <cmath>

#include "interface/draw/StrokeFont.h"

namespace draw {

using namespace comms;

const CaretPlace& TextRun::CaretBefore(size_t index) const {
  const auto after =
      std::upper_bound(Carets.begin(), Carets.end(), index, [](size_t i, const CaretPlace& c) { return i < c.Byte; });
  return after == Carets.begin() ? *after : *(after - 1);
}

const CaretPlace& TextRun::CaretAt(float x) const {
  return *std::min_element(Carets.begin(), Carets.end(),
                           [x](const CaretPlace& a, const CaretPlace& b) { return std::fabs(a.X - x) < std::fabs(b.X - x); });
}

TextRuns::TextRuns(Fonts& fonts) : m_Fonts(fonts), m_Buffer(hb_buffer_create()) {}
TextRuns::~TextRuns() { hb_buffer_destroy(m_Buffer); }

// --- cache -------------------------------------------------------------------------------------------------------------------

// Two generations: what was not asked for while the young one filled up goes with the old one.
const TextRun& TextRuns::Get(std::string_view text, TextStyle style) {
  m_Key.assign(text);
  m_Key += char('0' + int(style));
  if (const auto at = m_Young.find(std::string_view(m_Key)); at != m_Young.end()) return at->second;
  if (m_Young.size() >= MaxRuns || m_YoungBytes >= MaxBytes) {
    m_Old = std::move(m_Young);
    m_Young.clear();
    m_YoungBytes = 0;
  }
  m_YoungBytes += m_Key.size();
  if (const auto at = m_Old.find(std::string_view(m_Key)); at != m_Old.end())
    return m_Young.insert(m_Old.extract(at)).position->second;
  TextRun& run = m_Young[m_Key];
  Shape(text, style, run);
  return run;
}

void TextRuns::Clear() {
  m_Young.clear();
  m_Old.clear();
  m_YoungBytes = 0;
}

// --- characters and pieces -----------------------------------------------------------------------------------------------------

static hb_unicode_general_category_t GetCategory(char32_t code) {
  return hb_unicode_general_category(hb_unicode_funcs_get_default(), code);
}
static bool IsMark(char32_t code) {
  const auto category = GetCategory(code);
  return category == HB_UNICODE_GENERAL_CATEGORY_NON_SPACING_MARK || category == HB_UNICODE_GENERAL_CATEGORY_ENCLOSING_MARK ||
         category == HB_UNICODE_GENERAL_CATEGORY_SPACING_MARK || code == 0x200D || (code >= 0x1F3FB && code <= 0x1F3FF);
}
static bool IsFlagLetter(char32_t code) { return code >= 0x1F1E6 && code <= 0x1F1FF; }

// The start of each character as people see it, close to Unicode Annex 29: marks, joiners, what follows a joiner and the second
// letter of a flag belong to the one before.
void TextRuns::Decode(std::string_view text) {
  m_Chars.clear();
  text = text.substr(0, INT_MAX / 2);
  hb_buffer_clear_contents(m_Buffer);
  hb_buffer_add_utf8(m_Buffer, text.data(), int(text.size()), 0, int(text.size()));
  unsigned count = 0;
  const hb_glyph_info_t* decoded = hb_buffer_get_glyph_infos(m_Buffer, &count);
  bool flagOpen = false;
  for (unsigned i = 0; i < count; i++) {
    Char next{decoded[i].codepoint, decoded[i].cluster, true};
    if (next.Code == '\n' || next.Code == '\r' || next.Code == '\t') next.Code = ' ';
    if (next.Code < 0x20 || (next.Code >= 0x7F && next.Code < 0xA0)) next.Code = 0xFFFD;
    const bool closesFlag = flagOpen && IsFlagLetter(next.Code);
    flagOpen = IsFlagLetter(next.Code) && !closesFlag;
    if (!m_Chars.empty() && (next.Code >= 0x300 || m_Chars.back().Code == 0x200D))
      next.Starts = !(IsMark(next.Code) || closesFlag || m_Chars.back().Code == 0x200D);
    m_Chars.push_back(next);
  }
}

// What a character says about the direction of the text.
enum class Direction { Forwards, Backwards, Figure, Neutral };

static hb_script_t GetOwnScript(char32_t code) {
  const hb_script_t script = hb_unicode_script(hb_unicode_funcs_get_default(), code);
  return script == HB_SCRIPT_INHERITED || script == HB_SCRIPT_UNKNOWN ? HB_SCRIPT_COMMON : script;
}
static Direction GetDirection(char32_t code) {
  if (GetCategory(code) == HB_UNICODE_GENERAL_CATEGORY_DECIMAL_NUMBER) return Direction::Figure;
  const hb_script_t script = GetOwnScript(code);
  if (script == HB_SCRIPT_COMMON) return Direction::Neutral;
  return hb_script_get_horizontal_direction(script) == HB_DIRECTION_RTL ? Direction::Backwards : Direction::Forwards;
}

// Letters of right-to-left writing and what stands between two of them run backwards; figures behind them keep their order. A
// point or comma between two figures belongs to the number.
void TextRuns::FindDirections() {
  bool inside = false;
  size_t open = 0;  // behind the last letter or figure
  Direction before = Direction::Neutral;
  for (size_t i = 0; i < m_Chars.size(); i++) {
    Direction direction = GetDirection(m_Chars[i].Code);
    const bool separates = before == Direction::Figure && m_Chars[i].Code < 0x80 &&
                           std::string_view(".,:/").find(char(m_Chars[i].Code)) != std::string_view::npos;
    if (separates && i + 1 < m_Chars.size() && GetDirection(m_Chars[i + 1].Code) == Direction::Figure)
      direction = Direction::Figure;
    before = direction;
    if (direction == Direction::Neutral) continue;
    if (direction == Direction::Backwards || (direction == Direction::Figure && inside)) {
      for (size_t between = inside ? open : i; between < i; between++)
        m_Chars[between].Stretch = m_Chars[between].Backwards = true;
      m_Chars[i].Stretch = true;
      m_Chars[i].Backwards = direction == Direction::Backwards;
    }
    if (direction != Direction::Figure) inside = direction == Direction::Backwards;
    open = i + 1;
  }
}

// Runs of one font, one writing and one direction. Marks stay with their letter where its font has them, and so do blanks; what
// has no writing of its own takes that of what is before it.
void TextRuns::FindPieces(TextStyle style) {
  m_Pieces.clear();
  for (size_t i = 0; i < m_Chars.size(); i++) {
    const Char& c = m_Chars[i];
    Piece* last = m_Pieces.empty() || m_Pieces.back().Stretch != c.Stretch ? nullptr : &m_Pieces.back();
    uint32_t script = GetOwnScript(c.Code);
    const bool follows = last && (!c.Starts || c.Code == ' ') && m_Fonts.HasChar(last->Face, c.Code);
    const FaceIndex face = follows ? last->Face : m_Fonts.FindFace(c.Code, style);
    const bool joins = last && last->Face == face && last->Backwards == c.Backwards;
    if (script == HB_SCRIPT_COMMON && last) script = last->Script;
    if (joins && last->Script == HB_SCRIPT_COMMON) last->Script = script;
    if (joins && last->Script == script) {
      last->Count++;
    } else {
      m_Pieces.push_back({i, 1, face, script, c.Stretch, c.Backwards});
    }
  }
}

// Stretches of right-to-left writing stand in reverse order.
void TextRuns::OrderPieces() {
  for (auto end = m_Pieces.begin(); end != m_Pieces.end();) {
    const auto first = std::find_if(end, m_Pieces.end(), [](const Piece& p) { return p.Stretch; });
    end = std::find_if(first, m_Pieces.end(), [](const Piece& p) { return !p.Stretch; });
    std::reverse(first, end);
  }
}

// --- shaping -------------------------------------------------------------------------------------------------------------------

// Shares the stretch from `from` to `to` of a cluster, in the direction of the text, among the characters that begin in it.
void TextRuns::PlaceCarets(const Piece& piece, size_t cluster, size_t clusterEnd, float from, float to) {
  size_t starts = 0, seen = 0;
  const auto begin = m_Chars.begin() + std::ptrdiff_t(piece.First), end = begin + std::ptrdiff_t(piece.Count);
  const auto first = std::lower_bound(begin, end, cluster, [](const Char& c, size_t byte) { return c.Byte < byte; });
  for (auto c = first; c != end && c->Byte < clusterEnd; ++c) starts += c->Starts;
  for (auto c = first; c != end && c->Byte < clusterEnd; ++c)
    if (c->Starts) m_CaretX[size_t(c - m_Chars.begin())] = from + (to - from) * float(seen++) / float(starts);
}

void TextRuns::ShapeStrokes(const Piece& piece, TextStyle style, TextRun& run) {
  const float size = m_Fonts.Metrics(style).Size;
  for (size_t i = piece.First; i < piece.First + piece.Count; i++) {
    m_CaretX[i] = run.Width;
    if (!m_Chars[i].Starts) continue;
    run.Glyphs.push_back({run.Width, 0, uint32_t(m_Chars[i].Code), StrokeFace});
    run.Width += GetStrokeAdvance(m_Chars[i].Code, size);
  }
}

void TextRuns::ShapePiece(const Piece& piece, size_t textBytes, TextStyle style, TextRun& run) {
  hb_font_t* font = m_Fonts.GetShaper(piece.Face, style);
  if (!font) return ShapeStrokes(piece, style, run);
  const size_t last = piece.First + piece.Count;
  const size_t pieceEnd = last < m_Chars.size() ? m_Chars[last].Byte : textBytes;
  hb_buffer_clear_contents(m_Buffer);
  for (size_t i = piece.First; i < last; i++) hb_buffer_add(m_Buffer, m_Chars[i].Code, unsigned(m_Chars[i].Byte));
  hb_buffer_set_content_type(m_Buffer, HB_BUFFER_CONTENT_TYPE_UNICODE);
  hb_buffer_set_script(m_Buffer, hb_script_t(piece.Script));
  hb_buffer_set_language(m_Buffer, hb_language_get_default());
  hb_buffer_set_direction(m_Buffer, piece.Backwards ? HB_DIRECTION_RTL : HB_DIRECTION_LTR);
  static const hb_feature_t evenFigures = {HB_TAG('t', 'n', 'u', 'm'), 1, HB_FEATURE_GLOBAL_START, HB_FEATURE_GLOBAL_END};
  hb_shape(font, m_Buffer, &evenFigures, style == TextStyle::Number ? 1 : 0);

  unsigned count = 0;
  const hb_glyph_info_t* infos = hb_buffer_get_glyph_infos(m_Buffer, &count);
  const hb_glyph_position_t* places = hb_buffer_get_glyph_positions(m_Buffer, &count);
  for (unsigned i = 0; i < count;) {
    const size_t cluster = infos[i].cluster;
    const float start = run.Width;
    // Backwards the cluster before, in the order of glyphs, is the one after in the text.
    size_t clusterEnd = piece.Backwards && i > 0 ? infos[i - 1].cluster : pieceEnd;
    for (; i < count && infos[i].cluster == cluster; i++) {
      run.Glyphs.push_back(
          {run.Width + float(places[i].x_offset) / 64, float(places[i].y_offset) / 64, infos[i].codepoint, piece.Face});
      run.Width += float(places[i].x_advance) / 64;
    }
    if (!piece.Backwards && i < count) clusterEnd = infos[i].cluster;
    PlaceCarets(piece, cluster, clusterEnd, piece.Backwards ? run.Width : start, piece.Backwards ? start : run.Width);
  }
}

void TextRuns::Shape(std::string_view text, TextStyle style, TextRun& run) {
  m_NumShaped++;
  Decode(text);
  FindDirections();
  FindPieces(style);
  const bool endsBackwards = !m_Pieces.empty() && m_Pieces.back().Backwards;
  const size_t lastFirst = m_Pieces.empty() ? 0 : m_Pieces.back().First;
  OrderPieces();
  m_CaretX.assign(m_Chars.size(), 0);
  float endX = 0;
  for (const Piece& piece : m_Pieces) {
    const float start = run.Width;
    ShapePiece(piece, text.size(), style, run);
    if (piece.First == lastFirst) endX = endsBackwards ? start : run.Width;
  }
  for (size_t i = 0; i < m_Chars.size(); i++)
    if (m_Chars[i].Starts) run.Carets.push_back({m_Chars[i].Byte, m_CaretX[i]});
  run.Carets.push_back({text.size(), endX});
}

}  // namespace draw
