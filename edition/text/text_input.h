// The text of an input, in UTF-8 with line feeds as line ends.
#ifndef KAVEPUB_TEXT_TEXT_INPUT_H
#define KAVEPUB_TEXT_TEXT_INPUT_H

#include <string>

#include "edition/book/input.h"
#include "edition/text/lines.h"

class TextInput : public TextReader {
 public:
  explicit TextInput(const Input& source) : input(source) {}

  Status Restart() override;
  Result<std::string_view> Next() override;

  const std::string& Name() const { return input.Name(); }
  // How much of it has been read since the last restart, from 0 to 1.
  double Share() const;

 private:
  const Input& input;
  std::uint64_t offset = 0;
  std::string buffer;
};

#endif
