// Recognises files by their first bytes.
#include "hosts/kavepub/plan/input_kind.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <string_view>

#include "hosts/kavepub/console/failure.h"

namespace {

constexpr size_t kPeekSize = 1024;

struct Signature {
  std::string_view bytes;
  std::string_view meaning;
};

constexpr Signature kPictures[] = {
    {"\xFF\xD8\xFF", ".jpg"},
    {"\x89PNG\r\n\x1A\n", ".png"},
    {"GIF87a", ".gif"},
    {"GIF89a", ".gif"},
};

constexpr Signature kForeign[] = {
    {"PK\x03\x04", "a ZIP, EPUB or office file"},
    {"%PDF-", "a PDF file"},
    {"{\\rtf", "an RTF file"},
    {"\xD0\xCF\x11\xE0", "an old office file"},
    {"\x1F\x8B", "a gzip file"},
    {"RIFF", "a WebP picture, sound or video"},
    {"\x7F"
     "ELF",
     "a program"},
};

// Type and creator of a Palm database, at this place in its header.
constexpr size_t kPalmTypeAt = 60;
constexpr std::string_view kPalmTypes[] = {"BOOKMOBI", "TEXtREAd", "TEXtTlDc"};

constexpr std::string_view kHtmlBeginnings[] = {"<!doctype html", "<html", "<head", "<body"};

constexpr struct {
  std::string_view extension;
  BookKind kind;
} kExtensions[] = {
    {".txt", BookKind::kText},     {".text", BookKind::kText},     {".html", BookKind::kHtml},
    {".htm", BookKind::kHtml},     {".xhtml", BookKind::kHtml},    {".mobi", BookKind::kMobi},
    {".azw", BookKind::kMobi},     {".azw3", BookKind::kMobi},     {".prc", BookKind::kMobi},
    {".jpg", BookKind::kPictures}, {".jpeg", BookKind::kPictures}, {".png", BookKind::kPictures},
    {".gif", BookKind::kPictures},
};

std::string Peek(const std::filesystem::path& file) {
  std::string beginning(kPeekSize, '\0');
  std::ifstream stream(file, std::ios::binary);
  stream.read(beginning.data(), static_cast<std::streamsize>(beginning.size()));
  beginning.resize(static_cast<size_t>(stream.gcount()));
  return beginning;
}

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

const Signature* FindSignature(const auto& table, std::string_view beginning) {
  const auto* row = std::find_if(std::begin(table), std::end(table), [&](const Signature& entry) {
    return beginning.starts_with(entry.bytes);
  });
  return row == std::end(table) ? nullptr : row;
}

bool IsOneOf(const auto& table, std::string_view text) {
  return std::find(std::begin(table), std::end(table), text) != std::end(table);
}

bool BeginsLikeMobi(std::string_view beginning) {
  return beginning.size() > kPalmTypeAt && IsOneOf(kPalmTypes, beginning.substr(kPalmTypeAt, 8));
}

bool BeginsLikeHtml(const std::string& beginning) {
  std::string_view rest = beginning;
  if (rest.starts_with("\xEF\xBB\xBF")) rest.remove_prefix(3);
  rest.remove_prefix(std::min(rest.find_first_not_of(" \t\r\n"), rest.size()));
  const std::string text = Lower(std::string(rest));
  if (text.starts_with("<?xml") || text.starts_with("<!--")) {
    return text.find("<html") != std::string::npos ||
           text.find("<!doctype html") != std::string::npos;
  }
  return std::any_of(std::begin(kHtmlBeginnings), std::end(kHtmlBeginnings),
                     [&](std::string_view begin) { return text.starts_with(begin); });
}

}  // namespace

BookKind KindOf(const std::filesystem::path& file) {
  RequireReadable(file);
  const std::string beginning = Peek(file);
  if (FindSignature(kPictures, beginning) != nullptr) return BookKind::kPictures;
  if (BeginsLikeMobi(beginning)) return BookKind::kMobi;
  if (const Signature* foreign = FindSignature(kForeign, beginning)) {
    throw Failure(file, "is " + std::string(foreign->meaning) +
                            "; only texts, HTML, MOBI books and pictures (JPEG, PNG, GIF) can be "
                            "converted");
  }
  if (BeginsLikeHtml(beginning)) return BookKind::kHtml;
  const BookKind kind = KindByName(file).value_or(BookKind::kText);
  if (kind == BookKind::kPictures) {
    throw Failure(file,
                  "is no JPEG, PNG or GIF picture in spite of its name; get a whole copy of it");
  }
  return kind;
}

std::optional<BookKind> KindByName(const std::filesystem::path& file) {
  const std::string extension = Lower(file.extension().string());
  for (const auto& row : kExtensions) {
    if (row.extension == extension) return row.kind;
  }
  return std::nullopt;
}

bool IsMobi(const std::filesystem::path& file) {
  return BeginsLikeMobi(Peek(file));
}

std::string PictureExtension(const std::filesystem::path& file) {
  const Signature* picture = FindSignature(kPictures, Peek(file));
  return picture == nullptr ? std::string() : std::string(picture->meaning);
}
