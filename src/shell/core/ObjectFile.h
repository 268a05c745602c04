#pragma once
// Reflected objects in files that a person may have broken: options, hot keys, presets. A bad file never stops the program and is
// never lost.
#include <string>

#include "ClassEngine/BaseClass.h"

enum class ObjectFileState {
  Missing,   ///< no file; the object is as it was
  Loaded,    ///< all of it
  Repaired,  ///< parts were not understood or out of range; those keep or take a valid value. The file is kept beside as ".bad"
  Damaged    ///< nothing could be used; the object is as it was. The file is kept beside as ".bad"
};
/// Reads the XML form of `object` from `path`. `rootName`: name of the root node, null for the class name. Numbers outside the
/// declared ranges are brought to their ends. Everything that is wrong gets a line in the log, with the file.
ObjectFileState LoadObjectFile(BaseClass& object, const std::string& path, const char* rootName = nullptr);
/// Writes it, whole or not at all; makes the folder. False with a line in the log.
bool StoreObjectFile(BaseClass& object, const std::string& path, const char* rootName = nullptr);
/// Brings every number of the object's own members that lies outside its declared range, or is none, to a valid one; returns the
/// names, apart by ", ".
std::string ClampToRanges(BaseClass& object);
