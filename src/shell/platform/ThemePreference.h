#pragma once
// Whether the desktop is dark or light.
#include <string>
#include <string_view>

enum class ThemePreference { Dark, Light };

/// Asks the desktop's portal, then the environment (GTK_THEME), then the desktop's settings through its own command; a desktop
/// without a preference for either has the one of its theme, by the theme's name. Each question has `limitSec` seconds. Dark
/// where nobody tells.
ThemePreference ReadThemePreference(double limitSec = 0.5);
/// What a theme's name, such as "Adwaita:dark", tells; false where it is empty. Quotes do not count.
bool JudgeThemeName(std::string_view name, ThemePreference& preference);
/// What the desktop's word, such as 'prefer-light', tells; false where it is for neither.
bool JudgeColorScheme(std::string_view word, ThemePreference& preference);

/// Runs a program with the given words, the first one found on PATH, and takes what it prints, up to 64 KiB. False where it can't
/// be started, does not end within `limitSec` (it is ended then) or answers with another code than 0.
bool RunForText(const char* const* words, double limitSec, std::string& output);
