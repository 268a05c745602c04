#include "ClassEngine/EngineHost.h"

#include <atomic>
#include <cstdio>
#include <filesystem>
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
bool EngineHost::OutOfMemory(std::size_t) { return false; }

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
  EngineHost* before = s_Host.exchange(host, std::memory_order_acq_rel);
  return before ? before : &GetDefaultHost();
}
