// Keeps at most a piece of a document.
#include "edition/text/body_writer.h"

#include <utility>

namespace {
constexpr size_t kBodySize = size_t{1} << 18;
}

void BodyWriter::Begin(Document document) {
  current = std::move(document);
  isOpen = true;
}

Status BodyWriter::EndBlock() {
  if (current.body.size() < kBodySize) {
    current.breaks.push_back(current.body.size());
    return Done();
  }
  BlockRun piece{std::exchange(current.body, {}), std::exchange(current.breaks, {})};
  if (isBegun) return sink.Continue(std::move(piece));
  isBegun = true;
  Document first = current;
  static_cast<BlockRun&>(first) = std::move(piece);
  return sink.Add(std::move(first));
}

Status BodyWriter::End() {
  if (!std::exchange(isOpen, false)) return Done();
  if (current.body.empty() && !isBegun) current.body = "<p>\xC2\xA0</p>\n";
  if (!current.breaks.empty() && current.breaks.back() == current.body.size()) {
    current.breaks.pop_back();
  }
  const bool isFurther = std::exchange(isBegun, false);
  Document last = std::exchange(current, {});
  if (!isFurther) return sink.Add(std::move(last));
  return last.body.empty() ? Done() : sink.Continue(std::move(static_cast<BlockRun&>(last)));
}
