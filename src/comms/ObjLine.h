#pragma once
// Lines of OBJ text: the exact rules, and a fast look at the ordinary line.
#include <immintrin.h>
#include <cstdint>
#include <string_view>

namespace comms {

/// A line by the exact rules: at most MaxChars characters up to CR or LF; a backslash before the line end becomes a blank and
/// joins what follows; "#" cuts the line unless one of the three extensions begins it; tokens stand between blanks and tabs and
/// are cut at MaxTokenChars; a line that fills the table of tokens counts OverflowTokens.
class ObjLine {
 public:
  static constexpr int MaxChars = 2047, MaxTokens = 256, MaxTokenChars = 126, OverflowTokens = 5;

  /// Reads the line at `at`, where there must be one: `at` < `end` and no separator there. Returns where the next one begins.
  const char* Read(const char* at, const char* end);

  std::string_view Text() const { return {m_Text, size_t(m_Length)}; }
  int NumTokens() const { return m_NumTokens; }
  std::string_view Token(int i) const { return {m_Tokens[i], m_TokenLength[i]}; }
  /// The token with a line end and padding behind it, for the parsers of numbers.
  const char* TokenText(int i) const { return m_Tokens[i]; }
  /// What stands behind the first blank and the blanks after it; empty without a blank.
  std::string_view BehindFirstBlank() const;

 private:
  void Tokenize();
  int m_Length = 0, m_NumTokens = 0;
  char m_Text[MaxChars + 1];
  uint8_t m_TokenLength[MaxTokens];
  char m_Tokens[MaxTokens][MaxTokenChars + 10];
};

inline bool IsObjLineEnd(char c) { return c == '\n' || c == '\r'; }
inline bool IsObjBlank(char c) { return c == ' ' || c == '\t'; }
inline bool IsObjTokenEnd(char c) { return IsObjBlank(c) || IsObjLineEnd(c); }

/// Bytes behind the end of text under ScanObjLine; they begin with a line end.
constexpr int ObjTextPadding = 64;

/// What a line is at a glance.
struct ObjLineScan {
  const char* End;  ///< its line end; not reached where IsOdd
  int Tokens;
  bool IsOdd;  ///< holds "#" or a backslash, is too long or has too many tokens: ObjLine must read it
};

/// 32 characters at a time. The three tables hold, by the low half of a character, the one character of their class with that
/// half.
inline ObjLineScan ScanObjLine(const char* at) {
  const __m256i endTable = _mm256_broadcastsi128_si256(_mm_setr_epi8(-1, 0, 0, 0, 0, 0, 0, 0, 0, 0, '\n', 0, 0, '\r', 0, 0));
  const __m256i blankTable = _mm256_broadcastsi128_si256(_mm_setr_epi8(' ', 0, 0, 0, 0, 0, 0, 0, 0, '\t', 0, 0, 0, 0, 0, 0));
  const __m256i oddTable = _mm256_broadcastsi128_si256(_mm_setr_epi8(-1, 0, 0, '#', 0, 0, 0, 0, 0, 0, 0, 0, '\\', 0, 0, 0));
  ObjLineScan scan{at, 0, false};
  uint32_t before = 1;
  for (int i = 0; i <= ObjLine::MaxChars / 32; i++) {
    const __m256i text = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(scan.End));
    const auto find = [&](__m256i table) {
      return uint32_t(_mm256_movemask_epi8(_mm256_cmpeq_epi8(text, _mm256_shuffle_epi8(table, text))));
    };
    const uint32_t ends = find(endTable), blanks = find(blankTable), odd = find(oddTable);
    const uint32_t starts = ~blanks & (blanks << 1 | before);
    const uint32_t inside = ends ? (ends & -ends) - 1 : ~0u;
    scan.Tokens += __builtin_popcount(starts & inside);
    scan.IsOdd |= (odd & inside) != 0;
    if (ends) {
      scan.End += __builtin_ctz(ends);
      scan.IsOdd |= scan.Tokens >= ObjLine::MaxTokens || scan.End - at > ObjLine::MaxChars;
      return scan;
    }
    before = blanks >> 31;
    scan.End += 32;
  }
  scan.IsOdd = true;
  return scan;
}

}  // namespace comms
