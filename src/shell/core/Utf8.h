#pragma once
// Which bytes are UTF-8. Over-long forms, surrogates and code points past U+10FFFF are not.
#include <cstddef>
#include <string_view>

/// Bytes of the valid sequence that `text` begins with (1 to 4); 0 where it begins with none, and for the empty text.
size_t Utf8SequenceLength(std::string_view text);
/// Position of the first byte that belongs to no valid sequence; npos where all of `text` is valid.
size_t FindInvalidUtf8(std::string_view text);
/// The beginning of `text`, at most `size` bytes, that ends with a whole character where the text is valid there.
std::string_view CutUtf8(std::string_view text, size_t size);
