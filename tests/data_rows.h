// The rows of the data files: cells separated by tabs; a line that begins with a tab continues the
// row above it, one that begins with "#" is a comment. Escapes are \n, \t, \r, \\ and \xHH.
#ifndef KAV_EPUB_TESTS_DATA_ROWS_H
#define KAV_EPUB_TESTS_DATA_ROWS_H

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

constexpr char kEmptyCell[] = "\"\"";

inline std::string Unescaped(const std::string& cell) {
  std::string text;
  for (size_t at = 0; at < cell.size(); ++at) {
    if (cell[at] != '\\') {
      text += cell[at];
    } else if (cell[++at] == 'x') {
      text += static_cast<char>(std::stoi(cell.substr(at + 1, 2), nullptr, 16));
      at += 2;
    } else {
      text += cell[at] == 'n' ? '\n' : cell[at] == 't' ? '\t' : cell[at] == 'r' ? '\r' : cell[at];
    }
  }
  return cell == kEmptyCell ? "" : text;
}

// All rows have this many cells, or the file is damaged.
inline std::vector<std::vector<std::string>> DataRows(const std::string& file, size_t cells) {
  std::vector<std::vector<std::string>> rows;
  std::ifstream lines(KAV_TEST_DATA "/data/" + file);
  for (std::string line; std::getline(lines, line);) {
    if (line.empty() || line[0] == '#') continue;
    if (line[0] != '\t') rows.emplace_back();
    std::istringstream split(line);
    for (std::string cell; std::getline(split, cell, '\t');) {
      if (!cell.empty()) rows.back().push_back(Unescaped(cell));
    }
  }
  for (const auto& row : rows) {
    if (row.size() != cells) throw std::runtime_error(file + ": " + row.at(0));
  }
  if (rows.empty()) throw std::runtime_error(file);
  return rows;
}

#endif
