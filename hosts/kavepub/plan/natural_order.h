// The order of names as people count: "page 2" before "page 10".
#ifndef KAVEPUB_NATURAL_ORDER_H
#define KAVEPUB_NATURAL_ORDER_H

#include <string_view>

// Whether one name comes before another: by the numbers in them, of any length, and else by bytes.
// Of names that differ in leading zeros only, the one with the earlier zero comes first.
bool ComesBefore(std::string_view first, std::string_view second);

#endif
