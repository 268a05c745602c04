#pragma once
// The two folders of files: the data path, where the person's own files lie and everything that is written goes, and the
// program's read-only data (see shell/app/DataFolder.h for how it is found).
#include <optional>
#include <string>
#include <string_view>

/// What the data path is found from.
struct DataPathInputs {
  std::string Environment;               ///< of MORVANE_FILES_PATH; wins where it is not empty
  std::optional<std::string> PathFile;   ///< content of "morvane_data_path.txt"; its first 511 bytes count
  std::optional<std::string> TitleFile;  ///< content of "ToolsPresets/title.txt"; up to the first blank
  std::string Documents;                 ///< the person's documents folder
};
/// Ends in "/" or "\\".
std::string FindDataPath(const DataPathInputs& inputs);
/// The documents folder of a home folder: what `userDirs` (content of "user-dirs.dirs", may be empty) names XDG_DOCUMENTS_DIR,
/// else "Documents".
std::string FindDocumentsFolder(const std::string& home, std::string_view userDirs);

/// The data path by the environment and the files of the working directory and of `programFolder`. The folder may not be there.
std::string LookUpDataPath(const std::string& programFolder);
/// Looks the data path up, makes the folder, and remembers it and `programFolder`. False with one sentence where the folder can't
/// be made.
bool InitDataPath(const std::string& programFolder, std::string& error);
/// The same for folders that are known already (batch, tests).
void SetDataPath(const std::string& dataPath, const std::string& programFolder);

/// Ends in "/". The working directory until a path was set.
const std::string& GetDataPath();
/// Where a file that the program writes lies: an absolute path as it is, else below the data path.
std::string GetFullPath(const std::string& relative);
/// Where a file is read: the person's own one if it is there, else the program's; GetFullPath where neither is.
std::string FindDataFile(const std::string& relative);
/// Makes the folder that a file is to be written to. False with one sentence in the log.
bool MakeFolderOf(const std::string& path);
