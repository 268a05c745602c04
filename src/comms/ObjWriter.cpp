#include "comms/ObjWriter.h"

#include <tbb/parallel_pipeline.h>
#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>

#include "comms/Log.h"
#include "comms/NumberText.h"
#include "comms/ObjMaterials.h"
#include "comms/Progress.h"
#include "comms/SafeFile.h"
#include "comms/cMeshObj.h"

namespace comms {

// --- text -------------------------------------------------------------------------------------------------------------------

namespace {
// Text that grows; cheap to append to where room was asked for once.
class TextBuffer {
 public:
  void Clear() { m_Size = 0; }
  const char* Data() const { return m_Text.data(); }
  size_t Size() const { return m_Size; }
  // Where to write at most `bytes`; Take says how far it went.
  char* Room(size_t bytes) {
    if (m_Text.size() < m_Size + bytes) m_Text.resize(std::max(m_Size + bytes, m_Text.size() * 2));
    return m_Text.data() + m_Size;
  }
  void Take(const char* end) { m_Size = size_t(end - m_Text.data()); }
  void Add(std::string_view text) {
    char* const at = Room(text.size());
    std::memcpy(at, text.data(), text.size());
    Take(at + text.size());
  }

 private:
  cRawList<char> m_Text;
  size_t m_Size = 0;
};
}  // namespace

template <size_t N>
static char* PutText(char* at, const char (&text)[N]) {
  std::memcpy(at, text, N - 1);
  return at + N - 1;
}
static char* PutFloats(char* at, const float* values, int count) {
  for (int i = 0; i < count; i++) {
    if (i) *at++ = ' ';
    at = PrintFloat(at, values[i]);
  }
  return at;
}
static cVec3 Sanitize(const cVec3& v) { return {SanitizeFloat(v.x), SanitizeFloat(v.y), SanitizeFloat(v.z)}; }

// --- sections ---------------------------------------------------------------------------------------------------------------

namespace {
enum class Section { Positions, Colors, TexCoords, Normals, Faces, End };

// A stretch of one section of one object. The first of a section brings its head, the last its foot.
struct Piece {
  Section Kind = Section::Positions;
  size_t Object = 0;
  size_t Begin = 0, End = 0, SectionBegin = 0, SectionEnd = 0;
};

constexpr size_t PieceSize = 4096;  // elements; of 16 colours to a line
constexpr size_t BatchSize = 8192;  // about 200 kB of text: large enough to be written without another copy

// Gives the pieces in the order of the file.
class Outline {
 public:
  Outline(const cRawMesh& mesh, const ObjPlan& plan)
      : m_Plan(plan), m_NumObjects(mesh.Objects.size()), m_HasColors(mesh.VertexColors.size() == mesh.Positions.size()) {
    BeginSection();
  }
  bool Next(Piece& piece) {
    if (m_Next.Object == m_NumObjects) return false;
    m_Next.Begin = m_Next.End;
    m_Next.End = std::min(m_Next.SectionEnd, m_Next.Begin + (m_Next.Kind == Section::Faces ? 1 : PieceSize));
    piece = m_Next;
    if (m_Next.End == m_Next.SectionEnd) {
      m_Next.Kind = Section(int(m_Next.Kind) + 1);
      if (m_Next.Kind == Section::Colors && !m_HasColors) m_Next.Kind = Section::TexCoords;
      if (m_Next.Kind == Section::End) {
        m_Next.Kind = Section::Positions;
        m_Next.Object++;
      }
      BeginSection();
    }
    return true;
  }

 private:
  const cList<size_t>& Begins() const {
    switch (m_Next.Kind) {
      case Section::TexCoords:
        return m_Plan.TexCoords.Begins;
      case Section::Normals:
        return m_Plan.Normals.Begins;
      case Section::Faces:
        return m_Plan.RunBegins;
      default:
        return m_Plan.Positions.Begins;
    }
  }
  void BeginSection() {
    if (m_Next.Object == m_NumObjects) return;
    m_Next.SectionBegin = m_Next.Begin = m_Next.End = Begins()[m_Next.Object];
    m_Next.SectionEnd = Begins()[m_Next.Object + 1];
  }
  const ObjPlan& m_Plan;
  const size_t m_NumObjects;
  const bool m_HasColors;
  Piece m_Next;
};

// Makes the text of pieces.
class PieceWriter {
 public:
  PieceWriter(const cRawMesh& mesh, const ObjPlan& plan) : m_Mesh(mesh), m_Plan(plan) {}

  void Write(const Piece& piece, TextBuffer& text) const {
    switch (piece.Kind) {
      case Section::Positions:
        WritePositions(piece, text);
        break;
      case Section::Colors:
        WriteColors(piece, text);
        break;
      case Section::TexCoords:
        WriteTexCoords(piece, text);
        break;
      case Section::Normals:
        WriteNormals(piece, text);
        break;
      case Section::Faces:
        for (size_t i = piece.Begin; i < piece.End; i++) WriteFaces(m_Plan.Runs[i], text);
        break;
      case Section::End:
        break;
    }
  }

 private:
  static void WriteCount(const Piece& piece, const char* format, TextBuffer& text) {
    if (piece.End == piece.SectionEnd) text.Add(Format(format, int(piece.SectionEnd - piece.SectionBegin)));
  }

  void WriteHead(const cRawObject& object, TextBuffer& text) const {
    text.Add("\r\ng ");
    text.Add(object.Name);
    text.Add("\r\n");
    if (!object.HasPivot) return;
    text.Add("#pivot ");
    text.Take(PutFloats(text.Room(4 * MaxFloatChars), &object.Pivot.x, 3));
    text.Add("\r\n");
  }

  void WritePositions(const Piece& piece, TextBuffer& text) const {
    if (piece.Begin == piece.SectionBegin) WriteHead(m_Mesh.Objects[piece.Object], text);
    char* at = text.Room((piece.End - piece.Begin) * (4 * MaxFloatChars));
    for (size_t i = piece.Begin; i < piece.End; i++) {
      const cVec3 position = Sanitize(m_Mesh.Positions[size_t(m_Plan.Positions.Order[i])]);
      at = PutFloats(PutText(at, "\r\nv "), &position.x, 3);
    }
    text.Take(at);
    WriteCount(piece, "\r\n# %d positions\r\n", text);
  }

  void WriteColors(const Piece& piece, TextBuffer& text) const {
    if (piece.SectionBegin == piece.SectionEnd) return;
    if (piece.Begin == piece.SectionBegin)
      text.Add(
          "# The following MRGB block contains Vertex Color written by Morvane\r\n"
          "# It is kept in comments for compatibility with other tools:\r\n"
          "# every eight digits are the colour of one position, in their order\r\n");
    char* at = text.Room((piece.End - piece.Begin) * 16);
    for (size_t i = piece.Begin; i < piece.End; i++) {
      const size_t column = (i - piece.SectionBegin) % 16;
      if (column == 0) at = PutText(at, "#MRGB ");
      const uint32_t color = m_Mesh.VertexColors[size_t(m_Plan.Positions.Order[i])];
      for (int shift = 28; shift >= 0; shift -= 4) *at++ = "0123456789abcdef"[color >> shift & 15];
      if (column == 15) at = PutText(at, "\r\n");
    }
    text.Take(at);
    if (piece.End == piece.SectionEnd && (piece.SectionEnd - piece.SectionBegin) % 16) text.Add("\r\n# End of MRGB block\r\n");
  }

  void WriteTexCoords(const Piece& piece, TextBuffer& text) const {
    char* at = text.Room((piece.End - piece.Begin) * (3 * MaxFloatChars));
    for (size_t i = piece.Begin; i < piece.End; i++) {
      const cVec2& uv = m_Mesh.TexCoords[size_t(m_Plan.TexCoords.Order[i])];
      const cVec2 sane{SanitizeFloat(uv.x), SanitizeFloat(uv.y)};
      at = PutFloats(PutText(at, "\r\nvt "), &sane.x, 2);
    }
    text.Take(at);
    WriteCount(piece, "\r\n# %d texture coordinates\r\n", text);
  }

  void WriteNormals(const Piece& piece, TextBuffer& text) const {
    constexpr cVec3 defaultAxis{0, 0, 1};
    char* at = text.Room((piece.End - piece.Begin) * (4 * MaxFloatChars));
    for (size_t i = piece.Begin; i < piece.End; i++) {
      cVec3 normal = Sanitize(m_Mesh.Normals[size_t(m_Plan.Normals.Order[i])]);
      if (normal == cVec3()) normal = defaultAxis;
      at = PutFloats(PutText(at, "\r\nvn "), &normal.x, 3);
    }
    text.Take(at);
    WriteCount(piece, "\r\n# %d normals\r\n", text);
  }

  char* PutCorner(char* at, const cRawPolyRec& corner) const {
    *at++ = ' ';
    at = PrintIndex(at, uint32_t(m_Plan.Positions.Numbers[size_t(corner.Position())]));
    const bool hasTexCoord = m_Plan.HasTexCoords && corner.TexCoord() >= 0;
    if (hasTexCoord || m_Plan.HasNormals) *at++ = '/';
    if (hasTexCoord)
      at = PrintIndex(at, uint32_t(m_Plan.TexCoords.Numbers[size_t(corner.TexCoord())]));
    else if (m_Plan.HasTexCoords && m_Plan.HasNormals)
      *at++ = '0';  // every corner of such a file has three numbers; this one names no element
    if (m_Plan.HasNormals) {
      *at++ = '/';
      at = PrintIndex(at, uint32_t(m_Plan.Normals.Numbers[size_t(corner.Normal())]));
    }
    return at;
  }

  void WriteFaces(const ObjPolyRun& run, TextBuffer& text) const {
    constexpr size_t maxCornerChars = 3 * (MaxIndexChars + 1);
    int material = run.MaterialBefore, group = run.GroupBefore;
    int64_t polygon = run.FirstPolygon;
    for (size_t i = run.Begin; i < run.End; polygon++) {
      const cRawPolyRec& header = m_Mesh.Polygons[i];
      if (header.Material() != material) {
        material = header.Material();
        if (size_t(material) < m_Mesh.Materials.size()) {
          text.Add("\r\nusemtl ");
          text.Add(m_Mesh.Materials[size_t(material)].Name);
          text.Add("\r\n");
        }
      }
      if (!m_Plan.Groups.empty() && m_Plan.Groups[size_t(polygon)] != group) {
        group = m_Plan.Groups[size_t(polygon)];
        text.Add(Format("s %d\r\n", group));
      }
      const size_t end = i + size_t(header.Corners()) + 1;
      char* at = PutText(text.Room((end - i) * maxCornerChars), "f");
      for (i++; i < end; i++) at = PutCorner(at, m_Mesh.Polygons[i]);
      text.Take(PutText(at, "\r\n"));
    }
  }

  const cRawMesh& m_Mesh;
  const ObjPlan& m_Plan;
};

// Pieces that are made and written together.
struct Batch {
  cList<Piece> Pieces;
  TextBuffer Text;
  size_t Cost = 0;
};

constexpr size_t PieceCost = 8;

// What all pieces cost together, at most.
size_t CountCost(const cRawMesh& mesh, const ObjPlan& plan) {
  const bool hasColors = mesh.VertexColors.size() == mesh.Positions.size();
  const size_t elements = plan.Positions.Order.size() * (hasColors ? 2 : 1) + plan.TexCoords.Order.size() +
                          plan.Normals.Order.size() + size_t(plan.NumPolygons);
  const size_t sections = mesh.Objects.size() * (hasColors ? 5 : 4);
  return elements + PieceCost * (elements / PieceSize + plan.Runs.size() + sections);
}
}  // namespace

bool WriteObjSections(const cRawMesh& mesh, const ObjPlan& plan, cFile& file) {
  // Batches pass in order at both ends, so at most MaxBatches consecutive ones are under way and take turns with the buffers.
  constexpr size_t MaxBatches = 6;
  std::array<Batch, MaxBatches> batches;
  size_t next = 0;
  Outline outline(mesh, plan);
  const PieceWriter writer(mesh, plan);
  std::atomic<bool> failed = false;  // the first stage asks while the last one writes
  StageProgress progress(0, 1, "ExportMesh");
  progress.Begin(CountCost(mesh, plan));
  const auto collect = [&](tbb::flow_control& control) -> Batch* {
    Batch& batch = batches[next++ % MaxBatches];
    batch.Pieces.clear();
    batch.Text.Clear();
    Piece piece;
    for (batch.Cost = 0; batch.Cost < BatchSize && outline.Next(piece);) {
      batch.Pieces.push_back(piece);
      batch.Cost +=
          PieceCost + (piece.Kind == Section::Faces && piece.Begin < piece.End ? size_t(plan.Runs[piece.Begin].NumPolygons)
                                                                               : piece.End - piece.Begin);
    }
    if (batch.Pieces.empty() || failed || progress.IsCancelled()) control.stop();
    return &batch;
  };
  tbb::parallel_pipeline(MaxBatches,
                         tbb::make_filter<void, Batch*>(tbb::filter_mode::serial_in_order, collect) &
                             tbb::make_filter<Batch*, Batch*>(tbb::filter_mode::parallel,
                                                              [&](Batch* batch) {
                                                                for (const Piece& piece : batch->Pieces)
                                                                  writer.Write(piece, batch->Text);
                                                                progress.Advance(batch->Cost);
                                                                return batch;
                                                              }) &
                             tbb::make_filter<Batch*, void>(tbb::filter_mode::serial_in_order, [&](const Batch* batch) {
                               if (!file.WriteBlock(batch->Text.Data(), int64_t(batch->Text.Size()))) failed = true;
                             }));
  if (!progress.Advance(0)) file.Fail(file.Name() + ": the export was cancelled, nothing was written.");
  return !failed && !progress.IsCancelled();
}

// --- library ----------------------------------------------------------------------------------------------------------------

// The library beside the OBJ file. It goes into place together with it, so that neither an old library stands beside a new mesh
// nor the reverse.
static void WriteMtl(const cRawMesh& mesh, cFile& file) {
  auto library = std::make_unique<SafeFileWriter>(GetFolder(file.Name()) + GetBaseName(file.Name()) + ".mtl");
  if (library->Failed()) {
    LogWarning("%s", library->Error().c_str());
    return;  // the mesh is whole without it
  }
  for (const cRawMaterial& material : mesh.Materials) {
    cStr text = "newmtl " + material.Name +
                "\nNs 100.000\nd 1.00000\nillum 2\nKd 1.00000 1.00000 1.00000\nKa 0.00000 0.00000 0.00000\n"
                "Ks 1.00000 1.00000 1.00000\nKe 0.00000e+0 0.00000e+0 0.00000e+0\n";
    for (int slot = 0; slot < NumMtlSlots; slot++) {
      const cStr& path = material.Textures[slot].FileName;
      if (!path.empty()) text += MtlKeywords[slot].Text + path + "\n";
    }
    library->Write(text.data(), text.size());
  }
  file.CloseWith(std::move(library));
}

// --- codec ------------------------------------------------------------------------------------------------------------------

static void AddDeltas(cRawMesh& mesh, const cRawMorph& morph, bool forward) {
  const size_t count = std::min({mesh.Normals.size(), mesh.Positions.size(), morph.Deltas.size()});
  for (size_t i = 0; i < count; i++) {
    if (forward)
      mesh.Positions[i] += morph.Deltas[i];
    else
      mesh.Positions[i] -= morph.Deltas[i];
  }
}

// Each morph becomes a file of its own, named after the mesh's file.
static void EncodeMorphs(cMeshObj& codec, cList<std::unique_ptr<cRawMorph>> morphs, cRawMesh& mesh, cFile& file) {
  constexpr size_t extensionChars = 4;
  cStr stem = file.Name();
  if (stem.size() > extensionChars + 1) stem.resize(stem.size() - extensionChars);
  for (std::unique_ptr<cRawMorph>& morph : morphs) {
    cStr name = morph->Name;
    std::replace_if(
        name.begin(), name.end(), [](char c) { return c == '/' || c == '\\'; }, '_');
    AddDeltas(mesh, *morph, true);
    cFile morphFile;
    if (morphFile.Open(Format("%s_%s.obj", stem.c_str(), name.c_str()).c_str(), cFile::Write)) codec.Encode(&mesh, &morphFile);
    if (!morphFile.Close()) file.Fail(morphFile.Error());
    AddDeltas(mesh, *morph, false);
    morph.reset();
  }
}

static void EncodeMesh(cMeshObj& codec, cRawMesh& mesh, cFile& file) {
  if (mesh.Objects.empty() && !mesh.Polygons.empty())
    LogWarning("cMeshObj::Encode(): Mesh \"%s\" has no objects, so none of its polygons is written.", mesh.Name.c_str());
  cList<int> groups;
  if (mesh.Normals.size() > mesh.Positions.size() && mesh.HasValidIndices()) groups = SortBySmoothingGroup(mesh);
  const ObjPlan plan = PlanObj(mesh, std::move(groups));
  if (!plan.HasValidIndices) {
    file.Fail(Format("cMeshObj::Encode(): Mesh \"%s\" has indices out of range; nothing is written.", mesh.Name.c_str()));
    return;
  }
  file.WriteStr(("# Wavefront Obj file\r\n# " + mesh.Name + "\r\n").c_str());
  file.WriteStr(Format("# verts: %d uv-s: %d\r\n", int(mesh.Positions.size()), int(mesh.TexCoords.size())).c_str());
  for (cRawMaterial& material : mesh.Materials) std::replace(material.Name.begin(), material.Name.end(), ' ', '_');
  WriteMtl(mesh, file);
  file.WriteStr(("mtllib " + GetBaseName(file.Name()) + ".mtl\r\n").c_str());
  if (!WriteObjSections(mesh, plan, file)) return;
  file.WriteStr(Format("\r\n# %lld faces\r\n", static_cast<long long>(plan.NumPolygons)).c_str());
  EncodeMorphs(codec, std::exchange(mesh.Morphs, {}), mesh, file);
}

void cMeshObj::Encode(cRawMesh* mesh, cFile* file) {
  if (!file) return;
  try {
    EncodeMesh(*this, *mesh, *file);
  } catch (const std::exception& error) {
    file->Fail(Format("cMeshObj::Encode(): Not enough memory for \"%s\" (%s).", file->Name().c_str(), error.what()));
  }
}

}  // namespace comms
