// Adds a cover, whatever the picture's file is called.
#include "kavepub/cover.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <string>
#include <string_view>

#include "builder/epub_base.h"
#include "kavepub/failure.h"

namespace {

constexpr struct {
  std::string_view signature;
  std::string_view extension;
} kPictureTypes[] = {
    {"\xFF\xD8\xFF", ".jpg"},
    {"\x89PNG\r\n\x1A\n", ".png"},
    {"GIF87a", ".gif"},
    {"GIF89a", ".gif"},
};

constexpr std::string_view kKnownExtensions[] = {".jpeg", ".jpg", ".png", ".gif"};

std::string_view ExtensionByContent(const std::filesystem::path& picture) {
  std::array<char, 16> buffer = {};
  std::ifstream file(picture, std::ios::binary);
  file.read(buffer.data(), buffer.size());
  const std::string_view beginning(buffer.data(), static_cast<size_t>(file.gcount()));
  const auto* type =
      std::find_if(std::begin(kPictureTypes), std::end(kPictureTypes),
                   [&](const auto& row) { return beginning.starts_with(row.signature); });
  if (type == std::end(kPictureTypes)) {
    throw Failure(picture, "is no JPEG, PNG or GIF picture; convert it to one of these first");
  }
  return type->extension;
}

}  // namespace

void AddCover(const TEpubService& service, const std::filesystem::path& picture,
              const std::filesystem::path& workDir) {
  RequireReadable(picture);
  const std::string_view extension = ExtensionByContent(picture);
  std::filesystem::path named = picture;
  if (std::find(std::begin(kKnownExtensions), std::end(kKnownExtensions),
                picture.extension().string()) == std::end(kKnownExtensions)) {
    // The engine goes by the extension, in lower case.
    named = workDir / ("cover" + std::string(extension));
    std::filesystem::create_symlink(std::filesystem::absolute(picture), named);
  }
  Require(service.data->epub->AddCoverImageToEpub(named.c_str()), picture);
}
