// What one import knows of the files that it meets.
#ifndef KAV_EPUB_IMPORT_FILES_H
#define KAV_EPUB_IMPORT_FILES_H

#include <sys/types.h>

#include <deque>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <unordered_map>
#include <vector>

#include "base/read_file.h"
#include "builder/entry_names.h"

// A page that is imported or a resource that is copied.
struct ImportFile {
  std::string path;
  std::string name;  // in the book
  bool isPage = false;
  bool isTaken = false;     // into the book, or found to be nothing for it
  FileIdentity identity{};  // when it was allowed
};

class ImportFiles {
 public:
  // References may lead to files below the directory of htmlPath, which must be there in the path,
  // and below widerRoot, which may be empty.
  ImportFiles(const std::string& htmlPath, const std::string& widerRoot, EntryNames& entryNames);

  // Enters a file that has its name already; returns its number.
  size_t Add(ImportFile file);

  // Whether path is a file that a page may refer to: links and ".." followed, a regular file below
  // a root, and readable.
  bool IsAllowed(const std::string& path);

  // The number of the file that an allowed path leads to; the same one for every path to it.
  size_t NumberOf(const std::string& path);

  // Whether a file could not be judged, for want of memory or because of a failing disk.
  bool HasFailed() const { return hasFailed; }

  ImportFile& operator[](size_t number) { return files[number]; }

 private:
  // Device, inode, and whether the file is taken as a page: what is both would be two files.
  using Identity = std::tuple<dev_t, ino_t, bool>;
  struct Place {
    std::string path;  // without links and ".." in its directory
    FileIdentity identity;
  };

  std::optional<Place> Find(const std::string& path);
  const std::string& ResolvedDirectory(const std::string& directory);
  std::string Resolved(const std::string& path);
  bool Identify(const std::string& resolved, FileIdentity& identity);
  bool FailsBecauseMissing();
  bool IsBelowRoot(const std::string& resolved) const;

  bool hasFailed = false;
  std::vector<std::string> roots;
  EntryNames& names;
  std::deque<ImportFile> files;  // references to them stay good
  std::map<Identity, size_t> numbers;
  std::unordered_map<std::string, std::optional<Place>> places;      // by path
  std::unordered_map<std::string, std::string> resolvedDirectories;  // by path
};

#endif
