// Puts what links and pictures lead to into the body of a page.
#include "edition/page/page_assembly.h"

#include <algorithm>
#include <charconv>
#include <string_view>
#include <utility>

namespace {

// A page is cut at the least deep place between these sizes.
constexpr size_t kSmallest = 120'000;
constexpr size_t kLargest = 200'000;

struct Spot {
  size_t offset;
  size_t number;  // of the break
};

// Where to cut, of all places.
std::vector<Spot> Choose(const std::vector<Spot>& places, const std::vector<PageBreak>& breaks,
                         size_t size) {
  std::vector<Spot> chosen;
  size_t begin = 0;
  for (size_t i = 0; i < places.size() && size - begin > kLargest;) {
    const Spot* best = nullptr;
    for (; i < places.size() && (places[i].offset <= begin + kLargest || best == nullptr); ++i) {
      if (places[i].offset < begin + kSmallest) continue;
      if (best == nullptr || breaks[places[i].number].depth <= breaks[best->number].depth) {
        best = &places[i];
      }
    }
    if (best == nullptr) break;
    chosen.push_back(*best);
    begin = best->offset;
    while (i > 0 && places[i - 1].offset > begin) --i;
  }
  return chosen;
}

bool IsMark(char c) {
  return c == kReferenceMark || (c >= kBreakMark && c <= kPartEndMark);
}

// Calls text(piece) and mark(kind, number) for all of a body, in order, until one of them fails.
template <typename Text, typename Mark>
Status ForEachPiece(std::string_view source, Text text, Mark mark) {
  while (!source.empty()) {
    const auto* place = std::find_if(source.begin(), source.end(), IsMark);
    const auto size = static_cast<size_t>(place - source.begin());
    text(source.substr(0, size));
    if (size == source.size()) break;
    const size_t end = source.find(kMarkEnd, size);
    size_t number = 0;
    std::from_chars(source.data() + size + 1, source.data() + end, number);
    if (Status status = mark(source[size], number); !status) return status;
    source.remove_prefix(end + 1);
  }
  return Done();
}

Status AppendResolved(std::string_view markup, const ResolveMark& resolve, std::string& body) {
  return ForEachPiece(
      markup, [&](std::string_view text) { body += text; },
      [&](char /*kind*/, size_t number) -> Status {
        const Result<std::string> becomes = resolve(number);
        if (!becomes) return becomes.Why();
        body += *becomes;
        return Done();
      });
}

Result<BlockRun> Cut(std::string body, const std::vector<Spot>& places,
                     const std::vector<PageBreak>& breaks, const ResolveMark& resolve) {
  const std::vector<Spot> chosen = Choose(places, breaks, body.size());
  if (chosen.empty()) return BlockRun{std::move(body), {}};
  BlockRun run;
  size_t taken = 0;
  for (const Spot& place : chosen) {
    run.body.append(body, taken, place.offset - taken).append(breaks[place.number].ending);
    run.breaks.push_back(run.body.size());
    // Attributes may show files.
    if (Status status = AppendResolved(breaks[place.number].beginning, resolve, run.body);
        !status) {
      return status.Why();
    }
    taken = place.offset;
  }
  run.body.append(body, taken);
  return run;
}

}  // namespace

Result<BlockRun> Assemble(const PageMarkup& markup, const std::vector<bool>& dropped,
                          const ResolveMark& resolve) {
  std::string body;
  body.reserve(markup.body.size() + markup.body.size() / 8);
  std::vector<Spot> places;
  bool isLeftOut = false;
  const auto text = [&](std::string_view piece) {
    if (!isLeftOut) body += piece;
  };
  const auto mark = [&](char kind, size_t number) -> Status {
    if (kind == kPartMark && dropped[number]) isLeftOut = true;
    if (kind == kPartEndMark) isLeftOut = false;
    if (isLeftOut) return Done();
    if (kind == kBreakMark) places.push_back({body.size(), number});
    if (kind != kReferenceMark) return Done();
    const Result<std::string> becomes = resolve(number);
    if (!becomes) return becomes.Why();
    body += *becomes;
    return Done();
  };
  if (Status status = ForEachPiece(markup.body, text, mark); !status) return status.Why();
  return Cut(std::move(body), places, markup.breaks, resolve);
}
