// A MOBI reader for tests, which does what it is told and keeps a record of it.
#ifndef KAV_EPUB_TESTS_SUBSTITUTE_MOBI_H
#define KAV_EPUB_TESTS_SUBSTITUTE_MOBI_H

#include <string>
#include <vector>

struct SubstituteMobi {
  // What it is told.
  int openResult = 0;
  int extractResult = 0;
  const char* title = "A Title";  // null: GetTitle returns null
  const char* author = "An Author";
  const char* cover = nullptr;  // null: the book has none
  std::string html = "<p>Text</p>";
  bool writesCover = true;

  // The calls, by name, in order.
  std::vector<std::string> calls;
};

// The one that all readers made from now on obey.
SubstituteMobi& Substitute();

#endif
