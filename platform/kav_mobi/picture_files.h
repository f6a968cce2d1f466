// The pictures of a book as files beside its page.
#ifndef KAV_MOBI_PICTURE_FILES_H
#define KAV_MOBI_PICTURE_FILES_H

#include <string>
#include <string_view>
#include <unordered_map>

#include "base/mobi/reader.h"

namespace kav_mobi {

class PictureFiles {
 public:
  // Pictures of a book, written into the directory target, which ends with "/" unless it is empty.
  PictureFiles(const Book& source, std::string target);

  // The file name of a resource, counted from 1; the file is written when it is first asked for.
  // Empty when the resource is no picture that a page can show.
  const std::string& NameOf(size_t number);

  // Whether a file could not be written.
  bool Failed() const { return failed; }

 private:
  const Book& book;
  std::string directory;
  std::unordered_map<size_t, std::string> names;
  bool failed = false;
};

}  // namespace kav_mobi

#endif
