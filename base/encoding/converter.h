// A conversion of text by iconv, piece by piece.
#ifndef KAV_BASE_ENCODING_CONVERTER_H
#define KAV_BASE_ENCODING_CONVERTER_H

#include <iconv.h>

#include <memory>
#include <string>
#include <string_view>

class Converter {
 public:
  // Throws std::bad_alloc when it cannot be told whether there is such an encoding.
  explicit Converter(const std::string& from, const std::string& to = "UTF-8");
  ~Converter();
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;

  // False when there is no such encoding; nothing else may be called then.
  bool Exists() const { return exists; }

  // Decodes as much of input as it can, removes that from input and appends it to out. False when
  // it stopped at bytes that the encoding does not have, true at the end or inside a last
  // character.
  bool Decode(std::string_view& input, std::string& out);

  // Appends a character that was held back for an accent that might have followed, and begins anew.
  void Finish(std::string& out);

 private:
  iconv_t handle;
  bool exists;
  std::unique_ptr<char[]> buffer;
};

#endif
