// Each file once, and none after a failure.
#include "edition/page/given_files.h"

#include <utility>

#include "edition/page/base64.h"
#include "edition/page/picture_file.h"

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

std::string GivenFiles::Embed(Resource picture) {
  const bool hasRoom = embedded + picture.bytes.size() <= kMostEmbedded;
  embedded += picture.bytes.size();
  if (!hasRoom || !TakePicture(picture)) return {};
  const std::string& type = picture.mediaType;
  const bool isPossible = type == "image/jpeg" || type == "image/png";
  return isPossible ? "data:" + type + ";base64," + Base64Of(picture.bytes) : std::string();
}

void GivenFiles::Fail(const Failure& why) {
  if (failure) failure = why;
}
