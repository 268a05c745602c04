#include "comms/ObjLine.h"

#include <algorithm>
#include <cstring>

namespace comms {

static bool IsExtension(std::string_view text) {
  return text.starts_with("# matrix4x4") || text.starts_with("#MRGB") || text.starts_with("#pivot");
}

const char* ObjLine::Read(const char* at, const char* end) {
  m_Length = 0;
  while (at < end && m_Length < MaxChars) {
    const char c = *at++;
    if (!IsObjLineEnd(c)) {
      m_Text[m_Length++] = c;
    } else if (m_Length && m_Text[m_Length - 1] == '\\') {
      m_Text[m_Length - 1] = ' ';
    } else if (m_Length) {
      break;
    }
  }
  if (!IsExtension(Text()))
    if (const void* hash = std::memchr(m_Text, '#', size_t(m_Length))) m_Length = int(static_cast<const char*>(hash) - m_Text);
  Tokenize();
  return at;
}

void ObjLine::Tokenize() {
  m_NumTokens = 0;
  const char* at = m_Text;
  const char* const end = m_Text + m_Length;
  for (;;) {
    while (at < end && IsObjBlank(*at)) at++;
    if (at == end) return;
    const char* const token = at;
    while (at < end && !IsObjBlank(*at)) at++;
    const int length = std::min(int(at - token), MaxTokenChars);
    char* const copy = m_Tokens[m_NumTokens];
    std::memcpy(copy, token, size_t(length));
    std::memset(copy + length, '\n', sizeof m_Tokens[0] - size_t(MaxTokenChars));
    m_TokenLength[m_NumTokens++] = uint8_t(length);
    if (m_NumTokens == MaxTokens) {
      m_NumTokens = OverflowTokens;
      return;
    }
  }
}

std::string_view ObjLine::BehindFirstBlank() const {
  const std::string_view text = Text();
  const size_t blank = text.find(' ');
  if (blank == text.npos) return {};
  const size_t start = text.find_first_not_of(' ', blank);
  return start == text.npos ? std::string_view() : text.substr(start);
}

}  // namespace comms
