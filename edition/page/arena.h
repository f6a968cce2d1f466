// Memory for things that die together.
#ifndef KAVEPUB_PAGE_ARENA_H
#define KAVEPUB_PAGE_ARENA_H

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

class Arena {
 public:
  // Aligned for anything.
  void* Take(size_t size) {
    size = (size + kAlignment - 1) / kAlignment * kAlignment;
    if (size > left) {
      left = std::max(size, kBlockSize);
      blocks.push_back(std::make_unique_for_overwrite<char[]>(left));
      next = blocks.back().get();
    }
    void* taken = next;
    next += size;
    left -= size;
    return taken;
  }

  // With a zero behind it.
  char* Copy(std::string_view text) {
    char* copy = static_cast<char*>(Take(text.size() + 1));
    std::memcpy(copy, text.data(), text.size());
    copy[text.size()] = '\0';
    return copy;
  }

 private:
  static constexpr size_t kBlockSize = size_t{1} << 16;
  static constexpr size_t kAlignment = alignof(std::max_align_t);

  std::vector<std::unique_ptr<char[]>> blocks;
  char* next = nullptr;
  size_t left = 0;
};

#endif
