#include "ClassEngine/GeneralMemory.h"

#include <cstdlib>
#include <new>

#include "ClassEngine/EngineHost.h"

void* GeneralReallocate(void* pointer, size_t bytes) {
  if (!bytes) {
    std::free(pointer);
    return nullptr;
  }
  for (;;) {
    if (void* result = std::realloc(pointer, bytes)) return result;
    if (!GetEngineHost().OutOfMemory(bytes)) throw std::bad_alloc();
  }
}
void* GeneralAllocate(size_t bytes) { return GeneralReallocate(nullptr, bytes); }
void GeneralFree(void* pointer) { std::free(pointer); }
