// The text of an input, in UTF-8 with line feeds as line ends.
#ifndef KAVEPUB_TEXT_TEXT_INPUT_H
#define KAVEPUB_TEXT_TEXT_INPUT_H

#include <optional>
#include <string>

#include "base/encoding/line_ends.h"
#include "base/encoding/text_decoder.h"
#include "edition/book/input.h"
#include "edition/book/run.h"
#include "edition/book/source.h"
#include "edition/text/lines.h"

class TextInput : public TextReader {
 public:
  static constexpr double kShareOfDetection = 0.1;  // of all the work on a text

  // Of the options, those on encodings count. Both have to stay.
  TextInput(const Input& source, const SourceOptions& chosen) : input(source), options(chosen) {}

  // Finds out the encoding, where none is chosen; to be called before all else.
  Status Open(Run& run);

  Status Restart() override;
  // A piece of whole characters. A failure as soon as more is damaged than the options let pass.
  Result<std::string_view> Next() override;

  // Tells the run the encoding and what was replaced, once the text was read to its end; a failure
  // when there is nothing to read in it.
  Status Tell(Run& run) const;

  const std::string& Name() const { return input.Name(); }
  const std::string& Encoding() const { return encoding; }
  // Whether nothing is to be changed, so that nothing can be damaged.
  bool IsReady() const { return isReady; }
  // Whether there was more than blanks so far.
  bool HoldsText() const { return holdsText; }
  // How many places were no characters since the last restart.
  size_t Replaced() const { return decoder ? decoder->Damages().count : 0; }
  // How much of it has been read since the last restart, from 0 to 1.
  double Share() const;

 private:
  Result<std::string_view> ReadPiece();
  Status Detect(Run& run);
  bool IsTooDamaged() const;
  Result<std::uint64_t> LineOfDamage() const;
  Failure TooDamaged() const;

  const Input& input;
  const SourceOptions& options;
  std::string encoding;
  bool isReady = false;
  bool holdsText = false;
  bool isAtEnd = false;
  std::uint64_t offset = 0;
  std::optional<TextDecoder> decoder;
  LineEnds lineEnds;
  std::string buffer;
  std::string decoded;
  std::string lines;
};

#endif
