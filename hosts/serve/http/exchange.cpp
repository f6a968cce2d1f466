// Looks up headers.
#include "hosts/serve/http/exchange.h"

#include <strings.h>

#include <algorithm>
#include <charconv>

namespace {

bool IsCalled(const std::pair<std::string, std::string>& field, std::string_view name) {
  return field.first.size() == name.size() &&
         strncasecmp(field.first.data(), name.data(), name.size()) == 0;
}

}  // namespace

std::string_view Request::Header(std::string_view name) const {
  const auto found = std::find_if(headers.begin(), headers.end(),
                                  [name](const auto& field) { return IsCalled(field, name); });
  return found == headers.end() ? std::string_view() : found->second;
}

std::size_t Request::HeaderCount(std::string_view name) const {
  return static_cast<std::size_t>(std::count_if(
      headers.begin(), headers.end(), [name](const auto& field) { return IsCalled(field, name); }));
}

std::optional<std::uint64_t> Request::ContentLength() const {
  const std::string_view text = Header("Content-Length");
  std::uint64_t length = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), length);
  if (text.empty() || read.ec != std::errc() || read.ptr != text.data() + text.size()) {
    return std::nullopt;
  }
  return length;
}

bool Request::HasBody() const {
  return ContentLength().value_or(0) > 0 || HeaderCount("Transfer-Encoding") > 0;
}
