// Stands in for libFuzzer where it is not there: runs the target on the files given, one by one,
// and sees that memory returns to what it was.
#include <malloc.h>

#include "fuzz/harness.h"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size);

namespace {

constexpr size_t kTimes = 4;
constexpr size_t kSmallestLeak = 32;  // at times a piece of the heap is half of that too large

void Run(const std::string& input) {
  LLVMFuzzerTestOneInput(reinterpret_cast<const unsigned char*>(input.data()), input.size());
}

size_t Allocated() {
  const struct mallinfo2 memory = mallinfo2();  // all zeros under a sanitizer, which looks itself
  return memory.uordblks + memory.hblkhd;
}

}  // namespace

int main(int count, char** arguments) {
  for (int i = 1; i < count; ++i) {
    std::fprintf(stderr, "%s\n", arguments[i]);
    const std::string input = ReadFile(arguments[i]);
    Run(input);  // fills what lasts, such as tables of libxml2
    const size_t before = Allocated();
    for (size_t times = 0; times < kTimes; ++times) Run(input);
    const bool isReleased = Allocated() < before + kTimes * kSmallestLeak / 2;
    Require(isReleased, "memory is released");
  }
  return 0;
}
