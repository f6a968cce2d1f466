// What a cell can do and cannot do, and what its host hears of it.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <memory>
#include <string>
#include <thread>

#include "edition/kavepub.h"
#include "tests/misdeeds.h"
#include "tests/temp_dir.h"

namespace {

constexpr char kGood[] = "a good book";

void Work(void* /*user*/, kavepub_cell* cell, const void* request, size_t size) {
  const std::string wanted(static_cast<const char*>(request), size);
  for (const Misdeed& misdeed : kMisdeeds) {
    if (misdeed.name != wanted) continue;
    const char* outcome = misdeed.attempt() ? kSucceeded : kRefused;
    kavepub_cell_answer(cell, outcome, std::strlen(outcome));
  }
  if (wanted != kGood) return;
  // What a good cell may do.
  const int input = open(world.input.c_str(), O_RDONLY);
  char first = 0;
  const bool isRead =
      read(input, &first, 1) == 1 && write(kavepub_cell_output(cell), &first, 1) == 1;
  bool hasThread = false;
  std::thread([&] { hasThread = true; }).join();
  kavepub_cell_answer(cell, &first, isRead && hasThread ? 1 : 0);
}

struct FreeErrand {
  void operator()(kavepub_errand* owned) const { kavepub_errand_free(owned); }
};
using Errand = std::unique_ptr<kavepub_errand, FreeErrand>;

Errand NewErrand(const TempDir& directory, int output) {
  Errand errand(kavepub_errand_new());
  kavepub_errand_read(errand.get(), (directory / "input").c_str());
  kavepub_errand_set_output(errand.get(), output);
  kavepub_errand_limit(errand.get(), "memory", 64 << 20);
  kavepub_errand_limit(errand.get(), "file-size", 8 << 20);
  kavepub_errand_limit(errand.get(), "seconds", 1);
  return errand;
}

// What the host hears: the answer, or the words for an end before it.
std::string FateOf(const TempDir& directory, const kavepub_cells* cells,
                   const std::string& request) {
  const std::string path = directory / ("output of " + request);
  const int output = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  const Errand errand = NewErrand(directory, output);
  const int code = kavepub_errand_run(errand.get(), cells, request.data(), request.size());
  close(output);
  if (code != KAVEPUB_OK) return kavepub_errand_error(errand.get());
  size_t size = 0;
  const void* answer = kavepub_errand_answer(errand.get(), &size);
  return {static_cast<const char*>(answer), size};
}

// Two at a time, with good cells between them; the machine has to have all defences.
TEST(CellsTest, MisdeedsComeToNothing) {
  const TempDir directory;
  world = {directory.Write("secret", "secret"), directory / "input/link",
           directory.Write("input/page.html", "<p>"), directory / "new"};
  std::filesystem::create_symlink(world.secret, world.link);
  kavepub_cells* cells = nullptr;
  ASSERT_EQ(KAVEPUB_OK, kavepub_cells_open(&cells, Work, nullptr));
  std::atomic<size_t> next = 0;
  const auto work = [&] {
    for (size_t i = next++; i < std::size(kMisdeeds); i = next++) {
      const Misdeed& misdeed = kMisdeeds[i];
      EXPECT_EQ(misdeed.fate, FateOf(directory, cells, misdeed.name)) << misdeed.name;
      EXPECT_EQ("<", FateOf(directory, cells, kGood)) << "after: " << misdeed.name;
    }
  };
  std::thread other(work);
  work();
  other.join();
  kavepub_cells_close(cells);
}

}  // namespace
