// A dictionary by its letters.
#ifndef KAVEPUB_MOBI_LETTERS_H
#define KAVEPUB_MOBI_LETTERS_H

#include <vector>

#include "edition/mobi/indices.h"
#include "edition/mobi/piece_plan.h"

struct LetterPlan {
  std::vector<Cut> cuts;             // before each letter
  std::vector<IndexEntry> contents;  // letters, and below the long ones some of their words
};

// Of a dictionary whose words have no order, its entries are cut into parts of sensible length,
// named by their first words.
LetterPlan LettersOf(const BookText& text, const std::vector<DictionaryEntry>& entries);

#endif
