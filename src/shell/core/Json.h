#pragma once
// JSON text for the answers of commands: objects and arrays that keep the order in which they were filled, always on one line.
//
// Whatever goes in, what comes out parses: bytes that are not valid UTF-8 become U+FFFD, control characters are escaped, numbers
// that are not finite become null. Numbers are written with the fewest digits that read back to the same value.
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <type_traits>

#include "comms/Str.h"
#include "comms/Vec.h"

/// Bytes of a text out of a file that an answer shows.
constexpr size_t MaxJsonText = 4096;

/// A JSON string with its quotes.
std::string JsonString(std::string_view text);
std::string JsonNumber(double value);
std::string JsonNumber(float value);

class JsonArray {
 public:
  JsonArray& Add(std::string_view text) { return AddEncoded(JsonString(text)); }
  JsonArray& AddNumber(double value) { return AddEncoded(JsonNumber(value)); }
  JsonArray& AddNumber(float value) { return AddEncoded(JsonNumber(value)); }
  JsonArray& AddEncoded(std::string_view json);
  bool Empty() const { return m_Body.empty(); }
  std::string Text() const { return "[" + m_Body + "]"; }

 private:
  std::string m_Body;
};

class JsonObject {
 public:
  /// A key is given once; the order of calls is the order of the text.
  JsonObject& Add(std::string_view key, std::string_view value) { return AddEncoded(key, JsonString(value)); }
  JsonObject& Add(std::string_view key, const char* value) { return AddEncoded(key, JsonString(value)); }
  JsonObject& Add(std::string_view key, float value) { return AddEncoded(key, JsonNumber(value)); }
  JsonObject& Add(std::string_view key, double value) { return AddEncoded(key, JsonNumber(value)); }
  JsonObject& Add(std::string_view key, const comms::cVec3& value);
  JsonObject& Add(std::string_view key, const JsonArray& value) { return AddEncoded(key, value.Text()); }
  JsonObject& Add(std::string_view key, const JsonObject& value) { return AddEncoded(key, value.Text()); }
  template <class T>
  requires std::is_integral_v<T> JsonObject& Add(std::string_view key, T value) {
    if constexpr (std::is_same_v<T, bool>) {
      return AddEncoded(key, value ? "true" : "false");
    } else {
      return AddEncoded(key, std::to_string(value));
    }
  }
  /// A text of any length: longer than MaxJsonText it becomes {"text": its beginning, cut between characters, "bytes": its
  /// length}.
  JsonObject& AddBounded(std::string_view key, std::string_view value);
  /// `json` is a value that is JSON already.
  JsonObject& AddEncoded(std::string_view key, std::string_view json);
  /// The members of `other` behind those that are here.
  JsonObject& Append(const JsonObject& other);
  bool Empty() const { return m_Body.empty(); }
  std::string Text() const { return "{" + m_Body + "}"; }

 private:
  std::string m_Body;
};
