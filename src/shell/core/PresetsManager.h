#pragma once
// Parameters of tools that the person keeps: one text file a class in "ToolsPresets/Custom/" of the data path, each with a copy
// in "ToolsPresets/Backup/" that stays when the first is lost or damaged.
#include <string>
#include <vector>

#include "ClassEngine/BaseClass.h"

class PresetsManager {
 public:
  /// Writes "<ClassName>.txt" with WriteToFile. False with a line in the log; the old file stays.
  static bool Save(BaseClass& parameters);
  /// Reads it; where it is damaged, the copy. False where there is none or neither can be read; the object is as it was.
  static bool Load(BaseClass& parameters);
  /// Class names that have a file, in order.
  static std::vector<std::string> List();
  static bool Has(const std::string& className);
  /// Takes the file away; the copy stays. False where there is none.
  static bool Delete(const std::string& className);

 private:
  static std::string FileOf(const char* folder, const std::string& className);
};
