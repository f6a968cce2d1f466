// Buffered reading of a text file, cut into lines of bounded length.
#include "convert/text_chunks.h"

#include <unistd.h>

#include <cerrno>
#include <utility>

#include "base/read_file.h"

namespace {

constexpr size_t kLongestChunk = 254;
constexpr size_t kBufferSize = size_t{64} * 1024;

}  // namespace

// A conversion goes back to count pages first, which only a regular file allows.
TextChunks::TextChunks(const char* path)
    : descriptor(OpenRegularFile(path)),
      buffer(std::make_unique_for_overwrite<char[]>(kBufferSize)) {}

bool TextChunks::Rewind() {
  unread = {};
  return lseek(descriptor.Get(), 0, SEEK_SET) == 0;
}

bool TextChunks::Fill() {
  ssize_t count = -1;
  do {
    count = read(descriptor.Get(), buffer.get(), kBufferSize);
  } while (count < 0 && errno == EINTR);
  failed = count < 0;
  if (count > 0) unread = {buffer.get(), static_cast<size_t>(count)};
  return count > 0;
}

bool TextChunks::Next() {
  text.clear();
  size_t room = kLongestChunk;
  bool isLineEnd = false;
  while (room > 0 && !isLineEnd) {
    if (unread.empty() && !Fill()) return room < kLongestChunk && !failed;
    const std::string_view window = unread.substr(0, room);
    const size_t lineFeed = window.find('\n');
    isLineEnd = lineFeed != std::string_view::npos;
    const std::string_view piece = isLineEnd ? window.substr(0, lineFeed + 1) : window;
    text += piece;
    if (piece.find('\0') != std::string_view::npos) std::erase(text, '\0');
    room -= piece.size();
    unread.remove_prefix(piece.size());
  }
  return true;
}
