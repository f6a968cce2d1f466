// The MOBI reader, the conversion that it feeds, and the source of the reader's edition: whatever
// the file says, a page whose references lead to what was extracted and a sound book of each
// edition, or one of the documented codes.
#include <libxml/HTMLparser.h>
#include <strings.h>

#include <algorithm>
#include <cstdlib>
#include <set>

#include "edition/kavepub.h"
#include "fuzz/book_check.h"
#include "fuzz/harness.h"
#include "fuzz/readers_book_check.h"
#include "platform/kav_mobi/kav_mobi.h"
#include "service/epub_service.h"

namespace {

// Where links out of the book may lead; schemes are the same in any case of their letters.
constexpr std::string_view kOuterSchemes[] = {"http://", "https://", "mailto:", "ftp://"};

bool LeadsOut(const std::string& href) {
  return std::any_of(std::begin(kOuterSchemes), std::end(kOuterSchemes),
                     [&](std::string_view scheme) {
                       return strncasecmp(href.c_str(), scheme.data(), scheme.size()) == 0;
                     });
}

std::string Taken(char* text) {
  std::string copy = text == nullptr ? "" : text;
  std::free(text);
  return copy;
}

void CheckPage(const std::string& directory, const std::string& cover) {
  const std::string html = ReadFile(directory + "/page.html");
  const XmlDoc page(htmlReadMemory(html.data(), static_cast<int>(html.size()), nullptr, "UTF-8",
                                   HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING | XML_PARSE_HUGE));
  Require(page != nullptr, "there is a page");
  std::set<std::string> pictures = {"page.html"};
  if (!cover.empty()) pictures.insert(cover);
  for (const std::string& src : XPathTexts(page, "//img/@src")) pictures.insert(src);
  Require(pictures == FilesBelow(directory), "pictures are those of the page");
  const auto ids = XPathTexts(page, "//@id");
  for (const std::string& href : XPathTexts(page, "//a/@href")) {
    Require(LeadsOut(href) || std::count(ids.begin(), ids.end(), href.substr(1)) == 1,
            href + " leads");
  }
}

int Read(const std::string& path, const std::string& directory) {
  TMobiService* reader = CreateMobiService();
  int code = reader->Open(reader->handle, path.c_str());
  if (code == KAV_MOBI_OK) {
    code = reader->ExtractHtml(reader->handle, (directory + "/page.html").c_str());
  }
  const std::string title = Taken(reader->GetTitle(reader->handle));
  const std::string author = Taken(reader->GetAuthor(reader->handle));
  const std::string cover = Taken(reader->GetCoverImage(reader->handle));
  FreeMobiService(reader);
  for (const std::string& text : {title, author}) {
    Require(xmlCheckUTF8(reinterpret_cast<const xmlChar*>(text.c_str())) == 1, "names are UTF-8");
  }
  if (code == KAV_MOBI_OK) CheckPage(directory, cover);
  return code;
}

int MakeReadersBook(const std::string& input, const std::string& path) {
  kavepub_job* job = kavepub_job_new();
  kavepub_job_add_memory(job, "in.mobi", input.data(), input.size());
  kavepub_job_set_option(job, "cover", "none");
  kavepub_job_set_option(job, "threads", "1");
  kavepub_job_set_option(job, "encoding-errors", "replace");
  kavepub_job_set_output_path(job, path.c_str());
  const int code = kavepub_job_run(job);
  Require((code == KAVEPUB_OK) == std::string(kavepub_job_error(job)).empty(), "words, or none");
  kavepub_job_free(job);
  return code;
}

}  // namespace

void Fuzz(const std::string& input, Sandbox& box) {
  box.Write("in.mobi", input);
  std::filesystem::create_directory(box / "out/reader");
  const int read = Read(box / "in.mobi", box / "out/reader");
  Require(read == KAV_MOBI_OK || (read >= KAV_MOBI_E_NOT_MOBI && read <= KAV_MOBI_E_NO_TEXT),
          "a code that fits");

  TEpubService* service = CreateEpubService();
  const int code = service->Mobi2Epub((box / "in.mobi").c_str(), (box / "out/book.epub").c_str(),
                                      (box / "work").c_str(), nullptr, nullptr);
  FreeEpubService(service);
  box.RequireEmpty("work");
  Require(code == read, "what can be read can be converted");
  if (code == KAV_MOBI_OK) CheckBook(box / "out/book.epub", box.Secret());
  Require(std::filesystem::exists(box / "out/book.epub") == (code == 0), "a book, or none");

  const int readers = MakeReadersBook(input, box / "out/readers.epub");
  Require(readers == KAVEPUB_OK || readers == KAVEPUB_E_FORMAT, "a code for readers that fits");
  // What begins like a page is one, whatever it is called.
  const size_t mark = input.starts_with("\xEF\xBB\xBF") ? 3 : 0;
  const size_t begin = input.find_first_not_of(" \t\r\n", mark);
  const bool isPage = begin != std::string::npos && input[begin] == '<';
  const bool canBeRead = read == KAV_MOBI_OK || isPage;
  Require(readers != KAVEPUB_OK || canBeRead, "no book of what cannot be read");
  if (readers == KAVEPUB_OK) CheckReadersBook(box / "out/readers.epub", box.Secret());
}
