#pragma once
// The window's interface and scene without a window, for what is measured of a frame.
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "MC/room/NewScene.h"
#include "MC/room/RoomCommands.h"
#include "interface/Language.h"
#include "interface/draw/Theme.h"
#include "shell/app/MainForm.h"
#include "shell/app/MainLoop.h"
#include "shell/app/WindowMessages.h"
#include "shell/core/DataPath.h"
#include "shell/core/GeneralCommands.h"

namespace bench {

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

/// The program's own main loop and all that it draws, on a device that the caller gives. One at a time.
class WindowRig {
 public:
  /// `window`: what `render` draws into; null: nothing is shown.
  WindowRig(comms::cRender& render, int width, int height, Window* window = nullptr);
  ~WindowRig();
  WindowRig(const WindowRig&) = delete;
  WindowRig& operator=(const WindowRig&) = delete;

  /// One frame of the main loop, 1/60 s after the one before.
  void Frame();
  /// CPU time of the last frame. What a null device takes of it is next to nothing.
  double FrameSeconds = 0;

  void Send(InputKind kind, float x, float y, MouseButton button = MouseButton::None, float pressure = 1);
  void ApplyOptions();

 private:
  int m_Width, m_Height;
  double m_TimeSec = 0;
  ScratchFolder m_Folder;
  Window m_NoWindow;
  Window& m_Window;

 public:
  AppOptions Options;
  cSettings Settings;
  CommandTable Commands;
  VoxelScene Scene;
  Canvas DrawCanvas;
  cWidgets Widgets;
  WindowMessages Boxes;
  std::unique_ptr<MainForm> Form;

 private:
  std::unique_ptr<MainLoop> m_Loop;
};

}  // namespace bench
