// Copying, moving and splitting of paths.
#include "fileutil/fileutil.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <functional>
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

// All below a directory: contents of files, "->target" of links, "/" for directories.
using Tree = std::map<std::string, std::string>;

Tree TreeBelow(const TempDir& dir) {
  Tree tree;
  for (const auto& entry : fs::recursive_directory_iterator(dir.String())) {
    const std::string path =
        fs::relative(entry.path().parent_path() / "x", dir.String()).parent_path() /
        entry.path().filename();
    tree[path] = entry.is_symlink()     ? "->" + fs::read_symlink(entry).string()
                 : entry.is_directory() ? "/"
                                        : ReadFile(entry.path());
  }
  return tree;
}

Tree Without(Tree tree, const std::string& start) {
  std::erase_if(tree, [&](const auto& entry) {
    return entry.first == start || entry.first.starts_with(start + "/");
  });
  return tree;
}

struct TreeCase {
  const char* name;
  int expected;
  std::function<int(const std::function<std::string(const char*)>& in)> operation;
  Tree added;                     // beside what was there
  const char* removed = nullptr;  // a directory that is gone
};

// The directory for every case: a source "s" with some of everything, a file "f", "d" with "f".
const Tree kTree = {{"s", "/"},        {"s/1", "one"},        {"s/in", "/"},
                    {"s/in/2", "two"}, {"s/b l%20\xFF", "x"}, {"f", "file"},
                    {"d", "/"},        {"d/f", "other"}};

void ExpectTrees(const std::vector<TreeCase>& cases) {
  for (const TreeCase& row : cases) {
    SCOPED_TRACE(row.name);
    const TempDir dir;
    for (const auto& [path, content] : kTree) {
      if (content != "/") dir.Write(path, content);
    }
    Tree expected = TreeBelow(dir);
    if (row.removed != nullptr) expected = Without(expected, row.removed);
    for (const auto& [path, content] : row.added) expected[path] = content;
    EXPECT_EQ(row.operation([&](const char* name) { return dir / name; }), row.expected);
    EXPECT_EQ(TreeBelow(dir), expected);
  }
}

auto Copy(const char* src, const char* dst) {
  return [=](const auto& in) { return CopyFile(in(src).c_str(), in(dst).c_str()); };
}

auto CopyTree(const char* src, const char* dst) {
  return [=](const auto& in) { return CopyFileOrDir(in(src).c_str(), in(dst).c_str()); };
}

auto Move(const char* src, const char* dst) {
  return [=](const auto& in) { return MoveDir(in(src).c_str(), in(dst).c_str()); };
}

TEST(FileUtil, CopiesFiles) {
  ExpectTrees({
      {"into a directory", 0, Copy("s/1", "d"), {{"d/1", "one"}}},
      {"into a directory with a slash", 0, Copy("s/1", "d/"), {{"d/1", "one"}}},
      {"to a new name", 0, Copy("f", "d/new"), {{"d/new", "file"}}},
      {"over a file", 0, Copy("f", "d/f"), {{"d/f", "file"}}},
      {"over a file of the same name in a directory", 0, Copy("f", "d"), {{"d/f", "file"}}},
      {"any name", 0, Copy("s/b l%20\xFF", "d/%41 &"), {{"d/%41 &", "x"}}},
      {"onto itself", 0, Copy("f", "f"), {}},
      {"directory missing", 412, Copy("f", "no/new"), {}},
      {"source missing", 402, Copy("no", "d"), {}},
      {"source missing before directory missing", 402, Copy("no", "no/new"), {}},
      {"source is a directory", 402, Copy("s", "d"), {}},
      {"target is a directory of that name",
       404,
       [](const auto& in) {
         fs::create_directory(in("d/1"));
         return CopyFile(in("s/1").c_str(), in("d").c_str());
       },
       {{"d/1", "/"}}},
      {"below a file", 404, Copy("s/1", "f/x"), {}},
      {"a link is followed",
       0,
       [](const auto& in) {
         fs::create_symlink("f", in("link"));
         return CopyFile(in("link").c_str(), in("d/new").c_str());
       },
       {{"link", "->f"}, {"d/new", "file"}}},
      {"onto itself by a link",
       0,
       [](const auto& in) {
         fs::create_symlink("f", in("link"));
         return CopyFile(in("f").c_str(), in("link").c_str());
       },
       {{"link", "->f"}}},
      {"null source", 402, [](const auto& in) { return CopyFile(nullptr, in("d").c_str()); }, {}},
      {"empty source", 402, [](const auto& in) { return CopyFile("", in("d").c_str()); }, {}},
      {"null target", 402, [](const auto& in) { return CopyFile(in("f").c_str(), nullptr); }, {}},
      {"empty target", 402, [](const auto& in) { return CopyFile(in("f").c_str(), ""); }, {}},
      {"a write that falls short",
       0,
       [](const auto& in) { return WithFileLimit(2, [&] { return Copy("f", "d/new")(in); }); },
       {{"d/new", "fi"}}},
      {"CreateFile",
       0,
       [](const auto& in) {
         CreateFile(in("f").c_str());
         CreateFile(in("new").c_str());
         CreateFile(nullptr);
         return 0;
       },
       {}},
  });
  const TempDir dir;
  for (const size_t size : {0, 1, 4095, 4096, 4097, 8192, 100'000}) {
    const std::string content(size, 'x');
    EXPECT_EQ(CopyFile(dir.Write("a", content).c_str(), (dir / "b").c_str()), 0);
    EXPECT_EQ(ReadFile(dir / "b"), content);
    EXPECT_TRUE(fs::exists(dir / "b"));
  }
  const std::string secret = dir.Write("secret", "x");
  chmod(secret.c_str(), 0600);
  const int code =
      AsNobody(dir.String(), [&] { return CopyFile(secret.c_str(), (dir / "c").c_str()); });
  EXPECT_TRUE(code == 404 || code == kNotPermitted) << code;
}

TEST(FileUtil, CopiesTrees) {
  const Tree copied = {{"d/s", "/"},
                       {"d/s/1", "one"},
                       {"d/s/in", "/"},
                       {"d/s/in/2", "two"},
                       {"d/s/b l%20\xFF", "x"}};
  ExpectTrees({
      {"a directory", 0, CopyTree("s", "d"), copied},
      {"over a copy", 0,
       [](const auto& in) {
         CopyFileOrDir(in("s").c_str(), in("d").c_str());
         return CopyFileOrDir(in("s").c_str(), in("d").c_str());
       },
       copied},
      {"the contents only",
       0,
       CopyTree("s/", "d"),
       {{"d/1", "one"}, {"d/in", "/"}, {"d/in/2", "two"}, {"d/b l%20\xFF", "x"}}},
      {"a file", 0, CopyTree("s/1", "d"), {{"d/1", "one"}}},
      {"a file over a file", 0, CopyTree("s/1", "f"), {{"f", "one"}}},
      {"target missing", -1, CopyTree("s", "no"), {}},
      {"target missing, a file", -1, CopyTree("f", "no"), {}},
      {"onto a file", -1, CopyTree("s", "f"), {}},
      {"source missing: only its directory is made", 0, CopyTree("no", "d"), {{"d/no", "/"}}},
      {"source below a file", -1, CopyTree("f/no", "d"), {{"d/no", "/"}}},
      {"into itself", -1, CopyTree("s", "s/in"), {}},
      {"onto its own directory", -1, CopyTree("s", "s"), {}},
      {"a link to a file is copied, one to a directory ends the copy",
       -1,
       [](const auto& in) {
         fs::create_directory(in("l"));
         fs::create_directory_symlink("../s", in("l/dir"));
         return CopyFileOrDir(in("l").c_str(), in("d").c_str());
       },
       {{"l", "/"}, {"l/dir", "->../s"}, {"d/l", "/"}}},
      {"null source",
       -1,
       [](const auto& in) { return CopyFileOrDir(nullptr, in("d").c_str()); },
       {}},
      {"empty target", -1, [](const auto& in) { return CopyFileOrDir(in("s").c_str(), ""); }, {}},
  });
}

TEST(FileUtil, MovesTrees) {
  const Tree moved = {
      {"n", "/"}, {"n/1", "one"}, {"n/in", "/"}, {"n/in/2", "two"}, {"n/b l%20\xFF", "x"}};
  ExpectTrees({
      {"to a new directory", 0, Move("s", "n"), moved, "s"},
      {"with a slash", 0, Move("s/", "n/"), moved, "s"},
      {"into a directory, over a file",
       0,
       [](const auto& in) {
         std::ofstream(in("s/f")) << "new";
         return MoveDir(in("s").c_str(), in("d").c_str());
       },
       {{"d/1", "one"}, {"d/in", "/"}, {"d/in/2", "two"}, {"d/b l%20\xFF", "x"}, {"d/f", "new"}},
       "s"},
      {"a link itself, not what it names",
       0,
       [](const auto& in) {
         fs::create_directory_symlink("../d", in("s/link"));
         return MoveDir(in("s").c_str(), in("n").c_str());
       },
       {{"n", "/"},
        {"n/1", "one"},
        {"n/in", "/"},
        {"n/in/2", "two"},
        {"n/b l%20\xFF", "x"},
        {"n/link", "->../d"}},
       "s"},
      {"more than one level missing", -1, Move("s", "no/n"), {}},
      {"source missing: the target is made", 0, Move("no", "n"), {{"n", "/"}}},
      {"source is a file", -1, Move("f", "d"), {}},
      {"into itself", -1, Move("s", "s/in"), {}},
      {"onto itself", -1, Move("s", "s"), {}},
      {"null target", -1, [](const auto& in) { return MoveDir(in("s").c_str(), nullptr); }, {}},
      {"empty source", -1, [](const auto& in) { return MoveDir("", in("d").c_str()); }, {}},
  });
}

}  // namespace
