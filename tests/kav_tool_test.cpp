// Tests of libKav_Tool.
#include "platform/kav_tool/kav_tool.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string>

#include "child_process.h"
#include "data_rows.h"
#include "temp_dir.h"

namespace {

namespace fs = std::filesystem;

// Takes over a string of the library's; "null" for none.
std::string Taken(char* text) {
  std::string copy = text == nullptr ? "null" : text;
  free(text);
  return copy;
}

TEST(KavTool, TakesNullAndEmptyTexts) {
  EXPECT_NE(KavIsStrNullOrEmpty(nullptr), 0);
  EXPECT_NE(KavIsStrNullOrEmpty(""), 0);
  EXPECT_EQ(KavIsStrNullOrEmpty(" "), 0);
  EXPECT_EQ(KavGetRunDirectory(nullptr), nullptr);
  EXPECT_EQ(KavGetLocalCurrentTime(nullptr, 16), nullptr);
  for (const char* nothing : {static_cast<const char*>(nullptr), ""}) {
    EXPECT_EQ(KavIsFileOrDirExists(nothing), 0);
    EXPECT_EQ(KavIsFileExists(nothing), 0);
    EXPECT_NE(KavMkdir(nothing), 0);
    EXPECT_NE(KavDeleteDir(nothing), 0);
  }
}

TEST(KavTool, Existence) {
  const TempDir scratch;
  scratch.Write("file", "x");
  fs::create_directory(scratch / "dir");
  mkfifo((scratch / "pipe").c_str(), 0600);
  fs::create_symlink("file", scratch / "file-link");
  fs::create_symlink("dir", scratch / "dir-link");
  fs::create_symlink("nothing", scratch / "dangling");
  for (const auto& row : DataRows("existence.txt", 3)) {
    SCOPED_TRACE(row[0]);
    const std::string path = fs::path(scratch.String()) / row[0];
    EXPECT_EQ(KavIsFileOrDirExists(path.c_str()) != 0, row[1] == "exists");
    EXPECT_EQ(KavIsFileExists(path.c_str()) != 0, row[2] == "file");
  }
}

TEST(KavTool, RunDirectory) {
  const std::string longName(5000, 'n');
  for (const auto& row : DataRows("run_directories.txt", 2)) {
    EXPECT_EQ(Taken(KavGetRunDirectory(row[0].c_str())), row[1]) << row[0];
  }
  EXPECT_EQ(Taken(KavGetRunDirectory((longName + "/" + longName).c_str())), longName);
}

TEST(KavTool, Mkdir) {
  const TempDir scratch;
  scratch.Write("file", "x");
  EXPECT_EQ(KavMkdir((scratch / "new").c_str()), 0);
  EXPECT_TRUE(fs::is_directory(scratch / "new"));
  for (const char* refused : {"new", "file", "no/parent"}) {
    EXPECT_NE(KavMkdir((scratch / refused).c_str()), 0) << refused;
  }
  EXPECT_FALSE(fs::exists(scratch / "no"));
}

TEST(KavTool, LocalCurrentTime) {
  for (const auto& row : DataRows("time_formats.txt", 3)) {
    EXPECT_EQ(Taken(KavGetLocalCurrentTime(row[0].c_str(), std::stoi(row[1]))), row[2])
        << row[0] << ' ' << row[1];
  }
}

TEST(KavTool, LocalCurrentTimeIsLocalAndCurrent) {
  setenv("TZ", "XYZ-05:30", 1);
  tzset();
  const time_t before = time(nullptr);
  const std::string seconds = Taken(KavGetLocalCurrentTime("%s", 16));
  EXPECT_LE(before, std::stoll(seconds));
  EXPECT_LE(std::stoll(seconds), time(nullptr));
  EXPECT_EQ(Taken(KavGetLocalCurrentTime("%z", 16)), "+0530");
  unsetenv("TZ");
  tzset();
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

TEST(KavDeleteDir, LargeTreesWithFewDescriptorsAndLittleStack) {
  const TempDir scratch;
  MakeDeepTree(scratch / "deep", 3000);
  for (int i = 0; i < 600; ++i) {
    scratch.Write("wide/" + std::to_string(i) + "/inner/file", "x");
    scratch.Write("wide/file-" + std::to_string(i), "x");
  }
  for (const char* tree : {"deep", "wide"}) {
    const std::string path = scratch / tree;
    const auto deletion = [&] { return KavDeleteDir(path.c_str()); };
    const auto onLittleStack = [&] { return WithLimit(RLIMIT_STACK, 512 << 10, deletion); };
    EXPECT_EQ(WithLimit(RLIMIT_NOFILE, 16, onLittleStack), 0) << tree;
    EXPECT_FALSE(fs::exists(path)) << tree;
  }
}

TEST(KavDeleteDir, AnyNameAndKind) {
  const TempDir scratch;
  std::set<std::string> names{"...", "-rf", "a\nb", "\xFF\xFE", "&quot;", std::string(255, 'n')};
  for (int byte = 1; byte < 256; ++byte) {
    if (byte != '/' && byte != '.') names.emplace(1, static_cast<char>(byte));
  }
  for (const std::string& name : names) {
    scratch.Write(fs::path("top") / name / name, "x");
    scratch.Write("top/files/" + name, "x");
    fs::create_directories(scratch / ("top/empty/" + name));
  }
  mkfifo((scratch / "top/pipe").c_str(), 0600);
  EXPECT_EQ(KavDeleteDir((scratch / "top/").c_str()), 0);
  EXPECT_FALSE(fs::exists(scratch / "top"));
}

TEST(KavDeleteDir, LinksAreNeverFollowed) {
  const TempDir scratch;
  scratch.Write("outside/precious", "x");
  scratch.Write("top/below/file", "x");
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
  const TempDir scratch;
  scratch.Write("file", "x");
  scratch.Write("dir/kept", "x");
  scratch.Write("dir/sub/kept", "x");
  for (const char* name : {"file", "file/", "missing", "dir/.", "dir/./", "dir/sub/.."}) {
    EXPECT_NE(KavDeleteDir((scratch / name).c_str()), 0) << name;
  }
  EXPECT_EQ(ReadFile(scratch / "file"), "x");
  EXPECT_EQ(FilesBelow(scratch / "dir"), (std::set<std::string>{"kept", "sub/", "sub/kept"}));
}

TEST(KavDeleteDir, EverythingDeletableGoesWhenSomethingIsNot) {
  const TempDir scratch;
  for (const char* file :
       {"top/a", "top/locked/kept", "top/locked/open/b", "top/locked/open/deep/c",
        "top/closed/kept", "top/blind/kept", "top/z/d", "top/locked-empty/gone"}) {
    scratch.Write(file, "x");
  }
  fs::remove(scratch / "top/locked-empty/gone");
  for (const std::string& path : FilesBelow(scratch.String())) {
    fs::permissions(scratch / path, fs::perms::all);
  }
  // No writing; no reading; reading but no searching.
  for (const auto& [path, mode] : {std::pair{"top/locked", 0555},
                                   {"top/locked-empty", 0555},
                                   {"top/closed", 0333},
                                   {"top/blind", 0444}}) {
    fs::permissions(scratch / path, static_cast<fs::perms>(mode));
  }
  const std::string top = scratch / "top";
  EXPECT_EQ(AsOrdinaryUser(scratch.String(), [&] { return KavDeleteDir(top.c_str()) != 0; }), 1);
  EXPECT_EQ(FilesBelow(top),
            (std::set<std::string>{"blind/", "blind/kept", "closed/", "closed/kept", "locked/",
                                   "locked/kept", "locked/open/"}));
}

}  // namespace
