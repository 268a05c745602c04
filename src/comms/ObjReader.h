#pragma once
// The stages of reading an OBJ file. It is cut into chunks at line ends. A first pass over the chunks counts what each holds and
// collects the lines that change what follows (groups, materials); a sequential step turns the counts into places in the final
// arrays and the lines into objects and materials; a second pass parses every chunk into its places. The file is read twice, in
// pieces that stay in the cache, and nothing is held twice. The result does not depend on chunks or threads.
#include <cstdint>

#include "comms/ObjLine.h"
#include "comms/cFile.h"
#include "comms/cRawMesh.h"

namespace comms {

struct ObjReadOptions {
  int64_t ChunkBytes = 1 << 19;
};

/// Fills an empty mesh. False after one message (and a second with file and line where there is one). A file whose mesh, with the
/// material libraries that it names, would take more than four times its bytes and 40 MiB is refused: no mesh of any use is
/// written in so few. Text of a vertex that is no number is read as 0; such vertices are counted in
/// cRawMesh::NumWordPositions, and the first one is an error in the log, with its line.
bool ReadObj(const cFile& file, cRawMesh& mesh, const ObjReadOptions& options = {});

/// Elements of the arrays: how many a stretch of the file holds, or how many stand before it.
struct ObjCounts {
  int64_t Positions = 0, TexCoords = 0, Normals = 0, Records = 0, Colors = 0;
};

/// Kinds of lines that change what follows. Each is kept as kind, length of its content in two bytes, content.
enum class ObjEvent : uint8_t {
  FirstFace,  ///< first polygon of a chunk, where no object was made current before it there; no content
  Object,     ///< name
  Instance,   ///< 16 floats, name
  Pivot,      ///< 3 floats
  Library,    ///< name
  Material    ///< name
};

struct ObjChunk {
  // First pass.
  int64_t Begin = 0, End = 0;  ///< bytes of the file; equal where no line begins in the chunk
  ObjCounts Counts;
  cStr Events;
  int NumObjectLines = 0, NumMaterialLines = 0;  ///< Object and Instance; Material
  int64_t FailAt = -1;                           ///< byte of the line that ends the load
  int64_t WordPosition = -1;                     ///< second pass: first position of the file's that holds text which is no number
  int64_t NumWordPositions = 0;                  ///< how many of these there are

  // Resolving.
  ObjCounts Base;
  int StartObject = -1, StartMaterial = 0;
  cList<int> Current;  ///< the object or material that each line of the kinds Object, Instance and Material makes current
};

/// Text of a chunk, with what is needed to look behind its end.
class ObjChunkText {
 public:
  /// Finds the chunk that the nominal bytes [begin, end) own: the lines that begin behind the first sure line end in it. False
  /// where the file gives less than its size.
  bool Find(const cFile& file, int64_t begin, int64_t end);
  bool Load(const cFile& file, int64_t begin, int64_t end);
  int64_t FileBegin() const { return m_FileBegin; }
  int64_t FileEnd() const { return m_FileBegin + (m_End - m_Begin); }
  const char* Begin() const { return m_Text.data() + m_Begin; }
  const char* End() const { return m_Text.data() + m_End; }

 private:
  bool Fetch(const cFile& file, int64_t begin, int64_t end);
  void Bound(int64_t begin, int64_t end, int64_t fileBegin);
  cRawList<char> m_Text;
  int64_t m_FileBegin = 0, m_Begin = 0, m_End = 0;
};

/// First pass over a chunk: counts and events.
void CountObjChunk(const ObjChunkText& text, ObjLine& line, ObjChunk& chunk);
/// Second pass: writes its elements to their places. Sets FailAt where a line ends the load.
void ParseObjChunk(const ObjChunkText& text, ObjLine& line, ObjChunk& chunk, cRawMesh& mesh);
/// Looks through the lines of a chunk for the record that holds element `wanted` of its kind; `counts` are those before the
/// chunk, then those behind it. `line` and the answer are the record; null where the chunk ends before it.
const char* FindInObjChunk(const ObjChunkText& text, ObjLine& line, ObjCounts& counts, int64_t ObjCounts::*kind, int64_t wanted);
/// Between them: bases of the chunks, objects and materials of the mesh. False after one message.
bool ResolveObjChunks(const cFile& file, cList<ObjChunk>& chunks, cRawMesh& mesh);

/// Line number, from 1, of the record that holds element `wanted` of its kind, with its text in `line`; 0 where the file holds no
/// such record. Reads the file up to there: for sentences about a fault that is already known.
int64_t FindObjLine(const cFile& file, int64_t ObjCounts::*kind, int64_t wanted, ObjLine& line);
/// "head.obj, line 12".
cStr ObjPlace(const cFile& file, int64_t lineNumber);
/// The sentence about a position that is not three finite numbers; empty where the file holds no such position.
cStr DescribeObjPosition(const cFile& file, int64_t index);

}  // namespace comms
