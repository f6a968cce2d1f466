// The pictures, drawings, fonts and style sheets of a MOBI book on their way into another.
#ifndef KAVEPUB_MOBI_MOBI_FILES_H
#define KAVEPUB_MOBI_MOBI_FILES_H

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "edition/book/run.h"
#include "edition/mobi/book_text.h"
#include "edition/page/given_files.h"
#include "edition/page/page.h"
#include "edition/page/style_rules.h"

// Gives each of them to the sink once, when it is first asked for. Their names are empty where the
// book cannot have them.
class MobiFiles {
 public:
  MobiFiles(const BookText& source, BookSink& target, Run& shared)
      : text(source), run(shared), given(target) {}

  // What a page shows, by the reference to it.
  Result<std::string> Picture(const std::string& reference);
  Result<std::string> Drawing(const std::vector<std::string>& drawing);
  Result<std::string> FileOfStyle(const std::string& reference);

  // The sheets of a page, between those that all pages have.
  Result<std::vector<std::string>> Sheets(const std::vector<PageSheet>& sheets);

  // The content of a picture that is a resource; nothing where it is none.
  std::optional<Resource> PictureFile(size_t number) const;

 private:
  std::string Find(const std::string& reference, bool mayBeFont);
  std::string AddDrawing(size_t flow);
  std::string AddResource(size_t number, bool mayBeFont);
  std::string Sheet(size_t flow, int depth);
  std::string CleanSheet(std::string_view css, int depth);
  std::string UriOf(size_t number);
  std::string WithEmbedded(std::string_view drawing);

  const BookText& text;
  Run& run;
  GivenFiles given;
  StyleRules rules;
  std::unordered_map<std::string, std::string> names;      // by reference
  std::map<size_t, std::string> sheetNames;                // by flow
  std::unordered_map<std::string, std::string> dataFiles;  // by their URIs
};

#endif
