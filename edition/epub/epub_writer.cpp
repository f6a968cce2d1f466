// Writes a book as EPUB 2 while its source brings it.
#include "edition/epub/epub_writer.h"

#include <algorithm>
#include <array>
#include <utility>

#include "edition/book/markup.h"
#include "edition/book/picture.h"
#include "edition/epub/identifier.h"
#include "edition/epub/language.h"
#include "edition/epub/navigation.h"
#include "edition/epub/page.h"
#include "edition/epub/style_sheet.h"

namespace {

constexpr char kFolder[] = "OEBPS/";
constexpr char kPackageName[] = "package.opf";
constexpr char kMimetype[] = "application/epub+zip";
constexpr char kContainer[] =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
    "<container xmlns=\"urn:oasis:names:tc:opendocument:xmlns:container\" version=\"1.0\">\n"
    "<rootfiles>\n"
    "<rootfile full-path=\"OEBPS/package.opf\" media-type=\"application/oebps-package+xml\"/>\n"
    "</rootfiles>\n"
    "</container>\n";

// A page file has at most 250 KB. Some of it is left for its frame, and for links that grow.
constexpr size_t kMostBody = 240'000;

// Of pages whose links lead on; further ones are packed.
constexpr size_t kKeptAsTheyAre = size_t{1} << 24;

// The container has 32 bits for the size of an entry.
constexpr size_t kMostEntry = 0xFFFFFFFE;

constexpr std::string_view kNameLetters =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_.";

const char* ClassOf(Document::Role role) {
  switch (role) {
    case Document::Role::kCover:
      return "cover";
    case Document::Role::kPicture:
      return "picture";
    case Document::Role::kTitlePage:
      return "title-page";
    case Document::Role::kContents:
      return "contents-page";
    case Document::Role::kBackMatter:
      return "back-matter";
    default:
      return "text";
  }
}

// The language, with its script where the tag leaves that open.
std::string TagOf(const Metadata& metadata) {
  const bool isOpen = metadata.language.find('-') == std::string::npos;
  return isOpen && !metadata.script.empty() ? metadata.language + "-" + metadata.script
                                            : metadata.language;
}

void Clean(std::vector<ContentsEntry>& entries, const std::string& substitute) {
  for (ContentsEntry& entry : entries) {
    entry.title = OneLine(entry.title);
    if (entry.title.empty()) entry.title = substitute;
    Clean(entry.children, substitute);
  }
}

bool LeadInto(const std::vector<ContentsEntry>& entries, size_t documents) {
  return std::all_of(entries.begin(), entries.end(), [&](const ContentsEntry& entry) {
    return entry.document < documents && LeadInto(entry.children, documents);
  });
}

// One that fills the screen as far as its proportions allow, where these are known.
std::string CoverBody(const PictureFacts& facts, const std::string& name, const char* word) {
  if (facts.width == 0 || facts.height == 0) {
    return std::string("<div><img src=\"") + name + "\" alt=\"" + word + "\"/></div>";
  }
  const std::string width = std::to_string(facts.width);
  const std::string height = std::to_string(facts.height);
  return "<div><svg xmlns=\"http://www.w3.org/2000/svg\" "
         "xmlns:xlink=\"http://www.w3.org/1999/xlink\" version=\"1.1\" width=\"100%\" "
         "height=\"100%\" viewBox=\"0 0 " +
         width + " " + height + "\" preserveAspectRatio=\"xMidYMid meet\">\n<title>" + word +
         "</title>\n<image width=\"" + width + "\" height=\"" + height + "\" xlink:href=\"" + name +
         "\"/>\n</svg></div>";
}

// A name that needs no escapes anywhere and is none of a page.
std::string FileName(std::string name) {
  for (char& letter : name) {
    if (kNameLetters.find(letter) == std::string_view::npos) letter = '-';
  }
  if (name.empty() || name.starts_with('.') || name.ends_with(kPageSuffix)) name = "file-" + name;
  return name;
}

std::string LowerCase(std::string text) {
  for (char& letter : text) {
    if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
  }
  return text;
}

// A page ends behind the last block that it has room for, but has one block at least.
size_t EndOfPage(const std::vector<size_t>& breaks, size_t begin, size_t size) {
  const size_t most = begin + kMostBody;
  if (size <= most) return size;
  const auto behind = std::upper_bound(breaks.begin(), breaks.end(), most);
  if (behind != breaks.begin() && *(behind - 1) > begin) return *(behind - 1);
  return behind == breaks.end() ? size : *behind;
}

}  // namespace

EpubWriter::EpubWriter(EpubOptions wanted, Output& output)
    : options(std::move(wanted)),
      zip([this, &output](std::uint64_t /*offset*/, std::string_view bytes) {
        const Status status = output.Write(bytes);
        if (!status) failure = status.Why();
        return static_cast<bool>(status);
      }),
      packer(zip, options.threads),
      names{{kStyleSheetName, 1}, {kFurtherSheetName, 1}, {kNavigationName, 1}, {kPackageName, 1}} {
}

Status EpubWriter::Begin(const Metadata& found) {
  metadata = Cleaned(found);
  if (!packer.Add("mimetype", kMimetype, Packing::kStored) ||
      !packer.Add("META-INF/container.xml", kContainer, Packing::kDeflated)) {
    return Taken(false);
  }
  if (Status status = Pack(kStyleSheetName, StyleSheet(metadata.language, options.styleSheet),
                           Packing::kDeflated);
      !status) {
    return status;
  }
  if (!options.cover) return Done();
  Resource cover = std::move(*options.cover);
  options.cover.reset();
  return AddCover(std::move(cover));
}

std::string EpubWriter::ReferenceTo(size_t document) const {
  return PageName(document);
}

Status EpubWriter::Add(Document document) {
  if (Status status = EndDocument(); !status) return status;
  current = std::move(document);
  current.title = OneLine(current.title);
  if (current.title.empty()) current.title = metadata.title;
  if (current.language.empty()) current.language = metadata.language;
  if (current.role == Document::Role::kCover) TakeAsCover();
  parts.documents.push_back({0, current.role});
  isInDocument = true;
  if (current.look) {
    if (Status status = AddFurtherSheet(); !status) return status;
  }
  return AddPages(false);
}

// The document that has begun, unless there is another cover, or is to be none.
void EpubWriter::TakeAsCover() {
  const auto file =
      std::find_if(parts.files.begin(), parts.files.end(),
                   [&](const ManifestFile& known) { return known.name == current.picture; });
  if (!options.wantsCover || parts.coverFile != PackageParts::kNoCover ||
      file == parts.files.end()) {
    current.role = Document::Role::kPicture;
    return;
  }
  parts.coverFile = static_cast<size_t>(file - parts.files.begin());
  parts.coverPage = PageName(parts.documents.size());
}

Status EpubWriter::Continue(BlockRun piece) {
  const size_t offset = current.body.size();
  current.breaks.push_back(offset);
  for (const size_t place : piece.breaks) current.breaks.push_back(offset + place);
  current.body += piece.body;
  return AddPages(false);
}

Result<std::string> EpubWriter::Add(Resource resource) {
  Result<std::string> name = AddFile(std::move(resource));
  parts.hasPictures = parts.hasPictures || parts.files.back().mediaType.starts_with("image/");
  return name;
}

Status EpubWriter::AddCover(Resource picture) {
  if (!options.wantsCover || parts.coverFile != PackageParts::kNoCover) return Done();
  const std::optional<PictureFacts> facts = ExaminePicture(picture.bytes);
  if (!facts) {
    return Failure{KAVEPUB_E_FORMAT, picture.name + ": is no JPEG, PNG, GIF or SVG picture"};
  }
  picture.name = "cover";
  parts.coverFile = parts.files.size();
  const Result<std::string> name = AddFile(std::move(picture));
  if (!name) return name.Why();
  const char* word = WordsOf(TagOf(metadata)).cover;
  ++pages;
  parts.coverPage = kCoverPageName;
  const std::string body = CoverBody(*facts, *name, word);
  return PackPage(kCoverPageName, {metadata.title, metadata.language, "cover", body});
}

Status EpubWriter::Finish(std::vector<ContentsEntry> contents) {
  if (Status status = EndDocument(); !status) return status;
  if (parts.documents.empty() || !LeadInto(contents, parts.documents.size())) {
    return Failure{KAVEPUB_E_INTERNAL, "the contents lead to a document that is not there"};
  }
  if (Status status = AddWaitingPages(); !status) return status;
  if (options.drawCover && options.wantsCover && parts.coverFile == PackageParts::kNoCover) {
    if (std::optional<Resource> drawn = options.drawCover(metadata)) {
      if (Status status = AddCover(std::move(*drawn)); !status) return status;
    }
  }
  Clean(contents, metadata.title);
  if (Status status = AddContents(contents); !status) return status;
  return AddPackage(contents);
}

// Puts what there is into pages, as far as it fills them, at the end of the document all of it.
Status EpubWriter::AddPages(bool isEnd) {
  size_t begin = 0;
  while (begin < current.body.size()) {
    const size_t end = EndOfPage(current.breaks, begin, current.body.size());
    const bool isRest = end == current.body.size();
    if (isRest && !isEnd) break;
    std::string body =
        begin == 0 && isRest ? std::move(current.body) : current.body.substr(begin, end - begin);
    if (Status status = AddPage(std::move(body), isRest); !status) return status;
    if (isRest) return Done();
    begin = end;
  }
  if (begin == 0) return Done();
  current.body.erase(0, begin);
  std::erase_if(current.breaks, [&](size_t place) { return place <= begin; });
  for (size_t& place : current.breaks) place -= begin;
  return Done();
}

Status EpubWriter::AddPage(std::string body, bool isLast) {
  const size_t document = parts.documents.size() - 1;
  const size_t page = parts.documents.back().pages++;
  ++pages;
  const bool isOnly = isLast && page == 0;
  if (!isOnly) links.NoteIds(document, page, body);
  const size_t unfinished = isLast ? document + 1 : document;
  if (!links.Resolve(document, page, unfinished, body)) {
    waitingBytes += body.size();
    waiting.push_back(
        {document, page, current.title, current.language, current.look, KeptText(std::move(body))});
    if (waitingBytes > kKeptAsTheyAre) waiting.back().body.Pack();
    return Done();
  }
  return PackPage(PageName(document, page),
                  {current.title, current.language, ClassOf(current.role), body,
                   current.look ? &*current.look : nullptr, hasFurtherSheet});
}

Status EpubWriter::AddWaitingPages() {
  for (WaitingPage& page : waiting) {
    std::string body = page.body.Take();
    links.Resolve(page.document, page.page, parts.documents.size(), body);
    const char* bodyClass = ClassOf(parts.documents[page.document].role);
    if (Status status = PackPage(PageName(page.document, page.page),
                                 {page.title, page.language, bodyClass, body,
                                  page.look ? &*page.look : nullptr, hasFurtherSheet});
        !status) {
      return status;
    }
    page = {};
  }
  return Done();
}

Status EpubWriter::EndDocument() {
  if (!std::exchange(isInDocument, false)) return Done();
  if (Status status = AddPages(true); !status) return status;
  return parts.documents.back().pages > 0 ? Done() : AddPage({}, true);
}

// A list of one line tells nobody anything.
Status EpubWriter::AddContents(const std::vector<ContentsEntry>& contents) {
  const bool isWorthIt =
      contents.size() > 1 || (!contents.empty() && !contents[0].children.empty());
  const bool hasOwn = std::any_of(
      parts.documents.begin(), parts.documents.end(),
      [](const DocumentRecord& record) { return record.role == Document::Role::kContents; });
  if (!isWorthIt || hasOwn) return Done();
  const char* word = WordsOf(TagOf(metadata)).contents;
  for (const std::string& body : ContentsPages(word, contents, links, kMostBody)) {
    ++pages;
    if (Status status =
            PackPage(ContentsName(parts.contentsPages++),
                     {word, metadata.language, ClassOf(Document::Role::kContents), body});
        !status) {
      return status;
    }
  }
  return Done();
}

Status EpubWriter::AddPackage(const std::vector<ContentsEntry>& contents) {
  if (!packer.Drain()) return Taken(false);
  const std::string elements = MetadataElements(metadata, parts);
  const XXH128_canonical_t digest = packer.Digest();
  identifier = IdentifierOf(
      elements + std::string(reinterpret_cast<const char*>(digest.digest), sizeof digest.digest));
  if (Status status =
          Pack(kNavigationName, NavigationDocument(metadata, identifier, contents, links),
               Packing::kDeflated);
      !status) {
    return status;
  }
  if (Status status =
          Pack(kPackageName, PackageDocument(elements, identifier, parts), Packing::kDeflated);
      !status) {
    return status;
  }
  return Taken(packer.Drain() && zip.Finish());
}

// Under a name of its own, with the extension that its content asks for.
Result<std::string> EpubWriter::AddFile(Resource resource) {
  std::string wanted = resource.name.substr(resource.name.rfind('/') + 1);
  Packing packing = Packing::kDeflated;
  if (const std::optional<PictureFacts> facts = ExaminePicture(resource.bytes)) {
    resource.mediaType = facts->mediaType;
    wanted.resize(std::min(wanted.size(), wanted.rfind('.')));
    wanted += facts->extension;
    if (facts->width > 0) packing = Packing::kStored;  // pixels are packed already
  }
  const std::string name = FreeName(FileName(std::move(wanted)));
  parts.files.push_back({name, std::move(resource.mediaType)});
  if (Status status = Pack(name, std::move(resource.bytes), packing); !status) return status.Why();
  return name;
}

// Letters of either case count as equal, as containers are unpacked on systems that see them so.
std::string EpubWriter::FreeName(const std::string& wanted) {
  const size_t dot = std::min(wanted.rfind('.'), wanted.size());
  std::string name = wanted;
  while (!names.emplace(LowerCase(name), 1).second) {
    const size_t number = ++names[LowerCase(wanted)];
    name = wanted.substr(0, dot) + "-" + std::to_string(number) + wanted.substr(dot);
  }
  return name;
}

Status EpubWriter::PackPage(const std::string& name, const Page& page) {
  return Pack(name, PageFile(page), Packing::kDeflated);
}

// The sheet of the host once more, alone, for documents that have sheets of their own.
Status EpubWriter::AddFurtherSheet() {
  if (hasFurtherSheet || options.styleSheet.empty()) return Done();
  hasFurtherSheet = true;
  parts.files.push_back({kFurtherSheetName, kCssType});
  return Pack(kFurtherSheetName, options.styleSheet, Packing::kDeflated);
}

Status EpubWriter::Pack(std::string name, std::string content, Packing packing) {
  if (content.size() > kMostEntry) {
    return Failure{KAVEPUB_E_LIMIT, name + ": is larger than a part of a book can be"};
  }
  return Taken(packer.Add(kFolder + std::move(name), std::move(content), packing));
}

Status EpubWriter::Taken(bool isTaken) const {
  if (!isTaken) return failure;
  return Done();
}
