// Stands in for libFuzzer where it is not there: runs the target on the files given, one by one,
// and sees that memory returns to what it was; then on so many mutations of them.
#include <malloc.h>

#include <csignal>
#include <string_view>

#include "fuzz/harness.h"
#include "fuzz/mutations.h"
#include "tests/small_stack.h"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size);

namespace {

constexpr std::string_view kDictionary = "-dict=";
constexpr std::string_view kMutations = "-mutations=";
constexpr size_t kTimes = 4;
constexpr size_t kSmallestLeak = 32;  // at times a piece of the heap is half of that too large

void Run(const std::string& input) {
  LLVMFuzzerTestOneInput(reinterpret_cast<const unsigned char*>(input.data()), input.size());
}

size_t Allocated() {
  const struct mallinfo2 memory = mallinfo2();  // all zeros under a sanitizer, which looks itself
  return memory.uordblks + memory.hblkhd;
}

void RequireNoLeak(const std::string& input) {
  Run(input);  // fills what lasts, such as tables of libxml2
  const size_t before = Allocated();
  for (size_t times = 0; times < kTimes; ++times) Run(input);
  const bool isReleased = Allocated() < before + kTimes * kSmallestLeak / 2;
  Require(isReleased, "memory is released");
}

std::string current;

// What ended the process is told, so that it can be replayed.
void SaveInput(int /*signal*/) {
  constexpr char kPath[] = "failed.input";
  std::ofstream(kPath, std::ios::binary) << current;
  std::fprintf(stderr, "The input is in %s\n", kPath);
}

}  // namespace

int main(int count, char** arguments) {
  std::vector<std::string> seeds;
  std::vector<std::string> words;
  size_t mutations = 0;
  std::signal(SIGABRT, SaveInput);
  for (const std::string& argument : std::vector<std::string>(arguments + 1, arguments + count)) {
    if (argument.starts_with(kDictionary)) {
      words = DictionaryWords(argument.substr(kDictionary.size()));
    } else if (argument.starts_with(kMutations)) {
      mutations = std::stoul(argument.substr(kMutations.size()));
    } else {
      std::fprintf(stderr, "%s\n", argument.c_str());
      seeds.push_back(ReadFile(argument));
    }
  }
  return RunsOnSmallStack([&] {
    for (const std::string& seed : seeds) RequireNoLeak(seed);
    Mutations mutated(seeds, words);
    for (size_t number = 0; number < mutations; ++number) {
      current = mutated.Next();
      Run(current);
    }
  })
             ? 0
             : 1;
}
