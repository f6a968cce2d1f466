// The books of a list of names.
#ifndef KAVEPUB_LISTED_BOOKS_H
#define KAVEPUB_LISTED_BOOKS_H

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "hosts/kavepub/plan/book_order.h"
#include "hosts/kavepub/plan/planning.h"

// The one spelling of a name below a root: "./b//c/" and, below "/a", "/a/b/c" are "b/c". Empty for
// what is not below it.
std::string NameBelow(const std::filesystem::path& root, std::string_view name);

// The books of a selection's list that belong to its share, in the order of the list, with their
// places. What the list names twice is one book.
std::vector<BookOrder> BooksOfList(const Selection& selection);

#endif
