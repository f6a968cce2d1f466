// Cells, as their host has them, and how one begins.
#include "edition/cell/cells.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <new>
#include <string>
#include <vector>

#include "base/packed_values.h"
#include "edition/cell/channel.h"
#include "edition/cell/defences.h"
#include "edition/cell/fate.h"
#include "edition/cell/limits.h"
#include "edition/cell/order.h"

namespace {

// Closes all descriptors but the standard ones and those that are kept.
void CloseOthers(std::vector<int> kept) {
  kept.push_back(STDERR_FILENO);
  std::sort(kept.begin(), kept.end());
  for (size_t i = 0; i < kept.size(); ++i) {
    if (kept[i] < STDERR_FILENO) continue;
    const auto first = static_cast<unsigned>(kept[i]) + 1;
    const unsigned last = i + 1 < kept.size() ? static_cast<unsigned>(kept[i + 1]) - 1 : ~0U;
    if (first > last || syscall(SYS_close_range, first, last, 0) == 0) continue;
    const auto most = static_cast<unsigned>(sysconf(_SC_OPEN_MAX));
    for (unsigned other = first; other <= std::min(last, most); ++other) {
      close(static_cast<int>(other));
    }
  }
}

// What a sanitizer finds is told on the standard error.
void CloseStandardStreams() {
#if defined(KAV_SANITIZED)
  constexpr int kLast = STDOUT_FILENO;
#else
  constexpr int kLast = STDERR_FILENO;
#endif
  const UniqueFd nothing(open("/dev/null", O_RDWR | O_CLOEXEC));
  for (int stream = STDIN_FILENO; stream <= kLast; ++stream) dup2(nothing.Get(), stream);
}

// All that happens in a cell. Returns what it ends with.
int Live(const CellEnds& ends, const Defences& defences, const Cells::Work& work) {
  CloseOthers({ends.channel.Get(), ends.output.Get()});
  OfferForMemory();
  std::string message;
  if (!ReceiveRequest(ends.channel.Get(), message)) return EXIT_FAILURE;
  CellOrder order;
  if (!ReadOrder(message, order) || !defences.Close(order.rules)) return kNotClosed;
  kavepub_cell cell{ends.channel.Get(), ends.output.Get()};
  work(cell, order.request);
  return EXIT_SUCCESS;
}

// Does nothing that the host meant to do at its end.
[[noreturn]] void LiveToTheEnd(const CellEnds& ends, const Defences& defences,
                               const Cells::Work& work) noexcept {
  try {
    _exit(Live(ends, defences, work));
  } catch (const std::bad_alloc&) {
    _exit(kNoMemory);
  }
}

// The parent of the zygote: makes another one when that was killed, and a cell is asked for. It
// does and reads nothing else, so that nothing but a kill from outside ends it, and then the zygote
// goes on.
[[noreturn]] void BecomeGuard(UniqueFd host, const Cells::Work& work,
                              const std::function<void()>& prepare) noexcept {
  CloseOthers({host.Get()});
  CloseStandardStreams();
  StandAlone();
  for (;;) {
    const pid_t zygote = fork();
    if (zygote == 0) {
      const Defences defences;
      RunZygote(std::move(host), prepare,
                [&](const CellEnds& ends) noexcept { LiveToTheEnd(ends, defences, work); });
    }
    int status = 0;
    if (zygote < 0 || waitpid(zygote, &status, 0) < 0 || !WIFSIGNALED(status)) _exit(EXIT_SUCCESS);
    pollfd asked = {host.Get(), POLLIN, 0};
    poll(&asked, 1, -1);
  }
}

}  // namespace

Result<std::unique_ptr<Cells>> Cells::Open(const Work& work, const std::function<void()>& prepare) {
  SocketPair ends = SocketPair::Make(SOCK_SEQPACKET);
  const pid_t process = ends.ours ? fork() : -1;
  if (process < 0) {
    return Failure{KAVEPUB_E_CELL, "No process can be made for cells."};
  }
  if (process == 0) BecomeGuard(std::move(ends.theirs), work, prepare);
  return std::unique_ptr<Cells>(new Cells(std::move(ends.ours), process));
}

Cells::~Cells() {
  zygote = UniqueFd();
  waitpid(guard, nullptr, 0);
}
