#include "Claims.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <unordered_map>

#include "Registry.h"

namespace bench {

std::vector<Benchmark>& AllBenchmarks() {
  static std::vector<Benchmark> all;
  return all;
}

std::map<std::string, std::function<void(const std::string&)>>& AllChildTasks() {
  static std::map<std::string, std::function<void(const std::string&)>> all;
  return all;
}

Benchmark::Benchmark(const char* name, std::function<void(std::vector<Claim>&)> run) : Name(name), Run(std::move(run)) {
  AllBenchmarks().push_back(*this);
}

ChildTask::ChildTask(const char* name, std::function<void(const std::string&)> work) { AllChildTasks()[name] = std::move(work); }

Claim LimitClaim(const std::string& text, double ours, double limit) {
  Claim claim;
  claim.Text = text;
  claim.Ours = ours;
  claim.Peer = limit;
  claim.Ratio = ours / limit;
  claim.Goal = "<= 1";
  return claim;
}

bool Holds(const Claim& claim) {
  char comparison[3] = {};
  double bound = 0;
  if (!claim.Failed.empty()) return false;
  if (std::sscanf(claim.Goal.c_str(), "%2[<>=] %lf", comparison, &bound) != 2) return false;
  if (comparison[0] == '=') return claim.Ratio == bound;
  return comparison[0] == '<' ? claim.Ratio <= bound : claim.Ratio >= bound;
}

double Seconds(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const size_t n = values.size();
  if (n == 0) return 0;
  return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

Spread SpreadOf(std::vector<double> values) {
  const double median = Median(values);
  if (values.size() < 2 || median <= 0) return {};
  std::sort(values.begin(), values.end());
  const size_t quarter = values.size() / 4;
  return {(values.back() - values.front()) / median, (values[values.size() - 1 - quarter] - values[quarter]) / median};
}

Pair MeasurePairs(int pairs, const std::function<void()>& ours, const std::function<void()>& peer,
                  const std::function<void()>& prepareOurs, const std::function<void()>& preparePeer) {
  std::vector<double> ourTimes, peerTimes;
  for (int i = 0; i < pairs; ++i) {
    if (prepareOurs) prepareOurs();
    ourTimes.push_back(Seconds(ours));
    if (preparePeer) preparePeer();
    peerTimes.push_back(Seconds(peer));
  }
  return {Median(ourTimes), Median(peerTimes), SpreadOf(ourTimes), SpreadOf(peerTimes)};
}

// The system's own figure for a child that ended counts what it shared with us before it became a program of its own, so the
// child tells its peak itself.
void TellPeak() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);)
    if (line.starts_with("VmHWM:")) std::printf("%s\n", line.c_str());
  std::fflush(stdout);
}

std::string OutputOfChild(const std::string& taskName, const std::string& argument) {
  std::fflush(nullptr);
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return {};
  const pid_t child = fork();
  if (child == 0) {
    dup2(ends[1], STDOUT_FILENO);
    execl("/proc/self/exe", "bench", "--child", taskName.c_str(), argument.c_str(), static_cast<char*>(nullptr));
    _exit(127);
  }
  close(ends[1]);
  std::string told;
  char piece[256];
  for (ssize_t got; (got = read(ends[0], piece, sizeof piece)) > 0;) told.append(piece, size_t(got));
  close(ends[0]);
  int status = 0;
  const bool ended = child > 0 && waitpid(child, &status, 0) == child;
  return ended && WIFEXITED(status) && WEXITSTATUS(status) == 0 ? told : std::string();
}

double PeakBytesInChild(const std::string& taskName, const std::string& argument) {
  const std::string told = OutputOfChild(taskName, argument);
  const size_t at = told.find("VmHWM:");
  return at == std::string::npos ? -1 : std::atof(told.c_str() + at + 6) * 1024;
}

std::string DataFolder() {
  const std::filesystem::path folder = BENCH_SHARED_DIR "/data";
  return std::filesystem::is_directory(folder) ? folder.string() : std::string();
}

// The meshes are read by code of the benchmarks' own, so that no claim about reading rests on the reader under test.
static bool ReadObj(const std::string& path, TriangleSoup& mesh) {
  std::ifstream file(path);
  std::string line;
  while (std::getline(file, line)) {
    const char* text = line.c_str();
    if (line.starts_with("v ")) {
      char* at = const_cast<char*>(text + 2);
      for (int i = 0; i < 3; ++i) mesh.Positions.push_back(std::strtof(at, &at));
    } else if (line.starts_with("f ")) {
      std::istringstream corners(line.substr(2));
      std::vector<int> face;
      for (std::string corner; corners >> corner;) face.push_back(std::atoi(corner.c_str()) - 1);
      for (size_t i = 2; i < face.size(); ++i) mesh.Triangles.insert(mesh.Triangles.end(), {face[0], face[i - 1], face[i]});
    }
  }
  return !mesh.Triangles.empty();
}

// Binary little-endian PLY of plain x y z floats and triangles behind a one-byte count.
static bool ReadPly(const std::string& path, TriangleSoup& mesh) {
  std::ifstream file(path, std::ios::binary);
  std::string line;
  size_t vertices = 0, faces = 0;
  while (std::getline(file, line) && line != "end_header") {
    std::sscanf(line.c_str(), "element vertex %zu", &vertices);
    std::sscanf(line.c_str(), "element face %zu", &faces);
  }
  mesh.Positions.resize(vertices * 3);
  file.read(reinterpret_cast<char*>(mesh.Positions.data()), std::streamsize(vertices * 12));
  mesh.Triangles.resize(faces * 3);
  for (size_t i = 0; i < faces; ++i) {
    if (file.get() != 3) return false;
    file.read(reinterpret_cast<char*>(&mesh.Triangles[i * 3]), 12);
  }
  return bool(file) && faces > 0;
}

bool LoadBenchMesh(const std::string& name, TriangleSoup& mesh) {
  if (DataFolder().empty()) return false;
  const std::string path = DataFolder() + "/" + name;
  return name.ends_with(".ply") ? ReadPly(path, mesh) : ReadObj(path, mesh);
}

TriangleSoup Subdivide(const TriangleSoup& mesh) {
  TriangleSoup result;
  result.Positions = mesh.Positions;
  std::unordered_map<uint64_t, int> midpoints;
  midpoints.reserve(mesh.Triangles.size());
  const auto midpoint = [&](int a, int b) {
    const uint64_t key = uint64_t(std::min(a, b)) << 32 | uint32_t(std::max(a, b));
    const auto [entry, isNew] = midpoints.try_emplace(key, int(result.Positions.size() / 3));
    if (isNew)
      for (int i = 0; i < 3; ++i)
        result.Positions.push_back((mesh.Positions[size_t(a) * 3 + i] + mesh.Positions[size_t(b) * 3 + i]) * 0.5f);
    return entry->second;
  };
  result.Triangles.reserve(mesh.Triangles.size() * 4);
  for (size_t t = 0; t < mesh.Triangles.size(); t += 3) {
    const int a = mesh.Triangles[t], b = mesh.Triangles[t + 1], c = mesh.Triangles[t + 2];
    const int ab = midpoint(a, b), bc = midpoint(b, c), ca = midpoint(c, a);
    result.Triangles.insert(result.Triangles.end(), {a, ab, ca, b, bc, ab, c, ca, bc, ab, bc, ca});
  }
  return result;
}

}  // namespace bench
