#pragma once
// Plain string of the class engine: a terminated char buffer out of the pooled allocator.
#include <cstdint>
#include <cstring>
#include <string_view>

/// An empty string has a null Data; reads through Get give "". A string shares its thread with the pool. At most 2^31 - 2 bytes.
class StrBuffer {
 public:
  char* Data = nullptr;
  int32_t Length = 0;    ///< without the terminator
  int32_t Capacity = 0;  ///< with the terminator

  StrBuffer() = default;
  explicit StrBuffer(std::string_view text) { Assign(text); }
  ~StrBuffer() { Release(); }
  StrBuffer(const StrBuffer& other) { Assign(other.View()); }
  StrBuffer(StrBuffer&& other) noexcept { Swap(other); }
  StrBuffer& operator=(const StrBuffer& other) { return operator=(other.View()); }
  StrBuffer& operator=(StrBuffer&& other) noexcept {
    Swap(other);
    return *this;
  }
  StrBuffer& operator=(std::string_view text) {
    Assign(text);
    return *this;
  }
  StrBuffer& operator=(const char* text) {
    Assign(text);
    return *this;
  }
  void Swap(StrBuffer& other) noexcept;

  /// Never null.
  const char* Get() const { return Data ? Data : ""; }
  std::string_view View() const { return {Get(), size_t(Length)}; }
  bool Empty() const { return Length == 0; }

  /// Empty text frees the buffer. A buffer above 256 bytes is released first, so that a short text does not hold a large one.
  /// `text` may lie in this string.
  void Assign(std::string_view text);
  void Assign(const char* text) { Assign(text ? std::string_view(text) : std::string_view()); }  ///< null is empty
  void Append(std::string_view text);
  void Append(char symbol) { Append(std::string_view(&symbol, 1)); }
  /// Room for `length` characters and the terminator, by the growth rule; the text stays.
  void Reserve(int64_t length);
  /// Grows or cuts to `length`; new characters are undefined and meant to be written. 0 frees the buffer.
  void SetLength(int64_t length);
  /// Frees the buffer.
  void Release();

  /// Capacity for a request of `bytes`, terminator included: the next of 8, 16, 32, 64, 128, or a multiple of 16, with half as
  /// much again in reserve where that exceeds 512.
  static int64_t CapacityFor(int64_t bytes);

  friend bool operator==(const StrBuffer& a, const StrBuffer& b) { return a.View() == b.View(); }
  friend bool operator==(const StrBuffer& a, std::string_view b) { return a.View() == b; }
};
