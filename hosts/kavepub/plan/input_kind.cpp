// Recognises files by their first bytes.
#include "hosts/kavepub/plan/input_kind.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <string_view>

#include "base/read_file.h"
#include "hosts/kavepub/console/failure.h"
#include "platform/kav_mobi/kav_mobi.h"

using namespace std::string_view_literals;

namespace {

constexpr size_t kPeekSize = 4096;

struct Signature {
  std::string_view bytes;  // "." stands for any byte
  std::string_view meaning;
};

constexpr Signature kPictures[] = {
    {"\xFF\xD8\xFF", ".jpg"},
    {"\x89PNG\r\n\x1A\n", ".png"},
    {"GIF87a", ".gif"},
    {"GIF89a", ".gif"},
};

// Those that only the reader's edition shows.
constexpr Signature kConvertiblePictures[] = {
    {"RIFF....WEBP"sv, "a WebP"},
    {"BM....\0\0\0\0"sv, "a BMP"},
    {"II*\0"sv, "a TIFF"},
    {"MM\0*"sv, "a TIFF"},
};
constexpr std::string_view kSvg = "<svg";

constexpr Signature kForeignPictures[] = {
    {"....ftyphe"sv, "a HEIC"},    {"....ftypmif1"sv, "a HEIC"},  {"....ftypmsf1"sv, "a HEIC"},
    {"....ftypavif"sv, "an AVIF"}, {"....ftypavis"sv, "an AVIF"},
};

constexpr std::string_view kZip = "PK\x03\x04";

constexpr Signature kForeign[] = {
    {kZip, "a ZIP, EPUB or office file"},
    {"%PDF-"sv, "a PDF file"},
    {"{\\rtf"sv, "an RTF file"},
    {"\xD0\xCF\x11\xE0"sv, "an old office file"},
    {"\x1F\x8B"sv, "a gzip file"},
    {"7z\xBC\xAF\x27\x1C"sv, "a 7z file"},
    {"Rar!\x1A\x07"sv, "a RAR file"},
    {"\xFD\x37zXZ"sv, "an xz file"},
    {"AT&TFORM"sv, "a DjVu file"},
    {"ITSF"sv, "a CHM file"},
    {"%!PS-"sv, "a PostScript file"},
    {"....ftyp"sv, "a film or sound"},
    {"\x1A\x45\xDF\xA3"sv, "a film or sound"},
    {"RIFF....AVI "sv, "a film"},
    {"RIFF....WAVE"sv, "a sound"},
    {"OggS"sv, "a film or sound"},
    {"\x7F\x45LF"sv, "a program"},
};

constexpr std::string_view kPalmTypes[] = KAV_MOBI_TYPES;

// Markup that is no HTML, and what may stand before it.
constexpr std::string_view kFictionBook = "<fictionbook";
constexpr struct {
  std::string_view begin;
  std::string_view end;
} kPrologue[] = {{"<?", "?>"}, {"<!--", "-->"}, {"<!", ">"}};
constexpr std::string_view kHtmlBeginnings[] = {"<!doctype html", "<html", "<head", "<body"};

constexpr std::string_view kForeignPictureExtensions[] = {".heic", ".heif", ".avif"};

constexpr struct {
  std::string_view extension;
  BookKind kind;
} kExtensions[] = {
    {".txt", BookKind::kText},      {".text", BookKind::kText},
    {".html", BookKind::kHtml},     {".htm", BookKind::kHtml},
    {".xhtml", BookKind::kHtml},    {".mobi", BookKind::kMobi},
    {".azw", BookKind::kMobi},      {".azw3", BookKind::kMobi},
    {".prc", BookKind::kMobi},      {".jpg", BookKind::kPictures},
    {".jpeg", BookKind::kPictures}, {".png", BookKind::kPictures},
    {".gif", BookKind::kPictures},  {".svg", BookKind::kPictures},
    {".webp", BookKind::kPictures}, {".bmp", BookKind::kPictures},
    {".tif", BookKind::kPictures},  {".tiff", BookKind::kPictures},
    {".md", BookKind::kMarkdown},   {".markdown", BookKind::kMarkdown},
};

// Nothing of a file that cannot be read.
std::string Peek(const UniqueFd& file) {
  std::string beginning(kPeekSize, '\0');
  const ssize_t count = pread(file.Get(), beginning.data(), beginning.size(), 0);
  beginning.resize(count < 0 ? 0 : static_cast<size_t>(count));
  return beginning;
}

std::string Peek(const std::filesystem::path& file) {
  return Peek(OpenRegularFile(file.c_str()));
}

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

bool Fits(std::string_view pattern, std::string_view beginning) {
  return beginning.size() >= pattern.size() &&
         std::equal(pattern.begin(), pattern.end(), beginning.begin(),
                    [](char wanted, char c) { return wanted == '.' || wanted == c; });
}

const Signature* FindSignature(const auto& table, std::string_view beginning) {
  const auto* row = std::find_if(std::begin(table), std::end(table), [&](const Signature& entry) {
    return Fits(entry.bytes, beginning);
  });
  return row == std::end(table) ? nullptr : row;
}

bool IsOneOf(const auto& table, std::string_view text) {
  return std::find(std::begin(table), std::end(table), text) != std::end(table);
}

bool BeginsLikeMobi(std::string_view beginning) {
  beginning.remove_prefix(std::min<size_t>(KAV_MOBI_TYPE_OFFSET, beginning.size()));
  return std::any_of(std::begin(kPalmTypes), std::end(kPalmTypes),
                     [&](std::string_view type) { return beginning.starts_with(type); });
}

bool BeginsLikeHtml(std::string_view text) {
  return std::any_of(std::begin(kHtmlBeginnings), std::end(kHtmlBeginnings),
                     [&](std::string_view begin) { return text.starts_with(begin); });
}

// A beginning in small letters, from the element on that tells what it is.
std::string FirstElement(std::string_view beginning) {
  if (beginning.starts_with("\xEF\xBB\xBF")) beginning.remove_prefix(3);
  const std::string lower = Lower(std::string(beginning));
  std::string_view text = lower;
  for (;;) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
    const auto* row = std::find_if(std::begin(kPrologue), std::end(kPrologue),
                                   [&](const auto& part) { return text.starts_with(part.begin); });
    const size_t end = row == std::end(kPrologue) ? std::string_view::npos : text.find(row->end);
    if (end == std::string_view::npos || BeginsLikeHtml(text)) return std::string(text);
    text.remove_prefix(end + row->end.size());
  }
}

// Why no book can be made of what begins like this; empty when there is nothing against it.
std::string ReasonAgainst(std::string_view beginning, std::string_view element) {
  if (const Signature* picture = FindSignature(kForeignPictures, beginning)) {
    return "is " + std::string(picture->meaning) + " picture; convert it to JPEG, PNG or GIF first";
  }
  if (const Signature* foreign = FindSignature(kForeign, beginning)) {
    return "is " + std::string(foreign->meaning) +
           "; only texts, HTML, MOBI books and pictures can be converted";
  }
  return element.starts_with(kFictionBook) ? "is a FictionBook; convert it to HTML first" : "";
}

}  // namespace

BookKind KindOf(const std::filesystem::path& file) {
  const UniqueFd opened = OpenRegularFile(file.c_str());
  if (!opened) RequireReadable(file);  // says why not
  return KindOfBytes(file, Peek(opened));
}

BookKind KindOfBytes(const std::filesystem::path& file, std::string_view beginning) {
  beginning = beginning.substr(0, kPeekSize);
  if (BeginsLikeMobi(beginning)) return BookKind::kMobi;  // its first bytes are a name of any kind
  if (FindSignature(kPictures, beginning) != nullptr ||
      FindSignature(kConvertiblePictures, beginning) != nullptr) {
    return BookKind::kPictures;
  }
  if (KindByName(file) == BookKind::kMarkdown) return BookKind::kMarkdown;
  const std::string element = FirstElement(beginning);
  if (BeginsLikeHtml(element)) return BookKind::kHtml;
  if (element.starts_with(kSvg)) return BookKind::kPictures;
  const std::string reason = ReasonAgainst(beginning, element);
  if (!reason.empty()) throw Failure(file, reason);
  const BookKind kind = KindByName(file).value_or(BookKind::kText);
  if (kind == BookKind::kPictures) {
    throw Failure(file, "is no picture in spite of its name; get a whole copy of it");
  }
  return kind;
}

std::optional<BookKind> KindByName(const std::filesystem::path& file) {
  const std::string extension = ExtensionOf(file);
  for (const auto& row : kExtensions) {
    if (row.extension == extension) return row.kind;
  }
  return std::nullopt;
}

bool IsCalledLikePicture(const std::filesystem::path& file) {
  return KindByName(file) == BookKind::kPictures ||
         IsOneOf(kForeignPictureExtensions, ExtensionOf(file));
}

std::string ConvertibleKind(const std::filesystem::path& file) {
  const std::string beginning = Peek(file);
  if (const Signature* row = FindSignature(kConvertiblePictures, beginning)) {
    return std::string(row->meaning);
  }
  return FirstElement(beginning).starts_with(kSvg) ? "an SVG" : "";
}

bool IsZip(const std::filesystem::path& file) {
  return Peek(file).starts_with(kZip);
}

std::string ExtensionOf(const std::filesystem::path& file) {
  return Lower(file.extension().string());
}

bool IsMobi(const std::filesystem::path& file) {
  return BeginsLikeMobi(Peek(file));
}

std::string PictureExtension(const std::filesystem::path& file) {
  const Signature* picture = FindSignature(kPictures, Peek(file));
  return picture == nullptr ? std::string() : std::string(picture->meaning);
}
