// Makes files below a directory, one name after the other.
#include "hosts/kavepub/work/new_files.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <vector>

#include "base/utf8.h"
#include "hosts/kavepub/console/failure.h"
#include "hosts/kavepub/work/written.h"

namespace {

constexpr size_t kMostParts = 32;
constexpr size_t kLongestPart = 255;
constexpr int kDirectory = O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

bool IsPart(std::string_view part) {
  const auto isControl = [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7F'; };
  return !part.empty() && part != "." && part != ".." && part.size() <= kLongestPart &&
         std::none_of(part.begin(), part.end(), isControl) && ValidUtf8Length(part) == part.size();
}

// Empty when it is no name of a file.
std::vector<std::string> PartsOf(std::string_view name) {
  std::vector<std::string> parts;
  for (size_t begin = 0; begin <= name.size() && parts.size() <= kMostParts;) {
    const size_t end = std::min(name.find('/', begin), name.size());
    parts.emplace_back(name.substr(begin, end - begin));
    if (!IsPart(parts.back())) return {};
    begin = end + 1;
  }
  return parts.size() > kMostParts ? std::vector<std::string>() : parts;
}

}  // namespace

NewFiles::NewFiles(const std::filesystem::path& directory)
    : root(open(directory.c_str(), kDirectory)) {
  if (!root) throw Failure(directory, "is gone; try again", Cause::kMachine);
}

UniqueFd NewFiles::Make(std::string_view name) const {
  const std::vector<std::string> parts = PartsOf(name);
  const std::string shown(name.substr(0, kLongestPart));
  if (parts.empty()) throw Failure(shown, "is no name that a file can have here; rename it");
  UniqueFd place;
  const auto at = [&] { return place ? place.Get() : root.Get(); };
  for (size_t i = 0; i + 1 < parts.size(); ++i) {
    if (mkdirat(at(), parts[i].c_str(), S_IRWXU) != 0 && errno != EEXIST) throw NotWritten(errno);
    UniqueFd below(openat(at(), parts[i].c_str(), kDirectory));
    if (!below && errno == ENOTDIR) throw Failure(shown, "has the name of a file in its path");
    if (!below) throw NotWritten(errno);
    place = std::move(below);
  }
  constexpr int kNew = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  UniqueFd file(openat(at(), parts.back().c_str(), kNew, S_IRUSR | S_IWUSR));
  if (!file && errno == EEXIST) throw Failure(shown, "is there twice; rename one");
  if (!file) throw NotWritten(errno);
  return file;
}
