// Compares names piece by piece: a number, or a byte.
#include "hosts/kavepub/plan/natural_order.h"

#include <algorithm>
#include <compare>

namespace {

constexpr std::string_view kDigits = "0123456789";

// Takes a number off the beginning of a text, which begins with a digit. Without leading zeros.
std::string_view TakeNumber(std::string_view& text) {
  const size_t end = std::min(text.find_first_not_of(kDigits), text.size());
  std::string_view number = text.substr(0, end);
  number.remove_prefix(std::min(number.find_first_not_of('0'), number.size()));
  text.remove_prefix(end);
  return number;
}

bool BeginsWithDigit(std::string_view text) {
  return !text.empty() && kDigits.find(text.front()) != std::string_view::npos;
}

}  // namespace

bool ComesBefore(std::string_view first, std::string_view second) {
  std::string_view left = first;
  std::string_view right = second;
  while (!left.empty() && !right.empty()) {
    auto order = std::strong_ordering::equal;
    if (BeginsWithDigit(left) && BeginsWithDigit(right)) {
      const std::string_view one = TakeNumber(left);
      const std::string_view other = TakeNumber(right);
      order = one.size() != other.size() ? one.size() <=> other.size() : one <=> other;
    } else {
      order = left.substr(0, 1) <=> right.substr(0, 1);
      left.remove_prefix(1);
      right.remove_prefix(1);
    }
    if (std::is_neq(order)) return std::is_lt(order);
  }
  if (left.empty() != right.empty()) return left.empty();
  return first < second;
}
