#pragma once
// What a stroke changed, as it was before: the matter of undo.
#include <cstddef>
#include <vector>

#include "MC/CellKey.h"

class VolumeObject;
struct VoxelCell;

/// Whole cells that are out of their volume's table: density, surface, vertex ids and colours. VolumeObject::TakeStroke yields
/// the ones that the stroke replaced, VolumeObject::ExchangeCells puts them back and takes the present ones out in their place,
/// so that the same object goes back and forth between undo and redo.
///
/// The records come from the volume's pools: an object must go before its volume does, and before the volume is cleared.
class StrokeCells {
 public:
  struct Entry {
    CellKey Key;
    VoxelCell* Cell;  ///< null: no cell at the key
  };

  explicit StrokeCells(VolumeObject& volume) : m_Volume(&volume) {}
  StrokeCells(StrokeCells&& other) noexcept;
  StrokeCells& operator=(StrokeCells&& other) noexcept;
  ~StrokeCells() { Free(); }

  const std::vector<Entry>& Entries() const { return m_Entries; }
  bool Empty() const { return m_Entries.empty(); }

 private:
  friend class VolumeObject;
  void Free();
  VolumeObject* m_Volume;
  std::vector<Entry> m_Entries;
};
