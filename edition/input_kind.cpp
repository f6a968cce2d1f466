// Recognises inputs by their first bytes, and by the extensions of their names.
#include "edition/input_kind.h"

#include <strings.h>

#include <algorithm>
#include <string>
#include <string_view>

#include "base/mobi/reader.h"
#include "edition/book/picture.h"

namespace {

constexpr size_t kPeekSize = 1024;
constexpr std::string_view kSvgType = "image/svg+xml";

struct Signature {
  std::string_view bytes;
  const char* meaning;
};

// HEIC and AVIF, which nobody converts here; but people hear what to do about a picture.
constexpr std::string_view kForeignPictures[] = {"....ftyphe", "....ftypmif1", "....ftypmsf1",
                                                 "....ftypavi"};

constexpr Signature kForeign[] = {
    {"PK\x03\x04", "a ZIP, EPUB or office file"},
    {"%PDF-", "a PDF file"},
    {"{\\rtf", "an RTF file"},
    {"\xD0\xCF\x11\xE0", "an old office file"},
    {"\x1F\x8B", "a gzip file"},
    {"RIFF", "a sound or video"},
    {"\x7F"
     "ELF",
     "a program"},
};

constexpr std::string_view kHtmlBeginnings[] = {"<!doctype html", "<html", "<head", "<body"};
constexpr std::string_view kSvgBeginnings[] = {"<svg", "<?xml", "<!--", "<!doctype svg"};
constexpr std::string_view kHtmlRoots[] = {"<!doctype html", "<html"};

constexpr struct {
  const char* extension;
  InputKind kind;
} kExtensions[] = {
    {".md", InputKind::kMarkdown},   {".markdown", InputKind::kMarkdown},
    {".html", InputKind::kHtml},     {".htm", InputKind::kHtml},
    {".xhtml", InputKind::kHtml},    {".mobi", InputKind::kMobi},
    {".azw", InputKind::kMobi},      {".azw3", InputKind::kMobi},
    {".prc", InputKind::kMobi},      {".jpg", InputKind::kPictures},
    {".jpeg", InputKind::kPictures}, {".png", InputKind::kPictures},
    {".gif", InputKind::kPictures},  {".svg", InputKind::kPictures},
    {".webp", InputKind::kPictures}, {".bmp", InputKind::kPictures},
    {".tif", InputKind::kPictures},  {".tiff", InputKind::kPictures},
};

template <size_t count>
const Signature* FindSignature(const Signature (&table)[count], std::string_view beginning) {
  const auto* row = std::find_if(std::begin(table), std::end(table), [&](const Signature& entry) {
    return BeginsLike(beginning, entry.bytes);
  });
  return row == std::end(table) ? nullptr : row;
}

bool BeginsAlike(std::string_view text, std::string_view beginning) {
  return text.size() >= beginning.size() &&
         strncasecmp(text.data(), beginning.data(), beginning.size()) == 0;
}

bool HoldsAlike(std::string_view text, std::string_view part) {
  for (size_t at = 0; at + part.size() <= text.size(); ++at) {
    if (BeginsAlike(text.substr(at), part)) return true;
  }
  return false;
}

template <size_t count>
bool BeginsLikeOneOf(const std::string_view (&texts)[count], std::string_view text) {
  return std::any_of(std::begin(texts), std::end(texts),
                     [&](std::string_view begin) { return BeginsAlike(text, begin); });
}

// From the first letter on.
std::string_view Trimmed(std::string_view beginning) {
  if (beginning.starts_with("\xEF\xBB\xBF")) beginning.remove_prefix(3);
  beginning.remove_prefix(std::min(beginning.find_first_not_of(" \t\r\n"), beginning.size()));
  return beginning;
}

bool IsPalm(std::string_view beginning) {
  beginning.remove_prefix(std::min(kav_mobi::kTypeOffset, beginning.size()));
  return std::any_of(std::begin(kav_mobi::kBookTypes), std::end(kav_mobi::kBookTypes),
                     [&](std::string_view type) { return beginning.starts_with(type); });
}

bool IsHtml(std::string_view beginning) {
  if (BeginsAlike(beginning, "<?xml") || beginning.starts_with("<!--")) {
    return std::any_of(std::begin(kHtmlRoots), std::end(kHtmlRoots),
                       [&](std::string_view root) { return HoldsAlike(beginning, root); });
  }
  return BeginsLikeOneOf(kHtmlBeginnings, beginning);
}

bool IsPixels(std::string_view beginning) {
  const std::optional<PictureFacts> facts = ExaminePicture(beginning);
  return !ConvertiblePicture(beginning).empty() || (facts && facts->mediaType != kSvgType) ||
         std::any_of(std::begin(kForeignPictures), std::end(kForeignPictures),
                     [&](std::string_view pattern) { return BeginsLike(beginning, pattern); });
}

bool IsSvg(std::string_view beginning) {
  return BeginsLikeOneOf(kSvgBeginnings, beginning) && ExaminePicture(beginning);
}

InputKind KindByName(std::string_view name) {
  const size_t dot = std::min(name.rfind('.'), name.size());
  const std::string extension(name.substr(dot));
  const auto* row =
      std::find_if(std::begin(kExtensions), std::end(kExtensions), [&](const auto& candidate) {
        return strcasecmp(candidate.extension, extension.c_str()) == 0;
      });
  return row == std::end(kExtensions) ? InputKind::kText : row->kind;
}

}  // namespace

Result<InputKind> KindOf(const Input& input) {
  std::string beginning(kPeekSize, '\0');
  const Result<size_t> count = input.Read(0, beginning.data(), beginning.size());
  if (!count) return count.Why();
  beginning.resize(*count);

  if (IsPalm(beginning)) return InputKind::kMobi;  // its first bytes are a name of any kind
  if (IsPixels(beginning)) return InputKind::kPictures;
  if (const Signature* foreign = FindSignature(kForeign, beginning)) {
    return Failure{KAVEPUB_E_FORMAT,
                   input.Name() + " is " + foreign->meaning +
                       "; books are made of texts, HTML, MOBI books and pictures."};
  }
  const InputKind promised = KindByName(input.Name());
  if (promised == InputKind::kMarkdown) return promised;
  const std::string_view text = Trimmed(beginning);
  if (IsHtml(text)) return InputKind::kHtml;
  return IsSvg(text) ? InputKind::kPictures : promised;
}

const char* NameOf(InputKind kind) {
  constexpr const char* kNames[] = {"text", "html", "mobi", "pictures", "markdown"};
  return kNames[static_cast<size_t>(kind)];
}
