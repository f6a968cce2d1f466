// What a cell and its host send each other: messages in a stream, of which the host believes none.
#include "edition/cell/channel.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <memory>

namespace {

// The largest answer is that of a site of a hundred thousand pages, with a title for each.
constexpr std::uint32_t kLargestAnswer = std::uint32_t{64} << 20;
constexpr unsigned kMostMessages = 10'000;
constexpr size_t kPiece = size_t{1} << 16;

bool ReceiveAll(int socket, char* target, size_t size) {
  while (size > 0) {
    const ssize_t count = read(socket, target, size);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    target += count;
    size -= static_cast<size_t>(count);
  }
  return true;
}

}  // namespace

SocketPair SocketPair::Make(int type) {
  int ends[2];
  if (socketpair(AF_UNIX, type | SOCK_CLOEXEC, 0, ends) != 0) return {};
  return {UniqueFd(ends[0]), UniqueFd(ends[1])};
}

std::string Frame(MessageKind kind, std::string_view content) {
  const MessageHeader header = {kind, static_cast<std::uint32_t>(content.size())};
  std::string frame(reinterpret_cast<const char*>(&header), sizeof header);
  frame += content;
  return frame;
}

bool SendAll(int socket, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = write(socket, bytes.data(), bytes.size());
    if (count < 0 && errno != EINTR) return false;
    if (count > 0) bytes.remove_prefix(static_cast<size_t>(count));
  }
  return true;
}

bool ReceiveRequest(int socket, std::string& request) {
  MessageHeader header{};
  if (!ReceiveAll(socket, reinterpret_cast<char*>(&header), sizeof header)) return false;
  if (header.kind != MessageKind::kRequest) return false;
  request.resize(header.size);
  return ReceiveAll(socket, request.data(), request.size());
}

bool Hearing::Listen(int socket) {
  const auto piece = std::make_unique_for_overwrite<std::array<char, kPiece>>();
  for (;;) {
    const ssize_t count = recv(socket, piece->data(), piece->size(), MSG_DONTWAIT);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return true;
    if (!Hear({piece->data(), static_cast<size_t>(count)})) return false;
  }
}

bool Hearing::Hear(std::string_view bytes) {
  while (!bytes.empty()) {
    if (headSize < head.size()) {
      const size_t taken = std::min(bytes.size(), head.size() - headSize);
      std::copy_n(bytes.begin(), taken, head.begin() + static_cast<std::ptrdiff_t>(headSize));
      headSize += taken;
      bytes.remove_prefix(taken);
      if (headSize == head.size() && !BeginMessage()) return false;
    }
    const size_t taken = std::min<size_t>(bytes.size(), header.size - content.size());
    content += bytes.substr(0, taken);
    bytes.remove_prefix(taken);
    if (headSize == head.size() && content.size() == header.size && !EndMessage()) return false;
  }
  return true;
}

bool Hearing::BeginMessage() {
  std::memcpy(&header, head.data(), sizeof header);
  const bool isProgress =
      header.kind == MessageKind::kProgress && header.size == sizeof(double) && !hasAnswer;
  const bool isAnswer =
      header.kind == MessageKind::kAnswer && header.size <= kLargestAnswer && !hasAnswer;
  return (isProgress || isAnswer) && ++messages <= kMostMessages;
}

bool Hearing::EndMessage() {
  if (header.kind == MessageKind::kAnswer) {
    answer = std::move(content);
    hasAnswer = true;
  } else {
    double told = 0;
    std::memcpy(&told, content.data(), sizeof told);
    if (!std::isfinite(told)) return false;
    progress = std::clamp(told, progress, 1.0);
  }
  content.clear();
  headSize = 0;
  header = {};
  return true;
}
