// The rows of data files as steps to be done, each with what it must give.
//
// In scripts/, a line that begins with a tab is a step of the case that is named above it, with
// what it gives behind another tab, "0" where nothing is said. In data/, lines that begin with "@"
// are the steps for each row of a table, with its cells for {1}, {2} and so on. Steps can stand in
// one line with "|" between them; a cell that is all of a step is a script of its own. A step that
// begins with a number gives that.
#ifndef KAV_EPUB_TESTS_SCRIPT_ROWS_H
#define KAV_EPUB_TESTS_SCRIPT_ROWS_H

#include <algorithm>
#include <cctype>
#include <fstream>
#include <string>
#include <vector>

#include "data_rows.h"

struct Step {
  std::string operation;
  std::string given = "0";
};

struct Script {
  std::string name;
  std::vector<Step> steps;
};

// Steps one after the other, of which the last one gives what is said.
inline void AppendSteps(const std::vector<std::string>& operations, const std::string& given,
                        std::vector<Step>& steps) {
  for (const std::string& operation : operations) {
    const size_t digits = operation.find_first_not_of("0123456789");
    const bool hasCode = digits > 0 && digits < operation.size() && operation[digits] == ' ';
    steps.push_back(hasCode ? Step{operation.substr(digits + 1), operation.substr(0, digits)}
                            : Step{operation});
  }
  if (given != "0") steps.back().given = given;
}

// A text with the cells of a row in their places.
inline std::string Filled(const std::string& text, const std::vector<std::string>& cells) {
  std::string filled;
  for (size_t at = 0; at < text.size(); ++at) {
    const bool isPlace = text[at] == '{' && at + 2 < text.size() && text[at + 2] == '}' &&
                         std::isdigit(static_cast<unsigned char>(text[at + 1])) != 0;
    filled += isPlace ? cells.at(static_cast<size_t>(text[at + 1] - '1')) : text.substr(at, 1);
    if (isPlace) at += 2;
  }
  return filled;
}

// The steps of one line; they are parted before escapes are looked at.
inline void AppendLine(const std::string& line, std::vector<Step>& steps) {
  const size_t tab = std::min(line.find('\t'), line.size());
  std::vector<std::string> operations = Split(line.substr(0, tab), '|');
  for (std::string& operation : operations) operation = Unescaped(operation);
  AppendSteps(operations, tab == line.size() ? "0" : Unescaped(line.substr(tab + 1)), steps);
}

// A row of a table, of which each step can be a script.
inline Script FilledScript(const std::vector<Step>& steps, const std::vector<std::string>& cells) {
  Script script{cells.at(0), {}};
  for (const Step& step : steps) {
    const std::string given = Filled(step.given, cells);
    const bool isScript = step.operation.size() == 3 && step.operation[0] == '{';
    if (isScript) {
      AppendSteps(Split(Filled(step.operation, cells), '|'), given, script.steps);
    } else {
      script.steps.push_back({Filled(step.operation, cells), given});
    }
  }
  return script;
}

inline std::vector<Script> ScriptsOf(const std::string& path) {
  std::vector<Step> ofEachRow;
  std::vector<std::vector<std::string>> rows;
  std::vector<Script> scripts;
  std::ifstream lines(path);
  for (std::string line; std::getline(lines, line);) {
    const bool isContinued = line[0] == '\t';
    if (line.empty() || line[0] == '#') continue;
    if (line[0] == '@') {
      AppendLine(line.substr(1), ofEachRow);
    } else if (!ofEachRow.empty()) {
      if (!isContinued) rows.emplace_back();
      for (const std::string& cell : Split(line, '\t')) {
        if (!cell.empty()) rows.back().push_back(Unescaped(cell));
      }
    } else if (isContinued) {
      AppendLine(line.substr(1), scripts.back().steps);
    } else {
      scripts.push_back({Unescaped(line), {}});
    }
  }
  for (const auto& row : rows) scripts.push_back(FilledScript(ofEachRow, row));
  return scripts;
}

#endif
