#include "ClassEngine/StrBuffer.h"

#include <bit>
#include <functional>
#include <new>
#include <utility>

#include "ClassEngine/Assert.h"
#include "ClassEngine/pool.h"

static constexpr int64_t MaxLength = INT32_MAX - 1;

int64_t StrBuffer::CapacityFor(int64_t bytes) {
  if (bytes <= 8) return 8;
  if (bytes <= 128) return int64_t(std::bit_ceil(uint64_t(bytes)));
  int64_t capacity = (bytes + 15) & ~int64_t(15);
  if (capacity > 512) capacity = (bytes + bytes / 2 + 128) & ~int64_t(15);
  return capacity > INT32_MAX ? INT32_MAX : capacity;
}

void StrBuffer::Swap(StrBuffer& other) noexcept {
  std::swap(Data, other.Data);
  std::swap(Length, other.Length);
  std::swap(Capacity, other.Capacity);
}

void StrBuffer::Release() {
  GetPool().Free(Data, size_t(Capacity));
  Data = nullptr;
  Length = Capacity = 0;
}

void StrBuffer::Reserve(int64_t length) {
  MORVANE_ASSERT(length >= 0);
  if (length > MaxLength) throw std::bad_alloc();
  if (length + 1 <= Capacity) return;
  const int64_t capacity = CapacityFor(length + 1);
  Data = static_cast<char*>(GetPool().Reallocate(Data, size_t(Capacity), size_t(capacity)));
  Capacity = int32_t(capacity);
  Data[Length] = 0;
}

void StrBuffer::SetLength(int64_t length) {
  if (!length) {
    Release();
    return;
  }
  Reserve(length);
  Length = int32_t(length);
  Data[Length] = 0;
}

// std::less orders pointers into different objects too.
static bool LiesIn(const StrBuffer& buffer, std::string_view text) {
  const std::less<const char*> before;
  return buffer.Data && !before(text.data(), buffer.Data) && before(text.data(), buffer.Data + buffer.Capacity);
}

void StrBuffer::Assign(std::string_view text) {
  constexpr int32_t LargestKept = 256;
  if (LiesIn(*this, text)) {
    StrBuffer copy(text);
    Swap(copy);
    return;
  }
  if (text.empty() || Capacity > LargestKept) Release();
  if (text.empty()) return;
  Reserve(int64_t(text.size()));
  std::memcpy(Data, text.data(), text.size());
  Length = int32_t(text.size());
  Data[Length] = 0;
}

void StrBuffer::Append(std::string_view text) {
  if (text.empty()) return;
  const bool own = LiesIn(*this, text);
  const size_t offset = own ? size_t(text.data() - Data) : 0;
  Reserve(int64_t(Length) + int64_t(text.size()));
  std::memmove(Data + Length, own ? Data + offset : text.data(), text.size());
  Length += int32_t(text.size());
  Data[Length] = 0;
}
