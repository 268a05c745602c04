#include "MC/StrokeFile.h"

#include <charconv>
#include <cmath>
#include <initializer_list>
#include <utility>

#include "comms/SafeFile.h"
#include "comms/Str.h"

namespace {

constexpr size_t MostStrokes = 1 << 20;  // each takes more memory than the text of a short one
constexpr size_t LongestName = 200;      // bytes, as a volume's
constexpr std::string_view Blanks = " \t\r\v\f";
constexpr float LargestNumber = 1e9f;  // world units; far beyond what 32-bit positions resolve

std::string Quote(std::string_view word) {
  std::string quoted = "'";
  for (const char c : word.substr(0, 40)) quoted += c >= ' ' && c < 127 ? c : '?';
  return quoted + (word.size() > 40 ? "...'" : "'");
}

class StrokeParser {
 public:
  StrokeParser(std::string_view text, const std::string& name) : m_Rest(text), m_Name(name) {}

  bool Parse(std::vector<Stroke>& strokes, std::string& error) {
    while (!m_Rest.empty()) {
      TakeLine();
      const std::string_view statement = TakeWord();
      if (statement.empty()) continue;
      if (!ParseStatement(statement) || !ExpectEnd()) {
        error = std::move(m_Error);
        return false;
      }
    }
    if (!CloseStroke()) return error = std::move(m_Error), false;
    strokes = std::move(m_Strokes);
    return true;
  }

 private:
  void TakeLine() {
    m_LineNumber++;
    const size_t end = m_Rest.find('\n');
    m_Line = m_Rest.substr(0, end);
    m_Rest.remove_prefix(end == m_Rest.npos ? m_Rest.size() : end + 1);
    m_Line = m_Line.substr(0, m_Line.find('#'));
  }
  std::string_view TakeWord() {
    const size_t first = m_Line.find_first_not_of(Blanks);
    m_Line.remove_prefix(first == m_Line.npos ? m_Line.size() : first);
    const size_t end = m_Line.find_first_of(Blanks);
    const std::string_view word = m_Line.substr(0, end);
    m_Line.remove_prefix(word.size());
    return word;
  }
  bool Fail(const std::string& what) {
    m_Error = comms::Format("%s, line %zu: %s.", m_Name.c_str(), m_LineNumber, what.c_str());
    return false;
  }
  bool ExpectEnd() {
    const std::string_view word = TakeWord();
    return word.empty() || Fail("found " + Quote(word) + " behind the end of the statement");
  }

  // Takes a number within limits; `what` names it in messages.
  bool TakeNumber(const char* what, float least, float most, float& value) {
    const std::string_view word = TakeWord();
    if (word.empty()) return Fail(std::string(what) + " is missing");
    const std::string_view digits = word.substr(word.size() > 1 && word[0] == '+');
    const auto [end, code] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    const bool isNumber = end == digits.data() + digits.size() && (code == std::errc() || code == std::errc::result_out_of_range);
    if (!isNumber) return Fail("found " + Quote(word) + " where " + what + " is expected");
    if (code != std::errc() || !(value >= least && value <= most))
      return Fail(
          comms::Format("%s is %s, expected a number from %g to %g", what, Quote(word).c_str(), double(least), double(most)));
    return true;
  }
  // Takes one of `choices`; its place in the list goes to `choice`.
  bool TakeChoice(std::initializer_list<const char*> choices, int& choice) {
    const std::string_view word = TakeWord();
    choice = 0;
    std::string expected;
    for (const char* name : choices) {
      if (comms::EqualsNoCase(word, name)) return true;
      expected += (choice++ ? ", " : "") + std::string(name);
    }
    return Fail((word.empty() ? std::string("a word is missing") : "found " + Quote(word)) + ", expected one of " + expected);
  }

  bool ParseStatement(std::string_view statement) {
    const auto is = [&](const char* name) { return comms::EqualsNoCase(statement, name); };
    if (is("sample")) return ParseSample();
    if (is("stroke")) return CloseStroke();
    const bool isSetting = is("tool") || is("mode") || is("airbrush") || is("symmetry") || is("spacing") || is("pressure") ||
                           is("falloff") || is("base") || is("stamp");
    if (!isSetting) return Fail("found " + Quote(statement) + ", which is no statement of a stroke file");
    if (!m_Current.Samples.empty())
      return Fail(Quote(statement) +
                  " stands behind a sample; a setting comes before the samples, and 'stroke' starts another stroke");
    return ParseSetting(is);
  }

  template <class Is>
  bool ParseSetting(Is&& is) {
    int choice = 0;
    if (is("tool")) {
      if (!TakeChoice({"Sphere", "Segment", "Carve", "Stamp"}, choice)) return false;
      m_Current.Tool = StrokeTool(choice);
    } else if (is("mode")) {
      if (!TakeChoice({"add", "subtract", "intersect"}, choice)) return false;
      m_Current.Mode = choice;
    } else if (is("airbrush")) {
      if (!TakeChoice({"off", "on"}, choice)) return false;
      m_Current.Airbrush = choice == 1;
    } else if (is("symmetry")) {
      return ParseSymmetry();
    } else if (is("spacing")) {
      return TakeNumber("spacing", 0, 100, m_Current.Spacing);
    } else if (is("pressure")) {
      if (!TakeChoice({"none", "radius", "height", "both"}, choice)) return false;
      m_Current.PressureRadius = choice & 1;
      m_Current.PressureHeight = choice & 2;
    } else if (is("falloff")) {
      return TakeNumber("falloff", 0, 1, m_Current.Falloff);
    } else if (is("base")) {
      return TakeNumber("base", -LargestNumber, LargestNumber, m_Current.Base);
    } else {
      return ParseStampName();
    }
    return true;
  }

  // Names may hold blanks.
  bool ParseStampName() {
    const size_t first = m_Line.find_first_not_of(Blanks);
    if (first == m_Line.npos) return Fail("the name of the volume to stamp is missing");
    const std::string_view name = m_Line.substr(first, m_Line.find_last_not_of(Blanks) + 1 - first);
    if (name.size() > LongestName)
      return Fail(comms::Format("the name of the volume to stamp has %zu bytes, expected at most %zu", name.size(), LongestName));
    m_Current.StampName = std::make_shared<const std::string>(name);
    m_Line = {};
    return true;
  }

  bool ParseSymmetry() {
    m_Current.Symmetry = MirrorNone;
    for (bool first = true;; first = false) {
      const std::string_view before = m_Line;
      if (!first && TakeWord().empty()) return true;
      m_Line = before;
      int choice = 0;
      if (!TakeChoice({"x", "y", "z", "none"}, choice)) return false;
      if (choice == 3) return m_Current.Symmetry == MirrorNone || Fail("symmetry is both none and an axis");
      m_Current.Symmetry |= 1 << choice;
    }
  }

  bool ParseSample() {
    PenSample sample;
    static constexpr const char* axes[6] = {"position x", "position y", "position z", "normal x", "normal y", "normal z"};
    for (int i = 0; i < 6; i++)
      if (!TakeNumber(axes[i], -LargestNumber, LargestNumber, i < 3 ? sample.Position[i] : sample.Normal[i - 3])) return false;
    if (!TakeNumber("radius", 0, LargestNumber, sample.Radius) || !TakeNumber("height", 0, LargestNumber, sample.Height) ||
        !TakeNumber("pressure", 0, 1, sample.Pressure))
      return false;
    if (sample.Radius <= 0) return Fail("radius is 0, expected a number above 0");
    sample.Normal = Normalized(sample.Normal);
    if (sample.Normal == comms::cVec3{}) return Fail("the normal has no length");
    m_Current.Samples.push_back(sample);
    return true;
  }

  bool CloseStroke() {
    if (m_Current.Samples.empty()) return true;
    if (m_Strokes.size() == MostStrokes) return Fail(comms::Format("the file holds more than %zu strokes", MostStrokes));
    // The samples move and the name is shared: what is kept stays in proportion to the text.
    std::vector<PenSample> samples = std::exchange(m_Current.Samples, {});
    m_Strokes.push_back(m_Current);
    m_Strokes.back().Samples = std::move(samples);
    return true;
  }

  std::string_view m_Rest, m_Line;
  std::string m_Name, m_Error;
  size_t m_LineNumber = 0;
  Stroke m_Current;
  std::vector<Stroke> m_Strokes;
};

}  // namespace

bool ParseStrokes(std::string_view text, const std::string& name, std::vector<Stroke>& strokes, std::string& error) {
  return StrokeParser(text, name).Parse(strokes, error);
}

bool ReadStrokeFile(const std::string& path, std::vector<Stroke>& strokes, std::string& error) {
  std::vector<uint8_t> bytes;
  if (!comms::ReadWholeFile(path, bytes, error)) return false;
  return ParseStrokes({reinterpret_cast<const char*>(bytes.data()), bytes.size()}, path, strokes, error);
}
