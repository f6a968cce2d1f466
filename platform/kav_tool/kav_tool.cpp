// The string and file-system helpers of libKav_Tool.
#include "platform/kav_tool/kav_tool.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>
#include <string_view>

#include "base/tree_walk.h"

namespace {

constexpr int kDone = 0;
constexpr int kFailed = -1;

constexpr size_t kFirstTimeTextSize = 64;

struct FreeMemory {
  void operator()(char* memory) const { free(memory); }
};
using CText = std::unique_ptr<char, FreeMemory>;

char* NewCText(std::string_view text) {
  char* copy = static_cast<char*>(malloc(text.size() + 1));
  if (copy == nullptr) return nullptr;
  std::copy(text.begin(), text.end(), copy);
  copy[text.size()] = '\0';
  return copy;
}

std::string_view WithoutTrailingSlashes(std::string_view path) {
  const size_t last = path.find_last_not_of('/');
  return path.substr(0, last == std::string_view::npos ? 0 : last + 1);
}

// "/", "." and ".." (also at the end of a path) name no directory that could be taken out of
// another.
bool IsRemovable(std::string_view path) {
  const std::string_view name = path.substr(path.rfind('/') + 1);
  return !name.empty() && name != "." && name != "..";
}

bool Unlink(int directory, const char* name, int flags) {
  return unlinkat(directory, name, flags) == 0 || errno == ENOENT;
}

// Deletes everything below a directory. An entry that resists is entered, whatever the reason: in a
// directory without write permission there can be another one with it.
class TreeDeletion : public TreeWalk {
 public:
  bool Failed() const { return failed; }

 protected:
  bool Visit(int directory, const char* name, unsigned char /*type*/) override {
    return !Unlink(directory, name, 0) && !Unlink(directory, name, AT_REMOVEDIR);
  }
  void Left(int directory, const char* name) override {
    failed = !Unlink(directory, name, AT_REMOVEDIR) || failed;
  }

 private:
  bool failed = false;
};

int DeleteDir(const std::string& path) {
  if (!IsRemovable(path)) return kFailed;
  struct stat status {};
  if (lstat(path.c_str(), &status) != 0) return kFailed;
  if (S_ISLNK(status.st_mode)) return unlink(path.c_str());
  if (rmdir(path.c_str()) == 0) return kDone;
  DirectoryCursor top;
  if (!top.Open(path.c_str(), O_NOFOLLOW)) return kFailed;
  TreeDeletion deletion;
  if (!deletion.Run(top) || deletion.Failed()) return kFailed;
  return rmdir(path.c_str());
}

// The text with a letter before it, because strftime() answers 0 for an empty text as for a lack of
// room. The room grows up to the limit: callers may name one far above what they need.
CText FormatTime(const std::string& format, const tm& time, size_t limit) {
  for (size_t size = std::min(kFirstTimeTextSize, limit);; size = std::min(size * 2, limit)) {
    CText text(static_cast<char*>(malloc(size)));
    if (text == nullptr) return nullptr;
    if (strftime(text.get(), size, format.c_str(), &time) != 0) return text;
    if (size == limit) return nullptr;
  }
}

}  // namespace

int KavIsStrNullOrEmpty(const char* text) {
  return text == nullptr || *text == '\0';
}

int KavIsFileOrDirExists(const char* path) {
  struct stat status {};
  return path != nullptr && stat(path, &status) == 0;
}

int KavIsFileExists(const char* path) {
  struct stat status {};
  return path != nullptr && stat(path, &status) == 0 && S_ISREG(status.st_mode);
}

char* KavGetRunDirectory(const char* path) {
  if (KavIsStrNullOrEmpty(path)) return nullptr;
  const std::string_view whole = WithoutTrailingSlashes(path);
  const size_t slash = whole.rfind('/');
  if (slash == std::string_view::npos) return NewCText(whole.empty() ? "/" : ".");
  const std::string_view directory = WithoutTrailingSlashes(whole.substr(0, slash));
  return NewCText(directory.empty() ? "/" : directory);
}

int KavMkdir(const char* path) {
  constexpr mode_t kMode = 0777;  // the process's umask decides
  return path == nullptr ? kFailed : mkdir(path, kMode);
}

int KavDeleteDir(const char* path) {
  if (KavIsStrNullOrEmpty(path)) return kFailed;
  try {
    // With a slash behind it a link would be followed.
    return DeleteDir(std::string(WithoutTrailingSlashes(path)));
  } catch (...) {
    return kFailed;
  }
}

char* KavGetLocalCurrentTime(const char* format, int size) {
  if (format == nullptr || size <= 0) return nullptr;
  const time_t now = time(nullptr);
  tm local{};
  if (localtime_r(&now, &local) == nullptr) return nullptr;
  try {
    CText text = FormatTime(std::string("=") + format, local, static_cast<size_t>(size) + 1);
    if (text == nullptr) return nullptr;
    memmove(text.get(), text.get() + 1, strlen(text.get()));
    return text.release();
  } catch (...) {
    return nullptr;
  }
}
