#include "comms/ObjReader.h"

#include <tbb/enumerable_thread_specific.h>
#include <tbb/parallel_for.h>
#include <algorithm>
#include <atomic>
#include <cstring>
#include <limits>
#include <thread>

#include "comms/Log.h"
#include "comms/NameIndex.h"
#include "comms/ObjMaterials.h"
#include "comms/Progress.h"
#include "comms/cMeshObj.h"

namespace comms {

// --- between the passes -----------------------------------------------------------------------------------------------------

namespace {
// Objects and materials in the order of the file, and which of them are current.
class ObjState {
 public:
  ObjState(const cFile& file, cRawMesh& mesh)
      : m_Mesh(mesh),
        m_File(file),
        // The rest of the process, the texts of the chunks among it, finds its place in what is left up to 64 MB.
        m_Budget(4 * file.Size() + (40 << 20)),
        m_Objects(mesh.Objects),
        m_Materials(mesh.Materials),
        m_Libraries(file.Name(), m_Budget) {}

  // Before the first chunk.
  bool Begin(const cList<ObjChunk>& chunks) {
    int64_t objects = 1, materials = 0, events = 0;
    for (const ObjChunk& chunk : chunks) {
      objects += chunk.NumObjectLines;
      materials += chunk.NumMaterialLines;
      events += int64_t(chunk.Events.size());
    }
    if (!TakeMemory(events + (objects + materials) * int64_t(sizeof(int)))) return false;
    // At most so many elements come: the lists never grow, which would hold them twice.
    m_Mesh.Objects.reserve(size_t(std::min(objects, m_Budget.Left() / ObjectBytes)));
    m_Mesh.Materials.reserve(size_t(std::min({materials, MaxMaterials, m_Budget.Left() / MaterialBytes})));
    return true;
  }

  bool TakeEvents(ObjChunk& chunk) {
    chunk.StartObject = m_Object;
    chunk.StartMaterial = m_Material;
    chunk.Current.reserve(size_t(chunk.NumObjectLines) + size_t(chunk.NumMaterialLines));
    const char* at = chunk.Events.data();
    const char* const end = at + chunk.Events.size();
    while (at < end) {
      const auto kind = ObjEvent(*at++);
      uint16_t size;
      std::memcpy(&size, at, sizeof size);
      const std::string_view content(at + sizeof size, size);
      at = content.data() + size;
      if (!Take(kind, content, chunk)) return false;
    }
    chunk.Events = {};
    return true;
  }

  bool TakeArrays(const ObjCounts& counts) {
    return TakeMemory(counts.Positions * int64_t(sizeof(cVec3)) + counts.TexCoords * int64_t(sizeof(cVec2)) +
                      counts.Normals * int64_t(sizeof(cVec3)) + counts.Records * int64_t(sizeof(cRawPolyRec)) +
                      counts.Colors * int64_t(sizeof(uint32_t)));
  }

 private:
  static constexpr int64_t MaxMaterials = 0x10000;  // a polygon's header keeps 16 bits of the index
  static constexpr int64_t NameIndexBytes = 24;     // an element, while the table grows
  static constexpr int64_t ObjectBytes = int64_t(sizeof(cRawObject)) + NameIndexBytes;
  static constexpr int64_t MaterialBytes = int64_t(sizeof(cRawMaterial) + sizeof(cRawUVSet)) + NameIndexBytes;

  bool Take(ObjEvent kind, std::string_view content, ObjChunk& chunk) {
    switch (kind) {
      case ObjEvent::FirstFace:
        if (m_Object < 0 && !AddObject("default")) return false;
        chunk.StartObject = m_Object;
        return true;
      case ObjEvent::Object:
        m_Object = m_Objects.Find(content);
        if (m_Object < 0 && !AddObject(content)) return false;
        chunk.Current.push_back(m_Object);
        return true;
      case ObjEvent::Instance: {
        constexpr size_t matrixBytes = sizeof(cMat4::m);
        if (!AddObject(content.substr(matrixBytes))) return false;
        std::memcpy(m_Mesh.Objects.back().Matrix.m, content.data(), matrixBytes);
        chunk.Current.push_back(m_Object);
        return true;
      }
      case ObjEvent::Pivot:
        if (m_Object >= 0) {
          cRawObject& object = m_Mesh.Objects[size_t(m_Object)];
          std::memcpy(&object.Pivot.x, content.data(), sizeof object.Pivot);
          object.HasPivot = true;
        }
        return true;
      case ObjEvent::Library:
        m_Library = content;
        return true;
      case ObjEvent::Material:
        m_Material = m_Materials.Find(content);
        if (m_Material < 0 && !AddMaterial(content)) return false;
        chunk.Current.push_back(m_Material);
        return true;
    }
    return true;
  }

  bool AddObject(std::string_view name) {
    cStr text(name);
    if (!TakeMemory(ObjectBytes + GetHeapBytes(text))) return false;
    m_Object = int(m_Mesh.Objects.size());
    m_Mesh.Objects.emplace_back().Name = std::move(text);
    m_Objects.AddLast();
    return true;
  }

  bool AddMaterial(std::string_view name) {
    if (int64_t(m_Mesh.Materials.size()) == MaxMaterials) {
      LogError("cMeshObj::DecodeObj(): \"%s\" has more than %lld materials.", m_File.Name().c_str(),
               static_cast<long long>(MaxMaterials));
      return false;
    }
    MtlPaths paths = m_Library.empty() ? MtlPaths() : m_Libraries.Find(m_Library, name);
    cStr text(name);
    int64_t bytes = MaterialBytes + 2 * GetHeapBytes(text);  // its UV set takes the name too
    for (const cStr& path : paths) bytes += GetHeapBytes(path);
    if (!TakeMemory(bytes)) return false;
    m_Material = int(m_Mesh.Materials.size());
    cRawMaterial& material = m_Mesh.Materials.emplace_back();
    material.Name = std::move(text);
    for (size_t slot = 0; slot < paths.size(); slot++) material.Textures[slot].FileName = std::move(paths[slot]);
    m_Materials.AddLast();
    return true;
  }

  // False after a message.
  bool TakeMemory(int64_t bytes) {
    if (m_Budget.Take(bytes)) return true;
    LogError(
        "cMeshObj::DecodeObj(): \"%s\" holds more than is read from a file of its size: its %lld bytes may take %lld in memory.",
        m_File.Name().c_str(), static_cast<long long>(m_File.Size()), static_cast<long long>(m_Budget.Limit()));
    return false;
  }

  cRawMesh& m_Mesh;
  const cFile& m_File;
  ObjBudget m_Budget;
  NameIndex<cList<cRawObject>> m_Objects;
  NameIndex<cList<cRawMaterial>> m_Materials;
  MtlLibraries m_Libraries;
  cStr m_Library;
  int m_Object = -1, m_Material = 0;
};
}  // namespace

static void Add(ObjCounts& sum, const ObjCounts& counts) {
  sum.Positions += counts.Positions;
  sum.TexCoords += counts.TexCoords;
  sum.Normals += counts.Normals;
  sum.Records += counts.Records;
  sum.Colors += counts.Colors;
}

bool ResolveObjChunks(const cFile& file, cList<ObjChunk>& chunks, cRawMesh& mesh) {
  ObjState state(file, mesh);
  if (!state.Begin(chunks)) return false;
  ObjCounts sum;
  for (ObjChunk& chunk : chunks) {
    chunk.Base = sum;
    Add(sum, chunk.Counts);
    if (!state.TakeEvents(chunk)) return false;
  }
  const int64_t most = std::max({sum.Positions, sum.TexCoords, sum.Normals});
  if (most > std::numeric_limits<int>::max()) {
    LogError("cMeshObj::DecodeObj(): \"%s\" has %lld elements of one kind, more than an index can name.", file.Name().c_str(),
             static_cast<long long>(most));
    return false;
  }
  if (!state.TakeArrays(sum)) return false;
  mesh.Positions.resize(size_t(sum.Positions));
  mesh.TexCoords.resize(size_t(sum.TexCoords));
  mesh.Normals.resize(size_t(sum.Normals));
  mesh.Polygons.resize(size_t(sum.Records));
  mesh.VertexColors.resize(size_t(sum.Colors));
  return true;
}

// --- the passes -------------------------------------------------------------------------------------------------------------

namespace {
// What a thread needs for its chunks.
struct Worker {
  ObjChunkText Text;
  ObjLine Line;
};
using Workers = tbb::enumerable_thread_specific<Worker>;

// Tells how far the file is. Chunks end on any thread, the sink is called on the thread that reads the file.
class ReadProgress {
 public:
  explicit ReadProgress(int64_t size) : m_Size(size) {}
  void Advance(int64_t bytes) {
    m_Done += bytes;
    if (m_Size <= 8000000 || std::this_thread::get_id() != m_Caller || m_Done - m_Reported <= 2000000) return;
    m_Reported = m_Done;
    if (!ShowProgress(double(m_Reported >> 8), double(m_Size >> 8), "READING_OBJ")) m_Stopped = true;
  }
  bool IsStopped() const { return m_Stopped; }

 private:
  const int64_t m_Size;
  const std::thread::id m_Caller = std::this_thread::get_id();
  std::atomic<int64_t> m_Done{0};
  int64_t m_Reported = 0;
  std::atomic<bool> m_Stopped{false};
};
}  // namespace

static bool CountChunks(const cFile& file, const ObjReadOptions& options, Workers& workers, cList<ObjChunk>& chunks) {
  const int64_t size = file.Size(), step = options.ChunkBytes;
  chunks.resize(size_t((size + step - 1) / step));
  std::atomic<bool> isRead{true};
  tbb::parallel_for(size_t(0), chunks.size(), [&](size_t i) {
    Worker& worker = workers.local();
    const int64_t begin = int64_t(i) * step;
    if (worker.Text.Find(file, begin, begin + step))
      CountObjChunk(worker.Text, worker.Line, chunks[i]);
    else
      isRead = false;
  });
  return isRead;
}

static bool ParseChunks(const cFile& file, Workers& workers, cList<ObjChunk>& chunks, cRawMesh& mesh, ReadProgress& progress) {
  std::atomic<bool> isRead{true};
  tbb::parallel_for(size_t(0), chunks.size(), [&](size_t i) {
    Worker& worker = workers.local();
    ObjChunk& chunk = chunks[i];
    if (progress.IsStopped() || chunk.Begin == chunk.End) return;
    if (worker.Text.Load(file, chunk.Begin, chunk.End))
      ParseObjChunk(worker.Text, worker.Line, chunk, mesh);
    else
      isRead = false;
    progress.Advance(chunk.End - chunk.Begin);
  });
  return isRead;
}

// The first chunk whose lines end the load, or the end.
static cList<ObjChunk>::iterator FindFailure(cList<ObjChunk>& chunks) {
  return std::find_if(chunks.begin(), chunks.end(), [](const ObjChunk& chunk) { return chunk.FailAt >= 0; });
}

// CR LF, CR and LF each end a line.
static int64_t CountLinesBefore(const cFile& file, int64_t position) {
  cList<char> piece(1 << 16);
  int64_t lines = 0;
  char before = 0;
  for (int64_t at = 0; at < position;) {
    const int64_t got = file.ReadAt(at, piece.data(), std::min<int64_t>(position - at, int64_t(piece.size())));
    if (got <= 0) break;
    for (int64_t i = 0; i < got; before = piece[size_t(i++)]) {
      const char c = piece[size_t(i)];
      lines += c == '\r' || (c == '\n' && before != '\r');
    }
    at += got;
  }
  return lines;
}

int64_t FindObjLine(const cFile& file, int64_t ObjCounts::*kind, int64_t wanted, ObjLine& line) {
  const int64_t step = ObjReadOptions().ChunkBytes;
  ObjChunkText text;
  ObjCounts counts;
  for (int64_t begin = 0; begin < file.Size(); begin += step) {
    if (!text.Find(file, begin, begin + step)) return 0;
    if (const char* const found = FindInObjChunk(text, line, counts, kind, wanted))
      return CountLinesBefore(file, text.FileBegin() + (found - text.Begin())) + 1;
  }
  return 0;
}

cStr ObjPlace(const cFile& file, int64_t lineNumber) {
  return Format("%s, line %lld", file.Name().c_str(), static_cast<long long>(lineNumber));
}

cStr DescribeObjPosition(const cFile& file, int64_t index) {
  ObjLine line;
  const int64_t number = FindObjLine(file, &ObjCounts::Positions, index, line);
  if (!number) return {};
  const cStr x(line.Token(1)), y(line.Token(2)), z(line.Token(3));
  return ObjPlace(file, number) +
         Format(": the vertex is \"%s %s %s\", three finite numbers are expected", x.c_str(), y.c_str(), z.c_str());
}

static void ReportFailure(const cFile& file, const ObjChunk& chunk, Worker& worker) {
  if (!worker.Text.Load(file, chunk.FailAt, chunk.End)) return;
  ObjLine& line = worker.Line;
  line.Read(worker.Text.Begin(), worker.Text.End());
  const std::string_view keyword = line.Token(0);
  const cStr text(line.Text());
  if (keyword == "v")
    LogError("cMeshObj::DecodeObj(): Too few position coordinates: \"%s\".", text.c_str());
  else if (keyword == "vt")
    LogError("cMeshObj::DecodeObj(): Too few texture coordinates: \"%s\".", text.c_str());
  else if (keyword == "vn")
    LogError("cMeshObj::DecodeObj(): Too few normal coordinates: \"%s\".", text.c_str());
  else
    LogError("cMeshObj: Zero indices not allowed: \"%s\".", text.c_str());
  LogError("cMeshObj::DecodeObj(): Reading \"%s\" ended at line %lld.", file.Name().c_str(),
           static_cast<long long>(CountLinesBefore(file, chunk.FailAt)) + 1);
}

static void ReportWords(const cFile& file, const cList<ObjChunk>& chunks, cRawMesh& mesh) {
  for (const ObjChunk& chunk : chunks) mesh.NumWordPositions += chunk.NumWordPositions;
  const auto found = std::find_if(chunks.begin(), chunks.end(), [](const ObjChunk& chunk) { return chunk.WordPosition >= 0; });
  if (found != chunks.end()) LogError("%s", DescribeObjPosition(file, found->WordPosition).c_str());
}

static bool ReportShortRead(const cFile& file) {
  LogError("cMeshObj::DecodeObj(): \"%s\" gives fewer than its %lld bytes.", file.Name().c_str(),
           static_cast<long long>(file.Size()));
  return false;
}

static void SetUVSets(cRawMesh& mesh) {
  cList<int> setOf;
  if (!JoinUVSets(mesh, setOf)) return;
  for (size_t i = 0; i < mesh.Polygons.size(); i += size_t(mesh.Polygons[i].Corners()) + 1) {
    cRawPolyRec& header = mesh.Polygons[i];
    header.Words[1] = header.Material() | int32_t(uint32_t(setOf[size_t(header.Material())]) << 16);
  }
}

bool ReadObj(const cFile& file, cRawMesh& mesh, const ObjReadOptions& options) {
  Workers workers;
  cList<ObjChunk> chunks;
  if (!CountChunks(file, options, workers, chunks)) return ReportShortRead(file);
  // Nothing behind a failing line matters; a zero index before it shows only when it is parsed.
  const auto failure = FindFailure(chunks);
  if (failure != chunks.end()) chunks.erase(failure + 1, chunks.end());
  if (!ResolveObjChunks(file, chunks, mesh)) return false;
  ReadProgress progress(file.Size());
  if (!ParseChunks(file, workers, chunks, mesh, progress)) return ReportShortRead(file);
  if (progress.IsStopped()) {
    LogInfo("cMeshObj::DecodeObj(): Reading \"%s\" was stopped.", file.Name().c_str());
    return false;
  }
  const auto failed = FindFailure(chunks);
  if (failed != chunks.end()) {
    ReportFailure(file, *failed, workers.local());
    return false;
  }
  ReportWords(file, chunks, mesh);
  if (mesh.Materials.empty()) mesh.Materials.emplace_back().Name = "default";
  SetUVSets(mesh);
  return true;
}

// --- codec ------------------------------------------------------------------------------------------------------------------

cRawMesh* cMeshObj::Decode(cFile& file) {
  if (file.AtEnd()) return nullptr;
  auto mesh = std::make_unique<cRawMesh>();
  mesh->Name = file.Name();
  return DecodeObj(file, *mesh) ? mesh.release() : nullptr;
}

bool cMeshObj::DecodeObj(cFile& file, cRawMesh& mesh) {
  try {
    return ReadObj(file, mesh);
  } catch (const std::exception& error) {
    LogError("cMeshObj::DecodeObj(): Not enough memory for \"%s\" (%s).", file.Name().c_str(), error.what());
    return false;
  }
}

}  // namespace comms
