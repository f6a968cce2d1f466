// Packs the entries of a container on several threads and appends them in order.
#include "edition/epub/packer.h"

#include <new>
#include <system_error>
#include <utility>

#include "base/signals_blocked.h"

namespace {

// Chosen by measuring text pages: above it time grows faster than size shrinks.
constexpr int kDeflateLevel = 6;

// What may wait: enough that no worker is idle, little enough for memory.
constexpr size_t kEntriesAWorker = 8;
constexpr size_t kMostBytes = size_t{4} << 20;

XXH128_canonical_t Canonical(XXH128_hash_t hash) {
  XXH128_canonical_t canonical;
  XXH128_canonicalFromHash(&canonical, hash);
  return canonical;
}

std::string_view BytesOf(const XXH128_canonical_t& hash) {
  return {reinterpret_cast<const char*>(hash.digest), sizeof hash.digest};
}

}  // namespace

Packer::Packer(ZipStream& container, unsigned threads) : zip(container) {
  const SignalsBlocked inherited;
  try {
    workers.reserve(threads);
    while (workers.size() + 1 < threads) {
      workers.emplace_back([this](const std::stop_token& stop) { Work(stop); });
    }
  } catch (const std::system_error&) {  // no more threads
  }
}

Packer::~Packer() {
  // All at once; each is then waited for.
  for (std::jthread& worker : workers) worker.request_stop();
}

bool Packer::Add(std::string name, std::string content, Packing packing) {
  auto entry = std::make_unique<Entry>();
  entry->name = std::move(name);
  entry->content = std::move(content);
  entry->packing = packing;

  std::unique_lock lock(mutex);
  while (isTaken && !entries.empty() &&
         (entries.front()->isDone || entries.size() > kEntriesAWorker * workers.size() ||
          bytes + entry->content.size() > kMostBytes)) {
    AppendOldest(lock);
  }
  bytes += entry->content.size();
  unpacked.push_back(entry.get());
  entries.push_back(std::move(entry));
  added.notify_one();
  return isTaken;
}

bool Packer::Drain() {
  std::unique_lock lock(mutex);
  while (isTaken && !entries.empty()) AppendOldest(lock);
  return isTaken;
}

// Helps the workers as long as the oldest entry is not packed.
bool Packer::AppendOldest(std::unique_lock<std::mutex>& lock) {
  while (!entries.front()->isDone) {
    if (unpacked.empty()) {
      packed.wait(lock);
    } else {
      PackOne(own, lock);
    }
  }
  const std::unique_ptr<Entry> entry = std::move(entries.front());
  entries.pop_front();
  bytes -= entry->content.size();
  lock.unlock();

  if (entry->outOfMemory) throw std::bad_alloc();
  const bool isStored = entry->packed.empty();
  isTaken =
      zip.Add({entry->name, isStored ? ZipStream::Method::kStored : ZipStream::Method::kDeflated,
               entry->crc, entry->content.size()},
              isStored ? entry->content : entry->packed);
  const std::string chained =
      std::string(BytesOf(digest)).append(BytesOf(entry->hash)).append(entry->name);
  digest = Canonical(XXH3_128bits(chained.data(), chained.size()));
  lock.lock();
  return isTaken;
}

void Packer::Work(const std::stop_token& stop) {
  Press press;
  std::unique_lock lock(mutex);
  while (added.wait(lock, stop, [this] { return !unpacked.empty(); })) PackOne(press, lock);
}

// The lock is held before and after.
void Packer::PackOne(Press& press, std::unique_lock<std::mutex>& lock) {
  Entry& entry = *unpacked.front();
  unpacked.pop_front();
  lock.unlock();
  try {
    press.Pack(entry);
  } catch (const std::bad_alloc&) {
    entry.outOfMemory = true;
  }
  lock.lock();
  entry.isDone = true;
  packed.notify_one();
}

void Packer::Press::Pack(Entry& entry) {
  const std::string& content = entry.content;
  entry.crc = libdeflate_crc32(0, content.data(), content.size());
  entry.hash = Canonical(XXH3_128bits(content.data(), content.size()));
  if (entry.packing == Packing::kDeflated && content.size() > 1) Deflate(entry);
}

void Packer::Press::Deflate(Entry& entry) {
  if (compressor == nullptr) compressor.reset(libdeflate_alloc_compressor(kDeflateLevel));
  if (compressor == nullptr) throw std::bad_alloc();
  const std::string& content = entry.content;
  if (buffer.size() < content.size()) buffer.resize(content.size());
  const size_t size = libdeflate_deflate_compress(compressor.get(), content.data(), content.size(),
                                                  buffer.data(), content.size() - 1);
  entry.packed.assign(buffer, 0, size);
}
