#include "shell/core/BatchLine.h"

#include <algorithm>

#include "comms/Str.h"
#include "shell/core/Utf8.h"

using comms::Format;

static bool IsBlank(char c) { return c == ' ' || c == '\t'; }
static bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
static bool IsNameCharacter(char c) { return IsLetter(c) || (c >= '0' && c <= '9') || c == '_'; }

// A piece of the line fit for a message: cut short on a character's border.
static std::string Excerpt(std::string_view text) {
  constexpr size_t limit = 40;
  if (text.size() <= limit) return std::string(text);
  size_t end = limit;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
  return std::string(text.substr(0, end)) + "...";
}

namespace {

class LineParser {
 public:
  LineParser(std::string_view text, std::string& error) : m_Text(text), m_Error(error) {}

  bool Parse(BatchLine& line) {
    if (!CheckBytes()) return false;
    SkipBlanks();
    if (AtEnd()) return true;
    const std::string name = ReadName();
    if (name.empty()) return Fail("expected the name of a command, found '%s'", m_At);
    line.Name = name;
    if (!AtWordEnd()) return Fail("expected a blank behind the name of the command, found '%s'", m_At);
    for (SkipBlanks(); !AtEnd(); SkipBlanks()) {
      const size_t start = m_At;
      BatchArgument argument;
      if (!ParseArgument(argument)) return false;
      const auto same = [&](const BatchArgument& other) { return other.Key == argument.Key; };
      if (std::any_of(line.Arguments.begin(), line.Arguments.end(), same))
        return FailWith(Format("'%s' is given twice", argument.Key.c_str()), start);
      line.Arguments.push_back(std::move(argument));
    }
    return true;
  }

 private:
  bool CheckBytes() {
    if (m_Text.size() > MaxBatchLine) return FailWith(Format("the line is longer than %zu bytes", MaxBatchLine), 0);
    const size_t invalid = FindInvalidUtf8(m_Text);
    if (invalid != std::string_view::npos)
      return FailWith(Format("byte 0x%02X is not valid UTF-8", unsigned(static_cast<unsigned char>(m_Text[invalid]))), invalid);
    for (size_t i = 0; i < m_Text.size(); ++i) {
      const unsigned c = static_cast<unsigned char>(m_Text[i]);
      if ((c < 0x20 && c != '\t') || c == 0x7F) return FailWith(Format("control character 0x%02X", c), i);
    }
    return true;
  }

  // A comment begins at a word that starts with '#'.
  bool AtEnd() const { return m_At == m_Text.size() || m_Text[m_At] == '#'; }
  bool AtWordEnd() const { return m_At == m_Text.size() || IsBlank(m_Text[m_At]); }
  void SkipBlanks() {
    while (m_At < m_Text.size() && IsBlank(m_Text[m_At])) ++m_At;
  }

  std::string ReadName() {
    const size_t start = m_At;
    if (m_At < m_Text.size() && IsLetter(m_Text[m_At]))
      while (m_At < m_Text.size() && IsNameCharacter(m_Text[m_At])) ++m_At;
    return std::string(m_Text.substr(start, m_At - start));
  }

  bool ParseArgument(BatchArgument& argument) {
    const size_t start = m_At;
    argument.Key = ReadName();
    if (argument.Key.empty() || m_At == m_Text.size() || m_Text[m_At] != '=')
      return Fail("expected key=value, found '%s'", start);
    ++m_At;
    if (AtWordEnd())
      return FailWith(Format("'%s=' has no value; the empty text is written %s=\"\"", argument.Key.c_str(), argument.Key.c_str()),
                      start);
    return m_Text[m_At] == '"' ? ParseQuoted(argument.Value) : ParseBare(argument.Value);
  }

  bool ParseBare(std::string& value) {
    const size_t start = m_At;
    while (!AtWordEnd()) {
      if (m_Text[m_At] == '"') return Fail("a quote stands within the value '%s'; quotes go around all of it", start);
      ++m_At;
    }
    value = m_Text.substr(start, m_At - start);
    return true;
  }

  bool ParseQuoted(std::string& value) {
    const size_t start = m_At++;
    while (m_At < m_Text.size() && m_Text[m_At] != '"') {
      const bool escape =
          m_Text[m_At] == '\\' && m_At + 1 < m_Text.size() && (m_Text[m_At + 1] == '"' || m_Text[m_At + 1] == '\\');
      if (escape) ++m_At;
      value += m_Text[m_At++];
    }
    if (m_At == m_Text.size()) return Fail("the quote that opens at '%s' is not closed", start);
    ++m_At;
    if (!AtWordEnd()) return Fail("expected a blank behind the closing quote, found '%s'", m_At);
    return true;
  }

  // `form` takes the text from `at` on.
  bool Fail(const char* form, size_t at) {
    std::string sentence = form;
    sentence.replace(sentence.find("%s"), 2, Excerpt(m_Text.substr(at)));
    return FailWith(sentence, at);
  }
  bool FailWith(const std::string& sentence, size_t at) {
    m_Error = Format("column %zu: ", at + 1) + sentence;
    return false;
  }

  std::string_view m_Text;
  std::string& m_Error;
  size_t m_At = 0;
};

}  // namespace

bool ParseBatchLine(std::string_view text, BatchLine& line, std::string& error) {
  line = {};
  if (!text.empty() && text.back() == '\r') text.remove_suffix(1);
  return LineParser(text, error).Parse(line);
}

std::string QuoteBatchValue(std::string_view value) {
  const auto needsQuotes = [](char c) { return IsBlank(c) || c == '"'; };
  if (!value.empty() && std::none_of(value.begin(), value.end(), needsQuotes)) return std::string(value);
  std::string quoted = "\"";
  for (const char c : value) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c;
  }
  return quoted += '"';
}
