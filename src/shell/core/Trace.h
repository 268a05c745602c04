#pragma once
// Named breadcrumbs: which steps the program finished last. They lie in plain memory, so that a crash report can quote them
// whatever state the process is in.
#include <cstddef>

/// Breadcrumbs that are kept; older ones are overwritten.
constexpr size_t TraceCapacity = 64;

/// Notes a step. `name` is a text constant: the pointer is kept, not the text. From any thread, without a lock.
void Trace(const char* name);
/// The same with one number; `format` is a text constant holding one "%08X", in whose place a report writes the number.
void Trace(const char* format, unsigned value);

/// The newest breadcrumb's text constant; empty before the first.
const char* GetLastTrace();
/// Writes the breadcrumbs, oldest first, one a line, as a null-terminated text into `out` of `capacity` bytes; what does not fit
/// is left out line by line from the newest. Returns the length. Takes no lock and no memory: may be called in a signal handler.
size_t WriteTraces(char* out, size_t capacity);
