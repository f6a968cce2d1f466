// Copying, moving and splitting of paths.
#include "fileutil/fileutil.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <map>

#include "child_process.h"
#include "temp_dir.h"

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

TEST(FileUtil, SplitsPaths) {
  const struct {
    const char *path, *name, *dir;
  } cases[] = {
      {"/a/b/c.jpg", "c.jpg", "/a/b"},
      {"c.jpg", "c.jpg", ""},
      {"/c.jpg", "c.jpg", ""},
      {"/a/b/", "", "/a/b"},
      {"/a/", "", "/a"},
      {"a\\b\\c", "c", "a\\b"},
      {"x\\y/z", "z", "x\\y"},
      {"x/y\\z", "y\\z", "x"},
      {"/", "", ""},
      {"\\", "", ""},
      {"//a", "a", "/"},
      {"a b%20\xFF", "a b%20\xFF", ""},
      {"", "former", "former dir"},
      {nullptr, "former", "former dir"},
  };
  for (const auto& row : cases) {
    std::string name = "former";
    std::string dir = "former dir";
    GetFileOrDirFromPath(row.path, name, dir);
    EXPECT_EQ(name, row.name) << (row.path == nullptr ? "null" : row.path);
    EXPECT_EQ(dir, row.dir) << (row.path == nullptr ? "null" : row.path);
  }
}

// All below a directory: contents of files, "->target" for links, "/" for directories.
using Tree = std::map<std::string, std::string>;

Tree TreeBelow(const TempDir& dir) {
  Tree tree;
  for (const auto& entry : fs::recursive_directory_iterator(dir.String())) {
    tree[entry.path().lexically_relative(dir.String())] =
        entry.is_symlink()     ? "->" + fs::read_symlink(entry).string()
        : entry.is_directory() ? "/"
                               : ReadFile(entry.path());
  }
  return tree;
}

// What is there before each case.
const Tree kBefore = {{"s", "/"},        {"s/1", "one"}, {"s/in", "/"}, {"s/in/2", "two"},
                      {"s/b %\xFF", ""}, {"f", "file"},  {"d", "/"},    {"d/f", "other"},
                      {"e", "/"},        {"e/1", "/"},   {"l", "/"},    {"l/x", "->../s"},
                      {"link", "->f"}};

struct TreeCase {
  const char* name;
  int (*operation)(const char* src, const char* dst);
  const char *src, *dst;  // below the directory, when not empty or null
  int expected;
  Tree added = {};                // beside what was there
  const char* removed = nullptr;  // a directory that is gone
};

const Tree kCopied = {
    {"d/s", "/"}, {"d/s/1", "one"}, {"d/s/in", "/"}, {"d/s/in/2", "two"}, {"d/s/b %\xFF", ""}};
const Tree kMoved = {
    {"n", "/"}, {"n/1", "one"}, {"n/in", "/"}, {"n/in/2", "two"}, {"n/b %\xFF", ""}};
const Tree kMerged = {{"d/1", "one"}, {"d/in", "/"}, {"d/in/2", "two"}, {"d/b %\xFF", ""}};

int CopyShort(const char* src, const char* dst) {
  return WithFileLimit(2, [=] { return CopyFile(src, dst); });
}

int TouchNothing(const char* src, const char* dst) {
  CreateFile(src);
  CreateFile(dst);
  return 0;
}

const TreeCase kTreeCases[] = {
    {"into a directory", CopyFile, "s/1", "d", 0, {{"d/1", "one"}}},
    {"into a directory with a slash", CopyFile, "s/1", "d/", 0, {{"d/1", "one"}}},
    {"to a new name", CopyFile, "f", "d/%41 &", 0, {{"d/%41 &", "file"}}},
    {"over a file", CopyFile, "f", "d/f", 0, {{"d/f", "file"}}},
    {"over a file in a directory", CopyFile, "f", "d", 0, {{"d/f", "file"}}},
    {"any name", CopyFile, "s/b %\xFF", "d", 0, {{"d/b %\xFF", ""}}},
    {"onto itself", CopyFile, "f", "f", 0},
    {"onto itself by a link", CopyFile, "f", "link", 0},
    {"a link is followed", CopyFile, "link", "d/new", 0, {{"d/new", "file"}}},
    {"a write that falls short", CopyShort, "f", "d/new", 0, {{"d/new", "fi"}}},
    {"directory missing", CopyFile, "f", "no/new", 412},
    {"source missing", CopyFile, "no", "d", 402},
    {"source and directory missing", CopyFile, "no", "no/new", 402},
    {"source is a directory", CopyFile, "s", "d", 402},
    {"a directory of that name", CopyFile, "s/1", "e", 404},
    {"below a file", CopyFile, "s/1", "f/x", 404},
    {"null source", CopyFile, nullptr, "d", 402},
    {"empty source", CopyFile, "", "d", 402},
    {"null target", CopyFile, "f", nullptr, 402},
    {"empty target", CopyFile, "f", "", 402},
    {"CreateFile", TouchNothing, "f", "new", 0},
    {"CreateFile of null", TouchNothing, nullptr, "", 0},

    {"tree", CopyFileOrDir, "s", "d", 0, kCopied},
    {"tree: the contents only", CopyFileOrDir, "s/", "d", 0, kMerged},
    {"tree: a file", CopyFileOrDir, "s/1", "d", 0, {{"d/1", "one"}}},
    {"tree: a file over a file", CopyFileOrDir, "s/1", "f", 0, {{"f", "one"}}},
    {"tree: target missing", CopyFileOrDir, "s", "no", -1},
    {"tree: a file, target missing", CopyFileOrDir, "f", "no", -1},
    {"tree: onto a file", CopyFileOrDir, "s", "f", -1},
    {"tree: source missing", CopyFileOrDir, "no", "d", 0, {{"d/no", "/"}}},
    {"tree: source below a file", CopyFileOrDir, "f/no", "d", -1, {{"d/no", "/"}}},
    {"tree: into itself", CopyFileOrDir, "s", "s/in", -1},
    {"tree: onto itself", CopyFileOrDir, "s", "s", -1},
    {"tree: a file's copy fails", CopyFileOrDir, "s/", "e", -1},
    {"tree: a link to a directory is no file", CopyFileOrDir, "l", "d", -1, {{"d/l", "/"}}},
    {"tree: null source", CopyFileOrDir, nullptr, "d", -1},
    {"tree: empty target", CopyFileOrDir, "s", "", -1},

    {"move", MoveDir, "s", "n", 0, kMoved, "s"},
    {"move: slashes", MoveDir, "s/", "n/", 0, kMoved, "s"},
    {"move: into a directory", MoveDir, "s", "d", 0, kMerged, "s"},
    {"move: over a file", MoveDir, "d", ".", 0, {{"f", "other"}}, "d"},
    {"move: a link itself", MoveDir, "l", "n", 0, {{"n", "/"}, {"n/x", "->../s"}}, "l"},
    {"move: two levels missing", MoveDir, "s", "no/n", -1},
    {"move: source missing", MoveDir, "no", "n", 0, {{"n", "/"}}},
    {"move: source is a file", MoveDir, "f", "d", -1},
    {"move: into itself", MoveDir, "s", "s/in", -1},
    {"move: onto itself", MoveDir, "s", "s", -1},
    {"move: null target", MoveDir, "s", nullptr, -1},
    {"move: empty source", MoveDir, "", "d", -1},
};

TEST(FileUtil, CopiesAndMoves) {
  for (const TreeCase& row : kTreeCases) {
    SCOPED_TRACE(row.name);
    const TempDir dir;
    for (const auto& [path, content] : kBefore) {
      if (content == "/") {
        fs::create_directory(dir / path);
      } else if (content.starts_with("->")) {
        fs::create_symlink(content.substr(2), dir / path);
      } else {
        dir.Write(path, content);
      }
    }
    Tree expected = kBefore;
    if (row.removed != nullptr) {
      std::erase_if(expected, [&](const auto& entry) {
        return (entry.first + "/").starts_with(row.removed + "/"s);
      });
    }
    for (const auto& [path, content] : row.added) expected[path] = content;
    const auto in = [&](const char* name) { return *name == '\0' ? "" : dir / name; };
    EXPECT_EQ(row.operation(row.src == nullptr ? nullptr : in(row.src).c_str(),
                            row.dst == nullptr ? nullptr : in(row.dst).c_str()),
              row.expected);
    if (row.name != "tree: a file's copy fails"s) {  // what came before the failure stays
      EXPECT_EQ(TreeBelow(dir), expected);
    }
  }
}

TEST(FileUtil, CopiesFilesOfAnySize) {
  const TempDir dir;
  for (const size_t size : {0, 1, 4095, 4096, 4097, 8192, 100'000}) {
    const std::string content(size, 'x');
    EXPECT_EQ(CopyFile(dir.Write("a", content).c_str(), (dir / "b").c_str()), 0);
    EXPECT_TRUE(fs::exists(dir / "b"));
    EXPECT_EQ(ReadFile(dir / "b"), content);
  }
  const std::string secret = dir.Write("secret", "x");
  chmod(secret.c_str(), 0600);
  const int code =
      AsNobody(dir.String(), [&] { return CopyFile(secret.c_str(), (dir / "c").c_str()); });
  EXPECT_TRUE(code == 404 || code == kNotPermitted) << code;
}

}  // namespace
