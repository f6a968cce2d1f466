// The result codes of the libraries, explained.
#include "hosts/kavepub/console/failure.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <system_error>

#include "fileutil/result_codes.h"
#include "platform/kav_ebase/kav_ebase.h"
#include "platform/kav_mobi/kav_mobi.h"

namespace {

constexpr char kReport[] = "; report it, with the file";
constexpr char kNoMemory[] = "memory ran out; close other programs and try again";

constexpr struct {
  int code;
  const char* reason;
} kReasons[] = {
    {EPUB_E_FAILED, "a part of the book could not be made; check the room in $TMPDIR"},
    {EPUB_E_MISSING, "a file or directory that the book needs is gone; try again"},
    {EPUB_E_OPEN, "cannot be read or made; check that the disk has room and the file is readable"},
    {EPUB_E_STYLE_SHEET, "the working files cannot be written; check the room in $TMPDIR"},
    {EPUB_E_NOT_FOUND, "holds nothing that a page could show; open it in a browser to see"},
    {EPUB_E_EMPTY_LINE, "holds NUL bytes, so it is no plain text; convert it to UTF-8 first"},
    {EPUB_E_OUTPUT_DIR, "the directory of the book does not exist; make it first"},
    {EPUB_E_WRITE, "the book could not be written whole; check the room in $TMPDIR"},
    {KAV_EBASE_E_READ, "the working files cannot be read back; try again"},
    {KAV_EBASE_E_OUTPUT,
     "cannot be made; check that its directory is writable and no directory or "
     "device has its name"},
    {KAV_EBASE_E_WRITE, "cannot be written; check the room on its disk"},
    {KAV_EBASE_E_MEMORY, kNoMemory},
    {KAV_MOBI_E_OPEN, "cannot be read; check its permissions and the disk"},
    {KAV_MOBI_E_NOT_MOBI, "is no MOBI book; give it the extension of what it is"},
    {KAV_MOBI_E_DAMAGED, "is a damaged MOBI book; get a whole copy of it"},
    {KAV_MOBI_E_ENCRYPTED, "is locked to a reader or device (DRM); get a copy without a lock"},
    {KAV_MOBI_E_NO_TEXT, "holds no text that a page could show; there is nothing to convert"},
    {KAV_MOBI_E_WRITE, "the working files cannot be written; check the room in $TMPDIR"},
    {KAV_MOBI_E_MEMORY, kNoMemory},
};

std::string SystemReason() {
  return std::generic_category().message(errno);
}

}  // namespace

Failure::Failure(const std::string& line)
    : std::runtime_error(OneLine(line)), reason(OneLine(line)) {}

Failure::Failure(const std::filesystem::path& file, const std::string& why)
    : std::runtime_error(OneLine(file.string() + ": " + why)), reason(OneLine(why)) {}

void Require(int code, const std::filesystem::path& file) {
  if (code == EPUB_OK) return;
  const auto* known = std::find_if(std::begin(kReasons), std::end(kReasons),
                                   [code](const auto& row) { return row.code == code; });
  const std::string number = " (code " + std::to_string(code) + ")";
  throw Failure(file, known == std::end(kReasons) ? "the conversion failed" + number + kReport
                                                  : known->reason + number);
}

void RequireReadable(const std::filesystem::path& file) {
  struct stat status = {};
  if (stat(file.c_str(), &status) != 0) throw Failure(file, SystemReason() + "; check the path");
  if (S_ISDIR(status.st_mode)) throw Failure(file, "is a directory; name the files in it");
  if (!S_ISREG(status.st_mode)) throw Failure(file, "is no regular file; copy it to one first");
  const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) throw Failure(file, SystemReason() + "; check its permissions");
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

std::string OneLine(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](unsigned char c) { return c < ' ' || c == 0x7F; }, '?');
  return text;
}
