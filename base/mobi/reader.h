// One open book: the file behind libmobi, checked and unpacked within limits.
#ifndef KAV_BASE_MOBI_READER_H
#define KAV_BASE_MOBI_READER_H

#include <mobi.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace kav_mobi {

// Bytes of a book as they stand in the file, in the book's own encoding.
using Bytes = std::string_view;

constexpr Bytes kBlanks = " \t\r\n";

// How type and creator begin, at this offset, of the Palm databases that are books. PalmDOC is of
// one type, whichever program is named as its creator.
constexpr size_t kTypeOffset = 60;
constexpr Bytes kBookTypes[] = {"BOOKMOBI", "TEXt"};

enum class Opening : uint8_t {
  kOpened,
  kNotMobi,
  kDamaged,  // or larger than what is taken from strangers
  kEncrypted,
  kNoText,
  kNoMemory
};

// What is unpacked.
enum class Extent : uint8_t {
  kText,  // and the index of a dictionary
  kAll    // the indices of the contents as well, as far as they are sound
};

class Book {
 public:
  // Unpacks the book in a file of so many bytes, which is not needed afterwards. Where the result
  // is another than kOpened, there is none.
  static Opening Open(std::FILE* file, uint64_t size, Extent extent, std::unique_ptr<Book>& book);

  // What libmobi knows of the file: headers, metadata, records.
  const MOBIData* Data() const { return data.get(); }
  // The unpacked parts and their indices; null for a PalmDOC text and, where no more than the text
  // is unpacked, for a book in the old format that is no dictionary.
  const MOBIRawml* Raw() const { return raw.get(); }

  bool IsKf8() const { return mobi_is_kf8(Data()); }
  // A PalmDOC text without markup.
  bool IsPlainText() const { return plainText; }
  // The number of the text's code page.
  uint32_t CodePage() const { return codePage; }

  // The documents of the book in reading order: one in the old format, several in the new one.
  const std::vector<Bytes>& Documents() const { return documents; }
  // Resource `number`, counted from 1 as the book's references do; empty when there is none. Fonts
  // are as they are in the file, but for their first byte.
  Bytes Resource(size_t number) const;

 private:
  struct FreeData {
    void operator()(MOBIData* owned) const { mobi_free(owned); }
  };
  struct FreeRaw {
    void operator()(MOBIRawml* owned) const { mobi_free_rawml(owned); }
  };

  Book() = default;
  Opening Load(std::FILE* file, uint64_t size);
  Opening Unpack(uint64_t fileSize);
  Opening UnpackText();
  Opening UnpackParts();
  MOBI_RET ParseParts(bool withContents);
  bool HasSoundIndices(uint64_t fileSize) const;
  void ListRecords();
  void HideFonts();
  uint64_t CountFragments() const;
  bool UnpacksInTime() const;
  Opening JudgeText();
  void ChooseCodePage();

  std::unique_ptr<MOBIData, FreeData> data;
  std::unique_ptr<MOBIRawml, FreeRaw> raw;
  std::vector<MOBIPdbRecord*> records;
  std::string text;
  std::vector<Bytes> documents;
  Extent extent = Extent::kText;
  bool plainText = false;
  uint32_t codePage = MOBI_UTF8;
};

}  // namespace kav_mobi

#endif
