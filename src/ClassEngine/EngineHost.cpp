#include "ClassEngine/EngineHost.h"

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <system_error>

bool EngineHost::ShowBox(const char* title, const char* text) {
  std::fprintf(stderr, "[%s] %s\n", title, text);
  return true;
}

void EngineHost::Log(const char* text) { std::fputs(text, stderr); }

std::string EngineHost::GetTempFileName() {
  std::error_code failed;
  const std::filesystem::path folder = std::filesystem::temp_directory_path(failed);
  return failed ? "tempfile.temp" : (folder / "tempfile.temp").string();
}

int EngineHost::LoadTexture(const char*) { return -1; }
std::string EngineHost::GetTextureName(int) { return {}; }

// Given away when memory runs out, so that work which is nearly done comes to its end.
static constexpr std::size_t ReserveBytes = std::size_t(16) << 20;
static std::atomic<void*> s_Reserve{nullptr};
static constexpr std::size_t NoFailure = SIZE_MAX;
static std::atomic<std::size_t> s_FailedBytes{NoFailure};

bool EngineHost::OutOfMemory(std::size_t bytes) {
  std::size_t none = NoFailure;
  s_FailedBytes.compare_exchange_strong(none, bytes);
  void* reserve = s_Reserve.exchange(nullptr);
  std::free(reserve);
  return reserve != nullptr;
}

static void FillReserve() {
  if (s_Reserve.load()) return;
  void* fresh = std::malloc(ReserveBytes);
  void* none = nullptr;
  if (!s_Reserve.compare_exchange_strong(none, fresh)) std::free(fresh);
}

std::optional<std::size_t> TakeMemoryFailure() {
  FillReserve();
  const std::size_t bytes = s_FailedBytes.exchange(NoFailure);
  return bytes == NoFailure ? std::nullopt : std::optional<std::size_t>(bytes);
}

std::string DescribeMemoryFailure(std::size_t bytes, const MemoryTexts& texts) {
  constexpr std::size_t megabyte = std::size_t(1) << 20;
  if (bytes == 0) return texts.Unknown;
  std::string text = bytes < megabyte ? texts.Bytes : texts.Megabytes;
  char number[32];
  std::snprintf(number, sizeof number, bytes < megabyte ? "%.0f" : "%.02f",
                bytes < megabyte ? double(bytes) : double(bytes) / double(megabyte));
  if (const std::size_t at = text.find("%s"); at != std::string::npos) text.replace(at, 2, number);
  return text;
}

static void OnNewFailed() {
  if (!GetEngineHost().OutOfMemory(0)) throw std::bad_alloc();
}

// Never destroyed: static objects may still report while the program ends.
static EngineHost& GetDefaultHost() {
  static EngineHost* host = new EngineHost;
  return *host;
}

static std::atomic<EngineHost*> s_Host{nullptr};

EngineHost& GetEngineHost() {
  EngineHost* host = s_Host.load(std::memory_order_acquire);
  return host ? *host : GetDefaultHost();
}

EngineHost* SetEngineHost(EngineHost* host) {
  FillReserve();
  std::set_new_handler(&OnNewFailed);
  EngineHost* before = s_Host.exchange(host, std::memory_order_acq_rel);
  return before ? before : &GetDefaultHost();
}
