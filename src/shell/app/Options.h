#pragma once
// The command line.
#include <string>
#include <vector>

struct Options {
  std::string BatchFile;       ///< --batch FILE, "-" for standard input; empty: none
  std::string MeshJob;         ///< --mesh-job MESH: the sample job on a mesh; empty: none
  std::string InputFile;       ///< a mesh to open in the window; empty: the sample sculpture
  std::string Picture;         ///< --picture FILE; empty: none
  std::string DataFolder;      ///< --data DIR; empty: looked up
  std::string OpenAutomate;    ///< -openautomate ARGS, without double quotes around them; empty: none
  int Threads = 0;             ///< --threads N, 1 to 1024; 0: as many as the machine has
  int Frames = 0;              ///< --frames N; 0: until the person closes the window
  bool AskAfterCrash = false;  ///< of the program's own use: asks whether the work is to be saved, see QuestionWindow.h
  std::string SavedAfterCrash, LostAfterCrash;  ///< of the same use: tells where the work is, or why it is nowhere
  bool KeepGoing = false, ShowHelp = false, ShowVersion = false;
};

/// Reads the words behind the program's name, which may stand in any order; `--name=value` is the same as `--name value`, and
/// behind `--` every word is a file. False with one sentence in `error` where something is unknown, missing or said twice.
bool ReadOptions(const std::vector<std::string>& words, Options& options, std::string& error);

/// The text of the options for --help.
std::string DescribeOptions();
