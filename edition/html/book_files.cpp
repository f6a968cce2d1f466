// The files that pages show or use, on their way into the book: each once.
#include "edition/html/book_files.h"

#include "base/encoding/html_encoding.h"
#include "edition/page/base64.h"
#include "edition/page/default_styles.h"
#include "edition/page/font_file.h"
#include "edition/page/picture_file.h"
#include "edition/page/vector_graphics.h"

namespace {

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
  if (!name.empty()) return given.Outcome(name);
  const bool isOfNet = Resolve(targets.back(), page.base).kind == Reference::Kind::kNet;
  WarnOf(targets.back().substr(0, 200) + (isOfNet ? " is on the net, so the picture is left out"
                                                  : " cannot be had, so the picture is left out"),
         page.path);
  return given.Outcome(name);
}

Result<std::string> BookFiles::Drawing(const SitePage& page,
                                       const std::vector<std::string>& drawing) {
  std::string file =
      WithPictures(drawing, [&](const std::string& picture) { return UriOf(page, picture); });
  return given.Outcome(given.GiveOnce({"drawing.svg", "image/svg+xml", std::move(file)}));
}

std::string BookFiles::UriOf(const SitePage& page, const std::string& picture) {
  const Reference reference = Resolve(picture, page.base);
  const bool isFile = reference.kind == Reference::Kind::kFile && given.MayEmbed();
  const auto bytes = isFile ? Load(page.root, reference.target) : std::nullopt;
  std::string uri = bytes ? given.Embed({"picture", {}, *bytes}) : std::string();
  if (uri.empty()) {
    WarnOf(picture.substr(0, 200) + " cannot be had, so the drawing is without it", page.path);
  }
  return uri;
}

Result<std::string> BookFiles::FileOfStyle(const SitePage& page, const std::string& target) {
  return given.Outcome(Find({page.root, page.base}, target, Use::kStyle));
}

Result<std::vector<std::string>> BookFiles::Sheets(const SitePage& page) {
  std::vector<std::string> names;
  const auto add = [&](std::string name) {
    if (!name.empty()) names.push_back(std::move(name));
  };
  add(given.GiveSheet(kBrowserStyle, "page.css"));
  for (const PageSheet& sheet : page.content.sheets) {
    if (sheet.isInline) {
      add(given.GiveSheet(CleanSheet(sheet.text, {page.root, page.base}, 0), "style.css"));
      continue;
    }
    const Reference reference = Resolve(sheet.text, page.base);
    if (reference.kind == Reference::Kind::kFile) add(Sheet(page.root, reference.target, 0));
  }
  add(given.GiveSheet(kBookStyle, "book.css"));
  return given.Outcome(std::move(names));
}

std::string BookFiles::Find(Base base, std::string_view target, Use use) {
  const Reference reference = Resolve(target, base.path);
  if (reference.kind == Reference::Kind::kData) return AddData(reference.target, use);
  if (reference.kind != Reference::Kind::kFile) return {};
  const auto [known, isNew] = files.try_emplace(std::pair(base.root, reference.target));
  if (isNew) {
    if (auto bytes = Load(base.root, reference.target)) {
      known->second = AddFile(NameOf(reference.target), std::move(*bytes), use);
    }
  }
  return known->second;
}

std::string BookFiles::AddData(std::string_view uri, Use use) {
  const auto [known, isNew] = dataFiles.try_emplace(std::string(uri));
  if (isNew) known->second = AddFile("picture", BytesOfData(uri), use);
  return known->second;
}

std::string BookFiles::AddFile(std::string_view name, std::string bytes, Use use) {
  Resource file{std::string(name), {}, std::move(bytes)};
  const Result<TakenPicture> taken = TakePicture(file);
  if (taken && !taken->warning.empty()) run.Warn({taken->warning, file.name});
  const bool isTaken = taken || (use == Use::kStyle && TakeFont(file));
  return isTaken ? given.Give(std::move(file)) : std::string();
}

std::string BookFiles::Sheet(size_t root, const std::string& path, int depth) {
  const auto [known, isNew] = sheets.try_emplace(std::pair(root, path));
  if (!isNew) return known->second;
  const auto bytes = Load(root, path);
  if (!bytes) return {};
  std::string css = CleanSheet(HtmlToUtf8(*bytes), {root, path}, depth);
  return known->second = given.GiveSheet(std::move(css), std::string(NameOf(path)));
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

std::optional<std::string> BookFiles::Load(size_t root, const std::string& path) {
  Result<std::optional<std::string>> bytes = site.Load(root, path);
  if (bytes) return std::move(*bytes);
  given.Fail(bytes.Why());
  return std::nullopt;
}

void BookFiles::WarnOf(const std::string& what, const std::string& place) {
  if (warned[what]++ == 0) run.Warn({OneLine(what), place});
}
