#include "comms/render/ShaderFile.h"

#include <algorithm>
#include <filesystem>
#include <utility>

namespace comms {

static std::string_view Trim(std::string_view line) {
  const size_t first = line.find_first_not_of(" \t\r");
  return first == std::string_view::npos ? std::string_view() : line.substr(first, line.find_last_not_of(" \t\r") - first + 1);
}

bool SplitShaderFile(const cStr& text, const cStr& fileName, ShaderFile& file, cStr& error) {
  file = {};
  ShaderPart* current = nullptr;
  int line = 0;
  for (size_t at = 0; at < text.size();) {
    const size_t end = std::min(text.find('\n', at), text.size());
    const std::string_view content(text.data() + at, end - at);
    line++;
    ShaderPart* begun = nullptr;
    if (Trim(content) == "// Vertex shader") begun = &file.Vertex;
    if (Trim(content) == "// Fragment shader") begun = &file.Fragment;
    if (begun) {
      if (begun->Line) {
        error = Format("Shader file \"%s\", line %d: \"%s\" stands there for the second time, first in line %d.",
                       fileName.c_str(), line, cStr(Trim(content)).c_str(), begun->Line);
        return false;
      }
      begun->Line = line;
      current = begun;
    }
    if (current) current->Text.append(content) += '\n';
    at = end + 1;
  }
  for (const auto& [part, title] : {std::pair(&file.Vertex, "// Vertex shader"), std::pair(&file.Fragment, "// Fragment shader")})
    if (part->Line == 0) {
      error = Format("Shader file \"%s\": no line \"%s\" in its %d lines.", fileName.c_str(), title, line);
      return false;
    }
  return true;
}

const char* FindShippedShader(const cStr& name) {
  for (const ShippedShader* shader = ShippedShaders; shader->Name; shader++)
    if (name == shader->Name) return shader->Text;
  return nullptr;
}

cStr MakeShaderSource(const ShaderPart& part, const cStr& defines) {
  cStr source = "#version 330 core\n#define saturate(x) clamp(x, 0.0, 1.0)\n#define lerp mix\n" + defines;
  if (source.back() != '\n') source += '\n';
  return source + Format("#line %d\n", part.Line) + part.Text;
}

cList<cStr> SplitCacheList(std::string_view text) {
  static constexpr std::string_view separators = " ,;\t\r\n";
  cList<cStr> names;
  for (size_t at = text.find_first_not_of(separators); at != text.npos; at = text.find_first_not_of(separators, at)) {
    const size_t end = std::min(text.find_first_of(separators, at), text.size());
    const std::string_view name = text.substr(at, end - at);
    if (name != "NULL") names.emplace_back(name);
    at = end;
  }
  return names;
}

FileStamp GetFileStamp(const cStr& path) {
  std::error_code error;
  const auto time = std::filesystem::last_write_time(path, error);
  if (error) return {};
  const auto bytes = std::filesystem::file_size(path, error);
  if (error) return {};
  return {int64_t(time.time_since_epoch().count()), int64_t(bytes)};
}

}  // namespace comms
