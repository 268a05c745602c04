#include "MC/room/LoggedMeshIO.h"

#include "comms/Log.h"
#include "comms/cMeshIO.h"

using comms::cMeshIO;

namespace {

/// The program's option about exchange files, set for a scope.
class AxisScope {
 public:
  explicit AxisScope(bool swapYZ) : m_Before(cMeshIO::m_SwapYZ) { cMeshIO::m_SwapYZ = swapYZ; }
  ~AxisScope() { cMeshIO::m_SwapYZ = m_Before; }
  AxisScope(const AxisScope&) = delete;
  AxisScope& operator=(const AxisScope&) = delete;

 private:
  bool m_Before;
};

// Where several things were logged, the last one is why it failed.
std::string LastEntry(std::string log) {
  while (!log.empty() && log.back() == '\n') log.pop_back();
  const size_t start = log.rfind('\n');
  return start == std::string::npos ? log : log.substr(start + 1);
}

}  // namespace

std::unique_ptr<comms::cRawMesh> LoadMeshLogged(const std::string& names, bool swapYZ, std::string& error) {
  std::unique_ptr<comms::cRawMesh> mesh;
  std::string log;
  {
    const AxisScope axes(swapYZ);
    comms::LogRecorder recorder;
    mesh.reset(cMeshIO::LoadMesh(names.c_str()));
    log = recorder.Text();
  }
  if (mesh) {
    if (!log.empty()) comms::LogInfo("%s", log.c_str());
  } else {
    error = log.empty() ? names + ": can't be read as a mesh" : LastEntry(log);
  }
  return mesh;
}

bool SaveMeshLogged(std::unique_ptr<comms::cRawMesh> mesh, const std::string& name, bool swapYZ, std::string& error) {
  const AxisScope axes(swapYZ);
  comms::LogRecorder recorder;
  if (cMeshIO::SaveMesh(mesh.get(), name.c_str())) return true;
  const std::string log = recorder.Text();
  error = log.empty() ? name + ": can't be written" : LastEntry(log);
  return false;
}
