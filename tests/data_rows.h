// The rows of the data files: cells separated by tabs; a line that begins with a tab continues the
// row above it, one that begins with "#" is a comment. Escapes are \n, \t, \r, \\, \xHH and, for
// long texts, \*COUNT{TEXT}, which repeats what is in the braces, with the number of each in place
// of \#.
#ifndef KAV_EPUB_TESTS_DATA_ROWS_H
#define KAV_EPUB_TESTS_DATA_ROWS_H

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

constexpr char kEmptyCell[] = "\"\"";
constexpr std::string_view kNumber = "\\#";

// Of what is repeated without measure, a tenth is enough for a sanitizer.
#ifdef KAV_SANITIZED
constexpr size_t kMostRepeats = 100'000;
#else
constexpr size_t kMostRepeats = SIZE_MAX;
#endif

inline std::string Repeated(const std::string& text, size_t count) {
  std::string all;
  for (size_t i = 0; i < count; ++i) {
    size_t begin = 0;
    for (size_t number = 0; (number = text.find(kNumber, begin)) != std::string::npos;) {
      all.append(text, begin, number - begin).append(std::to_string(i));
      begin = number + kNumber.size();
    }
    all.append(text, begin);
  }
  return all;
}

// What a cell says from here to a letter that ends it; stays behind that.
inline std::string ReadEscapes(std::istream& cell, int end) {
  std::string text;
  for (int letter = 0; (letter = cell.get()) != end && cell;) {
    if (letter != '\\') {
      text += static_cast<char>(letter);
    } else if ((letter = cell.get()) == '*') {
      size_t count = 0;
      cell >> count;
      cell.ignore();  // the brace
      text += Repeated(ReadEscapes(cell, '}'), std::min(count, kMostRepeats));
    } else if (letter == '#') {
      text += kNumber;
    } else if (letter == 'x') {
      const std::string digits = {static_cast<char>(cell.get()), static_cast<char>(cell.get())};
      text += static_cast<char>(std::stoi(digits, nullptr, 16));
    } else {
      text += letter == 'n' ? '\n' : letter == 't' ? '\t' : letter == 'r' ? '\r' : char(letter);
    }
  }
  return text;
}

inline std::string Unescaped(const std::string& cell) {
  std::istringstream letters(cell);
  return cell == kEmptyCell ? "" : ReadEscapes(letters, EOF);
}

inline std::vector<std::string> Split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::istringstream rest(text);
  for (std::string part; std::getline(rest, part, separator);) parts.push_back(part);
  return parts;
}

using Row = std::vector<std::string>;

// The rows as they stand in the file. All have this many cells, or the file is damaged.
inline std::vector<Row> EscapedRows(const std::string& file, size_t cells) {
  std::vector<Row> rows;
  std::ifstream lines(KAV_TEST_DATA "/data/" + file);
  for (std::string line; std::getline(lines, line);) {
    if (line.empty() || line[0] == '#') continue;
    if (line[0] != '\t') rows.emplace_back();
    for (const std::string& cell : Split(line, '\t')) {
      if (!cell.empty()) rows.back().push_back(cell);
    }
  }
  for (const Row& row : rows) {
    if (row.size() != cells) throw std::runtime_error(file + ": " + row.at(0));
  }
  if (rows.empty()) throw std::runtime_error(file);
  return rows;
}

inline size_t CountOfRows(const std::string& file, size_t cells) {
  return EscapedRows(file, cells).size();
}

inline Row DataRow(const std::string& file, size_t cells, size_t index) {
  Row row = EscapedRows(file, cells).at(index);
  for (std::string& cell : row) cell = Unescaped(cell);
  return row;
}

inline std::vector<Row> DataRows(const std::string& file, size_t cells) {
  std::vector<Row> rows = EscapedRows(file, cells);
  for (Row& row : rows) {
    for (std::string& cell : row) cell = Unescaped(cell);
  }
  return rows;
}

#endif
