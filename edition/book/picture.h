// What a picture is, by its content.
#ifndef KAVEPUB_BOOK_PICTURE_H
#define KAVEPUB_BOOK_PICTURE_H

#include <cstdint>
#include <optional>
#include <string_view>

struct PictureFacts {
  const char* mediaType;
  const char* extension;     // ".png"
  std::uint32_t width = 0;   // in pixels; 0 where it is not known
  std::uint32_t height = 0;  // likewise
};

// Of the types that every reading system shows: JPEG, PNG, GIF, SVG. Nothing for all else.
std::optional<PictureFacts> ExaminePicture(std::string_view bytes);

// The name of a type that can be converted to one of these: "WebP", "BMP", "TIFF"; empty for all
// else. The beginning of the file is enough.
std::string_view ConvertiblePicture(std::string_view bytes);

// Whether a file begins like a pattern, in which "." stands for any byte.
bool BeginsLike(std::string_view bytes, std::string_view pattern);

#endif
