// Builds books of every kind on eight threads at once, for ThreadSanitizer to watch.
#include <cstdio>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "scenarios.h"
#include "tests/temp_dir.h"

namespace {

constexpr int kThreads = 8;
constexpr int kRounds = 3;

int BuildAll(const TempDir& dir, int thread) {
  const std::string work = dir / ("work-" + std::to_string(thread));
  const std::string output = work + ".epub";
  std::filesystem::create_directory(work);
  int failed = 0;
  for (int round = 0; round < kRounds; ++round) {
    for (const auto& [name, build] : kScenarios) {
      if (name == "large") continue;  // most of whose time is copying
      if (build(work.c_str(), output.c_str()) != 0 || ReadFile(output).empty()) ++failed;
    }
  }
  return failed;
}

}  // namespace

int main() {
  const TempDir dir;
  std::vector<int> failed(kThreads);
  {
    std::vector<std::jthread> threads;
    for (int i = 0; i < kThreads; ++i) {
      threads.emplace_back([&, i] { failed[static_cast<size_t>(i)] = BuildAll(dir, i); });
    }
  }
  const bool good = failed == std::vector<int>(kThreads);
  std::puts(good ? "all books were built" : "books failed");
  return good ? 0 : 1;
}
