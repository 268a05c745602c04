#pragma once
// Undo and redo: strokes as whole cells, and what happens to the list of volumes as the volumes themselves. Kept within a bound
// of memory.
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "MC/Stroke.h"
#include "MC/VolumeObject.h"

/// The volumes of a scene, in the order in which they are shown.
struct VolumeList {
  std::vector<std::unique_ptr<VolumeObject>> Volumes;
  VolumeObject* Current = nullptr;  ///< null where the list is empty
};

/// Owns what strokes replaced and the volumes that left the list. Every change of the list, and every name in it, goes through
/// here: a step finds the list as it left it. A volume in the list is not to be cleared while a step is kept.
class StrokeHistory : public StrokeListener {
 public:
  /// The list outlives the history.
  explicit StrokeHistory(VolumeList& list) : m_List(list) {}
  ~StrokeHistory() override { Clear(); }
  StrokeHistory(const StrokeHistory&) = delete;
  StrokeHistory& operator=(const StrokeHistory&) = delete;

  /// A step that alone is above the bound is kept until the next one comes.
  size_t ByteBound = size_t(256) << 20;
  size_t StepBound = 200;

  /// Enters a step, by the name of "Stroke"; what was undone can't be redone any more.
  void OnStrokeEnd(VolumeObject& volume, StrokeCells replaced) override;
  /// As steps: a volume comes to the place `place` of the list, which is its end at most, and becomes current; in place of the
  /// one that is there (`replaces`), or before it. A stroke that runs on a volume which leaves is taken back.
  void Enter(std::unique_ptr<VolumeObject> volume, size_t place, bool replaces);
  /// The volume before it, else the first one, becomes current.
  void Remove(size_t place);
  void Rename(VolumeObject& volume, std::string name);

  bool CanUndo() const { return m_Done > 0; }
  bool CanRedo() const { return m_Done < m_Steps.size(); }
  /// Gives the step that Undo would take another name, a language key.
  void NameLastStep(const char* name) { m_Steps[m_Done - 1].Name = name; }
  /// Names of the steps that Undo and Redo would take; empty where there is none.
  std::string UndoName() const { return CanUndo() ? m_Steps[m_Done - 1].Name : std::string(); }
  std::string RedoName() const { return CanRedo() ? m_Steps[m_Done].Name : std::string(); }
  /// Stands for what the steps have made of the volumes: the same number again once what followed is undone.
  uint64_t State() const { return m_Done ? m_Steps[m_Done - 1].Number : m_FirstState; }
  /// Takes the last step back: all bytes of a stroke's cells, a volume with all that it holds, its name, place and surface, which
  /// of them is current. Returns the volume, which waits for a refresh; null where there is nothing to undo, or where a stroke
  /// runs on it. The volume of a step that only took one out is no longer of the list. All is as it was where std::bad_alloc ends
  /// it.
  VolumeObject* Undo();
  VolumeObject* Redo();
  void Clear();
  size_t Steps() const { return m_Steps.size(); }
  size_t UndoSteps() const { return m_Done; }
  size_t Bytes() const { return m_Bytes; }

 private:
  /// What the list is to become: at the place there is `Kept` (null: nothing) instead of what is there now (nothing where not
  /// `IsTaken`).
  struct ListChange {
    size_t Place;
    std::unique_ptr<VolumeObject> Kept;
    bool IsTaken;
    VolumeObject* Current;
  };
  /// What it was before the step, or behind it where the step is undone: cells, the list, or a name.
  using Other = std::variant<StrokeCells, ListChange, std::string>;
  struct Step {
    VolumeObject* Volume;  // of cells and name
    Other What;
    size_t Bytes;
    std::string Name;
    uint64_t Number;
  };
  /// Room for one more step, after which nothing fails.
  Step& MakeStep(const char* name);
  void FinishStep(Step& step);
  void EnterChange(ListChange change, const char* name);
  VolumeObject* Exchange(Step& step);
  VolumeObject* ExchangeVolumes(ListChange& change);
  bool IsBusy(const Step& step) const;
  static size_t BytesOf(const Other& other);
  void DropUndone();
  void DropOldest();
  VolumeList& m_List;
  std::deque<Step> m_Steps;
  size_t m_Done = 0;  // steps in front of the present; those behind can be redone
  size_t m_Bytes = 0;
  uint64_t m_FirstState = 0, m_LastNumber = 0;  // State before the first step that is kept; numbers given out
};
