// One piece of work in a cell of its own, from the host's side.
#include "edition/cell/errand.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <chrono>
#include <limits>
#include <optional>
#include <utility>

#include "edition/cell/channel.h"
#include "edition/cell/fate.h"
#include "edition/cell/order.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kAskEveryMilliseconds = 100;

// A cell at work, as seen from outside.
class Watch {
 public:
  Watch(const Errand& done, UniqueFd toCell, UniqueFd toZygote, std::string request)
      : errand(done),
        channel(std::move(toCell)),
        link(std::move(toZygote)),
        message(std::move(request)),
        unsent(message) {}

  // Until there is no cell any more.
  Status Follow() {
    while (!hasEnded) {
      // A channel that has been hung up would not let it wait any more.
      pollfd watched[] = {{isSilent ? -1 : channel.Get(), ChannelEvents(), 0},
                          {link.Get(), POLLIN, 0}};
      poll(watched, std::size(watched), kAskEveryMilliseconds);
      if ((watched[0].revents & POLLOUT) != 0) Send();
      if (watched[0].revents != 0) Listen();
      if (watched[1].revents != 0) Finish();
      if (!hasEnded) Supervise();
    }
    Listen();  // what was said last
    Status fate = FateOf(end, reason, errand.rules);
    if (fate && !hearing.HasAnswer()) {
      return Failure{KAVEPUB_E_CRASH, "ended without an answer."};
    }
    return fate;
  }

  const std::string& Answer() const { return hearing.Answer(); }

 private:
  short ChannelEvents() const {
    return static_cast<short>(POLLIN | (unsent.empty() ? 0 : POLLOUT));
  }

  void Send() {
    const ssize_t count =
        send(channel.Get(), unsent.data(), unsent.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (count > 0) unsent.remove_prefix(static_cast<size_t>(count));
    if (count < 0 && errno != EAGAIN && errno != EINTR) unsent = {};
  }

  void Listen() {
    if (reason == EndedFor::kNonsense) return;
    if (!hearing.Listen(channel.Get())) EndFor(EndedFor::kNonsense);
    char next = 0;
    isSilent = recv(channel.Get(), &next, 1, MSG_PEEK | MSG_DONTWAIT) == 0;
  }

  void Finish() {
    CellEnd told;
    const ssize_t size = recv(link.Get(), &told, sizeof told, MSG_DONTWAIT);
    if (size < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (size == sizeof told) end = told;
    hasEnded = true;
  }

  // Lets the host have a say, and looks at the clock.
  void Supervise() {
    if (reason != EndedFor::kNothing) return;
    if (errand.progress && errand.progress(hearing.Progress())) EndFor(EndedFor::kCancelled);
    const auto most = std::chrono::seconds(errand.rules.seconds * kClockSecondsASecond);
    if (most.count() > 0 && Clock::now() - begin > most) EndFor(EndedFor::kTime);
  }

  void EndFor(EndedFor what) {
    if (reason != EndedFor::kNothing) return;
    reason = what;
    send(link.Get(), "", 1, MSG_NOSIGNAL | MSG_DONTWAIT);
  }

  const Errand& errand;
  UniqueFd channel;
  UniqueFd link;
  std::string message;
  std::string_view unsent;
  Clock::time_point begin = Clock::now();
  Hearing hearing;
  std::optional<CellEnd> end;
  EndedFor reason = EndedFor::kNothing;
  bool hasEnded = false;
  bool isSilent = false;
};

}  // namespace

Status Errand::Run(const Cells& cells, std::string_view request) {
  std::string order = Frame(MessageKind::kRequest, WriteOrder(rules, request));
  if (order.size() > std::numeric_limits<std::uint32_t>::max()) {
    return Failure{KAVEPUB_E_LIMIT, "is too large for a cell."};
  }
  SocketPair channel = SocketPair::Make(SOCK_STREAM);
  SocketPair link = SocketPair::Make(SOCK_SEQPACKET);
  CellEnds ends = {std::move(channel.theirs), std::move(link.theirs),
                   UniqueFd(output < 0 ? -1 : fcntl(output, F_DUPFD_CLOEXEC, 0))};
  if (!ends.channel || !ends.link || (output >= 0 && !ends.output)) {
    return Failure{KAVEPUB_E_CELL, "has no cell: too many files are open."};
  }
  if (!cells.Begin(ends)) return FateOf(std::nullopt, EndedFor::kNothing, rules);
  ends = {};  // what only the cell holds closes when that ends
  Watch watch(*this, std::move(channel.ours), std::move(link.ours), std::move(order));
  Status fate = watch.Follow();
  answer = watch.Answer();
  return fate;
}
