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

}  // namespace

std::unique_ptr<comms::cRawMesh> LoadMeshLogged(const std::string& names, bool swapYZ, std::string& error) {
  std::unique_ptr<comms::cRawMesh> mesh;
  std::string log, errors;
  {
    const AxisScope axes(swapYZ);
    comms::LogRecorder recorder;
    mesh.reset(cMeshIO::LoadMesh(names.c_str()));
    log = recorder.Text();
    errors = recorder.Errors();
  }
  if (mesh && !log.empty()) comms::LogInfo("%s", log.c_str());
  error = mesh || !errors.empty() ? errors : names + ": can't be read as a mesh";
  return mesh;
}

bool SaveMeshLogged(std::unique_ptr<comms::cRawMesh> mesh, const std::string& name, bool swapYZ, std::string& error) {
  const AxisScope axes(swapYZ);
  comms::LogRecorder recorder;
  if (cMeshIO::SaveMesh(mesh.get(), name.c_str())) return true;
  error = recorder.Errors();
  if (error.empty()) error = name + ": can't be written";
  return false;
}
