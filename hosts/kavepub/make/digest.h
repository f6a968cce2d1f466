// Digests that tell whether something is still the same.
#ifndef KAVEPUB_DIGEST_H
#define KAVEPUB_DIGEST_H

#include <xxhash.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

// Of 128 bits: equal ones do not happen by chance. Whoever means to can make them equal.
class Digest {
 public:
  Digest();

  // Adds a text with its length, so that "a", "bc" differs from "ab", "c".
  Digest& Add(std::string_view text);

  // Adds what a descriptor holds from one offset to another; false when that cannot be read.
  bool AddRange(int descriptor, std::uint64_t begin, std::uint64_t end);

  // Adds the content of a regular file; throws a Failure, or Interrupted.
  Digest& AddFile(const std::filesystem::path& file);

  // How much of files has been added.
  std::uint64_t BytesOfFiles() const { return bytes; }

  // 32 hexadecimal digits.
  std::string Text() const;

 private:
  struct FreeState {
    void operator()(XXH3_state_t* owned) const { XXH3_freeState(owned); }
  };
  std::unique_ptr<XXH3_state_t, FreeState> state;
  std::uint64_t bytes = 0;
};

#endif
