// The names of the files in a book's content folder.
#ifndef KAV_EPUB_ENTRY_NAMES_H
#define KAV_EPUB_ENTRY_NAMES_H

#include <string>
#include <unordered_map>
#include <unordered_set>

class EntryNames {
 public:
  // Takes a name out of the ones to be given.
  void Take(const std::string& name);

  // Gives the wanted name, or the next free one when the book has or may come to have a file of
  // that name, in letters of any case: "index-2.html" for a second "index.html". Control characters
  // become "_".
  std::string Claim(const std::string& wanted);

 private:
  bool IsFree(const std::string& name) const;

  // All in lower case.
  std::unordered_set<std::string> taken;
  std::unordered_map<std::string, int> lastNumbers;  // by the name that is numbered
};

#endif
