// A file being written whose failures are not lost: every short write is remembered until Close.
#ifndef KAV_EPUB_OUTPUT_FILE_H
#define KAV_EPUB_OUTPUT_FILE_H

#include <string>
#include <string_view>

class OutputFile {
 public:
  enum class Mode { kTruncate, kAppend };

  explicit OutputFile(const std::string& path, Mode mode = Mode::kTruncate);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  bool IsOpen() const { return descriptor >= 0; }

  // Writes all bytes; false as soon as one write of this file has failed.
  bool Write(std::string_view bytes);

  // Closes the file; true when it was open and everything written has been taken.
  bool Close();

 private:
  int descriptor;
  bool failed = false;
};

#endif
