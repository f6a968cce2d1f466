// Names pictures by their content.
#include "hosts/kavepub/work/pictures.h"

#include <optional>
#include <string_view>

#include "base/read_file.h"
#include "base/whole_picture.h"
#include "hosts/kavepub/console/failure.h"
#include "hosts/kavepub/plan/input_kind.h"

namespace {

constexpr size_t kLongestStem = 200;  // bytes; leaves room for a number and an extension

// A stem that no validator frowns upon: blanks and what file systems elsewhere forbid become "-".
std::string PlainStem(const std::filesystem::path& picture) {
  constexpr std::string_view kUnwelcome = " \"*:<>?\\|";
  std::string stem = picture.stem().string();
  if (stem.size() > kLongestStem) {
    size_t end = kLongestStem;
    while (end > 0 && (static_cast<unsigned char>(stem[end]) & 0xC0) == 0x80) --end;
    stem.resize(end);
  }
  for (char& c : stem) {
    const bool isControl = static_cast<unsigned char>(c) < ' ' || c == '\x7F';
    if (isControl || kUnwelcome.find(c) != std::string_view::npos) c = '-';
  }
  return stem;
}

}  // namespace

std::string RequirePicture(const std::filesystem::path& picture) {
  RequireReadable(picture);
  std::string type = PictureExtension(picture);
  if (type.empty()) {
    const std::string kind = ConvertibleKind(picture);
    if (!kind.empty()) {
      throw Failure(picture, "is " + kind + " picture; convert it to JPEG, PNG or GIF first");
    }
    KindOf(picture);  // tells better what is wrong with what is called like a picture
    throw Failure(picture, "is no JPEG, PNG or GIF picture; convert it to one of these first");
  }
  const std::optional<std::string> file = ReadRegularFile(picture.c_str());
  if (!file || !IsWholePicture(*file)) {
    throw Failure(picture, "is a picture that is cut off or broken; get a whole copy of it");
  }
  return type;
}

PictureShelf::PictureShelf(const std::filesystem::path& workDir)
    : directory(workDir / "pictures") {}

std::filesystem::path PictureShelf::Place(const std::filesystem::path& picture) {
  const std::string type = RequirePicture(picture);
  const std::string stem = PlainStem(picture);
  const std::string given = picture.extension().string();
  const std::string extension = type == ".jpg" && given == ".jpeg" ? given : type;
  std::string name = stem + extension;
  for (int copy = 2; !names.insert(name).second; ++copy) {
    name = stem;
    name.append("-").append(std::to_string(copy)).append(extension);
  }
  if (name == picture.filename()) return picture;
  std::filesystem::create_directories(directory);
  std::filesystem::create_symlink(std::filesystem::absolute(picture), directory / name);
  return directory / name;
}
