// Pictures on their way into a book, under names that the engine understands.
#ifndef KAVEPUB_PICTURES_H
#define KAVEPUB_PICTURES_H

#include <filesystem>
#include <set>
#include <string>

// The extension that the content of a picture asks for. Throws a Failure for what is no JPEG, PNG
// or GIF picture, or not a whole one.
std::string RequirePicture(const std::filesystem::path& picture);

// The engine goes by a picture's extension, in lower case, and keeps its name; pictures of one name
// would overwrite each other.
class PictureShelf {
 public:
  // Links are made in workDir, where they must not be mistaken for anything else.
  explicit PictureShelf(const std::filesystem::path& workDir);

  // A path to the picture whose name is unique in the book, plain, and tells the type that the
  // content has: the picture itself, or a link to it. Throws a Failure as RequirePicture does.
  std::filesystem::path Place(const std::filesystem::path& picture);

 private:
  std::filesystem::path directory;
  std::set<std::string> names;
};

#endif
