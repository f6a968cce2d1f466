// Types and files of pictures.
#include "platform/kav_mobi/picture_files.h"

#include <algorithm>
#include <array>
#include <utility>

#include "base/output_file.h"

namespace kav_mobi {
namespace {

// How a file of the type begins, and the extension it gets. What a record claims to hold, and what
// a reference to it says, is often wrong.
struct PictureType {
  Bytes start;
  Bytes extension;
};
constexpr std::array<PictureType, 4> kTypes = {{
    {"\xFF\xD8\xFF", ".jpg"},
    {"\x89PNG\r\n\x1A\n", ".png"},
    {"GIF87a", ".gif"},
    {"GIF89a", ".gif"},
}};

constexpr Bytes kNameStart = "picture-";

}  // namespace

PictureFiles::PictureFiles(const Book& source, std::string target)
    : book(source), directory(std::move(target)) {}

const std::string& PictureFiles::NameOf(size_t number) {
  const auto [entry, isNew] = names.try_emplace(number);
  std::string& name = entry->second;
  if (!isNew) return name;
  const Bytes picture = book.Resource(number);
  const auto* const type =
      std::find_if(kTypes.begin(), kTypes.end(),
                   [picture](const PictureType& t) { return picture.starts_with(t.start); });
  if (type == kTypes.end()) return name;
  name.append(kNameStart).append(std::to_string(number)).append(type->extension);
  OutputFile file(directory + name);
  file.Write(picture);
  if (!file.Close()) failed = true;
  return name;
}

}  // namespace kav_mobi
