// What every fuzz target shares: a private directory for each input, and what must hold at its end.
#ifndef KAV_EPUB_FUZZ_HARNESS_H
#define KAV_EPUB_FUZZ_HARNESS_H

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "tests/temp_dir.h"

// Ends the process with a message when a property does not hold.
void Require(bool holds, const std::string& property);

// A directory with "work" and "out", where the code under test may write, and with files of
// strangers in "secret", which no book may hold. Everything else in it must stay as it is. There is
// one for all inputs: to make one takes longer than most inputs do.
class Sandbox {
 public:
  Sandbox();

  std::string operator/(const std::string& name) const { return dir / name; }

  // These go by names as they come; a name that cannot be had is skipped.
  void Write(const std::string& name, const std::string& content);
  void Link(const std::string& name, const std::string& target);

  // Writes a file that stays there for the inputs that follow.
  void Keep(const std::string& name, const std::string& content);

  // Makes the files and links below a directory that an input describes: "=NAME" in a line of its
  // own begins a file, "@NAME=TARGET" is a link; "\x01" in a name is a line end. Returns the files.
  std::vector<std::string> Plant(const std::string& directory, const std::string& input);

  void RequireEmpty(const std::string& directory) const;
  void RequireUntouched() const;

  // Removes all that has come with an input.
  void Clear();

  // What no book may hold.
  const std::string& Secret() const { return secret; }

 private:
  bool MakeRoom(const std::string& name) const;

  TempDir dir;
  std::string secret;
  std::map<std::string, std::string> kept;      // contents of files
  std::map<std::string, std::string> expected;  // contents of files, targets of links
};

// What a target does with one input.
void Fuzz(const std::string& input, Sandbox& box);

#endif
