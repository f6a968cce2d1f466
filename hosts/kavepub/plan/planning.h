// From the files and folders that a person names to the books to be made.
#ifndef KAVEPUB_PLANNING_H
#define KAVEPUB_PLANNING_H

#include <filesystem>
#include <string>
#include <vector>

#include "hosts/kavepub/plan/book_order.h"
#include "hosts/kavepub/plan/name_list.h"

struct Selection {
  std::vector<std::filesystem::path> inputs;
  std::filesystem::path output;  // a file, a directory, "-", or empty: beside the inputs
  bool separate = false;         // a book for each page or picture, instead of one for all
  std::filesystem::path list;    // of names below the one input, a book each; empty: no list
  Share share;                   // of which books are to be made
};

// What lies in a folder and goes into no book.
struct Skipped {
  std::filesystem::path file;
  std::string reason;  // "is a PDF file"
};

struct Plan {
  std::vector<BookOrder> orders;
  std::vector<Skipped> skipped;
};

// Each text and MOBI book becomes a book; the pages (HTML) that are named become one, and so do the
// pictures. Of a folder, every text and MOBI book at any depth becomes one; a folder with a page
// "index.html" is one book, one with other pages is a book of these, and its pictures are an album
// where they are more than the texts and MOBI books beside them. All that is found in a folder is
// in the order of the numbers in the names. What is named twice becomes one book. Inputs that
// cannot be used come back as orders with a refusal; so do files of a folder that are called like
// something convertible. Throws WrongUsage when the output cannot hold what was named.
//
// Of a list, each name is one book: a file, or a folder that is a site or an album. It is called
// like the name with ".epub" after it, as then no name depends on what else is in the list or the
// share.
Plan PlanBooks(const Selection& selection);

#endif
