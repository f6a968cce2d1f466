// Tests of libKav_Ebase. The containers are read with Python's zipfile and Info-ZIP.
#include "platform/kav_ebase/kav_ebase.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "tests/scratch_dir.h"

namespace {

namespace fs = std::filesystem;

constexpr const char* kMimetype = "application/epub+zip";
constexpr int kStored = 0;
constexpr int kDeflated = 8;
constexpr int kUtf8 = 0x800;

std::string Quoted(const std::string& text) {
  std::string quoted = "'";
  for (const char letter : text) quoted += letter == '\'' ? "'\\''" : std::string(1, letter);
  return quoted + "'";
}

// What a shell command prints; its exit status must be 0.
std::string Output(const std::string& command) {
  std::string text;
  FILE* pipe = popen(command.c_str(), "r");  // NOLINT(cert-env33-c): the command is our own
  std::array<char, 65536> piece{};
  while (const size_t size = fread(piece.data(), 1, piece.size(), pipe)) {
    text.append(piece.data(), size);
  }
  EXPECT_EQ(pclose(pipe), 0) << command.substr(0, 2000);
  return text;
}

std::string Python(const std::string& script, const std::string& argument) {
  return Output("python3 -c " + Quoted(script) + " " + Quoted(argument));
}

std::string Hex(const std::string& bytes) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text;
  for (const char byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    text += {kDigits[value >> 4], kDigits[value & 15]};
  }
  return text;
}

struct Entry {
  std::string name;  // in hexadecimal: it can hold any byte
  int method = 0;
  int flags = 0;
  bool operator==(const Entry&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Entry& entry) {
  return out << entry.name << " method " << entry.method << " flags " << entry.flags;
}

// All entries in the order of the central directory. Checks on the way what must hold for each:
// CRC, position in ascending order, fixed time and attributes, no extra fields in either header.
std::vector<Entry> Entries(const std::string& epub) {
  const std::string script = R"(
import struct, sys, zipfile
archive = zipfile.ZipFile(sys.argv[1])
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
    encoding = "utf-8" if info.flag_bits & 0x800 else "cp437"
    print(info.orig_filename.encode(encoding).hex(), info.compress_type, info.flag_bits)
)";
  std::istringstream lines(Python(script, epub));
  std::vector<Entry> entries;
  for (Entry entry; lines >> entry.name >> entry.method >> entry.flags;) entries.push_back(entry);
  return entries;
}

std::string ContentOf(const std::string& epub, const std::string& name) {
  return Python(
      "import sys, zipfile\n"
      "file = zipfile.ZipFile(sys.argv[1]).open(\"" +
          name +
          "\")\n"
          "sys.stdout.buffer.write(file.read())",
      epub);
}

std::vector<std::string> NamesIn(const std::string& directory) {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(directory)) {
    names.push_back(entry.path().filename());
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string RandomBytes(size_t size) {
  std::mt19937 generator(1);  // NOLINT(cert-msc32-c,cert-msc51-cpp): the same bytes each time
  std::string bytes(size, '\0');
  std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(generator()); });
  return bytes;
}

std::string Text(size_t size) {
  std::string text;
  for (int number = 0; text.size() < size; ++number)
    text += "line " + std::to_string(number) + "\n";
  return text;
}

// A scratch directory with a book in it.
class KavEbase : public testing::Test {
 protected:
  KavEbase() {
    WriteFile(book + "/mimetype", kMimetype);
    fs::create_directory(scratch / "out");
  }

  void Add(const std::string& name, const std::string& content) {
    WriteFile(book + "/" + name, content);
  }
  int Pack() { return Kav_CreateEpubFromDir(book.c_str(), epub.c_str()); }

  ScratchDir scratch;
  std::string book = scratch / "book";
  std::string epub = scratch / "out/book.epub";
};

TEST_F(KavEbase, EntriesAreInOrderAndPackedByKind) {
  const std::string text = Text(5000);
  struct Row {
    const char* name;
    std::string content;
    int method;
    int flags;
  };
  // In byte order, as they must come out.
  const std::vector<Row> rows{{"META-INF/container.xml", text, kDeflated, 0},
                              {"OEBPS-2", text, kDeflated, 0},
                              {"OEBPS/A.html", text, kDeflated, 0},
                              {"OEBPS/a\nb.html", text, kDeflated, 0},
                              {"OEBPS/a & b's \"100%\".html", text, kDeflated, 0},
                              {"OEBPS/empty.html", "", kStored, 0},
                              {"OEBPS/images/1.JPG", text, kStored, 0},
                              {"OEBPS/images/2.jpeg", text, kStored, 0},
                              {"OEBPS/images/3.Png", text, kStored, 0},
                              {"OEBPS/images/4.gif", text, kStored, 0},
                              {"OEBPS/images/5.webp", text, kStored, 0},
                              {"OEBPS/images/6.svg", text, kDeflated, 0},
                              {"OEBPS/images/folder.png/page", text, kDeflated, 0},
                              {"OEBPS/images/jpg", text, kDeflated, 0},
                              {"OEBPS/mimetype", text, kDeflated, 0},
                              {"OEBPS/page-1.html", text, kDeflated, 0},
                              {"OEBPS/page-10.html", text, kDeflated, 0},
                              {"OEBPS/page-2.html", text, kDeflated, 0},
                              {"OEBPS/random.bin", RandomBytes(3000), kStored, 0},
                              {"OEBPS/tiny.html", "x", kStored, 0},
                              {"OEBPS/\xC3\xA4.html", text, kDeflated, kUtf8},
                              {"OEBPS/\xE4\xB8\xAD\xF0\x9F\x98\x80.html", text, kDeflated, kUtf8},
                              {"OEBPS/\xE9.html", text, kDeflated, 0},
                              {"OEBPS/\xED\xA0\x80.html", text, kDeflated, 0},
                              {"OEBPS/\xF0\x80\x80\x80.html", text, kDeflated, 0},
                              {"zz", text, kDeflated, 0}};
  std::vector<Entry> expected{{Hex("mimetype"), kStored, 0}};
  for (const Row& row : rows) {
    Add(row.name, row.content);
    expected.push_back({Hex(row.name), row.method, row.flags});
  }
  ASSERT_EQ(Pack(), 0);
  EXPECT_EQ(Entries(epub), expected);
  EXPECT_EQ(ContentOf(epub, "OEBPS/tiny.html"), "x");
  EXPECT_EQ(ContentOf(epub, "OEBPS/random.bin"), RandomBytes(3000));
  EXPECT_EQ(ContentOf(epub, "OEBPS/images/1.JPG"), text);
  EXPECT_EQ(ContentOf(epub, "OEBPS/page-1.html"), text);
  Output("unzip -tqq " + Quoted(epub));
}

TEST_F(KavEbase, MimetypeCanBeReadAtItsFixedPlace) {
  Add("a", "first in byte order");
  ASSERT_EQ(Pack(), 0);
  const std::string bytes = ReadFile(epub);
  EXPECT_EQ(bytes.substr(0, 4), "PK\3\4");
  EXPECT_EQ(bytes.substr(30, 28), std::string("mimetype") + kMimetype);
}

TEST_F(KavEbase, EqualDirectoriesGiveEqualBytes) {
  const std::string twin = scratch / "twin";
  const std::vector<std::string> names{"b/2", "b/1", "a", "c/d/e"};
  for (const std::string& name : names) Add(name, Text(2000));
  for (const std::string& name : std::vector<std::string>(names.rbegin(), names.rend())) {
    const std::string path = fs::path(twin) / name;
    WriteFile(path, Text(2000));
    fs::last_write_time(path, fs::file_time_type(std::chrono::hours(1)));
    fs::permissions(path, fs::perms::all);
  }
  WriteFile(twin + "/mimetype", kMimetype);
  ASSERT_EQ(Pack(), 0);
  ASSERT_EQ(Kav_CreateEpubFromDir((twin + "/").c_str(), (scratch / "twin.epub").c_str()), 0);
  EXPECT_EQ(ReadFile(epub), ReadFile(scratch / "twin.epub"));
}

TEST_F(KavEbase, LinksAndSpecialFilesAreLeftOut) {
  Add("page", "x");
  WriteFile(scratch / "outside/secret", "x");
  fs::create_symlink(scratch / "outside/secret", book + "/file-link");
  fs::create_directory_symlink(scratch / "outside", book + "/directory-link");
  fs::create_symlink("nothing", book + "/dangling");
  fs::create_directory(book + "/empty-directory");
  ASSERT_EQ(mkfifo((book + "/pipe").c_str(), 0600), 0);
  ASSERT_EQ(Pack(), 0);
  const std::vector<Entry> expected{{Hex("mimetype"), kStored, 0}, {Hex("page"), kStored, 0}};
  EXPECT_EQ(Entries(epub), expected);
}

TEST_F(KavEbase, LargeFilesAreStreamed) {
  const std::string text = Text((size_t{17} << 20) + 1);
  const std::string random = RandomBytes(size_t{17} << 20);
  Add("large.html", text);
  Add("large.jpg", text);
  Add("random.bin", random);
  ASSERT_EQ(Pack(), 0);
  const std::vector<Entry> expected{{Hex("mimetype"), kStored, 0},
                                    {Hex("large.html"), kDeflated, 0},
                                    {Hex("large.jpg"), kStored, 0},
                                    {Hex("random.bin"), kStored, 0}};
  EXPECT_EQ(Entries(epub), expected);
  EXPECT_EQ(ContentOf(epub, "large.html"), text);
  EXPECT_EQ(ContentOf(epub, "random.bin"), random);
}

TEST_F(KavEbase, Zip64FromTheFirstCountThatNeedsIt) {
  const int most = 66000;
  for (int i = 1; i < most; ++i) Add("p/" + std::to_string(i), "page");
  int count = most;
  const auto check = [&](bool zip64) {
    SCOPED_TRACE(count);
    ASSERT_EQ(Pack(), 0);
    const std::string script =
        "import sys, zipfile\nprint(len(zipfile.ZipFile(sys.argv[1]).infolist()))";
    EXPECT_EQ(Python(script, epub), std::to_string(count) + "\n");
    Output("unzip -tqq " + Quoted(epub));
    const std::string bytes = ReadFile(epub);
    EXPECT_EQ(bytes.find("PK\6\7", bytes.size() - 42) != std::string::npos, zip64);
  };
  check(true);
  const auto shrinkTo = [&](int target) {
    while (count > target) fs::remove(book + "/p/" + std::to_string(--count));
  };
  shrinkTo(65535);
  check(true);
  shrinkTo(65534);
  check(false);
}

TEST_F(KavEbase, PathsAboveTheSystemsLimit) {
  struct Row {
    const char* name;
    size_t depth;
    bool file;
    int expected;
  };
  const std::vector<Row> rows{{"longer than PATH_MAX", 100, true, 0},
                              {"too long for a container", 700, true, KAV_EBASE_E_READ},
                              {"no file at the end", 700, false, 0}};
  const std::string name(100, 'd');
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    fs::create_directory(scratch / row.name);
    WriteFile(scratch / (std::string(row.name) + "/mimetype"), kMimetype);
    int folder = open((scratch / row.name).c_str(), O_RDONLY | O_DIRECTORY);
    for (size_t level = 0; level < row.depth; ++level) {
      ASSERT_EQ(mkdirat(folder, name.c_str(), 0700), 0);
      const int next = openat(folder, name.c_str(), O_RDONLY | O_DIRECTORY);
      close(folder);
      folder = next;
    }
    if (row.file) close(openat(folder, "file", O_CREAT | O_WRONLY, 0600));
    close(folder);
    fs::remove(epub);
    EXPECT_EQ(Kav_CreateEpubFromDir((scratch / row.name).c_str(), epub.c_str()), row.expected);
    EXPECT_EQ(fs::exists(epub), row.expected == 0);
    if (row.expected == 0) {
      EXPECT_EQ(Entries(epub).size(), row.file ? 2U : 1U);
    }
  }
}

TEST_F(KavEbase, BadBooksAndArguments) {
  WriteFile(scratch / "no-mimetype/page", "x");
  WriteFile(scratch / "mimetype-directory/mimetype/file", "x");
  WriteFile(scratch / "mimetype-link/page", kMimetype);
  fs::create_symlink("page", scratch / "mimetype-link/mimetype");
  WriteFile(epub, "old");
  const std::vector<std::pair<const char*, int>> rows{
      {"missing", KAV_EBASE_E_BOOK_DIR},       {"book/mimetype", KAV_EBASE_E_BOOK_DIR},
      {"no-mimetype", KAV_EBASE_E_BOOK_DIR},   {"mimetype-directory", KAV_EBASE_E_BOOK_DIR},
      {"mimetype-link", KAV_EBASE_E_BOOK_DIR}, {"out", KAV_EBASE_E_BOOK_DIR}};
  for (const auto& [name, expected] : rows) {
    EXPECT_EQ(Kav_CreateEpubFromDir((scratch / name).c_str(), epub.c_str()), expected) << name;
  }
  for (const char* nothing : {static_cast<const char*>(nullptr), ""}) {
    EXPECT_EQ(Kav_CreateEpubFromDir(nothing, epub.c_str()), KAV_EBASE_E_ARGUMENT);
    EXPECT_EQ(Kav_CreateEpubFromDir(book.c_str(), nothing), KAV_EBASE_E_ARGUMENT);
  }
  EXPECT_EQ(ReadFile(epub), "old");
  EXPECT_EQ(NamesIn(scratch / "out"), std::vector<std::string>{"book.epub"});
}

TEST_F(KavEbase, OutputsThatAreNoFilesStayUntouched) {
  fs::create_directory(scratch / "out/directory");
  fs::create_directory_symlink("directory", scratch / "out/directory-link");
  fs::create_symlink("loop", scratch / "out/loop");
  fs::create_symlink("missing/file", scratch / "out/astray");
  WriteFile(scratch / "out/file", "x");
  ASSERT_EQ(mkfifo((scratch / "out/pipe").c_str(), 0600), 0);
  std::vector<std::string> outputs{
      "directory", "directory/", "directory/.", "directory-link", "loop", "astray",
      "pipe",      "file/",      "file/below",  "missing/file",   "new/", std::string(256, 'n')};
  if (mknod((scratch / "out/device").c_str(), S_IFCHR | 0600, makedev(1, 3)) == 0) {
    outputs.emplace_back("device");
  }
  const std::vector<std::string> before = NamesIn(scratch / "out");
  for (const std::string& name : outputs) {
    const std::string path = scratch / ("out/" + name);
    struct stat old {};
    struct stat now {};
    const int oldResult = lstat(path.c_str(), &old);
    EXPECT_EQ(Kav_CreateEpubFromDir(book.c_str(), path.c_str()), KAV_EBASE_E_OUTPUT) << name;
    EXPECT_EQ(lstat(path.c_str(), &now), oldResult) << name;
    EXPECT_EQ(old.st_ino, now.st_ino) << name;
    EXPECT_EQ(old.st_mode, now.st_mode) << name;
  }
  EXPECT_EQ(NamesIn(scratch / "out"), before);
  EXPECT_TRUE(fs::is_empty(scratch / "out/directory"));
}

TEST_F(KavEbase, OutputNamesOfAnyKind) {
  const std::vector<std::string> names{
      std::string(255, 'n'), "a b & 100% 'c' \"d\"\ne.epub", "\xC3\xA4.epub", "\xFF", "-rf", "..."};
  for (const std::string& name : names) {
    EXPECT_EQ(Kav_CreateEpubFromDir(book.c_str(), (scratch / ("out/" + name)).c_str()), 0) << name;
    EXPECT_EQ(Entries(scratch / ("out/" + name)).size(), 1U) << name;
  }
  EXPECT_EQ(NamesIn(scratch / "out").size(), names.size());
  ASSERT_EQ(chdir((scratch / "out").c_str()), 0);
  EXPECT_EQ(Kav_CreateEpubFromDir("../book", "bare-name"), 0);
  EXPECT_EQ(chdir("/"), 0);
  EXPECT_EQ(Entries(scratch / "out/bare-name").size(), 1U);
}

TEST_F(KavEbase, LinksToTheOutputAreFollowed) {
  WriteFile(scratch / "real/old.epub", "old");
  fs::create_symlink("../real/old.epub", scratch / "out/link");
  fs::create_symlink("link", scratch / "out/link-to-link");
  fs::create_symlink(scratch / "real/new.epub", scratch / "out/dangling");
  for (const char* link : {"link-to-link", "dangling"}) {
    EXPECT_EQ(Kav_CreateEpubFromDir(book.c_str(), (scratch / "out" + "/" + link).c_str()), 0)
        << link;
  }
  EXPECT_EQ(Entries(scratch / "real/old.epub").size(), 1U);
  EXPECT_EQ(Entries(scratch / "real/new.epub").size(), 1U);
  EXPECT_EQ(NamesIn(scratch / "real"), (std::vector<std::string>{"new.epub", "old.epub"}));
  for (const auto& entry : fs::directory_iterator(scratch / "out")) {
    EXPECT_TRUE(entry.is_symlink()) << entry.path();
  }
}

TEST_F(KavEbase, PermissionBits) {
  const mode_t before = umask(027);
  EXPECT_EQ(Pack(), 0);
  umask(before);
  EXPECT_EQ(fs::status(epub).permissions(), static_cast<fs::perms>(0640));
  for (const int mode : {0600, 0666, 0444}) {
    fs::permissions(epub, static_cast<fs::perms>(mode));
    EXPECT_EQ(Pack(), 0);
    EXPECT_EQ(fs::status(epub).permissions(), static_cast<fs::perms>(mode));
  }
}

// Lets no file of this process grow beyond a limit; SIGXFSZ is handled as told.
class FileSizeLimit {
 public:
  FileSizeLimit(rlim_t limit, sighandler_t handler) : previous(signal(SIGXFSZ, handler)) {
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit lower{limit, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &lower);
  }
  ~FileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &before);
    static_cast<void>(signal(SIGXFSZ, previous));
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  sighandler_t previous;
  rlimit before{};
};

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

constexpr int kSetUpFailed = 99;
constexpr int kResultBase = 500;  // an exit status has eight bits only

int ShortResult(int result) {
  return result == 0 ? 0 : result - kResultBase;
}

TEST_F(KavEbase, FailedWritingLeavesTheOldFileAndNothingElse) {
  for (int i = 0; i < 300; ++i) Add(std::to_string(i) + ".bin", RandomBytes(4000));
  Add("large.html", RandomBytes(size_t{17} << 20));
  WriteFile(epub, "old");
  // Inside the first entry, between small ones, inside the large one, before the central directory.
  for (const rlim_t limit : {rlim_t{1}, rlim_t{500'000}, rlim_t{5'000'000}, rlim_t{19'050'000}}) {
    SCOPED_TRACE(limit);
    {
      const FileSizeLimit lowered(limit, SIG_IGN);
      EXPECT_EQ(Pack(), KAV_EBASE_E_WRITE);
    }
    EXPECT_EQ(ReadFile(epub), "old");
    EXPECT_EQ(NamesIn(scratch / "out"), std::vector<std::string>{"book.epub"});
    const int denied = InChild([&] {
      if (!DenyUnnamedFiles()) return kSetUpFailed;
      const FileSizeLimit lowered(limit, SIG_IGN);
      return ShortResult(Pack());
    });
    EXPECT_EQ(denied, ShortResult(KAV_EBASE_E_WRITE));
    EXPECT_EQ(ReadFile(epub), "old");
    EXPECT_EQ(NamesIn(scratch / "out"), std::vector<std::string>{"book.epub"});
  }
}

TEST_F(KavEbase, KilledProcessLeavesNothing) {
  Add("large.jpg", RandomBytes(size_t{3} << 20));
  WriteFile(epub, "old");
  const int result = InChild([&] {
    const rlimit noCore{0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    const FileSizeLimit lowered(1'000'000, SIG_DFL);  // the kernel kills it amid its writing
    return Pack();
  });
  EXPECT_EQ(result, -SIGXFSZ);
  EXPECT_EQ(ReadFile(epub), "old");
  EXPECT_EQ(NamesIn(scratch / "out"), std::vector<std::string>{"book.epub"});
}

TEST_F(KavEbase, WithoutUnnamedFiles) {
  Add("page", "x");
  const std::string longName = scratch / ("out/" + std::string(255, 'n'));
  WriteFile(epub, "old");
  fs::permissions(epub, static_cast<fs::perms>(0604));
  const int result = InChild([&] {
    if (!DenyUnnamedFiles()) return kSetUpFailed;
    return Pack() == 0 && Kav_CreateEpubFromDir(book.c_str(), longName.c_str()) == 0 ? 0 : 1;
  });
  EXPECT_EQ(result, 0);
  EXPECT_EQ(Entries(epub).size(), 2U);
  EXPECT_EQ(ReadFile(epub), ReadFile(longName));
  EXPECT_EQ(fs::status(epub).permissions(), static_cast<fs::perms>(0604));
  EXPECT_EQ(NamesIn(scratch / "out").size(), 2U);
}

TEST_F(KavEbase, WhatAnOrdinaryUserMayNot) {
  Add("folder/page", "x");
  struct Row {
    const char* path;
    int mode;
    int expected;
  };
  const std::vector<Row> rows{{"book/folder/page", 0000, KAV_EBASE_E_READ},
                              {"book/folder", 0333, KAV_EBASE_E_READ},
                              {"book/folder", 0444, KAV_EBASE_E_READ},
                              {"book/mimetype", 0000, KAV_EBASE_E_READ},
                              {"book", 0333, KAV_EBASE_E_READ},
                              {"out", 0555, KAV_EBASE_E_OUTPUT},
                              {"book/folder/page", 0444, KAV_EBASE_OK}};
  WriteFile(epub, "old");
  for (const char* path : {"book", "book/folder", "out"}) {
    fs::permissions(scratch / path, fs::perms::all);
  }
  fs::permissions(epub, static_cast<fs::perms>(0666));
  for (const Row& row : rows) {
    SCOPED_TRACE(row.path);
    const fs::perms before = fs::status(scratch / row.path).permissions();
    fs::permissions(scratch / row.path, static_cast<fs::perms>(row.mode));
    const int result =
        InChild([&] { return BecomeOrdinaryUser() ? ShortResult(Pack()) : kSetUpFailed; });
    fs::permissions(scratch / row.path, before);
    EXPECT_EQ(result, ShortResult(row.expected));
    EXPECT_EQ(ReadFile(epub) == "old", row.expected != 0);
    EXPECT_EQ(NamesIn(scratch / "out"), std::vector<std::string>{"book.epub"});
  }
}

TEST_F(KavEbase, LackOfMemory) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "AddressSanitizer ends the process when memory is short";
#endif
  Add("page.html", std::string(size_t{15} << 20, 'x'));
  WriteFile(epub, "old");
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
    return ShortResult(Pack());
  });
  EXPECT_EQ(result, ShortResult(KAV_EBASE_E_MEMORY));
  EXPECT_EQ(ReadFile(epub), "old");
}

}  // namespace
