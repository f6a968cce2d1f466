// Each scenario goes through all that its kind of conversion does, with as little data as that
// takes.
#include "scenarios.h"

#include <new>
#include <regex>
#include <set>

#include "builder/epub_base.h"
#include "edition/kavepub.h"
#include "platform/kav_ebase/kav_ebase.h"
#include "service/epub_service.h"
#include "tests/temp_dir.h"

namespace {

constexpr char kPage[] =
    "<!DOCTYPE html><title>T</title><body onload=x>loose &eacute;<p id=a>One <a "
    "href=two.html>two</a>"
    "<a href=#a>up</a><a href=#none>gone</a><a href=missing.html>m</a><a href='javascript:x'>j</a>"
    "<center><font color=red>old</font></center><ul><li>x<b>y</ul><img src=p.png><img src=none.png "
    "alt=n>"
    "<script>s</script><!--c--><table><tr><td>1</table><blockquote>q</blockquote><bdo>b</bdo>"
    "<a name=n href=empty.html>e</a><p align=wrong lang=de>\xE4\xE9";
constexpr char kSecondPage[] = "<body><p id=b>Two <a href=page.html>back</a> <img src=p.png>";

// The sources lie there from the start; what they hold is never disturbed.
const TempDir& Sources() {
  static const TempDir dir;
  return dir;
}

std::string TextFile() {
  std::string text;
  for (int line = 0; line < 62; ++line) text += "A line of t\xC3\xA9xt & more.\n";
  return Sources().Write("in.txt", text + std::string(300, 'x') + "\xE4\xB8\xAD\n");
}

std::string HtmlFile() {
  Sources().Write("two.html", kSecondPage);
  Sources().Write("empty.html", "");
  Sources().Write("p.png", "\x89PNG");
  return Sources().Write("page.html", kPage);
}

// A record for the length of one book.
template <typename Make>
int WithRecord(const Make& make) {
  TEpubService* record = CreateEpubService();
  if (record == nullptr) return EPUB_E_FAILED;
  int code = EPUB_E_FAILED;
  try {
    code = make(*record);
  } catch (const std::bad_alloc&) {  // of the builder, when it is used directly
  }
  FreeEpubService(record);
  return code;
}

int HtmlBook(const std::string& page, const char* workDir, const char* output) {
  return WithRecord([&](TEpubService& record) {
    int code = record.InitEpub(record.data, workDir, "T & T", "A");
    if (code == 0) code = record.AddHtmlToEpub(record.data, page.c_str());
    if (code == 0) code = record.GenerateEpub(record.data, output);
    return code;
  });
}

int PictureBook(const std::string& picture, const char* workDir, const char* output) {
  return WithRecord([&](TEpubService& record) {
    TEpubData* const data = record.data;
    int code = record.InitEpub(data, workDir, "T", "A");
    if (code == 0) code = data->epub->AddCoverImageToEpub(picture.c_str());
    if (code == 0) code = record.StartPage(data);
    if (code == 0) code = record.AddTextLineToPage(data, "line\n");
    if (code == 0) code = record.AddImageToPage(data, picture.c_str());
    if (code == 0) code = data->epub->AddFormToPage("", FormTable);
    if (code == 0) code = data->epub->AddFormToPage("", FormRow);
    if (code == 0) code = data->epub->AddFormToPage("cell", FormCell);
    if (code == 0) code = record.EndPage(data);
    if (code == 0) code = record.AddImageToEpub(data, picture.c_str());
    if (code == 0) code = record.GenerateEpub(data, output);
    return code;
  });
}

std::string MobiFile(const char* name) {
  return std::string(KAV_TEST_DATA "/fixtures/mobi/") + name;
}

Scenario MobiBook(const char* name) {
  return [path = MobiFile(name)](const char* workDir, const char* output) {
    return WithRecord([&](TEpubService& record) {
      return record.Mobi2Epub(path.c_str(), output, workDir, nullptr, nullptr);
    });
  };
}

// A directory whose picture is too large to be packed in one piece.
Scenario LargeBook() {
  Sources().Write("large/mimetype", "application/epub+zip");
  const std::string picture = Sources().Write("large/p.jpg", "");
  std::filesystem::resize_file(picture, uintmax_t{65} << 20);
  return [dir = std::string(Sources() / "large")](const char*, const char* output) {
    return Kav_CreateEpubFromDir(dir.c_str(), output);
  };
}

// A book of the reader's edition. Covers are drawn by libraries that end the process when they get
// no memory.
Scenario EditionBook(const std::string& source, const char* threads) {
  return [path = source, threads](const char*, const char* output) {
    kavepub_job* job = kavepub_job_new();
    int code = kavepub_job_add_path(job, path.c_str());
    if (job == nullptr) code = KAVEPUB_E_MEMORY;
    if (code == 0) code = kavepub_job_set_option(job, "cover", "none");
    if (code == 0) code = kavepub_job_set_option(job, "threads", threads);
    if (code == 0) code = kavepub_job_set_output_path(job, output);
    if (code == 0) code = kavepub_job_run(job);
    kavepub_job_free(job);
    return code;
  };
}

std::string NovelFile() {
  std::string text;
  for (int chapter = 1; chapter < 4; ++chapter) {
    text += "CHAPTER " + std::to_string(chapter) + "\n\n";
    for (int line = 0; line < 40; ++line) text += "A line of t\xC3\xA9xt & more, as they are.\n\n";
  }
  return Sources().Write("novel.txt", text);
}

}  // namespace

const std::map<std::string, Scenario> kScenarios = {
    {"text",
     [text = TextFile()](const char* workDir, const char* output) {
       return WithRecord([&](TEpubService& record) {
         return record.Txt2Epub(text.c_str(), output, workDir, "", "", nullptr, nullptr);
       });
     }},
    {"html", [page = HtmlFile()](const char* workDir,
                                 const char* output) { return HtmlBook(page, workDir, output); }},
    {"picture",
     [picture = Sources().Write("p.png", "\x89PNG")](const char* workDir, const char* output) {
       return PictureBook(picture, workDir, output);
     }},
    {"mobi", MobiBook("old.mobi")},
    {"kf8", MobiBook("new.mobi")},
    {"large", LargeBook()},
    {"edition", EditionBook(NovelFile(), "1")},
    {"edition_threads", EditionBook(NovelFile(), "8")},
    {"site", EditionBook(HtmlFile(), "1")},
    {"site_threads", EditionBook(HtmlFile(), "8")},
    {"old_edition", EditionBook(MobiFile("lighthouse.mobi"), "1")},
    {"new_edition", EditionBook(MobiFile("lighthouse.azw3"), "1")},
    {"album", EditionBook(KAV_TEST_DATA "/../fuzz/seeds/picture/titled.png", "1")},
};

bool IsDocumented(int code) {
  if (code > 0 && code <= KAVEPUB_E_INTERNAL) return code != KAVEPUB_E_INTERNAL;
  static const std::set<int> kCodes = {0,   -1,  401, 402, 404, 406, 407, 408, 409, 410,
                                       411, 412, 413, 415, 416, 417, 418, 501, 502, 503,
                                       504, 505, 506, 601, 602, 603, 604, 605, 606, 607};
  return kCodes.count(code) != 0;
}
