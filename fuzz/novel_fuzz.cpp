// A text as a book of the reader's edition: the book is sound, and its letters are those of the
// text, in their order.
#include <algorithm>
#include <clocale>
#include <cwctype>
#include <map>

#include "edition/kavepub.h"
#include "fuzz/book_check.h"
#include "fuzz/harness.h"

namespace {

constexpr size_t kPiece = size_t{1} << 16;
constexpr char kInput[] = "novel.txt";
const std::string kRoot = "OEBPS/";

std::string TextOf(const std::string& input) {
  kavepub_text* handle = kavepub_text_new();
  std::string text;
  std::string piece(kPiece, '\0');
  int code = kavepub_text_open_memory(handle, kInput, input.data(), input.size());
  for (size_t size = 1; code == KAVEPUB_OK && size != 0; text += piece.substr(0, size)) {
    code = kavepub_text_read(handle, piece.data(), piece.size(), &size);
  }
  kavepub_text_free(handle);
  return text;
}

std::string BookOf(const std::string& input, const std::string& path) {
  kavepub_job* job = kavepub_job_new();
  kavepub_job_add_memory(job, kInput, input.data(), input.size());
  kavepub_job_set_option(job, "cover", "none");
  kavepub_job_set_option(job, "threads", "1");
  kavepub_job_set_output_path(job, path.c_str());
  const int code = kavepub_job_run(job);
  std::string error = kavepub_job_error(job);
  Require((code == KAVEPUB_OK) == error.empty(), "words, or none");
  Require(code == KAVEPUB_OK || code == KAVEPUB_E_FORMAT || code == KAVEPUB_E_ENCODING,
          "a text converts: " + error);
  kavepub_job_free(job);
  return error;
}

// Letters and digits; the mark of web novels before their headings ("正文") is none of them.
std::wstring LettersOf(const std::string& text) {
  constexpr std::wstring_view kBodyMark = L"正文";
  static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
  std::wstring letters;
  for (size_t at = 0; at < text.size();) {
    int length = static_cast<int>(text.size() - at);
    const int c = xmlGetUTF8Char(reinterpret_cast<const xmlChar*>(text.data() + at), &length);
    at += static_cast<size_t>(length < 1 ? 1 : length);
    if (c > 0 && iswalnum_l(static_cast<wint_t>(c), locale) != 0)
      letters += static_cast<wchar_t>(c);
    if (letters.ends_with(kBodyMark)) letters.resize(letters.size() - kBodyMark.size());
  }
  return letters;
}

// The text of the pages in their order.
std::string TextOfPages(const std::map<std::string, std::string>& entries) {
  std::string text;
  for (size_t number = 1;; ++number) {
    const std::string name = kRoot + ("page-" + std::to_string(number) + ".xhtml");
    if (entries.count(name) == 0) return text;
    const XmlDoc page = RequiredXml(entries.at(name), name);
    for (const std::string& body : XPathTexts(page, "//*[local-name()='body']")) text += body;
  }
}

// A document is well-formed, and what it refers to is in the book.
void CheckLinks(const std::map<std::string, std::string>& entries, const std::string& name) {
  const XmlDoc document = RequiredXml(entries.at(name), name);
  for (const std::string& link : XPathTexts(document, "//@href | //@src | //@full-path")) {
    const size_t end = std::min(link.find('#'), link.size());
    std::string target = link.starts_with(kRoot) ? "" : kRoot;
    target.append(link, 0, end);
    Require(entries.count(target) == 1, name + ": " + link + " leads somewhere");
    if (end == link.size()) continue;
    const auto ids = XPathTexts(ParseXml(entries.at(target)), "//@id");
    Require(std::count(ids.begin(), ids.end(), link.substr(end + 1)) == 1, link + " has a place");
  }
}

}  // namespace

void Fuzz(const std::string& input, Sandbox& box) {
  const std::string path = box / "out/book.epub";
  const std::string error = BookOf(input, path);
  box.RequireEmpty("work");
  if (!error.empty()) return box.RequireEmpty("out");
  std::map<std::string, std::string> entries;
  for (const auto& [name, content] : ReadArchive(path)) entries[name] = content;
  for (const auto& [name, content] : entries) {
    if (name != "mimetype" && !name.ends_with(".css")) CheckLinks(entries, name);
  }
  const std::string text = TextOf(input);
  // Notes of Aozora texts are read, and a licence goes to the end.
  const bool hasNotes = text.find("［＃") != std::string::npos;
  const bool hasLicence = text.find("PROJECT GUTENBERG") != std::string::npos;
  std::wstring expected = LettersOf(text);
  std::wstring found = LettersOf(TextOfPages(entries));
  if (hasLicence) std::sort(expected.begin(), expected.end());
  if (hasLicence) std::sort(found.begin(), found.end());
  Require(hasNotes || found == expected, "no letter is lost");
}
