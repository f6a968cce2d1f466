// Digests by XXH3.
#include "hosts/kavepub/make/digest.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <new>
#include <system_error>

#include "base/read_file.h"
#include "hosts/kavepub/console/failure.h"
#include "hosts/kavepub/console/interruption.h"

namespace {

constexpr size_t kHashedAtOnce = size_t{1} << 18;

}  // namespace

Digest::Digest() : state(XXH3_createState()) {
  if (!state) throw std::bad_alloc();
  XXH3_128bits_reset(state.get());
}

Digest& Digest::Add(std::string_view text) {
  const std::uint64_t size = text.size();
  XXH3_128bits_update(state.get(), &size, sizeof size);
  XXH3_128bits_update(state.get(), text.data(), text.size());
  return *this;
}

bool Digest::AddRange(int descriptor, std::uint64_t begin, std::uint64_t end) {
  const std::uint64_t size = end - begin;
  XXH3_128bits_update(state.get(), &size, sizeof size);
  const auto chunk = std::make_unique<std::array<char, kHashedAtOnce>>();
  while (begin < end) {
    StopIfInterrupted();
    const ssize_t count = pread(descriptor, chunk->data(), std::min(kHashedAtOnce, end - begin),
                                static_cast<off_t>(begin));
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    XXH3_128bits_update(state.get(), chunk->data(), static_cast<size_t>(count));
    begin += static_cast<std::uint64_t>(count);
  }
  return true;
}

Digest& Digest::AddFile(const std::filesystem::path& file) {
  const UniqueFd descriptor = OpenRegularFile(file.c_str());
  if (!descriptor) RequireReadable(file);  // says why not
  struct stat status = {};
  if (!descriptor || fstat(descriptor.Get(), &status) != 0 ||
      !AddRange(descriptor.Get(), 0, static_cast<std::uint64_t>(status.st_size))) {
    throw Failure(file, "cannot be read to its end; check the disk", Cause::kMachine);
  }
  bytes += static_cast<std::uint64_t>(status.st_size);
  return *this;
}

std::string Digest::Text() const {
  const XXH128_hash_t hash = XXH3_128bits_digest(state.get());
  std::array<char, 33> digits;
  std::snprintf(digits.data(), digits.size(), "%016llx%016llx",
                static_cast<unsigned long long>(hash.high64),
                static_cast<unsigned long long>(hash.low64));
  return digits.data();
}
