// One open book: the file behind libmobi, checked and unpacked within limits.
#ifndef KAV_MOBI_READER_H
#define KAV_MOBI_READER_H

#include <mobi.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace kav_mobi {

// Bytes of a book as they stand in the file, in the book's own encoding.
using Bytes = std::string_view;

class Book {
 public:
  // Opens and unpacks the book at path. 0 and a book, or a code of KavMobiResult and none.
  static int open(const char* path, std::unique_ptr<Book>& book);

  // What libmobi knows of the file: headers, metadata, records.
  const MOBIData* data() const { return data_.get(); }
  // The unpacked parts and their indices; null for a book in the old format that is no dictionary.
  const MOBIRawml* raw() const { return raw_.get(); }

  bool isKf8() const { return mobi_is_kf8(data()); }
  // A PalmDOC text without markup.
  bool isPlainText() const { return plainText_; }
  // The number of the text's code page.
  uint32_t codePage() const { return codePage_; }

  // The documents of the book in reading order: one in the old format, several in the new one.
  const std::vector<Bytes>& documents() const { return documents_; }
  // Resource `number`, counted from 1 as the book's references do; empty when there is none.
  Bytes resource(size_t number) const;

 private:
  struct FreeData {
    void operator()(MOBIData* data) const { mobi_free(data); }
  };
  struct FreeRaw {
    void operator()(MOBIRawml* raw) const { mobi_free_rawml(raw); }
  };

  Book() = default;
  int load(int file);
  int unpack(uint64_t fileSize);
  int unpackText();
  int unpackParts();
  void listRecords();
  void hideFonts();
  uint64_t countFragments() const;
  std::vector<Bytes> huffmanRecords() const;
  int judgeText();
  void chooseCodePage();

  std::unique_ptr<MOBIData, FreeData> data_;
  std::unique_ptr<MOBIRawml, FreeRaw> raw_;
  std::vector<MOBIPdbRecord*> records_;
  std::string text_;
  std::vector<Bytes> documents_;
  bool plainText_ = false;
  uint32_t codePage_ = MOBI_UTF8;
};

}  // namespace kav_mobi

#endif
