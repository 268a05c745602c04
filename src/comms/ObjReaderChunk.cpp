// What is done to one chunk of an OBJ file. Both passes walk the same lines: the ordinary ones at a glance, the rest by ObjLine.
#include <algorithm>
#include <cstring>
#include <limits>

#include "comms/NumberText.h"
#include "comms/ObjReader.h"

namespace comms {

// --- text -------------------------------------------------------------------------------------------------------------------

bool ObjChunkText::Fetch(const cFile& file, int64_t begin, int64_t end) {
  m_Text.resize(size_t(end - begin) + ObjTextPadding);
  std::memset(m_Text.data() + (end - begin), '\n', ObjTextPadding);
  return file.ReadAt(begin, m_Text.data(), end - begin) == end - begin;
}

// Where a line begins for sure: behind a separator that no backslash stands before, so that nothing can be joined across it.
static int64_t FindLineBegin(const char* text, int64_t from, int64_t end) {
  for (int64_t i = from; i < end; i++)
    if (IsObjLineEnd(text[i - 1]) && (i < 2 || text[i - 2] != '\\')) return i;
  return -1;
}

bool ObjChunkText::Find(const cFile& file, int64_t begin, int64_t end) {
  const int64_t size = file.Size();
  const int64_t fileBegin = std::max<int64_t>(begin - 2, 0);
  end = std::min(end, size);
  m_FileBegin = begin;
  m_Begin = m_End = 0;
  // The last line may go on behind the nominal end: look further and further.
  for (int64_t ahead = 4096;; ahead *= 4) {
    const int64_t fileEnd = std::min(end + ahead, size), length = fileEnd - fileBegin;
    if (!Fetch(file, fileBegin, fileEnd)) return false;
    const int64_t nominal = end - fileBegin;
    const int64_t first = begin == 0 ? 0 : FindLineBegin(m_Text.data(), begin - fileBegin, nominal);
    if (first < 0) return true;
    int64_t last = end < size ? FindLineBegin(m_Text.data(), std::max<int64_t>(nominal, 1), length) : length;
    if (last < 0 && fileEnd == size) last = length;
    if (last < 0) continue;
    m_FileBegin = fileBegin + first;
    m_Begin = first;
    m_End = last;
    // Vector loads behind the end must meet a line end at once.
    std::memset(m_Text.data() + last, '\n', ObjTextPadding);
    return true;
  }
}

bool ObjChunkText::Load(const cFile& file, int64_t begin, int64_t end) {
  m_FileBegin = begin;
  m_Begin = 0;
  m_End = end - begin;
  return Fetch(file, begin, end);
}

// --- walking the lines ------------------------------------------------------------------------------------------------------

enum class ObjRecord { Position, TexCoord, Normal, Face, Other };

static int MinTokens(ObjRecord record) { return record == ObjRecord::TexCoord ? 3 : 4; }

static ObjRecord FindRecord(std::string_view keyword) {
  if (keyword == "v") return ObjRecord::Position;
  if (keyword == "vt") return ObjRecord::TexCoord;
  if (keyword == "vn") return ObjRecord::Normal;
  if (keyword == "f") return ObjRecord::Face;
  return ObjRecord::Other;
}

static ObjRecord FindRecord(const char* at) {
  if (at[0] == 'f') return IsObjTokenEnd(at[1]) ? ObjRecord::Face : ObjRecord::Other;
  if (at[0] != 'v') return ObjRecord::Other;
  if (IsObjTokenEnd(at[1])) return ObjRecord::Position;
  if (!IsObjTokenEnd(at[2])) return ObjRecord::Other;
  return at[1] == 't' ? ObjRecord::TexCoord : at[1] == 'n' ? ObjRecord::Normal : ObjRecord::Other;
}

// A comment of no meaning, whole on its line.
static bool IsPlainComment(const char* at, const char* end) {
  if (*at != '#') return false;
  const char* const lineEnd = std::find_if(at, std::min(end, at + ObjLine::MaxChars), IsObjLineEnd);
  if (lineEnd - at == ObjLine::MaxChars || std::memchr(at, '\\', size_t(lineEnd - at))) return false;
  const std::string_view text(at, size_t(lineEnd - at));
  return !text.starts_with("#MRGB") && !text.starts_with("#pivot") && !text.starts_with("# matrix4x4");
}

// Calls, for every line in order, until one answers false:
//   visitor.Ordinary(record, at, scan)  a line of numbers that ObjLine would read the same; true, or false to have it read by
//   ObjLine visitor.Exact(line)                 any other line, with at least one token
// Returns where the line begins that was answered false; null at the end.
template <class Visitor>
static const char* WalkLines(const ObjChunkText& text, ObjLine& line, Visitor& visitor) {
  const char* at = text.Begin();
  const char* const end = text.End();
  for (;;) {
    while (at < end && IsObjLineEnd(*at)) at++;
    if (at >= end) return nullptr;
    const ObjLineScan scan = ScanObjLine(at);
    if (!scan.IsOdd && !IsObjBlank(*at)) {
      const ObjRecord record = FindRecord(at);
      if (record != ObjRecord::Other ? visitor.Ordinary(record, at, scan)
                                     : std::string_view("gomu").find(*at) == std::string_view::npos) {
        at = scan.End;
        continue;
      }
    } else if (IsPlainComment(at, end)) {
      while (at < end && !IsObjLineEnd(*at)) at++;
      continue;
    }
    const char* const begin = at;
    at = line.Read(at, end);
    if (line.NumTokens() && !visitor.Exact(line)) return begin;
  }
}

// --- first pass -------------------------------------------------------------------------------------------------------------

static std::string_view WithoutQuotes(std::string_view name) {
  if (name.starts_with('"')) name.remove_prefix(1);
  if (name.ends_with('"')) name.remove_suffix(1);
  return name;
}

static bool IsInstance(const ObjLine& line) {
  return line.NumTokens() >= 21 && line.Token(0) == "#" && line.Token(1) == "matrix4x4";
}
static bool IsColors(const ObjLine& line) { return line.Token(0) == "#MRGB" || line.Token(0) == "#pivot"; }

namespace {
struct CountVisitor {
  ObjChunk& Chunk;
  bool HasObject = false;  // made current in this chunk

  // False where the line is too short.
  bool Count(ObjRecord record, int tokens) {
    if (tokens < MinTokens(record)) return record == ObjRecord::Face;
    switch (record) {
      case ObjRecord::Position:
        Chunk.Counts.Positions++;
        break;
      case ObjRecord::TexCoord:
        Chunk.Counts.TexCoords++;
        break;
      case ObjRecord::Normal:
        Chunk.Counts.Normals++;
        break;
      case ObjRecord::Other:
        break;
      case ObjRecord::Face:
        Chunk.Counts.Records += tokens;
        if (!HasObject) {
          Add(ObjEvent::FirstFace, {});
          HasObject = true;
        }
    }
    return true;
  }

  void Add(ObjEvent kind, std::string_view content) {
    const uint16_t size = uint16_t(content.size());
    Chunk.Events += char(kind);
    Chunk.Events.append(reinterpret_cast<const char*>(&size), sizeof size).append(content);
    Chunk.NumObjectLines += kind == ObjEvent::Object || kind == ObjEvent::Instance;
    Chunk.NumMaterialLines += kind == ObjEvent::Material;
  }

  bool Ordinary(ObjRecord record, const char*, const ObjLineScan& scan) { return Count(record, scan.Tokens); }

  bool Exact(const ObjLine& line) {
    const std::string_view keyword = line.Token(0);
    const ObjRecord record = FindRecord(keyword);
    if (record != ObjRecord::Other) return Count(record, line.NumTokens());
    if (IsColors(line)) {
      if (keyword == "#pivot" && line.NumTokens() == 4) AddPivot(line);
      Chunk.Counts.Colors += int64_t(line.BehindFirstBlank().size() / 8);
    } else if (IsInstance(line)) {
      AddInstance(line);
    } else if (line.NumTokens() < 2) {
      return true;
    } else if (keyword == "g" || keyword == "o") {
      Add(ObjEvent::Object, line.Token(1));
      HasObject = true;
    } else if (keyword == "mtllib") {
      Add(ObjEvent::Library, line.Token(1));
    } else if (keyword == "usemtl") {
      Add(ObjEvent::Material, line.Token(1));
    }
    return true;
  }

  void AddPivot(const ObjLine& line) {
    float pivot[3];
    for (int i = 0; i < 3; i++) {
      const char* at = line.TokenText(1 + i);
      pivot[i] = ParseFloat(at);
    }
    Add(ObjEvent::Pivot, {reinterpret_cast<const char*>(pivot), sizeof pivot});
  }

  void AddInstance(const ObjLine& line) {
    float matrix[16];
    for (int i = 0; i < 16; i++) {
      const char* at = line.TokenText(5 + i);
      matrix[i] = ParseFloat(at);
    }
    const std::string_view name = WithoutQuotes(line.Token(2)), source = WithoutQuotes(line.Token(4));
    cStr content(reinterpret_cast<const char*>(matrix), sizeof matrix);
    Add(ObjEvent::Instance, content.append(cRawObject::InstancePrefix).append(source).append("|").append(name));
    HasObject = true;
  }
};
}  // namespace

void CountObjChunk(const ObjChunkText& text, ObjLine& line, ObjChunk& chunk) {
  chunk.Begin = text.FileBegin();
  chunk.End = text.FileEnd();
  CountVisitor visitor{chunk};
  if (const char* fail = WalkLines(text, line, visitor)) chunk.FailAt = chunk.Begin + (fail - text.Begin());
  chunk.Events.shrink_to_fit();
}

// --- a record by its number -------------------------------------------------------------------------------------------------

namespace {
// Answers false at the record, which ends the walk there.
struct FindVisitor {
  CountVisitor Counter;
  int64_t ObjCounts::*Kind;
  int64_t Wanted;

  bool IsBefore() const { return Counter.Chunk.Counts.*Kind <= Wanted; }
  bool Ordinary(ObjRecord record, const char* at, const ObjLineScan& scan) {
    return Counter.Ordinary(record, at, scan) && IsBefore();
  }
  bool Exact(const ObjLine& line) { return Counter.Exact(line) && IsBefore(); }
};
}  // namespace

const char* FindInObjChunk(const ObjChunkText& text, ObjLine& line, ObjCounts& counts, int64_t ObjCounts::*kind, int64_t wanted) {
  ObjChunk chunk;
  chunk.Counts = counts;
  FindVisitor visitor{{chunk}, kind, wanted};
  const char* const found = WalkLines(text, line, visitor);
  counts = chunk.Counts;
  return found && !visitor.IsBefore() ? found : nullptr;
}

// --- second pass ------------------------------------------------------------------------------------------------------------

// sscanf("%X") on eight characters: blanks, sign and "0x" are taken; no digit leaves mid grey.
static uint32_t ParseColor(const char* at) {
  const char* const end = at + 8;
  const auto digitAt = [&](const char* p) {
    if (p >= end) return -1;
    const int c = *p | 0x20;
    return *p >= '0' && *p <= '9' ? *p - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
  };
  while (at < end && (*at == ' ' || (*at >= '\t' && *at <= '\r'))) at++;
  const bool negative = at < end && *at == '-';
  if (at < end && (*at == '-' || *at == '+')) at++;
  if (digitAt(at) < 0) return 0xFF808080u;
  if (*at == '0' && at + 1 < end && (at[1] | 0x20) == 'x') at += 2;
  uint32_t value = 0;
  for (int digit; (digit = digitAt(at)) >= 0; at++) value = value * 16 + uint32_t(digit);
  return negative ? 0u - value : value;
}

// An optional sign and digits; what is too large stays at the end of the range. No digit gives 0.
[[gnu::always_inline]] static inline int ParseIndex(const char*& at) {
  const char* p = at;
  const bool negative = *p == '-';
  if (*p == '-' || *p == '+') p++;
  int digits;
  uint64_t value = ParseDigits8(p, digits);
  p += digits;
  if (digits == 8) {
    for (; *p >= '0' && *p <= '9'; p++)
      if (value < 100000000000u) value = value * 10 + uint64_t(*p - '0');
    value = std::min<uint64_t>(value, std::numeric_limits<int>::max());
  }
  at = p;
  return negative ? -int(value) : int(value);
}

namespace {
struct ParseVisitor {
  ObjChunk& Chunk;
  cVec3* Position;
  cVec2* TexCoord;
  cVec3* Normal;
  cRawPolyRec* Record;
  uint32_t* Color;
  int NumPositions, NumTexCoords, NumNormals;  // read so far in the whole file
  int Object, Material;
  size_t NextCurrent = 0;

  ParseVisitor(ObjChunk& chunk, cRawMesh& mesh)
      : Chunk(chunk),
        Position(mesh.Positions.data() + chunk.Base.Positions),
        TexCoord(mesh.TexCoords.data() + chunk.Base.TexCoords),
        Normal(mesh.Normals.data() + chunk.Base.Normals),
        Record(mesh.Polygons.data() + chunk.Base.Records),
        Color(mesh.VertexColors.data() + chunk.Base.Colors),
        NumPositions(int(chunk.Base.Positions)),
        NumTexCoords(int(chunk.Base.TexCoords)),
        NumNormals(int(chunk.Base.Normals)),
        Object(chunk.StartObject),
        Material(chunk.StartMaterial) {}

  // `count` numbers behind the keyword. False where a token is no number or longer than ObjLine takes.
  static bool ReadFloats(const char* at, float* values, int count) {
    while (!IsObjBlank(*at)) at++;
    for (int i = 0; i < count; i++) {
      while (IsObjBlank(*at)) at++;
      const char* const token = at;
      values[i] = ParseFloat(at);
      if (!IsObjTokenEnd(*at)) [[unlikely]] {
        if (at == token) return false;
        while (!IsObjTokenEnd(*at)) at++;
      }
      if (at - token > ObjLine::MaxTokenChars) return false;
    }
    return true;
  }

  // A corner's text "a/b/c" up to the end of the token. An empty field changes nothing; behind the third slash it is the third
  // again.
  bool ReadCorner(const char*& at, cRawPolyRec& corner) const {
    int index[3] = {-1, -1, -1};
    for (int field = 0;;) {
      if (*at != '/' && !IsObjTokenEnd(*at)) {
        index[field] = ParseIndex(at);
        while (*at != '/' && !IsObjTokenEnd(*at)) at++;
      }
      if (*at != '/') break;
      at++;
      field = std::min(field + 1, 2);
    }
    if (!index[0]) return false;
    corner.Words[0] = index[0] > 0 ? index[0] - 1 : index[0] + NumPositions;
    corner.Words[1] = index[1] > 0 ? index[1] - 1 : index[1] < 0 ? index[1] + NumTexCoords : 0;
    corner.Words[2] = index[2] > 0 ? index[2] - 1 : index[2] < 0 ? index[2] + NumNormals : 0;
    return true;
  }

  bool AddFace(int tokens, auto&& readCorner) {
    Record[0] = {{tokens - 1, Material, Object}};
    for (int i = 1; i < tokens; i++)
      if (!readCorner(i, Record[i])) return false;
    Record += tokens;
    return true;
  }

  bool Ordinary(ObjRecord record, const char* at, const ObjLineScan& scan) {
    if (scan.Tokens < MinTokens(record)) return record == ObjRecord::Face;
    switch (record) {
      case ObjRecord::Position:
        if (!ReadFloats(at, &Position->x, 3)) return false;
        Position++;
        NumPositions++;
        return true;
      case ObjRecord::TexCoord:
        if (!ReadFloats(at, &TexCoord->x, 2)) return false;
        TexCoord++;
        NumTexCoords++;
        return true;
      case ObjRecord::Normal:
        if (!ReadFloats(at, &Normal->x, 3)) return false;
        Normal++;
        NumNormals++;
        return true;
      case ObjRecord::Face:
        at++;
        return AddFace(scan.Tokens, [&](int, cRawPolyRec& corner) {
          while (IsObjBlank(*at)) at++;
          const char* const token = at;
          return ReadCorner(at, corner) && at - token <= ObjLine::MaxTokenChars;
        });
      case ObjRecord::Other:
        break;
    }
    return false;
  }

  bool Exact(const ObjLine& line) {
    const std::string_view keyword = line.Token(0);
    const ObjRecord record = FindRecord(keyword);
    // False where one of them is no number.
    const auto readFloats = [&](float* values, int count) {
      bool areNumbers = true;
      for (int i = 0; i < count; i++) {
        const char* at = line.TokenText(1 + i);
        values[i] = ParseFloat(at);
        areNumbers = areNumbers && at != line.TokenText(1 + i);
      }
      return areNumbers;
    };
    if (record != ObjRecord::Other && line.NumTokens() < MinTokens(record)) return record == ObjRecord::Face;
    switch (record) {
      case ObjRecord::Position:
        if (!readFloats(&(Position++)->x, 3) && Chunk.NumWordPositions++ == 0) Chunk.WordPosition = NumPositions;
        NumPositions++;
        return true;
      case ObjRecord::TexCoord:
        readFloats(&(TexCoord++)->x, 2);
        NumTexCoords++;
        return true;
      case ObjRecord::Normal:
        readFloats(&(Normal++)->x, 3);
        NumNormals++;
        return true;
      case ObjRecord::Face:
        return AddFace(line.NumTokens(), [&](int i, cRawPolyRec& corner) {
          const char* at = line.TokenText(i);
          return ReadCorner(at, corner);
        });
      case ObjRecord::Other:
        break;
    }
    if (IsColors(line)) {
      const std::string_view colors = line.BehindFirstBlank();
      for (size_t i = 0; i + 8 <= colors.size(); i += 8) *Color++ = ParseColor(colors.data() + i);
    } else if (IsInstance(line)) {
      Object = Chunk.Current[NextCurrent++];
    } else if (line.NumTokens() >= 2) {
      if (keyword == "g" || keyword == "o") Object = Chunk.Current[NextCurrent++];
      if (keyword == "usemtl") Material = Chunk.Current[NextCurrent++];
    }
    return true;
  }
};
}  // namespace

void ParseObjChunk(const ObjChunkText& text, ObjLine& line, ObjChunk& chunk, cRawMesh& mesh) {
  ParseVisitor visitor(chunk, mesh);
  const char* fail = WalkLines(text, line, visitor);
  chunk.FailAt = fail ? chunk.Begin + (fail - text.Begin()) : -1;
}

}  // namespace comms
