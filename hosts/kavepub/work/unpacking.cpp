// Takes the files out of a ZIP container, which may be made to harm.
#include "hosts/kavepub/work/unpacking.h"

#include <sys/stat.h>
#include <unzip.h>

#include <array>
#include <memory>
#include <string>

#include "base/utf8.h"
#include "hosts/kavepub/console/failure.h"
#include "hosts/kavepub/console/interruption.h"
#include "hosts/kavepub/work/new_files.h"
#include "hosts/kavepub/work/written.h"

namespace {

namespace fs = std::filesystem;

constexpr std::uint64_t kMostFiles = 20000;
constexpr size_t kLongestName = 4096;
constexpr size_t kUnpackedAtOnce = 65536;
constexpr unsigned kEncrypted = 1;
constexpr unsigned kSystemShift = 16;  // of what Unix says of a file

struct CloseContainer {
  void operator()(void* owned) const { unzClose(owned); }
};
using Container = std::unique_ptr<void, CloseContainer>;

class Unpacker {
 public:
  Unpacker(const fs::path& packed, const fs::path& directory, std::uint64_t most)
      : path(packed), files(directory), room(most), zip(unzOpen64(packed.c_str())) {
    if (!zip) Damaged();
  }

  void Run() {
    unz_global_info64 all{};
    Require(unzGetGlobalInfo64(zip.get(), &all));
    if (all.number_entry > kMostFiles) {
      throw Failure(path, "holds more than " + std::to_string(kMostFiles) + " files; pack fewer");
    }
    for (ZPOS64_T i = 0; i < all.number_entry; ++i) {
      StopIfInterrupted();
      Require(i == 0 ? unzGoToFirstFile(zip.get()) : unzGoToNextFile(zip.get()));
      UnpackOne();
    }
  }

 private:
  [[noreturn]] void Damaged() const { throw Failure(path, "is a damaged ZIP file; pack it again"); }

  void Require(int code) const {
    if (code != UNZ_OK) Damaged();
  }

  void UnpackOne() {
    unz_file_info64 info{};
    std::array<char, kLongestName + 1> name{};
    Require(unzGetCurrentFileInfo64(zip.get(), &info, name.data(), kLongestName, nullptr, 0,
                                    nullptr, 0));
    if (info.size_filename > kLongestName) throw Failure(path, "holds a name that is too long");
    const std::string called = AsUtf8({name.data(), info.size_filename});
    if (S_ISLNK(info.external_fa >> kSystemShift)) {
      throw Failure(path, "holds a link (" + called + "); pack the files themselves");
    }
    if ((info.flag & kEncrypted) != 0) {
      throw Failure(path, "is locked by a password; pack it without one");
    }
    if (called.ends_with('/')) return;  // a folder, which is made for its files
    const UniqueFd file = files.Make(called);
    Require(unzOpenCurrentFile(zip.get()));
    Copy(file.Get());
    Require(unzCloseCurrentFile(zip.get()));
  }

  // What is told of sizes need not be true.
  void Copy(int file) {
    int size = 0;
    while ((size = unzReadCurrentFile(zip.get(), buffer.data(), kUnpackedAtOnce)) > 0) {
      const auto bytes = static_cast<std::uint64_t>(size);
      if (bytes > room) throw Failure(path, "holds more than can be unpacked here; pack less");
      room -= bytes;
      const int error = WriteAll(file, {buffer.data(), static_cast<size_t>(size)});
      if (error != 0) throw NotWritten(error);
    }
    if (size < 0) Damaged();
  }

  // Old programs have names in encodings that they do not tell.
  static std::string AsUtf8(std::string_view name) {
    std::string text;
    while (!name.empty()) {
      const Utf8Unit unit = DecodeUtf8(name);
      const bool isSound = unit.kind == Utf8Unit::Kind::kCharacter;
      text += isSound ? name.substr(0, unit.length) : "_";
      name.remove_prefix(unit.length);
    }
    return text;
  }

  const fs::path& path;
  const NewFiles files;
  std::uint64_t room;
  const Container zip;
  std::array<char, kUnpackedAtOnce> buffer{};
};

}  // namespace

void Unpack(const fs::path& container, const fs::path& directory, std::uint64_t room) {
  std::make_unique<Unpacker>(container, directory, room)->Run();
}
