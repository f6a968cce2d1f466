// Texts in any encoding as UTF-8, piece by piece.
#ifndef KAV_BASE_ENCODING_TEXT_DECODER_H
#define KAV_BASE_ENCODING_TEXT_DECODER_H

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "base/encoding/encoding_reader.h"

// The encoding that is nearly always meant by a name: programs name the small set and write the
// large one. Other names as they are.
std::string WiderEncoding(std::string_view name);

// What of a text was no character.
struct Damage {
  size_t count = 0;       // of places, each of which became U+FFFD
  size_t first = 0;       // the offset of the first one in bytes
  size_t characters = 0;  // of the whole text, those included

  // Whether it is so little that the text was hardly read in a wrong encoding.
  bool IsSlight() const { return count * 1000 <= characters; }
};

class TextDecoder {
 public:
  // Of an encoding by a name that iconv knows, or its wider one.
  explicit TextDecoder(std::string_view encoding);

  // False when there is no such encoding; nothing else may be called then.
  bool Exists() const { return reader != nullptr; }

  // Appends the next piece of the text to out, but for a last character that it cuts.
  void Decode(std::string_view piece, std::string& out);

  // Appends what the end of the text left over; another text may follow.
  void Finish(std::string& out);

  // Of the text so far.
  const Damage& Damages() const { return damage; }

 private:
  void Read(std::string_view& input, bool isEnd, std::string& out);

  std::unique_ptr<EncodingReader> reader;
  Damage damage;
  size_t offset = 0;
  std::string pending;  // the beginning of a character
};

#endif
