// The MOBI reader: real books of every kind, markup in and markup out, and damaged files.
#include <gtest/gtest.h>
#include <libxml/HTMLparser.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "platform/kav_mobi/kav_mobi.h"
#include "temp_dir.h"

namespace {

namespace fs = std::filesystem;

const fs::path kFixtures = fs::path(KAV_TEST_DATA) / "fixtures" / "mobi";
const std::vector<std::string> kFixtureNames = {"old.mobi",     "new.mobi",        "both.mobi",
                                                "book.azw3",    "drawing.azw3",    "cp1252.mobi",
                                                "huffman.mobi", "dictionary.mobi", "plain.pdb"};

void WriteFile(const fs::path& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

// The name of a test whose parameter has one.
template <typename Case>
std::string NameOf(const testing::TestParamInfo<Case>& test) {
  return test.param.name;
}

std::string FixtureName(const testing::TestParamInfo<std::string>& test) {
  std::string name = test.param;
  std::replace(name.begin(), name.end(), '.', '_');
  return name;
}

// A reader in a directory of its own, as a host uses it.
class Reader {
 public:
  Reader() : service(CreateMobiService()) {}
  ~Reader() { FreeMobiService(service); }
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  int Open(const fs::path& path) { return service->Open(service->handle, path.c_str()); }
  int Extract() { return Extract(Html()); }
  int Extract(const fs::path& path) { return service->ExtractHtml(service->handle, path.c_str()); }
  void Close() { service->Close(service->handle); }
  std::string Title() { return Taken(service->GetTitle(service->handle)); }
  std::string Author() { return Taken(service->GetAuthor(service->handle)); }
  std::string Cover() { return Taken(service->GetCoverImage(service->handle)); }
  fs::path Directory() const { return directory.String(); }
  fs::path Html() const { return Directory() / "tmp.html"; }

 private:
  static std::string Taken(char* text) {
    std::string copy = text == nullptr ? "(null)" : text;
    free(text);
    return copy;
  }

  TempDir directory;
  TMobiService* service;
};

// A parsed HTML file.
class Page {
 public:
  explicit Page(const fs::path& path)
      : doc(htmlReadFile(path.c_str(), "UTF-8", HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING)) {
    if (doc != nullptr) Walk(xmlDocGetRootElement(doc), false);
  }
  ~Page() { xmlFreeDoc(doc); }
  Page(const Page&) = delete;
  Page& operator=(const Page&) = delete;

  struct Link {
    std::string text;
    std::string href;
  };
  const std::vector<Link>& Links() const { return links; }
  const std::vector<std::string>& Pictures() const { return pictures; }
  const std::string& Text() const { return text; }
  // The visible text nodes, blanks made one space.
  const std::vector<std::string>& Pieces() const { return pieces; }
  // The visible text after the element with that id; "(none)" unless exactly one has it.
  std::string TextAt(const std::string& id) const {
    return ids.count(id) == 1 ? text.substr(ids.find(id)->second) : "(none)";
  }

 private:
  static std::string Attribute(xmlNode* node, const char* name) {
    xmlChar* value = xmlGetProp(node, reinterpret_cast<const xmlChar*>(name));
    std::string copy = value == nullptr ? "" : reinterpret_cast<const char*>(value);
    xmlFree(value);
    return copy;
  }

  void AddText(const std::string& raw) {
    std::string piece;
    for (size_t i = 0; i < raw.size(); ++i) {
      const bool isNbsp = raw.compare(i, 2, "\xC2\xA0") == 0;
      if (isNbsp) ++i;
      const bool isBlank = isNbsp || isspace(static_cast<unsigned char>(raw[i])) != 0;
      if (!isBlank) piece += raw[i];
      if (isBlank && !piece.empty() && piece.back() != ' ') piece += ' ';
    }
    if (!piece.empty() && piece.back() == ' ') piece.pop_back();
    if (piece.empty()) return;
    pieces.push_back(piece);
    if (!text.empty()) text += ' ';
    text += piece;
  }

  void Walk(xmlNode* node, bool inBody) {
    for (; node != nullptr; node = node->next) {
      const std::string name =
          node->name == nullptr ? "" : reinterpret_cast<const char*>(node->name);
      if (node->type == XML_TEXT_NODE && inBody) {
        AddText(reinterpret_cast<const char*>(node->content));
        continue;
      }
      if (node->type != XML_ELEMENT_NODE) continue;
      if (const std::string id = Attribute(node, "id"); !id.empty()) {
        ids.emplace(id, text.empty() ? 0 : text.size() + 1);
      }
      if (name == "img") pictures.push_back(Attribute(node, "src"));
      const size_t before = text.size();
      Walk(node->children, inBody || name == "body");
      if (name == "a") {
        const size_t begin = std::min(before == 0 ? 0 : before + 1, text.size());
        links.push_back({text.substr(begin), Attribute(node, "href")});
      }
    }
  }

  htmlDocPtr doc;
  std::vector<Link> links;
  std::vector<std::string> pictures;
  std::vector<std::string> pieces;
  std::multimap<std::string, size_t> ids;
  std::string text;
};

std::string TypeOf(const std::string& bytes) {
  if (bytes.starts_with("\xFF\xD8\xFF")) return ".jpg";
  if (bytes.starts_with("\x89PNG")) return ".png";
  return bytes.starts_with("GIF8") ? ".gif" : "(unknown)";
}

// What holds for the page of any book: references lead somewhere, and only to what was extracted.
void ExpectSound(const Reader& reader, const Page& page, const std::string& cover) {
  std::set<std::string> shown(page.Pictures().begin(), page.Pictures().end());
  if (cover != "(null)") shown.insert(cover);
  std::set<std::string> files;
  for (const auto& entry : fs::directory_iterator(reader.Directory())) {
    if (entry.path() != reader.Html()) files.insert(entry.path().filename());
  }
  EXPECT_EQ(shown, files);
  for (const std::string& file : files) {
    EXPECT_EQ(TypeOf(ReadFile(reader.Directory() / file)), fs::path(file).extension());
  }
  for (const Page::Link& link : page.Links()) {
    if (link.href.starts_with('#')) {
      EXPECT_NE(page.TextAt(link.href.substr(1)), "(none)") << link.text;
    } else {
      EXPECT_TRUE(link.href.starts_with("http://")) << link.href;
    }
  }
}

void ExpectInOrder(const std::vector<std::string>& pieces, const std::string& text) {
  size_t at = 0;
  for (const std::string& piece : pieces) {
    const size_t found = text.find(piece, at);
    ASSERT_NE(found, std::string::npos) << "missing, or out of order: " << piece;
    at = found + piece.size();
  }
}

// --- Books that calibre made ---

struct CalibreBook {
  const char* file;
  const char* source;
  const char* title;
  bool hasCover;
  size_t links;     // at least so many inside the book
  size_t pictures;  // so many on the page
};

class CalibreBooks : public testing::TestWithParam<CalibreBook> {};

TEST_P(CalibreBooks, ComeOutWhole) {
  const CalibreBook& book = GetParam();
  Reader reader;
  ASSERT_EQ(reader.Open(kFixtures / book.file), KAV_MOBI_OK);
  ASSERT_EQ(reader.Extract(), KAV_MOBI_OK);
  EXPECT_EQ(reader.Title(), book.title);
  EXPECT_EQ(reader.Author(), "Ada Example & Bo Muster");
  const Page page(reader.Html());
  ExpectSound(reader, page, reader.Cover());
  ExpectInOrder(Page(kFixtures / "source" / book.source).Pieces(), page.Text());
  const auto inner = std::count_if(page.Links().begin(), page.Links().end(),
                                   [](const Page::Link& l) { return l.href.starts_with('#'); });
  EXPECT_GE(static_cast<size_t>(inner), book.links);
  EXPECT_EQ(page.Pictures().size(), book.pictures);
  EXPECT_EQ(reader.Cover() != "(null)", book.hasCover);
  if (book.hasCover) {
    EXPECT_EQ(ReadFile(reader.Directory() / reader.Cover()),
              ReadFile(kFixtures / "source" / "cover.jpg"));
  }
}

const CalibreBook kCalibreBooks[] = {
    {"old.mobi", "book.html", "The Harbour & the Hill", true, 25, 4},
    {"new.mobi", "book.html", "The Harbour & the Hill", true, 25, 4},
    {"both.mobi", "book.html", "The Harbour & the Hill", true, 25, 4},
    {"book.azw3", "book.html", "The Harbour & the Hill", true, 18, 4},
    {"drawing.azw3", "drawing.html", "A Book of Drawings", false, 0, 1},
};
INSTANTIATE_TEST_SUITE_P(Kinds, CalibreBooks, testing::ValuesIn(kCalibreBooks));

struct LinkCase {
  const char* link;
  const char* target;
};
const LinkCase kLinks[] = {
    {"Go to chapter Two: Tables and Lists", "Two: Tables and Lists Anna measured"},
    {"Go to chapter Four: الميناء والتل", "Four: الميناء والتل كان الميناء"},
    {"the table of prices", "Ware Price Rope of hemp"},
    {"the last step", "Report to the master."},
    {"1", "[1] So the parish register says."},
    {"Back to the first mark", "The master lived to be ninety"},
    {"Back to the second mark", "Nobody knows where he was born"},
    {"the contents", "Contents of this book Go to chapter"},
};

class LinksOfBooks : public testing::TestWithParam<const char*> {};

TEST_P(LinksOfBooks, LeadToTheirTargets) {
  Reader reader;
  ASSERT_EQ(reader.Open(kFixtures / GetParam()), KAV_MOBI_OK);
  ASSERT_EQ(reader.Extract(), KAV_MOBI_OK);
  const Page page(reader.Html());
  for (const LinkCase& expected : kLinks) {
    const auto link = std::find_if(page.Links().begin(), page.Links().end(),
                                   [&](const Page::Link& l) { return l.text == expected.link; });
    ASSERT_NE(link, page.Links().end()) << expected.link;
    const std::string target = page.TextAt(link->href.substr(1)).substr(0, 200);
    EXPECT_TRUE(target.starts_with(expected.target)) << expected.link << " leads to " << target;
  }
}
INSTANTIATE_TEST_SUITE_P(Kinds, LinksOfBooks,
                         testing::Values("old.mobi", "new.mobi", "both.mobi", "book.azw3"));

TEST(NewFormat, IsPreferredInFilesOfBoth) {
  Reader reader;
  ASSERT_EQ(reader.Open(kFixtures / "both.mobi"), KAV_MOBI_OK);
  ASSERT_EQ(reader.Extract(), KAV_MOBI_OK);
  // Only the new format keeps the classes of elements.
  EXPECT_NE(ReadFile(reader.Html()).find("class="), std::string::npos);
}

// --- Books of other kinds ---

struct OddBook {
  const char* file;
  const char* title;
  const char* author;
  const char* cover;
  std::vector<std::string> text;
  std::vector<std::string> pictures;
};

class OddBooks : public testing::TestWithParam<OddBook> {};

TEST_P(OddBooks, ComeOutWhole) {
  const OddBook& book = GetParam();
  Reader reader;
  ASSERT_EQ(reader.Open(kFixtures / book.file), KAV_MOBI_OK);
  ASSERT_EQ(reader.Extract(), KAV_MOBI_OK);
  EXPECT_EQ(reader.Title(), book.title);
  EXPECT_EQ(reader.Author(), book.author);
  EXPECT_EQ(reader.Cover(), book.cover);
  const Page page(reader.Html());
  ExpectSound(reader, page, reader.Cover());
  ExpectInOrder(book.text, page.Text());
  EXPECT_EQ(page.Pictures(), book.pictures);
  EXPECT_EQ(page.Text().find("not visible"), std::string::npos);
}

const OddBook kOddBooks[] = {
    {"cp1252.mobi",
     "Grüße aus dem Café",
     "Zoë Müller & O. B. & Co",
     "picture-3.jpg",
     {"Café – “Grüße”", "5 €, naïve, Œuvre, “quoted by number”, café, AT&T, 3 < 4.",
      "A link among list items", "Second item", "with a place inside", "nowhere", ", a file,",
      "Three pictures:", "A film.", "The target is the", "word here.", "loose text in a row"},
     {"picture-1.png", "picture-2.gif", "picture-3.jpg"}},
    {"huffman.mobi",
     "The Packed Book",
     "Ada Example",
     "(null)",
     {"Sentence number 1 of the packed book, the same as the others but for its number – 919.",
      "Sentence number 120 of the packed book, the same as the others but for its number – 280."},
     {}},
    {"dictionary.mobi",
     "Letters",
     "Ada Example",
     "(null)",
     {"alpha The first letter", "βήτα The second letter,", "gamma The third letter", "R&D Research",
      "omega The last letter"},
     {}},
    {"plain.pdb",
     "A Plain Café",
     "",
     "(null)",
     {"A text without markup.", "Its “quotes” are of code page 1252 – all of them.",
      "1 < 2 & 2 > 1 stays as it is."},
     {}},
};
INSTANTIATE_TEST_SUITE_P(Kinds, OddBooks, testing::ValuesIn(kOddBooks));

TEST(Dictionary, ShowsAHeadwordOnce) {
  Reader reader;
  ASSERT_EQ(reader.Open(kFixtures / "dictionary.mobi"), KAV_MOBI_OK);
  ASSERT_EQ(reader.Extract(), KAV_MOBI_OK);
  EXPECT_EQ(Page(reader.Html()).Text().find("gamma gamma"), std::string::npos);
}

// --- Markup in, markup out ---

void Put(std::string& bytes, size_t at, uint32_t value, size_t size) {
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
  Put(file, 76, static_cast<uint32_t>(records + 1), 2);
  const size_t first = file.size();
  std::string header(16, '\0');
  Put(header, 0, 1, 2);
  Put(header, 4, static_cast<uint32_t>(text.size()), 4);
  Put(header, 8, static_cast<uint32_t>(records), 2);
  Put(header, 10, kRecordSize, 2);
  Put(file, 78, static_cast<uint32_t>(first), 4);
  for (size_t i = 0; i < records; ++i) {
    Put(file, 86 + 8 * i, static_cast<uint32_t>(first + header.size() + i * kRecordSize), 4);
  }
  return file + header + text;
}

// What stands in the body of the page made of this markup; a code when it could not be made.
std::string BodyOf(const std::string& markup) {
  Reader reader;
  const fs::path book = reader.Directory() / "book.pdb";
  WriteFile(book, PalmBook("<html>" + markup));
  int result = reader.Open(book);
  if (result == KAV_MOBI_OK) result = reader.Extract();
  if (result != KAV_MOBI_OK) return std::to_string(result);
  const std::string page = ReadFile(reader.Html());
  const std::string before = "<body>\n";
  const size_t begin = page.find(before) + before.size();
  return page.substr(begin, page.rfind("\n</body>") - begin);
}

struct MarkupCase {
  const char* name;
  std::string in;
  std::string out;
};

class MarkupCases : public testing::TestWithParam<MarkupCase> {};

TEST_P(MarkupCases, Match) {
  EXPECT_EQ(BodyOf(GetParam().in), GetParam().out);
}

const MarkupCase kMarkupCases[] = {
    {"Text", "<p>A &lt; B &amp; C", "<p>A &lt; B &amp; C</p>"},
    {"LoneMarks", "<p>A < B & C</p>", "<p>A &lt; B &amp; C</p>"},
    {"NumericC1Reference", "<p>&#147;a&#x94; &#8211;</p>", "<p>“a” &#8211;</p>"},
    {"ControlCharacters",
     "<p>a\x01"
     "b\x7F"
     "c\td</p>",
     "<p>abc\td</p>"},
    {"BrokenUtf8IsOf1252", "<p>caf\xE9</p>", "<p>café</p>"},
    {"UpperCase", "<P ALIGN=CENTER>a</P>", "<p style=\"text-align: CENTER\">a</p>"},
    {"ParagraphsEndThemselves", "<p>a<p>b<div>c</div>", "<p>a</p><p>b</p><div>c</div>"},
    {"OverlappingElements", "<b>a<i>b</b>c</i>", "<b>a<i>b</i></b>c"},
    {"StrayEndTags", "<p>a</b></div></td>b</p>", "<p>ab</p>"},
    {"InlineDoesNotEndBlocks", "<b><p>a</b>b</p>", "<b><p>ab</p></b>"},
    {"ListItemsEndThemselves", "<ul><li>a<li>b</ul>", "<ul><li>a</li><li>b</li></ul>"},
    {"TextInAList", "<ul>a</ul>", "<ul><li>a</li></ul>"},
    {"ListInAList", "<ul><ol><li>a</ol></ul>", "<ul><li><ol><li>a</li></ol></li></ul>"},
    {"ItemOutsideOfAList", "<li>a</li>", "<div>a</div>"},
    {"CellsEndThemselves", "<table><td>a<td>b<tr><td>c</table>",
     "<table><tr><td>a</td><td>b</td></tr><tr><td>c</td></tr></table>"},
    {"EndTagsStayInTheirTable", "<div><table><tr><td></div>a</table>b</div>",
     "<div><table><tr><td>a</td></tr></table>b</div>"},
    {"UnknownElementsLoseTags", "<p><mbp:x>a</mbp:x><o:p>b</o:p></p>", "<p>ab</p>"},
    {"Scripts", "<p>a<script>x<p></script>b<style>p{}</style></p>", "<p>ab</p>"},
    {"HeadWithoutEnd", "<head><title>t</title><body><p>a", "<div><p>a</p></div>"},
    {"Comments", "<p>a<!-- <p> -->b<!x><?y?>c</p>", "<p>abc</p>"},
    {"CommentWithoutEnd", "<p>a<!-- b>c</p>", "<p>ac</p>"},
    {"Handlers", "<p onclick=\"x()\" class=\"k\" id=\"i\">a</p>", "<p class=\"k\">a</p>"},
    {"StyleWithAFile", "<p style=\"background: url(x.png)\">a</p>", "<p>a</p>"},
    {"StyleWithoutAFile", "<p style=\"color: red\">a</p>", "<p style=\"color: red\">a</p>"},
    {"Font", "<font size=1 color=red>a</font>",
     "<span style=\"font-size: x-small; color: red\">a</span>"},
    {"FontColourInjection", "<font color=\"red;x:url(y)\">a</font>", "<span>a</span>"},
    {"PageBreak", "<p>a<mbp:pagebreak/><p>b",
     "<p>a</p><p style=\"page-break-before: always\"></p><p>b</p>"},
    {"ForeignPicture", "<p>a<img src=\"/etc/passwd.png\">b</p>", "<p>ab</p>"},
    {"LocalLink", "<p><a href=\"../x.html\">a</a></p>", "<p>a</p>"},
    {"WebLink", "<p><a href=\"HTTPS://x.org/?a=1&b='2'\">a</a></p>",
     "<p><a href=\"HTTPS://x.org/?a=1&b='2'\">a</a></p>"},
    {"ScriptLink", "<p><a href=\"javascript:x()\">a</a></p>", "<p>a</p>"},
    {"QuotedEndOfTag", "<p title=\"a > b\">c</p>", "<p title=\"a > b\">c</p>"},
    {"QuoteInSingleQuotes", "<p title='say \"a\"'>c</p>", "<p title=\"say &quot;a&quot;\">c</p>"},
    {"QuoteWithoutEnd", "<p title=\"a>b</p>", "<p title=\"&quot;a\">b</p>"},
    {"TagWithoutEnd", "<p>a</p><b", "<p>a</p>&lt;b"},
    {"LinkByName", "<p><a href=\"#x\">a</a></p><h2 id=x>b</h2>",
     "<p><a href=\"#place-40\">a</a></p><h2><span id=\"place-40\"></span>b</h2>"},
    {"LinkByMissingName", "<p><a href=\"#x\">a</a></p>", "<p>a</p>"},
    {"LinkByPosition", "<p><a filepos=0000000033>a</a></p><p>b</p>",
     "<p><a href=\"#place-43\">a</a></p><p><span id=\"place-43\"></span>b</p>"},
    {"LinkBehindTheEnd", "<p><a filepos=0000009999>a</a></p>", "<p>a</p>"},
    {"LinkIntoACharacter", "<p><a filepos=0000000044>a</a></p><p>ä</p>",
     "<p><a href=\"#place-43\">a</a></p><p><span id=\"place-43\"></span>ä</p>"},
    {"LinkIntoAReference", "<p><a filepos=0000000047>a</a></p><p>&auml;</p>",
     "<p><a href=\"#place-43\">a</a></p><p><span id=\"place-43\"></span>&auml;</p>"},
    {"LinkToATable", "<p><a filepos=0000000041>a</a></p><table><tr><td>b</table>",
     "<p><a href=\"#place-55\">a</a></p>"
     "<table><tr><td><span id=\"place-55\"></span>b</td></tr></table>"},
};
INSTANTIATE_TEST_SUITE_P(Cases, MarkupCases, testing::ValuesIn(kMarkupCases), NameOf<MarkupCase>);

std::string Repeated(const std::string& unit, size_t size) {
  std::string text;
  while (text.size() < size) text += unit;
  return text;
}

struct PathologicalCase {
  const char* name;
  std::string start;
  std::string unit;
  std::string end;
};

class PathologicalCases : public testing::TestWithParam<PathologicalCase> {};

// A step that costs more than linear in the input takes hours for these.
TEST_P(PathologicalCases, TakeLinearTime) {
  const auto begin = std::chrono::steady_clock::now();
  const PathologicalCase& c = GetParam();
  const std::string body = BodyOf(c.start + Repeated(c.unit, 2 << 20) + c.end);
  EXPECT_GT(body.size(), 3U) << body;
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
}

const PathologicalCase kPathologicalCases[] = {
    {"TagsWithoutEnd", "<p>x", "<a ", ""},
    {"TagsWithoutEndBeforeOne", "<p>x", "<a ", "<p>"},
    {"CommentsWithoutEnd", "<p>x", "<!-- >", ""},
    {"DeclarationsWithoutEnd", "<p>x", "<!", ""},
    {"Quotes", "<p>x", "<a x=\"> <a y='>", ""},
    {"QuotesAndQuotes", "<p>x", "<a x=\" > \" <a x=\" > \" ", ""},
    {"ScriptsWithoutEnd", "<p>x", "<script>", ""},
    {"HeadsAndBodies", "<p>x", "<head><body>x", "</head>"},
    {"DeepBlocks", "", "<div>x", ""},
    {"DeepInline", "", "<b>x", ""},
    {"DeepLists", "", "<ul><li>x", ""},
    {"StrayEndTags", Repeated("<div>", 600) + "x", "</b></p>", ""},
    {"Links", "", "<a href=#x>x</a>", "<p id=x>"},
    {"NamedLinks", "", "<a href=#x name=y>x</a>", ""},
    {"PositionLinks", "<p>", "<a filepos=0001999999>x</a>", ""},
    {"Attributes", "<p>x<p ", "a=' ", ">x"},
    {"ManyAttributes", "<p>x<p ", "a=1 ", ">x"},
    {"Ampersands", "<p>x", "&", ""},
    {"LongValue", "<p>x</p><p title=\"", "\xC3\xA4", "\">x"},
};
INSTANTIATE_TEST_SUITE_P(Cases, PathologicalCases, testing::ValuesIn(kPathologicalCases),
                         NameOf<PathologicalCase>);

TEST(Page, IsNeverDeeperThanAParserFollows) {
  Reader reader;
  const fs::path book = reader.Directory() / "book.pdb";
  WriteFile(book, PalmBook("<html>" + Repeated("<div><b><ul><li>", 20000) + "The very end."));
  ASSERT_EQ(reader.Open(book), KAV_MOBI_OK);
  ASSERT_EQ(reader.Extract(), KAV_MOBI_OK);
  EXPECT_EQ(Page(reader.Html()).Text(), "The very end.");
}

// --- Results ---

std::string Patched(const std::string& fixture, size_t offsetInRecord0, uint32_t value,
                    size_t size) {
  std::string bytes = ReadFile(kFixtures / fixture);
  size_t record = 0;
  for (size_t i = 78; i < 82; ++i) record = record << 8 | static_cast<unsigned char>(bytes[i]);
  Put(bytes, record + offsetInRecord0, value, size);
  return bytes;
}

struct ResultCase {
  const char* name;
  std::string bytes;
  int expected;
};

class ResultCases : public testing::TestWithParam<ResultCase> {};

TEST_P(ResultCases, Match) {
  Reader reader;
  const fs::path book = reader.Directory() / "book.mobi";
  WriteFile(book, GetParam().bytes);
  EXPECT_EQ(reader.Open(book), GetParam().expected);
  EXPECT_EQ(reader.Extract(), KAV_MOBI_E_OPEN);
  EXPECT_EQ(reader.Title(), "(null)");
  EXPECT_EQ(reader.Author(), "(null)");
  EXPECT_EQ(reader.Cover(), "(null)");
}

const ResultCase kResultCases[] = {
    {"EmptyFile", "", KAV_MOBI_E_NOT_MOBI},
    {"ShortText", "BOOKMOBI", KAV_MOBI_E_NOT_MOBI},
    {"OtherDatabase", std::string(60, 'x') + "DATAplkr" + std::string(900, 'x'),
     KAV_MOBI_E_NOT_MOBI},
    {"OnlyAHeader", ReadFile(kFixtures / "old.mobi").substr(0, 78), KAV_MOBI_E_DAMAGED},
    {"HalfABook", ReadFile(kFixtures / "old.mobi").substr(0, 9000), KAV_MOBI_E_DAMAGED},
    {"Encrypted", Patched("old.mobi", 12, 2, 2), KAV_MOBI_E_ENCRYPTED},
    {"EncryptedOldHalf", Patched("both.mobi", 12, 2, 2), KAV_MOBI_E_ENCRYPTED},
    {"EncryptedTheOldWay", Patched("cp1252.mobi", 12, 1, 2), KAV_MOBI_E_ENCRYPTED},
    {"NoTextRecords", Patched("old.mobi", 8, 0, 2), KAV_MOBI_E_NO_TEXT},
    {"ClaimsGigabytesOfText", Patched("old.mobi", 4, 0xF0000000, 4), KAV_MOBI_E_DAMAGED},
    {"HuffmanBomb", ReadFile(kFixtures / "bomb.mobi"), KAV_MOBI_E_DAMAGED},
    {"ClaimsManyRecords", Patched("old.mobi", 8, 0xFFFF, 2), KAV_MOBI_E_DAMAGED},
};
INSTANTIATE_TEST_SUITE_P(Cases, ResultCases, testing::ValuesIn(kResultCases), NameOf<ResultCase>);

TEST(Open, RefusesWhatIsNoFile) {
  Reader reader;
  EXPECT_EQ(reader.Open(""), KAV_MOBI_E_OPEN);
  EXPECT_EQ(reader.Open(reader.Directory()), KAV_MOBI_E_OPEN);
  EXPECT_EQ(reader.Open(reader.Directory() / "missing.mobi"), KAV_MOBI_E_OPEN);
  EXPECT_EQ(reader.Open("/dev/null"), KAV_MOBI_E_OPEN);
}

TEST(Open, ReplacesTheBookBefore) {
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

TEST(ExtractHtml, ReportsWhatCannotBeWritten) {
  Reader reader;
  ASSERT_EQ(reader.Open(kFixtures / "huffman.mobi"), KAV_MOBI_OK);
  EXPECT_EQ(reader.Extract(""), KAV_MOBI_E_WRITE);
  EXPECT_EQ(reader.Extract(reader.Directory()), KAV_MOBI_E_WRITE);
  EXPECT_EQ(reader.Extract(reader.Directory() / "missing" / "tmp.html"), KAV_MOBI_E_WRITE);
  EXPECT_EQ(reader.Extract("/dev/full"), KAV_MOBI_E_WRITE);
}

TEST(ExtractHtml, ReportsAPictureThatCannotBeWritten) {
  Reader reader;
  ASSERT_EQ(reader.Open(kFixtures / "cp1252.mobi"), KAV_MOBI_OK);
  fs::create_directory(reader.Directory() / "picture-2.gif");
  EXPECT_EQ(reader.Extract(), KAV_MOBI_E_WRITE);
}

TEST(Service, TakesNullForAnything) {
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

TEST(Service, ReadsOnSeveralThreads) {
  std::vector<std::thread> threads;
  std::vector<std::string> pages(4);
  for (std::string& page : pages) {
    threads.emplace_back([&page] {
      Reader reader;
      if (reader.Open(kFixtures / "both.mobi") != KAV_MOBI_OK) return;
      if (reader.Extract() == KAV_MOBI_OK) page = ReadFile(reader.Html());
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_FALSE(pages[0].empty());
  EXPECT_EQ(std::count(pages.begin(), pages.end(), pages[0]), 4);
}

// --- Damaged files ---

class DamagedBooks : public testing::TestWithParam<std::string> {
 protected:
  // Reads bytes as a book: a code, or a page all of whose references hold.
  void Read(const std::string& bytes) {
    for (const auto& entry : fs::directory_iterator(reader.Directory())) fs::remove(entry.path());
    const fs::path book = reader.Directory() / "book.mobi";
    WriteFile(book, bytes);
    int result = reader.Open(book);
    fs::remove(book);
    if (result == KAV_MOBI_OK) result = reader.Extract();
    if (result == KAV_MOBI_OK) {
      ++readable;
      ExpectSound(reader, Page(reader.Html()), reader.Cover());
      EXPECT_TRUE(ReadFile(reader.Html()).ends_with("</html>\n"));
    } else {
      EXPECT_GE(result, KAV_MOBI_E_NOT_MOBI);
      EXPECT_LE(result, KAV_MOBI_E_NO_TEXT);
    }
  }

  Reader reader;
  int readable = 0;
};

TEST_P(DamagedBooks, CutAnywhere) {
  const std::string book = ReadFile(kFixtures / GetParam());
  for (size_t i = 0; i < 100 && !HasFailure(); ++i) {
    SCOPED_TRACE("cut " + std::to_string(i));
    Read(book.substr(0, book.size() * i / 100));
  }
}

TEST_P(DamagedBooks, FlippedAnywhere) {
  const std::string book = ReadFile(kFixtures / GetParam());
  // NOLINTNEXTLINE(cert-msc32-c,cert-msc51-cpp): every run is to see the same damage.
  std::mt19937 random(20260);
  // Half of the places are in the tables at the front, where a byte does most harm.
  const size_t front = std::min<size_t>(book.size(), 2000);
  for (size_t i = 0; i < 1000 && !HasFailure(); ++i) {
    SCOPED_TRACE("flip " + std::to_string(i));
    std::string flipped = book;
    flipped[random() % (i % 2 == 0 ? front : book.size())] ^= static_cast<char>(1 + random() % 255);
    Read(flipped);
  }
  EXPECT_GT(readable, 100);
}
// Broken tables must mean the same to the check of the code and to libmobi behind it, or the bomb
// goes off: this test would not end.
TEST(HuffmanBomb, StaysHarmlessWhenDamaged) {
  const std::string bomb = ReadFile(kFixtures / "bomb.mobi");
  Reader reader;
  const fs::path book = reader.Directory() / "book.mobi";
  // NOLINTNEXTLINE(cert-msc32-c,cert-msc51-cpp): every run is to see the same damage.
  std::mt19937 random(20261);
  for (size_t i = 0; i < 2000; ++i) {
    std::string flipped = bomb;
    for (size_t flips = 1 + random() % 12; flips > 0; --flips) {
      flipped[random() % bomb.size()] = static_cast<char>(random());
    }
    WriteFile(book, flipped);
    reader.Open(book);
  }
}

INSTANTIATE_TEST_SUITE_P(Kinds, DamagedBooks, testing::ValuesIn(kFixtureNames), FixtureName);

}  // namespace
