// Looks at what references name, and gives to the sink what a book can have.
#include "edition/mobi/mobi_files.h"

#include <utility>

#include "base/mobi/encoding.h"
#include "base/mobi/metadata.h"
#include "edition/mobi/font_record.h"
#include "edition/page/base64.h"
#include "edition/page/default_styles.h"
#include "edition/page/font_file.h"
#include "edition/page/picture_file.h"
#include "edition/page/reference.h"
#include "edition/page/vector_graphics.h"

namespace {

constexpr int kDeepestImport = 8;
constexpr size_t kLongestInWarning = 200;

size_t FlowOf(std::string_view reference) {
  return kav_mobi::KindleNumber(reference, kFlowReference);
}

std::string InUtf8(std::string_view bytes) {
  std::string text;
  kav_mobi::TextDecoder(MOBI_UTF8).Append(bytes, text);
  return text;
}

}  // namespace

Result<std::string> MobiFiles::Picture(const std::string& reference) {
  const auto [known, isNew] = names.try_emplace(reference);
  if (!isNew) return known->second;
  std::string name = Find(reference, false);
  if (name.empty()) {
    run.Warn({OneLine(reference.substr(0, kLongestInWarning)) +
                  " is no picture that books can show, so it is left out",
              {}});
  }
  return given.Outcome(names[reference] = std::move(name));
}

Result<std::string> MobiFiles::Drawing(const std::vector<std::string>& drawing) {
  std::string file = WithPictures(
      drawing, [&](const std::string& reference) { return UriOf(text.PictureOf(reference)); });
  return given.Outcome(given.GiveOnce({"drawing.svg", "image/svg+xml", std::move(file)}));
}

Result<std::string> MobiFiles::FileOfStyle(const std::string& reference) {
  return given.Outcome(Find(reference, true));
}

Result<std::vector<std::string>> MobiFiles::Sheets(const std::vector<PageSheet>& sheets) {
  std::vector<std::string> used;
  const auto add = [&](std::string name) {
    if (!name.empty()) used.push_back(std::move(name));
  };
  add(given.GiveSheet(kBrowserStyle, "page.css"));
  for (const PageSheet& sheet : sheets) {
    add(sheet.isInline ? given.GiveSheet(CleanSheet(sheet.text, 0), "style.css")
                       : Sheet(FlowOf(sheet.text), 0));
  }
  add(given.GiveSheet(kBookStyle, "book.css"));
  return given.Outcome(std::move(used));
}

std::optional<Resource> MobiFiles::PictureFile(size_t number) const {
  Resource file{"picture-" + std::to_string(number), {}, std::string(text.Book().Resource(number))};
  if (number == 0 || !TakePicture(file)) return std::nullopt;
  return file;
}

std::string MobiFiles::Find(const std::string& reference, bool mayBeFont) {
  if (const size_t number = text.PictureOf(reference)) return AddResource(number, mayBeFont);
  if (const size_t flow = FlowOf(reference)) return AddDrawing(flow);
  const Reference data = Resolve(reference, {});
  if (data.kind != Reference::Kind::kData) return {};
  const auto [known, isNew] = dataFiles.try_emplace(reference);
  if (!isNew) return known->second;
  Resource file{"picture", {}, BytesOfData(data.target)};
  return known->second = TakePicture(file) ? given.Give(std::move(file)) : std::string();
}

std::string MobiFiles::AddDrawing(size_t flow) {
  const auto [known, isNew] =
      names.try_emplace(std::string(kFlowReference) + "#" + std::to_string(flow));
  if (!isNew) return known->second;
  Resource file{"drawing.svg", {}, WithEmbedded(InUtf8(text.Flow(flow)))};
  return known->second = TakePicture(file) ? given.Give(std::move(file)) : std::string();
}

std::string MobiFiles::AddResource(size_t number, bool mayBeFont) {
  const auto [known, isNew] =
      names.try_emplace(std::string(kRecordReference) + "#" + std::to_string(number));
  if (!isNew) return known->second;
  if (std::optional<Resource> picture = PictureFile(number)) {
    return known->second = given.Give(std::move(*picture));
  }
  const std::string_view record = text.Book().Resource(number);
  if (!mayBeFont || !IsFontRecord(record)) return {};
  Resource font{"font-" + std::to_string(number), {}, FontOf(record)};
  font.name += font.bytes.starts_with("OTTO") ? ".otf" : ".ttf";
  if (!TakeFont(font)) {
    run.Warn({"A font is damaged, so it is left out", "resource " + std::to_string(number)});
    return {};
  }
  return known->second = given.Give(std::move(font));
}

std::string MobiFiles::Sheet(size_t flow, int depth) {
  const auto [known, isNew] = sheetNames.try_emplace(flow);
  if (!isNew) return known->second;
  return known->second = given.GiveSheet(CleanSheet(InUtf8(text.Flow(flow)), depth), "style.css");
}

std::string MobiFiles::CleanSheet(std::string_view css, int depth) {
  const auto refer = [&](std::string_view target) {
    const std::string name = Find(std::string(target), true);
    return name.empty() ? name : "url(" + name + ")";
  };
  const auto import = [&](std::string_view target) {
    return depth < kDeepestImport ? Sheet(FlowOf(target), depth + 1) : std::string();
  };
  return rules.Clean(css, refer, import);
}

std::string MobiFiles::UriOf(size_t number) {
  if (!given.MayEmbed()) return {};
  return given.Embed({"picture", {}, std::string(text.Book().Resource(number))});
}

// A drawing is shown alone, so that the pictures in it have to be in its file.
std::string MobiFiles::WithEmbedded(std::string_view drawing) {
  std::string whole;
  size_t taken = 0;
  for (size_t at = 0; (at = drawing.find(kav_mobi::kEmbedPrefix, at)) != std::string_view::npos;) {
    const size_t end = std::min(drawing.find_first_of("\"' \t\r\n>", at), drawing.size());
    const size_t number =
        kav_mobi::KindleNumber(drawing.substr(at, end - at), kav_mobi::kEmbedPrefix);
    whole += drawing.substr(taken, at - taken);
    whole += UriOf(number);
    taken = at = end;
  }
  return whole.append(drawing.substr(taken));
}
