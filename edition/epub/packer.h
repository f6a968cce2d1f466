// Packs the entries of a container on several threads and appends them in order.
#ifndef KAVEPUB_EPUB_PACKER_H
#define KAVEPUB_EPUB_PACKER_H

#include <libdeflate.h>
#include <xxhash.h>

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "base/zip_stream.h"

enum class Packing { kStored, kDeflated };

// The container's bytes do not depend on the number of threads. Memory that runs out on one of them
// is thrown as std::bad_alloc by the operations.
class Packer {
 public:
  // The thread that calls is one of them; where the system gives fewer, fewer do the work.
  Packer(ZipStream& container, unsigned threads);
  Packer(const Packer&) = delete;
  Packer& operator=(const Packer&) = delete;
  ~Packer();

  // Adds an entry; false as soon as the container was not taken. Content that deflating does not
  // make smaller is stored.
  bool Add(std::string name, std::string content, Packing packing);

  // Appends all that has been added.
  bool Drain();

  // Names and contents of all entries that have been appended.
  XXH128_canonical_t Digest() const { return digest; }

 private:
  struct Entry {
    std::string name;
    std::string content;
    Packing packing;
    std::string packed;  // empty where the content is stored
    std::uint32_t crc = 0;
    XXH128_canonical_t hash{};
    bool isDone = false;
    bool outOfMemory = false;
  };

  // What a thread deflates with.
  class Press {
   public:
    void Pack(Entry& entry);

   private:
    struct Free {
      void operator()(libdeflate_compressor* owned) const { libdeflate_free_compressor(owned); }
    };
    void Deflate(Entry& entry);

    std::unique_ptr<libdeflate_compressor, Free> compressor;
    std::string buffer;
  };

  void Work(const std::stop_token& stop);
  void PackOne(Press& press, std::unique_lock<std::mutex>& lock);
  bool AppendOldest(std::unique_lock<std::mutex>& lock);

  ZipStream& zip;
  XXH128_canonical_t digest{};
  bool isTaken = true;
  Press own;

  std::mutex mutex;
  std::condition_variable_any added;
  std::condition_variable packed;
  std::deque<std::unique_ptr<Entry>> entries;  // in order
  std::deque<Entry*> unpacked;                 // those that no thread has begun with
  size_t bytes = 0;                            // of the contents
  std::vector<std::jthread> workers;           // the last member: they end first
};

#endif
