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

#include "base/unique_fd.h"

namespace kav_mobi {

// Bytes of a book as they stand in the file, in the book's own encoding.
using Bytes = std::string_view;

constexpr Bytes kBlanks = " \t\r\n";

class Book {
 public:
  // Opens and unpacks the book at path. 0 and a book, or a code of KavMobiResult and none.
  static int Open(const char* path, std::unique_ptr<Book>& book);

  // What libmobi knows of the file: headers, metadata, records.
  const MOBIData* Data() const { return data.get(); }
  // The unpacked parts and their indices; null for a book in the old format that is no dictionary.
  const MOBIRawml* Raw() const { return raw.get(); }

  bool IsKf8() const { return mobi_is_kf8(Data()); }
  // A PalmDOC text without markup.
  bool IsPlainText() const { return plainText; }
  // The number of the text's code page.
  uint32_t CodePage() const { return codePage; }

  // The documents of the book in reading order: one in the old format, several in the new one.
  const std::vector<Bytes>& Documents() const { return documents; }
  // Resource `number`, counted from 1 as the book's references do; empty when there is none.
  Bytes Resource(size_t number) const;

 private:
  struct FreeData {
    void operator()(MOBIData* owned) const { mobi_free(owned); }
  };
  struct FreeRaw {
    void operator()(MOBIRawml* owned) const { mobi_free_rawml(owned); }
  };

  Book() = default;
  int Load(UniqueFd descriptor);
  int Unpack(uint64_t fileSize);
  int UnpackText();
  int UnpackParts();
  void ListRecords();
  void HideFonts();
  uint64_t CountFragments() const;
  bool UnpacksInTime() const;
  int JudgeText();
  void ChooseCodePage();

  std::unique_ptr<MOBIData, FreeData> data;
  std::unique_ptr<MOBIRawml, FreeRaw> raw;
  std::vector<MOBIPdbRecord*> records;
  std::string text;
  std::vector<Bytes> documents;
  bool plainText = false;
  uint32_t codePage = MOBI_UTF8;
};

}  // namespace kav_mobi

#endif
