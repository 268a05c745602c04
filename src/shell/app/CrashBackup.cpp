#include "shell/app/CrashBackup.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <memory>
#include <new>
#include <vector>

#include "ClassEngine/FileBinStream.h"
#include "MC/VolumeStream.h"
#include "MC/room/RoomHelpers.h"
#include "comms/SafeFile.h"
#include "comms/Str.h"
#include "interface/Language.h"
#include "shell/core/DataPath.h"
#include "shell/core/FileTitle.h"

namespace fs = std::filesystem;

namespace {

constexpr char BackupName[] = "AutoBackupOnCrash";
constexpr char Extension[] = ".mvb";
constexpr int MostBackups = 99;  ///< the last one is written over
constexpr size_t MostNames = 8;  ///< of volumes, that are told
constexpr uint32_t ProjectTag = ChunkTag("MESH"), ProjectFormat = 1, VolumesTag = ChunkTag("VOL3");

/// Payload of the voxel room's chunk; all but the volumes is left empty.
void WriteRoom(BinStream& out, const std::vector<const VolumeObject*>& volumes) {
  for (int i = 0; i < 4; i++) WriteDWORD(out, 0);  // header, strokes, tool, its state
  WriteDWORD(out, 1);                              // a file name with its end
  WriteBYTE(out, 0);
  for (int i = 0; i < 2; i++) WriteDWORD(out, 0);  // settings
  WriteDWORD(out, 1);                              // volumes follow
  SaveVolumes(out, volumes);
  WriteDWORD(out, 0);  // a tree of them
}

/// Up to the volumes.
bool ReadRoomHead(BinStream& in, std::string& error) {
  ReadDWORD(in);
  in.Skip(int64_t(ReadDWORD(in)) * 12);  // strokes
  in.Skip(8);
  in.Skip(ReadDWORD(in));  // file name
  in.Skip(8);
  if (ReadDWORD(in) == 1) return true;
  error = "holds no volumes";
  return false;
}

/// Up to the volumes of the first chunk of the voxel room.
bool ReadProjectHead(BinStream& in, std::string& error) {
  if (ReadDWORD(in) != ProjectTag || ReadDWORD(in) != ProjectFormat) {
    error = "is no project of format 1";
    return false;
  }
  while (HasItems(in, 1, 8)) {
    const uint32_t tag = ReadDWORD(in), size = ReadDWORD(in);
    if (tag == VolumesTag) return ReadRoomHead(in, error);
    in.Skip(size);
  }
  error = "holds no volumes";
  return false;
}

/// `name`, or the next free one with a number behind it.
std::string FindFreeName(const VoxelScene& scene, const std::string& name) {
  std::string unused;
  const std::string first = IsVolumeName(name, unused) ? name : "volume";
  std::string free = first;
  for (int number = 2; scene.Find(free); number++) free = comms::Format("%.180s %d", first.c_str(), number);
  return free;
}

}  // namespace

std::string ChooseCrashBackup(const std::string& folder) {
  std::string path = comms::JoinPath(folder, std::string(BackupName) + Extension);
  for (int number = 2; comms::FileExists(path) && number <= MostBackups; ++number)
    path = comms::JoinPath(folder, comms::Format("%s %d%s", BackupName, number, Extension));
  return path;
}

std::vector<std::string> ListCrashBackupFolders(const std::string& folder) {
  std::vector<std::string> folders{folder};
  const char *home = std::getenv("HOME"), *temporary = std::getenv("TMPDIR");
  if (home && *home) folders.push_back(home);
  folders.push_back(temporary && *temporary ? temporary : "/tmp");
  return folders;
}

std::string FindCrashBackup(const std::vector<std::string>& folders) {
  std::string newest;
  fs::file_time_type newestTime;
  for (const std::string& folder : folders)
    for (const std::string& title : ListFileTitles(folder, Extension)) {
      if (title != BackupName && !title.starts_with(std::string(BackupName) + " ")) continue;
      const std::string path = comms::JoinPath(folder, title + Extension);
      struct stat facts {};
      // Anybody may put files into the folder of temporary ones.
      if (lstat(path.c_str(), &facts) != 0 || !S_ISREG(facts.st_mode) || facts.st_uid != geteuid()) continue;
      std::error_code fault;
      const fs::file_time_type time = fs::last_write_time(path, fault);
      if (fault || (!newest.empty() && time <= newestTime)) continue;
      newest = path;
      newestTime = time;
    }
  return newest;
}

std::string DescribeCrashBackup(const std::string& path) {
  std::string text;
  struct stat facts {};
  tm local{};
  char written[64] = {};
  if (stat(path.c_str(), &facts) == 0 && localtime_r(&facts.st_mtim.tv_sec, &local) &&
      std::strftime(written, sizeof(written), "%Y-%m-%d %H:%M", &local) > 0)
    text = FillIn(GetText("BACKUP_SAVED_AT"), written);
  std::vector<std::string> names;
  std::string error;
  FILE_ReadBinStream in;
  if (!in.ReadFromFile(path.c_str()))
    error = "can't be read";
  else if (ReadProjectHead(in, error))
    ListVolumeNames(in, names, error);
  if (!error.empty()) return text + "\n" + path + ": " + error;
  std::string list;
  for (size_t i = 0; i < std::min(names.size(), MostNames); ++i) list += (i > 0 ? ", " : "") + names[i];
  if (names.size() > MostNames) list += comms::Format(" … (%zu)", names.size());
  return text + "\n" + FillIn(GetText("BACKUP_VOLUMES"), list);
}

bool WriteCrashBackup(const VoxelScene& scene, const std::string& path, std::string& error) {
  if (!MakeFolderOf(path)) {
    error = path + ": the folder can't be made";
    return false;
  }
  std::vector<const VolumeObject*> volumes;
  for (const auto& volume : scene.Volumes()) volumes.push_back(volume.get());
  BinStreamCounter counter;
  WriteRoom(counter, volumes);
  FILE_WriteBinStream out(path.c_str());
  WriteDWORD(out, ProjectTag);
  WriteDWORD(out, ProjectFormat);
  WriteDWORD(out, VolumesTag);
  // The last chunk ends with the file: where its size does not fit the field, nobody needs it.
  WriteDWORD(out, uint32_t(std::min<int64_t>(counter.Size(), UINT32_MAX)));
  WriteRoom(out, volumes);
  if (out.Close()) return true;
  error = path + ": can't be written; is the disk full?";
  return false;
}

bool ReadCrashBackup(VoxelScene& scene, const std::string& path, std::string& error) {
  std::vector<std::unique_ptr<VolumeObject>> volumes;
  bool isRead = false;
  try {
    FILE_ReadBinStream in;
    if (!in.ReadFromFile(path.c_str()))
      error = "can't be read";
    else
      isRead = ReadProjectHead(in, error) && LoadVolumes(in, volumes, error);
    for (const auto& volume : volumes) volume->RefreshSurfaces();
  } catch (const std::bad_alloc&) {
    isRead = false;
    error = "there is not enough memory for it";
  }
  if (!isRead) {
    error = path + ": " + error;
    return false;
  }
  for (auto& volume : volumes) {
    volume->Name = FindFreeName(scene, volume->Name);
    scene.Add(std::move(volume));
  }
  return true;
}
