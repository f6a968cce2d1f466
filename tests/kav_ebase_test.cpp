// Tests of libKav_Ebase. The containers are read with Python's zipfile and Info-ZIP.
#include "platform/kav_ebase/kav_ebase.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdio>

#include "child_process.h"
#include "data_rows.h"
#include "temp_dir.h"

namespace {

namespace fs = std::filesystem;

constexpr const char* kMimetype = "application/epub+zip";
// What a shell command prints; its exit status must be 0.
std::string Output(const std::string& command) {
  std::string text;
  FILE* pipe = popen(command.c_str(), "r");  // NOLINT(cert-env33-c): the command is our own
  for (int letter = 0; (letter = fgetc(pipe)) != EOF;) text += static_cast<char>(letter);
  EXPECT_EQ(pclose(pipe), 0) << command;
  return text;
}

// What a Python script about a container, whose path holds no quotes, prints.
std::string Python(const std::string& script, const std::string& epub) {
  return Output("python3 -c '\nimport struct, sys, zipfile\nprint = sys.stdout.buffer.write\n" +
                ("archive = zipfile.ZipFile(sys.argv[1])\n" + script) + "' '" + epub + "'");
}

// All entries in the order of the central directory: name, method, flags. Checks on the way what
// must hold for each: CRC, position in ascending order, fixed time and attributes, no extra fields
// in either header.
std::string Entries(const std::string& epub) {
  return Python(R"(
raw = open(sys.argv[1], "rb")
assert archive.testzip() is None
last = -1
for info in archive.infolist():
    assert info.header_offset > last
    last = info.header_offset
    raw.seek(last)
    local = struct.unpack("<4s5H3L2H", raw.read(30))
    assert local[:4] == (b"PK\3\4", 20, info.flag_bits, info.compress_type), local
    assert local[6:9] == (info.CRC, info.compress_size, info.file_size), local
    assert local[10] == 0 and info.extra == b"" and info.comment == b""
    assert info.date_time == (1980, 1, 1, 0, 0, 0)
    assert info.create_system == 3 and info.external_attr == 0o100644 << 16
    name = info.orig_filename.encode("utf-8" if info.flag_bits & 0x800 else "cp437")
    print(name + b" %d %d|" % (info.compress_type, info.flag_bits)))",
                epub);
}

std::string ContentOf(const std::string& epub, const std::string& name) {
  return Python("print(archive.read(\"" + name + "\"))", epub);
}

std::string Text(size_t size) {
  std::string text;
  for (int number = 0; text.size() < size; ++number) {
    text.append("line ").append(std::to_string(number)) += '\n';
  }
  return text;
}

// A scratch directory with a book in it, and a file from before in the place of the container.
class KavEbase : public testing::Test {
 protected:
  KavEbase() {
    Add("mimetype", kMimetype);
    scratch.Write("out/book.epub", "old");
  }

  void Add(const std::string& name, const std::string& content) {
    scratch.Write("book/" + name, content);
  }
  int Pack() { return PackTo("out/book.epub"); }
  int PackTo(const std::string& output) { return PackFrom("book", output); }
  int PackFrom(const std::string& directory, const std::string& output) {
    return Kav_CreateEpubFromDir((scratch / directory).c_str(), (scratch / output).c_str());
  }
  int SetMode(const std::string& path, int mode) {
    const auto before = fs::status(scratch / path).permissions();
    fs::permissions(scratch / path, static_cast<fs::perms>(mode));
    return static_cast<int>(before);
  }
  void ExpectOnlyOldFile() {
    EXPECT_EQ(ReadFile(epub), "old");
    EXPECT_EQ(FilesBelow(scratch / "out"), std::set<std::string>{"book.epub"});
  }

  TempDir scratch;
  std::string book = scratch / "book";
  std::string epub = scratch / "out/book.epub";
};

TEST_F(KavEbase, EntriesAreInOrderAndPackedByKind) {
  std::string expected = "mimetype 0 0|";
  for (const auto& row : DataRows("container_entries.txt", 4)) {
    Add(row[0], row[1] == "text" ? Text(5000) : row[1] == "random" ? RandomBytes(3000) : row[1]);
    expected.append(row[0]).append(" " + row[2] + " " + row[3] + "|");
  }
  ASSERT_EQ(Pack(), 0);
  EXPECT_EQ(Entries(epub), expected);
  EXPECT_EQ(ContentOf(epub, "OEBPS/tiny.html"), "x");
  EXPECT_EQ(ContentOf(epub, "OEBPS/random.bin"), RandomBytes(3000));
  EXPECT_EQ(ContentOf(epub, "OEBPS/images/1.JPG"), Text(5000));
  EXPECT_EQ(ContentOf(epub, "OEBPS/page-1.html"), Text(5000));
  EXPECT_EQ(ReadFile(epub).substr(30, 28), std::string("mimetype") + kMimetype);
  Output("unzip -tqq " + epub);
}

TEST_F(KavEbase, EqualDirectoriesGiveEqualBytes) {
  const std::vector<std::string> names{"b/2", "b/1", "a", "c/d/e"};
  for (const std::string& name : names) Add(name, Text(2000));
  scratch.Write("twin/mimetype", kMimetype);
  for (auto name = names.rbegin(); name != names.rend(); ++name) {
    const std::string path = scratch.Write("twin/" + *name, Text(2000));
    fs::last_write_time(path, fs::file_time_type(std::chrono::hours(1)));
    fs::permissions(path, fs::perms::all);
  }
  ASSERT_EQ(Pack(), 0);
  ASSERT_EQ(PackFrom("twin/", "twin.epub"), 0);
  EXPECT_EQ(ReadFile(epub), ReadFile(scratch / "twin.epub"));
}

TEST_F(KavEbase, LinksAndSpecialFilesAreLeftOut) {
  Add("page", "x");
  scratch.Write("outside/secret", "x");
  fs::create_symlink(scratch / "outside/secret", book + "/file-link");
  fs::create_directory_symlink(scratch / "outside", book + "/directory-link");
  fs::create_symlink("nothing", book + "/dangling");
  fs::create_directory(book + "/empty-directory");
  ASSERT_EQ(mkfifo((book + "/pipe").c_str(), 0600), 0);
  ASSERT_EQ(Pack(), 0);
  EXPECT_EQ(Entries(epub), "mimetype 0 0|page 0 0|");
}

TEST_F(KavEbase, LargeFilesAreStreamed) {
  const std::string text = Text((size_t{65} << 20) + 1);
  const std::string random = RandomBytes(size_t{65} << 20);
  Add("large.html", text);
  Add("random.bin", random);
  ASSERT_EQ(Pack(), 0);
  EXPECT_EQ(Entries(epub), "mimetype 0 0|large.html 8 0|random.bin 0 0|");
  EXPECT_EQ(ContentOf(epub, "large.html"), text);
  EXPECT_EQ(ContentOf(epub, "random.bin"), random);
}

TEST_F(KavEbase, Zip64FromTheFirstCountThatNeedsIt) {
  for (int i = 1; i < 65535; ++i) Add("p/" + std::to_string(i), "page");
  for (const auto& [count, isZip64] : {std::pair{65535, true}, {65534, false}}) {
    SCOPED_TRACE(count);
    ASSERT_EQ(Pack(), 0);
    EXPECT_EQ(Python("print(b\"%d\" % len(archive.infolist()))", epub), std::to_string(count));
    Output("unzip -tqq " + epub);
    const std::string bytes = ReadFile(epub);
    EXPECT_EQ(bytes.find("PK\6\7", bytes.size() - 42) != std::string::npos, isZip64);
    fs::remove(book + "/p/1");
  }
}

// A folder as deep as said, with names of 100 bytes, and a file at its end.
void MakeDeepFolder(const std::string& top, int depth, bool hasFile) {
  int folder = open(top.c_str(), O_RDONLY | O_DIRECTORY);
  const std::string name(100, 'd');
  for (int level = 0; level < depth; ++level) {
    mkdirat(folder, name.c_str(), 0700);
    const int next = openat(folder, name.c_str(), O_RDONLY | O_DIRECTORY);
    close(folder);
    folder = next;
  }
  if (hasFile) close(openat(folder, "file", O_CREAT | O_WRONLY, 0600));
  close(folder);
}

TEST_F(KavEbase, PathsAboveTheSystemsLimit) {
  MakeDeepFolder(book, 100, true);  // longer than PATH_MAX
  ASSERT_EQ(Pack(), 0);
  EXPECT_TRUE(Entries(epub).ends_with("ddd/file 0 0|"));
  scratch.Write("deep/mimetype", kMimetype);
  MakeDeepFolder(scratch / "deep", 700, false);
  EXPECT_EQ(PackFrom("deep", "deep.epub"), 0);
  EXPECT_EQ(Entries(scratch / "deep.epub"), "mimetype 0 0|");
  MakeDeepFolder(scratch / "deep", 700, true);  // too long for a container
  EXPECT_EQ(PackFrom("deep", "new.epub"), KAV_EBASE_E_READ);
  EXPECT_FALSE(fs::exists(scratch / "new.epub"));
}

TEST_F(KavEbase, BadBooksAndArguments) {
  scratch.Write("no-mimetype/page", "x");
  scratch.Write("mimetype-directory/mimetype/file", "x");
  scratch.Write("mimetype-link/page", kMimetype);
  fs::create_symlink("page", scratch / "mimetype-link/mimetype");
  for (const char* name :
       {"missing", "book/mimetype", "no-mimetype", "mimetype-directory", "mimetype-link", "out"}) {
    EXPECT_EQ(PackFrom(name, "out/book.epub"), KAV_EBASE_E_BOOK_DIR) << name;
  }
  for (const char* nothing : {static_cast<const char*>(nullptr), ""}) {
    EXPECT_EQ(Kav_CreateEpubFromDir(nothing, epub.c_str()), KAV_EBASE_E_ARGUMENT);
    EXPECT_EQ(Kav_CreateEpubFromDir(book.c_str(), nothing), KAV_EBASE_E_ARGUMENT);
  }
  ExpectOnlyOldFile();
}

TEST_F(KavEbase, OutputsThatAreNoFilesStayUntouched) {
  fs::create_directory(scratch / "out/directory");
  fs::create_directory_symlink("directory", scratch / "out/directory-link");
  fs::create_symlink("loop", scratch / "out/loop");
  fs::create_symlink("missing/file", scratch / "out/astray");
  scratch.Write("out/file", "x");
  ASSERT_EQ(mkfifo((scratch / "out/pipe").c_str(), 0600), 0);
  std::vector<std::string> outputs{
      "directory", "directory/", "directory/.", "directory-link", "loop", "astray",
      "pipe",      "file/",      "file/below",  "missing/file",   "new/", std::string(256, 'n')};
  if (mknod((scratch / "out/device").c_str(), S_IFCHR | 0600, makedev(1, 3)) == 0) {
    outputs.emplace_back("device");
  }
  const auto before = FilesBelow(scratch / "out");
  for (const std::string& name : outputs) {
    SCOPED_TRACE(name);
    std::error_code ignored;
    const auto old = fs::symlink_status(scratch / ("out/" + name), ignored);
    EXPECT_EQ(PackTo("out/" + name), KAV_EBASE_E_OUTPUT);
    const auto now = fs::symlink_status(scratch / ("out/" + name), ignored);
    EXPECT_EQ(std::pair(now.type(), now.permissions()), std::pair(old.type(), old.permissions()));
  }
  EXPECT_EQ(FilesBelow(scratch / "out"), before);
}

TEST_F(KavEbase, OutputNamesOfAnyKind) {
  const std::set<std::string> names{
      std::string(255, 'n'), "a b & 100% (c) \"d\"\ne.epub", "\xC3\xA4.epub", "\xFF", "-rf", "..."};
  fs::create_directory(scratch / "names");
  for (const std::string& name : names) {
    EXPECT_EQ(PackTo("names/" + name), 0) << name;
    EXPECT_EQ(Entries(scratch / ("names/" + name)), "mimetype 0 0|") << name;
  }
  EXPECT_EQ(FilesBelow(scratch / "names"), names);
  ASSERT_EQ(chdir((scratch / "out").c_str()), 0);
  EXPECT_EQ(Kav_CreateEpubFromDir("../book", "bare-name"), 0);
  EXPECT_EQ(chdir("/"), 0);
  EXPECT_EQ(Entries(scratch / "out/bare-name"), "mimetype 0 0|");
}

TEST_F(KavEbase, LinksToTheOutputAreFollowed) {
  scratch.Write("real/old.epub", "old");
  fs::create_symlink("../real/old.epub", scratch / "out/link");
  fs::create_symlink("link", scratch / "out/link-to-link");
  fs::create_symlink(scratch / "real/new.epub", scratch / "out/dangling");
  for (const char* link : {"link-to-link", "dangling"}) {
    EXPECT_EQ(PackTo(std::string("out/") + link), 0) << link;
    EXPECT_TRUE(fs::is_symlink(scratch / "out" + "/" + link)) << link;
  }
  EXPECT_TRUE(fs::is_symlink(scratch / "out/link"));
  for (const char* name : {"real/old.epub", "real/new.epub"}) {
    EXPECT_EQ(Entries(scratch / name), "mimetype 0 0|");
  }
  EXPECT_EQ(FilesBelow(scratch / "real"), (std::set<std::string>{"new.epub", "old.epub"}));
}

TEST_F(KavEbase, PermissionBits) {
  const mode_t before = umask(027);
  EXPECT_EQ(PackTo("new.epub"), 0);
  umask(before);
  EXPECT_EQ(SetMode("new.epub", 0600), 0640);
  for (const int mode : {0600, 0666, 0444}) {
    SetMode("out/book.epub", mode);
    EXPECT_EQ(Pack(), 0);
    EXPECT_EQ(SetMode("out/book.epub", 0600), mode);
  }
}

// Makes the kernel deny unnamed files, as some file systems do.
bool DenyUnnamedFiles() {
  constexpr unsigned kTmpfileBit = O_TMPFILE & ~O_DIRECTORY;
  std::array<sock_filter, 6> program{{
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
      BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_openat, 0, 3),
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[2])),
      BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, kTmpfileBit, 0, 1),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EOPNOTSUPP),
      BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
  }};
  const sock_fprog filter{program.size(), program.data()};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0 &&
         open("/tmp", O_TMPFILE | O_WRONLY, 0600) < 0;
}

TEST_F(KavEbase, FailedWritingLeavesTheOldFileAndNothingElse) {
  for (int i = 0; i < 300; ++i) Add(std::to_string(i) + ".bin", RandomBytes(4000));
  Add("large.html", RandomBytes(size_t{65} << 20));
  // Inside the first entry, between small ones, inside the large one, before the central directory.
  for (const rlim_t limit : {1, 500'000, 5'000'000, 69'381'648}) {
    for (const bool areDenied : {false, true}) {
      SCOPED_TRACE(limit);
      EXPECT_EQ(WithFileLimit(limit,
                              [&] {
                                if (areDenied && !DenyUnnamedFiles()) return kNotPermitted;
                                return Pack();
                              }),
                KAV_EBASE_E_WRITE);
      ExpectOnlyOldFile();
    }
  }
}

TEST_F(KavEbase, KilledProcessLeavesNothing) {
  Add("large.jpg", RandomBytes(size_t{3} << 20));
  const int result = WithLimit(RLIMIT_FSIZE, 1'000'000, [&] {
    prctl(PR_SET_DUMPABLE, 0);
    return Pack();  // the kernel kills it amid its writing
  });
  EXPECT_EQ(result, kChildDied);
  ExpectOnlyOldFile();
}

TEST_F(KavEbase, WithoutUnnamedFiles) {
  Add("page", "x");
  const std::string longName = "out/" + std::string(255, 'n');
  SetMode("out/book.epub", 0604);
  const int result = InChild([&] {
    if (!DenyUnnamedFiles()) return kNotPermitted;
    return std::max(Pack(), PackTo(longName));
  });
  EXPECT_EQ(result, 0);
  EXPECT_EQ(Entries(epub), "mimetype 0 0|page 0 0|");
  EXPECT_EQ(ReadFile(epub), ReadFile(scratch / longName));
  EXPECT_EQ(SetMode("out/book.epub", 0600), 0604);
  EXPECT_EQ(FilesBelow(scratch / "out").size(), 2U);
}

TEST_F(KavEbase, WhatAnOrdinaryUserMayNot) {
  Add("folder/page", "x");
  for (const char* path : {"book", "book/folder", "out"}) SetMode(path, 0777);
  SetMode("out/book.epub", 0666);
  for (const auto& [path, mode, expected] : {std::tuple{"book/folder/page", 0000, KAV_EBASE_E_READ},
                                             {"book/folder", 0333, KAV_EBASE_E_READ},
                                             {"book/folder", 0444, KAV_EBASE_E_READ},
                                             {"book/mimetype", 0000, KAV_EBASE_E_READ},
                                             {"book", 0333, KAV_EBASE_E_READ},
                                             {"out", 0555, KAV_EBASE_E_OUTPUT},
                                             {"book/folder/page", 0444, KAV_EBASE_OK}}) {
    SCOPED_TRACE(path);
    const int before = SetMode(path, mode);
    EXPECT_EQ(AsOrdinaryUser(scratch.String(), [&] { return Pack(); }), expected);
    SetMode(path, before);
    EXPECT_EQ(ReadFile(epub) == "old", expected != 0);
    EXPECT_EQ(FilesBelow(scratch / "out"), std::set<std::string>{"book.epub"});
  }
}

TEST_F(KavEbase, LackOfMemory) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "AddressSanitizer ends the process when memory is short";
#endif
  Add("page.html", std::string(size_t{15} << 20, 'x'));
  const int result = InChild([&] {
    unsigned long pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    const rlim_t limit = pages * static_cast<rlim_t>(sysconf(_SC_PAGESIZE)) + (rlim_t{4} << 20);
    const rlimit lowered{limit, limit};
    setrlimit(RLIMIT_AS, &lowered);
    // What earlier tests freed is still there to be had.
    void* volatile block = nullptr;  // volatile, or the compiler leaves the allocation out
    do {
      block = malloc(size_t{1} << 20);
    } while (block != nullptr);
    return Pack();
  });
  EXPECT_EQ(result, KAV_EBASE_E_MEMORY);
  ExpectOnlyOldFile();
}

}  // namespace
