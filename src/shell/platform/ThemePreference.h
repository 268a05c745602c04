#pragma once
// Whether the desktop is dark or light.
#include <string>

enum class ThemePreference { Dark, Light };

/// Asks the desktop's portal, then the environment (GTK_THEME), then the desktop's settings through its own command; portal and
/// command have `limitSec` seconds each. Dark where nobody tells.
ThemePreference ReadThemePreference(double limitSec = 0.5);
/// The answer to the words of the two sources; false where they say nothing. `gtkTheme` is a theme's name such as "Adwaita:dark";
/// `colorScheme` the desktop's word such as 'prefer-light', with its quotes.
bool JudgeThemeWords(const std::string& gtkTheme, const std::string& colorScheme, ThemePreference& preference);

/// Runs a program with the given words, the first one found on PATH, and takes what it prints, up to 64 KiB. False where it can't
/// be started, does not end within `limitSec` (it is ended then) or answers with another code than 0.
bool RunForText(const char* const* words, double limitSec, std::string& output);
