// Follows the links of pages to further ones.
#include "edition/html/site.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <system_error>

#include "base/encoding/html_encoding.h"
#include "edition/html/markdown.h"
#include "edition/page/page_reader.h"
#include "edition/page/words.h"

namespace {

constexpr std::string_view kPageEndings[] = {".html", ".htm", ".xhtml"};
constexpr std::string_view kIndexes[] = {"index.html", "index.htm", "index.xhtml", "index.md",
                                         "README.md"};
constexpr std::uint64_t kLargestFile = std::uint64_t{1} << 30;
constexpr size_t kKeptAsTheyAre = size_t{1} << 24;  // bytes of bodies; the others are packed

bool IsCalledPage(std::string_view path) {
  if (IsMarkdown(path)) return CanReadMarkdown();
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

// What keeps a file from being opened that may be there: a book without it would not be whole.
bool IsShortage(int error) {
  return error == EMFILE || error == ENFILE || error == ENOMEM || error == EIO;
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
  if (Status status = ReadAll(); !status) return status;
  FindFrames();
  for (SitePage& page : pages) {
    const std::string& up = page.content.up;
    if (!up.empty()) page.up = PageOf(page, Resolve(up, page.base));
    for (size_t& link : page.links) link = Shown(link);
    page.next = Shown(page.next);
    if (Shown(page.from) != page.from) page.from = kNoPage;
  }
  const bool showsSomething = std::any_of(
      pages.begin(), pages.end(), [](const SitePage& page) { return !page.body.IsEmpty(); });
  if (!showsSomething) {
    return Failure{KAVEPUB_E_FORMAT,
                   inputs.front().Name() + ": holds nothing that a page could show."};
  }
  return Done();
}

Status Site::AddInput(const Input& input) {
  const std::string directory = input.Path().empty() ? "" : DirectoryOf(input.Path());
  const auto [known, isNew] = rootNumbers.try_emplace(directory, roots.size());
  if (isNew) {
    Result<std::unique_ptr<Root>> root = RootOf(directory);
    if (!root) return root.Why();
    roots.push_back(std::move(*root));
  }
  const std::string& name = input.Name();
  const Root& root = *roots[known->second];
  SitePage& page = Add(known->second, root.pages + name.substr(name.rfind('/') + 1), kNoPage);
  reading.Add([this, &input, &page] { return ReadInput(input, page); });
  return Done();
}

// Pages are read while the links of those before them are followed.
Status Site::ReadAll() {
  for (size_t number = 0; number < pages.size(); ++number) {
    if (Status status = reading.TakeOldest(); !status) return status;
    Follow(number);
    const double share = static_cast<double>(number + 1) / static_cast<double>(pages.size());
    if (Status status = run.Advance(kShareOfReading * share); !status) return status;
  }
  return Done();
}

// Who comes to a page that shows nothing but others wants the one that says most itself, which
// comes before the bars beside it.
void Site::FindFrames() {
  for (SitePage& page : pages) {
    if (!page.body.IsEmpty()) continue;
    for (const size_t frame : page.links) {
      if (frame == kNoPage || pages[frame].body.IsEmpty()) continue;
      const bool isFirst = page.shownBy == kNoPage;
      const HtmlPage& shown = pages[isFirst ? frame : page.shownBy].content;
      if (isFirst || pages[frame].content.ownText > shown.ownText) page.shownBy = frame;
    }
    const auto shown = std::find(page.links.begin(), page.links.end(), page.shownBy);
    if (shown != page.links.end()) std::iter_swap(page.links.begin(), shown);
  }
}

size_t Site::Shown(size_t page) const {
  return page == kNoPage || pages[page].shownBy == kNoPage ? page : pages[page].shownBy;
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
void Site::Follow(size_t from) {
  SitePage& page = pages[from];
  page.links.reserve(page.content.links.size());
  for (PageLink& link : page.content.links) {
    page.links.push_back(Lead(from, std::exchange(link.target, {})));
  }
  if (!page.content.next.empty()) page.next = Lead(from, page.content.next);
}

// The page that a page leads to, which may be a new one.
size_t Site::Lead(size_t from, const std::string& target) {
  const Reference reference = Resolve(target, pages[from].base);
  if (reference.kind != Reference::Kind::kFile) return kNoPage;
  const size_t root = pages[from].root;
  for (const std::string& path : PathsOf(reference.target)) {
    const auto [known, isNew] = numbers.try_emplace(std::pair(root, path), kNoPage);
    if (isNew && IsPage(root, path)) {
      SitePage& page = Add(root, path, from);
      reading.Add([this, &page] { return ReadLinked(page); });
    }
    if (known->second != kNoPage) return known->second;
  }
  return kNoPage;
}

SitePage& Site::Add(size_t root, std::string path, size_t from) {
  const size_t number = pages.size();
  const auto [known, isNew] = numbers.try_emplace(std::pair(root, path), number);
  if (known->second == kNoPage) known->second = number;
  pages.push_back(SitePage{root, std::move(path), {}, {}, {}, {}});
  pages.back().from = from;
  return pages.back();
}

Status Site::ReadInput(const Input& input, SitePage& page) {
  const Result<std::string> bytes = input.ReadAll(kLargestFile);
  return bytes ? Take(*bytes, page) : bytes.Why();
}

// One that has gone meanwhile is empty.
Status Site::ReadLinked(SitePage& page) {
  const Result<std::optional<std::string>> bytes = ReadFile(page.root, page.path);
  return bytes ? Take(bytes->value_or(""), page) : bytes.Why();
}

Status Site::Take(std::string_view bytes, SitePage& page) {
  std::string html = HtmlToUtf8(bytes, options.encoding);
  const bool isMarkdown = IsMarkdown(page.path);
  if (isMarkdown) {
    Result<std::string> made = MarkdownToHtml(html);
    if (!made) return Failure{made.Why().code, page.path + ": " + made.Why().message};
    html = std::move(*made);
  }
  page.content = ReadPage(std::move(html));
  std::string& title = page.content.facts.title;
  const bool hasHeading = !page.content.headings.empty();
  if (isMarkdown && title.empty() && hasHeading) title = page.content.headings.front().title;
  const Reference base = Resolve(page.content.base, page.path);
  page.base = base.kind == Reference::Kind::kFile ? base.target : page.path;
  page.body = KeptText(std::move(page.content.markup.body));
  if (keptBytes.fetch_add(page.body.Size()) > kKeptAsTheyAre) page.body.Pack();
  return Done();
}

size_t Site::PageOf(const SitePage& from, const Reference& reference) const {
  if (reference.kind != Reference::Kind::kFile) return kNoPage;
  for (const std::string& path : PathsOf(reference.target)) {
    if (const size_t page = Find(from.root, path); page != kNoPage) return Shown(page);
  }
  return kNoPage;
}

size_t Site::Find(size_t root, const std::string& path) const {
  const auto known = numbers.find(std::pair(root, path));
  return known == numbers.end() ? kNoPage : known->second;
}

// One that cannot be opened now is told when it is read.
bool Site::IsPage(size_t root, const std::string& path) const {
  if (!IsCalledPage(path) || !path.starts_with(roots[root]->pages)) return false;
  errno = 0;
  return roots[root]->directory.Open(path) || IsShortage(errno);
}

Result<std::optional<std::string>> Site::Load(size_t root, const std::string& written) const {
  for (const std::string& path : PathsOf(written)) {
    Result<std::optional<std::string>> bytes = ReadFile(root, path);
    if (!bytes || *bytes) return bytes;
  }
  return std::optional<std::string>();
}

Result<std::optional<std::string>> Site::ReadFile(size_t root, const std::string& path) const {
  errno = 0;
  UniqueFd file = roots[root]->directory.Open(path);
  if (!file && IsShortage(errno)) {
    return Failure{KAVEPUB_E_INPUT, path + ": " + std::generic_category().message(errno)};
  }
  if (!file) return std::optional<std::string>();
  const Result<Input> input = Input::OfFile(std::move(file), path);
  if (!input) return input.Why();
  Result<std::string> bytes = input->ReadAll(kLargestFile);
  if (!bytes) return bytes.Why();
  return std::optional<std::string>(std::move(*bytes));
}
