#include "MC/room/StrokeHistory.h"

#include <algorithm>
#include <new>
#include <utility>

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

// Out of the list a volume keeps what it is, and nothing of what draws it: that may be of a device that is gone when it returns.
void PutAside(VolumeObject& volume) {
  if (volume.BackupCount != 0) volume.EndStroke(true);
  volume.RenderGroups.ForEach([&](const CellKey& key, const RenderGroup&) { volume.DirtyGroups.Set(key, 1); });
  volume.RenderGroups.Clear();
}

}  // namespace

size_t StrokeHistory::BytesOf(const Other& other) {
  if (const auto* cells = std::get_if<StrokeCells>(&other)) return ::BytesOf(*cells);
  if (const auto* change = std::get_if<ListChange>(&other)) return change->Kept ? change->Kept->CountMemory().Total() : 0;
  return std::get<std::string>(other).size();
}

StrokeHistory::Step& StrokeHistory::MakeStep(const char* name) {
  DropUndone();
  m_Steps.push_back({nullptr, std::string(), 0, name, ++m_LastNumber});
  return m_Steps.back();
}

void StrokeHistory::FinishStep(Step& step) {
  m_Bytes += step.Bytes = BytesOf(step.What);
  m_Done++;
  while (m_Steps.size() > 1 && (m_Bytes > ByteBound || m_Steps.size() > StepBound)) DropOldest();
}

void StrokeHistory::OnStrokeEnd(VolumeObject& volume, StrokeCells replaced) {
  try {
    MakeStep("Stroke");
  } catch (const std::bad_alloc&) {
    volume.ExchangeCells(replaced);  // a change that can't be undone is none
    throw;
  }
  Step& step = m_Steps.back();
  step.Volume = &volume;
  step.What = std::move(replaced);
  FinishStep(step);
}

void StrokeHistory::Rename(VolumeObject& volume, std::string name) {
  Step& step = MakeStep("RENAME");
  step.Volume = &volume;
  step.What = std::exchange(volume.Name, std::move(name));
  FinishStep(step);
}

void StrokeHistory::Enter(std::unique_ptr<VolumeObject> volume, size_t place, bool replaces) {
  VolumeObject* const entered = volume.get();
  EnterChange({place, std::move(volume), replaces, entered}, "NewVolume");
}

void StrokeHistory::Remove(size_t place) {
  const std::vector<std::unique_ptr<VolumeObject>>& volumes = m_List.Volumes;
  VolumeObject* current = m_List.Current;
  if (volumes[place].get() == current)
    current = place > 0 ? volumes[place - 1].get() : volumes.size() > 1 ? volumes[1].get() : nullptr;
  EnterChange({place, nullptr, true, current}, "DELETE");
}

void StrokeHistory::EnterChange(ListChange change, const char* name) {
  Step& step = MakeStep(name);
  step.What = std::move(change);
  try {
    ExchangeVolumes(std::get<ListChange>(step.What));
  } catch (const std::bad_alloc&) {
    m_Steps.pop_back();
    throw;
  }
  FinishStep(step);
}

// The oldest goes first, and of the undone ones the step that would be redone last: so a volume outlives the cells of its
// strokes.
void StrokeHistory::DropOldest() {
  m_Bytes -= m_Steps.front().Bytes;
  m_FirstState = m_Steps.front().Number;
  m_Steps.pop_front();
  m_Done--;
}

void StrokeHistory::DropUndone() {
  while (m_Steps.size() > m_Done) {
    m_Bytes -= m_Steps.back().Bytes;
    m_Steps.pop_back();
  }
}

VolumeObject* StrokeHistory::ExchangeVolumes(ListChange& change) {
  std::vector<std::unique_ptr<VolumeObject>>& volumes = m_List.Volumes;
  volumes.reserve(volumes.size() + 1);
  VolumeObject* const leaving = change.IsTaken ? volumes[change.Place].get() : nullptr;
  VolumeObject* const coming = change.Kept.get();
  if (leaving) PutAside(*leaving);
  const auto at = volumes.begin() + std::ptrdiff_t(change.Place);
  if (leaving && coming) {
    std::swap(*at, change.Kept);
  } else if (coming) {
    volumes.insert(at, std::move(change.Kept));
  } else if (leaving) {
    change.Kept = std::move(*at);
    volumes.erase(at);
  }
  change.IsTaken = coming;
  std::swap(m_List.Current, change.Current);
  return coming ? coming : leaving;
}

VolumeObject* StrokeHistory::Exchange(Step& step) {
  if (IsBusy(step)) return nullptr;
  VolumeObject* volume = step.Volume;
  if (auto* cells = std::get_if<StrokeCells>(&step.What))
    volume->ExchangeCells(*cells);
  else if (auto* change = std::get_if<ListChange>(&step.What))
    volume = ExchangeVolumes(*change);
  else
    std::swap(volume->Name, std::get<std::string>(step.What));
  m_Bytes -= step.Bytes;
  step.Bytes = BytesOf(step.What);
  m_Bytes += step.Bytes;
  return volume;
}

// Whether a stroke runs on what the step would change.
bool StrokeHistory::IsBusy(const Step& step) const {
  const auto* change = std::get_if<ListChange>(&step.What);
  if (!change) return step.Volume->BackupCount != 0;
  return change->IsTaken && m_List.Volumes[change->Place]->BackupCount != 0;
}

VolumeObject* StrokeHistory::Undo() {
  VolumeObject* const volume = CanUndo() ? Exchange(m_Steps[m_Done - 1]) : nullptr;
  if (volume) m_Done--;
  return volume;
}

VolumeObject* StrokeHistory::Redo() {
  VolumeObject* const volume = CanRedo() ? Exchange(m_Steps[m_Done]) : nullptr;
  if (volume) m_Done++;
  return volume;
}

void StrokeHistory::Clear() {
  DropUndone();
  while (!m_Steps.empty()) DropOldest();
  m_FirstState = ++m_LastNumber;
}
