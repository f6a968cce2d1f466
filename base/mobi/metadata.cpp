// Title, authors and cover, from the metadata records of the file.
#include "base/mobi/metadata.h"

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <new>

#include "base/mobi/encoding.h"

namespace kav_mobi {
namespace {

constexpr Bytes kAuthorSeparator = " & ";

struct Free {
  void operator()(char* text) const { free(text); }
};

// Valid UTF-8 on one line, without blanks around it.
std::string Tidy(Bytes raw) {
  std::string text;
  TextDecoder(MOBI_UTF8).Append(raw, text);
  for (char& c : text) {
    if (kBlanks.find(c) != Bytes::npos) c = ' ';
  }
  const size_t first = text.find_first_not_of(' ');
  if (first == std::string::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

// A resource number of the metadata, counted from 0 there and from 1 here; 0 when it is absent.
size_t NumberOf(const Book& book, MOBIExthTag tag) {
  const MOBIExthHeader* record = mobi_get_exthrecord_by_tag(book.Data(), tag);
  if (record == nullptr || record->data == nullptr || record->size > sizeof(uint32_t)) return 0;
  const uint32_t number =
      mobi_decode_exthvalue(static_cast<const unsigned char*>(record->data), record->size);
  return number == MOBI_NOTSET ? 0 : size_t{number} + 1;
}

}  // namespace

std::vector<std::string> StringsOf(const Book& book, MOBIExthTag tag) {
  std::vector<std::string> strings;
  MOBIExthHeader* next = nullptr;
  do {
    const MOBIExthHeader* record = mobi_next_exthrecord_by_tag(book.Data(), tag, &next);
    if (record == nullptr) break;
    errno = 0;
    const std::unique_ptr<char, Free> decoded(mobi_decode_exthstring(
        book.Data(), static_cast<const unsigned char*>(record->data), record->size));
    if (decoded == nullptr && errno == ENOMEM) throw std::bad_alloc();
    std::string text = decoded ? Tidy(decoded.get()) : std::string();
    if (!text.empty()) strings.push_back(std::move(text));
  } while (next != nullptr);
  return strings;
}

std::string TitleOf(const Book& book) {
  for (const MOBIExthTag tag : {EXTH_UPDATEDTITLE, EXTH_TITLE}) {
    const std::vector<std::string> titles = StringsOf(book, tag);
    if (!titles.empty()) return titles.front();
  }
  std::string title;
  const MOBIMobiHeader* header = book.Data()->mh;
  if (header != nullptr && header->full_name != nullptr) {
    TextDecoder(book.CodePage()).Append(header->full_name, title);
    title = Tidy(title);
  }
  if (!title.empty()) return title;
  TextDecoder(IsUtf8(book.Data()->ph->name) ? MOBI_UTF8 : MOBI_CP1252)
      .Append(book.Data()->ph->name, title);
  return Tidy(title);
}

std::string AuthorsOf(const Book& book) {
  std::string authors;
  for (const std::string& author : StringsOf(book, EXTH_AUTHOR)) {
    if (!authors.empty()) authors += kAuthorSeparator;
    authors += author;
  }
  return authors;
}

std::vector<size_t> CoverCandidates(const Book& book) {
  std::vector<size_t> numbers = {NumberOf(book, EXTH_COVEROFFSET)};
  for (const std::string& reference : StringsOf(book, EXTH_KF8COVERURI)) {
    numbers.push_back(KindleNumber(reference, kEmbedPrefix));
  }
  numbers.push_back(NumberOf(book, EXTH_THUMBOFFSET));
  return numbers;
}

size_t KindleNumber(Bytes text, Bytes prefix) {
  constexpr size_t kBase = 32;
  constexpr size_t kMostDigits = 10;
  if (!text.starts_with(prefix)) return 0;
  size_t number = 0;
  const Bytes digits = text.substr(prefix.size(), kMostDigits);
  for (const char c : digits) {
    if (c >= '0' && c <= '9') {
      number = number * kBase + static_cast<size_t>(c - '0');
    } else if (c >= 'A' && c <= 'V') {
      number = number * kBase + static_cast<size_t>(c - 'A') + 10;
    } else {
      break;
    }
  }
  return number;
}

}  // namespace kav_mobi
