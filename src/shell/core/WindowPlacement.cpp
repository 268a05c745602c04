#include "shell/core/WindowPlacement.h"

#include <charconv>
#include <climits>
#include <cstdlib>
#include <vector>

#include "comms/Log.h"
#include "comms/SafeFile.h"
#include "comms/Str.h"
#include "shell/core/DataPath.h"

// Up to five whole numbers, as "%d%d%d%d%d" takes them: white space before each, a sign, and the end at the first text that is
// none.
static int ReadNumbers(std::string_view text, int (&numbers)[5]) {
  int count = 0;
  while (count < 5) {
    const size_t first = text.find_first_not_of(" \t\r\n\v\f");
    if (first == text.npos) break;
    text.remove_prefix(first);
    const size_t plus = text.size() > 1 && text[0] == '+' && text[1] != '-';
    const auto [end, fault] = std::from_chars(text.data() + plus, text.data() + text.size(), numbers[count]);
    if (fault != std::errc()) break;
    text.remove_prefix(size_t(end - text.data()));
    ++count;
  }
  return count;
}

bool ParseWindowRect(std::string_view text, WindowRect& rect) {
  int numbers[5] = {};
  const int count = ReadNumbers(text, numbers);
  if (count < 4 || numbers[3] == INT_MIN) return false;
  const bool maximized = numbers[3] < 0 || (count == 5 && numbers[4] != 0);
  const WindowRect read{numbers[0], numbers[1], numbers[2], std::abs(numbers[3]), maximized};
  if (read.Right <= read.Left || read.Bottom <= read.Top) return false;
  rect = read;
  return true;
}

std::string PrintWindowRect(const WindowRect& rect) {
  return comms::Format("%d %d %d %d %d\n", rect.Left, rect.Top, rect.Right, rect.Maximized ? -rect.Bottom : rect.Bottom,
                       rect.Maximized ? 1 : 0);
}

bool LoadWindowRect(WindowRect& rect) {
  std::vector<uint8_t> bytes;
  std::string error;
  const std::string path = GetFullPath("window.txt");
  if (!comms::FileExists(path) || !comms::ReadWholeFile(path, bytes, error)) return false;
  return ParseWindowRect(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()), rect);
}

bool StoreWindowRect(const WindowRect& rect) {
  const std::string text = PrintWindowRect(rect);
  comms::SafeFileWriter file(GetFullPath("window.txt"));
  file.Write(text.data(), text.size());
  if (file.Commit()) return true;
  comms::LogWarning("%s", file.Error().c_str());
  return false;
}
