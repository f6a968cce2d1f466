// Deflates what is to be kept, as quickly as that can be done.
#include "edition/book/kept_text.h"

#include <libdeflate.h>

#include <memory>
#include <new>
#include <utility>

namespace {

constexpr int kQuickest = 1;

struct Free {
  void operator()(libdeflate_compressor* owned) const { libdeflate_free_compressor(owned); }
  void operator()(libdeflate_decompressor* owned) const { libdeflate_free_decompressor(owned); }
};

}  // namespace

void KeptText::Pack() {
  if (isPacked || size < 2) return;
  const std::unique_ptr<libdeflate_compressor, Free> press(libdeflate_alloc_compressor(kQuickest));
  if (press == nullptr) throw std::bad_alloc();
  const auto room = std::make_unique_for_overwrite<char[]>(size - 1);
  const size_t packed =
      libdeflate_deflate_compress(press.get(), text.data(), size, room.get(), size - 1);
  if (packed == 0) return;  // it would not become smaller
  text = std::string(room.get(), packed);
  isPacked = true;
}

std::string KeptText::Take() {
  if (!std::exchange(isPacked, false)) return std::exchange(text, {});
  const std::unique_ptr<libdeflate_decompressor, Free> press(libdeflate_alloc_decompressor());
  if (press == nullptr) throw std::bad_alloc();
  const std::string packed = std::exchange(text, {});
  std::string whole(size, '\0');
  libdeflate_deflate_decompress(press.get(), packed.data(), packed.size(), whole.data(), size,
                                nullptr);
  return whole;
}
