// Each file once, and none after a failure.
#include "edition/page/given_files.h"

#include <utility>

std::string GivenFiles::Give(Resource resource) {
  if (!failure) return {};
  Result<std::string> name = sink.Add(std::move(resource));
  if (!name) {
    failure = name.Why();
    return {};
  }
  return name->empty() ? "file" : std::move(*name);  // of a book that nobody writes
}

std::string GivenFiles::GiveOnce(Resource resource) {
  const auto [known, isNew] = names.try_emplace(resource.bytes);
  if (isNew) known->second = Give(std::move(resource));
  return known->second;
}

std::string GivenFiles::GiveSheet(std::string css, std::string name) {
  if (css.empty()) return {};
  return GiveOnce({std::move(name), "text/css", std::move(css)});
}

void GivenFiles::Fail(const Failure& why) {
  if (failure) failure = why;
}
