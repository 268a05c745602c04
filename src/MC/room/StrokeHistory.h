#pragma once
// Undo and redo of strokes: whole cells as they were, kept within a bound of memory.
#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>

#include "MC/Stroke.h"
#include "MC/VolumeObject.h"

/// Owns what strokes replaced. Every volume in it must be taken out (Forget) before it goes or is cleared.
class StrokeHistory : public StrokeListener {
 public:
  /// A step that alone is above the bound is kept until the next one comes.
  size_t ByteBound = size_t(256) << 20;
  size_t StepBound = 200;

  /// Enters a step, by the name of "Stroke"; what was undone can't be redone any more.
  void OnStrokeEnd(VolumeObject& volume, StrokeCells replaced) override;
  bool CanUndo() const { return m_Done > 0; }
  bool CanRedo() const { return m_Done < m_Steps.size(); }
  /// Gives the step that Undo would take another name, a language key.
  void NameLastStep(const char* name) { m_Steps[m_Done - 1].Name = name; }
  /// Names of the steps that Undo and Redo would take; empty where there is none.
  std::string UndoName() const { return CanUndo() ? m_Steps[m_Done - 1].Name : std::string(); }
  std::string RedoName() const { return CanRedo() ? m_Steps[m_Done].Name : std::string(); }
  /// Stands for what the steps have made of the volumes: the same number again once what followed is undone.
  uint64_t State() const { return m_Done ? m_Steps[m_Done - 1].Number : m_FirstState; }
  /// Puts all bytes of the last stroke's cells back as they were before it. Returns the volume, which waits for a refresh; null
  /// where there is nothing to undo, or where a stroke runs on it. All is as it was where std::bad_alloc ends it.
  VolumeObject* Undo();
  VolumeObject* Redo();
  /// Drops the steps of a volume.
  void Forget(const VolumeObject& volume);
  void Clear();
  size_t Steps() const { return m_Steps.size(); }
  size_t UndoSteps() const { return m_Done; }
  size_t Bytes() const { return m_Bytes; }

 private:
  struct Step {
    VolumeObject* Volume;
    StrokeCells Cells;
    size_t Bytes;
    std::string Name;
    uint64_t Number;
  };
  VolumeObject* Exchange(Step& step);
  void DropOldest();
  std::deque<Step> m_Steps;
  size_t m_Done = 0;  // steps in front of the present; those behind can be redone
  size_t m_Bytes = 0;
  uint64_t m_FirstState = 0, m_LastNumber = 0;  // State before the first step that is kept; numbers given out
};
