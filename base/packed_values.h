// Numbers and texts in a row of bytes, for a process of the same program.
#ifndef KAV_BASE_PACKED_VALUES_H
#define KAV_BASE_PACKED_VALUES_H

#include <cstdint>
#include <string>
#include <string_view>

class Packing {
 public:
  Packing& Add(std::uint64_t number);
  Packing& Add(std::string_view text);

  const std::string& Bytes() const { return bytes; }

 private:
  std::string bytes;
};

// Takes them out again, in the same order, of bytes that may come from anybody. When there are none
// left, numbers are 0 and texts empty, and the whole is not sound.
class Unpacking {
 public:
  explicit Unpacking(std::string_view packed) : left(packed) {}

  std::uint64_t Number();
  std::string Text();
  std::string_view View();  // a text, in the bytes themselves

  // How many parts follow, each of which has at least so many bytes: never more than there can be.
  std::uint64_t Count(std::uint64_t leastBytes);

  // Whether all was there, and nothing else is.
  bool IsSound() const { return isSound && left.empty(); }

  // For values that cannot be.
  void Reject() { isSound = false; }

 private:
  std::string_view left;
  bool isSound = true;
};

#endif
