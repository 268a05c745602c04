#pragma once
// What the class engine asks of the program around it. The engine is on the lowest floor and knows no log, box or data folder;
// whoever starts the program installs a host. Without one, boxes and log lines go to standard error and every box answers OK.
#include <cstddef>
#include <optional>
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
  /// The general allocator, a slab or operator new failed for `bytes` (0: unknown). True when something was freed and the request
  /// may be tried again; else std::bad_alloc ends what was being done. On any thread, and with locks of the caller held: nothing
  /// may be shown or allocated here. Notes the request for TakeMemoryFailure and gives the memory reserve away.
  virtual bool OutOfMemory(std::size_t bytes);
};

/// The installed host, never null.
EngineHost& GetEngineHost();
/// Installs `host` (null: back to the default) and returns the one before. The caller keeps ownership. From then on operator new
/// asks the host too.
EngineHost* SetEngineHost(EngineHost* host);

/// The first request since the last call that found no memory, in bytes (0: unknown); none where all were served. Makes the
/// memory reserve anew where it was given away and there is room for it.
std::optional<std::size_t> TakeMemoryFailure();
/// What is said of a request that found no memory: of unknown size, of less than a megabyte, of more. "%s" is the number.
struct MemoryTexts {
  std::string Unknown = "Out of memory", Bytes = "Out of memory, requested %s bytes",
              Megabytes = "Out of memory (request for %s Mb)";
};
std::string DescribeMemoryFailure(std::size_t bytes, const MemoryTexts& texts = {});
