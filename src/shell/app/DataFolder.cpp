#include "shell/app/DataFolder.h"

#include <filesystem>
#include <system_error>

namespace fs = std::filesystem;

static bool IsFolder(const fs::path& path) {
  std::error_code fault;
  return fs::is_directory(path, fault);
}

static std::string WithoutSlash(const fs::path& path) {
  std::string text = path.lexically_normal().string();
  while (text.size() > 1 && text.back() == '/') text.pop_back();
  return text;
}

std::string FindDataFolder(const DataFolderPlaces& places, std::string& error) {
  // A folder that was named and is not there would be replaced by another one in silence: better to stop.
  if (!places.Option.empty()) {
    if (IsFolder(places.Option)) return WithoutSlash(places.Option);
    error = "the data folder '" + places.Option + "' of --data is not there";
    return {};
  }
  std::string looked;
  const fs::path program = fs::path(places.Program).parent_path();
  for (const fs::path& place : {places.Program.empty() ? fs::path() : program / "data",
                                places.Program.empty() ? fs::path() : program / "../share/morvane", fs::path(places.Build)}) {
    if (place.empty()) continue;
    if (IsFolder(place)) return WithoutSlash(place);
    looked += (looked.empty() ? "'" : ", '") + place.lexically_normal().string() + "'";
  }
  error = "the program's data folder was not found; looked at " + looked + "; name it with --data DIR";
  return {};
}
