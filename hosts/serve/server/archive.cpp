// Puts files into a container without a copy of them.
#include "hosts/serve/server/archive.h"

#include <algorithm>
#include <set>
#include <string>
#include <utility>

#include "base/read_file.h"
#include "base/zip_end.h"
#include "hosts/serve/shelf/refusal.h"

namespace {

constexpr std::uint32_t kLocalHeader = 0x04034b50;
constexpr std::uint32_t kCentralHeader = 0x02014b50;
constexpr std::uint64_t kVersion = 20;
constexpr std::uint64_t kNamesAreUtf8 = 1U << 11;
constexpr std::uint64_t kNewYear1980 = 0x21;  // the first day that there is

// Bytes, and then a file.
struct Piece {
  std::string bytes;
  std::filesystem::path file;
  std::uint64_t size = 0;
};

// "novel.epub", "novel-2.epub".
std::string FreeName(const std::string& name, std::set<std::string>& taken) {
  const std::filesystem::path wanted = name;
  std::string found = name;
  for (int copy = 2; !taken.insert(found).second; ++copy) {
    found = wanted.stem().string() + "-" + std::to_string(copy) + wanted.extension().string();
  }
  return found;
}

// What both headers of an entry have.
std::string Shared(const Finished& book, const std::string& name) {
  std::string record;
  PutNumber(record, kVersion, 2);
  PutNumber(record, kNamesAreUtf8, 2);
  PutNumber(record, 0, 2);  // stored
  PutNumber(record, 0, 2);
  PutNumber(record, kNewYear1980, 2);
  PutNumber(record, book.crc, 4);
  PutNumber(record, book.size, 4);
  PutNumber(record, book.size, 4);
  PutNumber(record, name.size(), 2);
  PutNumber(record, 0, 2);
  return record;
}

std::string CentralHeader(const std::string& shared, const std::string& name,
                          std::uint64_t offset) {
  std::string record;
  PutNumber(record, kCentralHeader, 4);
  PutNumber(record, kVersion, 2);
  record += shared;
  PutNumber(record, 0, 10);  // no comment, first disk, no attributes
  PutNumber(record, offset, 4);
  return record + name;
}

class Archive : public Source {
 public:
  explicit Archive(std::vector<Piece> all) : pieces(std::move(all)) {}

  ssize_t Read(char* buffer, size_t capacity) override {
    for (; next < pieces.size(); ++next, sent = 0) {
      const Piece& piece = pieces[next];
      const size_t ownBytes = piece.bytes.size();
      if (sent < ownBytes) {
        const size_t size = piece.bytes.copy(buffer, capacity, sent);
        sent += size;
        return static_cast<ssize_t>(size);
      }
      if (sent == ownBytes && piece.size > 0) file = OpenRegularFile(piece.file.c_str());
      if (sent < ownBytes + piece.size) {
        const size_t wanted = std::min<std::uint64_t>(capacity, ownBytes + piece.size - sent);
        const ssize_t size = read(file.Get(), buffer, wanted);
        if (size <= 0) throw std::runtime_error("a book has gone");
        sent += static_cast<std::uint64_t>(size);
        return size;
      }
    }
    return kEnd;
  }

 private:
  std::vector<Piece> pieces;
  size_t next = 0;
  std::uint64_t sent = 0;  // of that piece
  UniqueFd file;
};

}  // namespace

Streamed ArchiveOf(const std::vector<Finished>& books) {
  std::vector<Piece> pieces;
  std::set<std::string> names;
  std::string directory;
  std::uint64_t offset = 0;
  for (const Finished& book : books) {
    const std::string name = FreeName(book.name, names);
    const std::string shared = Shared(book, name);
    directory += CentralHeader(shared, name, offset);
    Piece piece{{}, book.file, book.size};
    PutNumber(piece.bytes, kLocalHeader, 4);
    piece.bytes += shared + name;
    offset += piece.bytes.size() + book.size;
    if (offset > kMostPlainOffset) {
      throw Refused(refusal::kTooLarge, "they are too large for one file; fetch them one by one");
    }
    pieces.push_back(std::move(piece));
  }
  const std::uint64_t directorySize = directory.size();
  pieces.push_back({directory + PlainZipEnd(books.size(), offset, directorySize), {}, 0});
  return {std::make_unique<Archive>(std::move(pieces)), offset + directorySize + kPlainEndSize};
}
