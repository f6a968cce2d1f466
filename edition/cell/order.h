// The message by which a cell hears its rules and its work.
#ifndef KAVEPUB_CELL_ORDER_H
#define KAVEPUB_CELL_ORDER_H

#include <string>
#include <string_view>

#include "edition/cell/rules.h"

struct CellOrder {
  CellRules rules;
  std::string_view request;  // in the message
};

std::string WriteOrder(const CellRules& rules, std::string_view request);
bool ReadOrder(std::string_view message, CellOrder& order);

#endif
