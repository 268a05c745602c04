#include "shell/core/Json.h"

#include <charconv>
#include <cmath>

#include "shell/core/Utf8.h"

std::string JsonString(std::string_view text) {
  std::string json = "\"";
  for (size_t at = 0; at < text.size();) {
    const size_t length = Utf8SequenceLength(text.substr(at));
    const char c = text[at];
    if (length == 0) {
      json += "\xEF\xBF\xBD";
      ++at;
      continue;
    }
    if (c == '"' || c == '\\') {
      json += '\\';
      json += c;
    } else if (c == '\n') {
      json += "\\n";
    } else if (c == '\r') {
      json += "\\r";
    } else if (c == '\t') {
      json += "\\t";
    } else if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) {
      json += comms::Format("\\u%04x", unsigned(static_cast<unsigned char>(c)));
    } else {
      json += text.substr(at, length);
    }
    at += length;
  }
  return json += '"';
}

template <class T>
static std::string ShortestNumber(T value) {
  if (!std::isfinite(value)) return "null";
  char digits[40];
  return {digits, std::to_chars(digits, digits + sizeof digits, value).ptr};
}
std::string JsonNumber(double value) { return ShortestNumber(value); }
std::string JsonNumber(float value) { return ShortestNumber(value); }

JsonArray& JsonArray::AddEncoded(std::string_view json) {
  if (!m_Body.empty()) m_Body += ", ";
  m_Body += json;
  return *this;
}

JsonObject& JsonObject::Add(std::string_view key, const comms::cVec3& value) {
  return Add(key, JsonArray().AddNumber(value.x).AddNumber(value.y).AddNumber(value.z));
}
JsonObject& JsonObject::AddBounded(std::string_view key, std::string_view value) {
  if (value.size() <= MaxJsonText) return Add(key, value);
  return Add(key, JsonObject().Add("text", CutUtf8(value, MaxJsonText)).Add("bytes", value.size()));
}
JsonObject& JsonObject::AddEncoded(std::string_view key, std::string_view json) {
  if (!m_Body.empty()) m_Body += ", ";
  m_Body += JsonString(key);
  m_Body += ": ";
  m_Body += json;
  return *this;
}
JsonObject& JsonObject::Append(const JsonObject& other) {
  if (!m_Body.empty() && !other.m_Body.empty()) m_Body += ", ";
  m_Body += other.m_Body;
  return *this;
}
