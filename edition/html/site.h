// The pages of a site, and what leads from one to another.
#ifndef KAVEPUB_HTML_SITE_H
#define KAVEPUB_HTML_SITE_H

#include <atomic>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/directory_root.h"
#include "edition/book/input.h"
#include "edition/book/kept_text.h"
#include "edition/book/ordered_work.h"
#include "edition/book/run.h"
#include "edition/book/source.h"
#include "edition/page/page.h"
#include "edition/page/reference.h"

// Of all work on a site.
inline constexpr double kShareOfReading = 0.6;

inline constexpr size_t kNoPage = SIZE_MAX;

struct SitePage {
  size_t root;                // the number of the directory that it is below
  std::string path;           // from there
  std::string base;           // what its references are relative to
  HtmlPage content;           // but for its body
  KeptText body;              // the same of its markup
  std::vector<size_t> links;  // for each link of the content, the page it leads to, or kNoPage
  size_t next = kNoPage;
  size_t up = kNoPage;
  size_t from = kNoPage;     // the page that led here first
  size_t shownBy = kNoPage;  // the page in the place of one that only has frames
};

using SitePages = std::deque<SitePage>;

class Site {
 public:
  Site(const std::vector<Input>& given, const SourceOptions& chosen, Run& shared)
      : inputs(given), options(chosen), run(shared), reading(chosen.threads) {}

  // Reads the inputs, and all pages that they lead to, below their directories.
  Status Read();

  // The page and the id that a reference on a page leads to; kNoPage where it is none.
  size_t PageOf(const SitePage& from, const Reference& reference) const;

  // The content of a file that a page shows; nothing where there is none that a page may show.
  Result<std::optional<std::string>> Load(size_t root, const std::string& path) const;

  SitePages& Pages() { return pages; }
  const SitePages& Pages() const { return pages; }
  size_t Inputs() const { return inputs.size(); }  // which are the first pages

 private:
  struct Root {
    DirectoryRoot directory;
    std::string pages;  // the way from it to the pages, with a "/" at the end, or empty
  };

  Result<std::unique_ptr<Root>> RootOf(const std::string& directory) const;
  Status AddInput(const Input& input);
  Status ReadAll();
  void Follow(size_t from);
  void FindFrames();
  size_t Shown(size_t page) const;
  size_t Lead(size_t from, const std::string& target);
  SitePage& Add(size_t root, std::string path, size_t from);
  Status ReadInput(const Input& input, SitePage& page);
  Status ReadLinked(SitePage& page);
  Status Take(std::string_view bytes, SitePage& page);
  bool IsPage(size_t root, const std::string& path) const;
  Result<std::optional<std::string>> ReadFile(size_t root, const std::string& path) const;
  size_t Find(size_t root, const std::string& path) const;

  const std::vector<Input>& inputs;
  const SourceOptions& options;
  Run& run;
  std::vector<std::unique_ptr<Root>> roots;
  std::map<std::string, size_t> rootNumbers;  // by directory
  SitePages pages;
  std::map<std::pair<size_t, std::string>, size_t> numbers;  // kNoPage for files that are none
  std::atomic<size_t> keptBytes = 0;                         // of bodies
  OrderedWork reading;                                       // the last member: it uses the others
};

#endif
