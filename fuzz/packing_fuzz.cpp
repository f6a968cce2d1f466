// Packing of a directory tree: every regular file, and nothing else, comes out as it went in.
#include "fuzz/book_check.h"
#include "fuzz/harness.h"
#include "platform/kav_ebase/kav_ebase.h"

namespace {

namespace fs = std::filesystem;

constexpr char kFirst[] = "mimetype";

// The regular files of a tree in the order in which they are to be packed.
Entries FilesOf(const fs::path& tree) {
  std::map<std::string, std::string> files;
  for (const auto& entry : fs::recursive_directory_iterator(tree)) {
    if (!fs::is_regular_file(entry.symlink_status())) continue;
    files[entry.path().lexically_relative(tree)] = ReadFile(entry.path());
  }
  Entries ordered = {{kFirst, files[kFirst]}};
  files.erase(kFirst);
  ordered.insert(ordered.end(), files.begin(), files.end());
  return ordered;
}

}  // namespace

void Fuzz(const std::string& input, Sandbox& box) {
  box.Plant("tree", input);
  const std::string tree = box / "tree";
  const std::string output = box / "out/book.epub";
  const int code = Kav_CreateEpubFromDir(tree.c_str(), output.c_str());
  if (!fs::is_regular_file(fs::symlink_status(tree + "/" + kFirst))) {
    Require(code == KAV_EBASE_E_BOOK_DIR, "a book has a type");
    return box.RequireEmpty("out");
  }
  Require(code == KAV_EBASE_OK, "a tree is packed");
  Require(ReadArchive(output) == FilesOf(tree), "files come out as they went in, in their order");
  const std::string bytes = ReadFile(output);
  Require(Kav_CreateEpubFromDir(tree.c_str(), output.c_str()) == KAV_EBASE_OK, "once more");
  Require(ReadFile(output) == bytes, "equal trees give equal bytes");
}
