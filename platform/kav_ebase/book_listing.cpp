// The list of the files that go into a book's container.
#include "platform/kav_ebase/book_listing.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstring>

#include "base/tree_walk.h"
#include "platform/kav_ebase/kav_ebase.h"

namespace {

constexpr size_t kLongestEntryName = 0xFFFF;  // the container has 16 bits for its length

}  // namespace

class BookListing::Walk : public TreeWalk {
 public:
  Walk(BookListing& target, const char* mimetypeName) : listing(target), mimetype(mimetypeName) {}

  bool HasMimetype() const { return hasMimetype; }
  bool Failed() const { return failed; }

 protected:
  bool Visit(int directory, const char* name, unsigned char type) override {
    if (type == DT_UNKNOWN) type = TypeOf(directory, name);
    if (type == DT_REG) AddFile(name);
    return type == DT_DIR;
  }
  void Entered(const char* name) override { folder.append(name).push_back('/'); }
  void Left(int /*directory*/, const char* name) override {
    folder.resize(folder.size() - strlen(name) - 1);
  }

 private:
  unsigned char TypeOf(int directory, const char* name) {
    struct stat status {};
    if (fstatat(directory, name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
      failed = true;
      return DT_UNKNOWN;
    }
    return static_cast<unsigned char>(IFTODT(status.st_mode));
  }

  void AddFile(const char* name) {
    if (folder.empty() && strcmp(name, mimetype) == 0) {
      hasMimetype = true;
    } else if (folder.size() + strlen(name) > kLongestEntryName) {
      failed = true;
    } else {
      listing.starts.push_back(listing.text.size());
      listing.text.append(folder).append(name).push_back('\0');
    }
  }

  BookListing& listing;
  const char* mimetype;
  std::string folder;  // the one the walk is in, with a slash at its end
  bool hasMimetype = false;
  bool failed = false;
};

int BookListing::Read(DirectoryCursor& book, const char* mimetypeName) {
  Walk walk(*this, mimetypeName);
  if (!walk.Run(book) || walk.Failed()) return KAV_EBASE_E_READ;
  if (!walk.HasMimetype()) return KAV_EBASE_E_BOOK_DIR;
  std::sort(starts.begin(), starts.end(), [this](size_t left, size_t right) {
    return strcmp(text.data() + left, text.data() + right) < 0;
  });
  return KAV_EBASE_OK;
}
