// Whole-file conversion of plain text: pages, progress, codes, bad input, and what is left behind.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <random>

#include "child_process.h"
#include "convert/epub_management.h"
#include "data_rows.h"
#include "service/epub_service.h"
#include "temp_dir.h"
#include "xml_text.h"

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

using Calls = std::vector<std::pair<int, int>>;

// A host with a directory for its book, whose pages it reads at the last call, when the book has
// been written and the working files are still there.
struct Host {
  explicit Host(const std::string& text = "") { input = dir.Write("in.txt", text); }

  int Convert() {
    fs::create_directory(dir / "work");
    TEpubService* service = CreateEpubService();
    const int code = service->Txt2Epub(input.c_str(), output.c_str(), (dir / "work").c_str(),
                                       "Title", "Author", this, &Host::Progress);
    FreeEpubService(service);
    return code;
  }

  static int Progress(void* user, int done, int total) {
    Host& host = *static_cast<Host*>(user);
    host.calls.emplace_back(done, total);
    if (done == total) host.ReadPages();
    return done == host.answeredCall ? host.answer : 0;
  }

  void ReadPages() {
    const std::string oebps = dir / "work/epub_temp/epub/OEBPS/";
    for (int n = 1; fs::exists(oebps + "page-" + std::to_string(n) + ".html"); ++n) {
      pages.push_back(TextsOf(ReadFile(oebps + "page-" + std::to_string(n) + ".html"), "p"));
    }
    opf = ReadFile(oebps + "content.opf");
  }

  // The text of all pages, joined in their order.
  std::string Text() const {
    std::string text;
    for (const auto& page : pages) {
      for (const std::string& paragraph : page) text += paragraph;
    }
    return text;
  }

  bool IsWorkDirEmpty() const { return fs::is_empty(dir / "work"); }

  TempDir dir;
  std::string input;
  std::string output = dir / "book.epub";
  int answeredCall = -1;
  int answer = 0;
  Calls calls;
  std::vector<std::vector<std::string>> pages;
  std::string opf;
};

TEST(TextConversion, CountsPagesAndReportsEach) {
  for (const auto& row : DataRows("text_pages.txt", 3)) {
    SCOPED_TRACE(row[0]);
    const int pages = std::stoi(row[2]);
    Host host(row[1]);
    EXPECT_EQ(GetPageNumForTXT(host.input.c_str()), pages);
    EXPECT_EQ(host.Convert(), 0);
    Calls expected;
    for (int page = 1; page <= pages + 1; ++page) expected.emplace_back(page, pages + 1);
    EXPECT_EQ(host.calls, expected);
    EXPECT_EQ(host.pages.size(), static_cast<size_t>(std::max(pages, 1)));
    EXPECT_NE(host.opf.find("<dc:title/><dc:creator/>"), std::string::npos) << host.opf;
    EXPECT_TRUE(host.IsWorkDirEmpty());
    EXPECT_EQ(ReadFile(host.output).substr(30, 28), "mimetypeapplication/epub+zip");
  }
  for (const char* none : {"", "/nonexistent", "/tmp", "/dev/full"}) {
    EXPECT_EQ(GetPageNumForTXT(none), 0) << none;
  }
  EXPECT_EQ(GetPageNumForTXT(nullptr), 0);
}

TEST(TextConversion, TheHostCancelsByItsAnswer) {
  for (const auto& [call, answer, calls] :
       {std::tuple{1, -2, 1U}, {2, -2, 2U}, {4, -2, 4U}, {1, -1, 4U}, {3, 2, 4U}}) {
    SCOPED_TRACE(call);
    Host host(Repeated("x\n", 170));
    host.dir.Write("book.epub", "former");
    host.answeredCall = call;
    host.answer = answer;
    EXPECT_EQ(host.Convert(), 0);
    EXPECT_EQ(host.calls.size(), calls);
    EXPECT_EQ(ReadFile(host.output) != "former", calls == 4);
    EXPECT_TRUE(host.IsWorkDirEmpty());
  }
}

int Call(const char* txt, const char* epub, const char* work) {
  TEpubService* service = CreateEpubService();
  const int code = service->Txt2Epub(txt, epub, work, nullptr, nullptr, nullptr, nullptr);
  FreeEpubService(service);
  return code;
}

// Whatever comes in: a code, a book only if it is 0, else a former one untouched; nothing printed
// and no working files left.
void ExpectCode(const std::string& name, int expected, const std::function<int(Host&)>& convert) {
  for (const bool hasFormer : {true, false}) {
    SCOPED_TRACE(name);
    Host host("Hello\n");
    fs::create_directory(host.dir / "work");
    if (hasFormer) host.dir.Write("book.epub", "former");
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    const int code = convert(host);
    EXPECT_EQ(testing::internal::GetCapturedStderr() + testing::internal::GetCapturedStdout(), "");
    if (code == kNotPermitted) {
      std::cout << "not permitted here, not tested: " << name << '\n';
      continue;
    }
    EXPECT_EQ(code, expected);
    EXPECT_TRUE(host.IsWorkDirEmpty());
    const std::string book = ReadFile(host.dir / "book.epub");
    EXPECT_EQ(book.substr(0, 4), expected == 0 ? "PK\3\4" : hasFormer ? "form" : "");
    EXPECT_EQ(fs::exists(host.dir / "book.epub"), expected == 0 || hasFormer);
  }
}

TEST(TextConversion, AnyPathGivesACode) {
  for (const auto& row : DataRows("text_paths.txt", 4)) {
    ExpectCode(row[0] + " " + row[1] + " " + row[2], std::stoi(row[3]), [&](Host& h) {
      mkfifo((h.dir / "fifo").c_str(), 0600);
      std::array<std::string, 3> paths;
      std::array<const char*, 3> arguments{};
      for (size_t i = 0; i < 3; ++i) {
        paths[i] = row[i].empty() ? "" : h.dir / row[i];
        arguments[i] = row[i] == "null" ? nullptr : paths[i].c_str();
      }
      return Call(arguments[0], arguments[1], arguments[2]);
    });
  }
}

TEST(TextConversion, AnyTextGivesACode) {
  for (const auto& row : DataRows("text_codes.txt", 3)) {
    ExpectCode(row[0], std::stoi(row[2]),
               [&](Host& h) { return h.dir.Write("in.txt", row[1]), h.Convert(); });
  }
}

TEST(TextConversion, AnyLackOfRightsOrRoomGivesACode) {
  ExpectCode("unreadable text", 404, [](Host& h) {
    chmod(h.dir.String().c_str(), 0755);
    chmod(h.input.c_str(), 0600);
    return AsNobody(h.dir / "work", [&] { return h.Convert(); });
  });
  ExpectCode("no rights in the work directory", 413,
             [](Host& h) { return AsNobody(h.dir.String(), [&] { return h.Convert(); }); });
  ExpectCode("full disk for the book", 505, [](Host& h) {
    h.dir.Write("in.txt", RandomBytes(200'000));
    return OnSmallDisk(h.dir / "disk", "size=64k", [&h] {
      h.output = h.dir.Write("disk/book.epub", "former");
      const int code = h.Convert();
      const auto left = std::distance(fs::directory_iterator(h.dir / "disk"), {});
      return ReadFile(h.output) == "former" && left == 1 ? code : -1;
    });
  });
  for (const auto& [disk, expected] : {std::pair{"size=64k", 413},
                                       {"nr_inodes=7", 404},
                                       {"nr_inodes=9", 406},
                                       {"nr_inodes=3", 413}}) {
    ExpectCode(disk, expected, [disk = disk](Host& h) {
      h.dir.Write("in.txt", RandomBytes(200'000));
      return OnSmallDisk(h.dir / "work", disk, [&h] {
        const int code = h.Convert();
        return h.IsWorkDirEmpty() ? code : -1;
      });
    });
  }
}

TEST(TextConversion, TheManagerChecksInItsOwnOrder) {
  const TempDir dir;
  const std::string text = dir.Write("in.txt", "x");
  const std::string stale = dir.Write("work/process_tmp/stale", "");
  EpubManagement management;
  EXPECT_EQ(management.Init((dir / "work").c_str(), "T", "A"), 0);
  EXPECT_FALSE(fs::exists(dir / "work/process_tmp"));
  EXPECT_EQ(management.TXT2Epub("", "/no/x", nullptr, nullptr), 411);
  EXPECT_EQ(management.TXT2Epub("x", (dir / "no/x").c_str(), nullptr, nullptr), 412);
  EXPECT_TRUE(fs::is_empty(dir / "work"));
  EXPECT_EQ(management.TXT2Epub("/no", (dir / "x").c_str(), nullptr, nullptr), 404);
  EXPECT_TRUE(fs::exists(dir / "work/epub_temp"));
  EXPECT_EQ(management.ClearData(), 0);
  EXPECT_TRUE(fs::is_empty(dir / "work"));
  // Cancelled, failed or written: nothing stays behind, whoever clears up afterwards.
  const std::string nul = dir.Write("nul.txt", std::string(1, '\0'));
  const auto cancel = [](void*, int, int) { return -2; };
  for (const auto& [path, progress, code] : {std::tuple{text.c_str(), ProgressCallback{cancel}, 0},
                                             {nul.c_str(), ProgressCallback{}, 407},
                                             {text.c_str(), ProgressCallback{}, 0}}) {
    EpubManagement each;
    each.Init((dir / "work").c_str(), "", "");
    EXPECT_EQ(each.TXT2Epub(path, (dir / "x").c_str(), nullptr, progress), code);
    EXPECT_TRUE(fs::is_empty(dir / "work"));
  }
  EpubManagement missing;
  EXPECT_EQ(missing.Init((dir / "no").c_str(), nullptr, nullptr), 0);
  EXPECT_EQ(missing.TXT2Epub(text.c_str(), (dir / "x").c_str(), nullptr, nullptr), 402);
}

// What the text of all pages is to be: blanks for what is listed, without what XML forbids.
std::string Shown(const std::string& text) {
  std::string shown;
  for (const char c : text) {
    if (c == '\n' || c == '\f' || c == '\x18') {
      shown += ' ';
    } else if (static_cast<unsigned char>(c) >= ' ' || c == '\t' || c == '\r') {
      shown += c;
    }
  }
  return shown;
}

void ExpectWholeText(const std::string& text, size_t minPages) {
  Host host(text);
  ASSERT_EQ(host.Convert(), 0);
  ASSERT_GE(host.pages.size(), minPages);
  // Not EXPECT_EQ, which takes long to print how texts of this size differ.
  EXPECT_TRUE(host.Text() == Shown(text));
}

// Chunks and pages end inside characters of every length at every offset, with and without
// paragraphs that begin there.
TEST(TextConversion, TearsNoCharacter) {
  for (const char* character : {"é", "漢", "😀"}) {
    for (size_t offset = 0; offset < 4; ++offset) {
      SCOPED_TRACE(character + std::to_string(offset));
      const std::string start(offset, 'a');
      ExpectWholeText(start + Repeated(character, 25'000), 3);
      // Each chunk has a wide gap, so each begins a paragraph.
      ExpectWholeText(start + Repeated(Repeated(character, 45) + "    " + character, 500), 3);
      // Lines of two chunks, the first one indented.
      std::string indented = start;
      for (size_t line = 0; line < 200; ++line) {
        indented += "  " + Repeated(character, 160 + line % 7) + "\n";
      }
      ExpectWholeText(indented, 3);
    }
  }
}

TEST(TextConversion, KeepsRandomTextWhole) {
  const auto pieces = DataRows("text_pieces.txt", 1);
  for (unsigned seed = 0; seed < 6; ++seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    std::string text;
    // Fewer and fewer line feeds.
    while (text.size() < 60'000) {
      const std::string& piece = pieces[random() % pieces.size()][0];
      if (piece != "\n" || random() % (seed * 20 + 1) == 0) text += piece;
    }
    ExpectWholeText(text, 2);
  }
}

TEST(TextConversion, ShowsACutCharacterOnce) {
  const std::string text = "aé漢😀";
  const std::pair<size_t, const char*> cuts[] = {{2, "a\uFFFD"},    {4, "aé\uFFFD"},
                                                 {5, "aé\uFFFD"},   {7, "aé漢\uFFFD"},
                                                 {8, "aé漢\uFFFD"}, {9, "aé漢\uFFFD"}};
  for (const auto& [length, shown] : cuts) {
    for (const char* before : {"", "  indented\n"}) {
      Host host(before + text.substr(0, length));
      EXPECT_EQ(host.Convert(), 0);
      EXPECT_EQ(host.Text(), Shown(before) + shown) << length;
    }
  }
}

}  // namespace
