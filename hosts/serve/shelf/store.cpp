// Keeps files so that a kill at any moment leaves nothing half and loses nothing that was kept.
#include "hosts/serve/shelf/store.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <set>
#include <sstream>
#include <system_error>
#include <utility>

#include "base/atomic_output.h"
#include "base/read_file.h"
#include "hosts/kavepub/console/failure.h"
#include "hosts/kavepub/work/written.h"
#include "hosts/serve/shelf/tokens.h"

namespace {

namespace fs = std::filesystem;

constexpr char kKey[] = "key";
constexpr char kLogins[] = "logins";
constexpr char kLock[] = "lock";
constexpr char kRecord[] = "record.json";
constexpr char kFiles[] = "in";

void MakeDirectory(const fs::path& directory) {
  std::error_code error;
  fs::create_directories(directory, error);
  if (error) {
    throw Failure(directory, error.message() + "; choose another place by --store", Cause::kDisk);
  }
}

void Write(const fs::path& file, const std::string& text) {
  AtomicOutput output;
  const bool isWritten = output.Open(file.c_str()) && WriteAll(output.Fd(), text) == 0;
  if (!isWritten || !output.Commit()) {
    throw Failure(file, "cannot be written; check the room on its disk", Cause::kDisk);
  }
}

// So that a name is there after the power was cut.
void Synchronise(const fs::path& directory) {
  const UniqueFd opened(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (opened) fsync(opened.Get());
}

void RemoveAll(const fs::path& path) {
  std::error_code ignored;
  fs::remove_all(path, ignored);
}

std::vector<std::string> NamesIn(const fs::path& directory) {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(directory)) {
    names.push_back(entry.path().filename());
  }
  return names;
}

}  // namespace

Store::Store(fs::path directory, std::uint64_t room)
    : root(std::move(directory)),
      uploads(root / "uploads"),
      books(root / "books"),
      workPlace(root / "work"),
      most(room) {
  for (const fs::path& place : {root, uploads, books, workPlace}) MakeDirectory(place);
  constexpr mode_t kOwn = S_IRWXU;
  if (chmod(root.c_str(), kOwn) != 0) throw Failure(root, "belongs to another user");
  lock = UniqueFd(open((root / kLock).c_str(), O_CREAT | O_RDWR | O_CLOEXEC, S_IRUSR | S_IWUSR));
  if (!lock || flock(lock.Get(), LOCK_EX | LOCK_NB) != 0) {
    throw Failure(root, "is in use by another server; choose another place by --store",
                  Cause::kMachine);
  }
}

std::vector<Book> Store::Load() {
  std::vector<Book> loaded;
  std::set<std::string> known;
  for (const std::string& name : NamesIn(books)) {
    try {
      const auto record = ReadRegularFile((books / name / kRecord).c_str());
      if (!record) throw Failure("none");
      const auto read = nlohmann::ordered_json::parse(*record);
      Book book = BookOf(read, PlaceOfFiles(read.at("upload").get<std::string>()));
      if (book.id != name || fs::file_size(PlaceOf(book)) != book.size ||
          *book.expires <= Book::Now()) {
        throw Failure("none any more");
      }
      known.insert(book.upload);
      loaded.push_back(std::move(book));
    } catch (const std::exception&) {
      RemoveAll(books / name);
    }
  }
  for (const std::string& name : NamesIn(uploads)) {
    if (!known.contains(name)) RemoveAll(uploads / name);
  }
  for (const std::string& name : NamesIn(workPlace)) RemoveAll(workPlace / name);
  used = BytesBelow(root);
  std::sort(loaded.begin(), loaded.end(),
            [](const Book& one, const Book& other) { return one.created < other.created; });
  return loaded;
}

std::string Store::Key() const {
  const fs::path file = root / kKey;
  if (const auto key = ReadRegularFile(file.c_str()); key && IsToken(*key)) return *key;
  std::string made = NewToken();
  Write(file, made);
  return made;
}

std::vector<std::string> Store::Logins() const {
  std::vector<std::string> logins;
  std::istringstream lines(ReadRegularFile((root / kLogins).c_str()).value_or(""));
  for (std::string line; std::getline(lines, line);) logins.push_back(line);
  return logins;
}

void Store::KeepLogins(const std::vector<std::string>& logins) const {
  std::string text;
  for (const std::string& login : logins) text += login + "\n";
  Write(root / kLogins, text);
}

fs::path Store::PlaceOfFiles(const std::string& upload) const {
  return uploads / upload / kFiles;
}

fs::path Store::PlaceOf(const Book& book) const {
  return books / book.id / std::to_string(book.made) / book.FileName();
}

std::string Store::NewUpload() const {
  std::string id = NewToken();
  MakeDirectory(PlaceOfFiles(id));
  return id;
}

void Store::Prepare(const Book& book) const {
  MakeDirectory(PlaceOf(book).parent_path());
}

void Store::Keep(const Book& book) {
  const fs::path place = books / book.id;
  Write(place / kRecord, RecordOf(book, PlaceOfFiles(book.upload)).dump());
  Synchronise(place);
  Synchronise(books);
  const std::set<std::string> kept = {kRecord, std::to_string(book.made)};
  for (const std::string& name : NamesIn(place)) {
    if (!kept.contains(name)) RemoveAll(place / name);
  }
}

void Store::RemoveUpload(const std::string& upload) {
  RemoveAll(uploads / upload);
}

// The record first: a book is there as a whole or not at all.
void Store::Remove(const Book& book) {
  std::error_code ignored;
  fs::remove(books / book.id / kRecord, ignored);
  RemoveAll(books / book.id);
}

bool Store::Take(std::uint64_t bytes) {
  if (used.fetch_add(bytes) + bytes <= most) return true;
  used -= bytes;
  return false;
}

std::uint64_t Store::Room() const {
  const std::uint64_t taken = used;
  return taken < most ? most - taken : 0;
}

std::uint64_t BytesBelow(const fs::path& directory) {
  std::uint64_t bytes = 0;
  std::error_code error;
  for (fs::recursive_directory_iterator entry(directory, error), end; !error && entry != end;
       entry.increment(error)) {
    std::error_code ignored;
    if (entry->is_regular_file(ignored)) bytes += entry->file_size(ignored);
  }
  return bytes;
}
