// Follows the links of pages to further ones.
#include "edition/html/site.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <iterator>
#include <memory>

#include "base/encoding/html_encoding.h"
#include "edition/page/page_reader.h"
#include "edition/page/words.h"

namespace {

constexpr std::string_view kPageEndings[] = {".html", ".htm", ".xhtml"};
constexpr std::string_view kIndexes[] = {"index.html", "index.htm", "index.xhtml"};
constexpr std::uint64_t kLargestFile = std::uint64_t{1} << 30;

bool IsCalledPage(std::string_view path) {
  const std::string name = Lowered(path);
  return std::any_of(std::begin(kPageEndings), std::end(kPageEndings),
                     [&](std::string_view ending) { return name.ends_with(ending); });
}

// The files that may be meant by what is written.
std::vector<std::string> PathsOf(const std::string& written) {
  std::vector<std::string> paths = {written};
  if (std::string plain = Unescaped(written); plain != written) paths.push_back(std::move(plain));
  if (!written.empty() && !written.ends_with('/')) return paths;
  std::vector<std::string> indexes;
  for (const std::string& path : paths) {
    for (const std::string_view name : kIndexes) indexes.push_back(path + std::string(name));
  }
  return indexes;
}

std::optional<std::string> ReadAll(int file) {
  struct stat status {};
  if (fstat(file, &status) != 0 || static_cast<std::uint64_t>(status.st_size) > kLargestFile) {
    return std::nullopt;
  }
  std::string content(static_cast<size_t>(status.st_size), '\0');
  size_t taken = 0;
  while (taken < content.size()) {
    const ssize_t count = read(file, content.data() + taken, content.size() - taken);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return std::nullopt;
    if (count == 0) break;
    taken += static_cast<size_t>(count);
  }
  content.resize(taken);
  return content;
}

std::string DirectoryOf(const std::string& path) {
  const size_t slash = path.rfind('/');
  return slash == std::string::npos ? "./" : path.substr(0, slash + 1);
}

}  // namespace

Status Site::Read() {
  for (const Input& input : inputs) {
    if (Status status = AddInput(input); !status) return status;
  }
  for (size_t page = 0; page < pages.size(); ++page) {
    AddLinked(page);
    const auto known = static_cast<double>(pages.size());
    if (Status status = run.Advance(kShareOfReading * static_cast<double>(page + 1) / known);
        !status) {
      return status;
    }
  }
  for (SitePage& page : pages) Connect(page);
  const bool showsSomething = std::any_of(pages.begin(), pages.end(), [](const SitePage& page) {
    return !page.content.markup.body.empty();
  });
  if (!showsSomething) {
    return Failure{KAVEPUB_E_FORMAT,
                   inputs.front().Name() + ": holds nothing that a page could show."};
  }
  return Done();
}

Status Site::AddInput(const Input& input) {
  if (input.Size() > kLargestFile) {
    return Failure{KAVEPUB_E_LIMIT, input.Name() + ": is larger than a page can be"};
  }
  std::string bytes(static_cast<size_t>(input.Size()), '\0');
  const Result<size_t> count = input.Read(0, bytes.data(), bytes.size());
  if (!count) return count.Why();
  const std::string directory = input.Path().empty() ? "" : DirectoryOf(input.Path());
  const auto [known, isNew] = rootNumbers.try_emplace(directory, roots.size());
  if (isNew) {
    Result<std::unique_ptr<Root>> root = RootOf(directory);
    if (!root) return root.Why();
    roots.push_back(std::move(*root));
  }
  const std::string& name = input.Name();
  const Root& root = *roots[known->second];
  Add(known->second, root.pages + name.substr(name.rfind('/') + 1), bytes, kNoPage);
  return Done();
}

Result<std::unique_ptr<Site::Root>> Site::RootOf(const std::string& directory) const {
  auto root = std::make_unique<Root>();
  if (directory.empty()) return root;
  const std::string& wider = options.importRoot;
  root->directory = DirectoryRoot(wider.empty() ? directory : wider);
  const std::optional<std::string> way = root->directory.WayTo(directory);
  if (way) {
    root->pages = *way;
    return root;
  }
  return Failure{KAVEPUB_E_ARGUMENT, wider + ": is no directory that holds " + directory};
}

// Pages in the order in which they are linked.
void Site::AddLinked(size_t from) {
  std::vector<std::string> targets = pages[from].content.frames;
  for (const PageLink& link : pages[from].content.links) targets.push_back(link.target);
  if (!pages[from].content.next.empty()) targets.push_back(pages[from].content.next);
  for (const std::string& target : targets) {
    const Reference reference = Resolve(target, pages[from].base);
    if (reference.kind != Reference::Kind::kFile) continue;
    const size_t root = pages[from].root;
    for (const std::string& path : PathsOf(reference.target)) {
      if (Find(root, path) != kNoPage) break;
      const std::optional<std::string> bytes = LoadPage(root, path);
      if (!bytes) continue;
      Add(root, path, *bytes, from);
      break;
    }
  }
}

void Site::Add(size_t root, std::string path, std::string_view bytes, size_t from) {
  SitePage page{root, std::move(path), {}, ReadPage(HtmlToUtf8(bytes, options.encoding)), {}};
  page.from = from;
  const Reference base = Resolve(page.content.base, page.path);
  page.base = base.kind == Reference::Kind::kFile ? base.target : page.path;
  numbers.emplace(std::pair(root, page.path), pages.size());
  pages.push_back(std::move(page));
}

void Site::Connect(SitePage& page) const {
  const auto lead = [&](const std::string& target) {
    return target.empty() ? kNoPage : PageOf(page, Resolve(target, page.base));
  };
  for (const PageLink& link : page.content.links) page.links.push_back(lead(link.target));
  page.next = lead(page.content.next);
  page.up = lead(page.content.up);
}

size_t Site::PageOf(const SitePage& from, const Reference& reference) const {
  if (reference.kind != Reference::Kind::kFile) return kNoPage;
  for (const std::string& path : PathsOf(reference.target)) {
    if (const size_t page = Find(from.root, path); page != kNoPage) return page;
  }
  return kNoPage;
}

size_t Site::Find(size_t root, const std::string& path) const {
  const auto known = numbers.find(std::pair(root, path));
  return known == numbers.end() ? kNoPage : known->second;
}

std::optional<std::string> Site::LoadPage(size_t root, const std::string& path) const {
  if (!IsCalledPage(path) || !path.starts_with(roots[root]->pages)) return std::nullopt;
  const UniqueFd file = roots[root]->directory.Open(path);
  return file ? ReadAll(file.Get()) : std::nullopt;
}

std::optional<std::string> Site::Load(size_t root, const std::string& written) const {
  for (const std::string& path : PathsOf(written)) {
    const UniqueFd file = roots[root]->directory.Open(path);
    if (file) return ReadAll(file.Get());
  }
  return std::nullopt;
}
