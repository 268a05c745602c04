#pragma once
// Everything that a person does in the work view is done by a tool. A tool is a reflected object: its parameters are its members
// and its panel is generated from them. There is one object of each tool class for the life of the program.
//
// No tool is ever "set" as the current one: the Active flags decide, see GetCurrentTool.
//
// Main thread.
#include <memory>
#include <string>
#include <vector>

#include "ClassEngine/BaseClass.h"
#include "ClassEngine/BinStream.h"
#include "shell/core/InputEvent.h"

class Actions;
class BaseWidget;
class Canvas;
class MenuBar;
class TextMenu;
namespace comms {
class BaseMesh;
class cRender;
}  // namespace comms

/// Where a tool picks, in window pixels. Empty (no width) stands for the pointer alone.
struct PickRect {
  float Left = 0, Top = 0, Right = 0, Bottom = 0;
  bool Empty() const { return Right <= Left || Bottom <= Top; }
};

/// The order of the operations is the order of the slots: new ones go to the end of their group.
class BasicTool : public BaseClass {
  REFLECTED(BasicTool, BaseClass)
 public:
  bool Active = false;        ///< the tool's button is down; the only thing that makes a tool current
  bool IsRoomTool = false;    ///< main tool of a room, and no member of the paint group
  static bool UseFillParams;  ///< pens take the fill pattern

  // --- input: true is "handled", so that the camera doesn't take the drag -----------------------------------------------------
  /// Depth limit of picks, in scene units.
  virtual double GetMaxDistance() const { return 100000.0; }
  virtual bool OnLeftDown(const InputEvent&) { return false; }
  virtual bool OnLeftUp(const InputEvent&) { return false; }
  virtual bool OnRightDown(const InputEvent&) { return false; }
  virtual bool OnRightUp(const InputEvent&) { return false; }
  virtual bool OnMiddleDown(const InputEvent&) { return false; }
  virtual bool OnMiddleUp(const InputEvent&) { return false; }
  // The same in the alternative input state, for tools that edit points, see EditsPoints.
  virtual bool OnAltLeftDown(const InputEvent&) { return false; }
  virtual bool OnAltLeftUp(const InputEvent&) { return false; }
  virtual bool OnAltRightDown(const InputEvent&) { return false; }
  virtual bool OnAltRightUp(const InputEvent&) { return false; }
  /// Two hooks with one argument, whose meaning is the tool's own.
  virtual bool OnCommand(void* /*argument*/) { return false; }
  virtual bool OnCommand2(void* /*argument*/) { return false; }
  virtual bool IsActive() const { return Active; }

  // --- frame -----------------------------------------------------------------------------------------------------------------
  /// In the scene pass, behind the solid surfaces: depth is tested and written, the matrices are those of the camera, colours are
  /// linear light. Called when the picture is made anew, see GetDrawState.
  virtual void DrawIn3D(comms::cRender&) {}
  /// Over the scene and under the panels, in window pixels.
  virtual void DrawOverlay(Canvas&) {}
  /// The tool's work of one frame. Must return within it; longer work reports through comms::ShowProgress.
  virtual void Process(double /*timeSec*/) {}
  /// Every event of the work view besides presses and releases that neither a widget nor the navigation took, each sample of a
  /// pen included: moves with and without a button, wheel, keys that are no hot keys, PointerLeave, FocusLost. True: handled.
  virtual bool ProcessInput(const InputEvent&) { return false; }
  /// Run by layer operations on the current layer.
  virtual void OnLayerOp() {}
  /// The tool stops being current. A room tool discards nothing.
  virtual void OnDeactivate() {}
  virtual bool CanPaintNow() { return true; }
  /// Stands for what DrawIn3D draws: another number after every change, 0 where it draws nothing. A picture that is kept is made
  /// anew when it changes.
  virtual uint64_t GetDrawState() const { return 0; }
  /// Whether a frame works with the tool: it is current, or has no input of its own.
  virtual bool IsInCycle() const;

  // --- names -----------------------------------------------------------------------------------------------------------------
  /// Language key of the hint, as "FILL_TOOL_HINT".
  virtual const char* GetHintKey() const { return ""; }
  /// Text for the status line now.
  virtual std::string GetWorkHint() { return {}; }
  /// Language key of the tool's button, as "FILL_TOOL"; the name by which hot keys mean the tool.
  virtual const char* GetToolKey() const { return ""; }
  virtual PickRect GetPickRect() { return {}; }
  /// The object whose members form the panel; null means the tool itself.
  virtual BaseClass* GetPanelClass() { return nullptr; }
  /// Adds widgets of its own to the generated panel.
  virtual void BuildExtraPanel(BaseWidget* /*panel*/) {}
  /// Texture of the render device; -1 for none.
  virtual int GetPreviewTexture() { return -1; }
  /// Width / height of that picture.
  virtual float GetPreviewAspect() { return 1; }
  virtual comms::BaseMesh* GetPreviewMesh() { return nullptr; }  ///< drawn in world space behind DrawIn3D, by its own shader
  /// False hides the parameter from the panel.
  virtual bool FilterParam(const char* /*name*/) { return true; }

  // --- behaviour, asked by the pen pipeline and by ToolInput ------------------------------------------------------------------
  virtual bool UsesPen() const { return false; }       ///< strokes are those of a pen: shape, radius, pressure
  virtual bool UsesPenAlpha() const { return false; }  ///< the pen's picture forms the strength of a dab
  virtual bool UsesPressure() const { return false; }
  virtual bool UsesStroke() const { return false; }  ///< a press begins a stroke that the modes of strokes apply to
  virtual bool WantsSurfacePick() const {
    return false;
  }  ///< works on what is under the pointer; presses on empty space turn the view
  virtual bool WantsPenCursor() const { return false; }  ///< the circle of the pen's radius is the cursor
  virtual bool WantsDepth() const { return false; }
  virtual bool WantsSymmetry() const { return false; }
  virtual bool WantsMask() const { return false; }
  virtual bool WantsHud() const { return false; }
  virtual bool UsesAirbrush() const { return false; }  ///< goes on working while the pointer rests
  virtual bool EditsPoints() const { return false; }   ///< has something to do in the alternative input state

  // --- undo ------------------------------------------------------------------------------------------------------------------
  /// Folder word and file extension of the undo state, as "Filler" and "fill". False for a tool without one.
  virtual bool GetUndoName(std::string& /*name*/, std::string& /*ext*/) const { return false; }
  /// Writes or reads a state chunk. False where the tool has none, or the stream failed.
  virtual bool SaveUndoState(BinStream&) { return false; }
  virtual bool LoadUndoState(BinStream&) { return false; }

  // --- project ---------------------------------------------------------------------------------------------------------------
  /// Before a save.
  virtual void OnProjectSaved() {}
  /// Writes the payload of the tool's chunk.
  virtual bool SaveProjectChunk(BinStream&) { return false; }
  /// ChunkTag of the tool's tag; 0 keeps the tool out of the project file.
  virtual uint32_t GetProjectChunkTag() const { return 0; }
  /// Reads a payload of `size` bytes.
  virtual bool LoadProjectChunk(BinStream&, uint32_t /*size*/) { return false; }

  // --- room: overridden by main tools alone, OnNewScene and AddActions excepted -----------------------------------------------
  /// Name of the page that the tool serves, see Pages.h.
  virtual const char* GetRoomName() const { return "Paint"; }
  /// The room was entered and this tool is its main one.
  virtual void OnRoomEnter() {}
  /// The room's own menus in the bar.
  virtual void BuildRoomMenu(MenuBar& /*bar*/) {}
  /// The menus under "Popups": adds items to it, each time that it opens.
  virtual void BuildRoomPopups(TextMenu& /*menu*/) {}
  /// The lists of commands in the panel of the tools.
  virtual void BuildToolButtons(BaseWidget& /*panel*/) {}
  /// Object counts for the status bar, one a line.
  virtual void GetStatusText(std::string& /*out*/) {}
  /// The scene was emptied, see TellNewScene.
  virtual void OnNewScene() {}
  virtual BasicTool* GetActiveMeshTool() { return nullptr; }
  /// Enters what keys, menus and buttons can do with the tool; once, at the start of the program.
  virtual void AddActions(Actions&) {}
};

/// A tool that takes part in every frame, whichever tool is current, and has no input of its own.
class ActiveBasicTool : public BasicTool {
  REFLECTED(ActiveBasicTool, BasicTool)
 public:
  bool IsInCycle() const final { return true; }
  bool OnLeftDown(const InputEvent&) final { return false; }
  bool OnLeftUp(const InputEvent&) final { return false; }
  bool OnRightDown(const InputEvent&) final { return false; }
  bool OnRightUp(const InputEvent&) final { return false; }
  bool OnMiddleDown(const InputEvent&) final { return false; }
  bool OnMiddleUp(const InputEvent&) final { return false; }
  bool OnAltLeftDown(const InputEvent&) final { return false; }
  bool OnAltLeftUp(const InputEvent&) final { return false; }
  bool OnAltRightDown(const InputEvent&) final { return false; }
  bool OnAltRightUp(const InputEvent&) final { return false; }
  bool ProcessInput(const InputEvent&) final { return false; }
};

/// All tools, in order of creation. Owned; emptied by ReleaseTools.
extern DynArray<BasicTool*> ToolList;
/// Where GetCurrentTool found the last one.
extern int32_t CurrentToolIndex;

/// Takes a tool over into ToolList.
BasicTool* AddTool(std::unique_ptr<BasicTool> tool);
/// Makes the one tool of class T.
template <class T>
T& CreateTool() {
  auto tool = std::make_unique<T>();
  tool->RegisterMembers();
  return *static_cast<T*>(AddTool(std::move(tool)));
}
/// At the end of the program: deletes all tools, last one first.
void ReleaseTools();

/// The first tool from CurrentToolIndex on, going round once, whose IsActive() is true; its index is remembered. So of two that
/// are active at the same moment the one that was last found stays. Where none is active: GetDefaultTool().
BasicTool& GetCurrentTool();
/// Stands for "no tool": takes no input and draws nothing.
BasicTool& GetDefaultTool();
/// By GetToolKey; null where there is none.
BasicTool* FindTool(const std::string& toolKey);
/// The tool's button was clicked: OnDeactivate on the current tool, then exactly this one is active. A click on the button of the
/// current tool changes nothing.
void RadioActivate(BasicTool& tool);
/// OnDeactivate on the current tool, then none is active.
void DeactivateTools();
/// Those that a frame works with, in order of creation.
std::vector<BasicTool*> ListToolsInCycle();
/// OnNewScene on all tools: who has emptied the scene calls it.
void TellNewScene();
