#pragma once
// The general allocator as the class engine uses it; any thread may.
#include <cstddef>

// A failure goes to EngineHost::OutOfMemory, again and again while something is freed there; then std::bad_alloc is thrown.
void* GeneralAllocate(size_t bytes);                   ///< null for 0
void* GeneralReallocate(void* pointer, size_t bytes);  ///< null makes new memory, 0 frees and gives null
void GeneralFree(void* pointer);                       ///< null is ignored
