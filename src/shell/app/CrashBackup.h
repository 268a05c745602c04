#pragma once
// The file that a crash leaves of the scene: a project that holds the volumes alone.
#include <string>

#include "MC/room/VoxelScene.h"

/// Where the work is saved: "AutoBackupOnCrash.mvb" of the folder, or with a number behind it where an earlier one lies there.
std::string ChooseCrashBackup(const std::string& folder);
/// The newest of them; empty where there is none.
std::string FindCrashBackup(const std::string& folder);
/// Writes every volume of the scene with its name, its place and its samples; the folder is made. Asks little of a process that
/// has crashed: no other thread, and no memory but a buffer. False with one sentence in `error`, and no file.
bool WriteCrashBackup(const VoxelScene& scene, const std::string& path, std::string& error);
/// Adds the volumes of such a file to the scene, each as one of its own; one whose name is taken gets a number behind it. False
/// with one sentence in `error`, and the scene as it was.
bool ReadCrashBackup(VoxelScene& scene, const std::string& path, std::string& error);
