// Walks through a library, a folder at a time.
#include "hosts/kavepub/plan/library_list.h"

#include <algorithm>
#include <cstdint>
#include <system_error>
#include <utility>

#include "hosts/kavepub/console/failure.h"
#include "hosts/kavepub/console/interruption.h"
#include "hosts/kavepub/plan/gathering.h"
#include "hosts/kavepub/plan/listed_books.h"

namespace {

namespace fs = std::filesystem;

std::uint64_t SizeOf(const fs::path& file) {
  std::error_code error;
  const std::uint64_t size = fs::file_size(file, error);
  return error ? 0 : size;
}

std::uint64_t SizeOf(const BookOrder& order) {
  std::uint64_t sum = 0;
  if (order.folder.empty() || order.kind == BookKind::kPictures) {
    for (const fs::path& input : order.inputs) sum += SizeOf(input);
    return sum;
  }
  std::error_code error;
  for (fs::recursive_directory_iterator entry(order.folder, error), end; !error && entry != end;
       entry.increment(error)) {
    std::error_code ignored;
    if (entry->is_regular_file(ignored)) sum += SizeOf(entry->path());
  }
  return sum;
}

std::string NameOfListed(const BookOrder& order, const fs::path& root) {
  const fs::path& source = order.folder.empty() ? order.inputs.front() : order.folder;
  std::string name = NameBelow(root, fs::absolute(source).native());
  if (!name.empty()) return name;
  throw Failure(root, "is itself a book, with what lies in it; name the folder above it");
}

}  // namespace

std::vector<std::string> NamesOfLibrary(const fs::path& root) {
  std::error_code error;
  if (!fs::is_directory(root, error))
    throw Failure(root, "is no folder; name one that holds books");
  std::vector<std::pair<std::uint64_t, std::string>> found;
  for (std::vector<fs::path> folders = {root}; !folders.empty();) {
    StopIfInterrupted();
    const fs::path folder = std::move(folders.back());
    folders.pop_back();
    Gathering gathering = GatherFolder(folder);
    for (const Draft& draft : gathering.drafts) {
      found.emplace_back(SizeOf(draft.order), NameOfListed(draft.order, root));
    }
    folders.insert(folders.end(), gathering.folders.rbegin(), gathering.folders.rend());
  }
  std::sort(found.begin(), found.end(), [](const auto& one, const auto& other) {
    return one.first != other.first ? one.first > other.first : one.second < other.second;
  });
  std::vector<std::string> names;
  names.reserve(found.size());
  for (auto& [size, name] : found) names.push_back(std::move(name));
  return names;
}
