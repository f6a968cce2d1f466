// The result codes of the libraries, explained.
#include "hosts/kavepub/console/failure.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <string_view>
#include <system_error>

#include "fileutil/result_codes.h"
#include "platform/kav_ebase/kav_ebase.h"
#include "platform/kav_mobi/kav_mobi.h"

namespace {

constexpr char kReport[] = "; report it, with the file";
constexpr char kNoMemory[] = "memory ran out; close other programs and try again";

// "%" stands for the place of the working files.
constexpr struct {
  int code;
  Cause cause;
  std::string_view reason;
} kReasons[] = {
    {EPUB_E_FAILED, Cause::kDisk, "a part of the book could not be made; check the room in %"},
    {EPUB_E_MISSING, Cause::kMachine, "a file or directory that the book needs is gone; try again"},
    {EPUB_E_OPEN, Cause::kDisk,
     "cannot be read or made; check that it is readable, and the room in %"},
    {EPUB_E_STYLE_SHEET, Cause::kDisk, "the working files cannot be written; check the room in %"},
    {EPUB_E_NOT_FOUND, Cause::kBook,
     "holds nothing that a page could show; open it in a browser to see"},
    {EPUB_E_EMPTY_LINE, Cause::kBook,
     "holds NUL bytes, so it is no plain text; convert it to UTF-8 first"},
    {EPUB_E_OUTPUT_DIR, Cause::kMachine, "the working directory is gone; try again"},
    {EPUB_E_WRITE, Cause::kDisk, "the working files cannot be written; check the room in %"},
    {KAV_EBASE_E_READ, Cause::kMachine, "the working files cannot be read back; try again"},
    {KAV_EBASE_E_OUTPUT, Cause::kDisk, "the book cannot be packed; check the room in %"},
    {KAV_EBASE_E_WRITE, Cause::kDisk, "the book cannot be packed; check the room in %"},
    {KAV_EBASE_E_MEMORY, Cause::kMemory, kNoMemory},
    {KAV_MOBI_E_OPEN, Cause::kMachine, "cannot be read; check its permissions and the disk"},
    {KAV_MOBI_E_NOT_MOBI, Cause::kBook, "is no MOBI book; give it the extension of what it is"},
    {KAV_MOBI_E_DAMAGED, Cause::kBook, "is a damaged MOBI book; get a whole copy of it"},
    {KAV_MOBI_E_ENCRYPTED, Cause::kBook,
     "is locked to a reader or device (DRM); get a copy without a lock"},
    {KAV_MOBI_E_NO_TEXT, Cause::kBook,
     "holds no text that a page could show; there is nothing to convert"},
    {KAV_MOBI_E_WRITE, Cause::kDisk, "the working files cannot be written; check the room in %"},
    {KAV_MOBI_E_MEMORY, Cause::kMemory, kNoMemory},
};

std::string SystemReason() {
  return std::generic_category().message(errno);
}

}  // namespace

Failure::Failure(const std::string& line, Cause due)
    : std::runtime_error(OneLine(line)), reason(OneLine(line)), cause(due) {}

Failure::Failure(const std::filesystem::path& file, const std::string& why, Cause due)
    : std::runtime_error(OneLine(file.string() + ": " + why)), reason(OneLine(why)), cause(due) {}

void Require(int code, const std::filesystem::path& file, const std::filesystem::path& workPlace) {
  if (code == EPUB_OK) return;
  const auto* known = std::find_if(std::begin(kReasons), std::end(kReasons),
                                   [code](const auto& row) { return row.code == code; });
  const std::string number = " (code " + std::to_string(code) + ")";
  if (known == std::end(kReasons)) throw Failure(file, "the conversion failed" + number + kReport);
  std::string reason(known->reason);
  if (const size_t place = reason.find('%'); place != std::string::npos) {
    reason.replace(place, 1, workPlace.string());
  }
  throw Failure(file, reason + number, known->cause);
}

void RequireReadable(const std::filesystem::path& file) {
  struct stat status = {};
  if (stat(file.c_str(), &status) != 0) {
    throw Failure(file, SystemReason() + "; check the path", Cause::kMachine);
  }
  if (S_ISDIR(status.st_mode)) throw Failure(file, "is a directory; name the files in it");
  if (!S_ISREG(status.st_mode)) throw Failure(file, "is no regular file; copy it to one first");
  const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) {
    throw Failure(file, SystemReason() + "; check its permissions", Cause::kMachine);
  }
  close(descriptor);
}

std::string Explain(const std::exception& failure) {
  if (const auto* of = dynamic_cast<const std::filesystem::filesystem_error*>(&failure)) {
    return OneLine(of->path1().string() + ": " + of->code().message() +
                   "; check the path and its permissions");
  }
  if (dynamic_cast<const std::bad_alloc*>(&failure) != nullptr) return kNoMemory;
  return failure.what();
}

Cause CauseOf(const std::exception& failure) {
  if (const auto* ours = dynamic_cast<const Failure*>(&failure)) return ours->DueTo();
  if (dynamic_cast<const std::bad_alloc*>(&failure) != nullptr) return Cause::kMemory;
  const auto* ofSystem = dynamic_cast<const std::system_error*>(&failure);
  if (ofSystem == nullptr) return Cause::kBook;
  const int error = ofSystem->code().value();
  if (error == ENOMEM) return Cause::kMemory;
  return error == ENOSPC || error == EDQUOT || error == EROFS ? Cause::kDisk : Cause::kMachine;
}

std::string OneLine(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](unsigned char c) { return c < ' ' || c == 0x7F; }, '?');
  return text;
}
