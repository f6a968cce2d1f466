// Unpacks what is packed, and plans.
#include "hosts/serve/shelf/intake.h"

#include <set>
#include <string_view>
#include <system_error>
#include <utility>

#include "hosts/kavepub/plan/gathering.h"
#include "hosts/kavepub/plan/input_kind.h"
#include "hosts/kavepub/plan/naming.h"

namespace {

namespace fs = std::filesystem;

constexpr char kZip[] = ".zip";
constexpr unsigned kSecondsToUnpack = 120;

bool IsPage(const fs::path& file) {
  const auto kind = KindByName(file);
  return kind == BookKind::kHtml || kind == BookKind::kMarkdown;
}

// A name that no other file has: "site", "site-2".
fs::path FreeName(const fs::path& directory, const fs::path& wanted) {
  fs::path name = wanted;
  for (int copy = 2; fs::exists(directory / name); ++copy) {
    name = wanted;
    name.concat("-").concat(std::to_string(copy));
  }
  return name;
}

// The folder that a container becomes.
std::string Unpacked(const fs::path& directory, const fs::path& name, const Workshop& workshop,
                     std::uint64_t room) {
  const fs::path folder = FreeName(directory, name.stem());
  fs::create_directory(directory / folder);
  Work work;
  work.task = Work::Task::kUnpacking;
  work.order.inputs = {directory / name};
  work.options.seconds = kSecondsToUnpack;
  work.workDir = directory / folder;
  work.room = room;
  NoProgress progress;
  constexpr int kNone = -1;
  try {
    workshop.Do(work, kNone, progress);
  } catch (const Failure& failure) {
    throw Failure(WithoutPlace(failure.what(), directory), failure.DueTo());
  }
  fs::remove(directory / name);
  return folder;
}

// Browsers save "page.html" with "page_files" or "page-Dateien".
bool BelongsToOne(const std::string& folder, const std::set<std::string, std::less<>>& pages) {
  const std::string_view name = folder;
  for (size_t end = 0; (end = name.find_first_of("_-.", end)) != std::string_view::npos; ++end) {
    if (pages.contains(name.substr(0, end))) return true;
  }
  return false;
}

// Leaves out what lies beside pages because these show it.
std::vector<std::string> WithoutCompanions(const fs::path& directory,
                                           const std::vector<std::string>& names) {
  std::set<std::string, std::less<>> pages;  // without their extensions
  for (const std::string& name : names) {
    if (IsPage(name) && !fs::is_directory(directory / name)) pages.insert(fs::path(name).stem());
  }
  if (pages.empty()) return names;
  std::vector<std::string> left;
  for (const std::string& name : names) {
    const bool isCompanion = fs::is_directory(directory / name)
                                 ? BelongsToOne(name, pages)
                                 : !KindByName(name) || IsCalledLikePicture(name);
    if (!isCompanion) left.push_back(name);
  }
  return left;
}

std::vector<BookOrder> OrdersOf(Gathering gathering, const std::vector<fs::path>& inputs) {
  Selection selection;
  selection.inputs = inputs;
  NameBooks(gathering.drafts, selection);
  std::vector<BookOrder> orders;
  for (Draft& draft : gathering.drafts) orders.push_back(std::move(draft.order));
  return orders;
}

}  // namespace

Intake TakeIn(const fs::path& directory, std::vector<std::string> names, const Workshop& workshop,
              std::uint64_t room) {
  for (std::string& name : names) {
    const fs::path file = directory / name;
    const bool isPacked = !fs::is_directory(file) && ExtensionOf(name) == kZip && IsZip(file);
    if (isPacked) name = Unpacked(directory, name, workshop, room);
  }
  std::vector<fs::path> inputs;
  for (const std::string& name : WithoutCompanions(directory, names)) {
    inputs.push_back(directory / name);
  }
  Gathering gathering = Gather(inputs, false);
  if (gathering.drafts.empty()) {
    const bool isExplained = !gathering.skipped.empty();
    throw Failure("there is nothing in it that can be converted" +
                  (isExplained ? " (" + gathering.skipped.front().file.filename().string() + " " +
                                     gathering.skipped.front().reason + ")"
                               : std::string()));
  }
  const bool isBatch = gathering.drafts.size() > 1 || fs::is_directory(inputs.front());
  return {OrdersOf(std::move(gathering), inputs), isBatch};
}

std::string WithoutPlace(std::string text, const fs::path& directory) {
  const std::string place = directory.string() + "/";
  for (size_t at = 0; (at = text.find(place, at)) != std::string::npos;) {
    text.erase(at, place.size());
  }
  return text;
}
