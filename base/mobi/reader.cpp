// Opening of a book: what is refused before libmobi unpacks it, and what libmobi makes of the rest.
#include "base/mobi/reader.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <iterator>
#include <utility>

#include "base/mobi/bytes.h"
#include "base/mobi/encoding.h"
#include "base/mobi/huffman_check.h"

namespace kav_mobi {
namespace {

constexpr uint64_t kMaxFileSize = uint64_t{1} << 30;
// 65,535 text records, the most a file has, of the 4,096 bytes that every known writer fills.
constexpr uint64_t kMaxTextSize = uint64_t{256} << 20;
// PalmDOC packs 10 bytes in 2 at best, and Huffman coded books are a third of their text.
constexpr uint64_t kMaxTextPerByte = 64;
constexpr uint64_t kSmallText = uint64_t{1} << 20;
// Writers make a fragment of about 8,192 bytes; 32,768 of them fill the largest text. libmobi looks
// through the fragments before it for the place of each one, so many more would take it minutes.
constexpr uint64_t kMaxFragments = 32768;

constexpr size_t kDatabaseHeaderSize = 78;
constexpr size_t kRecordCountOffset = 76;
constexpr size_t kRecordEntrySize = 8;  // begins with the place of the record

constexpr size_t kIndexCountOffset = 24;
constexpr size_t kIndexTotalOffset = 36;
constexpr Bytes kFontMagic = "FONT";
constexpr Bytes kReplicaMagic = "%MOP";

// What marks a text without a MOBI header as HTML, and how far into it to look.
constexpr std::array<Bytes, 3> kHtmlMarks = {"<html", "<HTML", "<body"};
constexpr size_t kHtmlMarkReach = 4096;

// While it lives, the header says that the text is UTF-8.
class ClaimUtf8 {
 public:
  explicit ClaimUtf8(const MOBIMobiHeader* header)
      : encoding(header == nullptr ? nullptr : header->text_encoding) {
    if (encoding != nullptr) original = std::exchange(*encoding, MOBI_UTF8);
  }
  ~ClaimUtf8() {
    if (encoding != nullptr) *encoding = original;
  }
  ClaimUtf8(const ClaimUtf8&) = delete;
  ClaimUtf8& operator=(const ClaimUtf8&) = delete;

 private:
  MOBIEncoding* encoding;
  MOBIEncoding original = MOBI_UTF8;
};

Opening ResultOf(MOBI_RET code) {
  switch (code) {
    case MOBI_SUCCESS:
      return Opening::kOpened;
    case MOBI_FILE_ENCRYPTED:
    case MOBI_DRM_UNSUPPORTED:
    case MOBI_DRM_KEYNOTFOUND:
      return Opening::kEncrypted;
    case MOBI_MALLOC_FAILED:
      return Opening::kNoMemory;
    case MOBI_FILE_UNSUPPORTED:
      return Opening::kNotMobi;
    default:
      return Opening::kDamaged;
  }
}

// A record's bytes; none for a null record or one that libmobi did not read.
Bytes BytesOf(const MOBIPdbRecord* record) {
  if (record == nullptr || record->data == nullptr) return {};
  return {reinterpret_cast<const char*>(record->data), record->size};
}

Bytes BytesOf(const MOBIPart* part) {
  if (part->data == nullptr) return {};
  return {reinterpret_cast<const char*>(part->data), part->size};
}

bool ReadAt(std::FILE* file, size_t at, char* bytes, size_t size) {
  return fseeko(file, static_cast<off_t>(at), SEEK_SET) == 0 && fread(bytes, 1, size, file) == size;
}

bool IsBookType(Bytes header) {
  return std::any_of(std::begin(kBookTypes), std::end(kBookTypes),
                     [header](Bytes type) { return header.substr(kTypeOffset).starts_with(type); });
}

// libmobi takes memory for all that is between a record and the next one before it reads it.
bool RecordsAreInOrder(std::FILE* file, Bytes header, uint64_t fileSize) {
  const uint64_t count = BigEndian16(header, kRecordCountOffset);
  std::string entries(count * kRecordEntrySize, '\0');
  if (!ReadAt(file, kDatabaseHeaderSize, entries.data(), entries.size())) return false;
  uint64_t last = 0;
  for (size_t at = 0; at < entries.size(); at += kRecordEntrySize) {
    const uint64_t place = BigEndian32(entries, at);
    if (place < last || place > fileSize) return false;
    last = place;
  }
  return true;
}

bool LooksLikeHtml(Bytes text) {
  const Bytes start = text.substr(0, kHtmlMarkReach);
  return std::any_of(kHtmlMarks.begin(), kHtmlMarks.end(),
                     [start](Bytes mark) { return start.find(mark) != Bytes::npos; });
}

}  // namespace

Opening Book::Open(std::FILE* file, uint64_t size, Extent extent, std::unique_ptr<Book>& book) {
  std::unique_ptr<Book> opened(new Book);
  opened->extent = extent;
  const Opening result = opened->Load(file, size);
  if (result == Opening::kOpened) book = std::move(opened);
  return result;
}

// libmobi keeps a copy of every record.
Opening Book::Load(std::FILE* file, uint64_t size) {
  std::array<char, kDatabaseHeaderSize> start{};
  const Bytes header(start.data(), start.size());
  if (!ReadAt(file, 0, start.data(), start.size()) || !IsBookType(header)) return Opening::kNotMobi;
  if (size > kMaxFileSize || !RecordsAreInOrder(file, header, size)) return Opening::kDamaged;

  data.reset(mobi_init());
  if (!data) return Opening::kNoMemory;
  rewind(file);
  const Opening result = ResultOf(mobi_load_file(data.get(), file));
  return result == Opening::kOpened ? Unpack(size) : result;
}

Opening Book::Unpack(uint64_t fileSize) {
  const MOBIRecord0Header* header = data->rh;
  if (header == nullptr) return Opening::kDamaged;
  const MOBIData* otherHalf = data->next;
  if (header->encryption_type != MOBI_ENCRYPTION_NONE ||
      (otherHalf != nullptr && otherHalf->rh != nullptr &&
       otherHalf->rh->encryption_type != MOBI_ENCRYPTION_NONE)) {
    return Opening::kEncrypted;
  }
  if (header->text_record_count == 0) return Opening::kNoText;
  const uint64_t recordSize = std::max<uint64_t>(mobi_get_textrecord_maxsize(Data()), 1);
  const uint64_t claimed =
      std::max<uint64_t>(header->text_length, header->text_record_count * recordSize);
  const uint64_t limit = std::min(kMaxTextSize, kSmallText + kMaxTextPerByte * fileSize);
  if (claimed > limit + recordSize) return Opening::kDamaged;

  ListRecords();
  HideFonts();
  if (CountFragments() > kMaxFragments || !UnpacksInTime()) {
    return Opening::kDamaged;
  }
  const bool isWhole = extent == Extent::kAll && mobi_exists_mobiheader(Data());
  if (isWhole && !HasSoundIndices(fileSize)) return Opening::kDamaged;
  const bool hasParts = isWhole || IsKf8() || mobi_is_dictionary(Data());
  const Opening result = hasParts ? UnpackParts() : UnpackText();
  return result == Opening::kOpened ? JudgeText() : result;
}

bool Book::UnpacksInTime() const {
  if (data->rh->compression_type != MOBI_COMPRESSION_HUFFCDIC) return true;
  const MOBIMobiHeader* header = data->mh;
  if (header == nullptr || header->huff_rec_index == nullptr || header->huff_rec_count == nullptr) {
    return false;
  }
  const size_t offset = mobi_get_kf8offset(Data());
  const uint64_t codeBegin = *header->huff_rec_index + offset;
  std::vector<Bytes> code;
  for (uint64_t i = codeBegin; i < codeBegin + *header->huff_rec_count && i < records.size(); ++i) {
    code.push_back(BytesOf(records[i]));
  }
  const uint16_t flags = header->extra_flags == nullptr ? uint16_t{0} : *header->extra_flags;
  std::vector<Bytes> texts;
  for (size_t i = offset + 1; i <= offset + data->rh->text_record_count && i < records.size();
       ++i) {
    const Bytes record = BytesOf(records[i]);
    const size_t extra = mobi_get_record_extrasize(records[i], flags);
    if (extra == MOBI_NOTSET || extra > record.size()) return false;
    texts.push_back(record.substr(0, record.size() - extra));
  }
  return kav_mobi::UnpacksInTime(code, texts);
}

// The old format needs no more than its text, and the text of a file without a MOBI header would be
// converted on the long way.
Opening Book::UnpackText() {
  size_t size = mobi_get_text_maxsize(Data());
  if (size == MOBI_NOTSET) return Opening::kDamaged;
  text.resize(size + 1);
  const Opening result = ResultOf(mobi_get_rawml(Data(), text.data(), &size));
  text.resize(std::min(size, text.size()));
  documents.emplace_back(text);
  return result;
}

Opening Book::UnpackParts() {
  MOBI_RET code = ParseParts(extent == Extent::kAll);
  if (code != MOBI_SUCCESS && extent == Extent::kAll) code = ParseParts(false);
  if (!raw) return Opening::kNoMemory;
  for (const MOBIPart* part = raw->markup; part != nullptr; part = part->next) {
    documents.push_back(BytesOf(part));
  }
  return ResultOf(code);
}

MOBI_RET Book::ParseParts(bool withContents) {
  raw.reset(mobi_init_rawml(Data()));
  if (!raw) return MOBI_MALLOC_FAILED;
  // Links count the bytes of the text as it is, so libmobi must not convert it.
  const ClaimUtf8 claim(data->mh);
  // Nor may it take its last step, which ends the host's libxml2 (xmlCleanupParser).
  return mobi_parse_rawml_opt(raw.get(), Data(), withContents, mobi_is_dictionary(Data()), false);
}

// libmobi takes memory for as many entries as an index claims, each of which has two bytes at
// least.
bool Book::HasSoundIndices(uint64_t fileSize) const {
  const MOBIMobiHeader& header = *data->mh;
  const uint32_t* const places[] = {header.ncx_index,      header.guide_index,
                                    header.orth_index,     header.infl_index,
                                    header.skeleton_index, header.fragment_index};
  return std::all_of(std::begin(places), std::end(places), [&](const uint32_t* place) {
    const uint64_t index = place == nullptr ? MOBI_NOTSET : *place + mobi_get_kf8offset(Data());
    return index >= records.size() ||
           BigEndian32(BytesOf(records[index]), kIndexTotalOffset) <= fileSize;
  });
}

void Book::ListRecords() {
  for (MOBIPdbRecord* record = data->rec; record != nullptr; record = record->next) {
    records.push_back(record);
  }
}

// Keeps libmobi from unpacking fonts, each of which may claim 50 MiB and none of which is used.
void Book::HideFonts() {
  for (size_t i = mobi_get_first_resource_record(Data()); i < records.size(); ++i) {
    if (BytesOf(records[i]).starts_with(kFontMagic)) records[i]->data[0] = '-';
  }
}

uint64_t Book::CountFragments() const {
  const MOBIMobiHeader* header = data->mh;
  if (header == nullptr || header->fragment_index == nullptr) return 0;
  const uint64_t index = *header->fragment_index + mobi_get_kf8offset(Data());
  if (index >= records.size()) return 0;
  const uint64_t last = index + BigEndian32(BytesOf(records[index]), kIndexCountOffset);
  uint64_t count = 0;
  for (uint64_t i = index + 1; i < records.size() && i <= last; ++i) {
    count += BigEndian32(BytesOf(records[i]), kIndexCountOffset);
  }
  return count;
}

Opening Book::JudgeText() {
  const bool isEmpty = std::all_of(documents.begin(), documents.end(),
                                   [](Bytes document) { return document.empty(); });
  if (isEmpty || documents.front().starts_with(kReplicaMagic)) return Opening::kNoText;
  ChooseCodePage();
  plainText = !mobi_exists_mobiheader(Data()) && !LooksLikeHtml(documents.front());
  return Opening::kOpened;
}

void Book::ChooseCodePage() {
  const MOBIMobiHeader* header = data->mh;
  if (header != nullptr && header->text_encoding != nullptr) {
    codePage = static_cast<uint32_t>(*header->text_encoding);
    if (TextDecoder::Knows(codePage)) return;
  }
  const bool utf8 = std::all_of(documents.begin(), documents.end(), IsUtf8);
  codePage = utf8 ? MOBI_UTF8 : MOBI_CP1252;
}

Bytes Book::Resource(size_t number) const {
  const size_t first = mobi_get_first_resource_record(Data());
  if (number == 0 || first >= records.size() || number > records.size() - first) return {};
  return BytesOf(records[first + number - 1]);
}

}  // namespace kav_mobi
