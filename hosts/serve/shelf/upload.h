// Files on their way in.
#ifndef KAVEPUB_SERVE_UPLOAD_H
#define KAVEPUB_SERVE_UPLOAD_H

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "base/unique_fd.h"
#include "hosts/kavepub/work/new_files.h"
#include "hosts/serve/shelf/store.h"

// Files of one request, written to the store as they come. They are gone with this, unless they are
// kept.
class Upload {
 public:
  // Of a new book, or of covers for the book of an upload that is there. Throws a Refused.
  Upload(Store& store, std::uint64_t mostBytes, std::string of = {});
  ~Upload();
  Upload(const Upload&) = delete;
  Upload& operator=(const Upload&) = delete;

  // A file begins, under the name that the client has for it; or the picture of a cover. They throw
  // a Refused.
  void Begin(std::string_view name);
  void BeginCover();
  void Take(std::string_view bytes);
  void Finish();

  const std::string& Id() const { return id; }
  const std::vector<std::string>& Names() const { return names; }  // at the top, as they came
  const std::string& Cover() const { return cover; }  // below the store; empty when there is none
  std::uint64_t Bytes() const { return bytes; }

  // What has become of them when they were unpacked.
  void Measure();

  void Keep() { isKept = true; }

 private:
  Store& store;
  const std::uint64_t most;
  const bool isNew;
  const std::string id;
  const NewFiles files;
  UniqueFd file;
  std::vector<std::string> names;
  std::set<std::string> seen;  // the same
  std::string cover;
  std::uint64_t bytes = 0;
  size_t count = 0;
  bool isKept = false;
};

#endif
