// Headers, contents and central directory of a ZIP container, in the order of its bytes.
#include "base/zip_stream.h"

#include <sys/stat.h>

#include "base/zip_end.h"

namespace {

constexpr size_t kGathered = size_t{256} * 1024;

constexpr std::uint64_t kVersion20 = 20;  // of the format, the first to know deflating
constexpr std::uint64_t kVersion45 = 45;  // the first to know ZIP64
constexpr std::uint64_t kMadeOnUnix = 3U << 8;
constexpr std::uint64_t kFixedTime = 0;
constexpr std::uint64_t kFixedDate = 0x0021;  // 1980-01-01, the first that the format can express
constexpr std::uint64_t kRegularFile = static_cast<std::uint64_t>(S_IFREG | 0644) << 16;
constexpr std::uint64_t kZip64Extra = 1;
constexpr std::uint64_t kZip64ExtraSize = 8;  // an offset

// What the header before an entry and its record in the directory share.
void PutDescription(std::string& record, const ZipStream::Entry& entry, std::uint64_t packedSize,
                    std::uint64_t version, std::uint64_t extraSize) {
  PutNumber(record, version, 2);
  PutNumber(record, 0, 2);  // flags
  PutNumber(record, static_cast<std::uint64_t>(entry.method), 2);
  PutNumber(record, kFixedTime, 2);
  PutNumber(record, kFixedDate, 2);
  PutNumber(record, entry.crc, 4);
  PutNumber(record, packedSize, 4);
  PutNumber(record, entry.size, 4);
  PutNumber(record, entry.name.size(), 2);
  PutNumber(record, extraSize, 2);
}

void PutDirectoryRecord(std::string& directory, const ZipStream::Entry& entry,
                        std::uint64_t packedSize, std::uint64_t offset) {
  const bool isFar = offset > kMostPlainOffset;
  const std::uint64_t version = isFar ? kVersion45 : kVersion20;
  directory += "PK\x01\x02";
  PutNumber(directory, kMadeOnUnix | version, 2);
  PutDescription(directory, entry, packedSize, version, isFar ? 4 + kZip64ExtraSize : 0);
  PutNumber(directory, 0, 2);  // comment
  PutNumber(directory, 0, 2);  // disk
  PutNumber(directory, 0, 2);  // internal attributes
  PutNumber(directory, kRegularFile, 4);
  PutNumber(directory, isFar ? kMostPlainOffset + 1 : offset, 4);
  directory += entry.name;
  if (!isFar) return;
  PutNumber(directory, kZip64Extra, 2);
  PutNumber(directory, kZip64ExtraSize, 2);
  PutNumber(directory, offset, 8);
}

}  // namespace

ZipStream::ZipStream(Take taker) : take(std::move(taker)) {
  gathered.reserve(kGathered);
}

bool ZipStream::Add(const Entry& entry, std::string_view packed) {
  ++entries;
  PutDirectoryRecord(directory, entry, packed.size(), position);
  std::string header = "PK\x03\x04";
  PutDescription(header, entry, packed.size(), kVersion20, 0);
  header += entry.name;
  return Write(header) && Write(packed);
}

bool ZipStream::Finish() {
  const std::uint64_t start = position;
  const std::uint64_t size = directory.size();
  const bool isPlain =
      entries <= kMostPlainEntries && start <= kMostPlainOffset && size <= kMostPlainOffset;
  return Write(directory) &&
         Write(isPlain ? PlainZipEnd(entries, start, size) : Zip64End(entries, start, size)) &&
         Flush();
}

bool ZipStream::Write(std::string_view bytes) {
  position += bytes.size();
  if (gathered.size() + bytes.size() > kGathered && !Flush()) return false;
  if (bytes.size() < kGathered) {
    gathered += bytes;
  } else if (!failed) {
    failed = !take(bytes);
  }
  return !failed;
}

bool ZipStream::Flush() {
  if (!failed && !gathered.empty()) failed = !take(gathered);
  gathered.clear();
  return !failed;
}
