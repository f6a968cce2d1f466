// The message by which a cell hears its rules and its work.
#include "edition/cell/order.h"

#include "base/packed_values.h"

std::string WriteOrder(const CellRules& rules, std::string_view request) {
  Packing packing;
  packing.Add(rules.readable.size());
  for (const std::string& path : rules.readable) packing.Add(path);
  packing.Add(rules.writable).Add(rules.memory).Add(rules.fileSize).Add(rules.seconds);
  return packing.Add(request).Bytes();
}

bool ReadOrder(std::string_view message, CellOrder& order) {
  Unpacking unpacking(message);
  for (auto left = unpacking.Count(sizeof(std::uint64_t)); left > 0; --left) {
    order.rules.readable.push_back(unpacking.Text());
  }
  order.rules.writable = unpacking.Text();
  order.rules.memory = unpacking.Number();
  order.rules.fileSize = unpacking.Number();
  order.rules.seconds = unpacking.Number();
  order.request = unpacking.View();
  return unpacking.IsSound();
}
