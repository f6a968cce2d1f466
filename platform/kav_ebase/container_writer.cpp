// The writing of the container's entries.
//
// minizip writes the format. It gets the data of ordinary files deflated by libdeflate, which is
// much faster than its own; only what is too large for memory it deflates itself, piece by piece.
#include "platform/kav_ebase/container_writer.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <string>
#include <string_view>

#include "base/utf8.h"
#include "base/zip_end.h"
#include "platform/kav_ebase/kav_ebase.h"

namespace {

// Chosen by measuring text pages: above it time grows faster than size shrinks.
constexpr int kDeflateLevel = 6;
constexpr int kChunkDeflateLevel = 6;  // of zlib

constexpr uint64_t kLargestWholeFile = uint64_t{64} << 20;
constexpr size_t kChunkSize = size_t{1} << 20;

// Above this a file's sizes need 64 bits; 16 MiB are left for deflating that makes it larger.
constexpr uint64_t kLargestPlainFile = 0xFF000000;

constexpr uLong kFixedTime = 0x00210000;  // 1980-01-01 00:00, the first a container can express
constexpr uLong kMadeByUnix20 = 3U << 8 | 20;
constexpr uLong kRegularFile = static_cast<uLong>(S_IFREG | 0644) << 16;
constexpr uLong kNoFlags = 0;
constexpr uLong kUtf8Name = 1U << 11;

// The stream that minizip writes to. It reports no failure to minizip, which would leak memory over
// it; the buffer remembers.
voidpf OpenStream(voidpf opaque, const void* /*path*/, int /*mode*/) {
  return opaque;
}
uLong ReadStream(voidpf /*opaque*/, voidpf /*stream*/, void* /*data*/, uLong /*size*/) {
  return 0;
}
uLong WriteStream(voidpf /*opaque*/, voidpf stream, const void* data, uLong size) {
  static_cast<OutputBuffer*>(stream)->Write(data, size);
  return size;
}
ZPOS64_T TellStream(voidpf /*opaque*/, voidpf stream) {
  return static_cast<OutputBuffer*>(stream)->Position();
}
long SeekStream(voidpf /*opaque*/, voidpf stream, ZPOS64_T offset, int origin) {
  if (origin != ZLIB_FILEFUNC_SEEK_SET) return -1;
  static_cast<OutputBuffer*>(stream)->Seek(offset);
  return 0;
}
int CloseStream(voidpf /*opaque*/, voidpf /*stream*/) {
  return 0;
}
int StreamError(voidpf /*opaque*/, voidpf /*stream*/) {
  return 0;
}

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

// A name in ASCII needs no mark, and one in another encoding must have none.
bool NeedsUtf8Flag(std::string_view name) {
  bool isAscii = true;
  while (!name.empty()) {
    const Utf8Unit unit = DecodeUtf8(name);
    if (unit.kind != Utf8Unit::Kind::kCharacter) return false;
    isAscii = isAscii && unit.length == 1;
    name.remove_prefix(unit.length);
  }
  return !isAscii;
}

void Reserve(std::vector<unsigned char>& buffer, size_t size) {
  if (buffer.size() < size) buffer.resize(size);
}

}  // namespace

ContainerWriter::ContainerWriter(int descriptor)
    : output(descriptor), compressor(libdeflate_alloc_compressor(kDeflateLevel)) {
  zlib_filefunc64_def stream{OpenStream, ReadStream,  WriteStream, TellStream,
                             SeekStream, CloseStream, StreamError, &output};
  zip = zipOpen2_64("", APPEND_STATUS_CREATE, nullptr, &stream);
  if (zip == nullptr || compressor == nullptr) {
    if (zip != nullptr) zipClose(zip, nullptr);
    throw std::bad_alloc();
  }
}

ContainerWriter::~ContainerWriter() {
  if (zip == nullptr) return;
  output.Abandon();
  zipClose(zip, nullptr);
}

int ContainerWriter::Add(const char* name, const BookFile& file, Packing packing) {
  ++entries;
  return file.size <= kLargestWholeFile ? AddWhole(name, file, packing)
                                        : AddInChunks(name, file, packing);
}

int ContainerWriter::Finish() {
  const uint64_t directoryStart = output.Position();
  const int closed = zipClose(zip, nullptr);
  zip = nullptr;
  if (entries > kMostPlainEntries && directoryStart <= kMostPlainOffset) CorrectEnd(directoryStart);
  output.Flush();
  return Checked(closed);
}

// minizip itself ends a container with ZIP64 only when it is large, not when its entries are many.
void ContainerWriter::CorrectEnd(uint64_t directoryStart) {
  const uint64_t directoryEnd = output.Position() - kPlainEndSize;
  const std::string end = Zip64End(entries, directoryStart, directoryEnd - directoryStart);
  output.Seek(directoryEnd);
  output.Write(end.data(), end.size());
}

int ContainerWriter::AddWhole(const char* name, const BookFile& file, Packing packing) {
  const auto size = static_cast<size_t>(file.size);
  Reserve(content, size);
  if (!ReadFully(file.descriptor.Get(), content.data(), size)) return KAV_EBASE_E_READ;

  const size_t smaller = packing == Packing::kDeflated ? DeflateContent(size) : 0;
  const Packing actual = smaller > 0 ? Packing::kDeflated : Packing::kStored;
  if (const int result = OpenEntry(name, actual, true, false); result != 0) return result;
  const int result =
      smaller > 0 ? WriteData(deflated.data(), smaller) : WriteData(content.data(), size);
  if (result != 0) return result;
  return Checked(zipCloseFileInZipRaw64(zip, size, libdeflate_crc32(0, content.data(), size)));
}

int ContainerWriter::AddInChunks(const char* name, const BookFile& file, Packing packing) {
  Reserve(content, kChunkSize);
  for (uint64_t done = 0; done < file.size;) {
    const auto size = static_cast<size_t>(std::min<uint64_t>(kChunkSize, file.size - done));
    if (!ReadFully(file.descriptor.Get(), content.data(), size)) return KAV_EBASE_E_READ;
    if (done == 0) {  // the first piece tells whether deflating is worth it
      if (packing == Packing::kDeflated && DeflateContent(size) == 0) packing = Packing::kStored;
      const bool large = file.size > kLargestPlainFile;
      if (const int result = OpenEntry(name, packing, false, large); result != 0) return result;
    }
    if (const int result = WriteData(content.data(), size); result != 0) return result;
    done += size;
  }
  return Checked(zipCloseFileInZip(zip));
}

int ContainerWriter::OpenEntry(const char* name, Packing packing, bool raw, bool large) {
  zip_fileinfo info{};
  info.dosDate = kFixedTime;
  info.external_fa = kRegularFile;
  const int method = packing == Packing::kDeflated ? Z_DEFLATED : 0;
  return Checked(zipOpenNewFileInZip4_64(
      zip, name, &info, nullptr, 0, nullptr, 0, nullptr, method, kChunkDeflateLevel, raw ? 1 : 0,
      -MAX_WBITS, DEF_MEM_LEVEL, Z_DEFAULT_STRATEGY, nullptr, 0, kMadeByUnix20,
      NeedsUtf8Flag(name) ? kUtf8Name : kNoFlags, large ? 1 : 0));
}

int ContainerWriter::WriteData(const void* data, size_t size) {
  return Checked(zipWriteInFileInZip(zip, data, static_cast<unsigned>(size)));
}

int ContainerWriter::Checked(int zipResult) const {
  if (output.Failed()) return KAV_EBASE_E_WRITE;
  // Parameters are right and the stream never fails, so memory is what minizip can lack.
  return zipResult == ZIP_OK ? KAV_EBASE_OK : KAV_EBASE_E_MEMORY;
}

// The size of the deflated content, or 0 when it would not be smaller.
size_t ContainerWriter::DeflateContent(size_t size) {
  if (size == 0) return 0;
  Reserve(deflated, size);
  return libdeflate_deflate_compress(compressor.get(), content.data(), size, deflated.data(),
                                     size - 1);
}
