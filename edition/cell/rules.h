// What a cell may do, and how much it may take.
#ifndef KAVEPUB_CELL_RULES_H
#define KAVEPUB_CELL_RULES_H

#include <cstdint>
#include <string>
#include <vector>

struct CellRules {
  std::vector<std::string> readable;  // files and directories
  std::string writable;               // a directory; empty: none
  std::uint64_t memory = 0;           // bytes; here and below, 0 stands for no limit
  std::uint64_t fileSize = 0;         // bytes of a file that it writes
  std::uint64_t seconds = 0;          // of processor time
};

#endif
