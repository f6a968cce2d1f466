// Buffered writing at any position of a file.
#ifndef KAV_EBASE_OUTPUT_BUFFER_H
#define KAV_EBASE_OUTPUT_BUFFER_H

#include <cstddef>
#include <cstdint>
#include <vector>

// Gathers the many small pieces a container is made of, and lets its recent past be corrected in
// memory. The first failure of writing is kept; what comes after it is dropped.
class OutputBuffer {
 public:
  // The descriptor is that of an empty file and stays the caller's.
  explicit OutputBuffer(int descriptor);

  void Write(const void* data, size_t size);
  void Seek(uint64_t target) { position = target; }
  uint64_t Position() const { return position; }

  // Writes what is still in memory.
  void Flush();

  bool Failed() const { return failed; }

  // Drops everything from now on.
  void Abandon() { failed = true; }

 private:
  void WriteAt(uint64_t offset, const char* data, size_t size);

  int fd;
  uint64_t position = 0;
  uint64_t bufferStart = 0;  // where in the file the buffered bytes belong
  std::vector<char> buffer;
  bool failed = false;
};

#endif
