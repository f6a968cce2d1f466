// A ZIP container that is written from its first byte to its last, without going back.
#ifndef KAV_BASE_ZIP_STREAM_H
#define KAV_BASE_ZIP_STREAM_H

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

// Each entry comes packed, so all that its header says is known beforehand. Time stamps are fixed.
// ZIP64 where the number of entries or their offsets need it.
class ZipStream {
 public:
  enum class Method { kStored = 0, kDeflated = 8 };

  struct Entry {
    std::string_view name;  // ASCII
    Method method;
    std::uint32_t crc;   // of the content
    std::uint32_t size;  // of the content
  };

  // Takes the next bytes of the container, in large pieces; false when it cannot.
  using Take = std::function<bool(std::string_view bytes)>;

  explicit ZipStream(Take taker);

  // Adds an entry with its packed content, which is smaller than 4 GiB. False as soon as bytes were
  // not taken; the container can then not be finished.
  bool Add(const Entry& entry, std::string_view packed);

  // Writes the central directory, and what has been gathered.
  bool Finish();

  std::uint64_t Size() const { return position; }

 private:
  bool Write(std::string_view bytes);
  bool Flush();

  Take take;
  std::string gathered;
  std::string directory;
  std::uint64_t position = 0;
  std::uint64_t entries = 0;
  bool failed = false;
};

#endif
