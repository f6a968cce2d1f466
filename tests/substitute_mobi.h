// A MOBI reader for tests, which does what it is told and keeps a record of it.
#ifndef KAV_EPUB_TESTS_SUBSTITUTE_MOBI_H
#define KAV_EPUB_TESTS_SUBSTITUTE_MOBI_H

#include <map>
#include <string>
#include <vector>

struct SubstituteMobi {
  // What it is told; "null" makes it return null.
  std::map<std::string, std::string> told = {
      {"open", "0"},     {"extract", "0"},       {"title", "A Title"},   {"author", "An Author"},
      {"cover", "null"}, {"writesCover", "yes"}, {"html", "<p>Text</p>"}};
  // The calls, by name, in order.
  std::vector<std::string> calls;
};

// The one that all readers made from now on obey.
SubstituteMobi& Substitute();

#endif
