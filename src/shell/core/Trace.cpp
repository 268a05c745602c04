#include "shell/core/Trace.h"

#include <atomic>
#include <cstdint>
#include <cstring>

namespace {

struct Crumb {
  std::atomic<const char*> Name{nullptr};
  std::atomic<unsigned> Value{0};
};

// A writer takes a place by one addition; places are so many that two writers never meet in one of them within the ring's turn. A
// reader in between may see a new name with an old number, which a report can bear.
Crumb g_Crumbs[TraceCapacity];
std::atomic<uint64_t> g_Next{0};

/// The text with its "%08X" replaced; cut at `capacity`. Returns the length that is needed, without the end.
size_t WriteCrumb(const char* format, unsigned value, char* out, size_t capacity) {
  size_t length = 0;
  const auto put = [&](char c) {
    if (length < capacity) out[length] = c;
    ++length;
  };
  bool written = false;
  for (const char* c = format; *c; ++c) {
    if (!written && std::strncmp(c, "%08X", 4) == 0) {
      for (int shift = 28; shift >= 0; shift -= 4) put("0123456789ABCDEF"[(value >> shift) & 15]);
      c += 3;
      written = true;
    } else {
      put(*c);
    }
  }
  put('\n');
  return length;
}

}  // namespace

void Trace(const char* name) { Trace(name, 0); }

void Trace(const char* format, unsigned value) {
  Crumb& crumb = g_Crumbs[g_Next.fetch_add(1, std::memory_order_relaxed) % TraceCapacity];
  crumb.Value.store(value, std::memory_order_relaxed);
  crumb.Name.store(format, std::memory_order_release);
}

const char* GetLastTrace() {
  const uint64_t next = g_Next.load(std::memory_order_relaxed);
  const char* name = next ? g_Crumbs[(next - 1) % TraceCapacity].Name.load(std::memory_order_acquire) : nullptr;
  return name ? name : "";
}

size_t WriteTraces(char* out, size_t capacity) {
  if (capacity == 0) return 0;
  const uint64_t next = g_Next.load(std::memory_order_relaxed);
  size_t length = 0;
  for (uint64_t i = next > TraceCapacity ? next - TraceCapacity : 0; i < next; ++i) {
    const Crumb& crumb = g_Crumbs[i % TraceCapacity];
    const char* name = crumb.Name.load(std::memory_order_acquire);
    if (!name) continue;
    const size_t needed = WriteCrumb(name, crumb.Value.load(std::memory_order_relaxed), out + length, capacity - 1 - length);
    if (needed > capacity - 1 - length) break;
    length += needed;
  }
  out[length] = 0;
  return length;
}
