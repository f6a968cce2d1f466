// What two paths are to each other, and whether something can be made at one.
#ifndef KAV_EPUB_PLACES_H
#define KAV_EPUB_PLACES_H

#include <cstdlib>
#include <filesystem>
#include <memory>

#include "platform/kav_tool/kav_tool.h"

inline bool AreGiven(const char* src, const char* dst) {
  return KavIsStrNullOrEmpty(src) == 0 && KavIsStrNullOrEmpty(dst) == 0;
}

inline bool ContainingDirectoryExists(const char* path) {
  const std::unique_ptr<char, decltype(&std::free)> directory(KavGetRunDirectory(path), &std::free);
  return KavIsFileOrDirExists(directory.get()) != 0;
}

// By whatever ways they lead there.
inline bool AreSame(const char* first, const char* second) {
  std::error_code error;
  return std::filesystem::equivalent(first, second, error) && !error;
}

#endif
