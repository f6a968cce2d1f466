// Numbers and texts in a row of bytes, for a process of the same program.
#include "base/packed_values.h"

#include <cstring>

Packing& Packing::Add(std::uint64_t number) {
  bytes.append(reinterpret_cast<const char*>(&number), sizeof number);
  return *this;
}

Packing& Packing::Add(std::string_view text) {
  Add(text.size());
  bytes += text;
  return *this;
}

std::uint64_t Unpacking::Number() {
  std::uint64_t number = 0;
  if (left.size() < sizeof number) {
    left = {};
    isSound = false;
    return 0;
  }
  std::memcpy(&number, left.data(), sizeof number);
  left.remove_prefix(sizeof number);
  return number;
}

std::string_view Unpacking::View() {
  const std::uint64_t size = Number();
  if (size > left.size()) {
    left = {};
    isSound = false;
    return {};
  }
  const std::string_view text = left.substr(0, size);
  left.remove_prefix(size);
  return text;
}

std::string Unpacking::Text() {
  return std::string(View());
}

std::uint64_t Unpacking::Count(std::uint64_t leastBytes) {
  const std::uint64_t count = Number();
  if (count <= left.size() / leastBytes) return count;
  left = {};
  isSound = false;
  return 0;
}
