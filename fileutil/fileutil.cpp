// The copying of one file, and the splitting of paths.
#include "fileutil/fileutil.h"

#include <unistd.h>

#include <cerrno>
#include <memory>
#include <string>

#include "base/output_file.h"
#include "base/unique_fd.h"
#include "fileutil/copy_file.h"
#include "fileutil/places.h"
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

}  // namespace

CopyOutcome CopyFileReporting(const char* src, const char* dst, const FileIdentity* expected) {
  if (!AreGiven(src, dst) || KavIsFileExists(src) == 0) return {EPUB_E_MISSING, false};
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
  if (AreSame(src, target.c_str())) return {EPUB_OK, true};

  const UniqueFd input = OpenRegularFile(src, expected);
  if (!input) return {EPUB_E_OPEN, false};
  const auto chunk = std::make_unique_for_overwrite<char[]>(kCopyChunk);
  OutputFile output(target);
  if (!output.IsOpen()) return {EPUB_E_OPEN, false};
  ssize_t count = ReadChunk(input.Get(), chunk.get(), kCopyChunk);
  while (count > 0 && output.Write({chunk.get(), static_cast<size_t>(count)})) {
    count = ReadChunk(input.Get(), chunk.get(), kCopyChunk);
  }
  return {EPUB_OK, output.Close() && count == 0};
}

int CopyFile(const char* src, const char* dst) {
  return CopyFileReporting(src, dst).code;
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
