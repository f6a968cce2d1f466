// Copying, moving and splitting of paths.
#include "fileutil/fileutil.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <map>

#include "child_process.h"
#include "data_rows.h"
#include "temp_dir.h"

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

const char* OrNull(const std::string& cell) {
  return cell == "null" ? nullptr : cell.c_str();
}

TEST(FileUtil, SplitsPaths) {
  for (const auto& row : DataRows("path_parts.txt", 3)) {
    SCOPED_TRACE(row[0]);
    std::string name = "former";
    std::string dir = "former dir";
    GetFileOrDirFromPath(OrNull(row[0]), name, dir);
    EXPECT_EQ(name, row[1]);
    EXPECT_EQ(dir, row[2]);
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

void Plant(const TempDir& dir, const Tree& tree) {
  for (const auto& [path, content] : tree) {
    if (content == "/") {
      fs::create_directory(dir / path);
    } else if (content.starts_with("->")) {
      fs::create_symlink(content.substr(2), dir / path);
    } else {
      dir.Write(path, content);
    }
  }
}

// The tree before with what a row names added, "PATH=CONTENT; ...", and one directory gone.
Tree After(const std::string& added, const std::string& removed) {
  Tree tree = kBefore;
  std::erase_if(tree, [&](const auto& entry) {
    return !removed.empty() && (entry.first + "/").starts_with(removed + "/");
  });
  std::istringstream entries(added);
  for (std::string entry; std::getline(entries >> std::ws, entry, ';');) {
    const size_t middle = entry.find('=');
    tree[entry.substr(0, middle)] = entry.substr(middle + 1);
  }
  return tree;
}

int CopyShort(const char* src, const char* dst) {
  return WithFileLimit(2, [=] { return CopyFile(src, dst); });
}

int TouchNothing(const char* src, const char* dst) {
  return CreateFile(src), CreateFile(dst), 0;
}

TEST(FileUtil, CopiesAndMoves) {
  const std::map<std::string, int (*)(const char*, const char*)> operations = {
      {"copy", CopyFile},
      {"tree", CopyFileOrDir},
      {"move", MoveDir},
      {"short", CopyShort},
      {"touch", TouchNothing}};
  for (const auto& row : DataRows("file_operations.txt", 7)) {
    SCOPED_TRACE(row[0]);
    const TempDir dir;
    Plant(dir, kBefore);
    const auto inDir = [&](const std::string& cell) {
      return cell.empty() || cell == "null" ? cell : dir / cell;
    };
    const std::string src = inDir(row[2]);
    const std::string dst = inDir(row[3]);
    EXPECT_EQ(operations.at(row[1])(OrNull(src), OrNull(dst)), std::stoi(row[4]));
    EXPECT_TRUE(row[5] == "any" || TreeBelow(dir) == After(row[5], row[6]));
  }
}

TEST(FileUtil, CopiesFilesOfAnySize) {
  const TempDir dir;
  for (const size_t size : {0, 1, 4095, 4096, 4097, 100'000}) {
    const std::string content(size, 'x');
    EXPECT_EQ(CopyFile(dir.Write("a", content).c_str(), (dir / "b").c_str()), 0);
    EXPECT_EQ(ReadFile(dir / "b"), content);
  }
  const std::string secret = dir.Write("secret", "x");
  chmod(secret.c_str(), 0600);
  const int code =
      AsNobody(dir.String(), [&] { return CopyFile(secret.c_str(), (dir / "c").c_str()); });
  EXPECT_TRUE(code == 404 || code == kNotPermitted) << code;
}

}  // namespace
