#include "MC/VolumeStream.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include "MC/ApplyField.h"
#include "MC/CellCodec.h"
#include "comms/Str.h"

using comms::Format;

namespace {

constexpr uint32_t ShortKeys = 5, LongKeys = 6;  // versions
constexpr uint32_t VersionMask = 127, ExtendedPart = 128;
constexpr int32_t ShortKeyLimit = 32767;
constexpr uint16_t CellMark = 52753, EndMark = 52977;  // before each cell and behind the last one, with long keys
constexpr uint32_t SurfaceModeFlag = 256;
constexpr uint32_t WideUniform = 2;  // a uniform value takes 16 bits
constexpr uint8_t HasSurface = 8;    // of a cell's flags in the stream
constexpr uint32_t LongestText = 4096;
/// Of a cell with short keys: key, edge, flags, whether there is a block, uniform value.
constexpr uint64_t LeastCellBytes = 3 * 2 + 3 + 2;
/// Of a volume without a cell and with empty texts.
constexpr uint64_t LeastVolumeBytes = 4 + 64 + (4 + 1) + 3 * 4 + (4 + 1) + 2 * 4;

bool HasLongKeys(const VolumeObject& volume) {
  const auto isShort = [](int32_t c) { return c >= -ShortKeyLimit && c <= ShortKeyLimit; };
  bool any = false;
  volume.ForEachCell([&](const CellKey& key, const VoxelCell&) { any |= !isShort(key.x) || !isShort(key.y) || !isShort(key.z); });
  return any;
}

void WriteText(BinStream& out, const std::string& text) {
  WriteDWORD(out, uint32_t(text.size() + 1));
  out.Write(text.c_str(), int64_t(text.size() + 1));
}

void WriteCell(BinStream& out, const CellKey& key, const VoxelCell& cell, uint32_t version) {
  if (version == LongKeys) WriteWORD(out, CellMark);
  for (const int32_t c : {key.x, key.y, key.z})
    if (version == LongKeys)
      WriteDWORD(out, uint32_t(c));
    else
      WriteWORD(out, uint16_t(c));
  WriteBYTE(out, CellEdge);
  WriteBYTE(out, uint8_t((cell.Has(HasOutside) ? 1 : 0) | (cell.Has(HasInside) ? 2 : 0) | (cell.Has(ShadowCell) ? 4 : 0)));
  WriteBYTE(out, cell.HasSamples());
  WriteWORD(out, cell.UniformValue);
  if (cell.HasSamples()) EncodeCell(out, cell.Density, CellSamples);
}

void WriteVolume(BinStream& out, const VolumeObject& volume, uint32_t id, uint32_t reference, uint32_t version) {
  WriteDWORD(out, id);
  for (const auto& row : volume.SpaceMatrix.m)
    for (const float value : row) WriteDWORD(out, std::bit_cast<uint32_t>(value));
  WriteText(out, volume.Name);
  WriteDWORD(out, 0);  // of no group
  WriteDWORD(out, volume.SurfaceMode ? SurfaceModeFlag : 0);
  WriteDWORD(out, reference);
  WriteText(out, volume.ShaderName);
  WriteDWORD(out, uint32_t(volume.Cells.Count()));
  WriteDWORD(out, WideUniform);
  volume.ForEachCell([&](const CellKey& key, const VoxelCell& cell) { WriteCell(out, key, cell, version); });
  if (version == LongKeys) WriteWORD(out, EndMark);
}

class VolumeReader {
 public:
  VolumeReader(BinStream& in, bool keepsCells, std::string& error) : m_In(in), m_KeepsCells(keepsCells), m_Error(error) {}
  bool Read(std::vector<std::unique_ptr<VolumeObject>>& volumes);

 private:
  bool ReadVolume(VolumeObject& volume);
  bool ReadText(std::string& text);
  bool ReadCells(VolumeObject& volume, uint32_t count);
  bool ReadLongCells(VolumeObject& volume);
  bool ReadCell(VolumeObject& volume, const CellKey& key);
  bool ReadKey(CellKey& key);
  bool Fail(const std::string& what) {
    m_Error = Format("volumes at byte %lld: %s", static_cast<long long>(m_In.GetReadPos()), what.c_str());
    return false;
  }

  BinStream& m_In;
  bool m_KeepsCells;
  std::string& m_Error;
  uint32_t m_Version = 0;
  std::vector<uint32_t> m_References;  // of each volume: place + 1 of the other one, 0 none
  bool m_IsDamaged = false;            // the cell that was read last
};

bool VolumeReader::Read(std::vector<std::unique_ptr<VolumeObject>>& volumes) {
  if (!HasItems(m_In, 2, 4)) return Fail("the stream ends before version and count");
  const uint32_t word = ReadDWORD(m_In);
  m_Version = word & VersionMask;
  if ((m_Version != ShortKeys && m_Version != LongKeys) || (word & ExtendedPart))
    return Fail(Format("version %u is not known; 5 or 6 without the extended part is expected", word));
  const uint32_t count = ReadDWORD(m_In);
  if (!HasItems(m_In, count, LeastVolumeBytes))
    return Fail(Format("%u volumes are announced, which is more than there are", count));
  std::vector<std::unique_ptr<VolumeObject>> read;
  for (uint32_t i = 0; i < count; i++) {
    read.push_back(std::make_unique<VolumeObject>());
    if (!ReadVolume(*read.back())) return false;
  }
  for (uint32_t i = 0; i < count; i++)
    if (m_References[i] > 0 && m_References[i] <= count) read[i]->Reference = read[m_References[i] - 1].get();
  std::move(read.begin(), read.end(), std::back_inserter(volumes));
  return true;
}

bool VolumeReader::ReadVolume(VolumeObject& volume) {
  ReadDWORD(m_In);  // its number, for a tree of volumes
  bool isFinite = true;
  for (auto& row : volume.SpaceMatrix.m)
    for (float& value : row) isFinite &= std::isfinite(value = std::bit_cast<float>(ReadDWORD(m_In)));
  if (!isFinite || !std::isfinite(comms::Determinant3(volume.SpaceMatrix))) volume.SpaceMatrix = {};
  if (!ReadText(volume.Name)) return false;
  ReadDWORD(m_In);  // its group
  volume.SurfaceMode = ReadDWORD(m_In) == SurfaceModeFlag;
  m_References.push_back(ReadDWORD(m_In));
  if (!ReadText(volume.ShaderName)) return false;
  const uint32_t cells = ReadDWORD(m_In);
  if (const uint32_t format = ReadDWORD(m_In); format != WideUniform)
    return Fail(Format("uniform cells of format %u; %u is expected", format, WideUniform));
  if (!HasItems(m_In, cells, LeastCellBytes)) return Fail(Format("%u cells are announced, which is more than there are", cells));
  if (!(m_Version == LongKeys ? ReadLongCells(volume) : ReadCells(volume, cells))) return false;
  volume.MarkAllChanged();
  return true;
}

bool VolumeReader::ReadText(std::string& text) {
  const uint32_t length = ReadDWORD(m_In);
  if (length == 0 || length > LongestText || !HasItems(m_In, length, 1))
    return Fail(Format("a text of %u bytes; 1 to %u are expected", length, LongestText));
  text.resize(length);
  m_In.Read(text.data(), length);
  text.resize(text.find('\0') == text.npos ? length : text.find('\0'));
  return true;
}

bool VolumeReader::ReadCells(VolumeObject& volume, uint32_t count) {
  for (uint32_t i = 0; i < count; i++) {
    CellKey key;
    if (!HasItems(m_In, 1, LeastCellBytes)) return Fail(Format("the stream ends at cell %u of %u", i, count));
    ReadKey(key);
    if (!ReadCell(volume, key)) return false;
    if (m_IsDamaged) return Fail(Format("cell %u of %u is damaged", i, count));
  }
  return true;
}

// Up to the end mark. Whatever stands between two cells is passed over, and so is a cell that is damaged.
bool VolumeReader::ReadLongCells(VolumeObject& volume) {
  while (HasItems(m_In, 1, 2)) {
    const uint16_t mark = ReadWORD(m_In);
    if (mark == EndMark) return true;
    CellKey key;
    if (mark == CellMark && ReadKey(key) && !ReadCell(volume, key)) return false;
  }
  return Fail("the stream ends within the cells");
}

/// False for a cell where no volume has one.
bool VolumeReader::ReadKey(CellKey& key) {
  bool isValid = true;
  for (int32_t* c : {&key.x, &key.y, &key.z}) {
    *c = m_Version == LongKeys ? int32_t(ReadDWORD(m_In)) : int16_t(ReadWORD(m_In));
    isValid = isValid && *c >= -CellKeyLimit && *c < CellKeyLimit;
  }
  return isValid;
}

/// What stands behind the key. False where the stream can't be read on; sets m_IsDamaged where only the cell is lost.
bool VolumeReader::ReadCell(VolumeObject& volume, const CellKey& key) {
  const uint8_t edge = ReadBYTE(m_In), flags = ReadBYTE(m_In), hasBlock = ReadBYTE(m_In);
  m_IsDamaged = edge != CellEdge || hasBlock > 1;
  if (m_IsDamaged) return true;
  if (flags & HasSurface) return Fail("a cell with its surface; samples alone are expected");
  const uint16_t uniform = ReadWORD(m_In);
  uint16_t samples[CellSamples];
  if (hasBlock && !DecodeCell(m_In, samples, CellSamples)) return Fail("the stream ends within a cell");
  if (!m_KeepsCells) return true;
  VoxelCell& cell = *volume.GetCell(key.x, key.y, key.z, true, false, false);
  cell.SetUniform(uniform, false);
  if (hasBlock) {
    cell.Expand(ExpandAllocate | ExpandFill, false);
    std::copy_n(samples, CellSamples, cell.Density);
    cell.Analyze(true, false);  // which sides it has is in the samples, whatever the flags say
  }
  if (flags & 4) cell.Flags |= ShadowCell;
  return true;
}

}  // namespace

void SaveVolumes(BinStream& out, std::span<const VolumeObject* const> volumes) {
  const bool isLong = std::any_of(volumes.begin(), volumes.end(), [](const VolumeObject* v) { return HasLongKeys(*v); });
  const uint32_t version = isLong ? LongKeys : ShortKeys;
  WriteDWORD(out, version);
  WriteDWORD(out, uint32_t(volumes.size()));
  for (size_t i = 0; i < volumes.size(); i++) {
    const auto reference = std::find(volumes.begin(), volumes.end(), volumes[i]->Reference);
    const bool hasReference = volumes[i]->Reference && reference != volumes.end();
    WriteVolume(out, *volumes[i], uint32_t(i + 1), hasReference ? uint32_t(reference - volumes.begin()) + 1 : 0, version);
  }
}

bool LoadVolumes(BinStream& in, std::vector<std::unique_ptr<VolumeObject>>& volumes, std::string& error) {
  return VolumeReader(in, true, error).Read(volumes);
}

bool ListVolumeNames(BinStream& in, std::vector<std::string>& names, std::string& error) {
  std::vector<std::unique_ptr<VolumeObject>> volumes;
  if (!VolumeReader(in, false, error).Read(volumes)) return false;
  for (const auto& volume : volumes) names.push_back(volume->Name);
  return true;
}
