// Lists of names that come from elsewhere: a name a line, or each ended by a NUL byte.
#ifndef KAVEPUB_NAME_LIST_H
#define KAVEPUB_NAME_LIST_H

#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

// Hands on one name of a list after the other; empty ones are passed over. "-" is the standard
// input. No name holds a NUL byte: where one stands near the beginning, names end with NUL bytes,
// and may hold line feeds. A carriage return before a line feed belongs to the line's end. Takes
// memory for one name, however long the list. Throws a Failure, or Interrupted.
void ForEachName(const std::filesystem::path& list,
                 const std::function<void(std::string_view)>& take);

// A list as ForEachName reads it: of lines, unless a name holds what would end one.
std::string ListOfNames(const std::vector<std::string>& names);

// One of so many parts of the inputs.
struct Share {
  std::size_t number = 1;  // from 1 on
  std::size_t count = 1;

  bool IsWhole() const { return count == 1; }

  // Whether an input of that name below the root belongs to the share: by the name alone, so that
  // other inputs that come or go move it to no other share.
  bool Holds(std::string_view name) const;
};

// The number, from 1 on, of the share that a name belongs to: the remainder of its XXH3 hash of 64
// bits (seed 0), which is the same on all machines and in all versions.
std::size_t ShareOf(std::string_view name, std::size_t count);

#endif
