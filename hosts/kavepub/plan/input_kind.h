// Telling texts, HTML, MOBI books and pictures apart, and what else comes along.
#ifndef KAVEPUB_INPUT_KIND_H
#define KAVEPUB_INPUT_KIND_H

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "hosts/kavepub/plan/book_order.h"

// The kind of a file, by its content first and by its extension second. Throws a Failure when it
// cannot be read or no book can be made of it.
BookKind KindOf(const std::filesystem::path& file);

// The same of bytes that came by that name.
BookKind KindOfBytes(const std::filesystem::path& name, std::string_view bytes);

// The kind that a file's extension promises, in letters of either size; none for other extensions.
std::optional<BookKind> KindByName(const std::filesystem::path& file);

// Whether a file is called like a picture, of a kind that a book can show or not.
bool IsCalledLikePicture(const std::filesystem::path& file);

// Whether a file is a container, as EPUB books are.
bool IsZip(const std::filesystem::path& file);

// The extension of a file in lower case: ".txt".
std::string ExtensionOf(const std::filesystem::path& file);

// Whether a file is a Palm database that holds a book.
bool IsMobi(const std::filesystem::path& file);

// What a picture is that only the reader's edition shows, as "a WebP"; empty for anything else.
std::string ConvertibleKind(const std::filesystem::path& file);

// The extension that a picture's content asks for: ".jpg", ".png" or ".gif"; empty for anything
// else.
std::string PictureExtension(const std::filesystem::path& file);

#endif
