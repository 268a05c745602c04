#include "comms/Image.h"

#include <png.h>
#include <sys/types.h>
#include <cstdio>
#include <new>
#include <utility>

#include "ClassEngine/Assert.h"
#include "comms/Progress.h"
#include "comms/SafeFile.h"

namespace comms {

cImage::cImage(int width, int height) : m_Width(width), m_Height(height) {
  MORVANE_ASSERT(width >= 0 && height >= 0 && width <= MaxSide && height <= MaxSide && int64_t(width) * height <= MaxPixels);
  m_Pixels.resize(size_t(width) * height * 4);
}

// The simplified interface of libpng is used throughout: it reports failures by return value, where the classic one jumps over
// destructors.

static bool FailPng(const char* verb, const cStr& path, const cStr& reason, cStr& error) {
  error = Format("Can't %s \"%s\": %s.", verb, path.c_str(), reason.c_str());
  return false;
}

namespace {
// A stream into a new file that hears between its blocks whether the person cancels: packing a large picture takes seconds.
class PngSink {
 public:
  explicit PngSink(const cStr& path) : File(path) {
    m_Stream = fopencookie(this, "wb", {nullptr, &PngSink::Write, nullptr, nullptr});
    if (m_Stream) std::setvbuf(m_Stream, nullptr, _IOFBF, size_t(1) << 16);
  }
  ~PngSink() { Close(); }
  PngSink(const PngSink&) = delete;
  PngSink& operator=(const PngSink&) = delete;

  FILE* Stream() const { return m_Stream; }
  // False where not all of it was taken.
  bool Close() {
    FILE* const stream = std::exchange(m_Stream, nullptr);
    return stream && std::fclose(stream) == 0;
  }
  SafeFileWriter File;
  bool IsCancelled = false;

 private:
  static ssize_t Write(void* self, const char* bytes, size_t size) {
    PngSink& sink = *static_cast<PngSink*>(self);
    try {
      sink.IsCancelled |= !ShowProgress(1, 1, "Render");  // it is drawn; how well it packs nobody knows before
      return !sink.IsCancelled && sink.File.Write(bytes, size) ? ssize_t(size) : 0;
    } catch (const std::bad_alloc&) {
      return 0;
    }
  }
  FILE* m_Stream = nullptr;
};
}  // namespace

bool SavePng(const cImage& image, const cStr& path, cStr& error) {
  if (image.Empty()) return FailPng("write", path, "the picture is empty", error);
  PngSink sink(path);
  png_image png = {};
  png.version = PNG_IMAGE_VERSION;
  png.width = png_uint_32(image.Width());
  png.height = png_uint_32(image.Height());
  png.format = PNG_FORMAT_RGBA;
  const bool isPacked = png_image_write_to_stdio(&png, sink.Stream(), 0, image.Pixels().data(), 0, nullptr);
  if (sink.Close() && isPacked && sink.File.Commit()) return true;
  if (sink.IsCancelled) return FailPng("write", path, "it was cancelled", error);
  if (!sink.File.Failed()) return FailPng("write", path, *png.message ? png.message : "there is not enough memory", error);
  error = sink.File.Error();
  return false;
}

// Bytes that the header's picture takes before packing, filter bytes left out. `header` holds signature and IHDR, 26 bytes.
static uint64_t CountRawBytes(const uint8_t* header, uint64_t width, uint64_t height) {
  static const int channels[7] = {1, 0, 3, 1, 2, 0, 4};
  const int depth = header[24], colorType = header[25];
  return (width * uint64_t(depth * channels[colorType < 7 ? colorType : 0]) + 7) / 8 * height;
}

bool LoadPng(const cStr& path, cImage& image, cStr& error) {
  cList<uint8_t> bytes;
  if (!ReadWholeFile(path, bytes, error)) return false;
  png_image png = {};
  png.version = PNG_IMAGE_VERSION;
  if (!png_image_begin_read_from_memory(&png, bytes.data(), bytes.size()))
    return FailPng("read", path, cStr("not a sound PNG file, ") + png.message, error);
  constexpr uint64_t MaxDeflateRatio = 1032;
  const uint64_t width = png.width, height = png.height;
  cStr reason;
  if (width > cImage::MaxSide || height > cImage::MaxSide || width * height > uint64_t(cImage::MaxPixels)) {
    reason = Format("it announces %u x %u pixels, at most %d a side and %lld in all are read", unsigned(width), unsigned(height),
                    cImage::MaxSide, static_cast<long long>(cImage::MaxPixels));
  } else if (CountRawBytes(bytes.data(), width, height) > bytes.size() * MaxDeflateRatio) {
    reason =
        Format("it announces %u x %u pixels, more than its %zu bytes can hold", unsigned(width), unsigned(height), bytes.size());
  } else {
    try {
      cImage loaded{int(width), int(height)};
      png.format = PNG_FORMAT_RGBA;
      if (png_image_finish_read(&png, nullptr, loaded.Row(0), 0, nullptr)) {
        image = std::move(loaded);
        return true;
      }
      reason = png.message;
    } catch (const std::bad_alloc&) {
      reason = Format("not enough memory for %u x %u pixels", unsigned(width), unsigned(height));
    }
  }
  png_image_free(&png);
  return FailPng("read", path, reason, error);
}

}  // namespace comms
