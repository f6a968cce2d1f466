// Finds files of the page.
#include "hosts/serve/page/assets.h"

#include <algorithm>

namespace {

constexpr std::string_view kEngine = "/reader/epub.js";

}  // namespace

const Asset* FindAsset(std::string_view path) {
  const auto found = std::ranges::lower_bound(Assets(), path, {}, &Asset::path);
  return found != Assets().end() && found->path == path ? &*found : nullptr;
}

bool HasReadingEngine() {
  return FindAsset(kEngine) != nullptr;
}
