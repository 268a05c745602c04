#include "comms/cFile.h"

#include <bit>
#include <cstring>
#include <utility>

#include "ClassEngine/FileBinStream.h"
#include "comms/SafeFile.h"

namespace comms {

static_assert(std::endian::native == std::endian::little);

// The buffered stream for the reading of values, its file for reads from several threads.
struct cFile::Reader : FILE_ReadBinStream {
  using FileReadStreamBase::ReadAt;
};

cFile::cFile() = default;
cFile::~cFile() = default;

bool cFile::Open(const char* fileName, Mode mode) {
  m_Reader.reset();
  m_Writer.reset();
  m_Other.reset();
  m_Error.clear();
  m_Name = fileName;
  if (mode == Read) {
    m_Reader = std::make_unique<Reader>();
    return m_Reader->ReadFromFile(fileName);
  }
  m_Writer = std::make_unique<SafeFileWriter>(m_Name);
  m_Error = m_Writer->Error();
  return m_Error.empty();
}

bool cFile::Close() {
  m_Reader.reset();
  if (m_Writer && m_Error.empty()) {
    const bool done = m_Other ? SafeFileWriter::CommitTogether({m_Other.get(), m_Writer.get()}) : m_Writer->Commit();
    if (!done) m_Error = m_Writer->Failed() ? m_Writer->Error() : m_Other->Error();
  }
  m_Writer.reset();
  m_Other.reset();
  return m_Error.empty();
}

int64_t cFile::Size() const { return m_Reader ? m_Reader->Size() : 0; }
int64_t cFile::Position() const { return m_Reader ? m_Reader->GetReadPos() : 0; }
bool cFile::AtEnd() const { return !m_Reader || Position() >= Size(); }
int64_t cFile::ReadBlock(void* data, int64_t size) { return m_Reader ? m_Reader->Read(data, size) : 0; }
int64_t cFile::ReadAt(int64_t position, void* data, int64_t size) const {
  return m_Reader && position <= m_Reader->Size() ? m_Reader->ReadAt(position, data, size) : 0;
}

template <class T>
T cFile::ReadValue() {
  T value;
  return ReadBlock(&value, sizeof value) == sizeof value ? value : T();
}
uint8_t cFile::ReadU8() { return ReadValue<uint8_t>(); }
uint16_t cFile::ReadU16() { return ReadValue<uint16_t>(); }
uint32_t cFile::ReadU32() { return ReadValue<uint32_t>(); }
float cFile::ReadFloat() { return ReadValue<float>(); }

bool cFile::ReadToken(const char* delimiters, cStr& token) {
  token.clear();
  if (AtEnd()) return false;
  for (char c; ReadBlock(&c, 1) == 1 && !(c && std::strchr(delimiters, c));) token += c;
  return true;
}

bool cFile::WriteBlock(const void* data, int64_t size) {
  if (!m_Writer || !m_Error.empty()) return false;
  if (!m_Writer->Write(data, size_t(size))) m_Error = m_Writer->Error();
  return m_Error.empty();
}
bool cFile::WriteStr(const char* text) { return WriteBlock(text, int64_t(std::strlen(text))); }
bool cFile::WriteU8(uint8_t value) { return WriteBlock(&value, sizeof value); }
bool cFile::WriteU16(uint16_t value) { return WriteBlock(&value, sizeof value); }
bool cFile::WriteU32(uint32_t value) { return WriteBlock(&value, sizeof value); }
bool cFile::WriteFloat(float value) { return WriteBlock(&value, sizeof value); }

bool cFile::Flush() {
  if (!m_Writer || !m_Error.empty()) return false;
  if (!m_Writer->Flush()) m_Error = m_Writer->Error();
  return m_Error.empty();
}

void cFile::CloseWith(std::unique_ptr<SafeFileWriter> other) { m_Other = std::move(other); }

void cFile::Fail(const cStr& sentence) {
  if (m_Error.empty()) m_Error = sentence;
}

}  // namespace comms
