// Pictures, by their content.
#include "edition/page/picture_file.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <optional>
#include <string_view>
#include <utility>

#include "base/large_stack.h"
#include "base/whole_picture.h"
#include "edition/book/companion.h"
#include "edition/book/picture.h"
#include "edition/book/picture_notes.h"
#include "edition/page/vector_graphics.h"
#include "edition/raster/raster.h"

namespace {

constexpr std::string_view kSvgType = "image/svg+xml";

constexpr std::string_view kJpegType = "image/jpeg";

constexpr int kNoLibrary = -1;

constexpr char kNoPicture[] =
    "is no picture that books can show; get a whole copy of it, or convert it to JPEG or PNG";
constexpr char kBroken[] = "is a picture that is cut off or broken; get a whole copy of it";
constexpr char kLiesOnSide[] =
    "cannot be turned as its Exif data asks, so readers that do not heed these show it as it lies";
constexpr char kOnlyFirst[] = " pictures, of which the book has the first one only";

Result<TakenPicture> TakeDrawing(Resource& file) {
  CleanedDrawing drawing = CleanDrawing(file.bytes);
  if (drawing.file.empty()) return Failure{KAVEPUB_E_FORMAT, kNoPicture};
  file.mediaType = kSvgType;
  file.bytes = std::move(drawing.file);
  return TakenPicture{std::move(drawing.title), {}, drawing.isWhole};
}

struct Made {
  int code;
  size_t pictures;  // in the file
};

// Nothing is made where the library is not there.
Made Raster(const std::string& file, int orientation, std::string& made) {
  static const auto convert = reinterpret_cast<kavepub_raster_function>(
      CompanionFunction(KAVEPUB_RASTER_LIBRARY, KAVEPUB_RASTER_FUNCTION));
  if (convert == nullptr) return {kNoLibrary, 0};
  size_t pictures = 0;
  int code = KAVEPUB_RASTER_DAMAGED;
  const bool isTried = DoOnLargeStack(
      [&] { code = convert(file.data(), file.size(), orientation, &pictures, KeepFile, &made); });
  if (!isTried || (code == KAVEPUB_RASTER_OK && made.empty())) code = KAVEPUB_RASTER_MEMORY;
  if (code == KAVEPUB_RASTER_MEMORY) throw std::bad_alloc();
  return {code, pictures};
}

// Makes a PNG or JPEG of a picture of another kind; how many pictures that holds.
Result<size_t> Convert(Resource& file, int orientation) {
  const std::string kind(ConvertiblePicture(file.bytes));
  if (kind.empty()) return Failure{KAVEPUB_E_FORMAT, kNoPicture};
  std::string made;
  const Made result = Raster(file.bytes, orientation, made);
  const std::string is = "is a " + kind + " picture";
  switch (result.code) {
    case KAVEPUB_RASTER_OK:
      break;
    case kNoLibrary:
      return Failure{KAVEPUB_E_UNSUPPORTED,
                     is + ", which only " KAVEPUB_RASTER_LIBRARY
                          " can convert; install that, or convert it to JPEG or PNG first"};
    case KAVEPUB_RASTER_FOREIGN:
      return Failure{KAVEPUB_E_FORMAT, is + " of a rare form; convert it to JPEG or PNG first"};
    case KAVEPUB_RASTER_LARGE:
      return Failure{KAVEPUB_E_LIMIT,
                     is + " of more than 67 million pixels; convert it to JPEG or PNG first"};
    default:
      return Failure{KAVEPUB_E_FORMAT, kBroken};
  }
  file.bytes = std::move(made);
  const std::optional<PictureFacts> facts = ExaminePicture(file.bytes);
  file.mediaType = facts ? facts->mediaType : "";
  return result.pictures;
}

}  // namespace

Result<TakenPicture> TakePicture(Resource& file) {
  const std::optional<PictureFacts> facts = ExaminePicture(file.bytes);
  if (facts && facts->mediaType == kSvgType) return TakeDrawing(file);
  const PictureNotes notes = ReadPictureNotes(file.bytes);
  TakenPicture taken;
  taken.title = notes.title;
  taken.isWhole = !facts || IsWholePicture(file.bytes);
  if (!facts) {
    Result<size_t> pictures = Convert(file, notes.orientation);
    if (!pictures) return pictures.Why();
    if (*pictures > 1) taken.warning = "holds " + std::to_string(*pictures) + kOnlyFirst;
    return taken;
  }
  file.mediaType = facts->mediaType;
  if (notes.orientation == 1 || file.mediaType != kJpegType) return taken;
  char& orientation = file.bytes[notes.orientationByte];
  const char asItLies = std::exchange(orientation, '\1');
  std::string turned;
  if (taken.isWhole && Raster(file.bytes, notes.orientation, turned).code == KAVEPUB_RASTER_OK) {
    file.bytes = std::move(turned);
  } else {
    orientation = asItLies;
    taken.warning = kLiesOnSide;
  }
  return taken;
}
