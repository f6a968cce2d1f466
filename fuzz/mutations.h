// Inputs made of others, the same ones each time.
#ifndef KAV_EPUB_FUZZ_MUTATIONS_H
#define KAV_EPUB_FUZZ_MUTATIONS_H

#include <random>
#include <string>
#include <utility>
#include <vector>

// The words of a dictionary as libFuzzer reads it: one in quotes a line, "\xHH" for any byte.
std::vector<std::string> DictionaryWords(const std::string& path);

class Mutations {
 public:
  Mutations(std::vector<std::string> seedInputs, std::vector<std::string> dictionary)
      : seeds(std::move(seedInputs)), words(std::move(dictionary)) {}

  // A seed that was changed in a few places.
  std::string Next();

 private:
  size_t Below(size_t limit) { return limit == 0 ? 0 : random() % limit; }
  std::string PieceOf(const std::string& text);
  void Change(std::string& text);

  std::vector<std::string> seeds;
  std::vector<std::string> words;
  std::mt19937 random{20260};  // NOLINT(cert-msc32-c,cert-msc51-cpp)
};

#endif
