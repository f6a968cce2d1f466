// What a cell and its host send each other: messages in a stream, of which the host believes none.
#ifndef KAVEPUB_CELL_CHANNEL_H
#define KAVEPUB_CELL_CHANNEL_H

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "base/unique_fd.h"

enum class MessageKind : std::uint32_t { kRequest = 1, kProgress = 2, kAnswer = 3 };

struct MessageHeader {
  MessageKind kind;
  std::uint32_t size;  // of what follows
};

// Two ends of a socket, one for each side.
struct SocketPair {
  UniqueFd ours;
  UniqueFd theirs;

  // Of SOCK_STREAM or SOCK_SEQPACKET; both ends are empty when the system has none left.
  static SocketPair Make(int type);
};

std::string Frame(MessageKind kind, std::string_view content);

// The cell's side. They wait; false when the other side has gone.
bool SendAll(int socket, std::string_view bytes);
bool ReceiveRequest(int socket, std::string& request);

// The host's side: takes what comes, as it comes.
class Hearing {
 public:
  // Reads what is there. False when it is nonsense, or more than a cell has to say.
  bool Listen(int socket);

  double Progress() const { return progress; }
  bool HasAnswer() const { return hasAnswer; }
  const std::string& Answer() const { return answer; }

 private:
  bool Hear(std::string_view bytes);
  bool BeginMessage();
  bool EndMessage();

  std::array<char, sizeof(MessageHeader)> head{};
  size_t headSize = 0;
  MessageHeader header{};
  std::string content;
  std::string answer;
  double progress = 0;
  bool hasAnswer = false;
  unsigned messages = 0;
};

#endif
