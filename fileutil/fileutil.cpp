// Copying and moving of files and directory trees, and the splitting of paths.
#include "fileutil/fileutil.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "base/output_file.h"
#include "base/unique_fd.h"
#include "fileutil/copy_file.h"
#include "fileutil/result_codes.h"
#include "platform/kav_tool/kav_tool.h"

namespace {

constexpr size_t kCopyChunk = size_t{64} * 1024;

// The number of bytes read, 0 at the end, negative on failure.
ssize_t ReadChunk(int descriptor, char* buffer, size_t size) {
  ssize_t count = -1;
  do {
    count = read(descriptor, buffer, size);
  } while (count < 0 && errno == EINTR);
  return count;
}

bool IsGiven(const char* src, const char* dst) {
  return KavIsStrNullOrEmpty(src) == 0 && KavIsStrNullOrEmpty(dst) == 0;
}

bool ContainingDirectoryExists(const char* path) {
  const std::unique_ptr<char, decltype(&std::free)> directory(KavGetRunDirectory(path), &std::free);
  return KavIsFileOrDirExists(directory.get()) != 0;
}

bool IsSameFile(const char* first, const char* second) {
  std::error_code error;
  return std::filesystem::equivalent(first, second, error) && !error;
}

// A walk into a directory that grows below itself would not end.
bool LiesInside(const char* path, const char* directory) {
  std::error_code error;
  const auto inner = std::filesystem::weakly_canonical(path, error);
  if (error) return false;
  const auto outer = std::filesystem::weakly_canonical(directory, error);
  if (error) return false;
  return std::mismatch(outer.begin(), outer.end(), inner.begin(), inner.end()).first == outer.end();
}

struct CloseDirectory {
  void operator()(DIR* directory) const { closedir(directory); }
};

struct DirectoryEntry {
  std::string name;
  bool isDirectory;
};

bool IsDirectory(DIR* directory, const dirent& entry) {
  if (entry.d_type != DT_UNKNOWN) return entry.d_type == DT_DIR;
  struct stat status = {};
  return fstatat(dirfd(directory), entry.d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
         S_ISDIR(status.st_mode);
}

// Reads all entries at once, so that no directory stays open while those below it are handled.
// EPUB_OK, also for a missing directory; EPUB_E_FAILED for one that cannot be read.
int ListDirectory(const char* path, std::vector<DirectoryEntry>& entries) {
  const std::unique_ptr<DIR, CloseDirectory> directory(opendir(path));
  if (!directory) return errno == ENOENT ? EPUB_OK : EPUB_E_FAILED;
  errno = 0;
  // Only one thread reads this stream, so readdir is safe.
  while (const dirent* entry = readdir(directory.get())) {  // NOLINT(concurrency-mt-unsafe)
    const std::string name = entry->d_name;
    if (name != "." && name != "..")
      entries.push_back({name, IsDirectory(directory.get(), *entry)});
    errno = 0;
  }
  return errno == 0 ? EPUB_OK : EPUB_E_FAILED;
}

int CopyTree(const std::string& src, const std::string& dst) {
  std::string name;
  std::string directory;
  GetFileOrDirFromPath(src.c_str(), name, directory);
  const std::string target = dst + "/" + name;
  KavMkdir(target.c_str());

  std::vector<DirectoryEntry> entries;
  if (const int code = ListDirectory(src.c_str(), entries); code != EPUB_OK) return code;
  for (const DirectoryEntry& entry : entries) {
    const std::string child = src + "/" + entry.name;
    const int code =
        entry.isDirectory ? CopyTree(child, target) : CopyFile(child.c_str(), target.c_str());
    if (code != EPUB_OK) return EPUB_E_FAILED;
  }
  return EPUB_OK;
}

int MoveTree(const std::string& src, const std::string& dst) {
  if (KavIsFileOrDirExists(dst.c_str()) == 0) {
    if (!ContainingDirectoryExists(dst.c_str())) return EPUB_E_FAILED;
    KavMkdir(dst.c_str());
  }
  std::vector<DirectoryEntry> entries;
  if (const int code = ListDirectory(src.c_str(), entries); code != EPUB_OK) return code;
  for (const DirectoryEntry& entry : entries) {
    const std::string from = src + "/" + entry.name;
    const std::string to = dst + "/" + entry.name;
    if (!entry.isDirectory) {
      (void)std::rename(from.c_str(), to.c_str());
    } else if (const int code = MoveTree(from, to); code != EPUB_OK) {
      return EPUB_E_FAILED;
    }
  }
  KavDeleteDir(src.c_str());
  return EPUB_OK;
}

}  // namespace

CopyOutcome CopyFileReporting(const char* src, const char* dst, const FileIdentity* expected) {
  if (!IsGiven(src, dst) || KavIsFileExists(src) == 0) return {EPUB_E_MISSING, false};
  std::string target = dst;
  if (KavIsFileOrDirExists(dst) != 0) {
    if (KavIsFileExists(dst) == 0) {
      std::string name;
      std::string directory;
      GetFileOrDirFromPath(src, name, directory);
      target += "/" + name;
    }
  } else if (!ContainingDirectoryExists(dst)) {
    return {EPUB_E_OUTPUT_DIR, false};
  }
  // Opening the target empties it, which would lose the source when both are one file.
  if (IsSameFile(src, target.c_str())) return {EPUB_OK, true};

  const UniqueFd input = OpenRegularFile(src, expected);
  if (!input) return {EPUB_E_OPEN, false};
  OutputFile output(target);
  if (!output.IsOpen()) return {EPUB_E_OPEN, false};
  std::array<char, kCopyChunk> chunk;
  ssize_t count = ReadChunk(input.Get(), chunk.data(), chunk.size());
  while (count > 0 && output.Write({chunk.data(), static_cast<size_t>(count)})) {
    count = ReadChunk(input.Get(), chunk.data(), chunk.size());
  }
  return {EPUB_OK, output.Close() && count == 0};
}

int CopyFile(const char* src, const char* dst) {
  return CopyFileReporting(src, dst).code;
}

int CopyFileOrDir(const char* src, const char* dst) {
  if (!IsGiven(src, dst) || KavIsFileOrDirExists(dst) == 0) return EPUB_E_FAILED;
  if (KavIsFileExists(src) != 0) return CopyFile(src, dst);
  if (KavIsFileExists(dst) != 0 || LiesInside(dst, src)) return EPUB_E_FAILED;
  return CopyTree(src, dst);
}

int MoveDir(const char* src, const char* dst) {
  if (!IsGiven(src, dst) || LiesInside(dst, src)) return EPUB_E_FAILED;
  return MoveTree(src, dst);
}

void GetFileOrDirFromPath(const char* path, std::string& name, std::string& dir) {
  if (KavIsStrNullOrEmpty(path) != 0) return;
  const std::string whole = path;
  size_t separator = whole.rfind('/');
  if (separator == std::string::npos) separator = whole.rfind('\\');
  if (separator == std::string::npos) {
    name = whole;
    dir.clear();
  } else {
    name = whole.substr(separator + 1);
    dir = whole.substr(0, separator);
  }
}

void CreateFile(const char* /*path*/) {}
