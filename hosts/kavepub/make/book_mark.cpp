// Finds the end of a container, and reads and writes its comment.
#include "hosts/kavepub/make/book_mark.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <sstream>

#include "base/read_file.h"
#include "base/zip_end.h"
#include "hosts/kavepub/make/digest.h"

namespace {

// The record that ends a container, and the places of its fields.
constexpr std::string_view kEndSignature = "PK\x05\x06";
constexpr size_t kDirectorySizeAt = 12;
constexpr size_t kCommentLengthAt = 20;
constexpr size_t kCommentLengthSize = 2;
// What ZIP64 puts between the central directory and that record.
constexpr std::uint64_t kZip64EndSize = 56 + 20;
constexpr size_t kLongestMark = 512;

constexpr std::string_view kMaker = "kavepub";
constexpr std::array<std::string_view, 4> kFields = {"source=", "options=", "place=", "container="};
using Values = std::array<std::string, kFields.size()>;

struct Container {
  int file;
  std::uint64_t end = 0;  // where its last record begins
  std::string record;     // that, with the comment
};

std::uint64_t NumberAt(std::string_view record, size_t place, size_t bytes) {
  std::uint64_t number = 0;
  while (bytes-- > 0) number = number << 8 | static_cast<unsigned char>(record[place + bytes]);
  return number;
}

// Nothing when the file does not end like a container with a comment of at most such a length.
std::optional<Container> FindEnd(int file) {
  Container container{file, 0, {}};
  struct stat status = {};
  if (fstat(file, &status) != 0) return std::nullopt;
  const auto size = static_cast<std::uint64_t>(status.st_size);
  std::string tail(std::min<std::uint64_t>(size, kPlainEndSize + kLongestMark), '\0');
  const auto begins = static_cast<off_t>(size - tail.size());
  if (pread(file, tail.data(), tail.size(), begins) != static_cast<ssize_t>(tail.size())) {
    return std::nullopt;
  }
  const size_t begin = tail.rfind(kEndSignature);
  if (begin == std::string::npos || tail.size() - begin < kPlainEndSize) return std::nullopt;
  container.record = tail.substr(begin);
  container.end = size - container.record.size();
  const std::uint64_t comment = NumberAt(container.record, kCommentLengthAt, kCommentLengthSize);
  if (container.record.size() != kPlainEndSize + comment) return std::nullopt;
  return container;
}

// Of names, places, sizes and checksums of all entries: nobody edits a book without changing them.
std::string DigestOfDirectory(const Container& container) {
  const std::uint64_t size = NumberAt(container.record, kDirectorySizeAt, 4) + kZip64EndSize;
  Digest digest;
  digest.AddRange(container.file, container.end - std::min(size, container.end),
                  container.end + kCommentLengthAt);
  return digest.Text();
}

std::string Mark(const Values& values) {
  std::string mark = std::string(kMaker) + " " + KAVEPUB_VERSION;
  for (size_t i = 0; i < values.size(); ++i) mark.append(" ").append(kFields[i]).append(values[i]);
  return mark;
}

// Those of a mark, whichever version made it.
std::optional<Values> ValuesOf(const std::string& mark) {
  std::istringstream words(mark);
  std::string maker;
  std::string version;
  words >> maker >> version;
  Values values;
  for (size_t i = 0; i < values.size(); ++i) {
    if (!(words >> values[i]) || !values[i].starts_with(kFields[i])) return std::nullopt;
    values[i].erase(0, kFields[i].size());
  }
  return maker == kMaker && words.eof() ? std::optional(values) : std::nullopt;
}

}  // namespace

std::optional<BookMark> ReadMark(const std::filesystem::path& book) {
  const UniqueFd file = OpenRegularFile(book.c_str());
  const std::optional<Container> container = FindEnd(file.Get());
  if (!container) return std::nullopt;
  const std::optional<Values> values = ValuesOf(container->record.substr(kPlainEndSize));
  if (!values) return std::nullopt;
  const auto& [source, options, place, digest] = *values;
  return BookMark{{source, options, place}, digest != DigestOfDirectory(*container)};
}

std::optional<std::string> MarkedEnd(int file, const Provenance& provenance) {
  const std::optional<Container> container = FindEnd(file);
  if (!container || container->record.size() != kPlainEndSize) return std::nullopt;
  const std::string comment = Mark(
      {provenance.source, provenance.options, provenance.place, DigestOfDirectory(*container)});
  std::string end;
  PutNumber(end, comment.size(), kCommentLengthSize);
  return end + comment;
}
