// The character that the end of a page has torn apart.
#ifndef KAV_EPUB_TORN_CHARACTER_H
#define KAV_EPUB_TORN_CHARACTER_H

#include <memory>
#include <string>

#include "package/xml_file.h"

// Lines of text are cut by their length, so a page may end inside a character. The bytes that begin
// it wait for the next line; should none come, they belong to the page after all.
class TornCharacter {
 public:
  // The text so far ends with these bytes; without any, it ends as it did before.
  void Begin(const std::string& beginning);

  // The page that ends there, as it was written to path; paragraph is its last one. Without a torn
  // character, or with one that an earlier page began, the page is let go.
  void Keep(std::unique_ptr<XMLFile> page, const std::string& path, std::string paragraph);

  // Hands the bytes to the line that goes on behind them, and lets the page go.
  std::string Take();

  // The text ends here: writes the page again, with the bytes. False when that fails.
  bool Settle();

 private:
  std::string bytes;
  std::unique_ptr<XMLFile> keptPage;
  std::string keptPath;
  std::string keptParagraph;
};

#endif
