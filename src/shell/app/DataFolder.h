#pragma once
// Where the program's own read-only files lie: shaders, samples, languages.
#include <string>

/// Places to look at, in this order. Empty ones are left out.
struct DataFolderPlaces {
  std::string Option;   ///< --data; must exist where it is given
  std::string Program;  ///< full path of the running program: "data" beside it, then "../share/morvane"
  std::string Build;    ///< the source tree that the program was built from
};

/// The first of the places that is a folder, without a slash at its end. Empty, with one sentence in `error`, where none is or
/// where a folder that somebody named is not there.
std::string FindDataFolder(const DataFolderPlaces& places, std::string& error);
