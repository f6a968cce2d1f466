// What holds for every book, checked by readers that share nothing with the engine.
#ifndef KAV_EPUB_FUZZ_BOOK_CHECK_H
#define KAV_EPUB_FUZZ_BOOK_CHECK_H

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "tests/xml_text.h"

// A document that must be well-formed.
XmlDoc RequiredXml(std::string_view xml, const std::string& name);

// Names and contents of what a container holds, in its order.
using Entries = std::vector<std::pair<std::string, std::string>>;
Entries ReadArchive(const std::string& path);

struct CheckedBook {
  std::map<std::string, std::string> entries;
  std::vector<std::string> pages;  // entries in the order of the navigation
};

// Requires that the container begins with its type, that what is listed is there and the other way
// round, that all documents are well-formed and their references lead to entries or out of the
// book, and that no entry holds the secret.
CheckedBook CheckBook(const std::string& path, const std::string& secret);

#endif
