// The opening of a book's files by their relative paths.
#include "platform/kav_ebase/book_files.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>

bool BookFiles::Open(std::string_view path, BookFile& file) {
  const size_t nameStart = path.rfind('/') + 1;  // npos + 1 is 0
  if (!GoTo(path.substr(0, nameStart))) return false;
  const std::string name(path.substr(nameStart));
  // Without blocking: a pipe may have taken the file's place.
  constexpr int kFlags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
  file.descriptor = UniqueFd(openat(cursor.Fd(), name.c_str(), kFlags));
  struct stat status {};
  if (!file.descriptor || fstat(file.descriptor.Get(), &status) != 0) return false;
  file.size = static_cast<uint64_t>(status.st_size);
  return S_ISREG(status.st_mode);
}

bool BookFiles::GoTo(std::string_view target) {
  const auto [here, there] =
      std::mismatch(folder.begin(), folder.end(), target.begin(), target.end());
  const auto difference = static_cast<size_t>(here - folder.begin());
  const size_t shared = std::string_view(folder).substr(0, difference).rfind('/') + 1;
  while (folder.size() > shared) {
    if (!cursor.Leave()) return false;
    folder.pop_back();
    folder.resize(folder.rfind('/') + 1);
  }
  while (folder.size() < target.size()) {
    const std::string_view rest = target.substr(folder.size());
    const std::string name(rest.substr(0, rest.find('/')));
    if (!cursor.Enter(name.c_str())) return false;
    folder.append(name).push_back('/');
  }
  return true;
}
