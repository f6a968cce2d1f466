// The pictures of a book as files beside its page.
#ifndef KAV_MOBI_PICTURE_FILES_H
#define KAV_MOBI_PICTURE_FILES_H

#include <string>
#include <string_view>
#include <unordered_map>

#include "reader.h"

namespace kav_mobi {

class PictureFiles {
 public:
  // Pictures of book, written into directory, which ends with "/" unless it is empty.
  PictureFiles(const Book& book, std::string directory);

  // The file name of a resource, counted from 1; the file is written when it is first asked for.
  // Empty when the resource is no picture that a page can show.
  const std::string& nameOf(size_t number);

  // Whether a file could not be written.
  bool failed() const { return failed_; }

 private:
  const Book& book_;
  std::string directory_;
  std::unordered_map<size_t, std::string> names_;
  bool failed_ = false;
};

}  // namespace kav_mobi

#endif
