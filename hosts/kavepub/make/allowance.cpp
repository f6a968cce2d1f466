// What a cell may read and take for a piece of work.
#include "hosts/kavepub/make/allowance.h"

#include <system_error>

namespace {

namespace fs = std::filesystem;

constexpr std::uint64_t kMegabyte = std::uint64_t{1} << 20;

// A page takes 24 times its size, a picture 0.7 GB at most.
constexpr std::uint64_t kLeastMemory = 1024 * kMegabyte;
constexpr std::uint64_t kMemoryOfByte = 32;

constexpr std::uint64_t kLeastSeconds = 600;
constexpr std::uint64_t kSecondsOfMegabyte = 10;
constexpr std::uint64_t kSecondsOfInput = 20;

// A text or MOBI book holds all that becomes of it; a page may show any files below it.
constexpr std::uint64_t kLeastOutput = 256 * kMegabyte;
constexpr std::uint64_t kLeastOutputOfPages = 16384 * kMegabyte;
constexpr std::uint64_t kOutputOfByte = 16;

bool IsOfPages(const BookOrder& order) {
  return order.kind == BookKind::kHtml || order.kind == BookKind::kMarkdown;
}

std::uint64_t SizeOf(const Work& work) {
  std::uint64_t size = work.piped.size();
  for (const fs::path& input : work.order.inputs) {
    std::error_code error;
    const std::uintmax_t bytes = fs::file_size(input, error);
    if (!error) size += bytes;
  }
  return size;
}

std::uint64_t MemoryFor(const Work& work, std::uint64_t size) {
  const std::uint64_t chosen = work.options.memory * kMegabyte;
  return chosen > 0 ? chosen : kLeastMemory + kMemoryOfByte * size;
}

// As it is named, and where it is when it is a link.
void AddPlaceOf(const fs::path& page, std::vector<fs::path>& places) {
  std::error_code error;
  for (const fs::path& path : {page, fs::canonical(page, error)}) {
    const fs::path directory = path.parent_path();
    const fs::path place = directory.empty() ? fs::path(".") : directory;
    if (path.empty() || (!places.empty() && places.back() == place)) continue;
    places.push_back(place);
  }
}

}  // namespace

std::vector<fs::path> ReadableFor(const Work& work) {
  std::vector<fs::path> places;
  if (!work.order.folder.empty()) places.push_back(work.order.folder);
  for (const fs::path& input : work.order.inputs) {
    if (input == kStandardStream) continue;
    if (IsOfPages(work.order)) AddPlaceOf(input, places);
    places.push_back(input);
  }
  for (const auto& [name, value] : work.options.chosen) {
    const bool isRoot = name == "import-root";
    const fs::path file = isRoot ? fs::path(value) : FileOf(name, value);
    if (!file.empty()) places.push_back(file);
  }
  return places;
}

std::uint64_t MemoryFor(const Work& work) {
  return MemoryFor(work, SizeOf(work));
}

std::vector<std::pair<const char*, std::uint64_t>> LimitsFor(const Work& work) {
  const std::uint64_t size = SizeOf(work);
  const std::uint64_t output =
      (IsOfPages(work.order) ? kLeastOutputOfPages : kLeastOutput) + kOutputOfByte * size;
  const std::uint64_t seconds = kLeastSeconds + kSecondsOfMegabyte * (size / kMegabyte) +
                                kSecondsOfInput * work.order.inputs.size();
  return {{"memory", MemoryFor(work, size)},
          {"file-size", output},
          {"seconds", work.options.seconds > 0 ? work.options.seconds : seconds}};
}
