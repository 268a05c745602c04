// Loaded before the program: its graphics device says that it was reset once the file LOSE_DEVICE is there, and only once. No
// software driver does that by itself.
#include <dlfcn.h>
#include <unistd.h>

#include <cstdlib>
#include <initializer_list>

namespace {

using ResetStatus = unsigned();

unsigned TellReset() {
  constexpr unsigned unknownReset = 0x8255;
  static bool told = false;
  const char* sign = std::getenv("LOSE_DEVICE");
  if (told || !sign || access(sign, F_OK) != 0) return 0;
  told = true;
  return unknownReset;
}

// The library of OpenGL's entry points calls through these.
__attribute__((constructor)) void TakeOver() {
  for (const char* name : {"epoxy_glGetGraphicsResetStatus", "epoxy_glGetGraphicsResetStatusARB"})
    if (auto** entry = static_cast<ResetStatus**>(dlsym(RTLD_DEFAULT, name))) *entry = TellReset;
}

}  // namespace
