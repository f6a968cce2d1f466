// What the server keeps on the disk.
#ifndef KAVEPUB_SERVE_STORE_H
#define KAVEPUB_SERVE_STORE_H

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "base/unique_fd.h"
#include "hosts/serve/shelf/book.h"

// A directory, for this server and this user alone:
//
//   key                     by which tokens of sessions are told
//   logins                  hashes of tokens of those who told the password
//   uploads/ID/in/          what was sent, under its own names; beside it covers that were
//   books/ID/record.json    of a book that was made: without it there is none
//   books/ID/N/NAME.epub    what came of the N-th time it was made
//   work/                   working files of plain books
class Store {
 public:
  // Makes what is missing. Throws a Failure, also when another server has it.
  Store(std::filesystem::path directory, std::uint64_t room);

  // The books that were made and whose time is not over; all that belongs to none of them is
  // removed.
  std::vector<Book> Load();

  std::string Key() const;
  std::vector<std::string> Logins() const;
  void KeepLogins(const std::vector<std::string>& logins) const;

  // Where the files of an upload lie, and that of a book.
  std::filesystem::path PlaceOfFiles(const std::string& upload) const;
  std::filesystem::path PlaceOf(const Book& book) const;
  const std::filesystem::path& WorkPlace() const { return workPlace; }
  const std::filesystem::path& Directory() const { return root; }

  // They throw a Failure or a filesystem_error.
  std::string NewUpload() const;
  void Prepare(const Book& book) const;

  // What was made before may go when the record is kept.
  void Keep(const Book& book);

  // Nothing of it is left; what cannot be removed goes with the next start.
  void RemoveUpload(const std::string& upload);
  void Remove(const Book& book);

  // Room for so many bytes; false when there is none. What has been written needs it anyway.
  bool Take(std::uint64_t bytes);
  void TakeAnyway(std::uint64_t bytes) { used += bytes; }
  void Give(std::uint64_t bytes) { used -= bytes; }
  std::uint64_t Room() const;

 private:
  std::filesystem::path root;
  std::filesystem::path uploads;
  std::filesystem::path books;
  std::filesystem::path workPlace;
  const std::uint64_t most;
  UniqueFd lock;
  std::atomic<std::uint64_t> used = 0;
};

// Of all files below it.
std::uint64_t BytesBelow(const std::filesystem::path& directory);

#endif
