// Tests of libKav_Tool.
#include "platform/kav_tool/kav_tool.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tests/scratch_dir.h"

namespace {

namespace fs = std::filesystem;

using OptionalText = std::optional<std::string>;

// Takes over a string of the library's.
OptionalText Taken(char* text) {
  OptionalText copy;
  if (text != nullptr) copy = text;
  free(text);
  return copy;
}

TEST(KavTool, NullOrEmptyText) {
  EXPECT_NE(KavIsStrNullOrEmpty(nullptr), 0);
  EXPECT_NE(KavIsStrNullOrEmpty(""), 0);
  EXPECT_EQ(KavIsStrNullOrEmpty(" "), 0);
  EXPECT_EQ(KavIsStrNullOrEmpty("a"), 0);
}

TEST(KavTool, NullIsSafeEverywhere) {
  EXPECT_EQ(KavIsFileOrDirExists(nullptr), 0);
  EXPECT_EQ(KavIsFileExists(nullptr), 0);
  EXPECT_EQ(KavGetRunDirectory(nullptr), nullptr);
  EXPECT_NE(KavMkdir(nullptr), 0);
  EXPECT_NE(KavDeleteDir(nullptr), 0);
  EXPECT_EQ(KavGetLocalCurrentTime(nullptr, 16), nullptr);
}

TEST(KavTool, Existence) {
  const ScratchDir scratch;
  WriteFile(scratch / "file", "x");
  fs::create_directory(scratch / "dir");
  mkfifo((scratch / "pipe").c_str(), 0600);
  fs::create_symlink("file", scratch / "file-link");
  fs::create_symlink("dir", scratch / "dir-link");
  fs::create_symlink("nothing", scratch / "dangling");
  struct Case {
    std::string path;
    bool exists;
    bool isFile;
  };
  const std::vector<Case> cases{{scratch / "file", true, true},
                                {scratch / "dir", true, false},
                                {scratch / "pipe", true, false},
                                {scratch / "file-link", true, true},
                                {scratch / "dir-link", true, false},
                                {scratch / "dangling", false, false},
                                {scratch / "missing", false, false},
                                {scratch / "file/", false, false},
                                {scratch / "file/below", false, false},
                                {"/dev/null", true, false},
                                {"", false, false}};
  for (const Case& row : cases) {
    SCOPED_TRACE(row.path);
    EXPECT_EQ(KavIsFileOrDirExists(row.path.c_str()) != 0, row.exists);
    EXPECT_EQ(KavIsFileExists(row.path.c_str()) != 0, row.isFile);
  }
}

TEST(KavTool, RunDirectory) {
  const std::string longName(5000, 'n');
  const std::vector<std::pair<std::string, OptionalText>> cases{
      {"a/b", "a"},
      {"a/b/", "a"},
      {"a/b///", "a"},
      {"a//b", "a"},
      {"/b", "/"},
      {"//b", "/"},
      {"b", "."},
      {"b/", "."},
      {"/", "/"},
      {"///", "/"},
      {"/a/b/c", "/a/b"},
      {"./b", "."},
      {"../b", ".."},
      {".", "."},
      {"..", "."},
      {" /x", " "},
      {"\xFF\xFE/x", "\xFF\xFE"},
      {"a\\b", "."},
      {"", std::nullopt},
      {longName + "/" + longName, longName}};
  for (const auto& [path, expected] : cases) {
    EXPECT_EQ(Taken(KavGetRunDirectory(path.c_str())), expected) << path;
  }
}

TEST(KavTool, Mkdir) {
  const ScratchDir scratch;
  WriteFile(scratch / "file", "x");
  EXPECT_EQ(KavMkdir((scratch / "new").c_str()), 0);
  EXPECT_TRUE(fs::is_directory(scratch / "new"));
  EXPECT_NE(KavMkdir((scratch / "new").c_str()), 0);
  EXPECT_NE(KavMkdir((scratch / "file").c_str()), 0);
  EXPECT_NE(KavMkdir((scratch / "no/parent").c_str()), 0);
  EXPECT_FALSE(fs::exists(scratch / "no"));
  EXPECT_NE(KavMkdir(""), 0);
}

TEST(KavTool, LocalCurrentTime) {
  struct Case {
    const char* format;
    int size;
    OptionalText expected;
  };
  const std::string long100(100, 'x');
  const std::vector<Case> cases{{"", 1, ""},
                                {"", INT_MAX, ""},
                                {"abc", 4, "abc"},
                                {"abc", 3, std::nullopt},
                                {"abc", INT_MAX, "abc"},
                                {"%%", 2, "%"},
                                {"abc", 0, std::nullopt},
                                {"abc", -1, std::nullopt},
                                {"", 0, std::nullopt},
                                {"%Y%m%d%H%M%S", 14, std::nullopt},
                                {long100.c_str(), 101, long100},
                                {long100.c_str(), 100, std::nullopt}};
  for (const Case& row : cases) {
    EXPECT_EQ(Taken(KavGetLocalCurrentTime(row.format, row.size)), row.expected)
        << row.format << ' ' << row.size;
  }
}

TEST(KavTool, LocalCurrentTimeIsLocalAndCurrent) {
  setenv("TZ", "XYZ-05:30", 1);
  tzset();
  const time_t before = time(nullptr);
  const OptionalText text = Taken(KavGetLocalCurrentTime("%Y%m%d%H%M%S", 16));
  const time_t after = time(nullptr);
  EXPECT_EQ(Taken(KavGetLocalCurrentTime("%z", 16)), "+0530");
  unsetenv("TZ");
  tzset();
  ASSERT_TRUE(text.has_value());
  ASSERT_EQ(text->size(), 14U);
  tm fields{};
  ASSERT_NE(strptime(text->c_str(), "%Y%m%d%H%M%S", &fields), nullptr);
  constexpr time_t kOffset = 19800;  // five and a half hours
  const time_t shown = timegm(&fields) - kOffset;
  EXPECT_LE(before, shown);
  EXPECT_LE(shown, after);
}

// A tree of the given depth, each level with a file; its paths are far too long for the system.
void MakeDeepTree(const std::string& top, int depth) {
  fs::create_directory(top);
  int current = open(top.c_str(), O_RDONLY | O_DIRECTORY);
  for (int level = 0; level < depth; ++level) {
    close(openat(current, "file", O_CREAT | O_WRONLY, 0600));
    ASSERT_EQ(mkdirat(current, "a-directory", 0700), 0);
    const int next = openat(current, "a-directory", O_RDONLY | O_DIRECTORY);
    close(current);
    current = next;
  }
  close(current);
}

class DescriptorLimit {
 public:
  explicit DescriptorLimit(rlim_t limit) {
    getrlimit(RLIMIT_NOFILE, &before);
    const rlimit lower{limit, before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &lower);
  }
  ~DescriptorLimit() { setrlimit(RLIMIT_NOFILE, &before); }
  DescriptorLimit(const DescriptorLimit&) = delete;
  DescriptorLimit& operator=(const DescriptorLimit&) = delete;

 private:
  rlimit before{};
};

TEST(KavDeleteDir, DeepTreeWithFewDescriptors) {
  const ScratchDir scratch;
  MakeDeepTree(scratch / "deep", 30000);
  const DescriptorLimit limit(16);
  EXPECT_EQ(KavDeleteDir((scratch / "deep").c_str()), 0);
  EXPECT_FALSE(fs::exists(scratch / "deep"));
}

TEST(KavDeleteDir, WideTreeWithFewDescriptors) {
  const ScratchDir scratch;
  for (int i = 0; i < 2000; ++i) {
    WriteFile(scratch / ("wide/" + std::to_string(i) + "/inner/file"), "x");
    WriteFile(scratch / ("wide/file-" + std::to_string(i)), "x");
  }
  const DescriptorLimit limit(16);
  EXPECT_EQ(KavDeleteDir((scratch / "wide").c_str()), 0);
  EXPECT_FALSE(fs::exists(scratch / "wide"));
}

TEST(KavDeleteDir, AnyNameAndKind) {
  const ScratchDir scratch;
  const fs::path top = scratch / "top";
  std::vector<std::string> names{"...", " ",      "-rf", "a\nb", "\xFF\xFE",
                                 "%",   "&quot;", "'\"", "*",    std::string(255, 'n')};
  for (int byte = 1; byte < 256; ++byte) {
    if (byte != '/' && byte != '.') names.emplace_back(1, static_cast<char>(byte));
  }
  for (const std::string& name : names) {
    WriteFile(top / name / name, "x");
    WriteFile(top / "files" / name, "x");
    fs::create_directories(top / "empty" / name);
  }
  mkfifo((scratch / "top/pipe").c_str(), 0600);
  EXPECT_EQ(KavDeleteDir((scratch / "top/").c_str()), 0);
  EXPECT_FALSE(fs::exists(scratch / "top"));
}

TEST(KavDeleteDir, LinksAreNeverFollowed) {
  const ScratchDir scratch;
  WriteFile(scratch / "outside/precious", "x");
  WriteFile(scratch / "top/below/file", "x");
  fs::create_symlink("../../outside", scratch / "top/below/link");
  fs::create_symlink("../outside/precious", scratch / "top/file-link");
  fs::create_symlink("nothing", scratch / "top/dangling");
  EXPECT_EQ(KavDeleteDir((scratch / "top").c_str()), 0);
  EXPECT_FALSE(fs::exists(scratch / "top"));
  EXPECT_TRUE(fs::exists(scratch / "outside/precious"));
  for (const char* link : {"link", "slash-link/"}) {
    const std::string path = scratch / link;
    fs::create_directory_symlink("outside", path.substr(0, path.find_last_not_of('/') + 1));
    EXPECT_EQ(KavDeleteDir(path.c_str()), 0) << link;
    EXPECT_FALSE(fs::exists(fs::symlink_status(path))) << link;
    EXPECT_TRUE(fs::exists(scratch / "outside/precious")) << link;
  }
}

TEST(KavDeleteDir, WhatIsNoRemovableDirectoryIsLeftAlone) {
  const ScratchDir scratch;
  WriteFile(scratch / "file", "x");
  WriteFile(scratch / "dir/kept", "x");
  for (const char* name : {"file", "file/", "missing", "dir/.", "dir/./", "dir/sub/.."}) {
    EXPECT_NE(KavDeleteDir((scratch / name).c_str()), 0) << name;
  }
  EXPECT_NE(KavDeleteDir(""), 0);
  EXPECT_EQ(ReadFile(scratch / "file"), "x");
  EXPECT_EQ(ReadFile(scratch / "dir/kept"), "x");
}

TEST(KavDeleteDir, EverythingDeletableGoesWhenSomethingIsNot) {
  const ScratchDir scratch;
  for (const char* file :
       {"top/a", "top/locked/kept", "top/locked/open/b", "top/locked/open/deep/c",
        "top/closed/kept", "top/blind/kept", "top/z/d"}) {
    WriteFile(scratch / file, "x");
  }
  fs::create_directory(scratch / "top/locked-empty");
  for (const auto& entry : fs::recursive_directory_iterator(scratch / "top")) {
    fs::permissions(entry.path(), fs::perms::all);
  }
  fs::permissions(scratch / "top", fs::perms::all);
  // No writing; no reading; reading but no searching.
  constexpr auto kReadSearch = static_cast<fs::perms>(0555);
  constexpr auto kWriteSearch = static_cast<fs::perms>(0333);
  constexpr auto kReadOnly = static_cast<fs::perms>(0444);
  fs::permissions(scratch / "top/locked", kReadSearch);
  fs::permissions(scratch / "top/locked-empty", kReadSearch);
  fs::permissions(scratch / "top/closed", kWriteSearch);
  fs::permissions(scratch / "top/blind", kReadOnly);
  const std::string top = scratch / "top";
  const int result =
      InChild([&] { return BecomeOrdinaryUser() && KavDeleteDir(top.c_str()) != 0; });
  EXPECT_EQ(result, 1);
  std::vector<std::string> left;
  for (const auto& entry : fs::recursive_directory_iterator(top)) {
    left.push_back(entry.path().lexically_relative(top));
  }
  std::sort(left.begin(), left.end());
  const std::vector<std::string> expected{"blind",  "blind/kept",  "closed",     "closed/kept",
                                          "locked", "locked/kept", "locked/open"};
  EXPECT_EQ(left, expected);
}

}  // namespace
