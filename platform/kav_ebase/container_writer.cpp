// The writing of the container's entries.
//
// The data of ordinary files is deflated by libdeflate, which is much faster than zlib; only what
// is too large for memory is deflated piece by piece.
#include "platform/kav_ebase/container_writer.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <optional>
#include <string_view>

#include "platform/kav_ebase/chunk_deflater.h"
#include "platform/kav_ebase/kav_ebase.h"

namespace {

// Chosen by measuring text pages: above it time grows faster than size shrinks.
constexpr int kDeflateLevel = 6;

constexpr uint64_t kLargestWholeFile = uint64_t{64} << 20;
constexpr size_t kChunkSize = size_t{1} << 20;

// Above this a file's sizes need 64 bits; 16 MiB are left for deflating that makes it larger.
constexpr uint64_t kLargestPlainFile = 0xFF000000;

// Reads until the buffer is full; false when the file ends before or cannot be read.
bool ReadFully(int descriptor, unsigned char* data, size_t size) {
  while (size > 0) {
    const ssize_t got = read(descriptor, data, size);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return false;
    data += got;
    size -= static_cast<size_t>(got);
  }
  return true;
}

bool WriteFully(int descriptor, uint64_t offset, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written =
        pwrite(descriptor, bytes.data(), bytes.size(), static_cast<off_t>(offset));
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    bytes.remove_prefix(static_cast<size_t>(written));
    offset += static_cast<uint64_t>(written);
  }
  return true;
}

std::string_view BytesOf(const std::vector<unsigned char>& buffer, size_t size) {
  return {reinterpret_cast<const char*>(buffer.data()), size};
}

int ResultOfWriting(bool isWritten) {
  return isWritten ? KAV_EBASE_OK : KAV_EBASE_E_WRITE;
}

void Reserve(std::vector<unsigned char>& buffer, size_t size) {
  if (buffer.size() < size) buffer.resize(size);
}

}  // namespace

ContainerWriter::ContainerWriter(int descriptor)
    : zip([descriptor](uint64_t offset, std::string_view bytes) {
        return WriteFully(descriptor, offset, bytes);
      }),
      compressor(libdeflate_alloc_compressor(kDeflateLevel)) {
  if (compressor == nullptr) throw std::bad_alloc();
}

int ContainerWriter::Add(const char* name, const BookFile& file, Method method) {
  return file.size <= kLargestWholeFile ? AddWhole(name, file, method)
                                        : AddInChunks(name, file, method);
}

int ContainerWriter::Finish() {
  return ResultOfWriting(zip.Finish());
}

int ContainerWriter::AddWhole(const char* name, const BookFile& file, Method method) {
  const auto size = static_cast<size_t>(file.size);
  Reserve(content, size);
  if (!ReadFully(file.descriptor.Get(), content.data(), size)) return KAV_EBASE_E_READ;

  const size_t smaller = method == Method::kDeflated ? DeflateContent(size) : 0;
  const ZipStream::Entry entry = {name, smaller > 0 ? Method::kDeflated : Method::kStored,
                                  libdeflate_crc32(0, content.data(), size), size};
  return ResultOfWriting(
      zip.Add(entry, smaller > 0 ? BytesOf(deflated, smaller) : BytesOf(content, size)));
}

int ContainerWriter::AddInChunks(const char* name, const BookFile& file, Method method) {
  Reserve(content, kChunkSize);
  const bool isLarge = file.size > kLargestPlainFile;
  ZipStream::Entry entry = {name, method};
  std::optional<ChunkDeflater> deflater;
  while (entry.size < file.size) {
    const auto size = static_cast<size_t>(std::min<uint64_t>(kChunkSize, file.size - entry.size));
    if (!ReadFully(file.descriptor.Get(), content.data(), size)) return KAV_EBASE_E_READ;
    if (entry.size == 0) {  // the first piece tells whether deflating is worth it
      if (method == Method::kDeflated && DeflateContent(size) > 0) {
        deflater.emplace();
      } else {
        entry.method = Method::kStored;
      }
      if (!zip.Begin(entry, isLarge)) return KAV_EBASE_E_WRITE;
    }
    entry.crc = libdeflate_crc32(entry.crc, content.data(), size);
    entry.size += size;
    const std::string_view piece = BytesOf(content, size);
    if (!zip.Append(deflater ? deflater->Deflate(piece, entry.size == file.size) : piece)) {
      return KAV_EBASE_E_WRITE;
    }
  }
  entry.isText = deflater && deflater->IsText();
  return ResultOfWriting(zip.End(entry, isLarge));
}

// The size of the deflated content, or 0 when it would not be smaller.
size_t ContainerWriter::DeflateContent(size_t size) {
  if (size == 0) return 0;
  Reserve(deflated, size);
  return libdeflate_deflate_compress(compressor.get(), content.data(), size, deflated.data(),
                                     size - 1);
}
