#pragma once
// Shader files: both sources of a program in one text, and the preamble that makes one file serve many variants.
#include <cstdint>

#include "comms/Str.h"

namespace comms {

/// A part of a shader file. It begins at its comment line, "// Vertex shader" or "// Fragment shader".
struct ShaderPart {
  cStr Text;
  int Line = 0;  ///< line of the file, from 1, at which Text begins
};
struct ShaderFile {
  ShaderPart Vertex, Fragment;
};

/// Splits the text of a shader file; the two parts stand in any order. False with one sentence, which names `fileName`, where a
/// part is missing or stands twice.
bool SplitShaderFile(const cStr& text, const cStr& fileName, ShaderFile& file, cStr& error);

/// A shader as it was when the program was built: it serves where its file is missing or broken.
struct ShippedShader {
  const char *Name, *Text;
};
extern const ShippedShader ShippedShaders[];  ///< made by the build from data/Shaders; an empty one ends it
/// Null where there is none of that name.
const char* FindShippedShader(const cStr& name);

/// What the compiler gets: version, helpers, `defines` (one a line), and the part under the line numbers of its file.
cStr MakeShaderSource(const ShaderPart& part, const cStr& defines);

/// Names of a list of shaders to compile at start: separated by " ,;\t" and line ends. "NULL" stands for no shader and is left
/// out.
cList<cStr> SplitCacheList(std::string_view text);

/// Tells whether a file changed.
struct FileStamp {
  int64_t Time = 0, Bytes = -1;
  bool IsThere() const { return Bytes >= 0; }
  friend bool operator==(const FileStamp&, const FileStamp&) = default;
};
FileStamp GetFileStamp(const cStr& path);

}  // namespace comms
