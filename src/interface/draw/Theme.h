#pragma once
// Colours and measures of the interface. One table, two themes; nobody else names a colour.
#include <cstdint>

enum class ThemeKind : uint8_t { Dark, Light };

/// 0xAARRGGBB. Text colours stand at least 4.5 to 1 against every ground that they are used on.
struct Theme {
  ThemeKind Kind = ThemeKind::Dark;
  uint32_t Window, Panel, PanelHeader, PanelBorder;   ///< grounds, from the back to the front
  uint32_t Field, FieldHot, FieldBorder, FieldFocus;  ///< edit fields, sliders, combo boxes
  uint32_t Button, ButtonHot, ButtonDown;
  uint32_t Accent, AccentHot, AccentText;  ///< what is chosen or filled, and text on it
  uint32_t Text, TextDim, TextDisabled, TextTitle;
  uint32_t Menu, MenuHot, Separator, Shadow;
  uint32_t Danger, Warning, Good;
  uint32_t ViewTop, ViewBottom, Grid, GridAxis;  ///< behind the scene
  uint32_t AxisX, AxisY, AxisZ, AxisText;        ///< red, green and blue of the axes, and letters on them
};

// Measures at scale 1, in pixels.
struct Measures {
  static constexpr float RowHeight = 19, RowGap = 3, Padding = 8, Gap = 6, Indent = 12, Radius = 4;
  static constexpr float HeaderHeight = 24, MenuBarHeight = 26, StatusHeight = 22, ScrollWidth = 8, IconSize = 16;
};

const Theme& GetTheme();
void SetTheme(ThemeKind kind);
/// (L1 + 0.05) / (L2 + 0.05) of the relative luminances, 1 .. 21 (WCAG 2).
float ContrastRatio(uint32_t a, uint32_t b);
/// `a` moved towards `b` by `part` 0 .. 1; alpha too.
uint32_t MixColor(uint32_t a, uint32_t b, float part);
/// The colour with another alpha, 0 .. 1.
uint32_t WithAlpha(uint32_t color, float alpha);
