// A ZIP container that is written from its first byte to its last.
#ifndef KAV_BASE_ZIP_STREAM_H
#define KAV_BASE_ZIP_STREAM_H

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

// Time stamps are fixed. ZIP64 where the number of entries, their sizes or offsets need it.
class ZipStream {
 public:
  enum class Method { kStored = 0, kDeflated = 8 };

  struct Entry {
    std::string_view name;  // is told to be UTF-8 where it is, and not ASCII
    Method method = Method::kStored;
    std::uint32_t crc = 0;   // of the content
    std::uint64_t size = 0;  // of the content
    bool isText = false;     // which the directory tells, for those who convert line ends
  };

  // Takes bytes of the container, in large pieces, and puts them where they belong: behind all that
  // was taken before, but for the header of an entry that came in pieces. False when it cannot.
  using Take = std::function<bool(std::uint64_t offset, std::string_view bytes)>;

  explicit ZipStream(Take taker);

  // Adds an entry with its packed content, both smaller than 4 GiB. False as soon as bytes were
  // not taken; the container can then not be finished.
  bool Add(const Entry& entry, std::string_view packed);

  // Adds an entry in pieces: what is known of it beforehand, its packed content, and all of it. Its
  // header is written last. Only a large one can have 4 GiB.
  bool Begin(const Entry& entry, bool isLarge);
  bool Append(std::string_view packed) { return Write(packed); }
  bool End(const Entry& entry, bool isLarge);

  // Writes the central directory, and what has been gathered.
  bool Finish();

  std::uint64_t Size() const { return position; }

 private:
  bool Write(std::string_view bytes);
  bool Put(std::uint64_t offset, std::string_view bytes);
  bool Flush();

  Take take;
  std::string gathered;
  std::string directory;
  std::uint64_t position = 0;
  std::uint64_t begun = 0;  // where the header of the entry in pieces is
  std::uint64_t entries = 0;
  bool failed = false;
};

#endif
