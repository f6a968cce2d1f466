// Opening of a book: what is refused before libmobi unpacks it, and what libmobi makes of the rest.
#include "reader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

#include "bytes.h"
#include "encoding.h"
#include "huffman_check.h"
#include "kav_mobi.h"

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
constexpr size_t kTypeOffset = 60;
constexpr std::array<Bytes, 2> kBookTypes = {"BOOKMOBI", "TEXtREAd"};

constexpr size_t kIndexCountOffset = 24;
constexpr Bytes kFontMagic = "FONT";
constexpr Bytes kReplicaMagic = "%MOP";

// What marks a text without a MOBI header as HTML, and how far into it to look.
constexpr std::array<Bytes, 3> kHtmlMarks = {"<html", "<HTML", "<body"};
constexpr size_t kHtmlMarkReach = 4096;

struct CloseFile {
  void operator()(FILE* file) const { (void)fclose(file); }
};

// While it lives, the header says that the text is UTF-8.
class ClaimUtf8 {
 public:
  explicit ClaimUtf8(const MOBIMobiHeader* header)
      : encoding_(header == nullptr ? nullptr : header->text_encoding) {
    if (encoding_ != nullptr) original_ = std::exchange(*encoding_, MOBI_UTF8);
  }
  ~ClaimUtf8() {
    if (encoding_ != nullptr) *encoding_ = original_;
  }
  ClaimUtf8(const ClaimUtf8&) = delete;
  ClaimUtf8& operator=(const ClaimUtf8&) = delete;

 private:
  MOBIEncoding* encoding_;
  MOBIEncoding original_ = MOBI_UTF8;
};

int resultOf(MOBI_RET code) {
  switch (code) {
    case MOBI_SUCCESS:
      return KAV_MOBI_OK;
    case MOBI_FILE_ENCRYPTED:
    case MOBI_DRM_UNSUPPORTED:
    case MOBI_DRM_KEYNOTFOUND:
      return KAV_MOBI_E_ENCRYPTED;
    case MOBI_MALLOC_FAILED:
      return KAV_MOBI_E_MEMORY;
    case MOBI_FILE_UNSUPPORTED:
      return KAV_MOBI_E_NOT_MOBI;
    default:
      return KAV_MOBI_E_DAMAGED;
  }
}

// A record's bytes; none for a null record or one that libmobi did not read.
Bytes bytesOf(const MOBIPdbRecord* record) {
  if (record == nullptr || record->data == nullptr) return {};
  return {reinterpret_cast<const char*>(record->data), record->size};
}

Bytes bytesOf(const MOBIPart* part) {
  if (part->data == nullptr) return {};
  return {reinterpret_cast<const char*>(part->data), part->size};
}

bool isBookType(int file) {
  std::array<char, kDatabaseHeaderSize> header{};
  if (pread(file, header.data(), header.size(), 0) != ssize_t{kDatabaseHeaderSize}) return false;
  const Bytes type(header.data() + kTypeOffset, kBookTypes[0].size());
  return std::find(kBookTypes.begin(), kBookTypes.end(), type) != kBookTypes.end();
}

bool looksLikeHtml(Bytes text) {
  const Bytes start = text.substr(0, kHtmlMarkReach);
  return std::any_of(kHtmlMarks.begin(), kHtmlMarks.end(),
                     [start](Bytes mark) { return start.find(mark) != Bytes::npos; });
}

}  // namespace

int Book::open(const char* path, std::unique_ptr<Book>& book) {
  // Without O_NONBLOCK a pipe at path would wait for its writer.
  const int file = path == nullptr ? -1 : ::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (file < 0) return KAV_MOBI_E_OPEN;
  std::unique_ptr<Book> opened(new Book);
  const int result = opened->load(file);
  if (result == KAV_MOBI_OK) book = std::move(opened);
  return result;
}

// Takes the file over. libmobi keeps a copy of every record, so the file is closed at the end.
int Book::load(int file) {
  const std::unique_ptr<FILE, CloseFile> stream(fdopen(file, "rb"));
  if (!stream) {
    (void)::close(file);
    return KAV_MOBI_E_MEMORY;
  }
  struct stat status {};
  if (fstat(file, &status) != 0 || !S_ISREG(status.st_mode)) return KAV_MOBI_E_OPEN;
  if (!isBookType(file)) return KAV_MOBI_E_NOT_MOBI;
  const auto size = static_cast<uint64_t>(status.st_size);
  if (size > kMaxFileSize) return KAV_MOBI_E_DAMAGED;

  data_.reset(mobi_init());
  if (!data_) return KAV_MOBI_E_MEMORY;
  const int result = resultOf(mobi_load_file(data_.get(), stream.get()));
  return result == KAV_MOBI_OK ? unpack(size) : result;
}

int Book::unpack(uint64_t fileSize) {
  const MOBIRecord0Header* header = data_->rh;
  if (header == nullptr) return KAV_MOBI_E_DAMAGED;
  const MOBIData* otherHalf = data_->next;
  if (header->encryption_type != MOBI_ENCRYPTION_NONE ||
      (otherHalf != nullptr && otherHalf->rh != nullptr &&
       otherHalf->rh->encryption_type != MOBI_ENCRYPTION_NONE)) {
    return KAV_MOBI_E_ENCRYPTED;
  }
  if (header->text_record_count == 0) return KAV_MOBI_E_NO_TEXT;
  const uint64_t recordSize = std::max<uint64_t>(mobi_get_textrecord_maxsize(data()), 1);
  const uint64_t claimed =
      std::max<uint64_t>(header->text_length, header->text_record_count * recordSize);
  const uint64_t limit = std::min(kMaxTextSize, kSmallText + kMaxTextPerByte * fileSize);
  if (claimed > limit + recordSize) return KAV_MOBI_E_DAMAGED;

  listRecords();
  hideFonts();
  if (countFragments() > kMaxFragments || !unpacksInTime(huffmanRecords())) {
    return KAV_MOBI_E_DAMAGED;
  }
  const bool hasParts = isKf8() || mobi_is_dictionary(data());
  const int result = hasParts ? unpackParts() : unpackText();
  return result == KAV_MOBI_OK ? judgeText() : result;
}

// The code table and the phrases of a Huffman coded text; none for another.
std::vector<Bytes> Book::huffmanRecords() const {
  std::vector<Bytes> found;
  const MOBIMobiHeader* header = data_->mh;
  if (data_->rh->compression_type != MOBI_COMPRESSION_HUFFCDIC || header == nullptr) return found;
  if (header->huff_rec_index == nullptr || header->huff_rec_count == nullptr) return found;
  const uint64_t first = *header->huff_rec_index + mobi_get_kf8offset(data());
  for (uint64_t i = first; i < records_.size() && i < first + *header->huff_rec_count; ++i) {
    found.push_back(bytesOf(records_[i]));
  }
  return found;
}

// The old format needs no more than its text, and the text of a file without a MOBI header would be
// converted on the long way.
int Book::unpackText() {
  size_t size = mobi_get_text_maxsize(data());
  if (size == MOBI_NOTSET) return KAV_MOBI_E_DAMAGED;
  text_.resize(size + 1);
  const int result = resultOf(mobi_get_rawml(data(), text_.data(), &size));
  text_.resize(std::min(size, text_.size()));
  documents_.emplace_back(text_);
  return result;
}

int Book::unpackParts() {
  raw_.reset(mobi_init_rawml(data()));
  if (!raw_) return KAV_MOBI_E_MEMORY;
  // Links count the bytes of the text as it is, so libmobi must not convert it.
  const ClaimUtf8 claim(data_->mh);
  // Nor may it take its last step, which ends the host's libxml2 (xmlCleanupParser).
  const bool isDictionary = mobi_is_dictionary(data());
  const int result = resultOf(mobi_parse_rawml_opt(raw_.get(), data(), false, isDictionary, false));
  for (const MOBIPart* part = raw_->markup; part != nullptr; part = part->next) {
    documents_.push_back(bytesOf(part));
  }
  return result;
}

void Book::listRecords() {
  for (MOBIPdbRecord* record = data_->rec; record != nullptr; record = record->next) {
    records_.push_back(record);
  }
}

// Keeps libmobi from unpacking fonts, each of which may claim 50 MiB and none of which is used.
void Book::hideFonts() {
  for (size_t i = mobi_get_first_resource_record(data()); i < records_.size(); ++i) {
    if (bytesOf(records_[i]).starts_with(kFontMagic)) records_[i]->data[0] = '-';
  }
}

uint64_t Book::countFragments() const {
  const MOBIMobiHeader* header = data_->mh;
  if (header == nullptr || header->fragment_index == nullptr) return 0;
  const uint64_t index = *header->fragment_index + mobi_get_kf8offset(data());
  if (index >= records_.size()) return 0;
  const uint64_t last = index + bigEndian32(bytesOf(records_[index]), kIndexCountOffset);
  uint64_t count = 0;
  for (uint64_t i = index + 1; i < records_.size() && i <= last; ++i) {
    count += bigEndian32(bytesOf(records_[i]), kIndexCountOffset);
  }
  return count;
}

int Book::judgeText() {
  const bool isEmpty = std::all_of(documents_.begin(), documents_.end(),
                                   [](Bytes document) { return document.empty(); });
  if (isEmpty || documents_.front().starts_with(kReplicaMagic)) return KAV_MOBI_E_NO_TEXT;
  chooseCodePage();
  plainText_ = !mobi_exists_mobiheader(data()) && !looksLikeHtml(documents_.front());
  return KAV_MOBI_OK;
}

void Book::chooseCodePage() {
  const MOBIMobiHeader* header = data_->mh;
  if (header != nullptr && header->text_encoding != nullptr) {
    codePage_ = static_cast<uint32_t>(*header->text_encoding);
    if (TextDecoder::knows(codePage_)) return;
  }
  const bool utf8 = std::all_of(documents_.begin(), documents_.end(), isUtf8);
  codePage_ = utf8 ? MOBI_UTF8 : MOBI_CP1252;
}

Bytes Book::resource(size_t number) const {
  const size_t first = mobi_get_first_resource_record(data());
  if (number == 0 || first >= records_.size() || number > records_.size() - first) return {};
  return bytesOf(records_[first + number - 1]);
}

}  // namespace kav_mobi
