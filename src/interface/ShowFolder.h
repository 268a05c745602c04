#pragma once
#include <string>

/// Shows the folder of a file, or a folder, on the desktop: hands it to "xdg-open" and does not wait. What went wrong is said in
/// the log.
void ShowFolderOf(const std::string& path);
