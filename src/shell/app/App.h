#pragma once
// The program from its command line to its exit code.
#include <string>
#include <vector>

struct BuildFacts {
  std::string Version;
  std::string DataFolder;  ///< of the source tree, the last place to look for the data folder
};

/// `words`: the command line behind the program's name.
/// Returns the exit code: 0 all done, 1 a command failed, 2 a line or option not understood, 3 an input not read, 4 an output not
/// written.
int RunApp(const std::vector<std::string>& words, const BuildFacts& build);
