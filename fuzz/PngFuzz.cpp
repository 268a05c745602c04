// Any bytes as a PNG file: a refusal says why and leaves the picture alone, and what is read comes back the same after writing.
#include <sys/mman.h>
#include <unistd.h>
#include <cstdlib>
#include <string>

#include "comms/Image.h"

using namespace comms;

static void Expect(bool condition) {
  if (!condition) std::abort();
}

static std::string MemoryFile(const uint8_t* data, size_t size) {
  static const int handle = memfd_create("fuzz", 0);
  Expect(ftruncate(handle, 0) == 0 && pwrite(handle, data, size, 0) == ssize_t(size));
  return "/proc/self/fd/" + std::to_string(handle);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string path = MemoryFile(data, size), copy = "/dev/shm/morvane-fuzz.png";
  cImage image, again;
  std::string error;
  if (!LoadPng(path, image, error)) {
    Expect(image.Empty() && error.find(path) != error.npos);
    return 0;
  }
  Expect(image.Pixels().size() == size_t(image.Width()) * size_t(image.Height()) * 4);
  if (image.Pixels().size() > 1 << 16) return 0;  // the writer is not what is looked for
  Expect(SavePng(image, copy, error) && LoadPng(copy, again, error));
  Expect(again.Width() == image.Width() && again.Pixels() == image.Pixels());
  return 0;
}
