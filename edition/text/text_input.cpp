// Reads pieces of an input.
#include "edition/text/text_input.h"

#include <algorithm>

namespace {
constexpr size_t kPieceSize = size_t{1} << 16;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
}  // namespace

Status TextInput::Restart() {
  offset = 0;
  return Done();
}

Result<std::string_view> TextInput::Next() {
  buffer.resize(kPieceSize);
  const Result<size_t> count = input.Read(offset, buffer.data(), buffer.size());
  if (!count) return count.Why();
  std::string_view piece(buffer.data(), *count);
  if (offset == 0 && piece.starts_with(kByteOrderMark)) piece.remove_prefix(kByteOrderMark.size());
  offset += *count;
  return piece;
}

double TextInput::Share() const {
  return input.Size() == 0 ? 1 : static_cast<double>(offset) / static_cast<double>(input.Size());
}
