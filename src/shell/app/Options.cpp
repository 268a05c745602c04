#include "shell/app/Options.h"

#include <algorithm>
#include <charconv>

namespace {

struct OptionRow {
  const char *Name, *Value, *Help;  // Value: what follows, null for a switch; Help: null for what is nobody's to give
  std::string Options::*Text = nullptr;
  bool Options::*Switch = nullptr;
  int Options::*Number = nullptr;
  int Most = 0;
};

const OptionRow s_Rows[] = {
    {"--batch", "FILE", "run the commands of FILE, one a line ('-': standard input), without a window", &Options::BatchFile,
     nullptr},
    {"--mesh-job", "MESH", "sculpt a stroke into a mesh file and leave picture and meshes in out/, without a window",
     &Options::MeshJob, nullptr},
    {"--keep-going", nullptr, "go on behind a command that failed; the first failure still decides the exit code", nullptr,
     &Options::KeepGoing},
    {"--threads", "N", "use N threads, 1 to 1024 (as many as there are processors); no result depends on it", nullptr, nullptr,
     &Options::Threads, 1024},
    {"--frames", "N", "end by itself after N frames of the window", nullptr, nullptr, &Options::Frames, 1000000},
    {"--picture", "FILE", "store the window's last picture as PNG when it closes", &Options::Picture, nullptr},
    {"--data", "DIR", "folder of the program's own files, in place of the one that it finds", &Options::DataFolder, nullptr},
    {"-openautomate", "ARGS", "run as a benchmark client of the OpenAutomate interface", &Options::OpenAutomate},
    {"--ask-after-crash", nullptr, nullptr, nullptr, &Options::AskAfterCrash},
    {"--saved-after-crash", "FILE", nullptr, &Options::SavedAfterCrash},
    {"--lost-after-crash", "REASON", nullptr, &Options::LostAfterCrash},
    {"--help", nullptr, "this text and every command with its parameters", nullptr, &Options::ShowHelp},
    {"--version", nullptr, "name and version", nullptr, &Options::ShowVersion},
};

class OptionReader {
 public:
  OptionReader(const std::vector<std::string>& words, Options& options, std::string& error)
      : m_Words(words), m_Options(options), m_Error(error) {}

  bool Read() {
    bool filesOnly = false;
    for (m_At = 0; m_At < m_Words.size(); ++m_At) {
      const std::string& word = m_Words[m_At];
      if (!filesOnly && word == "--") {
        filesOnly = true;
      } else if (!filesOnly && word.size() > 1 && word[0] == '-') {
        if (!ReadOption(word)) return false;
      } else if (!TakeFile(word)) {
        return false;
      }
    }
    if (!m_Options.BatchFile.empty() && !m_Options.MeshJob.empty())
      return Fail("'--batch' and '--mesh-job' can't be run together");
    const std::string& job = m_Options.BatchFile.empty() ? m_Options.MeshJob : m_Options.BatchFile;
    if (!job.empty() && (!m_Options.Picture.empty() || m_Options.Frames > 0 || !m_Options.OpenAutomate.empty()))
      return Fail("'" + job + "' runs without a window; '--picture', '--frames' and '-openautomate' are the window's");
    if (!job.empty() && !m_Options.InputFile.empty())
      return Fail("'" + job + "' runs without a window and '" + m_Options.InputFile +
                  "' opens in one; import the mesh in the batch file");
    return true;
  }

 private:
  bool ReadOption(const std::string& word) {
    const size_t equals = word.find('=');
    const std::string name = word.substr(0, equals);
    const auto row = std::find_if(std::begin(s_Rows), std::end(s_Rows), [&](const OptionRow& r) { return name == r.Name; });
    if (row == std::end(s_Rows)) return Fail("unknown option '" + name + "'; --help lists them");
    if (std::find(m_Seen.begin(), m_Seen.end(), row) != m_Seen.end()) return Fail("'" + name + "' is given twice");
    m_Seen.push_back(row);
    if (!row->Value) {
      if (equals != std::string::npos) return Fail("'" + name + "' takes no value");
      m_Options.*row->Switch = true;
      return true;
    }
    std::string value;
    if (equals != std::string::npos) {
      value = word.substr(equals + 1);
    } else if (m_At + 1 < m_Words.size() && !m_Words[m_At + 1].starts_with("--")) {
      value = m_Words[++m_At];
    }
    if (value.empty()) return Fail("'" + name + "' needs " + row->Value);
    if (row->Number) return ReadNumber(*row, value);
    // What starts benchmarks may hand the quotes of its own line over with the words.
    if (row->Text == &Options::OpenAutomate && value.size() > 2 && value.starts_with('"') && value.ends_with('"'))
      value = value.substr(1, value.size() - 2);
    m_Options.*row->Text = value;
    return true;
  }

  bool ReadNumber(const OptionRow& row, const std::string& value) {
    int number = 0;
    const char* end = value.data() + value.size();
    const auto [stop, fault] = std::from_chars(value.data(), end, number);
    if (fault != std::errc() || stop != end || number < 1 || number > row.Most)
      return Fail(std::string("'") + row.Name + "' needs a whole number from 1 to " + std::to_string(row.Most) + ", found '" +
                  value + "'");
    m_Options.*row.Number = number;
    return true;
  }

  bool TakeFile(const std::string& word) {
    if (word.empty()) return Fail("a file name is empty");
    if (!m_Options.InputFile.empty()) return Fail("one file at a time: '" + m_Options.InputFile + "' and '" + word + "'");
    m_Options.InputFile = word;
    return true;
  }

  bool Fail(std::string sentence) {
    m_Error = std::move(sentence);
    return false;
  }

  const std::vector<std::string>& m_Words;
  Options& m_Options;
  std::string& m_Error;
  size_t m_At = 0;
  std::vector<const OptionRow*> m_Seen;
};

}  // namespace

bool ReadOptions(const std::vector<std::string>& words, Options& options, std::string& error) {
  options = {};
  return OptionReader(words, options, error).Read();
}

std::string DescribeOptions() {
  std::string text;
  for (const OptionRow& row : s_Rows) {
    if (!row.Help) continue;
    std::string line = std::string("  ") + row.Name + (row.Value ? std::string(" ") + row.Value : "");
    line.resize(std::max<size_t>(line.size() + 1, 20), ' ');
    text += line + row.Help + "\n";
  }
  return text;
}
