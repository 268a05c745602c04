#pragma once
// A strict reader of JSON for tests: it knows nothing of the writer, so that what it accepts any other program accepts.
#include <cctype>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

struct JsonValue {
  enum class Kind { Null, Bool, Number, String, Array, Object } Type = Kind::Null;
  bool Bool = false;
  double Number = 0;
  std::string String;
  std::vector<JsonValue> Items;                           // of an array
  std::vector<std::pair<std::string, JsonValue>> Fields;  // of an object, in order

  /// Null value where there is no such field.
  const JsonValue& operator[](std::string_view key) const {
    static const JsonValue none;
    for (const auto& [name, value] : Fields)
      if (name == key) return value;
    return none;
  }
  bool Has(std::string_view key) const {
    for (const auto& field : Fields)
      if (field.first == key) return true;
    return false;
  }
};

class JsonReader {
 public:
  /// False unless `text` is one JSON value and nothing else; objects with a key twice are refused.
  static bool Read(std::string_view text, JsonValue& value) {
    JsonReader reader{text};
    reader.Skip();
    if (!reader.Value(value, 0)) return false;
    reader.Skip();
    return reader.m_At == text.size();
  }

 private:
  explicit JsonReader(std::string_view text) : m_Text(text) {}
  char Peek() const { return m_At < m_Text.size() ? m_Text[m_At] : '\0'; }
  void Skip() {
    while (Peek() == ' ' || Peek() == '\t' || Peek() == '\n' || Peek() == '\r') ++m_At;
  }
  bool Take(std::string_view word) {
    if (m_Text.substr(m_At, word.size()) != word) return false;
    m_At += word.size();
    return true;
  }
  bool Value(JsonValue& v, int depth) {
    using K = JsonValue::Kind;
    if (depth > 50) return false;
    if (Peek() == '{') return v.Type = K::Object, Object(v, depth);
    if (Peek() == '[') return v.Type = K::Array, Array(v, depth);
    if (Peek() == '"') return v.Type = K::String, Text(v.String);
    if (Take("null")) return true;
    if (Take("true")) return v.Type = K::Bool, v.Bool = true;
    if (Take("false")) return v.Type = K::Bool, true;
    return v.Type = K::Number, Number(v.Number);
  }
  bool Object(JsonValue& v, int depth) {
    ++m_At;
    for (Skip(); Peek() != '}'; Skip()) {
      if (!v.Fields.empty() && !Take(",")) return false;
      Skip();
      std::pair<std::string, JsonValue> field;
      if (!Text(field.first) || v.Has(field.first)) return false;
      Skip();
      if (!Take(":")) return false;
      Skip();
      if (!Value(field.second, depth + 1)) return false;
      v.Fields.push_back(std::move(field));
    }
    return Take("}");
  }
  bool Array(JsonValue& v, int depth) {
    ++m_At;
    for (Skip(); Peek() != ']'; Skip()) {
      if (!v.Items.empty() && !Take(",")) return false;
      Skip();
      v.Items.emplace_back();
      if (!Value(v.Items.back(), depth + 1)) return false;
    }
    return Take("]");
  }
  bool Text(std::string& text) {
    if (!Take("\"")) return false;
    for (; m_At < m_Text.size(); ++m_At) {
      const char c = m_Text[m_At];
      if (static_cast<unsigned char>(c) < 0x20) return false;
      if (c == '"') return ++m_At, true;
      if (c != '\\') {
        text += c;
        continue;
      }
      const char escaped = m_At + 1 < m_Text.size() ? m_Text[++m_At] : '\0';
      const std::string_view names = "\"\\/bfnrt", values = "\"\\/\b\f\n\r\t";
      if (const size_t known = names.find(escaped); escaped && known != std::string_view::npos) {
        text += values[known];
      } else if (escaped == 'u' && m_At + 4 < m_Text.size()) {
        const std::string digits(m_Text.substr(m_At + 1, 4));
        for (const char d : digits)
          if (!std::isxdigit(static_cast<unsigned char>(d))) return false;
        const long code = std::strtol(digits.c_str(), nullptr, 16);
        if (code > 0x7F) return false;  // the writer escapes control characters alone
        text += char(code);
        m_At += 4;
      } else {
        return false;
      }
    }
    return false;
  }
  bool Number(double& number) {
    const size_t start = m_At;
    const auto digits = [&] {
      const size_t first = m_At;
      while (std::isdigit(static_cast<unsigned char>(Peek()))) ++m_At;
      return m_At > first;
    };
    Take("-");
    const bool zero = Peek() == '0';
    const size_t lead = m_At;
    if (!digits() || (zero && m_At - lead > 1)) return false;
    if (Take(".") && !digits()) return false;
    if (Peek() == 'e' || Peek() == 'E') {
      ++m_At;
      if (Peek() == '+' || Peek() == '-') ++m_At;
      if (!digits()) return false;
    }
    number = std::strtod(std::string(m_Text.substr(start, m_At - start)).c_str(), nullptr);
    return true;
  }

  std::string_view m_Text;
  size_t m_At = 0;
};
