#pragma once
// The window's interface and scene without a window, for what is measured of a frame.
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "MC/room/NewScene.h"
#include "MC/room/RoomCommands.h"
#include "interface/Language.h"
#include "interface/draw/Theme.h"
#include "shell/app/MainForm.h"
#include "shell/app/WindowMessages.h"
#include "shell/core/DataPath.h"
#include "shell/core/GeneralCommands.h"

namespace bench {

/// CPU time of the calling thread, seconds: what others do to the machine meanwhile does not count.
double ThreadSeconds();
double Median(std::vector<double> values);

/// A folder of its own for the files that the interface writes; gone with the object.
class ScratchFolder {
 public:
  ScratchFolder();
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  const std::string& Path() const { return m_Path; }

 private:
  std::string m_Path;
};

/// All that MainLoop draws, on a device that the caller gives. One at a time.
class WindowRig {
 public:
  WindowRig(comms::cRender& render, int width, int height);
  ~WindowRig();
  WindowRig(const WindowRig&) = delete;
  WindowRig& operator=(const WindowRig&) = delete;

  /// One frame, in the order of MainLoop, 1/60 s after the one before.
  void Frame();
  /// CPU time of the parts of the last frame: the interface, and the scene with the tool's work.
  double InterfaceSeconds = 0, SceneSeconds = 0;

  std::function<void()> Present;  ///< behind the drawing of each frame; empty: nothing

  void Send(InputKind kind, float x, float y, MouseButton button = MouseButton::None, float pressure = 1);
  void ApplyOptions();

 private:
  comms::cRender& m_Render;
  int m_Width, m_Height;
  double m_TimeSec = 0;
  ScratchFolder m_Folder;

 public:
  AppOptions Options;
  cSettings Settings;
  CommandTable Commands;
  VoxelScene Scene;
  Canvas DrawCanvas;
  cWidgets Widgets;
  WindowMessages Boxes;
  std::unique_ptr<MainForm> Form;
};

}  // namespace bench
