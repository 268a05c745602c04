#pragma once
// What the class engine asks of the program around it. The engine is on the lowest floor and knows no log, box or data folder;
// whoever starts the program installs a host. Without one, boxes and log lines go to standard error and every box answers OK.
#include <string>

class EngineHost {
 public:
  virtual ~EngineHost() = default;
  /// A message with the two answers OK (true) and Cancel (false). Never blocks in batch and in tests.
  virtual bool ShowBox(const char* title, const char* text);
  /// One entry of the log; the text brings its own line end.
  virtual void Log(const char* text);
  /// Whether the person holds the Control key now ("skip errors and delete corrupted files").
  virtual bool IsControlHeld() { return false; }
  /// Path of the temporary file behind file-less writing streams; "tempfile.temp" in the data folder.
  virtual std::string GetTempFileName();
  /// Texture id <-> file name, for members of type _TextureID. -1 and "" where there is no render back end.
  virtual int LoadTexture(const char* fileName);
  virtual std::string GetTextureName(int id);
  /// The general allocator failed for `bytes`. True when something was freed and the request may be tried again.
  virtual bool OutOfMemory(std::size_t bytes);
};

/// The installed host, never null.
EngineHost& GetEngineHost();
/// Installs `host` (null: back to the default) and returns the one before. The caller keeps ownership.
EngineHost* SetEngineHost(EngineHost* host);
