// Writes what comes to the disk, within the limits.
#include "hosts/serve/shelf/upload.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

#include "hosts/kavepub/console/failure.h"
#include "hosts/kavepub/work/written.h"
#include "hosts/serve/shelf/refusal.h"
#include "hosts/serve/shelf/tokens.h"

namespace {

namespace fs = std::filesystem;

constexpr size_t kMostFiles = 20000;
constexpr std::uint64_t kBlock = 4096;  // that a file takes at least

[[noreturn]] void Full() {
  throw Refused(refusal::kFull, "there is no room for it on this server; forget some books");
}

void Require(int error) {
  if (error == 0) return;
  if (error == ENOSPC || error == EDQUOT || error == EFBIG) Full();
  throw Refused(refusal::kFailed, "it cannot be stored: " + std::generic_category().message(error));
}

std::string Made(const Store& store, std::string of) {
  try {
    return of.empty() ? store.NewUpload() : std::move(of);
  } catch (const std::exception&) {
    Full();
  }
}

}  // namespace

Upload::Upload(Store& in, std::uint64_t mostBytes, std::string of)
    : store(in),
      most(mostBytes),
      isNew(of.empty()),
      id(Made(in, std::move(of))),
      files(in.PlaceOfFiles(id)) {}

Upload::~Upload() {
  if (isKept) return;
  if (isNew) {
    store.RemoveUpload(id);
  } else if (!cover.empty()) {
    std::error_code ignored;
    fs::remove(store.Directory() / cover, ignored);
  }
  store.Give(bytes);
}

void Upload::Begin(std::string_view name) {
  if (!isNew) throw Refused(refusal::kBadRequest, "of a book that is there, only a cover is taken");
  if (++count > kMostFiles) throw Refused(refusal::kTooLarge, "there are too many files in it");
  try {
    file = files.Make(name);
  } catch (const NotWritten& failure) {
    Require(failure.code().value());
  } catch (const Failure& failure) {
    throw Refused(refusal::kBadName, failure.what());
  }
  if (!store.Take(kBlock)) Full();
  bytes += kBlock;
  std::string top(name.substr(0, name.find('/')));
  if (seen.insert(top).second) names.push_back(std::move(top));
}

void Upload::BeginCover() {
  const fs::path place = store.PlaceOfFiles(id).parent_path() / ("cover-" + NewToken());
  constexpr int kNew = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC;
  file = UniqueFd(open(place.c_str(), kNew, S_IRUSR | S_IWUSR));
  if (!file) Require(errno);
  cover = place.lexically_relative(store.Directory());
}

void Upload::Take(std::string_view piece) {
  if (piece.size() > most - std::min(most, bytes)) {
    throw Refused(refusal::kTooLarge, "it is larger than " + std::to_string(most >> 20) +
                                          " MB, which is the most that is taken here");
  }
  if (!store.Take(piece.size())) Full();
  bytes += piece.size();
  if (file) Require(WriteAll(file.Get(), piece));
}

void Upload::Finish() {
  file = UniqueFd();
}

void Upload::Measure() {
  const std::uint64_t before = std::exchange(bytes, BytesBelow(store.PlaceOfFiles(id)));
  store.TakeAnyway(bytes);
  store.Give(before);
}
