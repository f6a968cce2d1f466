// Composes and writes the sheet.
#include "hosts/kavepub/inspect/contact_sheet.h"

#include <png.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <system_error>

#include "hosts/kavepub/console/failure.h"

namespace {

constexpr size_t kColumns = 4;
constexpr size_t kGap = 12;
constexpr std::uint8_t kGround = 0xB0;
constexpr size_t kChannels = 3;
constexpr size_t kLargestSide = 10'000;

void Paste(const Picture& page, size_t left, size_t top, Picture& sheet) {
  for (size_t row = 0; row < page.height; ++row) {
    const auto from = page.pixels.begin() + static_cast<long>(row * page.width * kChannels);
    std::copy_n(
        from, page.width * kChannels,
        sheet.pixels.begin() + static_cast<long>(((top + row) * sheet.width + left) * kChannels));
  }
}

}  // namespace

Picture ReadPpm(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  std::string magic;
  Picture picture;
  size_t most = 0;
  stream >> magic >> picture.width >> picture.height >> most;
  stream.get();  // the one blank that ends the header
  if (!stream || magic != "P6" || most != 255 || picture.width > kLargestSide ||
      picture.height > kLargestSide) {
    throw Failure(file, "is not the picture of a page that was expected");
  }
  picture.pixels.resize(picture.width * picture.height * kChannels);
  stream.read(reinterpret_cast<char*>(picture.pixels.data()),
              static_cast<std::streamsize>(picture.pixels.size()));
  if (!stream) throw Failure(file, "ends too early; check the room on its disk");
  return picture;
}

Picture ComposeSheet(const std::vector<Picture>& pages) {
  size_t width = 0;
  size_t height = 0;
  for (const Picture& page : pages) {
    width = std::max(width, page.width);
    height = std::max(height, page.height);
  }
  const size_t columns = std::min(kColumns, pages.size());
  const size_t rows = (pages.size() + kColumns - 1) / kColumns;
  Picture sheet;
  sheet.width = columns * (width + kGap) + kGap;
  sheet.height = rows * (height + kGap) + kGap;
  sheet.pixels.assign(sheet.width * sheet.height * kChannels, kGround);
  for (size_t i = 0; i < pages.size(); ++i) {
    Paste(pages[i], kGap + i % kColumns * (width + kGap), kGap + i / kColumns * (height + kGap),
          sheet);
  }
  return sheet;
}

void WritePng(const Picture& picture, const std::filesystem::path& file) {
  png_image image = {};
  image.version = PNG_IMAGE_VERSION;
  image.width = static_cast<png_uint_32>(picture.width);
  image.height = static_cast<png_uint_32>(picture.height);
  image.format = PNG_FORMAT_RGB;
  if (png_image_write_to_file(&image, file.c_str(), 0, picture.pixels.data(), 0, nullptr) == 0) {
    throw Failure(file, std::string("cannot be written: ") + image.message);
  }
}
