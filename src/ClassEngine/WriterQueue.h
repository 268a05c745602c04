#pragma once
// What delayed streams hand to the background writer. Items are served in order by one thread, started by the first one.
#include <memory>

#include "ClassEngine/StreamFile.h"

/// Hands over a private copy of the bytes. Without memory for it they are written here and now, behind what is queued; then, and
/// only then, false tells of a failure.
bool QueueBytes(const std::shared_ptr<WriterFile>& file, const void* data, int64_t size);
/// Hands over the end of the file: sync, close and rename.
bool QueueEnd(const std::shared_ptr<WriterFile>& file);
