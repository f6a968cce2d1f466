// Something to make a book of: a file, or bytes of the host.
#ifndef KAVEPUB_BOOK_INPUT_H
#define KAVEPUB_BOOK_INPUT_H

#include <cstdint>
#include <string>
#include <string_view>

#include "base/read_file.h"
#include "base/unique_fd.h"
#include "edition/book/result.h"

class Input {
 public:
  // A regular file; it is opened once, so that all that is read of it is of the same one.
  static Result<Input> Open(const std::string& path);
  // One that is open already; the name is for messages.
  static Result<Input> OfFile(UniqueFd opened, std::string name);
  // The bytes stay the host's.
  static Input OfMemory(std::string name, std::string_view bytes);

  const std::string& Name() const { return name; }  // as given, for messages
  const std::string& Path() const { return path; }  // empty for bytes of the host
  std::uint64_t Size() const { return size; }

  // Gives the file back to the system until it is read: a process can have few open at once.
  void Close() { file = UniqueFd(); }

  // Reads up to `capacity` bytes from an offset on; fewer at the end only. A file that has become
  // shorter or longer since it was opened is a failure.
  Result<size_t> Read(std::uint64_t offset, char* buffer, size_t capacity) const;

  // All of it, which is at most so much.
  Result<std::string> ReadAll(std::uint64_t most) const;

 private:
  Input() = default;

  std::string name;
  std::string path;
  UniqueFd file;
  std::string_view memory;
  std::uint64_t size = 0;
  std::int64_t changed = 0;  // when, in nanoseconds
  FileIdentity identity{};
};

#endif
