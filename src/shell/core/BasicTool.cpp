#include "shell/core/BasicTool.h"

#include "ClassEngine/ValueTypes.h"

bool BasicTool::UseFillParams = false;

bool BasicTool::IsInCycle() const { return this == &GetCurrentTool(); }

// The flags are state of the interface: no panel shows them and no preset keeps them.
DECLARE_MEMBERS(BasicTool) {
  Member<_bool>("Active", Active).Hidden().NoSave();
  Member<_bool>("IsRoomTool", IsRoomTool).Hidden().NoSave();
  StaticMember<_bool>("UseFillParams", UseFillParams).Hidden().NoSave();
}
DECLARE_MEMBERS(ActiveBasicTool) {}

DynArray<BasicTool*> ToolList;
int32_t CurrentToolIndex = 0;

BasicTool* AddTool(std::unique_ptr<BasicTool> tool) {
  ToolList.Add(tool.get());
  return tool.release();
}

void ReleaseTools() {
  while (ToolList.Count) delete ToolList.RemoveLast();
  ToolList.Release();
  CurrentToolIndex = 0;
}

BasicTool& GetDefaultTool() {
  static BasicTool tool;
  return tool;
}

BasicTool& GetCurrentTool() {
  const int32_t count = ToolList.Count;
  const int32_t first = CurrentToolIndex >= 0 && CurrentToolIndex < count ? CurrentToolIndex : 0;
  for (int32_t n = 0; n < count; ++n) {
    const int32_t i = (first + n) % count;
    if (!ToolList[i]->IsActive()) continue;
    CurrentToolIndex = i;
    return *ToolList[i];
  }
  return GetDefaultTool();
}

BasicTool* FindTool(const std::string& toolKey) {
  if (toolKey.empty()) return nullptr;
  for (BasicTool* tool : ToolList)
    if (toolKey == tool->GetToolKey()) return tool;
  return nullptr;
}

void DeactivateTools() {
  BasicTool& last = GetCurrentTool();
  if (&last != &GetDefaultTool()) last.OnDeactivate();
  for (BasicTool* tool : ToolList) tool->Active = false;
}

void RadioActivate(BasicTool& tool) {
  if (&GetCurrentTool() != &tool) DeactivateTools();
  for (BasicTool* other : ToolList) other->Active = other == &tool;
}

std::vector<BasicTool*> ListToolsInCycle() {
  std::vector<BasicTool*> tools;
  for (BasicTool* tool : ToolList)
    if (tool->IsInCycle()) tools.push_back(tool);
  return tools;
}

void TellNewScene() {
  for (BasicTool* tool : ToolList) tool->OnNewScene();
}
