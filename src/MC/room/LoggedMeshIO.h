#pragma once
// Mesh files as commands see them: the message that the mesh floor logs becomes the sentence of the answer.
#include <memory>
#include <string>

#include "comms/cRawMesh.h"

/// cMeshIO::LoadMesh with its axis convention for this call. Null with one sentence in `error`. What was logged on the way to
/// success is passed on; an error among it, which leaves a mesh that is not the file's, stands in `error` too.
std::unique_ptr<comms::cRawMesh> LoadMeshLogged(const std::string& names, bool swapYZ, std::string& error);

/// cMeshIO::SaveMesh, which uses the mesh up. False with one sentence in `error`; the old file is then whole.
bool SaveMeshLogged(std::unique_ptr<comms::cRawMesh> mesh, const std::string& name, bool swapYZ, std::string& error);
