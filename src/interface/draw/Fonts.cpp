#include "interface/draw/Fonts.h"

#include <fontconfig/fontconfig.h>
#include <ft2build.h>
#include <hb-ot.h>
#include <hb.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>
#include <set>
#include <unordered_map>
#include FT_FREETYPE_H
#include FT_OUTLINE_H

#include "comms/Log.h"
#include "interface/draw/StrokeFont.h"

namespace draw {

using namespace comms;

// The type scale: sizes of the em at scale 1, and which weight and figures a style takes.
namespace {

enum class Weight : uint8_t { Regular, SemiBold, Count };
struct StyleForm {
  float Size;
  Weight Cut;
};
constexpr StyleForm Forms[NumTextStyles] = {
    {11, Weight::Regular}, {12, Weight::Regular}, {12, Weight::SemiBold}, {15, Weight::SemiBold}, {12, Weight::Regular}};
constexpr float LineToSize = 1.36f;

struct Face {
  cStr File;
  int Index = 0;          // of the font in its file; the upper half names an instance of a variable font
  bool Embolden = false;  // asked for as bold, but the file is not
  bool Opened = false;
  FT_Face Outlines = nullptr;  // null after Opened: the file is broken
  hb_face_t* Tables = nullptr;
  hb_font_t* Shapers[NumTextStyles] = {};
};

// One entry of a weight's order of fonts.
struct Candidate {
  FcCharSet* Chars = nullptr;  // owned by the font set
  FcPattern* Pattern = nullptr;
  int Face = -1;  // into State::Faces once it is needed
};

}  // namespace

struct Fonts::State {
  float Scale = 1;
  FcConfig* Config = nullptr;
  FcFontSet* Sets[size_t(Weight::Count)] = {};
  cList<Candidate> Orders[size_t(Weight::Count)];
  FT_Library Library = nullptr;
  cList<Face> Faces;
  std::unordered_map<uint32_t, FaceIndex> Found[size_t(Weight::Count)];  // by code point; bounded
  StyleMetrics Metrics[NumTextStyles];

  ~State();
  void FindFonts(Weight weight);
  int AddFace(const FcPattern* pattern, Weight weight);
  bool Open(Face& face);
  FaceIndex FirstFace(Weight weight);
  FaceIndex FaceOf(Candidate& candidate, Weight weight);
  void MeasureStyles();
  void DropShapers();
};

Fonts::State::~State() {
  DropShapers();
  for (Face& face : Faces) {
    if (face.Tables) hb_face_destroy(face.Tables);
    if (face.Outlines) FT_Done_Face(face.Outlines);
  }
  if (Library) FT_Done_FreeType(Library);
  for (FcFontSet* set : Sets)
    if (set) FcFontSetDestroy(set);
  if (Config) FcConfigDestroy(Config);
}

void Fonts::State::DropShapers() {
  for (Face& face : Faces)
    for (hb_font_t*& shaper : face.Shapers) {
      if (shaper) hb_font_destroy(shaper);
      shaper = nullptr;
    }
}

// --- names -------------------------------------------------------------------------------------------------------------------

static constexpr std::string_view FontNames[] = {"Calibri 11", "Calibri 16", "Tahoma 8", "Tahoma B8"};
static constexpr TextStyle FontStyles[] = {TextStyle::Normal, TextStyle::Title, TextStyle::Small, TextStyle::Bold};

// --- lookup ------------------------------------------------------------------------------------------------------------------

static bool GetFlag(const FcPattern* pattern, const char* name) {
  FcBool value = FcFalse;
  return FcPatternGetBool(pattern, name, 0, &value) == FcResultMatch && value;
}

// All fonts of the machine that have something to add, the best first. Pictures in place of outlines (colour fonts) don't scale;
// instances of variable fonts are listed beside the variable font itself.
void Fonts::State::FindFonts(Weight weight) {
  FcPattern* wanted = FcPatternCreate();
  for (const char* family : {"Inter", "sans-serif"})
    FcPatternAddString(wanted, FC_FAMILY, reinterpret_cast<const FcChar8*>(family));
  FcPatternAddInteger(wanted, FC_WEIGHT, weight == Weight::SemiBold ? FC_WEIGHT_DEMIBOLD : FC_WEIGHT_REGULAR);
  FcPatternAddInteger(wanted, FC_SLANT, FC_SLANT_ROMAN);
  FcConfigSubstitute(Config, wanted, FcMatchPattern);
  FcDefaultSubstitute(wanted);
  FcResult result = FcResultNoMatch;
  FcFontSet*& set = Sets[size_t(weight)];
  set = FcFontSort(Config, wanted, FcTrue, nullptr, &result);
  FcPatternDestroy(wanted);
  for (int i = 0; set && i < set->nfont; i++) {
    FcPattern* pattern = set->fonts[i];
    Candidate candidate;
    candidate.Pattern = pattern;
    const bool usable = GetFlag(pattern, FC_SCALABLE) && !GetFlag(pattern, FC_COLOR) && !GetFlag(pattern, FC_VARIABLE);
    if (usable && FcPatternGetCharSet(pattern, FC_CHARSET, 0, &candidate.Chars) == FcResultMatch)
      Orders[size_t(weight)].push_back(candidate);
  }
}

int Fonts::State::AddFace(const FcPattern* pattern, Weight weight) {
  FcChar8* file = nullptr;
  Face face;
  if (FcPatternGetString(pattern, FC_FILE, 0, &file) != FcResultMatch) return -1;
  face.File = reinterpret_cast<const char*>(file);
  FcPatternGetInteger(pattern, FC_INDEX, 0, &face.Index);
  int cut = FC_WEIGHT_REGULAR;
  FcPatternGetInteger(pattern, FC_WEIGHT, 0, &cut);
  face.Embolden = weight == Weight::SemiBold && cut < FC_WEIGHT_DEMIBOLD;
  for (size_t i = 0; i < Faces.size(); i++)
    if (Faces[i].File == face.File && Faces[i].Index == face.Index && Faces[i].Embolden == face.Embolden) return int(i);
  if (Faces.size() >= StrokeFace) return -1;
  Faces.push_back(face);
  return int(Faces.size()) - 1;
}

bool Fonts::State::Open(Face& face) {
  if (face.Opened) return face.Outlines != nullptr;
  face.Opened = true;
  if (FT_New_Face(Library, face.File.c_str(), face.Index, &face.Outlines) != 0) {
    face.Outlines = nullptr;
    LogWarning("Can't generate font: \"%s\" can't be read; another one takes its place.", face.File.c_str());
    return false;
  }
  hb_blob_t* blob = hb_blob_create_from_file(face.File.c_str());
  face.Tables = hb_face_create(blob, unsigned(face.Index) & 0xFFFF);
  hb_blob_destroy(blob);
  return true;
}

// StrokeFace where the candidate's file serves not.
FaceIndex Fonts::State::FaceOf(Candidate& candidate, Weight weight) {
  if (candidate.Face < 0) candidate.Face = AddFace(candidate.Pattern, weight);
  return candidate.Face >= 0 && Open(Faces[size_t(candidate.Face)]) ? FaceIndex(candidate.Face) : StrokeFace;
}

FaceIndex Fonts::State::FirstFace(Weight weight) {
  for (Candidate& candidate : Orders[size_t(weight)])
    if (const FaceIndex face = FaceOf(candidate, weight); face != StrokeFace) return face;
  return StrokeFace;
}

FaceIndex Fonts::FindFace(char32_t code, TextStyle style) {
  constexpr size_t MaxFound = 1 << 16;
  const Weight weight = Forms[size_t(style)].Cut;
  auto& found = m_State->Found[size_t(weight)];
  if (const auto at = found.find(code); at != found.end()) return at->second;
  if (found.size() >= MaxFound) found.clear();
  FaceIndex best = StrokeFace;
  for (Candidate& candidate : m_State->Orders[size_t(weight)]) {
    if (!FcCharSetHasChar(candidate.Chars, code)) continue;
    best = m_State->FaceOf(candidate, weight);
    if (best != StrokeFace) break;
  }
  if (best == StrokeFace) best = m_State->FirstFace(weight);
  found.emplace(code, best);
  return best;
}

bool Fonts::HasChar(FaceIndex face, char32_t code) const {
  return face < m_State->Faces.size() && m_State->Faces[face].Outlines &&
         FT_Get_Char_Index(m_State->Faces[face].Outlines, code) != 0;
}

// --- sizes -------------------------------------------------------------------------------------------------------------------

// Capitals stand on whole pixels, as hinting makes them.
void Fonts::State::MeasureStyles() {
  for (size_t i = 0; i < NumTextStyles; i++) {
    StyleMetrics& metrics = Metrics[i];
    metrics.Size = Forms[i].Size * Scale;
    metrics.LineHeight = std::round(metrics.Size * LineToSize);
    float capToSize = StrokeCapHeight;
    const FaceIndex face = FirstFace(Forms[i].Cut);
    if (face != StrokeFace) {
      FT_Face outlines = Faces[face].Outlines;
      capToSize = 0.72f;
      if (FT_Load_Char(outlines, 'H', FT_LOAD_NO_SCALE) == 0 && outlines->units_per_EM > 0)
        capToSize = float(outlines->glyph->metrics.horiBearingY) / float(outlines->units_per_EM);
    }
    metrics.CapHeight = std::round(metrics.Size * capToSize);
  }
}

Fonts::Fonts() : m_State(std::make_unique<State>()) {
  m_State->Config = FcInitLoadConfigAndFonts();
  if (FT_Init_FreeType(&m_State->Library) != 0) m_State->Library = nullptr;
  if (m_State->Config && m_State->Library)
    for (const Weight weight : {Weight::Regular, Weight::SemiBold}) m_State->FindFonts(weight);
  if (m_State->FirstFace(Weight::Regular) == StrokeFace)
    LogWarning(
        "Can't generate font: none on this machine can be read; the built-in strokes, which know ASCII alone, take its place.");
  m_State->MeasureStyles();
}
Fonts::~Fonts() = default;

void Fonts::SetScale(float scale) {
  if (scale == m_State->Scale) return;
  m_State->Scale = scale;
  m_State->DropShapers();
  m_State->MeasureStyles();
}

const StyleMetrics& Fonts::Metrics(TextStyle style) const { return m_State->Metrics[size_t(style)]; }

int Fonts::SubpixelSteps(TextStyle style) const { return Metrics(style).Size < 22 ? 4 : 2; }

hb_font_t* Fonts::GetShaper(FaceIndex index, TextStyle style) {
  if (index >= m_State->Faces.size() || !m_State->Open(m_State->Faces[index])) return nullptr;
  Face& face = m_State->Faces[index];
  hb_font_t*& shaper = face.Shapers[size_t(style)];
  if (!shaper) {
    shaper = hb_font_create(face.Tables);
    const int size = int(std::lround(Metrics(style).Size * 64));
    hb_font_set_scale(shaper, size, size);
    if (const unsigned instance = unsigned(face.Index) >> 16) hb_font_set_var_named_instance(shaper, instance - 1);
  }
  return shaper;
}

// --- pixels ------------------------------------------------------------------------------------------------------------------

static Mask ToMask(const FT_GlyphSlot slot) {
  Mask mask;
  const FT_Bitmap& bitmap = slot->bitmap;
  if (bitmap.pixel_mode != FT_PIXEL_MODE_GRAY) return mask;
  mask.Width = int(bitmap.width);
  mask.Height = int(bitmap.rows);
  mask.Left = slot->bitmap_left;
  mask.Top = slot->bitmap_top;
  mask.Coverage.resize(size_t(mask.Width) * size_t(mask.Height));
  for (int row = 0; row < mask.Height; row++)
    std::memcpy(mask.Coverage.data() + size_t(row) * size_t(mask.Width), bitmap.buffer + std::ptrdiff_t(row) * bitmap.pitch,
                size_t(mask.Width));
  return mask;
}

// Light hinting moves outlines up and down alone, so that they may stand anywhere between two columns.
Mask Fonts::Rasterize(FaceIndex index, TextStyle style, uint32_t glyph, int step) {
  const float size = Metrics(style).Size, shift = float(step) / float(SubpixelSteps(style));
  if (index == StrokeFace) return RasterizeStrokes(char32_t(glyph), size, shift, Forms[size_t(style)].Cut == Weight::SemiBold);
  if (index >= m_State->Faces.size() || !m_State->Open(m_State->Faces[index])) return {};
  const Face& face = m_State->Faces[index];
  const FT_F26Dot6 height = FT_F26Dot6(std::lround(size * 64));
  if (FT_Set_Char_Size(face.Outlines, height, height, 72, 72) != 0) return {};
  if (FT_Load_Glyph(face.Outlines, glyph, FT_LOAD_TARGET_LIGHT | FT_LOAD_NO_BITMAP) != 0) return {};
  FT_GlyphSlot slot = face.Outlines->glyph;
  if (slot->format != FT_GLYPH_FORMAT_OUTLINE) return {};
  if (face.Embolden) FT_Outline_Embolden(&slot->outline, height / 24);
  FT_Outline_Translate(&slot->outline, FT_Pos(std::lround(shift * 64)), 0);
  if (FT_Render_Glyph(slot, FT_RENDER_MODE_NORMAL) != 0) return {};
  return ToMask(slot);
}

}  // namespace draw

std::span<const std::string_view> GetFontNames() { return draw::FontNames; }

TextStyle FindFont(std::string_view name) {
  for (size_t i = 0; i < std::size(draw::FontNames); i++)
    if (draw::FontNames[i] == name) return draw::FontStyles[i];
  static std::set<std::string, std::less<>> said;
  if (!name.empty() && said.size() < 1000 && said.emplace(name).second)
    comms::LogWarning("Can't generate font \"%s\": %s and %s are some that there are.", std::string(name).c_str(),
                      draw::FontNames[0].data(), draw::FontNames[3].data());
  return TextStyle::Normal;
}
