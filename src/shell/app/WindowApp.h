#pragma once
// The program with its window, from start to stop.
#include <string>

#include "MC/room/VoxelScene.h"
#include "shell/core/CommandTable.h"

struct WindowJob {
  std::string Version;
  std::string ProgramData;   ///< the program's read-only data
  std::string InputFile;     ///< a mesh to open; empty: the sample sculpture
  int FramesToRun = 0;       ///< above 0: ends after so many frames, for measurements
  std::string Picture;       ///< not empty: the last frame is stored there as PNG
  std::string OpenAutomate;  ///< not empty: words for the client library of benchmarks
};

/// Opens the window and works until the person closes it. Returns the exit code: 2 with one clear sentence where there is no
/// display or no sufficient OpenGL, 4 where the picture, or at a signal to end the work, could not be stored.
int RunWindow(const WindowJob& job);
