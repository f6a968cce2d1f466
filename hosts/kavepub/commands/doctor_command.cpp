// "kavepub doctor": what of this system keeps strangers' books from doing harm, and whether it
// does.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>

#include "edition/kavepub.h"
#include "hosts/kavepub/commands/commands.h"
#include "hosts/kavepub/console/failure.h"
#include "hosts/kavepub/console/standard_output.h"
#include "hosts/kavepub/console/terminal.h"

namespace {

constexpr char kOpened[] = "opened";
constexpr char kRefused[] = "refused";
constexpr char kForbiddenFile[] = "/etc/passwd";  // is everywhere, and for everybody

struct Free {
  void operator()(kavepub_cells* owned) const { kavepub_cells_close(owned); }
  void operator()(kavepub_errand* owned) const { kavepub_errand_free(owned); }
};

// Tries, from inside, what a cell must not.
void Try(void* /*user*/, kavepub_cell* cell, const void* request, size_t size) {
  const bool isOfFiles = std::string(static_cast<const char*>(request), size) == kForbiddenFile;
  const int opened = isOfFiles ? open(kForbiddenFile, O_RDONLY | O_CLOEXEC) : fork();
  const char* answer = opened >= 0 ? kOpened : kRefused;
  if (isOfFiles || opened != 0) kavepub_cell_answer(cell, answer, std::strlen(answer));
}

// Whether such a thing came to nothing: the answer says so, or there is none.
bool IsKept(const kavepub_cells* cells, const std::string& what) {
  const std::unique_ptr<kavepub_errand, Free> errand(kavepub_errand_new());
  const int code = kavepub_errand_run(errand.get(), cells, what.data(), what.size());
  if (code != KAVEPUB_OK) return code == KAVEPUB_E_FORBIDDEN;
  size_t size = 0;
  const void* answer = kavepub_errand_answer(errand.get(), &size);
  return std::string(static_cast<const char*>(answer), size) == kRefused;
}

void SayRow(const char* name, const char* state, const char* purpose) {
  constexpr size_t kNameWidth = 22;
  constexpr size_t kStateWidth = 9;
  std::string row = std::string("  ") + name;
  row.resize(std::max(row.size(), kNameWidth + 2), ' ');
  row += std::string(" ") + state;
  row.resize(std::max(row.size(), kNameWidth + kStateWidth + 3), ' ');
  Say(row + " " + purpose);
}

// Whether all that cells need is there.
bool TellDefences() {
  bool isWhole = true;
  kavepub_defence defence = {};
  for (size_t i = 0; kavepub_defence_at(i, &defence, sizeof defence) != 0; ++i) {
    SayRow(defence.name, defence.is_there != 0 ? "in force" : "missing", defence.purpose);
    if (defence.is_needed != 0 && defence.is_there == 0) isWhole = false;
  }
  return isWhole;
}

}  // namespace

int RunDoctor() {
  kavepub_cells* opened = nullptr;
  if (kavepub_cells_open(&opened, Try, nullptr) != KAVEPUB_OK) {
    throw Failure("no process can be made for cells; close other programs and try again");
  }
  const std::unique_ptr<kavepub_cells, Free> cells(opened);
  Say("Cells, in which books are made:");
  const bool isWhole = TellDefences();
  const bool keepsFiles = IsKept(cells.get(), kForbiddenFile);
  const bool keepsProcesses = IsKept(cells.get(), "fork");
  Say("Tried in one:");
  SayRow("another file", keepsFiles ? "refused" : "READ", kForbiddenFile);
  SayRow("another process", keepsProcesses ? "refused" : "MADE", "");
  return isWhole && keepsFiles && keepsProcesses ? kDone : kFailed;
}
