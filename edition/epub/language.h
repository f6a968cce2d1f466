// What a book's pages need to know of its language.
#ifndef KAVEPUB_EPUB_LANGUAGE_H
#define KAVEPUB_EPUB_LANGUAGE_H

#include <string_view>

// Words that the writer itself puts into a book.
struct LanguageWords {
  const char* contents;
  const char* cover;
};

// All take a tag of BCP 47 ("zh-Hant-TW"); letters of either case.

// English where the language is not known here.
LanguageWords WordsOf(std::string_view language);

bool IsRightToLeft(std::string_view language);

// The first part of the tag is this one.
bool IsLanguage(std::string_view language, std::string_view primary);

#endif
