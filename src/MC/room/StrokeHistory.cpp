#include "MC/room/StrokeHistory.h"

#include <algorithm>
#include <new>
#include <utility>

#include "ClassEngine/Assert.h"

namespace {

size_t BytesOf(const VoxelCell& cell) {
  size_t bytes = sizeof(VoxelCell);
  if (cell.Density) bytes += CellSamples * sizeof(uint16_t);
  if (const SurfaceData* surface = cell.Surface)
    bytes += sizeof(SurfaceData) + surface->Vertices().Count() * sizeof(VolumeVertex) +
             surface->Indices().Count() * sizeof(uint16_t) + surface->OtherHeapBytes();
  return bytes;
}

size_t BytesOf(const StrokeCells& cells) {
  size_t bytes = cells.Entries().size() * sizeof(StrokeCells::Entry);
  for (const StrokeCells::Entry& entry : cells.Entries())
    if (entry.Cell) bytes += BytesOf(*entry.Cell);
  return bytes;
}

}  // namespace

void StrokeHistory::OnStrokeEnd(VolumeObject& volume, StrokeCells replaced) {
  while (m_Steps.size() > m_Done) {
    m_Bytes -= m_Steps.back().Bytes;
    m_Steps.pop_back();
  }
  const size_t bytes = BytesOf(replaced);
  try {
    m_Steps.push_back({&volume, StrokeCells(volume), bytes, "Stroke", ++m_LastNumber});
  } catch (const std::bad_alloc&) {
    volume.ExchangeCells(replaced);  // a change that can't be undone is none
    throw;
  }
  m_Steps.back().Cells = std::move(replaced);
  m_Bytes += bytes;
  m_Done++;
  while (m_Steps.size() > 1 && (m_Bytes > ByteBound || m_Steps.size() > StepBound)) DropOldest();
}

void StrokeHistory::DropOldest() {
  m_Bytes -= m_Steps.front().Bytes;
  m_FirstState = m_Steps.front().Number;
  m_Steps.pop_front();
  m_Done--;
}

VolumeObject* StrokeHistory::Exchange(Step& step) {
  step.Volume->ExchangeCells(step.Cells);
  m_Bytes -= step.Bytes;
  step.Bytes = BytesOf(step.Cells);
  m_Bytes += step.Bytes;
  return step.Volume;
}

VolumeObject* StrokeHistory::Undo() {
  if (!CanUndo() || m_Steps[m_Done - 1].Volume->BackupCount != 0) return nullptr;
  VolumeObject* volume = Exchange(m_Steps[m_Done - 1]);
  m_Done--;
  return volume;
}

VolumeObject* StrokeHistory::Redo() {
  if (!CanRedo() || m_Steps[m_Done].Volume->BackupCount != 0) return nullptr;
  VolumeObject* volume = Exchange(m_Steps[m_Done]);
  m_Done++;
  return volume;
}

void StrokeHistory::Forget(const VolumeObject& volume) {
  std::deque<Step> kept;
  size_t done = 0;
  for (size_t i = 0; i < m_Steps.size(); i++) {
    if (m_Steps[i].Volume == &volume) {
      m_Bytes -= m_Steps[i].Bytes;
      continue;
    }
    done += i < m_Done;
    kept.push_back(std::move(m_Steps[i]));
  }
  m_Steps = std::move(kept);
  m_Done = done;
  m_FirstState = ++m_LastNumber;
}

void StrokeHistory::Clear() {
  m_Steps.clear();
  m_Done = m_Bytes = 0;
  m_FirstState = ++m_LastNumber;
}
