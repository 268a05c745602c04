#include "interface/draw/Theme.h"

#include <algorithm>
#include <cmath>

// Neutral greys with a trace of blue, one accent. In both themes grounds rise from the window to the buttons, and fields lie
// deeper than the panel around them.
static const Theme Themes[] = {
    {
        .Kind = ThemeKind::Dark,
        .Window = 0xFF17181A,
        .Panel = 0xFF232427,
        .PanelHeader = 0xFF2A2C2F,
        .PanelBorder = 0xFF0F1011,
        .Field = 0xFF18191B,
        .FieldHot = 0xFF1E1F22,
        .FieldBorder = 0xFF37393E,
        .FieldFocus = 0xFF6C9DF2,
        .Button = 0xFF37393E,
        .ButtonHot = 0xFF404348,
        .ButtonDown = 0xFF2C2E32,
        .Accent = 0xFF3B6FD4,
        .AccentHot = 0xFF4070D0,
        .AccentText = 0xFFFFFFFF,
        .Text = 0xFFE2E4E8,
        .TextDim = 0xFFAFB3BB,
        .TextDisabled = 0xFF8F949C,
        .TextTitle = 0xFFF4F5F7,
        .Menu = 0xFF2A2C2F,
        .MenuHot = 0xFF3A3D43,
        .Separator = 0xFF3A3C41,
        .Shadow = 0x90000000,
        .Danger = 0xFFFF8A80,
        .Warning = 0xFFE8BE5C,
        .Good = 0xFF86CC86,
        .ViewTop = 0xFF43464C,
        .ViewBottom = 0xFF1F2023,
        .Grid = 0x30FFFFFF,
        .GridAxis = 0x60FFFFFF,
        .AxisX = 0xFFEC6A70,
        .AxisY = 0xFF86C250,
        .AxisZ = 0xFF6699F6,
        .AxisText = 0xFF17181A,
    },
    {
        .Kind = ThemeKind::Light,
        .Window = 0xFFD5D7DB,
        .Panel = 0xFFEDEEF0,
        .PanelHeader = 0xFFE3E5E8,
        .PanelBorder = 0xFFBDC0C6,
        .Field = 0xFFFCFCFD,
        .FieldHot = 0xFFFFFFFF,
        .FieldBorder = 0xFFBFC3CA,
        .FieldFocus = 0xFF2F62C4,
        .Button = 0xFFDDDFE3,
        .ButtonHot = 0xFFD2D5DA,
        .ButtonDown = 0xFFC6CAD0,
        .Accent = 0xFF2F62C4,
        .AccentHot = 0xFF3B6FD4,
        .AccentText = 0xFFFFFFFF,
        .Text = 0xFF202226,
        .TextDim = 0xFF484C54,
        .TextDisabled = 0xFF595D65,
        .TextTitle = 0xFF101113,
        .Menu = 0xFFF8F8F9,
        .MenuHot = 0xFFE1E5EC,
        .Separator = 0xFFD0D3D8,
        .Shadow = 0x38101420,
        .Danger = 0xFFA8201A,
        .Warning = 0xFF714B00,
        .Good = 0xFF1C5F26,
        .ViewTop = 0xFFE2E4E8,
        .ViewBottom = 0xFFB4B8BF,
        .Grid = 0x28000000,
        .GridAxis = 0x58000000,
        .AxisX = 0xFFC4313A,
        .AxisY = 0xFF3A7A1E,
        .AxisZ = 0xFF2F62C4,
        .AxisText = 0xFFFFFFFF,
    },
};
static ThemeKind g_Kind = ThemeKind::Dark;

const Theme& GetTheme() { return Themes[size_t(g_Kind)]; }
void SetTheme(ThemeKind kind) { g_Kind = kind; }

static float GetChannel(uint32_t color, int shift) { return float((color >> shift) & 0xFF) / 255; }

static float GetLuminance(uint32_t color) {
  const auto linear = [](float c) { return c <= 0.04045f ? c / 12.92f : std::pow((c + 0.055f) / 1.055f, 2.4f); };
  return 0.2126f * linear(GetChannel(color, 16)) + 0.7152f * linear(GetChannel(color, 8)) +
         0.0722f * linear(GetChannel(color, 0));
}

float ContrastRatio(uint32_t a, uint32_t b) {
  const auto [dark, light] = std::minmax({GetLuminance(a), GetLuminance(b)});
  return (light + 0.05f) / (dark + 0.05f);
}

uint32_t MixColor(uint32_t a, uint32_t b, float part) {
  part = std::clamp(part, 0.0f, 1.0f);
  uint32_t mixed = 0;
  for (int shift = 0; shift < 32; shift += 8) {
    const float from = GetChannel(a, shift), to = GetChannel(b, shift);
    mixed |= uint32_t(std::lround((from + (to - from) * part) * 255)) << shift;
  }
  return mixed;
}

uint32_t WithAlpha(uint32_t color, float alpha) {
  return (color & 0xFFFFFF) | uint32_t(std::lround(std::clamp(alpha, 0.0f, 1.0f) * 255)) << 24;
}
