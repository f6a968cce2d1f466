// Reads lists chunk by chunk.
#include "hosts/kavepub/plan/name_list.h"

#include <fcntl.h>
#include <unistd.h>
#include <xxhash.h>

#include <algorithm>
#include <cerrno>
#include <optional>
#include <system_error>

#include "base/unique_fd.h"
#include "hosts/kavepub/console/failure.h"
#include "hosts/kavepub/console/interruption.h"
#include "hosts/kavepub/plan/book_order.h"
#include "hosts/kavepub/source/standard_input.h"

namespace {

constexpr size_t kReadAtOnce = size_t{1} << 16;  // more than a name can have

// Cuts what comes in pieces into names.
class NameCutter {
 public:
  explicit NameCutter(const std::function<void(std::string_view)>& taker) : take(taker) {}

  void Add(std::string_view bytes) {
    if (!end) end = bytes.find('\0') == std::string_view::npos ? '\n' : '\0';
    for (size_t cut = bytes.find(*end); cut != std::string_view::npos; cut = bytes.find(*end)) {
      begun.append(bytes.substr(0, cut));
      Finish();
      bytes.remove_prefix(cut + 1);
    }
    begun.append(bytes);
  }

  void Finish() {
    if (end == '\n' && begun.ends_with('\r')) begun.pop_back();
    if (!begun.empty()) take(begun);
    begun.clear();
  }

 private:
  const std::function<void(std::string_view)>& take;
  std::optional<char> end;
  std::string begun;
};

}  // namespace

void ForEachName(const std::filesystem::path& list,
                 const std::function<void(std::string_view)>& take) {
  const bool isStandardInput = list == kStandardStream;
  const UniqueFd file(isStandardInput ? dup(STDIN_FILENO)
                                      : open(list.c_str(), O_RDONLY | O_CLOEXEC));
  NameCutter cutter(take);
  std::string chunk(kReadAtOnce, '\0');
  size_t filled = 0;  // a pipe hands out less than a chunk, and the first must be whole
  for (;;) {
    isStandardInput ? WaitForStandardInput() : StopIfInterrupted();
    const ssize_t count =
        file ? read(file.Get(), chunk.data() + filled, chunk.size() - filled) : -1;
    if (count < 0 && file && errno == EINTR) continue;
    if (count < 0) {
      throw Failure(isStandardInput ? kStandardInput : list,
                    std::generic_category().message(errno) + "; check the path of the list");
    }
    filled += static_cast<size_t>(count);
    if (count > 0 && filled < chunk.size()) continue;
    cutter.Add(std::string_view(chunk).substr(0, filled));
    filled = 0;
    if (count == 0) break;
  }
  cutter.Finish();
}

std::string ListOfNames(const std::vector<std::string>& names) {
  const bool isOfLines = std::none_of(names.begin(), names.end(), [](const std::string& name) {
    return name.find('\n') != std::string::npos || name.ends_with('\r');
  });
  std::string list;
  for (const std::string& name : names) list.append(name).push_back(isOfLines ? '\n' : '\0');
  return list;
}

bool Share::Holds(std::string_view name) const {
  return ShareOf(name, count) == number;
}

size_t ShareOf(std::string_view name, size_t count) {
  return XXH3_64bits(name.data(), name.size()) % count + 1;
}
