#include "ClassEngine/BackgroundWriter.h"

#include <condition_variable>
#include <cstring>
#include <deque>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>
#include <utility>

#include "ClassEngine/WriterQueue.h"

std::atomic<bool> ForbidDelayedWriting{false};

namespace {

// One item: bytes for a file, or, without bytes, its end.
struct WriterItem {
  std::shared_ptr<WriterFile> File;
  std::unique_ptr<uint8_t[]> Data;
  int64_t Size = 0;
};

void Serve(const WriterItem& item) {
  if (item.Data)
    item.File->Write(item.Data.get(), item.Size);
  else
    item.File->PutInPlace();
}

class Writer {
 public:
  // False where there is no thread to be had; the item is untouched then.
  bool Push(WriterItem& item) {
    std::unique_lock lock(m_Lock);
    if (!m_Running) {
      try {
        std::thread([this] { Run(); }).detach();
      } catch (const std::system_error&) {
        return false;
      }
      m_Running = true;
    }
    m_QueuedBytes += item.Size;
    m_Items.push_back(std::move(item));
    return true;
  }
  void Wait() {
    std::unique_lock lock(m_Lock);
    m_Ended.wait(lock, [this] { return !m_Running; });
  }
  bool IsBusy() {
    const std::lock_guard lock(m_Lock);
    return m_Running;
  }
  int64_t GetQueuedBytes() {
    const std::lock_guard lock(m_Lock);
    return m_QueuedBytes;
  }

 private:
  // The thread starts while Push holds the lock, so it finds the first item.
  void Run() {
    std::unique_lock lock(m_Lock);
    while (!m_Items.empty()) {
      WriterItem item = std::move(m_Items.front());
      m_Items.pop_front();
      lock.unlock();
      Serve(item);
      const int64_t size = std::exchange(item.Size, 0);
      item = {};
      lock.lock();
      m_QueuedBytes -= size;
    }
    m_Running = false;
    m_Ended.notify_all();
  }

  std::mutex m_Lock;
  std::condition_variable m_Ended;
  std::deque<WriterItem> m_Items;
  int64_t m_QueuedBytes = 0;
  bool m_Running = false;
};

// Never destroyed: the thread is detached and may be its last user.
Writer& GetWriter() {
  static Writer* writer = new Writer;
  return *writer;
}

// What was handed over is on disk before the program ends.
struct WaitAtExit {
  ~WaitAtExit() { WaitForWriter(); }
} s_WaitAtExit;

}  // namespace

void WaitForWriter() { GetWriter().Wait(); }
bool IsWriterBusy() { return GetWriter().IsBusy(); }

bool QueueBytes(const std::shared_ptr<WriterFile>& file, const void* data, int64_t size) {
  // A slow disk must not fill the memory with copies: past this the writer of the stream waits, as it does when there is no
  // memory.
  constexpr int64_t MaxQueuedBytes = int64_t(1) << 28;
  WriterItem item{file, nullptr, size};
  if (GetWriter().GetQueuedBytes() + size <= MaxQueuedBytes) item.Data.reset(new (std::nothrow) uint8_t[size_t(size)]);
  if (item.Data) {
    std::memcpy(item.Data.get(), data, size_t(size));
    if (GetWriter().Push(item)) return true;
  }
  WaitForWriter();
  return file->Write(data, size);
}

bool QueueEnd(const std::shared_ptr<WriterFile>& file) {
  WriterItem item{file, nullptr, 0};
  if (GetWriter().Push(item)) return true;
  WaitForWriter();
  return file->PutInPlace();
}
