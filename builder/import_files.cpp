// Finds the files of an import, keeps them inside its roots and tells which are the same.
#include "builder/import_files.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "fileutil/fileutil.h"

namespace {

// Extensions of pages; any part of this text passes for one.
constexpr std::string_view kPageExtensions = "|html|xhtml|htm|";

// The path without symbolic links and ".."; empty when it does not exist.
std::string Resolved(const std::string& path) {
  const std::unique_ptr<char, decltype(&std::free)> resolved(realpath(path.c_str(), nullptr),
                                                             &std::free);
  return resolved == nullptr ? "" : resolved.get();
}

std::string_view BaseName(std::string_view path) {
  return path.substr(path.rfind('/') + 1);
}

bool IsPage(const std::string& path) {
  return kPageExtensions.find(path.substr(path.rfind('.') + 1)) != std::string_view::npos;
}

}  // namespace

ImportFiles::ImportFiles(const std::string& htmlPath, const std::string& widerRoot,
                         EntryNames& entryNames)
    : names(entryNames) {
  std::string name;
  std::string directory;
  GetFileOrDirFromPath(htmlPath.c_str(), name, directory);
  roots.push_back(Resolved(directory.empty() ? "/" : directory));
  if (!widerRoot.empty()) roots.push_back(Resolved(widerRoot));
}

size_t ImportFiles::Add(const ImportFile& file) {
  struct stat status {};
  if (stat(file.path.c_str(), &status) == 0) {
    numbers.emplace(Identity(status.st_dev, status.st_ino, file.isPage), files.size());
  }
  files.push_back(file);
  return files.size() - 1;
}

bool ImportFiles::IsBelowRoot(const std::string& resolved) const {
  return std::any_of(roots.begin(), roots.end(), [&](const std::string& root) {
    if (root.empty() || !resolved.starts_with(root)) return false;
    return root == "/" || resolved[root.size()] == '/';
  });
}

const std::string& ImportFiles::ResolvedDirectory(const std::string& directory) {
  const auto [entry, isNew] = resolvedDirectories.try_emplace(directory);
  if (isNew) entry->second = Resolved(directory.empty() ? "/" : directory);
  return entry->second;
}

std::optional<ImportFiles::Place> ImportFiles::Find(const std::string& path) {
  if (path.find('\0') != std::string::npos) return std::nullopt;
  const auto [entry, isNew] = places.try_emplace(path);
  if (!isNew) return entry->second;
  const std::string_view name = BaseName(path);
  std::string directory = ResolvedDirectory(path.substr(0, path.size() - name.size()));
  if (directory.empty() || name.empty()) return std::nullopt;
  // The path without ".." does not grow along a chain of pages that go up and down again.
  if (directory != "/") directory += "/";
  Place place{directory + std::string(name), 0, 0};
  struct stat status {};
  const std::string resolved = Resolved(place.path);
  const bool isUsable = IsBelowRoot(resolved) && stat(resolved.c_str(), &status) == 0 &&
                        S_ISREG(status.st_mode) && access(resolved.c_str(), R_OK) == 0;
  if (!isUsable) return std::nullopt;
  place.device = status.st_dev;
  place.inode = status.st_ino;
  return entry->second = place;
}

bool ImportFiles::IsAllowed(const std::string& path) {
  return Find(path).has_value();
}

size_t ImportFiles::NumberOf(const std::string& path) {
  const auto place = Find(path);
  const bool isPage = IsPage(path);
  const auto [entry, isNew] =
      numbers.try_emplace(Identity(place->device, place->inode, isPage), files.size());
  if (isNew) {
    files.push_back({place->path, names.Claim(std::string(BaseName(path))), isPage, false});
  }
  return entry->second;
}
