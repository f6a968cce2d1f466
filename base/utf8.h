// Decoding of UTF-8 (RFC 3629), for texts that may be broken anywhere.
#ifndef KAV_BASE_UTF8_H
#define KAV_BASE_UTF8_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

struct Utf8Unit {
  enum class Kind {
    kCharacter,   // a valid character
    kUnfinished,  // the text ends inside what may be a character
    kInvalid      // bytes that begin no character
  };
  Kind kind;
  size_t length;            // bytes taken: the character, or the longest run that could begin one
  std::uint32_t codePoint;  // of a character, else 0
};

// The unit at the beginning of a text that is not empty.
Utf8Unit DecodeUtf8(std::string_view text);

void AppendUtf8(std::uint32_t codePoint, std::string& out);

// The number of bytes at the beginning of text that are whole characters.
size_t ValidUtf8Length(std::string_view text);

struct Utf8Count {
  size_t multiByte = 0;  // characters beyond ASCII
  size_t broken = 0;     // units that are no characters
};

Utf8Count CountUtf8(std::string_view text);

// The number of bytes at the end of text that begin a character without finishing it, 0 to 3.
size_t UnfinishedUtf8Tail(std::string_view text);

// The number of bytes at the beginning of text that belong to the unfinished character head: those
// that complete it, or as many as still fit when it is never completed.
size_t Utf8Continuation(std::string_view head, std::string_view text);

#endif
