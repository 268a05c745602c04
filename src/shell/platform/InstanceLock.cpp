#include "shell/platform/InstanceLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "comms/Str.h"

namespace fs = std::filesystem;

InstanceLock::~InstanceLock() { Release(); }

void InstanceLock::Release() {
  // The lock file stays: removing it would race with somebody who has it open and is about to lock it.
  if (m_Handle >= 0) close(m_Handle);
  m_Handle = -1;
  std::error_code ignored;
  if (m_IsTemporary) fs::remove_all(m_Folder, ignored);
  m_IsTemporary = false;
  m_Folder.clear();
}

bool InstanceLock::Acquire(const std::string& folder, std::string& error) {
  Release();
  std::string place = folder;
  while (place.size() > 1 && place.back() == '/') place.pop_back();
  std::error_code fault;
  fs::create_directories(place, fault);
  const std::string file = comms::JoinPath(place, "morvane.lock");
  m_Handle = open(file.c_str(), O_CREAT | O_RDWR | O_CLOEXEC, 0600);
  if (m_Handle < 0) {
    error = "can't use the folder " + place + ", its file morvane.lock can't be made: " + std::strerror(errno);
    return false;
  }
  if (flock(m_Handle, LOCK_EX | LOCK_NB) == 0) {
    m_Folder = place;
    return true;
  }
  const int reason = errno;
  close(m_Handle);
  m_Handle = -1;
  if (reason != EWOULDBLOCK) {
    error = "can't lock " + file + ": " + std::strerror(reason);
    return false;
  }
  const char* root = std::getenv("TMPDIR");
  std::string temporary = comms::JoinPath(root && *root ? root : "/tmp", "morvane-XXXXXX");
  if (!mkdtemp(temporary.data())) {
    error =
        place + " is in use by another run, and a temporary folder can't be made as " + temporary + ": " + std::strerror(errno);
    return false;
  }
  m_Folder = temporary;
  m_IsTemporary = true;
  return true;
}
