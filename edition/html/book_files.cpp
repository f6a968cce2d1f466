// The files that pages show or use, on their way into the book: each once.
#include "edition/html/book_files.h"

#include "base/encoding/html_encoding.h"
#include "edition/page/base64.h"
#include "edition/page/default_styles.h"
#include "edition/page/font_file.h"
#include "edition/page/picture_file.h"

namespace {

constexpr char kCssType[] = "text/css";
constexpr int kDeepestImport = 8;

std::string_view NameOf(std::string_view path) {
  return path.substr(path.rfind('/') + 1);
}

std::string AsUrl(const std::string& name) {
  return name.empty() ? std::string() : "url(" + name + ")";
}

}  // namespace

Result<std::string> BookFiles::Picture(const SitePage& page,
                                       const std::vector<std::string>& targets) {
  std::string name;
  for (const std::string& target : targets) {
    name = Find({page.root, page.base}, target, Use::kPicture);
    if (!name.empty()) break;
  }
  if (!failure) return failure.Why();
  if (!name.empty()) return name;
  const bool isOfNet = Resolve(targets.back(), page.base).kind == Reference::Kind::kNet;
  WarnOf(targets.back().substr(0, 200) + (isOfNet ? " is on the net, so the picture is left out"
                                                  : " cannot be had, so the picture is left out"),
         page.path);
  return name;
}

Result<std::string> BookFiles::Drawing(std::string file) {
  const auto [known, isNew] = contents.try_emplace(file);
  if (isNew) known->second = Give({"drawing.svg", "image/svg+xml", std::move(file)});
  if (!failure) return failure.Why();
  return known->second;
}

Result<std::string> BookFiles::FileOfStyle(const SitePage& page, const std::string& target) {
  std::string name = Find({page.root, page.base}, target, Use::kStyle);
  if (!failure) return failure.Why();
  return name;
}

Result<std::vector<std::string>> BookFiles::Sheets(const SitePage& page) {
  std::vector<std::string> names;
  const auto add = [&](std::string css, const char* name) {
    if (css.empty()) return;
    const auto [known, isNew] = contents.try_emplace(css);
    if (isNew) known->second = Give({name, kCssType, std::move(css)});
    names.push_back(known->second);
  };
  add(kBrowserStyle, "page.css");
  for (const PageSheet& sheet : page.content.sheets) {
    if (sheet.isInline) {
      add(CleanSheet(sheet.text, {page.root, page.base}, 0), "style.css");
      continue;
    }
    const Reference reference = Resolve(sheet.text, page.base);
    if (reference.kind != Reference::Kind::kFile) continue;
    const std::string name = Sheet(page.root, reference.target, 0);
    if (!name.empty()) names.push_back(name);
  }
  add(kBookStyle, "book.css");
  if (!failure) return failure.Why();
  return names;
}

std::string BookFiles::Find(Base base, std::string_view target, Use use) {
  const Reference reference = Resolve(target, base.path);
  if (reference.kind == Reference::Kind::kData) return AddData(reference.target, use);
  if (reference.kind != Reference::Kind::kFile) return {};
  const auto [known, isNew] = files.try_emplace(std::pair(base.root, reference.target));
  if (isNew) {
    if (auto bytes = site.Load(base.root, reference.target)) {
      known->second = AddFile(NameOf(reference.target), std::move(*bytes), use);
    }
  }
  return known->second;
}

std::string BookFiles::AddData(std::string_view uri, Use use) {
  const auto [known, isNew] = contents.try_emplace(std::string(uri));
  if (isNew) known->second = AddFile("picture", BytesOfData(uri), use);
  return known->second;
}

std::string BookFiles::AddFile(std::string_view name, std::string bytes, Use use) {
  Resource file{std::string(name), {}, std::move(bytes)};
  const Result<TakenPicture> taken = TakePicture(file);
  if (taken && !taken->warning.empty()) run.Warn({taken->warning, file.name});
  const bool isTaken = taken || (use == Use::kStyle && TakeFont(file));
  return isTaken ? Give(std::move(file)) : std::string();
}

std::string BookFiles::Sheet(size_t root, const std::string& path, int depth) {
  const auto [known, isNew] = sheets.try_emplace(std::pair(root, path));
  if (!isNew) return known->second;
  const auto bytes = site.Load(root, path);
  if (!bytes) return {};
  std::string css = CleanSheet(HtmlToUtf8(*bytes), {root, path}, depth);
  if (css.empty()) return {};
  return known->second = Give({std::string(NameOf(path)), kCssType, std::move(css)});
}

std::string BookFiles::CleanSheet(std::string_view css, Base base, int depth) {
  const auto refer = [&](std::string_view target) {
    return AsUrl(Find(base, target, Use::kStyle));
  };
  const auto import = [&](std::string_view target) {
    const Reference reference = Resolve(target, base.path);
    const bool isFile = reference.kind == Reference::Kind::kFile && depth < kDeepestImport;
    return isFile ? Sheet(base.root, reference.target, depth + 1) : std::string();
  };
  return rules.Clean(css, refer, import);
}

std::string BookFiles::Give(Resource resource) {
  if (!failure) return {};
  Result<std::string> name = sink.Add(std::move(resource));
  if (!name) {
    failure = name.Why();
    return {};
  }
  return name->empty() ? "file" : std::move(*name);  // of a book that nobody writes
}

void BookFiles::WarnOf(const std::string& what, const std::string& place) {
  if (warned[what]++ == 0) run.Warn({OneLine(what), place});
}
