// Buffered writing at any position of a file.
#include "platform/kav_ebase/output_buffer.h"

#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace {

constexpr size_t kCapacity = size_t{256} * 1024;

}  // namespace

OutputBuffer::OutputBuffer(int descriptor) : fd(descriptor) {
  buffer.reserve(kCapacity);
}

void OutputBuffer::Write(const void* data, size_t size) {
  const char* bytes = static_cast<const char*>(data);
  if (position < bufferStart) {  // a correction of what has left the buffer, up to its start
    const size_t early = static_cast<size_t>(std::min<uint64_t>(size, bufferStart - position));
    WriteAt(position, bytes, early);
    position += early;
    bytes += early;
    size -= early;
  }
  const size_t within = static_cast<size_t>(position - bufferStart);
  position += size;
  const size_t corrected = std::min(size, buffer.size() - within);
  std::copy_n(bytes, corrected, buffer.data() + within);
  bytes += corrected;
  size -= corrected;
  if (buffer.size() + size > kCapacity) Flush();
  if (size >= kCapacity) {
    WriteAt(bufferStart, bytes, size);
    bufferStart += size;
  } else {
    buffer.insert(buffer.end(), bytes, bytes + size);
  }
}

void OutputBuffer::Flush() {
  WriteAt(bufferStart, buffer.data(), buffer.size());
  bufferStart += buffer.size();
  buffer.clear();
}

void OutputBuffer::WriteAt(uint64_t offset, const char* data, size_t size) {
  while (size > 0 && !failed) {
    const ssize_t written = pwrite(fd, data, size, static_cast<off_t>(offset));
    if (written <= 0) {
      failed = written == 0 || errno != EINTR;
      continue;
    }
    data += written;
    size -= static_cast<size_t>(written);
    offset += static_cast<uint64_t>(written);
  }
}
