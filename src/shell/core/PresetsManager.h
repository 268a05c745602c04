#pragma once
// Parameters of tools that the person keeps, in text files below "ToolsPresets/Custom/" of the data path: "<ClassName>.txt" is
// what a tool starts with, "<ClassName>/<name>.txt" are the presets to choose from. Each has a copy below "ToolsPresets/Backup/"
// that stays when the first is lost or damaged.
#include <string>
#include <vector>

#include "ClassEngine/BaseClass.h"

/// A preset's name is a file title (FileTitle.h); the empty name is what the class starts with.
class PresetsManager {
 public:
  /// Writes the file with WriteToFile, in place of the one of that name. False with a line in the log; the old file stays.
  static bool Save(BaseClass& parameters, const std::string& name = {});
  /// Reads it; where it is damaged, the copy. False where there is none or neither can be read; the object is as it was.
  static bool Load(BaseClass& parameters, const std::string& name = {});
  /// Names of the presets of a class, in order.
  static std::vector<std::string> List(const std::string& className);
  /// Takes the file away; the copy stays. False where there is none.
  static bool Delete(const std::string& className, const std::string& name = {});
};
