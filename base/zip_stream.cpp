// Headers, contents and central directory of a ZIP container, in the order of its bytes.
#include "base/zip_stream.h"

#include <sys/stat.h>

#include <algorithm>
#include <vector>

#include "base/utf8.h"
#include "base/zip_end.h"

namespace {

constexpr size_t kGathered = size_t{256} * 1024;

constexpr std::uint64_t kVersion20 = 20;  // of the format, the first to know deflating
constexpr std::uint64_t kMadeOnUnix = 3U << 8;
constexpr std::uint64_t kFixedTime = 0;
constexpr std::uint64_t kFixedDate = 0x0021;  // 1980-01-01, the first that the format can express
constexpr std::uint64_t kRegularFile = static_cast<std::uint64_t>(S_IFREG | 0644) << 16;
constexpr std::uint64_t kUtf8Name = 1U << 11;
constexpr std::uint64_t kZip64Extra = 1;

using Numbers = std::vector<std::uint64_t>;

// A name in ASCII needs no mark, and one in another encoding must have none.
std::uint64_t FlagsOf(std::string_view name) {
  bool isAscii = true;
  while (!name.empty()) {
    const Utf8Unit unit = DecodeUtf8(name);
    if (unit.kind != Utf8Unit::Kind::kCharacter) return 0;
    isAscii = isAscii && unit.length == 1;
    name.remove_prefix(unit.length);
  }
  return isAscii ? 0 : kUtf8Name;
}

// In 32 bits, of which the largest number means "see ZIP64".
void PutClipped(std::string& record, std::uint64_t number) {
  PutNumber(record, std::min(number, kMostPlainOffset + 1), 4);
}

// The numbers that have no room elsewhere.
std::string Zip64Numbers(const Numbers& numbers) {
  std::string extra;
  if (numbers.empty()) return extra;
  PutNumber(extra, kZip64Extra, 2);
  PutNumber(extra, numbers.size() * 8, 2);
  for (const std::uint64_t number : numbers) PutNumber(extra, number, 8);
  return extra;
}

// What the header before an entry and its record in the directory share.
void PutDescription(std::string& record, const ZipStream::Entry& entry, const Numbers& sizes,
                    const std::string& extra) {
  PutNumber(record, extra.empty() ? kVersion20 : kZip64Version, 2);
  PutNumber(record, FlagsOf(entry.name), 2);
  PutNumber(record, static_cast<std::uint64_t>(entry.method), 2);
  PutNumber(record, kFixedTime, 2);
  PutNumber(record, kFixedDate, 2);
  PutNumber(record, entry.crc, 4);
  for (const std::uint64_t size : sizes) PutClipped(record, size);
  PutNumber(record, entry.name.size(), 2);
  PutNumber(record, extra.size(), 2);
}

std::string Header(const ZipStream::Entry& entry, std::uint64_t packedSize, bool isLarge) {
  constexpr std::uint64_t kElsewhere = kMostPlainOffset + 1;
  const std::string extra = isLarge ? Zip64Numbers({entry.size, packedSize}) : "";
  std::string header = "PK\x03\x04";
  PutDescription(header, entry,
                 isLarge ? Numbers{kElsewhere, kElsewhere} : Numbers{packedSize, entry.size},
                 extra);
  return header.append(entry.name).append(extra);
}

void PutDirectoryRecord(std::string& directory, const ZipStream::Entry& entry,
                        std::uint64_t packedSize, std::uint64_t offset) {
  Numbers large = {entry.size, packedSize, offset};
  std::erase_if(large, [](std::uint64_t number) { return number <= kMostPlainOffset; });
  const std::string extra = Zip64Numbers(large);
  directory += "PK\x01\x02";
  PutNumber(directory, kMadeOnUnix | (extra.empty() ? kVersion20 : kZip64Version), 2);
  PutDescription(directory, entry, {packedSize, entry.size}, extra);
  PutNumber(directory, 0, 2);  // comment
  PutNumber(directory, 0, 2);  // disk
  PutNumber(directory, entry.isText ? 1 : 0, 2);
  PutNumber(directory, kRegularFile, 4);
  PutClipped(directory, offset);
  directory.append(entry.name).append(extra);
}

}  // namespace

ZipStream::ZipStream(Take taker) : take(std::move(taker)) {
  gathered.reserve(kGathered);
}

bool ZipStream::Add(const Entry& entry, std::string_view packed) {
  ++entries;
  PutDirectoryRecord(directory, entry, packed.size(), position);
  return Write(Header(entry, packed.size(), false)) && Write(packed);
}

bool ZipStream::Begin(const Entry& entry, bool isLarge) {
  begun = position;
  return Write(Header(entry, 0, isLarge));
}

bool ZipStream::End(const Entry& entry, bool isLarge) {
  ++entries;
  const std::uint64_t headerSize = Header(entry, 0, isLarge).size();
  const std::uint64_t packedSize = position - begun - headerSize;
  PutDirectoryRecord(directory, entry, packedSize, begun);
  return Flush() && Put(begun, Header(entry, packedSize, isLarge));
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
  if (gathered.size() + bytes.size() > kGathered && !Flush()) return false;
  const std::uint64_t offset = position;
  position += bytes.size();
  if (bytes.size() >= kGathered) return Put(offset, bytes);
  gathered += bytes;
  return !failed;
}

bool ZipStream::Put(std::uint64_t offset, std::string_view bytes) {
  failed = failed || !take(offset, bytes);
  return !failed;
}

bool ZipStream::Flush() {
  if (!gathered.empty()) Put(position - gathered.size(), gathered);
  gathered.clear();
  return !failed;
}
