// The files that pages show or use, on their way into the book: each once.
#ifndef KAVEPUB_HTML_BOOK_FILES_H
#define KAVEPUB_HTML_BOOK_FILES_H

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "edition/book/run.h"
#include "edition/html/site.h"
#include "edition/page/given_files.h"
#include "edition/page/style_rules.h"

class BookFiles {
 public:
  BookFiles(const Site& source, BookSink& target, Run& shared)
      : site(source), run(shared), given(target) {}

  // The names in the book of what a page refers to; empty where the book cannot have it. Of several
  // targets, the first one that it can.
  Result<std::string> Picture(const SitePage& page, const std::vector<std::string>& targets);
  Result<std::string> Drawing(const SitePage& page, const std::vector<std::string>& drawing);
  Result<std::string> FileOfStyle(const SitePage& page, const std::string& target);

  // The sheets of a page, between those that all pages have.
  Result<std::vector<std::string>> Sheets(const SitePage& page);

 private:
  // A place that references are relative to.
  struct Base {
    size_t root;
    const std::string& path;
  };
  enum class Use { kPicture, kStyle };

  std::string Find(Base base, std::string_view target, Use use);
  std::string AddData(std::string_view uri, Use use);
  std::string UriOf(const SitePage& page, const std::string& picture);
  std::string AddFile(std::string_view name, std::string bytes, Use use);
  std::string Sheet(size_t root, const std::string& path, int depth);
  std::string CleanSheet(std::string_view css, Base base, int depth);
  std::optional<std::string> Load(size_t root, const std::string& path);
  void WarnOf(const std::string& what, const std::string& place);

  const Site& site;
  Run& run;
  GivenFiles given;
  StyleRules rules;
  std::map<std::pair<size_t, std::string>, std::string> files;   // by where they are
  std::map<std::pair<size_t, std::string>, std::string> sheets;  // likewise
  std::map<std::string, std::string> dataFiles;                  // by their URIs
  std::map<std::string, int> warned;
};

#endif
