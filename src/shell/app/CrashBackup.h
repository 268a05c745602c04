#pragma once
// The file that a crash leaves of the scene: a project that holds the volumes alone.
#include <string>
#include <vector>

#include "MC/room/VoxelScene.h"

/// Where it may lie, in this order: the folder itself, and, for a disk that is full, the person's home folder and that of
/// temporary files.
std::vector<std::string> ListCrashBackupFolders(const std::string& folder);
/// Where the work is saved: "AutoBackupOnCrash.mvb" of the folder, or with a number behind it where an earlier one lies there.
std::string ChooseCrashBackup(const std::string& folder);
/// The newest of them in all of the folders, of those that are this person's; empty where there is none.
std::string FindCrashBackup(const std::vector<std::string>& folders);
/// What a person knows it by, in the language that is loaded: when it was written, and the names of its volumes.
std::string DescribeCrashBackup(const std::string& path);
/// Writes every volume of the scene with its name, its place and its samples; the folder is made. Asks little of a process that
/// has crashed: no other thread, and no memory but a buffer. False with one sentence in `error`, and no file.
bool WriteCrashBackup(const VoxelScene& scene, const std::string& path, std::string& error);
/// Adds the volumes of such a file to the scene, each as one of its own; one whose name is taken gets a number behind it. False
/// with one sentence in `error`, and the scene as it was.
bool ReadCrashBackup(VoxelScene& scene, const std::string& path, std::string& error);
