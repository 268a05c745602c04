#pragma once
// Names that a person gives to what becomes a file: presets, layouts.
#include <string>
#include <string_view>
#include <vector>

/// Whether a file may have this name before its extension, on any system: 1 to 80 characters (and 240 bytes) of UTF-8 without
/// control characters and without / \ : * ? " < > |, that neither begins with a dot or a blank nor ends in one.
bool IsFileTitle(std::string_view name);
/// What a person typed without the dots and blanks at its ends.
std::string TrimFileTitle(std::string_view typed);

/// The names, without extension, of the files of `folder` that end in `extension`, in order; with an empty extension, the names
/// of the folders in it. None where the folder can't be read.
std::vector<std::string> ListFileTitles(const std::string& folder, std::string_view extension);
