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
/// declared ranges are brought to their ends; words that a member doesn't know are said and give what loading
/// gives for them. Everything that is wrong gets a line in the log, with the file.
ObjectFileState LoadObjectFile(BaseClass& object, const std::string& path, const char* rootName = nullptr);
/// Writes it, whole or not at all; makes the folder. False with a line in the log.
bool StoreObjectFile(BaseClass& object, const std::string& path, const char* rootName = nullptr);
/// Notices changes of an object by what would be stored of it, whoever made them.
class ChangeWatch {
 public:
  /// Whether it is another than at the last call. The first call only looks.
  bool IsChanged(BaseClass& object);

 private:
  std::string m_Text;
};
/// Brings every number of the object's own members that lies outside its declared range, or is none, to a valid one; returns the
/// names, apart by ", ".
std::string ClampToRanges(BaseClass& object);
/// XmlNode::Parse without its box, which would ask a person who has seen nothing of the program yet: what is wrong with the text
/// is for the caller to say. False where it is empty or damaged.
bool ParseQuietly(XmlNode& root, std::string_view text);
