// A file being written whose failures are not lost: every short write is remembered until Close.
#ifndef KAV_BASE_OUTPUT_FILE_H
#define KAV_BASE_OUTPUT_FILE_H

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "base/unique_fd.h"

class OutputFile {
 public:
  enum class Mode { kTruncate, kAppend };

  explicit OutputFile(const std::string& path, Mode mode = Mode::kTruncate);

  bool IsOpen() const { return static_cast<bool>(descriptor); }

  // Takes all bytes, and writes them in large pieces; false as soon as one write of this file has
  // failed.
  bool Write(std::string_view bytes);

  // Closes the file; true when it was open and everything written has been taken.
  bool Close();

 private:
  void WriteThrough(std::string_view bytes);
  void WriteGathered();

  // There before the file, as libxml2 writes through here, which no exception may leave.
  std::unique_ptr<char[]> gathered;
  size_t gatheredCount = 0;
  UniqueFd descriptor;
  bool failed = false;
};

#endif
