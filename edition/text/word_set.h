// The words of a text, to tell whether a word that was cut at the end of a line is one.
#ifndef KAVEPUB_TEXT_WORD_SET_H
#define KAVEPUB_TEXT_WORD_SET_H

#include <cstdint>
#include <string_view>
#include <vector>

// Says of a few words in a hundred thousand that they are in the text when they are not.
class WordSet {
 public:
  // Adds the words of a piece that begins and ends between words, hyphens within them included.
  void AddWordsOf(std::string_view text);
  bool Has(std::string_view word) const;
  bool IsEmpty() const { return bits.empty(); }

 private:
  std::vector<std::uint64_t> bits;
};

#endif
