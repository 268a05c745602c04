#pragma once
// Volumes as bytes: names, places and all samples, exactly as they are.
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "ClassEngine/BinStream.h"
#include "MC/VolumeObject.h"

/// Writes the volumes without their surfaces, which the samples make anew. Takes no memory in proportion to them. Version 5, or 6
/// where a cell key lies outside -32767 .. 32767.
void SaveVolumes(BinStream& out, std::span<const VolumeObject* const> volumes);

/// Reads what SaveVolumes writes: every cell is marked changed. Appends to `volumes`. A matrix that is not finite becomes the
/// identity; version 6 goes on behind cells that are damaged. False with one sentence in `error`, and `volumes` as it was, where
/// the stream is cut off, is of another version, or holds surfaces.
bool LoadVolumes(BinStream& in, std::vector<std::unique_ptr<VolumeObject>>& volumes, std::string& error);
/// Reads over the same and appends the volumes' names alone.
bool ListVolumeNames(BinStream& in, std::vector<std::string>& names, std::string& error);
