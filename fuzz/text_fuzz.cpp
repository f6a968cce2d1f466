// Conversion of a plain text: no character may be lost, whatever bytes stand around it.
#include <iconv.h>

#include "fuzz/book_check.h"
#include "fuzz/harness.h"
#include "service/epub_service.h"

namespace {

bool IsUtf8(std::string text) {
  std::string wide(text.size() * 4 + 4, '\0');
  char* in = text.data();
  char* out = wide.data();
  size_t left = text.size();
  size_t room = wide.size();
  iconv_t converter = iconv_open("UCS-4LE", "UTF-8");
  const bool isValid = iconv(converter, &in, &left, &out, &room) != static_cast<size_t>(-1);
  iconv_close(converter);
  return isValid;
}

// What the text of all pages is to be: blanks for what is listed, without what XML forbids.
std::string Shown(const std::string& text) {
  std::string shown;
  for (size_t at = 0; at < text.size(); ++at) {
    const char c = text[at];
    if (text.compare(at, 3, "\xEF\xBF\xBE") == 0 || text.compare(at, 3, "\xEF\xBF\xBF") == 0) {
      at += 2;
    } else if (c == '\n' || c == '\f' || c == '\x18') {
      shown += ' ';
    } else if (static_cast<unsigned char>(c) >= ' ' || c == '\t' || c == '\r') {
      shown += c;
    }
  }
  return shown;
}

std::string AsciiOf(std::string text) {
  std::erase_if(text, [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
  return text;
}

int CountCall(void* user, int done, int total) {
  std::vector<int>& totals = *static_cast<std::vector<int>*>(user);
  totals.push_back(total);
  Require(static_cast<int>(totals.size()) == done, "progress counts up");
  return 0;
}

}  // namespace

void Fuzz(const std::string& input, Sandbox& box) {
  box.Write("in.txt", input);
  std::vector<int> totals;
  TEpubService* service = CreateEpubService();
  const int code = service->Txt2Epub((box / "in.txt").c_str(), (box / "out/book.epub").c_str(),
                                     (box / "work").c_str(), "", "", &totals, CountCall);
  FreeEpubService(service);
  box.RequireEmpty("work");
  if (code != EPUB_OK) {
    Require(code == EPUB_E_EMPTY_LINE && input.find('\0') != std::string::npos, "a text converts");
    return box.RequireEmpty("out");
  }

  const CheckedBook book = CheckBook(box / "out/book.epub", box.Secret());
  Require(totals == std::vector(totals.size(), static_cast<int>(totals.size())), "totals are true");
  Require(book.pages.size() == totals.size() - (input.empty() ? 0 : 1), "each page is reported");
  std::string text;
  for (const std::string& page : book.pages) {
    for (const std::string& paragraph : TextsOf(book.entries.at(page), "p")) text += paragraph;
  }
  std::string bytes = input;
  std::erase(bytes, '\0');
  const std::string shown = Shown(bytes);
  Require(IsUtf8(bytes) ? text == shown : AsciiOf(text) == AsciiOf(shown), "the text is whole");
}
