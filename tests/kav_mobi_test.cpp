// The MOBI reader: real books of every kind, markup in and markup out, and damaged files.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <ctime>
#include <random>
#include <thread>

#include "data_rows.h"
#include "platform/kav_mobi/kav_mobi.h"
#include "temp_dir.h"
#include "xml_text.h"

namespace {

namespace fs = std::filesystem;
using Strings = std::vector<std::string>;

const fs::path kFixtures = fs::path(KAV_TEST_DATA) / "fixtures" / "mobi";

// A reader in a directory of its own, as a host uses it.
class Reader {
 public:
  Reader() : service(CreateMobiService()) {}
  ~Reader() { FreeMobiService(service); }
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  int Open(const fs::path& path) { return service->Open(service->handle, path.c_str()); }
  int OpenBytes(const std::string& bytes) {
    const fs::path book = directory.Write("book.mobi", bytes);
    const int result = Open(book);
    fs::remove(book);
    return result;
  }
  int Extract() { return Extract(Html()); }
  int Extract(const fs::path& path) { return service->ExtractHtml(service->handle, path.c_str()); }
  void Close() { service->Close(service->handle); }
  std::string Title() { return Taken(service->GetTitle(service->handle)); }
  std::string Author() { return Taken(service->GetAuthor(service->handle)); }
  std::string Cover() { return Taken(service->GetCoverImage(service->handle)); }
  fs::path Directory() const { return directory.String(); }
  fs::path Html() const { return Directory() / "tmp.html"; }
  std::string Markup() const { return ReadFile(Html()); }

 private:
  static std::string Taken(char* text) {
    std::string copy = text == nullptr ? "(null)" : text;
    free(text);
    return copy;
  }

  TempDir directory;
  TMobiService* service;
};

XmlDoc ParseHtml(const fs::path& path) {
  return XmlDoc(htmlReadFile(path.c_str(), "UTF-8", HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING));
}

std::string VisibleText(const XmlDoc& page) {
  return XPathTexts(page, "normalize-space(//body)")[0];
}

std::string TypeOf(const std::string& bytes) {
  if (bytes.starts_with("\xFF\xD8\xFF")) return ".jpg";
  if (bytes.starts_with("\x89PNG")) return ".png";
  return bytes.starts_with("GIF8") ? ".gif" : "(unknown)";
}

// What holds for the page of any book: references lead somewhere, and only to what was extracted.
void ExpectSound(Reader& reader, const XmlDoc& page) {
  const Strings pictures = XPathTexts(page, "//img/@src");
  std::set<std::string> shown(pictures.begin(), pictures.end());
  if (reader.Cover() != "(null)") shown.insert(reader.Cover());
  std::set<std::string> files = FilesBelow(reader.Directory());
  EXPECT_EQ(files.erase("tmp.html"), 1U);
  EXPECT_EQ(shown, files);
  for (const std::string& file : files) {
    EXPECT_EQ(TypeOf(ReadFile(reader.Directory() / file)), fs::path(file).extension());
  }
  const Strings ids = XPathTexts(page, "//@id");
  for (const std::string& link : XPathTexts(page, "//a/@href")) {
    if (link.starts_with('#')) {
      EXPECT_EQ(std::count(ids.begin(), ids.end(), link.substr(1)), 1) << link;
    } else {
      EXPECT_TRUE(link.starts_with("http://")) << link;
    }
  }
  EXPECT_TRUE(reader.Markup().ends_with("</html>\n"));
}

TEST(KavMobi, ReadsBooksOfEveryKind) {
  for (const auto& row : DataRows("mobi_books.txt", 6)) {
    SCOPED_TRACE(row[0]);
    Reader reader;
    ASSERT_EQ(reader.Open(kFixtures / row[0]), KAV_MOBI_OK);
    ASSERT_EQ(reader.Extract(), KAV_MOBI_OK);
    EXPECT_EQ(reader.Title(), row[1]);
    EXPECT_EQ(reader.Author(), row[2]);
    EXPECT_EQ(reader.Cover(), row[3]);
    const XmlDoc page = ParseHtml(reader.Html());
    ExpectSound(reader, page);
    EXPECT_EQ(XPathTexts(page, "//img/@src"), Split(row[4], ' '));
    const std::string text = VisibleText(page);
    size_t at = 0;
    for (const std::string& piece : Split(row[5], '|')) {
      at = text.find(piece, at);
      ASSERT_NE(at, std::string::npos) << "missing, or out of order: " << piece;
      at += piece.size();
    }
    for (const char* never : {"not visible", "gamma gamma"}) {
      EXPECT_EQ(text.find(never), std::string::npos);
    }
  }
}

TEST(KavMobi, PrefersTheNewFormatInFilesOfBoth) {
  Reader reader;
  ASSERT_EQ(reader.Open(kFixtures / "both.mobi"), KAV_MOBI_OK);
  ASSERT_EQ(reader.Extract(), KAV_MOBI_OK);
  // Only the new format keeps the classes of elements.
  EXPECT_NE(reader.Markup().find("class="), std::string::npos);
}

void Put(std::string& bytes, size_t at, size_t value, size_t size) {
  for (size_t i = 0; i < size; ++i) {
    bytes[at + i] = static_cast<char>(value >> (8 * (size - 1 - i)));
  }
}

// A PalmDOC file of this text, which is read as markup when it begins like HTML.
std::string PalmBook(const std::string& text) {
  constexpr size_t kRecordSize = 4096;
  const size_t records = (text.size() + kRecordSize - 1) / kRecordSize;
  std::string file(78 + 8 * (records + 1) + 2, '\0');
  file.replace(0, 4, "Book").replace(60, 8, "TEXtREAd");
  Put(file, 76, records + 1, 2);
  const size_t first = file.size();
  std::string header(16, '\0');
  Put(header, 0, 1, 2);
  Put(header, 4, text.size(), 4);
  Put(header, 8, records, 2);
  Put(header, 10, kRecordSize, 2);
  Put(file, 78, first, 4);
  for (size_t i = 0; i < records; ++i) {
    Put(file, 86 + 8 * i, first + header.size() + i * kRecordSize, 4);
  }
  return file + header + text;
}

// What stands in the body of the page made of this markup; a code when it could not be made.
std::string BodyOfBook(const std::string& markup) {
  Reader reader;
  int result = reader.OpenBytes(PalmBook("<html>" + markup));
  if (result == KAV_MOBI_OK) result = reader.Extract();
  const std::string body = BodyOf(reader.Markup());
  return result != KAV_MOBI_OK ? std::to_string(result) : body.substr(1, body.size() - 2);
}

TEST(KavMobi, MakesOfMarkup) {
  for (const auto& row : DataRows("mobi_markup.txt", 3)) {
    EXPECT_EQ(BodyOfBook(row[1]), row[2]) << row[0];
  }
}

// Each row is a test of its own: they take long under sanitizers.
class PathologicalMarkup : public testing::TestWithParam<size_t> {};

TEST_P(PathologicalMarkup, TakesLinearTime) {
  const auto row = DataRow("mobi_pathological.txt", 2, GetParam());
  const std::clock_t begin = std::clock();  // of this process, so that others do not matter
  EXPECT_GT(BodyOfBook(row[1]).size(), 3U) << row[0];
  EXPECT_LT(std::clock() - begin, 20 * CLOCKS_PER_SEC) << row[0];
}

INSTANTIATE_TEST_SUITE_P(Rows, PathologicalMarkup,
                         testing::Range<size_t>(0, CountOfRows("mobi_pathological.txt", 2)));

TEST(KavMobi, NestsNoDeeperThanAParserFollows) {
  Reader reader;
  ASSERT_EQ(
      reader.OpenBytes(PalmBook("<html>" + Repeated("<div><b><ul><li>", 20000) + "The very end.")),
      KAV_MOBI_OK);
  ASSERT_EQ(reader.Extract(), KAV_MOBI_OK);
  EXPECT_EQ(VisibleText(ParseHtml(reader.Html())), "The very end.");
}

// A fixture after what a row says is done to it.
std::string DamagedBook(const std::string& fixture, const std::string& damage) {
  std::string bytes = ReadFile(kFixtures / fixture);
  std::istringstream words(damage);
  std::string operation;
  size_t offset = 0;
  size_t value = 0;
  size_t size = 0;
  words >> operation >> offset >> value >> size;
  if (operation == "cut") return bytes.substr(0, offset);
  if (operation == "place") return Put(bytes, 78 + 8 * offset, value, 4), bytes;
  size_t firstRecord = 0;
  for (size_t i = 78; i < 82; ++i) {
    firstRecord = firstRecord << 8 | static_cast<unsigned char>(bytes[i]);
  }
  Put(bytes, firstRecord + offset, value, size);
  return bytes;
}

TEST(KavMobi, FollowsNoLinkOfTheNewFormatBehindTheEnd) {
  constexpr const char* kDigits = "03AV";  // the end of a link's offset, as the text is packed
  std::string bytes = ReadFile(kFixtures / "new.mobi");
  const size_t at = bytes.find(kDigits);
  for (const char* digits : {kDigits, "VVVV"}) {
    Reader reader;
    ASSERT_EQ(reader.OpenBytes(bytes.replace(at, 4, digits)), KAV_MOBI_OK);
    ASSERT_EQ(reader.Extract(), KAV_MOBI_OK);
    const Strings links =
        XPathTexts(ParseHtml(reader.Html()), "//a[starts-with(., 'another')]/@href");
    EXPECT_EQ(links.size(), digits == kDigits ? 4U : 3U);
  }
}

// While it lives, the process gets no more than so much memory, unless a sanitizer takes it.
class LittleMemory {
 public:
  explicit LittleMemory([[maybe_unused]] rlim_t most) {
    getrlimit(RLIMIT_AS, &before);
#ifndef KAV_SANITIZED
    rlim_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    const rlimit limit = {pages * static_cast<rlim_t>(getpagesize()) + most, before.rlim_max};
    setrlimit(RLIMIT_AS, &limit);
#endif
  }
  ~LittleMemory() {
    setrlimit(RLIMIT_AS, &before);
  }
  LittleMemory(const LittleMemory&) = delete;
  LittleMemory& operator=(const LittleMemory&) = delete;

 private:
  rlimit before{};
};

TEST(KavMobi, ReportsWhatIsNoSoundBook) {
  const LittleMemory memory(rlim_t{64} << 20);
  for (const auto& row : DataRows("mobi_codes.txt", 4)) {
    SCOPED_TRACE(row[0]);
    Reader reader;
    EXPECT_EQ(reader.OpenBytes(row[1] == "text" ? row[2] : DamagedBook(row[1], row[2])),
              std::stoi(row[3]));
    EXPECT_EQ(reader.Extract(), KAV_MOBI_E_OPEN);
    EXPECT_EQ(reader.Title() + reader.Author() + reader.Cover(), "(null)(null)(null)");
  }
  Reader reader;
  for (const char* none : {"", "/tmp", "missing.mobi", "/dev/null"}) {
    EXPECT_EQ(reader.Open(none), KAV_MOBI_E_OPEN) << none;
  }
}

TEST(KavMobi, ReplacesTheBookBefore) {
  Reader reader;
  ASSERT_EQ(reader.Open(kFixtures / "cp1252.mobi"), KAV_MOBI_OK);
  ASSERT_EQ(reader.Extract(), KAV_MOBI_OK);
  ASSERT_EQ(reader.Open(kFixtures / "huffman.mobi"), KAV_MOBI_OK);
  EXPECT_EQ(reader.Title(), "The Packed Book");
  EXPECT_EQ(reader.Cover(), "(null)");
  reader.Close();
  reader.Close();
  EXPECT_EQ(reader.Extract(), KAV_MOBI_E_OPEN);
}

TEST(KavMobi, ReportsWhatCannotBeWritten) {
  Reader reader;
  ASSERT_EQ(reader.Open(kFixtures / "cp1252.mobi"), KAV_MOBI_OK);
  const fs::path aside = reader.Directory() / "aside";
  fs::create_directories(aside / "directory");
  fs::create_symlink("/dev/full", aside / "full.html");
  const fs::path nowhere = aside / "none" / "tmp.html";
  for (const fs::path& path : {fs::path(), nowhere, aside / "directory", aside / "full.html"}) {
    EXPECT_EQ(reader.Extract(path), KAV_MOBI_E_WRITE) << path;
  }
  fs::create_directory(reader.Directory() / "picture-2.gif");
  EXPECT_EQ(reader.Extract(), KAV_MOBI_E_WRITE);
}

TEST(KavMobi, TakesNullForAnything) {
  FreeMobiService(nullptr);
  TMobiService* service = CreateMobiService();
  ASSERT_NE(service, nullptr);
  EXPECT_EQ(service->Open(nullptr, "x"), KAV_MOBI_E_OPEN);
  EXPECT_EQ(service->Open(service->handle, nullptr), KAV_MOBI_E_OPEN);
  EXPECT_EQ(service->ExtractHtml(nullptr, "x"), KAV_MOBI_E_OPEN);
  ASSERT_EQ(service->Open(service->handle, (kFixtures / "huffman.mobi").c_str()), KAV_MOBI_OK);
  EXPECT_EQ(service->ExtractHtml(service->handle, nullptr), KAV_MOBI_E_WRITE);
  EXPECT_EQ(service->GetTitle(nullptr), nullptr);
  EXPECT_EQ(service->GetAuthor(nullptr), nullptr);
  EXPECT_EQ(service->GetCoverImage(nullptr), nullptr);
  service->Close(nullptr);
  FreeMobiService(service);
}

TEST(KavMobi, ReadsOnSeveralThreads) {
  std::vector<std::thread> threads;
  Strings pages(4);
  for (std::string& page : pages) {
    threads.emplace_back([&page] {
      Reader reader;
      if (reader.Open(kFixtures / "both.mobi") != KAV_MOBI_OK) return;
      if (reader.Extract() == KAV_MOBI_OK) page = reader.Markup();
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_FALSE(pages[0].empty());
  EXPECT_EQ(std::count(pages.begin(), pages.end(), pages[0]), 4);
}

// Broken tables must mean the same to the check of the code and to libmobi behind it, or the bomb
// goes off: this test would not end.
TEST(HuffmanBomb, StaysHarmlessWhenDamaged) {
  const std::string bomb = ReadFile(kFixtures / "bomb.mobi");
  Reader reader;
  std::mt19937 random(20261);
  for (size_t i = 0; i < 2000; ++i) {
    std::string flipped = bomb;
    for (size_t flips = 1 + random() % 12; flips > 0; --flips) {
      flipped[random() % bomb.size()] = static_cast<char>(random());
    }
    reader.OpenBytes(flipped);
  }
}

}  // namespace
